#include "gpu/QGLSurface.h"

#include "core/AutoLock.h"
#include "gpu/QGLImage.h"
#include "gpu/QGLSurfaceText.h"
#include "screen/Rounding.h"
#include "screen/SurfaceText.h"

#include <QOpenGLContext>
#include <QSurfaceFormat>
#include <QThread>
#include <QWindow>

#include <log4cpp/Category.hh>

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <vector>

namespace {

log4cpp::Category& logger() {
    return log4cpp::Category::getInstance("BrxDisplayQt");
}

int64_t nowMs() {
    auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(
                  std::chrono::system_clock::now().time_since_epoch())
                  .count();
    return ns / 1000000;
}

char const* errorName(int code) {
    switch (code) {
    case 1280:
        return "GL_INVALID_ENUM";
    case 1281:
        return "GL_INVALID_VALUE";
    case 1282:
        return "GL_INVALID_OPERATION";
    case 1283:
        return "GL_STACK_OVERFLOW";
    case 1284:
        return "GL_STACK_UNDERFLOW";
    case 1285:
        return "GL_OUT_OF_MEMORY";
    default:
        return nullptr;
    }
}

int limitOr1024(int value) {
    return value != 0 ? value : 1024;
}

using QTD::roundHalfAway;

} // namespace

QGLSurface::QGLSurface() {
    props.set("state", "created", true);
    props.set("smoothing", "1", true);
}

QGLSurface::~QGLSurface() {
    shut();
}

bool QGLSurface::init(QTD::PROPERTIES* p) {
    logger().info("QGLSurface::init() for %p", static_cast<void*>(this));
    shut();
    QTD::AutoLock hold(&guard, "QGLSurface::init");
    if (!p) {
        window = nullptr;
        return false;
    }
    window = static_cast<QWindow*>(p->get("window").as<void*>());
    if (!window)
        return false;

    context = new QOpenGLContext(window);
    context->setFormat(QSurfaceFormat());
    bool created = context->create();
    // Drawing needs the fixed pipeline: where the default gives a core profile, ask again for
    // the compatibility one.
    if (created && context->format().profile() == QSurfaceFormat::CoreProfile) {
        QSurfaceFormat compat = context->format();
        compat.setProfile(QSurfaceFormat::CompatibilityProfile);
        context->setFormat(compat);
        created = context->create();
    }
    if (!created || !begin(nullptr)) {
        shut();
        props.set("state", "failed", true);
        return false;
    }
    initializeOpenGLFunctions();
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    textHandler = new QGLSurfaceText(&props);

    QRect geometry = window->geometry();
    int w = geometry.right() - geometry.left() + 1;
    int h = geometry.bottom() - geometry.top() + 1;
    QTD::ATTR value;
    width = p->find("size.x", &value) ? value.as<int>() : w;
    height = p->find("size.y", &value) ? value.as<int>() : h;
    area.x = p->find("area.pos.x", &value) ? value.as<double>() : 0.0;
    area.y = p->find("area.pos.y", &value) ? value.as<double>() : 0.0;
    area.width = p->find("area.dim.w", &value) ? value.as<double>() : w;
    area.height = p->find("area.dim.h", &value) ? value.as<double>() : h;

    props.set("window", QTD::ATTR(static_cast<void*>(window)), true);
    props.set("context", QTD::ATTR(static_cast<void*>(context)), true);
    props.set("thread", "0", true);
    props.set("functions", QTD::ATTR(static_cast<void*>(static_cast<QOpenGLFunctions*>(this))),
              true);
    props.set("area", area.text(), true);
    props.set("size",
              QTD::ATTR::format("%s%s%s", QTD::ATTR(width).c_str(), ";", QTD::ATTR(height).c_str()),
              true);
    props.set("program", "0", true);
    props.set("class", "QGLSurface", true);

    GLint limit = 0;
    glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &limit);
    props.set("gl.renderbuffer", QTD::ATTR(int(limitOr1024(limit))), true);
    limit = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
    props.set("gl.texture", QTD::ATTR(int(limitOr1024(limit))), true);
    GLint dims[2] = {0, 0};
    glGetIntegerv(GL_MAX_VIEWPORT_DIMS, dims);
    props.set("gl.viewport", QTD::ATTR(int(limitOr1024(std::min(dims[0], dims[1])))), true);
    auto vendor = reinterpret_cast<char const*>(glGetString(GL_VENDOR));
    if (vendor && *vendor)
        props.set("gl.vendor", vendor, true);
    props.set("gl.strict", "1", true);
    if (auto version = reinterpret_cast<char const*>(glGetString(GL_VERSION)))
        props.set("gl.version", version, true);

    end();
    props.set("state", "ready", true);
    logger().info("QGLSurface: %s", props.text(false).c_str());
    checkError("QGLSurface::init()", true, false);
    return true;
}

