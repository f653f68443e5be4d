#pragma once

#include "core/ATTR.h"

#include <mutex>

namespace QTD {

// A plain lock for very short sections: lock() spins with a yield instead of blocking in the
// system. The name, the trace flag and the call sites are stored only.
class Mutex {
public:
    explicit Mutex(char const* name = nullptr, bool trace = false);
    virtual ~Mutex();

    Mutex(Mutex const&) = delete;
    Mutex& operator=(Mutex const&) = delete;

    void init(char const* name, bool trace = false);
    virtual void lock(char const* site = nullptr);
    virtual bool try_lock(char const* site = nullptr);
    virtual void unlock(char const* site = nullptr);

    std::mutex mutex;
    ATTR name;
    bool trace;
};

} // namespace QTD
