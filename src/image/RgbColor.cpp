#include "image/RgbColor.h"

#include <climits>
#include <cmath>
#include <string>

namespace QTD {

namespace {

int toLevel(double value, int colors) {
    if (value + 0.00001 >= 1.0)
        return colors - 1;
    // Truncated; values beyond the range of int (and NaN) are pinned rather than undefined.
    const double level = colors * value;
    if (!(level > -2147483648.0))
        return level < 0 ? INT_MIN : 0;
    return level < 2147483647.0 ? static_cast<int>(level) : INT_MAX;
}

double toFraction(int value, int colors) {
    // Full scale is exact; every other level divides by the count of levels, not by its top.
    if (value >= colors - 1)
        return 1.0;
    return static_cast<double>(value) / colors;
}

} // namespace

RgbColor::RgbColor(int r, int g, int b, int a, int colors) {
    if (colors > 0)
        setColors(colors);
    setInt(r, g, b, a);
}

void RgbColor::deriveDoubles() {
    double out[4];
    convert(out, r, g, b, a, colors);
    if (colors < 1)
        return;
    red = out[0], green = out[1], blue = out[2], alpha = out[3];
}

void RgbColor::deriveInts() {
    int out[4];
    if (colors < 1)
        return;
    convert(out, red, green, blue, alpha, colors);
    r = out[0], g = out[1], b = out[2], a = out[3];
}

void RgbColor::setInt(int nr, int ng, int nb, int na) {
    if (ng < 0)
        ng = nr;
    if (nb < 0)
        nb = nr;
    r = nr, g = ng, b = nb, a = na;
    if (colors > 0)
        deriveDoubles();
}

void RgbColor::setDbl(double nr, double ng, double nb, double na) {
    if (ng < 0)
        ng = nr;
    if (nb < 0)
        nb = nr;
    red = nr, green = ng, blue = nb, alpha = na;
    deriveInts();
}

void RgbColor::setClr(unsigned int rgb, int na) {
    colors = 256;
    depth = 8;
    deriveInts();
    int out[4];
    convert(out, rgb, na);
    r = out[0], g = out[1], b = out[2], a = out[3];
    deriveDoubles();
}

void RgbColor::setOpc(int value) {
    opacity = value == 1 || value == 2 ? value : 0;
}

void RgbColor::setColors(int newColors, int newDepth) {
    if (newColors < 1)
        return;
    if (newDepth < 1) {
        switch (newColors) {
        case 1024:
            newDepth = 10;
            break;
        case 4096:
            newDepth = 12;
            break;
        case 16384:
            newDepth = 14;
            break;
        case 65536:
            newDepth = 16;
            break;
        default:
            newDepth = 8;
        }
    }
    colors = newColors;
    depth = newDepth;
    deriveInts();
}

RgbColor::operator unsigned int() const {
    if (colors == 256)
        return static_cast<unsigned int>(r & 0xFF) | static_cast<unsigned int>(g & 0xFF) << 8 |
               static_cast<unsigned int>(b & 0xFF) << 16;
    return static_cast<unsigned int>(r) & 0xFFFFFF;
}

int RgbColor::intensity() const {
    double level = std::round(colors * (red * lumRed + green * lumGrn + blue * lumBlu));
    if (!(level > 0.0))
        return 0;
    if (level >= colors)
        return colors - 1;
    return static_cast<int>(level);
}

void RgbColor::decolorize() {
    int i = intensity();
    setInt(i, i, i, 0);
}

double RgbColor::getDbl(int index, bool scaled) const {
    double value = 0.0;
    switch (index) {
    case 0:
        value = red;
        break;
    case 1:
        value = green;
        break;
    case 2:
        value = blue;
        break;
    case 3:
        value = alpha;
        break;
    default:
        return 0.0;
    }
    if (scaled && depth != 8 && depth != 16)
        value /= std::pow(2.0, 16 - depth);
    return value;
}

void RgbColor::convert(double* out, int r, int g, int b, int a, int colors) {
    if (!out || colors < 1)
        return;
    out[0] = toFraction(r, colors);
    out[1] = toFraction(g, colors);
    out[2] = toFraction(b, colors);
    out[3] = toFraction(a, colors);
}

void RgbColor::convert(int* out, double r, double g, double b, double a, int colors) {
    if (!out || colors < 1)
        return;
    out[0] = toLevel(r, colors);
    out[1] = toLevel(g, colors);
    out[2] = toLevel(b, colors);
    out[3] = toLevel(a, colors);
}

void RgbColor::convert(int* out, unsigned int rgb, int a, int) {
    if (!out)
        return;
    out[0] = static_cast<int>(rgb & 0xFF);
    out[1] = static_cast<int>((rgb >> 8) & 0xFF);
    out[2] = static_cast<int>((rgb >> 16) & 0xFF);
    out[3] = a;
}

template <> ATTR RgbColor::saveText<double>(double r, double g, double b) {
    return ATTR::format("%fr;%fr;%fr;", r, g, b);
}

// Each part is a real when it ends in "r" and an integer otherwise; the values are taken as they
// stand, not rescaled. The conversions' exceptions reach the caller, as for any number in text.
template <> bool RgbColor::readText<double>(ATTR text, double& r, double& g, double& b) {
    if (text.empty())
        return false;
    ATTR parts[3];
    for (int index = 0; index < 3; ++index) {
        ATTR token;
        text.split(token, index, ";");
        // An empty part fails on the read of its last byte.
        char last = token.at(token.size() - 1);
        // "%f" without the 64-byte limit of a number's ATTR: "1e300r" is a colour part to
        // reject later, not a reason to end the process.
        if (last == 'r')
            parts[index] = ATTR(std::to_string(std::stod(token)));
        else
            parts[index] = ATTR(std::stoi(token));
    }
    r = parts[0].as<double>();
    g = parts[1].as<double>();
    b = parts[2].as<double>();
    return true;
}

} // namespace QTD
