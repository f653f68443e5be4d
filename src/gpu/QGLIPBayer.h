#pragma once

// Demosaicing on the GPU: a mosaic texture (or mosaic pixels from main memory) through the
// gradient-corrected pass into an RGB or BGR target. It always runs; there is nothing to pass
// through unchanged.

#include "gpu/QGLStage.h"

class QGLIPBayer : public QTD::QGLStage<BrxDisplayQGL::Bayer> {
public:
    explicit QGLIPBayer(BrxDisplayProcessor* display);
    ~QGLIPBayer() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    // "readGPU"; any other text answers 0.
    unsigned int RunCommand(const char* command) override;

protected:
    QGLRenderObject* makePass() override;
};
