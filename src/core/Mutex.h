#pragma once

#include "core/NamedLock.h"

#include <mutex>

namespace QTD {

// A plain lock for very short sections: lock() spins with a yield instead of blocking in the
// system. The name, the trace flag and the call sites are stored only.
class Mutex : public NamedLock<std::mutex> {
public:
    using NamedLock::NamedLock;
    ~Mutex() override { waitForHolder(); }

    void lock(char const* site = nullptr) override;
};

} // namespace QTD
