#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

// Counts the notifications the screen sends to its window.
struct Receiver : QTD::CommandProcessor {
    bool processCommand(QTD::ATTR, QTD::PROPERTIES*) override {
        ++count;
        return true;
    }
    int count = 0;
};

long roundAway(double v) {
    return static_cast<long>(v < 0 ? v - 0.5 : v + 0.5);
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

    QTDSurface surface;
    QTDScreen screen{&surface};
    Receiver receiver;
};

TEST_F(ScreenTest, FitModesGiveTheComputedScaleAndPlacement) {
    struct Sizes {
        int iw, ih, ww, wh;
    };
    // Image larger, smaller, wider, taller than the window, odd sizes and a single pixel.
    Sizes const cases[] = {
        {1600, 1200, 800, 600}, {320, 240, 800, 600}, {2000, 100, 640, 480}, {100, 2000, 640, 480},
        {641, 479, 333, 211},   {1, 1, 640, 480},     {999, 3, 17, 1001},    {7, 7, 7, 7},
    };
    for (Sizes c : cases) {
        for (int mode = 1; mode <= 3; ++mode) {
            SCOPED_TRACE(::testing::Message() << c.iw << "x" << c.ih << " in " << c.ww << "x"
                                              << c.wh << " mode " << mode);
            QTDSurface s;
            QTDScreen v(&s);
            v.init(nullptr, c.iw, c.ih, static_cast<QTDScreen::FitMode>(mode));
            v.window(c.ww, c.wh);
            double rx = double(c.iw) / c.ww, ry = double(c.ih) / c.wh;
            double want = mode == 1 ? std::max(rx, ry) : mode == 2 ? std::min(rx, ry) : 1.0;
            // No image side below 60 or above 40000 window pixels.
            double lo = std::max(c.iw, c.ih) / 40000.0, hi = std::min(c.iw, c.ih) / 60.0;
            want = std::min(std::max(want, lo), hi);
            EXPECT_NEAR(v.scaleValue, want, 1e-12);
            double sw = c.iw / want, sh = c.ih / want;
            EXPECT_NEAR(v.scaledWidth, sw, 1e-9);
            EXPECT_NEAR(v.scaledHeight, sh, 1e-9);
            // The view starts centred, and a centred image is never corrected.
            EXPECT_NEAR(v.originX, (c.ww - sw) / 2, 1e-9);
            EXPECT_NEAR(v.originY, (c.wh - sh) / 2, 1e-9);
            EXPECT_EQ(v.scrollRangeY, roundAway(sh - c.wh));
            EXPECT_DOUBLE_EQ(s.area.x, v.originX);
            EXPECT_DOUBLE_EQ(s.area.width, v.scaledWidth);
            EXPECT_EQ(s.width, c.ww);
        }
    }
}

TEST_F(ScreenTest, ZoomWalksThePercentageTableBothWays) {
    open(3000, 3000, 800, 600);
    std::vector<int> const in{125, 150, 200, 250, 300, 400, 500},
        out{75, 50, 40, 30, 20, 15, 10, 5};
    for (auto const* want : {&in, &out}) {
        screen.scale(1.0, true);
        std::vector<int> steps;
        for (size_t i = 0; i < want->size(); ++i) {
            EXPECT_TRUE(screen.zoom(want == &in, 0, false));
            steps.push_back(screen.zoom());
        }
        EXPECT_EQ(steps, *want);
    }
    EXPECT_EQ(screen.fit(), 0);
    // At 5 percent the step has nowhere to go.
    EXPECT_FALSE(screen.zoom(false, 0, true));
    EXPECT_FALSE(screen.zoom(false, 0, false));
    EXPECT_EQ(screen.zoom(), 5);
    // Above the table, steps are whole hundreds; between entries one entry is skipped.
    struct {
        double percent;
        bool in;
        int want;
    } const from[] = {{400, false, 300}, {310, false, 200}, {110, false, 75}, {3, true, 5}};
    for (auto f : from) {
        screen.scale(100.0 / f.percent, true);
        screen.zoom(f.in, 0, false);
        EXPECT_EQ(screen.zoom(), f.want) << f.percent;
    }
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
    EXPECT_EQ(screen.zoom(), 4000);
}

