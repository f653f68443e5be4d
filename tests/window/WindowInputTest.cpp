#include "WindowTestImages.h"

#include "core/Messenger.h"
#include "screen/QTDScreen.h"
#include "window/QTDWindow.h"
#include "window/QTDZoom.h"

#include <brx/BrxDisplayCommand.h>

#include <QCoreApplication>
#include <QCursor>
#include <QElapsedTimer>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QThread>
#include <QTimer>
#include <QWheelEvent>
#include <QWidget>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

using namespace WindowTest;

namespace {

using Map = std::map<std::string, std::string>;

// A receiver of notifications that keeps what it gets and answers the left button as told.
class Receiver : public BrxDisplayCommand {
public:
    int RunCommandParams(char const* command, Map* params) override {
        std::lock_guard<std::mutex> hold(guard);
        Map copy = params ? *params : Map();
        calls.emplace_back(command, copy);
        return copy["left"] == "1" ? leftAnswer : 0;
    }
    std::vector<std::pair<std::string, Map>> received() {
        std::lock_guard<std::mutex> hold(guard);
        return calls;
    }
    void forget() {
        std::lock_guard<std::mutex> hold(guard);
        calls.clear();
    }
    // Waits for the messenger's thread to deliver a call that `match` accepts.
    bool waitFor(std::function<bool(std::string const&, Map const&)> match, Map* found = nullptr) {
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < 3000) {
            for (auto const& call : received())
                if (match(call.first, call.second)) {
                    if (found)
                        *found = call.second;
                    return true;
                }
            QThread::msleep(2);
        }
        return false;
    }

    int leftAnswer = 0;

private:
    std::mutex guard;
    std::vector<std::pair<std::string, Map>> calls;
};

bool isMouse(std::string const& command, Map const&) {
    return command == "notification.mouse";
}

void pump() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents);
}

// A 400 x 300 window with the 640 x 480 card at actual size: the image's origin lies at
// (-120, -90), so window (x, y) shows image (x + 120, y + 90).
class InputWindow : public ::testing::Test {
protected:
    void SetUp() override { build(400, 300); }

    void build(int width, int height) {
        ASSERT_TRUE(window.init());
        window.QWindow::resize(width, height);
        window.resize(width, height);
        card = makeCard();
        window.setImage(card.get(), false);
        ASSERT_DOUBLE_EQ(screen().originX, width / 2.0 - 320);
    }

    void TearDown() override {
        letGo(Qt::Key_Shift);
        letGo(Qt::Key_Control);
        EXPECT_EQ(QGuiApplication::keyboardModifiers(), Qt::NoModifier);
        window.messenger(nullptr);
        messenger.delCommandProcessor(&receiver);
    }

    QTDScreen& screen() { return *window.screen; }

    void listen() {
        messenger.addCommandProcessor(&receiver);
        window.messenger(&messenger);
    }

    void mouse(QEvent::Type type, Qt::MouseButton button, int x, int y) {
        QTD::TPAIR<int> global{x, y};
        window.window2global(global);
        Qt::MouseButtons buttons = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
        QMouseEvent e(type, QPointF(x, y), QPointF(global.x, global.y), button, buttons,
                      Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &e);
    }
    void press(Qt::MouseButton b, int x, int y) { mouse(QEvent::MouseButtonPress, b, x, y); }
    void release(Qt::MouseButton b, int x, int y) { mouse(QEvent::MouseButtonRelease, b, x, y); }
    void move(int x, int y) { mouse(QEvent::MouseMove, Qt::NoButton, x, y); }

    // The navigator follows the cursor itself, not the events: both go to the same place.
    void dragTo(int x, int y) {
        QTD::TPAIR<int> global{x, y};
        window.window2global(global);
        QCursor::setPos(global.x, global.y);
        move(x, y);
    }

    void key(int code) {
        QKeyEvent e(QEvent::KeyPress, code, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &e);
    }

    // Through Qt's own key path, which keeps the application's modifier state. A release that
    // names no modifier leaves none held.
    void hold(Qt::Key k, Qt::KeyboardModifiers state) { QTest::keyPress(&window, k, state); }
    void letGo(Qt::Key k) { QTest::keyRelease(&window, k, Qt::NoModifier); }

