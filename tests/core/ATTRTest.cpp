#include "core/ATTR.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

using QTD::ATTR;

TEST(ATTR, ConstructionStopsAtFirstZeroByte) {
    EXPECT_EQ(ATTR(nullptr), "");
    EXPECT_EQ(ATTR(static_cast<char const*>(nullptr)), "");
    std::string withZero("ab\0cd", 5);
    EXPECT_EQ(ATTR(withZero), "ab");
    ATTR source("xy");
    source.push_back('\0');
    source += "z";
    ASSERT_EQ(source.size(), 4u);
    ATTR copy(source);
    EXPECT_EQ(copy.size(), 2u);
    ATTR assigned;
    assigned = source;
    EXPECT_EQ(assigned, "xy");
}

TEST(ATTR, NumberTextForms) {
    EXPECT_EQ(ATTR(2), "2");
    EXPECT_EQ(ATTR(-17), "-17");
    EXPECT_EQ(ATTR(1234567890123L), "1234567890123");
    EXPECT_EQ(ATTR(1.5), "1.500000");
    EXPECT_EQ(ATTR(-0.25), "-0.250000");
    EXPECT_EQ(ATTR(true), "1");
    EXPECT_EQ(ATTR(false), "0");
    EXPECT_EQ(ATTR(255, "%02X"), "FF");
    EXPECT_EQ(ATTR(3.14159, "%.2f"), "3.14");
}

TEST(ATTR, PointerTextRoundTrip) {
    int x = 0;
    ATTR text(static_cast<void*>(&x));
    char expected[64];
    std::snprintf(expected, sizeof(expected), "%p", static_cast<void*>(&x));
    EXPECT_EQ(text, expected);
    EXPECT_EQ(text.as<void*>(), &x);

    ATTR null(static_cast<void*>(nullptr));
    std::snprintf(expected, sizeof(expected), "%p", static_cast<void*>(nullptr));
    EXPECT_EQ(null, expected);
    EXPECT_EQ(null.as<void*>(), nullptr);
    EXPECT_EQ(ATTR("not a pointer").as<void*>(), nullptr);
    EXPECT_EQ(ATTR("").as<void*>(), nullptr);
}

TEST(ATTR, NumberReaders) {
    EXPECT_EQ(ATTR("").as<int>(), 0);
    EXPECT_EQ(ATTR("  -42xyz").as<int>(), -42);
    EXPECT_EQ(ATTR("1.500000").as<int>(), 1);
    EXPECT_EQ(ATTR("-1").as<unsigned int>(), 0xFFFFFFFFu);
    EXPECT_EQ(ATTR("").as<long>(), 0L);
    EXPECT_EQ(ATTR("9000000000").as<long>(), 9000000000L);
    EXPECT_DOUBLE_EQ(ATTR("").as<double>(), 0.0);
    EXPECT_DOUBLE_EQ(ATTR("2.5e1").as<double>(), 25.0);
    EXPECT_TRUE(ATTR("7").as<bool>());
    EXPECT_FALSE(ATTR("0").as<bool>());
    EXPECT_FALSE(ATTR("").as<bool>());
}

TEST(ATTR, NumberReadersLeaveStandardExceptionsUncaught) {
    EXPECT_THROW(ATTR("abc").as<int>(), std::invalid_argument);
    EXPECT_THROW(ATTR("abc").as<bool>(), std::invalid_argument);
    EXPECT_THROW(ATTR("x").as<long>(), std::invalid_argument);
    EXPECT_THROW(ATTR("x").as<double>(), std::invalid_argument);
    EXPECT_THROW(ATTR("9000000000").as<int>(), std::out_of_range);
    EXPECT_THROW(ATTR("99999999999999999999").as<long>(), std::out_of_range);
    EXPECT_THROW(ATTR("1e999").as<double>(), std::out_of_range);
    try {
        ATTR("abc").as<int>();
        FAIL();
    } catch (std::invalid_argument const& e) {
        EXPECT_NE(std::string(e.what()).find("stoi"), std::string::npos);
    }
}

TEST(ATTR, Formatting) {
    ATTR a("x=");
    a.add("%d,%s", 3, "y");
    EXPECT_EQ(a, "x=3,y");
    a.add(nullptr);
    EXPECT_EQ(a, "x=3,y");
    a.fmt("%05.1f", 2.25);
    EXPECT_EQ(a, "002.2");
    a.fmt(nullptr);
    EXPECT_EQ(a, "002.2");
    EXPECT_EQ(ATTR::format("%s-%d", "k", 9), "k-9");
    EXPECT_EQ(ATTR::format(nullptr), "");
}

