#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

// Counts the notifications the screen sends to its window.
struct Receiver : QTD::CommandProcessor {
    bool processCommand(QTD::ATTR command, QTD::PROPERTIES* params) override {
        commands.push_back(command);
        EXPECT_EQ(params, nullptr);
        return true;
    }
    int count() const { return static_cast<int>(commands.size()); }
    std::vector<std::string> commands;
};

// Records what the screen writes into its surface.
struct SurfaceSpy : QTDSurface {
    void setSize(int w, int h) override {
        QTDSurface::setSize(w, h);
        ++sizes;
    }
    int sizes = 0;
};

long roundAway(double v) {
    return static_cast<long>(v < 0 ? v - 0.5 : v + 0.5);
}

struct Sizes {
    int iw, ih, ww, wh;
};

// Image larger, smaller, wider, taller than the window, odd sizes and a single pixel.
std::vector<Sizes> const CASES = {
    {1600, 1200, 800, 600}, {320, 240, 800, 600}, {2000, 100, 640, 480}, {100, 2000, 640, 480},
    {641, 479, 333, 211},   {1, 1, 640, 480},     {999, 3, 17, 1001},    {7, 7, 7, 7},
};

// The scale limits for an image side: no side below 60 or above 40000 window pixels.
double clampScale(double s, int iw, int ih) {
    double lo = std::max(iw / 40000.0, ih / 40000.0);
    double hi = std::min(iw / 60.0, ih / 60.0);
    if (s < lo)
        return lo;
    if (s > hi)
        return hi;
    return s;
}

class ScreenTest : public ::testing::Test {
protected:
    // A ready screen showing an image of iw x ih in a window of ww x wh.
    void open(int iw, int ih, int ww, int wh, QTDScreen::FitMode mode = QTDScreen::FitActual) {
        ASSERT_TRUE(screen.init(&receiver, iw, ih, mode));
        EXPECT_FALSE(screen.ready());
        screen.window(ww, wh);
        ASSERT_TRUE(screen.ready());
    }

    SurfaceSpy surface;
    QTDScreen screen{&surface};
    Receiver receiver;
};

TEST_F(ScreenTest, ConstructorLaysDownTheKeysAndIsNotReady) {
    QTD::PROPERTIES& p = screen.props;
    std::vector<std::string> keys;
    for (int i = 0; i < p.count(); ++i)
        keys.push_back(p.keyAt(i));
    EXPECT_EQ(keys, (std::vector<std::string>{"screen.min", "screen.max", "scroll.horz",
                                              "scroll.vert", "scroll.max", "scale", "fit",
                                              "zoom.coef", "zoom.align", "move.by", "color"}));
    EXPECT_EQ(p.get("scale"), "1.000000");
    EXPECT_EQ(p.get("fit"), "3");
    EXPECT_EQ(p.get("zoom.coef"), "1.100000");
    EXPECT_EQ(p.get("color"), "12632256");
    EXPECT_FALSE(screen.ready());
    EXPECT_FALSE(screen.at(0.2, 0.2));
    EXPECT_FALSE(screen.zoom(true, 0, false));
    EXPECT_EQ(screen.zoom(), 0);
    // Not ready: fit records the mode and reports false.
    EXPECT_FALSE(screen.fit(1, true));
    EXPECT_EQ(screen.fit(), 1);
    EXPECT_EQ(receiver.count(), 0);
}

