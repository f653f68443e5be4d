#include "core/ComponentImpl.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

using QTD::ATTR;
using QTD::ComponentImpl;

namespace {

// Records the messages it gets and answers with a fixed result.
struct RecordingProcessor : BrxDisplayCommand {
    int result = 0;
    int calls = 0;
    std::string command;
    std::map<std::string, std::string> message;
    int RunCommandParams(char const* cmd, std::map<std::string, std::string>* params) override {
        ++calls;
        command = cmd ? cmd : "";
        message = params ? *params : std::map<std::string, std::string>();
        return result;
    }
};

} // namespace

TEST(ComponentImpl, StatusWords) {
    EXPECT_EQ(QTD::statusWord(255, 5), 0x80FF0005u);
    EXPECT_EQ(QTD::statusWord(7, 7), 0x80070007u);
    ComponentImpl c;
    EXPECT_EQ(c.GetComponentTypeID(), 255);
    EXPECT_EQ(c.SetParamArray("a", nullptr, 0), 0x80FF000Au);
    unsigned int size = 4;
    EXPECT_EQ(c.GetParamArray("a", nullptr, &size), 0x80FF000Au);
    EXPECT_EQ(c.RunCommand("anything"), 0x80FF000Au);
}

TEST(ComponentImpl, TypedWritesStoreTextForms) {
    ComponentImpl c;
    EXPECT_EQ(c.SetParamFloat("f", 1.5), 0u);
    EXPECT_EQ(c.SetParamBool("b", true), 0u);
    EXPECT_EQ(c.SetParamInt("i", -3000000000L), 0u);
    char text[] = "hello";
    EXPECT_EQ(c.SetParamString("s", text), 0u);
    EXPECT_EQ(c.SetParamString("n", nullptr), 0u);
    EXPECT_EQ(c.properties.text(false), "f=1.500000 b=1 i=-3000000000 s=hello n=");
    EXPECT_EQ(c.GetParamCount(), 5u);

    long i = 0;
    EXPECT_EQ(c.GetParamInt("f", &i), 0u);
    EXPECT_EQ(i, 1);
    bool b = false;
    EXPECT_EQ(c.GetParamBool("b", &b), 0u);
    EXPECT_TRUE(b);
    double d = 0;
    EXPECT_EQ(c.GetParamFloat("f", &d), 0u);
    EXPECT_DOUBLE_EQ(d, 1.5);
    EXPECT_EQ(c.GetParamInt("i", &i), 0u);
    EXPECT_EQ(i, -3000000000L);
    // An empty value reads as zero.
    d = 9;
    EXPECT_EQ(c.GetParamFloat("n", &d), 0u);
    EXPECT_DOUBLE_EQ(d, 0.0);
}

TEST(ComponentImpl, NullOrEmptyNamesStoreNothing) {
    ComponentImpl c;
    EXPECT_EQ(c.SetParamInt(nullptr, 1), 0u);
    EXPECT_EQ(c.SetParamInt("", 1), 0u);
    EXPECT_EQ(c.GetParamCount(), 0u);
    long v = 0;
    EXPECT_EQ(c.GetParamInt(nullptr, &v), 0x80FF0005u);
    EXPECT_EQ(c.GetParamInt("", &v), 0x80FF0005u);
}

TEST(ComponentImpl, ReadFailures) {
    ComponentImpl c;
    c.SetParamInt("x", 1);
    long v = 0;
    EXPECT_EQ(c.GetParamInt("y", &v), 0x80FF0005u);
    EXPECT_EQ(c.GetParamInt("x", nullptr), 0x80FF0007u);
    EXPECT_EQ(c.GetParamBool("x", nullptr), 0x80FF0007u);
    EXPECT_EQ(c.GetParamFloat("x", nullptr), 0x80FF0007u);
    // Text that is not a number is not a failure word.
    char word[] = "abc";
    c.SetParamString("w", word);
    EXPECT_THROW(c.GetParamInt("w", &v), std::invalid_argument);
    bool b = false;
    EXPECT_THROW(c.GetParamBool("w", &b), std::invalid_argument);
    double d = 0;
    EXPECT_THROW(c.GetParamFloat("w", &d), std::invalid_argument);
}

