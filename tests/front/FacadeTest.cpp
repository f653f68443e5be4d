// The flat entry points and the facade on its controller; the facade's older words and Translate
// against the controller's newer commands on live displays.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "screen/QTDScreen.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <stdexcept>

using namespace FrontTest;

namespace {

constexpr int W = 40, H = 30;

// A controller whose image and conversion answers are scripted, to watch the facade.
class ScriptedDisplay : public QTDDisplay {
public:
    ScriptedDisplay() : QTDDisplay(nullptr, false) {}
    uint32_t ProcessImage(BrxImage* image) override { return next(image); }
    uint32_t ConvertImage(BrxImage* source, BrxImage*) override { return next(source); }
    void DeleteConverter() override { ++deletes; }
    uint32_t next(BrxImage* image) {
        images.push_back(image);
        return images.size() <= answers.size() ? answers[images.size() - 1] : 0u;
    }
    std::vector<uint32_t> answers;
    std::vector<BrxImage*> images;
    int deletes = 0;
};

// Another class behind the same interface, as its "class" says.
struct Stranger : BrxDisplayImpl {
    explicit Stranger(bool* alive) : alive(alive) {
        *alive = true;
        properties.set("class", "SomethingElse", true);
    }
    ~Stranger() override { *alive = false; }
    bool* alive;
};

Image source(uint32_t type, int width, int height) {
    Image image = make(width, height, type);
    const uint32_t n = type == PT::RGB8 ? 3 : 1;
    for (uint32_t y = 0; y < image->height; ++y) {
        for (uint32_t i = 0; i < n * image->width; ++i) {
            const uint16_t v = uint16_t(expected(type, i / n, y, i % n) << 4 | (i & 15));
            if (type == PT::Mono12) {
                std::memcpy(row8(image.get(), y) + 2 * i, &v, 2);
            } else {
                row8(image.get(), y)[i] = expected(type, i / n, y, i % n);
            }
        }
    }
    image->imageID = 4711;
    image->timestamp = 987654321;
    return image;
}

constexpr uint32_t Failed = 0x80FF0001u;

// A display showing its image at 800 %, off the centre, with a text "@t" and a rectangle "@dump".
struct Side : Live {
    Side() : Live(PT::Mono8, 64, 48) {
        auto image = makeMono8(64, 48, 1);
        EXPECT_EQ(BrxDisplay_DisplayVideo(handle, image.get()), 0u);
        EXPECT_TRUE(pumpUntil([&] { return processed() == 1; }));
        EXPECT_TRUE(display->SetFitMode(0, false) && display->SetScale(0.125, false));
        // Moving brings the scroll bars, which take their room from the 320 x 240 of the widget.
        EXPECT_TRUE(display->CenterAt(0.3, 0.6, false));
        QTDScreen& s = *display->getScreen();
        EXPECT_TRUE(pumpUntil([&] { return s.windowWidth < 320 && s.windowHeight < 240; }));
        pump(10);
        EXPECT_EQ(run("cmd.display.overlay.text.add", "text.text=t text.pos.x=3 objectID=@t"), 1);
        EXPECT_EQ(run("cmd.display.overlay.rect.add", "rect.w=8 rect.h=4 objectID=@dump"), 1);
    }
    BrxDisplayImpl& facade() { return *dynamic_cast<BrxDisplayImpl*>(handle); }
    void fill(const std::string& bag) { setAll(facade().properties, bag); }
    int run(const char* command, const std::string& params) {
        Params map = of(params);
        return display->RunCommandParams(command, &map);
    }
    // The view and every overlay object as drawn; generated ids name their window.
    std::string state() {
        QTDScreen& s = *display->getScreen();
        std::ostringstream out;
        out << s.windowWidth << "x" << s.windowHeight << " " << s.scaleValue << " at " << s.centerX
            << ";" << s.centerY << " fit " << s.fit() << " bg " << s.props.get("color");
        QTD::DrawObjects& objects = display->getWindow()->drawObjects;
        for (int i = 0; i < objects.count(); ++i) {
            QTD::PROPERTIES* o = objects.at(i);
            const std::string id = o->get("objectID");
            out << "\n" << (id[0] == '@' ? id : "(new)");
            for (const char* key : {"type", "text", "x", "y", "w", "h", "cs", "text.clr",
                                    "text.font", "line.clr", "line.width", "placement"}) {
                out << " " << key << "=" << o->get(key);
            }
        }
        return out.str();
    }
};

} // namespace

