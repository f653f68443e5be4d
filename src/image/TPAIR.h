#pragma once

namespace QTD {

// A point or a size: x, y.
template <typename T> struct TPAIR {
    T x = 0;
    T y = 0;
};

} // namespace QTD
