#include "front/BrxDisplayImpl.h"

#include "chain/QTDProcs.h"
#include "core/ATTR.h"
#include "core/ParamsHelper.h"
#include "front/QTDDisplay.h"

#include <QWidget>

#include <mutex>

using QTD::ATTR;
using QTD::Procs::CodeFailed;
using Map = std::map<std::string, std::string>;

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
    return QTD::statusWord(GetComponentTypeID(), BRX_STATUS_NOT_SUPPORTED);
}

uint32_t BrxDisplayImpl::ConvertImage(BrxImage* source, BrxImage* target) {
    if (display == nullptr) {
        return QTD::statusWord(GetComponentTypeID(), BRX_STATUS_NOT_INITIALIZED);
    }
    uint32_t code = display->ConvertImage(source, target) & 0xFFFF;
    if (code == BRX_STATUS_BAD_ARGUMENT) {
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
    Map params;
    if (first != nullptr) {
        params["pos.x"] = ATTR::format("%d", *first);
    }
    if (second != nullptr) {
        params["pos.y"] = ATTR::format("%d", *second);
    }
    params["cs.src"] = mode == 1 ? "win" : "img";
    params["cs.dst"] = mode == 1 ? "img" : "win";
    const int result = display->RunCommandParams("cmd.display.view.translate", &params);
    // The answers are "%f" texts: read as integers they lose their fraction.
    QTD::ParamsHelper helper(&params);
    if (first != nullptr) {
        *first = helper.getAs<int>("pos.x");
    }
    if (second != nullptr) {
        *second = helper.getAs<int>("pos.y");
    }
    return result != 1 ? int(word(CodeFailed)) : 0;
}

void BrxDisplayImpl::Shut() {}

int BrxDisplayImpl::RunCommandParams(const char* command, Map* params) {
    const ATTR name(command);
    if ((name.same("cmd.parameter.set") || name.same("cmd.parameter.get")) && params != nullptr) {
        return processParameter(command, params);
    }
    return 0;
}

int BrxDisplayImpl::processParameter(const char* command, Map* params) {
    Map none;
    QTD::ParamsHelper helper(params != nullptr ? params : &none);
    const ATTR name = helper.get("name");
    const ATTR value = helper.get("value");
    const ATTR what(command);
    BrxComponent* controller = display->GetComponent();
    if (what.same("cmd.parameter.set")) {
        if (name.same("display.fit")) {
            Map fit{{"mode", ATTR::format("%d", value.as<int>())}};
            display->RunCommandParams("cmd.display.view.fit", &fit);
        } else if (name.same("display.bg.color")) {
            controller->SetParamInt("display.view.bgcolor", value.as<long>());
        }
    } else if (what.same("parameter.get")) {
        // Without the "cmd." of the get message, so only a direct caller gets here.
        if (name.same("display.bg.color")) {
            long color = 0;
            controller->GetParamInt("display.view.bgcolor", &color);
            properties.set("display.bg.color", ATTR::format("%d", int(color)), true);
        } else if (name.same("view.scale")) {
            double scale = 0.0;
            controller->GetParamFloat("display.view.scale", &scale);
            properties.set("view.scale", ATTR::format("%f", scale), true);
        }
    }
    return 0;
}

unsigned int BrxDisplayImpl::RunCommand(const char* command) {
    const ATTR name(command);
    Map params;
    int result = 0;
    if (name.same("text.add")) {
        params["objectID"] = properties.get("objectID");
        params["text.font"] = properties.get("text.font", "default");
        params["text.clr"] = properties.get("text.clr");
        params["cs"] = properties.get("cs");
        const ATTR text = properties.get("text.text");
        const int x = properties.getAs<int>("text.pos.x");
        const int y = properties.getAs<int>("text.pos.y");
        // Stored even when empty, so that a failed add forgets the old object.
        const ATTR id = display->SetOverlayText(text.c_str(), x, y, &params);
        properties.set("objectID", id, true);
        result = id.empty() ? 0 : 1;
    } else if (name.same("text.del")) {
        result = display->DelOverlayObject(properties.get("objectID").c_str()) ? 1 : 0;
        properties.set("objectID", "", true);
    } else if (name.same("display.zoom.in")) {
        result = display->RunCommandParams("cmd.display.view.zoom.in", &params);
    } else if (name.same("display.zoom.out")) {
        result = display->RunCommandParams("cmd.display.view.zoom.out", &params);
    } else if (name.same("display.atcenter")) {
        // One zero byte each: text that reads as empty, hence as 0.0.
        params["pos.x"] = std::string(1, '\0');
        params["pos.y"] = std::string(1, '\0');
        params["cs"] = "base";
        result = display->RunCommandParams("cmd.display.view.at", &params);
    } else if (name.same("display.dump.on")) {
        params["rect.x"] = properties.get("dump.x");
        params["rect.y"] = properties.get("dump.y");
        params["rect.w"] = properties.get("dump.w");
        params["rect.h"] = properties.get("dump.h");
        params["cs"] = "img";
        params["line.width"] = "2";
        params["line.clr"] = properties.get("dump.clr", ATTR::format("%u", 0xC4C4u));
        params["objectID"] = properties.get("dump.objectID", "@dump");
        result = display->RunCommandParams("cmd.display.overlay.rect.add", &params);
        if (result == 1) {
            properties.set("dump.objectID", params["objectID"], true);
        }
    } else if (name.same("display.dump.off")) {
        // "objectID", not "dump.objectID": applications copy the one into the other, and rely
        // on the difference.
        params["objectID"] = properties.get("objectID");
        result = display->RunCommandParams("cmd.display.overlay.del", &params);
    } else {
        return 0;
    }
    return result != 1 ? word(CodeFailed) : 0;
}
