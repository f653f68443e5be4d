#pragma once

#include "gpu/QGLRenderObjects.h"
#include "image/PixelFormat.h"

namespace RenderObjects {

// Expands 10- and 12-bit packed rows (four pixels in five bytes, two in three) from a byte
// texture into a 16-bit target, each value right-aligned as a plain 10- or 12-bit upload is.
class QGLUnpackU3V : public QGLRenderObject {
public:
    static char const* const VERT_SHADER;
    static char const* const FRAG_SHADER;

    explicit QGLUnpackU3V(QTDSurface* surface = nullptr) : QGLRenderObject(surface) {}

    // "output" the target; "src.size.x", "src.size.y" the byte texture's size.
    bool init(BrxImage* image, QTD::PROPERTIES* props) override;
    bool process(BrxImage* image, QTD::PROPERTIES* props) override;

    QTD::PixelFormat outputFormat;
    QGLImage* target = nullptr;
};

} // namespace RenderObjects
