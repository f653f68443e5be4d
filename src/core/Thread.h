#pragma once

#include "core/ATTR.h"

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

class QObject;

namespace QTD {

// A polling worker thread: initialize(), then doStep() under `guard` with a 1 ms sleep between
// steps until a step returns true or stop() is called, then finalize(). The standard thread is
// detached at once; completion is observed through `running`.
//
// A derived class must call shut() in its own destructor, so that the loop has ended before the
// derived part is torn down.
class Thread {
public:
    explicit Thread(char const* name = nullptr);
    virtual ~Thread();

    Thread(Thread const&) = delete;
    Thread& operator=(Thread const&) = delete;

    virtual void run();
    virtual bool initialize() { return true; }
    virtual void finalize() {}
    // True ends the loop.
    virtual bool doStep() { return false; }
    // 0 if the loop runs already; otherwise starts it (a non-null `name` renames) and returns 1.
    virtual int start(char const* name = nullptr);
    // Takes effect between two steps.
    virtual void stop();
    // A clear flag sleeps 1 ms; a set one only yields the processor.
    virtual void idle(bool brief);
    // Stops and waits for ever. Must not be called from the thread itself.
    virtual void shut();
    virtual void terminate(int exitCode, int timeout);
    // Waits up to `timeout` ms (0 or -1: for ever) for the loop to end; true once it has.
    virtual bool waitForCompletion(int timeout);

    // For threads that must keep Qt events flowing while they wait: see the source for the
    // slicing of long waits. With `every` above 1 only every n-th call waits.
    static void Wait(int milliseconds, int every = 1);
    // Runs `call` on the thread of `context` (at once when that is this thread) and waits up to
    // `timeout` ms for it. False when the time ran out first: `call` then never runs. The bound
    // keeps a caller alive whose event thread waits for it in turn (a join, a lock).
    static bool CallOn(QObject* context, std::function<void()> const& call, int timeout);

    std::atomic<bool> running;
    std::atomic<bool> stopping;
    std::recursive_mutex guard;
    ATTR name;
    std::thread* thread;
    std::atomic<int> exitCode;

protected:
    // True on the thread that runs the loop, while it runs.
    bool inOwnThread() const { return loopThread.load() == std::this_thread::get_id(); }

private:
    static void proc(Thread* self);
    void leaveLaunch();

    // Threads created by start() that have not yet entered run().
    std::atomic<int> launches;
    std::atomic<std::thread::id> loopThread;
};

} // namespace QTD
