// The CPU chain composed for each family of input formats, and images pushed through it together
// with the two stages that the viewer appends.

#include "chain/QTDProcessor.h"
#include "chain/TestImages.h"
#include "cpu/CPUIPColorCorrection.h"
#include "cpu/CPUIPExposureColoration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

using namespace QTD::Procs;
using TestImages::Image;
using TestImages::row16;
using TestImages::row8;

namespace {

using Layout = std::vector<std::pair<std::string, bool>>; // name, enabled

Layout layoutOf(QTDProcessor& chain) {
    Layout layout;
    for (int i = 0; i < chain.Size(); ++i) {
        layout.emplace_back(chain.stages.keyAt(i), chain.GetProcessor(i)->IsEnabled());
    }
    return layout;
}

// The CPU composition: what precedes "image.unpacked" depends on the input.
Layout cpuLayout(std::vector<std::string> front) {
    Layout layout;
    for (auto& name : front) {
        layout.emplace_back(name, true);
    }
    layout.emplace_back("image.unpacked", false);
    layout.emplace_back("image.colorcorrection", true);
    layout.emplace_back("image.overlay", true);
    layout.emplace_back("image.output", true);
    return layout;
}

// A mosaic is demosaiced right after "image.unpacked".
Layout bayerLayout(std::vector<std::string> front) {
    Layout layout = cpuLayout(std::move(front));
    const auto unpacked = std::find(layout.begin(), layout.end(),
                                    std::pair<std::string, bool>("image.unpacked", false));
    layout.insert(unpacked + 1, {"bayer", true});
    return layout;
}

// The colour type of the same depth as a mosaic of BAYER_INDEX position `at` below 20.
uint32_t rgbOfDepth(int at) {
    const uint32_t rgb[5] = {PixelType::RGB8, PixelType::RGB10, PixelType::RGB12, 0x02300479,
                             PixelType::RGB16};
    return rgb[at / 4];
}

// Colour (0 red, 1 green, 2 blue) of site (x, y) for the patterns GR, RG, BG, GB, the order of
// each depth's group in BAYER_INDEX and of the packed groups alike.
int siteColour(int pattern, uint32_t x, uint32_t y) {
    static const int sites[4][4] = {{1, 0, 2, 1}, {0, 1, 1, 2}, {2, 1, 1, 0}, {1, 2, 0, 1}};
    return sites[pattern][(y & 1) * 2 + (x & 1)];
}

// The samples of a mosaic of `pattern`, row after row, from `colour(x, y)`.
template <typename F>
std::vector<uint16_t> mosaicSamples(uint32_t width, uint32_t height, int pattern, F colour) {
    std::vector<uint16_t> samples(size_t(width) * height);
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x) {
            samples[size_t(y) * width + x] = uint16_t(colour(x, y)[siteColour(pattern, x, y)]);
        }
    }
    return samples;
}

// An image of `type` holding `samples`: plain 8 or 16-bit words, or packed. The "p" types are
// a stream of 10 or 12-bit fields, least significant bits first; the GigE "Packed" types put
// two pixels in three bytes, the high bits of each in its own byte and the low bits shared.
Image imageOf(uint32_t type, uint32_t width, uint32_t height,
              const std::vector<uint16_t>& samples) {
    Image image = TestImages::make(int(width), int(height), type);
    const bool gev = (type & 0xFF00) == 0x1200 || (type & 0xFF00) == 0x1300;
    const bool stream = (type & 0xFF00) == 0x2200 || (type & 0xFF00) == 0x2300;
    const int bits = (type & 0xFF00) == 0x1200 || (type & 0xFF00) == 0x2200 ? 10 : 12;
    for (uint32_t y = 0; y < height; ++y) {
        const uint16_t* in = &samples[size_t(y) * width];
        uint8_t* out = row8(image.get(), y);
        if (stream) {
            uint64_t bit = 0;
            for (uint32_t x = 0; x < width; ++x) {
                for (int b = 0; b < bits; ++b, ++bit) {
                    if ((in[x] >> b) & 1) {
                        out[bit / 8] |= uint8_t(1u << (bit % 8));
                    }
                }
            }
        } else if (gev) {
            const int low = bits - 8;
            for (uint32_t x = 0; x + 1 < width; x += 2, out += 3) {
                const uint16_t a = in[x], b = in[x + 1];
                out[0] = uint8_t(a >> low);
                out[1] = uint8_t((a & ((1 << low) - 1)) | ((b & ((1 << low) - 1)) << 4));
                out[2] = uint8_t(b >> low);
            }
        } else if (image->bitsPerChannel == 8) {
            for (uint32_t x = 0; x < width; ++x) {
                out[x] = uint8_t(in[x]);
            }
        } else {
            std::memcpy(out, in, width * 2);
        }
    }
    return image;
}

