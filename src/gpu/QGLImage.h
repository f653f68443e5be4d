#pragma once

#include "core/PROPERTIES.h"
#include "image/PixelFormat.h"

#include <brx/BrxImage.h>

#include <QOpenGLShaderProgram>

#include <vector>

class QGLSurface;

// A render target: texture and framebuffer, the display program that draws into it, and a
// BrxImage that stands for it along the chain (user data 5466 points back here). Every call
// needs the surface's context current; locking is left to the owner.
class QGLImage {
public:
    // The user-data entry that links a BrxImage to its target.
    static constexpr int USER_DATA_ID = 5466;
    static constexpr unsigned int USER_DATA_KIND = 100;

    explicit QGLImage(QGLSurface* surface = nullptr);
    virtual ~QGLImage();

    QGLImage(QGLImage const&) = delete;
    QGLImage& operator=(QGLImage const&) = delete;

    virtual bool init(BrxImage* image, QTD::PROPERTIES* props);
    virtual void shut();
    virtual QTD::PROPERTIES* props() { return &settings; }
    virtual bool isReady() { return framebufferID != 0; }
    virtual bool render();
    virtual bool begin(QTD::PROPERTIES* props);
    virtual void end();
    virtual void* readGPU(BrxImage* target);
    // Uploads into the texture the caller has bound; "image.flip.vert" 1 stores the rows
    // bottom-up, without touching `source`.
    virtual bool fillGPU(BrxImage* source);
    // Draws `texture` into this target through the display program, with its scale.
    virtual bool fillGPU(unsigned int texture, QTD::PROPERTIES* props);
    virtual unsigned int texture() { return textureID; }
    virtual unsigned int program() { return shaderProgram.programId(); }
    virtual unsigned int programBegin(bool useParameters, QTD::PROPERTIES* props);
    virtual bool programEnd();
    virtual BrxImage* image() { return imageRecord; }
    virtual int checkStatus(char const* where);

    // The target an image stands for, or null.
    static QGLImage* Find(BrxImage* image);
    static unsigned int GetTexture(BrxImage* image);

    QGLSurface* surface = nullptr;
    QTD::PixelFormat format;
    QTD::PROPERTIES settings;
    BrxImage* imageRecord = nullptr;
    unsigned int textureID = 0;
    unsigned int framebufferID = 0;
    unsigned int renderbufferID = 0;
    QOpenGLShaderProgram shaderProgram;
    QTD::PROPERTIES uniforms;

private:
    // Stored value to display value: 1 at 8 bits, otherwise what lifts the depth to 16 bits.
    double automaticCoef() const;
    int uniform(char const* name);
    std::vector<char> scratch;
};
