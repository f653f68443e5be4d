// On a real X server, as an application does it, each format drawn as 20 x 20 blocks of known
// colours: every window pixel read back from the server tells which block it shows.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"
#include "window/QTDWindow.h"

#include <brx/BrxComponent.h>

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

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
                  double scale, double margin, bool backgroundShown) {
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
    EXPECT_GT(inside, std::min(int(0.7 * W * H / (scale * scale)),
                               int(0.7 * shot.width() * shot.height())));
    if (backgroundShown) {
        EXPECT_GT(background, 1000);
    }
}

} // namespace

class EndToEnd : public testing::TestWithParam<const char*> {};

TEST_P(EndToEnd, ShowsTheImageWhereTheViewPutsItInEachViewForEachFormat) {
    const bool gpu = std::string(GetParam()) == "opengl";
    // The YUV stage converts through OpenCV's fixed point, the shaders in floating point: one
    // level of tolerance for either.
    const uint32_t formats[] = {PT::Mono8, PT::Mono12, PT::RGB8, PT::BGR8, PT::YUV422_8_UYVY};
    // Fit (display.fit 1), 1:1 (3), 200 % after three zoom steps, the same with a viewport limit
    // below the zoomed image (the GL screen then draws only the part in the window), and 400 %
    // after three more, with scroll bars. Only a whole number of window pixels per image pixel
    // leaves no doubt at the blocks' edges.
    const struct {
        int fit, zoomSteps;
        double scale;
        int viewportLimit;
    } views[] = {{1, 0, double(W) / HOST_W, 0},
                 {3, 0, 1.0, 0},
                 {0, 3, 0.5, 0},
                 {0, 0, 0.5, 300},
                 {0, 3, 0.25, 0}};
    for (auto& format : formats) {
        auto widget = host(HOST_W, HOST_H);
        Image image = makeImage(format);
        BrxDisplay* handle = BrxDisplay_CreateComponent();
        ASSERT_EQ(BrxDisplay_Initialize(handle, widget.get(), GetParam(), image.get()), 0u);
        QTDDisplay* controller = dynamic_cast<BrxDisplayImpl*>(handle)->display;
        QTDWindow* window = controller->getWindow();
        QTDScreen& s = *controller->getScreen();
        ASSERT_TRUE(pumpUntil([&] { return window->isExposed(); }));
        BrxComponent* component = BrxDisplay_GetComponent(handle);
        const QTD::ATTR limit = window->surface->props.get("gl.viewport", "0", true);
        for (auto& view : views) {
            SCOPED_TRACE(testing::Message() << std::hex << format << " at " << view.scale
                                            << " limit " << view.viewportLimit);
            for (int step = 0; step < view.zoomSteps; ++step) {
                EXPECT_EQ(component->RunCommand("display.zoom.in"), 0u);
            }
            if (view.fit != 0) {
                EXPECT_EQ(component->SetParamInt("display.fit", view.fit), 0u);
            }
            window->surface->props.set(
                "gl.viewport", view.viewportLimit ? QTD::ATTR(view.viewportLimit) : limit, true);
            // An acquisition thread hands the image over while this thread runs the events.
            const long before = long(controller->processedCounter.frames.load());
            std::atomic<uint32_t> result{1};
            std::thread camera([&] { result = BrxDisplay_DisplayVideo(handle, image.get()); });
            EXPECT_TRUE(pumpUntil(
                [&] { return long(controller->processedCounter.frames.load()) > before; }));
            camera.join();
            EXPECT_EQ(result, 0u);
            // Centred while the image fits: the image's middle at the window's middle.
            const bool fits = W / view.scale <= HOST_W && H / view.scale <= HOST_H;
            const double ox = (HOST_W - W / view.scale) / 2, oy = (HOST_H - H / view.scale) / 2;
            pumpUntil([&] {
                return std::fabs(s.scaleValue - view.scale) < 1e-6 &&
                       (!fits ||
                        (std::fabs(s.originX - ox) < 1e-6 && std::fabs(s.originY - oy) < 1e-6));
            });
            // Until two grabs a frame apart agree: past the GL surface's pacing of its swaps and
            // a resize's redraw, however slow the machine.
            auto grab = [&] {
                return QGuiApplication::primaryScreen()
                    ->grabWindow(window->winId())
                    .toImage()
                    .convertToFormat(QImage::Format_RGB32);
            };
            QImage shot;
            for (int attempt = 0; attempt < 40; ++attempt) {
                window->update();
                pump(100);
                QImage next = grab();
                const bool settled = next == shot;
                shot = next;
                if (settled) {
                    break;
                }
            }
            EXPECT_NEAR(s.scaleValue, view.scale, 1e-6);
            if (fits) {
                EXPECT_NEAR(s.originX, ox, 1e-6);
                EXPECT_NEAR(s.originY, oy, 1e-6);
            }
            ASSERT_EQ(shot.size(), window->size());
            if (const char* dir = std::getenv("BRX_SHOT_DIR")) {
                shot.save(QString("%1/%2-%3-%4-%5.png")
                              .arg(dir, GetParam())
                              .arg(format, 0, 16)
                              .arg(int(100 / view.scale))
                              .arg(view.viewportLimit));
            }
            expectPixels(shot, format, gpu || format == PT::YUV422_8_UYVY ? 1 : 0, s.originX,
                         s.originY, view.scale, view.fit == 1 ? view.scale : 0.0, fits);
        }
        BrxDisplay_DeleteComponent(handle);
    }
}