TEST_F(ScreenTest, FitModesGiveTheComputedScaleAndPlacement) {
    for (Sizes c : CASES) {
        for (int mode = 1; mode <= 3; ++mode) {
            SCOPED_TRACE(::testing::Message() << c.iw << "x" << c.ih << " in " << c.ww << "x"
                                              << c.wh << " mode " << mode);
            SurfaceSpy s;
            QTDScreen v(&s);
            v.init(nullptr, c.iw, c.ih, static_cast<QTDScreen::FitMode>(mode));
            v.window(c.ww, c.wh);
            double rx = double(c.iw) / c.ww, ry = double(c.ih) / c.wh;
            double want = mode == 1 ? std::max(rx, ry) : mode == 2 ? std::min(rx, ry) : 1.0;
            double unclamped = want;
            want = clampScale(want, c.iw, c.ih);
            EXPECT_NEAR(v.scaleValue, want, 1e-12);
            double sw = c.iw / want, sh = c.ih / want;
            EXPECT_NEAR(v.scaledWidth, sw, 1e-9);
            EXPECT_NEAR(v.scaledHeight, sh, 1e-9);
            // The view starts centred, and a centred image is never corrected.
            EXPECT_NEAR(v.originX, (c.ww - sw) / 2, 1e-9);
            EXPECT_NEAR(v.originY, (c.wh - sh) / 2, 1e-9);
            // Scroll figures, scaled down where the range passes 32000.
            long range = roundAway(sw - c.ww), position = roundAway((sw - c.ww) / 2);
            if (range > 32000) {
                double ratio = range / 32000.0;
                range = 32000;
                position = roundAway(position / ratio);
            }
            EXPECT_EQ(v.scrollRangeX, range);
            EXPECT_EQ(v.scrollX, position);
            EXPECT_EQ(v.scrollRangeY, roundAway(sh - c.wh));
            // Unless a side would fall below 60 pixels, fitting shows the whole image.
            if (mode == 1 && want == unclamped) {
                EXPECT_LE(sw, c.ww + 1e-9);
                EXPECT_LE(sh, c.wh + 1e-9);
            }
            // The surface receives the placement and the window size.
            EXPECT_DOUBLE_EQ(s.area.x, v.originX);
            EXPECT_DOUBLE_EQ(s.area.width, v.scaledWidth);
            EXPECT_DOUBLE_EQ(s.area.height, v.scaledHeight);
            EXPECT_EQ(s.width, c.ww);
            EXPECT_EQ(s.height, c.wh);
            EXPECT_EQ(v.fit(), mode);
            EXPECT_EQ(v.props.get("scale"), QTD::ATTR::format("%f", v.scaleValue));
        }
    }
}

TEST_F(ScreenTest, FitNoneKeepsScaleAcrossResizeAndOtherModesFollowIt) {
    open(1600, 1200, 800, 600, QTDScreen::FitWindow);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 2.0);
    screen.window(400, 600);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 4.0);
    screen.fit(QTDScreen::FitNone, true);
    screen.window(1600, 1200);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 4.0);
    // A new image size reapplies the mode too; the same size touches nothing.
    screen.fit(QTDScreen::FillWindow, true);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 1.0);
    screen.scale(0.5, true);
    screen.image(1600, 1200);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 0.5);
    screen.image(3200, 2400);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 2.0);
}

TEST_F(ScreenTest, FitModeIsClampedWhenStoredButNotWhenApplied) {
    open(1600, 1200, 800, 600, QTDScreen::FitWindow);
    EXPECT_TRUE(screen.fit(7, true));
    EXPECT_EQ(screen.props.get("fit"), "3");
    EXPECT_DOUBLE_EQ(screen.scaleValue, 1.0);
    screen.scale(1.5, true);
    EXPECT_TRUE(screen.fit(-1, true));
    EXPECT_EQ(screen.props.get("fit"), "0");
    EXPECT_DOUBLE_EQ(screen.scaleValue, 1.5);
}

TEST_F(ScreenTest, ScaleLimitsFollowTheImageSize) {
    open(1200, 600, 800, 600);
    screen.scale(1000.0, true);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 10.0); // 600 / 60
    screen.scale(0.0001, true);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 0.03); // 1200 / 40000
    EXPECT_EQ(screen.props.get("scale.min"), "0.030000");
    EXPECT_EQ(screen.props.get("scale.max"), "10.000000");
    screen.scale(-2.0, true);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 0.03);
}

