#pragma once

#include <cstddef>
#include <cstdint>

namespace BrxDemosaic {

// Bayer patterns, numbered like the order of a Bayer pixel format: the colours of the first two
// pixels of the first row.
enum BayerPattern { PATTERN_GR = 0, PATTERN_RG = 1, PATTERN_BG = 2, PATTERN_GB = 3 };

// Algorithms, the values of "BayerAlgType".
enum BayerAlgorithm { ALG_GRADIENT = 0, ALG_BILINEAR = 1, ALG_RCD = 2, ALG_QUALITY = 3 };

// One demosaicing job on raw memory: a Bayer mosaic in, interleaved three-channel pixels of the
// same storage width out. Rows of either side may have any stride that holds them.
struct BayerFrame {
    const uint8_t* src = nullptr;
    ptrdiff_t srcStride = 0;
    uint8_t* dst = nullptr;
    ptrdiff_t dstStride = 0;
    int width = 0;
    int height = 0;
    int pattern = PATTERN_RG;
    int depth = 8;    // significant bits, 8 to 16
    int bytes = 1;    // storage bytes of a sample: 1 for 8 bits, 2 above
    bool bgr = false; // output channel order B, G, R instead of R, G, B
    // Write the output past the caches: for frames too large to stay in them, where it saves
    // the reads that ordinary stores make of every line they fill.
    bool stream = false;
    // The quality method's second opinion on green: the edge-directed method's picture of the
    // same frame (interleaved RGB of the frame's sample size, top row first), or null.
    const uint8_t* second = nullptr;
    ptrdiff_t secondStride = 0;

    // Where the red sample of the 2 x 2 cell lies.
    int redX() const { return 1 - (pattern & 1); }
    int redY() const { return pattern > 1 ? 1 : 0; }
    // Highest sample value of the depth.
    int maxValue() const { return (1 << depth) - 1; }
};

} // namespace BrxDemosaic