TEST(ATTRDeath, FormattedTextPastItsBufferEndsTheProcess) {
    std::string big(20000, 'x');
    EXPECT_DEATH(ATTR::format("%s", big.c_str()), "");
    EXPECT_DEATH(ATTR(1.0e300, "%400f"), "");
}

TEST(ATTR, EditingOperations) {
    EXPECT_EQ(ATTR("abcdef").rem(1, 2), "adef");
    EXPECT_EQ(ATTR("abcdef").rem(2, -1), "ab");
    EXPECT_THROW(ATTR("abc").rem(4, 1), std::out_of_range);

    EXPECT_EQ(ATTR("abc").ins("X", 1), "aXbc");
    EXPECT_EQ(ATTR("abc").ins("X", 3), "abcX");
    EXPECT_EQ(ATTR("abc").ins("X", -1), "abcX");
    EXPECT_EQ(ATTR("abcdef").ins("pos=2;", 42, 4, 1), "ab42cdef");
    EXPECT_EQ(ATTR("abc").ins("", 7, 0, 0), "7abc");
    EXPECT_EQ(ATTR("abc").ins(static_cast<char const*>(nullptr), 7, 0, 0), "abc");

    EXPECT_EQ(ATTR("abc").put('X', 1), "aXc");
    EXPECT_EQ(ATTR("abc").put('X', 3), "abcX");
    EXPECT_EQ(ATTR("abc").put('X', 10), "abcX");
    EXPECT_THROW(ATTR("abc").put('X', -1), std::out_of_range);

    ATTR s("hello");
    EXPECT_EQ(s.copy(1, 3), "ell");
    EXPECT_EQ(s.copy(-5, 2), "he");
    EXPECT_EQ(s.copy(3, -1), "lo");
    EXPECT_EQ(s.copy(3, 100), "lo");
    EXPECT_EQ(s.copy(5, 1), "");

    EXPECT_EQ(ATTR("MiXeD").lower(true), "mixed");
    EXPECT_EQ(ATTR("MiXeD").lower(false), "MIXED");
}

TEST(ATTR, TrimRemovesControlBytesAndKeepsHighBytes) {
    EXPECT_EQ(ATTR(" \t\n x \r\n").trim(false), "x");
    EXPECT_EQ(ATTR(" \t x \n").trim(true), " \t x");
    EXPECT_EQ(ATTR(" \t\n").trim(false), "");
    EXPECT_EQ(ATTR("\xA0x\xFF").trim(false), "\xA0x\xFF");
}

TEST(ATTR, SameIsExactAndNeverMatchesEmpty) {
    EXPECT_TRUE(ATTR("abc").same("abc"));
    EXPECT_FALSE(ATTR("abc").same("ABC", false));
    EXPECT_TRUE(ATTR("abc").same("ABC", true));
    EXPECT_FALSE(ATTR("abc").same("abcd"));
    EXPECT_FALSE(ATTR("abc").same(nullptr));
    EXPECT_FALSE(ATTR("").same(""));
    EXPECT_FALSE(ATTR(nullptr).same(""));
    EXPECT_FALSE(ATTR(nullptr).same(nullptr, true));
}

TEST(ATTR, SamelComparesPrefixes) {
    ATTR cmd("cmd.display.view.fit");
    EXPECT_TRUE(cmd.samel("cmd.display", 11));
    EXPECT_TRUE(cmd.samel("cmd.display"));
    EXPECT_TRUE(cmd.samel("CMD.DISPLAY", -1, true));
    EXPECT_TRUE(cmd.samel("CMD.DISPLAY", -1, false, true));
    EXPECT_FALSE(cmd.samel("CMD.DISPLAY"));
    EXPECT_FALSE(cmd.samel("cmd", 0));
    EXPECT_FALSE(cmd.samel("cmd", 4));
    EXPECT_FALSE(cmd.samel(nullptr, 3));
    EXPECT_FALSE(ATTR("cm").samel("cmd", 3));
    // A negative count takes the shorter length: "cmd.x" against "cmd" compares 3 bytes.
    EXPECT_TRUE(ATTR("cmd").samel("cmd.x"));
}

TEST(ATTR, FindPosAndCount) {
    ATTR s("a.b.c");
    EXPECT_EQ(s.findPos("."), 1);
    EXPECT_EQ(s.findPos(".", 2), 3);
    EXPECT_EQ(s.findPos(".", 2, true), 1);
    EXPECT_EQ(s.findPos("x"), -1);

    EXPECT_EQ(ATTR("aaa").count("aa"), 2);
    EXPECT_EQ(ATTR("abab").count("ab", true), 2);
    EXPECT_EQ(ATTR("abc").count(""), 0);
    EXPECT_EQ(ATTR("abc").count(nullptr), 0);
    EXPECT_EQ(ATTR("").count("a"), 0);
}

