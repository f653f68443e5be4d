#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <utility>

using namespace DemosaicTest;

// A mix-up of the patterns or of red and blue costs far more than 10 dB on a smooth picture;
// the border pixels of an odd-sized one are about as good as the inner ones.
TEST(BrxBayer, EveryPatternAndDepthPutsTheColoursInPlace) {
    for (int depth : {8, 10, 12, 14, 16}) {
        Picture const pic = smoothPicture(97, 65, depth);
        for (int pattern = 0; pattern < 4; ++pattern) {
            Image in(pic, pattern);
            for (int mode : {0, 1, 2, 3}) {
                SCOPED_TRACE(testing::Message()
                             << "depth " << depth << " pattern " << pattern << " mode " << mode);
                Image out(rgbType(depth), 97, 65), bgr(rgbType(depth, true), 97, 65);
                ASSERT_EQ(Bayer(mode).run(in, out), 0);
                ASSERT_EQ(Bayer(mode).run(in, bgr), 0);
                EXPECT_GT(psnr(pic, out), 35.0);
                EXPECT_GT(psnr(pic, out, 0), 33.0);
                EXPECT_GT(psnr(pic, bgr, 4, true), 35.0);
            }
        }
    }
}

// A flat colour comes back exactly, to the last border pixel, for any size and pattern: the
// kernels sum to one and the borders see a mirrored image, not black.
TEST(BrxBayer, OddSizesAndBordersAreFilled) {
    int const sizes[][2] = {{2, 2}, {3, 2}, {2, 5}, {7, 5}, {33, 17}, {70, 23}};
    for (int mode : {0, 1, 2, 3})
        for (int pattern = 0; pattern < 4; ++pattern)
            for (auto [w, h] : sizes) {
                SCOPED_TRACE(testing::Message() << "mode " << mode << " pattern " << pattern
                                                << " size " << w << "x" << h);
                Picture flat{w, h, 8, {}};
                for (int i = 0; i < w * h; ++i)
                    flat.rgb.insert(flat.rgb.end(), {200, 90, 40});
                Image in(flat, pattern), out(rgbType(8), w, h);
                ASSERT_EQ(Bayer(mode).run(in, out), 0);
                EXPECT_EQ(psnr(flat, out, 0), 99.0); // exact
                EXPECT_TRUE(out.guardIntact());
            }
}

// Padded rows, more threads and a bottom-up output give the pixels of tight rows, one thread and
// a top-down output (RCD within one code value over threads; the quality mode's tiles do not
// depend on the threads); nothing lands in row padding.
TEST(BrxBayer, PaddingThreadsAndBottomUpOutputKeepThePicture) {
    for (int depth : {8, 12})
        for (int mode : {0, 1, 2, 3}) {
            SCOPED_TRACE(testing::Message() << "depth " << depth << " mode " << mode);
            Picture const pic = smoothPicture(301, 203, depth);
            Image in(pic, 3), paddedIn(pic, 3, 10);
            Image one(rgbType(depth), 301, 203), padded(rgbType(depth), 301, 203, 6),
                many(rgbType(depth), 301, 203), flipped(rgbType(depth), 301, 203);
            flipped.record.orientation = 1;
            ASSERT_EQ(Bayer(mode, 1).run(in, one), 0);
            ASSERT_EQ(Bayer(mode, 1).run(paddedIn, padded), 0);
            ASSERT_EQ(Bayer(mode, 5).run(in, many), 0);
            ASSERT_EQ(Bayer(mode, 1).run(in, flipped), 0);
            EXPECT_EQ(maxDifference(one, padded), 0);
            EXPECT_LE(maxDifference(one, many), mode == 2 ? 1 : 0);
            EXPECT_EQ(maxDifference(one, flipped, true), 0);
            for (Image const* out : {&one, &padded, &many, &flipped})
                EXPECT_TRUE(out->guardIntact());
            long kept = 0; // the padding bytes of the output rows
            for (int y = 0; y < 203; ++y)
                kept += std::count(&padded.buffer[padded.offset(301, y, 0)],
                                   &padded.buffer[padded.offset(0, y + 1, 0)], Image::GUARD_VALUE);
            EXPECT_EQ(kept, 6 * 203);
        }
}

