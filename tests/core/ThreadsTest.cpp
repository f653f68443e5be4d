#include "core/QTDUtils.h"
#include "core/QTDUtilsCounter.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTimer>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

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
    bool initialize() override {
        initialized = true;
        return init;
    }
    bool doStep() override {
        ++steps;
        return stopAfter > 0 && steps >= stopAfter;
    }
    void finalize() override { ++finalized; }

    int const stopAfter;
    bool const init;
    std::atomic<bool> initialized{false};
    std::atomic<int> steps{0};
    std::atomic<int> finalized{0};
};

} // namespace

TEST(Thread, StartOnRunningThreadReturnsZero) {
    CountingThread t;
    EXPECT_EQ(t.start("renamed"), 1);
    EXPECT_EQ(t.name, "renamed");
    ASSERT_TRUE(eventually([&] { return t.running.load(); }));
    EXPECT_EQ(t.start(nullptr), 0);
    EXPECT_EQ(t.name, "renamed");
    ASSERT_TRUE(eventually([&] { return t.steps > 2; }));
    t.shut();
    EXPECT_FALSE(t.running);
    EXPECT_EQ(t.finalized, 1);
    EXPECT_EQ(t.thread, nullptr);
}

TEST(Thread, StepReturningTrueEndsLoopAndFinalizeRuns) {
    CountingThread t(3);
    t.start();
    ASSERT_TRUE(eventually([&] { return t.finalized == 1; }));
    EXPECT_TRUE(t.waitForCompletion(0));
    EXPECT_EQ(t.steps, 3);
    EXPECT_FALSE(t.stopping);
    // The loop can be started again.
    EXPECT_EQ(t.start(), 1);
    ASSERT_TRUE(eventually([&] { return t.finalized == 2; }));
    EXPECT_TRUE(t.waitForCompletion(-1));
}

TEST(Thread, FailedInitializeSkipsStepsButFinalizes) {
    CountingThread t(0, false);
    t.start();
    ASSERT_TRUE(eventually([&] { return t.finalized == 1; }));
    EXPECT_TRUE(t.initialized);
    EXPECT_EQ(t.steps, 0);
}

TEST(Thread, StopAndTerminate) {
    CountingThread t;
    t.start();
    ASSERT_TRUE(eventually([&] { return t.steps > 0; }));
    // A bounded wait on a loop that goes on returns false after about the time given.
    auto const begin = Clock::now();
    EXPECT_FALSE(t.waitForCompletion(20));
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(20));
    t.terminate(42, 2000);
    EXPECT_FALSE(t.running);
    EXPECT_EQ(t.exitCode, 42);
    EXPECT_EQ(t.finalized, 1);
}

TEST(Thread, RestartRightAfterStopIsNotLost) {
    CountingThread t;
    t.start();
    ASSERT_TRUE(eventually([&] { return t.running.load(); }));
    t.stop();
    EXPECT_EQ(t.start(), 1);
    ASSERT_TRUE(eventually([&] { return t.finalized == 1 && t.running; }));
    int before = t.steps;
    EXPECT_TRUE(eventually([&] { return t.steps > before; }));
}

TEST(Thread, WaitPumpsEvents) {
    int fired = 0;
    QTimer::singleShot(0, qApp, [&] { ++fired; });
    QTD::Thread::Wait(1, 1);
    EXPECT_EQ(fired, 1);

    QTimer::singleShot(0, qApp, [&] { ++fired; });
    auto const begin = Clock::now();
    QTD::Thread::Wait(6, 1);
    EXPECT_EQ(fired, 2);
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(6));

    QTD::Thread::Wait(0, 1);

    // With `every` only one call in `every` waits: of 3 consecutive calls one pumps.
    QTimer::singleShot(0, qApp, [&] { ++fired; });
    for (int i = 0; i < 3; ++i)
        QTD::Thread::Wait(1, 3);
    EXPECT_EQ(fired, 3);
}

TEST(Locks, AutoLockOnEveryKind) {
    { QTD::AutoLock none(static_cast<std::mutex*>(nullptr), "site"); }
    { QTD::AutoLock none(static_cast<QTD::RMutex*>(nullptr)); }

    QTD::RMutex rm("r");
    EXPECT_EQ(rm.name, "r");
    {
        QTD::AutoLock a(&rm, "outer");
        QTD::AutoLock b(&rm, "inner");
        std::thread other([&] { EXPECT_FALSE(rm.try_lock()); });
        other.join();
    }
    EXPECT_TRUE(rm.try_lock());
    rm.unlock();

    QTD::Mutex m("m", true);
    EXPECT_TRUE(m.trace);
    {
        QTD::AutoLock a(&m);
        EXPECT_FALSE(m.try_lock());
    }
    EXPECT_TRUE(m.try_lock());
    m.unlock();

    std::mutex plain;
    {
        QTD::AutoLock a(&plain);
        EXPECT_FALSE(plain.try_lock());
    }
    EXPECT_TRUE(plain.try_lock());
    plain.unlock();

    m.init("renamed", false);
    EXPECT_EQ(m.name, "renamed");
}

