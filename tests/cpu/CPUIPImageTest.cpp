// The general-purpose CPU stage: copy, narrowing, mono to RGB, red-blue swap, "external" and the
// disabled pass-through.

#include "cpu/CPUIPImage.h"
#include "chain/TestImages.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace QTD::Procs;
using TestImages::Image;
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

TEST(CPUIPImage, InitRefusesWhatItCannotTake) {
    Stage s;
    EXPECT_EQ(s->Init(nullptr, nullptr), statusWord(CodeBadArgument));
    auto zero = TestImages::make(4, 4, PixelType::Mono8);
    zero->height = 0;
    EXPECT_EQ(s->Init(zero.get(), nullptr), statusWord(CodeBadArgument));
    auto packed = TestImages::make(8, 4, PixelType::Mono12p);
    EXPECT_EQ(s->Init(packed.get(), nullptr), statusWord(CodeNotSupported));
    auto uyvy = TestImages::make(8, 4, PixelType::YUV422_8_UYVY);
    EXPECT_EQ(s->Init(uyvy.get(), nullptr), statusWord(CodeNotSupported));
    EXPECT_FALSE(s->isReady());
    EXPECT_EQ(s->RunCommand("anything"), 0x80FF000Au);
}

TEST(CPUIPImage, UnsetStageFailsWithoutCrashing) {
    Stage s;
    auto input = TestImages::makeMono(8, 4, PixelType::Mono8);
    EXPECT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeNotReady));
    EXPECT_EQ(s->ProcessImage(nullptr, nullptr, nullptr), statusWord(CodeBadArgument));
    EXPECT_EQ(s->Output(), nullptr);
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
    s->Release();
    EXPECT_EQ(s->Output(), nullptr);
    EXPECT_EQ(s->ownOutput, nullptr);
}

TEST(CPUIPImage, CopiesRowsAcrossDifferentStrides) {
    Stage s;
    auto format = TestImages::make(10, 3, PixelType::Mono16);
    ASSERT_EQ(s->Init(format.get(), nullptr), 0u);
    // A camera's rows with padding of its own.
    Image camera(QTDImageHelpers::imageCreateImage(nullptr, 16, 3, PixelType::Mono16));
    camera->width = 10;
    for (uint32_t y = 0; y < 3; ++y) {
        for (uint32_t x = 0; x < 10; ++x) {
            row16(camera.get(), y)[x] = uint16_t(1000 * y + x);
        }
    }
    ASSERT_EQ(s->ProcessImage(camera.get(), nullptr, nullptr), 0u);
    BrxImage* out = s->Output();
    EXPECT_EQ(row16(out, 2)[9], 2009);
    EXPECT_EQ(row16(out, 1)[0], 1000);
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
    for (uint32_t y = 0; y < 4; ++y) {
        for (uint32_t x = 0; x < 16; ++x) {
            ASSERT_EQ(row8(out, y)[x], row16(copy.get(), y)[x] >> 4) << x << "," << y;
        }
    }
    // The source stays as it came: the shift works on the stage's own copy.
    EXPECT_EQ(std::memcmp(input->imageData, copy->imageData, input->imageSize), 0);
}

TEST(CPUIPImage, NarrowingTypes) {
    const std::pair<uint32_t, uint32_t> cases[] = {
        {PixelType::Mono16, PixelType::Mono8},
        {PixelType::BayerRG12, PixelType::BayerRG8},
        {PixelType::TrueSense_BGGR_WBBW_0_12, PixelType::TrueSense_BGGR_WBBW_0_8},
    };
    for (auto [from, to] : cases) {
        Stage s;
        s->SetParamInt("depth", 8);
        auto input = TestImages::make(8, 2, from);
        ASSERT_EQ(s->Init(input.get(), nullptr), 0u) << std::hex << from;
        EXPECT_EQ(s->Format(false)->pixelType, to) << std::hex << from;
    }
}

