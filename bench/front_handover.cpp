// What an application's camera thread pays to hand an image to the display: DisplayVideo copies
// pixels and record into the double buffer and posts one event. Beside it, a plain memcpy of
// the same bytes. Compare the lines of one run, not absolute times.

#include "image/ColorModelDescription.h"
#include "image/QTDImageHelpers.h"

#include <brx/BrxDisplay.h>

#include <QCoreApplication>
#include <QWidget>
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

constexpr int Width = 4096;
constexpr int Height = 3000;

using Image = QTDImageHelpers::ImagePtr;

void handOver(benchmark::State& state) {
    QWidget host;
    host.resize(320, 240);
    BrxDisplay* display = BrxDisplay_CreateComponent();
    Image image(QTDImageHelpers::imageCreateImage(nullptr, Width, Height, QTD::PixelType::Mono8));
    std::memset(image->imageData, 77, image->imageSize);
    if (BrxDisplay_Initialize(display, &host, "cpu", image.get()) != 0) {
        state.SkipWithError("display set-up failed");
        BrxDisplay_DeleteComponent(display);
        return;
    }
    int queued = 0;
    for (auto _ : state) {
        if (BrxDisplay_DisplayVideo(display, image.get()) != 0) {
            state.SkipWithError("hand-over refused");
            break;
        }
        // Nobody takes the images here: drop the queued checks now and then, untimed.
        if (++queued == 64) {
            state.PauseTiming();
            QCoreApplication::removePostedEvents(nullptr);
            queued = 0;
            state.ResumeTiming();
        }
    }
    QCoreApplication::removePostedEvents(nullptr);
    state.SetBytesProcessed(int64_t(state.iterations()) * image->imageSize);
    BrxDisplay_DeleteComponent(display);
}

void plainCopy(benchmark::State& state) {
    std::vector<char> source(size_t(Width) * Height, 77);
    std::vector<char> target(source.size() + 96);
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), source.size());
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(source.size()));
}

} // namespace

BENCHMARK(handOver)->Unit(benchmark::kMicrosecond);
BENCHMARK(plainCopy)->Unit(benchmark::kMicrosecond);