int QGLSurface::shut() {
    QTD::AutoLock hold(&guard, "QGLSurface::shut");
    delete textHandler;
    textHandler = nullptr;
    bool hadContext = context != nullptr;
    if (context) {
        if (current)
            context->doneCurrent();
        delete context;
        context = nullptr;
    }
    window = nullptr;
    lastFlush = 0;
    current = false;
    width = 0;
    height = 0;
    area = QTD::TRECT<double>();
    // A surface that never had a context is still only created: init's own shut keeps it so.
    if (hadContext || !props.get("state").same("created"))
        props.set("state", "deleted", true);
    return 1;
}

void QGLSurface::setSize(int w, int h) {
    QTD::AutoLock hold(&guard, "QGLSurface::setSize");
    width = w;
    height = h;
}

bool QGLSurface::begin(QTD::PROPERTIES*) {
    QTD::AutoLock hold(&guard, "QGLSurface::begin");
    int64_t start = nowMs();
    if (!window)
        return false;
    // Qt aborts the process when a context is made current away from its thread.
    if (context && context->thread() != QThread::currentThread()) {
        logger().error("QGLSurface::begin(): called off the context's thread");
        return false;
    }
    if (!current && context) {
        int64_t deadline = beginDeadline(start);
        for (;;) {
            current = context->makeCurrent(window);
            if (current)
                break;
            sched_yield();
            if (nowMs() >= deadline)
                return false;
        }
    }
    checkError("QGLSurface::begin()", true, false);
    return true;
}

int64_t QGLSurface::beginDeadline(int64_t startMs) {
    return static_cast<int32_t>(static_cast<uint32_t>(startMs + 3000));
}

void QGLSurface::end() {
    QTD::AutoLock hold(&guard, "QGLSurface::end");
    if (context && current)
        context->doneCurrent();
    current = false;
    checkError("QGLSurface::end()", true, false);
}

void QGLSurface::flush(QTD::PROPERTIES* p) {
    if (!guard.try_lock("QGLSurface::flush")) {
        props.set("flush.dropped", "1", true);
        return;
    }
    struct Release {
        QTD::RMutex& lock;
        ~Release() { lock.unlock("QGLSurface::flush"); }
    } release{guard};
    if (!window || !context)
        return;
    int force = p ? p->get("force", "0").as<int>() : 0;
    QSurface* target = context->surface();
    if (!target)
        return;
    if (!force && nowMs() - lastFlush <= 30) {
        props.set("flush.dropped", "1", true);
        return;
    }
    context->swapBuffers(target);
    lastFlush = nowMs();
    props.set("flush.dropped", "0", true);
    checkError("QGLSurface::flush()", true, false);
}

QTD::ATTR QGLSurface::descriptor(QTD::ATTR name) {
    QTD::ATTR base = QTDSurface::descriptor(name);
    return QTD::ATTR::format("%s [%s/%s]", base.c_str(),
                             QTD::ATTR(static_cast<void*>(context)).c_str(), "0");
}

int QGLSurface::mapX(int x) {
    return std::max(0, roundHalfAway(x - area.x));
}

int QGLSurface::mapY(int y) {
    int h = roundHalfAway(area.height);
    return std::min(h, static_cast<int>(h - areaY(y)));
}

void QGLSurface::draw(unsigned int mode, QTD::TPAIRS<int>& points, QTD::RgbColor* color) {
    glBegin(mode);
    if (color)
        glColor3f(color->getFlt(0), color->getFlt(1), color->getFlt(2));
    for (size_t i = 1; i < points.size(); ++i) {
        glVertex2f(mapX(points[i - 1].x), mapY(points[i - 1].y));
        glVertex2f(mapX(points[i].x), mapY(points[i].y));
    }
    glEnd();
}

