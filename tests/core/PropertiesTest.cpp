#include "core/PROPERTIES.h"
#include "core/PROPERTIESMAP.h"
#include "core/ParamsHelper.h"

#include <gtest/gtest.h>

#include <stdexcept>

using QTD::ATTR;
using QTD::PROPERTIES;

TEST(PROPERTIES, SetKeepsFirstValueWithoutReplaceAndReportsIt) {
    PROPERTIES bag;
    bool done = false;
    bag.set("a", "1", false, &done);
    EXPECT_TRUE(done);
    bag.set("a", "2", false, &done);
    EXPECT_FALSE(done);
    EXPECT_EQ(bag.get("a"), "1");
    bag.set("a", "3", true, &done);
    EXPECT_TRUE(done);
    EXPECT_EQ(bag.get("a"), "3");
    EXPECT_EQ(bag.count(), 1);
}

TEST(PROPERTIES, EmptyKeyStoresNothingAndLeavesDoneAlone) {
    PROPERTIES bag;
    bool done = false;
    bag.set("", "1", true, &done);
    EXPECT_FALSE(done);
    done = true;
    bag.set(nullptr, "1", true, &done);
    EXPECT_TRUE(done);
    EXPECT_EQ(bag.count(), 0);
    EXPECT_EQ(bag.get("", "fb"), "fb");
}

TEST(PROPERTIES, ReplacedKeyKeepsItsPlace) {
    PROPERTIES bag;
    bag.set("b", "1", true);
    bag.set("a", "2", true);
    bag.set("c", "3", true);
    bag.set("b", "9", true);
    EXPECT_EQ(bag.text(false), "b=9 a=2 c=3");
    EXPECT_EQ(bag.text(true), "b=\"9\" a=\"2\" c=\"3\"");
    EXPECT_EQ(bag.text(false, ";"), "b=9;a=2;c=3");
    EXPECT_EQ(PROPERTIES().text(true), "");
}

TEST(PROPERTIES, KeysAreCaseSensitive) {
    PROPERTIES bag;
    bag.set("font", "a", true);
    bag.set("Font", "b", true);
    EXPECT_EQ(bag.count(), 2);
    EXPECT_EQ(bag.get("font"), "a");
    EXPECT_EQ(bag.get("Font"), "b");
    EXPECT_EQ(bag.get("FONT", "none"), "none");
}

TEST(PROPERTIES, TypedReadsAndFallbacks) {
    PROPERTIES bag;
    bag.set("n", "42", true);
    bag.set("f", "1.500000", true);
    bag.set("e", "", true);
    int x = 0;
    bag.set("p", ATTR(static_cast<void*>(&x)), true);
    EXPECT_EQ(bag.getAs<int>("n"), 42);
    EXPECT_EQ(bag.getAs<unsigned int>("n"), 42u);
    EXPECT_DOUBLE_EQ(bag.getAs<double>("f"), 1.5);
    EXPECT_EQ(bag.getAs<void*>("p"), &x);
    EXPECT_EQ(bag.getAs<int>("missing", ""), 0);
    EXPECT_EQ(bag.getAs<int>("missing", "7"), 7);
    EXPECT_THROW(bag.getAs<int>("missing", "abc"), std::invalid_argument);
    // A stored empty value is read, not replaced by the fallback.
    EXPECT_DOUBLE_EQ(bag.getAs<double>("e", "3.0"), 0.0);
    EXPECT_EQ(bag.get("n", "", false), "42");
}

TEST(PROPERTIES, RowAccessByIndex) {
    PROPERTIES bag;
    bag.set("k", "v", true);
    EXPECT_EQ(bag.keyAt(0), "k");
    EXPECT_EQ(bag.valueAt(0), "v");
    EXPECT_EQ(bag.keyAt(1), "");
    EXPECT_EQ(bag.valueAt(-1), "");
}

TEST(PROPERTIES, MergeFromAnotherBag) {
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
    target.set(nullptr, true);
    EXPECT_EQ(target.count(), 2);
}

