#pragma once

// The general-purpose stage of the CPU chain: copies an image, narrows it to 8 bits, expands
// mono to RGB or swaps red and blue, in a combination decided once, at Init. The chain uses it
// as "image.unpacked" (disabled: a pass-through), "image.output", and, appended by the viewer,
// "image.display".

#include "cpu/CpuStage.h"

class CPUIPImage : public QTD::CpuStage<BrxDisplayCPU::Image> {
public:
    // Bits of convertFlags.
    enum : int32_t { SwapRedBlue = 1, ReduceDepth = 2, MonoToRgb = 4 };

    explicit CPUIPImage(BrxComponent* parent);
    ~CPUIPImage() override;

    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    // Frees the intermediate images too.
    void Release() override;
    // The stage takes no commands.
    unsigned int RunCommand(const char* command) override;

    // Moves the pixels of `source` into `target` by convertFlags; false if the images do not
    // fit the conversion.
    bool convertImage(BrxImage* source, BrxImage* target);

    // Beside ownOutput, which is absent with "external":
    int32_t convertFlags = 0;       // zero: a plain copy
    BrxImage* depthImage = nullptr; // the source's pixels while the depth is reduced
    BrxImage* rgbImage = nullptr;   // intermediate of the target's type

private:
    int init(BrxImage* input, BrxImage* output) override;
    int process(BrxImage* input, BrxImage* destination);
    void freeBuffers();
};