TEST_F(ScreenTest, EmptyImageScalesToOne) {
    open(0, 0, 800, 600);
    screen.scale(3.0, true);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 1.0);
    EXPECT_EQ(screen.props.get("scale.min"), "0.000000");
    EXPECT_EQ(screen.props.get("scale.max"), "0.000000");
    EXPECT_EQ(screen.scaledWidth, 0.0);
    // No placement reaches the surface for an empty image; the window size does.
    EXPECT_EQ(surface.width, 800);
    EXPECT_EQ(surface.area.width, 0.0);
    // Sizes below 1 are ignored.
    screen.image(-5, 10);
    screen.window(0, 0);
    EXPECT_EQ(screen.imageWidth, 0);
    EXPECT_EQ(screen.windowWidth, 800);
}

TEST_F(ScreenTest, ZoomWalksThePercentageTableBothWays) {
    open(3000, 3000, 800, 600);
    ASSERT_EQ(screen.zoom(), 100);
    std::vector<int> in;
    for (int i = 0; i < 7; ++i) {
        EXPECT_TRUE(screen.zoom(true, 0, false));
        in.push_back(screen.zoom());
    }
    EXPECT_EQ(in, (std::vector<int>{125, 150, 200, 250, 300, 400, 500}));
    EXPECT_EQ(screen.fit(), 0);

    screen.scale(1.0, true);
    std::vector<int> out;
    for (int i = 0; i < 8; ++i) {
        EXPECT_TRUE(screen.zoom(false, 0, false));
        out.push_back(screen.zoom());
    }
    EXPECT_EQ(out, (std::vector<int>{75, 50, 40, 30, 20, 15, 10, 5}));
    // At 5 percent the step has nowhere to go.
    EXPECT_FALSE(screen.zoom(false, 0, true));
    EXPECT_FALSE(screen.zoom(false, 0, false));
    EXPECT_EQ(screen.zoom(), 5);

    // Above the table, steps are whole hundreds; between entries one entry is skipped.
    screen.scale(100.0 / 400, true);
    screen.zoom(false, 0, false);
    EXPECT_EQ(screen.zoom(), 300);
    screen.scale(100.0 / 310, true);
    screen.zoom(false, 0, false);
    EXPECT_EQ(screen.zoom(), 200);
    screen.scale(100.0 / 110, true);
    screen.zoom(false, 0, false);
    EXPECT_EQ(screen.zoom(), 75);
    screen.scale(100.0 / 3, true);
    screen.zoom(true, 0, false);
    EXPECT_EQ(screen.zoom(), 5);
}

TEST_F(ScreenTest, ZoomStopsAtTheScaleLimits) {
    // 600 / 60 = 10 is the largest scale: 10 percent is the last step out.
    open(1000, 600, 800, 600);
    screen.scale(100.0 / 15, true);
    EXPECT_TRUE(screen.zoom(false, 0, true));
    EXPECT_TRUE(screen.zoom(false, 0, false));
    EXPECT_EQ(screen.zoom(), 10);
    EXPECT_FALSE(screen.zoom(false, 0, true));
    // Without the test flag the asked value counts: a step at the limit still says true.
    EXPECT_TRUE(screen.zoom(false, 0, false));
    EXPECT_EQ(screen.zoom(), 10);
    // 1000 / 40000: at most 4000 percent.
    screen.scale(100.0 / 4000, true);
    EXPECT_FALSE(screen.zoom(true, 0, true));
    EXPECT_TRUE(screen.zoom(true, 0, false));
    EXPECT_EQ(screen.zoom(), 4000);
}

TEST_F(ScreenTest, ZoomByFactorWhenNotAligned) {
    open(1000, 1000, 800, 600);
    screen.props.set("zoom.align", "0", true);
    screen.zoom(true, 0, false);
    EXPECT_NEAR(screen.scaleValue, 1.0 / 1.1, 1e-6);
    screen.scale(1.0, true);
    screen.zoom(false, 2.0, false);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 2.0);
    // Zoom keeps the centre fraction.
    screen.scale(0.5, true);
    screen.at(0.3, 0.6);
    screen.zoom(true, 0, false);
    EXPECT_DOUBLE_EQ(screen.centerX, 0.3);
    EXPECT_DOUBLE_EQ(screen.centerY, 0.6);
}

