// The controller's overlay commands and profile lines, down to the window's draw objects.

#include "FrontTestSupport.h"

#include "front/BrxDisplayImpl.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>
#include <brx/BrxDisplay.h>
#include <brx/BrxImgProcessingChain.h>
#include <brx/BrxImgProcessor.h>

#include <gtest/gtest.h>

#include <QKeyEvent>

#include <cstring>
#include <stdexcept>
#include <vector>

using namespace FrontTest;
using Params = std::map<std::string, std::string>;

namespace {

QTD::DrawObjects& objects(Shown& s) {
    return s.display.getWindow()->drawObjects;
}
QTD::PROPERTIES* object(Shown& s, std::string const& id) {
    return objects(s).find(id, true);
}

} // namespace

TEST(DisplayOverlay, TextAndRectangleCommandsFillInTheirDefaults) {
    Shown s(true);
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    Params text{{"text.text", "hello"}, {"text.pos.x", "5"}, {"text.pos.y", "9"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.text.add", &text), 1);
    ASSERT_FALSE(text["objectID"].empty());
    QTD::PROPERTIES* t = object(s, text["objectID"]);
    ASSERT_NE(t, nullptr);
    EXPECT_EQ(t->get("text"), "hello");
    EXPECT_EQ(t->get("x"), "5");
    EXPECT_EQ(t->get("text.font"), "default");
    EXPECT_EQ(t->get("text.clr"), "0");

    // The bag's overlay style stands in for missing keys.
    Params style{{"text.font", "bold"}, {"text.clr", "255"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.params", &style), 1);
    EXPECT_EQ(d.properties.get("display.overlay.text.font"), "bold");
    d.properties.set("display.overlay.line.width", "3", true);
    Params rect{{"rect.x", "1"}, {"rect.y", "2"}, {"rect.w", "30"}, {"rect.h", "20"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.rect.add", &rect), 1);
    QTD::PROPERTIES* r = object(s, rect["objectID"]);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->get("w"), "30");
    EXPECT_EQ(r->get("line.width"), "3");
    EXPECT_EQ(r->get("line.clr"), "0");
    Params second{{"text.text", "x"}, {"text.pos.x", "1"}, {"text.pos.y", "-1"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.text.add", &second), 1);
    EXPECT_EQ(object(s, second["objectID"])->get("text.font"), "bold");
    EXPECT_EQ(object(s, second["objectID"])->get("placement"), "1");

    // Deletion by id, any of the three names; unknown ids are not there to delete.
    Params del{{"objectID", text["objectID"]}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.text.del", &del), 1);
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.del", &del), 0);
    Params none{{"objectID", "nosuch"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.rect.del", &none), 0);
    // Numbers that do not read raise to the caller, and nothing is added.
    const int kept = objects(s).count();
    Params bad{{"rect.x", "left"}};
    EXPECT_THROW(d.RunCommandParams("cmd.display.overlay.rect.add", &bad), std::invalid_argument);
    Params far{{"text.text", "t"}, {"text.pos.x", "1"}, {"text.pos.y", "99999999999"}};
    EXPECT_THROW(d.RunCommandParams("cmd.display.overlay.text.add", &far), std::out_of_range);
    Params line{{"x0", "1"}, {"y0", "2"}, {"x1", "3"}, {"y1", "four"}};
    EXPECT_THROW(d.RunCommandParams("cmd.display.overlay.profline.add", &line),
                 std::invalid_argument);
    EXPECT_EQ(objects(s).count(), kept);
}

TEST(DisplayOverlay, ProfileLinesAreListedFromTheLastAsGiven) {
    Shown s(true);
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    Params a{{"x0", "1"}, {"y0", "2"}, {"x1", "3"}, {"y1", "4"}};
    Params b{{"x0", "10"}, {"y0", "20"}, {"x1", "30"}, {"y1", "40"}, {"cs", "img"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.profline.add", &a), 1);
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.profline.add", &b), 1);
    EXPECT_EQ(object(s, a["objectID"])->get("line.width"), "1");
    EXPECT_EQ(d.getProfileLines(nullptr), 2);
    std::vector<int> coordinates(8, -7);
    int* buffer = coordinates.data();
    EXPECT_EQ(d.getProfileLines(&buffer), 2);
    // The last line first, in the coordinates it was given.
    EXPECT_EQ(coordinates, (std::vector<int>{10, 20, 30, 40, 1, 2, 3, 4}));

    // A kept coordinate that does not read raises to the caller.
    QTD::PROPERTIES bad;
    bad.set("x0.cs", "left", true);
    objects(s).update(a["objectID"], bad);
    EXPECT_THROW(d.getProfileLines(&buffer), std::invalid_argument);
    EXPECT_EQ(d.getProfileLines(nullptr), 2);

    d.setActiveProfileLine(0);
    EXPECT_EQ(objects(s).activeLineIndex(), 0);
    d.deleteProfileLine(0);
    EXPECT_EQ(d.getProfileLines(nullptr), 1);
    EXPECT_TRUE(objects(s).isExist(a["objectID"], "line"));
    d.clearProfileLines();
    EXPECT_EQ(d.getProfileLines(nullptr), 0);
}

TEST(DisplayOverlay, NothingWithoutAShownImage) {
    QTDDisplay d(nullptr, false);
    Params text{{"text.text", "hello"}, {"text.pos.x", "5"}, {"text.pos.y", "9"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.text.add", &text), 0);
    Params line{{"x0", "1"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.profline.add", &line), 0);
    Params props{{"props", "0"}, {"vars", "0"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.overlay.params", &props), 1);
    EXPECT_EQ(d.getProfileLines(nullptr), 0);
    d.deleteProfileLine(0);
    d.clearProfileLines();
    d.setActiveProfileLine(1);
}

TEST(DisplayOverlay, TextOfTheOverlayStageIsBurntIntoConvertedImagesNotLaidOnTheView) {
    auto widget = host();
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    Image format = make(64, 48, PT::Mono8);
    std::memset(format->imageData, 0, format->imageSize);
    ASSERT_EQ(BrxDisplay_Initialize(handle, widget.get(), "cpu", format.get()), 0u);
    QTDDisplay* display = static_cast<BrxDisplayImpl*>(handle)->display;
    // A fresh source each time: the stage draws in place, on whatever image reaches it.
    auto convert = [&] {
        Image source = make(64, 48, PT::Mono8), target = make(64, 48, PT::Mono8);
        std::memset(source->imageData, 0, source->imageSize);
        EXPECT_EQ(BrxDisplay_ConvertImage(handle, source.get(), target.get()), 0u);
        return std::vector<uint8_t>(row8(target.get(), 0), row8(target.get(), 0) + 64 * 48);
    };
    const std::vector<uint8_t> plain = convert();

    // The application reaches the stage through the chain and talks to its component.
    BrxImgProcessor* stage = display->GetProcessingChain()->GetProcessor("image.overlay");
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
    EXPECT_EQ(display->getWindow()->drawObjects.count(), 0);

    // Removed again, the next conversion is the plain image.
    ASSERT_EQ(overlay->RunCommand("del"), 0u);
    EXPECT_EQ(convert(), plain);
    BrxDisplay_DeleteComponent(handle);
}

TEST(DisplayOverlay, BadOverlayRequestsAreAnsweredNotCrashed) {
    Shown s(true);
    ASSERT_EQ(s.initCode, 0u);
    QTDDisplay& d = s.display;
    Params t{{"text.text", "t"}, {"text.pos.x", "5"}, {"text.pos.y", "6"}};
    Params r{{"rect.x", "1"}, {"rect.y", "2"}, {"rect.w", "8"}, {"rect.h", "4"}};
    ASSERT_EQ(d.RunCommandParams("cmd.display.overlay.text.add", &t), 1);
    const std::string text = t["objectID"];
    auto with = [](Params p, Params more) {
        for (auto& entry : more)
            p[entry.first] = entry.second;
        return p;
    };
    const struct {
        const char* what;
        const char* command;
        Params params;
        int result;
        const char* textType; // what the text object is afterwards; "" when gone
    } cases[] = {
        // An unknown system converts nothing: the object keeps the numbers as given.
        {"unknown cs", "cmd.display.overlay.rect.add", with(r, {{"cs", "moon"}}), 1, "text"},
        {"unknown cs of a text", "cmd.display.overlay.text.add", with(t, {{"cs", "moon"}}), 1,
         "text"},
        {"empty text", "cmd.display.overlay.text.add", with(t, {{"text.text", ""}}), 0, "text"},
        {"empty text keeps the object", "cmd.display.overlay.text.add",
         with(t, {{"text.text", ""}, {"objectID", text}}), 0, "text"},
        {"negative size", "cmd.display.overlay.rect.add",
         with(r, {{"rect.w", "-8"}, {"rect.h", "-4"}, {"cs", "img"}}), 1, "text"},
        {"line all negative",
         "cmd.display.overlay.profline.add",
         {{"x0", "-1"}, {"y0", "-1"}, {"x1", "-1"}, {"y1", "-1"}},
         0,
         "text"},
        {"unknown id", "cmd.display.overlay.del", {{"objectID", "nosuch"}}, 0, "text"},
        {"no id", "cmd.display.overlay.rect.del", {}, 0, "text"},
        // Ids carry no type for the commands: a line call replaces the text as a whole ...
        {"line over a text id",
         "cmd.display.overlay.profline.add",
         {{"x0", "1"}, {"y0", "2"}, {"x1", "3"}, {"y1", "4"}, {"objectID", text}},
         1,
         "line"},
        // ... and a rectangle's delete removes whatever has the id.
        {"rect delete of a line id", "cmd.display.overlay.rect.del", {{"objectID", text}}, 1, ""},
    };
    for (auto c : cases) {
        EXPECT_EQ(d.RunCommandParams(c.command, &c.params), c.result) << c.what;
        QTD::PROPERTIES* o = object(s, text);
        EXPECT_EQ(o ? o->get("type") : "", c.textType) << c.what;
    }
    QTD::PROPERTIES* moon = nullptr;
    for (int i = 0; i < objects(s).count() && moon == nullptr; ++i)
        if (objects(s).at(i)->get("cs") == "moon")
            moon = objects(s).at(i);
    ASSERT_NE(moon, nullptr);
    EXPECT_EQ(moon->get("x") + "," + moon->get("w.cs"), "1,8");

    // Conversions of points with unknown systems say so.
    Params point{{"pos.x", "3"}, {"pos.y", "4"}, {"cs.src", "moon"}, {"cs.dst", "img"}};
    EXPECT_EQ(d.RunCommandParams("cmd.display.view.translate", &point), 1);
    EXPECT_EQ(point["result"], "0");
    // A wrong-typed id deletes no text, and profile-line indices past the end do nothing.
    const int count = objects(s).count();
    d.deleteProfileLine(5);
    d.setActiveProfileLine(-2);
    EXPECT_EQ(objects(s).count(), count);
}

// The window's key sequences go out through the messenger; an application that wants them to act
// hands them back to the controller.
class Forwarder : public BrxDisplayCommand {
public:
    explicit Forwarder(QTDDisplay& display) : display(display) {}
    int RunCommandParams(const char* command, Params* params) override {
        return QTD::ATTR(command).samel("cmd.display.view")
                   ? display.RunCommandParams(command, params)
                   : 0;
    }
    QTDDisplay& display;
};

TEST(DisplayOverlay, TypingSdInTheWindowTogglesTheStatusLine) {
    Shown s(true);
    ASSERT_EQ(s.initCode, 0u);
    Forwarder forwarder(s.display);
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
