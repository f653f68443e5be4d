#pragma once

// Turns a Bayer mosaic into RGB or BGR of the same depth. The pixel work is done by BrxBayer
// (libBrxDemosaicing.so.3); this stage picks the output format, owns the buffer and drives the
// component. A disabled Bayer stage still demosaics: its output has another format than its
// input, so there is nothing to pass through.

#include "cpu/CpuStage.h"

class BrxBayer;

class CPUIPBayer : public QTD::CpuStage<BrxDisplayCPU::Bayer> {
public:
    // Indexed like BAYER_INDEX: the colour type each mosaic yields. Packed mosaics have 0, for
    // they reach this stage only unpacked.
    static constexpr uint32_t RGB_DEBAYER_INDEX[36] = {
        0x02180171, 0x02180171, 0x02180171, 0x02180171,             // RGB8
        0x02300275, 0x02300275, 0x02300275, 0x02300275,             // RGB10
        0x02300377, 0x02300377, 0x02300377, 0x02300377,             // RGB12
        0x02300479, 0x02300479, 0x02300479, 0x02300479,             // RGB14
        0x0230057B, 0x0230057B, 0x0230057B, 0x0230057B,             // RGB16
        0,          0,          0,          0,          0, 0, 0, 0, // the ...Packed group
        0,          0,          0,          0,          0, 0, 0, 0, // the ...p group
    };
    static constexpr uint32_t BGR_DEBAYER_INDEX[36] = {
        0x02180172, 0x02180172, 0x02180172, 0x02180172,             // BGR8
        0x02300276, 0x02300276, 0x02300276, 0x02300276,             // BGR10
        0x02300378, 0x02300378, 0x02300378, 0x02300378,             // BGR12
        0x0230047A, 0x0230047A, 0x0230047A, 0x0230047A,             // BGR14
        0x0230057C, 0x0230057C, 0x0230057C, 0x0230057C,             // BGR16
        0,          0,          0,          0,          0, 0, 0, 0, // the ...Packed group
        0,          0,          0,          0,          0, 0, 0, 0, // the ...p group
    };

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