void QGLSurface::polyLine(QTD::TPAIRS<int>& points, QTD::RgbColor* color, int lineWidth, int) {
    glPushAttrib(GL_LINE_BIT);
    glPushAttrib(GL_CURRENT_BIT);
    glLineWidth(lineWidth > 0 ? float(lineWidth) : 1.0f);
    if (!points.empty())
        draw(GL_LINES, points, color);
    glPopAttrib();
    glPopAttrib();
}

void QGLSurface::rect(int x, int y, int w, int h, QTD::RgbColor* color, int lineWidth, int style) {
    QTD::TPAIRS<int> points = {{x, y}, {x + w, y}, {x + w, y + h}, {x, y + h}, {x, y}};
    polyLine(points, color, lineWidth, style);
}

void QGLSurface::fillRect(int x, int y, int w, int h, QTD::RgbColor* color) {
    const QTD::RgbColor fill = fillColor(color);
    x = x == -1 ? 0 : x;
    y = y == -1 ? 0 : y;
    w = w == -1 ? width : w;
    h = h == -1 ? height : h;
    int fx = mapX(x);
    int fy = mapY(y);
    glPushAttrib(GL_CURRENT_BIT);
    glBindTexture(GL_TEXTURE_2D, 0);
    glColor3f(fill.getFlt(0), fill.getFlt(1), fill.getFlt(2));
    glBegin(GL_POLYGON);
    glVertex2f(fx, fy);
    glVertex2f(fx + w, fy);
    glVertex2f(fx + w, fy - h);
    glVertex2f(fx, fy - h);
    glEnd();
    glPopAttrib();
}

void QGLSurface::image(BrxImage* img, QTD::TRECT<double>* target, QTD::TRECT<double>* source) {
    QGLImage* gl = QGLImage::Find(img);
    unsigned int texture = gl ? gl->texture() : 0;
    if (!texture || !target || !source)
        return;
    GLint filter = props.get("smoothing", "0").as<int>() ? GL_LINEAR : GL_NEAREST;
    int dx = roundHalfAway(target->x), dy = roundHalfAway(target->y);
    int dw = roundHalfAway(target->width), dh = roundHalfAway(target->height);
    glEnable(GL_TEXTURE_2D);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glViewport(dx, dy, dw, dh);
    double iw = img->width, ih = img->height;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, iw, 0, ih, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    unsigned int program = gl->programBegin(false, nullptr);
    double sx = source->x, sy = source->y, sw = source->width, sh = source->height;
    // Without the display shader nothing turns the rows the right way up.
    if (!program) {
        sy += sh;
        sh = -sh;
    }
    glBegin(GL_QUADS);
    glTexCoord2f(sx, sy);
    glVertex2f(0, 0);
    glTexCoord2f(sx + sw, sy);
    glVertex2f(iw, 0);
    glTexCoord2f(sx + sw, sy + sh);
    glVertex2f(iw, ih);
    glTexCoord2f(sx, sy + sh);
    glVertex2f(0, ih);
    glEnd();
    checkError("QGLSurface::image", true, false);
    glBindTexture(GL_TEXTURE_2D, 0);
    if (program)
        gl->programEnd();
    glFlush();
}

void QGLSurface::text(char const* s, int x, int y, QTD::ATTR font, QTD::RgbColor* color) {
    int tx = mapX(x);
    int ty = mapY(y);
    mode = 1;
    glBindTexture(GL_TEXTURE_2D, 0);
    if (!textHandler)
        return;
    textHandler->drawText(s, tx, ty, font, color);
    if (textHandler->error() == 0)
        mode = 0;
}

int QGLSurface::checkError(char const* where, bool report, bool strict) {
    // Straight from libGL: begin checks before init has resolved the function table.
    int code = static_cast<int>(::glGetError());
    mode = code;
    if (code == 0 || (code == GL_INVALID_OPERATION && !strict))
        return 0;
    char const* name = errorName(code);
    QTD::ATTR message = name ? QTD::ATTR::format("OpenGL error %d (%s)", code, name)
                             : QTD::ATTR::format("OpenGL error %d", code);
    QTD::ATTR text;
    if (report)
        text = where ? QTD::ATTR::format("%s %s", where, message.c_str()) : message;
    props.set("error", text, true);
    if (report)
        logger().warn("%s", text.c_str());
    return code;
}

