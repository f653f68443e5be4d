#pragma once

#include "image/TextParser.h"

#include <brx/BrxImage.h>

#include <cstdint>
#include <string>
#include <vector>

// Expands `${command}` and `${command:format}` in overlay texts: user variables first, then the
// table COMMANDS (line feed, tab, and the identifier, time, size and type of the image).
class QTDImageParser : public QTD::TextParser {
public:
    static char const* const cmdBeg;
    static char const* const cmdEnd;
    static char const* const cmdSep;
    static char const* const chrRep;
    static char const* const FORMATTING;
    static char const* const COMMANDS[10];

    explicit QTDImageParser(QTD::PROPERTIES* props = nullptr);
    ~QTDImageParser() override;

    QTD::ATTR parse(char const* text) override;
    virtual bool validateFormatting(std::string& text, bool first, bool replaceChars);
    virtual QTD::ATTR get(char const* command, char const* fallback);
    virtual bool find(char const* key, std::string& value);

    // Time of the last parse by a strftime format, "%f" to "%fff" standing for the fractions of
    // the second.
    QTD::ATTR formatTime(char const* format);

    BrxImage* image = nullptr;
    int64_t seconds = 0;
    int64_t milliseconds = 0;
    int32_t millisPart = 0;
};

namespace QTDImageParserUtils {

// Replaces every character of `chars` in `text` by `with` (one blank for null); `text` changes
// in place and the result is a copy of it.
QTD::ATTR replaceChars(std::string& text, char const* with, char const* chars);
// Appends the inner text of the first `${...}` of `text`; returns how many were appended.
int buildCommandsList(std::string& text, std::vector<std::string>& commands);

} // namespace QTDImageParserUtils
