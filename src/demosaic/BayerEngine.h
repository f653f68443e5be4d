#pragma once

#include "demosaic/BayerFrame.h"
#include "demosaic/BayerIsa.h"
#include "demosaic/BayerScratch.h"
#include "demosaic/BayerThreadPool.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace BrxDemosaic {

// Runs one algorithm over a frame: splits it in bands of rows (tiles for the edge-directed
// method), shares them out over the thread pool and keeps each worker's scratch memory.
class BayerEngine {
public:
    // `threads` counts the caller; 0 means one per core.
    explicit BayerEngine(int threads = 0);

    // False for a frame the kernels cannot take (see valid()) or when memory runs out.
    bool run(BayerFrame const& frame, int algorithm);

    // The frame's sizes, depth, strides and pointers make sense.
    static bool valid(BayerFrame const& frame);

    int threads() const { return pool.size(); }
    // Forces the x86-64 baseline kernels, or the best ones again.
    void useBaseline(bool baseline);
    // Forces one set of kernels of BayerIsa::available().
    void useIsa(BayerIsa const& kernels) { isa = &kernels; }
    // Outputs of `bytes` and more are written past the caches.
    void streamFrom(int64_t bytes) { streamBytes = bytes; }

    // By default: outputs that would not stay in the caches anyway.
    static constexpr int64_t STREAM_BYTES = 16 << 20;
    char const* isaName() const { return isa->name; }

private:
    // Tiles of `tileCols` x `tileRows` (even, but at the frame's edges) over the workers.
    bool runTiles(BayerFrame const& f, int tileCols, int tileRows, size_t (*bytes)(int, int),
                  bool (*tile)(BayerFrame const&, int, int, int, int, BayerScratch&));

    BayerThreadPool pool;
    std::vector<std::unique_ptr<BayerScratch>> scratch;
    // The edge-directed picture that the quality method weighs its green against.
    std::vector<uint8_t> second;
    BayerIsa const* isa;
    int64_t streamBytes = STREAM_BYTES;
};

} // namespace BrxDemosaic
