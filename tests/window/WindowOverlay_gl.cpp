// Overlays on screen: a rectangle given in image pixels stays around its image feature through
// zoom and scroll, and rule-placed texts stand where their rule puts them, also after a resize.

#include "WindowTestImages.h"

#include "screen/QTDScreen.h"
#include "window/QTDRender.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QThread>
#include <QWidget>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

using namespace WindowTest;

namespace {

QTD::PROPERTIES bagOf(std::initializer_list<std::pair<char const*, char const*>> rows) {
    QTD::PROPERTIES bag;
    for (auto& row : rows)
        bag.set(row.first, row.second, true);
    return bag;
}

bool isWhite(QColor c) {
    return c.red() == 255 && c.green() == 255 && c.blue() == 255;
}

bool isDark(QColor c) {
    return c.red() < 100 && c.green() < 100 && c.blue() < 100;
}

class OverlayOnScreen : public ::testing::Test {
protected:
    void SetUp() override {
        host.resize(500, 400);
        viewer = new QTDViewer(&host, false);
        ASSERT_NE(viewer->window, nullptr);
        window = viewer->window;
        host.show();
        card = makeCard();
        viewer->setImage(card.get(), true);
        settle();
        ASSERT_TRUE(window->isExposed());
    }

    void TearDown() override { delete viewer; }

    // Lets resizes, bars and frames run out, then draws one more frame through the queue.
    void settle() {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < 400) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            QThread::msleep(10);
        }
        window->update();
        for (int i = 0; i < 5; ++i) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            QThread::msleep(10);
        }
    }

    QImage grab(char const* name) {
        QImage shot = QGuiApplication::primaryScreen()
                          ->grabWindow(window->winId())
                          .toImage()
                          .convertToFormat(QImage::Format_RGB32);
        if (char const* dir = std::getenv("BRX_WINDOW_GRAB_DIR"))
            shot.save(QDir(dir).filePath(QString("overlay-%1.png").arg(name)));
        return shot;
    }

    int number(QTD::ATTR const& id, char const* key) {
        return window->drawObjects.find(id, true)->getAs<int>(key);
    }

    // The window position of image pixel edge (ix, iy), from the screen's placement.
    QPoint windowOf(double ix, double iy) {
        QTDScreen& s = *window->screen;
        return QPoint(int(std::lround(s.originX + ix / s.scaleValue)),
                      int(std::lround(s.originY + iy / s.scaleValue)));
    }

    // The white outline of the rectangle around the card's block (1, 1), image (160..320), lies
    // on the block's edges: the card's own colours on either side of it.
    void expectOutlineOnTheBlock(QImage const& shot, QTD::ATTR const& id) {
        QPoint topLeft = windowOf(160, 160);
        QPoint bottomRight = windowOf(320, 320);
        EXPECT_NEAR(number(id, "x"), topLeft.x(), 1);
        EXPECT_NEAR(number(id, "y"), topLeft.y(), 1);
        EXPECT_NEAR(number(id, "x") + number(id, "w"), bottomRight.x(), 1);
        int x = number(id, "x");
        int y = number(id, "y");
        int w = number(id, "w");
        int h = number(id, "h");
        auto inside = [&shot](int px, int py) {
            return px >= 0 && py >= 0 && px < shot.width() && py < shot.height();
        };
        int checked = 0;
        for (int py = y + 4; py < y + h - 4; py += 7) {
            for (int edge : {x, x + w}) {
                if (!inside(edge, py) || !inside(edge - 3, py) || !inside(edge + 3, py))
                    continue;
                ++checked;
                EXPECT_TRUE(isWhite(shot.pixelColor(edge, py))) << edge << "," << py;
                EXPECT_FALSE(isWhite(shot.pixelColor(edge - 3, py)));
                EXPECT_FALSE(isWhite(shot.pixelColor(edge + 3, py)));
            }
        }
        // Left of the left edge the card shows block (0, 1), right of it block (1, 1).
        int py = std::clamp(y + h / 2, 0, shot.height() - 1);
        if (inside(x - 3, py) && inside(x + 3, py)) {
            QTDScreen& s = *window->screen;
            double iy = (py - s.originY) * s.scaleValue;
            EXPECT_EQ(shot.pixelColor(x - 3, py), cardColor(150, int(iy)));
            EXPECT_EQ(shot.pixelColor(x + 3, py), cardColor(170, int(iy)));
        }
        EXPECT_GT(checked, 10);
    }

    // The white background of a placed text covers (max(x - 2, 0), y - h, w + 4, h) as far as
    // it lies in the window, and holds the dark text.
    void expectBackgroundWhereTheRuleSays(QImage const& shot, QTD::ATTR const& id) {
        int x = number(id, "x");
        int y = number(id, "y");
        int w = number(id, "w");
        int h = number(id, "h");
        int left = std::max(x - 2, 0);
        int top = std::max(y - h, 0);
        int right = std::min(left + w + 4, shot.width());
        int bottom = std::min(y, shot.height());
        ASSERT_LT(top, bottom) << id;
        int white = 0;
        int dark = 0;
        for (int py = top; py < bottom; ++py)
            for (int px = left; px < right; ++px) {
                QColor c = shot.pixelColor(px, py);
                white += isWhite(c);
                dark += isDark(c);
            }
        int area = (right - left) * (bottom - top);
        EXPECT_GT(white, area / 2) << id;
        EXPECT_GT(dark, 0) << id;
        // Just outside the box the card shows through.
        if (bottom + 1 < shot.height()) {
            EXPECT_FALSE(isWhite(shot.pixelColor(left + 2, bottom + 1))) << id;
        }
        if (right + 1 < shot.width()) {
            EXPECT_FALSE(isWhite(shot.pixelColor(right + 1, (top + bottom) / 2))) << id;
        }
    }

    QWidget host;
    QTDViewer* viewer = nullptr;
    QTDWindow* window = nullptr;
    ImagePtr card;
};

} // namespace

