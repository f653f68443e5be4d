// The display on its OpenGL backend as an application meets it: the chains it composes, what it
// draws beside the image, and its lifetime across set-ups, backends and deletion.

#include "FrontTestSupport.h"

#include "chain/QTDProcessor.h"
#include "gpu/QGLIPUnpack.h"
#include "screen/DrawObjects.h"
#include "screen/QTDSurface.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <QTemporaryDir>

#include <log4cpp/AppenderSkeleton.hh>
#include <log4cpp/Category.hh>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace FrontTest;

namespace {

// Collects what the library logs at warning level and above.
class Warnings : public log4cpp::AppenderSkeleton {
public:
    Warnings() : AppenderSkeleton("gl-warnings") {
        setThreshold(log4cpp::Priority::WARN);
        // By reference: the category does not own it.
        log4cpp::Category::getInstance("BrxDisplayQt").addAppender(*this);
    }
    ~Warnings() override { log4cpp::Category::getInstance("BrxDisplayQt").removeAppender(this); }
    bool reopen() override { return true; }
    void close() override {}
    bool requiresLayout() const override { return false; }
    void setLayout(log4cpp::Layout* layout) override { delete layout; }
    // The messages that tell of a GL error.
    std::vector<std::string> glErrors() {
        std::lock_guard<std::mutex> hold(mutex);
        std::vector<std::string> found;
        for (auto& m : messages) {
            if (m.find("OpenGL error") != std::string::npos ||
                m.find("context is not current") != std::string::npos) {
                found.push_back(m);
            }
        }
        return found;
    }

protected:
    void _append(const log4cpp::LoggingEvent& event) override {
        std::lock_guard<std::mutex> hold(mutex);
        messages.push_back(event.message);
    }

private:
    std::mutex mutex;
    std::vector<std::string> messages;
};

std::vector<std::string> stageNames(QTDDisplay* display) {
    std::vector<std::string> names;
    for (int i = 0; display->chain && i < display->chain->Size(); ++i) {
        names.push_back(display->chain->stages.keyAt(i).c_str());
    }
    return names;
}

QImage grab(QTDWindow* window) {
    return QGuiApplication::primaryScreen()
        ->grabWindow(window->winId())
        .toImage()
        .convertToFormat(QImage::Format_RGB32);
}

struct Box {
    int left = INT_MAX, top = INT_MAX, right = -1, bottom = -1;
};

// The box of the pixels brighter than the black image in rows [y0, y1).
Box inkBox(const QImage& shot, int y0, int y1) {
    Box box;
    for (int y = y0; y < std::min(y1, shot.height()); ++y) {
        for (int x = 0; x < shot.width(); ++x) {
            if (qGray(shot.pixel(x, y)) > 24) {
                box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x),
                       std::max(box.bottom, y)};
            }
        }
    }
    return box;
}

} // namespace

TEST(GpuDisplay, ComposesTheChainsOfTheOpenGLBackend) {
    Warnings warnings;
    const std::vector<std::string> plain = {"image.unpacked", "image.colorcorrection",
                                            "image.overlay",  "image.output",
                                            "image.display",  "image.coloration"};
    {
        Live live(PT::Mono8, 40, 30, "opengl");
        EXPECT_EQ(stageNames(live.display), plain);
        EXPECT_EQ(live.display->properties.get("strict"), "0");
    }
    // Packed rows are unpacked on the GPU when they start on a byte; else the CPU unpack takes
    // the GPU one's place, under the same name.
    std::vector<std::string> withUnpack = plain;
    withUnpack.insert(withUnpack.begin(), "unpack");
    for (int width : {40, 42}) {
        Live live(PT::Mono10p, width, 30, "opengl");
        EXPECT_EQ(stageNames(live.display), withUnpack);
        auto* unpack = live.display->chain->GetProcessor("unpack");
        EXPECT_EQ(dynamic_cast<QGLIPUnpack*>(unpack) != nullptr, width == 40) << width;
    }
    std::vector<std::string> bayer = withUnpack;
    bayer.insert(bayer.begin() + 2, "bayer");
    for (uint32_t type : {PT::BayerRG12p, uint32_t(BRX_PIXEL_BayerGR10Packed)}) {
        Live live(type, 40, 30, "opengl");
        EXPECT_EQ(stageNames(live.display), bayer);
    }
    {
        Live live(PT::YUV422_8_UYVY, 40, 30, "opengl");
        std::vector<std::string> yuv = plain;
        yuv.insert(yuv.begin(), "yuv2rgb");
        EXPECT_EQ(stageNames(live.display), yuv);
    }
    // Past 12,000,000 pixels on a surface that asks for it: no correction, no overlay, no
    // coloration, and the viewer turns the picture upright. It still comes out upright.
    {
        constexpr int SW = 4001, SH = 3000;
        Live live(PT::Mono8, SW, SH, "opengl");
        EXPECT_EQ(live.display->properties.get("strict"), "1");
        EXPECT_EQ(stageNames(live.display),
                  (std::vector<std::string>{"image.output", "image.display"}));
        EXPECT_EQ(live.display->chain->properties.get("flip"), "1");
        Image in = make(SW, SH, PT::Mono8), out = make(SW, SH, PT::RGB8);
        for (uint32_t y = 0; y < in->height; ++y) {
            std::memset(row8(in.get(), y), y < SH / 2 ? 30 : 200, SW);
        }
        ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), out.get()), 0u);
        EXPECT_EQ(row8(out.get(), 0)[0], 30);
        EXPECT_EQ(row8(out.get(), SH - 1)[3 * SW - 1], 200);
    }
    // A packed mosaic that large: unpacking and demosaicing only; demosaicing turns it upright.
    {
        Live live(PT::BayerRG12p, 4000, 3001, "opengl");
        EXPECT_EQ(stageNames(live.display),
                  (std::vector<std::string>{"unpack", "bayer", "image.output", "image.display"}));
        EXPECT_EQ(live.display->chain->properties.get("flip"), "0");
        Image in = make(4000, 3001, PT::BayerRG12p), out = make(4000, 3001, PT::RGB8);
        auto* bytes = static_cast<uint8_t*>(in->imageData);
        std::memset(bytes, 0, in->imageSize / 2);
        std::memset(bytes + in->imageSize / 2, 0xFF, in->imageSize - in->imageSize / 2);
        ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, in.get(), out.get()), 0u);
        EXPECT_EQ(row8(out.get(), 10)[300], 0);
        EXPECT_EQ(row8(out.get(), 2990)[300], 255);
    }
    // One pixel fewer is an ordinary frame.
    {
        Live live(PT::Mono8, 4000, 3000, "opengl");
        EXPECT_EQ(live.display->properties.get("strict"), "0");
    }
    EXPECT_EQ(warnings.glErrors(), std::vector<std::string>{});
}

