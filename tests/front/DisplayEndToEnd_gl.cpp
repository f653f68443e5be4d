// On a real X server, as an application does it: a display created and set up through the flat
// functions in a widget of known size, images handed in from a thread of their own, the view
// changed through the facade's component, and the window's pixels read back from the server.
// Each format is drawn as 20 x 20 blocks of known colours, so every window pixel tells which
// image block it shows.

#include "front/BrxDisplayImpl.h"
#include "front/QTDDisplay.h"
#include "image/ColorModelDescription.h"
#include "image/QTDImageHelpers.h"
#include "screen/QTDScreen.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>
#include <brx/BrxDisplay.h>
#include <brx/BrxImage.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QThread>
#include <QWidget>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>

namespace {

namespace PT = QTD::PixelType;

constexpr int W = 200, H = 120, BLOCK = 20;
constexpr int HOST_W = 480, HOST_H = 360;

struct Rgb {
    int r, g, b;
};
// The screen's default colour word 0xC0C0C0 on its 256-level scale: 192 / 256 of full
// brightness, 191 once drawn.
constexpr Rgb BACKGROUND{191, 191, 191};

// The block that carries colour in the YUV image; all others have flat chroma.
constexpr int YUV_BX = 3, YUV_BY = 2;
constexpr int YUV_Y = 128, YUV_U = 90, YUV_V = 200;

int blockIndex(int bx, int by) {
    return bx + by * (W / BLOCK);
}
Rgb rgbBlock(int bx, int by) {
    return {40 + bx * 20, 30 + by * 35, 220 - bx * 12 - by * 15};
}
int greyBlock(int bx, int by) {
    return 10 + blockIndex(bx, by) * 4;
}
int lumaBlock(int bx, int by) {
    return 16 + blockIndex(bx, by) * 3;
}
int clamp8(double v) {
    return std::clamp(int(std::lround(v)), 0, 255);
}

// BT.601 video range, as the YUV stage converts (through OpenCV's fixed point, hence the
// tolerance of the YUV formats).
Rgb yuvToRgb(int y, int u, int v) {
    const double l = 1.164 * (y - 16);
    return {clamp8(l + 1.596 * (v - 128)), clamp8(l - 0.391 * (u - 128) - 0.813 * (v - 128)),
            clamp8(l + 2.018 * (u - 128))};
}

struct Format {
    const char* name;
    uint32_t type;
    int tolerance;
};

// What the window should show for image block (bx, by).
Rgb expected(const Format& format, int bx, int by) {
    switch (format.type) {
    case PT::Mono8:
    case PT::Mono12: {
        const int g = greyBlock(bx, by);
        return {g, g, g};
    }
    case PT::YUV422_8_UYVY:
        return bx == YUV_BX && by == YUV_BY ? yuvToRgb(YUV_Y, YUV_U, YUV_V)
                                            : yuvToRgb(lumaBlock(bx, by), 128, 128);
    default:
        return rgbBlock(bx, by);
    }
}

struct Deleter {
    void operator()(BrxImage* image) const { QTDImageHelpers::imageDelete(image); }
};
using Image = std::unique_ptr<BrxImage, Deleter>;

Image makeImage(uint32_t type) {
    Image image(QTDImageHelpers::imageCreateImage(nullptr, W, H, type));
    for (int y = 0; y < H; ++y) {
        uint8_t* row = static_cast<uint8_t*>(image->imageData) + size_t(y) * image->stride;
        for (int x = 0; x < W; ++x) {
            const int bx = x / BLOCK, by = y / BLOCK;
            const Rgb c = rgbBlock(bx, by);
            switch (type) {
            case PT::Mono8:
                row[x] = uint8_t(greyBlock(bx, by));
                break;
            case PT::Mono12: {
                // Low bits that differ from pixel to pixel: only the top eight may show.
                const uint16_t v = uint16_t(greyBlock(bx, by) << 4 | ((x * 3 + y) & 15));
                std::memcpy(row + 2 * x, &v, 2);
                break;
            }
            case PT::RGB8:
            case PT::BGR8: {
                const bool bgr = type == PT::BGR8;
                row[3 * x] = uint8_t(bgr ? c.b : c.r);
                row[3 * x + 1] = uint8_t(c.g);
                row[3 * x + 2] = uint8_t(bgr ? c.r : c.b);
                break;
            }
            case PT::YUV422_8_UYVY: {
                const bool coloured = bx == YUV_BX && by == YUV_BY;
                // U Y0 V Y1: chroma on the even byte of each pixel's pair.
                row[2 * x] = uint8_t(coloured ? (x % 2 == 0 ? YUV_U : YUV_V) : 128);
                row[2 * x + 1] = uint8_t(coloured ? YUV_Y : lumaBlock(bx, by));
                break;
            }
            }
        }
    }
    return image;
}

enum class View { Fit, Actual, Zoom200 };
const char* viewName(View view) {
    return view == View::Fit ? "fit" : view == View::Actual ? "actual" : "zoom200";
}

class EndToEnd : public ::testing::TestWithParam<Format> {
protected:
    void SetUp() override {
        host.resize(HOST_W, HOST_H);
        host.show();
        image = makeImage(GetParam().type);
        handle = BrxDisplay_CreateComponent();
        ASSERT_NE(handle, nullptr);
        ASSERT_EQ(BrxDisplay_Initialize(handle, &host, "cpu", image.get()), 0u);
        controller = static_cast<BrxDisplayImpl*>(handle)->display;
        window = controller->getWindow();
        ASSERT_NE(window, nullptr);
        ASSERT_TRUE(pumpUntil([&] { return window->isExposed(); }));
        component = BrxDisplay_GetComponent(handle);
    }

