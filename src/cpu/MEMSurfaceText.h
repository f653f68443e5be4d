#pragma once

#include "screen/GlyphSurfaceText.h"

#include <brx/BrxImage.h>

// Text burnt into an image in memory: the glyphs of the font's strip are blended into the
// pixels, from row y downward. Mono and three-channel images of 8 to 16 bits.
class MEMSurfaceText : public QTD::GlyphSurfaceText {
public:
    explicit MEMSurfaceText(QTD::PROPERTIES* props = nullptr);
    ~MEMSurfaceText() override;

    int drawLine(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* color) override;
    bool ready() override { return image != nullptr; }

    // Set by MEMSurface::begin for each frame; not owned.
    BrxImage* image = nullptr;

private:
    // Draws one tab-free segment; returns the x behind it.
    long drawSegment(char const* text, int length, long x, long y, Strip const& strip,
                     QTD::RgbColor const& color);
};
