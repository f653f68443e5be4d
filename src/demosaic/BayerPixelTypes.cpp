#include "demosaic/BayerPixelTypes.h"

#include <brx/BrxPixelTypes.h>

namespace BrxDemosaic {

namespace {

int const DEPTHS[5] = {8, 10, 12, 14, 16};

// Rows of each depth in pattern order GR, RG, BG, GB. Within a depth the table numbers them
// GR, RG, GB, BG.
uint32_t const BAYER[5][4] = {
    {BRX_PIXEL_BayerGR8, BRX_PIXEL_BayerRG8, BRX_PIXEL_BayerBG8, BRX_PIXEL_BayerGB8},
    {BRX_PIXEL_BayerGR10, BRX_PIXEL_BayerRG10, BRX_PIXEL_BayerBG10, BRX_PIXEL_BayerGB10},
    {BRX_PIXEL_BayerGR12, BRX_PIXEL_BayerRG12, BRX_PIXEL_BayerBG12, BRX_PIXEL_BayerGB12},
    {BRX_PIXEL_BayerGR14, BRX_PIXEL_BayerRG14, BRX_PIXEL_BayerBG14, BRX_PIXEL_BayerGB14},
    {BRX_PIXEL_BayerGR16, BRX_PIXEL_BayerRG16, BRX_PIXEL_BayerBG16, BRX_PIXEL_BayerGB16},
};

// RGB, BGR per depth.
uint32_t const RGB[5][2] = {
    {BRX_PIXEL_RGB8, BRX_PIXEL_BGR8},   {BRX_PIXEL_RGB10, BRX_PIXEL_BGR10},
    {BRX_PIXEL_RGB12, BRX_PIXEL_BGR12}, {BRX_PIXEL_RGB14, BRX_PIXEL_BGR14},
    {BRX_PIXEL_RGB16, BRX_PIXEL_BGR16},
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
