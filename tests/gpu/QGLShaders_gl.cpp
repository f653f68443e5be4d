// Every shader of the table compiles and every pass links on Mesa, and a broken shader is
// caught rather than linked without it.

#include "GLTestSupport.h"

#include "gpu/QGLShaders.h"

#include <QOpenGLShaderProgram>

#include <cstring>

using GLTest::OnContext;

namespace {

class GLShaders : public OnContext {};

TEST(ShaderTable, NamesInOrderAndUnknownNamesAnswerNull) {
    char const* const names[] = {"image.v.glsl",      "image.f.glsl",      "bayer.mmhc.v.glsl",
                                 "bayer.mmhc.f.glsl", "corr.color.v.glsl", "corr.color.f.glsl",
                                 "unpack.u3v.v.glsl", "unpack.u3v.f.glsl", "coloration.v.glsl",
                                 "coloration.f.glsl"};
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(QTD::SHADERS[i].first, names[i]);
        ASSERT_NE(QTD::loadShader(names[i]), nullptr) << names[i];
        EXPECT_GT(std::strlen(QTD::loadShader(names[i])), 50u) << names[i];
    }
    EXPECT_EQ(QTD::loadShader("image.glsl"), nullptr);
    EXPECT_EQ(QTD::loadShader(""), nullptr);
}

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

TEST_F(GLShaders, BrokenOrMissingShaderFailsTheProgram) {
    QOpenGLShaderProgram program;
    EXPECT_FALSE(QTD::buildProgram(program, "image.v.glsl", "no.such.glsl"));
    EXPECT_FALSE(QTD::buildProgram(program, "image.v", QTD::loadShader("image.v.glsl"), "broken.f",
                                   "void main() { gl_FragColor = undefined; }"));
    EXPECT_TRUE(program.shaders().isEmpty());
    // Compiles, but the varying it reads is written by no vertex shader.
    EXPECT_FALSE(QTD::buildProgram(program, "image.v", QTD::loadShader("image.v.glsl"),
                                   "unlinked.f",
                                   "varying vec3 nowhere; void main() { gl_FragColor.rgb = "
                                   "nowhere; }"));
}

} // namespace