    void wheel(int delta) {
        QWheelEvent e(QPointF(10, 10), QPointF(10, 10), QPoint(), QPoint(0, delta), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&window, &e);
    }

    QWidget host;
    QTDWindow window{&host, false};
    ImagePtr card;
    QTD::Messenger messenger;
    Receiver receiver;
};

TEST_F(InputWindow, LeftDragPansByTheDraggedDistanceAndKeepsTheView) {
    press(Qt::LeftButton, 200, 150);
    EXPECT_EQ(window.inputMode, 1);
    EXPECT_EQ(screen().fit(), QTDScreen::FitNone) << "a press leaves fit mode before any move";
    EXPECT_EQ(window.getProperty("mouse.win.x", ""), "200");
    EXPECT_EQ(window.getProperty("mouse.win.y", ""), "150");

    move(150, 120);
    EXPECT_DOUBLE_EQ(screen().originX, -170);
    EXPECT_DOUBLE_EQ(screen().originY, -120);
    EXPECT_EQ(window.cursor().shape(), Qt::ClosedHandCursor);
    move(140, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -180) << "distances count from the press";
    EXPECT_DOUBLE_EQ(screen().originY, -140);

    release(Qt::LeftButton, 140, 100);
    EXPECT_EQ(window.inputMode, 0);
    EXPECT_FALSE(window.mouseGrabbed);
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor);
    EXPECT_DOUBLE_EQ(screen().originX, -180);
    EXPECT_EQ(screen().lockX, -1);

    // A pan stops where the image would leave a gap.
    press(Qt::LeftButton, 10, 10);
    move(400, 300);
    EXPECT_DOUBLE_EQ(screen().originX, 0);
    EXPECT_DOUBLE_EQ(screen().originY, 0);
    release(Qt::LeftButton, 400, 300);
}

TEST_F(InputWindow, BlockedMovesAndLostFocusLeaveTheViewWhereThePanBegan) {
    window.moveBlock = true;
    press(Qt::LeftButton, 200, 150);
    move(100, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -120);
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor);
    release(Qt::LeftButton, 100, 100);

    window.moveBlock = false;
    press(Qt::LeftButton, 200, 150);
    move(100, 100);
    ASSERT_DOUBLE_EQ(screen().originX, -220);
    QFocusEvent out(QEvent::FocusOut);
    QCoreApplication::sendEvent(&window, &out);
    EXPECT_DOUBLE_EQ(screen().originX, -120);
    EXPECT_DOUBLE_EQ(screen().originY, -90);
    EXPECT_EQ(window.inputMode, 0);
    // The release that follows finds no pan.
    release(Qt::LeftButton, 100, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -120);
}

TEST_F(InputWindow, RightDragPastFourPixelsZoomsToTheBand) {
    press(Qt::RightButton, 100, 100);
    EXPECT_TRUE(window.rightDown);
    dragTo(104, 100);
    EXPECT_TRUE(window.rightDown) << "four pixels are still a click";
    EXPECT_FALSE(window.zoomView->isTracking());
    dragTo(105, 100);
    EXPECT_EQ(window.inputMode, 2);
    EXPECT_FALSE(window.rightDown);
    ASSERT_TRUE(window.zoomView->isTracking());
    EXPECT_EQ(window.zoomView->resultMode, 0);

    dragTo(180, 160);
    EXPECT_EQ(window.zoomView->resultMode, 1);
    EXPECT_EQ(window.cursor().shape(), Qt::CrossCursor);
    QTD::TPAIR<int> anchor{100, 100};
    window.window2global(anchor);
    EXPECT_EQ(window.zoomView->band.x, anchor.x);
    EXPECT_EQ(window.zoomView->band.width, 80);
    EXPECT_EQ(window.zoomView->band.height, 60);

    // The overlay trails the band by one step, in window pixels, under the navigator's id.
    EXPECT_EQ(window.drawObjects.find(window.zoomView->overlayID, true)->get("w"), "0");
    dragTo(180, 160);
    QTD::PROPERTIES* shown = window.drawObjects.find(window.zoomView->overlayID, true);
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->get("x"), "100");
    EXPECT_EQ(shown->get("y"), "100");
    EXPECT_EQ(shown->get("w"), "80");
    EXPECT_EQ(shown->get("h"), "60");
    EXPECT_EQ(shown->get("line.clr"), "32768");

    release(Qt::RightButton, 180, 160);
    EXPECT_EQ(window.drawObjects.find(window.zoomView->overlayID, true), nullptr);
    EXPECT_FALSE(window.zoomView->isTracking());
    EXPECT_EQ(window.inputMode, 0);
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor);
    // The band's width against the window's sets the scale, its centre the view's centre.
    EXPECT_NEAR(screen().scaleValue, 80.0 / 400.0, 1e-9);
    EXPECT_NEAR(screen().centerX, (140.0 + 120.0) / 640.0, 1e-9);
    EXPECT_NEAR(screen().centerY, (130.0 + 90.0) / 480.0, 1e-9);
    EXPECT_EQ(screen().fit(), QTDScreen::FitNone);
}

