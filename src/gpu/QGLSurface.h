#pragma once

#include "image/PixelFormat.h"
#include "screen/QTDSurface.h"

#include <QOpenGLFunctions>

#include <cstdint>

class QOpenGLContext;
class QWindow;

// The drawing surface of the GPU path: owns the window's context and reaches OpenGL for every
// texture, framebuffer and program of the path. Drawing uses the compatibility profile's fixed
// pipeline (matrix stack, glBegin), so the context must offer it.
class QGLSurface : public QTDSurface, public QOpenGLFunctions {
public:
    QGLSurface();
    ~QGLSurface() override;

    bool init(QTD::PROPERTIES* props) override;
    int shut() override;
    void setSize(int width, int height) override;
    // Makes the context current on the calling thread; one thread owns a begin..end bracket.
    bool begin(QTD::PROPERTIES* props) override;
    void end() override;
    // Swaps at most every 30 ms, unless "force" is set; a busy surface drops the swap. A dropped
    // swap leaves "flush.dropped" 1, so that the window can draw that frame again later.
    void flush(QTD::PROPERTIES* props) override;
    bool isValid() override { return context != nullptr; }
    QTD::ATTR descriptor(QTD::ATTR name) override;
    void polyLine(QTD::TPAIRS<int>& points, QTD::RgbColor* color, int width, int style) override;
    void rect(int x, int y, int w, int h, QTD::RgbColor* color, int width, int style) override;
    void fillRect(int x, int y, int w, int h, QTD::RgbColor* color) override;
    void image(BrxImage* image, QTD::TRECT<double>* target, QTD::TRECT<double>* source) override;
    void text(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* color) override;
    // The GL error code; GL_INVALID_OPERATION counts only when `strict`.
    int checkError(char const* where, bool report, bool strict) override;
    virtual void renderTexture(int w, int h);

    int checkStatus(char const* where, bool report, bool strict);
    unsigned int makeShader(unsigned int type, char const* text);
    unsigned int makeProgram(unsigned int vertex, unsigned int fragment);
    void makeTexture(int w, int h, void* data, int format, int internal, int filter, int type);
    // A texture of the given storage with the clamped, unmipmapped sampling every pass uses;
    // its name, left unbound.
    GLuint newTexture(int w, int h, void const* data, GLenum format, GLint internal, GLint filter,
                      GLenum type);
    int setViewport(int w, int h);
    static unsigned int getFormat(QTD::PixelFormat& format, bool internal);
    static unsigned int getType(QTD::PixelFormat& format);
    // begin's retry deadline, kept in 32 bits as it always was: with today's clock it lies far
    // below the time, so a failing makeCurrent is tried once and the 3 s are never spent.
    static int64_t beginDeadline(int64_t startMs);

    QOpenGLContext* context = nullptr;
    QWindow* window = nullptr;
    int64_t lastFlush = 0;
    bool current = false;

private:
    void draw(unsigned int mode, QTD::TPAIRS<int>& points, QTD::RgbColor* color);
    int mapX(int x);
    int mapY(int y);
};
