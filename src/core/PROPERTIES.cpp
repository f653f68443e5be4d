#include "core/PROPERTIES.h"

#include <sched.h>

namespace QTD {

PROPERTIES::PROPERTIES(PROPERTIES* source) {
    if (source)
        rows = source->rows;
}

PROPERTIES::PROPERTIES(PROPERTIES const& other) : rows(other.rows), label(other.label) {}

// Another thread may still be inside an operation: let it leave before the rows go.
PROPERTIES::~PROPERTIES() {
    while (!guard.try_lock())
        sched_yield();
    guard.unlock();
}

PROP* PROPERTIES::row(ATTR const& key) {
    for (PROP& p : rows)
        if (p.key.same(key.c_str(), false))
            return &p;
    return nullptr;
}

void PROPERTIES::upsert(ATTR const& key, ATTR const& value) {
    if (PROP* p = row(key))
        p->value = value;
    else
        rows.push_back(PROP{key, value});
}

void PROPERTIES::set(ATTR key, ATTR value, bool replace, bool* done) {
    if (key.empty())
        return;
    std::lock_guard<std::recursive_mutex> hold(guard);
    PROP* p = row(key);
    if (done)
        *done = true;
    if (!p) {
        rows.push_back(PROP{key, value});
    } else if (replace) {
        p->value = value;
    } else if (done) {
        *done = false;
    }
}

void PROPERTIES::set(PROPERTIES* source, bool replace) {
    if (!source || source->rows.empty())
        return;
    std::lock_guard<std::recursive_mutex> hold(guard);
    for (PROP const& p : source->rows) {
        if (p.key.empty())
            continue;
        PROP* mine = row(p.key);
        if (!mine)
            rows.push_back(p);
        else if (replace)
            mine->value = p.value;
    }
}

ATTR PROPERTIES::get(ATTR key, ATTR fallback, bool lock) {
    ATTR value;
    return find(key, &value, lock) ? value : fallback;
}

bool PROPERTIES::find(ATTR key, ATTR* value, bool lock) {
    std::unique_lock<std::recursive_mutex> hold(guard, std::defer_lock);
    if (lock)
        hold.lock();
    PROP* p = row(key);
    if (p && value)
        *value = p->value;
    return p != nullptr;
}

int PROPERTIES::importData(PROPERTIES* source, int first, int last) {
    if (!source || source == this)
        return 0;
    std::lock_guard<std::recursive_mutex> holdTarget(guard);
    std::lock_guard<std::recursive_mutex> holdSource(source->guard);
    if (last < 0)
        last = static_cast<int>(source->rows.size());
    int taken = 0;
    for (int i = first; i < last; ++i) {
        PROP const& p = source->rows.at(static_cast<size_t>(i));
        if (p.key.empty())
            continue;
        upsert(p.key, p.value);
        ++taken;
    }
    return taken;
}

PROPERTIES& PROPERTIES::operator=(std::map<std::string, std::string> const& source) {
    for (auto const& pair : source) {
        if (pair.first.empty())
            continue;
        std::lock_guard<std::recursive_mutex> hold(guard);
        upsert(ATTR(pair.first), ATTR(pair.second));
    }
    return *this;
}

PROPERTIES& PROPERTIES::operator=(PROPERTIES const& other) {
    if (this == &other) {
        std::vector<PROP> copy = rows;
        rows.insert(rows.end(), copy.begin(), copy.end());
    } else {
        rows.insert(rows.end(), other.rows.begin(), other.rows.end());
    }
    return *this;
}

ATTR PROPERTIES::text(bool quoted, char const* separator) {
    if (!separator)
        separator = " ";
    std::lock_guard<std::recursive_mutex> hold(guard);
    ATTR result;
    for (int i = 0;; ++i) {
        ATTR key = keyAt(i);
        if (key.empty())
            break;
        if (i > 0)
            result += separator;
        result += key;
        if (quoted)
            result += "=\"" + valueAt(i) + "\"";
        else
            result += "=" + valueAt(i);
    }
    return result;
}

} // namespace QTD
