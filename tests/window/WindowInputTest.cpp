// The render window and viewer without a display: input, notifications, commands, log lines.

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
#include <log4cpp/Category.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/Priority.hh>

#include <map>
#include <mutex>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace WindowTest;

namespace {

void pump() {
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents);
}

// Catches what the library logs at debug level while it lives.
class LogCapture {
public:
    LogCapture() : category(log4cpp::Category::getInstance("BrxDisplayQt")) {
        saved = category.getPriority();
        auto* appender = new log4cpp::OstreamAppender("window-test", &text);
        auto* layout = new log4cpp::PatternLayout();
        layout->setConversionPattern("%m%n");
        appender->setLayout(layout);
        category.addAppender(appender);
        category.setPriority(log4cpp::Priority::DEBUG);
    }
    ~LogCapture() {
        category.removeAppender(category.getAppender("window-test"));
        category.setPriority(saved);
    }
    std::string lines() const { return text.str(); }

private:
    log4cpp::Category& category;
    log4cpp::Priority::Value saved;
    std::ostringstream text;
};

QTD::PROPERTIES bagOf(std::initializer_list<std::pair<char const*, char const*>> rows) {
    QTD::PROPERTIES bag;
    for (auto& row : rows)
        bag.set(row.first, row.second, true);
    return bag;
}

using Map = std::map<std::string, std::string>;

