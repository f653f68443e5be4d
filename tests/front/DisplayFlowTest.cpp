// The controller's image flow from other threads to the viewer, and the status line.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "screen/QTDScreen.h"
#include "window/QTDWindow.h"

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

using namespace FrontTest;

constexpr int W = 64;

// The image on the window is the chain's output, an RGB8 copy of the grey values.
static void expectShown(Shown& s, uint32_t seed) {
    BrxImage* shown = s.display.getWindow()->currentImage();
    ASSERT_NE(shown, nullptr);
    ASSERT_EQ(shown, s.display.chain->Output());
    ASSERT_EQ(shown->pixelType, PT::RGB8);
    ASSERT_EQ(shown->width, uint32_t(W));
    EXPECT_EQ(shown->imageID, seed);
    EXPECT_EQ(wrongPixels(shown, PT::Mono8, seed), 0);
}

// The camera thread may finish before the controller's thread ran the chain: the image is a
// copy. A second image replaces the first. The per-image notification is off by default; with
// bit 0 set, each image is told with its result and its controller.
TEST(DisplayFlow, ImagesFromAnotherThreadReachTheWindowAndAreTold) {
    Shown s;
    struct : BrxDisplayCommand {
        int RunCommandParams(const char* command, Params* params) override {
            std::lock_guard<std::mutex> lock(mutex);
            if (std::string(command) == "notification.image") {
                images.push_back(*params);
            }
            return 0;
        }
        std::mutex mutex;
        std::vector<Params> images;
    } receiver;
    Params add{{"proc", QTD::ATTR(static_cast<void*>(static_cast<BrxDisplayCommand*>(&receiver)))}};
    EXPECT_EQ(s.display.RunCommandParams("cmd.system.notification.add", &add), 1);
    std::atomic<uint32_t> result{1};
    for (uint32_t seed : {5u, 6u}) {
        std::thread camera([&] {
            auto image = makeMono8(W, 48, seed);
            result = s.display.ProcessImage(image.get());
        });
        camera.join();
        EXPECT_EQ(result, 0u);
        ASSERT_TRUE(pumpUntil([&] { return s.processed() == long(seed) - 4; }));
        expectShown(s, seed);
        pump(20);
        Params on = of("name=image.notification.flags.set value=1");
        EXPECT_EQ(s.display.RunCommandParams("cmd.parameter.set", &on), 0);
    }
    EXPECT_EQ(s.display.lastError, 0);
    ASSERT_TRUE(pumpUntil([&] {
        std::lock_guard<std::mutex> lock(receiver.mutex);
        return !receiver.images.empty();
    }));
    std::lock_guard<std::mutex> lock(receiver.mutex);
    ASSERT_EQ(receiver.images.size(), 1u);
    EXPECT_EQ(receiver.images[0]["result"], "0");
    EXPECT_EQ(receiver.images[0]["from"], std::string(QTD::ATTR(static_cast<void*>(&s.display))));
}

TEST(DisplayFlow, ABurstLeavesOnlyTheNewestImage) {
    Shown s;
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

// The status line is an overlay object whose text is the status bag, each value in its format.
TEST(DisplayFlow, StatusTexts) {
    Shown s;
    QTDDisplay& d = s.display;
    // Switched off, nothing is filled, while the counters go on.
    d.updateStatus();
    EXPECT_EQ(d.statusBag.count(), 0);
    auto image = makeMono8(W, 48, 7);
    ASSERT_EQ(d.ProcessImage(image.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return s.processed() == 1; }));
    // Eight times larger than the image, the view can move away from the centre.
    ASSERT_TRUE(d.SetScale(0.125, false));
    // Taken as asked, not corrected.
    ASSERT_FALSE(d.CenterAt(0.4, 0.6, false));
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
    EXPECT_EQ(statusText(), line("3.5"));
    d.fpsHistory = {1e-8};
    d.updateStatus();
    EXPECT_EQ(statusText(), line("0.0"));

    EXPECT_EQ(d.RunCommandParams("cmd.display.view.status", nullptr), 1);
    EXPECT_FALSE(d.getWindow()->drawObjects.isExist("@status", ""));
}
