#pragma once

#include "core/PROPERTIES.h"
#include "image/PixelFormat.h"

#include <brx/BrxImage.h>

#include <vector>

class QGLSurface;

// A plain input texture, filled from main memory. With "texture" in its bag it adopts a name
// made elsewhere and never deletes it. Every call needs the surface's context current.
class QGLTexture {
public:
    explicit QGLTexture(QGLSurface* surface = nullptr);
    virtual ~QGLTexture();

    QGLTexture(QGLTexture const&) = delete;
    QGLTexture& operator=(QGLTexture const&) = delete;

    virtual bool init(BrxImage* image, QTD::PROPERTIES* props);
    virtual bool init(QTD::PixelFormat& format, int w, int h, QTD::PROPERTIES* props);
    virtual void shut();
    virtual bool isReady() { return textureID != 0; }
    virtual bool render();
    virtual bool begin(QTD::PROPERTIES* props);
    virtual void end();
    virtual bool fill(BrxImage* image);
    virtual unsigned int texture() { return textureID; }
    virtual void texture(unsigned int name);
    virtual int checkStatus(char const* where);
    virtual QTD::PixelFormat& format() { return pixelFormat; }

    QGLSurface* surface = nullptr;
    QTD::PixelFormat pixelFormat;
    QTD::PROPERTIES props;
    unsigned int textureID = 0;

private:
    bool create(char const* where);
    std::vector<char> scratch;
};
