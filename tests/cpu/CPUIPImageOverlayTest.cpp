// Texts burnt into mono and colour images in place.

#include "cpu/CPUIPImageOverlay.h"
#include "chain/TestImages.h"
#include "cpu/MEMSurface.h"
#include "screen/SurfaceText.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <vector>

using namespace QTD::Procs;
using TestImages::row8;

namespace {

struct Stage {
    Stage()
        : stage(static_cast<CPUIPImageOverlay*>(
              BrxDisplayCPU::ImageOverlay::CreateComponent(nullptr))) {}
    ~Stage() {
        stage->Release();
        BrxDisplayCPU::ImageOverlay::DeleteComponent(stage);
    }
    CPUIPImageOverlay* operator->() { return stage; }
    CPUIPImageOverlay* stage;
};

TestImages::Image flat(int width, int height, uint32_t type, uint8_t value) {
    auto image = TestImages::make(width, height, type);
    std::memset(image->imageData, value, image->imageSize);
    return image;
}

std::vector<uint8_t> bytesOf(BrxImage* image) {
    auto* data = static_cast<uint8_t*>(image->imageData);
    return std::vector<uint8_t>(data, data + image->imageSize);
}

struct Box {
    int x0, y0, x1, y1; // inclusive
};

// Where the pixels of `image` differ from `before`, as a bounding box; count in `changed`.
Box changedBox(BrxImage* image, std::vector<uint8_t> const& before, int& changed) {
    Box box{INT32_MAX, INT32_MAX, -1, -1};
    changed = 0;
    const int bytes = int(image->bitsPerPixel / 8);
    for (int y = 0; y < int(image->height); ++y)
        for (int x = 0; x < int(image->width); ++x)
            for (int b = 0; b < bytes; ++b) {
                const size_t at = size_t(y) * image->stride + size_t(x) * bytes + b;
                if (before[at] == static_cast<uint8_t*>(image->imageData)[at])
                    continue;
                ++changed;
                box = {std::min(box.x0, x), std::min(box.y0, y), std::max(box.x1, x),
                       std::max(box.y1, y)};
            }
    return box;
}

} // namespace

TEST(CPUIPImageOverlay, RefusesWhatItCannotDrawOn) {
    Stage s;
    for (uint32_t type : {PixelType::BayerRG8, PixelType::Mono12p, PixelType::YUV422_8_UYVY,
                          PixelType::TrueSense_BGGR_WBBW_0_8}) {
        auto input = TestImages::make(8, 2, type);
        EXPECT_EQ(s->Init(input.get(), nullptr), statusWord(CodeNotSupported)) << std::hex << type;
    }
    EXPECT_EQ(s->Init(nullptr, nullptr), statusWord(CodeBadArgument));
    auto image = flat(8, 4, PixelType::Mono8, 1);
    EXPECT_EQ(s->ProcessImage(image.get(), nullptr, nullptr), statusWord(CodeNotReady));
    ASSERT_EQ(s->Init(image.get(), nullptr), 0u);
    EXPECT_EQ(s->ProcessImage(nullptr, nullptr, nullptr), statusWord(CodeBadArgument));
}