    void TearDown() override { BrxDisplay_DeleteComponent(handle); }

    static bool pumpUntil(const std::function<bool()>& done, int ms = 5000) {
        QElapsedTimer clock;
        clock.start();
        while (!done() && clock.elapsed() < ms) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            QThread::msleep(2);
        }
        return done();
    }

    // An acquisition thread hands the image over while this thread runs the event loop, until
    // the controller has put it through the chain.
    void deliver(uint64_t id) {
        const long before = long(controller->processedCounter.frames.load());
        image->imageID = id;
        std::atomic<bool> sent{false};
        uint32_t result = 1;
        std::thread camera([&] {
            result = BrxDisplay_DisplayVideo(handle, image.get());
            sent = true;
        });
        const bool shown = pumpUntil(
            [&] { return sent && long(controller->processedCounter.frames.load()) > before; });
        camera.join();
        EXPECT_EQ(result, 0u);
        EXPECT_TRUE(shown) << "image " << id << " never went through the chain";
    }

    // Runs the event loop until the view stops changing, then lets one more frame reach the
    // server.
    void settle() {
        QTDScreen& s = *controller->getScreen();
        auto state = [&] {
            return std::make_tuple(window->width(), window->height(), s.originX, s.originY,
                                   s.scaleValue);
        };
        auto last = state();
        int quiet = 0;
        QElapsedTimer clock;
        clock.start();
        while (quiet < 6 && clock.elapsed() < 5000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            QThread::msleep(10);
            quiet = state() == last ? quiet + 1 : 0;
            last = state();
        }
        window->update();
        pumpUntil([] { return false; }, 60);
    }

    QImage grab() {
        return QGuiApplication::primaryScreen()
            ->grabWindow(window->winId())
            .toImage()
            .convertToFormat(QImage::Format_RGB32);
    }

    void apply(View view) {
        if (view == View::Fit) {
            EXPECT_EQ(component->SetParamInt("display.fit", 1), 0u);
        } else if (view == View::Actual) {
            EXPECT_EQ(component->SetParamInt("display.fit", 3), 0u);
        } else {
            // From 100 % the zoom steps are 125, 150 and 200 %.
            for (int step = 0; step < 3; ++step) {
                EXPECT_EQ(component->RunCommand("display.zoom.in"), 0u);
            }
        }
    }