TEST_F(InputWindow, ABandBelowTheSkipSizeDoesNothingAndIsNoClick) {
    listen();
    press(Qt::RightButton, 100, 100);
    dragTo(200, 119); // 100 wide, 19 high: the smaller side counts
    EXPECT_EQ(window.zoomView->resultMode, 0);
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor);
    release(Qt::RightButton, 200, 119);
    EXPECT_DOUBLE_EQ(screen().scaleValue, 1.0);
    EXPECT_DOUBLE_EQ(screen().originX, -120);
    QThread::msleep(30);
    EXPECT_TRUE(receiver.received().empty()) << "a band is no right click";

    // With "skip.track" 0 every band counts.
    window.zoomView->props.set("skip.track", "0", true);
    press(Qt::RightButton, 100, 100);
    dragTo(110, 100);
    dragTo(200, 110);
    EXPECT_EQ(window.zoomView->resultMode, 1);
    release(Qt::RightButton, 200, 110);
    EXPECT_NEAR(screen().scaleValue, 0.25, 1e-9);
}

TEST_F(InputWindow, PlainRightClickIsToldAtTheReleaseWithGlobalAndRoundedImagePosition) {
    listen();
    press(Qt::RightButton, 50, 60);
    dragTo(52, 61);
    release(Qt::RightButton, 52, 61);
    EXPECT_FALSE(window.rightDown);
    Map map;
    ASSERT_TRUE(receiver.waitFor(isMouse, &map));
    QTD::TPAIR<int> global{52, 61};
    window.window2global(global);
    Map want{{"code", "mouse.down"},
             {"left", "0"},
             {"win.x", "52"},
             {"win.y", "61"},
             {"gbl.x", std::to_string(global.x)},
             {"gbl.y", std::to_string(global.y)},
             {"img.x", "172"},
             {"img.y", "151"}};
    EXPECT_EQ(map, want);
    EXPECT_DOUBLE_EQ(screen().scaleValue, 1.0);
}

TEST_F(InputWindow, LeftButtonWaitsForTheReceiverWhoseYesTakesTheClick) {
    listen();
    receiver.leftAnswer = 1;
    press(Qt::LeftButton, 10, 20);
    // Delivered before the press returned.
    std::vector<std::pair<std::string, Map>> calls = receiver.received();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].first, "notification.mouse");
    Map down{{"code", "mouse.down"}, {"left", "1"},           {"win.x", "10"},
             {"win.y", "20"},        {"img.x", "130.000000"}, {"img.y", "110.000000"}};
    EXPECT_EQ(calls[0].second, down);
    EXPECT_EQ(window.inputMode, 0) << "the application took the click";
    EXPECT_EQ(screen().fit(), QTDScreen::FitActual);
    move(100, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -120);

    release(Qt::LeftButton, 100, 100);
    calls = receiver.received();
    ASSERT_EQ(calls.size(), 2u) << "the release is told all the same";
    Map up{{"code", "mouse.up"}, {"left", "1"},           {"win.x", "100"},
           {"win.y", "100"},     {"img.x", "220.000000"}, {"img.y", "190.000000"}};
    EXPECT_EQ(calls[1].second, up);

    // A "no" lets the pan go on.
    receiver.leftAnswer = 0;
    press(Qt::LeftButton, 200, 150);
    move(190, 150);
    EXPECT_DOUBLE_EQ(screen().originX, -130);
    release(Qt::LeftButton, 190, 150);

    // Outside the image the image position is "-".
    receiver.forget();
    window.setImage(nullptr, false);
    ImagePtr small = makeCard(100, 50);
    window.setImage(small.get(), false);
    ASSERT_GT(screen().originX, 10);
    press(Qt::LeftButton, 10, 10);
    calls = receiver.received();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].second["img.x"], "-");
    EXPECT_EQ(calls[0].second["img.y"], "-");
    release(Qt::LeftButton, 10, 10);
}

