// Each GPU stage on a frame against its CPU sister on the same frame, over odd widths and padded
// strides; and the refusals, each with its code.

#include "GLTestSupport.h"

#include "cpu/CPUIPColorCorrection.h"
#include "cpu/CPUIPExposureColoration.h"
#include "cpu/CPUIPImage.h"
#include "cpu/CPUIPImageOverlay.h"
#include "demosaic/ShaderReference.h"
#include "gpu/QGLBayerMHC.h"
#include "gpu/QGLColorCorrection.h"
#include "gpu/QGLIPBayer.h"
#include "gpu/QGLIPColorCorrection.h"
#include "gpu/QGLIPExposureColoration.h"
#include "gpu/QGLIPImage.h"
#include "gpu/QGLIPImageOverlay.h"
#include "gpu/QGLIPUnpack.h"
#include "gpu/QGLShaders.h"
#include "image/BrxImageUnpack.h"
#include "image/QTDImageHelpers.h"

#include <brx/BrxDisplayProcessor.h>
#include <brx/BrxImgProcessingChain.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

using namespace QTD::Procs;

namespace {

// The controller as the stages see it: a bag that names the surface.
class Controller : public BrxDisplayProcessor {
public:
    BrxComponent* GetComponent() override { return &bag; }
    uint32_t Init(BrxImage*) override { return 0; }
    uint32_t ProcessImage(BrxImage*) override { return 0; }
    void Release() override {}
    BrxImgProcessingChain* GetProcessingChain() override { return nullptr; }
    int RunCommandParams(char const*, std::map<std::string, std::string>*) override { return 0; }
    QTD::ComponentImpl bag;
};

// A chain that holds only "image.unpacked", as the coloration stages look for it.
class Chain : public BrxImgProcessingChain, public QTD::ComponentImpl {
public:
    explicit Chain(BrxImgProcessor* s) : source(s) {}
    BrxImgProcessor* GetProcessor(const char* name) override {
        return std::string(name) == "image.unpacked" ? source : nullptr;
    }
    BrxImgProcessor* GetProcessor(int) override { return nullptr; }
    int AddProcessor(const char*, BrxImgProcessor*) override { return 0; }
    int InsertProcessor(char*, const char*, BrxImgProcessor*) override { return 0; }
    int DeleteProcessor(const char*) override { return 0; }
    BrxComponent* GetComponent() override { return this; }
    uint32_t Init(BrxImage*, BrxImage*) override { return 0; }
    uint32_t ProcessImage(BrxImage*, BrxImage*, void*) override { return 0; }
    void Release() override {}
    BrxImage* Output() override { return nullptr; }
    BrxImage* Format(bool) override { return nullptr; }
    BrxImgProcessor* source;
};

// A stage released and deleted at the end.
struct Release {
    void operator()(BrxImgProcessor* stage) const {
        stage->Release();
        delete stage;
    }
};
template <class T> using Stage = std::unique_ptr<T, Release>;

// Set up on `in` and run once: true when both succeed.
bool runs(BrxImgProcessor* stage, BrxImage* in, BrxImage* out = nullptr) {
    return stage->Init(in, out) == 0 && stage->ProcessImage(in, nullptr, nullptr) == 0;
}
// One frame through a set-up GPU stage, read back into its output.
template <class T> bool processRead(T* stage, BrxImage* in) {
    return stage->ProcessImage(in, nullptr, nullptr) == 0 && stage->RunCommand("readGPU") == 0;
}
auto within(int most) {
    return testing::AllOf(testing::Ge(0), testing::Le(most));
}

// A frame of `type` whose rows lie `pad` bytes apart beyond the pixels, filled with noise that
// often touches both ends of the range.
struct Frame {
    Frame(int w, int h, uint32_t type, int pad, uint32_t seed = 1) {
        QTDImageHelpers::imageCreateFormat(&record, w, h, type);
        record.stride += uint32_t(pad);
        record.imageSize = record.stride * uint32_t(h);
        bytes.assign(record.imageSize, 0);
        record.imageData = bytes.data();
        record.imageID = 77;
        const int top = (1 << record.bitsPerChannel) - 1;
        const int channels = int(record.channels);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                // Whole pixels at the extremes often, so that the automatic thresholds mark some.
                seed = seed * 1103515245u + 12345u;
                const int kind = int(seed >> 28);
                for (int c = 0; c < channels; ++c) {
                    seed = seed * 1103515245u + 12345u;
                    const int v = kind == 0   ? 0
                                  : kind == 1 ? top
                                              : int((seed >> 8) % uint32_t(top + 1));
                    uint8_t* row = bytes.data() + y * record.stride;
                    if (record.bitsPerChannel == 8)
                        row[x * channels + c] = uint8_t(v);
                    else
                        std::memcpy(row + 2 * (x * channels + c), &v, 2);
                }
            }
    }
    Frame(Frame const& other) : record(other.record), bytes(other.bytes) {
        record.imageData = bytes.data();
    }
    BrxImage* get() { return &record; }
    BrxImage record{};
    std::vector<uint8_t> bytes;
};

