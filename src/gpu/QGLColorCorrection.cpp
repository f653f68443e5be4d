#include "gpu/QGLColorCorrection.h"

#include "gpu/QGLImage.h"
#include "gpu/QGLShaders.h"
#include "gpu/QGLSurface.h"

#include <cmath>
#include <mutex>

namespace RenderObjects {

char const* const QGLColorCorrection::VERT_SHADER = "corr.color.v.glsl";
char const* const QGLColorCorrection::FRAG_SHADER = "corr.color.f.glsl";

bool QGLColorCorrection::init(BrxImage* image, QTD::PROPERTIES* p) {
    if (!image)
        return false;
    std::lock_guard<QTD::RMutex> lock(mutex);
    if (!prepare(image, p, target, inputFormat))
        return false;
    return link(VERT_SHADER, QTD::loadShader(VERT_SHADER), FRAG_SHADER,
                QTD::loadShader(FRAG_SHADER),
                {"source", "flipVert", "colorCoef", "colorHigh", "debugMode", "debugOutput", "offs",
                 "gain", "gamma", "levels"},
                target);
}

bool QGLColorCorrection::process(BrxImage* image, QTD::PROPERTIES*) {
    std::lock_guard<QTD::RMutex> lock(mutex);
    if (!image || !target)
        return false;
    double automatic = inputFormat.scale(inputFormat.depth == 8 ? 8 : 16);
    double coef = props.get("image.color.coef", QTD::ATTR::format("%f", automatic)).as<double>();
    if (std::fabs(coef) < 1e-07)
        coef = automatic;
    if (!begin(target))
        return false;
    QGLSurface* gl = glSurface();
    gl->glUniform1i(location("source"), 0);
    gl->glUniform1i(location("flipVert"), props.get("image.flip.vert", "0").as<int>());
    gl->glUniform1f(location("colorCoef"), float(coef));
    gl->glUniform1f(location("colorHigh"), 1.0f);
    gl->glUniform3f(location("gain"), float(gain[0]), float(gain[1]), float(gain[2]));
    gl->glUniform3f(location("offs"), float(offset[0]), float(offset[1]), float(offset[2]));
    gl->glUniform1i(location("debugMode"), props.get("debug.mode", "0").as<int>());
    gl->glUniform1i(location("debugOutput"), props.get("debug.output", "0").as<int>());
    // Gamma 0 or absent means none, as on the CPU; the shader takes 0 so.
    gl->glUniform1f(location("gamma"), float(props.get("gamma", "0").as<double>()));
    // Gamma works on the input's levels, as the CPU's table does.
    gl->glUniform1f(location("levels"), float((1 << inputFormat.depth) - 1));
    end(target);
    return true;
}

} // namespace RenderObjects
