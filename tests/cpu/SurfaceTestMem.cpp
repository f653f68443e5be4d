#include "cpu/MEMSurfaceTypes.h"

#include <QImage>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr uint32_t MONO8 = 0x01080101;
constexpr uint32_t RGB8 = 0x02180171;
constexpr uint32_t BGR8 = 0x02180172;
constexpr uint32_t RGB16 = 0x0230057B;

constexpr int GUARD = 64;
constexpr uint8_t GUARD_BYTE = 0xA5;

// An image in memory with guard bytes on both sides of its pixels; every pixel byte is `fill`,
// row padding stays guard bytes.
struct Canvas {
    Canvas(uint32_t type, int bits, int channels, int w, int h, int fill, int padding = 0)
        : stride(w * channels * (bits <= 8 ? 1 : 2) + padding),
          buffer(GUARD + stride * h + GUARD, GUARD_BYTE) {
        record.size = sizeof(BrxImage);
        record.pixelType = type;
        record.bitsPerChannel = bits;
        record.channels = channels;
        record.width = w;
        record.height = h;
        record.stride = stride;
        record.imageSize = stride * h;
        record.imageData = buffer.data() + GUARD;
        for (int y = 0; y < h; ++y)
            std::memset(buffer.data() + GUARD + y * stride, fill, stride - padding);
    }
    // Sample `c` of pixel (x, y) of an 8-bit image.
    int at(int x, int y, int c = 0) const {
        return buffer[GUARD + y * stride + x * record.channels + c];
    }
    bool guardsIntact() const {
        for (int i = 0; i < GUARD; ++i)
            if (buffer[i] != GUARD_BYTE || buffer[buffer.size() - 1 - i] != GUARD_BYTE)
                return false;
        return true;
    }
    std::vector<uint8_t> pixels() const {
        return std::vector<uint8_t>(buffer.begin() + GUARD, buffer.end() - GUARD);
    }
    int stride = 0;
    std::vector<uint8_t> buffer;
    BrxImage record{};
};

class MEMSurfaceTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(surface.init(nullptr)); }

    // One frame on `canvas` with one text.
    void draw(Canvas& canvas, char const* text, int x, int y, QTD::RgbColor* color,
              char const* font = "default") {
        QTD::PROPERTIES bag;
        bag.set("image", QTD::ATTR(static_cast<void*>(&canvas.record)), true);
        ASSERT_TRUE(surface.begin(&bag));
        surface.text(text, x, y, font, color);
        surface.end();
    }

    MEMSurfaceText& text() { return *static_cast<MEMSurfaceText*>(surface.textObject()); }
    QImage const& strip(char const* font) {
        return *static_cast<QImage*>(text().strips.get(font).as<void*>());
    }
    std::vector<QTD::TRECT<int>> const& rects(char const* font) { return text().glyphs.at(font); }

    // Coverage of the glyphs of `s` laid side by side from (0, 0), computed from the strip.
    std::vector<std::vector<int>> coverage(char const* font, std::string const& s, int& width,
                                           int& height) {
        width = 0;
        height = 0;
        for (unsigned char c : s) {
            auto const& r = rects(font)[(c < 32 ? 32 : c) - 32];
            width += r.width;
            height = std::max(height, r.height);
        }
        std::vector<std::vector<int>> cov(height, std::vector<int>(width, 0));
        int x = 0;
        for (unsigned char c : s) {
            auto const& r = rects(font)[(c < 32 ? 32 : c) - 32];
            for (int row = 0; row < r.height; ++row)
                for (int col = 0; col < r.width; ++col)
                    cov[row][x + col] = qRed(strip(font).pixel(r.x + col, r.y + row));
            x += r.width;
        }
        return cov;
    }

    MEMSurface surface;
};

TEST_F(MEMSurfaceTest, TextStaysInsideItsBoxInTheComponentOrderOfTheImage) {
    // Mono images take the intensity, colour images the components in their order.
    struct Case {
        uint32_t type;
        int channels;
        QTD::RgbColor colour;
        std::array<int, 3> on;
    };
    for (Case c : {Case{MONO8, 1, QTD::RgbColor(255, 255, 255, 0, 256), {255, 0, 0}},
                   Case{RGB8, 3, QTD::RgbColor(255, 128, 0, 0, 256), {255, 128, 0}},
                   Case{BGR8, 3, QTD::RgbColor(255, 128, 0, 0, 256), {0, 128, 255}}}) {
        Canvas canvas(c.type, 8, c.channels, 120, 40, 50);
        draw(canvas, "Hi, 42!", 3, 2, &c.colour);
        int w, h;
        auto cov = coverage("default", "Hi, 42!", w, h);
        // Glyphs lie side by side at their ink widths, so the drawn text is no wider than the
        // measured line; rows run from y down over the strip's height.
        int measured = 0, measuredHeight = 0;
        text().calcLine("default", "Hi, 42!", &measured, &measuredHeight);
        EXPECT_LE(w, measured);
        EXPECT_EQ(h, measuredHeight + 1);
        int lit = 0;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 120; ++x) {
                bool on = x >= 3 && x < 3 + w && y >= 2 && y < 2 + h && cov[y - 2][x - 3] > 0;
                for (int k = 0; k < c.channels; ++k)
                    ASSERT_EQ(canvas.at(x, y, k), on ? c.on[k] : 50)
                        << std::hex << c.type << std::dec << " " << x << "," << y << " " << k;
                lit += on;
            }
        EXPECT_GT(lit, 30);
        EXPECT_TRUE(canvas.guardsIntact());
    }
}

