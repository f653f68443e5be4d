// The flat entry points and the facade: handles, mode words, parents, the deliberate second
// call of DisplayVideo, the converter retry and the checked deletes.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "front/BrxDisplayImpl.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <cstring>

#include <brx/BrxDisplay.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace FrontTest;
using Map = std::map<std::string, std::string>;

namespace {

constexpr int W = 40, H = 30;

// A controller whose image and conversion answers are scripted, to watch the facade.
class ScriptedDisplay : public QTDDisplay {
public:
    ScriptedDisplay() : QTDDisplay(nullptr, false) {}
    uint32_t ProcessImage(BrxImage* image) override {
        images.push_back(image);
        return next();
    }
    uint32_t ConvertImage(BrxImage*, BrxImage*) override {
        ++conversions;
        return next();
    }
    uint32_t next() {
        if (answers.empty()) {
            return 0u;
        }
        const uint32_t answer = answers.front();
        answers.erase(answers.begin());
        return answer;
    }
    void DeleteConverter() override { ++deletes; }
    std::vector<uint32_t> answers;
    std::vector<BrxImage*> images;
    int conversions = 0;
    int deletes = 0;
};

// A facade whose controller is scripted.
struct Scripted {
    Scripted() {
        delete facade.display;
        facade.display = display = new ScriptedDisplay;
    }
    BrxDisplayImpl facade;
    ScriptedDisplay* display;
};

// Another class behind the same interface.
class Stranger : public BrxDisplay {
public:
    explicit Stranger(bool* alive) : alive(alive) {
        *alive = true;
        component.properties.set("class", "SomethingElse", true);
    }
    ~Stranger() override { *alive = false; }
    BrxComponent* GetComponent() override { return &component; }
    int GetSystemInfo(char*, int, const char*) override { return 0; }
    uint32_t Initialize(void*, const char*, BrxImage*) override { return 0; }
    uint32_t SetVideoMode(BrxImage*, const char*) override { return 0; }
    uint32_t DisplayVideo(BrxImage*) override { return 0; }
    uint32_t DisplayImage(BrxImage*, const char*) override { return 0; }
    uint32_t ConvertImage(BrxImage*, BrxImage*) override { return 0; }
    void Shut() override {}
    bool* alive;
    QTD::ComponentImpl component;
};

// Channel `c` of pixel (x, y) of a source of `type`, as eight bits: grey for Mono8 and Mono12,
// whose samples hold it in their top eight bits.
uint8_t expected(uint32_t type, uint32_t x, uint32_t y, uint32_t c) {
    return value(x, y, type == PT::RGB8 ? c + 1 : 1);
}

uint32_t channels(uint32_t type) {
    return type == PT::RGB8 || type == PT::BGR8 ? 3 : 1;
}

Image source(uint32_t type, int width, int height) {
    Image image = make(width, height, type);
    for (uint32_t y = 0; y < image->height; ++y) {
        for (uint32_t x = 0; x < image->width; ++x) {
            for (uint32_t c = 0; c < channels(type); ++c) {
                const uint16_t v = uint16_t(expected(type, x, y, c) << 4 | (x & 15));
                if (type == PT::Mono12) {
                    std::memcpy(row8(image.get(), y) + 2 * x, &v, 2);
                } else {
                    row8(image.get(), y)[channels(type) * x + c] = expected(type, x, y, c);
                }
            }
        }
    }
    image->imageID = 4711;
    image->timestamp = 987654321;
    return image;
}

// Pixels of `target` that differ from what a source of type `from` should give.
int wrongPixels(BrxImage* target, uint32_t from) {
    const uint32_t n = channels(target->pixelType);
    const bool bgr = target->pixelType == PT::BGR8;
    int wrong = 0;
    for (uint32_t y = 0; y < target->height; ++y) {
        for (uint32_t x = 0; x < target->width; ++x) {
            for (uint32_t c = 0; c < n; ++c) {
                wrong += row8(target, y)[n * x + c] != expected(from, x, y, bgr ? 2 - c : c);
            }
        }
    }
    return wrong;
}

// A display set up through the flat functions, in a widget of its own.
struct Live {
    explicit Live(uint32_t type, int width = W, int height = H)
        : widget(host()), handle(BrxDisplay_CreateComponent()),
          display(dynamic_cast<BrxDisplayImpl*>(handle)->display) {
        auto format = make(width, height, type);
        initCode = BrxDisplay_Initialize(handle, widget.get(), "cpu", format.get());
    }
    ~Live() { BrxDisplay_DeleteComponent(handle); }
    std::unique_ptr<QWidget> widget;
    BrxDisplay* handle;
    QTDDisplay* display;
    uint32_t initCode;
};

} // namespace

