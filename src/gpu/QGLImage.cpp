#include "gpu/QGLImage.h"

#include "gpu/QGLHelpers.h"
#include "gpu/QGLShaders.h"
#include "gpu/QGLSurface.h"
#include "image/QTDImageHelpers.h"

#include <QOpenGLContext>

#include <log4cpp/Category.hh>

#include <algorithm>
#include <cmath>

using namespace QTDImageHelpers;

QGLImage::QGLImage(QGLSurface* s) : surface(s) {
    settings.set("filter", QTD::ATTR(int(GL_NEAREST)), true);
    settings.set("surface", QTD::ATTR(static_cast<void*>(s)), true);
}

QGLImage::~QGLImage() {
    shut();
}

QGLImage* QGLImage::Find(BrxImage* image) {
    BrxImageUserData* entry = imageGetUserDataByID(image, USER_DATA_ID);
    return entry ? static_cast<QGLImage*>(entry->data) : nullptr;
}

unsigned int QGLImage::GetTexture(BrxImage* image) {
    QGLImage* target = Find(image);
    return target ? target->texture() : 0;
}

bool QGLImage::init(BrxImage* image, QTD::PROPERTIES* p) {
    shut();
    if (image) {
        settings.set("size.x", QTD::ATTR::format("%u", image->width), true);
        settings.set("size.y", QTD::ATTR::format("%u", image->height), true);
        settings.set("pixeltype", QTD::ATTR::format("%u", image->pixelType), true);
    }
    settings.importData(p, 0, -1);
    if (!surface)
        surface = static_cast<QGLSurface*>(settings.get("surface").as<void*>());
    if (!surface || !QTD::contextCurrent(surface, "QGLImage::init()"))
        return false;
    int w = settings.get("size.x", "0").as<int>();
    int h = settings.get("size.y", "0").as<int>();
    unsigned int pixelType = settings.get("pixeltype", "0").as<unsigned int>();
    if (std::max(w, h) > surface->props.get("gl.renderbuffer", "1024").as<int>())
        return false;

    bool flipped = image && image->orientation == 1;
    if (settings.get("image.flip.vert", "0").as<int>() != 0)
        flipped = !flipped;
    imageRecord = imageCreateImage(nullptr, w, flipped ? -h : h, pixelType);
    if (!imageRecord || !imageRecord->width || !imageRecord->height || !imageRecord->imageData) {
        shut();
        return false;
    }
    imageCreateUserData(imageRecord, reinterpret_cast<char*>(this), int(sizeof(QGLImage)),
                        USER_DATA_ID, USER_DATA_KIND);
    format.setTypeID(pixelType);

    GLint filter = settings.get("filter", "9728").as<int>();
    GLenum internal = QGLSurface::getFormat(format, true);
    textureID = surface->newTexture(w, h, nullptr, QGLSurface::getFormat(format, false),
                                    GLint(internal), filter, QGLSurface::getType(format));

    surface->glGenFramebuffers(1, &framebufferID);
    surface->glGenRenderbuffers(1, &renderbufferID);
    surface->glBindFramebuffer(GL_FRAMEBUFFER, framebufferID);
    surface->glBindRenderbuffer(GL_RENDERBUFFER, renderbufferID);
    surface->glRenderbufferStorage(GL_RENDERBUFFER, internal, w, h);
    surface->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
                                       renderbufferID);
    // The texture takes the renderbuffer's place at the attachment.
    surface->glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, textureID,
                                    0);
    GLuint fallback = QOpenGLContext::currentContext()
                          ? QOpenGLContext::currentContext()->defaultFramebufferObject()
                          : 0;
    GLenum status = surface->glCheckFramebufferStatus(GL_FRAMEBUFFER);
    if (status != GL_FRAMEBUFFER_COMPLETE) {
        log4cpp::Category::getInstance("BrxDisplayQt")
            .error("QGLImage::init(): framebuffer incomplete (0x%x) for %dx%d of type 0x%x", status,
                   w, h, pixelType);
        surface->checkError("QGLImage::init()", true, false);
        surface->glBindFramebuffer(GL_FRAMEBUFFER, fallback);
        surface->glBindRenderbuffer(GL_RENDERBUFFER, 0);
        shut();
        return false;
    }

    bool built = QTD::buildProgram(shaderProgram, "image.v.glsl", "image.f.glsl");
    if (built) {
        shaderProgram.bind();
        for (char const* name : {"source", "flipVert", "colorCoef", "colorHigh", "colorMono"})
            uniforms.set(
                name,
                QTD::ATTR(int(surface->glGetUniformLocation(shaderProgram.programId(), name))),
                true);
        shaderProgram.release();
    }
    surface->glBindFramebuffer(GL_FRAMEBUFFER, fallback);
    surface->glBindRenderbuffer(GL_RENDERBUFFER, 0);
    if (!built) {
        shut();
        return false;
    }
    checkStatus("QGLImage::init()");
    return surface->mode == 0;
}

