#include "core/PROPERTIESMAP.h"

#include <sched.h>

namespace QTD {

PROPERTIESMAP::~PROPERTIESMAP() {
    while (!guard.try_lock())
        sched_yield();
    guard.unlock();
}

ATTR PROPERTIESMAP::getPropsValue(ATTR group, ATTR key, ATTR fallback) {
    std::lock_guard<std::mutex> hold(guard);
    if (group.empty())
        return fallback;
    auto it = groups.find(group);
    if (it == groups.end())
        return fallback;
    return it->second.get(key, fallback, false);
}

} // namespace QTD
