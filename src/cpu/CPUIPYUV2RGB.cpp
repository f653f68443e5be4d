#include "cpu/CPUIPYUV2RGB.h"

#include "image/QTDImageHelpers.h"

#include <exception>

using namespace QTD::Procs;

CPUIPYUV2RGB::CPUIPYUV2RGB(BrxComponent* parentComponent) : CpuStage(parentComponent) {}

int CPUIPYUV2RGB::init(BrxImage* input, BrxImage* outputArg) {
    (void)outputArg;
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
    return makeFormats(input, height, ownOutput->pixelType);
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
    return decodeInto(
        input, [](uint32_t type) { return type == PixelType::YUV422_8_UYVY; },
        [&] {
            if (input->imageData == nullptr || !convertible(input, ownOutput)) {
                return false;
            }
            try {
                return QTDImageHelpers::dataCbYCr422ToRGB8b(
                           input, static_cast<char*>(ownOutput->imageData),
                           int(ownOutput->stride)) != 0;
            } catch (const std::exception&) {
                return false;
            }
        });
}

BrxDisplayCPU::YUV2RGB* BrxDisplayCPU::YUV2RGB::CreateComponent(BrxComponent* parent) {
    return new CPUIPYUV2RGB(parent);
}

void BrxDisplayCPU::YUV2RGB::DeleteComponent(BrxImgProcessor* stage) {
    delete stage;
}
