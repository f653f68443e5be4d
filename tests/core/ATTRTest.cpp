#include "core/ATTR.h"
#include "core/PROPERTIES.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <stdexcept>
#include <thread>

using QTD::ATTR;
using QTD::PROPERTIES;

TEST(ATTR, TextForms) {
    EXPECT_EQ(ATTR(static_cast<char const*>(nullptr)), "");
    EXPECT_EQ(ATTR(std::string("ab\0cd", 5)), "ab");
    EXPECT_EQ(ATTR(-17), "-17");
    EXPECT_EQ(ATTR(1.5), "1.500000");
    EXPECT_EQ(ATTR(255, "%02X"), "FF");
    int x = 0;
    for (void* p : {static_cast<void*>(&x), static_cast<void*>(nullptr)}) {
        char expected[64];
        std::snprintf(expected, sizeof(expected), "%p", p);
        EXPECT_EQ(ATTR(p), expected);
        EXPECT_EQ(ATTR(p).as<void*>(), p);
    }
    EXPECT_EQ(ATTR("not a pointer").as<void*>(), nullptr);
}

TEST(ATTR, NumberReadersAndTheirUncaughtExceptions) {
    EXPECT_EQ(ATTR("").as<int>(), 0);
    EXPECT_EQ(ATTR("1.500000").as<int>(), 1);
    EXPECT_THROW(ATTR("abc").as<int>(), std::invalid_argument);
    EXPECT_THROW(ATTR("x").as<double>(), std::invalid_argument);
    EXPECT_THROW(ATTR("9000000000").as<int>(), std::out_of_range);
    EXPECT_THROW(ATTR("99999999999999999999").as<long>(), std::out_of_range);
    EXPECT_THROW(ATTR("1e999").as<double>(), std::out_of_range);
}

TEST(ATTR, ComparingAndSplittingAtTheBounds) {
    EXPECT_FALSE(ATTR("cm").samel("cmd", 3));
    ATTR out("untouched");
    EXPECT_FALSE(ATTR("a;b").split(out, -1, ";"));
    EXPECT_EQ(out, "untouched");
    EXPECT_FALSE(ATTR("a;b").split(out, 2, ";"));
    EXPECT_EQ(out, "");
    EXPECT_EQ(ATTR("1;2;3;").split(2, nullptr), "3"); // without a delimiter, the last byte
}

TEST(PROPERTIES, ReplaceRuleInsertionOrderEmptyKeysAndFallbacks) {
    PROPERTIES bag;
    bool done = false;
    bag.set("b", "1", false, &done);
    EXPECT_TRUE(done);
    bag.set("b", "2", false, &done);
    EXPECT_FALSE(done);
    EXPECT_EQ(bag.get("b"), "1");
    bag.set("a", "2", true);
    bag.set("c", "3", true);
    bag.set("b", "9", true, &done);
    EXPECT_TRUE(done);
    EXPECT_EQ(bag.text(false), "b=9 a=2 c=3");
    EXPECT_EQ(bag.text(true, ";"), "b=\"9\";a=\"2\";c=\"3\"");
    EXPECT_EQ(bag.get("B", "none"), "none");
    // An empty key stores nothing and leaves `done` alone.
    for (bool before : {false, true}) {
        done = before;
        bag.set(before ? "" : nullptr, "1", true, &done);
        EXPECT_EQ(done, before);
    }
    EXPECT_EQ(bag.count(), 3);

    bag.set("e", "", true);
    EXPECT_EQ(bag.getAs<int>("missing", "7"), 7);
    EXPECT_THROW(bag.getAs<int>("missing", "abc"), std::invalid_argument);
    // A stored empty value is read, not replaced by the fallback.
    EXPECT_DOUBLE_EQ(bag.getAs<double>("e", "3.0"), 0.0);
}

TEST(PROPERTIES, MergingFromAnotherBagAndUnlockingOnThrow) {
    PROPERTIES target, source;
    target.set("a", "1", true);
    source.set("a", "2", true);
    source.set("b", "3", true);
    target.set(&source, false);
    EXPECT_EQ(target.text(false), "a=1 b=3");
    target.set(&source, true);
    EXPECT_EQ(target.text(false), "a=2 b=3");

    EXPECT_THROW(target.importData(&source, 0, 4), std::out_of_range);
    // Another thread can take the (recursive) locks again.
    for (PROPERTIES* bag : {&target, &source}) {
        bool free = false;
        std::thread([bag, &free] {
            if ((free = bag->guard.try_lock()))
                bag->guard.unlock();
        }).join();
        EXPECT_TRUE(free);
    }
}
