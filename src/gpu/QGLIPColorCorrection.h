#pragma once

// Gain, offset and gamma per channel on the GPU, with the automatic mode and the debug views
// of the colour correction pass. The parameters mean what they mean on the CPU stage. A disabled
// stage copies its input on unchanged.

#include "gpu/QGLStage.h"

#include <map>
#include <string>

class QGLIPColorCorrection : public QTD::QGLStage<BrxDisplayQGL::ColorCorrection> {
public:
    explicit QGLIPColorCorrection(BrxDisplayProcessor* display);
    ~QGLIPColorCorrection() override;

    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    // "readGPU", "params.apply", "params.reset", "enable", "disable"; any other text answers 0.
    unsigned int RunCommand(const char* command) override;
    // "cmd.params.apply" with the parameters in `params`, "cmd.params.reset", "readGPU".
    virtual bool RunCommandParams(const char* command, std::map<std::string, std::string>* params);

protected:
    QGLRenderObject* makePass() override;

private:
    int applyParams();
    void resetParams(bool replace);
};
