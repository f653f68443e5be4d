// The exported entry points: flat functions over the handle, and the factories.
#include <brx/BrxDisplay.h>

#include "core/ATTR.h"
#include "front/BrxDisplayImpl.h"
#include "front/QTDDisplay.h"

#include <brx/BrxComponent.h>
#include <brx/BrxStatus.h>

namespace {

// The only word whose component field is a literal 7.
constexpr uint32_t NULL_HANDLE = BRX_ERROR_NULL_HANDLE;

} // namespace

BrxDisplay* BrxDisplay::CreateComponent() {
    return new BrxDisplayImpl();
}

void BrxDisplay::DeleteComponent(BrxDisplay* display) {
    BrxComponent* component = display != nullptr ? display->GetComponent() : nullptr;
    if (component == nullptr) {
        return;
    }
    char name[1024] = {0};
    unsigned int size = sizeof(name);
    if (component->GetParamString("class", name, &size) != 0) {
        return;
    }
    if (QTD::ATTR(name).same("BrxDisplayImpl", true)) {
        delete display;
    }
}

BrxDisplayProcessor* BrxDisplayCPU::CreateComponent(QWidget* parent) {
    return new QTDDisplay(parent, false);
}

void BrxDisplayCPU::DeleteComponent(BrxDisplayProcessor* display) {
    BrxDisplayQGL::DeleteComponent(display);
}

BrxDisplayProcessor* BrxDisplayQGL::CreateComponent(QWidget* parent) {
    return new QTDDisplay(parent, true);
}

void BrxDisplayQGL::DeleteComponent(BrxDisplayProcessor* display) {
    delete QTDDisplay::CastQTDDisplay(display);
}

extern "C" {

BrxDisplay* BrxDisplay_CreateComponent() {
    return BrxDisplay::CreateComponent();
}

void BrxDisplay_DeleteComponent(BrxDisplay* display) {
    if (display == nullptr) {
        return;
    }
    display->Shut();
    delete display;
}

BrxComponent* BrxDisplay_GetComponent(BrxDisplay* display) {
    return display != nullptr ? display->GetComponent() : nullptr;
}

uint32_t BrxDisplay_Initialize(BrxDisplay* display, void* parent, const char* mode,
                               BrxImage* format) {
    return display != nullptr ? display->Initialize(parent, mode, format) : NULL_HANDLE;
}

uint32_t BrxDisplay_DisplayVideo(BrxDisplay* display, BrxImage* image) {
    return display != nullptr ? display->DisplayVideo(image) : NULL_HANDLE;
}

uint32_t BrxDisplay_DisplayImage(BrxDisplay* display, BrxImage* image, const char* name) {
    return display != nullptr ? display->DisplayImage(image, name) : NULL_HANDLE;
}

uint32_t BrxDisplay_ConvertImage(BrxDisplay* display, BrxImage* source, BrxImage* target) {
    return display != nullptr ? display->ConvertImage(source, target) : NULL_HANDLE;
}

} // extern "C"
