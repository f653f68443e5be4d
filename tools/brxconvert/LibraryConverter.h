#pragma once

// Converts camera frames to RGB8 through the library's own chain, as an application would:
// a display set up in a hidden widget for the frame's format, then BrxDisplay_ConvertImage.

#include "common/RawFrame.h"

#include <QImage>

#include <memory>
#include <string>

class BrxDisplay;
class QWidget;

class LibraryConverter {
public:
    LibraryConverter();
    ~LibraryConverter();

    // `frame` processed as the display would show it (unpacked, demosaiced, corrected), as an
    // RGB888 picture.
    bool toRgb(RawFrame& frame, QImage& out, std::string* error);

private:
    std::unique_ptr<QWidget> host;
    BrxDisplay* display = nullptr;
    uint32_t setUpType = 0;
    uint32_t setUpWidth = 0;
    uint32_t setUpHeight = 0;
};
