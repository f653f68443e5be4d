// The CPU surface, painting on a window's backing store, and the memory surface, burning text.

#include "chain/TestImages.h"
#include "cpu/CPUSurfaceTypes.h"
#include "cpu/MEMSurfaceTypes.h"
#include "image/QTDImageHelpers.h"

#include <QBackingStore>
#include <QFontMetrics>
#include <QImage>
#include <QWindow>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr uint32_t RGB8 = 0x02180171;
constexpr uint32_t MONO8 = 0x01080101;

// A frame open on a 200 x 150 window, cleared to black.
class CPUSurfaceTest : public ::testing::Test {
protected:
    void SetUp() override {
        window.resize(200, 150);
        window.create();
        QTD::PROPERTIES p;
        p.set("window", QTD::ATTR(static_cast<void*>(&window)), true);
        ASSERT_TRUE(surface.init(&p));
        ASSERT_TRUE(surface.begin(nullptr));
        QTD::RgbColor black(0, 0, 0, 0, 256);
        surface.fillRect(-1, -1, -1, -1, &black);
    }

    // Ends the frame; what the backing store holds: the offscreen platform keeps it as an image.
    QImage shown() {
        surface.end();
        auto* image = dynamic_cast<QImage*>(surface.store->paintDevice());
        return image ? image->convertToFormat(QImage::Format_RGB32) : QImage();
    }

    QWindow window;
    CPUSurface surface;
};

TEST(CPUSurface, WithoutAWindowNothingBreaks) {
    CPUSurface s;
    EXPECT_FALSE(s.init(nullptr));
    EXPECT_FALSE(s.begin(nullptr));
    // Drawing without a painter does nothing.
    s.fillRect(-1, -1, -1, -1, nullptr);
    s.end();
}

TEST_F(CPUSurfaceTest, FillsLinesAndRectangles) {
    // The whole surface in the fill colour: channels at 256 levels become 0..255 through
    // fractions of 256, so 128 stays 128.
    surface.colors["fill"] = QTD::RgbColor(0, 128, 255, 0, 256);
    surface.fillRect(-1, -1, -1, -1, nullptr);
    QTD::RgbColor red(255, 0, 0, 0, 256), green(0, 255, 0, 0, 256), blue(0, 0, 255, 0, 256);
    surface.fillRect(10, 20, 5, 4, &red);
    surface.line(10, 60, 50, 60, &green, 1, 0);
    surface.line(10, 70, 50, 70, &green, 1, 9); // style 9 is no pen at all
    // Three points: two lines, not closed; one point: nothing.
    QTD::TPAIRS<int> points{{100, 100}, {140, 100}, {140, 130}}, one{{5, 5}};
    surface.polyLine(points, &blue, 1, 0);
    surface.polyLine(one, &blue, 5, 0);
    surface.rect(30, 90, 40, 20, &red, 1, 0); // its border only
    surface.rect(100, 140, 0, 0, &red, 1, 0);
    QImage img = shown();
    // The fill beside the filled rectangle and the lines, under the line without a pen, inside the
    // open polyline and the rectangle's border, at the lone point; then the filled rectangle's
    // corners, the line's ends, both polyline segments and the border's corners.
    const QRgb f = qRgb(0, 128, 255), r = qRgb(255, 0, 0), g = qRgb(0, 255, 0), b = qRgb(0, 0, 255);
    const std::array<QRgb, 3> expected[] = {
        {0, 0, f},     {199, 149, f}, {15, 23, f},   {14, 24, f},  {9, 60, f},   {30, 59, f},
        {30, 61, f},   {30, 70, f},   {120, 115, f}, {5, 5, f},    {50, 100, f}, {71, 100, f},
        {100, 140, f}, {10, 20, r},   {14, 23, r},   {10, 60, g},  {50, 60, g},  {120, 100, b},
        {140, 115, b}, {30, 90, r},   {70, 90, r},   {30, 110, r}, {70, 110, r}};
    for (auto [x, y, colour] : expected)
        EXPECT_EQ(img.pixel(int(x), int(y)), colour) << x << "," << y;
}

