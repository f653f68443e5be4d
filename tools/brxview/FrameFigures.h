#pragma once

// Counts what the display does with the frames: a receiver of the controller's
// "notification.image", which arrives on the controller's thread after each pass through the
// chain; and the repaints of the display's own window, seen through an event filter. It also
// passes on the status and info keys typed in that window, which reach receivers only.

#include <brx/BrxDisplayCommand.h>

#include <QObject>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

class BrxDisplayProcessor;

class FrameFigures : public QObject, public BrxDisplayCommand {
    Q_OBJECT
public:
    explicit FrameFigures(QObject* parent = nullptr);

    // Registers with `display` and asks it for the per-image notification.
    bool attach(BrxDisplayProcessor* display);
    void detach();
    void reset();

    int RunCommandParams(const char* command, std::map<std::string, std::string>* params) override;

    uint64_t processed() const { return processedCount.load(); }
    uint64_t failed() const { return failedCount.load(); }
    uint64_t shown() const { return shownCount.load(); }
    // Mean of the chain's own time per pass, in milliseconds.
    double processingMs() const;
    // Processed frames per second between the first and the last notification.
    double fps() const;

signals:
    // "sd" or "si" typed in the display's window: the status or the info line's switch flips.
    void lineToggled(bool status);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    BrxDisplayProcessor* display = nullptr;
    std::atomic<uint64_t> processedCount{0};
    std::atomic<uint64_t> failedCount{0};
    std::atomic<uint64_t> shownCount{0};
    std::atomic<uint64_t> timedCount{0};
    std::atomic<uint64_t> chainMicros{0};
    std::atomic<int64_t> firstMicros{0};
    std::atomic<int64_t> lastMicros{0};
};
