// The CPU chain composed for each family of input formats, and images pushed through it together
// with the two stages that the viewer appends.

#include "chain/ChainFakes.h"
#include "chain/QTDConverter.h"
#include "chain/QTDProcessor.h"
#include "chain/TestImages.h"
#include "cpu/CPUIPExposureColoration.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

using namespace QTD::Procs;
using TestImages::expectPixels;
using TestImages::Image;
using TestImages::row16;
using TestImages::row8;

namespace {

using Layout = std::vector<std::pair<std::string, bool>>; // name, enabled
using Rgb = std::array<int, 3>;

Layout layoutOf(QTDProcessor& chain) {
    Layout layout;
    for (int i = 0; i < chain.Size(); ++i) {
        layout.emplace_back(chain.stages.keyAt(i), chain.GetProcessor(i)->IsEnabled());
    }
    return layout;
}

// The colour type of the same depth as a mosaic of BAYER_INDEX position `at` below 20.
uint32_t rgbOfDepth(int at) {
    const uint32_t rgb[5] = {PixelType::RGB8, PixelType::RGB10, PixelType::RGB12, 0x02300479,
                             PixelType::RGB16};
    return rgb[at / 4];
}

// The samples of a mosaic of `pattern` (GR, RG, BG, GB: the order of each depth's group in
// BAYER_INDEX and of the packed groups alike), row after row, of the flat `colour`.
std::vector<uint16_t> mosaicSamples(uint32_t width, uint32_t height, int pattern, Rgb colour) {
    static const int sites[4][4] = {{1, 0, 2, 1}, {0, 1, 1, 2}, {2, 1, 1, 0}, {1, 2, 0, 1}};
    std::vector<uint16_t> samples;
    for (uint32_t i = 0; i < width * height; ++i)
        samples.push_back(uint16_t(colour[sites[pattern][(i / width & 1) * 2 + (i % width & 1)]]));
    return samples;
}

// An image of `type` holding `samples`, row after row: plain 8 or 16-bit words, or packed. The "p"
// types are a stream of 10 or 12-bit fields, least significant bits first; the GigE "Packed" types
// put two pixels in three bytes, the high bits of each in its own byte and the low bits shared.
Image imageOf(uint32_t type, uint32_t width, uint32_t height,
              const std::vector<uint16_t>& samples) {
    Image image = TestImages::make(int(width), int(height), type);
    const bool gev = (type & 0xFF00) == 0x1200 || (type & 0xFF00) == 0x1300;
    const bool stream = (type & 0xFF00) == 0x2200 || (type & 0xFF00) == 0x2300;
    const int bits = (type & 0xFF00) == 0x1200 || (type & 0xFF00) == 0x2200 ? 10 : 12;
    const size_t perRow = samples.size() / height;
    for (uint32_t y = 0; y < height; ++y) {
        const uint16_t* in = &samples[y * perRow];
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
            std::copy(in, in + perRow, out);
        } else {
            std::memcpy(out, in, perRow * 2);
        }
    }
    return image;
}

// The chain with the viewer's display stages behind it, as the viewer builds them.
struct Display {
    explicit Display(BrxImage* input, int downscale = 0) : chain(nullptr, false) {
        chain.properties.set("image.downscale", QTD::ATTR(downscale), true);
        code = chain.Init(input, nullptr);
        if (code != 0) {
            return;
        }
        const BrxImage* processed = chain.Format(false);
        processedFormat.reset(QTDImageHelpers::imageCreateFormat(
            nullptr, int(processed->width), int(processed->height), processed->pixelType));
        displayFormat.reset(QTDImageHelpers::imageCreateFormat(
            nullptr, int(processed->width), int(processed->height), PixelType::RGB8));
        BrxImgProcessor* display = BrxDisplayCPU::Image::CreateComponent(chain.GetComponent());
        code |= display->Init(processedFormat.get(), displayFormat.get());
        chain.AddProcessor("image.display", display);
        coloration = BrxDisplayCPU::ExposureColoration::CreateComponent(chain.GetComponent());
        code |= coloration->Init(displayFormat.get(), nullptr);
        chain.AddProcessor("image.coloration", coloration);
        coloration->Enable(false);
    }
    // Runs one pass; the display's RGB8 result.
    BrxImage* pass(BrxImage* input) {
        EXPECT_EQ(code, 0u);
        EXPECT_EQ(chain.ProcessImage(input, nullptr, nullptr), 0u);
        BrxImage* out = chain.Output();
        EXPECT_TRUE(out != nullptr && out->pixelType == PixelType::RGB8);
        return out;
    }

