#include "WindowTestImages.h"

#include "core/Messenger.h"
#include "screen/QTDScreen.h"
#include "window/QTDWindow.h"
#include "window/QTDZoom.h"

#include <brx/BrxDisplayCommand.h>

#include <QCoreApplication>
#include <QCursor>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QThread>
#include <QWheelEvent>
#include <QWidget>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

using namespace WindowTest;

namespace {

using Map = std::map<std::string, std::string>;

// Keeps the mouse notifications it gets and answers the left button as told.
class Receiver : public BrxDisplayCommand {
public:
    int RunCommandParams(char const*, Map* params) override {
        std::lock_guard<std::mutex> hold(guard);
        maps.push_back(*params);
        return (*params)["left"] == "1" ? leftAnswer : 0;
    }
    // Waits for the messenger's thread to deliver the n-th map.
    Map nth(size_t n) {
        for (int i = 0; i < 1000; ++i) {
            {
                std::lock_guard<std::mutex> hold(guard);
                if (maps.size() > n)
                    return maps[n];
            }
            QThread::msleep(2);
        }
        return Map();
    }
    size_t count() {
        std::lock_guard<std::mutex> hold(guard);
        return maps.size();
    }
    int leftAnswer = 0;

private:
    std::mutex guard;
    std::vector<Map> maps;
};

// A 400 x 300 window with the 640 x 480 card at actual size: window (x, y) shows image
// (x + 120, y + 90).
class InputWindow : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(window.init());
        window.QWindow::resize(400, 300);
        window.resize(400, 300);
        window.setImage(card.get(), false);
        ASSERT_DOUBLE_EQ(screen().originX, -120);
    }
    void TearDown() override {
        // A release that names no modifier leaves none held for the next test.
        QTest::keyRelease(&window, Qt::Key_Shift, Qt::NoModifier);
        QTest::keyRelease(&window, Qt::Key_Control, Qt::NoModifier);
        window.messenger(nullptr);
        messenger.delCommandProcessor(&receiver);
    }

    QTDScreen& screen() { return *window.screen; }
    void listen() {
        messenger.addCommandProcessor(&receiver);
        window.messenger(&messenger);
    }
    void mouse(QEvent::Type type, Qt::MouseButton button, int x, int y) {
        QMouseEvent e(type, QPointF(x, y), QPointF(x, y), button, button, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &e);
    }
    void press(Qt::MouseButton b, int x, int y) { mouse(QEvent::MouseButtonPress, b, x, y); }
    void release(Qt::MouseButton b, int x, int y) { mouse(QEvent::MouseButtonRelease, b, x, y); }
    // The navigator follows the pointer, not the events: both go to the same place.
    void move(int x, int y) {
        QTD::TPAIR<int> g{x, y};
        window.window2global(g);
        QCursor::setPos(g.x, g.y);
        mouse(QEvent::MouseMove, Qt::NoButton, x, y);
    }
    void key(int code) {
        QKeyEvent e(QEvent::KeyPress, code, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &e);
    }
    void wheel(int delta) {
        QWheelEvent e(QPointF(), QPointF(), QPoint(), QPoint(0, delta), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&window, &e);
    }

    QWidget host;
    QTDWindow window{&host, false};
    ImagePtr card = makeCard();
    QTD::Messenger messenger;
    Receiver receiver;
};

TEST_F(InputWindow, LeftDragPansByTheDistanceAndALostMouseUndoesThePan) {
    press(Qt::LeftButton, 200, 150);
    EXPECT_EQ(screen().fit(), QTDScreen::FitNone) << "a press leaves fit mode at once";
    EXPECT_EQ(window.getProperty("mouse.win.x", ""), "200");
    move(150, 120);
    move(140, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -180) << "distances count from the press";
    EXPECT_DOUBLE_EQ(screen().originY, -140);
    EXPECT_EQ(window.cursor().shape(), Qt::ClosedHandCursor);
    release(Qt::LeftButton, 140, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -180);
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor);

    window.moveBlock = true;
    press(Qt::LeftButton, 200, 150);
    move(100, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -180);
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor);
    release(Qt::LeftButton, 100, 100);

    window.moveBlock = false;
    press(Qt::LeftButton, 200, 150);
    move(150, 150);
    QFocusEvent out(QEvent::FocusOut);
    QCoreApplication::sendEvent(&window, &out);
    EXPECT_DOUBLE_EQ(screen().originX, -180);
    EXPECT_EQ(window.inputMode, 0);
}

