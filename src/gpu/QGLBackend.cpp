#include "gpu/QGLBackend.h"

#include "gpu/QGLScreen.h"
#include "gpu/QGLSurface.h"

#include <brx/BrxImgProcessors.h>

namespace QTD {

QTDSurface* QGLBackend::newSurface() const {
    auto* surface = new QGLSurface();
    // The window shows what the CPU window shows: zoomed in, each image pixel a sharp block, and
    // text laid out as the painter lays it.
    surface->props.set("smoothing", "0", true);
    surface->props.set("text.layout", "painter", true);
    return surface;
}

QTDScreen* QGLBackend::newScreen(QTDSurface* surface) const {
    return new QGLScreen(surface);
}

BrxImgProcessor* QGLBackend::newStage(StageKind kind, BrxDisplayProcessor* display,
                                      BrxComponent* parent) const {
    switch (kind) {
    case StageKind::Image:
        return BrxDisplayQGL::Image::CreateComponent(display);
    case StageKind::YUV2RGB:
        return Backend::cpu().newStage(kind, display, parent);
    case StageKind::Unpack:
        return BrxDisplayQGL::Unpack::CreateComponent(display);
    case StageKind::Bayer:
        return BrxDisplayQGL::Bayer::CreateComponent(display);
    case StageKind::ColorCorrection:
        return BrxDisplayQGL::ColorCorrection::CreateComponent(display);
    case StageKind::ImageOverlay:
        return BrxDisplayQGL::ImageOverlay::CreateComponent(display);
    case StageKind::Coloration:
        return BrxDisplayQGL::ExposureColoration::CreateComponent(display, parent);
    }
    return nullptr;
}

} // namespace QTD
