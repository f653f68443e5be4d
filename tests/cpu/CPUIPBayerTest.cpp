// The CPU demosaicing stage: refusals, and colours that land in the right channels.

#include "cpu/CPUIPBayer.h"
#include "chain/TestImages.h"

#include <brx/BrxBayer.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>

using namespace QTD::Procs;
using TestImages::row16;
using TestImages::row8;

namespace {

struct Stage {
    Stage() : s(new CPUIPBayer(nullptr)) {}
    ~Stage() {
        s->Release();
        BrxDisplayCPU::Bayer::DeleteComponent(s);
    }
    CPUIPBayer* operator->() { return s; }
    CPUIPBayer* s;
};

// Colour (0 red, 1 green, 2 blue) of site (x, y) of the patterns GR, RG, BG, GB: the order of
// each depth's group in BAYER_INDEX.
int siteColour(int pattern, uint32_t x, uint32_t y) {
    static const int sites[4][4] = {{1, 0, 2, 1}, {0, 1, 1, 2}, {2, 1, 1, 0}, {1, 2, 0, 1}};
    return sites[pattern][(y & 1) * 2 + (x & 1)];
}

// A mosaic of `type` sampled from the flat `colour`, in the type's own depth.
TestImages::Image mosaic(int width, int height, uint32_t type, std::array<int, 3> colour) {
    auto image = TestImages::make(width, height, type);
    const int pattern = indexOf(BAYER_INDEX, type) & 3;
    for (uint32_t y = 0; y < image->height; ++y)
        for (uint32_t x = 0; x < image->width; ++x) {
            const int v = colour[siteColour(pattern, x, y)];
            if (image->bitsPerChannel == 8)
                row8(image.get(), y)[x] = uint8_t(v);
            else
                row16(image.get(), y)[x] = uint16_t(v);
        }
    return image;
}

// Channel c of the output pixel (x, y), as red, green, blue whatever the order.
int channel(BrxImage* out, uint32_t x, uint32_t y, int c) {
    const bool bgr = isIn(BGR_INDEX, out->pixelType);
    const int at = bgr ? 2 - c : c;
    return out->bitsPerChannel == 8 ? row8(out, y)[x * 3 + at] : row16(out, y)[x * 3 + at];
}

int mismatches(BrxImage* out, std::array<int, 3> want) {
    int bad = 0;
    for (uint32_t y = 0; y < out->height; ++y)
        for (uint32_t x = 0; x < out->width; ++x)
            for (int c = 0; c < 3; ++c)
                bad += channel(out, x, y, c) != want[c];
    return bad;
}

} // namespace

TEST(CPUIPBayer, RefusedInputsLeaveNothingBehind) {
    Stage s;
    EXPECT_EQ(s->Init(nullptr, nullptr), statusWord(CodeBadArgument));
    auto empty = TestImages::make(8, 6, PixelType::BayerRG8);
    empty->height = 0;
    EXPECT_EQ(s->Init(empty.get(), nullptr), statusWord(CodeBadArgument));
    for (uint32_t type :
         {PixelType::TrueSense_BGGR_WBBW_0_8, PixelType::TrueSense_BGGR_WBBW_0_12, PixelType::Mono8,
          PixelType::RGB8, PixelType::BayerGB10Packed, PixelType::BayerRG12p,
          0x030C2321u /* BayerGR12p */, 0x030A221Fu /* BayerBG10p */}) {
        auto input = TestImages::make(8, 6, type);
        EXPECT_EQ(s->Init(input.get(), nullptr), statusWord(CodeNotSupported)) << std::hex << type;
        EXPECT_FALSE(s->isReady());
        EXPECT_EQ(s->Output(), nullptr);
    }
    // A 1 x 1 mosaic has no cell to demosaic: the component's set-up refuses it.
    auto tiny = TestImages::make(1, 1, PixelType::BayerRG8);
    EXPECT_EQ(s->Init(tiny.get(), nullptr), statusWord(CodeNoResources));
    EXPECT_EQ(s->ProcessImage(tiny.get(), nullptr, nullptr), statusWord(CodeNotReady));
}

TEST(CPUIPBayer, ProcessingNeedsASetUpAndTheRightImages) {
    Stage s;
    auto input = mosaic(8, 6, PixelType::BayerRG8, {200, 100, 30});
    EXPECT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeNotReady));
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    EXPECT_EQ(s->ProcessImage(nullptr, nullptr, nullptr), statusWord(CodeFailed));
    EXPECT_EQ(s->Output(), nullptr);
    auto noData = TestImages::make(8, 6, PixelType::BayerRG8);
    std::free(noData->allocatedData);
    noData->imageData = noData->allocatedData = nullptr;
    EXPECT_EQ(s->ProcessImage(noData.get(), nullptr, nullptr), statusWord(CodeFailed));
    // The component refuses what does not fit its set-up.
    auto wider = TestImages::make(16, 6, PixelType::BayerRG8);
    EXPECT_EQ(s->ProcessImage(wider.get(), nullptr, nullptr), statusWord(CodeNoResources));
    auto deeper = TestImages::make(8, 6, PixelType::BayerRG12);
    EXPECT_EQ(s->ProcessImage(deeper.get(), nullptr, nullptr), statusWord(CodeNoResources));
    EXPECT_EQ(s->Output(), nullptr);

    input->imageID = 9;
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(s->Output(), s->ownOutput);
    EXPECT_EQ(s->Output()->imageID, 9u);
    EXPECT_EQ(mismatches(s->Output(), {200, 100, 30}), 0);
}

TEST(CPUIPBayer, FlatColoursLandInTheirChannelsForEveryPatternAndAlgorithm) {
    const std::array<int, 3> colour8 = {220, 90, 15};
    for (int depthGroup : {0, 2, 4}) { // 8, 12 and 16 bits
        const int shift = depthGroup == 0 ? 0 : depthGroup == 2 ? 4 : 8;
        const std::array<int, 3> colour = {colour8[0] << shift, colour8[1] << shift,
                                           colour8[2] << shift};
        for (int pattern = 0; pattern < 4; ++pattern) {
            const uint32_t type = BAYER_INDEX[depthGroup * 4 + pattern];
            for (int algorithm = 0; algorithm < 3; ++algorithm) {
                for (bool bgr : {false, true}) {
                    Stage s;
                    s->SetParamInt("BayerAlgType", algorithm);
                    auto input = mosaic(13, 7, type, colour);
                    auto order = TestImages::make(13, 7, bgr ? PixelType::BGR8 : PixelType::RGB8);
                    ASSERT_EQ(s->Init(input.get(), order.get()), 0u);
                    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
                    EXPECT_EQ(isIn(BGR_INDEX, s->Output()->pixelType), bgr);
                    EXPECT_EQ(mismatches(s->Output(), colour), 0)
                        << std::hex << type << " algorithm " << algorithm << " bgr " << bgr;
                }
            }
        }
    }
}