TEST_F(ScreenTest, ZoomRectShowsTheAskedRectangleWithOneNotification) {
    open(1600, 1200, 800, 600);
    // Window pixel -> image pixel before the zoom.
    double oldOrigin = screen.originX, oldOriginY = screen.originY, oldScale = screen.scaleValue;
    QTD::TRECT<int> r;
    r.x = 300;
    r.y = 200;
    r.width = 200;
    r.height = 150;
    int before = receiver.count();
    screen.zoomRect(r, true);
    EXPECT_EQ(receiver.count(), before + 1);
    EXPECT_EQ(screen.fit(), 0);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 0.25);
    double leftImage = (r.x - oldOrigin) * oldScale;
    double rightImage = (r.x + r.width - oldOrigin) * oldScale;
    double centreY = (r.y + r.height / 2 - oldOriginY) * oldScale;
    EXPECT_NEAR(leftImage / screen.scaleValue + screen.originX, 0.0, 1e-9);
    EXPECT_NEAR(rightImage / screen.scaleValue + screen.originX, 800.0, 1e-9);
    EXPECT_NEAR(centreY / screen.scaleValue + screen.originY, 300.0, 1e-9);
    // Zooming out turns the view into the rectangle again.
    screen.zoomRect(r, false);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 1.0);
}

TEST_F(ScreenTest, CalculateCorrectsTheCentreToAvoidGaps) {
    open(1600, 1200, 800, 600);
    // Larger image: pushed back until it covers the window.
    EXPECT_TRUE(screen.at(0.0, 0.0));
    EXPECT_DOUBLE_EQ(screen.centerX, 400.0 / 1600);
    EXPECT_DOUBLE_EQ(screen.centerY, 300.0 / 1200);
    EXPECT_DOUBLE_EQ(screen.originX, 0.0);
    EXPECT_DOUBLE_EQ(screen.originY, 0.0);
    EXPECT_EQ(screen.scrollX, 0);
    EXPECT_TRUE(screen.at(1.0, 1.0));
    EXPECT_DOUBLE_EQ(screen.originX + screen.scaledWidth, 800.0);
    EXPECT_DOUBLE_EQ(screen.originY + screen.scaledHeight, 600.0);
    EXPECT_EQ(screen.scrollX, screen.scrollRangeX);
    // A centre that shows no gap stands.
    EXPECT_FALSE(screen.at(0.5, 0.375));
    // A stored centre outside 0..1 always counts as corrected.
    screen.centerX = 1.5;
    EXPECT_TRUE(screen.calculate());
    EXPECT_DOUBLE_EQ(screen.centerX, 0.75);
    EXPECT_FALSE(screen.calculate());

    // Smaller image on both axes: always centred, with a negative range.
    QTDScreen small(nullptr);
    small.init(nullptr, 320, 240, QTDScreen::FitActual);
    small.window(800, 600);
    EXPECT_TRUE(small.at(0.1, 0.9));
    EXPECT_DOUBLE_EQ(small.centerX, 0.5);
    EXPECT_DOUBLE_EQ(small.centerY, 0.5);
    EXPECT_EQ(small.scrollRangeX, -480);
    EXPECT_EQ(small.scrollRangeY, -360);
    EXPECT_DOUBLE_EQ(small.originX, 240.0);

    // Wider than the window, shorter than it: each axis on its own.
    QTDScreen mixed(nullptr);
    mixed.init(nullptr, 2000, 100, QTDScreen::FitActual);
    mixed.window(800, 600);
    mixed.at(0.0, 0.0);
    EXPECT_DOUBLE_EQ(mixed.centerX, 0.2);
    EXPECT_DOUBLE_EQ(mixed.centerY, 0.5);
}

