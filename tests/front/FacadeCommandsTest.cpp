// The facade's older command words and parameter names, and Translate: what reaches the
// controller, what comes back into the facade's bag, and the odd corners callers rely on.

#include "FrontTestSupport.h"

#include "front/BrxDisplayImpl.h"

#include <brx/BrxComponent.h>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace FrontTest;
using Params = std::map<std::string, std::string>;

namespace {

constexpr uint32_t Failed = 0x80FF0001u;

// A controller that records what the facade asks of it and answers from a script.
class RecordingDisplay : public QTDDisplay {
public:
    RecordingDisplay() : QTDDisplay(nullptr, false) {}

    int RunCommandParams(const char* command, Map* params) override {
        commands.emplace_back(command ? command : "", params ? *params : Map());
        if (params != nullptr) {
            for (auto& entry : writeBack) {
                (*params)[entry.first] = entry.second;
            }
        }
        return answer;
    }
    QTD::ATTR SetOverlayText(const char* text, int x, int y, Map* params) override {
        texts.push_back({text ? text : "", x, y, params ? *params : Map()});
        return textID;
    }
    bool DelOverlayObject(const char* id) override {
        deleted.push_back(id ? id : "<null>");
        return exists;
    }

    struct Text {
        std::string text;
        int x, y;
        Map params;
    };
    std::vector<std::pair<std::string, Map>> commands;
    std::vector<Text> texts;
    std::vector<std::string> deleted;
    int answer = 1;
    Map writeBack;
    QTD::ATTR textID;
    bool exists = true;
};

struct Recorded {
    Recorded() {
        delete facade.display;
        facade.display = display = new RecordingDisplay;
    }
    void set(const char* name, const char* value) { facade.properties.set(name, value, true); }
    std::string bag(const char* name) { return facade.properties.get(name, "<none>"); }
    BrxComponent* component() { return facade.GetComponent(); }
    BrxDisplayImpl facade;
    RecordingDisplay* display;
};

} // namespace

TEST(FacadeCommands, ViewWordsBecomeViewCommands) {
    // One zero byte each for the position: text that reads as empty.
    const std::string zero(1, '\0');
    const std::vector<std::pair<const char*, std::pair<std::string, Params>>> words{
        {"display.zoom.in", {"cmd.display.view.zoom.in", {}}},
        {"display.zoom.out", {"cmd.display.view.zoom.out", {}}},
        {"display.atcenter",
         {"cmd.display.view.at", {{"pos.x", zero}, {"pos.y", zero}, {"cs", "base"}}}},
    };
    for (auto& word : words) {
        Recorded r;
        EXPECT_EQ(r.facade.RunCommand(word.first), 0u) << word.first;
        ASSERT_EQ(r.display->commands.size(), 1u) << word.first;
        EXPECT_EQ(r.display->commands[0], word.second) << word.first;
        // Anything but a plain 1 from the controller is a failure.
        for (int answer : {0, 2}) {
            r.display->answer = answer;
            EXPECT_EQ(r.facade.RunCommand(word.first), Failed) << word.first << answer;
        }
    }
    EXPECT_EQ(QTD::ATTR(zero).as<double>(), 0.0);

    // The words are compared exactly; unknown words, and the controller's own, do nothing.
    Recorded r;
    for (const char* word : {"DISPLAY.ZOOM.IN", "display.zoom", "",
                             static_cast<const char*>(nullptr), "processing.proc.add"}) {
        EXPECT_EQ(r.facade.RunCommand(word), 0u);
    }
    // Through the component interface as well: 0, not the component's code 10.
    EXPECT_EQ(r.component()->RunCommand("cmd.display.view.zoom.in"), 0u);
    EXPECT_TRUE(r.display->commands.empty());
}

TEST(FacadeCommands, DumpOnRemembersItsObjectWhereDumpOffDoesNotLook) {
    Recorded r;
    for (auto& entry :
         Params{{"dump.x", "10"}, {"dump.y", "20"}, {"dump.w", "30"}, {"dump.h", "40"}}) {
        r.set(entry.first.c_str(), entry.second.c_str());
    }
    r.display->writeBack = {{"objectID", "rect#7"}};
    EXPECT_EQ(r.facade.RunCommand("display.dump.on"), 0u);
    ASSERT_EQ(r.display->commands.size(), 1u);
    EXPECT_EQ(r.display->commands[0].first, "cmd.display.overlay.rect.add");
    EXPECT_EQ(r.display->commands[0].second, (Params{{"rect.x", "10"},
                                                     {"rect.y", "20"},
                                                     {"rect.w", "30"},
                                                     {"rect.h", "40"},
                                                     {"cs", "img"},
                                                     {"line.width", "2"},
                                                     {"line.clr", "50372"},
                                                     {"objectID", "@dump"}}));
    EXPECT_EQ(r.bag("dump.objectID"), "rect#7");

    // A failed add leaves the remembered identifier alone.
    r.display->answer = 0;
    r.display->writeBack = {{"objectID", "other"}};
    EXPECT_EQ(r.facade.RunCommand("display.dump.on"), Failed);
    EXPECT_EQ(r.bag("dump.objectID"), "rect#7");

    // Off looks at "objectID", which on never wrote: the application copies it over.
    r.display->answer = 1;
    r.display->writeBack.clear();
    EXPECT_EQ(r.facade.RunCommand("display.dump.off"), 0u);
    EXPECT_EQ(r.display->commands.back(),
              std::make_pair(std::string("cmd.display.overlay.del"), Params{{"objectID", ""}}));
    r.set("objectID", r.bag("dump.objectID").c_str());
    EXPECT_EQ(r.facade.RunCommand("display.dump.off"), 0u);
    EXPECT_EQ(r.display->commands.back().second, (Params{{"objectID", "rect#7"}}));
    r.display->answer = 0;
    EXPECT_EQ(r.facade.RunCommand("display.dump.off"), Failed);
    // Neither identifier is touched by off.
    EXPECT_EQ(r.bag("objectID"), "rect#7");
    EXPECT_EQ(r.bag("dump.objectID"), "rect#7");
}

