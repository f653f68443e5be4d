#include "core/ParamsHelper.h"

#include "core/AutoLock.h"
#include "core/PROPERTIES.h"

namespace QTD {

ATTR ParamsHelper::get(ATTR key, ATTR fallback, bool lock) {
    std::unique_lock<std::recursive_mutex> hold(guard, std::defer_lock);
    if (lock)
        hold.lock();
    if (!params)
        return fallback;
    auto it = params->find(key);
    return it == params->end() ? fallback : ATTR(it->second);
}

void ParamsHelper::set(ATTR key, ATTR value, bool replace, bool* done) {
    AutoLock hold(&guard, "");
    if (key.empty() || !params)
        return;
    if (done)
        *done = true;
    auto it = params->find(key);
    if (it == params->end())
        params->emplace(key, value);
    else if (replace)
        it->second = value;
    else if (done)
        *done = false;
}

std::string& ParamsHelper::operator[](char const* key) {
    Map& map = params ? *params : local;
    return map[key ? key : ""];
}

void ParamsHelper::write(PROPERTIES& target) {
    if (!params || params->empty())
        return;
    for (auto const& pair : *params)
        if (!pair.first.empty())
            target.set(ATTR(pair.first), ATTR(pair.second), true);
}

} // namespace QTD
