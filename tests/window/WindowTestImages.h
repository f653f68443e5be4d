#pragma once

// A 640 x 480 RGB8 test card of 160 x 160 blocks, each in a colour of its own.

#include "image/QTDImageHelpers.h"

#include <brx/BrxImage.h>

#include <QColor>

#include <cstdint>
#include <memory>

namespace WindowTest {

constexpr uint32_t RGB8 = 0x02180171;
constexpr int BLOCK = 160;

// The colour the card has at image pixel (x, y).
inline QColor cardColor(int x, int y) {
    int bx = x / BLOCK, by = y / BLOCK;
    return QColor(40 + bx * 60, 30 + by * 80, 200 - bx * 30 - by * 20);
}

struct ImageDeleter {
    void operator()(BrxImage* image) const { QTDImageHelpers::imageDelete(image); }
};
using ImagePtr = std::unique_ptr<BrxImage, ImageDeleter>;

inline ImagePtr makeCard(int width = 640, int height = 480, uint64_t id = 7) {
    ImagePtr image(QTDImageHelpers::imageCreateImage(nullptr, width, height, RGB8));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            QColor c = cardColor(x, y);
            uint8_t* p =
                static_cast<uint8_t*>(image->imageData) + size_t(y) * image->stride + x * 3;
            p[0] = static_cast<uint8_t>(c.red());
            p[1] = static_cast<uint8_t>(c.green());
            p[2] = static_cast<uint8_t>(c.blue());
        }
    image->imageID = id;
    return image;
}

} // namespace WindowTest
