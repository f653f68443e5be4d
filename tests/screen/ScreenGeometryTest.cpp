#include "screen/QTDScreen.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

long roundAway(double v) {
    return static_cast<long>(v < 0 ? v - 0.5 : v + 0.5);
}

class ScreenTest : public ::testing::Test {
protected:
    // A ready screen showing an image of iw x ih in a window of ww x wh.
    void open(int iw, int ih, int ww, int wh) {
        ASSERT_TRUE(screen.init(nullptr, iw, ih, QTDScreen::FitActual));
        screen.window(ww, wh);
    }

    QTDScreen screen{nullptr};
};

TEST_F(ScreenTest, FitModesGiveTheComputedScaleAndPlacement) {
    // Image larger, smaller, wider, taller than the window, odd sizes and a single pixel.
    int const cases[][4] = {
        {1600, 1200, 800, 600}, {320, 240, 800, 600}, {2000, 100, 640, 480}, {100, 2000, 640, 480},
        {641, 479, 333, 211},   {1, 1, 640, 480},     {999, 3, 17, 1001},    {7, 7, 7, 7},
    };
    for (auto const& c : cases) {
        int iw = c[0], ih = c[1], ww = c[2], wh = c[3];
        for (int mode = 1; mode <= 3; ++mode) {
            SCOPED_TRACE(::testing::Message() << iw << "x" << ih << " mode " << mode);
            QTDScreen v(nullptr);
            v.init(nullptr, iw, ih, static_cast<QTDScreen::FitMode>(mode));
            v.window(ww, wh);
            double rx = double(iw) / ww, ry = double(ih) / wh;
            double want = mode == 1 ? std::max(rx, ry) : mode == 2 ? std::min(rx, ry) : 1.0;
            // No image side below 60 or above 40000 window pixels.
            want = std::min(std::max(want, std::max(iw, ih) / 40000.0), std::min(iw, ih) / 60.0);
            EXPECT_NEAR(v.scaleValue, want, 1e-12);
            double sw = iw / want, sh = ih / want;
            EXPECT_NEAR(v.scaledWidth, sw, 1e-9);
            EXPECT_NEAR(v.scaledHeight, sh, 1e-9);
            // The view starts centred, and a centred image is never corrected.
            EXPECT_NEAR(v.originX, (ww - sw) / 2, 1e-9);
            EXPECT_NEAR(v.originY, (wh - sh) / 2, 1e-9);
            EXPECT_EQ(v.scrollRangeY, roundAway(sh - wh));
        }
    }
}

TEST_F(ScreenTest, ZoomWalksThePercentageTableToTheScaleLimits) {
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
    // At 5 percent the step has nowhere to go.
    EXPECT_FALSE(screen.zoom(false, 0, false));
    EXPECT_EQ(screen.zoom(), 5);
    // Above the table, steps are whole hundreds; between entries one entry is skipped.
    double const from[][3] = {{400, 0, 300}, {310, 0, 200}, {110, 0, 75}, {3, 1, 5}};
    for (auto const& f : from) {
        screen.scale(100.0 / f[0], true);
        screen.zoom(f[1] != 0, 0, false);
        EXPECT_EQ(screen.zoom(), f[2]) << f[0];
    }
    // 600 / 60 = 10 is the largest scale: from 15 percent one step out, then none.
    QTDScreen limited(nullptr);
    limited.init(nullptr, 1000, 600, QTDScreen::FitActual);
    limited.window(800, 600);
    limited.scale(100.0 / 15, true);
    EXPECT_TRUE(limited.zoom(false, 0, false));
    EXPECT_FALSE(limited.zoom(false, 0, true));
    EXPECT_EQ(limited.zoom(), 10);
}

TEST_F(ScreenTest, ZoomRectShowsTheAskedRectangle) {
    open(1600, 1200, 800, 600);
    double oldX = screen.originX, oldY = screen.originY, oldScale = screen.scaleValue;
    QTD::TRECT<int> r{300, 200, 200, 150};
    screen.zoomRect(r, true);
    EXPECT_DOUBLE_EQ(screen.scaleValue, 0.25);
    // The rectangle's sides, as image pixels before the zoom, land on the window's sides.
    auto shown = [&](double windowX, double origin) {
        return (windowX - origin) * oldScale / screen.scaleValue;
    };
    EXPECT_NEAR(shown(r.x, oldX) + screen.originX, 0.0, 1e-9);
    EXPECT_NEAR(shown(r.x + r.width, oldX) + screen.originX, 800.0, 1e-9);
    EXPECT_NEAR(shown(r.y + r.height / 2, oldY) + screen.originY, 300.0, 1e-9);

    // A rectangle without area still gives finite figures.
    r = {0, 0, 0, 0};
    screen.zoomRect(r, true);
    EXPECT_TRUE(std::isfinite(screen.scaleValue));
}