TEST_F(InputWindow, RightDragPastFourPixelsZoomsToTheBandAndAShorterOneIsAClick) {
    listen();
    press(Qt::RightButton, 100, 100);
    move(104, 100);
    EXPECT_TRUE(window.rightDown) << "four pixels are still a click";
    move(105, 100);
    ASSERT_TRUE(window.zoomView->isTracking());
    move(180, 160);
    EXPECT_EQ(window.cursor().shape(), Qt::CrossCursor);
    move(180, 160);
    // The overlay trails the band by one step, in window pixels, under the navigator's id.
    QTD::PROPERTIES* shown = window.drawObjects.find(window.zoomView->overlayID, true);
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->text(false), "objectID=" + window.zoomView->overlayID +
                                      " update=1 line.clr=32768 x.cs=100 y.cs=100 w.cs=80 "
                                      "h.cs=60 cs=win type=rect x=100 y=100 w=80 h=60");
    release(Qt::RightButton, 180, 160);
    EXPECT_EQ(window.drawObjects.find(window.zoomView->overlayID, true), nullptr);
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor);
    // The band's width against the window's gives the scale, its centre the view's.
    EXPECT_NEAR(screen().scaleValue, 80.0 / 400.0, 1e-9);
    EXPECT_NEAR(screen().centerX, (140.0 + 120.0) / 640.0, 1e-9);
    EXPECT_NEAR(screen().centerY, (130.0 + 90.0) / 480.0, 1e-9);

    // 100 wide and 19 high: the smaller side counts, and a band is never a click.
    press(Qt::RightButton, 100, 100);
    move(110, 100);
    move(200, 119);
    EXPECT_EQ(window.zoomView->resultMode, 0);
    release(Qt::RightButton, 200, 119);
    EXPECT_NEAR(screen().scaleValue, 0.2, 1e-9);
    EXPECT_EQ(receiver.count(), 0u);

    key(Qt::Key_0);
    key(Qt::Key_1);
    press(Qt::RightButton, 50, 60);
    move(52, 61);
    release(Qt::RightButton, 52, 61);
    QTD::TPAIR<int> g{52, 61};
    window.window2global(g);
    EXPECT_EQ(receiver.nth(0), (Map{{"code", "mouse.down"},
                                    {"left", "0"},
                                    {"win.x", "52"},
                                    {"win.y", "61"},
                                    {"gbl.x", std::to_string(g.x)},
                                    {"gbl.y", std::to_string(g.y)},
                                    {"img.x", "172"},
                                    {"img.y", "151"}}));
}

TEST_F(InputWindow, TheLeftButtonWaitsForTheReceiverWhoseYesTakesTheClick) {
    listen();
    receiver.leftAnswer = 1;
    press(Qt::LeftButton, 10, 20);
    ASSERT_EQ(receiver.count(), 1u) << "delivered before the press returned";
    EXPECT_EQ(receiver.nth(0), (Map{{"code", "mouse.down"},
                                    {"left", "1"},
                                    {"win.x", "10"},
                                    {"win.y", "20"},
                                    {"img.x", "130.000000"},
                                    {"img.y", "110.000000"}}));
    EXPECT_EQ(screen().fit(), QTDScreen::FitActual) << "no pan began";
    move(100, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -120);
    release(Qt::LeftButton, 100, 100);
    EXPECT_EQ(receiver.nth(1)["code"], "mouse.up") << "the release is told all the same";

    // Moves and losses are told with bit 1; a move outside the image still gives numbers.
    window.notificationFlags = 2;
    press(Qt::LeftButton, 30, 40);
    EXPECT_EQ(window.inputMode, 1) << "bit 2 off: nothing waits";
    mouse(QEvent::MouseMove, Qt::NoButton, -7, 8);
    EXPECT_EQ(receiver.nth(2), (Map{{"code", "mouse.move"},
                                    {"win.x", "-7"},
                                    {"win.y", "8"},
                                    {"img.x", "113.000000"},
                                    {"img.y", "98.000000"}}));
    window.mouseFree();
    EXPECT_EQ(receiver.nth(3), (Map{{"code", "mouse.free"}, {"win.x", "30"}, {"win.y", "40"}}));

    // Outside the image a button's image position is "-".
    window.notificationFlags = 4;
    receiver.leftAnswer = 0;
    ImagePtr small = makeCard(100, 50);
    window.setImage(small.get(), false);
    press(Qt::LeftButton, 10, 10);
    EXPECT_EQ(receiver.nth(4)["img.x"], "-");
    EXPECT_EQ(receiver.nth(4)["img.y"], "-");
    // Frames still queued must not find the image gone.
    window.setImage(nullptr, false);
}

TEST_F(InputWindow, DoubleClickWheelAndKeysSteerTheView) {
    mouse(QEvent::MouseButtonDblClick, Qt::RightButton, 300, 200);
    // Through Qt's own path: press, release, press, double click, release; the second press
    // begins a pan that must not undo the centring.
    QTest::mouseDClick(&window, Qt::LeftButton, Qt::NoModifier, QPoint(300, 200));
    EXPECT_DOUBLE_EQ(screen().originX, -220) << "image point (420, 290) at the centre";
    EXPECT_DOUBLE_EQ(screen().originY, -140);

    wheel(960);
    EXPECT_EQ(screen().zoom(), 125) << "one step per event";
    wheel(-120);
    wheel(0);
    EXPECT_EQ(screen().zoom(), 75) << "no direction counts as out";

    window.QWindow::resize(400, 200);
    window.resize(400, 200);
    key(Qt::Key_0);
    EXPECT_DOUBLE_EQ(screen().scaleValue, 2.4);
    key(Qt::Key_2);
    EXPECT_DOUBLE_EQ(screen().scaleValue, 1.6);
    key(Qt::Key_1);
    key(Qt::Key_Plus);
    EXPECT_EQ(screen().zoom(), 125);
    key(Qt::Key_Minus);
    key(Qt::Key_Minus);
    EXPECT_EQ(screen().zoom(), 75);

    window.messenger(&messenger);
    for (int k : {Qt::Key_S, Qt::Key_X, Qt::Key_D})
        key(k);
    EXPECT_EQ(messenger.pending.groups.count("cmd.display.view.status"), 0u);
    for (int k : {Qt::Key_X, Qt::Key_S, Qt::Key_D})
        key(k);
    EXPECT_EQ(messenger.pending.groups.count("cmd.display.view.status"), 1u);
}