// The chain with the viewer's display stages behind it, as the viewer builds them.
struct Display {
    explicit Display(BrxImage* input, int downscale = 0) : chain(nullptr, false) {
        chain.properties.set("image.downscale", QTD::ATTR(downscale), true);
        initCode = chain.Init(input, nullptr);
        if (initCode != 0) {
            return;
        }
        const BrxImage* processed = chain.Format(false);
        processedFormat.reset(QTDImageHelpers::imageCreateFormat(
            nullptr, int(processed->width), int(processed->height), processed->pixelType));
        displayFormat.reset(QTDImageHelpers::imageCreateFormat(
            nullptr, int(processed->width), int(processed->height), PixelType::RGB8));
        BrxImgProcessor* display = BrxDisplayCPU::Image::CreateComponent(chain.GetComponent());
        displayCode = display->Init(processedFormat.get(), displayFormat.get());
        chain.AddProcessor("image.display", display);
        coloration = BrxDisplayCPU::ExposureColoration::CreateComponent(chain.GetComponent());
        colorationCode = coloration->Init(displayFormat.get(), nullptr);
        chain.AddProcessor("image.coloration", coloration);
        coloration->Enable(false);
    }

    QTDProcessor chain;
    uint32_t initCode = 0;
    uint32_t displayCode = 0;
    uint32_t colorationCode = 0;
    Image processedFormat;
    Image displayFormat;
    BrxImgProcessor* coloration = nullptr;
};

// Expected RGB8 display pixel at (x, y), from an independent reading of the input. A `margin`
// leaves the pixels that near the edges out.
template <typename F> void expectDisplay(BrxImage* out, F expected, uint32_t margin = 0) {
    ASSERT_NE(out, nullptr);
    ASSERT_EQ(out->pixelType, PixelType::RGB8);
    int mismatches = 0;
    for (uint32_t y = margin; y + margin < out->height; ++y) {
        for (uint32_t x = margin; x + margin < out->width; ++x) {
            const auto want = expected(x, y);
            const uint8_t* got = row8(out, y) + x * 3;
            for (int c = 0; c < 3; ++c) {
                if (std::abs(int(got[c]) - int(want[c])) > 2 && ++mismatches < 5) {
                    ADD_FAILURE() << "pixel " << x << "," << y << " channel " << c << ": "
                                  << int(got[c]) << " vs " << int(want[c]);
                }
            }
        }
    }
    EXPECT_EQ(mismatches, 0);
}

std::array<int, 3> grey(int v) {
    return {v, v, v};
}

} // namespace

