#pragma once

// Paints under- and over-exposed pixels onto the display image. The judgement is made on the
// raw samples, which the stage takes from the chain's "image.unpacked"; enabling this stage
// enables that one too, so that it keeps a private copy of the raw image.

#include "chain/ExposureLimits.h"
#include "chain/ImgProcessorImpl.h"
#include "chain/QTDProcs.h"

#include <map>
#include <string>

class CPUIPExposureColoration : public QTD::ImgProcessorImpl<BrxDisplayCPU::ExposureColoration> {
public:
    static constexpr uint32_t ColorLo = QTD::ExposureLimits::ColorLo;
    static constexpr uint32_t ColorHi = QTD::ExposureLimits::ColorHi;

    // `parent` is the component of the chain that holds "image.unpacked".
    explicit CPUIPExposureColoration(BrxComponent* parent);
    ~CPUIPExposureColoration() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    // Passes the change on to "image.unpacked" first, then counts as every stage does.
    bool Enable(bool on) override;

    // "params.apply" and "params.reset"; anything else is code 10.
    unsigned int RunCommand(const char* command) override;
    // "cmd.params.apply" (absent keys keep their value) and "cmd.params.reset".
    virtual bool RunCommandParams(const char* command, std::map<std::string, std::string>* params);

    // Thresholds and colours from the bag for raw images of `format`; null does nothing.
    void initFromProperties(BrxImage* format);

    uint32_t colorLo = 0;
    uint32_t colorHi = 0;
    int32_t thresLo = 0;
    int32_t thresHi = 0;
    BrxImgProcessor* sourceStage = nullptr; // the chain's "image.unpacked", not owned

private:
    BrxImgProcessor* findSource();
    void resetParams();
};
