#include "cpu/CPUScreen.h"

#include "screen/QTDSurface.h"

#include <cmath>

CPUScreen::CPUScreen(QTDSurface* s) : QTDScreen(s) {}

CPUScreen::~CPUScreen() = default;

bool CPUScreen::clear(bool) {
    if (!surface)
        return false;
    QTD::RgbColor grey(128, 128, 128, 0, 256);
    surface->fillRect(-1, -1, -1, -1, &grey);
    return true;
}

bool CPUScreen::flush(QTD::PROPERTIES* p) {
    if (!surface)
        return false;
    surface->flush(p);
    return true;
}

bool CPUScreen::draw(BrxImage* image, QTD::PROPERTIES*) {
    if (!surface)
        return false;
    QTD::RgbColor background;
    background.setClr(props.get("color").as<unsigned int>());
    surface->fillRect(-1, -1, -1, -1, &background);
    if (image) {
        QTD::TRECT<double> target = imageRect();
        QTD::TRECT<double> source;
        source.width = image->width;
        source.height = image->height;
        surface->image(image, &target, &source);
    }
    return true;
}
