#pragma once

// The receiver of text commands: a dotted command name with an ordered map of text parameters.
// The order of the virtual operations is part of the binary interface.

#include <map>
#include <string>

class BrxDisplayCommand {
public:
    virtual ~BrxDisplayCommand() {}

    // The object that handles `name`; by default the receiver itself.
    virtual BrxDisplayCommand* GetCommandProcessor(char const* name) {
        (void)name;
        return this;
    }

    // Runs `command` with `params` (may be null). 1 means done.
    virtual int RunCommandParams(char const* command,
                                 std::map<std::string, std::string>* params) = 0;
};
