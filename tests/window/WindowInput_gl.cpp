#include "WindowTestImages.h"

#include "screen/QTDScreen.h"
#include "window/QTDRender.h"

#include <QCoreApplication>
#include <QCursor>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QThread>
#include <QWidget>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <cmath>

using namespace WindowTest;

namespace {

// A viewer on a real X server, driven through Qt's own input path, with the real pointer where
// the navigator needs one.
class InputOnScreen : public ::testing::Test {
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
        ASSERT_EQ(window->screen->fit(), QTDScreen::FitActual);
    }

    void TearDown() override {
        delete viewer;
        viewer = nullptr;
    }

    void settle(int rounds = 10) {
        for (int i = 0; i < rounds; ++i) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            QThread::msleep(10);
        }
    }

    QTDScreen& screen() { return *window->screen; }

    QPoint global(QPoint local) {
        QTD::TPAIR<int> p{local.x(), local.y()};
        window->window2global(p);
        return QPoint(p.x, p.y);
    }

    // The pointer and the event go to the same place.
    void moveTo(QPoint local) {
        QCursor::setPos(global(local));
        QTest::mouseMove(window, local);
    }

    // The window's pixels as the X server shows them.
    QImage grab() {
        settle(5);
        return QGuiApplication::primaryScreen()
            ->grabWindow(window->winId())
            .toImage()
            .convertToFormat(QImage::Format_RGB32);
    }

    // The image pixel that window pixel `p` shows.
    QPoint imageAt(QPoint p) {
        QTDScreen& s = screen();
        return QPoint(static_cast<int>(std::floor((p.x() + 0.5 - s.originX) * s.scaleValue)),
                      static_cast<int>(std::floor((p.y() + 0.5 - s.originY) * s.scaleValue)));
    }

    QWidget host;
    QTDViewer* viewer = nullptr;
    QTDWindow* window = nullptr;
    ImagePtr card;
};

TEST_F(InputOnScreen, LeftDragPansThePictureByTheDraggedDistance) {
    double x0 = screen().originX, y0 = screen().originY;
    QPoint from(200, 150), to(160, 130);
    QTest::mousePress(window, Qt::LeftButton, Qt::NoModifier, from);
    QTest::mouseMove(window, QPoint(180, 140));
    QTest::mouseMove(window, to);
    QTest::mouseRelease(window, Qt::LeftButton, Qt::NoModifier, to);
    settle();
    EXPECT_DOUBLE_EQ(screen().originX, x0 - 40);
    EXPECT_DOUBLE_EQ(screen().originY, y0 - 20);
    EXPECT_EQ(screen().fit(), QTDScreen::FitNone);
    EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);

    // The picture moved with it: the image pixel under the release point is the one that was
    // under the press.
    QImage shot = grab();
    QPoint img = imageAt(to);
    EXPECT_EQ(shot.pixelColor(to), cardColor(img.x(), img.y()));
}

TEST_F(InputOnScreen, RightDragShowsTheBandAndZoomsToIt) {
    QPoint from(100, 80), to(220, 170);
    QCursor::setPos(global(from));
    QTest::mousePress(window, Qt::RightButton, Qt::NoModifier, from);
    moveTo(QPoint(110, 90));
    ASSERT_TRUE(window->zoomView->isTracking());
    // The overlay trails the band by one step, and Qt drops a move that goes nowhere.
    moveTo(to - QPoint(1, 1));
    moveTo(to);
    EXPECT_EQ(window->zoomView->resultMode, 1);
    EXPECT_EQ(window->cursor().shape(), Qt::CrossCursor);

    // The band stands on screen in its colour, 0x008000.
    QImage shot = grab();

    int green = 0;
    for (int x = from.x() + 5; x < to.x() - 5; ++x)
        if (shot.pixelColor(x, from.y()) == QColor(0, 128, 0))
            ++green;
    EXPECT_GT(green, (to.x() - from.x()) / 2);

    double centreX = (from.x() + 60 - screen().originX) / screen().scaledWidth;
    QTest::mouseRelease(window, Qt::RightButton, Qt::NoModifier, to);
    settle();
    EXPECT_FALSE(window->zoomView->isTracking());
    EXPECT_NEAR(screen().scaleValue, 120.0 / window->width(), 1e-9);
    // The scroll bars take the new view back in whole units, which may move it by a pixel.
    EXPECT_NEAR(screen().centerX, centreX, 1.0 / screen().scaledWidth);
    EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);
    shot = grab();
    for (int x = 10; x < window->width() - 10; x += 7)
        ASSERT_NE(shot.pixelColor(x, window->height() / 2), QColor(0, 128, 0))
            << "the band is gone";
}

} // namespace
