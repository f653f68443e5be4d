#include "WindowTestImages.h"

#include "chain/QTDProcessor.h"
#include "core/Messenger.h"
#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"
#include "window/QTDRender.h"

#include <QCoreApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QLayout>
#include <QScrollBar>

#include <gtest/gtest.h>
#include <log4cpp/Category.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/Priority.hh>

#include <future>
#include <memory>
#include <regex>
#include <sstream>
#include <thread>

using namespace WindowTest;

namespace {

// Counts the frame requests that reach an object.
class UpdateCounter : public QObject {
public:
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::UpdateRequest)
            ++count;
        return false;
    }
    int count = 0;
};

// An input processor that records calls and answers as told.
class Probe : public QTDInput {
public:
    explicit Probe(bool answer) : answer(answer) {}
    bool keyDown(int key) override {
        lastKey = key;
        ++calls;
        return answer;
    }
    bool answer;
    int lastKey = 0;
    int calls = 0;
};

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

BrxImage* formatOnly(int width, int height) {
    return QTDImageHelpers::imageCreateFormat(nullptr, width, height, RGB8);
}

} // namespace

TEST(KeyboardCommand, SequencesMatchAtTheTailWithoutRegardToCase) {
    QTD::KeyboardCommand keys;
    EXPECT_EQ(keys.putKey('s'), "") << "no sequences: nothing is kept";
    EXPECT_TRUE(keys.typed.empty());
    keys.addCommand(nullptr, "x");
    keys.addCommand("ab", nullptr);
    EXPECT_EQ(keys.longest, 0);

    keys.addCommand("sd", "cmd.display.view.status");
    keys.addCommand("si", "cmd.display.view.info");
    keys.addCommand("zoom", "cmd.zoom");
    EXPECT_EQ(keys.longest, 4);

    // Keys before a sequence do not matter; Qt reports letters as capitals.
    EXPECT_EQ(keys.putKey('X'), "");
    EXPECT_EQ(keys.putKey('S'), "");
    EXPECT_EQ(keys.putKey('D'), "cmd.display.view.status");
    EXPECT_TRUE(keys.typed.empty());

    // A key between the keys of a sequence breaks it.
    keys.putKey('S');
    keys.putKey('X');
    EXPECT_EQ(keys.putKey('D'), "");
    EXPECT_LE(keys.typed.size(), 4u) << "the typed tail is cut to the longest sequence";

    for (char c : std::string("zoo"))
        EXPECT_EQ(keys.putKey(c), "");
    EXPECT_EQ(keys.putKey('m'), "cmd.zoom");
    keys.putKey('s');
    EXPECT_EQ(keys.putKey('i'), "cmd.display.view.info");
}

TEST(QTDWindow, BeforeInitNothingHappensAndNothingBreaks) {
    QTDWindow window(nullptr, false);
    EXPECT_FALSE(window.isValid());
    EXPECT_EQ(window.getProperty("opengl", ""), "0");
    EXPECT_EQ(window.getProperty("parent", ""), QTD::ATTR(static_cast<void*>(nullptr)));

    ImagePtr card = makeCard();
    window.render();
    window.resize(300, 200);
    window.resize(0, 0);
    window.setImage(card.get(), true);
    EXPECT_EQ(window.currentImage(), card.get());
    EXPECT_TRUE(window.isValidImage());
    window.setScroll(10, 10);
    window.updateScrollParameters(3);
    EXPECT_TRUE(window.processCommand("view.changed", nullptr));
    window.setImage(nullptr, true);
    EXPECT_FALSE(window.isValidImage());
    pump();

    // An image that came before init is kept, and init does not stumble over it.
    window.setImage(card.get(), false);
    ASSERT_TRUE(window.init());
    window.resize(320, 240);
    window.render();
}

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
    std::string const ts = " sys timestamp [0-9]+ ns, ";
    std::regex order("QTDWindow::setImage\\(\\): id = 4242\n"
                     "QTDWindow::update\\(\\): post UpdateRequest," +
                     ts +
                     "image id 4242\n"
                     "QTDWindow::event\\(\\): UpdateRequest event," +
                     ts +
                     "image id 4242\n"
                     "QTDWindow::render\\(\\): draw image," +
                     ts +
                     "id 4242\n"
                     "QTDWindow::render\\(\\): image is drawn," +
                     ts + "id 4242\n");
    EXPECT_TRUE(std::regex_search(text, order)) << text;

    QTDViewer viewer(nullptr, false);
    {
        LogCapture capture;
        viewer.setImage(card.get(), false);
        text = capture.lines();
    }
    EXPECT_TRUE(std::regex_search(
        text, std::regex("QTDViewer::setImage: post UpdateRequest," + ts + "image id 4242\n")))
        << text;
}

