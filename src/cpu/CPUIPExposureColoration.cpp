#include "cpu/CPUIPExposureColoration.h"

#include "core/ATTR.h"
#include "image/QTDImageHelpers.h"

#include <exception>

using QTD::ATTR;
using namespace QTD::Procs;

namespace {

const char* const Keys[4] = {"thres.lo", "thres.hi", "color.lo", "color.hi"};

// Rows of `bytesPerPixel`-byte pixels that lie inside the record's own buffer.
bool wellFormed(const BrxImage* image, uint32_t bytesPerPixel) {
    return image->imageData != nullptr && image->width != 0 && image->height != 0 &&
           uint64_t(image->stride) >= uint64_t(image->width) * bytesPerPixel &&
           uint64_t(image->stride) * image->height <= image->imageSize;
}

uint32_t rawPixelBytes(const BrxImage* raw) {
    const uint32_t samples = isIn(RGBBGR_INDEX, raw->pixelType) ? 3 : 1;
    return samples * (raw->bitsPerChannel == 8 ? 1 : 2);
}

} // namespace

CPUIPExposureColoration::CPUIPExposureColoration(BrxComponent* parentComponent)
    : ImgProcessorImpl(parentComponent) {
    name = "coloration.cpu";
    properties.set("thres.lo", "-1", false);
    properties.set("thres.hi", "-1", false);
    properties.set("color.lo", ATTR(int(ColorLo)), false);
    properties.set("color.hi", ATTR(int(ColorHi)), false);
}

CPUIPExposureColoration::~CPUIPExposureColoration() = default;

BrxImgProcessor* CPUIPExposureColoration::findSource() {
    auto* chain = dynamic_cast<BrxImgProcessingChain*>(parent);
    sourceStage = chain != nullptr ? chain->GetProcessor("image.unpacked") : nullptr;
    return sourceStage;
}

bool CPUIPExposureColoration::Enable(bool on) {
    if (findSource() != nullptr) {
        sourceStage->Enable(on);
    }
    return ImageProcessorData::Enable(on);
}

void CPUIPExposureColoration::Release() {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    releaseData();
    colorLo = colorHi = 0;
    thresLo = thresHi = 0;
    sourceStage = nullptr;
}

void CPUIPExposureColoration::initFromProperties(BrxImage* format) {
    if (format == nullptr) {
        return;
    }
    const QTD::ExposureLimits limits = QTD::ExposureLimits::read(properties, format);
    thresLo = limits.lo;
    thresHi = limits.hi;
    colorLo = limits.colorLo;
    colorHi = limits.colorHi;
    ready = 1;
}

uint32_t CPUIPExposureColoration::Init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    Release();
    if (input == nullptr || input->width == 0 || input->height == 0) {
        return report(CodeBadArgument);
    }
    if (isRawTransport(input->pixelType)) {
        return report(CodeNotSupported);
    }
    inputFormat = QTDImageHelpers::imageCreateFormat(inputFormat, int(input->width),
                                                     int(input->height), input->pixelType);
    if (inputFormat == nullptr) {
        Release();
        return report(CodeNoResources);
    }
    lastError = CodeOk;
    if (findSource() != nullptr) {
        initFromProperties(sourceStage->Format(true));
    }
    return 0;
}

uint32_t CPUIPExposureColoration::ProcessImage(BrxImage* input, BrxImage* outputArg,
                                               void* context) {
    (void)outputArg;
    (void)context;
    log.debug("CPUIPExposureColoration::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    output = nullptr;
    BrxImage* raw = sourceStage != nullptr ? sourceStage->Output() : nullptr;
    if (input == nullptr || input->imageData == nullptr || raw == nullptr || raw->width == 0 ||
        raw->height == 0 || raw->imageData == nullptr) {
        return report(CodeBadArgument);
    }
    lastError = CodeOk;
    if (!IsEnabled()) {
        output = input;
        return 0;
    }
    if (!ready) {
        initFromProperties(raw);
        if (!ready) {
            return report(CodeNotReady);
        }
    }
    if (thresLo < 1 && (1 << input->bitsPerChannel) <= thresHi) {
        output = input; // nothing can lie outside the thresholds
        return 0;
    }
    // The paint goes pixel for pixel onto a three-byte display image of the raw image's size.
    if (raw->width != input->width || raw->height != input->height || input->bitsPerChannel != 8 ||
        input->channels != 3 || !wellFormed(input, 3) || !wellFormed(raw, rawPixelBytes(raw))) {
        return report(CodeBadArgument);
    }
    bool painted = false;
    try {
        painted = QTDImageHelpers::dataColorize(raw, input, uint32_t(thresLo), uint32_t(thresHi),
                                                colorLo, colorHi) != 0;
    } catch (const std::exception&) {
        painted = false;
    }
    if (!painted) {
        return report(CodeFailed);
    }
    output = input;
    return 0;
}

void CPUIPExposureColoration::resetParams() {
    properties.set("thres.lo", "-1", true);
    properties.set("thres.hi", "-1", true);
    properties.set("color.lo", ATTR(int(ColorLo)), true);
    properties.set("color.hi", ATTR(int(ColorHi)), true);
    ready = 0;
}

unsigned int CPUIPExposureColoration::RunCommand(const char* command) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    if (text.same("params.apply", false)) {
        initFromProperties(sourceStage != nullptr ? sourceStage->Format(true) : nullptr);
        return report(ready ? CodeOk : CodeFailed);
    }
    if (text.same("params.reset", false)) {
        resetParams();
        lastError = CodeOk;
        return 0;
    }
    return report(CodeUnknownCommand);
}

bool CPUIPExposureColoration::RunCommandParams(const char* command,
                                               std::map<std::string, std::string>* params) {
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    const ATTR text(command);
    if (text.same("cmd.params.reset", false)) {
        resetParams();
        return true;
    }
    if (!text.same("cmd.params.apply", false)) {
        return false;
    }
    if (params != nullptr) {
        for (const char* key : Keys) {
            auto it = params->find(key);
            if (it != params->end()) {
                properties.set(key, ATTR(it->second.c_str()), true);
            }
        }
    }
    initFromProperties(sourceStage != nullptr ? sourceStage->Format(true) : nullptr);
    return ready != 0;
}

BrxDisplayCPU::ExposureColoration*
BrxDisplayCPU::ExposureColoration::CreateComponent(BrxComponent* parent) {
    return new CPUIPExposureColoration(parent);
}

void BrxDisplayCPU::ExposureColoration::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
