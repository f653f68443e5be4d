// The CPU stages alone; their pixels through whole chains are checked in tests/chain.

#include "cpu/CPUIPImage.h"
#include "chain/QTDProcessor.h"
#include "chain/TestImages.h"
#include "cpu/CPUIPBayer.h"
#include "cpu/CPUIPColorCorrection.h"
#include "cpu/CPUIPExposureColoration.h"
#include "cpu/CPUIPImageOverlay.h"
#include "cpu/CPUIPUnpack.h"
#include "cpu/CPUIPYUV2RGB.h"
#include "cpu/MEMSurface.h"
#include "screen/SurfaceText.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <vector>

using namespace QTD::Procs;
using TestImages::Owned;
using TestImages::row16;
using TestImages::row8;

namespace {

template <class T> BrxImgProcessor* create() {
    return new T(nullptr);
}

bool allZero(const BrxImage* image) {
    auto* bytes = static_cast<const uint8_t*>(image->imageData);
    return std::all_of(bytes, bytes + image->imageSize, [](uint8_t b) { return b == 0; });
}

// The table's rule on its own: (level * gain + 255 * offset) ^ gamma, rounded and clamped.
int expected(int level, double gain, double offset, double gamma) {
    const double v = level * gain + 255 * offset;
    return int(std::clamp<long>(std::lround(std::pow(v > 0.0 ? v : 0.004, gamma)), 0, 255));
}

std::vector<uint8_t> bytesOf(BrxImage* image) {
    auto* data = static_cast<uint8_t*>(image->imageData);
    return std::vector<uint8_t>(data, data + image->imageSize);
}

} // namespace

// Images refused at and after the set-up, each with its code: the stages that work in place take
// any size; the decoding ones show black for what they cannot decode.
TEST(CpuStages, RefuseWhatTheyCannotTake) {
    struct Case {
        BrxImgProcessor* (*create)();
        uint32_t taken, refused;
        Code beforeSetUp, noImage, wider, noPixels;
    };
    using namespace PixelType;
    const Code Bad = CodeBadArgument;
    for (const Case& c : {
             Case{create<CPUIPImage>, Mono12, Mono12p, CodeNotReady, Bad, CodeFailed, Bad},
             Case{create<CPUIPColorCorrection>, Mono8, BayerRG8, CodeFailed, Bad, CodeOk, Bad},
             Case{create<CPUIPImageOverlay>, Mono8, YUV422_8_UYVY, CodeNotReady, Bad, CodeOk, Bad},
             Case{create<CPUIPUnpack>, Mono12p, Mono12, CodeFailed, CodeFailed, Bad, CodeOk},
             Case{create<CPUIPYUV2RGB>, YUV422_8_UYVY, YUV422_8, CodeFailed, CodeFailed, Bad,
                  CodeOk},
             Case{create<CPUIPBayer>, BayerRG8, TrueSense_BGGR_WBBW_0_8, CodeNotReady, CodeFailed,
                  CodeNoResources, CodeFailed},
             // Without a source stage, every image is refused.
             Case{create<CPUIPExposureColoration>, RGB8, BayerGR8, Bad, Bad, Bad, Bad},
         }) {
        SCOPED_TRACE(testing::Message() << std::hex << c.taken);
        BrxImgProcessor* stage = c.create();
        auto taken = TestImages::make(8, 4, c.taken);
        auto refused = TestImages::make(8, 4, c.refused);
        auto wider = TestImages::make(16, 4, c.taken);
        auto noPixels = TestImages::make(8, 4, c.taken);
        QTDImageHelpers::imageFreeData(noPixels.get());
        EXPECT_EQ(stage->Init(nullptr, nullptr), statusWord(CodeBadArgument));
        EXPECT_EQ(stage->Init(refused.get(), nullptr), statusWord(CodeNotSupported));
        EXPECT_EQ(stage->ProcessImage(taken.get(), nullptr, nullptr), statusWord(c.beforeSetUp));
        EXPECT_EQ(stage->Init(taken.get(), nullptr), 0u);
        EXPECT_EQ(stage->ProcessImage(nullptr, nullptr, nullptr), statusWord(c.noImage));
        EXPECT_EQ(stage->ProcessImage(wider.get(), nullptr, nullptr), statusWord(c.wider));
        EXPECT_EQ(stage->ProcessImage(noPixels.get(), nullptr, nullptr), statusWord(c.noPixels));
        stage->Release();
        delete stage;
    }
}

// Disabled, with an input of the size it was set up for, the stage hands the input itself on.
TEST(CPUIPImage, DisabledStagePassesTheInputThroughWithoutCopying) {
    Owned<CPUIPImage> s;
    auto input = TestImages::makeMono(16, 4, PixelType::Mono12);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    s->Enable(false);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(s->Output(), input.get());
}

