#pragma once

// The family of stages. Each kind in BrxDisplayQT names what a stage does; BrxDisplayCPU and
// BrxDisplayQGL derive one interface per kind for the main processor and for OpenGL, and their
// factories are what the library exports. All classes here are abstract.

#include <brx/BrxImgProcessor.h>

class BrxDisplayProcessor;

namespace BrxDisplayQT {
class Bayer : public BrxImgProcessor {};
class ColorCorrection : public BrxImgProcessor {};
class ExposureColoration : public BrxImgProcessor {};
class Image : public BrxImgProcessor {};
class ImageOverlay : public BrxImgProcessor {};
class Unpack : public BrxImgProcessor {};
class YUV2RGB : public BrxImgProcessor {};
} // namespace BrxDisplayQT

// Stages on the main processor. `parent` is the component that the stage reports to; a chain
// passes its own. DeleteComponent ignores null and otherwise destroys the stage.
namespace BrxDisplayCPU {
class Bayer : public BrxDisplayQT::Bayer {
public:
    static Bayer* CreateComponent(BrxComponent* parent);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class ColorCorrection : public BrxDisplayQT::ColorCorrection {
public:
    static ColorCorrection* CreateComponent(BrxComponent* parent);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class ExposureColoration : public BrxDisplayQT::ExposureColoration {
public:
    static ExposureColoration* CreateComponent(BrxComponent* parent);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class Image : public BrxDisplayQT::Image {
public:
    static Image* CreateComponent(BrxComponent* parent);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class ImageOverlay : public BrxDisplayQT::ImageOverlay {
public:
    static ImageOverlay* CreateComponent(BrxComponent* parent);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class Unpack : public BrxDisplayQT::Unpack {
public:
    static Unpack* CreateComponent(BrxComponent* parent);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class YUV2RGB : public BrxDisplayQT::YUV2RGB {
public:
    static YUV2RGB* CreateComponent(BrxComponent* parent);
    static void DeleteComponent(BrxImgProcessor* stage);
};
} // namespace BrxDisplayCPU

// Stages on OpenGL, made for a display controller.
namespace BrxDisplayQGL {
class Bayer : public BrxDisplayQT::Bayer {
public:
    static Bayer* CreateComponent(BrxDisplayProcessor* display);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class ColorCorrection : public BrxDisplayQT::ColorCorrection {
public:
    static ColorCorrection* CreateComponent(BrxDisplayProcessor* display);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class ExposureColoration : public BrxDisplayQT::ExposureColoration {
public:
    static ExposureColoration* CreateComponent(BrxDisplayProcessor* display, BrxComponent* parent);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class Image : public BrxDisplayQT::Image {
public:
    static Image* CreateComponent(BrxDisplayProcessor* display);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class ImageOverlay : public BrxDisplayQT::ImageOverlay {
public:
    static ImageOverlay* CreateComponent(BrxDisplayProcessor* display);
    static void DeleteComponent(BrxImgProcessor* stage);
};
class Unpack : public BrxDisplayQT::Unpack {
public:
    static Unpack* CreateComponent(BrxDisplayProcessor* display);
    static void DeleteComponent(BrxImgProcessor* stage);
};
} // namespace BrxDisplayQGL
