// An application's use of a display, compressed: three camera threads hand frames over through the
// flat functions, a fourth thread cycles every view and overlay command, and this thread runs the
// event loop that processes, draws and resizes. BRX_SOAK_SECONDS lengthens the run (default 3).
// Meant to be run under the address and thread sanitizers as well as plainly.

#include "FrontTestSupport.h"

#include "screen/QTDScreen.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <QEvent>
#include <QScrollBar>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

using namespace FrontTest;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// The sanitizers keep freed memory aside and shadow the rest: resident size says nothing there.
constexpr bool MeasuresMemory = false;
#else
constexpr bool MeasuresMemory = true;
#endif

constexpr int Width = 640;
constexpr int Height = 480;

long residentBytes() {
    long pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return resident * sysconf(_SC_PAGESIZE);
}

int soakSeconds() {
    const char* text = std::getenv("BRX_SOAK_SECONDS");
    const int seconds = text != nullptr ? std::atoi(text) : 0;
    return seconds > 0 ? seconds : 3;
}

// Counts the events of one type that reach an object: queued calls and update requests are what
// piles up when a thread is busy. Notes any event on a thread other than the object's.
struct EventCount : QObject {
    EventCount(QObject* target, QEvent::Type type) : type(type) {
        target->installEventFilter(this);
    }
    bool eventFilter(QObject* object, QEvent* event) override {
        wrongThread |= QThread::currentThread() != object->thread();
        seen += event->type() == type ? 1 : 0;
        return false;
    }
    QEvent::Type type;
    long seen = 0;
    bool wrongThread = false;
};

// Every view and overlay command an application sends, one after the other, with the bad
// numbers and unknown ids of a careless caller among them.
// Menus wait for the event loop's thread; `menus` false leaves them out.
void commandRound(QTDDisplay& d, int i, bool menus) {
    static const char* const views[] = {
        "cmd.display.view.zoom.in", "cmd.display.view.zoom.out", "cmd.display.view.status",
        "cmd.display.view.info",    "cmd.display.view.image",    "cmd.display.view.zoom.in",
    };
    for (const char* name : views) {
        Params none;
        d.RunCommandParams(name, &none);
    }
    Params fit{{"mode", std::to_string(1 + i % 3)}};
    d.RunCommandParams("cmd.display.view.fit", &fit);
    Params scale{{"scale", i % 2 ? "0.25" : "3"}};
    d.RunCommandParams("cmd.display.view.scale", &scale);
    Params at = of("pos.x=" + std::to_string(i % Width) + " pos.y=40 cs=img");
    d.RunCommandParams("cmd.display.view.at", &at);
    Params translate = of("pos.x=10 pos.y=20 cs.src=win cs.dst=img");
    d.RunCommandParams("cmd.display.view.translate", &translate);

    Params text{{"text.text", "frame ${image.id}"},
                {"text.pos.x", std::to_string(1 + i % 9)},
                {"text.pos.y", i % 2 ? "-1" : "30"},
                {"cs", i % 3 ? "img" : "win"}};
    d.RunCommandParams("cmd.display.overlay.text.add", &text);
    Params rect = of("rect.x=5 rect.y=5 rect.w=100 rect.h=50 cs=img");
    d.RunCommandParams("cmd.display.overlay.rect.add", &rect);
    Params line = of("x0=0 y0=0 x1=300 y1=200 cs=img");
    d.RunCommandParams("cmd.display.overlay.profline.add", &line);
    std::vector<int> lines(64);
    int* out = lines.data();
    d.setActiveProfileLine(0);
    if (d.getProfileLines(nullptr) <= 16) {
        d.getProfileLines(&out);
    }
    d.deleteProfileLine(0);
    for (const std::string& id : {text["objectID"], rect["objectID"], std::string("no-such")}) {
        Params del{{"objectID", id}};
        d.RunCommandParams("cmd.display.overlay.del", &del);
    }
    if (menus && i % 16 == 0) {
        Params menu;
        if (d.RunCommandParams("cmd.system.menu.create", &menu) == 1) {
            d.RunCommandParams("cmd.system.menu.delete", &menu);
        }
    }
}

// The display, its feeders and its command thread; the caller's thread runs the events.
struct Soak {
    Soak() : live(PT::Mono8, Width, Height) {
        for (int t = 0; t < 3; ++t) {
            frames.push_back(makeMono8(Width, Height, uint32_t(t + 1)));
        }
    }
    ~Soak() { stop(); }

    // Starts, and lets buffers, fonts and the first frames be allocated; the resident size then.
    long warmUp(bool menus = true) {
        start(menus);
        pump(300);
        return residentBytes();
    }

    void start(bool menus = true) {
        for (int t = 0; t < 3; ++t) {
            threads.emplace_back([this, t] {
                BrxImage image = *frames[size_t(t)];
                for (uint64_t n = 0; !done; ++n) {
                    image.imageID = n * 3 + uint64_t(t);
                    BrxDisplay_DisplayVideo(live.handle, &image);
                    ++offered;
                }
                ++finished;
            });
        }
        threads.emplace_back([this, menus] {
            for (int i = 0; !done; ++i) {
                commandRound(*live.display, i, menus);
                ++rounds;
            }
            ++finished;
        });
    }
    // Events keep flowing until every thread has ended, unless `events` is false: a command may
    // be waiting for them.
    void stop(bool events = true) {
        done = true;
        if (events) {
            pumpUntil([this] { return finished == long(threads.size()); });
        }
        for (std::thread& t : threads) {
            t.join();
        }
        threads.clear();
        finished = 0;
    }

