#pragma once

// The library's face: the display behind an opaque handle, the flat functions that take that
// handle, and the factories of the display controller.
//
// An application either creates a display with BrxDisplay_CreateComponent, sets it up in its
// window with BrxDisplay_Initialize and hands it images with BrxDisplay_DisplayVideo; or it
// creates a controller directly with BrxDisplayCPU::CreateComponent or
// BrxDisplayQGL::CreateComponent. The thread that creates a display must run a Qt event loop.
//
// Results are status words: 0 on success, otherwise 0x80000000 | typeID << 16 | code, with
// the codes of BrxStatus.h (BRX_STATUS_FAILED, BRX_STATUS_NOT_SUPPORTED, BRX_STATUS_BAD_ARGUMENT,
// BRX_STATUS_NOT_INITIALIZED, BRX_STATUS_NO_RESOURCES). A null handle gives the fixed word
// BRX_ERROR_NULL_HANDLE.

#include <brx/BrxImage.h>
#include <brx/BrxStatus.h>

#include <stdint.h>

class BrxComponent;
class BrxDisplayProcessor;
class QWidget;

// The order of the virtual operations is part of the library's binary interface.
class BrxDisplay {
public:
    virtual ~BrxDisplay() {}

    // The parameter interface of the display.
    virtual BrxComponent* GetComponent() = 0;
    virtual int GetSystemInfo(char* buffer, int size, const char* key) = 0;
    // `parent` is a native window identifier or a QWidget*; `mode` "opengl" chooses the GPU,
    // anything else (or null) the CPU. `format` describes the images to come. Blocks until the
    // display is rebuilt.
    virtual uint32_t Initialize(void* parent, const char* mode, BrxImage* format) = 0;
    // A new format or backend for a running display.
    virtual uint32_t SetVideoMode(BrxImage* format, const char* mode) = 0;
    // Hands one image over and returns at once; any thread may call.
    virtual uint32_t DisplayVideo(BrxImage* image) = 0;
    // Not supported: always code 3.
    virtual uint32_t DisplayImage(BrxImage* image, const char* name) = 0;
    // Processes `source` as the display would and writes `target`'s format, without showing it.
    virtual uint32_t ConvertImage(BrxImage* source, BrxImage* target) = 0;
    // Converts a point between window (mode 1: to the image) and image coordinates.
    virtual int Translate(int* first, int* second, int mode) {
        (void)first;
        (void)second;
        (void)mode;
        return 0;
    }
    virtual void Shut() = 0;

    static BrxDisplay* CreateComponent();
    // Destroys `display` only if it is one of this library's displays; anything else is left
    // alone.
    static void DeleteComponent(BrxDisplay* display);
};

// The controller alone, on the CPU or on OpenGL, placed in `parent`.
namespace BrxDisplayCPU {
BrxDisplayProcessor* CreateComponent(QWidget* parent);
void DeleteComponent(BrxDisplayProcessor* display);
} // namespace BrxDisplayCPU

namespace BrxDisplayQGL {
BrxDisplayProcessor* CreateComponent(QWidget* parent);
// Destroys `display` only if it is a display controller of this library.
void DeleteComponent(BrxDisplayProcessor* display);
} // namespace BrxDisplayQGL

extern "C" {
BrxDisplay* BrxDisplay_CreateComponent();
// Shuts and destroys the display; a null handle is ignored.
void BrxDisplay_DeleteComponent(BrxDisplay* display);
BrxComponent* BrxDisplay_GetComponent(BrxDisplay* display);
uint32_t BrxDisplay_Initialize(BrxDisplay* display, void* parent, const char* mode,
                               BrxImage* format);
uint32_t BrxDisplay_DisplayVideo(BrxDisplay* display, BrxImage* image);
uint32_t BrxDisplay_DisplayImage(BrxDisplay* display, BrxImage* image, const char* name);
uint32_t BrxDisplay_ConvertImage(BrxDisplay* display, BrxImage* source, BrxImage* target);
}
