#pragma once

#include "screen/SurfaceText.h"

class QPainter;

// Text drawn by a QPainter: the line's box has its top at y, its base line at y + ascent.
class CPUSurfaceText : public QTD::SurfaceText {
public:
    explicit CPUSurfaceText(QTD::PROPERTIES* props = nullptr);
    ~CPUSurfaceText() override;

    int drawLine(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* color) override;
    bool ready() override { return painter != nullptr; }

    // Set by CPUSurface::begin, cleared by end; not owned.
    QPainter* painter = nullptr;
};
