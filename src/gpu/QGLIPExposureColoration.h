#pragma once

// Marks under- and over-exposed pixels on the GPU over the picture so far. The raw samples it
// judges are the output of the chain's "image.unpacked", found through the parent chain; the
// thresholds are those of the CPU stage, in levels, so that both mark the same pixels.

#include "chain/ExposureLimits.h"
#include "gpu/QGLStage.h"

#include <map>
#include <string>

class QGLIPExposureColoration : public QTD::QGLStage<BrxDisplayQGL::ExposureColoration> {
public:
    QGLIPExposureColoration(BrxDisplayProcessor* display, BrxComponent* parent);
    ~QGLIPExposureColoration() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    // "readGPU", "params.apply", "params.reset", "enable", "disable"; any other text answers 0.
    unsigned int RunCommand(const char* command) override;
    // "cmd.enable" with "enabled", "cmd.params.apply" (the keys present, then "apply"),
    // "cmd.params.reset", "readGPU".
    virtual bool RunCommandParams(const char* command, std::map<std::string, std::string>* params);

    // Thresholds and colours from the bag for raw images of `format`, handed to the pass; null
    // does nothing.
    void initFromProperties(BrxImage* format);

    QTD::ExposureLimits limits;
    BrxImgProcessor* reference = nullptr; // the chain's "image.unpacked", not owned

protected:
    QGLRenderObject* makePass() override;
};
