// Picture quality on the McMaster set, 8-bit, averaged over the four patterns: the figures the
// three algorithms are held to. The full table, beside OpenCV's modes, comes from
// bench_demosaic_quality.

#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

using namespace DemosaicTest;

TEST(McMasterQuality, EachAlgorithmReachesItsMark) {
    double const marks[3] = {34.3, 32.2, 36.0}; // modes 0, 1, 2
    double sums[3] = {0, 0, 0};
    Bayer bayers[3] = {Bayer(0), Bayer(1), Bayer(2)};
    for (int n = 1; n <= 18; ++n) {
        Picture const pic = mcMaster(n);
        ASSERT_GT(pic.width, 0) << "McMaster" << n;
        for (int pattern = 0; pattern < 4; ++pattern) {
            Image in(pic, pattern), out(rgbType(8), pic.width, pic.height);
            for (int mode = 0; mode < 3; ++mode) {
                ASSERT_EQ(bayers[mode].run(in, out), 0);
                sums[mode] += psnr(pic, out) / 4;
            }
        }
    }
    for (int mode = 0; mode < 3; ++mode)
        EXPECT_GE(sums[mode] / 18, marks[mode]) << "mode " << mode;
}
