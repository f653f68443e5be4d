#include "demosaic/BayerIsa.h"

namespace BrxDemosaic {

namespace {
bool hasAvx2() {
    // Needed when the first frame comes from a static constructor, before the runtime's own.
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}
bool hasAvx512() {
    return hasAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq");
}
} // namespace

BayerIsa const& BayerIsa::best() {
    static BayerIsa const& isa = hasAvx512() ? bayerIsaAvx512()
                                 : hasAvx2() ? bayerIsaAvx2()
                                             : bayerIsaBaseline();
    return isa;
}

BayerIsa const& BayerIsa::baseline() {
    return bayerIsaBaseline();
}

std::vector<BayerIsa const*> BayerIsa::available() {
    std::vector<BayerIsa const*> all = {&bayerIsaBaseline()};
    if (hasAvx2())
        all.push_back(&bayerIsaAvx2());
    if (hasAvx512())
        all.push_back(&bayerIsaAvx512());
    return all;
}

} // namespace BrxDemosaic
