// Overlays of the render window: coordinates kept as given and converted to window pixels again
// at every view change; profile lines counted in their two directions.

#include "WindowTestImages.h"

#include "screen/QTDScreen.h"
#include "window/QTDRender.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>

using namespace WindowTest;

namespace {

QTD::PROPERTIES bagOf(std::initializer_list<std::pair<char const*, char const*>> rows) {
    QTD::PROPERTIES bag;
    for (auto& row : rows)
        bag.set(row.first, row.second, true);
    return bag;
}

// A 400 x 300 window over the 640 x 480 card at scale 1: the image origin is (-120, -90).
class WindowOverlay : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(window.init());
        window.resize(400, 300);
        window.setImage(card.get(), false);
        ASSERT_DOUBLE_EQ(window.screen->originX, -120.0);
        ASSERT_DOUBLE_EQ(window.screen->originY, -90.0);
    }

    std::string value(QTD::ATTR const& id, char const* key) {
        QTD::PROPERTIES* object = window.drawObjects.find(id, true);
        return object ? object->get(key) : "<none>";
    }

    std::string rectOf(QTD::ATTR const& id) {
        return value(id, "x") + "," + value(id, "y") + " " + value(id, "w") + "x" + value(id, "h");
    }

    QTDWindow window{nullptr, false};
    ImagePtr card = makeCard();
};

} // namespace

TEST_F(WindowOverlay, ImageRectanglesFollowZoomAndScroll) {
    QTD::PROPERTIES props = bagOf({{"cs", "img"}, {"line.clr", "255"}});
    QTD::ATTR id = window.setOverlayRect(160, 160, 160, 160, props);
    ASSERT_FALSE(id.empty());
    EXPECT_EQ(rectOf(id), "40,70 160x160");
    EXPECT_EQ(value(id, "line.clr"), "255");

    // 200 %: the image is 1280 x 960, its origin (-440, -330).
    window.screen->scale(0.5, true);
    EXPECT_EQ(rectOf(id), "-120,-10 320x320");
    EXPECT_EQ(value(id, "w.cs"), "160");
    EXPECT_EQ(value(id, "x.cs"), "160");

    // Scrolled to the top left corner of the image.
    window.screen->at(0.0, 0.0);
    EXPECT_EQ(rectOf(id), "320,320 320x320");

    // Window coordinates stay as they were given.
    QTD::PROPERTIES win;
    QTD::ATTR fixed = window.setOverlayRect(5, 6, 7, 8, win);
    window.screen->scale(1.0, true);
    EXPECT_EQ(rectOf(fixed), "5,6 7x8");
    EXPECT_EQ(value(fixed, "cs"), "win");
}

TEST_F(WindowOverlay, AdjustClipsWhenSetAndOnlyUntilTheNextViewChange) {
    // The image's right edge lies at 520 in the window.
    QTD::PROPERTIES props = bagOf({{"cs", "img"}, {"adjust", "1"}});
    QTD::ATTR id = window.setOverlayRect(600, 100, 100, 50, props);
    EXPECT_EQ(rectOf(id), "480,10 40x50");
    window.processCommand("view.changed", nullptr);
    EXPECT_EQ(rectOf(id), "480,10 100x50");
}

TEST_F(WindowOverlay, TextsTakeCoordinatesOrRules) {
    QTD::PROPERTIES img = bagOf({{"cs", "IMG"}});
    QTD::ATTR point = window.setOverlayText(const_cast<char*>("p"), 160, 160, img);
    EXPECT_EQ(value(point, "x"), "40");
    EXPECT_EQ(value(point, "y"), "70");
    EXPECT_EQ(value(point, "x.cs"), "160");
    window.screen->scale(0.5, true);
    EXPECT_EQ(value(point, "x"), "-120");
    EXPECT_EQ(value(point, "y"), "-10");

    // A negative y is a placement rule, whatever "cs" says, and follows the window's size.
    QTD::ATTR placed = window.setOverlayText(const_cast<char*>("status"), 3, -1, img);
    EXPECT_EQ(value(placed, "placement"), "3");
    const int w = std::stoi(value(placed, "w"));
    EXPECT_EQ(value(placed, "x"), std::to_string(400 - (w + 4)));
    window.resize(500, 320);
    EXPECT_EQ(value(placed, "x"), std::to_string(500 - (w + 4)));
    EXPECT_EQ(value(placed, "y"), std::to_string(318 - std::stoi(value(placed, "h"))));

    // An empty text neither sets nor deletes.
    QTD::PROPERTIES same = bagOf({{"objectID", placed.c_str()}});
    EXPECT_TRUE(window.setOverlayText(const_cast<char*>(""), 1, 1, same).empty());
    EXPECT_TRUE(window.setOverlayText(nullptr, 1, 1, same).empty());
    EXPECT_TRUE(window.drawObjects.isExist(placed, "text"));

    // Passing the id back replaces the text.
    QTD::ATTR again = window.setOverlayText(const_cast<char*>("moved"), 7, 8, same);
    EXPECT_EQ(again, placed);
    EXPECT_EQ(value(placed, "x"), "7");
    EXPECT_FALSE(window.drawObjects.find(placed, true)->find("placement"));
}

