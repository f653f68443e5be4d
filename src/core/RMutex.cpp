#include "core/RMutex.h"

#include <sched.h>

namespace QTD {

RMutex::RMutex(char const* name, bool trace) : name(name), trace(trace) {}

// Wait for a holder on another thread to leave before the lock goes away.
RMutex::~RMutex() {
    while (!mutex.try_lock())
        sched_yield();
    mutex.unlock();
}

void RMutex::init(char const* name, bool trace) {
    this->name = name;
    this->trace = trace;
}

void RMutex::lock(char const*) {
    mutex.lock();
}

bool RMutex::try_lock(char const*) {
    return mutex.try_lock();
}

void RMutex::unlock(char const*) {
    mutex.unlock();
}

} // namespace QTD
