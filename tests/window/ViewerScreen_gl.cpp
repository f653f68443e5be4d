// On screen (Xvfb): the image and its overlays where the screen places them, the bars' figures.

#include "WindowTestImages.h"

#include "screen/QTDScreen.h"
#include "window/QTDRender.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QScrollBar>
#include <QWidget>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <utility>

using namespace WindowTest;

namespace {

bool isWhite(QColor c) {
    return c.red() == 255 && c.green() == 255 && c.blue() == 255;
}

// Black text on the card, the background grey or a white box: every other colour there has a
// bright channel.
bool isInk(QColor c) {
    return std::max({c.red(), c.green(), c.blue()}) < 60;
}

// First and last row with ink within a rectangle of the shot; (-1, -1) if there is none.
std::pair<int, int> inkRows(QImage const& shot, int x, int y, int w, int h) {
    int top = -1, bottom = -1;
    for (int py = std::max(y, 0); py < std::min(y + h, shot.height()); ++py)
        for (int px = std::max(x, 0); px < std::min(x + w, shot.width()); ++px)
            if (isInk(shot.pixelColor(px, py))) {
                top = top < 0 ? py : top;
                bottom = py;
                break;
            }
    return {top, bottom};
}

bool isBackground(QColor c) {
    return c.red() == c.green() && c.green() == c.blue() && c.red() >= 185 && c.red() <= 195;
}

// A 500 x 400 host with a viewer showing the card.
class OnScreen : public ::testing::Test {
protected:
    void SetUp() override {
        host.resize(500, 400);
        viewer = new QTDViewer(&host, false);
        ASSERT_NE(viewer->window, nullptr);
        window = viewer->window;
        host.show();
        settle();
        ASSERT_TRUE(window->isExposed());
        card = makeCard();
        viewer->setImage(card.get(), true);
        settle();
    }

    void TearDown() override { delete viewer; }

    QTDScreen& screen() { return *window->screen; }

    auto state() {
        return std::make_tuple(window->width(), window->height(), screen().originX,
                               screen().originY, screen().scaleValue,
                               viewer->horizontalBar()->isHidden(),
                               viewer->verticalBar()->isHidden());
    }

    // Until the view stays (bars that come or go resize the window), then one more frame.
    void settle() {
        for (int quiet = 0, round = 0; quiet < 8 && round < 300; ++round) {
            const auto last = state();
            QTest::qWait(15);
            quiet = state() == last ? quiet + 1 : 0;
        }
        window->update();
        QTest::qWait(50);
    }

    QImage grab() {
        return QGuiApplication::primaryScreen()
            ->grabWindow(window->winId())
            .toImage()
            .convertToFormat(QImage::Format_RGB32);
    }

    // Card samples show where the screen places them; returns how many of `samples` were seen.
    static constexpr int samples = 1200;
    int expectCardWhereTheScreenSays(QImage const& shot) {
        QTDScreen& s = screen();
        int seen = 0;
        for (int iy = 8; iy < 480; iy += 16)
            for (int ix = 8; ix < 640; ix += 16) {
                // Stay clear of block borders, where scaling may round either way.
                if (ix % BLOCK < 4 || ix % BLOCK > BLOCK - 5 || iy % BLOCK < 4 ||
                    iy % BLOCK > BLOCK - 5)
                    continue;
                int wx = static_cast<int>(std::floor(s.originX + (ix + 0.5) / s.scaleValue));
                int wy = static_cast<int>(std::floor(s.originY + (iy + 0.5) / s.scaleValue));
                if (wx < 0 || wy < 0 || wx >= shot.width() || wy >= shot.height())
                    continue;
                ++seen;
                const std::string got = shot.pixelColor(wx, wy).name().toStdString();
                EXPECT_EQ(got, cardColor(ix, iy).name().toStdString()) << ix << "," << iy;
                if (got != cardColor(ix, iy).name().toStdString())
                    return seen;
            }
        return seen;
    }

    // The bars carry the screen's figures: range, position in range, page.
    void expectBarsMatchTheScreen() {
        QTDScreen& s = screen();
        QTD::TPAIR<int> page = s.scrollPage();
        struct Axis {
            QScrollBar* bar;
            int range, value, page;
        };
        for (Axis a : {Axis{viewer->horizontalBar(), s.scrollRangeX, s.scrollX, page.x},
                       Axis{viewer->verticalBar(), s.scrollRangeY, s.scrollY, page.y}}) {
            EXPECT_EQ(a.bar->isHidden(), a.range < 1) << a.bar->orientation();
            EXPECT_EQ(a.bar->maximum(), std::max(a.range, 0)) << a.bar->orientation();
            if (a.range >= 1) {
                EXPECT_TRUE(a.bar->isEnabled());
                EXPECT_EQ(a.bar->value(), a.value);
                EXPECT_EQ(a.bar->pageStep(), a.page);
            }
        }
    }

