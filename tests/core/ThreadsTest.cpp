// The thread wrappers, locks, double buffer, rate counter and messenger, alone and all at once.
#include "core/QTDUtils.h"
#include "core/QTDUtilsCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <thread>
#include <tuple>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Map = std::map<std::string, std::string>;
using Delivery = std::pair<std::string, Map>;

template <class Pred> bool eventually(Pred pred) {
    auto const end = Clock::now() + std::chrono::seconds(2);
    while (!pred() && Clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return pred();
}

// Stepping ends after `stopAfter` steps (0: never; below 0: initialize fails).
struct CountingThread : QTD::Thread {
    explicit CountingThread(int stopAfter = 0) : stopAfter(stopAfter) {}
    ~CountingThread() override { shut(); }
    bool initialize() override { return stopAfter >= 0; }
    bool doStep() override { return ++steps >= stopAfter && stopAfter > 0; }
    void finalize() override { ++finalized; }
    int const stopAfter;
    std::atomic<int> steps{0}, finalized{0};
};

// Records what reaches it, then writes "seen.<result>" into the map it got. With `redirect` it
// hands every command to that one; with `echo` it posts there from within "notification.a".
struct Receiver : BrxDisplayCommand {
    explicit Receiver(int result) : result(result) {}
    BrxDisplayCommand* GetCommandProcessor(char const*) override {
        return redirect ? redirect : this;
    }
    int RunCommandParams(char const* command, Map* params) override {
        size_t n = 0;
        {
            std::lock_guard<std::mutex> hold(mutex);
            deliveries.push_back({command, params ? *params : Map()});
            n = deliveries.size();
        }
        if (params)
            (*params)["seen." + std::to_string(result)] = "1";
        Map p{{"e", std::to_string(n)}};
        if (echo && std::strcmp(command, "notification.a") == 0)
            echo->postCommandParams("notification.echo", &p);
        return result;
    }
    std::vector<Delivery> taken() {
        std::lock_guard<std::mutex> hold(mutex);
        return deliveries;
    }
    int const result;
    BrxDisplayCommand* redirect = nullptr;
    QTD::Messenger* echo = nullptr;
    std::mutex mutex;
    std::vector<Delivery> deliveries;
};

} // namespace

TEST(Thread, StartStepsStopAndRestart) {
    CountingThread t(3), failing(-1), endless;
    EXPECT_EQ(t.start("renamed"), 1);
    EXPECT_EQ(failing.start(), 1);
    ASSERT_TRUE(eventually([&] { return t.finalized == 1 && failing.finalized == 1; }));
    EXPECT_TRUE(t.waitForCompletion(0));
    EXPECT_EQ(t.steps, 3);
    EXPECT_EQ(failing.steps, 0); // a failed initialize skips the steps, not finalize

    endless.start();
    ASSERT_TRUE(eventually([&] { return endless.steps > 0; }));
    EXPECT_EQ(endless.start(nullptr), 0);
    // A restart right after a stop is not lost.
    endless.stop();
    EXPECT_EQ(endless.start(), 1);
    ASSERT_TRUE(eventually([&] { return endless.finalized == 1 && endless.running; }));
    int before = endless.steps;
    EXPECT_TRUE(eventually([&] { return endless.steps > before; }));
    endless.terminate(42, 2000);
    EXPECT_FALSE(endless.running);
    EXPECT_EQ(endless.exitCode, 42);
}

TEST(DoubleBuffer, SizeRuleAndBoundedPuts) {
    { QTD::AutoLock none(static_cast<std::mutex*>(nullptr), "a null lock is ignored"); }
    QTD::DoubleBuffer b;
    EXPECT_FALSE(b.init(0));
    EXPECT_EQ(b.size, 0);
    ASSERT_TRUE(b.init(8));
    char* first = b.buffers[0];
    EXPECT_FALSE(b.init(-5));
    EXPECT_EQ(b.size, 8);
    EXPECT_EQ(b.buffers[0], first);

    // Only a write at offset 0 counts as a new fill; writes that do not fit, or without data,
    // do nothing.
    for (auto [data, n, offset] : {std::tuple<char const*, int, int>{"abcd", 4, 0},
                                   {"wxyz", 4, 4},
                                   {"12", 2, 7},
                                   {"12", 2, -1},
                                   {"123456789", 9, 0},
                                   {"12", -2, 0},
                                   {nullptr, 2, 0}})
        b.put(data, n, offset);
    EXPECT_EQ(b.count[1], 1);
    EXPECT_EQ(std::memcmp(b.buffers[1], "abcdwxyz", 8), 0);
    b.swap();
    EXPECT_EQ(b.active, 1);
}

TEST(FpsCounter, WindowSlidesWithHalfLifeOfOneSecond) {
    QTD::FpsCounter c;
    c.run();
    c.window = 30;
    double const start = QTD::FpsCounter::now() - 1500;
    c.startTime = start;
    EXPECT_NEAR(c.count(false), 20.0, 0.5);
    EXPECT_EQ(c.window, 15);
    EXPECT_NEAR(c.startTime - start, 750, 5);
    EXPECT_EQ(c.frames, 0);
    // Below a second with the default period the rate is not updated.
    c.run();
    c.count(true);
    EXPECT_EQ(c.fps, 0.0);
    EXPECT_EQ(c.frames, 1);
}

