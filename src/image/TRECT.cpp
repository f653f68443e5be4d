#include "image/TRECT.h"

#include <type_traits>

namespace QTD {

namespace {

template <typename T> ATTR number(T value, char const* format) {
    if (!format)
        format = std::is_floating_point<T>::value ? "%f" : "%d";
    return ATTR::format(format, value);
}

} // namespace

template <typename T> ATTR TRECT<T>::text(char const* format) const {
    ATTR position =
        ATTR::format("%s%s%s", number(x, format).c_str(), ";", number(y, format).c_str());
    ATTR size =
        ATTR::format("%s%s%s", number(width, format).c_str(), ";", number(height, format).c_str());
    return ATTR::format("%s-%s", position.c_str(), size.c_str());
}

template struct TRECT<int>;
template struct TRECT<double>;

} // namespace QTD
