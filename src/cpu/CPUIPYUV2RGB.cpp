#include "cpu/CPUIPYUV2RGB.h"

#include "image/QTDImageHelpers.h"

#include <cstring>
#include <exception>

using namespace QTD::Procs;

CPUIPYUV2RGB::CPUIPYUV2RGB(BrxComponent* parentComponent) : CpuStage(parentComponent) {}

int CPUIPYUV2RGB::init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    if (input == nullptr || input->width == 0 || input->height == 0) {
        return CodeBadArgument;
    }
    if (input->pixelType != PixelType::YUV422_8_UYVY) {
        return CodeNotSupported;
    }
    const int flip = properties.getAs<int>("image.flip.vert", "0", true);
    const int height = orientedHeight(input, flip);
    ownOutput =
        QTDImageHelpers::imageCreateImage(nullptr, int(input->width), height, PixelType::RGB8);
    if (ownOutput == nullptr) {
        return CodeNoResources;
    }
    output = ownOutput;
    inputFormat = QTDImageHelpers::imageCopyFormat(nullptr, input);
    outputFormat = QTDImageHelpers::imageCreateFormat(nullptr, int(ownOutput->width), height,
                                                      ownOutput->pixelType);
    if (inputFormat == nullptr || outputFormat == nullptr) {
        return CodeNoResources;
    }
    return CodeOk;
}

namespace {

// The conversion reads two bytes per pixel on every row; a record that promises fewer, or an
// odd width that 4:2:2 cannot have, is not converted.
bool convertible(const BrxImage* input, const BrxImage* target) {
    return input->width == target->width && input->height == target->height &&
           input->width % 2 == 0 && input->stride >= input->width * 2 &&
           uint64_t(input->stride) * input->height <= input->imageSize;
}

} // namespace

uint32_t CPUIPYUV2RGB::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("CPUIPYUV2RGB::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    output = nullptr;
    lastError = CodeOk;
    if (input == nullptr || ownOutput == nullptr || input->pixelType != PixelType::YUV422_8_UYVY) {
        lastError = CodeFailed;
        return statusWord(lastError);
    }
    if (input->width != ownOutput->width || input->height != ownOutput->height) {
        lastError = CodeBadArgument;
        return statusWord(lastError);
    }
    bool converted = false;
    if (input->imageData != nullptr && convertible(input, ownOutput)) {
        try {
            converted =
                QTDImageHelpers::dataCbYCr422ToRGB8b(
                    input, static_cast<char*>(ownOutput->imageData), int(ownOutput->stride)) != 0;
        } catch (const std::exception&) {
            converted = false;
        }
    }
    if (!converted) {
        // A black image is shown rather than none.
        std::memset(ownOutput->imageData, 0, ownOutput->imageSize);
    }
    output = ownOutput;
    ownOutput->imageID = input->imageID;
    return 0;
}

BrxDisplayCPU::YUV2RGB* BrxDisplayCPU::YUV2RGB::CreateComponent(BrxComponent* parent) {
    return new CPUIPYUV2RGB(parent);
}

void BrxDisplayCPU::YUV2RGB::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
