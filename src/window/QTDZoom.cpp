#include "window/QTDZoom.h"

#include <QTimer>

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

bool QTDZoom::keyDown(int) {
    if (!tracking)
        return false;
    slotTimer();
    return true;
}

void QTDZoom::slotTimer() {}
