// Unpacking of a 4096 x 3000 frame, reported as output bytes per second beside memcpy of the
// same output size.

#include "image/BrxImageUnpack.h"
#include "image/QTDImageHelpers.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr int kWidth = 4096, kHeight = 3000;

struct Frame {
    std::vector<uint8_t> packed;
    BrxImage source{};
    BrxImage target{};
    Frame(unsigned packedType, unsigned outputType, size_t packedBytes) : packed(packedBytes) {
        std::mt19937 rng(1);
        for (auto& b : packed)
            b = uint8_t(rng());
        QTDImageHelpers::imageCreateFormat(&source, kWidth, kHeight, packedType);
        source.imageData = packed.data();
        source.imageSize = uint32_t(packed.size());
        QTDImageHelpers::imageCreateImage(&target, kWidth, kHeight, outputType);
    }
    ~Frame() { QTDImageHelpers::imageFreeData(&target); }
};

void run(benchmark::State& state, unsigned packedType, unsigned outputType, size_t packedBytes) {
    Frame frame(packedType, outputType, packedBytes);
    for (auto _ : state) {
        if (!BrxImageUnpack::Unpack(&frame.source, &frame.target))
            state.SkipWithError("Unpack failed");
        benchmark::DoNotOptimize(frame.target.imageData);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * frame.target.imageSize);
}

void BM_Unpack_Mono12p_to16(benchmark::State& state) {
    run(state, 0x010C2307, 0x01100306, size_t(kWidth) * kHeight * 3 / 2);
}

void BM_Unpack_Mono10p_to16(benchmark::State& state) {
    run(state, 0x010A2203, 0x01100202, size_t(kWidth) * kHeight * 5 / 4);
}

void BM_Unpack_Mono12Packed_to16(benchmark::State& state) {
    run(state, 0x010C1308, 0x01100306, size_t(kWidth) * kHeight * 3 / 2);
}

void BM_Unpack_Mono12p_to8(benchmark::State& state) {
    run(state, 0x010C2307, 0x01080101, size_t(kWidth) * kHeight * 3 / 2);
}

void BM_Memcpy_Output16(benchmark::State& state) {
    const size_t bytes = size_t(kWidth) * kHeight * 2;
    std::vector<uint8_t> from(bytes, 1), to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(bytes));
}

} // namespace

BENCHMARK(BM_Memcpy_Output16)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Unpack_Mono12p_to16)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Unpack_Mono10p_to16)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Unpack_Mono12Packed_to16)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Unpack_Mono12p_to8)->Unit(benchmark::kMillisecond)->UseRealTime();
