#include <brx/BrxBayer.h>

#include "DemosaicTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using namespace DemosaicTest;

namespace {

// One instance for one algorithm, released and deleted at the end of the scope.
class Bayer {
public:
    explicit Bayer(long algorithm, long threads = 0) : bayer(BrxBayer::CreateComponent()) {
        bayer->GetComponent()->SetParamInt("BayerAlgType", algorithm);
        bayer->GetComponent()->SetParamInt("BayerThreads", threads);
    }
    ~Bayer() {
        bayer->Release();
        BrxBayer::DeleteComponent(bayer);
    }
    BrxBayer* operator->() { return bayer; }

    unsigned short run(Image& in, Image& out) {
        unsigned short const code = bayer->Init(in.get(), out.get());
        return code ? code : bayer->ProcessImage(in.get(), out.get());
    }

private:
    BrxBayer* bayer;
};

bool samePixels(Image const& a, Image const& b, int tolerance = 0) {
    for (uint32_t y = 0; y < a.record.height; ++y)
        for (uint32_t x = 0; x < a.record.width; ++x)
            for (int c = 0; c < 3; ++c)
                if (std::abs(int(a.sample(x, y, c)) - int(b.sample(x, y, c))) > tolerance)
                    return false;
    return true;
}

} // namespace

TEST(BrxBayer, CreatesWithDefaultParameters) {
    BrxBayer* bayer = BrxBayer::CreateComponent();
    ASSERT_NE(bayer, nullptr);
    BrxComponent* component = bayer->GetComponent();
    ASSERT_NE(component, nullptr);
    long value = -1;
    EXPECT_EQ(component->GetParamInt("BayerAlgType", &value), 0u);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(component->GetParamInt("BayerThreads", &value), 0u);
    EXPECT_EQ(value, 0);
    EXPECT_EQ(bayer->Release(), 0);
    BrxBayer::DeleteComponent(bayer);
    BrxBayer::DeleteComponent(nullptr);
}

// A mix-up of the patterns or of red and blue costs far more than 10 dB on a smooth picture.
TEST(BrxBayer, EveryPatternAndDepthPutsTheColoursInPlace) {
    for (int depth : {8, 10, 12, 14, 16}) {
        Picture const pic = smoothPicture(96, 64, depth);
        for (int pattern = 0; pattern < 4; ++pattern) {
            Image in(bayerType(pattern, depth), 96, 64);
            mosaic(pic, pattern, in);
            for (int mode : {0, 1, 2}) {
                SCOPED_TRACE("depth " + std::to_string(depth) + " pattern " +
                             std::to_string(pattern) + " mode " + std::to_string(mode));
                Image out(rgbType(depth), 96, 64);
                ASSERT_EQ(Bayer(mode).run(in, out), 0);
                EXPECT_GT(psnr(pic, out), 35.0);
                Image bgr(rgbType(depth, true), 96, 64);
                ASSERT_EQ(Bayer(mode).run(in, bgr), 0);
                EXPECT_GT(psnr(pic, bgr, 4, true), 35.0);
            }
        }
    }
}

TEST(BrxBayer, AWrongPatternIsSeen) {
    Picture const pic = smoothPicture(96, 64, 8);
    Image in(bayerType(1, 8), 96, 64);
    mosaic(pic, 1, in);
    for (int wrong : {0, 2, 3}) {
        in.record.pixelType = bayerType(wrong, 8);
        Image out(rgbType(8), 96, 64);
        ASSERT_EQ(Bayer(0).run(in, out), 0);
        EXPECT_LT(psnr(pic, out), 25.0) << "pattern " << wrong;
    }
}

