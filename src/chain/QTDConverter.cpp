#include "chain/QTDConverter.h"

#include "chain/Backend.h"
#include "chain/QTDProcessor.h"
#include "image/QTDImageHelpers.h"
#include "screen/QTDSurface.h"

#include <brx/BrxComponent.h>
#include <brx/BrxDisplayProcessor.h>

#include <mutex>

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

// Reverses the order of the rows of `image` in place (flag false: about the horizontal axis).
void flipRows(BrxImage* image) {
    if (image->bitsPerChannel > 8) {
        QTDImageHelpers::dataFlip16b(image, nullptr, false);
    } else {
        QTDImageHelpers::dataFlip8b(image, nullptr, false);
    }
}

bool sameSize(const BrxImage* image, const BrxImage* format) {
    return image != nullptr && format != nullptr && image->width != 0 && image->height != 0 &&
           image->width == format->width && image->height == format->height;
}

} // namespace

QTDConverter::QTDConverter(BrxDisplayProcessor* display, bool opengl) {
    parent = display != nullptr ? display->GetComponent() : nullptr;
    properties.set("opengl", ATTR(opengl ? 1 : 0), true);
    properties.set("parent", ATTR(static_cast<void*>(display)), true);
}

QTDConverter::~QTDConverter() {
    destroyLastStage();
    state = StateIdle;
}

int QTDConverter::RunCommandParams(const char* command,
                                   std::map<std::string, std::string>* params) {
    (void)command;
    (void)params;
    return 0;
}

BrxDisplayProcessor* QTDConverter::controller() {
    return static_cast<BrxDisplayProcessor*>(properties.getAs<void*>("parent", "", true));
}

QTD::ComponentImpl* QTDConverter::controllerComponent() {
    BrxDisplayProcessor* display = controller();
    return display != nullptr ? dynamic_cast<QTD::ComponentImpl*>(display->GetComponent())
                              : nullptr;
}

QTDProcessor* QTDConverter::chainOf(QTD::ComponentImpl* component) {
    if (component == nullptr) {
        return nullptr;
    }
    return static_cast<QTDProcessor*>(component->properties.getAs<void*>("processor", "", true));
}

void QTDConverter::destroyLastStage() {
    if (lastStage != nullptr) {
        lastStage->Release();
        delete lastStage;
        lastStage = nullptr;
    }
}

bool QTDConverter::fits(BrxImage* source, BrxImage* target) {
    return sameSize(source, inputFormat) && sameSize(target, outputFormat);
}

uint32_t QTDConverter::Init(BrxImage* input, BrxImage* target) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    lastError = CodeOk;
    Release();
    if (input == nullptr) {
        return report(CodeBadArgument);
    }
    if (controller() == nullptr) {
        return report(CodeNotReady);
    }
    QTD::ComponentImpl* component = controllerComponent();
    QTDProcessor* chain = chainOf(component);
    BrxImgProcessor* outputStage = chain != nullptr ? chain->GetProcessor("image.output") : nullptr;
    BrxImage* stageInput = outputStage != nullptr ? outputStage->Format(true) : nullptr;
    BrxImage* stageOutput = outputStage != nullptr ? outputStage->Format(false) : nullptr;
    if (!sameSize(input, stageInput) || stageOutput == nullptr) {
        return report(CodeNotReady);
    }

    // The caller's format is written in main memory on both backends: a GPU chain's result is
    // read back first.
    lastStage = QTD::Backend::cpu().newStage(QTD::StageKind::Image, nullptr, nullptr);
    if (lastStage == nullptr) {
        return report(CodeFailed);
    }
    lastStage->GetComponent()->SetParamInt("external", 1);
    if (statusCode(lastStage->Init(stageOutput, target)) != CodeOk) {
        destroyLastStage();
        return report(CodeFailed);
    }

    inputFormat = QTDImageHelpers::imageCopyFormat(nullptr, stageOutput);
    outputFormat = target != nullptr
                       ? QTDImageHelpers::imageCreateFormat(nullptr, int(target->width),
                                                            int(target->height), target->pixelType)
                       : nullptr;
    if (inputFormat == nullptr || outputFormat == nullptr) {
        Release();
        return report(CodeNoResources);
    }
    state = StateReady;
    ready = 1;
    return 0;
}

uint32_t QTDConverter::ProcessImage(BrxImage* source, BrxImage* target, void* context) {
    log.debug("QTDConverter::ProcessImage()");
    if (!fits(source, target)) {
        return report(CodeBadArgument);
    }
    output = nullptr;
    lastError = CodeOk;
    if (state == StateIdle) {
        return report(CodeNotReady);
    }
    state = StateRunning;
    std::lock_guard<std::recursive_mutex> lock(stageLock);

    QTD::ComponentImpl* component = controllerComponent();
    QTDProcessor* chain = chainOf(component);
    if (component == nullptr || chain == nullptr || !ready || lastStage == nullptr) {
        state = StateChainFailed;
        return report(CodeFailed);
    }
    auto* surface =
        static_cast<QTDSurface*>(component->properties.getAs<void*>("surface", "", true));

    // No display pass may run on the chain while the conversion borrows it.
    std::lock_guard<std::recursive_mutex> chainLock(chain->stageLock);
    if (surface != nullptr) {
        surface->begin(nullptr);
    }
    properties.set("@src", ATTR(static_cast<void*>(source)), true);
    properties.set("@out", ATTR(static_cast<void*>(target)), true);
    properties.set("@data", ATTR(context), true);

    const bool chainOnGpu = chain->properties.getAs<int>("opengl", "0", true) != 0;
    BrxImage* current = source;
    const int count = chain->Size();
    for (int i = 0; i < count; ++i) {
        if (chain->stages.valueAt(i).empty()) {
            continue;
        }
        BrxImgProcessor* stage = chain->GetProcessor(i);
        if (stage == nullptr || statusCode(stage->ProcessImage(current, nullptr, context)) != 0) {
            state = StateChainFailed;
            if (surface != nullptr) {
                surface->end();
            }
            return report(CodeFailed);
        }
        if (stage->Output() != nullptr) {
            current = stage->Output();
        }
        // The viewer's stages behind "image.output" never run for a conversion.
        if (chain->stages.keyAt(i).same("image.output", false)) {
            if (chainOnGpu) {
                long readBack = 0;
                BrxComponent* stageComponent = stage->GetComponent();
                if (stageComponent != nullptr) {
                    stageComponent->GetParamInt("readGPU", &readBack);
                    if (readBack == 0) {
                        stageComponent->RunCommand("readGPU");
                    }
                    // A GPU chain leaves its result the way the GL screen draws it, bottom row
                    // first, unless it leaves the flip to the viewer ("flip" 1): the caller
                    // gets it top row first, as from the CPU chain.
                    if (chain->properties.getAs<int>("flip", "0", true) != 1) {
                        flipRows(current);
                    }
                }
            }
            break;
        }
    }

    if (statusCode(lastStage->ProcessImage(current, target, context)) == CodeOk) {
        output = target;
        state = StateDone;
    } else {
        state = StateLastStageFailed;
    }
    if (surface != nullptr) {
        surface->end();
    }
    lastError = CodeOk;
    return 0;
}

bool QTDConverter::BeginProcessing() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    if (ready) {
        state = StateRequested;
    }
    return ready != 0;
}

bool QTDConverter::EndProcessing() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    if (ready) {
        state = StateReady;
    }
    return ready != 0;
}

void QTDConverter::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    destroyLastStage();
    state = StateIdle;
    ImageProcessorData::Release();
}