    int number(QTD::ATTR const& id, char const* key) {
        return window->drawObjects.find(id, true)->getAs<int>(key);
    }

    // The white outline of the rectangle around the card's block (1, 1), image (160..320), lies
    // on the block's edges: the card's own colours on either side of it.
    void expectOutlineOnTheBlock(QImage const& shot, QTD::ATTR const& id) {
        QTDScreen& s = screen();
        int x = number(id, "x"), y = number(id, "y"), w = number(id, "w"), h = number(id, "h");
        EXPECT_NEAR(x, std::lround(s.originX + 160 / s.scaleValue), 1);
        EXPECT_NEAR(y, std::lround(s.originY + 160 / s.scaleValue), 1);
        EXPECT_NEAR(x + w, std::lround(s.originX + 320 / s.scaleValue), 1);
        auto inside = [&shot](int px, int py) {
            return px >= 0 && py >= 0 && px < shot.width() && py < shot.height();
        };
        int checked = 0;
        for (int py = y + 4; py < y + h - 4; py += 7)
            for (int edge : {x, x + w}) {
                if (!inside(edge - 3, py) || !inside(edge + 3, py))
                    continue;
                ++checked;
                EXPECT_TRUE(isWhite(shot.pixelColor(edge, py))) << edge << "," << py;
                EXPECT_FALSE(isWhite(shot.pixelColor(edge - 3, py)));
                EXPECT_FALSE(isWhite(shot.pixelColor(edge + 3, py)));
            }
        // Left of the left edge the card shows block (0, 1), right of it block (1, 1).
        int py = std::clamp(y + h / 2, 0, shot.height() - 1);
        if (inside(x - 3, py) && inside(x + 3, py)) {
            double iy = (py - s.originY) * s.scaleValue;
            EXPECT_EQ(shot.pixelColor(x - 3, py), cardColor(150, int(iy)));
            EXPECT_EQ(shot.pixelColor(x + 3, py), cardColor(170, int(iy)));
        }
        EXPECT_GT(checked, 10);
    }

    QWidget host;
    QTDViewer* viewer = nullptr;
    QTDWindow* window = nullptr;
    ImagePtr card;
};

} // namespace

TEST_F(OnScreen, ActualSizeShowsTheMiddleOfTheImageWithBothBars) {
    QTDScreen& s = screen();
    EXPECT_DOUBLE_EQ(s.scaleValue, 1.0);
    EXPECT_DOUBLE_EQ(s.originX, window->width() / 2.0 - 320);
    EXPECT_DOUBLE_EQ(s.originY, window->height() / 2.0 - 240);
    expectBarsMatchTheScreen();
    // Both bars stand beside the window, neither under it.
    ASSERT_FALSE(viewer->horizontalBar()->isHidden() || viewer->verticalBar()->isHidden());
    EXPECT_EQ(window->width() + viewer->verticalBar()->width(), host.width());
    EXPECT_EQ(window->height() + viewer->horizontalBar()->height(), host.height());
    EXPECT_GT(expectCardWhereTheScreenSays(grab()), 300);
}

TEST_F(OnScreen, FitToWindowCentresTheWholeImageAndDropsTheBars) {
    screen().fit(QTDScreen::FitWindow, true);
    settle();
    QTDScreen& s = screen();
    // Without bars the window has the whole host.
    EXPECT_EQ(window->width(), 500);
    EXPECT_EQ(window->height(), 400);
    EXPECT_DOUBLE_EQ(s.scaleValue, std::max(640.0 / 500, 480.0 / 400));
    EXPECT_DOUBLE_EQ(s.originX, 0.0);
    EXPECT_DOUBLE_EQ(s.originY, (400 - 480 / 1.28) / 2);
    expectBarsMatchTheScreen();

    QImage shot = grab();
    EXPECT_EQ(expectCardWhereTheScreenSays(shot), samples) << "every sample is on screen";
    // Grey above and below the image, the image right inside its edges.
    int top = static_cast<int>(std::floor(s.originY));
    int bottom = static_cast<int>(std::ceil(s.originY + s.scaledHeight));
    EXPECT_TRUE(isBackground(shot.pixelColor(250, top - 2)));
    EXPECT_TRUE(isBackground(shot.pixelColor(250, bottom + 1)));
    EXPECT_EQ(shot.pixelColor(1, top + 2), cardColor(0, 0));
    EXPECT_EQ(shot.pixelColor(498, bottom - 2), cardColor(639, 479));
}

