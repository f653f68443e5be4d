// The smallest application that shows camera frames in a widget of its own: a display in the
// widget, and a "camera" thread that hands it 8-bit mono frames. Quits after --frames N frames
// if given.
#include <brx/BrxDisplay.h>
#include <brx/BrxPixelTypes.h>
#include <brx/BrxStatus.h>

#include <QApplication>
#include <QWidget>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    const long frames = argc > 2 && std::strcmp(argv[1], "--frames") == 0 ? std::atol(argv[2]) : 0;

    QWidget window;
    window.setWindowTitle("embed");
    window.resize(800, 600);
    window.show();

    // What the camera sends: Mono8, 640 x 480, rows of 640 bytes.
    const uint32_t width = 640, height = 480;
    std::vector<uint8_t> pixels(width * height);
    BrxImage image{};
    image.size = sizeof(BrxImage);
    image.pixelType = BRX_PIXEL_Mono8;
    image.bitsPerChannel = 8;
    image.channels = 1;
    image.bitsPerPixel = 8;
    image.width = width;
    image.height = height;
    image.stride = width;
    image.imageSize = width * height;
    image.imageData = pixels.data();

    // Set up on this thread, which runs the event loop; "cpu" or "opengl".
    BrxDisplay* display = BrxDisplay_CreateComponent();
    const uint32_t status = BrxDisplay_Initialize(display, &window, "cpu", &image);
    if (status != 0) {
        std::fprintf(stderr, "embed: the display was not set up, code %u\n",
                     BRX_STATUS_CODE(status));
        BrxDisplay_DeleteComponent(display);
        return 1;
    }

    // Any thread may hand frames over; the display copies them and returns at once.
    std::atomic<bool> stop{false};
    std::thread camera([&] {
        for (long n = 0; !stop && (frames == 0 || n < frames); ++n) {
            for (uint32_t y = 0; y < height; ++y) {
                std::memset(&pixels[y * width], int((y + 4 * n) & 0xFF), width);
            }
            image.imageID = uint64_t(n);
            BrxDisplay_DisplayVideo(display, &image);
            std::this_thread::sleep_for(std::chrono::milliseconds(33));
        }
        if (frames != 0) {
            QMetaObject::invokeMethod(&app, "quit", Qt::QueuedConnection);
        }
    });

    const int result = app.exec();
    stop = true;
    camera.join();
    BrxDisplay_DeleteComponent(display);
    return result;
}
