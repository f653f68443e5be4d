// The controller's commands: dispatch, parameters, the view, the older entry and the menu.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "front/QTDDisplay.h"
#include "screen/QTDScreen.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>

#include <QAction>
#include <QMenu>
#include <gtest/gtest.h>

#include <cmath>

using namespace FrontTest;
using Params = std::map<std::string, std::string>;
using QTD::Procs::statusWord;

namespace {

constexpr int W = 64, H = 48;

struct Shown {
    explicit Shown(int width = W, int height = H)
        : widget(host(320, 240)), display(widget.get(), false) {
        format = makeMono8(width, height, 1);
        initCode = display.Init(format.get());
        if (initCode == 0) {
            display.ProcessImage(format.get());
            pumpUntil([&] { return display.processedCounter.frames.load() == 1; });
        }
    }
    QTDScreen* screen() { return display.getScreen(); }
    std::unique_ptr<QWidget> widget;
    QTDDisplay display;
    Image format;
    uint32_t initCode = 0;
};

class NamedStage : public BrxImgProcessor {
public:
    uint32_t ProcessImage(BrxImage*, BrxImage*, void*) override { return 0; }
    void Release() override {}
    BrxComponent* GetComponent() override { return nullptr; }
    BrxImage* Output() override { return nullptr; }
};

} // namespace

