#include "cpu/CPUIPUnpack.h"

#include "image/BrxImageUnpack.h"
#include "image/QTDImageHelpers.h"

#include <cstring>

using namespace QTD::Procs;

CPUIPUnpack::CPUIPUnpack(BrxComponent* parentComponent) : CpuStage(parentComponent) {}

int CPUIPUnpack::init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
    if (input == nullptr || input->width == 0 || input->height == 0) {
        return CodeBadArgument;
    }
    const int at = indexOf(PACKED_INDEX, input->pixelType);
    if (at < 0) {
        return CodeNotSupported;
    }
    const int flip = properties.getAs<int>("image.flip.vert", "0", true);
    const int height = orientedHeight(input, flip);
    ownOutput =
        QTDImageHelpers::imageCreateImage(nullptr, int(input->width), height, UNPACK_INDEX[at]);
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

uint32_t CPUIPUnpack::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("CPUIPUnpack::ProcessImage()");
    std::lock_guard<std::recursive_mutex> lock(stageLock);
    output = nullptr;
    lastError = CodeOk;
    // The type is tested on every image, so that a change of format is refused, not misread.
    if (input == nullptr || ownOutput == nullptr || !isIn(PACKED_INDEX, input->pixelType)) {
        lastError = CodeFailed;
        return statusWord(lastError);
    }
    // The buffer was made for one geometry; another would not fit it.
    if (input->width != ownOutput->width || input->height != ownOutput->height) {
        lastError = CodeBadArgument;
        return statusWord(lastError);
    }
    void* const block = ownOutput->imageData;
    if (!BrxImageUnpack::Unpack(input, ownOutput) || ownOutput->imageData != block) {
        // A black image is shown rather than none.
        std::memset(ownOutput->imageData, 0, ownOutput->imageSize);
    }
    output = ownOutput;
    ownOutput->imageID = input->imageID;
    return 0;
}

BrxDisplayCPU::Unpack* BrxDisplayCPU::Unpack::CreateComponent(BrxComponent* parent) {
    return new CPUIPUnpack(parent);
}

void BrxDisplayCPU::Unpack::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
