#pragma once

// Images for the chain and stage tests: owned records with pixels, plain accessors so that
// expected values are computed independently of the code under test, and a pixel check.

#include "chain/QTDProcs.h"
#include "image/QTDImageHelpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace TestImages {

using Image = QTDImageHelpers::ImagePtr;

namespace PT = QTD::Procs::PixelType;

// A stage made here, released and deleted at the end; `->` reaches it.
template <typename T> struct Owned {
    T* stage = new T(nullptr);
    ~Owned() {
        stage->Release();
        delete stage;
    }
    T* operator->() { return stage; }
};

inline Image make(int width, int height, uint32_t type) {
    return Image(QTDImageHelpers::imageCreateImage(nullptr, width, height, type));
}

inline uint8_t* row8(BrxImage* image, uint32_t y) {
    return static_cast<uint8_t*>(image->imageData) + size_t(y) * image->stride;
}

inline uint16_t* row16(BrxImage* image, uint32_t y) {
    return reinterpret_cast<uint16_t*>(row8(image, y));
}

// Sample `i` of row `y`, of 8 or 16 bits.
inline int sample(BrxImage* image, uint32_t y, uint32_t i) {
    return image->bitsPerChannel > 8 ? row16(image, y)[i] : row8(image, y)[i];
}

// A value that differs from pixel to pixel, below `levels`.
inline uint32_t pattern(uint32_t x, uint32_t y, uint32_t levels) {
    return (x * 37u + y * 101u + (x * y) % 13u) % levels;
}

// Mono of any depth filled with `pattern`.
inline Image makeMono(int width, int height, uint32_t type) {
    Image image = make(width, height, type);
    for (uint32_t y = 0; y < image->height; ++y)
        for (uint32_t x = 0; x < image->width; ++x) {
            const uint32_t v = pattern(x, y, 1u << image->bitsPerChannel);
            if (image->bitsPerChannel == 8)
                row8(image.get(), y)[x] = uint8_t(v);
            else
                row16(image.get(), y)[x] = uint16_t(v);
        }
    return image;
}

// Three 8-bit channels filled with distinct patterns.
inline Image makeColour8(int width, int height, uint32_t type) {
    Image image = make(width, height, type);
    for (uint32_t y = 0; y < image->height; ++y)
        for (uint32_t i = 0; i < image->width * 3; ++i)
            row8(image.get(), y)[i] = uint8_t(pattern(i / 3 + 7 * (i % 3), y + i % 3, 256));
    return image;
}

// Checks every pixel of `image` (8 or 16 bits, one or three channels) against `expected`, up to
// `tolerance`; a `margin` leaves the pixels that near the edges out.
template <typename F>
void expectPixels(BrxImage* image, F expected, uint32_t margin, int tolerance) {
    ASSERT_NE(image, nullptr);
    const uint32_t channels = image->channels;
    int mismatches = 0;
    for (uint32_t y = margin; y + margin < image->height; ++y)
        for (uint32_t x = margin; x + margin < image->width; ++x)
            for (uint32_t c = 0; c < channels; ++c) {
                const int got = sample(image, y, x * channels + c), want = int(expected(x, y)[c]);
                if (std::abs(got - want) > tolerance && ++mismatches < 5)
                    ADD_FAILURE() << "pixel " << x << "," << y << " channel " << c << ": " << got
                                  << " vs " << want;
            }
    EXPECT_EQ(mismatches, 0);
}

} // namespace TestImages
