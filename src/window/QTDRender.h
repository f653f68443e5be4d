#pragma once

// The window side of the display: the render window, its input chain and keyboard sequences,
// the zoom navigator and the viewer widget around them.

#include "window/KeyboardCommand.h"
#include "window/QTDInput.h"
#include "window/QTDViewer.h"
#include "window/QTDWindow.h"
#include "window/QTDZoom.h"