    QTDProcessor chain;
    uint32_t code = 0;
    Image processedFormat, displayFormat;
    BrxImgProcessor* coloration = nullptr;
};

Rgb grey(int v) {
    return {v, v, v};
}

} // namespace

TEST(ChainComposition, EachFamilyGetsItsStages) {
    struct Case {
        uint32_t type;
        const char* front; // the stage ahead of "image.unpacked", if any
        bool mosaic;       // demosaiced right after "image.unpacked"
        uint32_t processed;
    };
    std::vector<Case> cases;
    for (uint32_t type : {PixelType::Mono8, PixelType::Mono10, PixelType::Mono12, PixelType::Mono14,
                          PixelType::Mono16, PixelType::RGB8, PixelType::BGR8, PixelType::RGB12}) {
        cases.push_back({type, nullptr, false, type});
    }
    cases.push_back({PixelType::YUV422_8_UYVY, "yuv2rgb", false, PixelType::RGB8});
    for (int at = 0; at < 20; ++at) {
        cases.push_back({BAYER_INDEX[at], nullptr, true, rgbOfDepth(at)});
    }
    for (int i = 0; i < 20; ++i) { // packed mono, then packed mosaics
        const int at = indexOf(BAYER_INDEX, UNPACK_INDEX[i]);
        cases.push_back(
            {PACKED_INDEX[i], "unpack", i >= 4, i < 4 ? UNPACK_INDEX[i] : rgbOfDepth(at)});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.type);
        Layout expected;
        if (c.front != nullptr) {
            expected.emplace_back(c.front, true);
        }
        expected.emplace_back("image.unpacked", false);
        if (c.mosaic) {
            expected.emplace_back("bayer", true);
        }
        for (const char* name : {"image.colorcorrection", "image.overlay", "image.output"}) {
            expected.emplace_back(name, true);
        }
        auto input = TestImages::make(16, 8, c.type);
        QTDProcessor chain(nullptr, false);
        ASSERT_EQ(chain.Init(input.get(), nullptr), 0u);
        EXPECT_EQ(layoutOf(chain), expected);
        EXPECT_EQ(chain.Format(false)->pixelType, c.processed);
        EXPECT_EQ(chain.Format(true)->pixelType, c.type);
        EXPECT_TRUE(chain.isReady());
    }
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

TEST(ChainPass, DownscaledMono12ToTheDisplay) {
    auto input = TestImages::makeMono(20, 6, PixelType::Mono12);
    auto copy = TestImages::makeMono(20, 6, PixelType::Mono12);
    Display d(input.get(), 1);
    EXPECT_EQ(d.chain.GetProcessor("image.unpacked")->Format(false)->pixelType, PixelType::Mono8);
    EXPECT_EQ(d.processedFormat->pixelType, PixelType::Mono8);
    expectPixels(
        d.pass(input.get()),
        [&](uint32_t x, uint32_t y) { return grey(row16(copy.get(), y)[x] >> 4); }, 0, 2);
    // The narrowing works on a copy: the source stays as it came.
    EXPECT_EQ(std::memcmp(input->imageData, copy->imageData, input->imageSize), 0);
}

