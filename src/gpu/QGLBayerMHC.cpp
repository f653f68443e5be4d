#include "gpu/QGLBayerMHC.h"

#include "chain/QTDProcs.h"
#include "gpu/QGLImage.h"
#include "gpu/QGLShaders.h"
#include "gpu/QGLSurface.h"

#include <mutex>

namespace RenderObjects {

char const* const QGLBayerMHC::VERT_SHADER = "bayer.mmhc.v.glsl";
char const* const QGLBayerMHC::FRAG_SHADER = "bayer.mmhc.f.glsl";

int QGLBayerMHC::pattern(unsigned int pixelType) {
    // BAYER_INDEX lists each depth's mosaics as GR, RG, BG, GB.
    int at = QTD::Procs::indexOf(QTD::Procs::BAYER_INDEX, pixelType);
    return at < 0 ? -1 : at % 4;
}

bool QGLBayerMHC::init(BrxImage* image, QTD::PROPERTIES* p) {
    if (!image)
        return false;
    std::lock_guard<QTD::RMutex> lock(mutex);
    const bool bgr = p && p->get("bgr", "0").as<int>() == 0;
    unsigned int type = QTD::Procs::debayerType(image->pixelType, bgr);
    patternIndex = pattern(image->pixelType);
    if (type == 0 || patternIndex < 0)
        return false;
    if (!prepare(image, p, target, inputFormat, type))
        return false;
    return link(VERT_SHADER, QTD::loadShader(VERT_SHADER), FRAG_SHADER,
                QTD::loadShader(FRAG_SHADER),
                {"source", "sourceSize", "firstRed", "flipVert", "colorCoef", "colorHigh"}, target);
}

bool QGLBayerMHC::process(BrxImage* image, QTD::PROPERTIES*) {
    std::lock_guard<QTD::RMutex> lock(mutex);
    QGLSurface* gl = glSurface();
    if (!image || !gl || !target)
        return false;
    float w = float(props.get("size.x", "0").as<double>());
    float h = float(props.get("size.y", "0").as<double>());
    double automatic = inputFormat.scale(inputFormat.depth == 8 ? 8 : 16);
    // Unlike the display program, 0 stays 0: the shader then leaves the values unscaled.
    double coef = props.get("image.color.coef", QTD::ATTR::format("%f", automatic)).as<double>();
    if (!begin(target))
        return false;
    gl->glUniform1i(location("source"), 0);
    gl->glUniform4f(location("sourceSize"), w, h, w > 0 ? 1.0f / w : 0.0f, h > 0 ? 1.0f / h : 0.0f);
    gl->glUniform2f(location("firstRed"), float(1 - patternIndex % 2),
                    patternIndex > 1 ? 1.0f : 0.0f);
    gl->glUniform1i(location("flipVert"), props.get("image.flip.vert", "").as<int>());
    gl->glUniform1f(location("colorCoef"), float(coef));
    gl->glUniform1f(location("colorHigh"), 1.0f);
    end(target);
    return true;
}

} // namespace RenderObjects
