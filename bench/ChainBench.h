#pragma once

// What the chain benchmarks share: a CPU chain with the viewer's display stage behind it, and
// the timed loop of passes.

#include "chain/QTDProcessor.h"
#include "image/QTDImageHelpers.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

namespace ChainBench {

constexpr int Width = 4096;
constexpr int Height = 3000;

using Image = QTDImageHelpers::ImagePtr;

// The chain set up for `input`; appendDisplay puts "image.display" (RGB8) behind it, as the
// viewer appends it.
struct DisplayChain {
    explicit DisplayChain(BrxImage* input) : chain(nullptr, false) {
        ok = chain.Init(input, nullptr) == 0;
    }

    void appendDisplay() {
        const BrxImage* processed = chain.Format(false);
        processedFormat.reset(
            QTDImageHelpers::imageCreateFormat(nullptr, Width, Height, processed->pixelType));
        displayFormat.reset(
            QTDImageHelpers::imageCreateFormat(nullptr, Width, Height, QTD::PixelType::RGB8));
        BrxImgProcessor* display = BrxDisplayCPU::Image::CreateComponent(chain.GetComponent());
        // As the viewer sets it up: a frame that needs no conversion is shared, not copied.
        display->GetComponent()->SetParamInt("share.input", 1);
        ok = ok && display->Init(processedFormat.get(), displayFormat.get()) == 0;
        chain.AddProcessor("image.display", display);
    }

    QTDProcessor chain;
    Image processedFormat;
    Image displayFormat;
    bool ok = false;
};

// Passes of the chain over `input` for as long as the state runs; false, with the state marked,
// if the chain was not set up.
inline bool runPasses(benchmark::State& state, DisplayChain& d, BrxImage* input) {
    if (!d.ok) {
        state.SkipWithError("chain set-up failed");
        return false;
    }
    for (auto _ : state) {
        if (d.chain.ProcessImage(input, nullptr, nullptr) != 0) {
            state.SkipWithError("pass failed");
            break;
        }
        benchmark::DoNotOptimize(d.chain.Output());
    }
    return true;
}

// The baseline of the Bayer benchmarks: OpenCV demosaicing an 8-bit RG mosaic, which OpenCV
// names BG, as long as the state runs.
inline void cvtColorBayerRG8(benchmark::State& state, BrxImage* input) {
    cv::Mat source(Height, Width, CV_8UC1, input->imageData, input->stride);
    cv::Mat rgb(Height, Width, CV_8UC3);
    for (auto _ : state) {
        cv::cvtColor(source, rgb, cv::COLOR_BayerBG2RGB);
        benchmark::DoNotOptimize(rgb.data);
    }
}

} // namespace ChainBench
