// The controller's image flow: set-up in a widget, images from other threads through the double
// buffer to the viewer, counters, the status line and the per-image notification.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "core/AutoLock.h"
#include "front/QTDDisplay.h"
#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>

#include <QTimer>
#include <gtest/gtest.h>

#include <atomic>
#include <regex>
#include <thread>

using namespace FrontTest;
using QTD::Procs::statusWord;

namespace {

constexpr int W = 64, H = 48;

// A controller set up for Mono8 images in a widget of its own.
struct Shown {
    Shown() : widget(host()), display(widget.get(), false) {
        format = make(W, H, PT::Mono8);
        initCode = display.Init(format.get());
    }
    // The image on the window is the chain's output, an RGB8 copy of the grey values.
    void expectShown(uint32_t seed) {
        BrxImage* shown = display.getWindow()->currentImage();
        ASSERT_NE(shown, nullptr);
        ASSERT_EQ(shown, display.chain->Output());
        ASSERT_EQ(shown->pixelType, PT::RGB8);
        ASSERT_EQ(shown->width, uint32_t(W));
        EXPECT_EQ(shown->imageID, seed);
        int wrong = 0;
        for (uint32_t y = 0; y < shown->height; ++y) {
            for (uint32_t x = 0; x < shown->width; ++x) {
                for (uint32_t c = 0; c < 3; ++c) {
                    wrong += row8(shown, y)[3 * x + c] != value(x, y, seed) ? 1 : 0;
                }
            }
        }
        EXPECT_EQ(wrong, 0);
    }
    long processed() { return long(display.processedCounter.frames.load()); }
    long received() { return long(display.receivedCounter.frames.load()); }

    std::unique_ptr<QWidget> widget;
    QTDDisplay display;
    Image format;
    uint32_t initCode = 0;
};

class FailingStage : public BrxImgProcessor {
public:
    uint32_t ProcessImage(BrxImage*, BrxImage*, void*) override {
        ++calls;
        return statusWord(QTD::Procs::CodeFailed);
    }
    void Release() override {}
    BrxComponent* GetComponent() override { return nullptr; }
    BrxImage* Output() override { return nullptr; }
    std::atomic<int> calls{0};
};

} // namespace

TEST(DisplayFlow, TheParentWidgetOnlyGoesIntoTheBag) {
    QWidget parent;
    QTDDisplay display(&parent, true);
    EXPECT_EQ(display.properties.getAs<void*>("system.parentWidget"), static_cast<void*>(&parent));
    EXPECT_EQ(display.properties.get("system.opengl"), "1");
    EXPECT_EQ(display.parent(), nullptr);
    EXPECT_EQ(display.viewer, nullptr);
    EXPECT_EQ(QTDDisplay::CastQTDDisplay(&display), &display);
}

TEST(DisplayFlow, InitBuildsViewerChainBufferAndTimer) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    ASSERT_NE(d.viewer, nullptr);
    ASSERT_NE(d.getWindow(), nullptr);
    ASSERT_NE(d.chain, nullptr);
    EXPECT_EQ(d.properties.getAs<void*>("processor"), static_cast<void*>(d.chain));
    EXPECT_EQ(d.properties.getAs<void*>("surface"), static_cast<void*>(d.getWindow()->surface));
    EXPECT_EQ(d.properties.get("strict"), "0");
    EXPECT_EQ(d.incoming.size, int(s.format->imageSize) + 96);
    ASSERT_NE(d.timer, nullptr);
    EXPECT_TRUE(d.timer->isActive());
    EXPECT_EQ(d.fpsWindow, 4);
    EXPECT_EQ(d.fpsHistory, std::vector<double>(3, 0.0));
    // The viewer's stages come last.
    EXPECT_NE(d.chain->GetProcessor("image.display"), nullptr);
    EXPECT_EQ(d.chain->stages.keyAt(d.chain->Size() - 1), "image.coloration");

    // Another size rebuilds chain and buffer but keeps the viewer.
    QTDViewer* viewer = d.viewer;
    auto bigger = make(2 * W, H, PT::Mono8);
    ASSERT_EQ(d.Init(bigger.get()), 0u);
    EXPECT_EQ(d.viewer, viewer);
    EXPECT_EQ(d.incoming.size, int(bigger->imageSize) + 96);
    EXPECT_EQ(d.currentImage->width, uint32_t(2 * W));

    d.Release();
    EXPECT_EQ(d.chain, nullptr);
    EXPECT_EQ(d.currentImage, nullptr);
    EXPECT_EQ(d.timer, nullptr);
    EXPECT_EQ(d.incoming.size, 0);
    EXPECT_EQ(d.properties.get("processor"), "0");
    EXPECT_EQ(d.viewer, viewer);
}

