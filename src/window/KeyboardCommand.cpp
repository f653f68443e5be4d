#include "window/KeyboardCommand.h"

#include <cstring>

namespace QTD {

void KeyboardCommand::addCommand(char const* keys, char const* command) {
    if (!keys || !command)
        return;
    commands.set(keys, command, true);
    int length = static_cast<int>(std::strlen(keys));
    if (length > longest)
        longest = length;
}

ATTR KeyboardCommand::putKey(int key) {
    if (longest == 0)
        return ATTR();
    typed.push_back(static_cast<char>(key));
    for (int i = 0, n = commands.count(); i < n; ++i) {
        ATTR sequence = commands.keyAt(i);
        if (sequence.empty() || sequence.size() > typed.size())
            continue;
        ATTR tail = typed.copy(static_cast<int>(typed.size() - sequence.size()));
        if (tail.compare(sequence.c_str(), false) == 0) {
            typed.clear();
            return commands.valueAt(i);
        }
    }
    if (typed.size() > static_cast<size_t>(longest))
        typed.erase(0, typed.size() - static_cast<size_t>(longest));
    return ATTR();
}

} // namespace QTD
