// The two transport stages: packed mono and Bayer to 16-bit samples, UYVY to RGB8.

#include "chain/TestImages.h"
#include "cpu/CPUIPUnpack.h"
#include "cpu/CPUIPYUV2RGB.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

using namespace QTD::Procs;
using TestImages::row16;
using TestImages::row8;

namespace {

template <typename T> struct Owned {
    Owned() : stage(new T(nullptr)) {}
    ~Owned() {
        stage->Release();
        delete stage;
    }
    T* operator->() { return stage; }
    T* stage;
};

bool allZero(const BrxImage* image) {
    auto* bytes = static_cast<const uint8_t*>(image->imageData);
    return std::all_of(bytes, bytes + image->imageSize, [](uint8_t b) { return b == 0; });
}

} // namespace

TEST(CPUIPUnpack, Mono12pAndMono10PackedUnpack) {
    Owned<CPUIPUnpack> s;
    auto input = TestImages::make(4, 2, PixelType::Mono12p);
    const uint8_t bytes[12] = {0xFF, 0x0F, 0x00, 0x00, 0xF0, 0xFF, 0x21, 0x43, 0x65, 0, 0, 0};
    std::memcpy(input->imageData, bytes, sizeof(bytes));
    input->imageID = 42;
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    EXPECT_EQ(s->Format(false)->pixelType, PixelType::Mono12);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    BrxImage* out = s->Output();
    EXPECT_EQ(out->imageID, 42u);
    EXPECT_EQ(row16(out, 0)[0], 4095);
    EXPECT_EQ(row16(out, 0)[1], 0);
    EXPECT_EQ(row16(out, 0)[3], 4095);
    EXPECT_EQ(row16(out, 1)[0], 0x321);
    EXPECT_EQ(row16(out, 1)[1], 0x654);

    Owned<CPUIPUnpack> g;
    auto gev = TestImages::make(2, 1, PixelType::Mono10Packed);
    const uint8_t gevBytes[3] = {0xFF, 0x33, 0xFF};
    std::memcpy(gev->imageData, gevBytes, sizeof(gevBytes));
    ASSERT_EQ(g->Init(gev.get(), nullptr), 0u);
    EXPECT_EQ(g->Format(false)->pixelType, PixelType::Mono10);
    ASSERT_EQ(g->ProcessImage(gev.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(row16(g->Output(), 0)[0], 1023);
    EXPECT_EQ(row16(g->Output(), 0)[1], 1023);
}

TEST(CPUIPUnpack, RefusalsAndFailures) {
    Owned<CPUIPUnpack> s;
    EXPECT_EQ(s->Init(nullptr, nullptr), statusWord(CodeBadArgument));
    auto plain = TestImages::make(8, 2, PixelType::Mono12);
    EXPECT_EQ(s->Init(plain.get(), nullptr), statusWord(CodeNotSupported));
    auto input = TestImages::make(8, 2, PixelType::Mono12p);
    EXPECT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeFailed));
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    EXPECT_EQ(s->ProcessImage(nullptr, nullptr, nullptr), statusWord(CodeFailed));
    // A change of format between images is refused, not misread.
    EXPECT_EQ(s->ProcessImage(plain.get(), nullptr, nullptr), statusWord(CodeFailed));
    auto wider = TestImages::make(16, 2, PixelType::Mono12p);
    EXPECT_EQ(s->ProcessImage(wider.get(), nullptr, nullptr), statusWord(CodeBadArgument));
}

TEST(CPUIPUnpack, ATruncatedImageGivesBlackAndSuccess) {
    Owned<CPUIPUnpack> s;
    auto input = TestImages::make(8, 4, PixelType::Mono10p);
    std::memset(input->imageData, 0xFF, input->imageSize);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_FALSE(allZero(s->Output()));
    input->imageSize = 7; // far too few bytes for 8 x 4 pixels
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_TRUE(allZero(s->Output()));
}

TEST(CPUIPYUV2RGB, ConvertsAndGivesBlackOnAFailedConversion) {
    Owned<CPUIPYUV2RGB> s;
    auto other = TestImages::make(8, 2, PixelType::YUV422_8);
    EXPECT_EQ(s->Init(other.get(), nullptr), statusWord(CodeNotSupported));
    auto input = TestImages::make(4, 1, PixelType::YUV422_8_UYVY);
    const uint8_t grey[8] = {128, 126, 128, 126, 128, 235, 128, 16};
    std::memcpy(input->imageData, grey, sizeof(grey));
    input->imageID = 9;
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    const uint8_t* rgb = row8(s->Output(), 0);
    EXPECT_NEAR(rgb[0], 128, 2);
    EXPECT_NEAR(rgb[7], 255, 1);
    EXPECT_NEAR(rgb[11], 0, 1);
    EXPECT_EQ(s->Output()->imageID, 9u);

    input->stride = 2; // rows shorter than the pixels they must hold
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_TRUE(allZero(s->Output()));
    QTDImageHelpers::imageFreeData(input.get());
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_TRUE(allZero(s->Output()));

    // An odd width is black too, not a crash.
    Owned<CPUIPYUV2RGB> odd;
    auto five = TestImages::make(5, 2, PixelType::YUV422_8_UYVY);
    std::memset(five->imageData, 200, five->imageSize);
    ASSERT_EQ(odd->Init(five.get(), nullptr), 0u);
    ASSERT_EQ(odd->ProcessImage(five.get(), nullptr, nullptr), 0u);
    EXPECT_TRUE(allZero(odd->Output()));
}