TEST(ComponentImpl, GetParamStringBufferRules) {
    ComponentImpl c;
    char value[] = "abcd";
    c.SetParamString("s", value);

    char buffer[8] = "zzzzzzz";
    unsigned int size = 4;
    EXPECT_EQ(c.GetParamString("s", buffer, &size), 0x80FF0006u);
    EXPECT_EQ(size, 4u);
    size = 5;
    std::memset(buffer, 'z', sizeof(buffer));
    EXPECT_EQ(c.GetParamString("s", buffer, &size), 0u);
    EXPECT_STREQ(buffer, "abcd");
    EXPECT_EQ(buffer[5], 'z');
    size = 8;
    EXPECT_EQ(c.GetParamAsString("s", buffer, &size, "ignored"), 0u);
    EXPECT_EQ(buffer[7], '\0');

    size = 0;
    EXPECT_EQ(c.GetParamString("s", buffer, &size), 0x80FF0007u);
    EXPECT_EQ(c.GetParamString("s", buffer, nullptr), 0x80FF0007u);
    size = 8;
    EXPECT_EQ(c.GetParamString("s", nullptr, &size), 0x80FF0007u);
    // The name is looked up first.
    EXPECT_EQ(c.GetParamString("missing", nullptr, nullptr), 0x80FF0005u);
}

TEST(ComponentImpl, GetParamNameRules) {
    ComponentImpl c;
    char buffer[16];
    unsigned int size = sizeof(buffer);
    EXPECT_EQ(c.GetParamName(0, buffer, &size), 0x80FF0005u);
    c.SetParamInt("a", 1);
    c.SetParamInt("bb", 1);
    c.SetParamInt("c", 1);
    c.SetParamInt("dddd", 1);
    EXPECT_EQ(c.GetParamName(3, nullptr, nullptr), 0u);
    EXPECT_EQ(c.GetParamName(4, nullptr, nullptr), 0x80FF0005u);
    EXPECT_EQ(c.GetParamName(0xFFFFFFFFu, nullptr, nullptr), 0x80FF0005u);
    EXPECT_EQ(c.GetParamName(3, buffer, nullptr), 0x80FF0007u);
    size = 4;
    EXPECT_EQ(c.GetParamName(3, buffer, &size), 0x80FF0006u);
    size = 5;
    EXPECT_EQ(c.GetParamName(3, buffer, &size), 0u);
    EXPECT_STREQ(buffer, "dddd");
    size = sizeof(buffer);
    EXPECT_EQ(c.GetParamName(1, buffer, &size), 0u);
    EXPECT_STREQ(buffer, "bb");
}

TEST(ComponentImpl, SetParamAsStringBypassesProcessorAndRefusesEmpty) {
    ComponentImpl c;
    RecordingProcessor veto;
    veto.result = 1;
    c.SetProcessors(&veto, &veto);
    char value[] = "v";
    char empty[] = "";
    EXPECT_EQ(c.SetParamAsString("k", value), 0u);
    EXPECT_EQ(veto.calls, 0);
    EXPECT_EQ(c.properties.get("k"), "v");
    EXPECT_EQ(c.SetParamAsString("k", empty), 0x80FF0007u);
    EXPECT_EQ(c.SetParamAsString("k", nullptr), 0x80FF0007u);
    EXPECT_EQ(c.SetParamAsString("", value), 0x80FF0007u);
    EXPECT_EQ(c.SetParamAsString(nullptr, value), 0x80FF0007u);
    EXPECT_EQ(c.properties.get("k"), "v");
    c.SetProcessors(nullptr, nullptr);
}

