#include "core/Thread.h"
#include "core/HandOver.h"

#include <QCoreApplication>
#include <QEvent>
#include <QThread>

#include <cerrno>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <ctime>
#include <memory>
#include <sched.h>

namespace QTD {

namespace {

void sleepMilliseconds(long ms) {
    timespec request{ms / 1000, (ms % 1000) * 1000000L};
    timespec left{};
    while (nanosleep(&request, &left) == -1 && errno == EINTR)
        request = left;
}

} // namespace

Thread::Thread(char const* name)
    : running(false), stopping(false), name(name), thread(nullptr), exitCode(0), launches(0) {}

Thread::~Thread() {
    shut();
}

void Thread::proc(Thread* self) {
    self->run();
}

void Thread::leaveLaunch() {
    int n = launches.load();
    while (n > 0 && !launches.compare_exchange_weak(n, n - 1)) {
    }
}

void Thread::run() {
    // Two starts in quick succession may create two threads; only one gets the loop. The
    // launch count drops only after `running` is set, so a waiter never sees neither.
    if (running.exchange(true)) {
        leaveLaunch();
        return;
    }
    leaveLaunch();
    loopThread = std::this_thread::get_id();
    exitCode = 0;
    if (initialize()) {
        while (running && !stopping) {
            {
                std::lock_guard<std::recursive_mutex> hold(guard);
                // Only a true result is stored: a stop() that came in while this thread waited
                // for `guard` must not be overwritten.
                if (!stopping && doStep())
                    stopping = true;
            }
            idle(false);
        }
    }
    finalize();
    loopThread = std::thread::id();
    stopping = false;
    // Last touch of this object: the owner may destroy it once it sees the flag clear.
    running = false;
}

int Thread::start(char const* name) {
    if (running || launches > 0) {
        // A loop that was asked to stop and is winding down is waited for and started anew;
        // otherwise a start right after a stop would be lost.
        if (!stopping || inOwnThread())
            return 0;
        waitForCompletion(-1);
    }
    std::lock_guard<std::recursive_mutex> hold(guard);
    delete thread;
    thread = nullptr;
    if (name)
        this->name = name;
    // Cleared here and not by the new loop, so that a stop() between start() and the first
    // step is not lost.
    stopping = false;
    ++launches;
    thread = new std::thread(&Thread::proc, this);
    thread->detach();
    return 1;
}

void Thread::stop() {
    std::lock_guard<std::recursive_mutex> hold(guard);
    stopping = true;
}

void Thread::idle(bool brief) {
    if (brief)
        sched_yield();
    else
        sleepMilliseconds(1);
}

bool Thread::waitForCompletion(int timeout) {
    auto const begin = std::chrono::steady_clock::now();
    while (running || launches > 0) {
        if (timeout > 0 &&
            std::chrono::steady_clock::now() - begin >= std::chrono::milliseconds(timeout))
            return false;
        idle(false);
    }
    return true;
}

void Thread::terminate(int exitCode, int timeout) {
    stop();
    waitForCompletion(timeout);
    this->exitCode = exitCode;
}

void Thread::shut() {
    stop();
    waitForCompletion(-1);
    std::lock_guard<std::recursive_mutex> hold(guard);
    delete thread;
    thread = nullptr;
}

void Thread::Wait(int milliseconds, int every) {
    if (every > 1) {
        static std::atomic<int> calls{0};
        int n = calls.load();
        int next;
        do {
            next = n >= INT_MAX - 1 ? 0 : n + 1;
        } while (!calls.compare_exchange_weak(n, next));
        if (next % every != 0)
            return;
    }
    if (milliseconds < 1) {
        sched_yield();
        return;
    }
    if (milliseconds == 1) {
        QCoreApplication::processEvents();
        sleepMilliseconds(1);
        return;
    }
    // Long waits are cut into shrinking slices with the event pump between them.
    int const rounds = milliseconds / 2;
    int remaining = milliseconds;
    for (int i = 0; i <= rounds; ++i) {
        remaining = remaining / 2 + 1;
        QCoreApplication::processEvents();
        sleepMilliseconds(remaining);
    }
}

namespace {

// What a call across threads shares with its caller, who may stop waiting first.
struct CallState {
    std::mutex mutex;
    std::condition_variable changed;
    std::function<void()> const* call = nullptr;
    bool done = false;
    bool abandoned = false;
};

// Carries one call to the thread that runs it. The event is complete before it is posted, so
// the hand-over through Qt's queue can be stated to the thread sanitizer as it is.
class CallEvent : public QEvent {
public:
    static QEvent::Type type() {
        static const int registered = QEvent::registerEventType();
        return static_cast<QEvent::Type>(registered);
    }
    explicit CallEvent(std::shared_ptr<CallState> state)
        : QEvent(type()), state(std::move(state)) {}
    std::shared_ptr<CallState> state;
};

// Lives on the target thread for one call, then goes.
class CallTarget : public QObject {
public:
    bool event(QEvent* e) override {
        handled();
        if (e->type() != CallEvent::type())
            return QObject::event(e);
        CallState& state = *static_cast<CallEvent*>(e)->state;
        {
            std::lock_guard<std::mutex> hold(state.mutex);
            if (!state.abandoned) {
                (*state.call)();
                state.done = true;
                state.changed.notify_all();
            }
        }
        deleteLater();
        return true;
    }
};

} // namespace

bool Thread::CallOn(QObject* context, std::function<void()> const& call, int timeout) {
    if (!context || QThread::currentThread() == context->thread()) {
        call();
        return true;
    }
    auto state = std::make_shared<CallState>();
    state->call = &call;
    auto* target = new CallTarget;
    target->moveToThread(context->thread());
    auto* event = new CallEvent(state);
    postedTo(target);
    QCoreApplication::postEvent(target, event);
    std::unique_lock<std::mutex> hold(state->mutex);
    if (!state->changed.wait_for(hold, std::chrono::milliseconds(timeout),
                                 [&] { return state->done; }))
        state->abandoned = true;
    return state->done;
}

} // namespace QTD