INSTANTIATE_TEST_SUITE_P(Backends, EndToEnd, testing::Values("cpu", "opengl"));

// Every sample of each format converted to RGB8 on both backends; at the odd width packed
// frames are unpacked on the CPU, at the even one on the GPU.
TEST(EndToEnd, ConvertsToRgb8OnTheGpuAsOnTheCpu) {
    constexpr int CH = 37;
    for (const int CW : {61, 64})
        for (uint32_t type :
             {PT::Mono8, PT::Mono10, PT::Mono12, PT::Mono16, PT::RGB8, PT::BGR8, PT::RGB16,
              PT::Mono10p, PT::Mono12p, PT::Mono12Packed, PT::YUV422_8_UYVY}) {
            SCOPED_TRACE(testing::Message() << std::hex << type << " at width " << std::dec << CW);
            Image in = make(CW, CH, type);
            const int bits = type == PT::Mono10 ? 10 : type == PT::Mono12 ? 12 : 16;
            // Any byte stream is a valid packed frame.
            const bool wide =
                in->bitsPerChannel > 8 && !QTD::Procs::isIn(QTD::Procs::PACKED_INDEX, type);
            auto* bytes = static_cast<uint8_t*>(in->imageData);
            for (uint32_t i = 0; i < in->imageSize / (wide ? 2 : 1); ++i) {
                const uint32_t v = i * 2654435761u;
                if (wide) {
                    const uint16_t sample = uint16_t(v >> 7 & ((1u << bits) - 1));
                    std::memcpy(bytes + 2 * i, &sample, 2);
                } else {
                    bytes[i] = uint8_t(v >> 9);
                }
            }
            in->imageID = 77;
            in->timestamp = 123456789;
            Image want = make(CW, CH, PT::RGB8), got = make(CW, CH, PT::RGB8);
            {
                Live cpu(type, CW, CH, "cpu");
                ASSERT_EQ(BrxDisplay_ConvertImage(cpu.handle, in.get(), want.get()), 0u);
            }
            Live gpu(type, CW, CH, "opengl");
            ASSERT_EQ(gpu.initCode, 0u);
            ASSERT_EQ(BrxDisplay_ConvertImage(gpu.handle, in.get(), got.get()), 0u);
            EXPECT_EQ(got->imageID, 77u);
            EXPECT_EQ(got->timestamp, 123456789u);
            EXPECT_EQ(got->orientation, want->orientation);
            int worst = 0;
            for (uint32_t y = 0; y < CH; ++y) {
                for (int i = 0; i < 3 * CW; ++i) {
                    const int d = std::abs(row8(got.get(), y)[i] - row8(want.get(), y)[i]);
                    if (d > worst) {
                        worst = d;
                        if (d > (type == PT::YUV422_8_UYVY ? 3 : 1)) {
                            ADD_FAILURE() << "(" << i / 3 << "," << y << ") channel " << i % 3
                                          << ": " << int(row8(got.get(), y)[i]) << " not "
                                          << int(row8(want.get(), y)[i]);
                        }
                    }
                }
            }
            EXPECT_LE(worst, 1);
        }
}

