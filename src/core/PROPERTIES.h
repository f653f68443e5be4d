#pragma once

#include "core/ATTR.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace QTD {

struct PROP {
    ATTR key;
    ATTR value;
};

// An ordered list of key/value texts with a recursive lock: the parameter store of every
// component. Rows keep their insertion order; replacing a value keeps the row's place. Keys match
// exactly and case-sensitively; an empty key is never stored.
class PROPERTIES {
public:
    // Copies the rows of `source` without locking it: for bags not yet shared.
    PROPERTIES(PROPERTIES* source = nullptr);
    PROPERTIES(PROPERTIES const& other);
    ~PROPERTIES();

    // Appends an unknown key; overwrites a known one only with `replace`, otherwise keeps it
    // and reports false in `done`. An empty key changes nothing and leaves `done` alone.
    void set(ATTR key, ATTR value, bool replace, bool* done = nullptr);
    // Merges `source` (not locked) into this bag under the same rule.
    void set(PROPERTIES* source, bool replace);

    ATTR get(ATTR key, ATTR fallback = ATTR(), bool lock = true);
    // The text of `key` (or `fallback`) read as T; conversion failures raise the standard
    // exceptions.
    template <typename T> T getAs(ATTR key, ATTR fallback = ATTR(), bool lock = true) {
        return get(key, fallback, lock).as<T>();
    }
    // True and the value in `value` if `key` has a row.
    bool find(ATTR key, ATTR* value = nullptr, bool lock = true);

    // Upserts rows [first, last) of `source` (last < 0: all), locking this bag then `source`.
    // Returns the number of rows taken. An index past `source`'s rows raises std::out_of_range.
    int importData(PROPERTIES* source, int first = 0, int last = -1);

    // Upserts every pair with a non-empty key, in key order.
    PROPERTIES& operator=(std::map<std::string, std::string> const& source);
    // Appends copies of all of `other`'s rows, without clearing or looking for duplicates, and
    // without locking: assigning twice doubles the rows, and only the first of a key is found.
    PROPERTIES& operator=(PROPERTIES const& other);

    // `key="value"` (quoted) or `key=value` rows joined by `separator` (default one blank).
    ATTR text(bool quoted, char const* separator = nullptr);

    // Row access by index; a bad index gives the empty text.
    ATTR keyAt(int i) {
        std::lock_guard<std::recursive_mutex> hold(guard);
        return i < 0 || static_cast<size_t>(i) >= rows.size() ? ATTR() : rows[i].key;
    }
    ATTR valueAt(int i) {
        std::lock_guard<std::recursive_mutex> hold(guard);
        return i < 0 || static_cast<size_t>(i) >= rows.size() ? ATTR() : rows[i].value;
    }
    int count() {
        std::lock_guard<std::recursive_mutex> hold(guard);
        return static_cast<int>(rows.size());
    }

    std::vector<PROP> rows;
    std::recursive_mutex guard;
    ATTR label;

private:
    // Callers hold `guard`.
    PROP* row(ATTR const& key);
    void upsert(ATTR const& key, ATTR const& value);
};

} // namespace QTD