// Unknown numbers and text that is no number give mode 0, which noise tells apart from bilinear.
TEST(BrxBayer, UnknownAlgorithmsFallBackToTheGradientMethod) {
    Picture const pic = noisePicture(30, 20, 8, 3);
    Image in(pic, 0), reference(rgbType(8), 30, 20), out(rgbType(8), 30, 20);
    ASSERT_EQ(Bayer(0).run(in, reference), 0);
    ASSERT_EQ(Bayer(1).run(in, out), 0);
    EXPECT_GT(maxDifference(reference, out), 0);
    for (char const* alg : {"-1", "4", "99", "fast"}) {
        Bayer bayer(1);
        bayer->GetComponent()->SetParamString("BayerAlgType", const_cast<char*>(alg));
        ASSERT_EQ(bayer.run(in, out), 0);
        EXPECT_EQ(maxDifference(reference, out), 0) << alg;
    }
}

TEST(BrxBayer, RefusesBadImagesWithTheirCodes) {
    unsigned short const bad = BrxBayer::STATUS_BAD_IMAGE, no = BrxBayer::STATUS_NOT_SUPPORTED;
    Image in(bayerType(1, 8), 16, 8), out(rgbType(8), 16, 8);
    Image mono(0x01080101u, 16, 8), deep(rgbType(10), 16, 8), other(rgbType(8), 16, 9);
    Image in16(bayerType(1, 12), 16, 8, 1), out16(rgbType(12), 16, 8); // odd stride, 16-bit
    Image thin(bayerType(1, 8), 1, 8), thinOut(rgbType(8), 1, 8);
    Image low(bayerType(1, 8), 16, 1), lowOut(rgbType(8), 16, 1);
    Bayer bayer(0);
    // Missing images, an output of another kind or depth or size, an odd 16-bit stride, images
    // too small.
    using Case = std::tuple<BrxImage*, BrxImage*, unsigned short>;
    Case const inits[] = {{nullptr, out.get(), bad},        {in.get(), nullptr, bad},
                          {in.get(), mono.get(), no},       {in.get(), deep.get(), no},
                          {in.get(), other.get(), bad},     {in16.get(), out16.get(), bad},
                          {thin.get(), thinOut.get(), bad}, {low.get(), lowOut.get(), bad}};
    for (Case const& c : inits)
        EXPECT_EQ(bayer->Init(std::get<0>(c), std::get<1>(c)), std::get<2>(c)) << &c - inits;
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), BrxBayer::STATUS_NOT_READY);

    // Not Bayer, or packed Bayer, or TrueSense.
    for (uint32_t type : {0x01080101u, 0x02180171u, 0x030C121Au, 0x030A2219u, 0x04080131u, 0u}) {
        Image wrong(type, 16, 8);
        EXPECT_EQ(bayer->Init(wrong.get(), out.get()), no) << type;
    }
    // Strides and buffer sizes that do not hold the rows.
    for (auto [field, value] : {std::make_pair(&in.record.stride, 15u),
                                {&in.record.imageSize, 16 * 8 - 1u},
                                {&out.record.stride, 47u}}) {
        uint32_t const good = std::exchange(*field, value);
        EXPECT_EQ(bayer->Init(in.get(), out.get()), bad) << value;
        *field = good;
    }

    // A good set-up, then frames that do not fit it: missing, of another size, without pixels,
    // an output over the input's pixels.
    ASSERT_EQ(bayer->Init(in.get(), out.get()), 0);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), 0);
    Image empty(bayerType(1, 8), 16, 8), alias(rgbType(8), 16, 8);
    empty.record.imageData = nullptr;
    alias.record.imageData = in.record.imageData;
    for (Case const& c : {Case{nullptr, out.get(), bad}, Case{in.get(), other.get(), bad},
                          Case{empty.get(), out.get(), bad}, Case{in.get(), alias.get(), bad}})
        EXPECT_EQ(bayer->ProcessImage(std::get<0>(c), std::get<1>(c)), std::get<2>(c));
    // 16-bit data on an odd address.
    Image odd16(bayerType(1, 12), 16, 8);
    ASSERT_EQ(bayer->Init(odd16.get(), out16.get()), 0);
    odd16.record.imageData = odd16.buffer.data() + 1; // the guard bytes keep it in the buffer
    EXPECT_EQ(bayer->ProcessImage(odd16.get(), out16.get()), bad);
    EXPECT_TRUE(out.guardIntact());
    // After Release nothing runs until the next Init.
    EXPECT_EQ(bayer->Release(), 0);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), BrxBayer::STATUS_NOT_READY);
}
