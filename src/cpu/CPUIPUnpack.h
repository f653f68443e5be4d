#pragma once

// Widens bit-packed mono and Bayer images to one 16-bit sample per pixel. Runs whatever Enable
// says: nothing after it could read the packed form.

#include "cpu/CpuStage.h"

class CPUIPUnpack : public QTD::CpuStage<BrxDisplayCPU::Unpack> {
public:
    explicit CPUIPUnpack(BrxComponent* parent);

    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;

private:
    int init(BrxImage* input, BrxImage* output) override;
};
