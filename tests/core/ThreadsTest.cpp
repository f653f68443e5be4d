#include "core/QTDUtils.h"
#include "core/QTDUtilsCounter.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

template <typename Pred> bool eventually(Pred pred, int ms = 2000) {
    auto const end = Clock::now() + std::chrono::milliseconds(ms);
    while (Clock::now() < end) {
        if (pred())
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return pred();
}

// Counts its calls; stepping ends once `stopAfter` steps have run (0: never).
class CountingThread : public QTD::Thread {
public:
    explicit CountingThread(int stopAfter = 0, bool init = true)
        : Thread("counting"), stopAfter(stopAfter), init(init) {}
    ~CountingThread() override { shut(); }
    bool initialize() override { return init; }
    bool doStep() override {
        ++steps;
        return stopAfter > 0 && steps >= stopAfter;
    }
    void finalize() override { ++finalized; }

    int const stopAfter;
    bool const init;
    std::atomic<int> steps{0};
    std::atomic<int> finalized{0};
};

} // namespace

TEST(Thread, StartStepsStopAndRestart) {
    CountingThread t(3);
    EXPECT_EQ(t.start("renamed"), 1);
    ASSERT_TRUE(eventually([&] { return t.finalized == 1; }));
    EXPECT_TRUE(t.waitForCompletion(0));
    EXPECT_EQ(t.steps, 3);
    // A failed initialize skips the steps but finalizes.
    CountingThread failing(0, false);
    EXPECT_EQ(failing.start(), 1);
    ASSERT_TRUE(eventually([&] { return failing.finalized == 1; }));
    EXPECT_EQ(failing.steps, 0);

    CountingThread endless;
    endless.start();
    ASSERT_TRUE(eventually([&] { return endless.steps > 0; }));
    EXPECT_EQ(endless.start(nullptr), 0);
    EXPECT_FALSE(endless.waitForCompletion(20));
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

TEST(Thread, WaitPumpsEvents) {
    int fired = 0;
    QTimer::singleShot(0, qApp, [&] { ++fired; });
    QTD::Thread::Wait(1, 1);
    EXPECT_EQ(fired, 1);
    // With `every` only one call in `every` waits: of 3 consecutive calls one pumps.
    QTimer::singleShot(0, qApp, [&] { ++fired; });
    for (int i = 0; i < 3; ++i)
        QTD::Thread::Wait(1, 3);
    EXPECT_EQ(fired, 2);
}

TEST(Locks, DestructorWaitsForHolder) {
    { QTD::AutoLock none(static_cast<std::mutex*>(nullptr), "site"); }

    auto* m = new QTD::Mutex;
    std::atomic<bool> held{false};
    std::atomic<bool> released{false};
    std::thread holder([&] {
        m->lock();
        held = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        released = true;
        m->unlock();
    });
    while (!held)
        std::this_thread::yield();
    delete m;
    EXPECT_TRUE(released);
    holder.join();
}

TEST(DoubleBuffer, InitSizeRules) {
    QTD::DoubleBuffer b;
    EXPECT_FALSE(b.init(0));
    EXPECT_EQ(b.size, 0);
    ASSERT_TRUE(b.init(8));
    char* first = b.buffers[0];
    EXPECT_EQ(std::memcmp(first, "\0\0\0\0\0\0\0\0", 8), 0);
    EXPECT_FALSE(b.init(0));
    EXPECT_FALSE(b.init(-5));
    EXPECT_EQ(b.size, 8);
    EXPECT_EQ(b.buffers[0], first);
    b.shut();
    EXPECT_EQ(b.size, 0);
    EXPECT_EQ(b.buffers[0], nullptr);
}

TEST(DoubleBuffer, PutSwapAndCounts) {
    QTD::DoubleBuffer b;
    ASSERT_TRUE(b.init(8));
    // Only a write at offset 0 counts as a new fill; writes that do not fit, or without data,
    // do nothing.
    struct Put {
        char const* data;
        int size, offset;
    };
    for (Put put : {Put{"abcd", 4, 0},
                    {"wxyz", 4, 4},
                    {"123456789", 9, 0},
                    {"12", 2, 7},
                    {"12", 2, -1},
                    {"12", -2, 0},
                    {nullptr, 2, 0}})
        b.put(put.data, put.size, put.offset);
    EXPECT_EQ(b.count[1], 1);
    EXPECT_EQ(std::memcmp(b.buffers[1], "abcdwxyz", 8), 0);
    b.swap();
    EXPECT_EQ(b.active, 1);
    b.put("ABCD", 4, 0);
    EXPECT_EQ(std::memcmp(b.buffers[0], "ABCD", 4), 0);
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
