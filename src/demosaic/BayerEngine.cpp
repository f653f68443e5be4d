#include "demosaic/BayerEngine.h"

#include <atomic>
#include <cstdlib>

namespace BrxDemosaic {

namespace {
// Output tile of the edge-directed method: wide enough that the mirrored margins cost little,
// small enough that its float planes stay in the core's cache.
constexpr int RCD_TILE_COLS = 512;
constexpr int RCD_TILE_ROWS = 48;
// Sides beyond this would overflow the kernels' int arithmetic on positions.
constexpr int MAX_SIDE = 1 << 24;
} // namespace

BayerEngine::BayerEngine(int threads) : pool(threads), isa(&BayerIsa::best()) {
    for (int i = 0; i < pool.size(); ++i)
        scratch.emplace_back(new BayerScratch);
}

void BayerEngine::useBaseline(bool baseline) {
    isa = baseline ? &BayerIsa::baseline() : &BayerIsa::best();
}

bool BayerEngine::valid(BayerFrame const& f) {
    if (!f.src || !f.dst || f.width < 2 || f.height < 2 || f.width > MAX_SIDE ||
        f.height > MAX_SIDE)
        return false;
    if (f.bytes != 1 && f.bytes != 2)
        return false;
    if (f.bytes == 1 ? f.depth != 8 : (f.depth < 9 || f.depth > 16))
        return false;
    if (f.pattern < PATTERN_GR || f.pattern > PATTERN_GB)
        return false;
    // The output may run upwards (a negative stride); the input always runs down.
    ptrdiff_t const dstStep = f.dstStride < 0 ? -f.dstStride : f.dstStride;
    if (f.srcStride < static_cast<ptrdiff_t>(f.width) * f.bytes ||
        dstStep < static_cast<ptrdiff_t>(f.width) * 3 * f.bytes)
        return false;
    if (f.bytes == 2) {
        auto odd = [](uintptr_t v) { return (v & 1) != 0; };
        if (odd(reinterpret_cast<uintptr_t>(f.src)) || odd(reinterpret_cast<uintptr_t>(f.dst)) ||
            odd(static_cast<uintptr_t>(f.srcStride)) || odd(static_cast<uintptr_t>(dstStep)))
            return false;
    }
    return true;
}

bool BayerEngine::run(BayerFrame const& f, int algorithm) {
    if (!valid(f))
        return false;
    std::atomic<bool> ok{true};
    int const workers = pool.size();
    if (algorithm == ALG_RCD) {
        int const tileCols = f.width <= RCD_TILE_COLS + RCD_TILE_COLS / 2 ? f.width : RCD_TILE_COLS;
        int tileRows = RCD_TILE_ROWS;
        // Enough tiles that every worker gets some.
        int const across = (f.width + tileCols - 1) / tileCols;
        while (tileRows > 8 && across * ((f.height + tileRows - 1) / tileRows) < 4 * workers)
            tileRows -= 8;
        int const down = (f.height + tileRows - 1) / tileRows;
        for (auto& s : scratch)
            if (!s->get(isa->rcdBytes(tileCols, tileRows)))
                return false;
        pool.run(across * down, [&](int index, int worker) {
            int const x0 = (index % across) * tileCols;
            int const y0 = (index / across) * tileRows;
            int const cols = f.width - x0 < tileCols ? f.width - x0 : tileCols;
            int const rows = f.height - y0 < tileRows ? f.height - y0 : tileRows;
            if (!isa->rcd(f, x0, y0, cols, rows, *scratch[worker]))
                ok = false;
        });
        return ok;
    }
    auto kernel = algorithm == ALG_BILINEAR ? isa->bilinear : isa->gradient;
    int const bands = workers == 1 ? 1 : (f.height < 32 * workers ? workers : 4 * workers);
    int const bandRows = (f.height + bands - 1) / bands;
    pool.run(bands, [&](int index, int worker) {
        int const y0 = index * bandRows;
        int const y1 = y0 + bandRows < f.height ? y0 + bandRows : f.height;
        if (y0 < y1 && !kernel(f, y0, y1, *scratch[worker]))
            ok = false;
    });
    return ok;
}

} // namespace BrxDemosaic
