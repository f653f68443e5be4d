// Exposure coloration: automatic thresholds and the byte order of the display image.

#include "cpu/CPUIPExposureColoration.h"
#include "chain/QTDProcessor.h"
#include "chain/TestImages.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

using namespace QTD::Procs;
using TestImages::Image;
using TestImages::row8;

namespace {

using Rgb = std::array<uint8_t, 3>;

Rgb pixel(BrxImage* image, uint32_t x) {
    const uint8_t* p = row8(image, 0) + 3 * x;
    return {p[0], p[1], p[2]};
}

// A chain composed for `raw`, with a coloration stage made for it as the viewer makes one,
// painting onto a display image of type `displayType` filled with grey 100.
struct Rig {
    Rig(Image rawImage, uint32_t displayType)
        : raw(std::move(rawImage)), chain(nullptr, false),
          display(TestImages::make(int(raw->width), int(raw->height), displayType)) {
        std::memset(display->imageData, 100, display->imageSize);
        initCode = chain.Init(raw.get(), nullptr);
        stage = static_cast<CPUIPExposureColoration*>(
            BrxDisplayCPU::ExposureColoration::CreateComponent(chain.GetComponent()));
        stageCode = stage->Init(display.get(), nullptr);
    }
    ~Rig() {
        stage->Release();
        delete stage;
    }
    // The raw image through the chain, then the display image through the stage.
    uint32_t run() {
        const uint32_t code = chain.ProcessImage(raw.get(), nullptr, nullptr);
        return code != 0 ? code : stage->ProcessImage(display.get(), nullptr, nullptr);
    }

    Image raw;
    QTDProcessor chain;
    Image display;
    CPUIPExposureColoration* stage = nullptr;
    uint32_t initCode = 0;
    uint32_t stageCode = 0;
};

Image monoRow(std::initializer_list<uint8_t> values) {
    Image image = TestImages::make(int(values.size()), 1, PixelType::Mono8);
    std::copy(values.begin(), values.end(), row8(image.get(), 0));
    return image;
}

const Rgb Green{0, 255, 0};
const Rgb Red{255, 0, 0};
const Rgb Grey{100, 100, 100};

} // namespace

TEST(CPUIPExposureColoration, AutomaticThresholdsPaintOnlyTheExtremesOfMono) {
    Rig rig(monoRow({0, 255, 254, 1}), PixelType::RGB8);
    ASSERT_EQ(rig.initCode, 0u);
    ASSERT_EQ(rig.stageCode, 0u);
    EXPECT_EQ(rig.stage->thresLo, 1);
    EXPECT_EQ(rig.stage->thresHi, 254);
    ASSERT_EQ(rig.run(), 0u);
    EXPECT_EQ(rig.stage->Output(), rig.display.get());
    EXPECT_EQ(pixel(rig.display.get(), 0), Green);
    EXPECT_EQ(pixel(rig.display.get(), 1), Red);
    EXPECT_EQ(pixel(rig.display.get(), 2), Grey);
    EXPECT_EQ(pixel(rig.display.get(), 3), Grey);
}

TEST(CPUIPExposureColoration, ColourSumsAndBgrTargets) {
    Image raw = TestImages::make(3, 1, PixelType::RGB8);
    const uint8_t samples[9] = {255, 255, 255, 255, 255, 254, 0, 0, 0};
    std::memcpy(raw->imageData, samples, sizeof(samples));
    Rig rig(std::move(raw), PixelType::BGR8);
    ASSERT_EQ(rig.initCode, 0u);
    EXPECT_EQ(rig.stage->thresHi, 764);
    ASSERT_EQ(rig.run(), 0u);
    // Byte-swapped for blue-first pixels, so that red still looks red.
    EXPECT_EQ(pixel(rig.display.get(), 0), (Rgb{0, 0, 255}));
    EXPECT_EQ(pixel(rig.display.get(), 1), Grey);
    EXPECT_EQ(pixel(rig.display.get(), 2), Green);
}

TEST(CPUIPExposureColoration, RefusesRawFormatsAndMismatchedImages) {
    CPUIPExposureColoration stage(nullptr);
    auto bayer = TestImages::make(4, 2, PixelType::BayerGR8);
    EXPECT_EQ(stage.Init(bayer.get(), nullptr), statusWord(CodeNotSupported));
    EXPECT_EQ(stage.Init(nullptr, nullptr), statusWord(CodeBadArgument));

    Rig rig(monoRow({0, 255, 3, 4}), PixelType::RGB8);
    ASSERT_EQ(rig.chain.ProcessImage(rig.raw.get(), nullptr, nullptr), 0u);
    // A display image of another size, or with one byte per pixel, is not painted.
    auto narrow = TestImages::make(2, 1, PixelType::RGB8);
    EXPECT_EQ(rig.stage->ProcessImage(narrow.get(), nullptr, nullptr), statusWord(CodeBadArgument));
    auto mono = TestImages::make(4, 1, PixelType::Mono8);
    EXPECT_EQ(rig.stage->ProcessImage(mono.get(), nullptr, nullptr), statusWord(CodeBadArgument));

    // Without a source stage every image is refused.
    CPUIPExposureColoration alone(nullptr);
    auto display = TestImages::make(4, 1, PixelType::RGB8);
    ASSERT_EQ(alone.Init(display.get(), nullptr), 0u);
    EXPECT_EQ(alone.sourceStage, nullptr);
    EXPECT_EQ(alone.ProcessImage(display.get(), nullptr, nullptr), statusWord(CodeBadArgument));
}