TEST_F(ScreenTest, CanCenterAtChangesNothing) {
    open(1600, 1200, 800, 600);
    int before = receiver.count();
    EXPECT_FALSE(screen.canCenterAt(0.5, 0.5, "base"));
    EXPECT_TRUE(screen.canCenterAt(0.3, 0.5, "base"));
    // A point that the correction would take back to where the view is: no move.
    screen.at(0.0, 0.0);
    before = receiver.count();
    EXPECT_FALSE(screen.canCenterAt(0.1, 0.1, "base"));
    // "win" takes a position; "img" takes scaled pixels.
    EXPECT_TRUE(screen.canCenterAt(800, 300, "win"));
    EXPECT_TRUE(screen.canCenterAt(800, 300, "IMG"));
    EXPECT_DOUBLE_EQ(screen.centerX, 0.25);
    EXPECT_EQ(receiver.count(), before);
}

TEST_F(ScreenTest, AtFromPixels) {
    open(1600, 1200, 800, 600);
    // A window position: the image point under it comes to the centre.
    screen.at(600, 400, "win");
    EXPECT_DOUBLE_EQ(screen.centerX, (600 + 400.0) / 1600);
    EXPECT_DOUBLE_EQ(screen.centerY, (400 + 300.0) / 1200);
    // Anything else is a length.
    screen.at(1200, 600, "scr");
    EXPECT_DOUBLE_EQ(screen.centerX, 0.75);
    EXPECT_DOUBLE_EQ(screen.centerY, 0.5);
}

TEST_F(ScreenTest, TranslateRoundTripsBetweenEverySystem) {
    open(1601, 1199, 800, 600);
    screen.scale(0.7, true);
    screen.at(0.31, 0.62);
    double s = screen.scaleValue, ox = screen.originX, oy = screen.originY;
    char const* systems[] = {"win", "img", "scr"};
    // Image pixel (x, y) in each system, computed here.
    auto expected = [&](std::string const& cs, double ix, double iy) {
        if (cs == "win")
            return std::make_pair(ox + ix / s, oy + iy / s);
        if (cs == "scr")
            return std::make_pair(ix / s, iy / s);
        return std::make_pair(ix, iy);
    };
    for (char const* from : systems) {
        for (char const* to : systems) {
            SCOPED_TRACE(std::string(from) + " -> " + to);
            auto start = expected(from, 400.25, 777.5);
            double x = start.first, y = start.second;
            EXPECT_TRUE(screen.translate(&x, &y, from, to, true, false));
            auto want = expected(to, 400.25, 777.5);
            EXPECT_NEAR(x, want.first, 1e-9);
            EXPECT_NEAR(y, want.second, 1e-9);
            EXPECT_TRUE(screen.translate(&x, &y, to, from, true, false));
            EXPECT_NEAR(x, start.first, 1e-9);
            EXPECT_NEAR(y, start.second, 1e-9);
            // One coordinate at a time.
            double only = start.first;
            EXPECT_TRUE(screen.translate(&only, nullptr, from, to, true, false));
            EXPECT_NEAR(only, want.first, 1e-9);
        }
    }
    // Lengths: "win" without absolute is a scaled length, the same as "scr".
    double len = 70.0;
    screen.translate(&len, nullptr, "win", "img", false, false);
    EXPECT_NEAR(len, 70.0 * s, 1e-9);
    // Case does not matter.
    double x = ox, y = oy;
    EXPECT_TRUE(screen.translate(&x, &y, "WIN", "Img", true, false));
    EXPECT_NEAR(x, 0.0, 1e-9);
}

