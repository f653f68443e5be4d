#pragma once

// An ordered list of named stages through which one image at a time is pushed. The order of
// the virtual operations is part of the library's binary interface.

#include <cstdint>

struct _BrxImage;
typedef struct _BrxImage BrxImage;
class BrxComponent;
class BrxImgProcessor;

class BrxImgProcessingChain {
public:
    virtual ~BrxImgProcessingChain() {}

    virtual BrxImgProcessor* GetProcessor(const char* name) = 0;
    virtual BrxImgProcessor* GetProcessor(int index) = 0;
    // Appends; the chain owns the stage from then on. Plain status code.
    virtual int AddProcessor(const char* name, BrxImgProcessor* stage) = 0;
    // Inserts ahead of `before`, or appends when `before` is null or empty. Plain status code.
    virtual int InsertProcessor(char* before, const char* name, BrxImgProcessor* stage) = 0;
    // Releases and destroys the stage. Plain status code.
    virtual int DeleteProcessor(const char* name) = 0;
    virtual BrxComponent* GetComponent() = 0;
    // Composes the chain for images of `input`'s format. Status word.
    virtual uint32_t Init(BrxImage* input, BrxImage* output) = 0;
    // Runs one image through all stages. Status word.
    virtual uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) = 0;
    virtual void Release() = 0;
    virtual BrxImage* Output() = 0;
    virtual BrxImage* Format(bool input) = 0;
};
