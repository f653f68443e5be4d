#pragma once

// The drawing layer shared by every backend: the view model, the surface contract, the text
// objects and the value types they take.

#include <brx/BrxImage.h>

#include "image/RgbColor.h"
#include "image/TPAIR.h"
#include "image/TPAIRS.h"
#include "image/TRECT.h"
#include "screen/GlyphSurfaceText.h"
#include "screen/QTDScreen.h"
#include "screen/QTDSurface.h"
#include "screen/SurfaceText.h"
