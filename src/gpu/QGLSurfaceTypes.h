#pragma once

// The GL drawing backend: surface, screen, text, render targets and textures on the window's
// context.

#include "gpu/QGLImage.h"
#include "gpu/QGLScreen.h"
#include "gpu/QGLSurface.h"
#include "gpu/QGLSurfaceRef.h"
#include "gpu/QGLSurfaceText.h"
#include "gpu/QGLTexture.h"
#include "screen/QTDSurfaceTypes.h"
