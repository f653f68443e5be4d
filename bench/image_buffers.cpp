// Whole-frame buffer operations on 4096 x 3000 images beside their baselines: memcpy of the same
// bytes for shifting and copying, OpenCV's cv::LUT for the table lookup.

#include "image/LookupTable.h"
#include "image/QTDImageHelpers.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>

#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr int kWidth = 4096, kHeight = 3000;
constexpr unsigned kMono12 = 0x01100306, kRGB8 = 0x02180171;

struct Image {
    BrxImage record{};
    Image(unsigned type, int extraStride = 0) {
        QTDImageHelpers::imageCreateFormat(&record, kWidth, kHeight, type);
        record.stride += extraStride;
        record.imageSize = record.stride * record.height;
        record.allocatedData = record.imageData = std::malloc(record.imageSize);
        std::mt19937 rng(3);
        auto* p = static_cast<uint8_t*>(record.imageData);
        for (uint32_t i = 0; i < record.imageSize; ++i)
            p[i] = uint8_t(rng());
    }
    ~Image() { QTDImageHelpers::imageFreeData(&record); }
};

void BM_Memcpy_Mono16Frame(benchmark::State& state) {
    Image a(kMono12), b(kMono12);
    for (auto _ : state) {
        std::memcpy(b.record.imageData, a.record.imageData, a.record.imageSize);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * a.record.imageSize);
}

void BM_DataShift16b_InPlace(benchmark::State& state) {
    Image a(kMono12);
    for (auto _ : state) {
        QTDImageHelpers::dataShift16b(&a.record, nullptr, 4);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * a.record.imageSize);
}

void BM_DataShift16b_ToTarget(benchmark::State& state) {
    Image a(kMono12), b(kMono12);
    b.record.bitsPerChannel = 16;
    for (auto _ : state) {
        QTDImageHelpers::dataShift16b(&a.record, &b.record, 0);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * a.record.imageSize);
}

void BM_DataCopy16b_DifferentStrides(benchmark::State& state) {
    Image a(kMono12), b(kMono12, 64);
    for (auto _ : state) {
        QTDImageHelpers::dataCopy16b(&a.record, &b.record);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * a.record.imageSize);
}

void BM_Memcpy_Rgb8Frame(benchmark::State& state) {
    Image a(kRGB8), b(kRGB8);
    for (auto _ : state) {
        std::memcpy(b.record.imageData, a.record.imageData, a.record.imageSize);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * a.record.imageSize);
}

QTD::LookupTable& rgbTable() {
    static QTD::LookupTable table(256, 3);
    table.gain[0] = 1.2, table.gain[1] = 0.9, table.gamma = 0.8;
    table.calc();
    return table;
}

void BM_DataApplyLUT_Rgb8(benchmark::State& state) {
    Image a(kRGB8);
    QTD::LookupTable& table = rgbTable();
    for (auto _ : state) {
        QTDImageHelpers::dataApplyLUT(&a.record, &table);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * a.record.imageSize);
}

void BM_OpenCV_LUT_Rgb8(benchmark::State& state) {
    Image a(kRGB8);
    QTD::LookupTable& table = rgbTable();
    cv::Mat lut(1, 256, CV_8UC3);
    for (int i = 0; i < 256; ++i)
        for (int c = 0; c < 3; ++c)
            lut.ptr<uint8_t>()[i * 3 + c] = uint8_t(table.values[c][i]);
    cv::Mat image(kHeight, kWidth, CV_8UC3, a.record.imageData, a.record.stride);
    for (auto _ : state) {
        cv::LUT(image, lut, image);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * a.record.imageSize);
}

} // namespace

BENCHMARK(BM_Memcpy_Mono16Frame)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DataShift16b_InPlace)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DataShift16b_ToTarget)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DataCopy16b_DifferentStrides)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Memcpy_Rgb8Frame)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DataApplyLUT_Rgb8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OpenCV_LUT_Rgb8)->Unit(benchmark::kMillisecond)->UseRealTime();