TEST(ComponentImpl, ProcessorVetoReturnsBareOneAndLeavesBagAlone) {
    ComponentImpl c;
    c.SetParamInt("x", 5);
    RecordingProcessor veto;
    veto.result = 7;
    c.SetProcessors(&veto, nullptr);
    EXPECT_EQ(c.SetParamInt("x", 9), 1u);
    EXPECT_EQ(c.properties.get("x"), "5");
    EXPECT_EQ(veto.command, "cmd.parameter.set");
    EXPECT_EQ(veto.message.size(), 3u);
    EXPECT_EQ(veto.message["name"], "x");
    EXPECT_EQ(veto.message["value"], "9");
    EXPECT_EQ(ATTR(veto.message["props"]).as<void*>(), &c.properties);

    EXPECT_EQ(c.SetParamFloat("y", 0.5), 1u);
    EXPECT_EQ(veto.message["value"], "0.500000");
    EXPECT_FALSE(c.properties.find("y"));

    // A watching processor answers 0: the bag is used.
    veto.result = 0;
    EXPECT_EQ(c.SetParamBool("x", false), 0u);
    EXPECT_EQ(veto.message["value"], "0");
    EXPECT_EQ(c.properties.get("x"), "0");

    // Reads do not go to the set processor.
    long v = 0;
    int before = veto.calls;
    EXPECT_EQ(c.GetParamInt("x", &v), 0u);
    EXPECT_EQ(veto.calls, before);
    c.SetProcessors(nullptr, nullptr);
}

TEST(ComponentImpl, GetProcessorSeesOutputPointerAndCanAnswer) {
    ComponentImpl c;
    c.SetParamInt("x", 5);
    RecordingProcessor reader;
    c.SetProcessors(nullptr, &reader);

    long v = 0;
    EXPECT_EQ(c.GetParamInt("x", &v), 0u);
    EXPECT_EQ(v, 5);
    EXPECT_EQ(reader.command, "cmd.parameter.get");
    EXPECT_EQ(ATTR(reader.message["value"]).as<void*>(), &v);
    EXPECT_EQ(ATTR(reader.message["props"]).as<void*>(), &c.properties);

    char buffer[16] = "present";
    unsigned int size = sizeof(buffer);
    EXPECT_EQ(c.GetParamString("x", buffer, &size), 0u);
    EXPECT_EQ(reader.message["value"], "present");
    EXPECT_STREQ(buffer, "5");

    // An unterminated buffer is offered no further than its size.
    char raw[4] = {'a', 'b', 'c', 'd'};
    size = 3;
    c.GetParamString("missing", raw, &size);
    EXPECT_EQ(reader.message["value"], "abc");

    // Answering: the output stays as the processor left it, even for unknown names.
    reader.result = 1;
    v = 0;
    EXPECT_EQ(c.GetParamInt("unknown", &v), 1u);
    EXPECT_EQ(v, 0);
    c.SetProcessors(nullptr, nullptr);
}

namespace {

// A processor that fills the bag for the read that follows, through "props".
struct FillingProcessor : BrxDisplayCommand {
    int RunCommandParams(char const*, std::map<std::string, std::string>* params) override {
        auto* bag = static_cast<QTD::PROPERTIES*>(ATTR((*params)["props"]).as<void*>());
        bag->set((*params)["name"], "123", true);
        return 0;
    }
};

// A derived component that overrides GetParamString: GetParamAsString must follow it.
struct Derived : ComponentImpl {
    unsigned int GetParamString(char const*, char* value, unsigned int* size) override {
        std::strncpy(value, "derived", *size);
        return 0;
    }
};

} // namespace

TEST(ComponentImpl, ProcessorMayFillTheBagForTheRead) {
    ComponentImpl c;
    FillingProcessor filler;
    c.SetProcessors(nullptr, &filler);
    long v = 0;
    EXPECT_EQ(c.GetParamInt("computed", &v), 0u);
    EXPECT_EQ(v, 123);
    c.SetProcessors(nullptr, nullptr);
}

TEST(ComponentImpl, GetParamAsStringDispatchesThroughTheVirtualSlot) {
    Derived d;
    char buffer[16];
    unsigned int size = sizeof(buffer);
    BrxComponent* component = &d;
    EXPECT_EQ(component->GetParamAsString("x", buffer, &size, nullptr), 0u);
    EXPECT_STREQ(buffer, "derived");
}
