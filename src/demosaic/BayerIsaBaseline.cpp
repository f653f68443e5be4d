#include "demosaic/BayerIsa.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace BrxDemosaic {
namespace isa_baseline {
#include "demosaic/BayerKernels.inc"
#include "demosaic/QualityKernels.inc"
} // namespace isa_baseline

BayerIsa const& bayerIsaBaseline() {
    static BayerIsa const isa = {"sse2",
                                 &isa_baseline::bilinear,
                                 &isa_baseline::gradient,
                                 &isa_baseline::rcd,
                                 &isa_baseline::rcdBytes,
                                 &isa_baseline::quality,
                                 &isa_baseline::qualityBytes};
    return isa;
}

} // namespace BrxDemosaic
