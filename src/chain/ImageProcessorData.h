#pragma once

// The state that every stage, the chain and the converter share, with the common parts of
// Output, Format, Enable and Release. An implementation class derives from its stage interface,
// this, and QTD::ComponentImpl, and forwards the interface's operations here.

#include <brx/BrxImage.h>

#include <cstdint>
#include <mutex>
#include <string>

class BrxComponent;

namespace QTD {

class ImageProcessorData {
public:
    explicit ImageProcessorData(BrxComponent* parent = nullptr);
    virtual ~ImageProcessorData();

    ImageProcessorData(const ImageProcessorData&) = delete;
    ImageProcessorData& operator=(const ImageProcessorData&) = delete;

    virtual BrxImage* Output();
    // The input's format record with true; with false the output's, or the input's if there is
    // no output record. So a chain can ask any stage what comes out of it.
    virtual BrxImage* Format(bool input);
    // A count clamped at zero; enabled while it is above zero.
    virtual bool Enable(bool on);
    virtual bool IsEnabled();
    virtual bool isReady();
    // Drops the format records and resets the count. Stages add their own buffers.
    virtual void Release();
    virtual BrxComponent* Parent();

    // Keeps `code` as lastError and returns its status word, 0 for CodeOk.
    uint32_t report(int code);

    std::string name;
    BrxImage* inputFormat = nullptr;  // owned, no pixels
    BrxImage* outputFormat = nullptr; // owned, no pixels; may be null or inputFormat itself
    BrxImage* output = nullptr;       // not owned: the stage's buffer or the caller's image
    int32_t lastError = 0;
    int32_t enableCount = 1;
    uint8_t ready = 0;
    std::recursive_mutex stageLock;
    BrxComponent* parent = nullptr;

protected:
    // The common part of Release, for destructors, which must not dispatch virtually.
    void releaseData();
};

} // namespace QTD
