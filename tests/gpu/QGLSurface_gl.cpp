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

TEST(GLSurfaceInit, RefusesWithoutAWindowAndStaysCreated) {
    QGLSurface surface;
    EXPECT_FALSE(surface.init(nullptr));
    EXPECT_EQ(surface.props.get("state"), "created");
    QTD::PROPERTIES empty;
    EXPECT_FALSE(surface.init(&empty));
    EXPECT_EQ(surface.props.get("state"), "created");
    EXPECT_FALSE(surface.isValid());
}

// A window that cannot take a context fails begin, and with it init.
TEST(GLSurfaceInit, RasterWindowFailsAndSaysSo) {
    QWindow raster;
    raster.setSurfaceType(QSurface::RasterSurface);
    raster.resize(64, 64);
    raster.create();
    QGLSurface surface;
    QTD::PROPERTIES props;
    props.set("window", QTD::ATTR(static_cast<void*>(&raster)), true);
    EXPECT_FALSE(surface.init(&props));
    EXPECT_EQ(surface.props.get("state"), "failed");
    EXPECT_FALSE(surface.isValid());
}

// begin's deadline wraps in 32 bits: near today's clock it lies in the past, so the retry
// loop ends after its first try; only a clock near its epoch would get the full 3 s.
TEST(GLSurfaceInit, BeginDeadlineIsTruncated) {
    int64_t now = int64_t(1'764'000'000'000);
    EXPECT_LT(QGLSurface::beginDeadline(now), now);
    EXPECT_EQ(QGLSurface::beginDeadline(1000), 4000);
}

TEST_F(GLSurface, PublishesContextWindowAndLimits) {
    QTD::PROPERTIES& p = surface.props;
    EXPECT_EQ(p.get("state"), "ready");
    EXPECT_EQ(p.get("class"), "QGLSurface");
    EXPECT_EQ(p.get("context").as<void*>(), static_cast<void*>(surface.context));
    EXPECT_EQ(p.get("window").as<void*>(), static_cast<void*>(window.get()));
    EXPECT_EQ(p.get("size"), "320;240");
    EXPECT_EQ(p.get("gl.strict"), "1");
    EXPECT_EQ(p.get("thread"), "0");
    EXPECT_EQ(p.get("program"), "0");
    for (char const* key : {"gl.texture", "gl.renderbuffer", "gl.viewport"})
        EXPECT_GE(p.get(key, "0").as<int>(), 1024) << key;
    EXPECT_FALSE(p.get("gl.vendor").empty());
    EXPECT_FALSE(p.get("gl.version").empty());
    // Drawing uses the fixed pipeline.
    EXPECT_NE(surface.context->format().profile(), QSurfaceFormat::CoreProfile);
}

TEST_F(GLSurface, ShutDeletesTheContextAndInitComesBack) {
    surface.end();
    surface.shut();
    EXPECT_EQ(surface.props.get("state"), "deleted");
    EXPECT_FALSE(surface.isValid());
    QTD::PROPERTIES props;
    props.set("window", QTD::ATTR(static_cast<void*>(window.get())), true);
    props.set("size.x", "100", true);
    props.set("area.dim.h", "50.5", true);
    ASSERT_TRUE(surface.init(&props));
    EXPECT_EQ(surface.width, 100);
    EXPECT_EQ(surface.height, 240);
    EXPECT_DOUBLE_EQ(surface.area.height, 50.5);
    EXPECT_DOUBLE_EQ(surface.area.width, 320);
    // init leaves nothing current.
    EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
    ASSERT_TRUE(surface.begin(nullptr));
}