TEST(QTDWindow, InitBuildsTheInputChainAndASecondInitStartsClean) {
    QTDWindow window(nullptr, false);
    ASSERT_TRUE(window.init());
    ASSERT_TRUE(window.isValid());
    ASSERT_NE(window.zoomView, nullptr);
    EXPECT_EQ(window.getProperty("surface", ""), QTD::ATTR(static_cast<void*>(window.surface)));
    ASSERT_EQ(window.inputs.size(), 2u);
    EXPECT_EQ(window.inputs[0], static_cast<QTDInput*>(window.zoomView)) << "navigator first";
    EXPECT_EQ(window.inputs[1], static_cast<QTDInput*>(&window));
    EXPECT_EQ(window.screen->fit(), QTDScreen::FitActual);
    EXPECT_EQ(window.keyboard.commands.get("sd"), "cmd.display.view.status");
    EXPECT_EQ(window.keyboard.commands.get("si"), "cmd.display.view.info");

    ASSERT_TRUE(window.init());
    EXPECT_EQ(window.inputs.size(), 2u) << "the old navigator left the chain with its window";
    EXPECT_EQ(window.keyboard.commands.count(), 2);

    EXPECT_TRUE(window.shut());
    EXPECT_FALSE(window.isValid());
    EXPECT_EQ(window.zoomView, nullptr);
    EXPECT_TRUE(window.inputs.empty());
    window.render();
    window.resize(100, 100);
}

TEST(QTDWindow, InputProcessorsGoWhereTheyAreAskedAndTheFirstTakerEndsTheWalk) {
    QTDWindow window(nullptr, false);
    Probe a(false), b(true), c(false), stranger(false);
    window.insertInputProcessor(nullptr, nullptr);
    EXPECT_TRUE(window.inputs.empty());
    window.insertInputProcessor(&a, nullptr);
    window.insertInputProcessor(&b, nullptr);   // b, a
    window.insertInputProcessor(&c, &a);        // b, c, a
    window.insertInputProcessor(&c, &stranger); // not in the chain: nothing
    ASSERT_EQ(window.inputs.size(), 3u);
    EXPECT_EQ(window.inputs[0], &b);
    EXPECT_EQ(window.inputs[1], &c);
    EXPECT_EQ(window.inputs[2], &a);

    window.removeInputProcessor(&b); // c, a
    window.removeInputProcessor(&stranger);
    ASSERT_EQ(window.inputs.size(), 2u);

    // A key walks c (declines), then a (declines): both see it.
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier, "a");
    QCoreApplication::sendEvent(&window, &key);
    EXPECT_EQ(c.calls, 1);
    EXPECT_EQ(a.calls, 1);
    EXPECT_EQ(a.lastKey, Qt::Key_A);

    // A taker in front ends the walk and asks for a frame.
    UpdateCounter frames;
    window.installEventFilter(&frames);
    window.insertInputProcessor(&b, nullptr);
    QCoreApplication::sendEvent(&window, &key);
    EXPECT_EQ(b.calls, 1);
    EXPECT_EQ(c.calls, 1);
    pump();
    EXPECT_EQ(frames.count, 1);
    window.removeEventFilter(&frames);
}

