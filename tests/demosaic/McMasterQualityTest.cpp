// Picture quality on the McMaster set, 8-bit, averaged over the four patterns: the figures the
// four algorithms are held to. The full table, beside OpenCV's modes, comes from
// bench_demosaic_quality.

#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

using namespace DemosaicTest;

TEST(McMasterQuality, EachAlgorithmReachesItsMark) {
    double const marks[4] = {34.3, 32.2, 36.0, 37.3}; // modes 0, 1, 2, 3
    double sums[4] = {0, 0, 0, 0};
    Bayer bayers[4] = {Bayer(0), Bayer(1), Bayer(2), Bayer(3)};
    for (int n = 1; n <= 18; ++n) {
        Picture const pic = mcMaster(n);
        ASSERT_GT(pic.width, 0) << "McMaster" << n;
        for (int pattern = 0; pattern < 4; ++pattern) {
            Image in(pic, pattern), out(rgbType(8), pic.width, pic.height);
            for (int mode = 0; mode < 4; ++mode) {
                ASSERT_EQ(bayers[mode].run(in, out), 0);
                sums[mode] += psnr(pic, out) / 4;
            }
        }
    }
    for (int mode = 0; mode < 4; ++mode)
        EXPECT_GE(sums[mode] / 18, marks[mode]) << "mode " << mode;
}

// The quality mode works on the depth's range, not on code values: deeper samples of the same
// scenes come out as good.
TEST(McMasterQuality, DeepSamplesGiveTheQualityOfEightBits) {
    Bayer bayer(3);
    for (int n : {1, 9, 17}) {
        Picture const pic = mcMaster(n);
        ASSERT_GT(pic.width, 0) << "McMaster" << n;
        Image in(pic, 1), out(rgbType(8), pic.width, pic.height);
        ASSERT_EQ(bayer.run(in, out), 0);
        double const eight = psnr(pic, out);
        for (int depth : {10, 12, 16}) {
            Picture deep = pic;
            deep.depth = depth;
            for (uint16_t& v : deep.rgb)
                v = uint16_t(std::lround(v * double((1 << depth) - 1) / 255.0));
            Image din(deep, 1), dout(rgbType(depth), pic.width, pic.height);
            ASSERT_EQ(bayer.run(din, dout), 0);
            EXPECT_NEAR(psnr(deep, dout), eight, 0.1) << "McMaster" << n << " depth " << depth;
        }
    }
}

namespace {
// A grey picture of `level(x, y)` on 0..1.
template <typename F> Picture greyPicture(int n, F level) {
    Picture p{n, n, 8, {}};
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x) {
            uint16_t const v = uint16_t(std::lround(level(x, y) * 255));
            p.rgb.insert(p.rgb.end(), {v, v, v});
        }
    return p;
}

// Share of pixels whose R - G or B - G is off by more than `threshold` code values, over the
// patterns and the pixels `counted`.
double falseColour(
    Picture const& p, int mode, int threshold = 8,
    bool (*counted)(int x, int y) = [](int, int) { return true; }) {
    long bad = 0, n = 0;
    for (int pattern = 0; pattern < 4; ++pattern) {
        Image in(p, pattern), out(rgbType(8), p.width, p.height);
        EXPECT_EQ(Bayer(mode).run(in, out), 0);
        for (int y = 4; y < p.height - 4; ++y)
            for (int x = 4; x < p.width - 4; ++x) {
                if (!counted(x, y))
                    continue;
                ++n;
                int const g = int(out.sample(x, y, 1)) - p.at(x, y, 1);
                bad += std::abs(int(out.sample(x, y, 0)) - p.at(x, y, 0) - g) > threshold ||
                       std::abs(int(out.sample(x, y, 2)) - p.at(x, y, 2) - g) > threshold;
            }
    }
    return double(bad) / double(n);
}
} // namespace

// One-pixel lines along rows or columns, alone or two pixels apart, leave no false colour in
// the quality mode, as in mode 2. A diagonal one lies on green sites only or on red and blue
// sites only, beyond what the mosaic can tell from a coloured line: no more false colour than
// mode 2 there. On a zone plate it shows less than mode 2.
TEST(McMasterQuality, QualityModeAddsNoFalseColourOnLinesAndLessOnAZonePlate) {
    int const n = 64;
    for (int kind = 0; kind < 4; ++kind) {
        Picture const lines = greyPicture(n, [kind](int x, int y) {
            bool const on = kind == 0   ? x == n / 3
                            : kind == 1 ? y == n / 2
                            : kind == 2 ? x == 30 || x == 32
                                        : x == y;
            return on ? 0.85 : 0.2;
        });
        for (int threshold : {8, 16}) {
            double const quality = falseColour(lines, 3, threshold);
            EXPECT_LE(quality, falseColour(lines, 2, threshold)) << "lines " << kind;
            if (kind < 3) {
                EXPECT_EQ(quality, 0.0) << "lines " << kind;
            }
        }
    }
    // Where a line crosses the diagonal one, the false colour of the crossing stays near it:
    // the other line is as clean as alone from 5 pixels on.
    Picture const crossing =
        greyPicture(n, [](int x, int y) { return x == n / 3 || x == y ? 0.85 : 0.2; });
    EXPECT_EQ(falseColour(crossing, 3, 8,
                          [](int x, int y) { return x == n / 3 && std::abs(y - n / 3) > 4; }),
              0.0);
    Picture const zone = greyPicture(256, [](int x, int y) {
        double const dx = x - 128.0, dy = y - 128.0;
        return 0.5 + 0.45 * std::cos(M_PI * (dx * dx + dy * dy) / 512.0);
    });
    for (int threshold : {8, 16})
        EXPECT_LT(falseColour(zone, 3, threshold), falseColour(zone, 2, threshold)) << threshold;
}