TEST(Facade, NullHandles) {
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
}

TEST(Facade, ModeWordAndParent) {
    auto widget = host();
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    auto* facade = dynamic_cast<BrxDisplayImpl*>(handle);
    auto& bag = facade->display->properties;
    auto format = make(W, H, PT::Mono8);

    // A widget pointer is no window identifier, and is used as it stands.
    EXPECT_EQ(BrxDisplay_Initialize(handle, widget.get(), nullptr, format.get()), 0u);
    EXPECT_EQ(bag.getAs<void*>("system.parentWidget"), static_cast<void*>(widget.get()));
    EXPECT_EQ(bag.get("system.opengl"), "0");
    ASSERT_NE(facade->display->viewer, nullptr);
    EXPECT_EQ(facade->display->viewer->parentWidget(), widget.get());

    // A native window identifier is resolved to its widget.
    auto other = host();
    const WId id = other->winId();
    BrxDisplay_Initialize(handle, reinterpret_cast<void*>(id), "cpu", format.get());
    EXPECT_EQ(bag.getAs<void*>("system.parentWidget"), static_cast<void*>(other.get()));

    BrxDisplay_Initialize(handle, widget.get(), "opengl", format.get());
    EXPECT_EQ(bag.get("system.opengl"), "1");
    EXPECT_EQ(facade->SetVideoMode(format.get(), nullptr), 0u);
    EXPECT_EQ(bag.get("system.opengl"), "0");
    EXPECT_EQ(bag.getAs<void*>("system.parentWidget"), static_cast<void*>(widget.get()));
    BrxDisplay_DeleteComponent(handle);
}

TEST(Facade, DisplayVideoTriesAFailingImageTwice) {
    auto image = makeMono8(W, H, 1);
    // A second call that succeeds is still reported as a failure word, with code 0.
    const struct {
        std::vector<uint32_t> answers;
        uint32_t result;
        size_t calls;
    } cases[] = {{{0x80FF0007u, 0x80FF0007u}, 0x80FF0007u, 2},
                 {{0x80FF0008u, 0u}, 0x80FF0000u, 2},
                 {{}, 0u, 1}};
    for (auto& c : cases) {
        Scripted s;
        s.display->answers = c.answers;
        EXPECT_EQ(s.facade.DisplayVideo(image.get()), c.result);
        ASSERT_EQ(s.display->images.size(), c.calls);
        for (BrxImage* passed : s.display->images) {
            EXPECT_EQ(passed, image.get());
        }
    }
}

TEST(Facade, ConvertImageRetriesOnceWithANewConverter) {
    auto source = makeMono8(W, H, 1);
    source->timestamp = 1234;
    source->imageID = 56;
    const struct {
        std::vector<uint32_t> answers;
        uint32_t result;
        int conversions, deletes;
    } cases[] = {{{0x80FF0007u, 0u}, 0u, 2, 1},
                 {{0x80FF0007u, 0x80FF0007u}, 0x80FF0007u, 2, 1},
                 {{0x80FF0001u}, 0x80FF0001u, 1, 0}};
    for (auto& c : cases) {
        auto target = make(W, H, PT::RGB8);
        Scripted s;
        s.display->answers = c.answers;
        EXPECT_EQ(s.facade.ConvertImage(source.get(), target.get()), c.result);
        EXPECT_EQ(s.display->conversions, c.conversions);
        EXPECT_EQ(s.display->deletes, c.deletes);
        // Only a successful conversion stamps the target.
        EXPECT_EQ(target->imageID, c.result == 0 ? 56u : 0u);
        EXPECT_EQ(target->timestamp, c.result == 0 ? 1234u : 0u);
    }
}

