#include "core/PROPERTIES.h"
#include "core/ParamsHelper.h"

#include <gtest/gtest.h>

#include <stdexcept>

using QTD::PROPERTIES;

TEST(PROPERTIES, ReplaceRuleAndInsertionOrder) {
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
}

TEST(PROPERTIES, EmptyKeyStoresNothingAndLeavesDoneAlone) {
    PROPERTIES bag;
    for (char const* key : {"", static_cast<char const*>(nullptr)}) {
        for (bool before : {false, true}) {
            bool done = before;
            bag.set(key, "1", true, &done);
            EXPECT_EQ(done, before);
        }
    }
    EXPECT_EQ(bag.count(), 0);
    EXPECT_EQ(bag.get("", "fb"), "fb");
}

TEST(PROPERTIES, TypedReadsAndFallbacks) {
    PROPERTIES bag;
    bag.set("n", "42", true);
    bag.set("e", "", true);
    EXPECT_EQ(bag.getAs<int>("n"), 42);
    EXPECT_EQ(bag.getAs<int>("missing", "7"), 7);
    EXPECT_THROW(bag.getAs<int>("missing", "abc"), std::invalid_argument);
    // A stored empty value is read, not replaced by the fallback.
    EXPECT_DOUBLE_EQ(bag.getAs<double>("e", "3.0"), 0.0);
}

TEST(PROPERTIES, MergingFromAnotherBag) {
    PROPERTIES target;
    target.set("a", "1", true);
    PROPERTIES source;
    source.set("a", "2", true);
    source.set("b", "3", true);
    source.rows.push_back({"", "skipped"});
    target.set(&source, false);
    EXPECT_EQ(target.text(false), "a=1 b=3");
    target.set(&source, true);
    EXPECT_EQ(target.text(false), "a=2 b=3");

    EXPECT_THROW(target.importData(&source, 0, 4), std::out_of_range);
    // The locks are released after the exception.
    EXPECT_TRUE(target.guard.try_lock());
    target.guard.unlock();
    EXPECT_TRUE(source.guard.try_lock());
    source.guard.unlock();
}

TEST(ParamsHelper, ReadsAndWritesTheCallersMap) {
    std::map<std::string, std::string> params{{"a", "1"}};
    QTD::ParamsHelper helper(&params);
    EXPECT_EQ(helper.getAs<int>("a"), 1);
    EXPECT_EQ(helper.get("b", "fb"), "fb");
    bool done = false;
    helper.set("a", "2", false, &done);
    EXPECT_FALSE(done);
    helper.set("a", "2", true, &done);
    EXPECT_TRUE(done);
    EXPECT_EQ(params["a"], "2");
    QTD::ParamsHelper without(nullptr);
    done = false;
    without.set("a", "1", true, &done);
    EXPECT_FALSE(done);
    EXPECT_EQ(without.get("a", "fb"), "fb");
}
