#pragma once

// Burns overlay objects into the image pixels, in place, as the chain's "image.overlay": what is
// drawn here becomes part of the image, and so of a converted or saved one. Draws through a
// memory surface, which carries text only. With no objects the stage touches nothing.

#include "chain/ImgProcessorImpl.h"
#include "chain/OverlayCommands.h"

class MEMSurface;

class CPUIPImageOverlay
    : public QTD::OverlayCommands<QTD::ImgProcessorImpl<BrxDisplayCPU::ImageOverlay>> {
public:
    explicit CPUIPImageOverlay(BrxComponent* parent);
    ~CPUIPImageOverlay() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    // "text.add", "rect.add", "del", "text.del", "rect.del", "params.apply", "params.reset",
    // with their values in the stage's bag; anything else is code 10.
    unsigned int RunCommand(const char* command) override;

    MEMSurface* surface = nullptr;

private:
    int init(BrxImage* input);
};
