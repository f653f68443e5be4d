#pragma once

#include "screen/QTDSurface.h"

class QBackingStore;
class QPainter;
class QPen;
class QWindow;

// The CPU drawing surface: a Qt backing store on the window, painted between begin and end and
// shown by flush. Drawing outside begin and end does nothing.
class CPUSurface : public QTDSurface {
public:
    CPUSurface();
    ~CPUSurface() override;

    // Needs "window" (the QWindow as "%p"); optional "size.x", "size.y", "area.pos.x",
    // "area.pos.y", "area.dim.w", "area.dim.h".
    bool init(QTD::PROPERTIES* props) override;
    int shut() override;
    void setSize(int width, int height) override;
    bool begin(QTD::PROPERTIES* props) override;
    void end() override;
    void flush(QTD::PROPERTIES* props) override;
    bool isValid() override;
    QTD::ATTR descriptor(QTD::ATTR name) override;
    void polyLine(QTD::TPAIRS<int>& points, QTD::RgbColor* color, int width, int style) override;
    void rect(int x, int y, int w, int h, QTD::RgbColor* color, int width, int style) override;
    void fillRect(int x, int y, int w, int h, QTD::RgbColor* color) override;
    // Draws RGB8 images only; other types are skipped.
    void image(BrxImage* image, QTD::TRECT<double>* target, QTD::TRECT<double>* source) override;

    // Style 0..6 (clamped) through the pen style table; a colour and a non-zero width if given.
    static void createPen(QPen& pen, QTD::RgbColor* color, int width, int style);

    QBackingStore* store = nullptr;
    QPainter* painter = nullptr;

private:
    QWindow* window = nullptr;
    // The size of the frame being painted, taken at begin.
    int paintWidth = 0;
    int paintHeight = 0;
};
