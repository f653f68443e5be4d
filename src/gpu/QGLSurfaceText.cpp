#include "gpu/QGLSurfaceText.h"

#include "core/AutoLock.h"

#include <QFontMetricsF>
#include <QImage>
#include <qopengl.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

QGLSurfaceText::QGLSurfaceText(QTD::PROPERTIES* props) : QTD::GlyphSurfaceText(props) {
    for (int i = 0; i < 256; ++i)
        alpha[i] = float(i / 255.0);
    addDefaultFonts();
}

QGLSurfaceText::~QGLSurfaceText() = default;

bool QGLSurfaceText::ready() {
    std::lock_guard<std::mutex> hold(fonts.guard);
    return !fonts.groups.empty();
}

int QGLSurfaceText::drawText(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* color) {
    FontInfo info;
    if (!text || !ready() || !findFont(font, info))
        return 0;
    if (!std::strchr(text, '\n'))
        return drawLine(text, x, y, font, color);
    std::vector<QTD::ATTR> lines;
    splitLines(text, lines, linefeed.c_str());
    int drawn = 0;
    for (QTD::ATTR const& line : lines) {
        drawn += drawLine(line.c_str(), x, y, font, color);
        y -= info.height;
    }
    return drawn;
}

int QGLSurfaceText::drawLine(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* color) {
    if (!text || !*text)
        return 0;
    // Held while the strip is read, so that no other thread removes the font meanwhile.
    QTD::AutoLock hold(&guard, "QGLSurfaceText::drawLine");
    FontInfo info;
    Strip strip;
    if (!findFont(font, info) || !findStrip(info.name, strip))
        return 0;
    glEnable(GL_BLEND);
    glPushAttrib(GL_LINE_BIT);
    glPushAttrib(GL_CURRENT_BIT);
    std::vector<std::string> segments = tabSegments(text);
    long cursor = x;
    QFontMetricsF metrics(*info.font);
    // "painter": each glyph where the CPU window's painter puts it, by the font's advances and
    // kerning; glyph rectangles laid end to end ("strip", as the memory surface does) run wider.
    const bool painter = props.get("text.layout", "strip").same("painter");
    for (size_t i = 0; i < segments.size(); ++i) {
        std::string const& line = segments[i];
        long at = cursor;
        for (size_t k = 0; k < line.size(); ++k) {
            int code = static_cast<unsigned char>(line[k]);
            if (painter) {
                double pen = metrics.horizontalAdvance(QString::fromLocal8Bit(line.data(), int(k)));
                double ink = code > 32
                                 ? metrics.boundingRect(QString::fromLocal8Bit(&line[k], 1)).left()
                                 : 0.0;
                at = cursor + std::lround(pen + ink);
            }
            at = drawChar(code < 32 ? 32 : code, at, y, strip, color);
        }
        if (i + 1 < segments.size())
            cursor += tabAdvance(info, segments[i].c_str());
    }
    glPopAttrib();
    glPopAttrib();
    glDisable(GL_BLEND);
    return 1;
}

long QGLSurfaceText::drawChar(int code, long x, long y, Strip const& strip,
                              QTD::RgbColor const* color) {
    size_t index = static_cast<size_t>(code - 32);
    if (index >= strip.rects->size())
        return x;
    QTD::TRECT<int> const& r = (*strip.rects)[index];
    float red = color ? color->getFlt(0) : 0.0f;
    float green = color ? color->getFlt(1) : 0.0f;
    float blue = color ? color->getFlt(2) : 0.0f;
    QImage const& image = *strip.image;
    glBegin(GL_QUADS);
    for (int row = 0; row < r.height; ++row) {
        int stripRow = r.y + row;
        if (stripRow < 0 || stripRow >= image.height())
            continue;
        uchar const* line = image.constScanLine(stripRow);
        float top = float(y - row);
        for (int column = 0; column < r.width; ++column) {
            int stripColumn = r.x + column;
            if (stripColumn < 0 || stripColumn >= image.width())
                continue;
            int v = line[stripColumn * 3];
            if (v == 0)
                continue;
            float left = float(x + column);
            glColor4f(red, green, blue, alpha[v]);
            glVertex2f(left, top);
            glVertex2f(left + 1, top);
            glVertex2f(left + 1, top - 1);
            glVertex2f(left, top - 1);
        }
    }
    glEnd();
    x += r.width;
    if (code > 32)
        x += strip.advance;
    return x;
}