TEST_F(ScreenTest, TranslateRangeBaseAndClipping) {
    open(1600, 1200, 800, 600);
    screen.at(0.0, 0.0); // origin (0, 0), scale 1
    double x = 900, y = 100;
    // Out of the image on x: false, but the value is converted.
    EXPECT_TRUE(screen.translate(&x, &y, "win", "img", true, false));
    x = 1700;
    EXPECT_FALSE(screen.translate(&x, &y, "img", "win", true, false));
    EXPECT_DOUBLE_EQ(x, 1700.0);
    EXPECT_TRUE(screen.translate(nullptr, nullptr, "img", "win", true, false));
    // "base" is a destination only: the values then hold the fraction.
    x = 400;
    y = 300;
    EXPECT_FALSE(screen.translate(&x, &y, "img", "base", true, false));
    EXPECT_DOUBLE_EQ(x, 0.25);
    EXPECT_DOUBLE_EQ(y, 0.25);
    EXPECT_FALSE(screen.translate(&x, &y, "base", "img", true, false));
    EXPECT_DOUBLE_EQ(x, 0.25);
    EXPECT_FALSE(screen.translate(&x, &y, "bogus", "img", true, false));
    EXPECT_FALSE(screen.translate(&x, &y, "img", "bogus", true, false));
    EXPECT_DOUBLE_EQ(x, 0.25 / 1600);

    // Clipping: to the image, to the scaled image, to the window.
    x = -50;
    y = 5000;
    EXPECT_FALSE(screen.translate(&x, &y, "img", "img", true, true));
    EXPECT_DOUBLE_EQ(x, 0.0);
    EXPECT_DOUBLE_EQ(y, 1200.0);
    x = 1500;
    y = 1100;
    screen.translate(&x, &y, "img", "win", true, true);
    EXPECT_DOUBLE_EQ(x, 800.0);
    EXPECT_DOUBLE_EQ(y, 600.0);
    // Lengths are clipped to the window only while the image fits it on both axes.
    x = 1500;
    screen.translate(&x, nullptr, "img", "win", false, true);
    EXPECT_DOUBLE_EQ(x, 1500.0);
    screen.scale(4.0, true);
    x = 1500;
    y = 1100;
    screen.translate(&x, &y, "img", "win", false, true);
    EXPECT_DOUBLE_EQ(x, 375.0);
    x = 4000;
    screen.translate(&x, nullptr, "img", "win", false, true);
    EXPECT_DOUBLE_EQ(x, 800.0);
}

TEST_F(ScreenTest, TranslateXAndYDifferFromTranslate) {
    open(1600, 1200, 800, 600);
    screen.scale(2.0, true); // 800 x 600 scaled, origin (0, 0)
    // An image index becomes a point inside the pixel, then rounded.
    double v = 3;
    EXPECT_TRUE(screen.translateX(v, "img", "scr", false));
    EXPECT_DOUBLE_EQ(v, 2.0); // (3.49 / 1600) * 800 = 1.745
    v = 3;
    EXPECT_TRUE(screen.translateX(v, "img", "scr", true));
    EXPECT_DOUBLE_EQ(v, 2.0); // 1.5 rounds away from zero
    v = 5;
    screen.translateX(v, "win", "img", true);
    EXPECT_DOUBLE_EQ(v, 10.0);
    // "win" as destination shifts by the origin even without absolute.
    screen.scale(1.0, true); // origin (-400, -300)
    ASSERT_DOUBLE_EQ(screen.originX, -400.0);
    v = 800;
    screen.translateX(v, "img", "win", true);
    EXPECT_DOUBLE_EQ(v, 400.0);
    v = 800;
    screen.translateX(v, "img", "win", false);
    EXPECT_NEAR(v, 400.49, 1e-9);
    // Out of range: translateX still says true, translateY says false.
    v = 5000;
    EXPECT_TRUE(screen.translateX(v, "img", "img", true));
    EXPECT_DOUBLE_EQ(v, 5000.0);
    v = 5000;
    EXPECT_FALSE(screen.translateY(v, "img", "img", true));
    EXPECT_DOUBLE_EQ(v, 5000.0);
    v = 500;
    EXPECT_TRUE(screen.translateY(v, "img", "img", true));
    // No clipping, and "base" behaves as in translate.
    v = 42;
    EXPECT_FALSE(screen.translateY(v, "base", "img", true));
    EXPECT_DOUBLE_EQ(v, 42.0);
    EXPECT_FALSE(screen.translateX(v, "img", "base", true));
    EXPECT_DOUBLE_EQ(v, 42.0 / 1600);
}

