#include "chain/QTDProcessor.h"

#include "chain/Backend.h"
#include "core/ATTR.h"
#include "image/QTDImageHelpers.h"
#include "screen/QTDSurface.h"

#include <brx/BrxComponent.h>
#include <brx/BrxDisplayProcessor.h>

#include <cstdio>

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

// A pass is bracketed by the surface's begin and end, so that GPU stages draw into a current
// context.
void beginSurface(QTDSurface* surface) {
    if (surface != nullptr) {
        surface->begin(nullptr);
    }
}

void endSurface(QTDSurface* surface) {
    if (surface != nullptr) {
        surface->end();
    }
}

bool keyIs(const ATTR& key, const char* name) {
    return key.same(name, false);
}

} // namespace

QTDProcessor::QTDProcessor(BrxDisplayProcessor* displayProcessor, bool opengl)
    : display(displayProcessor) {
    parent = display != nullptr ? display->GetComponent() : nullptr;
    properties.set("opengl", ATTR(opengl ? 1 : 0), true);
    properties.set("display", ATTR(static_cast<void*>(display)), true);
    properties.set("image.downscale", "0", false);
}

QTDProcessor::~QTDProcessor() {
    QTDProcessor::Release();
}

BrxComponent* QTDProcessor::GetComponent() {
    return static_cast<QTD::ComponentImpl*>(this);
}

BrxImgProcessor* QTDProcessor::stageAt(const ATTR& value) {
    if (value.empty()) {
        return nullptr;
    }
    void* address = nullptr;
    std::sscanf(value.c_str(), "%p", &address);
    return static_cast<BrxImgProcessor*>(address);
}

void QTDProcessor::destroyStage(BrxImgProcessor* stage) {
    if (stage != nullptr) {
        stage->Release();
        delete stage;
    }
}

int QTDProcessor::findStage(const char* name) {
    std::lock_guard<std::recursive_mutex> lock(stages.guard);
    for (size_t i = 0; i < stages.rows.size(); ++i) {
        if (keyIs(stages.rows[i].key, name)) {
            return int(i);
        }
    }
    return -1;
}

int QTDProcessor::Size() {
    std::lock_guard<std::recursive_mutex> lock(stages.guard);
    return int(stages.rows.size());
}

BrxImgProcessor* QTDProcessor::GetProcessor(const char* name) {
    if (name == nullptr || *name == 0) {
        return nullptr;
    }
    return stageAt(stages.get(name, "", true));
}

BrxImgProcessor* QTDProcessor::GetProcessor(int index) {
    if (index < 0 || index >= Size()) {
        return nullptr;
    }
    return stageAt(stages.valueAt(index));
}

int QTDProcessor::AddProcessor(const char* name, BrxImgProcessor* stage) {
    return InsertProcessor(nullptr, name, stage);
}

int QTDProcessor::InsertProcessor(char* before, const char* name, BrxImgProcessor* stage) {
    if (name == nullptr || *name == 0 || stage == nullptr) {
        return chainError = CodeBadArgument;
    }
    const ATTR address(static_cast<void*>(stage));
    std::lock_guard<std::recursive_mutex> lock(stages.guard);
    if (before == nullptr || *before == 0) {
        // Appending does not look for a duplicate: a second row of the same name may arise.
        stages.rows.push_back(QTD::PROP{ATTR(name), address});
        return chainError = CodeOk;
    }
    if (findStage(name) >= 0) {
        return chainError = CodeExists;
    }
    const int at = findStage(before);
    if (at < 0) {
        return chainError = CodeNotFound;
    }
    stages.rows.insert(stages.rows.begin() + at, QTD::PROP{ATTR(name), address});
    return chainError = CodeOk;
}

int QTDProcessor::DeleteProcessor(const char* name) {
    BrxImgProcessor* stage = nullptr;
    {
        std::lock_guard<std::recursive_mutex> lock(stages.guard);
        const int at = (name == nullptr || *name == 0) ? -1 : findStage(name);
        if (at < 0) {
            return chainError = CodeNotFound;
        }
        stage = stageAt(stages.rows[size_t(at)].value);
        stages.rows.erase(stages.rows.begin() + at);
    }
    destroyStage(stage);
    return chainError = CodeOk;
}

BrxImage* QTDProcessor::Output() {
    for (int i = Size() - 1; i >= 0; --i) {
        BrxImgProcessor* stage = GetProcessor(i);
        if (stage != nullptr && stage->Output() != nullptr) {
            return stage->Output();
        }
    }
    return nullptr;
}

BrxImage* QTDProcessor::Format(bool input) {
    const int count = Size();
    for (int n = 0; n < count; ++n) {
        BrxImgProcessor* stage = GetProcessor(input ? n : count - 1 - n);
        BrxImage* format = stage != nullptr ? stage->Format(input) : nullptr;
        if (format != nullptr) {
            return format;
        }
    }
    return nullptr;
}

BrxImage* QTDProcessor::currentFormat(BrxImage* input) {
    BrxImage* format = Format(false);
    return format != nullptr ? format : input;
}

