// The controller's image flow from other threads to the viewer, and the status line; its overlay
// commands and profile lines, down to the window's draw objects; and overlays changed from one
// thread while another feeds images and the controller's thread draws, meant to be run under
// ThreadSanitizer as well as plainly.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "screen/QTDScreen.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>
#include <brx/BrxImgProcessingChain.h>
#include <brx/BrxImgProcessor.h>

#include <QKeyEvent>

#include <atomic>
#include <cstring>
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

static QTD::DrawObjects& objects(Shown& s) {
    return s.display.getWindow()->drawObjects;
}
static QTD::PROPERTIES* object(Shown& s, std::string const& id) {
    return objects(s).find(id, true);
}

// Profile lines are listed from the last, as given; keys left out of an overlay take the bag's
// overlay style, then the built-in value.
TEST(DisplayOverlay, ProfileLinesAndTheOverlayStyle) {
    Shown s(true);
    QTDDisplay& d = s.display;
    Params a{{"x0", "1"}, {"y0", "2"}, {"x1", "3"}, {"y1", "4"}};
    Params b{{"x0", "10"}, {"y0", "20"}, {"x1", "30"}, {"y1", "40"}, {"cs", "img"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.profline.add", &a), 1);
    EXPECT_EQ(object(s, a["objectID"])->get("line.width"), "1");
    d.properties.set("display.overlay.line.width", "3", true);
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.profline.add", &b), 1);
    EXPECT_EQ(object(s, b["objectID"])->get("line.width"), "3");
    std::vector<int> coordinates(8, -7);
    int* buffer = coordinates.data();
    EXPECT_EQ(d.getProfileLines(&buffer), 2);
    // The last line first, in the coordinates it was given.
    EXPECT_EQ(coordinates, (std::vector<int>{10, 20, 30, 40, 1, 2, 3, 4}));

    d.setActiveProfileLine(0);
    EXPECT_EQ(objects(s).activeLineIndex(), 0);
    d.deleteProfileLine(0);
    EXPECT_EQ(d.getProfileLines(nullptr), 1);
    EXPECT_TRUE(objects(s).isExist(a["objectID"], "line"));
    d.clearProfileLines();
    EXPECT_EQ(d.getProfileLines(nullptr), 0);
}

TEST(DisplayOverlay, TextOfTheOverlayStageIsBurntIntoConvertedImagesNotLaidOnTheView) {
    Live live(PT::Mono8, 64, 48);
    // A fresh source each time: the stage draws in place, on whatever image reaches it.
    auto convert = [&] {
        Image source = make(64, 48, PT::Mono8), target = make(64, 48, PT::Mono8);
        std::memset(source->imageData, 0, source->imageSize);
        EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, source.get(), target.get()), 0u);
        return std::vector<uint8_t>(row8(target.get(), 0), row8(target.get(), 0) + 64 * 48);
    };
    const std::vector<uint8_t> plain = convert();

    // The application reaches the stage through the chain and talks to its component.
    BrxImgProcessor* stage = live.display->GetProcessingChain()->GetProcessor("image.overlay");
    ASSERT_NE(stage, nullptr);
    BrxComponent* overlay = stage->GetComponent();
    char text[] = "BURN";
    overlay->SetParamString("text.text", text);
    overlay->SetParamInt("text.pos.x", 4);
    overlay->SetParamInt("text.pos.y", 20);
    overlay->SetParamInt("text.clr", 0xFFFFFF);
    ASSERT_EQ(overlay->RunCommand("text.add"), 0u);
    const std::vector<uint8_t> burnt = convert();
    long changed = 0;
    for (size_t i = 0; i < plain.size(); ++i)
        changed += burnt[i] != plain[i] ? 1 : 0;
    EXPECT_GT(changed, 10);
    EXPECT_EQ(live.display->getWindow()->drawObjects.count(), 0);

    // Removed again, the next conversion is the plain image.
    ASSERT_EQ(overlay->RunCommand("del"), 0u);
    EXPECT_EQ(convert(), plain);
}