TEST_F(ScreenTest, AtCorrectsTheCentreToAvoidGaps) {
    open(1600, 1200, 800, 600);
    // Larger image: pushed back until it covers the window.
    EXPECT_TRUE(screen.at(0.0, 0.0));
    EXPECT_DOUBLE_EQ(screen.centerX, 400.0 / 1600);
    EXPECT_DOUBLE_EQ(screen.centerY, 300.0 / 1200);
    EXPECT_TRUE(screen.at(1.0, 1.0));
    EXPECT_DOUBLE_EQ(screen.originX + screen.scaledWidth, 800.0);
    // A centre that shows no gap stands.
    EXPECT_FALSE(screen.at(0.5, 0.375));
    // Hostile centres are corrected like any other.
    EXPECT_TRUE(screen.at(std::nan(""), std::nan("")));
    EXPECT_TRUE(screen.at(1e300, -1e300));
    EXPECT_DOUBLE_EQ(screen.centerX, 0.75);
    EXPECT_DOUBLE_EQ(screen.centerY, 0.25);

    // Wider and shorter than the window: each axis on its own; the short one always centred.
    QTDScreen mixed(nullptr);
    mixed.init(nullptr, 2000, 100, QTDScreen::FitActual);
    mixed.window(800, 600);
    mixed.at(0.0, 0.0);
    EXPECT_DOUBLE_EQ(mixed.centerX, 0.2);
    EXPECT_DOUBLE_EQ(mixed.centerY, 0.5);
}

TEST_F(ScreenTest, TranslateBetweenTheSystems) {
    open(1600, 1200, 800, 600);
    // At scale 2 the image shows 800 x 600 at (0, 0); at scale 1 at (-400, -300).
    struct {
        double scale, value;
        char const *from, *to;
        bool absolute, y, result;
        double want;
    } const rows[] = {
        // An image index is a point inside the pixel, then rounded (1.745; 1.5 away from 0).
        {2, 3, "img", "scr", false, false, true, 2.0},
        {2, 3, "img", "scr", true, false, true, 2.0},
        // "win" as destination shifts by the origin even without absolute.
        {1, 800, "img", "win", true, false, true, 400.0},
        {1, 800, "img", "win", false, false, true, 400.49},
        // Out of range: translateX still says true, translateY says false.
        {1, 5000, "img", "img", true, false, true, 5000.0},
        {1, 5000, "img", "img", true, true, false, 5000.0},
        // "base" as source leaves the value alone, as destination leaves the fraction.
        {1, 42, "base", "img", true, true, false, 42.0},
        {1, 42, "img", "base", true, false, false, 42.0 / 1600},
    };
    for (auto const& r : rows) {
        SCOPED_TRACE(::testing::Message() << r.value << " " << r.from << " -> " << r.to);
        screen.scale(r.scale, true);
        double v = r.value;
        EXPECT_EQ(r.y ? screen.translateY(v, r.from, r.to, r.absolute)
                      : screen.translateX(v, r.from, r.to, r.absolute),
                  r.result);
        EXPECT_NEAR(v, r.want, 1e-9);
    }

    // translate, for both axes at once, between every pair of systems; 1600 x 1200 at 0.7.
    screen.scale(0.7, true);
    screen.at(0.31, 0.62);
    double s = screen.scaleValue, ox = screen.originX, oy = screen.originY;
    // Image pixel (400.25, 777.5) in each system, computed here.
    auto expected = [&](std::string const& cs) {
        double f = cs == "img" ? 1 : 1 / s, dx = cs == "win" ? ox : 0, dy = cs == "win" ? oy : 0;
        return std::make_pair(dx + 400.25 * f, dy + 777.5 * f);
    };
    for (char const* from : {"win", "img", "scr"}) {
        for (char const* to : {"win", "img", "scr"}) {
            SCOPED_TRACE(std::string(from) + " -> " + to);
            double x = expected(from).first, y = expected(from).second;
            EXPECT_TRUE(screen.translate(&x, &y, from, to, true, false));
            EXPECT_NEAR(x, expected(to).first, 1e-9);
            EXPECT_NEAR(y, expected(to).second, 1e-9);
        }
    }
    // Lengths: "win" without absolute is a scaled length, the same as "scr".
    double len = 70.0;
    screen.translate(&len, nullptr, "win", "img", false, false);
    EXPECT_NEAR(len, 70.0 * s, 1e-9);
}

} // namespace