QTDSurface* QTDProcessor::getSurface() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    auto* controller =
        display != nullptr ? dynamic_cast<QTD::ComponentImpl*>(display->GetComponent()) : nullptr;
    if (controller == nullptr) {
        return nullptr;
    }
    return static_cast<QTDSurface*>(controller->properties.getAs<void*>("surface", "", true));
}

uint32_t QTDProcessor::Init(BrxImage* input, BrxImage* output) {
    (void)output; // the chain's composition does not hand the caller's output to its stages
    chainError = CodeOk;
    Release();
    if (input == nullptr) {
        chainError = CodeBadArgument;
        return statusWord(chainError);
    }
    {
        std::lock_guard<std::recursive_mutex> lock(stageLock);
        const bool opengl = properties.getAs<int>("opengl", "0", true) != 0;
        chainError = opengl ? initQGL(input, nullptr) : initCPU(input, nullptr);
        if (chainError == CodeOk) {
            BrxImage* current = currentFormat(input);
            inputFormat = QTDImageHelpers::imageCreateFormat(inputFormat, int(input->width),
                                                             int(input->height), input->pixelType);
            outputFormat = QTDImageHelpers::imageCreateFormat(
                outputFormat, int(current->width), int(current->height), current->pixelType);
            if (inputFormat == nullptr || outputFormat == nullptr) {
                chainError = CodeNoResources;
            } else {
                ready = 1;
            }
        }
        timing.reset(true);
    }
    if (chainError != CodeOk) {
        const int code = chainError;
        Release();
        chainError = code;
        return statusWord(code);
    }
    return 0;
}

int QTDProcessor::compose(const QTD::Backend& backend, QTD::StageKind kind, const char* name,
                          BrxImage* input, BrxImage* initOutput, Settings settings) {
    BrxImgProcessor* stage = backend.newStage(kind, display, GetComponent());
    if (stage == nullptr) {
        return CodeFailed;
    }
    for (const auto& setting : settings) {
        stage->GetComponent()->SetParamAsString(setting.first, const_cast<char*>(setting.second));
    }
    if (statusCode(stage->Init(currentFormat(input), initOutput)) != 0 ||
        AddProcessor(name, stage) != CodeOk) {
        destroyStage(stage);
        return CodeFailed;
    }
    return CodeOk;
}

int QTDProcessor::composeInput(const QTD::Backend& backend, BrxImage* input, BrxImage* output) {
    const QTD::Backend& cpu = QTD::Backend::cpu();
    if (currentFormat(input)->pixelType == PixelType::YUV422_8_UYVY &&
        compose(cpu, QTD::StageKind::YUV2RGB, "yuv2rgb", input, output) != CodeOk) {
        return CodeFailed;
    }
    if (!isIn(PACKED_INDEX, currentFormat(input)->pixelType)) {
        return CodeOk;
    }
    // The only fall-back between backends: a GPU unpack that cannot be set up leaves the work to
    // the CPU one under the same name.
    if (compose(backend, QTD::StageKind::Unpack, "unpack", input, output) == CodeOk ||
        (backend.isGpu() &&
         compose(cpu, QTD::StageKind::Unpack, "unpack", input, output) == CodeOk)) {
        return CodeOk;
    }
    return CodeFailed;
}

int QTDProcessor::initCPU(BrxImage* input, BrxImage* output) {
    using QTD::StageKind;
    const QTD::Backend& cpu = QTD::Backend::cpu();
    if (composeInput(cpu, input, output) != CodeOk) {
        return CodeFailed;
    }
    Settings unpacked;
    if (properties.getAs<int>("image.downscale", "0", true) == 1) {
        unpacked = {{"depth", "8"}};
    }
    if (compose(cpu, StageKind::Image, "image.unpacked", input, nullptr, unpacked) != CodeOk) {
        return CodeFailed;
    }
    // Raw images pass through untouched until exposure coloration asks for a private copy.
    GetProcessor("image.unpacked")->Enable(false);
    if (isIn(BAYER_INDEX, currentFormat(input)->pixelType) &&
        compose(cpu, StageKind::Bayer, "bayer", input, output) != CodeOk) {
        return CodeFailed;
    }
    if (compose(cpu, StageKind::ColorCorrection, "image.colorcorrection", input, nullptr) !=
            CodeOk ||
        compose(cpu, StageKind::ImageOverlay, "image.overlay", input, nullptr) != CodeOk ||
        compose(cpu, StageKind::Image, "image.output", input, nullptr, {{"share.input", "1"}}) !=
            CodeOk) {
        return CodeFailed;
    }
    return CodeOk;
}

int QTDProcessor::initQGL(BrxImage* input, BrxImage* output) {
    QTDSurface* surface = getSurface();
    auto* controller =
        display != nullptr ? dynamic_cast<QTD::ComponentImpl*>(display->GetComponent()) : nullptr;
    if (surface == nullptr || controller == nullptr) {
        return CodeFailed;
    }
    surface->begin(nullptr);
    const int code =
        composeQGL(input, output, controller->properties.getAs<int>("strict", "0", true) != 0);
    surface->checkError("QTDProcessor::initQGL()", true, false);
    surface->end();
    return code;
}

