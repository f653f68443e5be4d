#include "chain/Backend.h"

#include "cpu/CpuBackend.h"
#include "gpu/QGLBackend.h"

namespace QTD {

const Backend& Backend::cpu() {
    static const CpuBackend backend;
    return backend;
}

const Backend& Backend::gpu() {
    static const QGLBackend backend;
    return backend;
}

const Backend& Backend::of(bool opengl) {
    return opengl ? gpu() : cpu();
}

} // namespace QTD
