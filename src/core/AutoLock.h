#pragma once

#include "core/ATTR.h"

#include <mutex>

namespace QTD {

class RMutex;
class Mutex;

// Scope guard over any of the lock kinds of the library. A null lock makes it do nothing. A
// failing system lock raises std::system_error.
class AutoLock {
public:
    AutoLock(std::recursive_mutex* lock, char const* site = nullptr);
    AutoLock(std::mutex* lock, char const* site = nullptr);
    AutoLock(RMutex* lock, char const* site = nullptr);
    AutoLock(Mutex* lock, char const* site = nullptr);
    ~AutoLock();

    AutoLock(AutoLock const&) = delete;
    AutoLock& operator=(AutoLock const&) = delete;

    void print(bool) {}

    std::recursive_mutex* recursiveLock = nullptr;
    std::mutex* plainLock = nullptr;
    ATTR site;
};

} // namespace QTD
