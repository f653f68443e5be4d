#include "screen/QTDSurface.h"
#include "screen/Rounding.h"

#include "core/AutoLock.h"
#include "screen/SurfaceText.h"

#include <climits>
#include <cmath>

namespace {

using QTD::roundHalfAway;

} // namespace

QTDSurface::QTDSurface() {
    colors["line"] = QTD::RgbColor(0, 0, 0, 0, 256);
    colors["fill"] = QTD::RgbColor(0, 0, 0, 0, 256);
}

QTDSurface::~QTDSurface() {
    delete textHandler;
    textHandler = nullptr;
}

bool QTDSurface::init(QTD::PROPERTIES*) {
    return true;
}

int QTDSurface::shut() {
    return 1;
}

void QTDSurface::setSize(int w, int h) {
    QTD::AutoLock hold(&guard, "QTDSurface::setSize");
    width = w;
    height = h;
}

void QTDSurface::setArea(QTD::TRECT<double> const& rect) {
    QTD::AutoLock hold(&guard, "QTDSurface::setArea");
    area = rect;
}

QTD::TRECT<double> QTDSurface::areaRect() {
    QTD::AutoLock hold(&guard, "QTDSurface::areaRect");
    return area;
}

QTD::TPAIR<int> QTDSurface::size() {
    QTD::AutoLock hold(&guard, "QTDSurface::size");
    return {width, height};
}

bool QTDSurface::begin(QTD::PROPERTIES*) {
    return true;
}

void QTDSurface::end() {}

void QTDSurface::flush(QTD::PROPERTIES*) {}

bool QTDSurface::isValid() {
    return true;
}

QTD::ATTR QTDSurface::descriptor(QTD::ATTR name) {
    QTD::AutoLock hold(&guard, "QTDSurface::descriptor");
    QTD::ATTR size = QTD::ATTR::format("%d;%d", width, height);
    QTD::ATTR areaText = area.text();
    if (name.empty())
        return QTD::ATTR::format("(size=%s; area=%s)", size.c_str(), areaText.c_str());
    return QTD::ATTR::format("%s (size=%s; area=%s)", name.c_str(), size.c_str(), areaText.c_str());
}

QTD::RgbColor QTDSurface::fillColor(QTD::RgbColor const* given) const {
    if (given)
        return *given;
    auto found = colors.find("fill");
    return found != colors.end() ? found->second : QTD::RgbColor(0, 0, 0, 0, 256);
}

void QTDSurface::polyLine(QTD::TPAIRS<int>&, QTD::RgbColor*, int, int) {}

void QTDSurface::line(int x1, int y1, int x2, int y2, QTD::RgbColor* color, int width, int style) {
    QTD::TPAIRS<int> points(2);
    points[0].x = x1;
    points[0].y = y1;
    points[1].x = x2;
    points[1].y = y2;
    polyLine(points, color, width, style);
}

void QTDSurface::rect(int, int, int, int, QTD::RgbColor*, int, int) {}

void QTDSurface::fillRect(int, int, int, int, QTD::RgbColor*) {}

void QTDSurface::image(BrxImage*, QTD::TRECT<double>*, QTD::TRECT<double>*) {}

void QTDSurface::text(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* color) {
    if (textHandler)
        textHandler->drawText(text, x, y, font, color);
}

double QTDSurface::areaX(int x) {
    QTD::AutoLock hold(&guard, "QTDSurface::areaX");
    return x - area.x;
}

double QTDSurface::areaY(int y) {
    QTD::AutoLock hold(&guard, "QTDSurface::areaY");
    return y - area.y;
}

int QTDSurface::surfX(int x) {
    QTD::AutoLock hold(&guard, "QTDSurface::surfX");
    return roundHalfAway(x + area.x);
}

int QTDSurface::surfY(int y) {
    QTD::AutoLock hold(&guard, "QTDSurface::surfY");
    return roundHalfAway(y + area.y);
}

int QTDSurface::checkError(char const*, bool, bool) {
    return 1;
}
