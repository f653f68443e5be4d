// DoubleBuffer::put of one camera frame against a plain memcpy of the same bytes. Both
// destinations are written once before timing, so that first-touch page faults of freshly
// allocated memory count in neither.
#include "core/DoubleBuffer.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// 4096 x 3000: 12 megapixels at 8 bits, and the same frame at 16 bits.
constexpr int FRAME_8 = 4096 * 3000;
constexpr int FRAME_16 = 4096 * 3000 * 2;

std::vector<char> sourceFrame(int bytes) {
    std::vector<char> frame(static_cast<size_t>(bytes));
    for (size_t i = 0; i < frame.size(); ++i)
        frame[i] = static_cast<char>(i * 31 + 7);
    return frame;
}

void DoubleBufferPut(benchmark::State& state) {
    int const bytes = static_cast<int>(state.range(0));
    std::vector<char> const frame = sourceFrame(bytes);
    QTD::DoubleBuffer buffer;
    if (!buffer.init(bytes)) {
        state.SkipWithError("allocation failed");
        return;
    }
    // Touch both buffers.
    for (int i = 0; i < 2; ++i) {
        buffer.put(frame.data(), bytes, 0);
        buffer.swap();
    }
    for (auto _ : state) {
        buffer.put(frame.data(), bytes, 0);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
}

void Memcpy(benchmark::State& state) {
    int const bytes = static_cast<int>(state.range(0));
    std::vector<char> const frame = sourceFrame(bytes);
    // Allocated as DoubleBuffer allocates its buffers.
    char* target = static_cast<char*>(std::calloc(static_cast<size_t>(bytes), 1));
    if (!target) {
        state.SkipWithError("allocation failed");
        return;
    }
    std::memcpy(target, frame.data(), static_cast<size_t>(bytes));
    for (auto _ : state) {
        std::memcpy(target, frame.data(), static_cast<size_t>(bytes));
        benchmark::DoNotOptimize(target);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    std::free(target);
}

} // namespace

BENCHMARK(DoubleBufferPut)->Arg(FRAME_8)->Arg(FRAME_16)->Unit(benchmark::kMillisecond);
BENCHMARK(Memcpy)->Arg(FRAME_8)->Arg(FRAME_16)->Unit(benchmark::kMillisecond);
