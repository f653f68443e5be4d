// Built with -mavx2 -mfma; reached only through BayerIsa::best() on processors that have both.
#include "demosaic/BayerIsa.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace BrxDemosaic {
namespace isa_avx2 {
#include "demosaic/BayerKernels.inc"
#include "demosaic/QualityKernels.inc"
} // namespace isa_avx2

BayerIsa const& bayerIsaAvx2() {
    static BayerIsa const isa = {"avx2",
                                 &isa_avx2::bilinear,
                                 &isa_avx2::gradient,
                                 &isa_avx2::rcd,
                                 &isa_avx2::rcdBytes,
                                 &isa_avx2::quality,
                                 &isa_avx2::qualityBytes};
    return isa;
}

} // namespace BrxDemosaic