TEST(CPUIPImage, ExternalWritesIntoTheCallersImage) {
    Stage s;
    s->SetParamInt("external", 1);
    auto input = TestImages::makeColor8(6, 2, PixelType::BGR8);
    auto target = TestImages::make(6, 2, PixelType::RGB8);
    ASSERT_EQ(s->Init(input.get(), target.get()), 0u);
    EXPECT_EQ(s->ownOutput, nullptr);
    EXPECT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeNotReady));
    auto small = TestImages::make(5, 2, PixelType::RGB8);
    EXPECT_EQ(s->ProcessImage(input.get(), small.get(), nullptr), statusWord(CodeNotReady));
    ASSERT_EQ(s->ProcessImage(input.get(), target.get(), nullptr), 0u);
    EXPECT_EQ(s->Output(), target.get());
    for (uint32_t x = 0; x < 6; ++x) {
        const uint8_t* from = row8(input.get(), 1) + 3 * x;
        const uint8_t* to = row8(target.get(), 1) + 3 * x;
        EXPECT_EQ(to[0], from[2]);
        EXPECT_EQ(to[1], from[1]);
        EXPECT_EQ(to[2], from[0]);
    }
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
            mono ? TestImages::makeMono(11, 3, c.from) : TestImages::makeColor8(11, 3, c.from);
        auto copy =
            mono ? TestImages::makeMono(11, 3, c.from) : TestImages::makeColor8(11, 3, c.from);
        auto display = TestImages::make(11, 3, PixelType::RGB8);
        ASSERT_EQ(s->Init(input.get(), display.get()), 0u);
        EXPECT_EQ(s->convertFlags, c.flags) << std::hex << c.from;
        ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
        BrxImage* out = s->Output();
        ASSERT_EQ(out->pixelType, PixelType::RGB8);
        const int shift = int(copy->bitsPerChannel) - 8;
        for (uint32_t y = 0; y < 3; ++y) {
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
                for (int k = 0; k < 3; ++k) {
                    ASSERT_EQ(got[k], want[k])
                        << std::hex << c.from << std::dec << " " << x << "," << y << " " << k;
                }
            }
        }
    }
}

TEST(CPUIPImage, DeepSamplesAboveTheDepthSaturate) {
    // Wide enough for the vectorised part of a row and its scalar tail.
    Stage s;
    auto input = TestImages::make(40, 2, PixelType::Mono12);
    const uint16_t samples[5] = {0xFFFF, 0x1000, 4095, 16, 15};
    for (uint32_t y = 0; y < 2; ++y) {
        for (uint32_t x = 0; x < 40; ++x) {
            row16(input.get(), y)[x] = samples[(x + y) % 5];
        }
    }
    auto display = TestImages::make(40, 2, PixelType::RGB8);
    ASSERT_EQ(s->Init(input.get(), display.get()), 0u);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    const uint8_t expected[5] = {255, 255, 255, 1, 0};
    for (uint32_t y = 0; y < 2; ++y) {
        for (uint32_t x = 0; x < 40; ++x) {
            for (int c = 0; c < 3; ++c) {
                ASSERT_EQ(row8(s->Output(), y)[3 * x + c], expected[(x + y) % 5]) << x << "," << y;
            }
        }
    }
}

TEST(CPUIPImage, DeepColourNarrowsIntoAnRgb8Output) {
    Stage s;
    auto input = TestImages::make(5, 2, PixelType::RGB12);
    for (uint32_t y = 0; y < 2; ++y) {
        for (uint32_t i = 0; i < 15; ++i) {
            row16(input.get(), y)[i] = uint16_t(i * 250 + y);
        }
    }
    auto display = TestImages::make(5, 2, PixelType::RGB8);
    ASSERT_EQ(s->Init(input.get(), display.get()), 0u);
    EXPECT_EQ(s->convertFlags, CPUIPImage::ReduceDepth);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    for (uint32_t i = 0; i < 15; ++i) {
        EXPECT_EQ(row8(s->Output(), 1)[i], (i * 250 + 1) >> 4);
    }
}

TEST(CPUIPImage, FlipAndRepeatedInit) {
    Stage s;
    s->SetParamInt("image.flip.vert", 1);
    auto input = TestImages::make(8, 4, PixelType::Mono8);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    EXPECT_EQ(s->Format(false)->orientation, 1u);
    input->orientation = 1; // bottom-up input, inverted again
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    EXPECT_EQ(s->Format(false)->orientation, 0u);

    auto other = TestImages::make(6, 2, PixelType::RGB8);
    ASSERT_EQ(s->Init(other.get(), nullptr), 0u);
    EXPECT_EQ(s->Format(true)->width, 6u);
    EXPECT_EQ(s->Format(false)->pixelType, PixelType::RGB8);
    EXPECT_EQ(s->ownOutput->width, 6u);
}

TEST(CPUIPImage, MismatchedImagesFailWithoutTouchingMemory) {
    Stage s;
    auto format = TestImages::make(8, 4, PixelType::Mono12);
    auto display = TestImages::make(8, 4, PixelType::RGB8);
    ASSERT_EQ(s->Init(format.get(), display.get()), 0u);
    auto wider = TestImages::makeMono(12, 4, PixelType::Mono12);
    EXPECT_EQ(s->ProcessImage(wider.get(), nullptr, nullptr), statusWord(CodeFailed));
    auto noData = TestImages::make(8, 4, PixelType::Mono12);
    QTDImageHelpers::imageFreeData(noData.get());
    EXPECT_EQ(s->ProcessImage(noData.get(), nullptr, nullptr), statusWord(CodeBadArgument));
}
