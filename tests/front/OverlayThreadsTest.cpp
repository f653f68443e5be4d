// Overlays changed from one thread while another feeds images and the controller's thread draws:
// meant to be run under ThreadSanitizer as well as plainly.

#include "FrontTestSupport.h"

#include "window/QTDWindow.h"

#include <atomic>
#include <thread>

using namespace FrontTest;

TEST(OverlayThreads, OverlayCallsFromAThreadWhileFramesRender) {
    Shown s(true);
    QTDDisplay& d = s.display;
    std::atomic<bool> stop{false};
    std::atomic<int> rounds{0};

    std::thread feeder([&] {
        for (uint32_t seed = 2; !stop; ++seed) {
            Image image = makeMono8(64, 48, seed);
            d.ProcessImage(image.get());
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });
    std::thread overlays([&] {
        for (int i = 0; !stop; ++i) {
            // Placed and positioned texts, in window and image coordinates, one kept by id; the
            // template reads the record of the frame shown while the chain writes the next one.
            Params text{{"text.text", "frame ${image.id} ${image.dims}"},
                        {"text.pos.x", "3"},
                        {"text.pos.y", i % 2 ? "-1" : "9"},
                        {"cs", i % 3 ? "img" : "win"}};
            d.RunCommandParams("cmd.display.overlay.text.add", &text);
            Params kept = of("objectID=@kept"), img = of("cs=img");
            d.SetOverlayText("kept", 9, -1, &kept);
            const QTD::ATTR rect = d.SetOverlayRect(1, 2, 20, 10, &img);
            Params line = of("x0=0 y0=0 x1=30 y1=20 cs=img");
            d.RunCommandParams("cmd.display.overlay.profline.add", &line);
            d.SetOverlayProfileLine(5, 5, 9, 9, &img);
            d.setActiveProfileLine(1);
            d.getProfileLines(nullptr);
            d.deleteProfileLine(0);
            d.DelOverlayObject(rect.c_str());
            Params del{{"objectID", text["objectID"]}};
            d.RunCommandParams("cmd.display.overlay.del", &del);
            d.deleteProfileLine(0);
            ++rounds;
        }
    });
    // View changes on the controller's thread refresh the overlays while they change.
    const long before = s.processed();
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1500);
    for (int i = 0; std::chrono::steady_clock::now() < end; ++i) {
        d.RunCommandParams(i % 2 ? "cmd.display.view.zoom.in" : "cmd.display.view.zoom.out",
                           nullptr);
        pump(5);
    }
    stop = true;
    feeder.join();
    overlays.join();
    pump(50);

    EXPECT_GT(rounds.load(), 10);
    EXPECT_GT(s.processed() - before, 10);
    // Every round removes what it added; only the object kept by its id stays.
    QTD::DrawObjects& objects = d.getWindow()->drawObjects;
    EXPECT_EQ(objects.count(), 1);
    EXPECT_TRUE(objects.isExist("@kept", "text"));
    EXPECT_EQ(d.getProfileLines(nullptr), 0);
}