TEST(Facade, DisplayImageIsNotSupported) {
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    auto image = makeMono8(W, H, 1);
    EXPECT_EQ(BrxDisplay_DisplayImage(handle, image.get(), "still"), 0x80FF0003u);
    EXPECT_EQ(BrxDisplay_DisplayImage(handle, nullptr, nullptr), 0x80FF0003u);
    BrxDisplay_DeleteComponent(handle);
}

// Refused or dropped, a bad image leaves the last good one on the window and the display
// working. Geometry is checked before size: a zero width whose bytes fit the buffer is "other
// geometry" (8); one whose bytes do not is a bad image (7). Bytes beyond the buffer are dropped
// without a word.
TEST(Facade, BadImagesChangeNothingOnScreen) {
    Live live(PT::Mono8);
    ASSERT_EQ(live.initCode, 0u);
    auto processed = [&] { return long(live.display->processedCounter.frames.load()); };
    auto good = makeMono8(W, H, 3);
    ASSERT_EQ(BrxDisplay_DisplayVideo(live.handle, good.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return processed() == 1; }));
    BrxImage* shown = live.display->getWindow()->currentImage();
    ASSERT_NE(shown, nullptr);

    auto zeroWide = makeMono8(W, H, 9);
    zeroWide->width = 0;
    auto zeroWideBig = makeMono8(2 * W, H, 9);
    zeroWideBig->width = 0;
    auto noData = makeMono8(W, H, 9);
    void* const data = noData->imageData;
    noData->imageData = nullptr;
    auto narrower = makeMono8(W / 2, H, 9);
    auto wider = makeMono8(2 * W, H, 9);
    auto tooMany = makeMono8(W, H, 9);
    tooMany->imageSize *= 2;
    const struct {
        const char* what;
        BrxImage* image;
        uint32_t result;
    } cases[] = {{"zero width, fitting", zeroWide.get(), 0x80FF0008u},
                 {"zero width, too large", zeroWideBig.get(), 0x80FF0007u},
                 {"no data", noData.get(), 0x80FF0007u},
                 {"other geometry", narrower.get(), 0x80FF0008u},
                 {"larger geometry", wider.get(), 0u},
                 {"larger imageSize", tooMany.get(), 0u}};
    for (auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(BrxDisplay_DisplayVideo(live.handle, c.image), c.result);
        pump(5);
        EXPECT_EQ(processed(), 1);
        EXPECT_EQ(live.display->getWindow()->currentImage(), shown);
        EXPECT_EQ(shown->imageID, 3u);
    }
    noData->imageData = data;

    // Set-ups without a usable format change nothing either.
    auto flat = make(W, H, PT::Mono8);
    flat->height = 0;
    EXPECT_EQ(BrxDisplay_Initialize(live.handle, live.widget.get(), "cpu", nullptr), 0x80FF0007u);
    EXPECT_EQ(live.handle->SetVideoMode(flat.get(), "cpu"), 0x80FF0007u);
    // Conversions: a missing source never fits (7, retried); a missing target leaves no
    // converter to be made (8).
    auto target = make(W, H, PT::RGB8);
    EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, nullptr, target.get()), 0x80FF0007u);
    EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, good.get(), nullptr), 0x80FF0008u);

    auto next = makeMono8(W, H, 4);
    ASSERT_EQ(BrxDisplay_DisplayVideo(live.handle, next.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return processed() == 2; }));
    EXPECT_EQ(live.display->getWindow()->currentImage()->imageID, 4u);
    // Null stops showing and is no error.
    EXPECT_EQ(BrxDisplay_DisplayVideo(live.handle, nullptr), 0u);
    EXPECT_EQ(live.display->getWindow()->currentImage(), nullptr);
}

