#include "cpu/CPUSurfaceTypes.h"
#include "image/QTDImageHelpers.h"

#include <QBackingStore>
#include <QFontMetrics>
#include <QImage>
#include <QWindow>

#include <gtest/gtest.h>

namespace {

constexpr uint32_t RGB8 = 0x02180171;
constexpr uint32_t MONO8 = 0x01080101;

// What the backing store holds: the offscreen platform keeps it as an image.
QImage shown(CPUSurface& s) {
    auto* image = dynamic_cast<QImage*>(s.store->paintDevice());
    return image ? image->convertToFormat(QImage::Format_RGB32) : QImage();
}

// Channels at 256 levels become 0..255 through fractions of 256: 255 stays 255, 200 gives 199.
int level(int v) {
    return v >= 255 ? 255 : static_cast<int>(v / 256.0 * 255 + 0.5);
}

QRgb rgb(int r, int g, int b) {
    return qRgb(level(r), level(g), level(b));
}

// Every pixel from (x0, y0) to (x1, y1), a row or a column, is `colour`.
void expectSpan(QImage const& img, int x0, int y0, int x1, int y1, QRgb colour) {
    for (int y = y0; y <= y1; ++y)
        for (int x = x0; x <= x1; ++x)
            EXPECT_EQ(img.pixel(x, y), colour) << x << "," << y;
}

class CPUSurfaceTest : public ::testing::Test {
protected:
    void SetUp() override {
        window.resize(200, 150);
        window.create();
        QTD::PROPERTIES p;
        p.set("window", QTD::ATTR(static_cast<void*>(&window)), true);
        ASSERT_TRUE(surface.init(&p));
    }

    // Clears to black and opens a frame.
    void frame() {
        ASSERT_TRUE(surface.begin(&frameProps));
        QTD::RgbColor black(0, 0, 0, 0, 256);
        surface.fillRect(-1, -1, -1, -1, &black);
    }

    QWindow window;
    CPUSurface surface;
    QTD::PROPERTIES frameProps;
};

TEST(CPUSurface, InitWithoutWindowFails) {
    CPUSurface s;
    QTD::PROPERTIES p;
    EXPECT_FALSE(s.init(nullptr));
    p.set("window", "0", true);
    EXPECT_FALSE(s.init(&p));
    EXPECT_FALSE(s.isValid());
    EXPECT_FALSE(s.begin(&p));
    // Drawing without a painter does nothing, and nothing breaks.
    QTD::RgbColor red(255, 0, 0, 0, 256);
    s.line(0, 0, 5, 5, &red, 1, 0);
    s.fillRect(-1, -1, -1, -1, nullptr);
    s.text("x", 0, 0, "default", &red);
    s.end();
}

TEST_F(CPUSurfaceTest, FillRectDefaultsToTheWholeSurfaceAndTheFillColour) {
    ASSERT_TRUE(surface.begin(nullptr));
    surface.colors["fill"] = QTD::RgbColor(0, 128, 255, 0, 256);
    surface.fillRect(-1, -1, -1, -1, nullptr);
    QTD::RgbColor red(255, 0, 0, 0, 256);
    surface.fillRect(10, 20, 5, 4, &red);
    surface.end();
    QImage img = shown(surface);
    ASSERT_EQ(img.size(), QSize(200, 150));
    EXPECT_EQ(img.pixel(0, 0), rgb(0, 128, 255));
    EXPECT_EQ(img.pixel(199, 149), rgb(0, 128, 255));
    EXPECT_EQ(img.pixel(10, 20), qRgb(255, 0, 0));
    EXPECT_EQ(img.pixel(14, 23), qRgb(255, 0, 0));
    EXPECT_EQ(img.pixel(15, 23), rgb(0, 128, 255));
    EXPECT_EQ(img.pixel(14, 24), rgb(0, 128, 255));
}

TEST_F(CPUSurfaceTest, LinesSetTheirPixels) {
    frame();
    QTD::RgbColor green(0, 255, 0, 0, 256);
    surface.line(10, 20, 50, 20, &green, 1, 0);
    surface.line(60, 10, 60, 40, &green, 1, 0);
    // Three points: two lines, not closed.
    QTD::TPAIRS<int> points(3);
    points[0] = {100, 100};
    points[1] = {140, 100};
    points[2] = {140, 130};
    QTD::RgbColor blue(0, 0, 255, 0, 256);
    surface.polyLine(points, &blue, 1, 0);
    // One point: nothing.
    QTD::TPAIRS<int> one(1);
    one[0] = {5, 5};
    surface.polyLine(one, &blue, 5, 0);
    // Style 9 is no pen at all.
    surface.line(10, 60, 50, 60, &green, 1, 9);
    surface.end();
    QImage img = shown(surface);
    expectSpan(img, 10, 20, 50, 20, qRgb(0, 255, 0));
    EXPECT_EQ(img.pixel(9, 20), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(30, 19), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(30, 21), qRgb(0, 0, 0));
    expectSpan(img, 60, 10, 60, 40, qRgb(0, 255, 0));
    EXPECT_EQ(img.pixel(120, 100), qRgb(0, 0, 255));
    EXPECT_EQ(img.pixel(140, 115), qRgb(0, 0, 255));
    EXPECT_EQ(img.pixel(120, 115), qRgb(0, 0, 0)); // not closed
    EXPECT_EQ(img.pixel(5, 5), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(30, 60), qRgb(0, 0, 0));
}

TEST_F(CPUSurfaceTest, RectangleDrawsItsBorderOnly) {
    frame();
    QTD::RgbColor red(255, 0, 0, 0, 256);
    surface.rect(30, 40, 40, 20, &red, 1, 0);
    surface.rect(100, 100, 0, 0, &red, 1, 0);
    surface.end();
    QImage img = shown(surface);
    expectSpan(img, 30, 40, 70, 40, qRgb(255, 0, 0));
    expectSpan(img, 30, 60, 70, 60, qRgb(255, 0, 0));
    expectSpan(img, 30, 40, 30, 60, qRgb(255, 0, 0));
    expectSpan(img, 70, 40, 70, 60, qRgb(255, 0, 0));
    EXPECT_EQ(img.pixel(50, 50), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(71, 50), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(100, 100), qRgb(0, 0, 0));
}

// An RGB8 image whose pixel (x, y) is (x * 40, y * 40, 200).
struct Picture {
    Picture(uint32_t type, int w, int h) {
        QTDImageHelpers::imageCreateImage(&record, w, h, type);
        auto* p = static_cast<uint8_t*>(record.imageData);
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                uint8_t* px = p + y * record.stride + x * (record.bitsPerPixel / 8);
                px[0] = static_cast<uint8_t>(x * 40);
                if (record.bitsPerPixel >= 24) {
                    px[1] = static_cast<uint8_t>(y * 40);
                    px[2] = 200;
                }
            }
    }
    ~Picture() { QTDImageHelpers::imageFreeData(&record); }
    BrxImage record{};
};

