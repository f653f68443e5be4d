#include "cpu/CPUIPBayer.h"

#include "image/QTDImageHelpers.h"

#include <brx/BrxBayer.h>

#include <cerrno>
#include <cstdlib>

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

bool failed(unsigned short status) {
    return (status & 0xFFFFu) != 0;
}

} // namespace

CPUIPBayer::CPUIPBayer(BrxComponent* parentComponent) : CpuStage(parentComponent) {
    name = "bayer.cpu";
    properties.set("BayerAlgType", ATTR(0L, "%ld"), false);
    properties.set("image.flip.vert", ATTR(0), false);
}

CPUIPBayer::~CPUIPBayer() {
    freeDemosaic();
}

uint32_t CPUIPBayer::targetType(uint32_t inputType, bool bgr) {
    return debayerType(inputType, bgr);
}

long CPUIPBayer::readParam(const char* key) {
    // A value that is not a number must not take the chain down; it counts as the default.
    const ATTR text = properties.get(key, "0", true);
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    return end == text.c_str() || errno != 0 ? 0 : value;
}

void CPUIPBayer::freeDemosaic() {
    if (demosaic != nullptr) {
        demosaic->Release();
        BrxBayer::DeleteComponent(demosaic);
        demosaic = nullptr;
    }
}

void CPUIPBayer::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    CpuStage::Release();
    freeDemosaic();
}

int CPUIPBayer::init(BrxImage* input, BrxImage* outputArg) {
    if (!isIn(BAYER_INDEX, input->pixelType)) {
        return CodeNotSupported;
    }
    const bool bgr =
        outputArg != nullptr && outputArg->pixelType != 0 && isIn(BGR_INDEX, outputArg->pixelType);
    const uint32_t target = targetType(input->pixelType, bgr);
    if (target == 0) {
        return CodeNotSupported;
    }
    const int flip = int(readParam("image.flip.vert"));
    const int height = orientedHeight(input, flip);
    ownOutput = QTDImageHelpers::imageCreateImage(nullptr, int(input->width), height, target);
    if (ownOutput == nullptr) {
        return CodeNoResources;
    }
    demosaic = BrxBayer::CreateComponent();
    BrxComponent* component = demosaic != nullptr ? demosaic->GetComponent() : nullptr;
    if (component == nullptr) {
        return CodeFailed;
    }
    component->SetParamInt("BayerAlgType", readParam("BayerAlgType"));
    if (failed(demosaic->Init(input, ownOutput))) {
        return CodeNoResources;
    }
    output = ownOutput;
    return makeFormats(input, height, target);
}

uint32_t CPUIPBayer::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)context;
    log.debug("CPUIPBayer::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    output = nullptr;
    lastError = CodeOk;
    if (ownOutput == nullptr || demosaic == nullptr) {
        return report(CodeNotReady);
    }
    if (input == nullptr || input->imageData == nullptr) {
        return report(CodeFailed);
    }
    // A caller's image of the right size takes the pixels directly, saving a copy.
    BrxImage* destination = ownOutput;
    if (outputArg != nullptr) {
        if (outputArg->imageSize != ownOutput->imageSize) {
            return report(CodeBadArgument);
        }
        destination = outputArg;
    }
    if (failed(demosaic->ProcessImage(input, destination))) {
        return report(CodeNoResources);
    }
    destination->imageID = input->imageID;
    output = destination;
    return 0;
}

unsigned int CPUIPBayer::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    if (text.same("params.apply", false) || text.same("params.reset", false)) {
        return report(ready ? CodeOk : CodeFailed);
    }
    return report(CodeUnknownCommand);
}

BrxDisplayCPU::Bayer* BrxDisplayCPU::Bayer::CreateComponent(BrxComponent* parent) {
    return new CPUIPBayer(parent);
}

void BrxDisplayCPU::Bayer::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
