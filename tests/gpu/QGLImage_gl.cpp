// Render targets and input textures on Mesa: pixels up and back exact at every depth and
// stride, the caller's buffer untouched, the flipped target bottom-up, the display program's
// coefficient by depth, and GL objects only with their context. Then the demosaicing shader,
// which must give back any flat colour on every pattern (the passes are otherwise checked
// through their stages).

#include "GLTestSupport.h"

#include "gpu/QGLImage.h"
#include "gpu/QGLShaders.h"
#include "gpu/QGLTexture.h"
#include "image/QTDImageHelpers.h"

#include <brx/BrxPixelTypes.h>

#include <QOpenGLShaderProgram>
#include <QVector2D>
#include <QVector4D>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

using GLTest::OnContext;

namespace {

// An image over a buffer of its own, with `pad` bytes after each row.
struct Pixels {
    Pixels(int w, int h, unsigned int type, int pad = 0) {
        QTDImageHelpers::imageCreateFormat(&record, w, h, type);
        pixelBytes = int(record.bitsPerPixel / 8);
        record.stride = uint32_t(w * pixelBytes + pad);
        record.imageSize = record.stride * uint32_t(h);
        bytes.assign(record.imageSize, 0xEE);
        record.imageData = bytes.data();
    }

    // Deterministic values within the depth, different on every pixel and channel.
    void fill(int depth) {
        uint32_t seed = 12345;
        for (uint32_t y = 0; y < record.height; ++y)
            for (uint32_t x = 0; x < samplesPerRow(); ++x) {
                seed = seed * 1103515245u + 12345u;
                set(x, y, (seed >> 8) & ((1u << depth) - 1));
            }
    }

    bool deep() const { return pixelBytes / int(record.channels) == 2; }

    uint32_t at(uint32_t sample, uint32_t y) const {
        uint8_t const* row = bytes.data() + size_t(y) * record.stride;
        if (deep()) {
            uint16_t v;
            std::memcpy(&v, row + 2 * sample, 2);
            return v;
        }
        return row[sample];
    }
    void set(uint32_t sample, uint32_t y, uint32_t v) {
        uint8_t* row = bytes.data() + size_t(y) * record.stride;
        if (deep()) {
            uint16_t s = uint16_t(v);
            std::memcpy(row + 2 * sample, &s, 2);
        } else {
            row[sample] = uint8_t(v);
        }
    }
    uint32_t samplesPerRow() const { return record.width * record.channels; }

