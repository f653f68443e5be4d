// The GL screen: the image where the view puts it, upright from a bottom-up target, and the
// part-of-texture path for views beyond the driver's viewport showing the same picture.

#include "GLTestSupport.h"

#include "gpu/QGLImage.h"
#include "gpu/QGLScreen.h"
#include "image/QTDImageHelpers.h"

#include <brx/BrxPixelTypes.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

using GLTest::OnContext;

namespace {

int const W = 320, H = 240;

class GLScreen : public OnContext {
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

// At 1:1 each window pixel inside the image's rectangle is the image pixel under it, the
// right way up, and the background lies around it.
TEST_F(GLScreen, ActualSizeShowsEveryPixelUprightWhereTheViewPutsIt) {
    std::vector<unsigned char> shot = frame();
    QTD::TRECT<double> at = screen->imageRect();
    int left = int(std::lround(at.x)), top = int(std::lround(at.y));
    int wrong = 0;
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 200; ++x) {
            unsigned char const* px = &shot[((top + y) * W + left + x) * 3];
            wrong += px[0] != x || px[1] != y * 2 || px[2] != 255;
        }
    EXPECT_EQ(wrong, 0);
    unsigned char const* corner = &shot[0];
    EXPECT_EQ(corner[0] + corner[1] + corner[2], 0);
    EXPECT_EQ(surface.checkError("frame", true, true), 0);
}

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
