// Uploading a frame from main memory into a texture, the first step of every GPU chain, beside
// a memcpy of the same bytes measured in the same run:
//   vs_memcpy   upload time / memcpy time (1.0: as fast as copying the frame once)
// Needs an X server (run under xvfb-run with QT_QPA_PLATFORM=xcb); without one it is skipped.

#include "gpu/QGLSurface.h"
#include "gpu/QGLTexture.h"
#include "image/ColorModelDescription.h"
#include "image/QTDImageHelpers.h"

#include <QGuiApplication>
#include <QWindow>
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Seconds per memcpy of `bytes`, over a quarter of a second.
double memcpySeconds(size_t bytes) {
    std::vector<char> source(bytes, 7), target(bytes);
    long copies = 0;
    const auto start = Clock::now();
    std::chrono::duration<double> spent{};
    do {
        std::memcpy(target.data(), source.data(), bytes);
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
        ++copies;
        spent = Clock::now() - start;
    } while (spent.count() < 0.25);
    return spent.count() / double(copies);
}

void upload(benchmark::State& state, uint32_t type) {
    QWindow window;
    window.setSurfaceType(QSurface::OpenGLSurface);
    window.resize(64, 64);
    window.show();
    QGuiApplication::processEvents();
    QGLSurface surface;
    QTD::PROPERTIES props;
    props.set("window", QTD::ATTR(static_cast<void*>(&window)), true);
    if (!surface.init(&props) || !surface.begin(nullptr)) {
        state.SkipWithError("no OpenGL context (run under xvfb-run with QT_QPA_PLATFORM=xcb)");
        return;
    }
    QTDImageHelpers::ImagePtr image(
        QTDImageHelpers::imageCreateImage(nullptr, int(state.range(0)), int(state.range(1)), type));
    std::memset(image->imageData, 0x35, image->imageSize);
    QTD::PROPERTIES bag;
    bag.set("surface", QTD::ATTR(static_cast<void*>(&surface)), true);
    QGLTexture texture(&surface);
    if (!texture.init(image.get(), &bag)) {
        state.SkipWithError("texture set-up failed");
        surface.end();
        return;
    }
    const double copy = memcpySeconds(image->imageSize);
    double spent = 0.0;
    for (auto _ : state) {
        const auto start = Clock::now();
        texture.fill(image.get());
        // Until the driver has the pixels, not only the call.
        surface.glFinish();
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        state.SetIterationTime(seconds);
        spent += seconds;
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(image->imageSize));
    state.counters["memcpy_ms"] = copy * 1e3;
    state.counters["vs_memcpy"] =
        state.iterations() > 0 ? spent / double(state.iterations()) / copy : 0.0;
    texture.shut();
    surface.end();
    surface.shut();
}

void mono12(benchmark::State& state) {
    upload(state, QTD::PixelType::Mono12);
}

void mono8(benchmark::State& state) {
    upload(state, QTD::PixelType::Mono8);
}

} // namespace

BENCHMARK(mono12)
    ->Args({1920, 1200})
    ->Args({4096, 3000})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(mono8)->Args({4096, 3000})->UseManualTime()->Unit(benchmark::kMillisecond);