TEST_F(CPUSurfaceTest, ImagesAreScaledIntoTheTarget) {
    auto picture = TestImages::makeColour8(4, 4, RGB8);
    auto source = [&](int x, int y) {
        uint8_t const* p = TestImages::row8(picture.get(), uint32_t(y)) + 3 * x;
        return qRgb(p[0], p[1], p[2]);
    };
    QTD::TRECT<double> target{100, 50, 40, 40};
    surface.image(picture.get(), &target, nullptr);
    // Only the source's lower right quarter, and only RGB8.
    QTD::TRECT<double> small{20, 20, 20, 20}, quarter{2, 2, -2, 2};
    surface.image(picture.get(), &small, &quarter);
    auto mono = TestImages::makeMono(4, 4, MONO8);
    surface.image(mono.get(), nullptr, nullptr);
    surface.image(nullptr, nullptr, nullptr);
    QImage img = shown();
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(img.pixel(100 + x * 10 + 5, 50 + y * 10 + 5), source(x, y));
    EXPECT_EQ(img.pixel(99, 50), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(25, 25), source(2, 2));
    EXPECT_EQ(img.pixel(35, 35), source(3, 3));
    EXPECT_EQ(img.pixel(60, 100), qRgb(0, 0, 0));
}

TEST_F(CPUSurfaceTest, TextLightsPixelsOnlyInsideItsBox) {
    QTD::RgbColor yellow(255, 255, 0, 0, 256);
    surface.text("Hello, Brx", 20, 60, "large", &yellow);
    // Unknown font, null text: nothing drawn, nothing breaks.
    surface.text("Hello", 20, 120, "no such font", &yellow);
    surface.text(nullptr, 20, 120, "large", &yellow);
    QImage img = shown();
    auto* font = static_cast<QFont*>(
        surface.textObject()->fonts.getPropsValue("large", "font", "").as<void*>());
    ASSERT_NE(font, nullptr);
    // y is the top of the line: the base line lies an ascent below it.
    const QFontMetrics metrics(*font);
    const QRect box = metrics.boundingRect("Hello, Brx")
                          .translated(20, 60 + metrics.ascent())
                          .adjusted(-1, -1, 1, 1);
    int inside = 0, outside = 0;
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x)
            if (img.pixel(x, y) != qRgb(0, 0, 0))
                (box.contains(x, y) ? inside : outside)++;
    EXPECT_GT(inside, 50);
    EXPECT_EQ(outside, 0);
}

constexpr uint32_t BGR8 = 0x02180172;
constexpr uint32_t RGB16 = 0x0230057B;

constexpr int GUARD = 64;
constexpr uint8_t GUARD_BYTE = 0xA5;

