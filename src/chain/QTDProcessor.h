#pragma once

// The processing chain: an ordered list of named stages, composed for one input format and one
// backend, through which one image at a time is pushed.

#include "chain/Backend.h"
#include "chain/ImageProcessorData.h"
#include "chain/QTDProcs.h"
#include "core/ComponentImpl.h"
#include "core/FpsCounter.h"
#include "core/PROPERTIES.h"

#include <brx/BrxDisplayCommand.h>
#include <brx/BrxImgProcessingChain.h>

#include <atomic>
#include <utility>
#include <vector>

class BrxDisplayProcessor;
class QTDSurface;

class QTDProcessor : public BrxImgProcessingChain,
                     public QTD::ImageProcessorData,
                     public QTD::ComponentImpl,
                     public BrxDisplayCommand {
public:
    // `display` is the controller, or null; the chain's own parent is the controller's
    // component, while its stages get the chain's component as theirs.
    QTDProcessor(BrxDisplayProcessor* display, bool opengl);
    ~QTDProcessor() override;

    BrxImgProcessor* GetProcessor(const char* name) override;
    BrxImgProcessor* GetProcessor(int index) override;
    int AddProcessor(const char* name, BrxImgProcessor* stage) override;
    int InsertProcessor(char* before, const char* name, BrxImgProcessor* stage) override;
    int DeleteProcessor(const char* name) override;
    BrxComponent* GetComponent() override;
    uint32_t Init(BrxImage* input, BrxImage* output) override;
    uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) override;
    void Release() override;
    BrxImage* Output() override;
    BrxImage* Format(bool input) override;

    // The chain takes no commands of its own.
    int RunCommandParams(const char* command, std::map<std::string, std::string>* params) override;

    virtual int Size();
    virtual int initQGL(BrxImage* input, BrxImage* output);
    virtual int initCPU(BrxImage* input, BrxImage* output);
    virtual QTDSurface* getSurface();

    // Each row: the stage's name, and its address as "%p" text.
    QTD::PROPERTIES stages;
    int32_t chainError = 0;
    // Checked between stages: a pass that sees it ends quietly with success.
    std::atomic<bool> stopRequested{false};
    BrxDisplayProcessor* display = nullptr;
    // Measures one pass.
    QTD::FpsCounter timing;

private:
    using Settings = std::vector<std::pair<const char*, const char*>>;
    // Creates a stage of `backend`, gives it `settings`, sets it up for what the chain gives so
    // far and appends it. On any failure the stage is released and destroyed and the result is 1.
    int compose(const QTD::Backend& backend, QTD::StageKind kind, const char* name, BrxImage* input,
                BrxImage* initOutput, Settings settings = {});
    // The steps ahead of the first image stage on either backend: YUV conversion and unpacking.
    int composeInput(const QTD::Backend& backend, BrxImage* input, BrxImage* output);
    int composeQGL(BrxImage* input, BrxImage* output, bool strict);
    // What comes out of the chain so far: the last stage's format, or `input` on an empty chain.
    BrxImage* currentFormat(BrxImage* input);
    static BrxImgProcessor* stageAt(const QTD::ATTR& value);
    static void destroyStage(BrxImgProcessor* stage);
    int findStage(const char* name);
};
