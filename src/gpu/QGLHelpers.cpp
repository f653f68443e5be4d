#include "gpu/QGLHelpers.h"

#include "gpu/QGLSurface.h"

#include <QOpenGLContext>
#include <log4cpp/Category.hh>

#include <QOpenGLFunctions>

#include <cstdint>
#include <cstring>

namespace QTD {

namespace {

bool holds(BrxImage* image, int w, int h, int pixelBytes) {
    if (!image || !image->imageData || w <= 0 || h <= 0 || pixelBytes <= 0)
        return false;
    uint64_t row = uint64_t(w) * uint64_t(pixelBytes);
    return image->stride >= row &&
           uint64_t(image->stride) * uint64_t(h - 1) + row <= image->imageSize;
}

} // namespace

bool contextCurrent(QGLSurface* surface, char const* where) {
    if (surface && surface->context && QOpenGLContext::currentContext() == surface->context)
        return true;
    log4cpp::Category::getInstance("BrxDisplayQt")
        .warn("%s: the surface's context is not current", where);
    return false;
}

int pixelBytes(PixelFormat const& format) {
    int channels = (format.mode & ClrRGB) ? 3 : (format.mode & ClrRGBA) ? 4 : 1;
    return channels * (format.depth > 8 ? 2 : 1);
}

bool uploadRows(QOpenGLFunctions* gl, BrxImage* image, int w, int h, int pixelBytes,
                unsigned int format, unsigned int type, bool flip, std::vector<char>& scratch) {
    if (!gl || !holds(image, w, h, pixelBytes))
        return false;
    size_t row = size_t(w) * size_t(pixelBytes);
    auto* pixels = static_cast<char const*>(image->imageData);
    gl->glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    if (!flip && image->stride % pixelBytes == 0) {
        gl->glPixelStorei(GL_UNPACK_ROW_LENGTH, GLint(image->stride / pixelBytes));
        gl->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, w, h, format, type, pixels);
        gl->glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
        return true;
    }
    scratch.resize(row * size_t(h));
    for (int y = 0; y < h; ++y)
        std::memcpy(scratch.data() + row * size_t(flip ? h - 1 - y : y),
                    pixels + size_t(image->stride) * size_t(y), row);
    gl->glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, w, h, format, type, scratch.data());
    return true;
}

bool readRows(QOpenGLFunctions* gl, BrxImage* image, int w, int h, int pixelBytes,
              unsigned int format, unsigned int type, std::vector<char>& scratch) {
    if (!gl || !holds(image, w, h, pixelBytes))
        return false;
    size_t row = size_t(w) * size_t(pixelBytes);
    auto* pixels = static_cast<char*>(image->imageData);
    gl->glPixelStorei(GL_PACK_ALIGNMENT, 1);
    if (image->stride % pixelBytes == 0) {
        gl->glPixelStorei(GL_PACK_ROW_LENGTH, GLint(image->stride / pixelBytes));
        gl->glReadPixels(0, 0, w, h, format, type, pixels);
        gl->glPixelStorei(GL_PACK_ROW_LENGTH, 0);
        return true;
    }
    scratch.resize(row * size_t(h));
    gl->glReadPixels(0, 0, w, h, format, type, scratch.data());
    for (int y = 0; y < h; ++y)
        std::memcpy(pixels + size_t(image->stride) * size_t(y), scratch.data() + row * size_t(y),
                    row);
    return true;
}

} // namespace QTD