TEST(FacadeCommands, TextAddAndDelUseTheBag) {
    Recorded r;
    for (auto& entry : Params{{"text.text", "frame {id}"},
                              {"text.pos.x", "12"},
                              {"text.pos.y", "-3"},
                              {"text.clr", "65280"},
                              {"cs", "win"}}) {
        r.set(entry.first.c_str(), entry.second.c_str());
    }
    r.display->textID = "text#1";
    EXPECT_EQ(r.facade.RunCommand("text.add"), 0u);
    ASSERT_EQ(r.display->texts.size(), 1u);
    EXPECT_EQ(r.display->texts[0].text, "frame {id}");
    EXPECT_EQ(r.display->texts[0].x, 12);
    EXPECT_EQ(r.display->texts[0].y, -3);
    EXPECT_EQ(
        r.display->texts[0].params,
        (Params{{"objectID", ""}, {"text.font", "default"}, {"text.clr", "65280"}, {"cs", "win"}}));
    EXPECT_EQ(r.bag("objectID"), "text#1");

    // No identifier back is a failure, and the empty identifier is what the bag keeps.
    r.display->textID = "";
    EXPECT_EQ(r.facade.RunCommand("text.add"), Failed);
    EXPECT_EQ(r.bag("objectID"), "");

    r.set("objectID", "text#1");
    EXPECT_EQ(r.facade.RunCommand("text.del"), 0u);
    EXPECT_EQ(r.display->deleted, std::vector<std::string>{"text#1"});
    EXPECT_EQ(r.bag("objectID"), "");
    EXPECT_TRUE(r.display->commands.empty());

    // A position that is no number is not caught here.
    r.set("text.pos.x", "left");
    EXPECT_THROW(r.facade.RunCommand("text.add"), std::invalid_argument);
}

TEST(FacadeCommands, ParameterNamesAreTranslatedOnTheWayIn) {
    Recorded r;
    BrxComponent* component = r.component();
    EXPECT_EQ(component->SetParamInt("display.fit", 2), 0u);
    ASSERT_EQ(r.display->commands.size(), 1u);
    EXPECT_EQ(r.display->commands[0],
              std::make_pair(std::string("cmd.display.view.fit"), Params{{"mode", "2"}}));
    // Read as an integer and printed back.
    char text[] = "3.9";
    component->SetParamString("display.fit", text);
    EXPECT_EQ(r.display->commands[1].second, (Params{{"mode", "3"}}));
    // The facade's bag keeps the value as given as well.
    EXPECT_EQ(r.bag("display.fit"), "3.9");

    EXPECT_EQ(component->SetParamInt("display.bg.color", 255), 0u);
    EXPECT_EQ(r.display->properties.get("display.view.bgcolor"), "255");
    EXPECT_EQ(r.bag("display.bg.color"), "255");
    EXPECT_EQ(r.display->commands.size(), 2u);

    // A value that is no number is not caught here.
    char word[] = "wide";
    EXPECT_THROW(component->SetParamString("display.fit", word), std::invalid_argument);
    EXPECT_EQ(r.display->commands.size(), 2u);
}

TEST(FacadeCommands, TranslateAsksTheViewInTheRightDirection) {
    Recorded r;
    r.display->writeBack = {{"pos.x", "12.750000"}, {"pos.y", "-3.500000"}, {"result", "1"}};
    int x = 7, y = -4;
    EXPECT_EQ(r.facade.Translate(&x, &y, 1), 0);
    ASSERT_EQ(r.display->commands.size(), 1u);
    EXPECT_EQ(r.display->commands[0].first, "cmd.display.view.translate");
    EXPECT_EQ(r.display->commands[0].second,
              (Params{{"pos.x", "7"}, {"pos.y", "-4"}, {"cs.src", "win"}, {"cs.dst", "img"}}));
    // The fraction is dropped, towards zero.
    EXPECT_EQ(x, 12);
    EXPECT_EQ(y, -3);

    // Any mode but 1 goes the other way.
    for (int mode : {0, 2, -1}) {
        r.facade.Translate(&x, &y, mode);
        EXPECT_EQ(r.display->commands.back().second["cs.src"], "img") << mode;
        EXPECT_EQ(r.display->commands.back().second["cs.dst"], "win") << mode;
    }

    // Null coordinates are left out.
    EXPECT_EQ(r.facade.Translate(nullptr, nullptr, 0), 0);
    EXPECT_EQ(r.display->commands.back().second, (Params{{"cs.src", "img"}, {"cs.dst", "win"}}));

    // A view that cannot translate: the failure word, and the point comes back as sent.
    r.display->answer = 0;
    r.display->writeBack.clear();
    x = 9, y = 8;
    EXPECT_EQ(r.facade.Translate(&x, &y, 1), int(Failed));
    EXPECT_EQ(x, 9);
    EXPECT_EQ(y, 8);
}
