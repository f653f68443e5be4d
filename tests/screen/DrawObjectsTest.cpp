#include "screen/DrawObjects.h"

#include "screen/QTDSurface.h"
#include "screen/SurfaceText.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

using QTD::ATTR;
using QTD::DrawObjects;
using QTD::PROPERTIES;

namespace {

// Measures every text as the size the test sets.
struct FixedText : QTD::SurfaceText {
    void calcText(ATTR, char const*, int* width, int* height) override {
        *width = w;
        *height = h;
    }
    bool ready() override { return true; }
    int w = 20, h = 9;
};

// Records what is drawn on it, one line of text per call.
struct RecordingSurface : QTDSurface {
    RecordingSurface() {
        textHandler = measure = new FixedText();
        width = 640;
        height = 480;
    }
    void line(int x1, int y1, int x2, int y2, QTD::RgbColor* c, int w, int) override {
        log("line %d %d %d %d w%d c%06x", x1, y1, x2, y2, w, unsigned(*c));
    }
    void rect(int x, int y, int w, int h, QTD::RgbColor* c, int width, int) override {
        log("rect %d %d %d %d w%d c%06x", x, y, w, h, width, unsigned(*c));
    }
    void fillRect(int x, int y, int w, int h, QTD::RgbColor* c) override {
        log("fill %d %d %d %d c%06x", x, y, w, h, unsigned(*c));
    }
    void text(char const* t, int x, int y, ATTR font, QTD::RgbColor* c) override {
        log("text %s %d %d %s c%06x o%d", t, x, y, font.c_str(), unsigned(*c), c->opacity);
    }
    template <typename... A> void log(char const* f, A... a) {
        char buffer[256];
        std::snprintf(buffer, sizeof(buffer), f, a...);
        calls.push_back(buffer);
    }
    FixedText* measure;
    std::vector<std::string> calls;
};

PROPERTIES bagOf(std::vector<std::pair<char const*, char const*>> rows) {
    PROPERTIES bag;
    for (auto& row : rows)
        bag.set(row.first, row.second, true);
    return bag;
}

} // namespace

TEST(DrawObjects, GeneratedIdsAndTheRemoveConditionsOfTheSetOperations) {
    DrawObjects objects;
    ATTR first, second;
    EXPECT_TRUE(objects.setText(first, 1, 2, "a", nullptr));
    EXPECT_TRUE(objects.setText(second, 1, 2, "b", nullptr));
    char suffix[32];
    std::snprintf(suffix, sizeof(suffix), "@%p", static_cast<void*>(&objects));
    EXPECT_EQ(first, ATTR("01001") + suffix);
    EXPECT_EQ(second, ATTR("01002") + suffix);

    // Passing the filled id back replaces the object as a whole.
    PROPERTIES extra = bagOf({{"text.clr", "255"}});
    EXPECT_TRUE(objects.setText(first, 5, 6, "c", &extra));
    EXPECT_TRUE(objects.setText(first, 5, 6, "d", nullptr));
    EXPECT_EQ(objects.count(), 2);
    EXPECT_EQ(objects.find(first, true)->get("text"), "d");
    EXPECT_FALSE(objects.find(first, true)->find("text.clr"));

    objects.lastID = 999999;
    ATTR wrapped;
    objects.verifyID(wrapped);
    EXPECT_EQ(wrapped, ATTR("00001") + suffix);

    // The remove conditions of the set operations; the two texts above stay.
    ATTR none, line, marker, rect, text;
    EXPECT_FALSE(objects.placeText(none, 1, nullptr, nullptr));
    EXPECT_TRUE(none.empty());

    EXPECT_TRUE(objects.setLine(line, -1, -1, -1, 0, nullptr));
    EXPECT_TRUE(objects.isExist(line, "line"));
    EXPECT_TRUE(objects.setLine(line, -1, -1, -1, -1, nullptr));
    EXPECT_FALSE(objects.isExist(line, ""));
    EXPECT_FALSE(objects.setLine(line, -1, -1, -1, -1, nullptr));

    EXPECT_TRUE(objects.setMarker(marker, -1, 3, nullptr));
    EXPECT_TRUE(objects.setMarker(marker, -1, -1, nullptr));
    QTD::TRECT<int> r{1, 2, 3, 4};
    EXPECT_TRUE(objects.setRect(rect, &r, nullptr));
    EXPECT_TRUE(objects.setRect(rect, nullptr, nullptr));
    EXPECT_TRUE(objects.setText(text, 0, 0, "x", nullptr));
    EXPECT_TRUE(objects.setText(text, 0, 0, nullptr, nullptr));
    EXPECT_EQ(objects.count(), 2);
}

