#pragma once

// Images for the chain and stage tests: owned records with pixels, and plain accessors so that
// expected values are computed independently of the code under test.

#include "chain/QTDProcs.h"
#include "image/QTDImageHelpers.h"

#include <cstdint>
#include <cstring>
#include <memory>

namespace TestImages {

using Image = QTDImageHelpers::ImagePtr;

namespace PT = QTD::Procs::PixelType;

inline Image make(int width, int height, uint32_t type) {
    return Image(QTDImageHelpers::imageCreateImage(nullptr, width, height, type));
}

inline uint8_t* row8(BrxImage* image, uint32_t y) {
    return static_cast<uint8_t*>(image->imageData) + size_t(y) * image->stride;
}

inline uint16_t* row16(BrxImage* image, uint32_t y) {
    return reinterpret_cast<uint16_t*>(row8(image, y));
}

// A value that differs from pixel to pixel, below `levels`.
inline uint32_t pattern(uint32_t x, uint32_t y, uint32_t levels) {
    return (x * 37u + y * 101u + (x * y) % 13u) % levels;
}

// Mono of any depth filled with `pattern`.
inline Image makeMono(int width, int height, uint32_t type) {
    Image image = make(width, height, type);
    const uint32_t levels = 1u << image->bitsPerChannel;
    for (uint32_t y = 0; y < image->height; ++y) {
        for (uint32_t x = 0; x < image->width; ++x) {
            if (image->bitsPerChannel == 8) {
                row8(image.get(), y)[x] = uint8_t(pattern(x, y, levels));
            } else {
                row16(image.get(), y)[x] = uint16_t(pattern(x, y, levels));
            }
        }
    }
    return image;
}

// Three 8-bit channels filled with distinct patterns.
inline Image makeColour8(int width, int height, uint32_t type) {
    Image image = make(width, height, type);
    for (uint32_t y = 0; y < image->height; ++y) {
        for (uint32_t i = 0; i < image->width * 3; ++i) {
            row8(image.get(), y)[i] = uint8_t(pattern(i / 3 + 7 * (i % 3), y + i % 3, 256));
        }
    }
    return image;
}

} // namespace TestImages
