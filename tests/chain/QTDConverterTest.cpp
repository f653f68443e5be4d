// The converter borrows a controller's chain up to "image.output" and writes the caller's
// target format. Expected pixels are computed here from the source bytes.

#include "chain/QTDConverter.h"
#include "chain/ChainFakes.h"
#include "chain/QTDProcessor.h"
#include "chain/TestImages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <vector>

using namespace QTD::Procs;
using ChainFakes::CountingSurface;
using ChainFakes::FakeController;
using TestImages::Image;
using TestImages::row16;
using TestImages::row8;

namespace {

// Stands behind "image.output" like the viewer's stages; counts its calls.
class CountingStage : public BrxImgProcessor {
public:
    uint32_t ProcessImage(BrxImage*, BrxImage*, void*) override {
        ++calls;
        return 0;
    }
    void Release() override {}
    BrxComponent* GetComponent() override { return nullptr; }
    BrxImage* Output() override { return nullptr; }
    int calls = 0;
};

class FailingStage : public CountingStage {
public:
    uint32_t ProcessImage(BrxImage* a, BrxImage* b, void* c) override {
        CountingStage::ProcessImage(a, b, c);
        return statusWord(CodeFailed);
    }
};

// A chain composed for `format` and published in the controller's bag, as the display does.
struct BorrowedChain {
    explicit BorrowedChain(BrxImage* format) : chain(&controller, false) {
        chainCode = chain.Init(format, nullptr);
        controller.component.properties.set(
            "processor", QTD::ATTR(static_cast<void*>(static_cast<QTDProcessor*>(&chain))), true);
    }
    // Sets up `converter` the way the controller does and runs one conversion.
    int convert(QTDConverter& converter, BrxImage* source, BrxImage* target) {
        if (!converter.BeginProcessing()) {
            return -1;
        }
        const uint32_t word = converter.ProcessImage(source, target, nullptr);
        const int state = converter.state;
        converter.EndProcessing();
        return word != 0 ? -int(statusCode(word)) : state;
    }
    FakeController controller;
    QTDProcessor chain;
    uint32_t chainCode = 0;
};

// Converts `source` into a fresh target of `targetType` and checks every pixel.
void expectConversion(BrxImage* source, uint32_t targetType,
                      const std::function<std::vector<int>(uint32_t, uint32_t)>& expected) {
    BorrowedChain setup(source);
    ASSERT_EQ(setup.chainCode, 0u);
    Image target = TestImages::make(int(source->width), int(source->height), targetType);
    QTDConverter converter(&setup.controller, false);
    ASSERT_EQ(converter.Init(setup.chain.Format(true), target.get()), 0u);
    ASSERT_EQ(setup.convert(converter, source, target.get()), QTDConverter::StateDone);
    EXPECT_EQ(converter.Output(), target.get());
    const uint32_t channels = target->channels;
    const bool wide = target->bitsPerChannel > 8;
    int mismatches = 0;
    for (uint32_t y = 0; y < target->height; ++y) {
        for (uint32_t x = 0; x < target->width; ++x) {
            const std::vector<int> want = expected(x, y);
            for (uint32_t c = 0; c < channels; ++c) {
                const int got = wide ? row16(target.get(), y)[x * channels + c]
                                     : row8(target.get(), y)[x * channels + c];
                if (std::abs(got - want[c]) > 1 && ++mismatches < 5) {
                    ADD_FAILURE() << "pixel " << x << "," << y << " channel " << c << ": " << got
                                  << " instead of " << want[c];
                }
            }
        }
    }
    EXPECT_EQ(mismatches, 0);
}

} // namespace

TEST(Converter, MonoToMonoRgbAndBgr) {
    auto mono = TestImages::makeMono(37, 5, PixelType::Mono8);
    auto copy = TestImages::makeMono(37, 5, PixelType::Mono8);
    auto grey = [&](uint32_t x, uint32_t y) {
        const int v = row8(copy.get(), y)[x];
        return std::vector<int>{v, v, v};
    };
    expectConversion(mono.get(), PixelType::Mono8, grey);
    expectConversion(mono.get(), PixelType::RGB8, grey);
    expectConversion(mono.get(), PixelType::BGR8, grey);
}

