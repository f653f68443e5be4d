#pragma once

// The in-memory drawing backend: text burnt into a BrxImage.

#include "cpu/MEMSurface.h"
#include "cpu/MEMSurfaceText.h"
#include "screen/QTDSurfaceTypes.h"
