#pragma once

#include "demosaic/BayerFrame.h"
#include "demosaic/BayerScratch.h"

#include <vector>

namespace BrxDemosaic {

// The pixel kernels compiled for one instruction set. The same source is built for the x86-64
// baseline (SSE2), for AVX2 with FMA, and for AVX-512; `best()` picks at run time.
struct BayerIsa {
    const char* name;
    // Rows [y0, y1) of the frame, all columns.
    bool (*bilinear)(BayerFrame const& frame, int y0, int y1, BayerScratch& scratch);
    bool (*gradient)(BayerFrame const& frame, int y0, int y1, BayerScratch& scratch);
    // The tile of `cols` x `rows` pixels at (x0, y0); x0 and y0 even.
    bool (*rcd)(BayerFrame const& frame, int x0, int y0, int cols, int rows, BayerScratch& scratch);

    // Working memory a tile of `cols` x `rows` of the edge-directed method needs.
    size_t (*rcdBytes)(int cols, int rows);
    // The quality method's tile, and its working memory.
    bool (*quality)(BayerFrame const& frame, int x0, int y0, int cols, int rows,
                    BayerScratch& scratch);
    size_t (*qualityBytes)(int cols, int rows);

    // The fastest table this processor runs.
    static BayerIsa const& best();
    // The table for every x86-64 processor.
    static BayerIsa const& baseline();
    // Every table this processor runs, the baseline first.
    static std::vector<BayerIsa const*> available();
};

// The instances, one per translation unit.
BayerIsa const& bayerIsaBaseline();
BayerIsa const& bayerIsaAvx2();
BayerIsa const& bayerIsaAvx512();

} // namespace BrxDemosaic
