#pragma once

// The rate counter of the component framework.
#include "core/FpsCounter.h"
