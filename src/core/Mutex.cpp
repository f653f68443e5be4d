#include "core/Mutex.h"

#include <sched.h>

namespace QTD {

void Mutex::lock(char const*) {
    while (!mutex.try_lock())
        sched_yield();
}

} // namespace QTD
