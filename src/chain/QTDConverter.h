#pragma once

// Conversion without display: runs a display's chain up to its "image.output" stage and turns
// the result into the caller's target format with a private CPU image stage. The work is meant
// to run on the controller's thread, which alone may drive a GPU chain; the caller waits on
// `state`.

#include "chain/ImgProcessorImpl.h"
#include "chain/QTDProcs.h"

#include <brx/BrxDisplayCommand.h>
#include <brx/BrxImgProcessor.h>

#include <atomic>
#include <cstdint>

class BrxDisplayProcessor;
class QTDProcessor;
class QTDSurface;

class QTDConverter : public QTD::ImgProcessorImpl<BrxImgProcessor>, public BrxDisplayCommand {
public:
    // Values of `state`. Everything from StateDone up ends a request.
    enum State : int32_t {
        StateIdle = 0,
        StateReady = 1,
        StateRequested = 2,
        StateRunning = 4,
        StateDone = 8,
        StateLastStageFailed = 16,
        StateChainFailed = 32,
    };

    // `display` is the controller whose chain is borrowed; its bag names "processor" and
    // "surface".
    QTDConverter(BrxDisplayProcessor* display, bool opengl);
    ~QTDConverter() override;

    // Sets up for sources of `input`'s size (the chain's input) and targets like `target`.
    // Status word.
    uint32_t Init(BrxImage* input, BrxImage* target) override;
    // Runs one conversion into `target`; the outcome is in `state`, the result is 0 unless the
    // images do not fit or nothing was set up.
    uint32_t ProcessImage(BrxImage* source, BrxImage* target, void* context) override;
    void Release() override;

    // The converter takes no commands.
    int RunCommandParams(const char* command, std::map<std::string, std::string>* params) override;

    // A set-up converter accepts a request (state 2) and returns to ready (state 1); both answer
    // whether it is set up.
    virtual bool BeginProcessing();
    virtual bool EndProcessing();

    // Written on the controller's thread, polled by the waiting caller.
    std::atomic<int32_t> state{StateIdle};
    // A CPUIPImage with "external" 1, writing into the caller's target.
    BrxImgProcessor* lastStage = nullptr;

private:
    BrxDisplayProcessor* controller();
    QTD::ComponentImpl* controllerComponent();
    QTDProcessor* chainOf(QTD::ComponentImpl* component);
    void destroyLastStage();
    // Both images present, of nonzero size, and of the sizes of the two records.
    bool fits(BrxImage* source, BrxImage* target);
};