// "a=1 b=2" as a map.
Map mapOf(std::string const& text) {
    Map map;
    std::istringstream words(text);
    for (std::string word; words >> word;)
        map[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
    return map;
}

// Keeps the mouse notifications it gets and answers the left button as told.
class Receiver : public BrxDisplayCommand {
public:
    // Only the mouse: view notifications arrive from the messenger's thread at their own time.
    int RunCommandParams(char const* command, Map* params) override {
        if (std::string(command ? command : "") != "notification.mouse")
            return 0;
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
    std::string value(QTD::ATTR const& id, char const* key) {
        QTD::PROPERTIES* object = window.drawObjects.find(id, true);
        return object ? object->get(key) : "<none>";
    }
    std::string rectOf(QTD::ATTR const& id) {
        return value(id, "x") + "," + value(id, "y") + " " + value(id, "w") + "x" + value(id, "h");
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
    EXPECT_EQ(window.keyboard.typed, "");
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

TEST(QTDWindow, AFrameLogsItsWayFromImageToScreen) {
    QTDWindow window(nullptr, false);
    ASSERT_TRUE(window.init());
    window.QWindow::resize(160, 120);
    window.show();
    pump();
    ASSERT_TRUE(window.isExposed());
    ImagePtr card = makeCard(640, 480, 4242);

    std::string text;
    {
        LogCapture capture;
        window.setImage(card.get(), true);
        pump();
        text = capture.lines();
    }
    // "@" stands for the timestamp part of a line.
    auto lines = [](std::string const& pattern) {
        return std::regex(
            std::regex_replace(pattern, std::regex("@"), " sys timestamp [0-9]+ ns, "));
    };
    std::regex order = lines("QTDWindow::setImage\\(\\): id = 4242\n"
                             "QTDWindow::update\\(\\): post UpdateRequest,@image id 4242\n"
                             "QTDWindow::event\\(\\): UpdateRequest event,@image id 4242\n"
                             "QTDWindow::render\\(\\): draw image,@id 4242\n"
                             "QTDWindow::render\\(\\): image is drawn,@id 4242\n");
    EXPECT_TRUE(std::regex_search(text, order)) << text;

    QTDViewer viewer(nullptr, false);
    {
        LogCapture capture;
        viewer.setImage(card.get(), false);
        text = capture.lines();
    }
    EXPECT_TRUE(
        std::regex_search(text, lines("QTDViewer::setImage: post UpdateRequest,@image id 4242\n")))
        << text;
}

TEST(QTDWindow, CommandsSetFlagsAndMoveBlockAndForwardTheKeyboardCommands) {
    QTDWindow window(nullptr, false);
    QTD::Messenger messenger;
    window.messenger(&messenger);
    EXPECT_EQ(window.notificationFlags, 5);
    QTD::PROPERTIES p = bagOf({{"flags", "-1"}});
    window.processCommand("cmd.notification.flags.set", &p);
    EXPECT_EQ(window.notificationFlags, 5);
    p.set("flags", "2", true);
    EXPECT_FALSE(window.processCommand("cmd.notification.flags.set", &p));
    EXPECT_EQ(window.notificationFlags, 2);
    for (bool state : {true, false}) {
        p.set("state", state ? "1" : "0", true);
        EXPECT_FALSE(window.processCommand("cmd.display.view.moveblock", &p));
        EXPECT_EQ(window.moveBlock, state);
    }
    EXPECT_FALSE(window.processCommand("VIEW.CHANGED", nullptr)) << "names compare exactly";

    // Bit 0 off: the view changes silently.
    EXPECT_TRUE(window.processCommand("view.changed", nullptr));
    EXPECT_EQ(messenger.pending.groups.count("notification.view"), 0u);
    p.set("flags", "1", true);
    window.processCommand("cmd.notification.flags.set", &p);
    EXPECT_TRUE(window.processCommand("view.changed", nullptr));
    EXPECT_EQ(messenger.pending.groups["notification.view"].get("code"), "view.changed");
    window.messenger(nullptr);
}

TEST(QTDWindow, WideImagesScrollInCoarserUnits) {
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
    // Dragging to the end reaches the image's far edge, to within one unit.
    window.setScroll(32000, -1);
    EXPECT_NEAR(screen.originX + screen.scaledWidth, 1000.0, 1.22);
}

TEST_F(InputWindow, ImagesOfTheSameSizeKeepTheScale) {
    screen().fit(QTDScreen::FitNone, true);
    screen().scale(0.5, false);
    ImagePtr second = makeCard(640, 480, 2);
    window.setImage(second.get(), false);
    EXPECT_DOUBLE_EQ(screen().scaleValue, 0.5);
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
    ASSERT_NE(chain.GetProcessor("image.coloration"), nullptr);
    EXPECT_FALSE(chain.GetProcessor("image.coloration")->IsEnabled()) << "waits for its command";
}

TEST_F(InputWindow, WindowCoordinatesStayAndAdjustClipsOnlyUntilTheNextViewChange) {
    QTD::PROPERTIES win;
    QTD::ATTR fixed = window.setOverlayRect(5, 6, 7, 8, win);
    // The image's right edge lies at 520 in the window.
    QTD::PROPERTIES props = bagOf({{"cs", "img"}, {"adjust", "1"}});
    QTD::ATTR id = window.setOverlayRect(600, 100, 100, 50, props);
    EXPECT_EQ(rectOf(id), "480,10 40x50");
    window.processCommand("view.changed", nullptr);
    EXPECT_EQ(rectOf(id), "480,10 100x50");
    EXPECT_EQ(rectOf(fixed), "5,6 7x8");
}

TEST(WindowOverlayBare, NothingBreaksWithoutScreenAndBadValuesRaiseToTheRefresh) {
    QTDWindow window(nullptr, false);
    QTD::PROPERTIES img = bagOf({{"cs", "img"}, {"update", "1"}});
    QTD::ATTR id = window.setOverlayRect(1, 2, 3, 4, img);
    EXPECT_EQ(window.drawObjects.find(id, true)->get("x"), "1") << "kept as given";
    window.setOverlayProfileLine(1, 2, 3, 4, img);
    window.setOverlayText(const_cast<char*>("t"), 1, -1, img);
    window.deleteLine(7);
    window.activeLine(-3);
    window.render();

    ASSERT_TRUE(window.init());
    window.resize(100, 100);
    QTD::ATTR before = window.drawObjects.find(id, true)->get("x");
    QTD::PROPERTIES bad = bagOf({{"x.cs", "far"}});
    window.drawObjects.update(id, bad);
    EXPECT_THROW(window.processCommand("view.changed", nullptr), std::invalid_argument);
    EXPECT_EQ(window.drawObjects.find(id, true)->get("x"), before);
    window.shut();
    // After shut a placed text measures nothing, rather than a freed surface.
    window.setOverlayText(const_cast<char*>("t"), 2, -1, img);
}