TEST_F(OnScreen, ZoomOf200PercentScrollsToWhereTheBarsSayAndFollowsResizes) {
    QTDScreen& s = screen();
    s.fit(QTDScreen::FitNone, true);
    s.scale(0.5, true);
    settle();
    EXPECT_EQ(s.zoom(), 200);
    expectBarsMatchTheScreen();

    // Dragging the bars moves the view.
    viewer->horizontalBar()->setValue(300);
    viewer->verticalBar()->setValue(viewer->verticalBar()->maximum());
    settle();
    EXPECT_DOUBLE_EQ(s.originX, -300.0);
    EXPECT_DOUBLE_EQ(s.originY + s.scaledHeight, window->height()) << "bottom edge reached";
    expectBarsMatchTheScreen();
    QImage shot = grab();
    EXPECT_GT(expectCardWhereTheScreenSays(shot), 100);
    EXPECT_EQ(shot.pixelColor(5, window->height() - 1), cardColor(152, 479)) << "the last row";

    host.resize(700, 560);
    settle();
    EXPECT_EQ(s.windowWidth, window->width());
    EXPECT_DOUBLE_EQ(s.scaleValue, 0.5) << "no fit mode: the scale stays";
    expectBarsMatchTheScreen();
    EXPECT_GT(expectCardWhereTheScreenSays(grab()), 100);
}

TEST_F(OnScreen, ImageRectangleStaysOnItsFeatureThroughZoomFitAndScroll) {
    QTD::PROPERTIES props;
    props = std::map<std::string, std::string>{
        {"cs", "img"}, {"line.clr", "16777215"}, {"update", "1"}};
    QTD::ATTR id = window->setOverlayRect(160, 160, 160, 160, props);
    ASSERT_FALSE(id.empty());
    // As placed, at 200 %, scrolled by the bars' own route, and fitted.
    const std::function<void()> steps[] = {
        [] {}, [&] { screen().scale(0.5, true); },
        [&] { window->setScroll(screen().scrollX - 150, screen().scrollY - 120); },
        [&] { screen().fit(QTDScreen::FitWindow, true); }};
    for (auto& step : steps) {
        step();
        settle();
        expectOutlineOnTheBlock(grab(), id);
    }
}

TEST_F(OnScreen, RulePlacedTextsStandWhereTheirRuleSaysAlsoAfterAResize) {
    screen().fit(QTDScreen::FitWindow, true);
    settle();
    int const rules[7] = {1, 2, 3, 4, 5, 7, 9};
    QTD::ATTR ids[7];
    for (int i = 0; i < 7; ++i) {
        std::string text = "Rule " + std::to_string(rules[i]) + " 25 fps";
        QTD::PROPERTIES props;
        props.set("back.mode", "1", true);
        props.set("text.clr", "0", true);
        ids[i] = window->setOverlayText(const_cast<char*>(text.c_str()), rules[i], -1, props);
        ASSERT_FALSE(ids[i].empty());
    }
    // Two window sizes: the placements follow the window, and the fit is applied again.
    for (QSize size : {QSize(500, 400), QSize(360, 480)}) {
        host.resize(size);
        settle();
        QImage shot = grab();
        int ww = window->width();
        int wh = window->height();
        EXPECT_TRUE(QSize(ww, wh) == size) << "no bars";
        EXPECT_DOUBLE_EQ(screen().scaleValue, std::max(640.0 / ww, 480.0 / wh));
        for (int i = 0; i < 7; ++i) {
            int r = rules[i];
            int w = number(ids[i], "w");
            int h = number(ids[i], "h");
            int wantX = r == 1 || r == 2 ? 4 : r == 3 || r == 4 ? ww - (w + 4) : (ww - w) / 2;
            int wantY = r == 2 || r == 3 || r == 7 ? wh - 2 - h : r == 5 ? (wh - h) / 2 - h : 2;
            EXPECT_EQ(number(ids[i], "x"), wantX) << r << " in " << ww;
            EXPECT_EQ(number(ids[i], "y"), wantY) << r << " in " << ww;
            // Left of the text, inside its box, the white background shows.
            EXPECT_TRUE(isWhite(shot.pixelColor(wantX - 1, wantY - 1))) << r << " in " << ww;
            // The glyphs' rows lie wholly in the text's box, y its top, and so in the window.
            auto [top, bottom] = inkRows(shot, wantX, wantY - h, w, 3 * h);
            EXPECT_GE(top, std::max(wantY, 0)) << r << " in " << ww;
            EXPECT_LT(bottom, std::min(wantY + h, wh)) << r << " in " << ww;
            EXPECT_GE(bottom - top, h / 2) << r << " in " << ww;
        }
    }
}
