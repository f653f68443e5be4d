#pragma once

// What the CPU stages have in common beyond the stage frame: an optional result buffer of their
// own, and an Init that starts from a released stage, leaves nothing half made behind when the
// stage's own set-up fails, and reports that failure's code.

#include "chain/ImgProcessorImpl.h"
#include "chain/QTDProcs.h"
#include "image/QTDImageHelpers.h"

#include <cstring>
#include <mutex>

namespace QTD {

template <class Interface> class CpuStage : public ImgProcessorImpl<Interface> {
public:
    explicit CpuStage(BrxComponent* parent) : ImgProcessorImpl<Interface>(parent) {}
    ~CpuStage() override { QTDImageHelpers::imageDelete(ownOutput); }

    uint32_t Init(BrxImage* input, BrxImage* output) override {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        this->Release();
        // No stage can be set up for an image without an area.
        const bool empty = input == nullptr || input->width == 0 || input->height == 0;
        this->lastError = empty ? int(Procs::CodeBadArgument) : init(input, output);
        if (this->lastError != Procs::CodeOk) {
            const int code = this->lastError;
            this->Release();
            return this->report(code);
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
    // The stage's own set-up for images of `input`'s format, on a released stage and for an
    // input with an area; a plain code.
    virtual int init(BrxImage* input, BrxImage* output) = 0;

    // The format records for an output of `type` with the input's width and `height` rows
    // (negative: bottom-up); a plain code.
    int makeFormats(BrxImage* input, int height, uint32_t type) {
        this->inputFormat = QTDImageHelpers::imageCopyFormat(nullptr, input);
        this->outputFormat =
            QTDImageHelpers::imageCreateFormat(nullptr, int(input->width), height, type);
        return this->inputFormat != nullptr && this->outputFormat != nullptr
                   ? Procs::CodeOk
                   : Procs::CodeNoResources;
    }

    // The pass of a stage that decodes a transport form into ownOutput. The type is tested on
    // every image, so that a change of format is refused, not misread; the buffer was made for
    // one geometry, and another would not fit it. Pixels that `decode` cannot convert show black
    // rather than nothing.
    template <class Accepts, class Decode>
    uint32_t decodeInto(BrxImage* input, Accepts accepts, Decode decode) {
        std::lock_guard<std::recursive_mutex> lock(this->stageLock);
        this->output = nullptr;
        this->lastError = Procs::CodeOk;
        if (input == nullptr || ownOutput == nullptr || !accepts(input->pixelType)) {
            return this->report(Procs::CodeFailed);
        }
        if (input->width != ownOutput->width || input->height != ownOutput->height) {
            return this->report(Procs::CodeBadArgument);
        }
        if (!decode()) {
            std::memset(ownOutput->imageData, 0, ownOutput->imageSize);
        }
        this->output = ownOutput;
        ownOutput->imageID = input->imageID;
        return 0;
    }
};

} // namespace QTD
