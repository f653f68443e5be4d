// The general-purpose CPU stage: copy, narrowing, mono to RGB, red-blue swap and the disabled
// pass-through.

#include "cpu/CPUIPImage.h"
#include "chain/TestImages.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace QTD::Procs;
using TestImages::row16;
using TestImages::row8;

namespace {

struct Stage {
    Stage() : stage(new CPUIPImage(nullptr)) {}
    ~Stage() {
        stage->Release();
        BrxDisplayCPU::Image::DeleteComponent(stage);
    }
    CPUIPImage* operator->() { return stage; }
    CPUIPImage* stage;
};

} // namespace

TEST(CPUIPImage, BadInputsGiveTheirCodesWithoutCrashing) {
    Stage s;
    auto input = TestImages::makeMono(8, 4, PixelType::Mono12);
    EXPECT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeNotReady));
    EXPECT_EQ(s->ProcessImage(nullptr, nullptr, nullptr), statusWord(CodeBadArgument));
    EXPECT_EQ(s->Output(), nullptr);
    EXPECT_EQ(s->Init(nullptr, nullptr), statusWord(CodeBadArgument));
    auto zero = TestImages::make(4, 4, PixelType::Mono8);
    zero->height = 0;
    EXPECT_EQ(s->Init(zero.get(), nullptr), statusWord(CodeBadArgument));
    for (uint32_t type : {PixelType::Mono12p, PixelType::YUV422_8_UYVY}) {
        auto packed = TestImages::make(8, 4, type);
        EXPECT_EQ(s->Init(packed.get(), nullptr), statusWord(CodeNotSupported));
    }
    EXPECT_FALSE(s->isReady());

    auto display = TestImages::make(8, 4, PixelType::RGB8);
    ASSERT_EQ(s->Init(input.get(), display.get()), 0u);
    auto wider = TestImages::makeMono(12, 4, PixelType::Mono12);
    EXPECT_EQ(s->ProcessImage(wider.get(), nullptr, nullptr), statusWord(CodeFailed));
    auto noData = TestImages::make(8, 4, PixelType::Mono12);
    QTDImageHelpers::imageFreeData(noData.get());
    EXPECT_EQ(s->ProcessImage(noData.get(), nullptr, nullptr), statusWord(CodeBadArgument));
}

TEST(CPUIPImage, PlainCopyAndRelease) {
    Stage s;
    auto input = TestImages::makeMono(13, 3, PixelType::Mono8);
    input->imageID = 5;
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    EXPECT_EQ(s->convertFlags, 0);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    BrxImage* out = s->Output();
    ASSERT_EQ(out, s->ownOutput);
    EXPECT_EQ(out->imageID, 5u);
    EXPECT_EQ(std::memcmp(out->imageData, input->imageData, input->imageSize), 0);
}

TEST(CPUIPImage, DisabledStagePassesTheInputThroughWithoutCopying) {
    Stage s;
    auto input = TestImages::makeMono(16, 4, PixelType::Mono12);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    s->Enable(false);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(s->Output(), input.get());
    // Its own buffer was not touched.
    auto* own = static_cast<uint8_t*>(s->ownOutput->imageData);
    EXPECT_TRUE(std::all_of(own, own + s->ownOutput->imageSize, [](uint8_t b) { return b == 0; }));
}

TEST(CPUIPImage, DisabledStageStillNarrowsWhenTheSizesDiffer) {
    Stage s;
    s->SetParamInt("depth", 8);
    auto input = TestImages::makeMono(16, 4, PixelType::Mono12);
    auto copy = TestImages::makeMono(16, 4, PixelType::Mono12);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    EXPECT_EQ(s->convertFlags, CPUIPImage::ReduceDepth);
    EXPECT_EQ(s->Format(false)->pixelType, PixelType::Mono8);
    s->Enable(false);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    BrxImage* out = s->Output();
    ASSERT_NE(out, input.get());
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 16; ++x)
            ASSERT_EQ(row8(out, y)[x], row16(copy.get(), y)[x] >> 4) << x << "," << y;
    // The source stays as it came: the shift works on the stage's own copy.
    EXPECT_EQ(std::memcmp(input->imageData, copy->imageData, input->imageSize), 0);
}

TEST(CPUIPImage, ColourConversionsToRgb8) {
    struct Case {
        uint32_t from;
        int32_t flags;
    };
    for (Case c : {Case{PixelType::Mono8, CPUIPImage::MonoToRgb},
                   Case{PixelType::Mono12, CPUIPImage::MonoToRgb | CPUIPImage::ReduceDepth},
                   Case{PixelType::Mono16, CPUIPImage::MonoToRgb | CPUIPImage::ReduceDepth},
                   Case{PixelType::BGR8, CPUIPImage::SwapRedBlue}, Case{PixelType::RGB8, 0}}) {
        Stage s;
        const bool mono = isIn(MONO_INDEX, c.from);
        auto input =
            mono ? TestImages::makeMono(11, 3, c.from) : TestImages::makeColour8(11, 3, c.from);
        auto copy =
            mono ? TestImages::makeMono(11, 3, c.from) : TestImages::makeColour8(11, 3, c.from);
        auto display = TestImages::make(11, 3, PixelType::RGB8);
        ASSERT_EQ(s->Init(input.get(), display.get()), 0u);
        EXPECT_EQ(s->convertFlags, c.flags) << std::hex << c.from;
        ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
        BrxImage* out = s->Output();
        ASSERT_EQ(out->pixelType, PixelType::RGB8);
        const int shift = int(copy->bitsPerChannel) - 8;
        for (uint32_t y = 0; y < 3; ++y)
            for (uint32_t x = 0; x < 11; ++x) {
                const uint8_t* got = row8(out, y) + 3 * x;
                int want[3];
                if (mono) {
                    const int v =
                        shift > 0 ? row16(copy.get(), y)[x] >> shift : row8(copy.get(), y)[x];
                    want[0] = want[1] = want[2] = v;
                } else {
                    const uint8_t* p = row8(copy.get(), y) + 3 * x;
                    const bool bgr = c.from == PixelType::BGR8;
                    want[0] = bgr ? p[2] : p[0];
                    want[1] = p[1];
                    want[2] = bgr ? p[0] : p[2];
                }
                for (int k = 0; k < 3; ++k)
                    ASSERT_EQ(got[k], want[k])
                        << std::hex << c.from << std::dec << " " << x << "," << y << " " << k;
            }
    }
}