// The largest difference of two 8-bit images' samples, row by row; -1 if they do not compare.
int worst(BrxImage* a, BrxImage* b) {
    if (!a || !b || a->width != b->width || a->height != b->height || a->channels != b->channels ||
        a->bitsPerChannel != 8 || b->bitsPerChannel != 8 || a->orientation != b->orientation)
        return -1;
    int most = 0;
    for (uint32_t y = 0; y < a->height; ++y) {
        auto* ra = static_cast<uint8_t*>(a->imageData) + y * a->stride;
        auto* rb = static_cast<uint8_t*>(b->imageData) + y * b->stride;
        for (uint32_t i = 0; i < a->width * a->channels; ++i)
            most = std::max(most, std::abs(ra[i] - rb[i]));
    }
    return most;
}

struct Size {
    int w, h, pad;
};
Size const Sizes[] = {{31, 7, 0}, {45, 12, 3}, {64, 9, 16}};

class GLStage : public GLTest::OnContext {
protected:
    void SetUp() override {
        OnContext::SetUp();
        controller.bag.properties.set("surface", QTD::ATTR(static_cast<void*>(&surface)), true);
    }
    Controller controller;
};
// A stage against its CPU sister over formats and sizes.
class FormatStage : public GLStage,
                    public testing::WithParamInterface<std::tuple<uint32_t, Size>> {};
using ImageStage = FormatStage;
using CorrectionStage = FormatStage;
using ColorationStage = FormatStage;

// Mono and colour of 8 and 16 bits into RGB8 give the CPU's pixels within one level, the same
// way up, from main memory and from the texture of a stage before.

TEST_P(ImageStage, MatchesTheCpuStage) {
    auto [type, size] = GetParam();
    Frame input(size.w, size.h, type, size.pad);
    BrxImage shown{};
    QTDImageHelpers::imageCreateFormat(&shown, size.w, size.h, PixelType::RGB8);

    Stage<CPUIPImage> cpu(new CPUIPImage(nullptr));
    ASSERT_TRUE(runs(cpu.get(), input.get(), &shown));
    Stage<QGLIPImage> direct(new QGLIPImage(&controller));
    direct->properties.set("readGPU", "1", true);
    ASSERT_TRUE(runs(direct.get(), input.get(), &shown));
    EXPECT_EQ(direct->Output()->imageID, 77u);
    Stage<QGLIPImage> upload(new QGLIPImage(&controller)), onward(new QGLIPImage(&controller));
    ASSERT_TRUE(runs(upload.get(), input.get()));
    ASSERT_TRUE(runs(onward.get(), upload->Output(), &shown));
    ASSERT_EQ(onward->RunCommand("readGPU"), 0u);
    EXPECT_THAT(worst(direct->Output(), cpu->Output()), within(1)) << "from memory";
    EXPECT_THAT(worst(onward->Output(), cpu->Output()), within(1)) << "from a texture";
}

