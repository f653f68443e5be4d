// On a real X server, as an application does it, each format drawn as 20 x 20 blocks of known
// colours: every window pixel read back from the server tells which block it shows.

#include "FrontTestSupport.h"

#include "screen/QTDScreen.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>

using namespace FrontTest;

namespace {

constexpr int W = 200, H = 120, BLOCK = 20, HOST_W = 480, HOST_H = 360;

struct Rgb {
    int r, g, b;
};
// The screen's default colour word 0xC0C0C0 on its 256-level scale: 191 once drawn.
constexpr Rgb BACKGROUND{191, 191, 191};

// The block that carries colour in the YUV image; all others have flat chroma.
constexpr int YUV_BX = 3, YUV_BY = 2, YUV_Y = 128, YUV_U = 90, YUV_V = 200;

Rgb rgbBlock(int bx, int by) {
    return {40 + bx * 20, 30 + by * 35, 220 - bx * 12 - by * 15};
}
// Grey levels for Mono, luma levels for YUV.
int greyBlock(int bx, int by, int base = 10, int step = 4) {
    return base + (bx + by * (W / BLOCK)) * step;
}

// BT.601 video range, as the YUV stage converts.
Rgb yuvToRgb(int y, int u, int v) {
    const double l = 1.164 * (y - 16);
    auto clamp8 = [](double c) { return std::clamp(int(std::lround(c)), 0, 255); };
    return {clamp8(l + 1.596 * (v - 128)), clamp8(l - 0.391 * (u - 128) - 0.813 * (v - 128)),
            clamp8(l + 2.018 * (u - 128))};
}

// What the window should show for image block (bx, by).
Rgb expected(uint32_t type, int bx, int by) {
    if (type == PT::Mono8 || type == PT::Mono12) {
        return {greyBlock(bx, by), greyBlock(bx, by), greyBlock(bx, by)};
    }
    if (type == PT::YUV422_8_UYVY) {
        return bx == YUV_BX && by == YUV_BY ? yuvToRgb(YUV_Y, YUV_U, YUV_V)
                                            : yuvToRgb(greyBlock(bx, by, 16, 3), 128, 128);
    }
    return rgbBlock(bx, by);
}

Image makeImage(uint32_t type) {
    Image image = make(W, H, type);
    for (int y = 0; y < H; ++y) {
        uint8_t* row = row8(image.get(), uint32_t(y));
        for (int x = 0; x < W; ++x) {
            const int bx = x / BLOCK, by = y / BLOCK;
            const Rgb c = rgbBlock(bx, by);
            const bool bgr = type == PT::BGR8, coloured = bx == YUV_BX && by == YUV_BY;
            if (type == PT::Mono8) {
                row[x] = uint8_t(greyBlock(bx, by));
            } else if (type == PT::Mono12) {
                // Low bits that differ from pixel to pixel: only the top eight may show.
                const uint16_t v = uint16_t(greyBlock(bx, by) << 4 | ((x * 3 + y) & 15));
                std::memcpy(row + 2 * x, &v, 2);
            } else if (type == PT::YUV422_8_UYVY) {
                // U Y0 V Y1: chroma on the even byte of each pixel's pair.
                row[2 * x] = uint8_t(coloured ? (x % 2 == 0 ? YUV_U : YUV_V) : 128);
                row[2 * x + 1] = uint8_t(coloured ? YUV_Y : greyBlock(bx, by, 16, 3));
            } else {
                row[3 * x] = uint8_t(bgr ? c.b : c.r);
                row[3 * x + 1] = uint8_t(c.g);
                row[3 * x + 2] = uint8_t(bgr ? c.r : c.b);
            }
        }
    }
    return image;
}

// Pixels within `margin` image pixels inside one block show its colour, as far outside the image
// the background; those that straddle an edge are not judged.
void expectPixels(const QImage& shot, uint32_t type, int tolerance, double ox, double oy,
                  double scale, double margin) {
    int inside = 0, background = 0, wrong = 0;
    auto block = [](double u) { return int(std::floor(u / BLOCK)); };
    for (int wy = 0; wy < shot.height(); ++wy) {
        const double v = (wy + 0.5 - oy) * scale;
        for (int wx = 0; wx < shot.width(); ++wx) {
            const double u = (wx + 0.5 - ox) * scale;
            Rgb want = BACKGROUND;
            int allowed = 0;
            if (u + margin < 0 || u - margin >= W || v + margin < 0 || v - margin >= H) {
                ++background;
            } else if (u - margin >= 0 && u + margin < W && v - margin >= 0 && v + margin < H &&
                       block(u - margin) == block(u + margin) &&
                       block(v - margin) == block(v + margin)) {
                ++inside;
                want = expected(type, block(u), block(v));
                allowed = tolerance;
            } else {
                continue;
            }
            const QColor got = shot.pixelColor(wx, wy);
            // The first wrong pixel fails the test.
            if ((std::abs(got.red() - want.r) > allowed ||
                 std::abs(got.green() - want.g) > allowed ||
                 std::abs(got.blue() - want.b) > allowed) &&
                wrong++ == 0) {
                ADD_FAILURE() << "(" << wx << "," << wy << ") is " << got.red() << ","
                              << got.green() << "," << got.blue() << ", not " << want.r << ","
                              << want.g << "," << want.b;
            }
        }
    }
    // Most of the image area is judged, and some background around it.
    EXPECT_GT(inside, int(0.7 * W * H / (scale * scale)));
    EXPECT_GT(background, 1000);
}

} // namespace