TEST_F(InputWindow, MovesAndLossesAreToldOnlyWithTheirBit) {
    listen();
    move(5, 6);
    QThread::msleep(30);
    EXPECT_TRUE(receiver.received().empty()) << "bit 1 is off by default";
    window.mouseFree();
    EXPECT_TRUE(receiver.received().empty());

    window.notificationFlags = 2;
    move(7, 8);
    Map map;
    ASSERT_TRUE(receiver.waitFor(isMouse, &map));
    // Outside the image too, a move gives numbers.
    Map want{{"code", "mouse.move"},
             {"win.x", "7"},
             {"win.y", "8"},
             {"img.x", "127.000000"},
             {"img.y", "98.000000"}};
    EXPECT_EQ(map, want);

    // Bit 2 off: the press is not told and nothing waits.
    receiver.forget();
    receiver.leftAnswer = 1;
    press(Qt::LeftButton, 30, 40);
    EXPECT_EQ(window.inputMode, 1);
    move(20, 40);
    // Losing the mouse is told by bit 1.
    window.mouseFree();
    bool told = false;
    for (auto const& call : receiver.received())
        if (call.second.count("code") && call.second.at("code") == "mouse.free") {
            Map free{{"code", "mouse.free"}, {"win.x", "30"}, {"win.y", "40"}};
            EXPECT_EQ(call.second, free);
            told = true;
        }
    EXPECT_TRUE(told);
}

TEST_F(InputWindow, DoubleClickCentresTheClickedPoint) {
    mouse(QEvent::MouseButtonDblClick, Qt::RightButton, 300, 200);
    EXPECT_DOUBLE_EQ(screen().originX, -120) << "only the left button centres";
    mouse(QEvent::MouseButtonDblClick, Qt::LeftButton, 300, 200);
    // Image point (420, 290) now lies at the window's centre (200, 150).
    EXPECT_DOUBLE_EQ(screen().originX, -220);
    EXPECT_DOUBLE_EQ(screen().originY, -140);
}

TEST_F(InputWindow, WheelStepsThroughTheZoomTableOneStepPerEvent) {
    wheel(120);
    EXPECT_NEAR(screen().scaleValue, 0.8, 1e-6);
    wheel(960);
    EXPECT_NEAR(screen().scaleValue, 100.0 / 150, 1e-6);
    wheel(-120);
    wheel(-120);
    EXPECT_NEAR(screen().scaleValue, 1.0, 1e-6);
    wheel(0); // no direction counts as out
    EXPECT_NEAR(screen().scaleValue, 100.0 / 75, 1e-6);
    EXPECT_EQ(screen().fit(), QTDScreen::FitNone);
    EXPECT_DOUBLE_EQ(screen().centerX, 0.5) << "the centre stays";
}

TEST_F(InputWindow, KeysSwitchFitAndZoomAndTypedSequencesRunCommands) {
    window.QWindow::resize(400, 200);
    window.resize(400, 200);
    key(Qt::Key_0);
    EXPECT_EQ(screen().fit(), QTDScreen::FitWindow);
    EXPECT_DOUBLE_EQ(screen().scaleValue, 2.4);
    key(Qt::Key_2);
    EXPECT_EQ(screen().fit(), QTDScreen::FillWindow);
    EXPECT_DOUBLE_EQ(screen().scaleValue, 1.6);
    key(Qt::Key_1);
    EXPECT_EQ(screen().fit(), QTDScreen::FitActual);
    EXPECT_DOUBLE_EQ(screen().scaleValue, 1.0);
    key(Qt::Key_Plus);
    EXPECT_NEAR(screen().scaleValue, 0.8, 1e-6);
    EXPECT_EQ(screen().fit(), QTDScreen::FitNone);
    key(Qt::Key_Minus);
    key(Qt::Key_Minus);
    EXPECT_NEAR(screen().scaleValue, 100.0 / 75, 1e-6);

    window.messenger(&messenger);
    for (int k : {Qt::Key_S, Qt::Key_X, Qt::Key_D})
        key(k);
    EXPECT_EQ(messenger.pending.groups.count("cmd.display.view.status"), 0u);
    for (int k : {Qt::Key_X, Qt::Key_S, Qt::Key_D})
        key(k);
    EXPECT_EQ(messenger.pending.groups.count("cmd.display.view.status"), 1u);
    key(Qt::Key_S);
    key(Qt::Key_I);
    EXPECT_EQ(messenger.pending.groups.count("cmd.display.view.info"), 1u);
}