TEST(DrawObjects, PlacementRoundsSizesAndFollowsTheRules) {
    RecordingSurface surface;
    surface.area = {0, 0, 640, 480};
    DrawObjects objects;
    objects.surface(&surface); // takes the surface's size
    ATTR id;
    ASSERT_TRUE(objects.placeText(id, 1, "status", nullptr));
    PROPERTIES* text = objects.find(id, true);
    // Steps of 8 and 2, rounding half away from zero, not always to the next multiple.
    int const sizes[][4] = {{8, 9, 16, 10},  {1, 0, 8, 2},   {0, 0, 8, 2},
                            {9, 10, 16, 12}, {17, 1, 24, 2}, {20, 9, 24, 10}};
    for (auto& s : sizes) {
        surface.measure->w = s[0];
        surface.measure->h = s[1];
        objects.updatePlacement(nullptr, true);
        EXPECT_EQ(text->getAs<int>("w"), s[2]) << s[0];
        EXPECT_EQ(text->getAs<int>("h"), s[3]) << s[1];
    }

    // Measured 20 x 9 again: w 24, h 10. The short image ends at 300: adjust keeps bottom texts
    // at 298 - 10; top rules would need a negative origin.
    QTD::TRECT<double> const full{0, 0, 640, 480}, shortImage{0, 50, 640, 250};
    struct {
        int rule;
        bool adjust;
        QTD::TRECT<double> image;
        int x, y;
    } const rows[] = {
        {1, false, full, 4, 2},           {5, false, full, 308, 225},
        {3, false, full, 612, 468},       {3, true, shortImage, 612, 288},
        {2, true, shortImage, 4, 288},    {7, true, shortImage, 308, 288},
        {3, false, shortImage, 612, 468}, {1, true, shortImage, 4, 2},
    };
    for (auto const& r : rows) {
        surface.area = r.image;
        PROPERTIES props = bagOf({{"adjust", r.adjust ? "1" : "0"}});
        ATTR placed;
        objects.placeText(placed, r.rule, "status", &props);
        EXPECT_EQ(objects.find(placed, true)->getAs<int>("x"), r.x) << r.rule << r.adjust;
        EXPECT_EQ(objects.find(placed, true)->getAs<int>("y"), r.y) << r.rule << r.adjust;
    }
}

TEST(DrawObjects, RenderDrawsByTypeInIdOrderWithCarriedStyle) {
    RecordingSurface surface;
    DrawObjects objects(&surface);
    PROPERTIES red = bagOf({{"line.clr", "255"}, {"line.width", "3"}});
    PROPERTIES withActive = bagOf({{"line.actclr", "65280"}});
    PROPERTIES back = bagOf({{"back.mode", "1"}, {"w", "24"}, {"h", "10"}, {"text.clr", "16"}});
    QTD::TRECT<int> r{10, 20, 30, 40};
    ATTR a, b, c, d, e;
    objects.setRect(a, &r, &red);
    objects.setLine(b, 1, 2, 3, 4, &withActive);
    objects.setLine(c, 5, 6, 7, 8, nullptr);
    objects.setText(d, 50, 60, "hi", &back);
    objects.setMarker(e, 1, 1, nullptr);
    objects.render(nullptr, nullptr);
    std::vector<std::string> expected = {
        "rect 10 20 30 40 w3 c0000ff",      "line 1 2 3 4 w1 c00ff00", "rect 2 3 2 2 w1 c00ff00",
        "line 5 6 7 8 w1 c000000",          "rect 6 7 2 2 w1 c000000", "fill 48 50 28 10 cffffff",
        "text hi 50 60 default c000010 o1",
    };
    EXPECT_EQ(surface.calls, expected);

    // The active colour carries over from the first line to any later one made active.
    surface.calls.clear();
    objects.setActiveLine(1);
    objects.render(nullptr, nullptr);
    EXPECT_EQ(surface.calls[1], "line 1 2 3 4 w1 c000000");
    EXPECT_EQ(surface.calls[3], "line 5 6 7 8 w1 c00ff00");

    // A number that does not read raises, and both locks are let go on the way out.
    PROPERTIES bad = bagOf({{"x", "left"}});
    objects.update(d, bad);
    EXPECT_THROW(objects.render(nullptr, nullptr), std::invalid_argument);
    EXPECT_TRUE(objects.del(d));
    surface.calls.clear();
    objects.render(nullptr, nullptr);
    EXPECT_EQ(surface.calls.size(), 5u);
}
