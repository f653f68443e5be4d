#include "window/QTDZoom.h"

#include "window/QTDWindow.h"

#include <QGuiApplication>
#include <QTimer>

#include <cmath>
#include <cstdlib>
#include <exception>

namespace {

bool held(Qt::KeyboardModifier key) {
    return (QGuiApplication::keyboardModifiers() & key) != 0;
}

} // namespace

QTDZoom::QTDZoom(QTDWindow* w)
    : window(w),
      timer(new QTimer(this)), cursors{QCursor(Qt::ArrowCursor), QCursor(Qt::CrossCursor),
                                       QCursor(Qt::IBeamCursor)} {
    props.set("rect.width", QTD::ATTR(5), true);
    props.set("skip.track", QTD::ATTR(20), true);
    props.set("color", QTD::ATTR(32768), true);
    props.set("adjust", QTD::ATTR(1), true);
    overlayID = QTD::ATTR::format("zoom.0x%p", static_cast<void*>(this));
}

QTDZoom::~QTDZoom() = default;

int QTDZoom::setting(char const* key, int fallback) {
    // A setting written as something other than a number counts as not written.
    try {
        return props.getAs<int>(key, QTD::ATTR(fallback));
    } catch (std::exception const&) {
        return fallback;
    }
}

bool QTDZoom::beginTrack(QTDWindow* w, QTD::TPAIR<int>* start, int centeredBand) {
    if (w)
        window = w;
    tracking = window ? window->parent : nullptr;
    if (!tracking)
        return false;
    centered = centeredBand != 0 ? 1 : 0;
    QRect geometry = window->geometry();
    if (geometry.width() == 0 || geometry.height() == 0) {
        // A band that never began must not look live to the window's release.
        tracking = nullptr;
        return false;
    }
    band = QTD::TRECT<int>();
    anchor = start ? *start : window->cursorPos(true);
    window->setMouseGrabEnabled(true);
    timer->setInterval(200);
    timer->start();
    // Connected again on every band: the slot may run more than once per tick, which only
    // repeats the same answer.
    connect(timer, &QTimer::timeout, this, &QTDZoom::slotTimer);
    return true;
}

QTDZoom& QTDZoom::trackPosition(QTD::TRECT<int>* rect) {
    if (!tracking)
        return *this;
    QTD::TPAIR<int> cursor = window->cursorPos(true);
    int skip = setting("skip.track", 20);
    int dx = cursor.x - anchor.x;
    QTD::TRECT<int> next;
    if (centered == 0) {
        next.x = std::min(anchor.x, cursor.x);
        next.y = std::min(anchor.y, cursor.y);
        next.width = std::abs(dx);
        next.height = std::abs(cursor.y - anchor.y);
        // The smaller side decides: a long thin band is no zoom.
        if (std::min(next.width, next.height) < skip)
            resultMode = 0;
        else
            resultMode = held(Qt::ShiftModifier) ? 2 : 1;
    } else {
        int halfWidth = std::abs(dx);
        int halfHeight;
        if (setting("adjust", 1) == 0) {
            halfHeight = std::abs(cursor.y - anchor.y);
        } else {
            // Keeps the shape of the window.
            QTD::TRECT<int> view = window->windowRect(false);
            double ratio = view.width == 0
                               ? 0.0
                               : std::abs(view.height) / static_cast<double>(std::abs(view.width));
            double h = halfWidth * ratio;
            halfHeight = static_cast<int>(h < 0 ? h - 0.5 : h + 0.5);
        }
        next.x = anchor.x - halfWidth;
        next.y = anchor.y - halfHeight;
        next.width = 2 * halfWidth;
        next.height = 2 * halfHeight;
        // The direction of the drag decides, Shift does not.
        if (std::abs(dx) < skip)
            resultMode = 0;
        else
            resultMode = dx >= 0 ? 1 : 2;
    }
    if (rect) {
        *rect = next;
        return *this;
    }
    // The overlay shows the previous band for one step.
    draw(&band);
    band = next;
    shownMode = resultMode;
    window->setCursor(cursors[resultMode]);
    window->update();
    return *this;
}

QTDZoom& QTDZoom::endTrack(QTD::TRECT<int>* rect) {
    timer->stop();
    if (!tracking)
        return *this;
    if (rect) {
        trackPosition(rect);
        draw(&band);
    }
    window->drawObjects.del(overlayID);
    window->setMouseGrabEnabled(false);
    window->setCursor(QCursor(Qt::ArrowCursor));
    window->update();
    tracking = nullptr;
    return *this;
}

bool QTDZoom::keyDown(int) {
    if (!tracking)
        return false;
    slotTimer();
    return true;
}

QTDZoom& QTDZoom::draw(QTD::TRECT<int>* rect) {
    if (!tracking || !rect)
        return *this;
    QTD::TPAIR<int> position;
    position.x = rect->x;
    position.y = rect->y;
    window->global2window(position);
    QTD::PROPERTIES bag;
    bag.set("objectID", overlayID, true);
    bag.set("update", "1", true);
    // Kept as "%d", sent as "%u": a negative setting wraps as an unsigned number would.
    unsigned colour =
        static_cast<unsigned>(std::strtoul(props.get("color", "32768").c_str(), nullptr, 10));
    bag.set("line.clr", QTD::ATTR::format("%u", colour), true);
    // The same id each time: the rectangle is replaced, not added.
    window->setOverlayRect(position.x, position.y, rect->width, rect->height, bag);
    return *this;
}

void QTDZoom::slotTimer() {
    // Shift switches between in and out while the band stands still; a centred band goes by
    // its direction alone.
    if (!tracking || resultMode == 0 || centered != 0)
        return;
    resultMode = held(Qt::ShiftModifier) ? 2 : 1;
    if (resultMode != shownMode) {
        shownMode = resultMode;
        window->setCursor(cursors[resultMode]);
    }
}