void QGLImage::shut() {
    if (imageRecord) {
        imageFreeData(imageRecord);
        imageDelete(imageRecord);
        imageRecord = nullptr;
    }
    if (!surface)
        surface = static_cast<QGLSurface*>(settings.get("surface").as<void*>());
    // Without its context the names cannot be deleted here; a context that is gone took them
    // along.
    if ((framebufferID || renderbufferID || textureID) &&
        QTD::contextCurrent(surface, "QGLImage::shut()")) {
        if (framebufferID)
            surface->glDeleteFramebuffers(1, &framebufferID);
        if (renderbufferID)
            surface->glDeleteRenderbuffers(1, &renderbufferID);
        if (textureID && surface->glIsTexture(textureID))
            surface->glDeleteTextures(1, &textureID);
    }
    shaderProgram.removeAllShaders();
    {
        // Assigning a bag appends to it: the locations of the old program go explicitly.
        std::lock_guard<std::recursive_mutex> hold(uniforms.guard);
        uniforms.rows.clear();
    }
    textureID = framebufferID = renderbufferID = 0;
}

bool QGLImage::begin(QTD::PROPERTIES*) {
    if (!surface || !framebufferID)
        return false;
    surface->glBindFramebuffer(GL_FRAMEBUFFER, framebufferID);
    surface->glBindRenderbuffer(GL_RENDERBUFFER, renderbufferID);
    surface->glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    return true;
}

void QGLImage::end() {
    if (!surface)
        return;
    QOpenGLContext* context = QOpenGLContext::currentContext();
    surface->glBindFramebuffer(GL_FRAMEBUFFER, context ? context->defaultFramebufferObject() : 0);
    surface->glBindRenderbuffer(GL_RENDERBUFFER, 0);
}

bool QGLImage::render() {
    if (!surface)
        return false;
    int w = settings.get("size.x", "0").as<int>();
    int h = settings.get("size.y", "0").as<int>();
    QOpenGLContext* context = QOpenGLContext::currentContext();
    GLuint fallback = context ? context->defaultFramebufferObject() : 0;
    surface->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebufferID ? framebufferID : fallback);
    surface->glBindRenderbuffer(GL_RENDERBUFFER, renderbufferID);
    surface->glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    surface->glViewport(0, 0, w, h);
    surface->renderTexture(w, h);
    surface->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, fallback);
    surface->glBindRenderbuffer(GL_RENDERBUFFER, 0);
    return true;
}

bool QGLImage::fillGPU(BrxImage* source) {
    if (!surface || !framebufferID || !imageRecord)
        return false;
    if (!source) {
        source = imageRecord;
        if (!source->imageData)
            return false;
    } else if (!source->width || !source->height || !source->imageData || !imageRecord->imageData ||
               !imageRecord->width || !imageRecord->height || source->width != imageRecord->width ||
               source->height != imageRecord->height) {
        return false;
    }
    int w = settings.get("size.x", "0").as<int>();
    int h = settings.get("size.y", "0").as<int>();
    begin(nullptr);
    bool flip = settings.get("image.flip.vert", "0").as<int>() == 1;
    bool uploaded = QTD::uploadRows(surface, source, w, h, QTD::pixelBytes(format),
                                    QGLSurface::getFormat(format, false),
                                    QGLSurface::getType(format), flip, scratch);
    int error = checkStatus("QGLImage::fillGPU()");
    end();
    return uploaded && error == 0;
}

