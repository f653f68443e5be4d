#pragma once

#include "core/ATTR.h"

#include <map>
#include <mutex>
#include <string>

namespace QTD {

class PROPERTIES;

// A locked view of the text map that a command carries across the public interface. The map
// belongs to the caller and may be null.
class ParamsHelper {
public:
    using Map = std::map<std::string, std::string>;

    explicit ParamsHelper(Map* params = nullptr) : params(params) {}

    ParamsHelper(ParamsHelper const&) = delete;
    ParamsHelper& operator=(ParamsHelper const&) = delete;

    // The value of `key`, or `fallback` without a map or without such a key.
    ATTR get(ATTR key, ATTR fallback = ATTR(), bool lock = true);
    template <typename T> T getAs(ATTR key, ATTR fallback = ATTR(), bool lock = true) {
        return get(key, fallback, lock).as<T>();
    }
    // The rule of PROPERTIES::set, on the map. Nothing happens without a map or with an empty
    // key.
    void set(ATTR key, ATTR value, bool replace, bool* done = nullptr);
    // The entry in the map (in `local` without one), created if missing. Takes no lock.
    std::string& operator[](char const* key);
    // Upserts every pair with a non-empty key into `target`.
    void write(PROPERTIES& target);

    Map* params;
    std::recursive_mutex guard;
    Map local;
};

} // namespace QTD
