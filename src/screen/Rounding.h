#pragma once

// Rounding of view and drawing coordinates: half away from zero, saturated to the int range,
// so that hostile numbers stay defined (NaN gives 0).

#include <climits>
#include <cmath>

namespace QTD {

inline int roundHalfAway(double v) {
    if (std::isnan(v))
        return 0;
    double r = v < 0 ? v - 0.5 : v + 0.5;
    if (r >= 2147483647.0)
        return INT_MAX;
    if (r <= -2147483648.0)
        return INT_MIN;
    return static_cast<int>(r);
}

} // namespace QTD