TEST(DisplayFlow, ImagesFromAnotherThreadReachTheWindow) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    std::atomic<uint32_t> result{1};
    std::thread camera([&] {
        auto image = makeMono8(W, H, 5);
        result = s.display.ProcessImage(image.get());
    });
    // The camera thread may finish before the controller's thread ran the chain: the image is a
    // copy.
    camera.join();
    EXPECT_EQ(result, 0u);
    ASSERT_TRUE(pumpUntil([&] { return s.processed() == 1; }));
    s.expectShown(5);
    EXPECT_EQ(s.received(), 1);
    EXPECT_EQ(s.display.lastError, 0);

    // A second image from another thread replaces the first.
    std::thread again([&] {
        auto image = makeMono8(W, H, 6);
        result = s.display.ProcessImage(image.get());
    });
    again.join();
    ASSERT_TRUE(pumpUntil([&] { return s.processed() == 2; }));
    s.expectShown(6);

    // Null stops showing.
    EXPECT_EQ(s.display.ProcessImage(nullptr), 0u);
    EXPECT_EQ(s.display.getWindow()->currentImage(), nullptr);
}

TEST(DisplayFlow, ABurstLeavesOnlyTheNewestImage) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    // The controller's thread is this one: nothing is taken until the events run.
    for (uint32_t seed = 1; seed <= 10; ++seed) {
        auto image = makeMono8(W, H, seed);
        ASSERT_EQ(s.display.ProcessImage(image.get()), 0u);
    }
    ASSERT_TRUE(pumpUntil([&] { return s.processed() >= 1; }));
    pump(20);
    EXPECT_EQ(s.processed(), 1);
    EXPECT_EQ(s.received(), 10);
    s.expectShown(10);

    // The status line counts both.
    s.display.properties.set("display.view.status", "1", true);
    s.display.updateStatus();
    EXPECT_EQ(s.display.statusBag.get("in/p"), "10/1");
    EXPECT_EQ(s.display.statusBag.get("last"), "000010");
}

TEST(DisplayFlow, RefusedImages) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    // Other geometry whose data would fit: the application must set up again.
    auto narrower = makeMono8(W / 2, H, 1);
    EXPECT_EQ(d.ProcessImage(narrower.get()), statusWord(8));
    auto empty = makeMono8(W, H, 1);
    empty->width = 0;
    EXPECT_EQ(d.ProcessImage(empty.get()), statusWord(8));
    auto noData = makeMono8(W, H, 1);
    void* data = noData->imageData;
    noData->imageData = nullptr;
    EXPECT_EQ(d.ProcessImage(noData.get()), statusWord(7));
    noData->imageData = data;
    // Too large for the buffer: dropped without a word.
    auto twice = makeMono8(2 * W, H, 1);
    EXPECT_EQ(d.ProcessImage(twice.get()), 0u);
    pump(30);
    EXPECT_EQ(s.processed(), 0);
    EXPECT_EQ(d.getWindow()->currentImage(), nullptr);

    // A bad format for Init changes nothing.
    QTDProcessor* chain = d.chain;
    EXPECT_EQ(d.Init(nullptr), statusWord(7));
    EXPECT_EQ(d.Init(empty.get()), statusWord(7));
    EXPECT_EQ(d.chain, chain);
}

TEST(DisplayFlow, NothingBreaksBeforeInit) {
    QTDDisplay d(nullptr, false);
    auto image = makeMono8(W, H, 1);
    EXPECT_EQ(d.ProcessImage(nullptr), 0u);
    EXPECT_EQ(d.ProcessImage(image.get()), 0u);
    pump(20);
    // The slot found nothing set up.
    EXPECT_EQ(d.lastError, 8);
    EXPECT_EQ(d.ConvertImage(image.get(), image.get()), statusWord(8));
    EXPECT_EQ(d.CreateConverter(image.get()), statusWord(8));
    EXPECT_EQ(d.GetProcessingChain(), nullptr);
    d.updateStatus();
    d.Release();
    d.Release();
}

