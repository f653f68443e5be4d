#pragma once

// The general-purpose stage of the CPU chain: copies an image, narrows it to 8 bits, expands
// mono to RGB or swaps red and blue, in a combination decided once, at Init. The chain uses it
// as "image.unpacked" (disabled: a pass-through), "image.output", and, appended by the viewer,
// "image.display".

#include "chain/ImageProcessorData.h"
#include "chain/QTDProcs.h"
#include "core/ComponentImpl.h"

class CPUIPImage : public BrxDisplayCPU::Image,
                   public QTD::ImageProcessorData,
                   public QTD::ComponentImpl {
public:
    // Bits of convertFlags.
    enum : int32_t { SwapRedBlue = 1, ReduceDepth = 2, MonoToRgb = 4 };

    explicit CPUIPImage(BrxComponent* parent);
    ~CPUIPImage() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    BrxComponent* GetComponent() override { return static_cast<QTD::ComponentImpl*>(this); }
    BrxImage* Output() override { return ImageProcessorData::Output(); }
    BrxImage* Format(bool input) override { return ImageProcessorData::Format(input); }
    bool Enable(bool on) override { return ImageProcessorData::Enable(on); }
    bool IsEnabled() override { return ImageProcessorData::IsEnabled(); }
    // The stage takes no commands.
    unsigned int RunCommand(const char* command) override;

    // Moves the pixels of `source` into `target` by convertFlags; false if the images do not
    // fit the conversion.
    bool convertImage(BrxImage* source, BrxImage* target);

    BrxImage* ownOutput = nullptr;  // the result buffer, absent with "external"
    int32_t convertFlags = 0;       // zero: a plain copy
    BrxImage* depthImage = nullptr; // the source's pixels while the depth is reduced
    BrxImage* rgbImage = nullptr;   // intermediate of the target's type

private:
    int init(BrxImage* input, BrxImage* output);
    int process(BrxImage* input, BrxImage* destination);
    void freeBuffers();
};
