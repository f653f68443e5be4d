// The pipe runs its objects in order and hands each one's result to the next; every shader of
// the table compiles and every pass links on Mesa, and a pass whose program does not build fails
// its init.

#include "GLTestSupport.h"

#include "gpu/QGLImage.h"
#include "gpu/QGLRenderObjects.h"
#include "gpu/QGLShaders.h"
#include "image/QTDImageHelpers.h"

#include <brx/BrxPixelTypes.h>

#include <QOpenGLShaderProgram>

#include <string>
#include <vector>

namespace {

// Writes its name into `trail` on each call, and gives `result` as output and format.
class Step : public QTD::RenderObject {
public:
    Step(std::string n, std::vector<std::string>& t, BrxImage* r)
        : name(std::move(n)), trail(t), result(r) {
        outputImage = formatOut = r;
    }
    bool init(BrxImage* image, QTD::PROPERTIES*) override { return call("init", image); }
    bool process(BrxImage* image, QTD::PROPERTIES*) override { return call("process", image); }
    void reset(bool keep) override {
        trail.push_back(name + (keep ? " keep" : " reset"));
        QTD::RenderObject::reset(keep);
    }

    std::string name;
    std::vector<std::string>& trail;
    BrxImage* result;
    BrxImage* seen = nullptr;
    bool fail = false;

private:
    bool call(char const* what, BrxImage* image) {
        trail.push_back(name + " " + what);
        seen = image;
        return !fail;
    }
};

TEST(RenderPipe, RunsInOrderAndChainsResults) {
    std::vector<std::string> trail;
    BrxImage in{}, a{}, c{};
    auto* first = new Step("a", trail, &a);
    auto* passOn = new Step("b", trail, nullptr);
    auto* last = new Step("c", trail, &c);
    QTD::RenderPipe pipe;
    EXPECT_TRUE(pipe.process(&in, nullptr)) << "an empty pipe";
    pipe.stop(true);
    EXPECT_TRUE(pipe.init(&in, nullptr)) << "stopped but empty";
    pipe.stop(false);
    ASSERT_TRUE(pipe.insertObject("c", last, -1));
    ASSERT_TRUE(pipe.insertObject("a", first, 0));
    ASSERT_TRUE(pipe.insertObject("b", passOn, 1));
    EXPECT_FALSE(pipe.insertObject("", first, 0));
    EXPECT_FALSE(pipe.insertObject("x", nullptr, 0));
    pipe.objects.set("empty", "", true);

    ASSERT_TRUE(pipe.init(&in, nullptr));
    ASSERT_TRUE(pipe.process(&in, nullptr));
    EXPECT_EQ(trail, (std::vector<std::string>{"a init", "b init", "c init", "a process",
                                               "b process", "c process"}));
    EXPECT_EQ(first->seen, &in);
    EXPECT_EQ(passOn->seen, &a);
    EXPECT_EQ(last->seen, &a) << "an object without output passes its input on";
    EXPECT_EQ(pipe.output(), &c);
    EXPECT_EQ(pipe.format(false), &c);
    EXPECT_EQ(pipe.format(true), nullptr);

    trail.clear();
    passOn->fail = true;
    EXPECT_FALSE(pipe.process(&in, nullptr));
    EXPECT_EQ(trail, (std::vector<std::string>{"a process", "b process"}));
    pipe.stop(true);
    EXPECT_FALSE(pipe.init(&in, nullptr));

    EXPECT_EQ(pipe.findObject("b"), 1);
    EXPECT_EQ(pipe.findObject("nothing"), -1);
    EXPECT_FALSE(pipe.deleteObject("nothing"));
    trail.clear();
    ASSERT_TRUE(pipe.deleteObject("b"));
    EXPECT_EQ(trail, (std::vector<std::string>{"b reset"}));
    EXPECT_EQ(pipe.findObject("c"), 1);
    delete passOn; // handed back
}

class BrokenPass : public QGLRenderObject {
public:
    using QGLRenderObject::QGLRenderObject;
    bool init(BrxImage* image, QTD::PROPERTIES* p) override {
        QGLImage* target = nullptr;
        QTD::PixelFormat format;
        if (!image || !prepare(image, p, target, format))
            return false;
        return link("image.v.glsl", QTD::loadShader("image.v.glsl"), "broken.f.glsl",
                    fragment.c_str(), {"source"}, target);
    }
    std::string fragment;
};

using RenderObjectGL = GLTest::OnContext;
using GLShaders = GLTest::OnContext;

// Each text on its own, through the driver's compile status, then each pass linked.
TEST_F(GLShaders, EveryShaderCompilesAndEveryPassLinks) {
    for (int i = 0; i < 10; ++i) {
        bool vertex = QTD::SHADERS[i].first.findPos(".v.glsl") >= 0;
        unsigned int shader = surface.makeShader(vertex ? GL_VERTEX_SHADER : GL_FRAGMENT_SHADER,
                                                 QTD::SHADERS[i].second.c_str());
        EXPECT_NE(shader, 0u) << QTD::SHADERS[i].first << ": " << surface.props.get("error");
        surface.glDeleteShader(shader);
    }
    for (int i = 0; i < 10; i += 2) {
        QOpenGLShaderProgram program;
        EXPECT_TRUE(QTD::buildProgram(program, QTD::SHADERS[i].first.c_str(),
                                      QTD::SHADERS[i + 1].first.c_str()))
            << QTD::SHADERS[i].first;
        EXPECT_NE(program.programId(), 0u);
    }
}

TEST_F(RenderObjectGL, AProgramThatDoesNotBuildFailsInit) {
    BrxImage format{};
    QTDImageHelpers::imageCreateFormat(&format, 16, 8, BRX_PIXEL_RGB8);
    BrokenPass pass(&surface);
    pass.fragment = "#version 120\nvoid main() { gl_FragColor = vec4(undefinedName); }\n";
    EXPECT_FALSE(pass.init(&format, nullptr));
    pass.fragment = QTD::loadShader("image.f.glsl");
    ASSERT_TRUE(pass.init(&format, nullptr));
    EXPECT_GE(pass.uniforms.getAs<int>("source"), 0);
    EXPECT_NE(pass.output(), nullptr);
}

} // namespace
