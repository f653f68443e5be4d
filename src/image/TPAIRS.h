#pragma once

#include "image/TPAIR.h"

#include <vector>

namespace QTD {

// The points of a line.
template <typename T> using TPAIRS = std::vector<TPAIR<T>>;

} // namespace QTD
