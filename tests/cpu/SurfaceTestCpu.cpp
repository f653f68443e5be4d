#include "cpu/CPUSurfaceTypes.h"
#include "image/QTDImageHelpers.h"

#include <QBackingStore>
#include <QFontMetrics>
#include <QImage>
#include <QPen>
#include <QWindow>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>

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

TEST_F(CPUSurfaceTest, InitPublishesWindowSizeAndArea) {
    EXPECT_TRUE(surface.isValid());
    EXPECT_EQ(surface.width, 200);
    EXPECT_EQ(surface.height, 150);
    EXPECT_EQ(surface.props.get("window"), QTD::ATTR(static_cast<void*>(&window)));
    EXPECT_EQ(surface.props.get("size"), "200;150");
    EXPECT_EQ(surface.props.get("area"), "0.000000;0.000000-200.000000;150.000000");
    EXPECT_NE(dynamic_cast<CPUSurfaceText*>(surface.textObject()), nullptr);
    EXPECT_EQ(surface.descriptor("cpu"),
              QTD::ATTR::format("cpu (size=200;150; area=%s) [%s/%s]", surface.area.text().c_str(),
                                QTD::ATTR(static_cast<void*>(&window)).c_str(),
                                QTD::ATTR(static_cast<void*>(surface.store)).c_str()));

    // Overrides where given.
    CPUSurface other;
    QTD::PROPERTIES p;
    p.set("window", QTD::ATTR(static_cast<void*>(&window)), true);
    p.set("size.x", "64", true);
    p.set("area.pos.y", "2.5", true);
    p.set("area.dim.w", "10", true);
    ASSERT_TRUE(other.init(&p));
    EXPECT_EQ(other.props.get("size"), "64;150");
    EXPECT_EQ(other.props.get("area"), "0.000000;2.500000-10.000000;150.000000");
}

TEST(CPUSurface, InitWithoutWindowFails) {
    CPUSurface s;
    QTD::PROPERTIES p;
    EXPECT_FALSE(s.init(&p));
    EXPECT_FALSE(s.init(nullptr));
    p.set("window", "0", true);
    EXPECT_FALSE(s.init(&p));
    EXPECT_EQ(s.textObject(), nullptr);
    EXPECT_FALSE(s.isValid());
    EXPECT_FALSE(s.begin(&p));
    // Drawing without a painter does nothing, and nothing breaks.
    QTD::RgbColor red(255, 0, 0, 0, 256);
    s.line(0, 0, 5, 5, &red, 1, 0);
    s.fillRect(-1, -1, -1, -1, nullptr);
    s.text("x", 0, 0, "default", &red);
    s.end();
    s.flush(nullptr);
    EXPECT_EQ(s.shut(), 1);
}

TEST_F(CPUSurfaceTest, PainterIsPublishedOnlyDuringAFrame) {
    EXPECT_TRUE(surface.begin(&frameProps));
    ASSERT_NE(surface.painter, nullptr);
    EXPECT_EQ(frameProps.get("painter"), QTD::ATTR(static_cast<void*>(surface.painter)));
    EXPECT_TRUE(surface.textObject()->ready());
    surface.end();
    EXPECT_EQ(surface.painter, nullptr);
    EXPECT_EQ(surface.props.get("painter"), "0");
    EXPECT_FALSE(surface.textObject()->ready());
    // A zero size makes the surface invalid.
    surface.setSize(0, 150);
    EXPECT_FALSE(surface.isValid());
    EXPECT_FALSE(surface.begin(nullptr));
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
    for (int x = 10; x <= 50; ++x)
        EXPECT_EQ(img.pixel(x, 20), qRgb(0, 255, 0)) << x;
    EXPECT_EQ(img.pixel(9, 20), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(30, 19), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(30, 21), qRgb(0, 0, 0));
    for (int y = 10; y <= 40; ++y)
        EXPECT_EQ(img.pixel(60, y), qRgb(0, 255, 0)) << y;
    EXPECT_EQ(img.pixel(120, 100), qRgb(0, 0, 255));
    EXPECT_EQ(img.pixel(140, 115), qRgb(0, 0, 255));
    EXPECT_EQ(img.pixel(120, 115), qRgb(0, 0, 0)); // not closed
    EXPECT_EQ(img.pixel(5, 5), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(30, 60), qRgb(0, 0, 0));
}