TEST(ATTR, CompareIsCaseBlindByDefault) {
    EXPECT_EQ(ATTR("abc").compare("ABC", false), 0);
    EXPECT_FALSE(ATTR("abc").same("ABC", false));
    EXPECT_LT(ATTR("abc").compare("abd"), 0);
    EXPECT_EQ(ATTR("abc").compare(nullptr), -1);
    EXPECT_NE(ATTR("abc").compare("ABC", true), 0);
}

TEST(ATTR, TokenSplit) {
    ATTR out("untouched");
    EXPECT_FALSE(ATTR("a;b").split(out, -1, ";"));
    EXPECT_EQ(out, "untouched");
    EXPECT_FALSE(ATTR("").split(out, 0, ";"));
    EXPECT_EQ(out, "untouched");

    EXPECT_TRUE(ATTR("1;2;3").split(out, 1, nullptr));
    EXPECT_EQ(out, "2");
    EXPECT_FALSE(ATTR("a;b").split(out, 2, ";"));
    EXPECT_EQ(out, "");
    EXPECT_TRUE(ATTR("a;").split(out, 1, ";"));
    EXPECT_EQ(out, "");
    EXPECT_FALSE(ATTR("a;").split(out, 2, ";"));
    EXPECT_TRUE(ATTR("a;;b").split(out, 1, ";"));
    EXPECT_EQ(out, "");
    EXPECT_TRUE(ATTR("a::b::c").split(out, 2, "::"));
    EXPECT_EQ(out, "c");

    // The delimiter chosen from the last byte.
    EXPECT_EQ(ATTR("x,y,").split(1, nullptr), "y");
    EXPECT_EQ(ATTR("x,y").split(0, nullptr), "x,y");
    EXPECT_EQ(ATTR("x,y").split(1, nullptr), "");
    EXPECT_EQ(ATTR("1;2;3;").split(2, nullptr), "3");

    // No delimiter at all, and the empty delimiter.
    out = "keep";
    EXPECT_TRUE(ATTR("abc").split(out, 0, "|"));
    EXPECT_EQ(out, "abc");
    EXPECT_FALSE(ATTR("abc").split(out, 1, "|"));
    EXPECT_EQ(out, "");
    out = "keep";
    EXPECT_TRUE(ATTR("abc").split(out, 0, ""));
    EXPECT_EQ(out, "abc");
    out = "keep";
    EXPECT_FALSE(ATTR("abc").split(out, 1, ""));
    EXPECT_EQ(out, "keep");
}

TEST(ATTR, SplitBetweenMarkers) {
    ATTR s("name=<value> rest");
    EXPECT_EQ(s.split("<", ">"), "value");
    EXPECT_EQ(s.split("=", nullptr), "<value> rest");
    EXPECT_EQ(s.split("[", "]"), "");
    EXPECT_EQ(s.split("<", "]"), "");
    // `after` is looked for only behind `before`.
    EXPECT_EQ(ATTR(">a<b>").split("<", ">"), "b");
}

TEST(ATTR, EncodeEscapesSpecialBytesAndTheEscape) {
    EXPECT_EQ(ATTR::encode("a&b", ";", ""), "a&38;b");
    EXPECT_EQ(ATTR::encode("a;b", ";", "&"), "a&59;b");
    EXPECT_EQ(ATTR::encode("a;b", "", "&"), "a;b");
    EXPECT_EQ(ATTR::encode("x\xE9", "\xE9", "%"), "x%233;");
}

TEST(ATTR, DecodeKeepsItsHistoricCounting) {
    EXPECT_EQ(ATTR::decode("&59;x", "&"), ";x");
    EXPECT_EQ(ATTR::decode("&65;", ""), "A");
    EXPECT_EQ(ATTR::decode("x&65;abc", "&"), "xAbc");
    EXPECT_EQ(ATTR::decode("xy&65;abc", "&"), "xyAc");
    EXPECT_EQ(ATTR::decode("", "&"), "");
    EXPECT_EQ(ATTR::decode("&0;z", "&"), "z");
    EXPECT_EQ(ATTR::decode("&321;", "&"), "A");
    EXPECT_THROW(ATTR::decode("&x;", "&"), std::invalid_argument);
}

TEST(ATTR, OrdersLikeTheStandardString) {
    std::map<ATTR, int> m{{"b", 1}, {"a", 2}, {"ab", 3}, {"B", 4}};
    std::string order;
    for (auto const& kv : m)
        order += kv.first + ",";
    EXPECT_EQ(order, "B,a,ab,b,");
}
