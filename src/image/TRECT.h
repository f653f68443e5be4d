#pragma once

#include "core/ATTR.h"

namespace QTD {

// A rectangle: position x, y and size width, height.
template <typename T> struct TRECT {
    T x = 0;
    T y = 0;
    T width = 0;
    T height = 0;

    // "x;y-width;height", each number by `format` ("%f" for reals and "%d" for integers by
    // default).
    ATTR text(char const* format = nullptr) const;
};

extern template struct TRECT<int>;
extern template struct TRECT<double>;

} // namespace QTD