TEST(ChainComposition, PlainFormatsGetTheCommonStages) {
    for (uint32_t type : {PixelType::Mono8, PixelType::Mono10, PixelType::Mono12, PixelType::Mono14,
                          PixelType::Mono16, PixelType::RGB8, PixelType::BGR8, PixelType::RGB12}) {
        auto input = TestImages::make(16, 8, type);
        QTDProcessor chain(nullptr, false);
        ASSERT_EQ(chain.Init(input.get(), nullptr), 0u) << std::hex << type;
        EXPECT_EQ(layoutOf(chain), cpuLayout({})) << std::hex << type;
        EXPECT_EQ(chain.Format(false)->pixelType, type);
        EXPECT_EQ(chain.outputFormat->pixelType, type);
        EXPECT_EQ(chain.inputFormat->pixelType, type);
        EXPECT_TRUE(chain.isReady());
    }
}

TEST(ChainComposition, PackedMonoIsUnpackedFirst) {
    const std::pair<uint32_t, uint32_t> cases[] = {{PixelType::Mono10Packed, PixelType::Mono10},
                                                   {PixelType::Mono12Packed, PixelType::Mono12},
                                                   {PixelType::Mono10p, PixelType::Mono10},
                                                   {PixelType::Mono12p, PixelType::Mono12}};
    for (auto [packed, plain] : cases) {
        auto input = TestImages::make(16, 8, packed);
        QTDProcessor chain(nullptr, false);
        ASSERT_EQ(chain.Init(input.get(), nullptr), 0u) << std::hex << packed;
        EXPECT_EQ(layoutOf(chain), cpuLayout({"unpack"}));
        EXPECT_EQ(chain.Format(false)->pixelType, plain);
        EXPECT_EQ(chain.Format(true)->pixelType, packed);
    }
}

TEST(ChainComposition, UyvyIsConvertedToRgbFirst) {
    auto input = TestImages::make(16, 8, PixelType::YUV422_8_UYVY);
    QTDProcessor chain(nullptr, false);
    ASSERT_EQ(chain.Init(input.get(), nullptr), 0u);
    EXPECT_EQ(layoutOf(chain), cpuLayout({"yuv2rgb"}));
    EXPECT_EQ(chain.Format(false)->pixelType, PixelType::RGB8);
}

TEST(ChainComposition, DownscaleNarrowsInTheUnpackedStage) {
    auto input = TestImages::make(16, 8, PixelType::Mono12);
    QTDProcessor chain(nullptr, false);
    chain.properties.set("image.downscale", "1", true);
    ASSERT_EQ(chain.Init(input.get(), nullptr), 0u);
    EXPECT_EQ(chain.GetProcessor("image.unpacked")->Format(false)->pixelType, PixelType::Mono8);
    EXPECT_EQ(chain.Format(false)->pixelType, PixelType::Mono8);
}

TEST(ChainComposition, FormatsWithoutAStageFailWithCodeOne) {
    // No CPU stage corrects a TrueSense mosaic; the composition fails and leaves nothing.
    auto trueSense = TestImages::make(16, 8, PixelType::TrueSense_BGGR_WBBW_0_8);
    QTDProcessor chain(nullptr, false);
    EXPECT_EQ(chain.Init(trueSense.get(), nullptr), statusWord(CodeFailed));
    EXPECT_EQ(chain.Size(), 0);
    EXPECT_FALSE(chain.isReady());
    auto empty = TestImages::make(16, 8, PixelType::Mono8);
    empty->width = 0;
    EXPECT_EQ(chain.Init(empty.get(), nullptr), statusWord(CodeFailed));
}

TEST(ChainPass, Mono8ToTheDisplay) {
    auto input = TestImages::makeMono(37, 5, PixelType::Mono8); // rows padded to 40 bytes
    Image copy = TestImages::makeMono(37, 5, PixelType::Mono8);
    input->imageID = 77;
    Display d(input.get());
    ASSERT_EQ(d.initCode, 0u);
    ASSERT_EQ(d.displayCode, 0u);
    ASSERT_EQ(d.colorationCode, 0u);
    ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    // The disabled "image.unpacked" handed the input itself on.
    EXPECT_EQ(d.chain.GetProcessor("image.unpacked")->Output(), input.get());
    BrxImage* out = d.chain.Output();
    EXPECT_EQ(out->imageID, 77u);
    expectDisplay(out, [&](uint32_t x, uint32_t y) { return grey(row8(copy.get(), y)[x]); });
}

