#include "cpu/CPUIPUnpack.h"

#include "image/BrxImageUnpack.h"
#include "image/QTDImageHelpers.h"

using namespace QTD::Procs;

CPUIPUnpack::CPUIPUnpack(BrxComponent* parentComponent) : CpuStage(parentComponent) {}

int CPUIPUnpack::init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
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
    return makeFormats(input, height, ownOutput->pixelType);
}

uint32_t CPUIPUnpack::ProcessImage(BrxImage* input, BrxImage* outputArg, void* context) {
    (void)outputArg;
    (void)context;
    log.debug("CPUIPUnpack::ProcessImage()");
    return decodeInto(
        input, [](uint32_t type) { return isIn(PACKED_INDEX, type); },
        [&] {
            // A new block would leave the buffer that the chain hands on.
            void* const block = ownOutput->imageData;
            return BrxImageUnpack::Unpack(input, ownOutput) && ownOutput->imageData == block;
        });
}

BrxDisplayCPU::Unpack* BrxDisplayCPU::Unpack::CreateComponent(BrxComponent* parent) {
    return new CPUIPUnpack(parent);
}

void BrxDisplayCPU::Unpack::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
