#pragma once

// What the CPU stages have in common beyond the stage frame: an optional result buffer of their
// own, and an Init that starts from a released stage, leaves nothing half made behind when the
// stage's own set-up fails, and reports that failure's code.

#include "chain/ImgProcessorImpl.h"
#include "chain/QTDProcs.h"
#include "image/QTDImageHelpers.h"

#include <mutex>

namespace QTD {

template <class Interface> class CpuStage : public ImgProcessorImpl<Interface> {
public:
    explicit CpuStage(BrxComponent* parent) : ImgProcessorImpl<Interface>(parent) {}
    ~CpuStage() override { QTDImageHelpers::imageDelete(ownOutput); }

    uint32_t Init(BrxImage* input, BrxImage* output) override {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        this->Release();
        this->lastError = init(input, output);
        if (this->lastError != Procs::CodeOk) {
            const int code = this->lastError;
            this->Release();
            this->lastError = code;
            return Procs::statusWord(code);
        }
        this->ready = 1;
        return 0;
    }

    void Release() override {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        this->releaseData();
        QTDImageHelpers::imageDelete(ownOutput);
        ownOutput = nullptr;
    }

    BrxImage* ownOutput = nullptr; // the result buffer; none for a stage that works in place

protected:
    // The stage's own set-up for images of `input`'s format, on a released stage; a plain code.
    virtual int init(BrxImage* input, BrxImage* output) = 0;
};

} // namespace QTD
