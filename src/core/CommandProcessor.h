#pragma once

#include "core/ATTR.h"

namespace QTD {

class PROPERTIES;

// Something that carries out internal commands named by text, with an optional bag of
// parameters. True means the command was handled.
class CommandProcessor {
public:
    virtual ~CommandProcessor() {}
    virtual bool processCommand(ATTR command, PROPERTIES* params) = 0;
};

} // namespace QTD
