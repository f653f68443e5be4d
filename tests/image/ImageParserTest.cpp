#include "image/QTDImageParser.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <stdexcept>
#include <string>

using QTD::ATTR;

namespace {

struct Parser : ::testing::Test {
    QTDImageParser parser;
    BrxImage image{};
    void SetUp() override {
        image.width = 640;
        image.height = 480;
        image.imageID = 42;
        image.pixelType = 0x01080101;
    }
    void showImage() { parser.vars.set("image", ATTR(static_cast<void*>(&image)), true); }
};

} // namespace

TEST_F(Parser, TableAndImageCommands) {
    EXPECT_EQ("a\nb\t", parser.parse("a${br}b${tab}"));
    EXPECT_EQ("", parser.parse("${nosuch}"));
    EXPECT_EQ("[]", parser.parse("[${time:%H}]"));
    // A command that a replacement leaves where the last one was stays in the text.
    EXPECT_EQ("${millis}", parser.parse("${date}${millis}"));
    EXPECT_EQ("", parser.parse(nullptr));
    EXPECT_EQ("\t${br", parser.parse("${tab}${br")); // an unclosed command stays

    EXPECT_EQ("", parser.parse("${image.dims}")); // no image yet
    showImage();
    EXPECT_EQ("00000042", parser.parse("${image.id}"));
    EXPECT_EQ("640/480", parser.parse("${image.dims:%u/%u}"));
    EXPECT_EQ("0x1080101", parser.parse("${image.type:%#x:ignored}"));
}

TEST_F(Parser, UserVariablesHideTheTable) {
    EXPECT_EQ("", parser.get("image.id", "fb")); // matched, no image: empty, not the fallback
    EXPECT_EQ("\n", parser.get("::br::", "fb")); // empty pieces are skipped
    parser.vars.set("br", "<BR>", true);
    parser.vars.set("who", "b${tab}", true);
    EXPECT_EQ("a<BR>b", parser.parse("a${br}b"));
    EXPECT_EQ("ab\t", parser.parse("a${who}")); // a value holding a command is expanded in turn
    EXPECT_EQ("\n", parser.parse("${Br}"));     // variables go by exact case
    parser.vars.set("x", "${x}", true);
    EXPECT_EQ("${x}", parser.parse("${x}")); // stops after one pass at the same place
}

TEST_F(Parser, ValidatesTimeFormatsWhenAsked) {
    std::string text = "${time:%H%q} ${date:%d}";
    EXPECT_FALSE(parser.validateFormatting(text, true, false));
    EXPECT_EQ("${time:%H#q} ${date:%d}", text);
    text = "${time:%H:%M}";
    EXPECT_FALSE(parser.validateFormatting(text, false, true)); // ":" gets replaced
    EXPECT_EQ("${time %H %M}", text);
    text = "${date:%";
    EXPECT_THROW(parser.validateFormatting(text, true, false), std::out_of_range);
    parser.params.set("validateTime", "1", true);
    EXPECT_EQ("", parser.parse("${time:%k}"));
    parser.params.set("validateTime", "yes", true);
    EXPECT_THROW(parser.parse("a"), std::invalid_argument);
}

TEST_F(Parser, FormatsSecondsAndMilliseconds) {
    parser.seconds = 0;
    parser.millisPart = 987;
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ("19700101000000", parser.formatTime(nullptr));
    EXPECT_EQ("00.9", parser.formatTime("%S.%f"));
    EXPECT_EQ("00.987f", parser.formatTime("%S.%ffff"));
}

TEST(ParserUtils, ReplaceChars) {
    std::string text = "a<b>c";
    EXPECT_EQ("a__b__c", QTDImageParserUtils::replaceChars(text, "__", "<>"));
    text = "a:b";
    EXPECT_EQ("a:b", QTDImageParserUtils::replaceChars(text, "x:", ":")); // would not end
}
