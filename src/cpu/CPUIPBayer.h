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
    // clang-format off
    static constexpr uint32_t RGB_DEBAYER_INDEX[36] = {
        BRX_PIXEL_RGB8,  BRX_PIXEL_RGB8,  BRX_PIXEL_RGB8,  BRX_PIXEL_RGB8,  // 8 bits
        BRX_PIXEL_RGB10, BRX_PIXEL_RGB10, BRX_PIXEL_RGB10, BRX_PIXEL_RGB10, // 10 bits
        BRX_PIXEL_RGB12, BRX_PIXEL_RGB12, BRX_PIXEL_RGB12, BRX_PIXEL_RGB12, // 12 bits
        BRX_PIXEL_RGB14, BRX_PIXEL_RGB14, BRX_PIXEL_RGB14, BRX_PIXEL_RGB14, // 14 bits
        BRX_PIXEL_RGB16, BRX_PIXEL_RGB16, BRX_PIXEL_RGB16, BRX_PIXEL_RGB16, // 16 bits
        0, 0, 0, 0, 0, 0, 0, 0, // the ...Packed group
        0, 0, 0, 0, 0, 0, 0, 0, // the ...p group
    };
    static constexpr uint32_t BGR_DEBAYER_INDEX[36] = {
        BRX_PIXEL_BGR8,  BRX_PIXEL_BGR8,  BRX_PIXEL_BGR8,  BRX_PIXEL_BGR8,  // 8 bits
        BRX_PIXEL_BGR10, BRX_PIXEL_BGR10, BRX_PIXEL_BGR10, BRX_PIXEL_BGR10, // 10 bits
        BRX_PIXEL_BGR12, BRX_PIXEL_BGR12, BRX_PIXEL_BGR12, BRX_PIXEL_BGR12, // 12 bits
        BRX_PIXEL_BGR14, BRX_PIXEL_BGR14, BRX_PIXEL_BGR14, BRX_PIXEL_BGR14, // 14 bits
        BRX_PIXEL_BGR16, BRX_PIXEL_BGR16, BRX_PIXEL_BGR16, BRX_PIXEL_BGR16, // 16 bits
        0, 0, 0, 0, 0, 0, 0, 0, // the ...Packed group
        0, 0, 0, 0, 0, 0, 0, 0, // the ...p group
    };
    // clang-format on

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
