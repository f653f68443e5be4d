#pragma once

#include "image/PixelFormat.h"

#include <brx/BrxImage.h>

#include <vector>

class QGLSurface;
class QOpenGLFunctions;

namespace QTD {

// Whether `surface` has a context and it is current on this thread: GL objects are made and
// deleted only then. Otherwise logs `where` and answers false.
bool contextCurrent(QGLSurface* surface, char const* where);

// Bytes of one stored pixel: deep channels take 16 bits each, right-aligned.
int pixelBytes(PixelFormat const& format);

// Moves the rows of a BrxImage to and from the texture or framebuffer in use, honouring the
// image's stride. Rows whose stride is a whole number of pixels go straight through GL's row
// length; other strides, and a flipped upload, pass through `scratch`. Neither touches the
// image's own pixels. Both return false for an image whose declared stride or size cannot hold
// `w` x `h` pixels of `pixelBytes`.
bool uploadRows(QOpenGLFunctions* gl, BrxImage* image, int w, int h, int pixelBytes,
                unsigned int format, unsigned int type, bool flip, std::vector<char>& scratch);
bool readRows(QOpenGLFunctions* gl, BrxImage* image, int w, int h, int pixelBytes,
              unsigned int format, unsigned int type, std::vector<char>& scratch);

} // namespace QTD
