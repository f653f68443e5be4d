// Painting one frame into a 1280 x 960 window at fit, as the CPU window does each frame: a
// 12-megapixel frame beside a 1-megapixel one. The time should follow the window, not the frame:
// compare the two lines of one run.

#include "cpu/CPUSurface.h"
#include "image/ColorModelDescription.h"
#include "image/QTDImageHelpers.h"

#include <QWindow>
#include <benchmark/benchmark.h>

#include <cstring>

namespace {

void paint(benchmark::State& state) {
    const int w = int(state.range(0)), h = int(state.range(1));
    QWindow window;
    window.resize(1280, 960);
    window.create();
    CPUSurface surface;
    QTD::PROPERTIES props;
    props.set("window", QTD::ATTR(static_cast<void*>(&window)), true);
    if (!surface.init(&props)) {
        state.SkipWithError("no surface");
        return;
    }
    QTDImageHelpers::ImagePtr frame(
        QTDImageHelpers::imageCreateImage(nullptr, w, h, QTD::PixelType::RGB8));
    std::memset(frame->imageData, 0x5A, frame->imageSize);
    // Fit: the whole frame into the window, its aspect kept.
    const double scale = std::min(1280.0 / w, 960.0 / h);
    QTD::TRECT<double> target{0, 0, w * scale, h * scale};
    QTD::TRECT<double> source{0, 0, double(w), double(h)};
    for (auto _ : state) {
        surface.begin(nullptr);
        surface.image(frame.get(), &target, &source);
        surface.end();
    }
    surface.shut();
}

} // namespace

BENCHMARK(paint)->Args({1024, 1000})->Args({4096, 3000})->Unit(benchmark::kMillisecond);