TEST(Facade, NullHandlesAndCheckedDeletes) {
    auto image = makeMono8(W, H, 1);
    EXPECT_EQ(BrxDisplay_Initialize(nullptr, nullptr, "opengl", image.get()), 0x80070007u);
    EXPECT_EQ(BrxDisplay_DisplayVideo(nullptr, image.get()), 0x80070007u);
    EXPECT_EQ(BrxDisplay_DisplayImage(nullptr, image.get(), "x"), 0x80070007u);
    EXPECT_EQ(BrxDisplay_ConvertImage(nullptr, image.get(), image.get()), 0x80070007u);
    EXPECT_EQ(BrxDisplay_GetComponent(nullptr), nullptr);
    BrxDisplay_DeleteComponent(nullptr);
    BrxDisplay::DeleteComponent(nullptr);
    BrxDisplayCPU::DeleteComponent(nullptr);
    EXPECT_EQ(QTDDisplay::CastQTDDisplay(nullptr), nullptr);

    // Another class behind the same interface is not deleted, nor one with an empty "class".
    bool alive = false;
    auto* stranger = new Stranger(&alive);
    BrxDisplay::DeleteComponent(stranger);
    EXPECT_TRUE(alive);
    stranger->properties.set("class", "", true);
    BrxDisplay::DeleteComponent(stranger);
    EXPECT_TRUE(alive);
    delete stranger;
    EXPECT_FALSE(alive);
}

// A widget pointer is no window identifier and is used as it stands; a native window identifier
// is resolved to its widget. Only "opengl" sets "system.opengl".
TEST(Facade, ModeWordAndParent) {
    Live live(PT::Mono8);
    auto& bag = live.display->properties;
    auto format = make(W, H, PT::Mono8);
    auto parent = [&] { return bag.getAs<void*>("system.parentWidget"); };
    EXPECT_EQ(BrxDisplay_Initialize(live.handle, live.widget.get(), nullptr, format.get()), 0u);
    EXPECT_EQ(parent(), static_cast<void*>(live.widget.get()));
    ASSERT_NE(live.display->viewer, nullptr);
    EXPECT_EQ(live.display->viewer->parentWidget(), live.widget.get());

    auto other = host();
    BrxDisplay_Initialize(live.handle, reinterpret_cast<void*>(other->winId()), "cpu",
                          format.get());
    EXPECT_EQ(parent(), static_cast<void*>(other.get()));
    BrxDisplay_Initialize(live.handle, live.widget.get(), "opengl", format.get());
    EXPECT_EQ(bag.get("system.opengl"), "1");
    EXPECT_EQ(live.handle->SetVideoMode(format.get(), nullptr), 0u);
    EXPECT_EQ(bag.get("system.opengl"), "0");
    EXPECT_EQ(parent(), static_cast<void*>(live.widget.get()));
}

// DisplayVideo tries a failing image again, a second success still a failure word with code 0.
// ConvertImage tries again with a new converter on code 7 only; only success stamps the target.
TEST(Facade, SecondTriesOfDisplayVideoAndConvertImage) {
    auto source = makeMono8(W, H, 56);
    source->timestamp = 1234;
    const struct {
        bool convert;
        std::vector<uint32_t> answers;
        uint32_t result;
        size_t calls;
        int deletes;
    } cases[] = {{false, {0x80FF0007u, 0x80FF0007u}, 0x80FF0007u, 2, 0},
                 {false, {0x80FF0008u, 0u}, 0x80FF0000u, 2, 0},
                 {false, {}, 0u, 1, 0},
                 {true, {0x80FF0007u, 0u}, 0u, 2, 1},
                 {true, {0x80FF0007u, 0x80FF0007u}, 0x80FF0007u, 2, 1},
                 {true, {0x80FF0001u}, 0x80FF0001u, 1, 0}};
    for (auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.convert << " " << std::hex << c.result);
        auto target = make(W, H, PT::RGB8);
        BrxDisplayImpl facade;
        auto* scripted = new ScriptedDisplay;
        delete facade.display;
        facade.display = scripted;
        scripted->answers = c.answers;
        EXPECT_EQ(c.convert ? facade.ConvertImage(source.get(), target.get())
                            : facade.DisplayVideo(source.get()),
                  c.result);
        EXPECT_EQ(scripted->images, std::vector<BrxImage*>(c.calls, source.get()));
        EXPECT_EQ(scripted->deletes, c.deletes);
        EXPECT_EQ(target->imageID, c.convert && c.result == 0 ? 56u : 0u);
        EXPECT_EQ(target->timestamp, c.convert && c.result == 0 ? 1234u : 0u);
    }
}