TEST(EndToEnd, ShowsTheImageWhereTheViewPutsItInEachViewForEachFormat) {
    // The YUV stage converts through OpenCV's fixed point: one level of tolerance.
    const uint32_t formats[] = {PT::Mono8, PT::Mono12, PT::RGB8, PT::BGR8, PT::YUV422_8_UYVY};
    // Fit (display.fit 1), 1:1 (3), and 200 % in three zoom steps; no scroll bars. Only a whole
    // number of window pixels per image pixel leaves no doubt at the blocks' edges.
    const struct {
        int fit;
        double scale;
        bool exact;
    } views[] = {{1, double(W) / HOST_W, false}, {3, 1.0, true}, {0, 0.5, true}};
    for (auto& format : formats) {
        auto widget = host(HOST_W, HOST_H);
        Image image = makeImage(format);
        BrxDisplay* handle = BrxDisplay_CreateComponent();
        ASSERT_EQ(BrxDisplay_Initialize(handle, widget.get(), "cpu", image.get()), 0u);
        QTDDisplay* controller = dynamic_cast<BrxDisplayImpl*>(handle)->display;
        QTDWindow* window = controller->getWindow();
        QTDScreen& s = *controller->getScreen();
        ASSERT_TRUE(pumpUntil([&] { return window->isExposed(); }));
        BrxComponent* component = BrxDisplay_GetComponent(handle);
        for (auto& view : views) {
            SCOPED_TRACE(testing::Message() << std::hex << format << " at " << view.scale);
            for (int step = 0; step < 3 && view.fit == 0; ++step) {
                EXPECT_EQ(component->RunCommand("display.zoom.in"), 0u);
            }
            if (view.fit != 0) {
                EXPECT_EQ(component->SetParamInt("display.fit", view.fit), 0u);
            }
            // An acquisition thread hands the image over while this thread runs the events.
            const long before = long(controller->processedCounter.frames.load());
            std::atomic<uint32_t> result{1};
            std::thread camera([&] { result = BrxDisplay_DisplayVideo(handle, image.get()); });
            EXPECT_TRUE(pumpUntil(
                [&] { return long(controller->processedCounter.frames.load()) > before; }));
            camera.join();
            EXPECT_EQ(result, 0u);
            // Centred: the image's middle at the window's middle.
            const double ox = (HOST_W - W / view.scale) / 2, oy = (HOST_H - H / view.scale) / 2;
            pumpUntil([&] {
                return std::fabs(s.scaleValue - view.scale) < 1e-6 &&
                       std::fabs(s.originX - ox) < 1e-6 && std::fabs(s.originY - oy) < 1e-6;
            });
            window->update();
            pump(60);
            EXPECT_NEAR(s.scaleValue, view.scale, 1e-6);
            EXPECT_NEAR(s.originX, ox, 1e-6);
            EXPECT_NEAR(s.originY, oy, 1e-6);
            const QImage shot = QGuiApplication::primaryScreen()
                                    ->grabWindow(window->winId())
                                    .toImage()
                                    .convertToFormat(QImage::Format_RGB32);
            ASSERT_EQ(shot.size(), QSize(HOST_W, HOST_H));
            expectPixels(shot, format, format == PT::YUV422_8_UYVY ? 1 : 0, ox, oy, view.scale,
                         view.exact ? 0.0 : view.scale);
        }
        BrxDisplay_DeleteComponent(handle);
    }
}
