#pragma once

#include "gpu/QGLSurface.h"

// A surface on a borrowed context: the context, window and bag of a QGLSurface, without ever
// changing which context is current. The caller keeps the source's context current.
class QGLSurfaceRef : public QGLSurface {
public:
    QGLSurfaceRef() = default;
    ~QGLSurfaceRef() override;

    // Needs "surface" in `props` unless `source` is set.
    bool init(QTD::PROPERTIES* props) override;
    int shut() override;
    bool begin(QTD::PROPERTIES*) override { return true; }
    void end() override {}
    void flush(QTD::PROPERTIES*) override {}

    QGLSurface* source = nullptr;
};