TEST(DisplayFlow, UnsupportedFormatIsSilentByDefault) {
    auto widget = host();
    QTDDisplay d(widget.get(), false);
    // No CPU stage takes this transport format.
    auto odd = make(W, H, 0x04080131u);
    EXPECT_EQ(d.Init(odd.get()), 0u);
    EXPECT_NE(d.viewer, nullptr);
    EXPECT_EQ(d.currentImage, nullptr);
    EXPECT_EQ(d.properties.get("processor"), "0");
    EXPECT_EQ(d.ProcessImage(odd.get()), 0u);
    pump(20);
    EXPECT_EQ(d.lastError, 8);

    d.properties.set("system.silent", "0", true);
    EXPECT_EQ(d.Init(odd.get()), statusWord(1));
    EXPECT_EQ(d.chain, nullptr);
}

TEST(DisplayFlow, ChangingTheBackendReplacesTheViewer) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    EXPECT_EQ(d.viewer->properties.get("system.opengl"), "0");
    d.properties.set("system.opengl", "1", true);
    d.Init(s.format.get());
    ASSERT_NE(d.viewer, nullptr);
    EXPECT_EQ(d.viewer->properties.get("system.opengl"), "1");
    d.properties.set("system.opengl", "0", true);
    ASSERT_EQ(d.Init(s.format.get()), 0u);
    EXPECT_EQ(d.viewer->properties.get("system.opengl"), "0");
}

TEST(DisplayFlow, AFailedPassStopsTheLoopButNotARebuild) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    auto* failing = new FailingStage;
    ASSERT_EQ(d.chain->InsertProcessor(const_cast<char*>("image.output"), "bad", failing), 0);
    auto image = makeMono8(W, H, 3);
    EXPECT_EQ(d.ProcessImage(image.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return failing->calls == 1; }));
    pump(10);
    EXPECT_EQ(d.lastError, 1);
    EXPECT_EQ(s.processed(), 0);

    // The rebuild runs the chain again on the image still held.
    EXPECT_EQ(d.RunCommandParams("cmd.image.rebuild", nullptr), 1);
    ASSERT_TRUE(pumpUntil([&] { return failing->calls == 2; }));

    // The next image clears the error and is tried again.
    EXPECT_EQ(d.ProcessImage(image.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return failing->calls == 3; }));
}

TEST(DisplayFlow, RebuildCountsButDoesNotPullTheNextImage) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    auto image = makeMono8(W, H, 4);
    ASSERT_EQ(s.display.ProcessImage(image.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return s.processed() == 1; }));
    EXPECT_EQ(s.display.RunCommandParams("cmd.image.rebuild", nullptr), 1);
    ASSERT_TRUE(pumpUntil([&] { return s.processed() == 2; }));
    EXPECT_EQ(s.received(), 2);
    s.expectShown(4);
}

TEST(DisplayFlow, PerImageNotification) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    Receiver receiver;
    std::map<std::string, std::string> add{
        {"proc", QTD::ATTR(static_cast<void*>(static_cast<BrxDisplayCommand*>(&receiver)))}};
    EXPECT_EQ(d.RunCommandParams("cmd.system.notification.add", &add), 1);

    // Off by default.
    auto image = makeMono8(W, H, 1);
    ASSERT_EQ(d.ProcessImage(image.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return s.processed() == 1; }));
    EXPECT_EQ(receiver.count("notification.image"), 0);

    std::map<std::string, std::string> on{{"name", "image.notification.flags.set"}, {"value", "1"}};
    EXPECT_EQ(d.RunCommandParams("cmd.parameter.set", &on), 0);
    EXPECT_EQ(d.notificationFlags, 1);
    ASSERT_EQ(d.ProcessImage(image.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return receiver.count("notification.image") == 1; }));
    for (auto& call : receiver.received()) {
        if (call.first == "notification.image") {
            EXPECT_EQ(call.second["result"], "0");
            EXPECT_EQ(call.second["from"], std::string(QTD::ATTR(static_cast<void*>(&d))));
        }
    }

    std::map<std::string, std::string> off{{"name", "image.notification.flags.clear"},
                                           {"value", "1"}};
    d.RunCommandParams("cmd.parameter.set", &off);
    EXPECT_EQ(d.notificationFlags, 0);
    std::map<std::string, std::string> del = add;
    EXPECT_EQ(d.RunCommandParams("cmd.system.notification.del", &del), 1);
    EXPECT_TRUE(d.messenger.receivers.empty());
}

