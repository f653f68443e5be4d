#include "screen/GlyphSurfaceText.h"

#include "core/AutoLock.h"

#include <QColor>
#include <QFont>
#include <QFontMetrics>
#include <QImage>
#include <QPainter>
#include <QString>

#include <algorithm>

namespace QTD {

GlyphSurfaceText::GlyphSurfaceText(PROPERTIES* source) : SurfaceText(source) {}

// Strips go here, while this class's shutFont still runs.
GlyphSurfaceText::~GlyphSurfaceText() {
    shut();
}

int GlyphSurfaceText::addFont(ATTR name, char const* face, int size, bool bold, bool italic) {
    int result = SurfaceText::addFont(name, face, size, bold, italic);
    if (result == 0)
        buildStrip(name);
    return result;
}

int GlyphSurfaceText::shutFont(ATTR name) {
    if (name.empty())
        return -1;
    AutoLock hold(&guard, "GlyphSurfaceText::shutFont");
    glyphs.erase(name);
    stripImages.erase(name);
    {
        std::lock_guard<std::recursive_mutex> rows(strips.guard);
        auto& list = strips.rows;
        list.erase(
            std::remove_if(list.begin(), list.end(), [&](PROP const& p) { return p.key == name; }),
            list.end());
    }
    return SurfaceText::shutFont(name);
}

void GlyphSurfaceText::buildStrip(ATTR const& name) {
    AutoLock hold(&guard, "GlyphSurfaceText::buildStrip");
    FontInfo info;
    if (!findFont(name, info) || !info.font)
        return;
    std::vector<TRECT<int>> rects;
    rects.reserve(224);
    int right = 0;
    int stripHeight = 1;
    for (int code = 32; code < 256; ++code) {
        // A blank is measured as "i" so that it has a width.
        char text[2] = {code == 32 ? 'i' : static_cast<char>(code), 0};
        int h = 0;
        TRECT<int> r;
        r.x = right;
        r.y = 0;
        r.width = calcLineWidth(info.font, text, &h);
        r.height = h + 1;
        right += r.width;
        stripHeight = std::max(stripHeight, r.height);
        rects.push_back(r);
    }
    // Rows of whole 32-bit words of the strip's 24-bit pixels.
    int stripWidth = std::max(1, (right * 24 + 31) / 32 * 32 / 8);
    auto strip = std::make_unique<QImage>(stripWidth, stripHeight, QImage::Format_RGB888);
    strip->fill(Qt::black);
    {
        QFontMetrics metrics(*info.font);
        QPainter painter(strip.get());
        painter.setFont(*info.font);
        painter.setPen(Qt::white);
        for (int code = 32; code < 256; ++code) {
            TRECT<int> const& r = rects[code - 32];
            if (r.width <= 0)
                continue;
            char text[2] = {static_cast<char>(code), 0};
            QString glyph = QString::fromLocal8Bit(text);
            // The ink fills its own rectangle (the bearing is taken off), with the base line
            // `descent` above the rectangle's bottom; nothing spills into a neighbour.
            int bearing = metrics.boundingRect(glyph).left();
            painter.setClipRect(r.x, r.y, r.width, r.height);
            painter.drawText(r.x - bearing, r.y + r.height - info.descent, glyph);
        }
    }
    strips.set(name, ATTR(static_cast<void*>(strip.get())), true);
    glyphs[name] = std::move(rects);
    stripImages[name] = std::move(strip);
    std::lock_guard<std::mutex> inner(fonts.guard);
    auto bag = fonts.groups.find(name);
    if (bag != fonts.groups.end())
        bag->second.set("intv", "0;0", true);
}

bool GlyphSurfaceText::findStrip(ATTR const& font, Strip& strip) {
    FontInfo info;
    if (!findFont(font, info))
        return false;
    auto image = stripImages.find(info.name);
    auto rects = glyphs.find(info.name);
    if (image == stripImages.end() || rects == glyphs.end() || !image->second)
        return false;
    strip.image = image->second.get();
    strip.rects = &rects->second;
    ATTR intv = fonts.getPropsValue(info.name, "intv", "0;0");
    strip.advance = intv.split(0, ";").as<int>();
    return true;
}

} // namespace QTD
