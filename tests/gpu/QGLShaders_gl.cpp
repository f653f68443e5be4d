// Every shader of the table compiles and every pass links on Mesa, and a broken shader is
// caught rather than linked without it.

#include "GLTestSupport.h"

#include "gpu/QGLShaders.h"

#include <QOpenGLShaderProgram>

using GLTest::OnContext;

namespace {

class GLShaders : public OnContext {};

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

} // namespace
