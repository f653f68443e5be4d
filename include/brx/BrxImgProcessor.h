#pragma once

// One stage of an image processing chain: turns one input image into one output image that it
// owns itself (or into the caller's image). The order of the virtual operations is part of the
// library's binary interface.

#include <cstdint>

struct _BrxImage;
typedef struct _BrxImage BrxImage;
class BrxComponent;

class BrxImgProcessor {
public:
    virtual ~BrxImgProcessor() {}

    // Prepares the stage for images of `input`'s format; `output` may be null. Status word.
    virtual uint32_t Init(BrxImage* input, BrxImage* output) {
        (void)input;
        (void)output;
        return 1;
    }
    // Transforms one image; `output` may be null and `context` passes through. Status word.
    virtual uint32_t ProcessImage(BrxImage* input, BrxImage* output, void* context) = 0;
    // Drops all that Init made.
    virtual void Release() = 0;
    // The stage's parameter interface.
    virtual BrxComponent* GetComponent() = 0;
    // The latest result, or null.
    virtual BrxImage* Output() = 0;
    // The format record of the input (true) or of the output (false).
    virtual BrxImage* Format(bool input) {
        (void)input;
        return nullptr;
    }
    // A clamped count, not a flag: true adds one, false takes one away, never below zero.
    virtual bool Enable(bool on) {
        (void)on;
        return true;
    }
    virtual bool IsEnabled() { return true; }
};
