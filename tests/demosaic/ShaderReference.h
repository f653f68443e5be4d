#pragma once

// A plain transcription of the GPU path's demosaicing shader, in double precision on samples
// scaled to 0..1, one pixel at a time, as the shader does it: the reference that the CPU's mode
// 0 and the GPU pass are both held to. `Mosaic` gives sample(x, y, 0).

#include <algorithm>
#include <cmath>

namespace DemosaicTest {

template <class Mosaic> struct ShaderReference {
    Mosaic const& bayer;
    int pattern;
    double unit; // code value of 1.0

    double f(int x, int y) const { return bayer.sample(x, y, 0) / unit; }

    // The shader's output at (x, y) as code values, rounded, before clipping to the depth.
    void pixel(int x, int y, long out[3]) const {
        int const firstRedX = 1 - (pattern % 2), firstRedY = pattern > 1 ? 1 : 0;
        bool const evenCol = (x + firstRedX) % 2 == 0, evenRow = (y + firstRedY) % 2 == 0;
        double const C = f(x, y);
        double gC = -1;
        // value: top and left neighbours; temp: bottom and right.
        double const value[4] = {f(x, y - 2), f(x, y - 1), f(x - 2, y), f(x - 1, y)};
        double const temp[4] = {f(x, y + 2), f(x, y + 1), f(x + 2, y), f(x + 1, y)};
        double const Dvec[4] = {f(x - 1, y - 1), f(x - 1, y + 1), f(x + 1, y - 1), f(x + 1, y + 1)};
        bool const color = firstRedX == firstRedY ? evenCol != evenRow : evenCol == evenRow;
        if (color) {
            double const thresholdD = 0.05, thresholdA = 0.01;
            double const dH = std::fabs(value[1] - temp[1]), dV = std::fabs(value[3] - temp[3]);
            double const cH = ((value[3] + temp[3]) + (2 * C - value[2] - temp[2]) / 2) / 2;
            double const cV = ((value[1] + temp[1]) + (2 * C - value[0] - temp[0]) / 2) / 2;
            auto delta = [](double c, double a, double b) {
                return std::fabs(a - c) + std::fabs(b - c);
            };
            if (dH > thresholdD && dV < thresholdD) {
                gC = cH;
            } else if (dH > thresholdD) {
                double const dHp = delta(cH, value[3], temp[3]) + delta(cV, value[3], temp[3]);
                double const dVp = delta(cH, value[1], temp[1]) + delta(cV, value[1], temp[1]);
                double const d = dHp - dVp;
                if (d <= -thresholdA)
                    gC = cH;
                else if (d > thresholdA)
                    gC = cV;
            } else if (dV > thresholdD) {
                gC = cV;
            }
        }
        double const D = Dvec[0] + Dvec[1] + Dvec[2] + Dvec[3];
        double const A = value[0] + temp[0], B = value[1] + temp[1];
        double const E = value[2] + temp[2], F = value[3] + temp[3];
        double const px = (4 * C + 2 * B + 2 * F - A - E) / 8;
        double const py = (6 * C + 2 * D - 1.5 * A - 1.5 * E) / 8;
        double const pz = (5 * C - D + 0.5 * A - E + 4 * F) / 8;
        double const pw = (5 * C - D - A + 0.5 * E + 4 * B) / 8;
        double const g = gC >= 0 ? gC : px;
        // Indexed by 2 * evenRow + evenCol.
        double const sites[4][3] = {{py, g, C}, {pw, C, pz}, {pz, C, pw}, {C, g, py}};
        double const* rgb = sites[2 * evenRow + evenCol];
        for (int c = 0; c < 3; ++c)
            out[c] = std::lround(std::min(1.0, std::max(0.0, rgb[c])) * unit);
    }
};

} // namespace DemosaicTest
