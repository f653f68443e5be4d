#include "screen/SurfaceText.h"
#include "screen/GlyphSurfaceText.h"

#include <QFont>
#include <QFontMetrics>
#include <QImage>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// A text kind that records the lines it is asked to draw.
struct RecordingText : QTD::SurfaceText {
    RecordingText() { addDefaultFonts(); }
    ~RecordingText() override { shut(); }
    bool ready() override { return true; }
    int drawLine(char const* text, int x, int y, QTD::ATTR, QTD::RgbColor*) override {
        lines.push_back({text, x, y});
        return 1;
    }
    struct Line {
        std::string text;
        int x, y;
    };
    std::vector<Line> lines;
};

struct GlyphText : QTD::GlyphSurfaceText {
    GlyphText() { addDefaultFonts(); }
};

QFont* fontOf(QTD::SurfaceText& t, char const* name) {
    return static_cast<QFont*>(t.fonts.getPropsValue(name, "font", "").as<void*>());
}

int heightOf(QTD::SurfaceText& t, char const* name) {
    return t.fonts.getPropsValueAs<int>(name, "height", "0");
}

TEST(SurfaceText, MeasuringLinesAndTabs) {
    RecordingText t;
    QFont* font = fontOf(t, "default");
    int h = 0;
    int wa = t.calcLineWidth(font, "a", &h);
    EXPECT_EQ(wa, QFontMetrics(*font).boundingRect("a").width());
    // Measurement stops at the first tab.
    EXPECT_EQ(t.calcLineWidth(font, "a\tlonger text", nullptr), wa);

    int w = -1;
    t.calcLine("default", "a", &w, &h);
    EXPECT_EQ(w, wa);
    // b starts at the next stop, a multiple of height x 4, past the end of a.
    int step = heightOf(t, "default") * QTD::SurfaceText::tab;
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

    // Unknown font: zero; known font without text: the line height.
    t.calcLine("nope", "a", &w, &h);
    EXPECT_EQ(w, 0);
    EXPECT_EQ(h, 0);
    t.calcLine("default", nullptr, &w, &h);
    EXPECT_EQ(w, 0);
    EXPECT_EQ(h, heightOf(t, "default"));
}

TEST(SurfaceText, MeasuringTexts) {
    RecordingText t;
    int w = -1, h = -1;
    int w1, h1, w2, h2;
    t.calcLine("large", "first line", &w1, &h1);
    t.calcLine("large", "second", &w2, &h2);
    t.calcText("large", "first line\nsecond", &w, &h);
    EXPECT_EQ(w, std::max(w1, w2));
    EXPECT_EQ(h, h1 + h2);
    // Empty lines vanish.
    t.calcText("large", "first line\n\n\nsecond\n", &w, &h);
    EXPECT_EQ(h, h1 + h2);
    // An empty font name is not looked up here.
    for (char const* font : {"", "nope"}) {
        t.calcText(font, "a\nb", &w, &h);
        EXPECT_EQ(w, 0);
        EXPECT_EQ(h, 0);
    }
}

TEST(SurfaceText, SplitLines) {
    std::vector<QTD::ATTR> lines;
    EXPECT_EQ(QTD::SurfaceText::splitLines("a\n\nb\n", lines, "\n"), 1);
    EXPECT_EQ(lines, (std::vector<QTD::ATTR>{"a", "b"}));
    EXPECT_EQ(QTD::SurfaceText::splitLines("\n\n", lines, "\n"), 0);
    EXPECT_EQ(lines, (std::vector<QTD::ATTR>{"\n\n"}));
    EXPECT_EQ(QTD::SurfaceText::splitLines("one", lines, "\n"), 0);
    EXPECT_EQ(QTD::SurfaceText::splitLines(nullptr, lines, "\n"), -1);
    EXPECT_TRUE(lines.empty());
}

TEST(SurfaceText, DrawTextSplitsAndStepsByTheLineHeight) {
    RecordingText t;
    int step = heightOf(t, "fixed");
    EXPECT_EQ(t.drawText("one\n\ntwo", 10, 20, "fixed", nullptr), 2);
    ASSERT_EQ(t.lines.size(), 2u);
    EXPECT_EQ(t.lines[0].text, "one");
    EXPECT_EQ(t.lines[1].text, "two");
    EXPECT_EQ(t.lines[1].x, 10);
    EXPECT_EQ(t.lines[1].y, 20 + step);
}

TEST(GlyphSurfaceText, StripsHoldEveryCodeAsAMask) {
    GlyphText t;
    ASSERT_EQ(t.glyphs.size(), 5u);
    auto const& rects = t.glyphs.at("default");
    ASSERT_EQ(rects.size(), 224u);
    auto* strip = static_cast<QImage*>(t.strips.get("default").as<void*>());
    ASSERT_NE(strip, nullptr);
    // Rectangles run left to right without gaps; the blank is as wide as "i".
    QFont* font = fontOf(t, "default");
    int h = 0;
    EXPECT_EQ(rects[0].width, t.calcLineWidth(font, "i", &h));
    EXPECT_EQ(rects[0].height, h + 1);
    for (size_t i = 1; i < rects.size(); ++i)
        EXPECT_EQ(rects[i].x, rects[i - 1].x + rects[i - 1].width);
    EXPECT_GE(strip->width(), rects.back().x + rects.back().width);
}

} // namespace
