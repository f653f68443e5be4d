// Frames per second through the whole CPU display: a camera thread offers two pre-filled
// frames in turn as fast as ProcessImage takes them, while this thread runs the event loop that
// runs the chain and paints the window. Each case runs for BRX_FPS_SECONDS (10 by default) in a
// single iteration and reports rates as counters:
//   offered/s    frames handed to ProcessImage
//   processed/s  frames through the chain
//   shown/s      frames painted by the display's window (update requests on an exposed window)
//   dropped      1 - processed / offered: frames overwritten in the double buffer
//   memcpy/s     plain copies of one frame's bytes per second, on this machine in this run
//   vs_memcpy    processed/s against memcpy/s
//   chain_ms     the chain's own "time" of its last pass
//   handover_vs_memcpy  the camera thread's time in ProcessImage against a memcpy of the same
//                frame that the camera thread makes beside each call, under the same load
// The fourth argument is the rate offered, in frames a second; 0 offers flat out. The fifth, 1,
// asks for the statistics of the frame five times a second meanwhile, as a histogram panel does.
// The third argument picks the backend: 0 CPU, 1 OpenGL. OpenGL needs an X server (run under
// xvfb-run with QT_QPA_PLATFORM=xcb); without one its cases are skipped.

#include "chain/QTDProcessor.h"
#include "chain/QTDProcs.h"
#include "front/QTDDisplay.h"
#include "image/ColorModelDescription.h"
#include "image/QTDImageHelpers.h"
#include "window/QTDWindow.h"

#include <QCoreApplication>
#include <QEvent>
#include <QTimer>
#include <QWidget>
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Image = QTDImageHelpers::ImagePtr;

double seconds() {
    const char* text = std::getenv("BRX_FPS_SECONDS");
    const double value = text != nullptr ? std::atof(text) : 0.0;
    return value > 0.0 ? value : 10.0;
}