TEST(CPUIPImageOverlay, NumbersThatDoNotReadRaiseToTheCaller) {
    Stage s;
    auto image = flat(40, 20, PixelType::Mono8, 7);
    const auto before = bytesOf(image.get());
    ASSERT_EQ(s->Init(image.get(), nullptr), 0u);
    s->properties.set("text.text", "A", true);
    s->properties.set("text.pos.x", "left", true);
    EXPECT_THROW(s->RunCommand("text.add"), std::invalid_argument);
    s->properties.set("text.pos.x", "99999999999", true);
    EXPECT_THROW(s->RunCommand("text.add"), std::out_of_range);
    CPUIPImageOverlay::Map bad{{"rect.x", "wide"}};
    EXPECT_THROW(s->RunCommandParams("cmd.rect.add", &bad), std::invalid_argument);
    EXPECT_EQ(s->objects.count(), 0);

    // A colour that does not read fails the frame by exception, and the surface lets go of
    // the caller's pixels all the same.
    CPUIPImageOverlay::Map colour{{"text.clr", "white"}};
    ASSERT_FALSE(s->SetOverlayText("A", 1, 1, &colour).empty());
    EXPECT_THROW(s->ProcessImage(image.get(), nullptr, nullptr), std::invalid_argument);
    EXPECT_FALSE(s->surface->textObject()->ready());
    EXPECT_EQ(bytesOf(image.get()), before);
    s->objects.clear();
    EXPECT_EQ(s->ProcessImage(image.get(), nullptr, nullptr), 0u);
}

TEST(CPUIPImageOverlay, BurnsTextIntoMonoWhereItWasPut) {
    Stage s;
    auto image = flat(80, 40, PixelType::Mono8, 100);
    const auto before = bytesOf(image.get());
    ASSERT_EQ(s->Init(image.get(), nullptr), 0u);
    s->properties.set("text.text", "HX", true);
    s->properties.set("text.pos.x", "10", true);
    s->properties.set("text.pos.y", "12", true);
    s->properties.set("text.clr", "16777215", true);
    ASSERT_EQ(s->RunCommand("text.add"), 0u);

    ASSERT_EQ(s->ProcessImage(image.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(s->Output(), image.get());
    int w = 0;
    int h = 0;
    s->surface->textObject()->calcText("default", "HX", &w, &h);
    int changed = 0;
    Box box = changedBox(image.get(), before, changed);
    EXPECT_GT(changed, 10);
    // The glyphs hang from row y downward, starting at column x.
    EXPECT_GE(box.x0, 10);
    EXPECT_LE(box.x1, 10 + w + 2);
    EXPECT_GE(box.y0, 12);
    EXPECT_LE(box.y1, 12 + h + 4);
    // White blended over grey: only lighter.
    for (size_t i = 0; i < before.size(); ++i)
        EXPECT_GE(static_cast<uint8_t*>(image->imageData)[i], before[i]);
}

TEST(CPUIPImageOverlay, BurnsColouredTextIntoRgbAndPlacesByRule) {
    Stage s;
    auto image = flat(96, 48, PixelType::RGB8, 90);
    const auto before = bytesOf(image.get());
    ASSERT_EQ(s->Init(image.get(), nullptr), 0u);
    // Red, placed bottom right by rule 3.
    CPUIPImageOverlay::Map params{
        {"text.text", "Ok"}, {"text.pos.x", "3"}, {"text.pos.y", "-1"}, {"text.clr", "255"}};
    ASSERT_TRUE(s->RunCommandParams("cmd.text.add", &params));
    QTD::PROPERTIES* text = s->objects.find(params["objectID"], true);
    ASSERT_NE(text, nullptr);
    const int x = text->getAs<int>("x");
    const int y = text->getAs<int>("y");
    EXPECT_EQ(x, 96 - (text->getAs<int>("w") + 4));
    EXPECT_EQ(y, 46 - text->getAs<int>("h"));
    ASSERT_EQ(s->ProcessImage(image.get(), nullptr, nullptr), 0u);
    int changed = 0;
    Box box = changedBox(image.get(), before, changed);
    EXPECT_GT(changed, 10);
    EXPECT_GE(box.x0, x);
    EXPECT_GE(box.y0, y);
    EXPECT_LT(box.y1, 48);
    // Every changed pixel moved toward red.
    for (int py = 0; py < 48; ++py)
        for (int px = 0; px < 96; ++px) {
            uint8_t* p = row8(image.get(), py) + px * 3;
            EXPECT_GE(p[0], 90);
            EXPECT_LE(p[1], 90);
            EXPECT_LE(p[2], 90);
        }
}
