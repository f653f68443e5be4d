#include "core/TripleBuffer.h"

#include <cstdlib>
#include <utility>

namespace QTD {

TripleBuffer::~TripleBuffer() {
    shut();
}

void TripleBuffer::release() {
    for (char*& buffer : buffers) {
        std::free(buffer);
        buffer = nullptr;
    }
    fresh = false;
}

bool TripleBuffer::init(int bytes) {
    std::lock_guard<std::recursive_mutex> holdWrite(writeGuard);
    std::lock_guard<std::mutex> holdSlots(slotGuard);
    release();
    size = 0;
    if (bytes < 1)
        return false;
    for (char*& buffer : buffers) {
        buffer = static_cast<char*>(std::calloc(static_cast<size_t>(bytes), 1));
        if (!buffer) {
            release();
            return false;
        }
    }
    size = bytes;
    return true;
}

void TripleBuffer::shut() {
    std::lock_guard<std::recursive_mutex> holdWrite(writeGuard);
    std::lock_guard<std::mutex> holdSlots(slotGuard);
    release();
    size = 0;
}

void TripleBuffer::publish() {
    std::lock_guard<std::mutex> holdSlots(slotGuard);
    std::swap(backSlot, readySlot);
    fresh = true;
}

char* TripleBuffer::take() {
    std::lock_guard<std::mutex> holdSlots(slotGuard);
    if (!fresh || size == 0)
        return nullptr;
    std::swap(frontSlot, readySlot);
    fresh = false;
    return buffers[frontSlot];
}

} // namespace QTD
