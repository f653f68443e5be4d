// The render window and viewer without a display: input, notifications, commands.

#include "WindowTestImages.h"

#include "chain/QTDProcessor.h"
#include "core/Messenger.h"
#include "screen/QTDScreen.h"
#include "window/QTDRender.h"
#include "window/QTDZoom.h"

#include <brx/BrxDisplayCommand.h>

#include <QCoreApplication>
#include <QCursor>
#include <QElapsedTimer>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QThread>
#include <QWheelEvent>
#include <QWidget>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace WindowTest;

namespace {

using Map = std::map<std::string, std::string>;

Map mapOf(std::string const& text) {
    Map map;
    std::istringstream words(text);
    for (std::string word; words >> word;)
        map[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
    return map;
}

QTD::PROPERTIES bagOf(std::string const& text) {
    QTD::PROPERTIES bag;
    bag = mapOf(text);
    return bag;
}

// Keeps the mouse notifications it gets and answers the left button as told.
class Receiver : public BrxDisplayCommand {
public:
    int RunCommandParams(char const* command, Map* params) override {
        if (std::string(command ? command : "") != "notification.mouse")
            return 0;
        std::lock_guard<std::mutex> hold(guard);
        maps.push_back(*params);
        return (*params)["left"] == "1" ? leftAnswer : 0;
    }
    // The n-th map, once the messenger's thread has delivered it.
    Map nth(size_t n) {
        for (int i = 0; i < 1000 && count() <= n; ++i)
            QThread::msleep(2);
        std::lock_guard<std::mutex> hold(guard);
        return maps.size() > n ? maps[n] : Map();
    }
    size_t count() {
        std::lock_guard<std::mutex> hold(guard);
        return maps.size();
    }
    int leftAnswer = 0;
    std::mutex guard;
    std::vector<Map> maps;
};

// A 400 x 300 window with the card at actual size: window (x, y) shows image (x + 120, y + 90).
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
        QTest::keyRelease(&window, Qt::Key_Shift, Qt::NoModifier);
        QTest::keyRelease(&window, Qt::Key_Control, Qt::NoModifier);
        window.messenger(nullptr);
        messenger.delCommandProcessor(&receiver);
    }

    QTDScreen& screen() { return *window.screen; }
    std::string rectOf(QTD::ATTR const& id) {
        QTD::PROPERTIES* o = window.drawObjects.find(id, true);
        return o ? o->get("x") + "," + o->get("y") + " " + o->get("w") + "x" + o->get("h") : "-";
    }
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
    move(150, 120);
    move(140, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -180) << "distances count from the press";
    EXPECT_DOUBLE_EQ(screen().originY, -140);
    EXPECT_EQ(window.cursor().shape(), Qt::ClosedHandCursor);
    release(Qt::LeftButton, 140, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -180);

    window.moveBlock = true;
    press(Qt::LeftButton, 200, 150);
    move(100, 100);
    EXPECT_EQ(window.cursor().shape(), Qt::ArrowCursor) << "blocked: no pan";
    release(Qt::LeftButton, 100, 100);
    EXPECT_DOUBLE_EQ(screen().originX, -180);

    window.moveBlock = false;
    press(Qt::LeftButton, 200, 150);
    move(150, 150);
    ASSERT_DOUBLE_EQ(screen().originX, -230);
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
    // The overlay trails the band by one step.
    ASSERT_NE(window.drawObjects.find(window.zoomView->overlayID, true), nullptr);
    release(Qt::RightButton, 180, 160);
    EXPECT_EQ(window.drawObjects.find(window.zoomView->overlayID, true), nullptr);
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
    EXPECT_EQ(receiver.nth(0),
              mapOf("code=mouse.down left=0 win.x=52 win.y=61 gbl.x=" + std::to_string(g.x) +
                    " gbl.y=" + std::to_string(g.y) + " img.x=172 img.y=151"));
}

