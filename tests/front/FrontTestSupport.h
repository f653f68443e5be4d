#pragma once

// Helpers of the front-end tests: images with known pixels, a host widget, and an event pump
// that stands in for the application's event loop.

#include "chain/QTDProcs.h"
#include "front/QTDDisplay.h"
#include "image/QTDImageHelpers.h"

#include <brx/BrxDisplayCommand.h>
#include <brx/BrxImage.h>

#include <QCoreApplication>
#include <QWidget>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace FrontTest {

namespace PT = QTD::Procs::PixelType;

struct Deleter {
    void operator()(BrxImage* image) const { QTDImageHelpers::imageDelete(image); }
};
using Image = std::unique_ptr<BrxImage, Deleter>;

inline Image make(int width, int height, uint32_t type) {
    return Image(QTDImageHelpers::imageCreateImage(nullptr, width, height, type));
}

inline uint8_t* row8(BrxImage* image, uint32_t y) {
    return static_cast<uint8_t*>(image->imageData) + size_t(y) * image->stride;
}

// Mono8 whose value depends on position and on `seed`, so that two frames differ.
inline uint8_t value(uint32_t x, uint32_t y, uint32_t seed) {
    return uint8_t((x * 7u + y * 13u + seed * 29u) % 251u);
}

inline Image makeMono8(int width, int height, uint32_t seed) {
    Image image = make(width, height, PT::Mono8);
    for (uint32_t y = 0; y < image->height; ++y) {
        for (uint32_t x = 0; x < image->width; ++x) {
            row8(image.get(), y)[x] = value(x, y, seed);
        }
    }
    image->imageID = seed;
    return image;
}

// Runs the event loop until `done` holds or `ms` pass; the result is `done()`.
inline bool pumpUntil(const std::function<bool()>& done, int ms = 5000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (!done()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        QCoreApplication::processEvents();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Runs the event loop for `ms`.
inline void pump(int ms) {
    pumpUntil([] { return false; }, ms);
}

// A host widget of a known size.
inline std::unique_ptr<QWidget> host(int width = 320, int height = 240) {
    auto widget = std::make_unique<QWidget>();
    widget->resize(width, height);
    widget->show();
    return widget;
}

// A controller set up for 64x48 Mono8 images in a widget of its own; `showFirst` shows the
// format image (seed 1) before the test starts.
struct Shown {
    explicit Shown(bool showFirst = false)
        : widget(host()), display(widget.get(), false), format(makeMono8(64, 48, 1)) {
        initCode = display.Init(format.get());
        if (showFirst && initCode == 0) {
            display.ProcessImage(format.get());
            pumpUntil([&] { return processed() == 1; });
        }
    }
    long processed() { return long(display.processedCounter.frames.load()); }
    long received() { return long(display.receivedCounter.frames.load()); }
    std::unique_ptr<QWidget> widget;
    QTDDisplay display;
    Image format;
    uint32_t initCode = 0;
};

// Records every command it receives.
class Receiver : public BrxDisplayCommand {
public:
    int RunCommandParams(const char* command, std::map<std::string, std::string>* params) override {
        std::lock_guard<std::mutex> lock(mutex);
        calls.emplace_back(command ? command : "",
                           params ? *params : std::map<std::string, std::string>());
        return 0;
    }
    std::vector<std::pair<std::string, std::map<std::string, std::string>>> received() {
        std::lock_guard<std::mutex> lock(mutex);
        return calls;
    }
    int count(const std::string& command) {
        int n = 0;
        for (auto& call : received()) {
            n += call.first == command ? 1 : 0;
        }
        return n;
    }
    std::mutex mutex;
    std::vector<std::pair<std::string, std::map<std::string, std::string>>> calls;
};

} // namespace FrontTest
