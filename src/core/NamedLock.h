#pragma once

// What the library's two lock kinds share: a system lock of kind `Lock` with a name and a trace
// flag, which with the call sites are stored only, and a teardown that waits for a holder on
// another thread. How lock() waits is each kind's own.

#include "core/ATTR.h"

#include <sched.h>

namespace QTD {

template <class Lock> class NamedLock {
public:
    explicit NamedLock(char const* name = nullptr, bool trace = false) : name(name), trace(trace) {}

    virtual ~NamedLock() = default;

    NamedLock(NamedLock const&) = delete;
    NamedLock& operator=(NamedLock const&) = delete;

    void init(char const* name, bool trace = false) {
        this->name = name;
        this->trace = trace;
    }
    virtual void lock(char const* site = nullptr) = 0;
    virtual bool try_lock(char const* = nullptr) { return mutex.try_lock(); }
    virtual void unlock(char const* = nullptr) { mutex.unlock(); }

protected:
    // Waits for a holder on another thread to leave before the lock goes away. Each kind calls
    // it from its own destructor: by the base's, the object is already half gone, and the
    // holder's virtual unlock() would race with that.
    void waitForHolder() {
        while (!mutex.try_lock())
            sched_yield();
        mutex.unlock();
    }

public:
    Lock mutex;
    ATTR name;
    bool trace;
};

} // namespace QTD
