#include "core/Mutex.h"

#include <sched.h>

namespace QTD {

Mutex::Mutex(char const* name, bool trace) : name(name), trace(trace) {}

// Wait for a holder on another thread to leave before the lock goes away.
Mutex::~Mutex() {
    while (!mutex.try_lock())
        sched_yield();
    mutex.unlock();
}

void Mutex::init(char const* name, bool trace) {
    this->name = name;
    this->trace = trace;
}

void Mutex::lock(char const*) {
    while (!mutex.try_lock())
        sched_yield();
}

bool Mutex::try_lock(char const*) {
    return mutex.try_lock();
}

void Mutex::unlock(char const*) {
    mutex.unlock();
}

} // namespace QTD
