#include "cpu/CPUSurfaceText.h"

#include <QColor>
#include <QFont>
#include <QPainter>
#include <QString>

#include <algorithm>
#include <climits>
#include <string>
#include <vector>

CPUSurfaceText::CPUSurfaceText(QTD::PROPERTIES* props) : QTD::SurfaceText(props) {
    addDefaultFonts();
}

CPUSurfaceText::~CPUSurfaceText() {
    painter = nullptr;
}

int CPUSurfaceText::drawLine(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* c) {
    FontInfo info;
    if (!painter || !text || !*text || !findFont(font, info) || !info.font)
        return 0;
    QTD::RgbColor const& use = c ? *c : color;
    QColor pen;
    pen.setRgb(std::clamp(use.r, 0, 255), std::clamp(use.g, 0, 255), std::clamp(use.b, 0, 255),
               255);
    painter->setFont(*info.font);
    painter->setPen(pen);
    // y is the box's top: the placement arithmetic treats it so, as the other surfaces draw.
    long const baseline = long(y) + info.ascent;
    if (baseline > INT_MAX)
        return 0;
    // The part behind each tab starts at the next stop past the part before it.
    std::vector<std::string> segments = tabSegments(text);
    long cursor = x;
    for (size_t i = 0; i < segments.size() && cursor <= INT_MAX; ++i) {
        if (!segments[i].empty())
            painter->drawText(static_cast<int>(cursor), static_cast<int>(baseline),
                              QString::fromLocal8Bit(segments[i].c_str()));
        if (i + 1 < segments.size())
            cursor += tabAdvance(info, segments[i].c_str());
    }
    return 1;
}