TEST_F(InputWindow, ShiftTurnsABandIntoAZoomOutEvenWithoutMoving) {
    press(Qt::RightButton, 100, 100);
    dragTo(110, 100);
    dragTo(180, 160);
    ASSERT_EQ(window.zoomView->resultMode, 1);
    // Shift goes down: the key itself is swallowed by the band, and the cursor follows at once.
    hold(Qt::Key_Shift, Qt::ShiftModifier);
    ASSERT_TRUE(QGuiApplication::keyboardModifiers() & Qt::ShiftModifier);
    EXPECT_EQ(window.zoomView->resultMode, 2);
    EXPECT_EQ(window.cursor().shape(), Qt::IBeamCursor);
    EXPECT_EQ(window.keyboard.typed, "") << "the window never saw the key";
    letGo(Qt::Key_Shift);
    ASSERT_FALSE(QGuiApplication::keyboardModifiers() & Qt::ShiftModifier);
    // The timer notices too.
    hold(Qt::Key_Shift, Qt::ShiftModifier);
    window.zoomView->resultMode = 1;
    QTest::qWait(450);
    EXPECT_EQ(window.zoomView->resultMode, 2);
    EXPECT_EQ(window.zoomView->shownMode, 2);

    release(Qt::RightButton, 180, 160);
    letGo(Qt::Key_Shift);
    // Zoom out: the view becomes the band, five times larger a scale.
    EXPECT_NEAR(screen().scaleValue, 5.0, 1e-9);
    EXPECT_FALSE(window.zoomView->timer->isActive());
}

TEST_F(InputWindow, ControlGrowsTheBandAboutThePressAndItsDirectionDecides) {
    hold(Qt::Key_Control, Qt::ControlModifier);
    ASSERT_TRUE(QGuiApplication::keyboardModifiers() & Qt::ControlModifier);
    press(Qt::RightButton, 200, 150);
    dragTo(170, 150);
    ASSERT_TRUE(window.zoomView->isTracking());
    EXPECT_EQ(window.zoomView->centered, 1);
    dragTo(170, 155);
    // 30 pixels to the left: zoom out, and Shift changes nothing.
    hold(Qt::Key_Shift, Qt::ShiftModifier | Qt::ControlModifier);
    EXPECT_EQ(window.zoomView->resultMode, 2);
    QTD::TRECT<int> band;
    window.zoomView->trackPosition(&band);
    QTD::TPAIR<int> anchor{200, 150};
    window.window2global(anchor);
    QTD::TRECT<int> view = window.windowRect(false);
    int halfHeight = static_cast<int>(30.0 * view.height / view.width + 0.5);
    EXPECT_EQ(band.x, anchor.x - 30);
    EXPECT_EQ(band.width, 60);
    EXPECT_EQ(band.y, anchor.y - halfHeight) << "the band keeps the window's shape";
    EXPECT_EQ(band.height, 2 * halfHeight);

    window.zoomView->props.set("adjust", "0", true);
    window.zoomView->trackPosition(&band);
    EXPECT_EQ(band.height, 10);
    dragTo(230, 150);
    EXPECT_EQ(window.zoomView->resultMode, 1) << "to the right zooms in";
    dragTo(190, 150);
    EXPECT_EQ(window.zoomView->resultMode, 0) << "below the skip size";
    dragTo(170, 150);
    release(Qt::RightButton, 170, 150);
    letGo(Qt::Key_Shift);
    letGo(Qt::Key_Control);
    // Out: scale times the window's width over the band's.
    EXPECT_NEAR(screen().scaleValue, 400.0 / 60.0, 1e-9);
}

