// The controller's image flow: images from other threads through the double buffer to the
// viewer, the status line and the per-image notification.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "screen/QTDScreen.h"
#include "window/QTDWindow.h"

#include <gtest/gtest.h>

#include <atomic>
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
    EXPECT_EQ(s.display.RunCommandParams("cmd.display.view.status", nullptr), 1);
    EXPECT_EQ(std::string(s.display.statusBag.get("in/p")), "10/1");
}

TEST(DisplayFlow, NothingBreaksBeforeInit) {
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

// The status line is an overlay object of the window whose text is the status bag, every
// value in its own format.
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
    // Eight times larger than the image, the view can move away from the centre.
    ASSERT_TRUE(d.SetScale(0.125, false));
    ASSERT_TRUE(d.CenterAt(0.4, 0.6, false));
    auto statusText = [&] {
        QTD::PROPERTIES* object = d.getWindow()->drawObjects.find("@status", true);
        return object != nullptr ? std::string(object->get("text")) : std::string("(none)");
    };
    const std::string proc = d.chain->properties.get("time", "", true);
    ASSERT_FALSE(proc.empty());
    const auto line = [&](const char* fps) {
        return "size=64x48 last=000007 in/p=1/1 fps=" + std::string(fps) + " proc=" + proc +
               " zoom=800% at=0.40;0.60";
    };
    // The rate is the mean of the recent values; below 1e-7 it is zero.
    d.fpsHistory = {2.5, 3.5, 4.5};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.status", nullptr), 1);
    EXPECT_EQ(d.properties.get("display.view.status"), "1");
    EXPECT_EQ(statusText(), line("3.5"));
    d.fpsHistory = {1e-8};
    d.updateStatus();
    EXPECT_EQ(statusText(), line("0.0"));

    EXPECT_EQ(d.RunCommandParams("cmd.display.view.status", nullptr), 1);
    EXPECT_FALSE(d.getWindow()->drawObjects.isExist("@status", ""));
}