TEST_F(MEMSurfaceTest, OpacityOneBlendsByCoverage) {
    Canvas canvas(MONO8, 8, 1, 100, 30, 100);
    QTD::RgbColor grey(200, 200, 200, 0, 256);
    grey.setOpc(1);
    ASSERT_EQ(grey.intensity(), 200);
    draw(canvas, "Wx", 1, 1, &grey, "large");
    int w, h;
    auto cov = coverage("large", "Wx", w, h);
    bool sawEdge = false;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            int a = cov[y][x];
            int want = a == 0 ? 100 : static_cast<int>(100 * (1.0 - a / 255.0) + a / 255.0 * 200);
            ASSERT_EQ(canvas.at(1 + x, 1 + y), want) << x << "," << y;
            if (a >= 120 && a <= 136) {
                // An edge of about half coverage gives about the mean.
                EXPECT_NEAR(canvas.at(1 + x, 1 + y), 150, 4);
                sawEdge = true;
            }
        }
    EXPECT_TRUE(sawEdge);
}

TEST_F(MEMSurfaceTest, GlyphsAreClippedAtEveryEdge) {
    QTD::RgbColor white(255, 255, 255, 0, 256);
    // No row padding: nothing may spill into the next row or past the buffer.
    Canvas tight(MONO8, 8, 1, 12, 10, 0);
    draw(tight, "WWW", -7, -5, &white);
    draw(tight, "WWW", 6, 5, &white);
    draw(tight, "W", 11, 9, &white);
    draw(tight, "W\tW\tW", INT_MAX - 3, INT_MIN, &white);
    draw(tight, "W\tW\tW", INT_MIN, INT_MAX, &white);
    draw(tight, "W\tW\tW", INT_MAX, 0, &white);
    EXPECT_TRUE(tight.guardsIntact());
    Canvas colour(RGB16, 16, 3, 9, 7, 0);
    draw(colour, "MMMM", 5, 4, &white, "large");
    draw(colour, "MMMM", -30, -8, &white, "large");
    EXPECT_TRUE(colour.guardsIntact());

    // With padding, the column at the width may be written, never the ones behind it.
    Canvas padded(MONO8, 8, 1, 12, 10, 0, 4);
    draw(padded, "WWWW", 2, 0, &white);
    for (int y = 0; y < 10; ++y)
        for (int i = 13; i < 16; ++i)
            EXPECT_EQ(padded.buffer[GUARD + y * padded.stride + i], GUARD_BYTE);
    EXPECT_TRUE(padded.guardsIntact());
}

TEST_F(MEMSurfaceTest, BadInputDrawsNothing) {
    QTD::RgbColor white(255, 255, 255, 0, 256);
    Canvas canvas(MONO8, 8, 1, 40, 20, 9);
    std::vector<uint8_t> untouched = canvas.pixels();
    QTD::PROPERTIES bag;
    EXPECT_FALSE(surface.begin(nullptr));
    // No "image": a null image, nothing drawn.
    EXPECT_TRUE(surface.begin(&bag));
    EXPECT_FALSE(surface.textObject()->ready());
    surface.text("Ab", 0, 0, "default", &white);
    surface.end();
    // Broken records.
    using Break = void (*)(BrxImage&);
    for (Break breakage :
         {+[](BrxImage& r) { r.imageData = nullptr; }, +[](BrxImage& r) { r.bitsPerChannel = 0; },
          +[](BrxImage& r) { r.bitsPerChannel = 40; }, +[](BrxImage& r) { r.width = 0; },
          +[](BrxImage& r) { r.stride = 0; }}) {
        BrxImage saved = canvas.record;
        breakage(canvas.record);
        draw(canvas, "Ab", 0, 0, &white);
        canvas.record = saved;
    }
    draw(canvas, nullptr, 0, 0, &white);
    draw(canvas, "", 0, 0, &white);
    EXPECT_EQ(canvas.pixels(), untouched);
    // Outside begin and end, and for everything but text, nothing happens.
    surface.text("Ab", 0, 0, "default", &white);
    bag.set("image", QTD::ATTR(static_cast<void*>(&canvas.record)), true);
    ASSERT_TRUE(surface.begin(&bag));
    surface.fillRect(-1, -1, -1, -1, &white);
    surface.rect(0, 0, 10, 10, &white, 1, 0);
    surface.line(0, 0, 10, 10, &white, 1, 0);
    surface.image(&canvas.record, nullptr, nullptr);
    surface.end();
    EXPECT_EQ(canvas.pixels(), untouched);
    EXPECT_TRUE(canvas.guardsIntact());
}

} // namespace