TEST_F(InputWindow, ALostBandStillAppliesItsRectangle) {
    press(Qt::RightButton, 100, 100);
    dragTo(110, 110);
    dragTo(180, 160);
    ASSERT_TRUE(window.zoomView->isTracking());
    EXPECT_TRUE(window.mouseFree());
    EXPECT_FALSE(window.zoomView->isTracking());
    EXPECT_NEAR(screen().scaleValue, 0.2, 1e-9);
    EXPECT_EQ(window.inputMode, 0);
}

TEST(QTDWindowInput, NothingBreaksBeforeInitAfterShutOrWithoutSize) {
    QWidget host;
    QTDWindow window(&host, false);
    ImagePtr card = makeCard();
    auto everything = [&window] {
        for (auto b : {Qt::LeftButton, Qt::RightButton}) {
            for (auto type : {QEvent::MouseButtonPress, QEvent::MouseMove,
                              QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease}) {
                QMouseEvent e(type, QPointF(5, 5), QPointF(5, 5), b, b, Qt::NoModifier);
                QCoreApplication::sendEvent(&window, &e);
            }
            QMouseEvent move(QEvent::MouseMove, QPointF(50, 5), QPointF(50, 5), Qt::NoButton, b,
                             Qt::NoModifier);
            QCoreApplication::sendEvent(&window, &move);
        }
        QWheelEvent w(QPointF(1, 1), QPointF(1, 1), QPoint(), QPoint(0, 120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&window, &w);
        for (int k : {Qt::Key_0, Qt::Key_Plus, Qt::Key_S, Qt::Key_D}) {
            QKeyEvent e(QEvent::KeyPress, k, Qt::NoModifier);
            QCoreApplication::sendEvent(&window, &e);
        }
        QFocusEvent out(QEvent::FocusOut);
        QCoreApplication::sendEvent(&window, &out);
        window.mouseFree();
    };
    window.setImage(card.get(), false);
    everything();
    EXPECT_FALSE(window.mouseDown(1, 1, true, 0)) << "before init";
    EXPECT_FALSE(window.mouseWheel(1));
    EXPECT_FALSE(window.keyDown(Qt::Key_0));

    // A screen that never got a window size is not ready: pans, bands and keys change nothing.
    ASSERT_TRUE(window.init());
    window.setImage(card.get(), false);
    everything();
    EXPECT_EQ(window.inputMode, 0);
    EXPECT_TRUE(window.mouseDown(5, 5, true, 0)) << "a pan begins, though it moves nothing";
    EXPECT_TRUE(window.mouseMove(9, 9, 0));
    EXPECT_TRUE(window.mouseUp(9, 9, true, 0));
    window.mouseDown(5, 5, false, 0);
    QCursor::setPos(300, 300);
    window.mouseMove(60, 60, 0);
    window.mouseMove(70, 90, 0);
    window.mouseUp(70, 90, false, 0);
    EXPECT_FALSE(window.zoomView->isTracking());
    EXPECT_DOUBLE_EQ(window.screen->scaleValue, 1.0);

    // No image: the press is not taken.
    window.QWindow::resize(200, 100);
    window.resize(200, 100);
    window.setImage(nullptr, false);
    EXPECT_FALSE(window.mouseDown(5, 5, true, 0));
    window.setImage(card.get(), false);

    // Half-way through a pan and a band when the window shuts.
    window.mouseDown(5, 5, true, 0);
    window.shut();
    everything();
    ASSERT_TRUE(window.init());
    window.resize(200, 100);
    window.mouseDown(5, 5, false, 0);
    QCursor::setPos(500, 500);
    window.mouseMove(60, 60, 0);
    ASSERT_TRUE(window.zoomView->isTracking());
    window.shut();
    everything();
    pump();

    // Without a parent widget there is nothing to track against.
    QTDWindow orphan(nullptr, false);
    ASSERT_TRUE(orphan.init());
    orphan.QWindow::resize(200, 100);
    EXPECT_FALSE(orphan.zoomView->beginTrack(nullptr, nullptr, 0));
    EXPECT_FALSE(orphan.zoomView->isTracking());
    EXPECT_FALSE(orphan.zoomView->keyDown(Qt::Key_A));
    QTD::TRECT<int> rect;
    orphan.zoomView->trackPosition(&rect).draw(&rect).endTrack(&rect);
    EXPECT_EQ(rect.width, 0);
}

} // namespace
