// The kernels behind BrxBayer, reached directly: exact results of the bilinear means, the two
// instruction sets against each other, the frame checks.

#include "demosaic/BayerEngine.h"

#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace DemosaicTest;
using BrxDemosaic::BayerEngine;
using BrxDemosaic::BayerFrame;

namespace {

int reflect(int i, int n) {
    while (i < 0 || i >= n)
        i = i < 0 ? -i : 2 * (n - 1) - i;
    return i;
}

BayerFrame frameOf(Image const& in, Image& out, int pattern, int depth) {
    BayerFrame f;
    f.src = static_cast<uint8_t const*>(in.record.imageData);
    f.srcStride = in.record.stride;
    f.dst = static_cast<uint8_t*>(out.record.imageData);
    f.dstStride = out.record.stride;
    f.width = int(in.record.width);
    f.height = int(in.record.height);
    f.pattern = pattern;
    f.depth = depth;
    f.bytes = depth > 8 ? 2 : 1;
    return f;
}

long maxDifference(Image const& a, Image const& b) {
    long worst = 0;
    for (uint32_t y = 0; y < a.record.height; ++y)
        for (uint32_t x = 0; x < a.record.width; ++x)
            for (int c = 0; c < 3; ++c)
                worst = std::max(worst, std::labs(long(a.sample(x, y, c)) - b.sample(x, y, c)));
    return worst;
}

} // namespace

// Every output sample is the mean of its two or four neighbours rounded half up, the image
// mirrored about its first and last samples at the borders.
TEST(BayerEngine, BilinearGivesExactlyRoundedMeans) {
    for (int depth : {8, 16})
        for (int pattern = 0; pattern < 4; ++pattern) {
            SCOPED_TRACE("depth " + std::to_string(depth) + " pattern " + std::to_string(pattern));
            int const w = 301, h = 9; // wide enough for the straight path of 64-byte vectors
            Picture const pic = noisePicture(w, h, depth, 17 + pattern);
            Image in(bayerType(pattern, depth), w, h);
            mosaic(pic, pattern, in);
            Image out(rgbType(depth), w, h);
            BayerEngine engine(1);
            ASSERT_TRUE(engine.run(frameOf(in, out, pattern, depth), BrxDemosaic::ALG_BILINEAR));
            auto s = [&](int x, int y) { return long(in.sample(reflect(x, w), reflect(y, h), 0)); };
            long errors = 0;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    long want[3];
                    int const site = cfaChannel(pattern, x, y);
                    want[site] = s(x, y);
                    long const h2 = (s(x - 1, y) + s(x + 1, y) + 1) >> 1;
                    long const v2 = (s(x, y - 1) + s(x, y + 1) + 1) >> 1;
                    long const cross =
                        (s(x - 1, y) + s(x + 1, y) + s(x, y - 1) + s(x, y + 1) + 2) >> 2;
                    long const diag = (s(x - 1, y - 1) + s(x + 1, y - 1) + s(x - 1, y + 1) +
                                       s(x + 1, y + 1) + 2) >>
                                      2;
                    if (site == 1) {
                        // The colour of the row lies left and right.
                        int const rowColour = cfaChannel(pattern, x + 1, y);
                        want[rowColour] = h2;
                        want[2 - rowColour] = v2;
                    } else {
                        want[1] = cross;
                        want[2 - site] = diag;
                    }
                    for (int c = 0; c < 3; ++c)
                        errors += out.sample(x, y, c) != want[c];
                }
            EXPECT_EQ(errors, 0);
        }
}

// Every build of the kernels this processor runs (baseline, AVX2, AVX-512) agrees with the
// baseline: exactly for the integer methods, within one code value for RCD, whose
// floating-point sums the compiler may fuse differently.
TEST(BayerEngine, EveryInstructionSetGivesThePictureOfTheBaseline) {
    BayerEngine baseline(1);
    baseline.useBaseline(true);
    for (BrxDemosaic::BayerIsa const* isa : BrxDemosaic::BayerIsa::available()) {
        BayerEngine engine(1);
        engine.useIsa(*isa);
        for (int depth : {8, 12})
            for (int pattern = 0; pattern < 4; ++pattern)
                for (int mode : {0, 1, 2}) {
                    SCOPED_TRACE(std::string(isa->name) + " depth " + std::to_string(depth) +
                                 " pattern " + std::to_string(pattern) + " mode " +
                                 std::to_string(mode));
                    Picture const pic = noisePicture(203, 29, depth, 5 * pattern + mode);
                    Image in(bayerType(pattern, depth), 203, 29);
                    mosaic(pic, pattern, in);
                    Image a(rgbType(depth), 203, 29), b(rgbType(depth), 203, 29);
                    ASSERT_TRUE(engine.run(frameOf(in, a, pattern, depth), mode));
                    ASSERT_TRUE(baseline.run(frameOf(in, b, pattern, depth), mode));
                    EXPECT_LE(maxDifference(a, b), mode == 2 ? 1 : 0);
                }
    }
}

// Large outputs are written past the caches, by aligned 16-byte stores where the rows allow;
// the pixels are the same as with ordinary stores.
TEST(BayerEngine, StreamedOutputIsTheSame) {
    BayerEngine plain(2), streamed(2);
    streamed.streamFrom(0);
    for (int depth : {8, 12})
        for (int mode : {0, 1, 2})
            for (int padding : {0, 6}) {
                SCOPED_TRACE("depth " + std::to_string(depth) + " mode " + std::to_string(mode) +
                             " padding " + std::to_string(padding));
                Picture const pic = noisePicture(333, 41, depth, 23 + mode);
                Image in(bayerType(2, depth), 333, 41);
                mosaic(pic, 2, in);
                Image a(rgbType(depth), 333, 41, padding), b(rgbType(depth), 333, 41, padding);
                ASSERT_TRUE(plain.run(frameOf(in, a, 2, depth), mode));
                ASSERT_TRUE(streamed.run(frameOf(in, b, 2, depth), mode));
                EXPECT_EQ(maxDifference(a, b), 0);
                EXPECT_TRUE(b.guardIntact());
            }
}

TEST(BayerEngine, RefusesFramesItCannotTake) {
    Image in(bayerType(1, 12), 8, 8);
    Image out(rgbType(12), 8, 8);
    BayerFrame const good = frameOf(in, out, 1, 12);
    EXPECT_TRUE(BayerEngine::valid(good));
    std::vector<BayerFrame> bad(10, good);
    bad[0].src = nullptr;
    bad[1].dst = nullptr;
    bad[2].width = 1;
    bad[3].height = 0;
    bad[4].depth = 8; // 8 bits in 16-bit words
    bad[5].pattern = 4;
    bad[6].srcStride = 15;
    bad[7].dstStride = 46;
    bad[8].src += 1; // 16-bit words on an odd address
    bad[9].bytes = 3;
    BayerEngine engine(1);
    for (size_t i = 0; i < bad.size(); ++i) {
        EXPECT_FALSE(BayerEngine::valid(bad[i])) << i;
        EXPECT_FALSE(engine.run(bad[i], 0)) << i;
    }
    EXPECT_TRUE(out.guardIntact());
    // An upward output (negative stride) is fine.
    BayerFrame up = good;
    up.dst += 7 * out.record.stride;
    up.dstStride = -up.dstStride;
    EXPECT_TRUE(engine.run(up, 2));
    EXPECT_TRUE(out.guardIntact());
}