// A bad image leaves the last good one on the window. Geometry is checked before size: a zero
// width whose bytes fit is "other geometry" (8), else a bad image (7); other geometry is 8
// whatever its size.
TEST(Facade, BadImagesAndNumbers) {
    Live live(PT::Mono8);
    auto good = makeMono8(W, H, 3);
    ASSERT_EQ(BrxDisplay_DisplayVideo(live.handle, good.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return live.processed() == 1; }));
    BrxImage* shown = live.display->getWindow()->currentImage();
    ASSERT_NE(shown, nullptr);

    Image bad[] = {makeMono8(W, H, 9), makeMono8(2 * W, H, 9), makeMono8(W, H, 9),
                   makeMono8(W / 2, H, 9), makeMono8(2 * W, H, 9)};
    bad[0]->width = 0;
    bad[1]->width = 0;
    void* const data = bad[2]->imageData;
    bad[2]->imageData = nullptr;
    const struct {
        const char* what;
        uint32_t result;
    } cases[] = {{"zero width, fitting", 0x80FF0008u},
                 {"zero width, too large", 0x80FF0007u},
                 {"no data", 0x80FF0007u},
                 {"other geometry", 0x80FF0008u},
                 {"larger geometry", 0x80FF0008u}};
    for (int i = 0; i < 5; ++i) {
        SCOPED_TRACE(cases[i].what);
        EXPECT_EQ(BrxDisplay_DisplayVideo(live.handle, bad[i].get()), cases[i].result);
        pump(5);
        EXPECT_EQ(live.processed(), 1);
        EXPECT_EQ(live.display->getWindow()->currentImage(), shown);
        EXPECT_EQ(shown->imageID, 3u);
    }
    bad[2]->imageData = data;

    auto flat = make(W, H, PT::Mono8);
    flat->height = 0;
    EXPECT_EQ(BrxDisplay_Initialize(live.handle, live.widget.get(), "cpu", nullptr), 0x80FF0007u);
    EXPECT_EQ(live.handle->SetVideoMode(flat.get(), "cpu"), 0x80FF0007u);
    // A missing source never fits (7, retried); a missing target leaves no converter (8).
    auto target = make(W, H, PT::RGB8);
    EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, nullptr, target.get()), 0x80FF0007u);
    EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, good.get(), nullptr), 0x80FF0008u);

    auto next = makeMono8(W, H, 4);
    ASSERT_EQ(BrxDisplay_DisplayVideo(live.handle, next.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return live.processed() == 2; }));
    EXPECT_EQ(live.display->getWindow()->currentImage()->imageID, 4u);
    // Null stops showing and is no error.
    EXPECT_EQ(BrxDisplay_DisplayVideo(live.handle, nullptr), 0u);
    EXPECT_EQ(live.display->getWindow()->currentImage(), nullptr);

    // Bad numbers in command parameters raise to the caller, and leave the locks free.
    constexpr bool Invalid = false, OutOfRange = true;
    const struct {
        const char* command;
        Params params;
        bool outOfRange;
    } numbers[] = {
        {"cmd.display.view.zoom.in", {{"zoom.coef", "much"}}, Invalid},
        {"cmd.display.view.fit", {{"mode", "fit"}}, Invalid},
        {"cmd.display.view.fit", {{"mode", "99999999999"}}, OutOfRange},
        {"cmd.display.view.scale", {{"scale", "1e999"}}, OutOfRange},
        {"cmd.display.view.translate", {{"pos.x", "1"}, {"pos.y", "-"}}, Invalid},
        {"cmd.parameter.set", {{"name", "image.notification.flags.set"}, {"value", "on"}}, Invalid},
        {"cmd.display.overlay.rect.add", {{"rect.x", "left"}}, Invalid},
        {"cmd.display.overlay.text.add", {{"text.pos.y", "99999999999"}}, OutOfRange},
        {"cmd.display.overlay.profline.add", {{"x0", "1"}, {"y1", "four"}}, Invalid},
    };
    for (auto c : numbers) {
        SCOPED_TRACE(testing::Message() << c.command << " " << c.params.begin()->second);
        auto run = [&] { return live.display->RunCommandParams(c.command, &c.params); };
        if (c.outOfRange) {
            EXPECT_THROW(run(), std::out_of_range);
        } else {
            EXPECT_THROW(run(), std::invalid_argument);
        }
    }
    std::thread other([&] {
        EXPECT_TRUE(live.display->setupLock.try_lock());
        live.display->setupLock.unlock();
        EXPECT_TRUE(live.display->componentLock().try_lock());
        live.display->componentLock().unlock();
    });
    other.join();
    EXPECT_EQ(live.display->getWindow()->drawObjects.count(), 0) << "no overlay was added";
}

