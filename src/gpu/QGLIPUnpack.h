#pragma once

// Unpacking on the GPU: the camera's packed rows go up as bytes, unexpanded, and one pass turns
// them into 16-bit samples. It takes the one-bit-stream forms (Mono10p, Mono12p and their Bayer
// kin) whose rows start on a byte, that is widths that are a whole number of packing groups;
// for anything else Init answers code 3, and the chain unpacks on the CPU instead.

#include "gpu/QGLStage.h"

class QGLIPUnpack : public QTD::QGLStage<BrxDisplayQGL::Unpack> {
public:
    explicit QGLIPUnpack(BrxDisplayProcessor* display);
    ~QGLIPUnpack() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    // Answers every text with 0: there is nothing to read back or to set.
    unsigned int RunCommand(const char* command) override;

protected:
    QGLRenderObject* makePass() override;

private:
    // The packed frame seen as rows of bytes, over the input's pixels.
    BrxImage* bytes = nullptr;
};
