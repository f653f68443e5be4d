#pragma once

#include "screen/GlyphSurfaceText.h"

// Text on the GL surface: the font's glyph strip drawn as one blended quad per lit pixel, in
// the surface's GL coordinates (y up; a line's top at y). Needs the surface's context current.
class QGLSurfaceText : public QTD::GlyphSurfaceText {
public:
    explicit QGLSurfaceText(QTD::PROPERTIES* props = nullptr);
    ~QGLSurfaceText() override;

    // Lines go downward, as on the other surfaces: in GL terms y falls by the font's height.
    int drawText(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* color) override;
    int drawLine(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* color) override;
    bool ready() override;

    // Entry i is i / 255: a strip byte to an alpha.
    float alpha[256];

private:
    // Returns the x behind the glyph.
    long drawChar(int code, long x, long y, Strip const& strip, QTD::RgbColor const* color);
};
