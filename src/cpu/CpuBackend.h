#pragma once

#include "chain/Backend.h"

namespace QTD {

// Main memory: a QPainter surface and OpenCV stages.
class CpuBackend : public Backend {
public:
    bool isGpu() const override { return false; }
    QTDSurface* newSurface() const override;
    QTDScreen* newScreen(QTDSurface* surface) const override;
    BrxImgProcessor* newStage(StageKind kind, BrxDisplayProcessor* display,
                              BrxComponent* parent) const override;
};

} // namespace QTD
