// Picture quality on the McMaster set, 8-bit, averaged over the four patterns: the figures the
// three algorithms are held to. The full table, beside OpenCV's modes, comes from
// bench_demosaic_quality.

#include <brx/BrxBayer.h>

#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

using namespace DemosaicTest;

TEST(McMasterQuality, EachAlgorithmReachesItsMark) {
    double const marks[3] = {34.3, 32.2, 36.0}; // modes 0, 1, 2
    double sums[3] = {0, 0, 0};
    int images = 0;
    BrxBayer* bayers[3];
    for (int mode = 0; mode < 3; ++mode) {
        bayers[mode] = BrxBayer::CreateComponent();
        bayers[mode]->GetComponent()->SetParamInt("BayerAlgType", mode);
    }
    for (int n = 1; n <= 18; ++n) {
        Picture const pic = loadPicture(mcMaster(n));
        ASSERT_GT(pic.width, 0) << "McMaster" << n;
        ++images;
        for (int pattern = 0; pattern < 4; ++pattern) {
            Image in(bayerType(pattern, 8), pic.width, pic.height);
            mosaic(pic, pattern, in);
            Image out(rgbType(8), pic.width, pic.height);
            for (int mode = 0; mode < 3; ++mode) {
                ASSERT_EQ(bayers[mode]->Init(in.get(), out.get()), 0);
                ASSERT_EQ(bayers[mode]->ProcessImage(in.get(), out.get()), 0);
                sums[mode] += psnr(pic, out) / 4;
            }
        }
    }
    for (int mode = 0; mode < 3; ++mode) {
        double const average = sums[mode] / images;
        RecordProperty("mode" + std::to_string(mode), std::to_string(average));
        EXPECT_GE(average, marks[mode]) << "mode " << mode;
        bayers[mode]->Release();
        BrxBayer::DeleteComponent(bayers[mode]);
    }
}
