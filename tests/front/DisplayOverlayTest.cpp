// The controller's overlay commands and profile lines, down to the window's draw objects.

#include "FrontTestSupport.h"

#include "window/QTDWindow.h"

#include <gtest/gtest.h>

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
