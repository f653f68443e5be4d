// Built for AVX-512 (F, BW, VL, DQ), with 64-byte vectors for the integer kernels and 512-bit
// vectors preferred in RCD's float loops; reached only through BayerIsa on processors that have
// all four.
#include "demosaic/BayerIsa.h"

#define BRX_VECTOR_BYTES 64

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

namespace BrxDemosaic {
namespace isa_avx512 {
#include "demosaic/BayerKernels.inc"
#include "demosaic/QualityKernels.inc"
} // namespace isa_avx512

BayerIsa const& bayerIsaAvx512() {
    static BayerIsa const isa = {"avx512",
                                 &isa_avx512::bilinear,
                                 &isa_avx512::gradient,
                                 &isa_avx512::rcd,
                                 &isa_avx512::rcdBytes,
                                 &isa_avx512::quality,
                                 &isa_avx512::qualityBytes};
    return isa;
}

} // namespace BrxDemosaic