// Colour to grey is no conversion of the converter's image stage: it plans a copy of RGB8.
TEST(Facade, ConvertImageThroughTheChain) {
    for (uint32_t from : {PT::Mono8, PT::Mono12, PT::RGB8}) {
        for (uint32_t to : {PT::RGB8, PT::BGR8, PT::Mono8}) {
            SCOPED_TRACE(testing::Message() << std::hex << from << " to " << to);
            const uint32_t result = from == PT::RGB8 && to == PT::Mono8 ? 0x80FF0001u : 0u;
            Live live(from);
            auto in = source(from, W, H);
            auto out = make(W, H, to);
            ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), out.get()), result);
            EXPECT_TRUE(result != 0 || wrongPixels(out.get(), from) == 0);
            EXPECT_EQ(out->imageID, result == 0 ? 4711u : 0u);
            EXPECT_EQ(out->timestamp, result == 0 ? 987654321u : 0u);
        }
    }

    // A target of another type than the converter's first fails and is left alone. Another size
    // gives code 7, and the retry a converter that does not scale; back at the first size the
    // retry rebuilds. A new set-up drops the converter: one call converts its new size.
    Live live(PT::RGB8);
    auto in = source(PT::RGB8, W, H);
    auto rgb = make(W, H, PT::RGB8), small = make(W / 2, H / 2, PT::RGB8);
    auto bgr = make(W, H, PT::BGR8);
    ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), rgb.get()), 0u);
    EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), bgr.get()), 0x80FF0001u);
    EXPECT_EQ(std::count(row8(bgr.get(), 0), row8(bgr.get(), H), 0), long(bgr->imageSize));
    EXPECT_EQ(live.display->ConvertImage(in.get(), small.get()), QTD::Procs::statusWord(7));
    EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), small.get()), 0x80FF0001u);
    ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), rgb.get()), 0u);
    EXPECT_EQ(wrongPixels(rgb.get(), PT::RGB8), 0);

    auto format = make(W / 2, H / 2, PT::Mono8);
    ASSERT_EQ(live.handle->SetVideoMode(format.get(), "cpu"), 0u);
    EXPECT_EQ(live.display->converter, nullptr);
    auto smallIn = source(PT::Mono8, W / 2, H / 2);
    EXPECT_EQ(live.display->ConvertImage(smallIn.get(), small.get()), 0u);
    EXPECT_EQ(wrongPixels(small.get(), PT::Mono8), 0);
}