// Numbers read from command parameters raise the standard conversion errors to the caller;
// an empty text reads as 0. The locks the commands took are free again afterwards.
TEST(Facade, BadNumbersInCommandParametersRaise) {
    Live live(PT::Mono8);
    ASSERT_EQ(live.initCode, 0u);
    enum Raises { Nothing, Invalid, OutOfRange };
    const struct {
        const char* command;
        Map params;
        Raises raises;
    } cases[] = {
        {"cmd.display.view.zoom.in", {{"zoom.coef", "much"}}, Invalid},
        {"cmd.display.view.zoom.out", {{"zoom.coef", ""}}, Nothing},
        {"cmd.display.view.fit", {{"mode", "fit"}}, Invalid},
        {"cmd.display.view.fit", {{"mode", "99999999999"}}, OutOfRange},
        {"cmd.display.view.scale", {{"scale", "1e999"}}, OutOfRange},
        {"cmd.display.view.translate", {{"pos.x", "1"}, {"pos.y", "-"}}, Invalid},
        {"cmd.parameter.set", {{"name", "image.notification.flags.set"}, {"value", "on"}}, Invalid},
    };
    for (auto c : cases) {
        SCOPED_TRACE(testing::Message() << c.command << " " << c.params.begin()->second);
        auto run = [&] { return live.display->RunCommandParams(c.command, &c.params); };
        if (c.raises == Invalid) {
            EXPECT_THROW(run(), std::invalid_argument);
        } else if (c.raises == OutOfRange) {
            EXPECT_THROW(run(), std::out_of_range);
        } else {
            EXPECT_NO_THROW(run());
        }
    }
    std::thread other([&] {
        EXPECT_TRUE(live.display->setupLock.try_lock());
        live.display->setupLock.unlock();
        EXPECT_TRUE(live.display->componentLock().try_lock());
        live.display->componentLock().unlock();
    });
    other.join();
}

TEST(Facade, CheckedDeletes) {
    bool alive = false;
    auto* stranger = new Stranger(&alive);
    BrxDisplay::DeleteComponent(stranger);
    EXPECT_TRUE(alive);
    // An empty "class" reads fine but is no match either.
    stranger->component.properties.set("class", "", true);
    BrxDisplay::DeleteComponent(stranger);
    EXPECT_TRUE(alive);
    delete stranger;
    EXPECT_FALSE(alive);
}

// The converter's image stage decides its conversion when it is made, from the first target:
// each target type needs a converter of its own, and it never scales.
// Colour to grey is no conversion of the stage: it plans a copy of RGB8, which does not fit a
// Mono8 target.
TEST(Facade, ConvertImageThroughTheChain) {
    for (uint32_t from : {PT::Mono8, PT::Mono12, PT::RGB8}) {
        for (uint32_t to : {PT::RGB8, PT::BGR8, PT::Mono8}) {
            SCOPED_TRACE(testing::Message() << std::hex << from << " to " << to);
            const uint32_t result = from == PT::RGB8 && to == PT::Mono8 ? 0x80FF0001u : 0u;
            Live live(from);
            ASSERT_EQ(live.initCode, 0u);
            auto in = source(from, W, H);
            auto out = make(W, H, to);
            ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), out.get()), result);
            EXPECT_TRUE(result != 0 || wrongPixels(out.get(), from) == 0);
            EXPECT_EQ(out->imageID, result == 0 ? 4711u : 0u);
            EXPECT_EQ(out->timestamp, result == 0 ? 987654321u : 0u);
        }
    }
}