TEST_F(InputWindow, ShiftAndControlChooseTheDirectionOfTheBand) {
    press(Qt::RightButton, 100, 100);
    move(110, 100);
    move(180, 160);
    // The key goes to the band alone, and the cursor follows at once.
    QTest::keyPress(&window, Qt::Key_Shift, Qt::ShiftModifier);
    EXPECT_EQ(window.zoomView->resultMode, 2);
    EXPECT_EQ(window.cursor().shape(), Qt::IBeamCursor);
    EXPECT_EQ(window.keyboard.typed, "");
    // The timer notices without any key or move.
    window.zoomView->resultMode = 1;
    QTest::qWait(450);
    EXPECT_EQ(window.zoomView->resultMode, 2);
    release(Qt::RightButton, 180, 160);
    EXPECT_NEAR(screen().scaleValue, 5.0, 1e-9) << "out: the view shrinks into the band";
    QTest::keyRelease(&window, Qt::Key_Shift, Qt::NoModifier);

    key(Qt::Key_1);
    QTest::keyPress(&window, Qt::Key_Control, Qt::ControlModifier);
    press(Qt::RightButton, 200, 150);
    move(170, 150);
    move(170, 155);
    EXPECT_EQ(window.zoomView->resultMode, 2) << "dragged to the left";
    QTest::keyPress(&window, Qt::Key_Shift, Qt::ShiftModifier | Qt::ControlModifier);
    EXPECT_EQ(window.zoomView->resultMode, 2) << "Shift plays no part";
    QTD::TRECT<int> band;
    window.zoomView->trackPosition(&band);
    EXPECT_EQ(band.width, 60);
    EXPECT_EQ(band.height, 46) << "the shape of the window, about the press";
    window.zoomView->props.set("adjust", "0", true);
    window.zoomView->trackPosition(&band);
    EXPECT_EQ(band.height, 10);
    move(230, 150);
    EXPECT_EQ(window.zoomView->resultMode, 1) << "dragged to the right";
    move(170, 151);
    window.mouseFree();
    EXPECT_FALSE(window.zoomView->isTracking());
    EXPECT_NEAR(screen().scaleValue, 400.0 / 60.0, 1e-9) << "a lost band still applies";
}

TEST(QTDWindowInput, NothingBreaksBeforeInitAfterShutOrWithoutSize) {
    QWidget host;
    QTDWindow window(&host, false);
    ImagePtr card = makeCard();
    auto everything = [&window] {
        for (auto b : {Qt::LeftButton, Qt::RightButton})
            for (auto type : {QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseMove,
                              QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease}) {
                QCursor::setPos(QCursor::pos() + QPoint(30, 30));
                QMouseEvent e(type, QPointF(5, 5), QPointF(5, 5), b, b, Qt::NoModifier);
                QCoreApplication::sendEvent(&window, &e);
            }
        QWheelEvent w(QPointF(), QPointF(), QPoint(), QPoint(0, 1), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&window, &w);
        for (int k : {Qt::Key_0, Qt::Key_Plus, Qt::Key_S, Qt::Key_D}) {
            QKeyEvent e(QEvent::KeyPress, k, Qt::NoModifier);
            QCoreApplication::sendEvent(&window, &e);
        }
        window.mouseFree();
    };
    window.setImage(card.get(), false);
    everything();
    // A screen without a window size is not ready; then half-way through a pan and a band.
    ASSERT_TRUE(window.init());
    everything();
    EXPECT_DOUBLE_EQ(window.screen->scaleValue, 1.0);
    window.resize(200, 100);
    window.mouseDown(5, 5, true, 0);
    window.shut();
    everything();
    ASSERT_TRUE(window.init());
    window.resize(200, 100);
    window.mouseDown(5, 5, false, 0);
    window.mouseMove(60, 60, 0);
    ASSERT_TRUE(window.zoomView->isTracking());
    window.shut();
    everything();

    // Without a parent widget there is nothing to track against.
    QTDWindow orphan(nullptr, false);
    ASSERT_TRUE(orphan.init());
    EXPECT_FALSE(orphan.zoomView->beginTrack(nullptr, nullptr, 0));
    QTD::TRECT<int> rect;
    orphan.zoomView->trackPosition(&rect).draw(&rect).endTrack(&rect);
    EXPECT_FALSE(orphan.zoomView->keyDown(Qt::Key_A));
}

} // namespace
