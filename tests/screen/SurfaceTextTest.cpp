#include "screen/SurfaceText.h"

#include <QFont>
#include <QFontInfo>

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

// A text kind that records the lines it is asked to draw.
struct RecordingText : QTD::SurfaceText {
    RecordingText() { addDefaultFonts(); }
    ~RecordingText() override { shut(); }
    bool ready() override { return true; }
    int drawLine(char const* text, int x, int y, QTD::ATTR, QTD::RgbColor*) override {
        lines.push_back(text + (" " + std::to_string(x)) + " " + std::to_string(y));
        return 1;
    }
    int height(char const* font) { return fonts.getPropsValueAs<int>(font, "height", "0"); }
    std::vector<std::string> lines;
};

TEST(SurfaceText, MeasuringSplittingAndDrawingLines) {
    RecordingText t;
    QFont* font = static_cast<QFont*>(t.fonts.getPropsValue("default", "font", "").as<void*>());
    int w = -1, h = -1;
    int wa = t.calcLineWidth(font, "a", nullptr);
    // Measurement stops at the first tab.
    EXPECT_EQ(t.calcLineWidth(font, "a\tlonger text", nullptr), wa);
    // b starts at the next stop, a multiple of height x 4, past the end of a.
    int step = t.height("default") * QTD::SurfaceText::tab;
    int wb = t.calcLineWidth(font, "b", nullptr);
    t.calcLine("default", "a\tb", &w, &h);
    EXPECT_EQ(w, step + wb);
    std::string wide(12, 'W');
    int ww = t.calcLineWidth(font, wide.c_str(), nullptr);
    ASSERT_GT(ww, step);
    t.calcLine("default", (wide + "\tb").c_str(), &w, &h);
    EXPECT_EQ(w, step + (ww / step) * step + wb);
    t.calcLine("default", "\t\t", &w, &h);
    EXPECT_EQ(w, 2 * step);

    // Without text: the line height.
    t.calcLine("default", nullptr, &w, &h);
    EXPECT_EQ(w, 0);
    EXPECT_EQ(h, t.height("default"));

    // Several lines: the widest line, the heights summed; empty lines vanish.
    int w1, h1, w2, h2;
    t.calcLine("large", "first line", &w1, &h1);
    t.calcLine("large", "second", &w2, &h2);
    t.calcText("large", "first line\n\n\nsecond\n", &w, &h);
    EXPECT_EQ(w, std::max(w1, w2));
    EXPECT_EQ(h, h1 + h2);
    // An empty or unknown font name measures nothing.
    for (char const* name : {"", "nope"}) {
        t.calcText(name, "a\nb", &w, &h);
        EXPECT_EQ(w, 0);
        EXPECT_EQ(h, 0);
    }

    std::vector<QTD::ATTR> lines;
    EXPECT_EQ(QTD::SurfaceText::splitLines("a\n\nb\n", lines, "\n"), 1);
    EXPECT_EQ(lines, (std::vector<QTD::ATTR>{"a", "b"}));
    EXPECT_EQ(QTD::SurfaceText::splitLines(nullptr, lines, "\n"), -1);
    EXPECT_TRUE(lines.empty());

    // Two line feeds in a row draw two lines, a line height apart.
    EXPECT_EQ(t.drawText("one\n\ntwo", 10, 20, "fixed", nullptr), 2);
    EXPECT_EQ(t.lines, (std::vector<std::string>{
                           "one 10 20", "two 10 " + std::to_string(20 + t.height("fixed"))}));
}

} // namespace

// The faces the fonts are named by are not on Linux; their metric-compatible stand-ins must be
// found instead, so that text takes the room it takes where the faces exist.
TEST(SurfaceText, NamedFacesResolveToMetricCompatibleFamilies) {
    const std::map<std::string, std::set<std::string>> compatible = {
        {"Cambria", {"Cambria", "Caladea"}},
        {"Calibri", {"Calibri", "Carlito"}},
        {"Courier New", {"Courier New", "Liberation Mono"}}};
    RecordingText t;
    ASSERT_EQ(t.fonts.groups.size(), 5u);
    for (auto& [name, bag] : t.fonts.groups) {
        const std::string face = bag.get("face").c_str();
        SCOPED_TRACE(name.c_str() + (" in " + face));
        ASSERT_EQ(compatible.count(face), 1u);
        const QFont* font = static_cast<QFont*>(bag.get("font").as<void*>());
        const QFontInfo info(*font);
        EXPECT_EQ(compatible.at(face).count(info.family().toStdString()), 1u)
            << "resolved to " << info.family().toStdString();
        EXPECT_EQ(info.bold(), font->bold());
    }
}
