#pragma once

// Helpers of the front-end tests.

#include "chain/QTDProcs.h"
#include "front/BrxDisplayImpl.h"
#include "front/QTDDisplay.h"
#include "image/QTDImageHelpers.h"

#include <brx/BrxDisplay.h>
#include <brx/BrxDisplayCommand.h>
#include <brx/BrxImage.h>

#include <QCoreApplication>
#include <QWidget>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace FrontTest {

namespace PT = QTD::Procs::PixelType;
using Params = std::map<std::string, std::string>;

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

// Channel `c` of pixel (x, y) of a source of `type` made from value(): grey for Mono8 and Mono12,
// whose samples hold it in their top eight bits; RGB8 channels from seeds `seed` and on.
inline uint8_t expected(uint32_t type, uint32_t x, uint32_t y, uint32_t c, uint32_t seed = 1) {
    return value(x, y, type == PT::RGB8 ? c + seed : seed);
}

// Bytes of a Mono8, RGB8 or BGR8 `target` that differ from what such a source of type `from`
// should give.
inline int wrongPixels(BrxImage* target, uint32_t from, uint32_t seed = 1) {
    const uint32_t n = target->pixelType == PT::Mono8 ? 1 : 3;
    int wrong = 0;
    for (uint32_t y = 0; y < target->height; ++y) {
        for (uint32_t i = 0; i < n * target->width; ++i) {
            const uint32_t c = target->pixelType == PT::BGR8 ? 2 - i % n : i % n;
            wrong += row8(target, y)[i] != expected(from, i / n, y, c, seed);
        }
    }
    return wrong;
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

inline void pump(int ms) {
    pumpUntil([] { return false; }, ms);
}

// "a=1 b=2" as a parameter map.
inline Params of(const std::string& text) {
    Params params;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        params[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
    }
    return params;
}

// Each "a=1 b=2" of `text` set in `bag`.
inline void setAll(QTD::PROPERTIES& bag, const std::string& text) {
    for (const auto& entry : of(text)) {
        bag.set(entry.first, entry.second, true);
    }
}

// A host widget of a known size.
inline std::unique_ptr<QWidget> host(int width = 320, int height = 240) {
    auto widget = std::make_unique<QWidget>();
    widget->resize(width, height);
    widget->show();
    return widget;
}

// A controller set up, as it must be, for 64x48 Mono8 images; `showFirst` shows the format image
// (seed 1).
struct Shown {
    explicit Shown(bool showFirst = false)
        : widget(host()), display(widget.get(), false), format(makeMono8(64, 48, 1)) {
        initCode = display.Init(format.get());
        EXPECT_EQ(initCode, 0u);
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

// A display set up through the flat functions, in a widget of its own.
struct Live {
    explicit Live(uint32_t type, int width = 40, int height = 30, const char* mode = "cpu")
        : widget(host()), handle(BrxDisplay_CreateComponent()),
          display(dynamic_cast<BrxDisplayImpl*>(handle)->display) {
        auto format = make(width, height, type);
        initCode = BrxDisplay_Initialize(handle, widget.get(), mode, format.get());
        EXPECT_EQ(initCode, 0u);
    }
    ~Live() { BrxDisplay_DeleteComponent(handle); }
    long processed() { return long(display->processedCounter.frames.load()); }
    std::unique_ptr<QWidget> widget;
    BrxDisplay* handle;
    QTDDisplay* display;
    uint32_t initCode;
};

} // namespace FrontTest
