// One pass of the CPU chain for a mosaic, BayerRG8 and BayerRG12p, to the viewer's RGB8 display
// image, beside the same job written with OpenCV's bilinear cvtColor (and, for 12p, a plain
// unpacking loop). Compare the lines of one run, not absolute times.

#include "ChainBench.h"

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cstring>
#include <vector>

using namespace QTD::Procs;
using namespace ChainBench;

namespace {

// A frame of pseudo-random bytes: for 12p every byte of the stream is a valid sample part.
Image makeInput(uint32_t type) {
    Image image(QTDImageHelpers::imageCreateImage(nullptr, Width, Height, type));
    auto* p = static_cast<uint8_t*>(image->imageData);
    for (uint32_t i = 0; i < image->imageSize; ++i) {
        p[i] = uint8_t((i * 2654435761u) >> 24);
    }
    return image;
}

// The chain with "image.display" behind it. `algorithm` >= 0 sets up the Bayer stage again with
// that "BayerAlgType".
struct BayerChain : DisplayChain {
    BayerChain(BrxImage* input, int algorithm) : DisplayChain(input) {
        BrxImgProcessor* bayer = chain.GetProcessor("bayer");
        ok = ok && bayer != nullptr;
        if (ok && algorithm >= 0) {
            Image mosaic(QTDImageHelpers::imageCopyFormat(nullptr, bayer->Format(true)));
            mosaic->userData = nullptr;
            bayer->GetComponent()->SetParamInt("BayerAlgType", algorithm);
            ok = bayer->Init(mosaic.get(), nullptr) == 0;
        }
        appendDisplay();
    }
};

void runChain(benchmark::State& state, uint32_t type, int algorithm) {
    Image input = makeInput(type);
    BayerChain d(input.get(), algorithm);
    if (runPasses(state, d, input.get())) {
        state.SetItemsProcessed(int64_t(state.iterations()) * Width * Height);
    }
}

void BM_Chain_BayerRG8(benchmark::State& state) {
    runChain(state, PixelType::BayerRG8, int(state.range(0)));
}
void BM_Chain_BayerRG12p(benchmark::State& state) {
    runChain(state, PixelType::BayerRG12p, int(state.range(0)));
}

// The Bayer stage alone, to tell its share of the pass from that of the copies around it.
void BM_Stage_BayerRG8(benchmark::State& state) {
    Image input = makeInput(PixelType::BayerRG8);
    BrxImgProcessor* stage = BrxDisplayCPU::Bayer::CreateComponent(nullptr);
    stage->GetComponent()->SetParamInt("BayerAlgType", state.range(0));
    if (stage->Init(input.get(), nullptr) != 0) {
        state.SkipWithError("set-up failed");
    }
    for (auto _ : state) {
        stage->ProcessImage(input.get(), nullptr, nullptr);
        benchmark::DoNotOptimize(stage->Output());
    }
    stage->Release();
    BrxDisplayCPU::Bayer::DeleteComponent(stage);
    state.SetItemsProcessed(int64_t(state.iterations()) * Width * Height);
}

void BM_OpenCV_BayerRG8(benchmark::State& state) {
    Image input = makeInput(PixelType::BayerRG8);
    cvtColorBayerRG8(state, input.get());
    state.SetItemsProcessed(int64_t(state.iterations()) * Width * Height);
}

// Two 12-bit samples in three bytes, least significant bits first.
void unpack12p(const uint8_t* in, uint16_t* out, size_t pixels) {
    for (size_t i = 0; i + 1 < pixels; i += 2, in += 3) {
        out[i] = uint16_t(in[0] | (in[1] & 0x0F) << 8);
        out[i + 1] = uint16_t(in[1] >> 4 | in[2] << 4);
    }
}

void BM_OpenCV_BayerRG12p(benchmark::State& state) {
    Image input = makeInput(PixelType::BayerRG12p);
    cv::Mat mosaic(Height, Width, CV_16UC1), rgb16(Height, Width, CV_16UC3),
        rgb(Height, Width, CV_8UC3);
    for (auto _ : state) {
        unpack12p(static_cast<const uint8_t*>(input->imageData),
                  reinterpret_cast<uint16_t*>(mosaic.data), size_t(Width) * Height);
        cv::cvtColor(mosaic, rgb16, cv::COLOR_BayerBG2RGB);
        rgb16.convertTo(rgb, CV_8U, 1.0 / 16.0);
        benchmark::DoNotOptimize(rgb.data);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * Width * Height);
}

} // namespace

// The argument is the chain's "BayerAlgType": 0 its default, 1 bilinear like OpenCV's.
BENCHMARK(BM_OpenCV_BayerRG8)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Chain_BayerRG8)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Stage_BayerRG8)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_OpenCV_BayerRG12p)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_Chain_BayerRG12p)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
