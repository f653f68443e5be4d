// GL text lands where the memory surface burns the same text, glyph for glyph.

#include "GLTestSupport.h"

#include "cpu/MEMSurface.h"
#include "gpu/QGLSurfaceText.h"
#include "image/QTDImageHelpers.h"

#include <brx/BrxPixelTypes.h>

#include <vector>

using GLTest::Box;
using GLTest::inkBox;
using GLTest::OnContext;

namespace {

class GLText : public OnContext {
protected:
    // The text in white on black, as window pixels, y down.
    Box onGL(char const* text, int x, int y, char const* font) {
        clearBlack();
        QTD::RgbColor white(255, 255, 255);
        surface.text(text, x, y, font, &white);
        EXPECT_EQ(surface.mode, 0);
        std::vector<unsigned char> rgba = readBack();
        return inkBox(320, 240, [&](int px, int py) { return rgba[((239 - py) * 320 + px) * 4]; });
    }

    Box inMemory(char const* text, int x, int y, char const* font) {
        std::unique_ptr<BrxImage, QTDImageHelpers::ImageDeleter> image(
            QTDImageHelpers::imageCreateImage(nullptr, 320, 240, BRX_PIXEL_Mono8));
        MEMSurface memory;
        EXPECT_TRUE(memory.init(nullptr));
        QTD::PROPERTIES frame;
        frame.set("image", QTD::ATTR(static_cast<void*>(image.get())), true);
        EXPECT_TRUE(memory.begin(&frame));
        QTD::RgbColor white(255, 255, 255);
        memory.text(text, x, y, font, &white);
        memory.end();
        auto* pixels = static_cast<unsigned char*>(image->imageData);
        return inkBox(320, 240,
                      [&](int px, int py) { return pixels[size_t(py) * image->stride + px]; });
    }
};

TEST_F(GLText, LandsWhereTheMemorySurfacesTextLands) {
    struct Case {
        char const* text;
        int x, y;
        char const* font;
    } const cases[] = {
        {"Hello, gl 42", 20, 30, "default"},
        {"Ag|jy", 150, 100, "large"},
        {"fixed\twidth", 5, 200, "fixed"},
        {"two\nlines", 60, 60, "bold"},
        {"edge", 0, 0, "medium"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        Box gl = onGL(c.text, c.x, c.y, c.font);
        Box mem = inMemory(c.text, c.x, c.y, c.font);
        ASSERT_GT(mem.lit, 10);
        for (auto edge : GLTest::Edges)
            EXPECT_NEAR(gl.*edge, mem.*edge, 1);
        // Every pixel a glyph covers at all: blended on GL, painted whole in memory.
        EXPECT_NEAR(gl.lit, mem.lit, mem.lit / 50 + 2);
    }
    EXPECT_EQ(surface.checkError("text", true, true), 0);
}

} // namespace