TEST(DisplayCommands, WithoutAScreen) {
    QTDDisplay d(nullptr, false);
    // Stored in the bag only.
    Params bg{{"name", "display.view.bgcolor"}, {"value", "255"}};
    EXPECT_EQ(d.RunCommandParams("cmd.parameter.set", &bg), 0);
    EXPECT_EQ(d.properties.get("display.view.bgcolor"), "255");
    Params get{{"name", "display.view.bgcolor"}};
    EXPECT_EQ(d.RunCommandParams("cmd.parameter.get", &get), 0);
    EXPECT_EQ(get["value"], "255");

    EXPECT_EQ(d.RunCommandParams("cmd.image.rebuild", nullptr), 0);
    Params point{{"pos.x", "1"}, {"pos.y", "2"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.translate", &point), 0);
    // These two answer done even with nothing to do.
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.nofication", nullptr), 1);
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.moveblock", nullptr), 1);
    Params menu;
    EXPECT_EQ(d.RunCommandParams("cmd.system.menu.create", &menu), 0);
    EXPECT_TRUE(menu.empty());
    EXPECT_FALSE(d.SetScale(1.0, true));
    EXPECT_TRUE(d.SetOverlayText("x", 1, 1, nullptr).empty());
}

TEST(DisplayCommands, DispatchAndUnknownCommands) {
    auto widget = host();
    QTDDisplay d(nullptr, false);
    EXPECT_EQ(d.RunCommandParams(nullptr, nullptr), 0);
    EXPECT_EQ(d.RunCommandParams("cmd.unknown", nullptr), 0);
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.unknown", nullptr), 0);
    // Parameters need a map.
    EXPECT_EQ(d.RunCommandParams("cmd.parameter.set", nullptr), 0);
    // Without a map the notification commands fall through to nothing.
    EXPECT_EQ(d.RunCommandParams("cmd.system.notification.add", nullptr), 0);
    // Overlay commands need their parameters; "add" names commands that match nothing.
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.text.add", nullptr), 0);
    Params text{{"type", "text"}, {"text.text", "hello"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.add", &text), 0);
    // A message to the controller's thread: an unknown one is only passed along.
    Params message{{"a", "1"}};
    EXPECT_EQ(d.RunCommandParams("@nothing", &message), 0);
    EXPECT_EQ(d.lastError, 0);
    // The set-up itself can be asked for by message.
    auto format = make(W, H, PT::Mono8);
    d.properties.set("system.parentWidget", QTD::ATTR(static_cast<void*>(widget.get())), true);
    Params init{{"inputImageFormat", QTD::ATTR(static_cast<void*>(format.get()))}};
    EXPECT_EQ(d.RunCommandParams("@init.display", &init), 0);
    EXPECT_NE(d.chain, nullptr);
    EXPECT_EQ(d.lastError, 0);
}

TEST(DisplayCommands, ParametersReachScreenAndBag) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    Params bg{{"name", "display.view.bgcolor"}, {"value", "255"}};
    EXPECT_EQ(d.RunCommandParams("cmd.parameter.set", &bg), 0);
    EXPECT_EQ(s.screen()->props.get("color"), "255");
    EXPECT_EQ(d.properties.get("display.view.bgcolor"), "12632256");

    Params other{{"name", "my.key"}, {"value", "v"}};
    d.RunCommandParams("cmd.parameter.set", &other);
    EXPECT_EQ(d.properties.get("my.key"), "v");

    // Fit and scale are refreshed from the screen; the value is read from the bag.
    s.screen()->fit(QTDScreen::FillWindow, true);
    Params fit{{"name", "display.view.fit"}};
    d.RunCommandParams("cmd.parameter.get", &fit);
    EXPECT_EQ(d.properties.get("display.view.fit"), "2");
    EXPECT_EQ(fit.count("value"), 0u);
    Params scale{{"name", "display.view.scale"}};
    d.RunCommandParams("cmd.parameter.get", &scale);
    EXPECT_EQ(d.properties.get("display.view.scale"),
              std::string(QTD::ATTR::format("%f", s.screen()->scale())));
}

TEST(DisplayCommands, ViewCommands) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    QTDScreen* screen = s.screen();
    ASSERT_TRUE(screen->ready());

    Params actual{{"mode", "3"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.fit", &actual), 1);
    EXPECT_EQ(d.properties.get("display.view.fit"), "3");
    EXPECT_EQ(screen->fit(), 3);

    // Matched ignoring case; zooming in shrinks the scale.
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.ZOOM.IN", nullptr), 1);
    const double zoomedIn = screen->scale();
    EXPECT_LT(zoomedIn, 1.0);
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.zoom.out", nullptr), 1);
    EXPECT_GT(screen->scale(), zoomedIn);

    Params half{{"scale", "0.5"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.scale", &half), 1);
    EXPECT_EQ(screen->zoom(), 200);

    // A point from the window to the image and back.
    Params point{{"pos.x", "0"}, {"pos.y", "0"}, {"cs.src", "img"}, {"cs.dst", "win"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.translate", &point), 1);
    EXPECT_EQ(point["result"], "1");
    double x = 0, y = 0;
    screen->translate(&x, &y, "img", "win", true, false);
    EXPECT_EQ(point["pos.x"], std::string(QTD::ATTR::format("%f", x)));
    EXPECT_EQ(point["pos.y"], std::string(QTD::ATTR::format("%f", y)));

    Params image;
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.image", &image), 1);
    EXPECT_EQ(image.count("pos.x") + image.count("dim.w") + image.count("inside"), 3u);

    // Large enough that the centre needs no correction.
    Params close{{"scale", "0.1"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.scale", &close), 1);
    Params at{{"pos.x", "0.25"}, {"pos.y", "0.25"}};
    d.RunCommandParams("cmd.display.view.at", &at);
    EXPECT_DOUBLE_EQ(screen->centerX, 0.25);
    EXPECT_DOUBLE_EQ(screen->centerY, 0.25);
    EXPECT_FALSE(d.CenterAt(0.5, 0.5, true));
    EXPECT_DOUBLE_EQ(screen->centerX, 0.5);
}

TEST(DisplayCommands, NotificationFlagsAndMoveBlockGoToTheWindow) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    QTDWindow* window = d.getWindow();
    Params flags{{"flags", "6"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.nofication", &flags), 1);
    EXPECT_EQ(window->notificationFlags, 6);
    // The correct spelling is no command of the view.
    Params other{{"flags", "1"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.notification", &other), 0);
    EXPECT_EQ(window->notificationFlags, 6);

    Params block{{"state", "1"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.moveblock", &block), 1);
    EXPECT_TRUE(window->moveBlock);
}

TEST(DisplayCommands, OlderEntry) {
    Shown s;
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    const int stages = d.chain->Size();
    auto* stage = new NamedStage;
    d.properties.set("processor", QTD::ATTR(static_cast<void*>(stage)), true);
    // Done, and answered with code 10 all the same.
    EXPECT_EQ(d.RunCommand("processing.proc.add"), statusWord(10));
    EXPECT_EQ(d.chain->Size(), stages + 1);
    EXPECT_EQ(d.chain->GetProcessor("customProcessor"), stage);
    EXPECT_EQ(d.lastError, int32_t(statusWord(10)));
    EXPECT_EQ(d.RunCommand("processing.proc.del"), statusWord(10));
    EXPECT_EQ(d.chain->Size(), stages);
    EXPECT_EQ(d.RunCommand("anything"), statusWord(10));
    EXPECT_EQ(d.RunCommand(nullptr), statusWord(10));
}

TEST(DisplayCommands, ContextMenu) {
    // Large enough to be shown at 25%.
    Shown s(480, 360);
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    Params menu;
    ASSERT_EQ(d.RunCommandParams("cmd.system.menu.create", &menu), 1);
    auto* qmenu = static_cast<QMenu*>(QTD::ATTR(menu["qmenu"]).as<void*>());
    ASSERT_NE(qmenu, nullptr);
    EXPECT_EQ(QTD::ATTR(menu["qmenuWidget"]).as<void*>(),
              static_cast<void*>(static_cast<QWidget*>(d.viewer)));
    EXPECT_EQ(qmenu->parent(), d.viewer);
    QList<QAction*> items = qmenu->actions();
    ASSERT_EQ(items.size(), 5);
    EXPECT_EQ(items[0]->text(), "Zoom In\t[plus]");
    EXPECT_EQ(items[2]->text(), "Set fit mode...");
    EXPECT_EQ(items[3]->text(), "Set zoom...");
    EXPECT_EQ(items[4]->text(), "Center at...");
    EXPECT_TRUE(items[0]->isEnabled());

    // The zoom items act on the screen.
    QList<QAction*> zooms = items[3]->menu()->actions();
    ASSERT_EQ(zooms.size(), 4);
    zooms[0]->trigger();
    EXPECT_EQ(s.screen()->zoom(), 25);
    zooms[3]->trigger();
    EXPECT_EQ(s.screen()->zoom(), 200);
    items[4]->menu()->actions()[0]->trigger();
    EXPECT_DOUBLE_EQ(s.screen()->centerX, 0.5);
    EXPECT_EQ(d.RunCommandParams("cmd.system.menu.delete", &menu), 1);

    // Zoomed in as far as the screen goes, the item is disabled.
    int guard = 0;
    while (d.CanZoom(true, -1.0, true) && ++guard < 100) {
        ASSERT_TRUE(d.SetZoom(true, -1.0, false));
    }
    Params second;
    ASSERT_EQ(d.RunCommandParams("cmd.system.menu.create", &second), 1);
    auto* limited = static_cast<QMenu*>(QTD::ATTR(second["qmenu"]).as<void*>());
    EXPECT_FALSE(limited->actions()[0]->isEnabled());
    EXPECT_TRUE(limited->actions()[1]->isEnabled());
    d.RunCommandParams("cmd.system.menu.delete", &second);
}