TEST_F(OverlayOnScreen, ImageRectangleStaysOnItsFeatureThroughZoomFitAndScroll) {
    QTD::PROPERTIES props = bagOf({{"cs", "img"}, {"line.clr", "16777215"}, {"update", "1"}});
    QTD::ATTR id = window->setOverlayRect(160, 160, 160, 160, props);
    ASSERT_FALSE(id.empty());
    settle();
    expectOutlineOnTheBlock(grab("actual"), id);

    window->screen->scale(0.5, true);
    settle();
    EXPECT_EQ(number(id, "w"), 320);
    expectOutlineOnTheBlock(grab("zoom200"), id);

    // Scrolled by the bars' own route.
    window->setScroll(window->screen->scrollX - 150, window->screen->scrollY - 120);
    settle();
    expectOutlineOnTheBlock(grab("zoom200-scrolled"), id);

    window->screen->fit(QTDScreen::FitWindow, true);
    settle();
    expectOutlineOnTheBlock(grab("fit"), id);
}

TEST_F(OverlayOnScreen, RulePlacedTextsStandWhereTheirRuleSays) {
    window->screen->fit(QTDScreen::FitWindow, true);
    settle();
    QTD::ATTR ids[7];
    int rules[7] = {1, 2, 3, 4, 5, 7, 9};
    for (int i = 0; i < 7; ++i) {
        std::string text = "Rule " + std::to_string(rules[i]) + " 25 fps";
        QTD::PROPERTIES props = bagOf({{"back.mode", "1"}, {"text.clr", "0"}});
        ids[i] = window->setOverlayText(const_cast<char*>(text.c_str()), rules[i], -1, props);
        ASSERT_FALSE(ids[i].empty());
    }
    settle();
    QImage shot = grab("rules");
    int ww = window->width();
    int wh = window->height();
    for (int i = 0; i < 7; ++i) {
        int w = number(ids[i], "w");
        int h = number(ids[i], "h");
        int x = number(ids[i], "x");
        int y = number(ids[i], "y");
        int wantX = rules[i] == 1 || rules[i] == 2   ? 4
                    : rules[i] == 3 || rules[i] == 4 ? ww - (w + 4)
                                                     : (ww - w) / 2;
        int wantY = rules[i] == 2 || rules[i] == 3 || rules[i] == 7 ? wh - 2 - h
                    : rules[i] == 5                                 ? (wh - h) / 2 - h
                                                                    : 2;
        EXPECT_EQ(x, wantX) << rules[i];
        EXPECT_EQ(y, wantY) << rules[i];
        // The top rules' boxes lie above the window but for their last rows.
        if (y > 2) {
            expectBackgroundWhereTheRuleSays(shot, ids[i]);
        } else {
            int white = 0;
            for (int px = std::max(x - 2, 0); px < x + w + 2; ++px)
                white += isWhite(shot.pixelColor(px, 0));
            EXPECT_GT(white, w / 2) << rules[i];
            EXPECT_FALSE(isWhite(shot.pixelColor(x + w / 2, y + 12))) << rules[i];
        }
    }

    // A larger host: the placements follow the window.
    host.resize(640, 460);
    settle();
    QImage larger = grab("rules-resized");
    EXPECT_NE(window->width(), ww);
    for (int i = 0; i < 7; ++i) {
        if (rules[i] == 3) {
            EXPECT_EQ(number(ids[i], "x"), window->width() - (number(ids[i], "w") + 4));
            EXPECT_EQ(number(ids[i], "y"), window->height() - 2 - number(ids[i], "h"));
        }
        if (number(ids[i], "y") > 2) {
            expectBackgroundWhereTheRuleSays(larger, ids[i]);
        }
    }
}