    Live live;
    std::vector<Image> frames;
    std::vector<std::thread> threads;
    std::atomic<bool> done{false};
    std::atomic<long> offered{0};
    std::atomic<long> rounds{0};
    std::atomic<long> finished{0};
};

} // namespace

TEST(Soak, FeedersCommandsAndTheEventLoopTogether) {
    Soak soak;
    QWidget& host = *soak.live.widget;
    const long memoryBefore = soak.warmUp();
    const long processedBefore = soak.live.processed();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(soakSeconds());
    for (int i = 0; std::chrono::steady_clock::now() < end; ++i) {
        // Window resizes on this thread while commands change the view on the other.
        host.resize(i % 2 ? 480 : 320, i % 2 ? 360 : 240);
        pump(100);
    }
    soak.stop();
    pump(100);
    const long memoryAfter = residentBytes();
    std::printf("soak: offered %ld, processed %ld, command rounds %ld, resident %ld -> %ld KiB\n",
                soak.offered.load(), soak.live.processed() - processedBefore, soak.rounds.load(),
                memoryBefore / 1024, memoryAfter / 1024);

    EXPECT_GT(soak.live.processed() - processedBefore, 10);
    EXPECT_GT(soak.rounds.load(), 10);
    // Every round removes what it added; the status and info lines stay or go with their toggles.
    QTD::DrawObjects& objects = soak.live.display->getWindow()->drawObjects;
    EXPECT_LE(objects.count(), 2);
    EXPECT_EQ(soak.live.display->getProfileLines(nullptr), 0);
    if (MeasuresMemory) {
        // Flat: within 16 frames' worth of where the run began.
        EXPECT_LT(memoryAfter - memoryBefore, 16L * Width * Height);
    }
}

TEST(Soak, ABusyEventLoopLeavesNoBacklog) {
    Soak soak;
    QTDDisplay& d = *soak.live.display;
    const long memoryBefore = soak.warmUp(false);

    // The event loop's thread is held while the camera threads hand over and commands run; they
    // stop before it runs again, so what it then finds is what piled up.
    const long offeredBefore = soak.offered.load();
    QThread::msleep(1000);
    soak.stop(false);
    const long offeredWhileHeld = soak.offered.load() - offeredBefore;
    EventCount checks(&d, QEvent::MetaCall);
    EventCount frames(d.getWindow(), QEvent::UpdateRequest);
    EventCount barMoves(d.getWindow(), QTDWindow::scrollRequest());
    QCoreApplication::processEvents();
    const long checksSeen = checks.seen, framesSeen = frames.seen, barMovesSeen = barMoves.seen;
    pump(200);
    const long memoryAfter = residentBytes();
    std::printf("held: offered %ld; then %ld queued calls, %ld update requests, %ld bar moves; "
                "resident %ld -> %ld KiB\n",
                offeredWhileHeld, checksSeen, framesSeen, barMovesSeen, memoryBefore / 1024,
                memoryAfter / 1024);

    EXPECT_GT(offeredWhileHeld, 100);
    // One buffer check was waiting, and the pass it makes asks for one more check and one frame:
    // nothing grew with the frames offered.
    EXPECT_LE(checksSeen, 3);
    EXPECT_LE(framesSeen, 2);
    EXPECT_LE(barMovesSeen, 1);
    if (MeasuresMemory) {
        EXPECT_LT(memoryAfter - memoryBefore, 8L * Width * Height);
    }
}

// A view command on another thread changes the geometry at once and moves the bars later, on the
// thread that owns them: a bar touched from the caller's thread is what crashed applications.
TEST(Soak, ViewCommandsFromAThreadMoveTheBarsOnTheirThread) {
    Live live(PT::Mono8, Width, Height);
    ASSERT_EQ(live.initCode, 0u);
    Image frame = makeMono8(Width, Height, 2);
    BrxDisplay_DisplayVideo(live.handle, frame.get());
    ASSERT_TRUE(pumpUntil([&] { return live.processed() == 1; }));
    QTDViewer* viewer = live.display->viewer;
    QScrollBar* bar = viewer->horizontalBar();
    EventCount watch(bar, QEvent::None);
    std::thread([&] {
        // Actual size: the image is twice the window's width.
        Params fit{{"mode", "3"}};
        EXPECT_EQ(live.display->RunCommandParams("cmd.display.view.fit", &fit), 1);
    }).join();
    // The bars take room from the window, which changes the ranges once more: they follow.
    QTDScreen* screen = live.display->getScreen();
    ASSERT_TRUE(pumpUntil([&] {
        const QTDScreen::ScrollState state = screen->scrollState();
        return state.rangeX > 0 && bar->isEnabled() && bar->maximum() == state.rangeX &&
               bar->value() == state.x && bar->pageStep() == state.page.x;
    }));
    EXPECT_FALSE(watch.wrongThread);
}