TEST(ChainPass, DeepMonoToTheDisplay) {
    for (uint32_t type : {PixelType::Mono10, PixelType::Mono12, PixelType::Mono16}) {
        auto input = TestImages::makeMono(37, 5, type);
        auto copy = TestImages::makeMono(37, 5, type);
        const int shift = int(input->bitsPerChannel) - 8;
        Display d(input.get());
        ASSERT_EQ(d.initCode, 0u);
        ASSERT_EQ(d.displayCode, 0u);
        ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
        expectDisplay(d.chain.Output(), [&](uint32_t x, uint32_t y) {
            return grey(row16(copy.get(), y)[x] >> shift);
        });
        // The caller's image is left as it came.
        EXPECT_EQ(std::memcmp(input->imageData, copy->imageData, input->imageSize), 0);
    }
}

TEST(ChainPass, DownscaledMono12ToTheDisplay) {
    auto input = TestImages::makeMono(20, 6, PixelType::Mono12);
    auto copy = TestImages::makeMono(20, 6, PixelType::Mono12);
    Display d(input.get(), 1);
    ASSERT_EQ(d.initCode, 0u);
    ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(d.chain.GetProcessor("image.output")->Output()->pixelType, PixelType::Mono8);
    expectDisplay(d.chain.Output(),
                  [&](uint32_t x, uint32_t y) { return grey(row16(copy.get(), y)[x] >> 4); });
}

TEST(ChainPass, ColourToTheDisplay) {
    auto rgb = TestImages::makeColor8(37, 5, PixelType::RGB8);
    auto rgbCopy = TestImages::makeColor8(37, 5, PixelType::RGB8);
    Display d(rgb.get());
    ASSERT_EQ(d.initCode, 0u);
    ASSERT_EQ(d.chain.ProcessImage(rgb.get(), nullptr, nullptr), 0u);
    expectDisplay(d.chain.Output(), [&](uint32_t x, uint32_t y) {
        const uint8_t* p = row8(rgbCopy.get(), y) + 3 * x;
        return std::array<int, 3>{p[0], p[1], p[2]};
    });

    auto bgr = TestImages::makeColor8(37, 5, PixelType::BGR8);
    auto bgrCopy = TestImages::makeColor8(37, 5, PixelType::BGR8);
    Display e(bgr.get());
    ASSERT_EQ(e.initCode, 0u);
    ASSERT_EQ(e.chain.ProcessImage(bgr.get(), nullptr, nullptr), 0u);
    expectDisplay(e.chain.Output(), [&](uint32_t x, uint32_t y) {
        const uint8_t* p = row8(bgrCopy.get(), y) + 3 * x;
        return std::array<int, 3>{p[2], p[1], p[0]};
    });
}

TEST(ChainPass, PackedMonoToTheDisplay) {
    // Mono12p: two pixels in three bytes, least significant bits first.
    const uint32_t width = 16, height = 4;
    auto input = TestImages::make(int(width), int(height), PixelType::Mono12p);
    std::vector<uint16_t> values(width * height);
    for (uint32_t i = 0; i < values.size(); ++i) {
        values[i] = uint16_t((i * 263u) % 4096u);
    }
    auto* bytes = static_cast<uint8_t*>(input->imageData);
    for (uint32_t i = 0; i < values.size(); i += 2) {
        const uint16_t a = values[i], b = values[i + 1];
        bytes[i / 2 * 3] = uint8_t(a & 0xFF);
        bytes[i / 2 * 3 + 1] = uint8_t((a >> 8) | ((b & 0x0F) << 4));
        bytes[i / 2 * 3 + 2] = uint8_t(b >> 4);
    }
    Display d(input.get());
    ASSERT_EQ(d.initCode, 0u);
    ASSERT_EQ(d.displayCode, 0u);
    ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    BrxImage* unpacked = d.chain.GetProcessor("unpack")->Output();
    ASSERT_EQ(unpacked->pixelType, PixelType::Mono12);
    EXPECT_EQ(row16(unpacked, 1)[3], values[width + 3]);
    expectDisplay(d.chain.Output(),
                  [&](uint32_t x, uint32_t y) { return grey(values[y * width + x] >> 4); });
}