int QTDProcessor::composeQGL(BrxImage* input, BrxImage* output, bool strict) {
    using QTD::StageKind;
    const QTD::Backend& gpu = QTD::Backend::gpu();
    const bool composeFailed = composeInput(gpu, input, output) != CodeOk;
    const Settings bayerSettings = {{"image.flip.vert", "1"}, {"image.color.coef", "1.0"}};
    const Settings outputSettings = {{"readGPU", "0"}};
    auto bayer = [&]() {
        return isIn(BAYER_INDEX, currentFormat(input)->pixelType) &&
               compose(gpu, StageKind::Bayer, "bayer", input, output, bayerSettings) == CodeOk;
    };
    // The viewer reads it here to leave out its coloration pass.
    properties.set("strict", strict ? "1" : "0", true);
    if (strict) {
        // Frames too large for more passes: only demosaicing, and the flip left to the viewer
        // when there is none.
        const bool flipped = !composeFailed && bayer();
        properties.set("flip", flipped ? "0" : "1", true);
        if (composeFailed || compose(gpu, StageKind::Image, "image.output", input, nullptr,
                                     outputSettings) != CodeOk) {
            return CodeFailed;
        }
        return CodeOk;
    }
    if (composeFailed || compose(gpu, StageKind::Image, "image.unpacked", input, nullptr,
                                 {{"image.color.coef", "1.0"}}) != CodeOk) {
        return CodeFailed;
    }
    // The picture is turned upright exactly once: by demosaicing if there is any, else by the
    // overlay pass.
    const bool isBayer = isIn(BAYER_INDEX, currentFormat(input)->pixelType);
    if (isBayer && !bayer()) {
        return CodeFailed;
    }
    const Settings overlaySettings = isBayer ? Settings{} : Settings{{"image.flip.vert", "1"}};
    if (compose(gpu, StageKind::ColorCorrection, "image.colorcorrection", input, nullptr) !=
            CodeOk ||
        compose(gpu, StageKind::ImageOverlay, "image.overlay", input, nullptr, overlaySettings) !=
            CodeOk ||
        compose(gpu, StageKind::Image, "image.output", input, nullptr, outputSettings) != CodeOk) {
        return CodeFailed;
    }
    return CodeOk;
}

uint32_t QTDProcessor::ProcessImage(BrxImage* input, BrxImage* output, void* context) {
    log.debug("QTDProcessor::ProcessImage() -> ENTER");
    if (input == nullptr) {
        log.debug("QTDProcessor::ProcessImage() <- EXIT");
        chainError = CodeBadArgument;
        return statusWord(chainError);
    }
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const int count = Size();
    if (count == 0) {
        chainError = CodeFailed;
        return statusWord(chainError);
    }
    chainError = CodeOk;
    timing.lock(true);
    QTDSurface* surface = getSurface();
    properties.set("@source.image", ATTR(static_cast<void*>(input)), true);
    properties.set("@output.image", ATTR(static_cast<void*>(output)), true);
    beginSurface(surface);
    BrxImage* current = input;
    for (int i = 0; i < count; ++i) {
        const ATTR value = stages.valueAt(i);
        if (value.empty()) {
            continue;
        }
        BrxImgProcessor* stage = stageAt(value);
        if (stopRequested) {
            endSurface(surface);
            chainError = CodeOk;
            return 0;
        }
        log.debug("QTDProcessor::ProcessImage(): proc: %s ", stages.keyAt(i).c_str());
        if (stage == nullptr || statusCode(stage->ProcessImage(current, output, context)) != 0) {
            endSurface(surface);
            chainError = CodeFailed;
            return statusWord(chainError);
        }
        if (stage->Output() != nullptr) {
            current = stage->Output();
        }
        log.debug("QTDProcessor::ProcessImage(): proc->Out: imageID is %lu",
                  static_cast<unsigned long>(current->imageID));
    }
    endSurface(surface);
    const double ms = timing.lock(false);
    properties.set("time", ATTR::format("%.2f ms", ms), true);
    log.debug("QTDProcessor::ProcessImage() <- EXIT");
    chainError = CodeOk;
    return 0;
}

int QTDProcessor::RunCommandParams(const char* command,
                                   std::map<std::string, std::string>* params) {
    (void)command;
    (void)params;
    return 0;
}

void QTDProcessor::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    std::vector<BrxImgProcessor*> owned;
    {
        std::lock_guard<std::recursive_mutex> rowsLock(stages.guard);
        for (const QTD::PROP& row : stages.rows) {
            owned.push_back(stageAt(row.value));
        }
        stages.rows.clear();
    }
    for (BrxImgProcessor* stage : owned) {
        destroyStage(stage);
    }
    chainError = CodeOk;
    stopRequested = false;
    lastError = 0;
    releaseData();
}
