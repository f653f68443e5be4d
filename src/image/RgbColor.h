#pragma once

#include "core/ATTR.h"

namespace QTD {

// A colour held twice: as levels of `colors` steps (r, g, b, a) and as fractions of full scale
// (red, green, blue, alpha). Each setter keeps the two in step.
class RgbColor {
public:
    static constexpr double kLumRed = 0.3086;
    static constexpr double kLumGreen = 0.6094;
    static constexpr double kLumBlue = 0.082;

    RgbColor() = default;
    RgbColor(int r, int g, int b, int a = 0, int colors = 256);

    void setInt(int r, int g = -1, int b = -1, int a = 0);
    void setDbl(double r, double g = -1.0, double b = -1.0, double a = 0.0);
    void setClr(unsigned int rgb, int a = 0);
    void setOpc(int opacity);
    void setColors(int colors, int depth = 0);
    void setDepth(int depth) { setColors(1 << depth, depth); }

    operator unsigned int() const;
    operator int() const { return static_cast<int>(static_cast<unsigned int>(*this)); }

    int intensity() const;
    void decolorize();
    double getDbl(int index, bool scaled = false) const;
    float getFlt(int index, bool scaled = false) const {
        return static_cast<float>(getDbl(index, scaled));
    }

    static void convert(double* out, int r, int g, int b, int a, int colors);
    static void convert(int* out, double r, double g, double b, double a, int colors);
    static void convert(int* out, unsigned int rgb, int a, int unused = 0);

    template <typename T> static ATTR saveText(T r, T g, T b);
    template <typename T> static bool readText(ATTR text, T& r, T& g, T& b);

    int colors = 256;
    int opacity = 0;
    int r = 0;
    int g = 0;
    int b = 0;
    int a = 0;
    int depth = 8;
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 0.0;
    double lumRed = kLumRed;
    double lumGrn = kLumGreen;
    double lumBlu = kLumBlue;

private:
    void deriveDoubles();
    void deriveInts();
};

template <> ATTR RgbColor::saveText<double>(double r, double g, double b);
template <> bool RgbColor::readText<double>(ATTR text, double& r, double& g, double& b);

} // namespace QTD