TEST_F(CPUSurfaceTest, ImagesAreScaledIntoTheTarget) {
    Picture picture(RGB8, 4, 4);
    Picture mono(MONO8, 4, 4);
    frame();
    QTD::TRECT<double> target{100, 50, 40, 40};
    surface.image(&picture.record, &target, nullptr);
    // Only the source's lower right quarter, and only RGB8.
    QTD::TRECT<double> small{20, 20, 20, 20}, source{2, 2, -2, 2};
    surface.image(&picture.record, &small, &source);
    surface.image(&mono.record, nullptr, nullptr);
    surface.image(nullptr, nullptr, nullptr);
    surface.end();
    QImage img = shown(surface);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(img.pixel(100 + x * 10 + 5, 50 + y * 10 + 5), qRgb(x * 40, y * 40, 200));
    EXPECT_EQ(img.pixel(99, 50), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(25, 25), qRgb(80, 80, 200));
    EXPECT_EQ(img.pixel(35, 35), qRgb(120, 120, 200));
    EXPECT_EQ(img.pixel(0, 0), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(60, 100), qRgb(0, 0, 0));
}

TEST_F(CPUSurfaceTest, TextLightsPixelsOnlyInsideItsBox) {
    frame();
    QTD::RgbColor yellow(255, 255, 0, 0, 256);
    surface.text("Hello, Brx", 20, 60, "large", &yellow);
    // Unknown font, null text, bytes below 32: nothing breaks.
    surface.text("Hello", 20, 120, "no such font", &yellow);
    surface.text(nullptr, 20, 120, "large", &yellow);
    surface.text("\x01\x02\x1f", 20, 140, "large", nullptr);
    surface.end();
    QImage img = shown(surface);
    auto* font = static_cast<QFont*>(
        surface.textObject()->fonts.getPropsValue("large", "font", "").as<void*>());
    ASSERT_NE(font, nullptr);
    // The base line lies at y.
    QRect box = QFontMetrics(*font).boundingRect("Hello, Brx").translated(20, 60);
    box.adjust(-1, -1, 1, 1);
    int inside = 0, outside = 0;
    for (int y = 0; y < 130; ++y)
        for (int x = 0; x < img.width(); ++x) {
            if (img.pixel(x, y) == qRgb(0, 0, 0))
                continue;
            (box.contains(x, y) ? inside : outside)++;
            // Only shades of the text colour.
            EXPECT_EQ(qBlue(img.pixel(x, y)), 0);
        }
    EXPECT_GT(inside, 50);
    EXPECT_EQ(outside, 0);
    expectSpan(img, 0, 125, img.width() - 1, 125, qRgb(0, 0, 0));
}

} // namespace
