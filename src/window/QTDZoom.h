#pragma once

#include "core/ATTR.h"
#include "core/PROPERTIES.h"
#include "image/TPAIR.h"
#include "image/TRECT.h"
#include "window/QTDInput.h"

#include <QCursor>
#include <QObject>

class QTimer;
class QTDWindow;
class QWidget;

// The rubber band of the render window: while the right button drags, it shows a rectangle over
// the image and decides whether its release zooms in, out or not at all. It stands first in the
// window's input chain. The band itself (begin, track, end, draw) joins with the mouse handling;
// for now the navigator holds its settings and its place in the chain.
class QTDZoom : public QObject, public QTDInput {
    Q_OBJECT
public:
    explicit QTDZoom(QTDWindow* window);
    ~QTDZoom() override;

    // While a band is live every key belongs to it.
    bool keyDown(int key) override;

    bool isTracking() const { return tracking != nullptr; }

public slots:
    void slotTimer();

public:
    QTDWindow* window;
    // The window's parent widget while a band is live.
    QWidget* tracking = nullptr;
    QTD::TPAIR<int> anchor;
    QTD::TRECT<int> band;
    // 0 no action, 1 zoom in, 2 zoom out.
    int32_t resultMode = 0;
    int32_t centered = 0;
    QTimer* timer;
    int32_t shownMode = 0;
    QCursor cursors[3];
    QTD::PROPERTIES props;
    QTD::ATTR overlayID;
};
