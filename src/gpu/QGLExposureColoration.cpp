#include "gpu/QGLExposureColoration.h"

#include "gpu/QGLImage.h"
#include "gpu/QGLShaders.h"
#include "gpu/QGLSurface.h"

#include <mutex>

namespace RenderObjects {

char const* const QGLExposureColoration::VERT_SHADER = "coloration.v.glsl";
char const* const QGLExposureColoration::FRAG_SHADER = "coloration.f.glsl";

namespace {

void setColor(QGLSurface* gl, int at, uint32_t c) {
    gl->glUniform3f(at, float(c & 255) / 255.0f, float((c >> 8) & 255) / 255.0f,
                    float((c >> 16) & 255) / 255.0f);
}

} // namespace

bool QGLExposureColoration::init(BrxImage* image, QTD::PROPERTIES* p) {
    if (!image)
        return false;
    std::lock_guard<QTD::RMutex> lock(mutex);
    if (!prepare(image, p, target, inputFormat))
        return false;
    colorLow = props.get("clrLo", "0").as<unsigned int>();
    colorHigh = props.get("clrHi", "0").as<unsigned int>();
    thresholdLow = props.get("thrLo", "0").as<double>();
    thresholdHigh = props.get("thrHi", "0").as<double>();
    return link(VERT_SHADER, QTD::loadShader(VERT_SHADER), FRAG_SHADER,
                QTD::loadShader(FRAG_SHADER),
                {"source", "colored", "colorCoef", "colorHigh", "sourceMono", "clrLo", "clrHi",
                 "thresholds", "sourceUpright"},
                target);
}

bool QGLExposureColoration::process(BrxImage* image, QTD::PROPERTIES* p) {
    std::lock_guard<QTD::RMutex> lock(mutex);
    QGLSurface* gl = glSurface();
    if (!image || !gl || !target || !p)
        return false;
    GLuint source = p->get("source", "0").as<unsigned int>();
    if (!target->begin(nullptr))
        return false;
    gl->glActiveTexture(GL_TEXTURE1);
    gl->glBindTexture(GL_TEXTURE_2D, source);
    if (!begin(target))
        return false;
    gl->glUniform1i(location("colored"), 0);
    gl->glUniform1i(location("source"), 1);
    gl->glUniform1f(location("colorCoef"), 1.0f);
    gl->glUniform1f(location("colorHigh"), 1.0f);
    gl->glUniform1i(location("sourceMono"), p->get("mono", "0").as<int>());
    gl->glUniform1i(location("sourceUpright"), p->get("upright", "0").as<int>());
    setColor(gl, location("clrLo"), colorLow);
    setColor(gl, location("clrHi"), colorHigh);
    gl->glUniform2f(location("thresholds"), float(thresholdLow), float(thresholdHigh));
    end(target);
    return true;
}

} // namespace RenderObjects
