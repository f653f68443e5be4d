// Burning one line of overlay text into an image in memory: the glyph-strip blend of
// MEMSurfaceText beside Qt's own text rendering into a QImage of the same size.

#include "cpu/MEMSurfaceTypes.h"

#include <QFont>
#include <QImage>
#include <QPainter>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

namespace {

char const* const LINE = "frame 000123  exposure 12.5 ms  gain 3.0 dB";

void BM_MemSurfaceTextMono8(benchmark::State& state) {
    std::vector<uint8_t> pixels(640 * 480, 40);
    BrxImage image{};
    image.pixelType = 0x01080101;
    image.bitsPerChannel = 8;
    image.channels = 1;
    image.width = 640;
    image.height = 480;
    image.stride = 640;
    image.imageSize = 640 * 480;
    image.imageData = pixels.data();
    MEMSurface surface;
    surface.init(nullptr);
    QTD::PROPERTIES bag;
    bag.set("image", QTD::ATTR(static_cast<void*>(&image)), true);
    QTD::RgbColor color(255, 255, 255, 0, 256);
    color.setOpc(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        surface.begin(&bag);
        surface.text(LINE, 10, 20, "default", &color);
        surface.end();
        benchmark::DoNotOptimize(pixels.data());
    }
}
BENCHMARK(BM_MemSurfaceTextMono8)->Arg(0)->Arg(1);

void BM_QPainterTextGrayscale8(benchmark::State& state) {
    QImage image(640, 480, QImage::Format_Grayscale8);
    image.fill(40);
    QFont font("Cambria", 11, 50, false);
    for (auto _ : state) {
        QPainter painter(&image);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(10, 20, LINE);
        painter.end();
        benchmark::DoNotOptimize(image.constBits());
    }
}
BENCHMARK(BM_QPainterTextGrayscale8);

void BM_MemSurfaceInit(benchmark::State& state) {
    for (auto _ : state) {
        MEMSurface surface;
        surface.init(nullptr);
        benchmark::DoNotOptimize(surface.textObject());
    }
}
BENCHMARK(BM_MemSurfaceInit)->Unit(benchmark::kMillisecond);

} // namespace
