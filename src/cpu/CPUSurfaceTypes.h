#pragma once

// The CPU drawing backend: surface, screen and text on a Qt backing store.

#include "cpu/CPUScreen.h"
#include "cpu/CPUSurface.h"
#include "cpu/CPUSurfaceText.h"
#include "screen/QTDSurfaceTypes.h"
