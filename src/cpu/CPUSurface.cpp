#include "cpu/CPUSurface.h"
#include "screen/Rounding.h"

#include "core/AutoLock.h"
#include "cpu/CPUSurfaceText.h"

#include <brx/BrxPixelTypes.h>

#include <QBackingStore>
#include <QColor>
#include <QImage>
#include <QLine>
#include <QPainter>
#include <QPen>
#include <QRect>
#include <QRegion>
#include <QWindow>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>

namespace {

// Qt::SolidLine .. Qt::CustomDashLine, the last one twice.
constexpr int QT_STYLES[7] = {1, 2, 3, 4, 5, 6, 6};
constexpr int const* STYLES = QT_STYLES;

using QTD::roundHalfAway;

QColor toQColor(QTD::RgbColor const& c) {
    return QColor(std::clamp(roundHalfAway(c.red * 255), 0, 255),
                  std::clamp(roundHalfAway(c.green * 255), 0, 255),
                  std::clamp(roundHalfAway(c.blue * 255), 0, 255), 255);
}

} // namespace

CPUSurface::CPUSurface() = default;

CPUSurface::~CPUSurface() {
    shut();
}

bool CPUSurface::init(QTD::PROPERTIES* p) {
    QWindow* w = p ? static_cast<QWindow*>(p->get("window").as<void*>()) : nullptr;
    if (!w)
        return false;
    shut();
    window = w;
    textHandler = new CPUSurfaceText(&props);
    store = new QBackingStore(w);
    store->resize(w->size());
    QRect geometry = w->geometry();
    width = geometry.width();
    height = geometry.height();
    area.x = 0;
    area.y = 0;
    area.width = width;
    area.height = height;
    QTD::ATTR value;
    if (p->find("size.x", &value))
        width = value.as<int>();
    if (p->find("size.y", &value))
        height = value.as<int>();
    area.width = width;
    area.height = height;
    if (p->find("area.pos.x", &value))
        area.x = value.as<double>();
    if (p->find("area.pos.y", &value))
        area.y = value.as<double>();
    if (p->find("area.dim.w", &value))
        area.width = value.as<double>();
    if (p->find("area.dim.h", &value))
        area.height = value.as<double>();
    props.set("window", QTD::ATTR(static_cast<void*>(w)), true);
    props.set("area", area.text(), true);
    props.set("size", QTD::ATTR::format("%d;%d", width, height), true);
    return true;
}

int CPUSurface::shut() {
    end();
    delete textHandler;
    textHandler = nullptr;
    delete store;
    store = nullptr;
    window = nullptr;
    return 1;
}

// A view command on another thread may bring a new size: the backing store, which belongs to the
// window's thread, follows at the next begin.
void CPUSurface::setSize(int w, int h) {
    QTDSurface::setSize(w, h);
}

bool CPUSurface::isValid() {
    QTD::AutoLock hold(&guard, "CPUSurface::isValid");
    return store && width != 0 && height != 0;
}

bool CPUSurface::begin(QTD::PROPERTIES* p) {
    {
        QTD::AutoLock hold(&guard, "CPUSurface::begin");
        if (!store || width <= 0 || height <= 0)
            return false;
        paintWidth = width;
        paintHeight = height;
    }
    // A bracket left open is closed first: one painter at a time.
    end();
    if (store->size() != QSize(paintWidth, paintHeight))
        store->resize(QSize(paintWidth, paintHeight));
    store->beginPaint(QRegion(QRect(QPoint(0, 0), QPoint(paintWidth - 1, paintHeight - 1))));
    painter = new QPainter(store->paintDevice());
    if (auto* text = dynamic_cast<CPUSurfaceText*>(textHandler))
        text->painter = painter;
    QTD::ATTR address(static_cast<void*>(painter));
    props.set("painter", address, true);
    if (p && p != &props)
        p->set("painter", address, true);
    return true;
}

void CPUSurface::end() {
    if (!painter)
        return;
    if (auto* text = dynamic_cast<CPUSurfaceText*>(textHandler))
        text->painter = nullptr;
    delete painter;
    painter = nullptr;
    props.set("painter", "0", true);
    store->endPaint();
}

