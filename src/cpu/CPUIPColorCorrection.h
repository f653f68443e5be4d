#pragma once

// Per-channel gain, offset and gamma through a lookup table, applied in place to the input,
// which is then passed on. Mono and RGB images only: a mosaic is demosaiced before.

#include "cpu/CpuStage.h"
#include "image/LookupTable.h"

#include <map>
#include <string>

class CPUIPColorCorrection : public QTD::CpuStage<BrxDisplayCPU::ColorCorrection> {
public:
    explicit CPUIPColorCorrection(BrxComponent* parent);
    ~CPUIPColorCorrection() override;

    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    // Drops the table too.
    void Release() override;

    // "params.apply" and "params.reset"; anything else is code 10.
    unsigned int RunCommand(const char* command) override;
    // "cmd.params.apply" with the seven values in `params`, "cmd.params.reset".
    virtual bool RunCommandParams(const char* command, std::map<std::string, std::string>* params);

    QTD::LookupTable lut;

private:
    int init(BrxImage* input, BrxImage* output) override;
    // Reads the seven parameters from the bag into the table and computes it; true if the
    // table has entries.
    bool applyParams(const char* gammaDefault);
    void resetParams();
    bool tableReady() const;
};
