// The flat entry points and the facade: handles, mode words, parents, the deliberate second
// call of DisplayVideo, the converter retry and the checked deletes.

#include "FrontTestSupport.h"

#include "front/BrxDisplayImpl.h"
#include "window/QTDViewer.h"

#include <brx/BrxDisplay.h>

#include <gtest/gtest.h>

#include <vector>

using namespace FrontTest;

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

TEST(Facade, DisplayImageIsNotSupportedAndNullImagesAreNoError) {
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    auto image = makeMono8(W, H, 1);
    EXPECT_EQ(BrxDisplay_DisplayImage(handle, image.get(), "still"), 0x80FF0003u);
    EXPECT_EQ(BrxDisplay_DisplayImage(handle, nullptr, nullptr), 0x80FF0003u);
    EXPECT_EQ(BrxDisplay_DisplayVideo(handle, nullptr), 0u);
    BrxDisplay_DeleteComponent(handle);
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
