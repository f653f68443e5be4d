#include "demosaic/BayerPixelTypes.h"

namespace BrxDemosaic {

namespace {

int const DEPTHS[5] = {8, 10, 12, 14, 16};

// Rows of each depth in pattern order GR, RG, BG, GB. Within a depth the table numbers them
// GR, RG, GB, BG.
uint32_t const BAYER[5][4] = {
    {0x0308010D, 0x0308010E, 0x03080110, 0x0308010F},
    {0x03100211, 0x03100212, 0x03100214, 0x03100213},
    {0x03100315, 0x03100316, 0x03100318, 0x03100317},
    {0x03100429, 0x0310042A, 0x0310042C, 0x0310042B},
    {0x0310052D, 0x0310052E, 0x03100530, 0x0310052F},
};

// RGB, BGR per depth.
uint32_t const RGB[5][2] = {
    {0x02180171, 0x02180172}, {0x02300275, 0x02300276}, {0x02300377, 0x02300378},
    {0x02300479, 0x0230047A}, {0x0230057B, 0x0230057C},
};

} // namespace

bool BayerPixelTypes::bayer(uint32_t type, int* pattern, int* depth) {
    for (int d = 0; d < 5; ++d)
        for (int p = 0; p < 4; ++p)
            if (BAYER[d][p] == type) {
                if (pattern)
                    *pattern = p;
                if (depth)
                    *depth = DEPTHS[d];
                return true;
            }
    return false;
}

bool BayerPixelTypes::rgb(uint32_t type, int* depth, bool* bgr) {
    for (int d = 0; d < 5; ++d)
        for (int o = 0; o < 2; ++o)
            if (RGB[d][o] == type) {
                if (depth)
                    *depth = DEPTHS[d];
                if (bgr)
                    *bgr = o == 1;
                return true;
            }
    return false;
}

uint32_t BayerPixelTypes::rgbFor(int depth, bool bgr) {
    for (int d = 0; d < 5; ++d)
        if (DEPTHS[d] == depth)
            return RGB[d][bgr ? 1 : 0];
    return 0;
}

uint32_t BayerPixelTypes::bayerFor(int pattern, int depth) {
    if (pattern < 0 || pattern > 3)
        return 0;
    for (int d = 0; d < 5; ++d)
        if (DEPTHS[d] == depth)
            return BAYER[d][pattern];
    return 0;
}

} // namespace BrxDemosaic
