// The passes' shaders that no stage runs yet, on Mesa: Mono10p/Mono12p unpacking against the CPU
// unpacker, and demosaicing, which must give back any flat colour on every pattern. The colour
// passes are checked through their stages.

#include "GLTestSupport.h"

#include "gpu/QGLImage.h"
#include "gpu/QGLShaders.h"
#include "gpu/QGLTexture.h"
#include "image/BrxImageUnpack.h"
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
#include <vector>

using GLTest::OnContext;

namespace {

class ShaderPass : public OnContext {
protected:
    // A record over `bytes`, rows `stride` apart.
    static BrxImage record(int w, int h, unsigned int type, std::vector<uint8_t>& bytes,
                           int stride) {
        BrxImage r{};
        QTDImageHelpers::imageCreateFormat(&r, w, h, type);
        r.stride = uint32_t(stride);
        r.imageSize = uint32_t(stride * h);
        bytes.resize(r.imageSize);
        r.imageData = bytes.data();
        return r;
    }

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

// Packed rows as a byte texture, decoded by the shader into 16-bit words, against the CPU
// unpacker; the edge bytes of both layouts included.
TEST_F(ShaderPass, UnpackMatchesTheCpuUnpacker) {
    struct Case {
        unsigned int packed, unpacked;
        int w, method;
        int rowBytes;
    } const cases[] = {
        {BRX_PIXEL_Mono10p, BRX_PIXEL_Mono10, 8, 0, 10},
        {BRX_PIXEL_Mono10p, BRX_PIXEL_Mono10, 36, 0, 45},
        {BRX_PIXEL_Mono12p, BRX_PIXEL_Mono12, 6, 1, 9},
        {BRX_PIXEL_Mono12p, BRX_PIXEL_Mono12, 34, 1, 51},
    };
    int const h = 5;
    for (auto const& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.packed << std::dec << " w=" << c.w);
        std::vector<uint8_t> packedBytes;
        BrxImage packed = record(c.w, h, c.packed, packedBytes, c.rowBytes);
        uint32_t seed = 77;
        for (auto& b : packedBytes) {
            seed = seed * 1664525u + 1013904223u;
            b = uint8_t(seed >> 24);
        }
        // The edge bytes: group 0 all ones, and the top bits of the last group.
        packedBytes[0] = 0xFF;
        packedBytes[1] = c.method == 0 ? 0x03 : 0x0F;
        packedBytes[c.rowBytes - 1] = 0xFF;

        BrxImage cpu{};
        QTDImageHelpers::imageCreateFormat(&cpu, c.w, h, c.unpacked);
        ASSERT_EQ(BrxImageUnpack::Unpack(&packed, &cpu), 1);
        std::unique_ptr<void, decltype(&std::free)> cpuBlock(cpu.allocatedData, &std::free);

        std::vector<uint8_t> asBytes = packedBytes;
        BrxImage byteRows = record(c.rowBytes, h, BRX_PIXEL_Mono8, asBytes, c.rowBytes);
        QGLTexture input(&surface);
        ASSERT_TRUE(input.init(&byteRows, nullptr));
        ASSERT_TRUE(input.fill(&byteRows));

        std::vector<uint8_t> outBytes;
        BrxImage out = record(c.w, h, c.unpacked, outBytes, c.w * 2 + 4);
        QGLImage target(&surface);
        ASSERT_TRUE(target.init(&out, nullptr));
        run(target, input.texture(), "unpack.u3v.v.glsl", "unpack.u3v.f.glsl",
            [&](QOpenGLShaderProgram& p) {
                p.setUniformValue("sourceSize",
                                  QVector4D(c.rowBytes, h, 1.0f / c.rowBytes, 1.0f / h));
                p.setUniformValue("outputSize", QVector4D(c.w, h, 1.0f / c.w, 1.0f / h));
                p.setUniformValue("method", c.method);
            });
        ASSERT_NE(target.readGPU(&out), nullptr);
        for (int y = 0; y < h; ++y)
            EXPECT_EQ(std::memcmp(outBytes.data() + y * out.stride,
                                  static_cast<uint8_t*>(cpu.imageData) + y * cpu.stride, 2 * c.w),
                      0)
                << "row " << y;
        uint16_t first;
        std::memcpy(&first, outBytes.data(), 2);
        EXPECT_EQ(first, c.method == 0 ? 1023 : 4095);
    }
}

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
            std::vector<uint8_t> mosaic;
            BrxImage raw = record(w, h, p.type, mosaic, w);
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    bool redRow = (y + int(p.redY)) % 2 == 0;
                    bool redColumn = (x + int(p.redX)) % 2 == 0;
                    int channel = redRow == redColumn ? (redRow ? 0 : 2) : 1;
                    mosaic[y * w + x] = uint8_t(rgb[channel]);
                }
            QGLImage input(&surface);
            ASSERT_TRUE(input.init(&raw, nullptr));
            surface.glBindTexture(GL_TEXTURE_2D, input.texture());
            ASSERT_TRUE(input.fillGPU(&raw));

            std::vector<uint8_t> outBytes;
            BrxImage out = record(w, h, BRX_PIXEL_RGB8, outBytes, w * 3);
            QGLImage target(&surface);
            ASSERT_TRUE(target.init(&out, nullptr));
            run(target, input.texture(), "bayer.mmhc.v.glsl", "bayer.mmhc.f.glsl",
                [&](QOpenGLShaderProgram& program) {
                    program.setUniformValue("sourceSize", QVector4D(w, h, 1.0f / w, 1.0f / h));
                    program.setUniformValue("firstRed", QVector2D(p.redX, p.redY));
                    program.setUniformValue("flipVert", 0);
                    program.setUniformValue("colorCoef", 1.0f);
                    program.setUniformValue("colorHigh", 1.0f);
                });
            ASSERT_NE(target.readGPU(&out), nullptr);
            // The border's neighbours repeat at the edge; the inside must be exact.
            int worst = 0;
            for (int y = 2; y < h - 2; ++y)
                for (int x = 2; x < w - 2; ++x)
                    for (int c = 0; c < 3; ++c)
                        worst =
                            std::max(worst, std::abs(int(outBytes[(y * w + x) * 3 + c]) - rgb[c]));
            EXPECT_LE(worst, 1);
        }
}

} // namespace