TEST_F(ScreenTest, ScrollingRespectsTheLimit) {
    open(40000, 100, 1000, 100);
    EXPECT_EQ(screen.scrollRangeX, 32000);
    EXPECT_EQ(screen.props.get("scroll.horz"), "1.218750");
    EXPECT_EQ(screen.props.get("scroll.vert"), "1.000000");
    QTD::TPAIR<int> page = screen.scrollPage();
    EXPECT_EQ(page.x, roundAway(1000 / 1.21875));
    EXPECT_EQ(page.y, 100);
    EXPECT_EQ(screen.scrollX, roundAway(19500 / 1.21875));
    // scroll is the inverse of the position.
    for (int position : {0, 1, 12345, 31999, 32000}) {
        screen.scroll(position, -1);
        EXPECT_EQ(screen.scrollX, position);
        EXPECT_NEAR(screen.originX, -position * 1.21875, 1e-6);
    }
    // A negative coordinate is left alone; an unchanged one sends nothing.
    int before = receiver.count();
    screen.scroll(-1, -1);
    screen.scroll(32000, -1);
    EXPECT_EQ(receiver.count(), before);
    // Beyond the end the correction takes it back.
    screen.scroll(40000, -1);
    EXPECT_EQ(screen.scrollX, 32000);
    // A limit of 0 disables the bars.
    screen.props.set("scroll.max", "0", true);
    screen.calculate();
    EXPECT_EQ(screen.scrollRangeX, 0);
    EXPECT_EQ(screen.scrollX, 0);
    EXPECT_EQ(screen.props.get("scroll.horz"), "0.000000");
    EXPECT_EQ(screen.scrollPage().x, 0);
}

TEST_F(ScreenTest, DragAndMoveBy) {
    open(1600, 1200, 800, 600);
    screen.lock(100, 100);
    EXPECT_FALSE(screen.moveBy(true, 1));
    EXPECT_FALSE(screen.moveLocked(40, 70));
    EXPECT_DOUBLE_EQ(screen.centerX, 0.5 + 60.0 / 1600);
    EXPECT_DOUBLE_EQ(screen.centerY, 0.5 + 30.0 / 1200);
    int before = receiver.count();
    screen.unlock(0, 0, true);
    EXPECT_DOUBLE_EQ(screen.centerX, 0.5);
    EXPECT_EQ(receiver.count(), before);
    EXPECT_FALSE(screen.moveLocked(0, 0));
    // The scale enters twice: at scale 2 one unit moves by 2 * 800 / 800 * 0.1.
    screen.scale(2.0, true);
    screen.scale(0.5, true);
    EXPECT_TRUE(screen.moveBy(true, 1));
    EXPECT_DOUBLE_EQ(screen.centerX, 0.5 + 0.5 * 800 / 3200 * 0.1);
    EXPECT_TRUE(screen.moveBy(false, -2));
    EXPECT_DOUBLE_EQ(screen.centerY, 0.5 - 2 * 0.5 * 600 / 2400 * 0.1);
}