INSTANTIATE_TEST_SUITE_P(Formats, ImageStage,
                         testing::Combine(testing::Values(PixelType::Mono8, PixelType::Mono12,
                                                          PixelType::Mono16, PixelType::RGB8,
                                                          PixelType::BGR8, PixelType::RGB16),
                                          testing::ValuesIn(Sizes)));

// Gains, offsets and gamma at 8 bits give the CPU's table within one level; gamma 1.005 is none
// on both, 1.02 is applied on both; absent gamma is none. The automatic mode, which the CPU does
// not have, against its rule.

TEST_P(CorrectionStage, MatchesTheCpuStage) {
    auto [type, size] = GetParam();
    using Map = std::map<std::string, std::string>;
    Map const cases[] = {
        {{"gain.r", "1.2"}, {"gain.g", "0.8"}, {"offs.r", "0.05"}, {"offs.g", "-0.02"}},
        {{"gamma", "1.005"}},
        {{"gamma", "1.02"}},
        {{"gain.r", "1.1"}, {"gain.b", "0.9"}, {"offs.g", "0.01"}, {"gamma", "1.02"}},
        {{"gain.r", "0.5"}, {"gain.g", "2"}, {"offs.b", "-0.1"}, {"gamma", "0.95"}},
        {},
    };
    Frame input(size.w, size.h, type, size.pad);
    Stage<QGLIPColorCorrection> gpu(new QGLIPColorCorrection(&controller));
    ASSERT_EQ(gpu->Init(input.get(), nullptr), 0u);
    for (Map params : cases) {
        Frame expected(input);
        Stage<CPUIPColorCorrection> cpu(new CPUIPColorCorrection(nullptr));
        ASSERT_EQ(cpu->Init(expected.get(), nullptr), 0u);
        ASSERT_TRUE(cpu->RunCommandParams("cmd.params.apply", &params));
        ASSERT_EQ(cpu->ProcessImage(expected.get(), nullptr, nullptr), 0u);
        ASSERT_TRUE(gpu->RunCommandParams("cmd.params.apply", &params));
        ASSERT_TRUE(processRead(gpu.get(), input.get()));
        EXPECT_THAT(worst(gpu->Output(), expected.get()), within(1))
            << testing::PrintToString(params);
    }

    if (type != PixelType::RGB8)
        return;
    Map automatic{{"gain.r", "1.5"}, {"gain.g", "0.7"}, {"offs.b", "0.05"}, {"debug.mode", "1"}};
    ASSERT_TRUE(gpu->RunCommandParams("cmd.params.apply", &automatic));
    ASSERT_TRUE(processRead(gpu.get(), input.get()));
    Frame rule(input);
    double const gain[3] = {1.5, 0.7, 1}, offs[3] = {0, 0, 0.05};
    for (uint32_t y = 0; y < rule.record.height; ++y)
        for (uint32_t x = 0; x < rule.record.width; ++x) {
            uint8_t* p = rule.bytes.data() + y * rule.record.stride + 3 * x;
            double c[3] = {p[0] / 255.0, p[1] / 255.0, p[2] / 255.0};
            double coef = 3 - (c[0] + c[1] + c[2]);
            for (int k = 0; k < 3; ++k) {
                double v = coef > 1.57 ? offs[k] + gain[k] * c[k]
                                       : c[k] + offs[k] + (gain[k] * c[k] - c[k]) * std::sin(coef);
                p[k] = uint8_t(std::lround(std::clamp(v, 0.0, 1.0) * 255));
            }
        }
    EXPECT_LE(worst(gpu->Output(), rule.get()), 1);

    // Disabled, the input comes through unchanged.
    ASSERT_EQ(gpu->RunCommand("disable"), 0u);
    ASSERT_TRUE(processRead(gpu.get(), input.get()));
    EXPECT_EQ(worst(gpu->Output(), input.get()), 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, CorrectionStage,
                         testing::Combine(testing::Values(PixelType::Mono8, PixelType::RGB8),
                                          testing::ValuesIn(Sizes)));

// The same pixels marked as by the CPU stage, at the automatic extremes and in between, with the
// raw samples taken from "image.unpacked" of each path's chain. (The CPU sums 16-bit colour in
// 16 signed bits, where it wraps; the GPU cannot follow it there, so RGB16 is left out.)

TEST_P(ColorationStage, MarksThePixelsTheCpuMarks) {
    auto [type, size] = GetParam();
    Frame raw(size.w, size.h, type, size.pad, 5);
    bool colour = isIn(RGBBGR_INDEX, type);
    int levels = 1 << raw.record.bitsPerChannel;
    std::pair<int, int> const thresholds[] = {{-1, -1},
                                              {levels / 6, (colour ? 3 : 1) * levels * 2 / 3}};
    for (auto [lo, hi] : thresholds) {
        SCOPED_TRACE(testing::Message() << lo << ".." << hi);
        Frame picture(size.w, size.h, PixelType::RGB8, 0, 9);
        Frame painted(picture);

        Stage<CPUIPImage> cpuSource(new CPUIPImage(nullptr));
        ASSERT_TRUE(runs(cpuSource.get(), raw.get()));
        Chain cpuChain(cpuSource.get());
        Stage<CPUIPExposureColoration> cpu(new CPUIPExposureColoration(&cpuChain));
        Stage<QGLIPImage> gpuSource(new QGLIPImage(&controller));
        ASSERT_TRUE(runs(gpuSource.get(), raw.get()));
        Chain gpuChain(gpuSource.get());
        Stage<QGLIPExposureColoration> gpu(new QGLIPExposureColoration(&controller, &gpuChain));
        for (QTD::PROPERTIES* bag : {&cpu->properties, &gpu->properties}) {
            bag->set("thres.lo", QTD::ATTR(lo), true);
            bag->set("thres.hi", QTD::ATTR(hi), true);
        }
        ASSERT_TRUE(runs(cpu.get(), painted.get()));
        ASSERT_TRUE(runs(gpu.get(), picture.get()));
        ASSERT_EQ(gpu->RunCommand("readGPU"), 0u);

        int marked = 0;
        for (size_t i = 0; i < picture.bytes.size(); ++i)
            marked += painted.bytes[i] != picture.bytes[i];
        EXPECT_GT(marked, 0);
        EXPECT_EQ(worst(gpu->Output(), painted.get()), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, ColorationStage,
                         testing::Combine(testing::Values(PixelType::Mono8, PixelType::Mono12,
                                                          PixelType::RGB8, PixelType::RGB12),
                                          testing::ValuesIn(Sizes)));

// The box of the pixels that differ between two images of one size.
GLTest::Box changedBox(BrxImage* a, BrxImage* b) {
    auto at = [](BrxImage* m, int x, int y) {
        return static_cast<uint8_t*>(m->imageData) + y * m->stride + x * m->channels;
    };
    return GLTest::inkBox(int(a->width), int(a->height), [&](int x, int y) {
        return std::memcmp(at(a, x, y), at(b, x, y), a->channels) != 0;
    });
}

// Without objects the image is copied as it is; text stands where the CPU burns it, within a
// pixel, on mono and colour, placed by position and by rule.
TEST_F(GLStage, OverlayDrawsTextWhereTheCpuBurnsIt) {
    struct Case {
        uint32_t type;
        char const *x, *y, *colour;
    } const cases[] = {{PixelType::Mono8, "10", "12", "16777215"},
                       {PixelType::RGB8, "3", "-1", "255"},
                       {PixelType::RGB8, "20", "4", "65280"}};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.x);
        Frame image(97, 48, c.type, 3);
        std::fill(image.bytes.begin(), image.bytes.end(), uint8_t(90));
        Frame burnt(image);
        Stage<CPUIPImageOverlay> cpu(new CPUIPImageOverlay(nullptr));
        Stage<QGLIPImageOverlay> gpu(new QGLIPImageOverlay(&controller));
        ASSERT_EQ(cpu->Init(burnt.get(), nullptr), 0u);
        ASSERT_EQ(gpu->Init(image.get(), nullptr), 0u);
        ASSERT_TRUE(processRead(gpu.get(), image.get()));
        EXPECT_EQ(worst(gpu->Output(), image.get()), 0);

        std::map<std::string, std::string> params{
            {"text.text", "HX"}, {"text.pos.x", c.x}, {"text.pos.y", c.y}, {"text.clr", c.colour}};
        auto same = params;
        ASSERT_TRUE(cpu->RunCommandParams("cmd.text.add", &params));
        ASSERT_TRUE(gpu->RunCommandParams("cmd.text.add", &same));
        ASSERT_EQ(cpu->ProcessImage(burnt.get(), nullptr, nullptr), 0u);
        ASSERT_TRUE(processRead(gpu.get(), image.get()));
        auto cpuBox = changedBox(burnt.get(), image.get());
        auto gpuBox = changedBox(gpu->Output(), image.get());
        ASSERT_GT(cpuBox.lit, 0);
        for (auto edge : GLTest::Edges)
            EXPECT_NEAR(gpuBox.*edge, cpuBox.*edge, 1);
    }
}

// A correction pass whose fragment shader does not compile.
class BrokenCorrection : public RenderObjects::QGLColorCorrection {
public:
    using QGLColorCorrection::QGLColorCorrection;
    bool init(BrxImage* image, QTD::PROPERTIES* p) override {
        QGLImage* own = nullptr;
        return prepare(image, p, own, inputFormat) &&
               link(VERT_SHADER, QTD::loadShader(VERT_SHADER), "broken", "void main() { x; }",
                    {"source"}, own);
    }
};

class CorrectionWithBrokenPass : public QGLIPColorCorrection {
public:
    using QGLIPColorCorrection::QGLIPColorCorrection;
    QGLRenderObject* makePass() override { return new BrokenCorrection(surface); }
};

// Images and set-ups refused, each with its code, on every stage.
TEST_F(GLStage, RefusalsAndTheirCodes) {
    Controller bare;
    Chain noSource(nullptr);
    struct Kind {
        char const* name;
        std::function<BrxImgProcessor*(BrxDisplayProcessor*)> make;
    } const kinds[] = {
        {"image", [](BrxDisplayProcessor* d) { return new QGLIPImage(d); }},
        {"correction", [](BrxDisplayProcessor* d) { return new QGLIPColorCorrection(d); }},
        {"overlay", [](BrxDisplayProcessor* d) { return new QGLIPImageOverlay(d); }},
        {"coloration",
         [&](BrxDisplayProcessor* d) { return new QGLIPExposureColoration(d, &noSource); }},
    };
    Frame frame(16, 8, PixelType::RGB8, 0), other(17, 8, PixelType::RGB8, 0);
    BrxImage empty = frame.record;
    empty.width = 0;
    auto code = [](uint32_t word) { return int(word & 0xFFFF); };
    for (auto const& kind : kinds) {
        SCOPED_TRACE(kind.name);
        Stage<BrxImgProcessor> stage(kind.make(&controller));
        EXPECT_EQ(code(stage->ProcessImage(frame.get(), nullptr, nullptr)), CodeNotReady);
        EXPECT_EQ(code(stage->Init(nullptr, nullptr)), CodeBadArgument);
        EXPECT_EQ(code(stage->Init(&empty, nullptr)), CodeBadArgument);
        ASSERT_EQ(stage->Init(frame.get(), nullptr), 0u);
        EXPECT_EQ(code(stage->ProcessImage(nullptr, nullptr, nullptr)), CodeBadArgument);
        EXPECT_EQ(code(stage->ProcessImage(other.get(), nullptr, nullptr)), CodeBadArgument);
        EXPECT_EQ(stage->Output(), nullptr);
        EXPECT_EQ(stage->GetComponent()->RunCommand("no.such.command"), 0u);
        Stage<BrxImgProcessor> orphan(kind.make(&bare));
        EXPECT_EQ(code(orphan->Init(frame.get(), nullptr)), CodeNotReady);
    }
    // Without "image.unpacked" there is nothing to judge.
    Stage<QGLIPExposureColoration> coloration(new QGLIPExposureColoration(&controller, &noSource));
    ASSERT_EQ(coloration->Init(frame.get(), nullptr), 0u);
    EXPECT_EQ(code(coloration->ProcessImage(frame.get(), nullptr, nullptr)), CodeNotReady);
    EXPECT_EQ(coloration->RunCommand("disable"), 0u);
    EXPECT_EQ(coloration->ProcessImage(frame.get(), nullptr, nullptr), 0u);

    Stage<CorrectionWithBrokenPass> broken(new CorrectionWithBrokenPass(&controller));
    EXPECT_EQ(code(broken->Init(frame.get(), nullptr)), CodeNotReady);
    EXPECT_FALSE(broken->isReady());
}

// A mosaic of noise that drives every branch of the edge test, demosaiced by the stage, against
// the transcription of its shader: each pattern at 8 and 12 bits, away from a 2-pixel border.
TEST_F(GLStage, BayerStageMatchesTheShaderTranscription) {
    struct Mosaic {
        Frame& frame;
        uint16_t sample(int x, int y, int) const {
            uint8_t const* row = frame.bytes.data() + size_t(y) * frame.record.stride;
            if (frame.record.bitsPerChannel == 8)
                return row[x];
            uint16_t v;
            std::memcpy(&v, row + 2 * x, 2);
            return v;
        }
    };
    uint32_t const types[] = {BRX_PIXEL_BayerGR8,  BRX_PIXEL_BayerRG8,  BRX_PIXEL_BayerBG8,
                              BRX_PIXEL_BayerGB8,  BRX_PIXEL_BayerGR12, BRX_PIXEL_BayerRG12,
                              BRX_PIXEL_BayerBG12, BRX_PIXEL_BayerGB12};
    for (uint32_t type : types) {
        SCOPED_TRACE(testing::Message() << std::hex << type);
        Frame frame(37, 21, type, 5);
        const int depth = int(frame.record.bitsPerChannel);
        Stage<QGLIPBayer> stage(new QGLIPBayer(&controller));
        ASSERT_TRUE(runs(stage.get(), frame.get()));
        ASSERT_EQ(stage->RunCommand("readGPU"), 0u);
        BrxImage* out = stage->Output();
        ASSERT_EQ(out->pixelType, depth == 8 ? BRX_PIXEL_RGB8 : BRX_PIXEL_RGB12);
        // The shader scales 8-bit data by 1/255 and deeper data by 2^(16 - depth) / 65535.
        const double unit = depth == 8 ? 255.0 : 65535.0 / double(1 << (16 - depth));
        Mosaic mosaic{frame};
        DemosaicTest::ShaderReference<Mosaic> const reference{
            mosaic, RenderObjects::QGLBayerMHC::pattern(type), unit};
        const long top = (1L << depth) - 1;
        long most = 0;
        for (int y = 2; y < 21 - 2; ++y)
            for (int x = 2; x < 37 - 2; ++x) {
                long want[3];
                reference.pixel(x, y, want);
                // The target lies bottom-up: the pass turns the picture over.
                uint8_t const* row = static_cast<uint8_t*>(out->imageData) +
                                     size_t(out->orientation == 1 ? 20 - y : y) * out->stride;
                for (int c = 0; c < 3; ++c) {
                    uint16_t got = row[3 * x + c];
                    if (depth > 8)
                        std::memcpy(&got, row + 2 * (3 * x + c), 2);
                    most = std::max(most, std::labs(std::min(want[c], top) - long(got)));
                }
            }
        EXPECT_LE(most, 1);
    }
}

// The packed stream forms unpacked on the GPU bit for bit as on the CPU; widths that end inside
// a packing group, the row-aligned "Packed" forms and a pass that does not build are refused
// at Init (code 3, 3, 8), which is what sends the chain to the CPU unpack.
TEST_F(GLStage, UnpackStageIsBitExactOrRefuses) {
    for (int i = 0; i < 20; ++i) {
        const uint32_t type = PACKED_INDEX[i];
        const bool stream = i == 2 || i == 3 || i >= 12;
        const int group = UNPACK_INDEX[i] == BRX_PIXEL_Mono12 || (i >= 16) ? 2 : 4;
        for (int w : {8 * group, 8 * group + 1}) {
            SCOPED_TRACE(testing::Message() << std::hex << type << std::dec << " w=" << w);
            BrxImage packed{};
            QTDImageHelpers::imageCreateFormat(&packed, w, 6, type);
            std::vector<uint8_t> bytes(packed.imageSize + 8);
            uint32_t seed = 5;
            for (auto& b : bytes)
                b = uint8_t((seed = seed * 1664525u + 1013904223u) >> 24);
            packed.imageData = bytes.data();
            Stage<QGLIPUnpack> stage(new QGLIPUnpack(&controller));
            const uint32_t word = stage->Init(&packed, nullptr);
            if (!stream || w % group != 0) {
                EXPECT_EQ(int(word & 0xFFFF), CodeNotSupported);
                continue;
            }
            ASSERT_EQ(word, 0u);
            ASSERT_EQ(stage->ProcessImage(&packed, nullptr, nullptr), 0u);
            BrxImage* out = stage->Output();
            ASSERT_EQ(out->pixelType, UNPACK_INDEX[i]);
            auto* target = QGLImage::Find(out);
            ASSERT_NE(target, nullptr);
            // A Bayer target reads back only as the mono samples it holds.
            BrxImage samples = *out;
            samples.pixelType = group == 2 ? BRX_PIXEL_Mono12 : BRX_PIXEL_Mono10;
            ASSERT_NE(target->readGPU(&samples), nullptr);
            BrxImage cpu{};
            QTDImageHelpers::imageCreateFormat(&cpu, w, 6, UNPACK_INDEX[i]);
            ASSERT_EQ(BrxImageUnpack::Unpack(&packed, &cpu), 1);
            std::unique_ptr<void, decltype(&std::free)> block(cpu.allocatedData, &std::free);
            for (uint32_t y = 0; y < 6; ++y)
                EXPECT_EQ(std::memcmp(static_cast<uint8_t*>(out->imageData) + y * out->stride,
                                      static_cast<uint8_t*>(cpu.imageData) + y * cpu.stride,
                                      size_t(2 * w)),
                          0)
                    << "row " << y;
        }
    }
    class UnpackWithBrokenPass : public QGLIPUnpack {
    public:
        using QGLIPUnpack::QGLIPUnpack;
        QGLRenderObject* makePass() override { return new BrokenCorrection(surface); }
    };
    Frame frame(32, 4, BRX_PIXEL_Mono8, 0);
    BrxImage packed{};
    QTDImageHelpers::imageCreateFormat(&packed, 16, 4, BRX_PIXEL_Mono12p);
    packed.imageData = frame.bytes.data();
    Stage<UnpackWithBrokenPass> broken(new UnpackWithBrokenPass(&controller));
    EXPECT_EQ(int(broken->Init(&packed, nullptr) & 0xFFFF), CodeNotReady);
}

} // namespace