// Every seventh set-up asks for the GPU backend, which is not built: code 1, silent or not. Every
// eleventh asks for an unknown pixel type: code 3, silent or not, and the last image leaves the
// view. Either way images are taken without a word and not shown, and the next CPU set-up shows
// images again.
TEST(Facade, TwoHundredSetUpsOfFormatsSizesAndBackends) {
    const uint32_t types[] = {PT::Mono8, PT::Mono12, PT::RGB8, PT::BayerRG8, PT::YUV422_8_UYVY};
    const int sizes[][2] = {{64, 48}, {96, 64}, {32, 16}, {128, 72}, {48, 32}};
    Live live(PT::Mono8);
    uint32_t id = 0;
    for (int cycle = 0; cycle < 200; ++cycle) {
        SCOPED_TRACE(cycle);
        const bool gpu = cycle % 7 == 6, unknown = !gpu && cycle % 11 == 10,
                   silent = cycle % 2 == 0;
        const int* size = sizes[(cycle + cycle / 5) % 5];
        Image image = make(size[0], size[1], types[cycle % 5]);
        image->pixelType = unknown ? 0x01080199u : image->pixelType;
        live.display->properties.set("system.silent", silent ? "1" : "0", true);
        const char* mode = gpu ? "opengl" : "cpu";
        const uint32_t init =
            cycle % 3 ? live.handle->SetVideoMode(image.get(), mode)
                      : BrxDisplay_Initialize(live.handle, live.widget.get(), mode, image.get());
        image->pixelType = types[cycle % 5];
        EXPECT_EQ(init, unknown ? 0x80FF0003u : gpu ? 0x80FF0001u : 0u);
        EXPECT_EQ(live.display->currentImage == nullptr, gpu || unknown);
        if (unknown) {
            EXPECT_EQ(live.display->getWindow()->currentImage(), nullptr);
        }
        // Every byte the same is a valid sample of each of these formats, Mono12 included.
        for (long shown = 1; shown <= 2; ++shown) {
            std::memset(image->imageData, 0x07 + int(shown), image->imageSize);
            image->imageID = ++id;
            ASSERT_EQ(BrxDisplay_DisplayVideo(live.handle, image.get()), 0u);
            if (gpu || unknown) {
                pump(3);
                EXPECT_EQ(live.processed(), 0);
                break;
            }
            ASSERT_TRUE(pumpUntil([&] { return live.processed() == shown; }));
            BrxImage* onWindow = live.display->getWindow()->currentImage();
            ASSERT_NE(onWindow, nullptr);
            EXPECT_EQ(onWindow, live.display->chain->Output());
            EXPECT_EQ(onWindow->imageID, id);
            EXPECT_EQ(onWindow->width, uint32_t(size[0]));
            EXPECT_EQ(onWindow->height, uint32_t(size[1]));
        }
    }
}

// An older word after the facade's bag is filled, or "name=value" of an older parameter, and the
// bag afterwards ("-": absent). "display.dump.on" keeps and uses "dump.objectID"; off uses
// "objectID".
TEST(FacadeCommands, TheOlderWordsReachTheSameResultsAsTheirNewerCommands) {
    const std::string dump = "dump.x=10 dump.y=20 dump.w=30 dump.h=16";
    const std::string rect = "rect.x=10 rect.y=20 rect.w=30 rect.h=16 cs=img line.width=2 "
                             "line.clr=50372 objectID=";
    const std::string text = "text.text=frame text.pos.x=12 text.pos.y=-3 text.clr=65280 cs=win";
    const struct {
        const char* older;
        std::string bag;
        const char* command;
        std::string params;
        const char* kept;
    } cases[] = {
        {"display.zoom.in", "", "cmd.display.view.zoom.in", "", ""},
        {"display.zoom.out", "", "cmd.display.view.zoom.out", "", ""},
        {"display.atcenter", "", "cmd.display.view.at", "pos.x=0 pos.y=0 cs=base", ""},
        {"text.add", text, "cmd.display.overlay.text.add", text + " text.font=default", ""},
        {"text.del", "objectID=@t", "cmd.display.overlay.text.del", "objectID=@t", "objectID="},
        {"display.dump.on", dump, "cmd.display.overlay.rect.add", rect + "@dump",
         "dump.objectID=@dump objectID=-"},
        {"display.dump.on", dump + " dump.objectID=@mine", "cmd.display.overlay.rect.add",
         rect + "@mine", "dump.objectID=@mine"},
        {"display.dump.off", "objectID=@dump dump.objectID=@t", "cmd.display.overlay.del",
         "objectID=@dump", "objectID=@dump dump.objectID=@t"},
        // Read as an integer.
        {"display.fit=3.9", "", "cmd.display.view.fit", "mode=3", ""},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.older + (" " + c.bag));
        Side older, newer;
        const std::string before = older.state();
        ASSERT_EQ(before, newer.state());
        const std::string word = c.older;
        if (word.find('=') == std::string::npos) {
            older.fill(c.bag);
            EXPECT_EQ(older.facade().RunCommand(c.older), 0u);
        } else {
            std::string value = word.substr(word.find('=') + 1);
            EXPECT_EQ(older.facade().GetComponent()->SetParamString(
                          word.substr(0, word.find('=')).c_str(), &value[0]),
                      0u);
        }
        EXPECT_EQ(newer.run(c.command, c.params), 1);
        EXPECT_NE(older.state(), before);
        EXPECT_EQ(older.state(), newer.state());
        for (auto& entry : of(c.kept)) {
            EXPECT_EQ(older.facade().properties.get(entry.first, "-"), entry.second) << entry.first;
        }
    }
}