TEST(QTDWindow, CommandsSetFlagsAndMoveBlockAndForwardTheKeyboardCommands) {
    QTDWindow window(nullptr, false);
    QTD::Messenger messenger;
    window.messenger(&messenger);
    EXPECT_EQ(window.messenger(), &messenger);
    EXPECT_EQ(window.notificationFlags, 5);

    QTD::PROPERTIES p;
    EXPECT_FALSE(window.processCommand("cmd.notification.flags.set", nullptr));
    p.set("flags", "-1", true);
    window.processCommand("cmd.notification.flags.set", &p);
    EXPECT_EQ(window.notificationFlags, 5);
    p.set("flags", "2", true);
    EXPECT_FALSE(window.processCommand("cmd.notification.flags.set", &p));
    EXPECT_EQ(window.notificationFlags, 2);

    p.set("state", "1", true);
    EXPECT_FALSE(window.processCommand("cmd.display.view.moveblock", &p));
    EXPECT_TRUE(window.moveBlock);
    p.set("state", "0", true);
    window.processCommand("cmd.display.view.moveblock", &p);
    EXPECT_FALSE(window.moveBlock);

    EXPECT_FALSE(window.processCommand("no.such.command", &p));
    EXPECT_FALSE(window.processCommand("VIEW.CHANGED", nullptr)) << "names compare exactly";

    // Bit 0 off: the view changes silently.
    EXPECT_TRUE(window.processCommand("view.changed", nullptr));
    EXPECT_EQ(messenger.pending.groups.count("notification.view"), 0u);
    p.set("flags", "1", true);
    window.processCommand("cmd.notification.flags.set", &p);
    EXPECT_TRUE(window.processCommand("view.changed", nullptr));
    ASSERT_EQ(messenger.pending.groups.count("notification.view"), 1u);
    EXPECT_EQ(messenger.pending.groups["notification.view"].get("code"), "view.changed");

    EXPECT_FALSE(window.processCommand("cmd.display.view.status", nullptr));
    EXPECT_EQ(messenger.pending.groups.count("cmd.display.view.status"), 1u);
    window.messenger(nullptr);
}

TEST(QTDWindow, ScrollBarsFollowTheScreen) {
    QTDWindow window(nullptr, false);
    QScrollBar horz(Qt::Horizontal), vert(Qt::Vertical);
    window.setScrollBars(&horz, &vert);
    ASSERT_TRUE(window.init());
    window.resize(200, 100);
    QTDScreen& screen = *window.screen;

    ImagePtr card = makeCard();
    window.setImage(card.get(), false);
    // Actual size, centred: the window shows the middle of the image.
    EXPECT_EQ(horz.maximum(), 440);
    EXPECT_EQ(horz.value(), 220);
    EXPECT_EQ(horz.pageStep(), 200);
    EXPECT_TRUE(horz.isEnabled());
    EXPECT_FALSE(horz.isHidden());
    EXPECT_EQ(vert.maximum(), 380);
    EXPECT_EQ(vert.value(), 190);
    EXPECT_EQ(vert.pageStep(), 100);

    // From the bars to the screen, also to the far edge.
    window.setScroll(300, -1);
    EXPECT_EQ(horz.value(), 300);
    EXPECT_DOUBLE_EQ(screen.originX, -300.0);
    EXPECT_EQ(vert.value(), 190) << "a negative coordinate is left alone";
    window.setScroll(440, 380);
    EXPECT_DOUBLE_EQ(screen.originX + screen.scaledWidth, 200.0);
    EXPECT_DOUBLE_EQ(screen.originY + screen.scaledHeight, 100.0);
    EXPECT_EQ(vert.value(), 380);

    // Fit to window: nothing to scroll, both bars go.
    screen.fit(QTDScreen::FitWindow, true);
    EXPECT_EQ(horz.maximum(), 0);
    EXPECT_FALSE(horz.isEnabled());
    EXPECT_TRUE(horz.isHidden());
    EXPECT_TRUE(vert.isHidden());

    // Narrower than the window at actual size: only the horizontal bar goes.
    ImagePtr narrow(formatOnly(150, 480));
    screen.fit(QTDScreen::FitActual, true);
    window.setImage(narrow.get(), false);
    EXPECT_TRUE(horz.isHidden());
    EXPECT_FALSE(vert.isHidden());
    EXPECT_EQ(vert.maximum(), 380);

    // No image: no bars, whatever the screen holds.
    window.setImage(nullptr, false);
    window.updateScrollParameters(3);
    EXPECT_TRUE(horz.isHidden());
    EXPECT_TRUE(vert.isHidden());
}

TEST(QTDWindow, WideImagesScrollInCoarserUnits) {
    QTDWindow window(nullptr, false);
    QScrollBar horz(Qt::Horizontal), vert(Qt::Vertical);
    window.setScrollBars(&horz, &vert);
    ASSERT_TRUE(window.init());
    window.resize(1000, 100);
    ImagePtr wide(formatOnly(40000, 100));
    window.setImage(wide.get(), false);
    QTDScreen& screen = *window.screen;
    EXPECT_EQ(screen.props.get("scroll.horz"), "1.218750");
    EXPECT_EQ(horz.maximum(), 32000);
    EXPECT_EQ(horz.pageStep(), 821);
    EXPECT_TRUE(vert.isHidden());
    // Dragging to the end reaches the image's far edge, to within one unit.
    horz.setValue(32000);
    window.setScroll(horz.value(), -1);
    EXPECT_NEAR(screen.originX + screen.scaledWidth, 1000.0, 1.22);
    window.setScroll(0, -1);
    EXPECT_DOUBLE_EQ(screen.originX, 0.0);
}