TEST(DisplayFlow, StatusTexts) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    // Switched off, nothing is filled, while the counters go on.
    d.updateStatus();
    EXPECT_EQ(d.statusBag.count(), 0);
    auto image = makeMono8(W, H, 7);
    ASSERT_EQ(d.ProcessImage(image.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return s.processed() == 1; }));

    EXPECT_EQ(d.RunCommandParams("cmd.display.view.status", nullptr), 1);
    EXPECT_EQ(d.properties.get("display.view.status"), "1");
    QTDScreen* screen = d.getScreen();
    ASSERT_NE(screen, nullptr);
    const std::string text = d.statusBag.text(false, " ");
    const std::string expected =
        "size=64x48 last=000007 in/p=1/1 fps=[0-9]+\\.[0-9] "
        "proc=[0-9]+\\.[0-9]{2} ms zoom=" +
        std::to_string(screen->zoom()) +
        "% at=" + std::string(QTD::ATTR::format("%.2f;%.2f", screen->centerX, screen->centerY));
    EXPECT_TRUE(std::regex_match(text, std::regex(expected))) << text;

    // The line is an overlay object of the window, gone when the status is switched off.
    EXPECT_TRUE(d.getWindow()->drawObjects.isExist("@status", ""));
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.status", nullptr), 1);
    EXPECT_FALSE(d.getWindow()->drawObjects.isExist("@status", ""));
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.status", nullptr), 1);
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.info", nullptr), 1);
    EXPECT_TRUE(d.getWindow()->drawObjects.isExist("@info", ""));
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.info", nullptr), 1);
    EXPECT_FALSE(d.getWindow()->drawObjects.isExist("@info", ""));

    // Without chain and image the fields say so.
    d.Release();
    d.updateStatus();
    EXPECT_EQ(d.statusBag.get("size"), "");
    EXPECT_EQ(d.statusBag.get("proc"), "-");
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.status", nullptr), 1);
    EXPECT_EQ(d.properties.get("display.view.status"), "0");
}

TEST(DisplayFlow, RateIsTheMeanOfTheHistory) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    d.properties.set("display.view.status", "1", true);
    {
        QTD::AutoLock hold(&d.fpsLock);
        d.fpsHistory = {10.0, 20.0, 40.0};
        d.lastFps = 99.0;
    }
    d.updateStatus();
    EXPECT_EQ(d.statusBag.get("fps"), "23.3");
    {
        QTD::AutoLock hold(&d.fpsLock);
        d.fpsHistory.clear();
        d.lastFps = 5.0;
    }
    d.updateStatus();
    EXPECT_EQ(d.statusBag.get("fps"), "5.0");
    {
        QTD::AutoLock hold(&d.fpsLock);
        d.lastFps = 1e-9;
    }
    d.updateStatus();
    EXPECT_EQ(d.statusBag.get("fps"), "0.0");

    // The history keeps fewer values than the window.
    d.slotImageProcessed(nullptr, true);
    d.slotImageProcessed(nullptr, true);
    d.slotImageProcessed(nullptr, true);
    d.slotImageProcessed(nullptr, true);
    EXPECT_EQ(d.fpsHistory.size(), 3u);
}

TEST(DisplayFlow, StrictFollowsTheSurfaceAboveTwelveMegapixels) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    d.getWindow()->surface->props.set("gl.strict", "1", true);
    auto exact = make(4000, 3000, PT::Mono8);
    ASSERT_EQ(d.Init(exact.get()), 0u);
    EXPECT_EQ(d.properties.get("strict"), "0");
    auto above = make(12000001, 1, PT::Mono8);
    ASSERT_EQ(d.Init(above.get()), 0u);
    EXPECT_EQ(d.properties.get("strict"), "1");
    d.getWindow()->surface->props.set("gl.strict", "0", true);
    ASSERT_EQ(d.Init(above.get()), 0u);
    EXPECT_EQ(d.properties.get("strict"), "0");
}

TEST(DisplayFlow, InitFromAnotherThreadWaitsForTheControllersThread) {
    auto widget = host();
    QTDDisplay d(widget.get(), false);
    auto format = make(W, H, PT::Mono8);
    std::atomic<bool> finished{false};
    std::atomic<uint32_t> result{1};
    std::thread caller([&] {
        result = d.Init(format.get());
        finished = true;
    });
    // Nothing is built until this thread runs its events.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(finished);
    EXPECT_EQ(d.viewer, nullptr);
    ASSERT_TRUE(pumpUntil([&] { return finished.load(); }));
    caller.join();
    EXPECT_EQ(result, 0u);
    ASSERT_NE(d.viewer, nullptr);
    EXPECT_EQ(d.viewer->thread(), widget->thread());
    EXPECT_NE(d.chain, nullptr);
}
