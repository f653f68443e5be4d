#pragma once

#include "core/ATTR.h"
#include "core/PROPERTIES.h"

namespace QTD {

// Recognises typed key sequences ("sd") and names the command each one stands for. Other keys
// may come before a sequence, none between its keys; case does not matter.
class KeyboardCommand {
public:
    KeyboardCommand() = default;
    virtual ~KeyboardCommand() = default;

    KeyboardCommand(KeyboardCommand const&) = delete;
    KeyboardCommand& operator=(KeyboardCommand const&) = delete;

    // Ignored if either is null.
    void addCommand(char const* keys, char const* command);
    // Adds one key; the command that it completes, or an empty text.
    ATTR putKey(int key);

    // Key: a typed sequence; value: its command.
    PROPERTIES commands;
    // The last keys typed, never longer than `longest`.
    ATTR typed;
    int32_t longest = 0;
};

} // namespace QTD
