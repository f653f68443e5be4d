#pragma once

#include "screen/QTDSurface.h"

// A surface over an image in memory, for burning overlay text into it. Only text reaches the
// pixels; lines, rectangles, fills and images do nothing.
class MEMSurface : public QTDSurface {
public:
    MEMSurface();
    ~MEMSurface() override;

    bool init(QTD::PROPERTIES* props) override;
    int shut() override;
    // Reads "image" (the BrxImage as "%p") from `props` and hands it to the text object.
    bool begin(QTD::PROPERTIES* props) override;
    void end() override;
    bool isValid() override { return textHandler != nullptr; }
};
