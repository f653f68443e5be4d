// The GL surface on Mesa under Xvfb: the begin deadline, the swap throttle, the error words and
// where drawing lands. The GL screen on it: the part-of-texture path for views beyond the
// driver's viewport showing the same picture.

#include "GLTestSupport.h"

#include "gpu/QGLImage.h"
#include "gpu/QGLScreen.h"
#include "image/QTDImageHelpers.h"

#include <brx/BrxPixelTypes.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using GLSurface = GLTest::OnContext;
using GLTest::Box;

// begin's deadline wraps in 32 bits: near today's clock it lies in the past, so the retry
// loop ends after its first try; only a clock near its epoch would get the full 3 s.
TEST(GLSurfaceInit, BeginDeadlineIsTruncated) {
    int64_t now = int64_t(1'764'000'000'000);
    EXPECT_LT(QGLSurface::beginDeadline(now), now);
    EXPECT_EQ(QGLSurface::beginDeadline(1000), 4000);
}

// The 30 ms throttle and "force", seen on the time of the last swap.
TEST_F(GLSurface, FlushSwapsAtMostEvery30msUnlessForced) {
    surface.flush(nullptr);
    int64_t first = surface.lastFlush;
    ASSERT_NE(first, 0);
    surface.flush(nullptr);
    if (surface.lastFlush == first) {
        QTD::PROPERTIES force;
        force.set("force", "1", true);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        surface.flush(&force);
        EXPECT_GT(surface.lastFlush, first);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(35));
    int64_t before = surface.lastFlush;
    surface.flush(nullptr);
    EXPECT_GT(surface.lastFlush, before);
}

TEST_F(GLSurface, ErrorWordsNameTheCodeAndInvalidOperationIsLenient) {
    clearErrors();
    EXPECT_EQ(surface.checkError("here", true, false), 0);
    surface.glEnable(0x1234); // GL_INVALID_ENUM
    EXPECT_EQ(surface.checkError("here", true, false), GL_INVALID_ENUM);
    EXPECT_EQ(surface.props.get("error"), "here OpenGL error 1280 (GL_INVALID_ENUM)");

    ::glEnd(); // GL_INVALID_OPERATION outside glBegin
    EXPECT_EQ(surface.checkError("lenient", true, false), 0);
    EXPECT_EQ(surface.mode, GL_INVALID_OPERATION);
    ::glEnd();
    EXPECT_EQ(surface.checkError(nullptr, true, true), GL_INVALID_OPERATION);
    EXPECT_EQ(surface.props.get("error"), "OpenGL error 1282 (GL_INVALID_OPERATION)");

    surface.glEnable(0x1234);
    EXPECT_EQ(surface.checkError("quiet", false, false), GL_INVALID_ENUM);
    EXPECT_EQ(surface.props.get("error"), "");
}

// Drawing maps surface coordinates (y down) through the area onto GL's (y up), seen in the back
// buffer: a filled rectangle lands where the surface says, a single point draws nothing, a
// rectangle's outline lies on its corners within a pixel, and a default fill covers it all.
TEST_F(GLSurface, FillsAndLinesLandAtSurfaceCoordinates) {
    // Whether a pixel within `slack` of (x, y) is lit green.
    auto lit = [](std::vector<unsigned char> const& rgba, int x, int y, int slack = 0) {
        for (int dy = -slack; dy <= slack; ++dy)
            for (int dx = -slack; dx <= slack; ++dx) {
                int px = x + dx, py = y + dy;
                if (px >= 0 && px < 320 && py >= 0 && py < 240 &&
                    rgba[((239 - py) * 320 + px) * 4 + 1] > 200)
                    return true;
            }
        return false;
    };
    clearBlack();
    QTD::RgbColor green(0, 255, 0);
    surface.fillRect(10, 20, 30, 40, &green);
    std::vector<unsigned char> filled = readBack();
    for (auto [x, y, in] : {std::tuple{10, 20, true},
                            {39, 59, true},
                            {9, 20, false},
                            {10, 19, false},
                            {40, 59, false},
                            {39, 60, false}})
        EXPECT_EQ(lit(filled, x, y), in) << x << "," << y;

    clearBlack();
    QTD::TPAIRS<int> one = {{50, 50}}, none;
    surface.polyLine(one, &green, 3, 0);
    surface.polyLine(none, &green, 3, 0);
    std::vector<unsigned char> empty = readBack();
    EXPECT_EQ(std::count(empty.begin(), empty.end(), 255), 320 * 240) << "alpha only";

    surface.rect(100, 60, 80, 40, &green, 1, 0);
    std::vector<unsigned char> box = readBack();
    for (auto [x, y] :
         {std::pair{100, 60}, {180, 60}, {180, 100}, {100, 100}, {140, 60}, {100, 80}})
        EXPECT_TRUE(lit(box, x, y, 1)) << x << "," << y;
    EXPECT_FALSE(lit(box, 140, 80, 5));

    surface.fillRect(-1, -1, -1, -1, &green);
    std::vector<unsigned char> full = readBack();
    for (auto [x, y] : {std::pair{0, 0}, {319, 239}, {160, 120}})
        EXPECT_TRUE(lit(full, x, y)) << x << "," << y;
    EXPECT_EQ(surface.checkError("lines", true, true), 0);
}

