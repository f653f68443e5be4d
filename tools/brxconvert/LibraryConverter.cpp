#include "LibraryConverter.h"

#include <brx/BrxComponent.h>
#include <brx/BrxDisplay.h>
#include <brx/BrxDisplayProcessor.h>
#include <brx/BrxImgProcessingChain.h>
#include <brx/BrxImgProcessor.h>

#include <QWidget>

#include <cstdio>
#include <cstring>
#include <vector>

namespace {
// "BayerAlgType" values by name, in mode order.
const char* const DEMOSAIC_NAMES[] = {"gradient", "bilinear", "rcd", "quality"};
} // namespace

long LibraryConverter::demosaicMode(const std::string& name) {
    for (long mode = 0; mode < 4; ++mode) {
        if (name == DEMOSAIC_NAMES[mode] || name == std::to_string(mode)) {
            return mode;
        }
    }
    return -1;
}

std::string LibraryConverter::demosaicNames() {
    std::string all;
    for (long mode = 0; mode < 4; ++mode) {
        all += (mode ? ", " : "") + std::string(DEMOSAIC_NAMES[mode]) + " (" +
               std::to_string(mode) + ")";
    }
    return all;
}

bool LibraryConverter::applyDemosaic(std::string* why) {
    BrxImgProcessingChain* chain = display->GetProcessingChain();
    BrxImgProcessor* stage = chain != nullptr ? chain->GetProcessor("bayer") : nullptr;
    if (demosaic < 0 || stage == nullptr) {
        return true;
    }
    // The mode takes effect at the stage's next set-up; its own record of the input is
    // dropped by that set-up, so it goes in as a copy.
    BrxImage* input = stage->Format(true);
    BrxComponent* component = stage->GetComponent();
    if (input == nullptr || component == nullptr) {
        *why = "the Bayer stage has no set-up";
        return false;
    }
    BrxImage format = *input;
    component->SetParamInt("BayerAlgType", demosaic);
    const uint32_t word = stage->Init(&format, nullptr);
    if (word != 0) {
        char text[80];
        std::snprintf(text, sizeof(text), "the Bayer stage refused mode %ld: status 0x%08x",
                      demosaic, word);
        *why = text;
        return false;
    }
    return true;
}

LibraryConverter::LibraryConverter() : host(std::make_unique<QWidget>()) {
    display = BrxDisplayCPU::CreateComponent(host.get());
}

LibraryConverter::~LibraryConverter() {
    BrxDisplayCPU::DeleteComponent(display);
}

bool LibraryConverter::toRgb(RawFrame& frame, QImage& out, std::string* error) {
    auto fail = [&](const char* what, uint32_t word) {
        if (error) {
            char text[160];
            std::snprintf(text, sizeof(text), "%s %s %ux%u: status 0x%08x", what,
                          frame.format()->name.c_str(), frame.width(), frame.height(), word);
            *error = text;
        }
        return false;
    };
    BrxImage* source = frame.image();
    if (setUpType != source->pixelType || setUpWidth != source->width ||
        setUpHeight != source->height) {
        BrxImage format = *source;
        const uint32_t word = display->Init(&format);
        if (word != 0) {
            return fail("the display refused", word);
        }
        std::string why;
        if (!applyDemosaic(&why)) {
            if (error) {
                *error = why;
            }
            return false;
        }
        setUpType = source->pixelType;
        setUpWidth = source->width;
        setUpHeight = source->height;
    }
    const CameraFormat* rgb = CameraFormat::find("RGB8");
    const uint32_t stride = rgb->paddedStride(source->width);
    std::vector<uint8_t> pixels(size_t(stride) * source->height);
    BrxImage target{};
    rgb->describe(target, source->width, source->height, stride, pixels.data());
    uint32_t word = display->ConvertImage(source, &target);
    if ((word & 0xFFFF) == BRX_STATUS_BAD_ARGUMENT) {
        // Images that do not fit the present converter: the next call builds one for them.
        display->DeleteConverter();
        word = display->ConvertImage(source, &target);
    }
    if (word != 0) {
        return fail("the library cannot convert", word);
    }
    out = QImage(int(source->width), int(source->height), QImage::Format_RGB888);
    for (uint32_t y = 0; y < source->height; ++y) {
        std::memcpy(out.scanLine(int(y)), pixels.data() + size_t(y) * stride,
                    size_t(source->width) * 3);
    }
    return true;
}
