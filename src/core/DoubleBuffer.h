#pragma once

#include <mutex>

namespace QTD {

// Two equal byte buffers: a writer fills the back one with put() while a reader works on the
// `active` (front) one under `readGuard`; swap() exchanges them. Lock order: `writeGuard`, then
// `readGuard`.
class DoubleBuffer {
public:
    DoubleBuffer();
    virtual ~DoubleBuffer();

    DoubleBuffer(DoubleBuffer const&) = delete;
    DoubleBuffer& operator=(DoubleBuffer const&) = delete;

    // Two zeroed buffers of `size` bytes. A size below 1 is refused and the old buffers stay.
    virtual bool init(int size);
    // Copies into the back buffer at `offset` if it fits; a write at offset 0 counts as a new
    // fill of the back buffer.
    virtual void put(char const* data, int bytes, int offset);
    // The back buffer becomes the front one; the new back buffer starts empty (count 0).
    virtual void swap();
    virtual void shut();

    int active;
    int count[2];
    char* buffers[2];
    int size;
    std::recursive_mutex writeGuard;
    std::recursive_mutex readGuard;

private:
    void release();
};

} // namespace QTD