TEST(Converter, DeepMonoIsNarrowedOrKept) {
    for (uint32_t type : {PixelType::Mono10, PixelType::Mono12, PixelType::Mono16}) {
        auto mono = TestImages::makeMono(21, 4, type);
        auto copy = TestImages::makeMono(21, 4, type);
        const int shift = int(mono->bitsPerChannel) - 8;
        auto narrowed = [&](uint32_t x, uint32_t y) {
            const int v = row16(copy.get(), y)[x] >> shift;
            return std::vector<int>{v, v, v};
        };
        expectConversion(mono.get(), PixelType::Mono8, narrowed);
        expectConversion(mono.get(), PixelType::RGB8, narrowed);
        expectConversion(mono.get(), type, [&](uint32_t x, uint32_t y) {
            return std::vector<int>{row16(copy.get(), y)[x]};
        });
    }
}

TEST(Converter, ColourKeepsOrSwapsItsChannels) {
    for (uint32_t type : {PixelType::RGB8, PixelType::BGR8}) {
        auto colour = TestImages::makeColor8(37, 5, type);
        auto copy = TestImages::makeColor8(37, 5, type);
        auto same = [&](uint32_t x, uint32_t y) {
            const uint8_t* p = row8(copy.get(), y) + 3 * x;
            return std::vector<int>{p[0], p[1], p[2]};
        };
        auto swapped = [&](uint32_t x, uint32_t y) {
            const uint8_t* p = row8(copy.get(), y) + 3 * x;
            return std::vector<int>{p[2], p[1], p[0]};
        };
        const uint32_t other = type == PixelType::RGB8 ? PixelType::BGR8 : PixelType::RGB8;
        expectConversion(colour.get(), type, same);
        expectConversion(colour.get(), other, swapped);
    }
}

TEST(Converter, PackedMonoIsUnpackedFirst) {
    // Mono12Packed (GigE Vision): high bits in whole bytes, the low nibbles shared.
    const uint32_t width = 16, height = 3;
    auto packed = TestImages::make(int(width), int(height), PixelType::Mono12Packed);
    std::vector<uint16_t> values(width * height);
    for (uint32_t i = 0; i < values.size(); ++i) {
        values[i] = uint16_t((i * 331u + 5u) % 4096u);
    }
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* row = row8(packed.get(), y);
        for (uint32_t x = 0; x < width; x += 2) {
            const uint16_t a = values[y * width + x], b = values[y * width + x + 1];
            row[x / 2 * 3] = uint8_t(a >> 4);
            row[x / 2 * 3 + 1] = uint8_t((a & 0x0F) | (b & 0x0F) << 4);
            row[x / 2 * 3 + 2] = uint8_t(b >> 4);
        }
    }
    expectConversion(packed.get(), PixelType::Mono12, [&](uint32_t x, uint32_t y) {
        return std::vector<int>{values[y * width + x]};
    });
    expectConversion(packed.get(), PixelType::RGB8, [&](uint32_t x, uint32_t y) {
        const int v = values[y * width + x] >> 4;
        return std::vector<int>{v, v, v};
    });
}

