#pragma once

#include "gpu/QGLRenderObjects.h"
#include "image/PixelFormat.h"

namespace RenderObjects {

// Demosaicing in one pass: gradient-corrected 5x5 kernels (Malvar, He and Cutler) with an
// edge-directed green on red and blue sites, from a one-channel mosaic into an RGB or BGR
// target of the same depth.
class QGLBayerMHC : public QGLRenderObject {
public:
    static char const* const VERT_SHADER;
    static char const* const FRAG_SHADER;

    explicit QGLBayerMHC(QTDSurface* surface = nullptr) : QGLRenderObject(surface) {}

    // "bgr" 0 (or absent in a given bag) makes BGR, anything else RGB; "output" the target.
    bool init(BrxImage* image, QTD::PROPERTIES* props) override;
    bool process(BrxImage* image, QTD::PROPERTIES* props) override;

    // The pattern's index among GR, RG, BG, GB; -1 for no mosaic.
    static int pattern(unsigned int pixelType);

    QTD::PixelFormat inputFormat;
    QGLImage* target = nullptr;
    int patternIndex = 0;
};

} // namespace RenderObjects
