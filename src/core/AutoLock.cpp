#include "core/AutoLock.h"

#include "core/Mutex.h"
#include "core/RMutex.h"

namespace QTD {

AutoLock::AutoLock(std::recursive_mutex* lock, char const* site) : site(site) {
    if (lock) {
        lock->lock();
        recursiveLock = lock;
    }
}

AutoLock::AutoLock(std::mutex* lock, char const* site) : site(site) {
    if (lock) {
        lock->lock();
        plainLock = lock;
    }
}

AutoLock::AutoLock(RMutex* lock, char const* site) : site(site) {
    if (lock) {
        lock->lock(site);
        recursiveLock = &lock->mutex;
    }
}

// Goes through Mutex::lock so that the spinning acquisition is kept.
AutoLock::AutoLock(Mutex* lock, char const* site) : site(site) {
    if (lock) {
        lock->lock(site);
        plainLock = &lock->mutex;
    }
}

AutoLock::~AutoLock() {
    if (recursiveLock)
        recursiveLock->unlock();
    if (plainLock)
        plainLock->unlock();
}

} // namespace QTD
