#pragma once

#include "core/ATTR.h"

#include <utility>

class QOpenGLShaderProgram;

namespace QTD {

// The GLSL texts of every pass, by file name ("image.f.glsl"), in the library's own order.
extern std::pair<ATTR, ATTR> const SHADERS[10];

// The text of the shader named `name`, or null.
char const* loadShader(char const* name);

// Compiles both shaders of the table into `program` and links it, with the context current.
// Each compile and the link are checked on the driver's own status (a program whose fragment
// shader failed can still link), the driver's log is logged, and any failure returns false
// with `program` emptied.
bool buildProgram(QOpenGLShaderProgram& program, char const* vertex, char const* fragment);
// The same with texts from elsewhere; the names only label the log.
bool buildProgram(QOpenGLShaderProgram& program, char const* vertexName, char const* vertexText,
                  char const* fragmentName, char const* fragmentText);

} // namespace QTD