TEST_F(InputWindow, TheLeftButtonWaitsForTheReceiverWhoseYesTakesTheClick) {
    listen();
    receiver.leftAnswer = 1;
    press(Qt::LeftButton, 10, 20);
    ASSERT_EQ(receiver.count(), 1u) << "delivered before the press returned";
    EXPECT_EQ(receiver.nth(0),
              mapOf("code=mouse.down left=1 win.x=10 win.y=20 img.x=130.000000 img.y=110.000000"));
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
    EXPECT_EQ(receiver.nth(2),
              mapOf("code=mouse.move win.x=-7 win.y=8 img.x=113.000000 img.y=98.000000"));
    window.mouseFree();
    EXPECT_EQ(receiver.nth(3), mapOf("code=mouse.free win.x=30 win.y=40"));

    // Outside the image a button's image position is "-".
    window.notificationFlags = 4;
    receiver.leftAnswer = 0;
    ImagePtr small = makeCard(100, 50);
    window.setImage(small.get(), false);
    press(Qt::LeftButton, 10, 10);
    EXPECT_EQ(receiver.nth(4)["img.x"] + receiver.nth(4)["img.y"], "--");
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
    // Images of the same size keep the scale.
    ImagePtr second = makeCard(640, 480, 2);
    window.setImage(second.get(), false);
    EXPECT_EQ(screen().zoom(), 75);
    window.setImage(nullptr, false);
}

TEST_F(InputWindow, ShiftAndControlChooseTheDirectionOfTheBand) {
    press(Qt::RightButton, 100, 100);
    move(110, 100);
    move(180, 160);
    // Shift pressed elsewhere: the band's timer notices within its 200 ms, with no key or move.
    ASSERT_EQ(window.zoomView->resultMode, 1);
    QWindow elsewhere;
    QElapsedTimer waited;
    waited.start();
    QTest::keyPress(&elsewhere, Qt::Key_Shift, Qt::ShiftModifier);
    ASSERT_TRUE(QTest::qWaitFor([&] { return window.zoomView->resultMode == 2; }, 1000));
    EXPECT_LE(waited.elapsed(), 300);
    EXPECT_EQ(window.cursor().shape(), Qt::IBeamCursor);
    QTest::keyRelease(&elsewhere, Qt::Key_Shift, Qt::NoModifier);
    // A key to the window goes to the band alone, and the cursor follows at once.
    QTest::keyPress(&window, Qt::Key_Shift, Qt::ShiftModifier);
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

    // Without a parent widget there is nothing to track against. Without a screen, overlays are
    // kept as given; with one, values that do not read raise to the refresh.
    QTDWindow orphan(nullptr, false);
    QTD::PROPERTIES img = bagOf("cs=img update=1");
    QTD::ATTR id = orphan.setOverlayRect(1, 2, 3, 4, img);
    EXPECT_EQ(orphan.drawObjects.find(id, true)->get("x"), "1");
    orphan.setOverlayProfileLine(1, 2, 3, 4, img);
    orphan.setOverlayText(const_cast<char*>("t"), 1, -1, img);
    orphan.deleteLine(7);
    orphan.activeLine(-3);
    orphan.render();
    ASSERT_TRUE(orphan.init());
    EXPECT_FALSE(orphan.zoomView->beginTrack(nullptr, nullptr, 0));
    QTD::TRECT<int> rect;
    orphan.zoomView->trackPosition(&rect).draw(&rect).endTrack(&rect);
    EXPECT_FALSE(orphan.zoomView->keyDown(Qt::Key_A));
    orphan.resize(100, 100);
    QTD::ATTR before = orphan.drawObjects.find(id, true)->get("x");
    QTD::PROPERTIES bad = bagOf("x.cs=far");
    orphan.drawObjects.update(id, bad);
    EXPECT_THROW(orphan.processCommand("view.changed", nullptr), std::invalid_argument);
    EXPECT_EQ(orphan.drawObjects.find(id, true)->get("x"), before);
    orphan.shut();
    // After shut a placed text measures nothing, rather than a freed surface.
    orphan.setOverlayText(const_cast<char*>("t"), 2, -1, img);
}

} // namespace

