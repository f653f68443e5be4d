#include "front/BrxDisplayImpl.h"

#include "core/ATTR.h"
#include "front/QTDDisplay.h"

#include <QWidget>

#include <mutex>

using QTD::ATTR;

BrxDisplayImpl::BrxDisplayImpl() {
    properties.set("class", "BrxDisplayImpl", true);
    // The facade starts in CPU mode with no parent; Initialize sets both.
    display = new QTDDisplay(nullptr, false);
    {
        std::lock_guard<std::recursive_mutex> lock(processorGuard);
        setProcessor = static_cast<BrxDisplayCommand*>(this);
        getProcessor = static_cast<BrxDisplayCommand*>(this);
    }
    display->AppendNotificationProc(static_cast<BrxDisplayCommand*>(this));
    // For readers outside the library only; nothing here checks it.
    properties.set("system.signature", ATTR::format("%ld", reinterpret_cast<long>(this)), true);
}

BrxDisplayImpl::~BrxDisplayImpl() {
    delete display;
    display = nullptr;
}

uint32_t BrxDisplayImpl::word(uint32_t code) {
    return code == 0 ? 0u : (code | uint32_t(GetComponentTypeID() & 0xFF) << 16 | 0x80000000u);
}

int BrxDisplayImpl::GetSystemInfo(char* buffer, int size, const char* key) {
    (void)buffer;
    (void)size;
    (void)key;
    return 0;
}

uint32_t BrxDisplayImpl::setUp(const char* mode, BrxImage* format) {
    display->properties.set("system.opengl", ATTR(mode).same("opengl") ? "1" : "0", true);
    return word(display->Init(format));
}

uint32_t BrxDisplayImpl::Initialize(void* parent, const char* mode, BrxImage* format) {
    // A native window identifier or, failing that, a widget pointer as it stands.
    QWidget* widget = QWidget::find(WId(reinterpret_cast<uintptr_t>(parent)));
    if (widget == nullptr) {
        widget = static_cast<QWidget*>(parent);
    }
    display->properties.set("system.parentWidget", ATTR(static_cast<void*>(widget)), true);
    return setUp(mode, format);
}

uint32_t BrxDisplayImpl::SetVideoMode(BrxImage* format, const char* mode) {
    return setUp(mode, format);
}

uint32_t BrxDisplayImpl::DisplayVideo(BrxImage* image) {
    if (display->ProcessImage(image) == 0) {
        return 0;
    }
    // A second try with the same image; even its success is reported as a failure word.
    const uint32_t second = display->ProcessImage(image);
    return second | uint32_t(GetComponentTypeID() & 0xFF) << 16 | 0x80000000u;
}

uint32_t BrxDisplayImpl::DisplayImage(BrxImage* image, const char* name) {
    (void)image;
    (void)name;
    return QTD::statusWord(GetComponentTypeID(), 3);
}

uint32_t BrxDisplayImpl::ConvertImage(BrxImage* source, BrxImage* target) {
    if (display == nullptr) {
        return QTD::statusWord(GetComponentTypeID(), 8);
    }
    uint32_t code = display->ConvertImage(source, target) & 0xFFFF;
    if (code == 7) {
        // The images do not fit the present converter: the next call builds one for them.
        display->DeleteConverter();
        code = display->ConvertImage(source, target) & 0xFFFF;
    }
    if (code == 0) {
        target->timestamp = source->timestamp;
        target->imageID = source->imageID;
        return 0;
    }
    return word(code);
}

int BrxDisplayImpl::Translate(int* first, int* second, int mode) {
    (void)first;
    (void)second;
    (void)mode;
    return 0;
}

void BrxDisplayImpl::Shut() {}

int BrxDisplayImpl::RunCommandParams(const char* command,
                                     std::map<std::string, std::string>* params) {
    (void)command;
    (void)params;
    return 0;
}

unsigned int BrxDisplayImpl::RunCommand(const char* command) {
    (void)command;
    return 0;
}
