// Template expansion of arbitrary text: commands, separators, unclosed braces, time formats.
// Without an image no format of the text reaches printf, and without user variables no
// expansion can grow, so every input must come back.

#include "image/QTDImageParser.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1)
        return 0;
    const uint8_t mode = data[0];
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);

    QTDImageParser parser;
    if (mode & 1)
        parser.params.set("validateTime", "1", true);
    try {
        parser.parse(text.c_str());
    } catch (const std::out_of_range&) {
        // A "%" that ends a validated time format: the documented failure.
    }
    std::string copy = text;
    try {
        parser.validateFormatting(copy, true, (mode & 2) != 0);
    } catch (const std::out_of_range&) {
    }
    copy = text;
    QTDImageParserUtils::replaceChars(copy, (mode & 4) ? "_" : nullptr, "<>:\"/\\|?*");
    std::vector<std::string> commands;
    QTDImageParserUtils::buildCommandsList(copy, commands);
    parser.get(text.c_str(), "fallback");
    if (mode & 8)
        parser.formatTime(text.c_str());
    return 0;
}
