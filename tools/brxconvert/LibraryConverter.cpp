#include "LibraryConverter.h"

#include <brx/BrxDisplay.h>

#include <QWidget>

#include <cstdio>
#include <cstring>
#include <vector>

LibraryConverter::LibraryConverter() : host(std::make_unique<QWidget>()) {
    display = BrxDisplay_CreateComponent();
}

LibraryConverter::~LibraryConverter() {
    BrxDisplay_DeleteComponent(display);
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
        const uint32_t word = BrxDisplay_Initialize(display, host.get(), "cpu", &format);
        if (word != 0) {
            return fail("the display refused", word);
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
    const uint32_t word = BrxDisplay_ConvertImage(display, source, &target);
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
