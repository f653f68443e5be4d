// A running display set up again and again through the flat functions: other formats, other
// sizes, and now and then the GPU backend, which is not built here and must fail without harm.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "front/BrxDisplayImpl.h"
#include "window/QTDWindow.h"

#include <brx/BrxDisplay.h>

#include <gtest/gtest.h>

#include <cstring>

using namespace FrontTest;

namespace {

// Every byte the same: a valid sample of every format here, Mono12 included (0x0707 < 4096).
Image filled(int width, int height, uint32_t type, uint8_t byte, uint32_t id) {
    Image image = make(width, height, type);
    std::memset(image->imageData, byte, image->imageSize);
    image->imageID = id;
    return image;
}

} // namespace

// Every seventh cycle asks for the GPU backend, which has no screen in this build: that fails
// with code 1 whatever "system.silent" says, since the silent rule covers only a failed chain.
// Every eleventh asks for a pixel type that does not exist: silent, an empty display; not
// silent, code 1. Either way images are taken without a word and nothing is shown, and the next
// CPU cycle shows images again.
TEST(Reinit, TwoHundredCyclesOfFormatsSizesAndBackends) {
    const uint32_t types[] = {PT::Mono8, PT::Mono12, PT::RGB8, PT::BayerRG8, PT::YUV422_8_UYVY};
    const int sizes[][2] = {{64, 48}, {96, 64}, {32, 16}, {128, 72}, {48, 32}};
    constexpr uint32_t NoSuchType = 0x01080199;
    auto widget = host();
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    QTDDisplay* display = dynamic_cast<BrxDisplayImpl*>(handle)->display;
    auto processed = [&] { return long(display->processedCounter.frames.load()); };
    uint32_t id = 0;
    for (int cycle = 0; cycle < 200; ++cycle) {
        SCOPED_TRACE(cycle);
        const bool gpu = cycle % 7 == 6;
        const bool unknown = !gpu && cycle % 11 == 10;
        const bool silent = cycle % 2 == 0;
        const uint32_t type = unknown ? NoSuchType : types[cycle % 5];
        const int* size = sizes[(cycle + cycle / 5) % 5];
        Image format = filled(size[0], size[1], unknown ? PT::Mono8 : type, 0, 0);
        format->pixelType = type;
        display->properties.set("system.silent", silent ? "1" : "0", true);
        const char* mode = gpu ? "opengl" : "cpu";
        const uint32_t init = cycle % 3 == 0
                                  ? BrxDisplay_Initialize(handle, widget.get(), mode, format.get())
                                  : handle->SetVideoMode(format.get(), mode);
        if (gpu || unknown) {
            EXPECT_EQ(init, unknown && silent ? 0u : 0x80FF0001u) << std::hex << init;
            EXPECT_EQ(display->currentImage, nullptr);
            format->pixelType = PT::Mono8;
            EXPECT_EQ(BrxDisplay_DisplayVideo(handle, format.get()), 0u);
            pump(3);
            EXPECT_EQ(processed(), 0);
            continue;
        }
        ASSERT_EQ(init, 0u) << std::hex << init;
        for (long shown = 1; shown <= 2; ++shown) {
            Image image = filled(size[0], size[1], type, uint8_t(0x07 + shown), ++id);
            ASSERT_EQ(BrxDisplay_DisplayVideo(handle, image.get()), 0u);
            ASSERT_TRUE(pumpUntil([&] { return processed() == shown; }));
            BrxImage* onWindow = display->getWindow()->currentImage();
            ASSERT_NE(onWindow, nullptr);
            EXPECT_EQ(onWindow, display->chain->Output());
            EXPECT_EQ(onWindow->imageID, id);
            EXPECT_EQ(onWindow->width, uint32_t(size[0]));
            EXPECT_EQ(onWindow->height, uint32_t(size[1]));
        }
    }
    BrxDisplay_DeleteComponent(handle);
}