namespace {

// One source of each family, as samples for `imageOf`, with the 8-bit colour expected of every
// pixel; mono sources are also kept at their depth.
struct Family {
    uint32_t type, width, height;
    std::vector<uint16_t> samples;
    std::function<Rgb(uint32_t, uint32_t)> rgb;
    bool mono = false;
};

std::vector<Family> families() {
    std::vector<Family> all;
    auto add = [&](uint32_t type, uint32_t width, uint32_t height, uint32_t perPixel,
                   uint32_t levels) -> Family& {
        Family f{type, width, height, {}, nullptr};
        for (uint32_t i = 0; i < width * height * perPixel; ++i) {
            const uint32_t x = i % (width * perPixel), y = i / (width * perPixel);
            f.samples.push_back(uint16_t(TestImages::pattern(x, y, levels)));
        }
        all.push_back(std::move(f));
        return all.back();
    };
    // Mono: plain (Mono8 rows padded to 40 bytes) and packed.
    for (auto [type, bits] : {std::pair{PixelType::Mono8, 8},
                              {PixelType::Mono10, 10},
                              {PixelType::Mono12, 12},
                              {PixelType::Mono16, 16},
                              {PACKED_INDEX[0], 10},
                              {PACKED_INDEX[1], 12},
                              {PACKED_INDEX[2], 10},
                              {PACKED_INDEX[3], 12}}) {
        Family& f = add(type, 32 + 5 * (bits == 8), 5, 1, 1u << bits);
        f.mono = true;
        f.rgb = [s = f.samples, w = f.width, bits = bits](uint32_t x, uint32_t y) {
            return grey(s[y * w + x] >> (bits - 8));
        };
    }
    for (uint32_t type : {PixelType::RGB8, PixelType::BGR8}) {
        Family& f = add(type, 37, 5, 3, 256);
        f.rgb = [s = f.samples, bgr = type == PixelType::BGR8](uint32_t x, uint32_t y) {
            const uint16_t* p = &s[(y * 37 + x) * 3];
            return bgr ? Rgb{p[2], p[1], p[0]} : Rgb{p[0], p[1], p[2]};
        };
    }
    // UYVY: each pair of pixels is U Y0 V Y1.
    Family& yuv = add(PixelType::YUV422_8_UYVY, 8, 3, 2, 256);
    for (uint32_t i = 0; i < 48; ++i) { // luma kept above 16
        const uint32_t pair = i % 16 / 4, y = i / 16;
        const int bytes[4] = {int(60 + 40 * pair), int(30 + 50 * pair), int(200 - 30 * pair),
                              int(50 + 50 * pair + y)};
        yuv.samples[i] = uint16_t(bytes[i % 4]);
    }
    yuv.rgb = [s = yuv.samples](uint32_t x, uint32_t y) {
        const uint16_t* pair = &s[y * 16 + x / 2 * 4];
        const double u = pair[0] - 128.0, v = pair[2] - 128.0;
        const double luma = 1.164 * std::max(0, pair[1 + (x & 1) * 2] - 16);
        auto clamp = [](double c) { return int(std::lround(std::clamp(c, 0.0, 255.0))); };
        return Rgb{clamp(luma + 1.596 * v), clamp(luma - 0.391 * u - 0.813 * v),
                   clamp(luma + 2.018 * u)};
    };

    // Mosaics, plain and packed, of a flat colour in every pattern and depth (8, 10, 12, 14, 16
    // by groups of four).
    for (int i = 0; i < 36; ++i) {
        const uint32_t type = i < 20 ? BAYER_INDEX[i] : PACKED_INDEX[i - 16];
        const int at = i < 20 ? i : indexOf(BAYER_INDEX, UNPACK_INDEX[i - 16]);
        const Rgb colour8 = {230, 120, 25};
        const uint32_t packing = type & 0xFF00; // 10-bit fields: 0x1200, 0x2200; 12-bit: others
        const int shift = i < 20 ? at / 4 * 2 : packing == 0x1200 || packing == 0x2200 ? 2 : 4;
        const Rgb colour = {colour8[0] << shift, colour8[1] << shift, colour8[2] << shift};
        all.push_back({type, 32, 6, mosaicSamples(32, 6, at % 4, colour),
                       [=](uint32_t, uint32_t) { return colour8; }});
    }
    return all;
}

// Converts `source` with a chain of its own into a fresh target of `targetType`.
void expectConversion(BrxImage* source, uint32_t targetType,
                      const std::function<Rgb(uint32_t, uint32_t)>& expected) {
    SCOPED_TRACE(testing::Message() << "into " << std::hex << targetType);
    ChainFakes::BorrowedChain setup(source);
    ASSERT_EQ(setup.chainCode, 0u);
    Image target = TestImages::make(int(source->width), int(source->height), targetType);
    QTDConverter converter(&setup.controller, false);
    ASSERT_EQ(converter.Init(setup.chain.Format(true), target.get()), 0u);
    ASSERT_TRUE(converter.BeginProcessing());
    ASSERT_EQ(converter.ProcessImage(source, target.get(), nullptr), 0u);
    EXPECT_EQ(converter.state, QTDConverter::StateDone);
    converter.EndProcessing();
    EXPECT_EQ(converter.Output(), target.get());
    expectPixels(target.get(), expected, 0, 1);
}

} // namespace