TEST_F(ScreenTest, ImagePixelsAndOverlayClipping) {
    open(320, 240, 800, 600); // origin (240, 180)
    EXPECT_DOUBLE_EQ(screen.imageX(240), 0.0);
    EXPECT_DOUBLE_EQ(screen.imageX(559), 319.0);
    EXPECT_DOUBLE_EQ(screen.imageX(560), -1.0);
    EXPECT_DOUBLE_EQ(screen.imageY(179), -1.0);
    EXPECT_DOUBLE_EQ(screen.screenX(250), 10.0);

    QTD::TPAIR<double> pos{100, 200}, size{500, -3};
    EXPECT_FALSE(screen.adjustOverlay(nullptr, nullptr));
    EXPECT_TRUE(screen.adjustOverlay(&pos, &size));
    EXPECT_DOUBLE_EQ(pos.x, 240.0);
    EXPECT_DOUBLE_EQ(pos.y, 200.0);
    EXPECT_DOUBLE_EQ(size.x, 320.0);
    EXPECT_DOUBLE_EQ(size.y, 0.0);
    // A moved position alone does not count when a size is given.
    pos = {100, 300};
    size = {10, 10};
    EXPECT_FALSE(screen.adjustOverlay(&pos, &size));
    EXPECT_DOUBLE_EQ(pos.x, 240.0);
    pos = {900, 300};
    EXPECT_TRUE(screen.adjustOverlay(&pos, &size));
    EXPECT_DOUBLE_EQ(pos.x, 560.0);
    EXPECT_DOUBLE_EQ(size.x, 0.0); // cut back to the right edge
    pos = {300, 300};
    EXPECT_FALSE(screen.adjustOverlay(&pos, nullptr));
    size = {400, 100};
    EXPECT_TRUE(screen.adjustOverlay(nullptr, &size));
    EXPECT_DOUBLE_EQ(size.x, 320.0);
}

TEST_F(ScreenTest, SnapshotsAndNotifications) {
    QTD::PROPERTIES state;
    screen.stateProps(state);
    EXPECT_EQ(state.get("at"), "");
    open(1600, 1200, 800, 600);
    EXPECT_GE(receiver.count(), 1);
    EXPECT_EQ(receiver.commands.back(), "view.changed");
    screen.stateProps(state);
    EXPECT_EQ(state.get("at"), "0.500000;0.500000");
    EXPECT_EQ(state.get("scale"), "1.000000");
    EXPECT_FALSE(screen.checkStateChanged(state, true));

    int before = receiver.count();
    EXPECT_FALSE(screen.at(0.5, 0.5));
    EXPECT_EQ(receiver.count(), before);
    screen.at(0.4, 0.5);
    EXPECT_EQ(receiver.count(), before + 1);
    // A centre that is no short decimal counts as changed at every check.
    screen.at(1.0 / 3, 0.5);
    screen.stateProps(state);
    EXPECT_TRUE(screen.checkStateChanged(state, false));
    before = receiver.count();
    screen.notifyEnabled = false;
    screen.at(0.6, 0.6);
    EXPECT_EQ(receiver.count(), before);
}

TEST_F(ScreenTest, HostileNumbersNeverBreakTheView) {
    open(1600, 1200, 800, 600);
    double nan = std::nan("");
    // A centre that is no number is corrected like any other.
    EXPECT_TRUE(screen.at(nan, nan));
    EXPECT_TRUE(std::isfinite(screen.centerX));
    EXPECT_TRUE(std::isfinite(screen.originX));
    EXPECT_TRUE(screen.at(1e300, -1e300));
    EXPECT_DOUBLE_EQ(screen.centerX, 0.75);
    EXPECT_DOUBLE_EQ(screen.centerY, 0.25);
    double v = 1e300;
    EXPECT_TRUE(screen.translateX(v, "img", "img", true));
    EXPECT_GT(v, 1e299);
    v = -1e300;
    EXPECT_FALSE(screen.translateY(v, "win", "scr", true));
    double x = nan, y = 1e308;
    EXPECT_FALSE(screen.translate(&x, &y, "win", "img", true, true));
    EXPECT_DOUBLE_EQ(y, 1200.0);
    // Limits that allow absurd scales still give whole-number figures.
    screen.props.set("screen.max", "2000000000", true);
    screen.scale(1e-12, true);
    EXPECT_GT(screen.zoom(), 0);
    screen.zoom(true, 0, false);
    screen.zoom(false, 0, false);
    screen.props.set("scroll.horz", "0.0000000001", true);
    screen.scrollPage();
    screen.moveBy(true, 2000000000);
    QTD::TRECT<int> r{0, 0, 0, 0};
    screen.zoomRect(r, true);
    screen.zoomRect(r, false);
    r.width = 1;
    screen.zoomRect(r, true);
    EXPECT_TRUE(std::isfinite(screen.scaleValue));
}

} // namespace
