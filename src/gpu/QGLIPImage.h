#pragma once

// The general-purpose stage of the GPU chain: puts an image on the GPU, from main memory or
// from the stage before, in its own type, and, given an output of another type, draws it on
// into that type, scaled to its depth. "readGPU" 1 in the bag reads the result back each time.

#include "gpu/QGLStage.h"

class QGLIPImage : public QTD::QGLStage<BrxDisplayQGL::Image> {
public:
    explicit QGLIPImage(BrxDisplayProcessor* display);
    ~QGLIPImage() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    // "readGPU"; any other text is left alone and answers 0.
    unsigned int RunCommand(const char* command) override;

    QGLImage* lastTarget = nullptr; // `target` itself when the types are the same

protected:
    QGLImage* resultTarget() override { return lastTarget; }

private:
    int process(BrxImage* input);
    void dropLast();
};
