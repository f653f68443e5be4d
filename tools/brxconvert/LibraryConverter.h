#pragma once

// Converts camera frames to RGB8 through the library's own chain, as an application would:
// a display controller set up in a hidden widget for the frame's format, then its converter.

#include "common/RawFrame.h"

#include <QImage>

#include <memory>
#include <string>

class BrxDisplayProcessor;
class QWidget;

class LibraryConverter {
public:
    LibraryConverter();
    ~LibraryConverter();

    // `frame` processed as the display would show it (unpacked, demosaiced, corrected), as an
    // RGB888 picture.
    bool toRgb(RawFrame& frame, QImage& out, std::string* error);

    // The demosaicing mode ("BayerAlgType") for Bayer frames; -1 keeps the library's default.
    void setDemosaic(long mode) { demosaic = mode; }
    // A mode by name ("gradient", "bilinear", "rcd", "quality") or number; -1 if it is neither.
    static long demosaicMode(const std::string& name);
    // The names, for messages.
    static std::string demosaicNames();

private:
    std::unique_ptr<QWidget> host;
    BrxDisplayProcessor* display = nullptr;
    uint32_t setUpType = 0;
    uint32_t setUpWidth = 0;
    uint32_t setUpHeight = 0;
    long demosaic = -1;

    // Sets the display's Bayer stage up again with `demosaic`; true without a Bayer stage.
    bool applyDemosaic(std::string* why);
};
