// The CPU chain composed for each family of input formats, and images pushed through it together
// with the two stages that the viewer appends, and through the converter.

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
using TestImages::row8;

namespace {

using Rgb = std::array<int, 3>;
using Expected = std::function<Rgb(uint32_t, uint32_t)>;

// The names of the stages, each followed by + when enabled, - when not.
std::string layoutOf(QTDProcessor& chain) {
    std::string layout;
    for (int i = 0; i < chain.Size(); ++i)
        layout +=
            std::string(chain.stages.keyAt(i)) + (chain.GetProcessor(i)->IsEnabled() ? "+ " : "- ");
    return layout;
}

Rgb grey(int v) {
    return {v, v, v};
}

// The depth of a type, from the depth code of its word (1 for 8 bits to 5 for 16).
int bitsOf(uint32_t type) {
    return 6 + 2 * int(type >> 8 & 0xF);
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
// types are a stream of fields, least significant bits first; the GigE "Packed" types put two
// pixels in three bytes, the high bits of each in its own byte and the low bits shared.
Image imageOf(uint32_t type, uint32_t width, uint32_t height,
              const std::vector<uint16_t>& samples) {
    Image image = TestImages::make(int(width), int(height), type);
    const uint32_t bits = uint32_t(bitsOf(type)), low = bits - 8, mask = (1u << low) - 1;
    const size_t perRow = samples.size() / height;
    for (uint32_t y = 0; y < height; ++y) {
        const uint16_t* in = &samples[y * perRow];
        uint8_t* out = row8(image.get(), y);
        if ((type & 0xF000) == 0x2000) {
            for (uint32_t b = 0; b < width * bits; ++b)
                out[b / 8] |= uint8_t((in[b / bits] >> (b % bits) & 1) << (b % 8));
        } else if ((type & 0xF000) == 0x1000) {
            for (uint32_t x = 0; x + 1 < width; x += 2, out += 3) {
                out[0] = uint8_t(in[x] >> low);
                out[1] = uint8_t((in[x] & mask) | (in[x + 1] & mask) << 4);
                out[2] = uint8_t(in[x + 1] >> low);
            }
        } else if (bits == 8) {
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
        if (code != 0)
            return;
        const BrxImage* processed = chain.Format(false);
        const int width = int(processed->width), height = int(processed->height);
        processedFormat = TestImages::make(width, height, processed->pixelType);
        displayFormat = TestImages::make(width, height, PixelType::RGB8);
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

// One source of each family, as samples for `imageOf`, with the 8-bit colour expected of every
// pixel and the type that the chain hands to "image.output".
struct Family {
    uint32_t type, width, height;
    std::vector<uint16_t> samples;
    Expected rgb;
    uint32_t processed;
};

std::vector<Family> families() {
    std::vector<Family> all;
    auto add = [&](uint32_t type, uint32_t width, uint32_t perPixel, uint32_t processed) {
        Family f{type, width, 5, {}, nullptr, processed};
        for (uint32_t i = 0; i < width * 5 * perPixel; ++i)
            f.samples.push_back(uint16_t(TestImages::pattern(
                i % (width * perPixel), i / (width * perPixel), 1u << bitsOf(type))));
        all.push_back(std::move(f));
        return &all.back();
    };
    // Mono: plain (Mono8 rows padded to 40 bytes) and packed.
    for (uint32_t type :
         {PixelType::Mono8, PixelType::Mono10, PixelType::Mono12, PixelType::Mono14,
          PixelType::Mono16, PACKED_INDEX[0], PACKED_INDEX[1], PACKED_INDEX[2], PACKED_INDEX[3]}) {
        Family* f =
            add(type, type == PixelType::Mono8 ? 37 : 32, 1,
                isIn(PACKED_INDEX, type) ? UNPACK_INDEX[indexOf(PACKED_INDEX, type)] : type);
        f->rgb = [s = f->samples, w = f->width, shift = bitsOf(type) - 8](uint32_t x, uint32_t y) {
            return grey(s[y * w + x] >> shift);
        };
    }
    for (uint32_t type : {PixelType::RGB8, PixelType::BGR8}) {
        Family* f = add(type, 37, 3, type);
        f->rgb = [s = f->samples, bgr = type == PixelType::BGR8](uint32_t x, uint32_t y) {
            const uint16_t* p = &s[(y * 37 + x) * 3];
            return bgr ? Rgb{p[2], p[1], p[0]} : Rgb{p[0], p[1], p[2]};
        };
    }
    // UYVY: each pair of pixels is U Y0 V Y1.
    Family* yuv = add(PixelType::YUV422_8_UYVY, 8, 2, PixelType::RGB8);
    yuv->rgb = [s = yuv->samples](uint32_t x, uint32_t y) {
        const uint16_t* pair = &s[y * 16 + x / 2 * 4];
        const double u = pair[0] - 128.0, v = pair[2] - 128.0;
        const double luma = 1.164 * std::max(0, pair[1 + (x & 1) * 2] - 16);
        auto clamp = [](double c) { return int(std::lround(std::clamp(c, 0.0, 255.0))); };
        return Rgb{clamp(luma + 1.596 * v), clamp(luma - 0.391 * u - 0.813 * v),
                   clamp(luma + 2.018 * u)};
    };
    // Mosaics, plain and packed, of a flat colour in every pattern and depth.
    const Rgb colour8 = {230, 120, 25};
    for (uint32_t type : BAYER_INDEX) {
        const int at = isIn(PACKED_INDEX, type)
                           ? indexOf(BAYER_INDEX, UNPACK_INDEX[indexOf(PACKED_INDEX, type)])
                           : indexOf(BAYER_INDEX, type);
        const int shift = bitsOf(type) - 8;
        const Rgb colour = {colour8[0] << shift, colour8[1] << shift, colour8[2] << shift};
        all.push_back({type, 32, 6, mosaicSamples(32, 6, at % 4, colour),
                       [=](uint32_t, uint32_t) { return colour8; }, rgbOfDepth(at)});
    }
    return all;
}

// Converts `source` with a chain of its own into a fresh target of `targetType`.
void expectConversion(BrxImage* source, uint32_t targetType, const Expected& expected) {
    SCOPED_TRACE(testing::Message() << "into " << std::hex << targetType);
    ChainFakes::BorrowedChain setup(source);
    ASSERT_EQ(setup.chainCode, 0u);
    Image target = TestImages::make(int(source->width), int(source->height), targetType);
    QTDConverter converter(&setup.controller, false);
    ASSERT_EQ(converter.Init(setup.chain.Format(true), target.get()), 0u);
    ASSERT_TRUE(converter.BeginProcessing());
    ASSERT_EQ(converter.ProcessImage(source, target.get(), nullptr), 0u);
    converter.EndProcessing();
    expectPixels(target.get(), expected, 0, 1);
}

} // namespace

// Each family's stages, then its pixels through the display and through the converter.
TEST(ChainPass, EachFamilyComposedToTheDisplayAndThroughTheConverter) {
    for (Family& f : families()) {
        SCOPED_TRACE(testing::Message() << std::hex << f.type);
        Image source = imageOf(f.type, f.width, f.height, f.samples);
        Display d(source.get());
        ASSERT_EQ(d.code, 0u);
        const char* front = isIn(PACKED_INDEX, f.type)           ? "unpack+ "
                            : f.type == PixelType::YUV422_8_UYVY ? "yuv2rgb+ "
                                                                 : "";
        EXPECT_EQ(layoutOf(d.chain), std::string(front) + "image.unpacked- " +
                                         (isIn(BAYER_INDEX, f.type) ? "bayer+ " : "") +
                                         "image.colorcorrection+ image.overlay+ image.output+ "
                                         "image.display+ image.coloration- ");
        EXPECT_EQ(d.processedFormat->pixelType, f.processed);

        expectPixels(d.pass(source.get()), f.rgb, 0, 2);

        // Through the converter, each conversion with a chain of its own; the display pass
        // before must leave nothing behind that changes them.
        expectConversion(source.get(), PixelType::RGB8, f.rgb);
        expectConversion(source.get(), PixelType::BGR8, [&](uint32_t x, uint32_t y) {
            const Rgb c = f.rgb(x, y);
            return Rgb{c[2], c[1], c[0]};
        });
        if (isIn(MONO_INDEX, f.processed)) {   // narrowed to 8 bits, or kept at the processed depth
            Display narrowed(source.get(), 1); // downscaled at "image.unpacked"
            EXPECT_EQ(narrowed.processedFormat->pixelType, PixelType::Mono8);
            expectPixels(narrowed.pass(source.get()), f.rgb, 0, 2);
            expectConversion(source.get(), PixelType::Mono8, f.rgb);
            expectConversion(source.get(), f.processed, [&](uint32_t x, uint32_t y) {
                return grey(f.samples[y * f.width + x]);
            });
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
    // Under-exposed green, over-exposed red.
    const Rgb painted[4] = {{0, 255, 0}, {255, 0, 0}, grey(4094 >> 4), grey(0)};
    expectPixels(
        d.pass(input.get()), [&](uint32_t x, uint32_t) { return painted[x]; }, 0, 2);
    d.coloration->Enable(false);
    EXPECT_FALSE(unpacked->IsEnabled());
}

TEST(ChainPass, AStageFailureIsCodeOneAndTheStageKeepsItsOwn) {
    auto input = TestImages::makeMono(16, 8, PixelType::Mono8);
    QTDProcessor chain(nullptr, false);
    ASSERT_EQ(chain.Init(input.get(), nullptr), 0u);
    // An image of another geometry cannot be handed through the disabled stage or copied.
    auto lastError = [&](const char* stage) {
        return dynamic_cast<QTD::ImageProcessorData*>(chain.GetProcessor(stage))->lastError;
    };
    auto other = TestImages::makeMono(24, 8, PixelType::Mono8);
    EXPECT_EQ(chain.ProcessImage(other.get(), nullptr, nullptr), statusWord(CodeFailed));
    EXPECT_EQ(lastError("image.unpacked"), CodeFailed);

    // A Mono16 image of the set-up's size reaches the correction, whose table is for 8 bits.
    auto deeper = TestImages::makeMono(16, 8, PixelType::Mono16);
    deeper->imageSize = input->imageSize;
    deeper->stride = input->stride;
    EXPECT_EQ(chain.ProcessImage(deeper.get(), nullptr, nullptr), statusWord(CodeFailed));
    EXPECT_EQ(lastError("image.colorcorrection"), CodeBadArgument);
}
