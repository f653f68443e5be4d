#pragma once

// Draws the overlay objects into a copy of the image on the GPU, as the chain's "image.overlay":
// what is drawn becomes part of the image. Draws through a surface that borrows the controller's
// context. With no objects, or disabled, the stage only copies.

#include "chain/OverlayCommands.h"
#include "gpu/QGLStage.h"

class QGLSurfaceRef;

class QGLIPImageOverlay : public QTD::OverlayCommands<QTD::QGLStage<BrxDisplayQGL::ImageOverlay>> {
public:
    explicit QGLIPImageOverlay(BrxDisplayProcessor* display);
    ~QGLIPImageOverlay() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    // "readGPU" and the overlay commands; any other text answers 0.
    unsigned int RunCommand(const char* command) override;
    bool RunCommandParams(const char* command, Map* params) override;

    QGLSurfaceRef* drawSurface = nullptr; // owned; borrows `surface`'s context

private:
    void dropSurface();
    int draw(BrxImage* input);
};