// Receivers outlive the messenger, which lives on the heap so that ThreadSanitizer sees it go.
TEST(Messenger, SendCallsEveryReceiverOnceWithOneMapAndOrsResults) {
    Receiver first(1), second(4), redirect(0x100);
    redirect.redirect = &second;
    auto m = std::make_unique<QTD::Messenger>();
    m->addCommandProcessor(&first).addCommandProcessor(&first).addCommandProcessor(nullptr);
    m->addCommandProcessor(&redirect);
    EXPECT_EQ(m->receivers.size(), 2u);
    m->props()->set("shared", "common", true);
    m->props()->set("a", "from-common", true);
    Map params{{"a", "1"}, {"b", "2"}};
    EXPECT_EQ(m->sendCommandParams("notification.view", &params), 5);
    EXPECT_EQ(first.taken(),
              (std::vector<Delivery>{{"notification.view",
                                      {{"a", "from-common"}, {"b", "2"}, {"shared", "common"}}}}));
    // The second receiver sees what the first wrote into the map; the caller's map is untouched.
    ASSERT_EQ(second.taken().size(), 1u);
    EXPECT_EQ(second.taken()[0].second.count("seen.1"), 1u);
    EXPECT_EQ(params, (Map{{"a", "1"}, {"b", "2"}}));
}

TEST(Messenger, PostsMergeByNameNewestWinsNamesGoInOrderAndWaitForAReceiver) {
    Receiver first(1), second(4);
    auto m = std::make_unique<QTD::Messenger>();
    m->props()->set("c", "common", true);
    Map b{{"k", "b"}}, a1{{"x", "1"}, {"c", "mine"}}, a2{{"x", "2"}, {"y", "3"}};
    EXPECT_EQ(m->postCommandParams(nullptr, &b), 0);
    EXPECT_EQ(m->postCommandParams("", &b), 0);
    m->postCommandParams("notification.b", &b);
    m->postCommandParams("notification.a", &a1);
    EXPECT_EQ(m->postCommandParams("notification.a", &a2), 1);
    EXPECT_FALSE(m->running);

    m->addCommandProcessor(&first);
    ASSERT_TRUE(eventually([&] { return first.taken().size() == 2; }));
    EXPECT_EQ(first.taken(),
              (std::vector<Delivery>{{"notification.a", {{"c", "common"}, {"x", "2"}, {"y", "3"}}},
                                     {"notification.b", {{"c", "common"}, {"k", "b"}}}}));
    // Removing the last receiver stops the thread.
    m->addCommandProcessor(&second);
    EXPECT_EQ(m->delCommandProcessor(&first), 1);
    EXPECT_TRUE(m->running);
    m->delCommandProcessor(&second);
    EXPECT_TRUE(eventually([&] { return !m->running; }));
}

// Six threads for 250 ms: three posters, a sender, a double buffer's writer and reader; all lock.
TEST(Stress, LocksMessengerAndDoubleBufferAtOnce) {
    Receiver poster(1), comesAndGoes(2);
    auto m = std::make_unique<QTD::Messenger>();
    poster.echo = m.get();
    m->addCommandProcessor(&poster);
    constexpr int SIZE = 64 * 1024;
    QTD::DoubleBuffer buffer;
    ASSERT_TRUE(buffer.init(SIZE));
    std::vector<char> frame(SIZE);
    QTD::Mutex plain;
    QTD::RMutex recursive;
    long counters[3] = {0, 0, 0}, frames = 0, framesRead = 0, locked = 0;
    std::atomic<long> sent{0}, done{0};
    std::atomic<bool> torn{false};
    auto body = [&](int t) {
        if (t < 3) {
            Map p{{"v" + std::to_string(t), std::to_string(++counters[t])}};
            m->postCommandParams(counters[t] % 2 ? "notification.a" : "notification.b", &p);
        } else if (t == 3) {
            m->addCommandProcessor(&comesAndGoes);
            sent += (m->sendCommandParams("direct", nullptr) & 2) != 0;
            m->delCommandProcessor(&comesAndGoes);
        } else if (t == 4) {
            // A frame goes in as two pieces under the swap lock, as the display does.
            std::memset(frame.data(), ++frames % 255 + 1, SIZE);
            QTD::AutoLock hold(&buffer.writeGuard);
            buffer.put(frame.data(), SIZE / 2, 0);
            buffer.put(frame.data() + SIZE / 2, SIZE / 2, SIZE / 2);
        } else {
            buffer.swap();
            QTD::AutoLock hold(&buffer.readGuard);
            if (buffer.count[buffer.active] != 0) { // a whole frame has all bytes alike
                char const* data = buffer.buffers[buffer.active];
                torn = torn || std::memcmp(data, data + 1, SIZE - 1) != 0;
                ++framesRead;
            }
        }
        {
            QTD::AutoLock hold(&plain);
            QTD::AutoLock outer(&recursive, "outer");
            QTD::AutoLock inner(&recursive, "inner");
            ++locked;
        }
        ++done;
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([&body, t] {
            for (auto const end = Clock::now() + std::chrono::milliseconds(250);
                 Clock::now() < end;)
                body(t);
        });
    for (auto& t : threads)
        t.join();
    m->shut(); // the receivers go before the messenger does
    EXPECT_EQ(locked, done.load());
    EXPECT_FALSE(torn);
    EXPECT_GT(framesRead, 0);
    // A poster's values never go backwards in the merged notifications.
    std::map<std::string, long> lastSeen;
    for (auto const& d : poster.taken())
        for (auto const& kv : d.second) {
            long const v = std::stol(kv.second);
            EXPECT_GE(v, lastSeen[d.first + kv.first]) << d.first << " " << kv.first;
            lastSeen[d.first + kv.first] = v;
        }
    // Some "notification.a" arrived: its keys sort before those of "notification.b".
    EXPECT_NE(lastSeen.lower_bound("notification.a"), lastSeen.lower_bound("notification.b"));
    EXPECT_GT(sent, 0);
}
