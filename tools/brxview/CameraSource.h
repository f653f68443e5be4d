#pragma once

// The viewer's producer: a thread that hands frames to the display at a chosen rate, either
// from the built-in synthetic camera or by offering one fixed frame again and again, as an
// acquisition thread of an application would.

#include "common/CameraFormat.h"
#include "common/RawFrame.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

class BrxDisplayProcessor;

class CameraSource {
public:
    ~CameraSource();

    // The synthetic camera: `width` x `height` in `format` at `fps` frames a second. `limit`
    // frames, then the thread stops; 0 runs until stop().
    void startSynthetic(BrxDisplayProcessor* display, const CameraFormat& format, int width,
                        int height, double fps, uint64_t limit);
    // The same frame again and again, with a new frame number each time.
    void startFixed(BrxDisplayProcessor* display, std::shared_ptr<RawFrame> frame, double fps,
                    uint64_t limit);
    void stop();
    bool running() const { return active.load(); }

    uint64_t offered() const { return offeredCount.load(); }
    uint64_t refused() const { return refusedCount.load(); }
    // Mean time to draw and pack one synthetic frame, in milliseconds.
    double makeMs() const;

private:
    void run(BrxDisplayProcessor* display, const CameraFormat* format, int width, int height,
             std::shared_ptr<RawFrame> fixed, double fps, uint64_t limit);

    std::thread worker;
    std::atomic<bool> stopRequested{false};
    std::atomic<bool> active{false};
    std::atomic<uint64_t> offeredCount{0};
    std::atomic<uint64_t> refusedCount{0};
    std::atomic<uint64_t> makeMicros{0};
    std::atomic<uint64_t> made{0};
};
