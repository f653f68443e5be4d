#pragma once

#include "chain/Backend.h"

namespace QTD {

// OpenGL: a surface that owns the window's context, and shader passes. The stages ahead of the
// first pass that have no GPU form (the YUV conversion) are the CPU ones.
class QGLBackend : public Backend {
public:
    bool isGpu() const override { return true; }
    QTDSurface* newSurface() const override;
    QTDScreen* newScreen(QTDSurface* surface) const override;
    BrxImgProcessor* newStage(StageKind kind, BrxDisplayProcessor* display,
                              BrxComponent* parent) const override;
};

} // namespace QTD