    // Every window pixel whose image point lies, within `margin` image pixels, in one block
    // shows that block's colour; every pixel as far outside the image shows the background.
    // The rest straddle a block's or the image's edge and are not judged.
    void expectPixels(const QImage& shot, double ox, double oy, double scale, double margin,
                      const char* view) {
        const Format& format = GetParam();
        int inside = 0, background = 0, wrong = 0;
        std::ostringstream first;
        auto block = [](double u) { return int(std::floor(u / BLOCK)); };
        for (int wy = 0; wy < shot.height(); ++wy) {
            const double v = (wy + 0.5 - oy) * scale;
            for (int wx = 0; wx < shot.width(); ++wx) {
                const double u = (wx + 0.5 - ox) * scale;
                const bool outside =
                    u + margin < 0 || u - margin >= W || v + margin < 0 || v - margin >= H;
                Rgb want = BACKGROUND;
                int tolerance = 0;
                if (outside) {
                    ++background;
                } else if (u - margin >= 0 && u + margin < W && v - margin >= 0 && v + margin < H &&
                           block(u - margin) == block(u + margin) &&
                           block(v - margin) == block(v + margin)) {
                    ++inside;
                    want = expected(format, block(u), block(v));
                    tolerance = format.tolerance;
                } else {
                    continue;
                }
                const QColor got = shot.pixelColor(wx, wy);
                if (std::abs(got.red() - want.r) > tolerance ||
                    std::abs(got.green() - want.g) > tolerance ||
                    std::abs(got.blue() - want.b) > tolerance) {
                    if (wrong++ < 4) {
                        first << " (" << wx << "," << wy << ") got " << got.red() << ","
                              << got.green() << "," << got.blue() << " want " << want.r << ","
                              << want.g << "," << want.b << ";";
                    }
                }
            }
        }
        EXPECT_EQ(wrong, 0) << view << ":" << first.str();
        // Most of the image area is judged, and some background around it.
        EXPECT_GT(inside, int(0.7 * W * H / (scale * scale))) << view;
        EXPECT_GT(background, 1000) << view;
    }

    void savePng(const QImage& shot, View view) {
        if (std::getenv("BRX_E2E_PNG") == nullptr) {
            return;
        }
        const std::string path =
            ::testing::TempDir() + "e2e_" + GetParam().name + "_" + viewName(view) + ".png";
        EXPECT_TRUE(shot.save(QString::fromStdString(path)));
        std::cout << "saved " << path << "\n";
    }

    QWidget host;
    Image image;
    BrxDisplay* handle = nullptr;
    BrxComponent* component = nullptr;
    QTDDisplay* controller = nullptr;
    QTDWindow* window = nullptr;
};

TEST_P(EndToEnd, ShowsTheImageWhereTheViewPutsItInEachView) {
    // The image is smaller than the host at every view here, so no scroll bar takes room.
    struct Case {
        View view;
        double scale;
        bool exact; // a whole number of window pixels per image pixel
    };
    const Case cases[] = {{View::Fit, double(W) / HOST_W, false},
                          {View::Actual, 1.0, true},
                          {View::Zoom200, 0.5, true}};
    uint64_t id = 1;
    for (const Case& c : cases) {
        SCOPED_TRACE(viewName(c.view));
        apply(c.view);
        deliver(id++);
        settle();
        QTDScreen& s = *controller->getScreen();
        ASSERT_EQ(window->width(), HOST_W);
        ASSERT_EQ(window->height(), HOST_H);
        // Centred: the image's middle at the window's middle.
        const double ox = (HOST_W - W / c.scale) / 2, oy = (HOST_H - H / c.scale) / 2;
        EXPECT_NEAR(s.scaleValue, c.scale, 1e-6);
        EXPECT_NEAR(s.originX, ox, 1e-6);
        EXPECT_NEAR(s.originY, oy, 1e-6);
        const QImage shot = grab();
        ASSERT_EQ(shot.size(), QSize(HOST_W, HOST_H));
        savePng(shot, c.view);
        // At a whole-number zoom each window pixel's centre falls inside one image pixel;
        // otherwise a pixel may show its neighbour's colour at an edge.
        expectPixels(shot, ox, oy, c.scale, c.exact ? 0.0 : c.scale, viewName(c.view));
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, EndToEnd,
                         ::testing::Values(Format{"Mono8", PT::Mono8, 0},
                                           Format{"Mono12", PT::Mono12, 0},
                                           Format{"RGB8", PT::RGB8, 0}, Format{"BGR8", PT::BGR8, 0},
                                           Format{"YUV422_8_UYVY", PT::YUV422_8_UYVY, 1}),
                         [](const ::testing::TestParamInfo<Format>& info) {
                             return std::string(info.param.name);
                         });

} // namespace