TEST(Converter, UyvyBecomesColour) {
    const uint32_t width = 8, height = 3;
    auto yuv = TestImages::make(int(width), int(height), PixelType::YUV422_8_UYVY);
    for (uint32_t y = 0; y < height; ++y) {
        uint8_t* row = row8(yuv.get(), y);
        for (uint32_t pair = 0; pair < width / 2; ++pair) {
            row[pair * 4 + 0] = uint8_t(60 + 40 * pair);     // U
            row[pair * 4 + 1] = uint8_t(30 + 50 * pair);     // Y0
            row[pair * 4 + 2] = uint8_t(200 - 30 * pair);    // V
            row[pair * 4 + 3] = uint8_t(50 + 50 * pair + y); // Y1
        }
    }
    auto rgb = [&](uint32_t x, uint32_t y) {
        const uint8_t* row = row8(yuv.get(), y);
        const double u = row[x / 2 * 4] - 128.0, v = row[x / 2 * 4 + 2] - 128.0;
        const double luma = 1.164 * std::max(0, row[x / 2 * 4 + 1 + (x & 1) * 2] - 16);
        auto clamp = [](double c) { return int(std::lround(std::clamp(c, 0.0, 255.0))); };
        return std::vector<int>{clamp(luma + 1.596 * v), clamp(luma - 0.391 * u - 0.813 * v),
                                clamp(luma + 2.018 * u)};
    };
    expectConversion(yuv.get(), PixelType::RGB8, rgb);
    expectConversion(yuv.get(), PixelType::BGR8, [&](uint32_t x, uint32_t y) {
        std::vector<int> c = rgb(x, y);
        return std::vector<int>{c[2], c[1], c[0]};
    });
}

TEST(Converter, StopsAtTheOutputStageAndBracketsTheSurface) {
    auto mono = TestImages::makeMono(8, 4, PixelType::Mono8);
    mono->imageID = 41;
    BorrowedChain setup(mono.get());
    ASSERT_EQ(setup.chainCode, 0u);
    CountingSurface surface;
    setup.controller.component.properties.set("surface", QTD::ATTR(static_cast<void*>(&surface)),
                                              true);
    auto* behind = new CountingStage;
    ASSERT_EQ(setup.chain.AddProcessor("image.display", behind), 0);

    Image target = TestImages::make(8, 4, PixelType::RGB8);
    QTDConverter converter(&setup.controller, false);
    ASSERT_EQ(converter.Init(setup.chain.Format(true), target.get()), 0u);
    EXPECT_EQ(converter.state, QTDConverter::StateReady);
    ASSERT_EQ(setup.convert(converter, mono.get(), target.get()), QTDConverter::StateDone);
    EXPECT_EQ(behind->calls, 0);
    EXPECT_EQ(surface.begins, 1);
    EXPECT_EQ(surface.ends, 1);
    EXPECT_EQ(target->imageID, 41u);
    EXPECT_EQ(converter.properties.getAs<void*>("@src"), static_cast<void*>(mono.get()));
    EXPECT_EQ(converter.properties.getAs<void*>("@out"), static_cast<void*>(target.get()));
    EXPECT_EQ(converter.state, QTDConverter::StateReady);

    // A failing chain stage ends the request in state 32, the surface still ended.
    auto* failing = new FailingStage;
    ASSERT_EQ(setup.chain.InsertProcessor(const_cast<char*>("image.output"), "bad", failing), 0);
    EXPECT_EQ(setup.convert(converter, mono.get(), target.get()), -int(CodeFailed));
    EXPECT_EQ(failing->calls, 1);
    EXPECT_EQ(surface.ends, 2);
}

