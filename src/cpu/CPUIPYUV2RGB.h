#pragma once

// Turns 8-bit YUV 4:2:2 (UYVY order) into RGB8. Runs whatever Enable says: nothing after it could
// read the YUV form.

#include "chain/ImageProcessorData.h"
#include "chain/QTDProcs.h"
#include "core/ComponentImpl.h"

class CPUIPYUV2RGB : public BrxDisplayCPU::YUV2RGB,
                     public QTD::ImageProcessorData,
                     public QTD::ComponentImpl {
public:
    explicit CPUIPYUV2RGB(BrxComponent* parent);
    ~CPUIPYUV2RGB() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    BrxComponent* GetComponent() override { return static_cast<QTD::ComponentImpl*>(this); }
    BrxImage* Output() override { return ImageProcessorData::Output(); }
    BrxImage* Format(bool input) override { return ImageProcessorData::Format(input); }
    bool Enable(bool on) override { return ImageProcessorData::Enable(on); }
    bool IsEnabled() override { return ImageProcessorData::IsEnabled(); }

    BrxImage* ownOutput = nullptr; // the result buffer

private:
    int init(BrxImage* input);
};
