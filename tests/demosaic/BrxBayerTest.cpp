#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace DemosaicTest;

// A mix-up of the patterns or of red and blue costs far more than 10 dB on a smooth picture;
// the border pixels of an odd-sized one are about as good as the inner ones.
TEST(BrxBayer, EveryPatternAndDepthPutsTheColoursInPlace) {
    for (int depth : {8, 10, 12, 14, 16}) {
        Picture const pic = smoothPicture(97, 65, depth);
        for (int pattern = 0; pattern < 4; ++pattern) {
            Image in(bayerType(pattern, depth), 97, 65);
            mosaic(pic, pattern, in);
            for (int mode : {0, 1, 2}) {
                SCOPED_TRACE("depth " + std::to_string(depth) + " pattern " +
                             std::to_string(pattern) + " mode " + std::to_string(mode));
                Image out(rgbType(depth), 97, 65);
                ASSERT_EQ(Bayer(mode).run(in, out), 0);
                EXPECT_GT(psnr(pic, out), 35.0);
                EXPECT_GT(psnr(pic, out, 0), 33.0);
                Image bgr(rgbType(depth, true), 97, 65);
                ASSERT_EQ(Bayer(mode).run(in, bgr), 0);
                EXPECT_GT(psnr(pic, bgr, 4, true), 35.0);
            }
        }
    }
}

// A flat colour comes back exactly, to the last pixel of every border, for any size (odd ones
// included) and pattern: the kernels sum to one and the borders see a mirrored image, not
// black.
TEST(BrxBayer, OddSizesAndBordersAreFilled) {
    for (int mode : {0, 1, 2})
        for (int pattern = 0; pattern < 4; ++pattern)
            for (auto wh : {std::make_pair(2, 2), std::make_pair(3, 2), std::make_pair(2, 5),
                            std::make_pair(7, 5), std::make_pair(33, 17), std::make_pair(70, 23)}) {
                int const w = wh.first, h = wh.second;
                SCOPED_TRACE("mode " + std::to_string(mode) + " pattern " +
                             std::to_string(pattern) + " size " + std::to_string(w) + "x" +
                             std::to_string(h));
                Picture flat{w, h, 8, {}};
                for (int i = 0; i < w * h; ++i)
                    flat.rgb.insert(flat.rgb.end(), {200, 90, 40});
                Image in(bayerType(pattern, 8), w, h);
                mosaic(flat, pattern, in);
                Image out(rgbType(8), w, h);
                ASSERT_EQ(Bayer(mode).run(in, out), 0);
                EXPECT_EQ(psnr(flat, out, 0), 99.0); // exact
                EXPECT_TRUE(out.guardIntact());
            }
}