// A flat colour comes back exactly, to the last pixel of every border, for any size and
// pattern: the kernels sum to one and the borders see a mirrored image, not black.
TEST(BrxBayer, FlatColourComesBackEverywhere) {
    uint16_t const colour[3] = {200, 90, 40};
    for (int mode : {0, 1, 2})
        for (int pattern = 0; pattern < 4; ++pattern)
            for (auto size :
                 {std::make_pair(2, 2), std::make_pair(3, 2), std::make_pair(2, 5),
                  std::make_pair(7, 5), std::make_pair(33, 17), std::make_pair(70, 23)}) {
                int const w = size.first, h = size.second;
                SCOPED_TRACE("mode " + std::to_string(mode) + " pattern " +
                             std::to_string(pattern) + " size " + std::to_string(w) + "x" +
                             std::to_string(h));
                Image in(bayerType(pattern, 8), w, h);
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x)
                        in.setSample(x, y, colour[cfaChannel(pattern, x, y)]);
                Image out(rgbType(8), w, h);
                ASSERT_EQ(Bayer(mode).run(in, out), 0);
                bool exact = true;
                for (int y = 0; y < h; ++y)
                    for (int x = 0; x < w; ++x)
                        for (int c = 0; c < 3; ++c)
                            exact = exact && out.sample(x, y, c) == colour[c];
                EXPECT_TRUE(exact);
                EXPECT_TRUE(out.guardIntact());
            }
}

// The border pixels of a smooth picture are about as good as the inner ones.
TEST(BrxBayer, BordersFollowThePicture) {
    Picture const pic = smoothPicture(61, 47, 12);
    for (int mode : {0, 1, 2})
        for (int pattern = 0; pattern < 4; ++pattern) {
            Image in(bayerType(pattern, 12), 61, 47);
            mosaic(pic, pattern, in);
            Image out(rgbType(12), 61, 47);
            ASSERT_EQ(Bayer(mode).run(in, out), 0);
            EXPECT_GT(psnr(pic, out, 0), 33.0) << "mode " << mode << " pattern " << pattern;
        }
}

// Padded rows on both sides give the same pixels as tight ones and nothing is written past
// the rows.
TEST(BrxBayer, HonoursStridesAndStaysInsideTheBuffers) {
    Picture const pic = noisePicture(53, 31, 8, 7);
    for (int depth : {8, 12})
        for (int mode : {0, 1, 2}) {
            Picture p = pic;
            p.depth = depth;
            Image tightIn(bayerType(3, depth), 53, 31);
            Image paddedIn(bayerType(3, depth), 53, 31, 10);
            mosaic(p, 3, tightIn);
            mosaic(p, 3, paddedIn);
            Image tightOut(rgbType(depth), 53, 31);
            Image paddedOut(rgbType(depth), 53, 31, 6);
            ASSERT_EQ(Bayer(mode).run(tightIn, tightOut), 0);
            ASSERT_EQ(Bayer(mode).run(paddedIn, paddedOut), 0);
            EXPECT_TRUE(samePixels(tightOut, paddedOut)) << "mode " << mode;
            EXPECT_TRUE(tightOut.guardIntact());
            EXPECT_TRUE(paddedOut.guardIntact());
            // The padding of each output row is left alone.
            bool padding = true;
            for (uint32_t y = 0; y < 31; ++y)
                for (uint32_t i = 53 * 3 * paddedOut.bytes(); i < paddedOut.record.stride; ++i)
                    padding = padding && paddedOut.buffer[y * paddedOut.record.stride + i] ==
                                             Image::GUARD_VALUE;
            EXPECT_TRUE(padding);
        }
}

TEST(BrxBayer, WritesUpsideDownIntoABottomUpOutput) {
    Picture const pic = smoothPicture(40, 30, 8);
    Image in(bayerType(2, 8), 40, 30);
    mosaic(pic, 2, in);
    Image upright(rgbType(8), 40, 30);
    Image flipped(rgbType(8), 40, 30);
    flipped.record.orientation = 1;
    ASSERT_EQ(Bayer(2).run(in, upright), 0);
    ASSERT_EQ(Bayer(2).run(in, flipped), 0);
    for (int y = 0; y < 30; ++y)
        ASSERT_EQ(std::memcmp(&upright.buffer[y * upright.record.stride],
                              &flipped.buffer[(29 - y) * flipped.record.stride],
                              upright.record.stride),
                  0)
            << "row " << y;
    EXPECT_TRUE(flipped.guardIntact());
}