TEST_F(CPUSurfaceTest, BlackLineKeepsThePensOwnColour) {
    ASSERT_TRUE(surface.begin(nullptr));
    QTD::RgbColor white(255, 255, 255, 0, 256);
    surface.fillRect(-1, -1, -1, -1, &white);
    QTD::RgbColor black(0, 0, 0, 0, 256);
    surface.line(10, 10, 20, 10, &black, 3, 0);
    surface.end();
    QImage img = shown(surface);
    // The default pen is black too; the width is applied.
    EXPECT_EQ(img.pixel(15, 10), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(15, 11), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(15, 14), qRgb(255, 255, 255));
}

TEST_F(CPUSurfaceTest, RectangleDrawsItsBorderOnly) {
    frame();
    QTD::RgbColor red(255, 0, 0, 0, 256);
    surface.rect(30, 40, 40, 20, &red, 1, 0);
    surface.rect(100, 100, 0, 0, &red, 1, 0);
    surface.end();
    QImage img = shown(surface);
    for (int x = 30; x <= 70; ++x) {
        EXPECT_EQ(img.pixel(x, 40), qRgb(255, 0, 0)) << x;
        EXPECT_EQ(img.pixel(x, 60), qRgb(255, 0, 0)) << x;
    }
    for (int y = 40; y <= 60; ++y) {
        EXPECT_EQ(img.pixel(30, y), qRgb(255, 0, 0)) << y;
        EXPECT_EQ(img.pixel(70, y), qRgb(255, 0, 0)) << y;
    }
    EXPECT_EQ(img.pixel(50, 50), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(71, 50), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(100, 100), qRgb(0, 0, 0));
}

