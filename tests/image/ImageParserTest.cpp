#include "image/QTDImageParser.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>
#include <stdexcept>
#include <string>
#include <vector>

using QTD::ATTR;

namespace {

struct Parser : ::testing::Test {
    QTDImageParser parser;
    BrxImage image{};
    void SetUp() override {
        image.width = 640;
        image.height = 480;
        image.imageID = 42;
        image.timestamp = 123456789;
        image.pixelType = 0x01080101;
    }
    void showImage() { parser.vars.set("image", ATTR(static_cast<void*>(&image)), true); }
};

} // namespace

TEST_F(Parser, TableCommands) {
    EXPECT_EQ("a\nb", parser.parse("a${br}b"));
    EXPECT_EQ("x\ty", parser.parse("x${tab}y"));
    EXPECT_EQ("", parser.parse("${nosuch}"));
    EXPECT_EQ("[]", parser.parse("[${time:%H}]"));
    EXPECT_EQ("xy", parser.parse("x${date}y${millis}"));
    // A command that a replacement leaves where the last one was stays in the text.
    EXPECT_EQ("${millis}", parser.parse("${date}${millis}"));
    EXPECT_EQ("", parser.parse(nullptr));
    EXPECT_EQ("\t${br", parser.parse("${tab}${br")); // an unclosed command stays
}

TEST_F(Parser, ImageCommands) {
    EXPECT_EQ("", parser.parse("${image.dims}")); // no image yet
    EXPECT_EQ(nullptr, parser.image);
    showImage();
    EXPECT_EQ("00000042", parser.parse("${image.id}"));
    EXPECT_EQ(&image, parser.image);
    EXPECT_EQ("640/480", parser.parse("${image.dims:%u/%u}"));
    EXPECT_EQ("123456789", parser.parse("${image.time}"));
    EXPECT_EQ("0x1080101", parser.parse("${image.type:%#x:ignored}"));
}

TEST_F(Parser, UserVariablesHideTheTable) {
    parser.vars.set("br", "<BR>", true);
    parser.vars.set("who", "b${tab}", true);
    EXPECT_EQ("a<BR>b", parser.parse("a${br}b"));
    EXPECT_EQ("ab\t", parser.parse("a${who}")); // a value holding a command is expanded in turn
    EXPECT_EQ("\n", parser.parse("${Br}"));     // variables go by exact case

    parser.vars.set("x", "${x}", true);
    EXPECT_EQ("${x}", parser.parse("${x}")); // stops after one pass at the same place

    QTD::PROPERTIES props;
    props.set("name", "camera 1", true);
    QTDImageParser withVars(&props);
    EXPECT_EQ("camera 1:", withVars.parse("${name}:"));
    std::string value = "untouched";
    EXPECT_FALSE(withVars.find("other", value));
    EXPECT_EQ("untouched", value);
}

TEST_F(Parser, GetFallsBackOnlyWhenNothingMatches) {
    EXPECT_EQ("fb", parser.get("nosuch", "fb"));
    EXPECT_EQ("", parser.get("image.id", "fb")); // matched, no image: empty, not the fallback
    EXPECT_EQ("fb", parser.get("", "fb"));
    EXPECT_EQ("\n", parser.get("::br::", "fb")); // empty pieces are skipped
}

TEST_F(Parser, ValidatesTimeFormatsWhenAsked) {
    std::string text = "${time:%H%q} ${date:%d}";
    EXPECT_FALSE(parser.validateFormatting(text, true, false));
    EXPECT_EQ("${time:%H#q} ${date:%d}", text);
    text = "${time:%H} %z";
    EXPECT_FALSE(parser.validateFormatting(text, true, false)); // the scan runs to the end
    EXPECT_EQ("${time:%H} #z", text);
    text = "${time:%H:%M}";
    EXPECT_TRUE(parser.validateFormatting(text, false, false));
    EXPECT_FALSE(parser.validateFormatting(text, false, true)); // ":" gets replaced
    EXPECT_EQ("${time %H %M}", text);
    text = "${date:%";
    EXPECT_THROW(parser.validateFormatting(text, true, false), std::out_of_range);

    parser.params.set("validateTime", "1", true);
    EXPECT_EQ("", parser.parse("${time:%k}"));
    parser.params.set("validateTime", "yes", true);
    EXPECT_THROW(parser.parse("a"), std::invalid_argument);
}

TEST_F(Parser, FormatsTheTimeOfTheLastPass) {
    parser.parse("x");
    EXPECT_GT(parser.seconds, 1600000000);
    EXPECT_EQ(parser.milliseconds / 1000, parser.seconds);
    EXPECT_EQ(parser.milliseconds % 1000, parser.millisPart);

    parser.seconds = 0;
    parser.millisPart = 987;
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ("19700101000000", parser.formatTime(nullptr));
    EXPECT_EQ("00.9", parser.formatTime("%S.%f"));
    EXPECT_EQ("00.987", parser.formatTime("%S.%fff"));
    EXPECT_EQ("00.987f", parser.formatTime("%S.%ffff"));
}

TEST(ParserUtils, ReplaceCharsAndCommandList) {
    std::string text = "a<b>c";
    EXPECT_EQ("a__b__c", QTDImageParserUtils::replaceChars(text, "__", "<>"));
    EXPECT_EQ("a__b__c", text);
    text = "a:b";
    EXPECT_EQ("a:b", QTDImageParserUtils::replaceChars(text, "x:", ":")); // would not end
    EXPECT_EQ("ab", QTDImageParserUtils::replaceChars(text, "", ":"));

    std::vector<std::string> commands;
    std::string templ = "${a} and ${b:%d}";
    EXPECT_EQ(1, QTDImageParserUtils::buildCommandsList(templ, commands));
    ASSERT_EQ(1u, commands.size());
    EXPECT_EQ("a", commands[0]);

    QTD::TextParser base;
    EXPECT_EQ("${br}", base.parse("${br}"));
}