TEST(DisplayOverlay, BadOverlayRequestsAreAnsweredNotCrashed) {
    Shown s(true);
    QTDDisplay& d = s.display;
    const std::string t = "text.text=t text.pos.x=5 text.pos.y=6 ";
    const std::string r = "rect.x=1 rect.y=2 rect.w=8 rect.h=4 ";
    Params text = of(t + "objectID=@t");
    ASSERT_EQ(d.RunCommandParams("cmd.display.overlay.text.add", &text), 1);
    // Each overlay command; what the text "@t" is afterwards, "" when gone.
    const struct {
        const char* what;
        const char* command;
        std::string params;
        int result;
        const char* textType;
    } cases[] = {
        // An unknown system converts nothing: the object keeps the numbers as given.
        {"unknown cs", "rect.add", r + "cs=moon objectID=@moon", 1, "text"},
        {"unknown cs of a text", "text.add", t + "cs=moon", 1, "text"},
        {"empty text", "text.add", t + "text.text=", 0, "text"},
        {"empty text keeps the object", "text.add", t + "text.text= objectID=@t", 0, "text"},
        {"negative size", "rect.add", r + "rect.w=-8 rect.h=-4 cs=img", 1, "text"},
        {"line all negative", "profline.add", "x0=-1 y0=-1 x1=-1 y1=-1", 0, "text"},
        {"unknown id", "del", "objectID=nosuch", 0, "text"},
        {"no id", "rect.del", "", 0, "text"},
        // Ids carry no type for the commands: a line call replaces the text as a whole ...
        {"line over a text id", "profline.add", "x0=1 y0=2 x1=3 y1=4 objectID=@t", 1, "line"},
        // ... and a rectangle's delete removes whatever has the id.
        {"rect delete of a line id", "rect.del", "objectID=@t", 1, ""},
    };
    for (auto& c : cases) {
        Params params = of(c.params);
        const std::string command = std::string("cmd.display.overlay.") + c.command;
        EXPECT_EQ(d.RunCommandParams(command.c_str(), &params), c.result) << c.what;
        QTD::PROPERTIES* o = object(s, "@t");
        EXPECT_EQ(o ? o->get("type") : "", c.textType) << c.what;
    }
    QTD::PROPERTIES* moon = object(s, "@moon");
    ASSERT_NE(moon, nullptr);
    EXPECT_EQ(moon->get("x") + "," + moon->get("w.cs"), "1,8");

    // Conversions of points with unknown systems say so.
    Params point = of("pos.x=3 pos.y=4 cs.src=moon cs.dst=img");
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.translate", &point), 1);
    EXPECT_EQ(point["result"], "0");
    // Profile-line indices past the end do nothing.
    const int count = objects(s).count();
    d.deleteProfileLine(5);
    d.setActiveProfileLine(-2);
    EXPECT_EQ(objects(s).count(), count);
}

// The controller's older "text.add" lays the text of its bag on the view. Added or refused, it
// leaves the display's state alone, and the status line still shows.
TEST(DisplayOverlay, TheOlderTextAddLaysTheBagsTextOnTheView) {
    Shown s(true);
    QTDDisplay& d = s.display;
    setAll(d.properties, "text.text=older text.pos.x=5 text.pos.y=6 objectID=@older");
    EXPECT_EQ(d.RunCommand("text.add"), 0u);
    QTD::PROPERTIES* text = object(s, "@older");
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text->get("text"), "older");
    d.properties.set("text.text", "", true);
    EXPECT_EQ(d.RunCommand("text.add"), 0x80FF0001u);
    EXPECT_EQ(d.lastError, 0);
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.status", nullptr), 1);
    EXPECT_TRUE(objects(s).isExist("@status", ""));
}

// The window's key sequences go out through the messenger; an application that wants them to act
// hands them back to the controller.
TEST(DisplayOverlay, TypingSdInTheWindowTogglesTheStatusLine) {
    Shown s(true);
    struct : BrxDisplayCommand {
        int RunCommandParams(const char* command, Params* params) override {
            return QTD::ATTR(command).samel("cmd.display.view")
                       ? display->RunCommandParams(command, params)
                       : 0;
        }
        QTDDisplay* display;
    } forwarder;
    forwarder.display = &s.display;
    s.display.AppendNotificationProc(&forwarder);
    auto type = [&](std::initializer_list<int> keys) {
        for (int k : keys) {
            QKeyEvent e(QEvent::KeyPress, k, Qt::NoModifier);
            QCoreApplication::sendEvent(s.display.getWindow(), &e);
        }
    };
    type({Qt::Key_X, Qt::Key_S, Qt::Key_D});
    EXPECT_TRUE(pumpUntil([&] { return objects(s).isExist("@status", ""); }));
    type({Qt::Key_S, Qt::Key_D});
    EXPECT_TRUE(pumpUntil([&] { return !objects(s).isExist("@status", ""); }));
    // A key between those of the sequence breaks it.
    type({Qt::Key_S, Qt::Key_X, Qt::Key_D});
    pump(100);
    EXPECT_FALSE(objects(s).isExist("@status", ""));
    s.display.DeleteNotificationProc(&forwarder);
}

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