// Padded rows on both sides, more threads and a bottom-up output (written upside down) give
// the same pixels as tight rows, one thread and a top-down output (RCD within one code value
// over threads), and nothing is written past the rows or into the output's row padding.
TEST(BrxBayer, PaddingThreadsAndBottomUpOutputKeepThePicture) {
    for (int depth : {8, 12})
        for (int mode : {0, 1, 2}) {
            SCOPED_TRACE("depth " + std::to_string(depth) + " mode " + std::to_string(mode));
            Picture const pic = smoothPicture(301, 203, depth);
            Image in(bayerType(3, depth), 301, 203), paddedIn(bayerType(3, depth), 301, 203, 10);
            mosaic(pic, 3, in);
            mosaic(pic, 3, paddedIn);
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

// Unknown numbers and text that is no number give mode 0; bilinear differs on noise, so the
// comparison does tell the modes apart. The algorithm changes at Init only.
TEST(BrxBayer, UnknownAlgorithmsFallBackToTheGradientMethod) {
    Picture const pic = noisePicture(30, 20, 8, 3);
    Image in(bayerType(0, 8), 30, 20);
    mosaic(pic, 0, in);
    Image reference(rgbType(8), 30, 20), out(rgbType(8), 30, 20);
    ASSERT_EQ(Bayer(0).run(in, reference), 0);
    Bayer changed(1);
    ASSERT_EQ(changed.run(in, out), 0);
    EXPECT_GT(maxDifference(reference, out), 0);
    changed->GetComponent()->SetParamInt("BayerAlgType", 0);
    ASSERT_EQ(changed.run(in, out), 0);
    EXPECT_EQ(maxDifference(reference, out), 0);
    for (long alg : {-1L, 3L, 99L, 1L}) {
        Bayer bayer(alg);
        char junk[] = "fast";
        if (alg == 1) // then replaced by text
            bayer->GetComponent()->SetParamString("BayerAlgType", junk);
        ASSERT_EQ(bayer.run(in, out), 0);
        EXPECT_EQ(maxDifference(reference, out), 0) << alg;
    }
}

TEST(BrxBayer, RefusesBadImagesWithTheirCodes) {
    unsigned short const bad = BrxBayer::STATUS_BAD_IMAGE, no = BrxBayer::STATUS_NOT_SUPPORTED;
    Image in(bayerType(1, 8), 16, 8), out(rgbType(8), 16, 8);
    Image mono(0x01080101u, 16, 8), deep(rgbType(10), 16, 8), other(rgbType(8), 16, 9);
    Image in16(bayerType(1, 12), 16, 8, 1), out16(rgbType(12), 16, 8); // odd stride, 16-bit
    Bayer bayer(0);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), BrxBayer::STATUS_NOT_READY);
    // Missing images, an output of another kind or depth or size, an odd 16-bit stride.
    struct Pair {
        BrxImage* in;
        BrxImage* out;
        unsigned short code;
    } const inits[] = {{nullptr, out.get(), bad},    {in.get(), nullptr, bad},
                       {in.get(), mono.get(), no},   {in.get(), deep.get(), no},
                       {in.get(), other.get(), bad}, {in16.get(), out16.get(), bad}};
    for (Pair const& p : inits)
        EXPECT_EQ(bayer->Init(p.in, p.out), p.code) << &p - inits;
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), BrxBayer::STATUS_NOT_READY);

    // Not Bayer, or packed Bayer, or TrueSense.
    for (uint32_t type : {0x01080101u, 0x02180171u, 0x030C121Au, 0x030A2219u, 0x04080131u, 0u}) {
        Image wrong(type, 16, 8);
        EXPECT_EQ(bayer->Init(wrong.get(), out.get()), no) << type;
    }
    // Too small, strides and buffer sizes that do not hold the rows.
    for (auto wh : {std::make_pair(1, 8), std::make_pair(16, 1)}) {
        Image small(bayerType(1, 8), wh.first, wh.second),
            smallOut(rgbType(8), wh.first, wh.second);
        EXPECT_EQ(bayer->Init(small.get(), smallOut.get()), bad);
    }
    for (auto edit : {std::make_pair(&in.record.stride, 15u),
                      {&in.record.imageSize, 16 * 8 - 1u},
                      {&out.record.stride, 47u}}) {
        uint32_t const good = *edit.first;
        *edit.first = edit.second;
        EXPECT_EQ(bayer->Init(in.get(), out.get()), bad) << edit.second;
        *edit.first = good;
    }

    // A good set-up, then frames that do not fit it: missing, of another size, without pixels,
    // an output over the input's pixels.
    ASSERT_EQ(bayer->Init(in.get(), out.get()), 0);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), 0);
    Image empty(bayerType(1, 8), 16, 8), alias(rgbType(8), 16, 8);
    empty.record.imageData = nullptr;
    alias.record.imageData = in.record.imageData;
    for (Pair const& p : {Pair{nullptr, out.get(), bad}, Pair{in.get(), other.get(), bad},
                          Pair{empty.get(), out.get(), bad}, Pair{in.get(), alias.get(), bad}})
        EXPECT_EQ(bayer->ProcessImage(p.in, p.out), p.code);
    // 16-bit data on an odd address.
    Image odd16(bayerType(1, 12), 16, 8);
    ASSERT_EQ(bayer->Init(odd16.get(), out16.get()), 0);
    odd16.record.imageData = odd16.buffer.data() + 1; // the guard bytes keep it in the buffer
    EXPECT_EQ(bayer->ProcessImage(odd16.get(), out16.get()), bad);
    EXPECT_TRUE(out.guardIntact());

    // After Release nothing runs until the next Init.
    EXPECT_EQ(bayer->Release(), 0);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), BrxBayer::STATUS_NOT_READY);
    EXPECT_EQ(bayer->Init(in.get(), out.get()), 0);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), 0);
}