TEST(QTDWindow, ImagesOfTheSameSizeKeepTheScaleAndNullImagesPostNoFrame) {
    QTDWindow window(nullptr, false);
    ASSERT_TRUE(window.init());
    window.resize(400, 300);
    ImagePtr first = makeCard(640, 480, 1);
    ImagePtr second = makeCard(640, 480, 2);
    window.setImage(first.get(), false);
    window.screen->fit(QTDScreen::FitNone, true);
    window.screen->scale(0.5, true);
    window.setImage(second.get(), false);
    EXPECT_DOUBLE_EQ(window.screen->scaleValue, 0.5);

    pump();
    UpdateCounter frames;
    window.installEventFilter(&frames);
    window.setImage(nullptr, true);
    EXPECT_EQ(window.currentImage(), nullptr);
    pump();
    EXPECT_EQ(frames.count, 0) << "the old picture stays until the next expose";
    window.setImage(first.get(), true);
    pump();
    EXPECT_EQ(frames.count, 1);
    window.removeEventFilter(&frames);
}

TEST(QTDViewer, BuildsTheWidgetTreeAroundAWorkingWindow) {
    QWidget host;
    auto* viewer = new QTDViewer(&host, false);
    ASSERT_NE(viewer->window, nullptr);
    EXPECT_EQ(viewer->status, 0);
    EXPECT_EQ(viewer->properties.get("system.opengl"), "0");
    EXPECT_EQ(viewer->properties.get("system.parentWidget"), QTD::ATTR(static_cast<void*>(&host)));
    EXPECT_EQ(viewer->properties.get("surface"),
              QTD::ATTR(static_cast<void*>(viewer->window->surface)));
    EXPECT_EQ(viewer->window->horzBar, viewer->horizontalBar());
    EXPECT_EQ(viewer->window->vertBar, viewer->verticalBar());
    // The vertical bar stands in the application's widget, beside the viewer.
    EXPECT_EQ(viewer->verticalBar()->parentWidget(), &host);
    EXPECT_EQ(viewer->horizontalBar()->parentWidget(), viewer);
    ASSERT_NE(host.layout(), nullptr);
    EXPECT_EQ(host.layout()->indexOf(viewer), 0);
    EXPECT_EQ(host.layout()->indexOf(viewer->verticalBar()), 1);
    EXPECT_EQ(viewer->container->focusPolicy(), Qt::StrongFocus);

    // Bars move the view through the slider slots.
    QTDWindow& window = *viewer->window;
    window.resize(200, 100);
    ImagePtr card = makeCard();
    viewer->setImage(card.get(), false);
    EXPECT_EQ(viewer->image, card.get());
    EXPECT_EQ(window.currentImage(), card.get());
    viewer->verticalBar()->setValue(50);
    EXPECT_EQ(window.screen->scrollY, 50);
    EXPECT_DOUBLE_EQ(window.screen->originY, -50.0);
    viewer->horizontalBar()->setValue(0);
    EXPECT_DOUBLE_EQ(window.screen->originX, 0.0);
    delete viewer;
}

TEST(QTDViewer, ANewViewerFindsTheHostAsTheLastOneLeftIt) {
    QWidget host;
    delete new QTDViewer(&host, false);
    EXPECT_EQ(host.layout(), nullptr);
    EXPECT_TRUE(host.findChildren<QWidget*>().isEmpty()) << "no bar left behind";

    auto* second = new QTDViewer(&host, false);
    ASSERT_NE(host.layout(), nullptr);
    EXPECT_EQ(host.layout()->indexOf(second), 0);
    EXPECT_EQ(second->verticalBar()->parentWidget(), &host);
    delete second;
}

TEST(QTDViewer, GoesWithTheHostWidget) {
    auto* host = new QWidget;
    auto* viewer = new QTDViewer(host, false);
    host->show();
    ImagePtr card = makeCard();
    viewer->setImage(card.get(), true);
    pump();
    delete host;
    pump();
}

TEST(QTDViewer, HostWithALayoutOfItsOwnKeepsBothBarsInTheViewer) {
    QWidget host;
    auto* existing = new QVBoxLayout(&host);
    QTDViewer* viewer = new QTDViewer(&host, false);
    EXPECT_EQ(host.layout(), existing);
    EXPECT_EQ(viewer->verticalBar()->parentWidget(), viewer);
    delete viewer;

    QTDViewer alone(nullptr, false);
    EXPECT_EQ(alone.verticalBar()->parentWidget(), &alone);
    EXPECT_NE(alone.window, nullptr);
}

