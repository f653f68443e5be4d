// The kernels behind BrxBayer, reached directly: every instruction set and the streamed stores
// against the baseline.

#include "demosaic/BayerEngine.h"

#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>

using namespace DemosaicTest;
using BrxDemosaic::BayerEngine;
using BrxDemosaic::BayerFrame;

namespace {

BayerFrame frameOf(Image const& in, Image& out, int pattern, int depth) {
    auto* src = static_cast<uint8_t const*>(in.record.imageData);
    auto* dst = static_cast<uint8_t*>(out.record.imageData);
    int const w = int(in.record.width), h = int(in.record.height);
    return {src, in.record.stride, dst, out.record.stride, w, h, pattern, depth, depth > 8 ? 2 : 1};
}

} // namespace

// Every build of the kernels this processor runs agrees with the baseline: exactly for the
// integer methods, within one code value for RCD and a thousandth of the range for the quality
// method, whose floating-point sums the compiler may
// fuse differently; outputs streamed past the caches equal those of ordinary stores.
TEST(BayerEngine, EveryInstructionSetAndStreamedOutputGiveThePictureOfTheBaseline) {
    BayerEngine baseline(1);
    baseline.useBaseline(true);
    for (BrxDemosaic::BayerIsa const* isa : BrxDemosaic::BayerIsa::available()) {
        BayerEngine plain(2), streamed(2);
        plain.useIsa(*isa);
        streamed.useIsa(*isa);
        streamed.streamFrom(0);
        for (int depth : {8, 12})
            for (int pattern = 0; pattern < 4; ++pattern)
                for (int mode : {0, 1, 2, 3})
                    for (int padding : {0, 6}) {
                        SCOPED_TRACE(testing::Message()
                                     << isa->name << " depth " << depth << " pattern " << pattern
                                     << " mode " << mode << " padding " << padding);
                        Picture const pic = noisePicture(333, 41, depth, 5 * pattern + mode);
                        Image in(pic, pattern);
                        Image a(rgbType(depth), 333, 41, padding),
                            b(rgbType(depth), 333, 41, padding),
                            s(rgbType(depth), 333, 41, padding);
                        ASSERT_TRUE(plain.run(frameOf(in, a, pattern, depth), mode));
                        ASSERT_TRUE(baseline.run(frameOf(in, b, pattern, depth), mode));
                        ASSERT_TRUE(streamed.run(frameOf(in, s, pattern, depth), mode));
                        // The quality mode's fits divide small differences: within a
                        // thousandth of the range.
                        long const within = mode == 3   ? std::max(1, (1 << depth) / 1000)
                                            : mode == 2 ? 1
                                                        : 0;
                        EXPECT_LE(maxDifference(a, b), within);
                        EXPECT_EQ(maxDifference(a, s), 0);
                        EXPECT_TRUE(s.guardIntact());
                    }
    }
}

// The quality method's tiles carry their own context: a frame cut into tiles of any size, down
// to tiles smaller than the filters, comes out exactly as in one piece, with and without the
// edge-directed picture it weighs its green against, whatever the scratch held before.
TEST(BayerEngine, QualityTilesDoNotShowInThePicture) {
    BrxDemosaic::BayerIsa const& isa = BrxDemosaic::BayerIsa::best();
    BrxDemosaic::BayerScratch scratch;
    for (int depth : {8, 12}) {
        Picture const pic = noisePicture(61, 45, depth, 11u + unsigned(depth));
        Image in(pic, 2), second(rgbType(depth), 61, 45);
        ASSERT_TRUE(BayerEngine(1).run(frameOf(in, second, 2, depth), BrxDemosaic::ALG_RCD));
        for (bool withSecond : {false, true}) {
            Image whole(rgbType(depth), 61, 45), cut(rgbType(depth), 61, 45);
            BayerFrame fw = frameOf(in, whole, 2, depth), fc = frameOf(in, cut, 2, depth);
            if (withSecond) {
                fw.second = fc.second = static_cast<uint8_t const*>(second.record.imageData);
                fw.secondStride = fc.secondStride = second.record.stride;
            }
            ASSERT_TRUE(isa.quality(fw, 0, 0, 61, 45, scratch));
            for (auto [tw, th] : {std::pair{64, 32}, {10, 6}, {2, 2}}) {
                SCOPED_TRACE(testing::Message() << "depth " << depth << " second " << withSecond
                                                << " tiles " << tw << "x" << th);
                // Whatever another mode left in the scratch, NaN patterns included.
                std::memset(scratch.get(scratch.capacity()), 0xff, scratch.capacity());
                for (int y = 0; y < 45; y += th)
                    for (int x = 0; x < 61; x += tw)
                        ASSERT_TRUE(isa.quality(fc, x, y, std::min(tw, 61 - x),
                                                std::min(th, 45 - y), scratch));
                EXPECT_EQ(maxDifference(whole, cut), 0);
            }
        }
    }
}
