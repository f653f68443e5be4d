#pragma once

#include <cstdint>

namespace BrxDemosaic {

// The pixel types the demosaicer takes and gives: the unpacked Bayer types and RGB/BGR of the
// same depths.
class BayerPixelTypes {
public:
    // True for an unpacked Bayer type, with its pattern (GR 0, RG 1, BG 2, GB 3) and depth.
    static bool bayer(uint32_t type, int* pattern, int* depth);
    // True for RGB8 ... RGB16 and BGR8 ... BGR16, with the depth and channel order.
    static bool rgb(uint32_t type, int* depth, bool* bgr);
    // The RGB or BGR type of a depth of 8, 10, 12, 14 or 16 bits; 0 for any other.
    static uint32_t rgbFor(int depth, bool bgr);
    // The Bayer type of a pattern and depth; 0 for none.
    static uint32_t bayerFor(int pattern, int depth);
};

} // namespace BrxDemosaic