TEST(BrxBayer, UnknownAlgorithmsFallBackToTheGradientMethod) {
    Picture const pic = noisePicture(30, 20, 8, 3);
    Image in(bayerType(0, 8), 30, 20);
    mosaic(pic, 0, in);
    Image reference(rgbType(8), 30, 20);
    ASSERT_EQ(Bayer(0).run(in, reference), 0);
    for (long alg : {-1L, 3L, 99L}) {
        Image out(rgbType(8), 30, 20);
        ASSERT_EQ(Bayer(alg).run(in, out), 0);
        EXPECT_TRUE(samePixels(reference, out)) << alg;
    }
    Bayer text(1);
    char junk[] = "fast";
    text->GetComponent()->SetParamString("BayerAlgType", junk);
    Image out(rgbType(8), 30, 20);
    ASSERT_EQ(text.run(in, out), 0);
    EXPECT_TRUE(samePixels(reference, out));
    // Bilinear differs on noise, so the comparisons above do tell the modes apart.
    Image bilinear(rgbType(8), 30, 20);
    ASSERT_EQ(Bayer(1).run(in, bilinear), 0);
    EXPECT_FALSE(samePixels(reference, bilinear));
}

TEST(BrxBayer, ThreadCountDoesNotChangeThePicture) {
    Picture const pic = smoothPicture(300, 203, 8);
    Image in(bayerType(1, 8), 300, 203);
    mosaic(pic, 1, in);
    for (int mode : {0, 1, 2}) {
        Image one(rgbType(8), 300, 203);
        Image many(rgbType(8), 300, 203);
        ASSERT_EQ(Bayer(mode, 1).run(in, one), 0);
        ASSERT_EQ(Bayer(mode, 5).run(in, many), 0);
        EXPECT_TRUE(samePixels(one, many, mode == 2 ? 1 : 0)) << "mode " << mode;
    }
}

