// The GL surface on Mesa under Xvfb: its bag, the context bracket, the swap throttle and the
// error words.

#include "GLTestSupport.h"

#include "gpu/QGLSurfaceRef.h"

#include <QImage>
#include <QOpenGLContext>

#include <algorithm>
#include <thread>
#include <utility>
#include <vector>

using GLTest::OnContext;

namespace {

class GLSurface : public OnContext {};

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

// Drawing maps surface coordinates (y down) through the area onto GL's (y up): a filled
// rectangle lands where the surface says, seen in the back buffer.
TEST_F(GLSurface, FillRectLandsAtSurfaceCoordinates) {
    surface.setViewport(0, 0);
    surface.glClearColor(0, 0, 0, 1);
    surface.glClear(GL_COLOR_BUFFER_BIT);
    QTD::RgbColor red(255, 0, 0);
    surface.fillRect(10, 20, 30, 40, &red);
    std::vector<unsigned char> rgba(320 * 240 * 4);
    surface.glPixelStorei(GL_PACK_ALIGNMENT, 1);
    surface.glReadPixels(0, 0, 320, 240, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    auto redAt = [&](int x, int y) { return rgba[((239 - y) * 320 + x) * 4] > 200; };
    EXPECT_TRUE(redAt(10, 20));
    EXPECT_TRUE(redAt(39, 59));
    EXPECT_FALSE(redAt(9, 20));
    EXPECT_FALSE(redAt(10, 19));
    EXPECT_FALSE(redAt(40, 59));
    EXPECT_FALSE(redAt(39, 60));
    EXPECT_EQ(surface.checkError("fill", true, true), 0);
}

// Lines: a single point draws nothing, a rectangle's outline lies on its corners within a
// pixel, and a default fill covers the whole surface.
TEST_F(GLSurface, LinesAndDefaultFill) {
    auto shot = [&] {
        std::vector<unsigned char> rgba(320 * 240 * 4);
        surface.glPixelStorei(GL_PACK_ALIGNMENT, 1);
        surface.glReadPixels(0, 0, 320, 240, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
        return rgba;
    };
    auto lit = [](std::vector<unsigned char> const& rgba, int x, int y, int slack) {
        for (int dy = -slack; dy <= slack; ++dy)
            for (int dx = -slack; dx <= slack; ++dx) {
                int px = x + dx, py = y + dy;
                if (px >= 0 && px < 320 && py >= 0 && py < 240 &&
                    rgba[((239 - py) * 320 + px) * 4 + 1] > 200)
                    return true;
            }
        return false;
    };
    surface.setViewport(0, 0);
    surface.glClearColor(0, 0, 0, 1);
    surface.glClear(GL_COLOR_BUFFER_BIT);
    QTD::RgbColor green(0, 255, 0);
    QTD::TPAIRS<int> one = {{50, 50}};
    surface.polyLine(one, &green, 3, 0);
    QTD::TPAIRS<int> none;
    surface.polyLine(none, &green, 3, 0);
    std::vector<unsigned char> empty = shot();
    EXPECT_EQ(std::count(empty.begin(), empty.end(), 255), 320 * 240) << "alpha only";

    surface.rect(100, 60, 80, 40, &green, 1, 0);
    std::vector<unsigned char> box = shot();
    for (auto [x, y] :
         {std::pair{100, 60}, {180, 60}, {180, 100}, {100, 100}, {140, 60}, {100, 80}})
        EXPECT_TRUE(lit(box, x, y, 1)) << x << "," << y;
    EXPECT_FALSE(lit(box, 140, 80, 5));

    surface.fillRect(-1, -1, -1, -1, &green);
    std::vector<unsigned char> full = shot();
    EXPECT_TRUE(lit(full, 0, 0, 0));
    EXPECT_TRUE(lit(full, 319, 239, 0));
    EXPECT_TRUE(lit(full, 160, 120, 0));
    EXPECT_EQ(surface.checkError("lines", true, true), 0);
}

} // namespace