// Wide images scroll in coarser units; commands set the flags and the move block.
TEST(QTDWindow, WideImagesScrollInCoarserUnitsAndCommandsSetFlags) {
    QTDWindow window(nullptr, false);
    QScrollBar horz(Qt::Horizontal), vert(Qt::Vertical);
    window.setScrollBars(&horz, &vert);
    ASSERT_TRUE(window.init());
    window.resize(1000, 100);
    ImagePtr wide(QTDImageHelpers::imageCreateFormat(nullptr, 40000, 100, RGB8));
    window.setImage(wide.get(), false);
    QTDScreen& screen = *window.screen;
    EXPECT_EQ(horz.maximum(), 32000);
    EXPECT_EQ(horz.pageStep(), 821);
    EXPECT_TRUE(vert.isHidden());
    // The position is the inverse of the scroll, up to the image's far edge at 32000; beyond the
    // end the correction takes it back.
    for (int position : {0, 12345, 32000, 40000}) {
        window.setScroll(position, -1);
        EXPECT_EQ(screen.scrollX, std::min(position, 32000));
        EXPECT_NEAR(screen.originX, -std::min(position, 32000) * 1.21875, 1e-6);
    }
    EXPECT_NEAR(screen.originX + screen.scaledWidth, 1000.0, 1e-6);

    QTD::Messenger messenger;
    window.messenger(&messenger);
    QTD::PROPERTIES p = bagOf("flags=2");
    EXPECT_FALSE(window.processCommand("cmd.notification.flags.set", &p));
    EXPECT_EQ(window.notificationFlags, 2);
    for (bool state : {true, false}) {
        p.set("state", state ? "1" : "0", true);
        EXPECT_FALSE(window.processCommand("cmd.display.view.moveblock", &p));
        EXPECT_EQ(window.moveBlock, state);
    }

    // Bit 0 off: the view changes silently.
    EXPECT_TRUE(window.processCommand("view.changed", nullptr));
    EXPECT_EQ(messenger.pending.groups.count("notification.view"), 0u);
    p.set("flags", "1", true);
    window.processCommand("cmd.notification.flags.set", &p);
    EXPECT_TRUE(window.processCommand("view.changed", nullptr));
    EXPECT_EQ(messenger.pending.groups["notification.view"].get("code"), "view.changed");
    window.messenger(nullptr);
}

TEST(QTDViewer, InitAppendsTheDisplayStagesOrSaysWhyNot) {
    QWidget host;
    QTDViewer viewer(&host, false);
    ImagePtr card = makeCard();
    QTDProcessor chain(nullptr, false);
    ASSERT_EQ(chain.Init(card.get(), nullptr), 0u);
    int before = chain.Size();
    ImagePtr empty(QTDImageHelpers::imageCreateFormat(nullptr, 0, 0, RGB8));
    EXPECT_EQ(viewer.init(card.get(), nullptr), 7);
    EXPECT_EQ(viewer.init(nullptr, &chain), 7);
    EXPECT_EQ(viewer.init(empty.get(), &chain), 7);
    EXPECT_EQ(chain.Size(), before) << "bad arguments leave the stages alone";

    ASSERT_EQ(viewer.init(card.get(), &chain), 0);
    ASSERT_EQ(chain.Size(), before + 2);
    EXPECT_EQ(chain.GetProcessor(before), chain.GetProcessor("image.display"));
}

TEST_F(InputWindow, WindowCoordinatesStayAndAdjustClipsOnlyUntilTheNextViewChange) {
    QTD::PROPERTIES win;
    QTD::ATTR fixed = window.setOverlayRect(5, 6, 7, 8, win);
    // The image's right edge lies at 520 in the window.
    QTD::PROPERTIES props = bagOf("cs=img adjust=1");
    QTD::ATTR id = window.setOverlayRect(600, 100, 100, 50, props);
    EXPECT_EQ(rectOf(id), "480,10 40x50");
    window.processCommand("view.changed", nullptr);
    EXPECT_EQ(rectOf(id), "480,10 100x50");
    EXPECT_EQ(rectOf(fixed), "5,6 7x8");
}
