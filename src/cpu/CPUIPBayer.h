#pragma once

// Turns a Bayer mosaic into RGB or BGR of the same depth. The pixel work is done by BrxBayer
// (libBrxDemosaicing.so.3); this stage picks the output format, owns the buffer and drives the
// component. A disabled Bayer stage still demosaics: its output has another format than its
// input, so there is nothing to pass through.

#include "cpu/CpuStage.h"

class BrxBayer;

class CPUIPBayer : public QTD::CpuStage<BrxDisplayCPU::Bayer> {
public:
    explicit CPUIPBayer(BrxComponent* parent);
    ~CPUIPBayer() override;

    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    // Gives the demosaicing component back too.
    void Release() override;
    // "params.apply" and "params.reset" only confirm a good set-up; "BayerAlgType" takes effect
    // at the next Init.
    unsigned int RunCommand(const char* command) override;

    // The colour type that `inputType` demosaics to, BGR or RGB; 0 where there is none.
    static uint32_t targetType(uint32_t inputType, bool bgr);

    BrxBayer* demosaic = nullptr; // between Init and Release

private:
    int init(BrxImage* input, BrxImage* output) override;
    void freeDemosaic();
    // An integer parameter; missing, empty or not a number reads as 0.
    long readParam(const char* key);
};