TEST(QTDViewer, InitAppendsTheDisplayStagesOrSaysWhyNot) {
    QWidget host;
    QTDViewer viewer(&host, false);
    ImagePtr card = makeCard();
    QTDProcessor chain(nullptr, false);
    ASSERT_EQ(chain.Init(card.get(), nullptr), 0u);
    int before = chain.Size();

    EXPECT_EQ(viewer.init(card.get(), nullptr), 7);
    EXPECT_EQ(viewer.init(nullptr, &chain), 7);
    ImagePtr empty(formatOnly(0, 0));
    EXPECT_EQ(viewer.init(empty.get(), &chain), 7);
    EXPECT_EQ(viewer.initCPU(card.get(), nullptr), 7);
    EXPECT_EQ(chain.Size(), before) << "bad arguments leave the stages alone";

    ASSERT_EQ(viewer.init(card.get(), &chain), 0);
    ASSERT_EQ(chain.Size(), before + 2);
    BrxImgProcessor* display = chain.GetProcessor("image.display");
    BrxImgProcessor* coloration = chain.GetProcessor("image.coloration");
    ASSERT_NE(display, nullptr);
    ASSERT_NE(coloration, nullptr);
    EXPECT_EQ(chain.GetProcessor(before), display);
    EXPECT_TRUE(display->IsEnabled());
    EXPECT_FALSE(coloration->IsEnabled()) << "coloration waits for its command";
    ASSERT_NE(viewer.processedImage, nullptr);
    ASSERT_NE(viewer.displayImage, nullptr);
    EXPECT_EQ(viewer.processedImage->width, 640u);
    EXPECT_EQ(viewer.processedImage->height, 480u);
    EXPECT_EQ(viewer.displayImage->pixelType, RGB8);
    EXPECT_EQ(viewer.processedImage->imageData, nullptr) << "formats only";

    // A pass through the whole chain ends in an RGB8 image that the window can draw.
    ASSERT_EQ(chain.ProcessImage(card.get(), nullptr, nullptr), 0u);
    BrxImage* shown = chain.Output();
    ASSERT_NE(shown, nullptr);
    EXPECT_EQ(shown->pixelType, RGB8);
    EXPECT_EQ(shown->width, 640u);
    auto* pixels = static_cast<uint8_t*>(shown->imageData);
    QColor expected = cardColor(500, 400);
    uint8_t* p = pixels + 400 * shown->stride + 500 * 3;
    EXPECT_EQ(QColor(p[0], p[1], p[2]), expected);

    viewer.shut();
    EXPECT_EQ(viewer.processedImage, nullptr);
    EXPECT_EQ(viewer.displayImage, nullptr);
}

TEST(QTDViewer, WithoutAWindowImagesStillReachTheWidget) {
    QWidget host;
    QTDViewer viewer(&host, false);
    delete viewer.window;
    viewer.window = nullptr;
    pump();

    UpdateCounter frames;
    viewer.installEventFilter(&frames);
    ImagePtr card = makeCard();
    viewer.setImage(card.get(), true);
    EXPECT_EQ(viewer.image, card.get());
    pump();
    EXPECT_EQ(frames.count, 0);
    viewer.setImage(card.get(), false);
    pump();
    EXPECT_EQ(frames.count, 1) << "without redraw the viewer itself is asked";
    viewer.redraw(true);
    viewer.slotHorzSliderChanged(5);
    viewer.removeEventFilter(&frames);
}

TEST(QTDViewer, RedrawGivesWayWhileAnImageIsBeingTaken) {
    QWidget host;
    QTDViewer viewer(&host, false);
    ASSERT_NE(viewer.window, nullptr);
    pump();
    UpdateCounter frames;
    viewer.window->installEventFilter(&frames);

    std::promise<void> locked, done;
    std::thread taker([&] {
        std::lock_guard<std::recursive_mutex> busy(viewer.imageMutex);
        locked.set_value();
        done.get_future().wait();
    });
    locked.get_future().wait();
    viewer.redraw(false);
    done.set_value();
    taker.join();
    pump();
    EXPECT_EQ(frames.count, 0) << "a frame is being prepared: no second request";

    viewer.redraw(false);
    pump();
    EXPECT_EQ(frames.count, 1);
    viewer.window->removeEventFilter(&frames);
}
