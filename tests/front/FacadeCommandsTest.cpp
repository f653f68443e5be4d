// The facade's older words and Translate against the controller's newer commands on live displays.

#include "FrontTestSupport.h"

#include "screen/QTDScreen.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>

#include <sstream>
#include <stdexcept>

using namespace FrontTest;

namespace {

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
