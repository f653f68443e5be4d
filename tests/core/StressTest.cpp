// Several threads at once on the locks, the messenger, the double buffer and a component's bag,
// for a bounded time. Meant to run clean under ThreadSanitizer as well.
#include "core/ComponentImpl.h"
#include "core/Messenger.h"
#include "core/QTDUtils.h"
#include "core/QTDUtilsCounter.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Map = std::map<std::string, std::string>;

template <typename Body> void forAWhile(Body body) {
    auto const end = Clock::now() + std::chrono::milliseconds(250);
    while (Clock::now() < end)
        body();
}

template <typename Body> void onThreads(int n, Body body) {
    std::vector<std::thread> threads;
    for (int t = 0; t < n; ++t)
        threads.emplace_back([&body, t] { forAWhile([&] { body(t); }); });
    for (auto& t : threads)
        t.join();
}

} // namespace

TEST(Stress, LocksSerialiseUpdates) {
    QTD::RMutex recursive;
    QTD::Mutex plain;
    long recursiveCount = 0;
    long plainCount = 0;
    std::atomic<long> done{0};
    onThreads(3, [&](int) {
        {
            QTD::AutoLock outer(&recursive, "outer");
            QTD::AutoLock inner(&recursive, "inner");
            ++recursiveCount;
        }
        {
            QTD::AutoLock hold(&plain);
            ++plainCount;
        }
        ++done;
    });
    EXPECT_EQ(recursiveCount, done.load());
    EXPECT_EQ(plainCount, done.load());
}

namespace {

// Checks that merged notifications carry only posted keys and that a poster's values never go
// backwards. The echoing one posts again from within each "notification.a", on the messenger's
// thread; the other one answers direct sends with 2.
class CheckingReceiver : public BrxDisplayCommand {
public:
    CheckingReceiver(QTD::Messenger& m, bool echo) : messenger(m), echo(echo) {}
    int RunCommandParams(char const* command, Map* params) override {
        if (std::strcmp(command, "direct") == 0) {
            ++direct;
            return echo ? 1 : 2;
        }
        ++calls;
        if (!params || std::strncmp(command, "notification.", 13) != 0)
            bad = true;
        for (auto const& kv : *params) {
            if (kv.first == "common")
                continue;
            long v = std::stol(kv.second);
            long& last = lastSeen[command + kv.first];
            if (v < last)
                bad = true;
            last = v;
        }
        if (echo && std::strcmp(command, "notification.a") == 0) {
            Map p{{"e", std::to_string(++echoes)}};
            messenger.postCommandParams("notification.echo", &p);
        }
        return 1;
    }
    QTD::Messenger& messenger;
    bool const echo;
    std::atomic<long> calls{0};
    std::atomic<long> direct{0};
    std::atomic<bool> bad{false};
    // Touched by the messenger's thread only (posted deliveries).
    std::map<std::string, long> lastSeen;
    long echoes = 0;
};

} // namespace

TEST(Stress, MessengerDeliversWhilePostersPost) {
    // On the heap, so that ThreadSanitizer sees its locks go away with it.
    auto owner = std::make_unique<QTD::Messenger>();
    QTD::Messenger& m = *owner;
    m.props()->set("common", "1", true);
    CheckingReceiver poster(m, true);
    CheckingReceiver comesAndGoes(m, false);
    m.addCommandProcessor(&poster);
    std::atomic<long> sent{0};
    long counters[3] = {0, 0, 0};
    onThreads(4, [&](int t) {
        if (t < 3) {
            Map p{{"v" + std::to_string(t), std::to_string(++counters[t])}};
            m.postCommandParams(counters[t] % 2 ? "notification.a" : "notification.b", &p);
            return;
        }
        // A sender and a receiver that comes and goes, at the same time.
        m.addCommandProcessor(&comesAndGoes);
        Map p{{"x", "1"}};
        if (m.sendCommandParams("direct", &p) & 2)
            ++sent;
        m.delCommandProcessor(&comesAndGoes);
    });
    auto const end = Clock::now() + std::chrono::seconds(1);
    while (Clock::now() < end) {
        std::lock_guard<std::mutex> hold(m.pending.guard);
        if (m.pending.groups.empty())
            break;
    }
    // The receivers go before the messenger does.
    m.shut();
    EXPECT_FALSE(poster.bad);
    EXPECT_GT(poster.calls, 0);
    EXPECT_GT(sent, 0);
    EXPECT_GE(comesAndGoes.direct, sent);
}

TEST(Stress, DoubleBufferReaderSeesWholeFrames) {
    constexpr int SIZE = 64 * 1024;
    QTD::DoubleBuffer buffer;
    ASSERT_TRUE(buffer.init(SIZE));
    std::atomic<bool> torn{false};
    std::atomic<long> framesRead{0};
    QTD::FpsCounter received;
    received.run();
    std::vector<char> frame(SIZE);
    unsigned char value = 1;
    onThreads(3, [&](int t) {
        if (t == 0) {
            std::memset(frame.data(), value, SIZE);
            {
                // The frame goes in as two pieces under the swap lock, as the display does.
                QTD::AutoLock hold(&buffer.writeGuard);
                buffer.put(frame.data(), SIZE / 2, 0);
                buffer.put(frame.data() + SIZE / 2, SIZE / 2, SIZE / 2);
            }
            received.count(true);
            value = static_cast<unsigned char>(value == 255 ? 1 : value + 1);
        } else if (t == 1) {
            buffer.swap();
            QTD::AutoLock hold(&buffer.readGuard);
            int const front = buffer.active;
            if (buffer.count[front] == 0)
                return;
            char const* data = buffer.buffers[front];
            for (int i = 1; i < SIZE; ++i) {
                if (data[i] != data[0]) {
                    torn = true;
                    break;
                }
            }
            ++framesRead;
        } else {
            // A third thread reads the rate while the writer counts.
            (void)received.current();
        }
    });
    EXPECT_FALSE(torn);
    EXPECT_GT(framesRead, 0);
    EXPECT_GT(received.frames, 0);
}

TEST(Stress, ComponentReadsWhileAnotherThreadAddsParameters) {
    auto component = std::make_unique<QTD::ComponentImpl>();
    component->SetParamInt("watched", 1);
    std::atomic<bool> wrong{false};
    long i = 0;
    long last = 0;
    onThreads(2, [&](int t) {
        if (t == 0) {
            // New keys make the rows grow and move.
            component->SetParamInt(("k" + std::to_string(i % 2000)).c_str(), i);
            component->SetParamInt("watched", ++i);
            return;
        }
        long v = 0;
        if (component->GetParamInt("watched", &v) != 0 || v < last)
            wrong = true;
        last = v;
    });
    EXPECT_FALSE(wrong);
}