    BrxImage record{};
    std::vector<uint8_t> bytes;
    int pixelBytes = 0;
};

// Rows of `b` against rows of `a`, row r of b against row map(r) of a; count of differences.
int differences(
    Pixels const& a, Pixels const& b, uint32_t (*map)(uint32_t) = [](uint32_t y) { return y; }) {
    int bad = 0;
    for (uint32_t y = 0; y < b.record.height; ++y)
        for (uint32_t s = 0; s < b.samplesPerRow(); ++s)
            bad += a.at(s, map(y)) != b.at(s, y);
    return bad;
}

class GLImage : public OnContext {
protected:
    // A target for `source`, filled from it the way a stage does.
    std::unique_ptr<QGLImage> upload(Pixels& source, QTD::PROPERTIES* props = nullptr) {
        auto target = std::make_unique<QGLImage>(&surface);
        EXPECT_TRUE(target->init(&source.record, props)) << surface.props.get("error");
        surface.glBindTexture(GL_TEXTURE_2D, target->texture());
        EXPECT_TRUE(target->fillGPU(&source.record));
        surface.glBindTexture(GL_TEXTURE_2D, 0);
        return target;
    }
};

struct Format {
    unsigned int type;
    int depth;
    char const* name;
};

Format const FORMATS[] = {
    {BRX_PIXEL_Mono8, 8, "Mono8"},    {BRX_PIXEL_Mono10, 10, "Mono10"},
    {BRX_PIXEL_Mono12, 12, "Mono12"}, {BRX_PIXEL_Mono16, 16, "Mono16"},
    {BRX_PIXEL_RGB8, 8, "RGB8"},      {BRX_PIXEL_BGR8, 8, "BGR8"},
    {BRX_PIXEL_RGB12, 12, "RGB12"},   {BRX_PIXEL_RGB16, 16, "RGB16"},
};

// Odd widths, and strides that are whole pixels (GL's row length) or not (the copied rows).
TEST_F(GLImage, FillAndReadRoundTripExactAtEveryDepthWidthAndStride) {
    for (auto const& f : FORMATS)
        for (int w : {1, 7, 101, 333})
            for (int pad : {0, 3, 8}) {
                SCOPED_TRACE(testing::Message() << f.name << " w=" << w << " pad=" << pad);
                Pixels source(w, 9, f.type, pad);
                source.fill(f.depth);
                std::vector<uint8_t> before = source.bytes;
                auto target = upload(source);
                EXPECT_EQ(source.bytes, before) << "the caller's buffer changed";
                for (int readPad : {0, 5, 6}) {
                    Pixels back(w, 9, f.type, readPad);
                    ASSERT_EQ(target->readGPU(&back.record), back.record.imageData);
                    EXPECT_EQ(differences(source, back), 0) << "read pad " << readPad;
                }
                // Its own record comes back too.
                ASSERT_NE(target->readGPU(nullptr), nullptr);
                EXPECT_EQ(target->image()->orientation, 0u);
                EXPECT_EQ(surface.checkError("round trip", true, true), 0);
            }
}

// The flipped target stores the picture bottom-up and says so; the source keeps its rows.
TEST_F(GLImage, FlippedTargetHoldsRowsBottomUpAndLeavesTheSourceAlone) {
    for (auto const& f : {FORMATS[0], FORMATS[2], FORMATS[4], FORMATS[7]}) {
        SCOPED_TRACE(f.name);
        Pixels source(13, 6, f.type, 2);
        // One marked row, the first, on black.
        std::fill(source.bytes.begin(), source.bytes.end(), 0);
        for (uint32_t s = 0; s < source.samplesPerRow(); ++s)
            source.set(s, 0, (1u << f.depth) - 1);
        std::vector<uint8_t> before = source.bytes;
        QTD::PROPERTIES flip;
        flip.set("image.flip.vert", "1", true);
        auto target = upload(source, &flip);
        EXPECT_EQ(source.bytes, before);
        EXPECT_EQ(target->image()->orientation, 1u);
        Pixels back(13, 6, f.type);
        ASSERT_NE(target->readGPU(&back.record), nullptr);
        EXPECT_EQ(differences(source, back, [](uint32_t y) { return 5 - y; }), 0);
        EXPECT_EQ(back.at(0, 5), (1u << f.depth) - 1);
        EXPECT_EQ(back.at(0, 0), 0u);

        // A bottom-up source flipped again is top-down.
        source.record.orientation = 1;
        auto twice = std::make_unique<QGLImage>(&surface);
        ASSERT_TRUE(twice->init(&source.record, &flip));
        EXPECT_EQ(twice->image()->orientation, 0u);
    }
}

// The display program's coefficient by depth: the automatic one, a 0 that means automatic,
// and 1 without parameters.
TEST_F(GLImage, ProgramCoefficientByDepth) {
    struct Row {
        unsigned int type;
        float coef;
    } const rows[] = {{BRX_PIXEL_Mono8, 1},  {BRX_PIXEL_Mono10, 64}, {BRX_PIXEL_Mono12, 16},
                      {BRX_PIXEL_Mono14, 4}, {BRX_PIXEL_Mono16, 1},  {BRX_PIXEL_RGB10, 64}};
    for (auto const& r : rows) {
        Pixels source(4, 4, r.type);
        QGLImage target(&surface);
        ASSERT_TRUE(target.init(&source.record, nullptr));
        auto coefficient = [&](bool useParameters, QTD::PROPERTIES* props) {
            unsigned int program = target.programBegin(useParameters, props);
            EXPECT_NE(program, 0u);
            GLfloat value = -1;
            surface.glGetUniformfv(program, surface.glGetUniformLocation(program, "colorCoef"),
                                   &value);
            target.programEnd();
            return value;
        };
        EXPECT_FLOAT_EQ(coefficient(true, nullptr), r.coef) << std::hex << r.type;
        EXPECT_FLOAT_EQ(coefficient(false, nullptr), 1.0f);
        for (auto [given, coef] : {std::pair{"0", r.coef}, {"2.5", 2.5f}}) {
            QTD::PROPERTIES props;
            props.set("image.color.coef", given, true);
            EXPECT_FLOAT_EQ(coefficient(true, &props), coef) << given;
        }
    }
}

TEST_F(GLImage, RefusalsChangeNothing) {
    Pixels source(16, 8, BRX_PIXEL_Mono8);
    source.fill(8);
    auto target = upload(source);
    Pixels other(16, 9, BRX_PIXEL_Mono8);
    other.fill(8);
    std::vector<uint8_t> before = other.bytes;
    EXPECT_FALSE(target->fillGPU(&other.record));
    EXPECT_EQ(other.bytes, before);
    Pixels back(16, 8, BRX_PIXEL_Mono8);
    ASSERT_NE(target->readGPU(&back.record), nullptr);
    EXPECT_EQ(differences(source, back), 0);

    // Bayer and four-channel targets are not read.
    Pixels bayer(16, 8, BRX_PIXEL_BayerRG8);
    EXPECT_EQ(target->readGPU(&bayer.record), nullptr);
    Pixels rgba(16, 8, BRX_PIXEL_RGBa8);
    EXPECT_EQ(target->readGPU(&rgba.record), nullptr);
    // A target whose declared size cannot hold the rows is not written.
    Pixels shortOne(16, 8, BRX_PIXEL_Mono8);
    shortOne.record.imageSize -= 1;
    EXPECT_EQ(target->readGPU(&shortOne.record), nullptr);
    EXPECT_FALSE(target->fillGPU(0u, nullptr));

    // No GL format for YUV: the framebuffer is incomplete and init says so.
    Pixels yuv(16, 8, BRX_PIXEL_YUV422_8_UYVY);
    QGLImage noFormat(&surface);
    EXPECT_FALSE(noFormat.init(&yuv.record, nullptr));
    EXPECT_FALSE(noFormat.isReady());
    clearErrors();

    EXPECT_EQ(QGLImage::GetTexture(&source.record), 0u);
    EXPECT_EQ(QGLImage::GetTexture(target->image()), target->texture());
    EXPECT_EQ(QGLImage::GetTexture(nullptr), 0u);
}

// GL objects are made and deleted only with the surface's context current; a target that
// outlives its context drops its names without touching GL.
TEST_F(GLImage, NothingIsMadeOrDeletedWithoutTheContext) {
    Pixels source(8, 8, BRX_PIXEL_Mono8);
    surface.end();
    QGLImage early(&surface);
    EXPECT_FALSE(early.init(&source.record, nullptr));
    QGLTexture earlyTexture(&surface);
    EXPECT_FALSE(earlyTexture.init(&source.record, nullptr));
    ASSERT_TRUE(surface.begin(nullptr));

    auto target = std::make_unique<QGLImage>(&surface);
    ASSERT_TRUE(target->init(&source.record, nullptr));
    auto input = std::make_unique<QGLTexture>(&surface);
    ASSERT_TRUE(input->init(&source.record, nullptr));
    GLuint texture = target->texture();
    surface.end();
    target->shut();
    input->shut();
    EXPECT_EQ(target->texture(), 0u);
    ASSERT_TRUE(surface.begin(nullptr));
    EXPECT_TRUE(surface.glIsTexture(texture)) << "deleted without its context";
    surface.glDeleteTextures(1, &texture);

    target = std::make_unique<QGLImage>(&surface);
    ASSERT_TRUE(target->init(&source.record, nullptr));
    surface.end();
    surface.shut();
    target.reset();
}

class ShaderPass : public OnContext {
protected:
    // Draws `texture` into `target` with the program of the table pair, uniforms set by `set`.
    void run(QGLImage& target, unsigned int texture, char const* vertex, char const* fragment,
             std::function<void(QOpenGLShaderProgram&)> const& set) {
        QOpenGLShaderProgram program;
        ASSERT_TRUE(QTD::buildProgram(program, vertex, fragment));
        ASSERT_TRUE(target.begin(nullptr));
        ASSERT_TRUE(program.bind());
        program.setUniformValue("source", 0);
        set(program);
        surface.glActiveTexture(GL_TEXTURE0);
        surface.glBindTexture(GL_TEXTURE_2D, texture);
        ASSERT_TRUE(target.render());
        program.release();
        surface.glBindTexture(GL_TEXTURE_2D, 0);
        target.end();
        EXPECT_EQ(surface.checkError(fragment, true, true), 0);
    }
};

// A flat colour sampled through each Bayer pattern comes back as that colour: the kernels keep
// constants, and the pattern decides which site is which colour.
TEST_F(ShaderPass, DemosaicingGivesBackFlatColourOnEveryPattern) {
    struct Pattern {
        unsigned int type;
        float redX, redY;
    } const patterns[] = {{BRX_PIXEL_BayerGR8, 1, 0},
                          {BRX_PIXEL_BayerRG8, 0, 0},
                          {BRX_PIXEL_BayerBG8, 1, 1},
                          {BRX_PIXEL_BayerGB8, 0, 1}};
    int const colours[][3] = {{200, 100, 30}, {10, 240, 128}, {90, 90, 90}};
    int const w = 24, h = 16;
    for (auto const& p : patterns)
        for (auto const& rgb : colours) {
            SCOPED_TRACE(testing::Message() << std::hex << p.type << std::dec << " " << rgb[0]
                                            << "," << rgb[1] << "," << rgb[2]);
            Pixels raw(w, h, p.type);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    bool redRow = (y + int(p.redY)) % 2 == 0;
                    bool redColumn = (x + int(p.redX)) % 2 == 0;
                    int channel = redRow == redColumn ? (redRow ? 0 : 2) : 1;
                    raw.bytes[y * w + x] = uint8_t(rgb[channel]);
                }
            QGLImage input(&surface);
            ASSERT_TRUE(input.init(&raw.record, nullptr));
            surface.glBindTexture(GL_TEXTURE_2D, input.texture());
            ASSERT_TRUE(input.fillGPU(&raw.record));

            Pixels out(w, h, BRX_PIXEL_RGB8);
            QGLImage target(&surface);
            ASSERT_TRUE(target.init(&out.record, nullptr));
            run(target, input.texture(), "bayer.mmhc.v.glsl", "bayer.mmhc.f.glsl",
                [&](QOpenGLShaderProgram& program) {
                    program.setUniformValue("sourceSize", QVector4D(w, h, 1.0f / w, 1.0f / h));
                    program.setUniformValue("firstRed", QVector2D(p.redX, p.redY));
                    program.setUniformValue("flipVert", 0);
                    program.setUniformValue("colorCoef", 1.0f);
                    program.setUniformValue("colorHigh", 1.0f);
                });
            ASSERT_NE(target.readGPU(&out.record), nullptr);
            // The border's neighbours repeat at the edge; the inside must be exact.
            int worst = 0;
            for (int y = 2; y < h - 2; ++y)
                for (int x = 2; x < w - 2; ++x)
                    for (int c = 0; c < 3; ++c)
                        worst =
                            std::max(worst, std::abs(int(out.at(x * 3 + c, uint32_t(y))) - rgb[c]));
            EXPECT_LE(worst, 1);
        }
}

} // namespace
