// Gain, offset and gamma through the lookup table, in place.

#include "cpu/CPUIPColorCorrection.h"
#include "chain/TestImages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

using namespace QTD::Procs;
using TestImages::row8;

namespace {

struct Stage {
    Stage()
        : stage(static_cast<CPUIPColorCorrection*>(
              BrxDisplayCPU::ColorCorrection::CreateComponent(nullptr))) {}
    ~Stage() {
        stage->Release();
        BrxDisplayCPU::ColorCorrection::DeleteComponent(stage);
    }
    CPUIPColorCorrection* operator->() { return stage; }
    CPUIPColorCorrection* stage;
};

// The table's rule, computed here on its own: level * gain + top * offset, then gamma on level
// values, rounded half away from zero and clamped.
int expected(int level, int top, double gain, double offset, double gamma) {
    double v = level * gain + top * offset;
    if (std::fabs(gamma) >= 1e-7 && std::fabs(gamma - 1.0) >= 1e-7) {
        v = std::pow(v > 0.0 ? v : 0.004, gamma);
    }
    const long r = std::lround(v);
    return int(std::clamp<long>(r, 0, top));
}

} // namespace

TEST(CPUIPColorCorrection, AppliesPerChannelTablesInPlace) {
    Stage s;
    auto input = TestImages::makeColour8(7, 3, PixelType::RGB8);
    auto copy = TestImages::makeColour8(7, 3, PixelType::RGB8);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    std::map<std::string, std::string> params{
        {"gain.r", "1.5"}, {"gain.g", "0.5"}, {"gain.b", "1"}, {"offs.b", "0.1"}, {"gamma", "1.1"}};
    ASSERT_TRUE(s->RunCommandParams("cmd.params.apply", &params));
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    const double gains[3] = {1.5, 0.5, 1.0}, offsets[3] = {0, 0, 0.1};
    for (uint32_t y = 0; y < 3; ++y)
        for (uint32_t x = 0; x < 7; ++x)
            for (int c = 0; c < 3; ++c) {
                const int level = row8(copy.get(), y)[3 * x + c];
                ASSERT_EQ(row8(input.get(), y)[3 * x + c],
                          expected(level, 255, gains[c], offsets[c], 1.1))
                    << x << "," << y << " " << c;
            }
}

TEST(CPUIPColorCorrection, SameBufferTwiceIsCorrectedTwice) {
    Stage s;
    auto input = TestImages::make(4, 1, PixelType::Mono8);
    std::memset(input->imageData, 30, input->imageSize);
    s->SetParamFloat("gain.r", 2.0);
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    ASSERT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(row8(input.get(), 0)[2], 120);
}

TEST(CPUIPColorCorrection, RefusalsAndFailuresDoNotCrash) {
    for (uint32_t type :
         {PixelType::BayerRG8, PixelType::Mono12p, PixelType::YUV422_8_UYVY,
          PixelType::TrueSense_BGGR_WBBW_0_8, PixelType::TrueSense_BGGR_WBBW_0_12}) {
        Stage s;
        auto input = TestImages::make(8, 2, type);
        EXPECT_EQ(s->Init(input.get(), nullptr), statusWord(CodeNotSupported)) << std::hex << type;
    }
    Stage s;
    EXPECT_EQ(s->Init(nullptr, nullptr), statusWord(CodeBadArgument));
    auto input = TestImages::makeMono(4, 2, PixelType::Mono8);
    // Never set up: no table to apply.
    EXPECT_EQ(s->ProcessImage(input.get(), nullptr, nullptr), statusWord(CodeFailed));
    EXPECT_EQ(s->RunCommand("params.apply"), statusWord(CodeFailed));
    ASSERT_EQ(s->Init(input.get(), nullptr), 0u);
    EXPECT_EQ(s->ProcessImage(nullptr, nullptr, nullptr), statusWord(CodeBadArgument));
    // An image deeper than the table would index past it.
    auto deep = TestImages::makeMono(4, 2, PixelType::Mono16);
    EXPECT_EQ(s->ProcessImage(deep.get(), nullptr, nullptr), statusWord(CodeBadArgument));
}
