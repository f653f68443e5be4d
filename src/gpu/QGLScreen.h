#pragma once

#include "screen/QTDScreen.h"

class QGLSurface;

// The screen of the GPU path: places the finished texture in the window. A zoomed image larger
// than the driver's viewport limit ("gl.viewport") is drawn as the part the window shows.
// Everything but ready() needs the surface's context current, which begin..end provides.
class QGLScreen : public QTDScreen {
public:
    explicit QGLScreen(QTDSurface* surface);
    ~QGLScreen() override;

    bool init(QTD::CommandProcessor* window, int width, int height, FitMode fitMode) override;
    bool shut(bool lock) override;
    bool clear(bool flushNow) override;
    bool flush(QTD::PROPERTIES* props) override;
    bool begin(QTD::PROPERTIES* props) override;
    bool prepare(QTD::PROPERTIES* props) override;
    bool end(QTD::PROPERTIES* props, bool flushNow) override;
    bool draw(BrxImage* image, QTD::PROPERTIES* props) override;
    bool ready() override;

private:
    QGLSurface* gl() const;
    int viewportLimit() const;
};
