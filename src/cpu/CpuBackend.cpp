#include "cpu/CpuBackend.h"

#include "cpu/CPUScreen.h"
#include "cpu/CPUSurface.h"

#include <brx/BrxImgProcessors.h>

namespace QTD {

QTDSurface* CpuBackend::newSurface() const {
    return new CPUSurface();
}

QTDScreen* CpuBackend::newScreen(QTDSurface* surface) const {
    return new CPUScreen(surface);
}

BrxImgProcessor* CpuBackend::newStage(StageKind kind, BrxDisplayProcessor*,
                                      BrxComponent* parent) const {
    switch (kind) {
    case StageKind::Image:
        return BrxDisplayCPU::Image::CreateComponent(parent);
    case StageKind::YUV2RGB:
        return BrxDisplayCPU::YUV2RGB::CreateComponent(parent);
    case StageKind::Unpack:
        return BrxDisplayCPU::Unpack::CreateComponent(parent);
    case StageKind::Bayer:
        return BrxDisplayCPU::Bayer::CreateComponent(parent);
    case StageKind::ColorCorrection:
        return BrxDisplayCPU::ColorCorrection::CreateComponent(parent);
    case StageKind::ImageOverlay:
        return BrxDisplayCPU::ImageOverlay::CreateComponent(parent);
    case StageKind::Coloration:
        return BrxDisplayCPU::ExposureColoration::CreateComponent(parent);
    }
    return nullptr;
}

} // namespace QTD
