#pragma once

#include "gpu/QGLRenderObjects.h"
#include "image/PixelFormat.h"

#include <cstdint>

namespace RenderObjects {

// Marks pixels whose source value lies below or above the thresholds with fixed colours, over
// the picture so far. The source is bound to unit 1 by this pass, the picture to unit 0 by the
// caller. Thresholds are fractions of the source texture's full scale; colours are 0x00BBGGRR.
class QGLExposureColoration : public QGLRenderObject {
public:
    static char const* const VERT_SHADER;
    static char const* const FRAG_SHADER;

    explicit QGLExposureColoration(QTDSurface* surface = nullptr) : QGLRenderObject(surface) {}

    bool init(BrxImage* image, QTD::PROPERTIES* props) override;
    // Needs "source" (the texture to judge) in `props`; "mono" 1 judges its red alone, and
    // "upright" 1 reads it the same way up as the picture.
    bool process(BrxImage* image, QTD::PROPERTIES* props) override;

    QGLImage* target = nullptr;
    QTD::PixelFormat inputFormat;
    uint32_t colorLow = 0;
    uint32_t colorHigh = 0;
    double thresholdLow = 0;
    double thresholdHigh = 0;
};

} // namespace RenderObjects
