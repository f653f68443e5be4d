#pragma once

// Per-channel gain, offset and gamma through a lookup table, applied in place to the input,
// which is then passed on. Mono and RGB images only: a mosaic is demosaiced before.

#include "chain/ImageProcessorData.h"
#include "chain/QTDProcs.h"
#include "core/ComponentImpl.h"
#include "image/LookupTable.h"

#include <map>
#include <string>

class CPUIPColorCorrection : public BrxDisplayCPU::ColorCorrection,
                             public QTD::ImageProcessorData,
                             public QTD::ComponentImpl {
public:
    explicit CPUIPColorCorrection(BrxComponent* parent);
    ~CPUIPColorCorrection() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    BrxComponent* GetComponent() override { return static_cast<QTD::ComponentImpl*>(this); }
    BrxImage* Output() override { return ImageProcessorData::Output(); }
    BrxImage* Format(bool input) override { return ImageProcessorData::Format(input); }
    bool Enable(bool on) override { return ImageProcessorData::Enable(on); }
    bool IsEnabled() override { return ImageProcessorData::IsEnabled(); }

    // "params.apply" and "params.reset"; anything else is code 10.
    unsigned int RunCommand(const char* command) override;
    // "cmd.params.apply" with the seven values in `params`, "cmd.params.reset".
    virtual bool RunCommandParams(const char* command, std::map<std::string, std::string>* params);

    QTD::LookupTable lut;

private:
    int init(BrxImage* input);
    // Reads the seven parameters from the bag into the table and computes it; true if the
    // table has entries.
    bool applyParams(const char* gammaDefault);
    void resetParams();
    bool tableReady() const;
};