// Rows padded by an odd or an even number of bytes convert as tight ones do.
TEST(CPUIPImage, ColourConversionsToRgb8) {
    for (uint32_t from :
         {PixelType::Mono8, PixelType::Mono12, PixelType::Mono16, PixelType::BGR8, PixelType::RGB8})
        for (uint32_t pad : {0u, 3u, 8u}) {
            SCOPED_TRACE(testing::Message() << std::hex << from << std::dec << " pad " << pad);
            Owned<CPUIPImage> s;
            const bool mono = isIn(MONO_INDEX, from);
            auto tight =
                mono ? TestImages::makeMono(11, 3, from) : TestImages::makeColour8(11, 3, from);
            BrxImage padded = *tight;
            padded.stride = tight->stride + pad;
            padded.imageSize = padded.stride * padded.height;
            std::vector<uint8_t> rows(padded.imageSize);
            for (uint32_t y = 0; y < padded.height; ++y)
                std::memcpy(&rows[y * padded.stride], row8(tight.get(), y), tight->stride);
            padded.imageData = rows.data();
            BrxImage* input = &padded;
            auto display = TestImages::make(11, 3, PixelType::RGB8);
            ASSERT_EQ(s->Init(input, display.get()), 0u);
            ASSERT_EQ(s->ProcessImage(input, nullptr, nullptr), 0u);
            ASSERT_EQ(s->Output()->pixelType, PixelType::RGB8);
            const int shift = int(input->bitsPerChannel) - 8;
            const bool bgr = from == PixelType::BGR8;
            auto expected = [&](uint32_t x, uint32_t y) -> std::array<int, 3> {
                if (mono) {
                    const int v =
                        shift > 0 ? row16(tight.get(), y)[x] >> shift : row8(tight.get(), y)[x];
                    return {v, v, v};
                }
                const uint8_t* p = row8(tight.get(), y) + 3 * x;
                return {p[bgr ? 2 : 0], p[1], p[bgr ? 0 : 2]};
            };
            TestImages::expectPixels(s->Output(), expected, 0, 0);
        }
}

// A change of format between images is refused, not misread; a truncated image is black.
TEST(CPUIPUnpack, AnotherFormatIsRefusedAndATruncatedImageIsBlack) {
    Owned<CPUIPUnpack> s;
    auto input = TestImages::make(4, 2, PixelType::Mono12p);
    std::memset(input->imageData, 0x5A, input->imageSize);
    input->imageID = 42;
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    EXPECT_EQ(s->Format(false)->pixelType, PixelType::Mono12);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(s->Output()->imageID, 42u);
    auto plain = TestImages::make(4, 2, PixelType::Mono12);
    EXPECT_EQ(s->ProcessImage(plain.get(), nullptr, nullptr), statusWord(CodeFailed));
    input->imageSize = 2; // far too few bytes for 4 x 2 pixels
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_TRUE(allZero(s->Output()));
}

TEST(CPUIPYUV2RGB, ShortRowsAndOddWidthsGiveBlack) {
    Owned<CPUIPYUV2RGB> s;
    auto input = TestImages::make(4, 1, PixelType::YUV422_8_UYVY);
    std::memset(input->imageData, 200, input->imageSize);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    ASSERT_FALSE(allZero(s->Output()));
    input->stride = 2; // rows shorter than the pixels they must hold
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_TRUE(allZero(s->Output()));

    auto five = TestImages::make(5, 2, PixelType::YUV422_8_UYVY);
    std::memset(five->imageData, 200, five->imageSize);
    ASSERT_EQ(s->Init(five.get(), nullptr), 0u);
    ASSERT_EQ(s->ProcessImage(five.get(), nullptr, nullptr), 0u);
    EXPECT_TRUE(allZero(s->Output()));
}

TEST(CPUIPBayer, RefusesPackedMosaicsAndASingleSite) {
    Owned<CPUIPBayer> s;
    for (uint32_t type : {PixelType::BayerGB10Packed, 0x030C2321u /* BayerGR12p */}) {
        auto input = TestImages::make(8, 6, type);
        EXPECT_EQ(s->Init(input.get(), nullptr), statusWord(CodeNotSupported)) << std::hex << type;
    }
    // A 1 x 1 mosaic has no cell to demosaic.
    auto tiny = TestImages::make(1, 1, PixelType::BayerRG8);
    EXPECT_EQ(s->Init(tiny.get(), nullptr), statusWord(CodeNoResources));
    EXPECT_EQ(s->ProcessImage(tiny.get(), nullptr, nullptr), statusWord(CodeNotReady));
}