TEST(PROPERTIES, ImportDataUpsertsAndCounts) {
    PROPERTIES target;
    target.set("a", "old", true);
    PROPERTIES source;
    source.set("x", "1", true);
    source.rows.push_back({"", "empty key"});
    source.set("a", "new", true);

    EXPECT_EQ(target.importData(&source, 0, -1), 2);
    EXPECT_EQ(target.text(false), "a=new x=1");
    EXPECT_EQ(target.importData(&target, 0, -1), 0);
    EXPECT_EQ(target.importData(nullptr, 0, -1), 0);
    EXPECT_EQ(target.importData(&source, 2, 1), 0);
    EXPECT_EQ(target.importData(&source, 0, 1), 1);
    EXPECT_THROW(target.importData(&source, 0, 4), std::out_of_range);
    // The locks are released after the exception.
    EXPECT_TRUE(target.guard.try_lock());
    target.guard.unlock();
    EXPECT_TRUE(source.guard.try_lock());
    source.guard.unlock();
}

TEST(PROPERTIES, AssignFromMapUpserts) {
    PROPERTIES bag;
    bag.set("z", "keep", true);
    bag.set("b", "old", true);
    bag = std::map<std::string, std::string>{{"b", "new"}, {"a", "1"}, {"", "skipped"}};
    EXPECT_EQ(bag.text(false), "z=keep b=new a=1");
}

TEST(PROPERTIES, AssignFromBagAppendsRowsEachTime) {
    PROPERTIES source;
    source.set("k", "1", true);
    PROPERTIES target;
    target = source;
    source.set("k", "2", true);
    target = source;
    EXPECT_EQ(target.count(), 2);
    EXPECT_EQ(target.get("k"), "1");
    EXPECT_EQ(target.text(false), "k=1 k=2");
}

TEST(PROPERTIES, CopyingConstructorTakesRows) {
    PROPERTIES source;
    source.set("a", "1", true);
    PROPERTIES copy(&source);
    EXPECT_EQ(copy.text(false), "a=1");
    PROPERTIES none(nullptr);
    EXPECT_EQ(none.count(), 0);
}

TEST(PROPERTIESMAP, GroupLookup) {
    QTD::PROPERTIESMAP map;
    map.groups["g"].set("n", "5", true);
    EXPECT_EQ(map.getPropsValueAs<int>("g", "n", "0"), 5);
    EXPECT_EQ(map.getPropsValueAs<int>("g", "missing", "3"), 3);
    EXPECT_EQ(map.getPropsValueAs<int>("other", "n", "4"), 4);
    EXPECT_EQ(map.getPropsValueAs<int>("", "n", "6"), 6);
    EXPECT_THROW(map.getPropsValueAs<int>("", "n", "x"), std::invalid_argument);
    EXPECT_EQ(map.groups.size(), 1u);
}

TEST(ParamsHelper, ReadsAndWritesTheCallersMap) {
    std::map<std::string, std::string> params{{"a", "1"}, {"", "blank"}};
    QTD::ParamsHelper helper(&params);
    EXPECT_EQ(helper.get("a"), "1");
    EXPECT_EQ(helper.get("", "fb"), "blank");
    EXPECT_EQ(helper.get("b", "fb"), "fb");
    EXPECT_EQ(helper.getAs<int>("a"), 1);
    EXPECT_DOUBLE_EQ(helper.getAs<double>("b", "2.5"), 2.5);

    bool done = false;
    helper.set("a", "2", false, &done);
    EXPECT_FALSE(done);
    EXPECT_EQ(params["a"], "1");
    helper.set("a", "2", true, &done);
    EXPECT_TRUE(done);
    EXPECT_EQ(params["a"], "2");
    helper.set("c", "3", false, &done);
    EXPECT_TRUE(done);
    EXPECT_EQ(params["c"], "3");
    done = false;
    helper.set("", "x", true, &done);
    EXPECT_FALSE(done);

    helper["d"] = "4";
    EXPECT_EQ(params["d"], "4");

    PROPERTIES bag;
    bag.set("a", "old", true);
    helper.write(bag);
    EXPECT_EQ(bag.text(false), "a=2 c=3 d=4");
}

TEST(ParamsHelper, WithoutAMapUsesItsOwn) {
    QTD::ParamsHelper helper(nullptr);
    EXPECT_EQ(helper.get("a", "fb"), "fb");
    bool done = false;
    helper.set("a", "1", true, &done);
    EXPECT_FALSE(done);
    helper["a"] = "local";
    EXPECT_EQ(helper.local["a"], "local");
    EXPECT_EQ(helper.get("a", "fb"), "fb");
    PROPERTIES bag;
    helper.write(bag);
    EXPECT_EQ(bag.count(), 0);
}
