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
