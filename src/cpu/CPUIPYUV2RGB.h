#pragma once

// Turns 8-bit YUV 4:2:2 (UYVY order) into RGB8. Runs whatever Enable says: nothing after it could
// read the YUV form.

#include "cpu/CpuStage.h"

class CPUIPYUV2RGB : public QTD::CpuStage<BrxDisplayCPU::YUV2RGB> {
public:
    explicit CPUIPYUV2RGB(BrxComponent* parent);

    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;

private:
    int init(BrxImage* input, BrxImage* output) override;
};