bool QGLImage::fillGPU(unsigned int texture, QTD::PROPERTIES* p) {
    if (!surface || !framebufferID || !texture)
        return false;
    begin(nullptr);
    programBegin(true, p);
    surface->glActiveTexture(GL_TEXTURE0);
    surface->glBindTexture(GL_TEXTURE_2D, texture);
    bool done = render();
    programEnd();
    end();
    return done;
}

void* QGLImage::readGPU(BrxImage* target) {
    if (!target)
        target = imageRecord;
    if (!surface || !framebufferID || !imageRecord || !target || !target->imageData)
        return nullptr;
    surface->glPixelStorei(GL_PACK_ALIGNMENT, 1);
    surface->glBindFramebuffer(GL_READ_FRAMEBUFFER, framebufferID);
    int w = settings.get("size.x", "0").as<int>();
    int h = settings.get("size.y", "0").as<int>();
    QTD::PixelFormat local;
    QTD::PixelFormat const& read = target->pixelType == format.getTypeID()
                                       ? format
                                       : (local.setTypeID(target->pixelType), local);
    GLenum type = read.depth > 8 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_BYTE;
    bool done = false;
    if (read.mode & 1)
        done = QTD::readRows(surface, target, w, h, QTD::pixelBytes(read), GL_RED, type, scratch);
    else if (read.mode & 2)
        done = QTD::readRows(surface, target, w, h, QTD::pixelBytes(read),
                             read.order ? GL_BGR : GL_RGB, type, scratch);
    checkStatus("QGLImage::readGPU()");
    surface->glBindTexture(GL_TEXTURE_2D, 0);
    QOpenGLContext* context = QOpenGLContext::currentContext();
    surface->glBindFramebuffer(GL_READ_FRAMEBUFFER,
                               context ? context->defaultFramebufferObject() : 0);
    return done ? target->imageData : nullptr;
}

double QGLImage::automaticCoef() const {
    return format.scale(format.depth == 8 ? 8 : 16);
}

int QGLImage::uniform(char const* name) {
    return uniforms.get(name, "-1").as<int>();
}

unsigned int QGLImage::programBegin(bool useParameters, QTD::PROPERTIES* p) {
    GLuint id = shaderProgram.programId();
    if (!surface || !id)
        return 0;
    QTD::PROPERTIES* bag = p ? p : &settings;
    double coef = 1.0;
    int mono = 0;
    int flip = 0;
    if (useParameters) {
        coef = bag->get("image.color.coef", QTD::ATTR::format("%f", automaticCoef())).as<double>();
        QTD::ATTR monoText = bag->get("image.color.mono");
        mono = monoText.empty() ? 0 : monoText.as<int>();
        flip = bag->get("image.flip.vert", "0").as<int>();
    }
    // A coefficient of 0 would show black: it means "work it out".
    if (std::fabs(coef) < 1e-07)
        coef = automaticCoef();
    surface->glUseProgram(id);
    surface->glUniform1i(uniform("source"), 0);
    surface->glUniform1i(uniform("flipVert"), flip);
    surface->glUniform1f(uniform("colorCoef"), float(coef));
    surface->glUniform1f(uniform("colorHigh"), 1.0f);
    surface->glUniform1i(uniform("colorMono"), mono);
    return id;
}

bool QGLImage::programEnd() {
    if (!surface || !shaderProgram.programId())
        return false;
    surface->glUseProgram(0);
    return true;
}

int QGLImage::checkStatus(char const* where) {
    return surface ? surface->checkError(where, true, false) : 0;
}
