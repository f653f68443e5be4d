// The kernels behind BrxBayer, reached directly: every instruction set and the streamed stores
// against the baseline.

#include "demosaic/BayerEngine.h"

#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

#include <string>

using namespace DemosaicTest;
using BrxDemosaic::BayerEngine;
using BrxDemosaic::BayerFrame;

namespace {

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

} // namespace

// Every build of the kernels this processor runs (baseline, AVX2, AVX-512) agrees with the
// baseline: exactly for the integer methods, within one code value for RCD, whose
// floating-point sums the compiler may fuse differently. Outputs written past the caches (by
// aligned 16-byte stores where the rows allow) are the same as with ordinary stores.
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
                        SCOPED_TRACE(std::string(isa->name) + " depth " + std::to_string(depth) +
                                     " pattern " + std::to_string(pattern) + " mode " +
                                     std::to_string(mode) + " padding " + std::to_string(padding));
                        Picture const pic = noisePicture(333, 41, depth, 5 * pattern + mode);
                        Image in(bayerType(pattern, depth), 333, 41);
                        mosaic(pic, pattern, in);
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
