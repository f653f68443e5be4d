#include "core/ATTR.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>

using QTD::ATTR;

TEST(ATTR, NullAndEmbeddedZeroEndTheText) {
    EXPECT_EQ(ATTR(static_cast<char const*>(nullptr)), "");
    EXPECT_EQ(ATTR(std::string("ab\0cd", 5)), "ab");
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
}

TEST(ATTR, PointerTextRoundTrip) {
    int x = 0;
    for (void* p : {static_cast<void*>(&x), static_cast<void*>(nullptr)}) {
        char expected[64];
        std::snprintf(expected, sizeof(expected), "%p", p);
        ATTR text(p);
        EXPECT_EQ(text, expected);
        EXPECT_EQ(text.as<void*>(), p);
    }
    EXPECT_EQ(ATTR("not a pointer").as<void*>(), nullptr);
    EXPECT_EQ(ATTR("").as<void*>(), nullptr);
}

TEST(ATTR, NumberReaders) {
    EXPECT_EQ(ATTR("").as<int>(), 0);
    EXPECT_EQ(ATTR("  -42xyz").as<int>(), -42);
    EXPECT_EQ(ATTR("1.500000").as<int>(), 1);
    EXPECT_EQ(ATTR("9000000000").as<long>(), 9000000000L);
    EXPECT_DOUBLE_EQ(ATTR("").as<double>(), 0.0);
    EXPECT_DOUBLE_EQ(ATTR("2.5e1").as<double>(), 25.0);
    EXPECT_TRUE(ATTR("7").as<bool>());
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
}

TEST(ATTR, ComparingAndSplitting) {
    EXPECT_TRUE(ATTR("abc").same("ABC", true));
    EXPECT_FALSE(ATTR("abc").same("ABC", false));
    EXPECT_FALSE(ATTR("").same(""));
    EXPECT_TRUE(ATTR("cmd.display.view").samel("cmd.display"));
    EXPECT_FALSE(ATTR("cm").samel("cmd", 3));
    ATTR out("untouched");
    EXPECT_FALSE(ATTR("a;b").split(out, -1, ";"));
    EXPECT_EQ(out, "untouched");
    EXPECT_TRUE(ATTR("a::b::c").split(out, 2, "::"));
    EXPECT_EQ(out, "c");
    EXPECT_FALSE(ATTR("a;b").split(out, 2, ";"));
    EXPECT_EQ(out, "");
    // Without a delimiter it is the last byte.
    EXPECT_EQ(ATTR("1;2;3;").split(2, nullptr), "3");
}
