#pragma once

#include "core/ATTR.h"

#include <mutex>

namespace QTD {

// A recursive lock with a name for debugging. The name, the trace flag and the call sites are
// stored only.
class RMutex {
public:
    explicit RMutex(char const* name = nullptr, bool trace = false);
    virtual ~RMutex();

    RMutex(RMutex const&) = delete;
    RMutex& operator=(RMutex const&) = delete;

    void init(char const* name, bool trace = false);
    // Raises std::system_error if the system lock fails.
    virtual void lock(char const* site = nullptr);
    virtual bool try_lock(char const* site = nullptr);
    virtual void unlock(char const* site = nullptr);

    std::recursive_mutex mutex;
    ATTR name;
    bool trace;
};

} // namespace QTD
