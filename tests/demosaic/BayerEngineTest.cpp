// The kernels behind BrxBayer, reached directly: every instruction set and the streamed stores
// against the baseline.

#include "demosaic/BayerEngine.h"

#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

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
// integer methods, within one code value for RCD, whose floating-point sums the compiler may
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
                for (int mode : {0, 1, 2})
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
                        EXPECT_LE(maxDifference(a, b), mode == 2 ? 1 : 0);
                        EXPECT_EQ(maxDifference(a, s), 0);
                        EXPECT_TRUE(s.guardIntact());
                    }
    }
}
