// BrxBayer at 4096 x 3000 beside OpenCV's bilinear cvtColor, in the same run: each algorithm at
// 8 and 16 bits (12 significant), on one thread and on all cores. Items are pixels, so the
// rate column reads as pixels per second.

#include <brx/BrxBayer.h>

#include <benchmark/benchmark.h>
#include <opencv2/core.hpp>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr int WIDTH = 4096;
constexpr int HEIGHT = 3000;

// A mosaic with some structure, so that the edge tests of the algorithms take both ways.
cv::Mat testMosaic(bool deep) {
    cv::Mat m(HEIGHT, WIDTH, deep ? CV_16UC1 : CV_8UC1);
    uint32_t s = 12345;
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x) {
            s = s * 1664525u + 1013904223u;
            int const v = ((x / 7 + y / 5) & 63) * 3 + int(s >> 28);
            if (deep)
                m.at<uint16_t>(y, x) = uint16_t(v * 16);
            else
                m.at<uint8_t>(y, x) = uint8_t(v);
        }
    return m;
}

BrxImage record(cv::Mat const& m, uint32_t type) {
    BrxImage r;
    std::memset(&r, 0, sizeof r);
    r.size = sizeof(BrxImage);
    r.pixelType = type;
    r.width = uint32_t(m.cols);
    r.height = uint32_t(m.rows);
    r.stride = uint32_t(m.step);
    r.imageSize = r.stride * r.height;
    r.imageData = m.data;
    return r;
}

int threadsOf(benchmark::State const& state) {
    return state.range(2) == 0 ? 1 : int(std::thread::hardware_concurrency());
}

// range(0): algorithm, range(1): 1 for 16-bit words, range(2): 1 for all cores.
void BM_BrxBayer(benchmark::State& state) {
    bool const deep = state.range(1) != 0;
    cv::Mat const in = testMosaic(deep);
    cv::Mat out(HEIGHT, WIDTH, deep ? CV_16UC3 : CV_8UC3);
    BrxImage input = record(in, deep ? 0x03100316u : 0x0308010Eu);   // BayerRG12, BayerRG8
    BrxImage output = record(out, deep ? 0x02300377u : 0x02180171u); // RGB12, RGB8
    BrxBayer* bayer = BrxBayer::CreateComponent();
    bayer->GetComponent()->SetParamInt("BayerAlgType", long(state.range(0)));
    bayer->GetComponent()->SetParamInt("BayerThreads", threadsOf(state));
    if (bayer->Init(&input, &output) != 0)
        state.SkipWithError("Init failed");
    for (auto _ : state) {
        if (bayer->ProcessImage(&input, &output) != 0)
            state.SkipWithError("ProcessImage failed");
        benchmark::ClobberMemory();
    }
    bayer->Release();
    BrxBayer::DeleteComponent(bayer);
    state.SetItemsProcessed(state.iterations() * int64_t(WIDTH) * HEIGHT);
}

// The baseline: OpenCV's bilinear demosaicing of the same pattern (its BayerBG is a camera's
// BayerRG).
void BM_OpenCvBilinear(benchmark::State& state) {
    bool const deep = state.range(1) != 0;
    cv::Mat const in = testMosaic(deep);
    cv::Mat out(HEIGHT, WIDTH, deep ? CV_16UC3 : CV_8UC3);
    int const before = cv::getNumThreads();
    cv::setNumThreads(threadsOf(state));
    for (auto _ : state) {
        cv::cvtColor(in, out, cv::COLOR_BayerBG2RGB);
        benchmark::ClobberMemory();
    }
    cv::setNumThreads(before);
    state.SetItemsProcessed(state.iterations() * int64_t(WIDTH) * HEIGHT);
}

void arguments(benchmark::internal::Benchmark* b, std::vector<long> algorithms) {
    for (long cores : {0L, 1L})
        for (long deep : {0L, 1L})
            for (long alg : algorithms)
                b->Args({alg, deep, cores});
    b->ArgNames({"alg", "deep", "allcores"})->Unit(benchmark::kMillisecond)->UseRealTime();
}

} // namespace

BENCHMARK(BM_OpenCvBilinear)->Apply([](benchmark::internal::Benchmark* b) { arguments(b, {1}); });
BENCHMARK(BM_BrxBayer)->Apply([](benchmark::internal::Benchmark* b) { arguments(b, {1, 0, 2}); });
