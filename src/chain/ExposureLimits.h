#pragma once

// The thresholds and colours of exposure coloration, as both backends read them from a stage's
// bag, so that they judge the same pixels.

#include "chain/QTDProcs.h"
#include "core/PROPERTIES.h"

#include <cstdint>

namespace QTD {

struct ExposureLimits {
    // A colour word holds its first byte in the low 8 bits: green for under-exposure, red for
    // over-exposure in an RGB image.
    static constexpr uint32_t ColorLo = 0xFF00;
    static constexpr uint32_t ColorHi = 0xFF;

    int32_t lo = 0; // levels below this are under-exposed
    int32_t hi = 0; // levels (for colour: sums of levels) above this are over-exposed
    uint32_t colorLo = 0;
    uint32_t colorHi = 0;

    // From "thres.lo", "thres.hi", "color.lo", "color.hi" for raw images of `format`.
    static ExposureLimits read(PROPERTIES& bag, BrxImage const* format) {
        ExposureLimits limits;
        limits.lo = bag.getAs<int>("thres.lo", "-1", true);
        limits.hi = bag.getAs<int>("thres.hi", "-1", true);
        if (limits.lo < 0)
            limits.lo = 1;
        if (limits.hi < 0) {
            // Only the very extremes count: the highest code, or for colour the highest sum.
            const int levels = 1 << format->bitsPerChannel;
            limits.hi =
                Procs::isIn(Procs::RGBBGR_INDEX, format->pixelType) ? levels * 3 - 4 : levels - 2;
        }
        limits.colorLo = bag.getAs<unsigned int>("color.lo", ATTR(int(ColorLo)), true);
        limits.colorHi = bag.getAs<unsigned int>("color.hi", ATTR(int(ColorHi)), true);
        return limits;
    }
};

} // namespace QTD
