#include "CameraSource.h"

#include "common/SyntheticScene.h"

#include <brx/BrxDisplayProcessor.h>

#include <chrono>
#include <cstdio>

CameraSource::~CameraSource() {
    stop();
}

void CameraSource::startSynthetic(BrxDisplayProcessor* display, const CameraFormat& format,
                                  int width, int height, double fps, uint64_t limit) {
    stop();
    stopRequested = false;
    active = true;
    worker =
        std::thread(&CameraSource::run, this, display, &format, width, height, nullptr, fps, limit);
}

void CameraSource::startFixed(BrxDisplayProcessor* display, std::shared_ptr<RawFrame> frame,
                              double fps, uint64_t limit) {
    stop();
    stopRequested = false;
    active = true;
    worker = std::thread(&CameraSource::run, this, display, frame->format(),
                         static_cast<int>(frame->width()), static_cast<int>(frame->height()), frame,
                         fps, limit);
}

void CameraSource::stop() {
    stopRequested = true;
    if (worker.joinable()) {
        worker.join();
    }
    active = false;
}

double CameraSource::makeMs() const {
    const uint64_t n = made.load();
    return n == 0 ? 0.0 : makeMicros.load() / 1000.0 / static_cast<double>(n);
}

void CameraSource::run(BrxDisplayProcessor* display, const CameraFormat* format, int width,
                       int height, std::shared_ptr<RawFrame> fixed, double fps, uint64_t limit) {
    using Clock = std::chrono::steady_clock;
    std::unique_ptr<SyntheticScene> scene;
    if (!fixed) {
        scene = std::make_unique<SyntheticScene>(width, height);
    }
    RawFrame frame;
    const auto period = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(1.0 / (fps > 0.1 ? fps : 0.1)));
    auto next = Clock::now();
    for (uint64_t index = 0; !stopRequested && (limit == 0 || index < limit); ++index) {
        BrxImage* image = nullptr;
        if (fixed) {
            image = fixed->image();
        } else {
            const auto begin = Clock::now();
            frame.pack(scene->frame(index), *format, nullptr);
            makeMicros += static_cast<uint64_t>(
                std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - begin)
                    .count());
            ++made;
            image = frame.image();
        }
        image->imageID = index;
        image->timestamp = static_cast<uint64_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch())
                .count());
        // The display copies the pixels and returns at once; this thread may reuse its buffer.
        const uint32_t word = display->ProcessImage(image);
        if (word != 0 && refusedCount++ == 0) {
            std::fprintf(stderr, "brxview: the display refused frame %llu: status 0x%08x\n",
                         static_cast<unsigned long long>(index), word);
        }
        ++offeredCount;
        next += period;
        const auto now = Clock::now();
        if (next > now) {
            std::this_thread::sleep_until(next);
        } else if (now - next > period * 4) {
            // Fell behind: don't try to catch up in a burst.
            next = now;
        }
    }
    active = false;
}
