#pragma once

#include <mutex>

namespace QTD {

// Three equal byte buffers between writers (cameras) and one reader (the display's pass): the
// writers fill `back` and publish it as the newest frame; the reader takes the newest frame as
// its `front` and keeps it until it takes another. A writer never waits for the reader's work,
// only for another writer; the newest published frame replaces one not yet taken.
class TripleBuffer {
public:
    TripleBuffer() = default;
    ~TripleBuffer();
    TripleBuffer(TripleBuffer const&) = delete;
    TripleBuffer& operator=(TripleBuffer const&) = delete;

    // Three zeroed buffers of `size` bytes; false, with none, for a size below 1 or no memory.
    // Neither may run while the reader works on its front buffer.
    bool init(int size);
    void shut();

    // Writer side, with `writeGuard` held: the buffer to fill, then its publication.
    char* back() { return buffers[backSlot]; }
    void publish();

    // Reader side: the newest frame published since the last take, now the reader's own; null
    // when none came.
    char* take();
    // The reader's buffer of its last take.
    char* front() { return buffers[frontSlot]; }

    int size = 0;
    // Serialises writers with each other and with init and shut.
    std::recursive_mutex writeGuard;

private:
    void release();

    std::mutex slotGuard; // held only to exchange slot numbers
    char* buffers[3] = {nullptr, nullptr, nullptr};
    int backSlot = 0, readySlot = 1, frontSlot = 2;
    bool fresh = false;
};

} // namespace QTD