double since(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

// Counts the frames the window really paints: it renders on each update request while exposed.
class PaintCounter : public QObject {
public:
    bool eventFilter(QObject* watched, QEvent* event) override {
        auto* window = static_cast<QWindow*>(watched);
        if (event->type() == QEvent::UpdateRequest && window->isExposed()) {
            ++painted;
        }
        return false;
    }
    std::atomic<long> painted{0};
};

Image frame(int width, int height, uint32_t type, unsigned seed) {
    Image image(QTDImageHelpers::imageCreateImage(nullptr, width, height, type));
    if (QTD::Procs::isIn(QTD::Procs::PACKED_INDEX, type)) {
        // Packed rows: any bytes are samples.
        auto* bytes = static_cast<uint8_t*>(image->imageData);
        for (uint32_t i = 0; i < image->imageSize; ++i) {
            bytes[i] = uint8_t(i * 7 + seed * 101);
        }
        image->imageID = seed;
        return image;
    }
    const bool wide = image->bitsPerChannel > 8;
    for (uint32_t y = 0; y < image->height; ++y) {
        auto* row = static_cast<uint8_t*>(image->imageData) + size_t(y) * image->stride;
        for (uint32_t x = 0; x < image->width; ++x) {
            const unsigned v = (x * 3 + y * 5 + seed * 101) & 0xFFF;
            if (wide) {
                const uint16_t sample = uint16_t(v);
                std::memcpy(row + 2 * x, &sample, 2);
            } else {
                row[x] = uint8_t(v);
            }
        }
    }
    image->imageID = seed;
    return image;
}

// Copies of one frame's bytes per second, for the same length of time as the display ran, at
// most one second.
double memcpyRate(size_t bytes, double duration) {
    std::vector<char> source(bytes, 77);
    std::vector<char> target(bytes + 96);
    const double limit = duration < 1.0 ? duration : 1.0;
    long copies = 0;
    const auto start = Clock::now();
    do {
        std::memcpy(target.data(), source.data(), bytes);
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
        ++copies;
    } while (since(start) < limit);
    return double(copies) / since(start);
}

void displayFps(benchmark::State& state, uint32_t type) {
    const int width = int(state.range(0));
    const int height = int(state.range(1));
    const bool opengl = state.range(2) != 0;
    const double rate = double(state.range(3));
    const bool measuring = state.range(4) != 0;
    const double duration = seconds();
    QWidget host;
    host.resize(1280, 960);
    host.show();
    QTDDisplay display(&host, opengl);
    Image frames[2] = {frame(width, height, type, 1), frame(width, height, type, 2)};
    if (display.Init(frames[0].get()) != 0 || display.getWindow() == nullptr) {
        state.SkipWithError("display set-up failed");
        return;
    }
    PaintCounter counter;
    display.getWindow()->installEventFilter(&counter);
    // Let the window be exposed and laid out before counting.
    const auto settle = Clock::now();
    while (since(settle) < 0.3) {
        QCoreApplication::processEvents();
    }

    QTimer histogram;
    QObject::connect(&histogram, &QTimer::timeout, [&] {
        std::map<std::string, std::string> params{{"bins", "128"}};
        display.RunCommandParams("cmd.image.statistics", &params);
    });
    if (measuring) {
        histogram.start(200);
    }
    for (auto _ : state) {
        std::atomic<bool> stop{false};
        std::atomic<long> offered{0};
        std::atomic<long> refused{0};
        const long processedBefore = long(display.processedCounter.frames.load());
        const long paintedBefore = counter.painted.load();
        const auto start = Clock::now();
        std::atomic<double> handOverSeconds{0.0}, copySeconds{0.0};
        std::thread camera([&] {
            double spent = 0.0, copying = 0.0;
            // The baseline under the same load: a plain copy of each frame beside its hand-over,
            // into three buffers in turn as the hand-over's own, so that neither finds its
            // target warmer in the cache.
            const size_t bytes = frames[0]->imageSize;
            std::vector<char> scratch(3 * bytes);
            auto next = Clock::now();
            for (unsigned n = 0; !stop.load(std::memory_order_relaxed); ++n) {
                if (rate > 0) {
                    next += std::chrono::duration_cast<Clock::duration>(
                        std::chrono::duration<double>(1.0 / rate));
                    std::this_thread::sleep_until(next);
                }
                const auto call = Clock::now();
                if (display.ProcessImage(frames[n & 1].get()) != 0) {
                    ++refused;
                }
                spent += since(call);
                const auto copy = Clock::now();
                char* target = scratch.data() + (n % 3) * bytes;
                std::memcpy(target, frames[n & 1]->imageData, bytes);
                benchmark::DoNotOptimize(target);
                copying += since(copy);
                ++offered;
            }
            handOverSeconds = spent;
            copySeconds = copying;
        });
        while (since(start) < duration) {
            QCoreApplication::processEvents();
        }
        stop = true;
        camera.join();
        const double elapsed = since(start);
        // What was offered last may still be on its way: take it, uncounted.
        const auto drain = Clock::now();
        while (since(drain) < 0.1) {
            QCoreApplication::processEvents();
        }
        const double processed =
            double(long(display.processedCounter.frames.load()) - processedBefore);
        const double shown = double(counter.painted.load() - paintedBefore);
        state.SetIterationTime(elapsed);
        if (refused.load() != 0) {
            state.SkipWithError("frames refused");
        }
        const double offeredRate = double(offered.load()) / elapsed;
        const double processedRate = processed / elapsed;
        const double copies = memcpyRate(frames[0]->imageSize, duration);
        state.counters["offered/s"] = offeredRate;
        state.counters["processed/s"] = processedRate;
        state.counters["shown/s"] = shown / elapsed;
        state.counters["dropped"] = offeredRate > 0.0 ? 1.0 - processedRate / offeredRate : 0.0;
        state.counters["memcpy/s"] = copies;
        state.counters["vs_memcpy"] = copies > 0.0 ? processedRate / copies : 0.0;
        state.counters["handover_vs_memcpy"] =
            copySeconds > 0.0 ? handOverSeconds / copySeconds : 0.0;
        state.counters["chain_ms"] =
            display.chain != nullptr ? display.chain->properties.getAs<double>("time", "0", true)
                                     : 0.0;
    }
    display.getWindow()->removeEventFilter(&counter);
}

// Each case once, timed by the display's own clock: width, height, backend, rate offered,
// statistics asked meanwhile.
using Case = std::vector<int64_t>;
const bool registered = [] {
    const struct {
        const char* name;
        uint32_t type;
        std::vector<Case> cases;
    } formats[] = {
        {"bayerRG12p",
         QTD::PixelType::BayerRG12p,
         {{4096, 3000, 0, 30, 0}, {4096, 3000, 0, 0, 0}, {4096, 3000, 1, 0, 0}}},
        {"bayerRG8", QTD::PixelType::BayerRG8, {{4096, 3000, 0, 30, 0}, {4096, 3000, 0, 0, 0}}},
        {"mono8",
         QTD::PixelType::Mono8,
         {{1920, 1200, 0, 0, 0}, {4096, 3000, 0, 30, 0}, {4096, 3000, 0, 0, 0}}},
        {"mono12",
         QTD::PixelType::Mono12,
         {{4096, 3000, 0, 30, 1},
          {1920, 1200, 0, 0, 0},
          {1920, 1200, 1, 0, 0},
          {4096, 3000, 0, 30, 0},
          {4096, 3000, 0, 0, 0},
          {4096, 3000, 1, 0, 0}}},
    };
    for (const auto& format : formats) {
        const uint32_t type = format.type;
        auto* bench = benchmark::RegisterBenchmark(
            format.name, [type](benchmark::State& state) { displayFps(state, type); });
        for (const Case& args : format.cases) {
            bench->Args(args);
        }
        bench->Iterations(1)->UseManualTime()->Unit(benchmark::kSecond);
    }
    return true;
}();

} // namespace