int QGLSurface::checkStatus(char const* where, bool report, bool strict) {
    if (checkError(where, report, strict) != 0)
        return mode;
    QTD::ATTR state = props.get("state");
    props.set("error", QTD::ATTR::format("%s %s", where ? where : "", state.c_str()), true);
    return 0;
}

void QGLSurface::renderTexture(int w, int h) {
    if (w <= 0 || h <= 0)
        return;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, w, 0, h, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glBegin(GL_QUADS);
    glTexCoord2f(0, 0);
    glVertex2f(0, 0);
    glTexCoord2f(1, 0);
    glVertex2f(w, 0);
    glTexCoord2f(1, 1);
    glVertex2f(w, h);
    glTexCoord2f(0, 1);
    glVertex2f(0, h);
    glEnd();
    checkError("QGLSurface::renderTexture", true, false);
}

int QGLSurface::setViewport(int w, int h) {
    w = w < 1 ? width : w;
    h = h < 1 ? height : h;
    glViewport(0, 0, w, h);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, w, 0, h, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    return 0;
}

unsigned int QGLSurface::makeShader(unsigned int type, char const* text) {
    if (!text || !*text)
        return 0;
    GLuint shader = glCreateShader(type);
    if (!shader) {
        checkError("glCreateShader", false, true);
        return 0;
    }
    GLint length = static_cast<GLint>(strlen(text));
    glShaderSource(shader, 1, &text, &length);
    glCompileShader(shader);
    GLint compiled = 0;
    glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
    if (compiled)
        return shader;
    GLint logLength = 0;
    glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &logLength);
    if (logLength < 16384) {
        std::vector<char> log(16384, 0);
        glGetShaderInfoLog(shader, GLsizei(log.size()), nullptr, log.data());
        logger().error("QGLSurface::makeShader(): %s", log.data());
        props.set("error", log.data(), true);
    }
    checkError("QGLSurface::makeShader()", true, false);
    glDeleteShader(shader);
    return 0;
}

unsigned int QGLSurface::makeProgram(unsigned int vertex, unsigned int fragment) {
    if (!vertex || !fragment)
        return 0;
    GLuint program = glCreateProgram();
    glAttachShader(program, vertex);
    glAttachShader(program, fragment);
    glLinkProgram(program);
    GLint linked = 0;
    glGetProgramiv(program, GL_LINK_STATUS, &linked);
    if (linked)
        return program;
    std::vector<char> log(16384, 0);
    glGetProgramInfoLog(program, GLsizei(log.size()), nullptr, log.data());
    logger().error("QGLSurface::makeProgram(): %s", log.data());
    glDeleteProgram(program);
    return 0;
}

void QGLSurface::makeTexture(int w, int h, void* data, int format, int internal, int filter,
                             int type) {
    newTexture(w, h, data, GLenum(format), internal, filter, GLenum(type));
}

GLuint QGLSurface::newTexture(int w, int h, void const* data, GLenum format, GLint internal,
                              GLint filter, GLenum type) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP);
    glTexImage2D(GL_TEXTURE_2D, 0, internal, w, h, 0, format, type, data);
    glBindTexture(GL_TEXTURE_2D, 0);
    return texture;
}

unsigned int QGLSurface::getFormat(QTD::PixelFormat& format, bool internal) {
    bool eight = format.depth == 8;
    switch (format.mode) {
    case QTD::ClrMono:
    case QTD::ClrBayer:
    case QTD::ClrTrueSense:
        return internal ? (eight ? GL_R8 : GL_R16) : GL_RED;
    case QTD::ClrRGB:
        return internal ? (eight ? GL_RGB8 : GL_RGB16) : (format.order ? GL_BGR : GL_RGB);
    case QTD::ClrRGBA:
        return internal ? (eight ? GL_RGBA8 : GL_RGBA16) : (format.order ? GL_BGRA : GL_RGBA);
    default:
        return 0;
    }
}

unsigned int QGLSurface::getType(QTD::PixelFormat& format) {
    return format.depth < 9 ? GL_UNSIGNED_BYTE : GL_UNSIGNED_SHORT;
}