TEST(Locks, DestructorWaitsForHolder) {
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
    EXPECT_EQ(b.active, 0);
    b.put("abcd", 4, 0);
    EXPECT_EQ(b.count[1], 1);
    EXPECT_EQ(std::memcmp(b.buffers[1], "abcd", 4), 0);
    // Only a write at offset 0 counts as a new fill.
    b.put("wxyz", 4, 4);
    EXPECT_EQ(b.count[1], 1);
    EXPECT_EQ(std::memcmp(b.buffers[1], "abcdwxyz", 8), 0);
    // Writes that do not fit, or without data, do nothing.
    b.put("123456789", 9, 0);
    b.put("12", 2, 7);
    b.put("12", 2, -1);
    b.put("12", -2, 0);
    b.put(nullptr, 2, 0);
    EXPECT_EQ(b.count[1], 1);
    EXPECT_EQ(std::memcmp(b.buffers[1], "abcdwxyz", 8), 0);

    b.swap();
    EXPECT_EQ(b.active, 1);
    EXPECT_EQ(b.count[1], 1);
    EXPECT_EQ(b.count[0], 0);
    b.put("ABCD", 4, 0);
    EXPECT_EQ(std::memcmp(b.buffers[0], "ABCD", 4), 0);
    EXPECT_EQ(std::memcmp(b.buffers[b.active], "abcdwxyz", 8), 0);
    b.swap();
    EXPECT_EQ(b.active, 0);
    EXPECT_EQ(b.count[1], 0);

    b.shut();
    b.put("abcd", 4, 0);
    EXPECT_EQ(b.count[0] + b.count[1], 0);
}

TEST(FpsCounter, FrequencyKeepsOldPeriodForNonPositive) {
    QTD::FpsCounter c;
    double const initial = c.frequency(0);
    EXPECT_DOUBLE_EQ(c.frequency(-3), initial);
    EXPECT_DOUBLE_EQ(c.frequency(250), 250);
    EXPECT_DOUBLE_EQ(c.frequency(0), 250);
}

TEST(FpsCounter, WindowSlidesWithHalfLifeOfOneSecond) {
    QTD::FpsCounter c;
    c.run();
    c.window = 30;
    double const start = QTD::FpsCounter::now() - 1500;
    c.startTime = start;
    double fps = c.count(false);
    EXPECT_NEAR(fps, 20.0, 0.5);
    EXPECT_EQ(c.window, 15);
    EXPECT_NEAR(c.startTime - start, 750, 5);
    EXPECT_EQ(c.frames, 0);

    // Below a second with the default period the rate is not updated.
    c.run();
    c.count(true);
    EXPECT_EQ(c.fps, 0.0);
    EXPECT_EQ(c.frames, 1);
}

TEST(FpsCounter, MeasuresFrameRateWithShortPeriod) {
    QTD::FpsCounter c;
    c.frequency(50);
    c.run();
    double fps = 0;
    for (int i = 0; i < 20; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        fps = c.count(true);
    }
    // About 100 frames per second; a loaded machine only sleeps longer.
    EXPECT_GT(fps, 30.0);
    EXPECT_LT(fps, 105.0);
    EXPECT_EQ(c.frames, 20);
    c.reset(true, 5);
    EXPECT_EQ(c.fps, 0.0);
    EXPECT_EQ(c.frames, 5);
    EXPECT_EQ(c.window, 5);
}

TEST(FpsCounter, ValueNeedsRunAndAveragesPerSecond) {
    QTD::FpsCounter c;
    EXPECT_EQ(c.value(10), 0.0);
    EXPECT_EQ(c.sum, 0.0);
    c.run();
    c.startTime = QTD::FpsCounter::now() - 500;
    EXPECT_NEAR(c.value(50), 100.0, 2.0);
    EXPECT_EQ(c.window, 1);

    // Past a second with a full window the sum is halved and the window restarts.
    c.window = QTD::FpsCounter::STEPS + 1;
    c.startTime = QTD::FpsCounter::now() - 2000;
    c.value(0);
    EXPECT_EQ(c.window, 0);
    EXPECT_DOUBLE_EQ(c.sum, 25.0);
}

TEST(FpsCounter, LockMeasuresBusyIntervals) {
    QTD::FpsCounter c;
    c.reset(true);
    c.lock(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
    double interval = c.lock(false);
    EXPECT_GE(interval, 14.0);
    EXPECT_LT(interval, 1000.0);
    EXPECT_EQ(c.window, 1);
    EXPECT_NEAR(c.fps, 1000.0 / interval, 1.0);
}
