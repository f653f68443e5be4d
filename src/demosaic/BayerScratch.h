#pragma once

#include <cstddef>
#include <memory>

namespace BrxDemosaic {

// Working memory of one worker thread, kept between frames so that a running stream allocates
// nothing. Blocks are 64-byte aligned and zero-filled when they grow.
class BayerScratch {
public:
    BayerScratch() = default;
    BayerScratch(BayerScratch const&) = delete;
    BayerScratch& operator=(BayerScratch const&) = delete;

    // At least `bytes` bytes; earlier contents are lost when the block has to grow.
    void* get(size_t bytes);
    size_t capacity() const { return size; }

private:
    struct Free {
        void operator()(unsigned char* p) const;
    };
    std::unique_ptr<unsigned char, Free> block;
    size_t size = 0;
};

} // namespace BrxDemosaic