TEST(CPUSurface, PenTable) {
    QPen pen;
    CPUSurface::createPen(pen, nullptr, 0, 9);
    EXPECT_EQ(pen.style(), Qt::CustomDashLine);
    CPUSurface::createPen(pen, nullptr, 0, -3);
    EXPECT_EQ(pen.style(), Qt::SolidLine);
    QTD::RgbColor c(255, 128, 0, 0, 256);
    CPUSurface::createPen(pen, &c, 4, 2);
    EXPECT_EQ(pen.style(), Qt::DotLine);
    EXPECT_EQ(pen.width(), 4);
    EXPECT_EQ(pen.color(), QColor(255, level(128), 0, 255));
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

TEST_F(CPUSurfaceTest, BrokenImageRecordsAreSkipped) {
    Picture picture(RGB8, 4, 4);
    frame();
    BrxImage bad = picture.record;
    bad.imageData = nullptr;
    surface.image(&bad, nullptr, nullptr);
    bad = picture.record;
    bad.stride = 5; // less than a row
    surface.image(&bad, nullptr, nullptr);
    bad = picture.record;
    bad.imageSize = 10; // less than the pixels
    surface.image(&bad, nullptr, nullptr);
    bad = picture.record;
    bad.width = 0;
    surface.image(&bad, nullptr, nullptr);
    surface.end();
    QImage img = shown(surface);
    EXPECT_EQ(img.pixel(1, 1), qRgb(0, 0, 0));
    EXPECT_EQ(img.pixel(199, 149), qRgb(0, 0, 0));
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
    for (int x = 0; x < img.width(); ++x)
        EXPECT_EQ(img.pixel(x, 125), qRgb(0, 0, 0));
}

TEST(CPUSurface, TabsMoveTheRestToTheNextStop) {
    QWindow window;
    window.resize(300, 40);
    CPUSurface surface;
    QTD::PROPERTIES p;
    p.set("window", QTD::ATTR(static_cast<void*>(&window)), true);
    ASSERT_TRUE(surface.init(&p));
    ASSERT_TRUE(surface.begin(nullptr));
    QTD::RgbColor black(0, 0, 0, 0, 256), white(255, 255, 255, 0, 256);
    surface.fillRect(-1, -1, -1, -1, &black);
    surface.text("i\tI", 2, 30, "fixed", &white);
    surface.end();
    QImage img = shown(surface);
    int step = surface.textObject()->fonts.getPropsValueAs<int>("fixed", "height", "0") *
               QTD::SurfaceText::tab;
    ASSERT_GT(step, 0);
    // Columns with ink: those of "i" near 2, then nothing up to the stop at 2 + step.
    int firstAfterGap = -1;
    for (int x = 12; x < img.width() && firstAfterGap < 0; ++x)
        for (int y = 0; y < img.height(); ++y)
            if (img.pixel(x, y) != qRgb(0, 0, 0)) {
                firstAfterGap = x;
                break;
            }
    EXPECT_GE(firstAfterGap, 2 + step);
    EXPECT_LE(firstAfterGap, 2 + step + 6);
}

TEST(CPUScreen, DrawsTheImageAtThePlacementOverTheBackground) {
    QWindow window;
    window.resize(320, 240);
    window.create();
    CPUSurface surface;
    QTD::PROPERTIES p;
    p.set("window", QTD::ATTR(static_cast<void*>(&window)), true);
    ASSERT_TRUE(surface.init(&p));
    CPUScreen screen(&surface);
    ASSERT_TRUE(screen.init(nullptr, 120, 90, QTDScreen::FitActual));
    screen.window(320, 240);
    ASSERT_TRUE(screen.ready());
    EXPECT_DOUBLE_EQ(surface.area.x, 100.0);
    EXPECT_DOUBLE_EQ(surface.area.y, 75.0);
    EXPECT_DOUBLE_EQ(surface.area.width, 120.0);

    // Pixel (x, y) is (2x, 2y, 200).
    BrxImage picture{};
    ASSERT_NE(QTDImageHelpers::imageCreateImage(&picture, 120, 90, RGB8), nullptr);
    for (int y = 0; y < 90; ++y)
        for (int x = 0; x < 120; ++x) {
            uint8_t* px = static_cast<uint8_t*>(picture.imageData) + y * picture.stride + x * 3;
            px[0] = static_cast<uint8_t>(2 * x);
            px[1] = static_cast<uint8_t>(2 * y);
            px[2] = 200;
        }
    QTD::PROPERTIES frameProps;
    ASSERT_TRUE(screen.begin(&frameProps));
    ASSERT_TRUE(screen.clear(false));
    ASSERT_TRUE(screen.draw(&picture, &frameProps));
    ASSERT_TRUE(screen.prepare(&frameProps));
    QTD::RgbColor red(255, 0, 0, 0, 256), white(255, 255, 255, 0, 256);
    surface.rect(100, 75, 119, 89, &red, 1, 0);
    surface.line(100, 75, 219, 164, &white, 1, 2);
    surface.text("120 x 90", 100, 70, "default", &red);
    ASSERT_TRUE(screen.end(&frameProps, true));
    EXPECT_EQ(surface.painter, nullptr);

    QImage img = shown(surface);
    // "color" 12632256 is 0xC0C0C0.
    EXPECT_EQ(img.pixel(0, 0), rgb(192, 192, 192));
    EXPECT_EQ(img.pixel(99, 120), rgb(192, 192, 192));
    EXPECT_EQ(img.pixel(220, 120), rgb(192, 192, 192));
    EXPECT_EQ(img.pixel(160, 165), rgb(192, 192, 192));
    EXPECT_EQ(img.pixel(100 + 50, 75 + 10), qRgb(100, 20, 200));
    EXPECT_EQ(img.pixel(100 + 10, 75 + 50), qRgb(20, 100, 200));
    EXPECT_EQ(img.pixel(100, 100), qRgb(255, 0, 0));
    if (char const* dir = std::getenv("BRX_SURFACE_PNG"))
        img.save(QString(dir) + "/cpu_surface.png");

    // Zoomed in, the image is scaled onto the surface: 2 window pixels per image pixel.
    screen.scale(0.5, true);
    ASSERT_TRUE(screen.begin(nullptr));
    screen.draw(&picture, nullptr);
    screen.end(nullptr, true);
    img = shown(surface);
    EXPECT_DOUBLE_EQ(screen.originX, 40.0);
    EXPECT_EQ(img.pixel(40 + 2 * 30, 30 + 2 * 20 + 1), qRgb(60, 40, 200));
    EXPECT_EQ(img.pixel(40 + 2 * 30 + 1, 30 + 2 * 20), qRgb(60, 40, 200));
    EXPECT_EQ(img.pixel(39, 120), rgb(192, 192, 192));

    // Without an image only the background is drawn; without a surface nothing.
    ASSERT_TRUE(screen.begin(nullptr));
    EXPECT_TRUE(screen.draw(nullptr, nullptr));
    screen.end(nullptr, true);
    EXPECT_EQ(shown(surface).pixel(160, 120), rgb(192, 192, 192));
    CPUScreen none(nullptr);
    EXPECT_FALSE(none.draw(&picture, nullptr));
    EXPECT_FALSE(none.clear(false));
    EXPECT_FALSE(none.begin(nullptr));
    QTDImageHelpers::imageFreeData(&picture);
}

} // namespace
