#include "demosaic/BayerEngine.h"

#include <atomic>
#include <cstdlib>

namespace BrxDemosaic {

namespace {
// Output strip of the edge-directed method: wide enough that its side margins cost little,
// narrow enough that the rings of rows of its float planes stay in the core's cache.
constexpr int RCD_TILE_COLS = 1024;
// Frames of fewer pixels run on the calling thread alone.
constexpr int64_t SMALL_FRAME = 1 << 15;
// Shortest strip: its top and bottom margins are 10 rows each.
constexpr int RCD_MIN_ROWS = 64;
// Tiles of the quality method: each carries 22 pixels of context on every side, so larger tiles
// waste less on it; at this size they keep a worker's scratch memory near 8 MB.
constexpr int QUALITY_TILE_COLS = 256;
constexpr int QUALITY_TILE_ROWS = 192;
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

bool BayerEngine::runTiles(BayerFrame const& f, int tileCols, int tileRows,
                           size_t (*bytes)(int, int),
                           bool (*tile)(BayerFrame const&, int, int, int, int, BayerScratch&)) {
    int const across = (f.width + tileCols - 1) / tileCols;
    int const down = (f.height + tileRows - 1) / tileRows;
    for (auto& s : scratch)
        if (!s->get(bytes(tileCols, tileRows)))
            return false;
    std::atomic<bool> ok{true};
    pool.run(across * down, [&](int index, int worker) {
        int const x0 = (index % across) * tileCols;
        int const y0 = (index / across) * tileRows;
        int const cols = f.width - x0 < tileCols ? f.width - x0 : tileCols;
        int const rows = f.height - y0 < tileRows ? f.height - y0 : tileRows;
        if (!tile(f, x0, y0, cols, rows, *scratch[worker]))
            ok = false;
    });
    return ok;
}

bool BayerEngine::run(BayerFrame const& frame, int algorithm) {
    if (!valid(frame))
        return false;
    BayerFrame f = frame;
    f.stream = static_cast<int64_t>(f.width) * f.height * 3 * f.bytes >= streamBytes;
    // Waking the workers costs more than a small frame takes on one core.
    bool const small = static_cast<int64_t>(f.width) * f.height < SMALL_FRAME;
    int const workers = small ? 1 : pool.size();
    if (algorithm == ALG_RCD) {
        // Tiles run down their rows as a pipeline, so only their side margins cost: tall
        // strips, a few per worker so that the workers finish together.
        int const tileCols = f.width <= RCD_TILE_COLS + RCD_TILE_COLS / 2 ? f.width : RCD_TILE_COLS;
        int const across = (f.width + tileCols - 1) / tileCols;
        int down = workers == 1 ? 1 : (4 * workers + across - 1) / across;
        int tileRows = ((f.height + down - 1) / down + 1) & ~1;
        if (tileRows < RCD_MIN_ROWS)
            tileRows = RCD_MIN_ROWS;
        return runTiles(f, tileCols, tileRows, isa->rcdBytes, isa->rcd);
    }
    if (algorithm == ALG_QUALITY) {
        BayerFrame r = f;
        r.dstStride = static_cast<ptrdiff_t>(f.width) * 3 * f.bytes;
        second.resize(static_cast<size_t>(r.dstStride) * static_cast<size_t>(f.height));
        r.dst = second.data();
        r.bgr = false;
        r.stream = false;
        if (!run(r, ALG_RCD))
            return false;
        f.second = second.data();
        f.secondStride = r.dstStride;
        int const tileCols =
            f.width < QUALITY_TILE_COLS + QUALITY_TILE_COLS / 2 ? f.width : QUALITY_TILE_COLS;
        int const tileRows =
            f.height < QUALITY_TILE_ROWS + QUALITY_TILE_ROWS / 2 ? f.height : QUALITY_TILE_ROWS;
        return runTiles(f, tileCols, tileRows, isa->qualityBytes, isa->quality);
    }
    auto kernel = algorithm == ALG_BILINEAR ? isa->bilinear : isa->gradient;
    std::atomic<bool> ok{true};
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
