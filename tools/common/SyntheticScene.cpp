#include "SyntheticScene.h"

#include <QColor>
#include <QFont>
#include <QPainter>

#include <cmath>

const uint32_t SyntheticScene::barColours[8] = {0xFFFFFF, 0xFFFF00, 0x00FFFF, 0x00FF00,
                                                0xFF00FF, 0xFF0000, 0x0000FF, 0x000000};

SyntheticScene::SyntheticScene(int width, int height)
    : background(width > 0 ? width : 1, height > 0 ? height : 1, QImage::Format_RGB888) {
    const int w = background.width();
    const int h = background.height();
    const int third = h / 3;
    for (int y = 0; y < h; ++y) {
        uint8_t* row = background.scanLine(y);
        for (int x = 0; x < w; ++x) {
            uint8_t* p = row + 3 * x;
            if (y < third) {
                const uint32_t c = barColours[std::min(7, x * 8 / w)];
                p[0] = static_cast<uint8_t>(c >> 16);
                p[1] = static_cast<uint8_t>(c >> 8);
                p[2] = static_cast<uint8_t>(c);
            } else if (y < 2 * third && x < w / 2) {
                // Zone plate: the frequency rises with the distance from the centre and reaches
                // the sampling limit at the region's edge.
                const double cx = x - w / 4.0;
                const double cy = y - 1.5 * third;
                const double r = std::max(w / 4.0, third / 2.0);
                const double v = std::cos(M_PI * (cx * cx + cy * cy) / (2.0 * r));
                const auto g = static_cast<uint8_t>(127.5 + 127.5 * v);
                p[0] = p[1] = p[2] = g;
            } else if (y < 2 * third) {
                QColor c = QColor::fromHsvF(double(x - w / 2) / std::max(1, w - w / 2), 1.0,
                                            1.0 - 0.6 * (y - third) / std::max(1, third));
                p[0] = static_cast<uint8_t>(c.red());
                p[1] = static_cast<uint8_t>(c.green());
                p[2] = static_cast<uint8_t>(c.blue());
            } else {
                p[0] = p[1] = p[2] = static_cast<uint8_t>(x * 255 / std::max(1, w - 1));
            }
        }
    }
}

QImage SyntheticScene::frame(uint64_t index) const {
    QImage image = background.copy();
    const int w = image.width();
    const int h = image.height();
    const int third = h / 3;
    QPainter painter(&image);
    // The marker crosses the ramp in about four seconds at 30 frames a second.
    const int side = std::max(4, (h - 2 * third) / 3);
    const int span = std::max(1, w - side);
    const int step = std::max(1, span / 120);
    const int64_t travel = static_cast<int64_t>((index * uint64_t(step)) % uint64_t(2 * span));
    const int x = static_cast<int>(travel < span ? travel : 2 * span - travel);
    painter.fillRect(x, 2 * third + (h - 2 * third - side) / 2, side, side, QColor(255, 64, 0));
    // The frame counter, black on white, in the lower left of the zone plate.
    QFont font("DejaVu Sans Mono");
    font.setPixelSize(std::max(8, third / 5));
    painter.setFont(font);
    const QString text = QString("frame %1").arg(index, 6, 10, QChar('0'));
    const QRect box = painter.fontMetrics().boundingRect(text).adjusted(-4, -2, 4, 2);
    const QRect at(4, 2 * third - box.height() - 4, box.width(), box.height());
    painter.fillRect(at, Qt::white);
    painter.setPen(Qt::black);
    painter.drawText(at, Qt::AlignCenter, text);
    return image;
}