// An image in memory with guard bytes on both sides of its pixels; every pixel byte is `fill`,
// row padding stays guard bytes.
struct Canvas {
    Canvas(uint32_t type, int w, int h, int fill, int padding = 0) {
        QTDImageHelpers::imageCreateFormat(&record, w, h, type);
        stride = w * int(record.bitsPerPixel / 8) + padding;
        buffer.assign(size_t(GUARD + stride * h + GUARD), GUARD_BYTE);
        record.stride = stride;
        record.imageSize = stride * h;
        record.imageData = buffer.data() + GUARD;
        for (int y = 0; y < h; ++y)
            std::memset(buffer.data() + GUARD + y * stride, fill, size_t(stride - padding));
    }
    // Sample `c` of pixel (x, y) of an 8-bit image.
    int at(int x, int y, int c = 0) const {
        return buffer[GUARD + y * stride + x * record.channels + c];
    }
    bool guardsIntact() const {
        auto guard = [](uint8_t b) { return b == GUARD_BYTE; };
        return std::all_of(buffer.begin(), buffer.begin() + GUARD, guard) &&
               std::all_of(buffer.end() - GUARD, buffer.end(), guard);
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

    // Coverage at (x, y) of the glyphs of `s` laid side by side from (0, 0), read from the strip.
    int coverage(char const* font, std::string const& s, int x, int y) {
        auto const& strip = *static_cast<QImage*>(text().strips.get(font).as<void*>());
        for (unsigned char c : s) {
            auto const& r = text().glyphs.at(font)[(c < 32 ? 32 : c) - 32];
            if (x >= 0 && x < r.width)
                return y >= 0 && y < r.height ? qRed(strip.pixel(r.x + x, r.y + y)) : 0;
            x -= r.width;
        }
        return 0;
    }

    MEMSurface surface;
};

TEST_F(MEMSurfaceTest, TextStaysInsideItsBoxInTheComponentOrderOfTheImage) {
    // Mono images take the intensity, colour images the components in their order. With the
    // default opacity 0 a covered pixel takes the colour itself; with opacity 1 it blends by
    // coverage.
    struct Case {
        uint32_t type;
        QTD::RgbColor colour;
        int opacity;
        std::array<int, 3> on;
        const char *font, *text;
    };
    for (Case c :
         {Case{MONO8, QTD::RgbColor(255, 255, 255, 0, 256), 0, {255}, "default", "Hi, 42!"},
          Case{RGB8, QTD::RgbColor(255, 128, 0, 0, 256), 0, {255, 128, 0}, "default", "Hi, 42!"},
          Case{BGR8, QTD::RgbColor(255, 128, 0, 0, 256), 0, {0, 128, 255}, "default", "Hi, 42!"},
          Case{MONO8, QTD::RgbColor(200, 200, 200, 0, 256), 1, {200}, "large", "Wx"}}) {
        SCOPED_TRACE(testing::Message() << std::hex << c.type << " " << c.font);
        c.colour.setOpc(c.opacity);
        Canvas canvas(c.type, 120, 40, 100);
        draw(canvas, c.text, 3, 2, &c.colour, c.font);
        int lit = 0;
        for (int y = 0; y < 40; ++y)
            for (int x = 0; x < 120; ++x) {
                const int a = coverage(c.font, c.text, x - 3, y - 2);
                for (uint32_t k = 0; k < canvas.record.channels; ++k) {
                    const int want = a == 0 ? 100
                                     : c.opacity == 0
                                         ? c.on[k]
                                         : int(100 * (1.0 - a / 255.0) + a / 255.0 * c.on[k]);
                    ASSERT_EQ(canvas.at(x, y, int(k)), want) << x << "," << y << " " << k;
                }
                lit += a > 0;
            }
        EXPECT_GT(lit, 30);
        EXPECT_TRUE(canvas.guardsIntact());
    }
}

TEST_F(MEMSurfaceTest, GlyphsAreClippedAtEveryEdge) {
    QTD::RgbColor white(255, 255, 255, 0, 256);
    // No row padding: nothing may spill into the next row or past the buffer.
    Canvas tight(MONO8, 12, 10, 0);
    draw(tight, "WWW", -7, -5, &white);
    draw(tight, "WWW", 6, 5, &white);
    draw(tight, "W", 11, 9, &white);
    draw(tight, "W\tW\tW", INT_MAX - 3, INT_MIN, &white);
    draw(tight, "W\tW\tW", INT_MIN, INT_MAX, &white);
    draw(tight, "W\tW\tW", INT_MAX, 0, &white);
    EXPECT_TRUE(tight.guardsIntact());
    Canvas colour(RGB16, 9, 7, 0);
    draw(colour, "MMMM", 5, 4, &white, "large");
    draw(colour, "MMMM", -30, -8, &white, "large");
    EXPECT_TRUE(colour.guardsIntact());

    // With padding, the column at the width may be written, never the ones behind it.
    Canvas padded(MONO8, 12, 10, 0, 4);
    draw(padded, "WWWW", 2, 0, &white);
    for (int y = 0; y < 10; ++y)
        for (int i = 13; i < 16; ++i)
            EXPECT_EQ(padded.buffer[GUARD + y * padded.stride + i], GUARD_BYTE);
    EXPECT_TRUE(padded.guardsIntact());
}

TEST_F(MEMSurfaceTest, BadInputDrawsNothing) {
    QTD::RgbColor white(255, 255, 255, 0, 256);
    Canvas canvas(MONO8, 40, 20, 9);
    const std::vector<uint8_t> untouched = canvas.buffer;
    EXPECT_FALSE(surface.begin(nullptr));
    surface.text("Ab", 0, 0, "default", &white); // outside begin and end
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
    EXPECT_EQ(canvas.buffer, untouched);
}

} // namespace
