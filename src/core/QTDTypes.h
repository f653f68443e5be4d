#pragma once

// The text, bag and parameter types of the component framework.
#include "core/ATTR.h"
#include "core/ComponentImpl.h"
#include "core/PROPERTIES.h"
#include "core/PROPERTIESMAP.h"
#include "core/ParamsHelper.h"
