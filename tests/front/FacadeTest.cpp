// The flat entry points and the facade: handles, mode words, parents, the deliberate second
// call of DisplayVideo, the converter retry and the checked deletes.

#include "FrontTestSupport.h"

#include "chain/QTDConverter.h"
#include "front/BrxDisplayImpl.h"
#include "front/QTDDisplay.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>
#include <brx/BrxDisplay.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace FrontTest;

namespace {

constexpr int W = 40, H = 30;

std::string param(BrxComponent* component, const char* name) {
    char text[256] = {0};
    unsigned int size = sizeof(text);
    if (component->GetParamString(name, text, &size) != 0) {
        return "<none>";
    }
    return text;
}

// A controller whose image and conversion answers are scripted, to watch the facade.
class ScriptedDisplay : public QTDDisplay {
public:
    ScriptedDisplay() : QTDDisplay(nullptr, false) {}
    uint32_t ProcessImage(BrxImage* image) override {
        images.push_back(image);
        const uint32_t answer = answers.empty() ? 0u : answers.front();
        if (!answers.empty()) {
            answers.erase(answers.begin());
        }
        return answer;
    }
    uint32_t ConvertImage(BrxImage*, BrxImage*) override {
        ++conversions;
        const uint32_t answer = answers.empty() ? 0u : answers.front();
        if (!answers.empty()) {
            answers.erase(answers.begin());
        }
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

class StrangeProcessor : public BrxDisplayProcessor {
public:
    explicit StrangeProcessor(bool* alive) : alive(alive) {
        *alive = true;
        component.properties.set("class", "qtddisplayer", true);
    }
    ~StrangeProcessor() override { *alive = false; }
    int RunCommandParams(const char*, std::map<std::string, std::string>*) override { return 0; }
    BrxComponent* GetComponent() override { return &component; }
    uint32_t Init(BrxImage*) override { return 0; }
    uint32_t ProcessImage(BrxImage*) override { return 0; }
    void Release() override {}
    BrxImgProcessingChain* GetProcessingChain() override { return nullptr; }
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

TEST(Facade, CreatedThroughTheFlatFunctions) {
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    ASSERT_NE(handle, nullptr);
    BrxComponent* component = BrxDisplay_GetComponent(handle);
    ASSERT_NE(component, nullptr);
    EXPECT_EQ(param(component, "class"), "BrxDisplayImpl");
    EXPECT_EQ(param(component, "system.signature"), std::to_string(reinterpret_cast<long>(handle)));
    auto* facade = dynamic_cast<BrxDisplayImpl*>(handle);
    ASSERT_NE(facade, nullptr);
    // The controller starts on the CPU with no parent, and reports to the facade.
    EXPECT_EQ(facade->display->properties.get("system.opengl"), "0");
    EXPECT_EQ(facade->display->properties.getAs<void*>("system.parentWidget"), nullptr);
    ASSERT_EQ(facade->display->messenger.receivers.size(), 1u);
    EXPECT_EQ(facade->display->messenger.receivers[0], static_cast<BrxDisplayCommand*>(facade));
    // The facade's own parameters are stored as given.
    EXPECT_EQ(component->SetParamInt("dump.x", 4), 0u);
    EXPECT_EQ(param(component, "dump.x"), "4");
    BrxDisplay_DeleteComponent(handle);
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

    // A bad format is the controller's code 7 with the facade's type.
    EXPECT_EQ(BrxDisplay_Initialize(handle, widget.get(), nullptr, nullptr), 0x80FF0007u);
    format->height = 0;
    EXPECT_EQ(handle->SetVideoMode(format.get(), "opengl"), 0x80FF0007u);
    BrxDisplay_DeleteComponent(handle);
}

TEST(Facade, DisplayVideoTriesAFailingImageTwice) {
    auto image = makeMono8(W, H, 1);
    {
        Scripted s;
        s.display->answers = {0x80FF0007u, 0x80FF0007u};
        EXPECT_EQ(s.facade.DisplayVideo(image.get()), 0x80FF0007u);
        ASSERT_EQ(s.display->images.size(), 2u);
        EXPECT_EQ(s.display->images[0], image.get());
        EXPECT_EQ(s.display->images[1], image.get());
    }
    {
        // A second call that succeeds is still reported as a failure word, with code 0.
        Scripted s;
        s.display->answers = {0x80FF0008u, 0u};
        EXPECT_EQ(s.facade.DisplayVideo(image.get()), 0x80FF0000u);
        EXPECT_EQ(s.display->images.size(), 2u);
    }
    {
        Scripted s;
        EXPECT_EQ(s.facade.DisplayVideo(image.get()), 0u);
        EXPECT_EQ(s.display->images.size(), 1u);
    }
    // Through the real controller: a zero-sized image fails both times.
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    image->width = 0;
    EXPECT_EQ(BrxDisplay_DisplayVideo(handle, image.get()), 0x80FF0007u);
    EXPECT_EQ(BrxDisplay_DisplayVideo(handle, nullptr), 0u);
    BrxDisplay_DeleteComponent(handle);
}

TEST(Facade, ConvertImageRetriesOnceWithANewConverter) {
    auto source = makeMono8(W, H, 1);
    source->timestamp = 1234;
    source->imageID = 56;
    auto target = make(W, H, PT::RGB8);
    {
        Scripted s;
        s.display->answers = {0x80FF0007u, 0u};
        EXPECT_EQ(s.facade.ConvertImage(source.get(), target.get()), 0u);
        EXPECT_EQ(s.display->conversions, 2);
        EXPECT_EQ(s.display->deletes, 1);
        EXPECT_EQ(target->timestamp, 1234u);
        EXPECT_EQ(target->imageID, 56u);
    }
    {
        Scripted s;
        target->imageID = 0;
        s.display->answers = {0x80FF0007u, 0x80FF0007u};
        EXPECT_EQ(s.facade.ConvertImage(source.get(), target.get()), 0x80FF0007u);
        EXPECT_EQ(s.display->conversions, 2);
        EXPECT_EQ(target->imageID, 0u);
    }
    {
        Scripted s;
        s.display->answers = {0x80FF0001u};
        EXPECT_EQ(s.facade.ConvertImage(source.get(), target.get()), 0x80FF0001u);
        EXPECT_EQ(s.display->conversions, 1);
        EXPECT_EQ(s.display->deletes, 0);
    }
}

TEST(Facade, ConvertImageThroughTheDisplay) {
    auto widget = host();
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    auto* facade = dynamic_cast<BrxDisplayImpl*>(handle);
    auto source = makeMono8(W, H, 3);
    source->timestamp = 777;
    auto target = make(W, H, PT::RGB8);

    // Nothing to convert with before the display is set up.
    EXPECT_EQ(BrxDisplay_ConvertImage(handle, source.get(), target.get()), 0x80FF0008u);
    ASSERT_EQ(BrxDisplay_Initialize(handle, widget.get(), nullptr, source.get()), 0u);

    // From another thread, while this one runs the controller's events.
    std::atomic<uint32_t> result{1};
    std::atomic<bool> finished{false};
    std::thread caller([&] {
        result = BrxDisplay_ConvertImage(handle, source.get(), target.get());
        finished = true;
    });
    ASSERT_TRUE(pumpUntil([&] { return finished.load(); }));
    caller.join();
    EXPECT_EQ(result, 0u);
    EXPECT_EQ(target->imageID, 3u);
    EXPECT_EQ(target->timestamp, 777u);
    int wrong = 0;
    for (uint32_t y = 0; y < uint32_t(H); ++y) {
        for (uint32_t x = 0; x < uint32_t(W); ++x) {
            for (uint32_t c = 0; c < 3; ++c) {
                wrong += row8(target.get(), y)[3 * x + c] != value(x, y, 3) ? 1 : 0;
            }
        }
    }
    EXPECT_EQ(wrong, 0);
    // Nothing was shown.
    EXPECT_EQ(facade->display->getWindow()->currentImage(), nullptr);

    // Another target size does not fit the converter: code 7 at the controller. The facade
    // then builds a converter for it, whose CPU image stage cannot scale.
    auto small = make(W / 2, H / 2, PT::RGB8);
    EXPECT_EQ(facade->display->ConvertImage(source.get(), small.get()), 0x80FF0007u);
    EXPECT_EQ(BrxDisplay_ConvertImage(handle, source.get(), small.get()), 0x80FF0001u);
    ASSERT_NE(facade->display->converter, nullptr);
    EXPECT_EQ(facade->display->converter->Format(false)->width, uint32_t(W / 2));

    // A new image size after a conversion: the display is set up again, and the first call
    // converts.
    auto bigSource = makeMono8(2 * W, 2 * H, 9);
    auto bigTarget = make(2 * W, 2 * H, PT::BGR8);
    ASSERT_EQ(facade->SetVideoMode(bigSource.get(), nullptr), 0u);
    EXPECT_EQ(facade->display->converter, nullptr);
    EXPECT_EQ(BrxDisplay_ConvertImage(handle, bigSource.get(), bigTarget.get()), 0u);
    EXPECT_EQ(row8(bigTarget.get(), 5)[3 * 7], value(7, 5, 9));
    EXPECT_EQ(bigTarget->imageID, 9u);
    BrxDisplay_DeleteComponent(handle);
}

TEST(Facade, DisplayImageIsNotSupported) {
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    auto image = makeMono8(W, H, 1);
    EXPECT_EQ(BrxDisplay_DisplayImage(handle, image.get(), "still"), 0x80FF0003u);
    EXPECT_EQ(BrxDisplay_DisplayImage(handle, nullptr, nullptr), 0x80FF0003u);
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

    // The real one is destroyed; a sanitizer build would see a leak otherwise.
    BrxDisplay::DeleteComponent(BrxDisplay::CreateComponent());

    bool processorAlive = false;
    auto* strange = new StrangeProcessor(&processorAlive);
    EXPECT_EQ(QTDDisplay::CastQTDDisplay(strange), nullptr);
    BrxDisplayQGL::DeleteComponent(strange);
    BrxDisplayCPU::DeleteComponent(strange);
    EXPECT_TRUE(processorAlive);
    delete strange;

    BrxDisplayProcessor* cpu = BrxDisplayCPU::CreateComponent(nullptr);
    QTDDisplay* controller = QTDDisplay::CastQTDDisplay(cpu);
    ASSERT_NE(controller, nullptr);
    EXPECT_EQ(controller->properties.get("system.opengl"), "0");
    BrxDisplayCPU::DeleteComponent(cpu);
    BrxDisplayProcessor* gpu = BrxDisplayQGL::CreateComponent(nullptr);
    EXPECT_EQ(QTDDisplay::CastQTDDisplay(gpu)->properties.get("system.opengl"), "1");
    BrxDisplayQGL::DeleteComponent(gpu);
}

TEST(Facade, ImagesFromACameraThreadThroughTheHandle) {
    auto widget = host();
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    auto* facade = dynamic_cast<BrxDisplayImpl*>(handle);
    auto format = make(W, H, PT::Mono8);
    ASSERT_EQ(BrxDisplay_Initialize(handle, widget.get(), nullptr, format.get()), 0u);

    std::atomic<bool> stop{false};
    std::atomic<int> sent{0};
    std::thread camera([&] {
        for (uint32_t seed = 1; seed <= 20 && !stop; ++seed) {
            auto image = makeMono8(W, H, seed);
            if (BrxDisplay_DisplayVideo(handle, image.get()) == 0) {
                ++sent;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });
    QTDDisplay* display = facade->display;
    const bool last = pumpUntil([&] {
        BrxImage* shown = display->getWindow()->currentImage();
        return shown != nullptr && shown->imageID == 20;
    });
    stop = true;
    camera.join();
    EXPECT_TRUE(last);
    EXPECT_EQ(sent, 20);
    EXPECT_EQ(display->receivedCounter.frames.load(), 20);
    EXPECT_GE(display->processedCounter.frames.load(), 1);
    EXPECT_LE(display->processedCounter.frames.load(), 20);
    BrxDisplay_DeleteComponent(handle);
}
