#pragma once

#include <QObject>
#include <QThread>

#if defined(__SANITIZE_THREAD__)
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
#endif

namespace QTD {

// Says that what this thread wrote before release(token) is seen by a thread after its
// acquire(token): for hand-overs through synchronisation the thread sanitizer cannot see.
// Nothing is done outside sanitizer builds.
inline void release(void const* token) {
#if defined(__SANITIZE_THREAD__)
    __tsan_release(const_cast<void*>(token));
#else
    (void)token;
#endif
}

inline void acquire(void const* token) {
#if defined(__SANITIZE_THREAD__)
    __tsan_acquire(const_cast<void*>(token));
#else
    (void)token;
#endif
}

// Qt's event queue orders what one thread posts to another before what the other then handles,
// through locks of its own. A thread that posts an event or a queued call to `receiver` says so
// here, and the receiver's event handler calls handled(): the sanitizer then sees that order.
inline void postedTo(QObject const* receiver) {
    release(receiver->thread());
}

inline void handled() {
    acquire(QThread::currentThread());
}

} // namespace QTD