TEST(ChainPass, UyvyToTheDisplay) {
    const uint32_t width = 8, height = 2;
    auto input = TestImages::make(int(width), int(height), PixelType::YUV422_8_UYVY);
    // Each pair of pixels: U Y0 V Y1. Grey (U = V = 128) and a reddish pair.
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* row = row8(input.get(), y);
        for (uint32_t pair = 0; pair < width / 2; ++pair) {
            const bool red = pair == 1;
            row[pair * 4 + 0] = red ? 90 : 128;
            row[pair * 4 + 1] = uint8_t(40 + 30 * pair);
            row[pair * 4 + 2] = red ? 240 : 128;
            row[pair * 4 + 3] = uint8_t(40 + 30 * pair);
        }
    }
    Display d(input.get());
    ASSERT_EQ(d.initCode, 0u);
    ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    expectDisplay(d.chain.Output(), [&](uint32_t x, uint32_t y) {
        const uint8_t* row = row8(input.get(), y);
        const double u = row[x / 2 * 4] - 128.0, v = row[x / 2 * 4 + 2] - 128.0;
        const double luma = 1.164 * (row[x / 2 * 4 + 1 + (x & 1) * 2] - 16.0);
        auto clamp = [](double c) { return int(std::lround(std::clamp(c, 0.0, 255.0))); };
        return std::array<int, 3>{clamp(luma + 1.596 * v), clamp(luma - 0.391 * u - 0.813 * v),
                                  clamp(luma + 2.018 * u)};
    });
}

TEST(ChainPass, CorrectionInPlaceRunsAgainOnTheSameBuffer) {
    auto input = TestImages::make(8, 2, PixelType::Mono8);
    std::memset(input->imageData, 10, input->imageSize);
    Display d(input.get());
    ASSERT_EQ(d.initCode, 0u);
    auto* correction =
        dynamic_cast<CPUIPColorCorrection*>(d.chain.GetProcessor("image.colorcorrection"));
    ASSERT_NE(correction, nullptr);
    std::map<std::string, std::string> params{{"gain.r", "2"}, {"gamma", "1"}};
    ASSERT_TRUE(correction->RunCommandParams("cmd.params.apply", &params));
    ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(row8(input.get(), 0)[0], 20);
    ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    EXPECT_EQ(row8(input.get(), 1)[7], 40);
    expectDisplay(d.chain.Output(), [](uint32_t, uint32_t) { return grey(40); });
}

TEST(ChainPass, ColorationPaintsTheRawExtremes) {
    auto input = TestImages::make(4, 1, PixelType::Mono12);
    const uint16_t samples[4] = {0, 4095, 4094, 1};
    std::memcpy(input->imageData, samples, sizeof(samples));
    Display d(input.get());
    ASSERT_EQ(d.initCode, 0u);
    BrxImgProcessor* unpacked = d.chain.GetProcessor("image.unpacked");
    EXPECT_FALSE(unpacked->IsEnabled());
    EXPECT_TRUE(d.coloration->Enable(true));
    EXPECT_TRUE(unpacked->IsEnabled());
    ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    // Enabled, "image.unpacked" keeps a private copy of the raw samples.
    EXPECT_NE(unpacked->Output(), input.get());
    expectDisplay(d.chain.Output(), [](uint32_t x, uint32_t) {
        switch (x) {
        case 0:
            return std::array<int, 3>{0, 255, 0}; // under-exposed: green
        case 1:
            return std::array<int, 3>{255, 0, 0}; // over-exposed: red
        case 2:
            return grey(4094 >> 4);
        default:
            return grey(0);
        }
    });
    d.coloration->Enable(false);
    EXPECT_FALSE(unpacked->IsEnabled());
    ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
    expectDisplay(d.chain.Output(), [&](uint32_t x, uint32_t) { return grey(samples[x] >> 4); });
}

