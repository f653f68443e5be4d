#pragma once

#include "core/ATTR.h"
#include "core/PROPERTIES.h"
#include "core/RMutex.h"
#include "image/RgbColor.h"
#include "image/TPAIR.h"
#include "image/TPAIRS.h"
#include "image/TRECT.h"

#include <brx/BrxImage.h>

#include <map>

namespace QTD {
class SurfaceText;
}

// What the screen and the overlay objects draw on. Coordinates are surface pixels with y
// downward; `area` is the part of the surface the image occupies, written by the screen on
// every recalculation. Every drawing call is a no-op in the base; backends override what they
// can do.
class QTDSurface {
public:
    QTDSurface();
    virtual ~QTDSurface();

    QTDSurface(QTDSurface const&) = delete;
    QTDSurface& operator=(QTDSurface const&) = delete;

    virtual bool init(QTD::PROPERTIES* props);
    virtual int shut();
    // Size and area change on whichever thread changes the view, under `guard`.
    virtual void setSize(int width, int height);
    void setArea(QTD::TRECT<double> const& rect);
    // Both read in one piece, under `guard`.
    QTD::TRECT<double> areaRect();
    QTD::TPAIR<int> size();
    virtual bool begin(QTD::PROPERTIES* props);
    virtual void end();
    virtual void flush(QTD::PROPERTIES* props);
    virtual bool isValid();
    // "name (size=w;h; area=x;y-w;h)", or without the name when it is empty.
    virtual QTD::ATTR descriptor(QTD::ATTR name);
    virtual void polyLine(QTD::TPAIRS<int>& points, QTD::RgbColor* color, int width, int style);
    virtual void line(int x1, int y1, int x2, int y2, QTD::RgbColor* color, int width, int style);
    virtual void rect(int x, int y, int w, int h, QTD::RgbColor* color, int width, int style);
    virtual void fillRect(int x, int y, int w, int h, QTD::RgbColor* color);
    virtual void image(BrxImage* image, QTD::TRECT<double>* target, QTD::TRECT<double>* source);
    virtual void text(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* color);
    virtual double areaX(int x);
    virtual double areaY(int y);
    virtual int surfX(int x);
    virtual int surfY(int y);
    // Backends that can fail report a code here; the base has nothing to check.
    virtual int checkError(char const* site, bool report, bool strict);

    QTD::SurfaceText* textObject() const { return textHandler; }
    // `given`, or without one the surface's "fill" colour, black if it has none.
    QTD::RgbColor fillColor(QTD::RgbColor const* given) const;

    // Free for the backend: the GL surface keeps its last status word here.
    int32_t mode = 0;
    int32_t width = 0;
    int32_t height = 0;
    QTD::TRECT<double> area;
    QTD::PROPERTIES props;
    std::map<QTD::ATTR, QTD::RgbColor> colors;
    // Owned; made by the backend's init.
    QTD::SurfaceText* textHandler = nullptr;
    QTD::RMutex guard;
};
