#pragma once

#include "screen/QTDScreen.h"

// The screen of the CPU path: clears the surface and puts the image at the placement the view
// computes.
class CPUScreen : public QTDScreen {
public:
    explicit CPUScreen(QTDSurface* surface);
    ~CPUScreen() override;

    bool clear(bool flushNow) override;
    bool flush(QTD::PROPERTIES* props) override;
    bool draw(BrxImage* image, QTD::PROPERTIES* props) override;
};
