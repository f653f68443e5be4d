#include "core/ComponentImpl.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <stdexcept>

using QTD::ATTR;
using QTD::ComponentImpl;

namespace {

struct RecordingProcessor : BrxDisplayCommand {
    int result = 0;
    std::string command;
    std::map<std::string, std::string> message;
    int RunCommandParams(char const* cmd, std::map<std::string, std::string>* params) override {
        command = cmd ? cmd : "";
        message = params ? *params : std::map<std::string, std::string>();
        return result;
    }
};

} // namespace

TEST(ComponentImpl, TypedWritesStatusWordsAndUncaughtConversions) {
    ComponentImpl c;
    EXPECT_EQ(c.SetParamArray("a", nullptr, 0), 0x80FF000Au);

    // Empty names store nothing and are no failure.
    EXPECT_EQ(c.SetParamInt(nullptr, 1), 0u);
    EXPECT_EQ(c.SetParamInt("", 1), 0u);
    c.SetParamFloat("f", 1.5);
    c.SetParamBool("b", true);
    c.SetParamInt("i", -3000000000L);
    char text[] = "abc";
    c.SetParamString("s", text);
    c.SetParamString("n", nullptr);
    EXPECT_EQ(c.properties.text(false), "f=1.500000 b=1 i=-3000000000 s=abc n=");

    long v = 0;
    for (char const* name : {static_cast<char const*>(nullptr), "", "y"})
        EXPECT_EQ(c.GetParamInt(name, &v), 0x80FF0005u);
    EXPECT_EQ(c.GetParamInt("i", nullptr), 0x80FF0007u);
    // Text that is not a number is not a failure word.
    EXPECT_THROW(c.GetParamInt("s", &v), std::invalid_argument);
    double d = 0;
    EXPECT_THROW(c.GetParamFloat("s", &d), std::invalid_argument);
}

TEST(ComponentImpl, NameAndStringBufferRules) {
    ComponentImpl c;
    char buffer[8];
    unsigned int size = 0;
    char value[] = "abcd";
    c.SetParamString("a", nullptr);
    c.SetParamString("abcd", value);
    // Both answer "abcd": the name of row 1 and the value of "abcd".
    std::function<unsigned int(char*, unsigned int*)> const readers[] = {
        [&](char* b, unsigned int* n) { return c.GetParamName(1, b, n); },
        [&](char* b, unsigned int* n) { return c.GetParamString("abcd", b, n); }};
    for (auto const& read : readers) {
        std::memset(buffer, 'z', sizeof(buffer));
        size = 4;
        EXPECT_EQ(read(buffer, &size), 0x80FF0006u);
        EXPECT_EQ(size, 4u);
        size = 5;
        EXPECT_EQ(read(buffer, &size), 0u);
        EXPECT_STREQ(buffer, "abcd");
        EXPECT_EQ(buffer[5], 'z');
        EXPECT_EQ(read(buffer, nullptr), 0x80FF0007u);
    }
    EXPECT_EQ(c.GetParamName(2, nullptr, nullptr), 0x80FF0005u);
    size = 0;
    EXPECT_EQ(c.GetParamString("abcd", buffer, &size), 0x80FF0007u);
    size = 8;
    EXPECT_EQ(c.GetParamString("abcd", nullptr, &size), 0x80FF0007u);
    EXPECT_EQ(c.GetParamString("missing", nullptr, nullptr), 0x80FF0005u); // name first
}

TEST(ComponentImpl, ProcessorsVetoWithABareOneOrAnswer) {
    ComponentImpl c;
    c.SetParamInt("x", 5);
    RecordingProcessor veto;
    veto.result = 7;
    c.SetProcessors(&veto, nullptr);
    EXPECT_EQ(c.SetParamInt("x", 9), 1u);
    EXPECT_EQ(c.properties.get("x"), "5");
    EXPECT_EQ(veto.command, "cmd.parameter.set");
    EXPECT_EQ(
        veto.message,
        (std::map<std::string, std::string>{
            {"name", "x"}, {"value", "9"}, {"props", ATTR(static_cast<void*>(&c.properties))}}));

    // SetParamAsString does not ask the processor, and refuses empty names and values.
    char value[] = "v", empty[] = "";
    EXPECT_EQ(c.SetParamAsString("k", value), 0u);
    for (auto kv : {std::make_pair("k", empty), {"k", nullptr}, {"", value}})
        EXPECT_EQ(c.SetParamAsString(kv.first, kv.second), 0x80FF0007u);
    EXPECT_EQ(c.properties.get("k"), "v");

    veto.result = 0; // watching only: the bag is used
    EXPECT_EQ(c.SetParamBool("x", false), 0u);
    EXPECT_EQ(c.properties.get("x"), "0");

    // The get processor sees the output pointer and answers: the output stays as it left it,
    // even for unknown names.
    RecordingProcessor reader;
    reader.result = 1;
    c.SetProcessors(nullptr, &reader);
    long v = 9;
    EXPECT_EQ(c.GetParamInt("unknown", &v), 1u);
    EXPECT_EQ(v, 9);
    EXPECT_EQ(reader.command, "cmd.parameter.get");
    EXPECT_EQ(ATTR(reader.message["value"]).as<void*>(), &v);
    // An unterminated buffer is offered no further than its size.
    char raw[4] = {'a', 'b', 'c', 'd'};
    unsigned int size = 3;
    EXPECT_EQ(c.GetParamString("missing", raw, &size), 1u);
    EXPECT_EQ(reader.message["value"], "abc");
}
