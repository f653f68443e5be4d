#pragma once

#include "gpu/QGLRenderObjects.h"
#include "image/PixelFormat.h"

namespace RenderObjects {

// Gain, offset and gamma on an RGB or mono texture in one pass, into a target of the same type.
class QGLColorCorrection : public QGLRenderObject {
public:
    static char const* const VERT_SHADER;
    static char const* const FRAG_SHADER;

    explicit QGLColorCorrection(QTDSurface* surface = nullptr) : QGLRenderObject(surface) {}

    bool init(BrxImage* image, QTD::PROPERTIES* props) override;
    bool process(BrxImage* image, QTD::PROPERTIES* props) override;

    QGLImage* target = nullptr;
    QTD::PixelFormat inputFormat;
    double gain[3] = {1, 1, 1};
    double offset[3] = {0, 0, 0};
};

} // namespace RenderObjects