TEST_F(GLSurface, SecondBeginKeepsTheBracketAndEndReleases) {
    EXPECT_TRUE(surface.current);
    EXPECT_TRUE(surface.begin(nullptr));
    EXPECT_EQ(QOpenGLContext::currentContext(), surface.context);
    surface.end();
    EXPECT_FALSE(surface.current);
    EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
    // A begin that has to make the context current again.
    EXPECT_TRUE(surface.begin(nullptr));
    EXPECT_EQ(QOpenGLContext::currentContext(), surface.context);
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

// A stuck lock loses the swap rather than waiting for it.
TEST_F(GLSurface, BusySurfaceDropsTheSwap) {
    std::thread holder;
    std::atomic<bool> held{false}, release{false};
    holder = std::thread([&] {
        surface.guard.lock();
        held = true;
        while (!release)
            std::this_thread::yield();
        surface.guard.unlock();
    });
    while (!held)
        std::this_thread::yield();
    QTD::PROPERTIES force;
    force.set("force", "1", true);
    surface.flush(&force);
    EXPECT_EQ(surface.lastFlush, 0);
    release = true;
    holder.join();
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

TEST_F(GLSurface, ImageWithoutGLTargetDrawsNothing) {
    clearErrors();
    BrxImage plain{};
    QTD::TRECT<double> dest{0, 0, 10, 10}, src{0, 0, 1, 1};
    surface.image(&plain, &dest, &src);
    surface.image(nullptr, &dest, &src);
    EXPECT_EQ(surface.checkError("image", true, true), 0);
}

TEST_F(GLSurface, HelpersMakeShaderProgramAndTextureAndReportFailures) {
    unsigned int v =
        surface.makeShader(GL_VERTEX_SHADER, "void main() { gl_Position = ftransform(); }");
    unsigned int f =
        surface.makeShader(GL_FRAGMENT_SHADER, "void main() { gl_FragColor = vec4(1.0); }");
    ASSERT_NE(v, 0u);
    ASSERT_NE(f, 0u);
    unsigned int program = surface.makeProgram(v, f);
    EXPECT_NE(program, 0u);
    EXPECT_EQ(surface.makeShader(GL_FRAGMENT_SHADER, "void main() { nonsense; }"), 0u);
    EXPECT_EQ(surface.makeShader(GL_FRAGMENT_SHADER, ""), 0u);
    EXPECT_EQ(surface.makeProgram(v, 0), 0u);
    surface.glDeleteProgram(program);
    surface.glDeleteShader(v);
    surface.glDeleteShader(f);

    clearErrors();
    // Rows of two bytes at the default unpack alignment of four.
    unsigned char pixels[8] = {1, 2, 0, 0, 3, 4, 0, 0};
    GLint before = 0;
    surface.makeTexture(2, 2, pixels, GL_RED, GL_R8, GL_NEAREST, GL_UNSIGNED_BYTE);
    surface.glGetIntegerv(GL_TEXTURE_BINDING_2D, &before);
    EXPECT_EQ(before, 0);
    EXPECT_EQ(surface.checkError("makeTexture", true, true), 0);
}

TEST_F(GLSurface, ReferenceBorrowsTheContextAndLeavesItAlive) {
    QGLSurfaceRef orphan;
    QTD::PROPERTIES none;
    EXPECT_FALSE(orphan.init(&none));
    {
        QGLSurfaceRef ref;
        QTD::PROPERTIES props;
        props.set("surface", QTD::ATTR(static_cast<void*>(&surface)), true);
        props.set("size.x", "64", true);
        props.set("size.y", "32", true);
        ASSERT_TRUE(ref.init(&props));
        EXPECT_EQ(ref.context, surface.context);
        EXPECT_EQ(ref.props.get("class"), "QGLSurfaceRef");
        EXPECT_EQ(ref.props.get("size"), "64;32");
        EXPECT_EQ(ref.props.get("gl.texture"), surface.props.get("gl.texture"));
        EXPECT_EQ(surface.props.get("class"), "QGLSurface");
        surface.end();
        EXPECT_TRUE(ref.begin(nullptr));
        EXPECT_EQ(QOpenGLContext::currentContext(), nullptr);
        ASSERT_TRUE(surface.begin(nullptr));
        ref.end();
        EXPECT_EQ(QOpenGLContext::currentContext(), surface.context);
    }
    // The source's context outlives the reference.
    EXPECT_TRUE(surface.isValid());
    EXPECT_EQ(QOpenGLContext::currentContext(), surface.context);
    EXPECT_EQ(surface.checkError("after the reference", true, true), 0);
}

} // namespace