TEST(ChainPass, AStageFailureIsCodeOneAndTheStageKeepsItsOwn) {
    auto input = TestImages::makeMono(16, 8, PixelType::Mono8);
    QTDProcessor chain(nullptr, false);
    ASSERT_EQ(chain.Init(input.get(), nullptr), 0u);
    // An image of another geometry cannot be handed through the disabled stage or copied.
    auto other = TestImages::makeMono(24, 8, PixelType::Mono8);
    EXPECT_EQ(chain.ProcessImage(other.get(), nullptr, nullptr), statusWord(CodeFailed));
    auto* unpacked = dynamic_cast<QTD::ImageProcessorData*>(chain.GetProcessor("image.unpacked"));
    EXPECT_EQ(unpacked->lastError, CodeFailed);

    // A Mono16 image of the set-up's size reaches the correction, whose table is for 8 bits.
    auto deeper = TestImages::makeMono(16, 8, PixelType::Mono16);
    deeper->imageSize = input->imageSize;
    deeper->stride = input->stride;
    EXPECT_EQ(chain.ProcessImage(deeper.get(), nullptr, nullptr), statusWord(CodeFailed));
    auto* correction =
        dynamic_cast<QTD::ImageProcessorData*>(chain.GetProcessor("image.colorcorrection"));
    EXPECT_EQ(correction->lastError, CodeBadArgument);
}

TEST(ChainComposition, MosaicsAreDemosaicedAfterTheUnpackedStage) {
    for (int at = 0; at < 20; ++at) {
        auto input = TestImages::make(16, 8, BAYER_INDEX[at]);
        QTDProcessor chain(nullptr, false);
        ASSERT_EQ(chain.Init(input.get(), nullptr), 0u) << std::hex << BAYER_INDEX[at];
        EXPECT_EQ(layoutOf(chain), bayerLayout({})) << std::hex << BAYER_INDEX[at];
        EXPECT_EQ(chain.GetProcessor("bayer")->Format(true)->pixelType, BAYER_INDEX[at]);
        EXPECT_EQ(chain.Format(false)->pixelType, rgbOfDepth(at));
        EXPECT_EQ(chain.outputFormat->pixelType, rgbOfDepth(at));
        EXPECT_EQ(chain.inputFormat->pixelType, BAYER_INDEX[at]);
        EXPECT_TRUE(chain.isReady());
    }
}

TEST(ChainComposition, PackedMosaicsAreUnpackedThenDemosaiced) {
    for (int i = 4; i < 20; ++i) {
        const uint32_t packed = PACKED_INDEX[i];
        auto input = TestImages::make(16, 8, packed);
        QTDProcessor chain(nullptr, false);
        ASSERT_EQ(chain.Init(input.get(), nullptr), 0u) << std::hex << packed;
        EXPECT_EQ(layoutOf(chain), bayerLayout({"unpack"})) << std::hex << packed;
        const uint32_t plain = UNPACK_INDEX[i];
        EXPECT_EQ(chain.GetProcessor("unpack")->Format(false)->pixelType, plain);
        EXPECT_EQ(chain.GetProcessor("bayer")->Format(true)->pixelType, plain);
        EXPECT_EQ(chain.Format(false)->pixelType, rgbOfDepth(indexOf(BAYER_INDEX, plain)));
        EXPECT_EQ(chain.Format(true)->pixelType, packed);
    }
}

