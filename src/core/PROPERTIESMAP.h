#pragma once

#include "core/ATTR.h"
#include "core/PROPERTIES.h"

#include <map>
#include <mutex>

namespace QTD {

// Named property bags under one plain lock.
class PROPERTIESMAP {
public:
    PROPERTIESMAP() = default;
    ~PROPERTIESMAP();

    PROPERTIESMAP(PROPERTIESMAP const&) = delete;
    PROPERTIESMAP& operator=(PROPERTIESMAP const&) = delete;

    // The value of `key` in bag `group`, or `fallback` for an empty or unknown group or key.
    // The bag's own lock is not taken.
    ATTR getPropsValue(ATTR group, ATTR key, ATTR fallback);
    // As getPropsValue, read as T after the lock is released; conversion failures raise the
    // standard exceptions.
    template <typename T> T getPropsValueAs(ATTR group, ATTR key, ATTR fallback) {
        return getPropsValue(group, key, fallback).as<T>();
    }

    std::map<ATTR, PROPERTIES> groups;
    std::mutex guard;
};

} // namespace QTD
