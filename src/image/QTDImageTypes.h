#pragma once

// The value types of image data: the image record, the table of pixel types and the classes
// built on it.

#include <brx/BrxImage.h>

#include "image/ColorModelDescription.h"
#include "image/LookupTable.h"
#include "image/PixelFormat.h"
#include "image/RgbColor.h"
#include "image/TPAIR.h"
#include "image/TPAIRS.h"
#include "image/TRECT.h"
