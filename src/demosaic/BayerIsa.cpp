#include "demosaic/BayerIsa.h"

namespace BrxDemosaic {

BayerIsa const& BayerIsa::best() {
    static bool const avx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    return avx2 ? bayerIsaAvx2() : bayerIsaBaseline();
}

BayerIsa const& BayerIsa::baseline() {
    return bayerIsaBaseline();
}

} // namespace BrxDemosaic
