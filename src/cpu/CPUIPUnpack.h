#pragma once

// Widens bit-packed mono and Bayer images to one 16-bit sample per pixel. Runs whatever Enable
// says: nothing after it could read the packed form.

#include "chain/ImageProcessorData.h"
#include "chain/QTDProcs.h"
#include "core/ComponentImpl.h"

class CPUIPUnpack : public BrxDisplayCPU::Unpack,
                    public QTD::ImageProcessorData,
                    public QTD::ComponentImpl {
public:
    explicit CPUIPUnpack(BrxComponent* parent);
    ~CPUIPUnpack() override;

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