TEST(ChainPass, EachFamilyToTheDisplayAndThroughTheConverter) {
    for (Family& f : families()) {
        SCOPED_TRACE(testing::Message() << std::hex << f.type);
        Image source = imageOf(f.type, f.width, f.height, f.samples);
        source->imageID = 77;
        Display d(source.get());
        BrxImage* out = d.pass(source.get());
        ASSERT_NE(out, nullptr);
        if (d.chain.GetProcessor(0) == d.chain.GetProcessor("image.unpacked")) {
            // The disabled "image.unpacked" handed the input itself on.
            EXPECT_EQ(d.chain.GetProcessor(0)->Output(), source.get());
            EXPECT_EQ(out->imageID, 77u);
        }
        if (BrxImgProcessor* unpack = d.chain.GetProcessor("unpack")) {
            ASSERT_EQ(unpack->Output()->pixelType, UNPACK_INDEX[indexOf(PACKED_INDEX, f.type)]);
            EXPECT_EQ(row16(unpack->Output(), 3)[5], f.samples[3 * f.width + 5]);
        }
        expectPixels(out, f.rgb, 0, 2);

        // Through the converter, each conversion with a chain of its own; the display pass
        // before must leave nothing behind that changes them.
        expectConversion(source.get(), PixelType::RGB8, f.rgb);
        auto bgr = [&](uint32_t x, uint32_t y) {
            const Rgb c = f.rgb(x, y);
            return Rgb{c[2], c[1], c[0]};
        };
        expectConversion(source.get(), PixelType::BGR8, bgr);
        if (f.mono) { // narrowed to 8 bits, or kept at the processed depth
            expectConversion(source.get(), PixelType::Mono8, f.rgb);
            expectConversion(
                source.get(),
                isIn(PACKED_INDEX, f.type) ? UNPACK_INDEX[indexOf(PACKED_INDEX, f.type)] : f.type,
                [&](uint32_t x, uint32_t y) { return grey(f.samples[y * f.width + x]); });
        }

        // The caller's image is left as it came.
        Image copy = imageOf(f.type, f.width, f.height, f.samples);
        EXPECT_EQ(std::memcmp(source->imageData, copy->imageData, source->imageSize), 0);
    }
}

TEST(ChainPass, ColorationPaintsTheRawExtremes) {
    auto input = TestImages::make(4, 1, PixelType::Mono12);
    const uint16_t samples[4] = {0, 4095, 4094, 1};
    std::memcpy(input->imageData, samples, sizeof(samples));
    Display d(input.get());
    BrxImgProcessor* unpacked = d.chain.GetProcessor("image.unpacked");
    EXPECT_TRUE(d.coloration->Enable(true));
    EXPECT_TRUE(unpacked->IsEnabled());
    BrxImage* out = d.pass(input.get());
    // Enabled, "image.unpacked" keeps a private copy of the raw samples.
    EXPECT_NE(unpacked->Output(), input.get());
    // Under-exposed green, over-exposed red.
    const Rgb painted[4] = {{0, 255, 0}, {255, 0, 0}, grey(4094 >> 4), grey(0)};
    expectPixels(
        out, [&](uint32_t x, uint32_t) { return painted[x]; }, 0, 2);
    d.coloration->Enable(false);
    EXPECT_FALSE(unpacked->IsEnabled());
    expectPixels(
        d.pass(input.get()), [&](uint32_t x, uint32_t) { return grey(samples[x] >> 4); }, 0, 2);
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