// Every demosaicing mode behind the stage keeps the depth and puts each pattern's colours where
// they belong: a flat colour comes back exactly, in the RGB type of the mosaic's depth.
TEST(CPUIPBayer, EveryModeKeepsPatternAndDepth) {
    struct Case {
        uint32_t type, rgb;
        int rx, ry, depth; // red site of the 2 x 2 cell
    };
    const Case cases[] = {{PixelType::BayerRG8, PixelType::RGB8, 0, 0, 8},
                          {PixelType::BayerGR8, PixelType::RGB8, 1, 0, 8},
                          {PixelType::BayerBG8, PixelType::RGB8, 1, 1, 8},
                          {PixelType::BayerGB8, PixelType::RGB8, 0, 1, 8},
                          {PixelType::BayerGR12, PixelType::RGB12, 1, 0, 12},
                          {BRX_PIXEL_BayerBG16, PixelType::RGB16, 1, 1, 16}};
    for (long mode = 0; mode <= 3; ++mode) {
        for (const Case& c : cases) {
            SCOPED_TRACE(testing::Message() << "mode " << mode << " type " << std::hex << c.type);
            Owned<CPUIPBayer> s;
            s->GetComponent()->SetParamInt("BayerAlgType", mode);
            const int scale = (1 << c.depth) / 256;
            const int colour[3] = {200 * scale, 90 * scale, 40 * scale};
            auto input = TestImages::make(37, 21, c.type);
            for (uint32_t y = 0; y < 21; ++y)
                for (uint32_t x = 0; x < 37; ++x) {
                    const bool redRow = int(y & 1) == c.ry, redColumn = int(x & 1) == c.rx;
                    const int v = redRow == redColumn ? colour[redRow ? 0 : 2] : colour[1];
                    if (c.depth > 8)
                        row16(input.get(), y)[x] = uint16_t(v);
                    else
                        row8(input.get(), y)[x] = uint8_t(v);
                }
            ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
            ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
            BrxImage* out = s->Output();
            ASSERT_EQ(out->pixelType, c.rgb);
            int wrong = 0;
            for (uint32_t y = 0; y < 21; ++y)
                for (uint32_t i = 0; i < 37 * 3; ++i)
                    wrong += TestImages::sample(out, y, i) != colour[i % 3];
            EXPECT_EQ(wrong, 0);
        }
        // The refusals do not depend on the mode.
        Owned<CPUIPBayer> s;
        s->GetComponent()->SetParamInt("BayerAlgType", mode);
        auto packed = TestImages::make(8, 6, PixelType::BayerRG12p);
        EXPECT_EQ(s->Init(packed.get(), nullptr), statusWord(CodeNotSupported));
        auto tiny = TestImages::make(1, 1, PixelType::BayerRG8);
        EXPECT_EQ(s->Init(tiny.get(), nullptr), statusWord(CodeNoResources));
    }
}

TEST(CPUIPColorCorrection, AppliesPerChannelTablesInPlace) {
    Owned<CPUIPColorCorrection> s;
    auto input = TestImages::makeColour8(7, 3, PixelType::RGB8);
    auto copy = TestImages::makeColour8(7, 3, PixelType::RGB8);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    std::map<std::string, std::string> params{
        {"gain.r", "1.5"}, {"gain.g", "0.5"}, {"gain.b", "1"}, {"offs.b", "0.1"}, {"gamma", "1.1"}};
    ASSERT_TRUE(s->RunCommandParams("cmd.params.apply", &params));
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    const double gains[3] = {1.5, 0.5, 1.0}, offsets[3] = {0, 0, 0.1};
    TestImages::expectPixels(
        input.get(),
        [&](uint32_t x, uint32_t y) {
            std::array<int, 3> want;
            for (int c = 0; c < 3; ++c)
                want[c] = expected(row8(copy.get(), y)[3 * x + c], gains[c], offsets[c], 1.1);
            return want;
        },
        0, 0);
}

// Deeper images than the table are refused in tests/chain.
TEST(CPUIPColorCorrection, SameBufferTwiceIsCorrectedTwice) {
    Owned<CPUIPColorCorrection> s;
    auto input = TestImages::make(4, 1, PixelType::Mono8);
    std::memset(input->imageData, 30, input->imageSize);
    s->SetParamFloat("gain.r", 2.0);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(row8(input.get(), 0)[2], 120);
}