TEST(BrxBayer, RefusesBadImagesWithTheirCodes) {
    Image in(bayerType(1, 8), 16, 8);
    Image out(rgbType(8), 16, 8);
    Bayer bayer(0);
    // Nothing set up yet.
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), BrxBayer::STATUS_NOT_READY);
    EXPECT_EQ(bayer->Init(nullptr, out.get()), BrxBayer::STATUS_BAD_IMAGE);
    EXPECT_EQ(bayer->Init(in.get(), nullptr), BrxBayer::STATUS_BAD_IMAGE);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), BrxBayer::STATUS_NOT_READY);

    // Not Bayer, or packed Bayer, or TrueSense, or an output of another kind or depth.
    for (uint32_t type : {0x01080101u, 0x02180171u, 0x030C121Au, 0x030A2219u, 0x04080131u, 0u}) {
        Image wrong(type, 16, 8);
        EXPECT_EQ(bayer->Init(wrong.get(), out.get()), BrxBayer::STATUS_NOT_SUPPORTED) << type;
    }
    Image mono(0x01080101u, 16, 8);
    EXPECT_EQ(bayer->Init(in.get(), mono.get()), BrxBayer::STATUS_NOT_SUPPORTED);
    Image deep(rgbType(10), 16, 8);
    EXPECT_EQ(bayer->Init(in.get(), deep.get()), BrxBayer::STATUS_NOT_SUPPORTED);

    // Sizes.
    Image other(rgbType(8), 16, 9);
    EXPECT_EQ(bayer->Init(in.get(), other.get()), BrxBayer::STATUS_BAD_IMAGE);
    Image narrow(bayerType(1, 8), 1, 8);
    Image narrowOut(rgbType(8), 1, 8);
    EXPECT_EQ(bayer->Init(narrow.get(), narrowOut.get()), BrxBayer::STATUS_BAD_IMAGE);
    Image flat(bayerType(1, 8), 16, 1);
    Image flatOut(rgbType(8), 16, 1);
    EXPECT_EQ(bayer->Init(flat.get(), flatOut.get()), BrxBayer::STATUS_BAD_IMAGE);

    // Strides and buffer sizes that do not hold the rows.
    in.record.stride = 15;
    EXPECT_EQ(bayer->Init(in.get(), out.get()), BrxBayer::STATUS_BAD_IMAGE);
    in.record.stride = 16;
    in.record.imageSize = 16 * 8 - 1;
    EXPECT_EQ(bayer->Init(in.get(), out.get()), BrxBayer::STATUS_BAD_IMAGE);
    in.record.imageSize = 16 * 8;
    out.record.stride = 47;
    EXPECT_EQ(bayer->Init(in.get(), out.get()), BrxBayer::STATUS_BAD_IMAGE);
    out.record.stride = 48;
    Image in16(bayerType(1, 12), 16, 8, 1); // an odd stride for 16-bit words
    Image out16(rgbType(12), 16, 8);
    EXPECT_EQ(bayer->Init(in16.get(), out16.get()), BrxBayer::STATUS_BAD_IMAGE);

    // A good set-up, then frames that do not fit it.
    ASSERT_EQ(bayer->Init(in.get(), out.get()), 0);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), 0);
    EXPECT_EQ(bayer->ProcessImage(nullptr, out.get()), BrxBayer::STATUS_BAD_IMAGE);
    EXPECT_EQ(bayer->ProcessImage(in.get(), other.get()), BrxBayer::STATUS_BAD_IMAGE);
    void* data = in.record.imageData;
    in.record.imageData = nullptr;
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), BrxBayer::STATUS_BAD_IMAGE);
    in.record.imageData = data;
    // Output over the input's pixels.
    Image alias(rgbType(8), 16, 8);
    alias.record.imageData = in.record.imageData;
    EXPECT_EQ(bayer->ProcessImage(in.get(), alias.get()), BrxBayer::STATUS_BAD_IMAGE);
    // 16-bit data on an odd address.
    Image odd16(bayerType(1, 12), 16, 8);
    ASSERT_EQ(bayer->Init(odd16.get(), out16.get()), 0);
    odd16.record.imageData = odd16.buffer.data() + 1; // the guard bytes keep it in the buffer
    EXPECT_EQ(bayer->ProcessImage(odd16.get(), out16.get()), BrxBayer::STATUS_BAD_IMAGE);
    EXPECT_TRUE(out.guardIntact());

    // After Release nothing runs until the next Init.
    EXPECT_EQ(bayer->Release(), 0);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), BrxBayer::STATUS_NOT_READY);
    EXPECT_EQ(bayer->Init(in.get(), out.get()), 0);
    EXPECT_EQ(bayer->ProcessImage(in.get(), out.get()), 0);
}

// A set-up takes any later frame of the same kind, and a second set-up replaces the first.
TEST(BrxBayer, InitTwiceAndChangeOfAlgorithm) {
    Picture const pic = noisePicture(24, 16, 8, 11);
    Image in(bayerType(2, 8), 24, 16);
    mosaic(pic, 2, in);
    Image a(rgbType(8), 24, 16), b(rgbType(8), 24, 16), c(rgbType(8), 24, 16);
    Bayer bayer(1);
    ASSERT_EQ(bayer.run(in, a), 0);
    bayer->GetComponent()->SetParamInt("BayerAlgType", 2);
    ASSERT_EQ(bayer->ProcessImage(in.get(), b.get()), 0);
    EXPECT_TRUE(samePixels(a, b)); // the algorithm changes at Init only
    ASSERT_EQ(bayer.run(in, c), 0);
    Image rcd(rgbType(8), 24, 16);
    ASSERT_EQ(Bayer(2).run(in, rcd), 0);
    EXPECT_TRUE(samePixels(rcd, c));
}