TEST(Converter, SetUpFailures) {
    auto mono = TestImages::makeMono(8, 4, PixelType::Mono8);
    Image target = TestImages::make(8, 4, PixelType::RGB8);

    // Without a controller, or with a controller that has no chain.
    QTDConverter orphan(nullptr, false);
    EXPECT_EQ(orphan.Init(mono.get(), target.get()), statusWord(CodeNotReady));
    FakeController bare;
    QTDConverter noChain(&bare, false);
    EXPECT_EQ(noChain.Init(nullptr, target.get()), statusWord(CodeBadArgument));
    EXPECT_EQ(noChain.Init(mono.get(), target.get()), statusWord(CodeNotReady));
    EXPECT_FALSE(noChain.BeginProcessing());
    EXPECT_EQ(noChain.ProcessImage(mono.get(), target.get(), nullptr), statusWord(CodeBadArgument));

    BorrowedChain setup(mono.get());
    ASSERT_EQ(setup.chainCode, 0u);
    QTDConverter converter(&setup.controller, false);
    // The input must have the size that enters "image.output".
    auto other = TestImages::makeMono(9, 4, PixelType::Mono8);
    EXPECT_EQ(converter.Init(other.get(), target.get()), statusWord(CodeNotReady));
    EXPECT_EQ(converter.Init(mono.get(), nullptr), statusWord(CodeNoResources));
    EXPECT_EQ(converter.state, QTDConverter::StateIdle);

    ASSERT_EQ(converter.Init(mono.get(), target.get()), 0u);
    // Sources and targets of another size are refused before anything runs.
    Image wide = TestImages::make(9, 4, PixelType::RGB8);
    EXPECT_EQ(converter.ProcessImage(mono.get(), wide.get(), nullptr), statusWord(CodeBadArgument));
    EXPECT_EQ(converter.ProcessImage(other.get(), target.get(), nullptr),
              statusWord(CodeBadArgument));
    EXPECT_EQ(converter.ProcessImage(nullptr, target.get(), nullptr), statusWord(CodeBadArgument));
    EXPECT_EQ(converter.state, QTDConverter::StateReady);

    // Targets of the right size but another layout fail in the last stage: state 16.
    Image grey = TestImages::make(8, 4, PixelType::Mono8);
    EXPECT_EQ(setup.convert(converter, mono.get(), grey.get()), QTDConverter::StateLastStageFailed);
    Image packedTarget = TestImages::make(8, 4, PixelType::Mono12p);
    ASSERT_EQ(converter.Init(mono.get(), packedTarget.get()), 0u);
    EXPECT_EQ(setup.convert(converter, mono.get(), packedTarget.get()),
              QTDConverter::StateLastStageFailed);

    converter.Release();
    EXPECT_EQ(converter.state, QTDConverter::StateIdle);
    EXPECT_EQ(converter.lastStage, nullptr);
    EXPECT_FALSE(converter.BeginProcessing());
}

TEST(Converter, OnAnOpenGLChainTheOutputStageIsAskedToReadBack) {
    // A stand-in output stage on a chain marked for OpenGL.
    class ReadBackStage : public QTD::ImageProcessorData,
                          public QTD::ComponentImpl,
                          public BrxImgProcessor {
    public:
        explicit ReadBackStage(BrxImage* format) {
            inputFormat = QTDImageHelpers::imageCopyFormat(nullptr, format);
        }
        uint32_t ProcessImage(BrxImage* input, BrxImage*, void*) override {
            output = input;
            return 0;
        }
        void Release() override {}
        BrxComponent* GetComponent() override { return static_cast<QTD::ComponentImpl*>(this); }
        BrxImage* Output() override { return output; }
        BrxImage* Format(bool in) override { return ImageProcessorData::Format(in); }
        unsigned int RunCommand(const char* command) override {
            if (QTD::ATTR(command).same("readGPU")) {
                ++readBacks;
            }
            return 0;
        }
        int readBacks = 0;
    };
    auto mono = TestImages::makeMono(8, 4, PixelType::Mono8);
    FakeController controller;
    QTDProcessor chain(&controller, true);
    auto* stage = new ReadBackStage(mono.get());
    ASSERT_EQ(chain.AddProcessor("image.output", stage), 0);
    controller.component.properties.set(
        "processor", QTD::ATTR(static_cast<void*>(static_cast<QTDProcessor*>(&chain))), true);

    Image target = TestImages::make(8, 4, PixelType::Mono8);
    QTDConverter converter(&controller, true);
    ASSERT_EQ(converter.Init(mono.get(), target.get()), 0u);
    ASSERT_TRUE(converter.BeginProcessing());
    ASSERT_EQ(converter.ProcessImage(mono.get(), target.get(), nullptr), 0u);
    EXPECT_EQ(converter.state, QTDConverter::StateDone);
    EXPECT_EQ(stage->readBacks, 1);
    EXPECT_EQ(std::memcmp(target->imageData, mono->imageData, mono->imageSize), 0);

    // A stage that keeps its result readable needs no request.
    stage->properties.set("readGPU", "1", true);
    ASSERT_EQ(converter.ProcessImage(mono.get(), target.get(), nullptr), 0u);
    EXPECT_EQ(stage->readBacks, 1);
}