// A coloration stage made for a chain, as the viewer makes one, paints only the raw extremes onto
// grey 100, for colour by the sum: under-exposed green, over-exposed red, blue first for BGR. The
// mono extremes are checked through the display in tests/chain.
TEST(CPUIPExposureColoration, AutomaticThresholdsPaintOnlyTheExtremes) {
    using Rgb = std::array<uint8_t, 3>;
    const uint8_t rawPixels[] = {255, 255, 255, 255, 255, 254, 0, 0, 0};
    const Rgb painted[] = {{0, 0, 255}, {100, 100, 100}, {0, 255, 0}};
    auto raw = TestImages::make(3, 1, PixelType::RGB8);
    std::copy(rawPixels, rawPixels + 9, row8(raw.get(), 0));
    auto display = TestImages::make(3, 1, PixelType::BGR8);
    std::memset(display->imageData, 100, display->imageSize);
    QTDProcessor chain(nullptr, false);
    ASSERT_EQ(chain.Init(raw.get(), nullptr), 0u);
    auto* stage = static_cast<CPUIPExposureColoration*>(
        BrxDisplayCPU::ExposureColoration::CreateComponent(chain.GetComponent()));
    ASSERT_EQ(stage->Init(display.get(), nullptr), 0u);
    ASSERT_EQ(chain.ProcessImage(raw.get(), nullptr, nullptr), 0u);
    ASSERT_EQ(stage->ProcessImage(display.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(stage->Output(), display.get());
    TestImages::expectPixels(
        display.get(), [&](uint32_t x, uint32_t) { return painted[x]; }, 0, 0);
    // A display image of another size, or with one byte per pixel, is not painted.
    auto narrow = TestImages::make(2, 1, PixelType::RGB8);
    EXPECT_EQ(stage->ProcessImage(narrow.get(), nullptr, nullptr), statusWord(CodeBadArgument));
    auto grey8 = TestImages::make(3, 1, PixelType::Mono8);
    EXPECT_EQ(stage->ProcessImage(grey8.get(), nullptr, nullptr), statusWord(CodeBadArgument));
    stage->Release();
    delete stage;
}

TEST(CPUIPImageOverlay, NumbersThatDoNotReadRaiseToTheCaller) {
    Owned<CPUIPImageOverlay> s;
    auto image = TestImages::makeMono(40, 20, PixelType::Mono8);
    const auto before = bytesOf(image.get());
    ASSERT_EQ(s->Init(image.get(), nullptr), 0u);
    s->properties.set("text.text", "A", true);
    s->properties.set("text.pos.x", "left", true);
    EXPECT_THROW(s->RunCommand("text.add"), std::invalid_argument);
    CPUIPImageOverlay::Map bad{{"rect.x", "99999999999"}};
    EXPECT_THROW(s->RunCommandParams("cmd.rect.add", &bad), std::out_of_range);
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

// Red into RGB, placed bottom right by rule 3 and -1: the red channel only moves up, the others
// only down, and only where the glyphs hang from row y downward, starting at column x. The
// surface's colour order and coverage are checked in SurfaceTestCpu.
TEST(CPUIPImageOverlay, BurnsTextWhereItWasPut) {
    Owned<CPUIPImageOverlay> s;
    auto image = TestImages::make(96, 48, PixelType::RGB8);
    std::memset(image->imageData, 90, image->imageSize);
    const auto before = bytesOf(image.get());
    ASSERT_EQ(s->Init(image.get(), nullptr), 0u);
    CPUIPImageOverlay::Map params{
        {"text.text", "HX"}, {"text.pos.x", "3"}, {"text.pos.y", "-1"}, {"text.clr", "255"}};
    ASSERT_TRUE(s->RunCommandParams("cmd.text.add", &params));
    QTD::PROPERTIES* text = s->objects.find(params["objectID"], true);
    ASSERT_NE(text, nullptr);
    const int x = text->getAs<int>("x"), y = text->getAs<int>("y");
    EXPECT_EQ(x, 96 - (text->getAs<int>("w") + 4));
    EXPECT_EQ(y, 46 - text->getAs<int>("h"));
    int w = 0, h = 0;
    s->surface->textObject()->calcText("default", "HX", &w, &h);
    ASSERT_EQ(s->ProcessImage(image.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(s->Output(), image.get());
    int changed = 0;
    for (size_t i = 0; i < before.size(); ++i) {
        const int moved = static_cast<uint8_t*>(image->imageData)[i] - before[i];
        const int px = int(i % image->stride) / 3, py = int(i / image->stride);
        EXPECT_GE(moved * (i % 3 == 0 ? 1 : -1), 0) << px << "," << py;
        changed += moved != 0;
        EXPECT_TRUE(moved == 0 || (px >= x && px <= x + w + 2 && py >= y && py <= y + h + 4))
            << px << "," << py;
    }
    EXPECT_GT(changed, 10);
}
