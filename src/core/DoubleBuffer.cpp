#include "core/DoubleBuffer.h"

#include <cstdlib>
#include <cstring>

namespace QTD {

DoubleBuffer::DoubleBuffer() : active(0), count{0, 0}, buffers{nullptr, nullptr}, size(0) {}

DoubleBuffer::~DoubleBuffer() {
    shut();
}

void DoubleBuffer::release() {
    std::free(buffers[0]);
    std::free(buffers[1]);
    buffers[0] = buffers[1] = nullptr;
    count[0] = count[1] = 0;
}

bool DoubleBuffer::init(int size) {
    std::lock_guard<std::recursive_mutex> holdWrite(writeGuard);
    std::lock_guard<std::recursive_mutex> holdRead(readGuard);
    if (size < 1)
        return false;
    release();
    buffers[0] = static_cast<char*>(std::calloc(static_cast<size_t>(size), 1));
    buffers[1] = static_cast<char*>(std::calloc(static_cast<size_t>(size), 1));
    if (!buffers[0] || !buffers[1]) {
        release();
        this->size = 0;
        return false;
    }
    this->size = size;
    return true;
}

void DoubleBuffer::put(char const* data, int bytes, int offset) {
    std::lock_guard<std::recursive_mutex> hold(writeGuard);
    if (size == 0 || !data || bytes < 0 || offset < 0 ||
        static_cast<long long>(offset) + bytes > size)
        return;
    int const back = 1 - active;
    std::memcpy(buffers[back] + offset, data, static_cast<size_t>(bytes));
    if (offset == 0)
        ++count[back];
}

// Also takes `readGuard`, so that a reader on another thread is never left holding the buffer
// that the writer is about to fill.
void DoubleBuffer::swap() {
    std::lock_guard<std::recursive_mutex> holdWrite(writeGuard);
    std::lock_guard<std::recursive_mutex> holdRead(readGuard);
    active = 1 - active;
    count[1 - active] = 0;
}

void DoubleBuffer::shut() {
    std::lock_guard<std::recursive_mutex> holdWrite(writeGuard);
    std::lock_guard<std::recursive_mutex> holdRead(readGuard);
    release();
    size = 0;
}

} // namespace QTD
