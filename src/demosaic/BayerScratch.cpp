#include "demosaic/BayerScratch.h"

#include <cstdlib>
#include <cstring>

namespace BrxDemosaic {

void BayerScratch::Free::operator()(unsigned char* p) const {
    std::free(p);
}

void* BayerScratch::get(size_t bytes) {
    if (bytes <= size && block)
        return block.get();
    size_t rounded = (bytes + 63) & ~size_t(63);
    if (rounded == 0)
        rounded = 64;
    void* p = std::aligned_alloc(64, rounded);
    if (!p)
        return nullptr;
    // Zeroed once, so that lanes past the end of a row never read indeterminate bytes.
    std::memset(p, 0, rounded);
    block.reset(static_cast<unsigned char*>(p));
    size = rounded;
    return p;
}

} // namespace BrxDemosaic
