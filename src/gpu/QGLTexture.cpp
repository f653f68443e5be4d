#include "gpu/QGLTexture.h"

#include "gpu/QGLHelpers.h"
#include "gpu/QGLSurface.h"

#include <algorithm>

QGLTexture::QGLTexture(QGLSurface* s) : surface(s) {
    props.set("filter", QTD::ATTR(int(GL_NEAREST)), true);
    props.set("surface", QTD::ATTR(static_cast<void*>(s)), true);
}

QGLTexture::~QGLTexture() {
    shut();
}

bool QGLTexture::init(BrxImage* image, QTD::PROPERTIES* p) {
    shut();
    props.importData(p, 0, -1);
    if (image) {
        props.set("size.x", QTD::ATTR::format("%u", image->width), true);
        props.set("size.y", QTD::ATTR::format("%u", image->height), true);
        props.set("pixeltype", QTD::ATTR::format("%u", image->pixelType), true);
    }
    if (!surface)
        surface = static_cast<QGLSurface*>(props.get("surface").as<void*>());
    if (!surface || !QTD::contextCurrent(surface, "QGLTexture::init()"))
        return false;
    pixelFormat.setTypeID(props.get("pixeltype", "0").as<unsigned int>());
    return create("QGLTexture::init()");
}

bool QGLTexture::init(QTD::PixelFormat& f, int w, int h, QTD::PROPERTIES* p) {
    shut();
    props.importData(p, 0, -1);
    if (w < 1)
        w = props.get("size.x", "0").as<int>();
    if (h < 1)
        h = props.get("size.y", "0").as<int>();
    props.set("size.x", QTD::ATTR(w), true);
    props.set("size.y", QTD::ATTR(h), true);
    if (!surface)
        surface = static_cast<QGLSurface*>(props.get("surface").as<void*>());
    if (!surface || !f.valid() || !QTD::contextCurrent(surface, "QGLTexture::init()"))
        return false;
    pixelFormat = f;
    return create("QGLTexture::init()");
}

bool QGLTexture::create(char const* where) {
    int w = props.get("size.x", "0").as<int>();
    int h = props.get("size.y", "0").as<int>();
    int limit = surface->props.get("gl.texture", "1024").as<int>();
    if (w <= 0 || h <= 0 || std::max(w, h) > limit)
        return false;
    QTD::ATTR adopted;
    if (props.find("texture", &adopted)) {
        textureID = adopted.as<unsigned int>();
    } else {
        GLint filter = props.get("filter", "9728").as<int>();
        textureID = surface->newTexture(w, h, nullptr, QGLSurface::getFormat(pixelFormat, false),
                                        GLint(QGLSurface::getFormat(pixelFormat, true)), filter,
                                        QGLSurface::getType(pixelFormat));
    }
    checkStatus(where);
    return true;
}

void QGLTexture::shut() {
    if (!surface)
        surface = static_cast<QGLSurface*>(props.get("surface").as<void*>());
    if (textureID && !props.find("texture") && QTD::contextCurrent(surface, "QGLTexture::shut()") &&
        surface->glIsTexture(textureID))
        surface->glDeleteTextures(1, &textureID);
    textureID = 0;
}

bool QGLTexture::render() {
    if (!surface || !surface->glIsTexture(textureID))
        return false;
    surface->glActiveTexture(GL_TEXTURE0);
    surface->glBindTexture(GL_TEXTURE_2D, textureID);
    surface->glViewport(0, 0, props.get("size.x", "0").as<int>(),
                        props.get("size.y", "0").as<int>());
    surface->glBindTexture(GL_TEXTURE_2D, 0);
    return true;
}

bool QGLTexture::begin(QTD::PROPERTIES*) {
    if (!surface || !surface->glIsTexture(textureID))
        return false;
    surface->glEnable(GL_TEXTURE_2D);
    surface->glActiveTexture(GL_TEXTURE0);
    surface->glBindTexture(GL_TEXTURE_2D, textureID);
    return true;
}

void QGLTexture::end() {
    if (!surface)
        return;
    surface->glActiveTexture(GL_TEXTURE0);
    surface->glBindTexture(GL_TEXTURE_2D, 0);
}

bool QGLTexture::fill(BrxImage* image) {
    if (!surface || !surface->glIsTexture(textureID) || !image || !image->imageData)
        return false;
    if (!begin(nullptr))
        return false;
    int w = props.get("size.x", "0").as<int>();
    int h = props.get("size.y", "0").as<int>();
    bool done = QTD::uploadRows(surface, image, w, h, QTD::pixelBytes(pixelFormat),
                                QGLSurface::getFormat(pixelFormat, false),
                                QGLSurface::getType(pixelFormat), false, scratch);
    checkStatus("QGLTexture::fill()");
    end();
    return done;
}

void QGLTexture::texture(unsigned int name) {
    if (!props.find("texture") && textureID &&
        QTD::contextCurrent(surface, "QGLTexture::texture()") && surface->glIsTexture(textureID))
        surface->glDeleteTextures(1, &textureID);
    textureID = name;
    props.set("texture", QTD::ATTR::format("%u", name), true);
}

int QGLTexture::checkStatus(char const* where) {
    return surface ? surface->checkError(where, true, false) : 0;
}
