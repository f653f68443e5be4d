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
#include <QScrollBar>
#include <QThread>
#include <QWidget>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace WindowTest;

namespace {

// The view as the screen and the bars report it; the test waits until it stops changing.
struct ViewState {
    int windowWidth = 0, windowHeight = 0;
    double originX = 0, originY = 0, scale = 0;
    bool horzShown = false, vertShown = false;
    bool operator==(ViewState const& o) const {
        return windowWidth == o.windowWidth && windowHeight == o.windowHeight &&
               originX == o.originX && originY == o.originY && scale == o.scale &&
               horzShown == o.horzShown && vertShown == o.vertShown;
    }
};

class ViewerOnScreen : public ::testing::Test {
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

    void TearDown() override {
        delete viewer;
        viewer = nullptr;
    }

    ViewState state() {
        ViewState s;
        s.windowWidth = window->width();
        s.windowHeight = window->height();
        s.originX = window->screen->originX;
        s.originY = window->screen->originY;
        s.scale = window->screen->scaleValue;
        s.horzShown = !viewer->horizontalBar()->isHidden();
        s.vertShown = !viewer->verticalBar()->isHidden();
        return s;
    }

    // Runs the event loop until the view has not changed for a while: bars that come or go
    // resize the window, which recalculates the view and may move the bars again.
    void settle() {
        QElapsedTimer clock;
        clock.start();
        ViewState last = state();
        int quiet = 0;
        while (clock.elapsed() < 5000 && quiet < 8) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            QThread::msleep(15);
            ViewState now = state();
            quiet = now == last ? quiet + 1 : 0;
            last = now;
        }
        // One more frame through the ordinary path, then let it reach the X server.
        window->update();
        for (int i = 0; i < 5; ++i) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            QThread::msleep(10);
        }
    }

    // What the X server shows of the render window.
    QImage grab(char const* name) {
        QScreen* display = QGuiApplication::primaryScreen();
        QImage shot =
            display->grabWindow(window->winId()).toImage().convertToFormat(QImage::Format_RGB32);
        if (char const* dir = std::getenv("BRX_WINDOW_GRAB_DIR")) {
            shot.save(QDir(dir).filePath(QString("%1.png").arg(name)));
            display->grabWindow(host.winId())
                .save(QDir(dir).filePath(QString("%1-host.png").arg(name)));
        }
        return shot;
    }

    // Every test-card sample that falls inside the window shows the card's colour at the place
    // the screen's placement gives it; returns how many samples were seen, of `samples`.
    static constexpr int samples = 1200;
    int expectCardWhereTheScreenSays(QImage const& shot) {
        QTDScreen& s = *window->screen;
        EXPECT_EQ(shot.width(), window->width());
        EXPECT_EQ(shot.height(), window->height());
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
                QColor want = cardColor(ix, iy);
                QColor got = shot.pixelColor(wx, wy);
                if (got != want) {
                    ADD_FAILURE() << "image (" << ix << "," << iy << ") at window (" << wx << ","
                                  << wy << "): got " << got.name().toStdString() << ", want "
                                  << want.name().toStdString();
                    return seen;
                }
            }
        return seen;
    }

    static bool isBackground(QColor c) {
        return c.red() == c.green() && c.green() == c.blue() && c.red() >= 185 && c.red() <= 195;
    }

    // The bars carry the screen's figures: range, position in range, page.
    void expectBarsMatchTheScreen() {
        QTDScreen& s = *window->screen;
        QTD::TPAIR<int> page = s.scrollPage();
        QScrollBar* h = viewer->horizontalBar();
        QScrollBar* v = viewer->verticalBar();
        if (s.scrollRangeX >= 1) {
            EXPECT_FALSE(h->isHidden());
            EXPECT_TRUE(h->isEnabled());
            EXPECT_EQ(h->maximum(), s.scrollRangeX);
            EXPECT_EQ(h->value(), s.scrollX);
            EXPECT_EQ(h->pageStep(), page.x);
        } else {
            EXPECT_TRUE(h->isHidden());
            EXPECT_EQ(h->maximum(), 0);
        }
        if (s.scrollRangeY >= 1) {
            EXPECT_FALSE(v->isHidden());
            EXPECT_EQ(v->maximum(), s.scrollRangeY);
            EXPECT_EQ(v->value(), s.scrollY);
            EXPECT_EQ(v->pageStep(), page.y);
        } else {
            EXPECT_TRUE(v->isHidden());
        }
    }

    QWidget host;
    QTDViewer* viewer = nullptr;
    QTDWindow* window = nullptr;
    ImagePtr card;
};

} // namespace

TEST_F(ViewerOnScreen, ActualSizeShowsTheMiddleOfTheImageWithBothBars) {
    QTDScreen& s = *window->screen;
    EXPECT_EQ(s.fit(), QTDScreen::FitActual);
    EXPECT_DOUBLE_EQ(s.scaleValue, 1.0);
    EXPECT_EQ(s.windowWidth, window->width());
    EXPECT_EQ(s.windowHeight, window->height());
    EXPECT_LT(window->width(), 640);
    EXPECT_LT(window->height(), 480);
    EXPECT_DOUBLE_EQ(s.originX, window->width() / 2.0 - 320);
    EXPECT_DOUBLE_EQ(s.originY, window->height() / 2.0 - 240);
    expectBarsMatchTheScreen();
    // Both bars stand beside the window, neither under it.
    QScrollBar* h = viewer->horizontalBar();
    QScrollBar* v = viewer->verticalBar();
    ASSERT_FALSE(h->isHidden());
    ASSERT_FALSE(v->isHidden());
    EXPECT_EQ(window->width() + v->width(), host.width());
    EXPECT_EQ(window->height() + h->height(), host.height());
    EXPECT_LE(viewer->container->geometry().bottom(), h->geometry().top() - 1);

    QImage shot = grab("actual");
    EXPECT_GT(expectCardWhereTheScreenSays(shot), 300);
}

