#pragma once

// The display controller's interface, as stages and applications see it. The order of the
// virtual operations is part of the library's binary interface.

#include <brx/BrxDisplayCommand.h>

#include <cstdint>

struct _BrxImage;
typedef struct _BrxImage BrxImage;
class BrxComponent;
class BrxImgProcessingChain;

class BrxDisplayProcessor : public BrxDisplayCommand {
public:
    virtual BrxComponent* GetComponent() = 0;
    // Rebuilds the display for images of `format`'s kind. Status word.
    virtual uint32_t Init(BrxImage* format) = 0;
    // Hands one image to the display. Status word.
    virtual uint32_t ProcessImage(BrxImage* image) = 0;
    virtual void Release() = 0;
    virtual BrxImgProcessingChain* GetProcessingChain() = 0;
    virtual uint32_t CreateConverter(BrxImage* target) {
        (void)target;
        return 3;
    }
    virtual void DeleteConverter() {}
    virtual uint32_t ConvertImage(BrxImage* source, BrxImage* target) {
        (void)source;
        (void)target;
        return 3;
    }
    virtual int getProfileLines(int** lines) {
        (void)lines;
        return 0;
    }
    virtual void deleteProfileLine(int index) { (void)index; }
    virtual void setActiveProfileLine(int index) { (void)index; }
    virtual void clearProfileLines() {}
};