TEST(GpuDisplay, InfoLineNamesTheDriver) {
    Live live(PT::Mono8, 40, 30, "opengl");
    ASSERT_EQ(live.display->RunCommandParams("cmd.display.view.info", nullptr), 1);
    QTD::PROPERTIES* info = live.display->getWindow()->drawObjects.find("@info", true);
    ASSERT_NE(info, nullptr);
    const std::string text = info->get("text").c_str();
    const std::string vendor =
        live.display->getWindow()->surface->props.get("gl.vendor", "", true).c_str();
    EXPECT_FALSE(vendor.empty());
    EXPECT_NE(text.find("type=GPU"), std::string::npos) << text;
    EXPECT_NE(text.find("vendor=" + vendor), std::string::npos) << text;
    EXPECT_NE(text.find("opengl="), std::string::npos) << text;
}

// Text, a rectangle and the status line stand where they stand on the CPU window.
TEST(GpuDisplay, OverlaysLandWhereTheyLandOnTheCpuWindow) {
    constexpr int WW = 480, WH = 360;
    Box boxes[2][3];
    const char* modes[] = {"cpu", "opengl"};
    for (int m = 0; m < 2; ++m) {
        SCOPED_TRACE(modes[m]);
        auto widget = host(WW, WH);
        // The window's own shape: at fit the black image covers it all.
        Image image = make(WW, WH, PT::Mono8);
        BrxDisplay* handle = BrxDisplay_CreateComponent();
        ASSERT_EQ(BrxDisplay_Initialize(handle, widget.get(), modes[m], image.get()), 0u);
        QTDDisplay* display = dynamic_cast<BrxDisplayImpl*>(handle)->display;
        QTDWindow* window = display->getWindow();
        ASSERT_TRUE(pumpUntil([&] { return window->isExposed(); }));
        ASSERT_EQ(BrxDisplay_DisplayVideo(handle, image.get()), 0u);
        ASSERT_TRUE(pumpUntil([&] { return display->processedCounter.frames.load() > 0; }));
        Params text = of("text.text=Overlay_Hg text.pos.x=40 text.pos.y=150 text.clr=16777215");
        ASSERT_EQ(display->RunCommandParams("cmd.display.overlay.text.add", &text), 1);
        Params rect = of("rect.x=100 rect.y=260 rect.w=120 rect.h=50 line.clr=16777215");
        ASSERT_EQ(display->RunCommandParams("cmd.display.overlay.rect.add", &rect), 1);
        ASSERT_EQ(display->RunCommandParams("cmd.display.view.status", nullptr), 1);
        window->update();
        pump(150);
        const QImage shot = grab(window);
        ASSERT_EQ(shot.size(), QSize(WW, WH));
        if (const char* dir = std::getenv("BRX_SHOT_DIR")) {
            shot.save(QString("%1/overlays-%2.png").arg(dir, modes[m]));
        }
        boxes[m][0] = inkBox(shot, 0, 100);
        boxes[m][1] = inkBox(shot, 100, 240);
        boxes[m][2] = inkBox(shot, 240, WH);
        BrxDisplay_DeleteComponent(handle);
    }
    const char* what[] = {"status line", "text", "rectangle"};
    for (int b = 0; b < 3; ++b) {
        SCOPED_TRACE(what[b]);
        const Box &cpu = boxes[0][b], &gl = boxes[1][b];
        ASSERT_GE(cpu.right, 0) << "nothing drawn on the CPU window";
        EXPECT_NEAR(gl.left, cpu.left, 1);
        EXPECT_NEAR(gl.top, cpu.top, 1);
        EXPECT_NEAR(gl.bottom, cpu.bottom, 1);
        // The status line's text holds timings, whose width differs from run to run.
        if (b != 0) {
            EXPECT_NEAR(gl.right, cpu.right, 1);
        }
    }
}