TEST(Facade, ConvertImageKeepsItsFirstTargetUntilRebuilt) {
    Live live(PT::RGB8);
    ASSERT_EQ(live.initCode, 0u);
    auto in = source(PT::RGB8, W, H);
    auto rgb = make(W, H, PT::RGB8);
    ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), rgb.get()), 0u);

    // Same size, another type: the sizes pass, the image stage then refuses a target of
    // another byte count, or fills one of the same count the way it was planned for.
    auto grey = make(W, H, PT::Mono8);
    EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), grey.get()), 0x80FF0001u);
    auto bgr = make(W, H, PT::BGR8);
    ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), bgr.get()), 0u);
    bgr->pixelType = PT::RGB8;
    EXPECT_EQ(wrongPixels(bgr.get(), PT::RGB8), 0);

    // Another size: code 7 from the controller; the facade's new converter is made for it, but
    // the image stage does not scale.
    auto small = make(W / 2, H / 2, PT::RGB8);
    EXPECT_EQ(live.display->ConvertImage(in.get(), small.get()), QTD::Procs::statusWord(7));
    EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), small.get()), 0x80FF0001u);
    // Back to the first size: the facade's retry rebuilds the converter once more.
    ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), rgb.get()), 0u);
    EXPECT_EQ(wrongPixels(rgb.get(), PT::RGB8), 0);

    // A new set-up drops the converter: the new size converts in one call to the controller.
    auto format = make(W / 2, H / 2, PT::Mono8);
    ASSERT_EQ(live.handle->SetVideoMode(format.get(), "cpu"), 0u);
    EXPECT_EQ(live.display->converter, nullptr);
    auto smallIn = source(PT::Mono8, W / 2, H / 2);
    EXPECT_EQ(live.display->ConvertImage(smallIn.get(), small.get()), 0u);
    EXPECT_EQ(wrongPixels(small.get(), PT::Mono8), 0);
}

// Two hundred set-ups in a row through the flat functions, each with another format or size.
// Every seventh asks for the GPU backend, which has no screen in this build: code 1 whatever
// "system.silent" says, as that rule covers only a failed chain. Every eleventh asks for a pixel
// type that does not exist: silent, an empty display; not silent, code 1. Either way images are
// taken without a word and nothing is shown, and the next CPU set-up shows images again.
TEST(Facade, TwoHundredSetUpsOfFormatsSizesAndBackends) {
    const uint32_t types[] = {PT::Mono8, PT::Mono12, PT::RGB8, PT::BayerRG8, PT::YUV422_8_UYVY};
    const int sizes[][2] = {{64, 48}, {96, 64}, {32, 16}, {128, 72}, {48, 32}};
    Live live(PT::Mono8);
    auto processed = [&] { return long(live.display->processedCounter.frames.load()); };
    uint32_t id = 0;
    for (int cycle = 0; cycle < 200; ++cycle) {
        SCOPED_TRACE(cycle);
        const bool gpu = cycle % 7 == 6, unknown = !gpu && cycle % 11 == 10;
        const bool silent = cycle % 2 == 0;
        const int* size = sizes[(cycle + cycle / 5) % 5];
        Image image = make(size[0], size[1], types[cycle % 5]);
        image->pixelType = unknown ? 0x01080199u : image->pixelType;
        live.display->properties.set("system.silent", silent ? "1" : "0", true);
        const char* mode = gpu ? "opengl" : "cpu";
        const uint32_t init = cycle % 3 == 0 ? BrxDisplay_Initialize(live.handle, live.widget.get(),
                                                                     mode, image.get())
                                             : live.handle->SetVideoMode(image.get(), mode);
        if (gpu || unknown) {
            EXPECT_EQ(init, unknown && silent ? 0u : 0x80FF0001u) << std::hex << init;
            EXPECT_EQ(live.display->currentImage, nullptr);
            image->pixelType = types[cycle % 5];
            EXPECT_EQ(BrxDisplay_DisplayVideo(live.handle, image.get()), 0u);
            pump(3);
            EXPECT_EQ(processed(), 0);
            continue;
        }
        ASSERT_EQ(init, 0u) << std::hex << init;
        for (long shown = 1; shown <= 2; ++shown) {
            // Every byte the same is a valid sample of each of these formats, Mono12 included.
            std::memset(image->imageData, 0x07 + int(shown), image->imageSize);
            image->imageID = ++id;
            ASSERT_EQ(BrxDisplay_DisplayVideo(live.handle, image.get()), 0u);
            ASSERT_TRUE(pumpUntil([&] { return processed() == shown; }));
            BrxImage* onWindow = live.display->getWindow()->currentImage();
            ASSERT_NE(onWindow, nullptr);
            EXPECT_EQ(onWindow, live.display->chain->Output());
            EXPECT_EQ(onWindow->imageID, id);
            EXPECT_EQ(onWindow->width, uint32_t(size[0]));
            EXPECT_EQ(onWindow->height, uint32_t(size[1]));
        }
    }
}
