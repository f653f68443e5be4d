// One pass of the CPU chain with the viewer's display stage, against the same job written
// directly with OpenCV. Compare the lines of one run, not absolute times.

#include "ChainBench.h"

#include "image/BrxImageUnpack.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstring>

using namespace QTD::Procs;
using namespace ChainBench;

namespace {

Image makeInput(uint32_t type) {
    Image image(QTDImageHelpers::imageCreateImage(nullptr, Width, Height, type));
    const uint32_t levels = 1u << image->bitsPerChannel;
    if (image->bitsPerChannel == 8) {
        auto* p = static_cast<uint8_t*>(image->imageData);
        for (uint32_t i = 0; i < image->imageSize; ++i) {
            p[i] = uint8_t((i * 2654435761u) >> 24);
        }
    } else {
        auto* p = static_cast<uint16_t*>(image->imageData);
        for (uint32_t i = 0; i < image->imageSize / 2; ++i) {
            p[i] = uint16_t(((i * 2654435761u) >> 16) % levels);
        }
    }
    return image;
}

// The chain for `input` with "image.display" behind it; with `coloration`, also the viewer's
// disabled "image.coloration".
struct ColorationChain : DisplayChain {
    ColorationChain(BrxImage* input, bool coloration) : DisplayChain(input) {
        appendDisplay();
        if (coloration) {
            BrxImgProcessor* stage =
                BrxDisplayCPU::ExposureColoration::CreateComponent(chain.GetComponent());
            ok = ok && stage->Init(displayFormat.get(), nullptr) == 0;
            chain.AddProcessor("image.coloration", stage);
            stage->Enable(false);
        }
    }
};

void runChain(benchmark::State& state, uint32_t type, bool coloration) {
    Image input = makeInput(type);
    ColorationChain d(input.get(), coloration);
    if (runPasses(state, d, input.get())) {
        state.SetBytesProcessed(int64_t(state.iterations()) * input->imageSize);
    }
}

void BM_Chain_Mono12ToRGB8(benchmark::State& state) {
    runChain(state, PixelType::Mono12, false);
}
void BM_Chain_Mono12ToRGB8_WithColoration(benchmark::State& state) {
    runChain(state, PixelType::Mono12, true);
}
void BM_Chain_Mono8ToRGB8(benchmark::State& state) {
    runChain(state, PixelType::Mono8, false);
}
void BM_Chain_RGB8ToRGB8(benchmark::State& state) {
    runChain(state, PixelType::RGB8, false);
}

void BM_Chain_BayerRG8ToRGB8(benchmark::State& state) {
    runChain(state, PixelType::BayerRG8, false);
}
void BM_Chain_BayerRG12pToRGB8(benchmark::State& state) {
    runChain(state, PixelType::BayerRG12p, false);
}

// The same jobs written directly with OpenCV.
void BM_OpenCV_BayerRG8ToRGB8(benchmark::State& state) {
    Image input = makeInput(PixelType::BayerRG8);
    cvtColorBayerRG8(state, input.get());
    state.SetBytesProcessed(int64_t(state.iterations()) * input->imageSize);
}
// Unpacking (the library's own routine, as OpenCV has none), demosaicing and narrowing.
void BM_OpenCV_BayerRG12pToRGB8(benchmark::State& state) {
    Image input = makeInput(PixelType::BayerRG12p);
    Image plain(QTDImageHelpers::imageCreateImage(nullptr, Width, Height, PixelType::BayerRG12));
    cv::Mat mosaic(Height, Width, CV_16UC1, plain->imageData, plain->stride);
    cv::Mat rgb16(Height, Width, CV_16UC3), rgb(Height, Width, CV_8UC3);
    for (auto _ : state) {
        BrxImageUnpack::Unpack(input.get(), plain.get());
        cv::cvtColor(mosaic, rgb16, cv::COLOR_BayerBG2RGB);
        rgb16.convertTo(rgb, CV_8U, 1.0 / 16.0);
        benchmark::DoNotOptimize(rgb.data);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * input->imageSize);
}
void BM_OpenCV_Mono12ToRGB8(benchmark::State& state) {
    Image input = makeInput(PixelType::Mono12);
    cv::Mat source(Height, Width, CV_16UC1, input->imageData, input->stride);
    cv::Mat narrow(Height, Width, CV_8UC1), rgb(Height, Width, CV_8UC3);
    for (auto _ : state) {
        source.convertTo(narrow, CV_8U, 1.0 / 16.0);
        cv::cvtColor(narrow, rgb, cv::COLOR_GRAY2RGB);
        benchmark::DoNotOptimize(rgb.data);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * input->imageSize);
}
void BM_OpenCV_Mono8ToRGB8(benchmark::State& state) {
    Image input = makeInput(PixelType::Mono8);
    cv::Mat source(Height, Width, CV_8UC1, input->imageData, input->stride);
    cv::Mat copy(Height, Width, CV_8UC1), rgb(Height, Width, CV_8UC3);
    for (auto _ : state) {
        source.copyTo(copy);
        cv::cvtColor(copy, rgb, cv::COLOR_GRAY2RGB);
        benchmark::DoNotOptimize(rgb.data);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * input->imageSize);
}
void BM_OpenCV_RGB8ToRGB8(benchmark::State& state) {
    Image input = makeInput(PixelType::RGB8);
    cv::Mat source(Height, Width, CV_8UC3, input->imageData, input->stride);
    cv::Mat copy(Height, Width, CV_8UC3), rgb(Height, Width, CV_8UC3);
    for (auto _ : state) {
        source.copyTo(copy);
        copy.copyTo(rgb);
        benchmark::DoNotOptimize(rgb.data);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * input->imageSize);
}

// The viewer's display stage alone: deep mono to RGB8 in one pass.
void BM_DisplayStage_Mono12ToRGB8(benchmark::State& state) {
    Image input = makeInput(PixelType::Mono12);
    Image format(QTDImageHelpers::imageCreateFormat(nullptr, Width, Height, PixelType::RGB8));
    BrxImgProcessor* stage = BrxDisplayCPU::Image::CreateComponent(nullptr);
    stage->Init(input.get(), format.get());
    for (auto _ : state) {
        stage->ProcessImage(input.get(), nullptr, nullptr);
        benchmark::DoNotOptimize(stage->Output());
    }
    stage->Release();
    BrxDisplayCPU::Image::DeleteComponent(stage);
    state.SetBytesProcessed(int64_t(state.iterations()) * input->imageSize);
}

// A disabled stage with an image of its set-up's size hands the input on: no copy at all.
void BM_DisabledStage_PassThrough(benchmark::State& state) {
    Image input = makeInput(PixelType::Mono12);
    BrxImgProcessor* stage = BrxDisplayCPU::Image::CreateComponent(nullptr);
    stage->Init(input.get(), nullptr);
    stage->Enable(false);
    for (auto _ : state) {
        stage->ProcessImage(input.get(), nullptr, nullptr);
        benchmark::DoNotOptimize(stage->Output());
    }
    if (stage->Output() != input.get()) {
        state.SkipWithError("the disabled stage copied");
    }
    stage->Release();
    BrxDisplayCPU::Image::DeleteComponent(stage);
}
void BM_Memcpy_Mono12(benchmark::State& state) {
    Image input = makeInput(PixelType::Mono12);
    Image copy(QTDImageHelpers::imageCreateImage(nullptr, Width, Height, PixelType::Mono12));
    for (auto _ : state) {
        std::memcpy(copy->imageData, input->imageData, input->imageSize);
        benchmark::DoNotOptimize(copy->imageData);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * input->imageSize);
}

} // namespace

BENCHMARK(BM_OpenCV_BayerRG8ToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Chain_BayerRG8ToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OpenCV_BayerRG12pToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Chain_BayerRG12pToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OpenCV_Mono12ToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Chain_Mono12ToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Chain_Mono12ToRGB8_WithColoration)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OpenCV_Mono8ToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Chain_Mono8ToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OpenCV_RGB8ToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Chain_RGB8ToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DisplayStage_Mono12ToRGB8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Memcpy_Mono12)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_DisabledStage_PassThrough)->UseRealTime();