int const W = 320, H = 240;

class GLScreen : public GLTest::OnContext {
protected:
    void SetUp() override {
        OnContext::SetUp();
        surface.props.set("smoothing", "0", true);
        // A picture whose every pixel tells its place: red the column, green the row.
        source.reset(QTDImageHelpers::imageCreateImage(nullptr, 200, 100, BRX_PIXEL_RGB8));
        auto* p = static_cast<unsigned char*>(source->imageData);
        for (int y = 0; y < 100; ++y)
            for (int x = 0; x < 200; ++x) {
                p[y * source->stride + x * 3] = static_cast<unsigned char>(x);
                p[y * source->stride + x * 3 + 1] = static_cast<unsigned char>(y * 2);
                p[y * source->stride + x * 3 + 2] = 255;
            }
        // Bottom-up on the GPU, as the window wants it.
        QTD::PROPERTIES flip;
        flip.set("image.flip.vert", "1", true);
        target = std::make_unique<QGLImage>(&surface);
        ASSERT_TRUE(target->init(source.get(), &flip));
        surface.glBindTexture(GL_TEXTURE_2D, target->texture());
        ASSERT_TRUE(target->fillGPU(source.get()));
        surface.glBindTexture(GL_TEXTURE_2D, 0);
        screen = std::make_unique<QGLScreen>(&surface);
        ASSERT_TRUE(screen->init(nullptr, 200, 100, QTDScreen::FitActual));
        screen->window(W, H);
        screen->props.set("color", "0", true);
    }

    void TearDown() override {
        target.reset();
        OnContext::TearDown();
    }

    // One frame as the window draws it, read back as window pixels (y down, RGB).
    std::vector<unsigned char> frame() {
        EXPECT_TRUE(screen->begin(nullptr));
        screen->clear(false);
        EXPECT_TRUE(screen->draw(target->image(), nullptr));
        std::vector<unsigned char> rgba = readBack(W, H);
        std::vector<unsigned char> rgb(W * H * 3);
        for (int y = 0; y < H; ++y)
            for (int x = 0; x < W; ++x)
                for (int c = 0; c < 3; ++c)
                    rgb[(y * W + x) * 3 + c] = rgba[((H - 1 - y) * W + x) * 4 + c];
        return rgb;
    }

    QTDImageHelpers::ImagePtr source;
    std::unique_ptr<QGLImage> target;
    std::unique_ptr<QGLScreen> screen;
};

// Zoomed past a small viewport limit, the visible part is cut from the texture: the window
// shows what the whole texture shows with the driver's own limit.
TEST_F(GLScreen, PartialPathShowsWhatTheWholeTextureShows) {
    struct View {
        double scale, x, y;
    } const views[] = {
        {1.0, 0.5, 0.5}, {0.5, 0.5, 0.5}, {0.25, 0.5, 0.5}, {0.25, 0.2, 0.7}, {0.25, 0.9, 0.1}};
    for (auto const& v : views) {
        double scale = v.scale;
        SCOPED_TRACE(testing::Message() << scale << " at " << v.x << ";" << v.y);
        screen->scale(scale, true);
        screen->at(v.x, v.y);
        std::vector<unsigned char> whole = frame();
        QTD::ATTR limit = surface.props.get("gl.viewport");
        surface.props.set("gl.viewport", "64", true);
        std::vector<unsigned char> part = frame();
        surface.props.set("gl.viewport", limit, true);
        int far = 0, picture = 0;
        for (size_t i = 0; i < whole.size(); ++i)
            far += std::abs(int(whole[i]) - int(part[i])) > 8;
        for (size_t i = 2; i < part.size(); i += 3)
            picture += part[i] == 255;
        // The picture covers as much of the window as its zoomed size allows.
        EXPECT_EQ(picture, std::min(W, int(200 / scale)) * std::min(H, int(100 / scale)));
        // Texel edges may fall one pixel apart; nothing else may differ.
        EXPECT_LT(far, int(whole.size() / 50)) << far;
    }
}

} // namespace
