#include "core/FpsCounter.h"

#include <chrono>
#include <cmath>

namespace QTD {

namespace {

double rate(double amount, double elapsed) {
    return std::fabs(elapsed) < 0.0000001 ? 0.0 : amount * 1000.0 / elapsed;
}

} // namespace

FpsCounter::FpsCounter()
    : frames(0), startTime(0.0), lastTime(0.0), window(0), sum(0.0), fps(0.0), period(1000.0) {}

double FpsCounter::now() {
    using namespace std::chrono;
    return duration<double, std::milli>(system_clock::now().time_since_epoch()).count();
}

void FpsCounter::run(bool) {
    double const t = now();
    lastTime = t;
    startTime = t;
    fps = 0.0;
    window = 0;
}

void FpsCounter::reset(bool keep, long frames) {
    fps = 0.0;
    this->frames = frames;
    window = frames;
    sum = 0.0;
    if (!keep)
        lock(false);
}

double FpsCounter::frequency(double period) {
    if (period > 0)
        this->period = period;
    return this->period;
}

double FpsCounter::count(bool frame) {
    double const t = now();
    lastTime = t;
    double const elapsed = t - startTime;
    if (frame) {
        ++window;
        ++frames;
    }
    if (period < 1000.0 && elapsed > period)
        fps = rate(static_cast<double>(window), elapsed);
    if (elapsed >= 1000.0) {
        fps = rate(static_cast<double>(window), elapsed);
        startTime = startTime + elapsed / 2;
        window = window / 2;
    }
    return fps;
}

double FpsCounter::value(double sample) {
    if (lastTime == 0.0)
        return fps;
    double const t = now();
    lastTime = t;
    double const elapsed = t - startTime;
    sum = sum + sample;
    ++window;
    ++frames;
    fps = rate(sum, elapsed);
    if (elapsed >= 1000.0 && elapsed > period && window > STEPS) {
        sum = sum / 2;
        startTime = startTime + elapsed / 2;
        window = 0;
    }
    return fps;
}

double FpsCounter::lock(bool paused) {
    double const t = now();
    if (paused) {
        startTime = t;
        ++window;
        return 0.0;
    }
    // Here `lastTime` accumulates busy time over the `window` intervals.
    double const interval = t - startTime;
    lastTime = lastTime + interval;
    fps = rate(static_cast<double>(window), lastTime);
    if (window > STEPS) {
        window = window / 2;
        lastTime = lastTime / 2;
    }
    return interval;
}

} // namespace QTD