// Before a set-up the controller takes images but its slot finds nothing (8). Every word fails
// with code 1, a failed add forgets the old object, and Translate gives the point back as sent.
// Unknown words and the controller's own do nothing and answer 0, not the component's 10. Numbers
// that do not read raise to the caller.
TEST(FacadeCommands, FailuresAndUnknownWords) {
    BrxDisplayImpl bare;
    QTDDisplay& d = *bare.display;
    auto image = makeMono8(64, 48, 1);
    EXPECT_EQ(d.ProcessImage(nullptr), 0u);
    EXPECT_EQ(d.ProcessImage(image.get()), 0u);
    pump(20);
    EXPECT_EQ(d.lastError, 8);
    EXPECT_EQ(d.ConvertImage(image.get(), image.get()), QTD::Procs::statusWord(8));
    Params props = of("props=0 vars=0");
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.params", &props), 1);
    EXPECT_EQ(d.getProfileLines(nullptr), 0);
    d.deleteProfileLine(0);
    d.setActiveProfileLine(1);
    d.updateStatus();
    bare.properties.set("objectID", "@old", true);
    for (const char* word : {"text.add", "text.del", "display.zoom.in", "display.zoom.out",
                             "display.atcenter", "display.dump.on", "display.dump.off"}) {
        EXPECT_EQ(bare.RunCommand(word), Failed) << word;
        EXPECT_EQ(bare.properties.get("objectID", "-"), "") << word;
    }
    int x = 9, y = 8;
    EXPECT_EQ(bare.Translate(&x, &y, 1), int(Failed));
    EXPECT_EQ(x * 10 + y, 98);
    d.Release();
    d.Release();

    Side side;
    const std::string before = side.state();
    for (const char* word : {"DISPLAY.ZOOM.IN", "display.zoom", "",
                             static_cast<const char*>(nullptr), "cmd.display.view.zoom.in"}) {
        EXPECT_EQ(side.facade().RunCommand(word), 0u);
        EXPECT_EQ(side.facade().GetComponent()->RunCommand(word), 0u);
    }
    // Off looks at "objectID", which is not there.
    side.fill("dump.objectID=@dump");
    EXPECT_EQ(side.facade().RunCommand("display.dump.off"), Failed);
    side.fill("text.pos.x=left");
    EXPECT_THROW(side.facade().RunCommand("text.add"), std::invalid_argument);
    char word[] = "wide";
    EXPECT_THROW(side.facade().GetComponent()->SetParamString("display.fit", word),
                 std::invalid_argument);
    // The older background colour only reaches the controller's bag: its component has no
    // receiver that would paint with it.
    EXPECT_EQ(side.facade().GetComponent()->SetParamInt("display.bg.color", 255), 0u);
    EXPECT_EQ(side.display->properties.get("display.view.bgcolor"), "255");
    EXPECT_EQ(side.state(), before);
}

// Mode 1 goes from the window to the image, any other the other way; fractions are dropped
// towards zero.
TEST(FacadeCommands, TranslateAsksTheViewInTheRightDirection) {
    Side side;
    for (int mode : {1, 0, 2, -1}) {
        for (auto point : {std::make_pair(7, -4), std::make_pair(-13, 130)}) {
            SCOPED_TRACE(testing::Message() << mode << " " << point.first << "," << point.second);
            Params newer = of("pos.x=" + std::to_string(point.first) +
                              " pos.y=" + std::to_string(point.second) +
                              (mode == 1 ? " cs.src=win cs.dst=img" : " cs.src=img cs.dst=win"));
            ASSERT_EQ(side.display->RunCommandParams("cmd.display.view.translate", &newer), 1);
            int x = point.first, y = point.second;
            EXPECT_EQ(side.facade().Translate(&x, &y, mode), 0);
            EXPECT_EQ(x, int(std::stod(newer["pos.x"])));
            EXPECT_EQ(y, int(std::stod(newer["pos.y"])));
        }
    }
    EXPECT_EQ(side.facade().Translate(nullptr, nullptr, 0), 0);
}
