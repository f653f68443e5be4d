#pragma once

// One of the two ways a display processes and draws: in main memory with OpenCV, or in OpenGL
// passes with the pixels on the graphics card. Each backend's classes stand side by side in
// cpu/ and gpu/; window, viewer, chain and converter ask Backend::of for theirs and never name
// a backend class.

class BrxComponent;
class BrxDisplayProcessor;
class BrxImgProcessor;
class QTDScreen;
class QTDSurface;

namespace QTD {

enum class StageKind { Image, YUV2RGB, Unpack, Bayer, ColorCorrection, ImageOverlay, Coloration };

class Backend {
public:
    virtual ~Backend() = default;

    // The backend a display with this flag uses.
    static const Backend& of(bool opengl);
    static const Backend& cpu();
    static const Backend& gpu();

    virtual bool isGpu() const = 0;
    // The window's drawing surface and the screen on it; the caller owns both.
    virtual QTDSurface* newSurface() const = 0;
    virtual QTDScreen* newScreen(QTDSurface* surface) const = 0;
    // A stage of `kind`, or null where this backend has none. CPU stages belong to `parent`; GPU
    // stages find their surface through the controller `display`.
    virtual BrxImgProcessor* newStage(StageKind kind, BrxDisplayProcessor* display,
                                      BrxComponent* parent) const = 0;
};

} // namespace QTD
