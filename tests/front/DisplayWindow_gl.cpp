// An image handed over through the flat functions from a camera thread shows on screen: the
// pixels are read back from the X server.

#include "FrontTestSupport.h"

#include "front/BrxDisplayImpl.h"
#include "front/QTDDisplay.h"
#include "window/QTDWindow.h"

#include <brx/BrxDisplay.h>

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

using namespace FrontTest;

namespace {

// The grey level of the window's centre as the X server has it, or -1.
int centreGrey(QWidget* widget) {
    QScreen* screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return -1;
    }
    const QImage shot = screen->grabWindow(widget->winId()).toImage();
    if (shot.isNull()) {
        return -1;
    }
    const QRgb pixel = shot.pixel(shot.width() / 2, shot.height() / 2);
    if (qRed(pixel) != qGreen(pixel) || qGreen(pixel) != qBlue(pixel)) {
        return -2;
    }
    return qRed(pixel);
}

} // namespace

TEST(DisplayWindow, ACameraImageReachesTheScreen) {
    auto widget = host(320, 240);
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    auto* facade = dynamic_cast<BrxDisplayImpl*>(handle);
    auto format = make(160, 120, PT::Mono8);
    ASSERT_EQ(BrxDisplay_Initialize(handle, widget.get(), nullptr, format.get()), 0u);
    QTDDisplay* display = facade->display;
    ASSERT_NE(display->getWindow(), nullptr);
    // Let the window be mapped and laid out before the first image.
    pump(300);

    for (int level : {200, 60}) {
        std::thread camera([&] {
            auto image = make(160, 120, PT::Mono8);
            std::memset(image->imageData, level, image->imageSize);
            image->imageID = uint64_t(level);
            EXPECT_EQ(BrxDisplay_DisplayVideo(handle, image.get()), 0u);
        });
        camera.join();
        ASSERT_TRUE(pumpUntil([&] {
            BrxImage* shown = display->getWindow()->currentImage();
            return shown != nullptr && shown->imageID == uint64_t(level);
        }));
        // The frame reaches the X server a little later.
        EXPECT_TRUE(pumpUntil([&] { return centreGrey(widget.get()) == level; }, 3000))
            << "centre grey " << centreGrey(widget.get()) << " instead of " << level;
    }
    BrxDisplay_DeleteComponent(handle);
}
