#include "gpu/QGLScreen.h"

#include "core/AutoLock.h"
#include "gpu/QGLSurface.h"
#include "screen/Rounding.h"

#include <algorithm>
#include <cmath>

namespace {

bool nearZero(double v) {
    return std::fabs(v) < 1e-07;
}

} // namespace

QGLScreen::QGLScreen(QTDSurface* s) : QTDScreen(s) {}

QGLScreen::~QGLScreen() = default;

QGLSurface* QGLScreen::gl() const {
    // A surface without a context has no GL functions to call.
    auto* s = dynamic_cast<QGLSurface*>(surface);
    return s && s->isValid() ? s : nullptr;
}

int QGLScreen::viewportLimit() const {
    return surface ? surface->props.get("gl.viewport", "1024").as<int>() : 1024;
}

bool QGLScreen::init(QTD::CommandProcessor* window, int width, int height, FitMode fitMode) {
    return QTDScreen::init(window, width, height, fitMode);
}

bool QGLScreen::shut(bool lock) {
    QTDScreen::shut(lock);
    return true;
}

bool QGLScreen::ready() {
    QTD::AutoLock hold(&mutex, "QGLScreen::ready");
    return windowWidth != 0 && gl() != nullptr;
}

bool QGLScreen::begin(QTD::PROPERTIES* props) {
    if (!ready())
        return false;
    // The frame goes on even when no context came current, as it always has.
    surface->begin(props);
    return prepare(props);
}

bool QGLScreen::prepare(QTD::PROPERTIES*) {
    QGLSurface* s = gl();
    if (!s)
        return false;
    QTD::AutoLock hold(&mutex, "QGLScreen::prepare");
    int limit = viewportLimit();
    double x = originX, y = 0.0, w = scaledWidth, h = scaledHeight;
    if (limit < int(w + 1e-07) || limit < int(h + 1e-07)) {
        double fittedW, fittedH;
        if (w > h) {
            fittedW = limit;
            fittedH = nearZero(w) ? 0.0 : limit * (h / w);
        } else {
            fittedH = limit;
            fittedW = nearZero(h) ? 0.0 : limit * (w / h);
        }
        // Both from the height, as the placement always was.
        x = windowCenterX - fittedH * 0.5;
        y = windowCenterY - fittedH * 0.5;
        w = fittedW;
        h = fittedH;
        s->setArea(QTD::TRECT<double>{x, y, w, h});
    } else {
        y = windowHeight - originY - h;
    }
    int vx = QTD::roundHalfAway(x), vy = QTD::roundHalfAway(y);
    int vw = QTD::roundHalfAway(w), vh = QTD::roundHalfAway(h);
    s->glViewport(vx, vy, std::max(vw, 0), std::max(vh, 0));
    // Before the first image there is no area, and an empty projection is an error.
    if (vw <= 0 || vh <= 0)
        return true;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, vw, 0, vh, -1, 1);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    return true;
}

bool QGLScreen::clear(bool flushNow) {
    QGLSurface* s = gl();
    if (!s)
        return false;
    QTD::RgbColor background;
    background.setClr(props.get("color", "0").as<unsigned int>());
    s->glClearColor(background.getFlt(0), background.getFlt(1), background.getFlt(2), 0.0f);
    s->glClear(GL_COLOR_BUFFER_BIT);
    if (flushNow)
        s->flush(nullptr);
    return true;
}

bool QGLScreen::draw(BrxImage* image, QTD::PROPERTIES*) {
    if (!gl())
        return false;
    QTD::RgbColor background;
    background.setClr(props.get("color", "0").as<unsigned int>());
    surface->fillRect(-1, -1, -1, -1, &background);
    if (!image)
        return true;
    QTD::TRECT<double> dest{0, 0, 0, 0};
    QTD::TRECT<double> source{0, 0, 1, 1};
    int limit = viewportLimit();
    {
        QTD::AutoLock hold(&mutex, "QGLScreen::draw");
        if (limit >= scaledWidth && limit >= scaledHeight) {
            dest = {originX, windowHeight - originY - scaledHeight, scaledWidth, scaledHeight};
        } else {
            // Only the part in the window, cut in texture coordinates.
            source.x = nearZero(scaledWidth) ? 0.0 : std::fabs(originX / scaledWidth);
            dest = {0, 0, windowWidth, windowHeight};
            source.width = nearZero(scaledWidth) ? 0.0 : windowWidth / scaledWidth;
            if (nearZero(scaledHeight)) {
                source.y = 1.0;
                source.height = 0.0;
            } else {
                source.y = 1.0 - std::fabs((originY - windowHeight) / scaledHeight);
                source.height = windowHeight / scaledHeight;
            }
            if (source.height > 1) {
                dest.y = -(source.y * scaledHeight);
                source.y = 0;
                source.height = 1;
                dest.height = scaledHeight;
            }
            if (source.width > 1) {
                source.x = 0;
                source.width = 1;
                dest.x = originX;
                dest.width = scaledWidth;
            }
        }
    }
    surface->image(image, &dest, &source);
    return true;
}

bool QGLScreen::end(QTD::PROPERTIES* props, bool flushNow) {
    if (!surface)
        return false;
    if (flushNow)
        surface->flush(props);
    surface->end();
    return true;
}

bool QGLScreen::flush(QTD::PROPERTIES* props) {
    if (!surface)
        return false;
    surface->flush(props);
    return true;
}