namespace {

// A smooth colour scene sampled through the mosaic of `type` (Bayer, or 12p packed Bayer), at
// `bits` bits.
Image smoothMosaic(uint32_t type, int w, int h, int bits) {
    const int at = QTD::Procs::indexOf(QTD::Procs::BAYER_INDEX, type);
    const int p = at % 4; // GR, RG, BG, GB
    const int rx = 1 - p % 2, ry = p > 1 ? 1 : 0;
    const bool packed = QTD::Procs::isIn(QTD::Procs::PACKED_INDEX, type);
    std::vector<uint16_t> values(size_t(w) * h);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const int c = (x % 2 == rx && y % 2 == ry) ? 0 : (x % 2 != rx && y % 2 != ry) ? 2 : 1;
            const double v = 0.5 + 0.3 * std::sin(x / 11.0 + c) * std::cos(y / 13.0 - c);
            values[size_t(y) * w + x] = uint16_t(std::lround(v * ((1 << bits) - 1)));
        }
    }
    Image image = make(w, h, type);
    auto* bytes = static_cast<uint8_t*>(image->imageData);
    for (size_t i = 0; i < values.size(); ++i) {
        if (packed) { // 12p: two samples in three bytes, low bits first
            const size_t g = i / 2 * 3;
            if (i % 2 == 0) {
                bytes[g] = uint8_t(values[i]);
                bytes[g + 1] = uint8_t(values[i] >> 8);
            } else {
                bytes[g + 1] = uint8_t(bytes[g + 1] | (values[i] & 0xF) << 4);
                bytes[g + 2] = uint8_t(values[i] >> 4);
            }
        } else if (bits > 8) {
            std::memcpy(row8(image.get(), uint32_t(i / w)) + 2 * (i % w), &values[i], 2);
        } else {
            row8(image.get(), uint32_t(i / w))[i % w] = uint8_t(values[i]);
        }
    }
    return image;
}

} // namespace

// Mosaics demosaiced on the GPU against the CPU's picture of the same frame, the same way up.
TEST(EndToEnd, DemosaicsOnTheGpuAsOnTheCpu) {
    constexpr int CW = 96, CH = 64, BORDER = 3;
    const struct {
        uint32_t type;
        int bits;
        std::vector<std::string> stages;
    } cases[] = {
        {PT::BayerRG8, 8, {"image.unpacked", "bayer"}},
        {BRX_PIXEL_BayerGB12, 12, {"image.unpacked", "bayer"}},
        {BRX_PIXEL_BayerBG16, 16, {"image.unpacked", "bayer"}},
        {PT::BayerRG12p, 12, {"unpack", "image.unpacked", "bayer"}},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.type);
        Image in = smoothMosaic(c.type, CW, CH, c.bits);
        Image want = make(CW, CH, PT::RGB8), got = make(CW, CH, PT::RGB8);
        {
            Live cpu(c.type, CW, CH, "cpu");
            ASSERT_EQ(BrxDisplay_ConvertImage(cpu.handle, in.get(), want.get()), 0u);
        }
        Live gpu(c.type, CW, CH, "opengl");
        ASSERT_EQ(gpu.initCode, 0u);
        for (size_t i = 0; i < c.stages.size(); ++i) {
            EXPECT_EQ(gpu.display->chain->stages.keyAt(int(i)).c_str(), c.stages[i]);
        }
        ASSERT_EQ(BrxDisplay_ConvertImage(gpu.handle, in.get(), got.get()), 0u);
        double sum = 0;
        int worst = 0, count = 0;
        for (int y = BORDER; y < CH - BORDER; ++y) {
            for (int i = 3 * BORDER; i < 3 * (CW - BORDER); ++i) {
                const int d =
                    std::abs(row8(got.get(), uint32_t(y))[i] - row8(want.get(), uint32_t(y))[i]);
                sum += d;
                worst = std::max(worst, d);
                ++count;
            }
        }
        EXPECT_LE(sum / count, 2.0);
        EXPECT_LE(worst, 24);
    }
}
