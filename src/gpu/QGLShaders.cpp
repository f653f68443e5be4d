#include "gpu/QGLShaders.h"

#include "gpu/QGLShaderTexts.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QOpenGLShader>
#include <QOpenGLShaderProgram>

#include <log4cpp/Category.hh>

namespace QTD {

namespace {

log4cpp::Category& logger() {
    return log4cpp::Category::getInstance("BrxDisplayQt");
}

bool compile(QOpenGLShaderProgram& program, QOpenGLShader::ShaderType type, char const* name,
             char const* text) {
    if (!text) {
        logger().error("QTD::buildProgram(): no shader %s", name);
        return false;
    }
    auto* shader = new QOpenGLShader(type, &program);
    bool compiled = shader->compileSourceCode(text);
    GLint status = 0;
    if (compiled && shader->shaderId())
        QOpenGLContext::currentContext()->functions()->glGetShaderiv(shader->shaderId(),
                                                                     GL_COMPILE_STATUS, &status);
    if (!compiled || !status) {
        logger().error("QTD::buildProgram(): %s does not compile: %s", name,
                       shader->log().toUtf8().constData());
        delete shader;
        return false;
    }
    if (!program.addShader(shader)) {
        logger().error("QTD::buildProgram(): %s cannot be attached", name);
        delete shader;
        return false;
    }
    return true;
}

} // namespace

std::pair<ATTR, ATTR> const SHADERS[10] = {
    {ShaderTexts::NAME_0, ShaderTexts::TEXT_0}, {ShaderTexts::NAME_1, ShaderTexts::TEXT_1},
    {ShaderTexts::NAME_2, ShaderTexts::TEXT_2}, {ShaderTexts::NAME_3, ShaderTexts::TEXT_3},
    {ShaderTexts::NAME_4, ShaderTexts::TEXT_4}, {ShaderTexts::NAME_5, ShaderTexts::TEXT_5},
    {ShaderTexts::NAME_6, ShaderTexts::TEXT_6}, {ShaderTexts::NAME_7, ShaderTexts::TEXT_7},
    {ShaderTexts::NAME_8, ShaderTexts::TEXT_8}, {ShaderTexts::NAME_9, ShaderTexts::TEXT_9},
};
static_assert(ShaderTexts::COUNT == 10, "one table row per shader file");

char const* loadShader(char const* name) {
    for (auto const& entry : SHADERS)
        if (entry.first.same(name))
            return entry.second.c_str();
    return nullptr;
}

bool buildProgram(QOpenGLShaderProgram& program, char const* vertex, char const* fragment) {
    return buildProgram(program, vertex, loadShader(vertex), fragment, loadShader(fragment));
}

bool buildProgram(QOpenGLShaderProgram& program, char const* vertex, char const* vertexText,
                  char const* fragment, char const* fragmentText) {
    program.removeAllShaders();
    QOpenGLContext* context = QOpenGLContext::currentContext();
    if (!context) {
        logger().error("QTD::buildProgram(): no current context for %s", fragment);
        return false;
    }
    if (!compile(program, QOpenGLShader::Vertex, vertex, vertexText) ||
        !compile(program, QOpenGLShader::Fragment, fragment, fragmentText)) {
        program.removeAllShaders();
        return false;
    }
    bool linked = program.link();
    GLint status = 0;
    if (linked && program.programId())
        context->functions()->glGetProgramiv(program.programId(), GL_LINK_STATUS, &status);
    if (!linked || !status) {
        logger().error("QTD::buildProgram(): %s and %s do not link: %s", vertex, fragment,
                       program.log().toUtf8().constData());
        program.removeAllShaders();
        return false;
    }
    return true;
}

} // namespace QTD
