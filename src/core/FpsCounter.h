#pragma once

#include <atomic>
#include <cstdint>

namespace QTD {

// A rate over a sliding window with a half-life of about one second, for frames (count) or for
// a measured quantity (value), and a timer of busy intervals (lock). Every field is atomic and
// there is no lock: one thread counts while another reads, and a reader may see the value from
// just before an update. Times are milliseconds of the system clock; call run() first.
class FpsCounter {
public:
    static constexpr int STEPS = 20;

    FpsCounter();

    // Starts the window now.
    void run(bool unused = true);
    void reset(bool keep = false, long frames = 0);
    // Minimum time between updates of the rate below one second; a positive period is stored.
    // Returns the period in use.
    double frequency(double period);
    // Notes a frame (or only the passing of time) and returns the rate in frames per second.
    double count(bool frame = true);
    // Adds a sample and returns the sum per second over the window.
    double value(double sample);
    // true: a busy interval begins. false: it ends; returns its length in milliseconds and
    // updates the rate of intervals per second of busy time.
    double lock(bool paused);

    double current() const { return fps.load(); }

    std::atomic<std::int64_t> frames;
    std::atomic<double> startTime;
    std::atomic<double> lastTime;
    std::atomic<std::int64_t> window;
    std::atomic<double> sum;
    std::atomic<double> fps;
    std::atomic<double> period;

    static double now();
};

} // namespace QTD