TEST(ChainPass, FlatMosaicsToTheDisplayForEveryPatternAndDepth) {
    const std::array<int, 3> colour8 = {230, 120, 25};
    for (int at = 0; at < 20; ++at) {
        const uint32_t type = BAYER_INDEX[at];
        // Depths 8, 10, 12, 14, 16 by groups of four.
        const int depthShift = 2 * (at / 4);
        std::array<int, 3> colour;
        for (int c = 0; c < 3; ++c) {
            colour[c] = colour8[c] << depthShift;
        }
        auto samples = mosaicSamples(18, 6, at % 4, [&](uint32_t, uint32_t) { return colour; });
        auto input = imageOf(type, 18, 6, samples);
        Display d(input.get());
        ASSERT_EQ(d.initCode, 0u) << std::hex << type;
        ASSERT_EQ(d.displayCode, 0u) << std::hex << type;
        ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u) << std::hex << type;
        SCOPED_TRACE(testing::Message() << std::hex << type);
        expectDisplay(d.chain.Output(), [&](uint32_t, uint32_t) { return colour8; });
    }
}

// A linear gradient is rebuilt exactly, but for the two pixels along the edges, where the
// mosaic is continued in mirror image.
TEST(ChainPass, GradientMosaicsToTheDisplay) {
    auto gradient8 = [](uint32_t x, uint32_t y) {
        return std::array<int, 3>{int(40 + 2 * x + y), int(200 - x - y), int(30 + x + 2 * y)};
    };
    for (uint32_t type : {PixelType::BayerGR8, PixelType::BayerRG8, PixelType::BayerBG8,
                          PixelType::BayerGB8, PixelType::BayerRG12}) {
        const int depthShift = type == PixelType::BayerRG12 ? 4 : 0;
        auto samples =
            mosaicSamples(32, 12, indexOf(BAYER_INDEX, type) % 4, [&](uint32_t x, uint32_t y) {
                auto c = gradient8(x, y);
                for (int& v : c) {
                    v <<= depthShift;
                }
                return c;
            });
        auto input = imageOf(type, 32, 12, samples);
        Display d(input.get());
        ASSERT_EQ(d.initCode, 0u);
        ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
        SCOPED_TRACE(testing::Message() << std::hex << type);
        expectDisplay(d.chain.Output(), gradient8, 2);
    }
}

TEST(ChainPass, PackedMosaicsToTheDisplay) {
    auto gradient8 = [](uint32_t x, uint32_t y) {
        return std::array<int, 3>{int(40 + 2 * x + y), int(200 - x - y), int(30 + x + 2 * y)};
    };
    for (int i = 4; i < 20; ++i) {
        const uint32_t packed = PACKED_INDEX[i];
        const uint32_t plain = UNPACK_INDEX[i];
        const int bits = (packed & 0xFF00) == 0x1200 || (packed & 0xFF00) == 0x2200 ? 10 : 12;
        auto samples =
            mosaicSamples(32, 10, indexOf(BAYER_INDEX, plain) % 4, [&](uint32_t x, uint32_t y) {
                auto c = gradient8(x, y);
                for (int& v : c) {
                    v <<= bits - 8;
                }
                return c;
            });
        auto input = imageOf(packed, 32, 10, samples);
        Display d(input.get());
        ASSERT_EQ(d.initCode, 0u) << std::hex << packed;
        ASSERT_EQ(d.displayCode, 0u);
        ASSERT_EQ(d.chain.ProcessImage(input.get(), nullptr, nullptr), 0u);
        SCOPED_TRACE(testing::Message() << std::hex << packed);
        BrxImage* unpacked = d.chain.GetProcessor("unpack")->Output();
        ASSERT_EQ(unpacked->pixelType, plain);
        EXPECT_EQ(row16(unpacked, 3)[5], samples[3 * 32 + 5]);
        expectDisplay(d.chain.Output(), gradient8, 2);
    }
}