// Fifty set-ups alternating between the backends while a camera thread keeps sending, then the
// display deleted with a frame still waiting, and one whose application widget goes first.
TEST(GpuDisplay, AlternatingBackendsAndDeletionMidStream) {
    Warnings warnings;
    auto widget = host(200, 150);
    BrxDisplay* handle = BrxDisplay_CreateComponent();
    QTDDisplay* display = dynamic_cast<BrxDisplayImpl*>(handle)->display;
    const uint32_t types[] = {PT::Mono8,      PT::Mono12,  PT::RGB8,         PT::BayerRG8,
                              PT::BayerRG12p, PT::Mono10p, PT::YUV422_8_UYVY};
    Image image;
    for (int cycle = 0; cycle < 50; ++cycle) {
        SCOPED_TRACE(cycle);
        image = make(64 + cycle % 3 * 8, 48, types[cycle % 7]);
        std::memset(image->imageData, 0x05, image->imageSize);
        const char* mode = cycle % 2 ? "opengl" : "cpu";
        ASSERT_EQ(BrxDisplay_Initialize(handle, widget.get(), mode, image.get()), 0u);
        std::atomic<bool> stop{false};
        std::thread camera([&] {
            while (!stop) {
                BrxDisplay_DisplayVideo(handle, image.get());
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
        });
        const long before = long(display->processedCounter.frames.load());
        EXPECT_TRUE(
            pumpUntil([&] { return long(display->processedCounter.frames.load()) >= before + 2; }));
        stop = true;
        camera.join();
    }
    ASSERT_EQ(BrxDisplay_DisplayVideo(handle, image.get()), 0u);
    BrxDisplay_DeleteComponent(handle);
    pump(20);

    image = make(64, 48, PT::Mono12);
    handle = BrxDisplay_CreateComponent();
    display = dynamic_cast<BrxDisplayImpl*>(handle)->display;
    ASSERT_EQ(BrxDisplay_Initialize(handle, widget.get(), "opengl", image.get()), 0u);
    ASSERT_EQ(BrxDisplay_DisplayVideo(handle, image.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return display->processedCounter.frames.load() > 0; }));
    widget.reset();
    EXPECT_EQ(display->viewer, nullptr);
    EXPECT_EQ(display->chain, nullptr);
    EXPECT_EQ(BrxDisplay_DisplayVideo(handle, image.get()), 0u);
    pump(20);
    BrxDisplay_DeleteComponent(handle);
    EXPECT_EQ(warnings.glErrors(), std::vector<std::string>{});
}

// On the OpenGL backend the picture shown is read back from the card when asked: the pixel's
// shown value and a saved view come the right way up.
TEST(GpuDisplay, PixelReadoutAndSavedViewComeBackFromTheCard) {
    Live live(PT::RGB8, 40, 30, "opengl");
    Image frame = make(40, 30, PT::RGB8);
    for (uint32_t y = 0; y < 30; ++y) {
        for (uint32_t x = 0; x < 40; ++x) {
            uint8_t* p = row8(frame.get(), y) + 3 * x;
            p[0] = uint8_t(x * 6), p[1] = uint8_t(y * 8), p[2] = 77;
        }
    }
    ASSERT_EQ(BrxDisplay_DisplayVideo(live.handle, frame.get()), 0u);
    ASSERT_TRUE(pumpUntil([&] { return live.processed() > 0; }));
    Params pixel{{"pos.x", "5"}, {"pos.y", "7"}};
    ASSERT_EQ(live.display->RunCommandParams("cmd.image.pixel", &pixel), 1);
    EXPECT_EQ(pixel["raw"], "30;56;77");
    EXPECT_EQ(pixel["shown"], "30;56;77");
    QTemporaryDir dir;
    const QString file = dir.filePath("view.png");
    Params save{{"file", file.toStdString()}, {"what", "shown"}};
    ASSERT_EQ(live.display->RunCommandParams("cmd.image.save", &save), 1);
    ASSERT_TRUE(pumpUntil([&] { return !QImage(file).isNull(); }));
    const QColor seen = QImage(file).pixelColor(5, 7);
    EXPECT_EQ(seen.red(), 30);
    EXPECT_EQ(seen.green(), 56);
    EXPECT_EQ(seen.blue(), 77);
}
