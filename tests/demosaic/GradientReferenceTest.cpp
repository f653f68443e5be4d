// Mode 0 against a plain transcription of the GPU path's demosaicing shader, in double
// precision on samples scaled to 0..1, one pixel at a time, as the shader does it.

#include "DemosaicTestSupport.h"
#include "ShaderReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace DemosaicTest;

namespace {

// Largest difference between mode 0 and the reference away from a 2-pixel border.
long worstDifference(Picture const& pic, int pattern) {
    int const w = pic.width, h = pic.height;
    Image in(pic, pattern), out(rgbType(pic.depth), w, h);
    EXPECT_EQ(Bayer(0).run(in, out), 0);
    // The shader scales 8-bit data by 1/255 and deeper data by 2^(16 - depth) / 65535.
    double const unit = pic.depth == 8 ? 255.0 : 65535.0 / double(1 << (16 - pic.depth));
    DemosaicTest::ShaderReference<Image> const reference{in, pattern, unit};
    long const top = (1L << pic.depth) - 1;
    long worst = 0;
    for (int y = 2; y < h - 2; ++y)
        for (int x = 2; x < w - 2; ++x) {
            long a[3];
            reference.pixel(x, y, a);
            for (int c = 0; c < 3; ++c)
                worst = std::max(worst, std::labs(std::min(a[c], top) - long(out.sample(x, y, c))));
        }
    return worst;
}

} // namespace

// A real picture and noise, which drives every branch of the edge test, at 8 bits and through
// the scaled path of 12-bit data. Mode 0 includes the edge-directed green, for the GR and GB
// patterns only, as the shader does.
TEST(GradientReference, ModeZeroMatchesTheShaderWithinOneCodeValue) {
    Picture const pictures[] = {mcMaster(1), noisePicture(64, 48, 8, 5),
                                noisePicture(40, 36, 12, 9)};
    ASSERT_GT(pictures[0].width, 0);
    for (Picture const& pic : pictures)
        for (int pattern = 0; pattern < 4; ++pattern)
            EXPECT_LE(worstDifference(pic, pattern), 1)
                << "depth " << pic.depth << " pattern " << pattern;
}