void CPUSurface::flush(QTD::PROPERTIES*) {
    if (!store || paintWidth <= 0 || paintHeight <= 0)
        return;
    store->flush(QRegion(QRect(QPoint(0, 0), QPoint(paintWidth - 1, paintHeight - 1))), window,
                 QPoint(0, 0));
}

QTD::ATTR CPUSurface::descriptor(QTD::ATTR name) {
    QTD::ATTR base = QTDSurface::descriptor(name);
    return QTD::ATTR::format("%s [%s/%s]", base.c_str(),
                             QTD::ATTR(static_cast<void*>(window)).c_str(),
                             QTD::ATTR(static_cast<void*>(store)).c_str());
}

void CPUSurface::createPen(QPen& pen, QTD::RgbColor* color, int width, int style) {
    pen.setStyle(static_cast<Qt::PenStyle>(QT_STYLES[std::clamp(style, 0, 6)]));
    if (color)
        pen.setColor(toQColor(*color));
    if (width > 0)
        pen.setWidth(width);
}

void CPUSurface::polyLine(QTD::TPAIRS<int>& points, QTD::RgbColor* color, int width, int style) {
    if (!painter)
        return;
    QPen pen;
    if (style != 0) {
        Qt::PenStyle chosen = Qt::NoPen;
        for (int i = 0; i < 7; ++i)
            if (STYLES[i] == style) {
                chosen = static_cast<Qt::PenStyle>(STYLES[i]);
                break;
            }
        pen.setStyle(chosen);
    }
    // Black counts as "no colour" here and leaves the pen's own.
    if (color && static_cast<unsigned int>(*color) != 0)
        pen.setColor(toQColor(*color));
    if (width != 1 && width >= 0)
        pen.setWidth(width);
    painter->setPen(pen);
    for (size_t i = 1; i < points.size(); ++i) {
        QLine segment(points[i - 1].x, points[i - 1].y, points[i].x, points[i].y);
        painter->drawLines(&segment, 1);
    }
}

void CPUSurface::rect(int x, int y, int w, int h, QTD::RgbColor* color, int width, int style) {
    if (!painter || (w == 0 && h == 0))
        return;
    QPen pen;
    createPen(pen, color, width, style);
    painter->setPen(pen);
    painter->setBrush(Qt::NoBrush);
    painter->drawRect(x, y, w, h);
}

void CPUSurface::fillRect(int x, int y, int w, int h, QTD::RgbColor* color) {
    if (!painter)
        return;
    const QTD::RgbColor fill = fillColor(color);
    if (x == -1)
        x = 0;
    if (y == -1)
        y = 0;
    if (w == -1)
        w = paintWidth;
    if (h == -1)
        h = paintHeight;
    painter->fillRect(QRect(x, y, w, h), toQColor(fill));
}

void CPUSurface::image(BrxImage* img, QTD::TRECT<double>* target, QTD::TRECT<double>* source) {
    if (!painter || !img || img->pixelType != BRX_PIXEL_RGB8 || img->width == 0 ||
        img->height == 0 || !img->imageData || img->width > (1u << 28) || img->height > (1u << 28))
        return;
    int w = static_cast<int>(img->width);
    int h = static_cast<int>(img->height);
    size_t stride = img->stride ? img->stride : static_cast<size_t>(w) * 3;
    // The pixels are wrapped, not copied: their extent must be there.
    if (stride < static_cast<size_t>(w) * 3 ||
        (img->imageSize != 0 && img->imageSize < stride * (h - 1) + static_cast<size_t>(w) * 3))
        return;
    QRectF from(0, 0, w, h);
    if (source)
        from = QRectF(roundHalfAway(source->x), roundHalfAway(source->y),
                      roundHalfAway(std::fabs(source->width)),
                      roundHalfAway(std::fabs(source->height)));
    QRectF to(0, 0, paintWidth, paintHeight);
    if (target)
        to = QRectF(roundHalfAway(target->x), roundHalfAway(target->y),
                    roundHalfAway(target->width), roundHalfAway(target->height));
    QImage wrapped(static_cast<uchar const*>(img->imageData), w, h, static_cast<int>(stride),
                   QImage::Format_RGB888);
    // Drawn straight from the frame: the painter converts and scales only the rows and columns
    // it shows, so a paint costs what the window holds, not what the camera sends.
    painter->drawImage(to, wrapped, from);
}