TEST_F(ScreenTest, ZoomRectShowsTheAskedRectangleWithOneNotification) {
    open(1600, 1200, 800, 600);
    double oldOrigin = screen.originX, oldOriginY = screen.originY, oldScale = screen.scaleValue;
    QTD::TRECT<int> r{300, 200, 200, 150};
    int before = receiver.count;
    screen.zoomRect(r, true);
    EXPECT_EQ(receiver.count, before + 1);
    EXPECT_EQ(screen.fit(), 0);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 0.25);
    // The rectangle's sides, as image pixels before the zoom, land on the window's sides.
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

    // Smaller image on both axes: always centred. Wider and shorter: each axis on its own.
    QTDScreen small(nullptr), mixed(nullptr);
    small.init(nullptr, 320, 240, QTDScreen::FitActual);
    small.window(800, 600);
    EXPECT_TRUE(small.at(0.1, 0.9));
    EXPECT_DOUBLE_EQ(small.centerX, 0.5);
    EXPECT_DOUBLE_EQ(small.centerY, 0.5);
    mixed.init(nullptr, 2000, 100, QTDScreen::FitActual);
    mixed.window(800, 600);
    mixed.at(0.0, 0.0);
    EXPECT_DOUBLE_EQ(mixed.centerX, 0.2);
    EXPECT_DOUBLE_EQ(mixed.centerY, 0.5);
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
        }
    }
    // Lengths: "win" without absolute is a scaled length, the same as "scr".
    double len = 70.0;
    screen.translate(&len, nullptr, "win", "img", false, false);
    EXPECT_NEAR(len, 70.0 * s, 1e-9);
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
    // "base" behaves as in translate.
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
    EXPECT_EQ(screen.scrollPage().x, roundAway(1000 / 1.21875));
    EXPECT_EQ(screen.scrollX, roundAway(19500 / 1.21875));
    // scroll is the inverse of the position.
    for (int position : {0, 1, 12345, 31999, 32000}) {
        screen.scroll(position, -1);
        EXPECT_EQ(screen.scrollX, position);
        EXPECT_NEAR(screen.originX, -position * 1.21875, 1e-6);
    }
    // A negative coordinate is left alone; an unchanged one sends nothing.
    int before = receiver.count;
    screen.scroll(-1, -1);
    screen.scroll(32000, -1);
    EXPECT_EQ(receiver.count, before);
    // Beyond the end the correction takes it back.
    screen.scroll(40000, -1);
    EXPECT_EQ(screen.scrollX, 32000);
    // A limit of 0 disables the bars.
    screen.props.set("scroll.max", "0", true);
    screen.calculate();
    EXPECT_EQ(screen.scrollRangeX, 0);
    EXPECT_EQ(screen.scrollPage().x, 0);
}

TEST_F(ScreenTest, HostileNumbersNeverBreakTheView) {
    open(1600, 1200, 800, 600);
    double nan = std::nan("");
    // A centre that is no number is corrected like any other.
    EXPECT_TRUE(screen.at(nan, nan));
    EXPECT_TRUE(screen.at(1e300, -1e300));
    EXPECT_DOUBLE_EQ(screen.centerX, 0.75);
    EXPECT_DOUBLE_EQ(screen.centerY, 0.25);
    double x = nan, y = 1e308;
    EXPECT_FALSE(screen.translate(&x, &y, "win", "img", true, true));
    EXPECT_DOUBLE_EQ(y, 1200.0);
    // Limits that allow absurd scales still give whole-number figures.
    screen.props.set("screen.max", "2000000000", true);
    screen.scale(1e-12, true);
    EXPECT_GT(screen.zoom(), 0);
    screen.zoom(true, 0, false);
    screen.moveBy(true, 2000000000);
    QTD::TRECT<int> r{0, 0, 0, 0};
    screen.zoomRect(r, true);
    r.width = 1;
    screen.zoomRect(r, true);
    EXPECT_TRUE(std::isfinite(screen.scaleValue));
}

} // namespace
