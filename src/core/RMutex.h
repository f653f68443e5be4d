#pragma once

#include "core/NamedLock.h"

#include <mutex>

namespace QTD {

// A recursive lock with a name for debugging. The name, the trace flag and the call sites are
// stored only.
class RMutex : public NamedLock<std::recursive_mutex> {
public:
    using NamedLock::NamedLock;
    ~RMutex() override { waitForHolder(); }

    // Raises std::system_error if the system lock fails.
    void lock(char const* site = nullptr) override;
};

} // namespace QTD
