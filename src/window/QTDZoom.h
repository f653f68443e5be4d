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
// the image and decides whether its release zooms in, out or not at all. The window's mouse
// handling begins, feeds and ends the band and applies the result; the navigator stands first in
// the window's input chain so that a live band swallows every key.
//
// All coordinates are global pixels until `draw` maps the rectangle into the window.
class QTDZoom : public QObject, public QTDInput {
    Q_OBJECT
public:
    explicit QTDZoom(QTDWindow* window);
    ~QTDZoom() override;

    // Starts a band at `anchor` (null: the cursor) for `window` (null: the stored one); a
    // non-zero `centered` grows it about the anchor. False without a window, its parent widget
    // or a size.
    virtual bool beginTrack(QTDWindow* window, QTD::TPAIR<int>* anchor, int centered);
    // Ends the band; `rect`, if given, receives the final rectangle, and `resultMode` tells
    // what it asks for.
    virtual QTDZoom& endTrack(QTD::TRECT<int>* rect);
    // With `rect`: the band for the cursor's position goes there and nothing else changes but
    // `resultMode`. Without: the band and the display follow the cursor.
    virtual QTDZoom& trackPosition(QTD::TRECT<int>* rect);
    // While a band is live every key belongs to it.
    bool keyDown(int key) override;
    // Shows `rect` as the navigator's overlay rectangle.
    virtual QTDZoom& draw(QTD::TRECT<int>* rect);

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
    // The mode the cursor shows.
    int32_t shownMode = 0;
    QCursor cursors[3];
    QTD::PROPERTIES props;
    QTD::ATTR overlayID;

private:
    int setting(char const* key, int fallback);
};
