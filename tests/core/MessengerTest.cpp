#include "core/Messenger.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using Map = std::map<std::string, std::string>;

struct Delivery {
    std::string command;
    Map params;
};

// Records what reaches it, from any thread.
class Receiver : public BrxDisplayCommand {
public:
    explicit Receiver(int result = 0) : result(result) {}
    int RunCommandParams(char const* command, Map* params) override {
        std::lock_guard<std::mutex> hold(mutex);
        deliveries.push_back({command ? command : "<null>", params ? *params : Map()});
        if (params)
            (*params)["seen." + std::to_string(result)] = "1";
        return result;
    }
    std::vector<Delivery> taken() {
        std::lock_guard<std::mutex> hold(mutex);
        return deliveries;
    }
    size_t size() { return taken().size(); }

    int const result;
    std::mutex mutex;
    std::vector<Delivery> deliveries;
};

// Hands every command to another receiver.
class Redirect : public BrxDisplayCommand {
public:
    explicit Redirect(BrxDisplayCommand* target) : target(target) {}
    BrxDisplayCommand* GetCommandProcessor(char const*) override { return target; }
    int RunCommandParams(char const*, Map*) override { return 0x100; }
    BrxDisplayCommand* target;
};

bool eventually(std::function<bool()> pred, int ms = 2000) {
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (std::chrono::steady_clock::now() < end) {
        if (pred())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return pred();
}

// Receivers outlive the messenger, whose thread may still be delivering while it goes. The
// whole fixture lives on the heap, so that ThreadSanitizer sees its locks go away with it.
class MessengerTest : public testing::Test {
protected:
    Receiver first{1};
    Receiver second{4};
    Receiver r1;
    Receiver r2;
    QTD::Messenger m;
};

} // namespace

TEST_F(MessengerTest, SendCallsEveryReceiverWithOneMapAndOrsResults) {
    m.addCommandProcessor(&first).addCommandProcessor(&second);
    m.props()->set("shared", "common", true);
    m.props()->set("a", "from-common", true);
    Map params{{"a", "1"}, {"b", "2"}};
    EXPECT_EQ(m.sendCommandParams("notification.view", &params), 5);
    auto got = first.taken();
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].command, "notification.view");
    EXPECT_EQ(got[0].params, (Map{{"a", "from-common"}, {"b", "2"}, {"shared", "common"}}));
    // The second receiver sees what the first wrote into the map; the caller's map is untouched.
    EXPECT_EQ(second.taken()[0].params.count("seen.1"), 1u);
    EXPECT_EQ(params, (Map{{"a", "1"}, {"b", "2"}}));
}

TEST_F(MessengerTest, ReceiverAddedTwiceIsCalledOnceAndMayRedirect) {
    Redirect redirect(&second);
    m.addCommandProcessor(&r1).addCommandProcessor(&r1).addCommandProcessor(nullptr);
    m.addCommandProcessor(&redirect);
    EXPECT_EQ(m.receivers.size(), 2u);
    EXPECT_EQ(m.sendCommandParams("x", nullptr), 4);
    EXPECT_EQ(r1.size(), 1u);
    EXPECT_EQ(second.size(), 1u);
}

TEST_F(MessengerTest, PostsMergeByNameNewestWinsAndNamesGoInOrder) {
    m.props()->set("c", "common", true);
    Map b{{"k", "b"}};
    Map a1{{"x", "1"}, {"c", "mine"}};
    Map a2{{"x", "2"}, {"y", "3"}};
    EXPECT_EQ(m.postCommandParams(nullptr, &b), 0);
    EXPECT_EQ(m.postCommandParams("", &b), 0);
    m.postCommandParams("notification.b", &b);
    m.postCommandParams("notification.a", &a1);
    EXPECT_EQ(m.postCommandParams("notification.a", &a2), 1);
    EXPECT_EQ(m.pending.groups.size(), 2u);
    EXPECT_FALSE(m.running);

    m.addCommandProcessor(&r1);
    ASSERT_TRUE(eventually([&] { return r1.size() == 2; }));
    auto got = r1.taken();
    EXPECT_EQ(got[0].command, "notification.a");
    EXPECT_EQ(got[0].params, (Map{{"c", "common"}, {"x", "2"}, {"y", "3"}}));
    EXPECT_EQ(got[1].command, "notification.b");
    EXPECT_EQ(got[1].params, (Map{{"c", "common"}, {"k", "b"}}));
    ASSERT_TRUE(eventually([&] {
        std::lock_guard<std::mutex> hold(m.pending.guard);
        return m.pending.groups.empty();
    }));
}

TEST_F(MessengerTest, RemovingTheLastReceiverStopsTheThread) {
    m.addCommandProcessor(&r1).addCommandProcessor(&r2);
    ASSERT_TRUE(eventually([&] { return m.running.load(); }));
    EXPECT_EQ(m.delCommandProcessor(&r1), 1);
    EXPECT_TRUE(m.running);
    m.delCommandProcessor(&r2);
    ASSERT_TRUE(eventually([&] { return !m.running; }));

    // Posts wait for the next receiver, which restarts the thread.
    Map p{{"k", "v"}};
    m.postCommandParams("later", &p);
    m.addCommandProcessor(&r1);
    ASSERT_TRUE(eventually([&] { return r1.size() == 1; }));
    EXPECT_EQ(r1.taken()[0].command, "later");
}