TEST_F(WindowOverlay, ProfileLinesCountFromBothEnds) {
    QTD::PROPERTIES win;
    QTD::ATTR a = window.setOverlayProfileLine(1, 2, 3, 4, win);
    QTD::ATTR rect = window.setOverlayRect(0, 0, 5, 5, win);
    QTD::ATTR b = window.setOverlayProfileLine(5, 6, 7, 8, win);
    window.activeLine(0);
    EXPECT_EQ(window.drawObjects.activeLineIndex(), 0);
    // Deletion counts from the last line, the active line from the first.
    window.deleteLine(0);
    EXPECT_TRUE(window.drawObjects.isExist(a, "line"));
    EXPECT_FALSE(window.drawObjects.isExist(b, ""));
    window.deleteLine(3);
    EXPECT_TRUE(window.drawObjects.isExist(a, "line"));

    // A line in image pixels follows the view, both ends.
    QTD::PROPERTIES img = bagOf({{"cs", "img"}});
    QTD::ATTR c = window.setOverlayProfileLine(160, 160, 320, 240, img);
    EXPECT_EQ(value(c, "x0") + "," + value(c, "y0") + "-" + value(c, "x1") + "," + value(c, "y1"),
              "40,70-200,150");
    window.screen->scale(0.5, true);
    EXPECT_EQ(value(c, "x0") + "," + value(c, "y0") + "-" + value(c, "x1") + "," + value(c, "y1"),
              "-120,-10-200,150");
    EXPECT_EQ(value(c, "x1.cs"), "320");

    window.clearLines();
    EXPECT_EQ(window.drawObjects.count(), 1);
    EXPECT_TRUE(window.drawObjects.isExist(rect, "rect"));
    window.clearLines();
    window.deleteLine(0);
}

TEST(WindowOverlayBare, NothingBreaksWithoutScreenOrObjects) {
    QTDWindow window(nullptr, false);
    QTD::PROPERTIES img = bagOf({{"cs", "img"}, {"update", "1"}});
    // Before init there is nothing to convert with: the values are kept as given.
    QTD::ATTR id = window.setOverlayRect(1, 2, 3, 4, img);
    EXPECT_EQ(window.drawObjects.find(id, true)->get("x"), "1");
    window.setOverlayProfileLine(1, 2, 3, 4, img);
    window.setOverlayText(const_cast<char*>("t"), 1, 2, img);
    window.setOverlayText(const_cast<char*>("t"), 1, -1, img);
    EXPECT_TRUE(window.processCommand("view.changed", nullptr));
    window.deleteLine(7);
    window.activeLine(-3);
    window.render();

    // Kept coordinates that do not read raise to the caller of the refresh; the object is
    // left as it was and follows the view again once its values read.
    ASSERT_TRUE(window.init());
    window.resize(100, 100);
    QTD::ATTR before = window.drawObjects.find(id, true)->get("x");
    QTD::PROPERTIES bad = bagOf({{"x.cs", "far"}});
    window.drawObjects.update(id, bad);
    EXPECT_THROW(window.processCommand("view.changed", nullptr), std::invalid_argument);
    EXPECT_EQ(window.drawObjects.find(id, true)->get("x"), before);
    QTD::PROPERTIES good = bagOf({{"x.cs", "1"}});
    window.drawObjects.update(id, good);
    EXPECT_TRUE(window.processCommand("view.changed", nullptr));
    window.shut();
    // After shut a placed text measures nothing, rather than a freed surface.
    window.setOverlayText(const_cast<char*>("t"), 2, -1, img);
    window.clearLines();
}
