#include "gpu/QGLUnpackU3V.h"

#include "chain/QTDProcs.h"
#include "gpu/QGLImage.h"
#include "gpu/QGLShaders.h"
#include "gpu/QGLSurface.h"

#include <mutex>

namespace RenderObjects {

char const* const QGLUnpackU3V::VERT_SHADER = "unpack.u3v.v.glsl";
char const* const QGLUnpackU3V::FRAG_SHADER = "unpack.u3v.f.glsl";

bool QGLUnpackU3V::init(BrxImage* image, QTD::PROPERTIES* p) {
    if (!image)
        return false;
    std::lock_guard<QTD::RMutex> lock(mutex);
    int at = QTD::Procs::indexOf(QTD::Procs::PACKED_INDEX, image->pixelType);
    unsigned int type = at < 0 ? image->pixelType : QTD::Procs::UNPACK_INDEX[at];
    outputFormat.setTypeID(type);
    QTD::PixelFormat inputFormat;
    if (!prepare(image, p, target, inputFormat, type))
        return false;
    return link(VERT_SHADER, QTD::loadShader(VERT_SHADER), FRAG_SHADER,
                QTD::loadShader(FRAG_SHADER), {"source", "sourceSize", "outputSize", "method"},
                target);
}

bool QGLUnpackU3V::process(BrxImage* image, QTD::PROPERTIES*) {
    std::lock_guard<QTD::RMutex> lock(mutex);
    QGLSurface* gl = glSurface();
    if (!image || !gl || !target)
        return false;
    auto reciprocal = [](float v) { return v > 0 ? 1.0f / v : 0.0f; };
    float w = float(props.get("size.x", "0").as<double>());
    float h = float(props.get("size.y", "0").as<double>());
    float sw = float(props.get("src.size.x", "0").as<double>());
    float sh = float(props.get("src.size.y", "0").as<double>());
    if (!begin(target))
        return false;
    gl->glUniform1i(location("source"), 0);
    gl->glUniform4f(location("sourceSize"), sw, sh, reciprocal(sw), reciprocal(sh));
    gl->glUniform4f(location("outputSize"), w, h, reciprocal(w), reciprocal(h));
    gl->glUniform1i(location("method"), outputFormat.depth == 12 ? 1 : 0);
    end(target);
    return true;
}

} // namespace RenderObjects
