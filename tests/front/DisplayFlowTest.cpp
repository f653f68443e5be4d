// The controller's image flow: images from other threads through the double buffer to the
// viewer, the status line and the per-image notification.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "screen/QTDScreen.h"
#include "window/QTDWindow.h"

#include <gtest/gtest.h>

#include <atomic>
#include <regex>
#include <thread>

using namespace FrontTest;
using QTD::Procs::statusWord;

namespace {

constexpr int W = 64;

// The image on the window is the chain's output, an RGB8 copy of the grey values.
void expectShown(Shown& s, uint32_t seed) {
    BrxImage* shown = s.display.getWindow()->currentImage();
    ASSERT_NE(shown, nullptr);
    ASSERT_EQ(shown, s.display.chain->Output());
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

} // namespace

TEST(DisplayFlow, ImagesFromAnotherThreadReachTheWindow) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    std::atomic<uint32_t> result{1};
    // The camera thread may finish before the controller's thread ran the chain: the image is a
    // copy. A second image replaces the first.
    for (uint32_t seed : {5u, 6u}) {
        std::thread camera([&] {
            auto image = makeMono8(W, 48, seed);
            result = s.display.ProcessImage(image.get());
        });
        camera.join();
        EXPECT_EQ(result, 0u);
        ASSERT_TRUE(pumpUntil([&] { return s.processed() == long(seed) - 4; }));
        expectShown(s, seed);
    }
    EXPECT_EQ(s.display.lastError, 0);
    // Null stops showing.
    EXPECT_EQ(s.display.ProcessImage(nullptr), 0u);
    EXPECT_EQ(s.display.getWindow()->currentImage(), nullptr);
}

TEST(DisplayFlow, ABurstLeavesOnlyTheNewestImage) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    // The controller's thread is this one: nothing is taken until the events run.
    for (uint32_t seed = 1; seed <= 10; ++seed) {
        auto image = makeMono8(W, 48, seed);
        ASSERT_EQ(s.display.ProcessImage(image.get()), 0u);
    }
    ASSERT_TRUE(pumpUntil([&] { return s.processed() >= 1; }));
    pump(20);
    EXPECT_EQ(s.processed(), 1);
    EXPECT_EQ(s.received(), 10);
    expectShown(s, 10);
}

TEST(DisplayFlow, NothingBreaksBeforeInitOrOnBadImages) {
    QTDDisplay d(nullptr, false);
    auto image = makeMono8(W, 48, 1);
    EXPECT_EQ(d.ProcessImage(nullptr), 0u);
    EXPECT_EQ(d.ProcessImage(image.get()), 0u);
    pump(20);
    // The slot found nothing set up.
    EXPECT_EQ(d.lastError, 8);
    EXPECT_EQ(d.ConvertImage(image.get(), image.get()), statusWord(8));
    d.updateStatus();
    d.Release();
    d.Release();

    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    // Other geometry: the application must set up again; no data is a bad image.
    auto narrower = makeMono8(W / 2, 48, 1);
    EXPECT_EQ(s.display.ProcessImage(narrower.get()), statusWord(8));
    void* data = image->imageData;
    image->imageData = nullptr;
    EXPECT_EQ(s.display.ProcessImage(image.get()), statusWord(7));
    image->imageData = data;
    EXPECT_EQ(s.display.Init(nullptr), statusWord(7));
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
    ASSERT_EQ(d.ProcessImage(s.format.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return s.processed() == 1; }));
    EXPECT_EQ(receiver.count("notification.image"), 0);

    std::map<std::string, std::string> on{{"name", "image.notification.flags.set"}, {"value", "1"}};
    EXPECT_EQ(d.RunCommandParams("cmd.parameter.set", &on), 0);
    ASSERT_EQ(d.ProcessImage(s.format.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return receiver.count("notification.image") == 1; }));
    for (auto& call : receiver.received()) {
        if (call.first == "notification.image") {
            EXPECT_EQ(call.second["result"], "0");
            EXPECT_EQ(call.second["from"], std::string(QTD::ATTR(static_cast<void*>(&d))));
        }
    }
}

TEST(DisplayFlow, StatusTexts) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    // Switched off, nothing is filled, while the counters go on.
    d.updateStatus();
    EXPECT_EQ(d.statusBag.count(), 0);
    auto image = makeMono8(W, 48, 7);
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
}