TEST_F(ViewerOnScreen, FitToWindowCentresTheWholeImageAndDropsTheBars) {
    window->screen->fit(QTDScreen::FitWindow, true);
    settle();
    QTDScreen& s = *window->screen;
    EXPECT_TRUE(viewer->horizontalBar()->isHidden());
    EXPECT_TRUE(viewer->verticalBar()->isHidden());
    // Without bars the window has the whole host.
    EXPECT_EQ(window->width(), 500);
    EXPECT_EQ(window->height(), 400);
    EXPECT_DOUBLE_EQ(s.scaleValue, std::max(640.0 / 500, 480.0 / 400));
    EXPECT_DOUBLE_EQ(s.originX, 0.0);
    EXPECT_DOUBLE_EQ(s.originY, (400 - 480 / 1.28) / 2);
    expectBarsMatchTheScreen();

    QImage shot = grab("fit");
    EXPECT_EQ(expectCardWhereTheScreenSays(shot), samples) << "every sample is on screen";
    // Grey above and below the image, the image right inside its edges.
    int top = static_cast<int>(std::floor(s.originY));
    int bottom = static_cast<int>(std::ceil(s.originY + s.scaledHeight));
    EXPECT_TRUE(isBackground(shot.pixelColor(250, top - 2)));
    EXPECT_TRUE(isBackground(shot.pixelColor(250, bottom + 1)));
    EXPECT_EQ(shot.pixelColor(1, top + 2), cardColor(0, 0));
    EXPECT_EQ(shot.pixelColor(498, bottom - 2), cardColor(639, 479));
}

TEST_F(ViewerOnScreen, ZoomOf200PercentScrollsToWhereTheBarsSay) {
    QTDScreen& s = *window->screen;
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

    QImage shot = grab("zoom200");
    EXPECT_GT(expectCardWhereTheScreenSays(shot), 100);
    // Window pixel x shows image column (x + 300) / 2; the last row shows the image's last.
    EXPECT_EQ(shot.pixelColor(30, 10), cardColor(165, static_cast<int>((10 - s.originY) / 2)));
    EXPECT_EQ(shot.pixelColor(5, window->height() - 1), cardColor(152, 479));
}

TEST_F(ViewerOnScreen, ResizesReachTheScreenAndTheFitFollows) {
    QTDScreen& s = *window->screen;
    s.fit(QTDScreen::FitNone, true);
    s.scale(0.5, true);
    settle();
    host.resize(700, 560);
    settle();
    EXPECT_EQ(s.windowWidth, window->width());
    EXPECT_EQ(s.windowHeight, window->height());
    EXPECT_GT(window->width(), 600);
    EXPECT_DOUBLE_EQ(s.scaleValue, 0.5) << "no fit mode: the scale stays";
    expectBarsMatchTheScreen();
    EXPECT_GT(expectCardWhereTheScreenSays(grab("resized-zoom")), 100);

    s.fit(QTDScreen::FitWindow, true);
    settle();
    host.resize(360, 480);
    settle();
    EXPECT_EQ(window->width(), 360);
    EXPECT_EQ(window->height(), 480);
    EXPECT_DOUBLE_EQ(s.scaleValue, 640.0 / 360) << "the fit is applied again";
    QImage shot = grab("resized-fit");
    EXPECT_EQ(expectCardWhereTheScreenSays(shot), samples);
    EXPECT_TRUE(isBackground(shot.pixelColor(180, 3)));
}

TEST_F(ViewerOnScreen, NullImagesEmptyWindowsAndLateImagesDoNotBreakTheFrame) {
    // No image: the window is cleared grey and the bars go.
    viewer->setImage(nullptr, true);
    window->updateScrollParameters(3);
    window->render();
    settle();
    EXPECT_TRUE(viewer->horizontalBar()->isHidden());
    QImage blank = grab("null-image");
    EXPECT_EQ(blank.pixelColor(blank.width() / 2, blank.height() / 2), QColor(128, 128, 128));

    // A window squeezed to nothing draws nothing and comes back.
    viewer->setImage(card.get(), true);
    host.resize(0, 0);
    settle();
    window->resize(0, 0);
    window->render();
    host.resize(400, 300);
    settle();
    EXPECT_GT(expectCardWhereTheScreenSays(grab("regrown")), 100);
}

// Not a limit, a figure: what one CPU frame of the test card costs under Xvfb.
TEST_F(ViewerOnScreen, FrameTimeIsReported) {
    for (int mode : {QTDScreen::FitActual, QTDScreen::FitWindow}) {
        window->screen->fit(mode, true);
        settle();
        QElapsedTimer clock;
        clock.start();
        int const frames = 40;
        for (int i = 0; i < frames; ++i)
            window->render();
        double ms = clock.nsecsElapsed() / 1e6 / frames;
        RecordProperty(mode == QTDScreen::FitActual ? "frame_ms_actual" : "frame_ms_fit",
                       std::to_string(ms));
        std::printf("frame of 640x480 in %dx%d, fit %d: %.2f ms\n", window->width(),
                    window->height(), mode, ms);
    }
}
