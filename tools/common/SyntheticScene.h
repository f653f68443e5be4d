#pragma once

// The built-in camera's picture: colour bars across the top third, a zone plate and a hue
// gradient in the middle third, a grey ramp at the bottom with a marker that moves one step per
// frame, and the frame number burnt in.

#include <QImage>

#include <cstdint>

class SyntheticScene {
public:
    SyntheticScene(int width, int height);

    // Frame `index` in RGB888.
    QImage frame(uint64_t index) const;

    // The colours of the eight bars, left to right, as 0xRRGGBB.
    static const uint32_t barColours[8];

private:
    QImage background;
};
