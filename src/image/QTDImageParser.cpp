#include "image/QTDImageParser.h"

#include <chrono>
#include <cstring>
#include <ctime>
#include <string.h>
#include <strings.h>

using QTD::ATTR;

char const* const QTDImageParser::cmdBeg = "${";
char const* const QTDImageParser::cmdEnd = "}";
char const* const QTDImageParser::cmdSep = ":";
char const* const QTDImageParser::chrRep = " ";
char const* const QTDImageParser::FORMATTING = "YybBmUWjdeaAwuHIMSf";
// "time", "date" and "millis" match and give nothing: the parser keeps the time of each pass,
// but templates don't show it.
char const* const QTDImageParser::COMMANDS[10] = {
    "br",       "tab",        "time",       "date",       "millis",
    "image.id", "image.time", "image.dims", "image.type", nullptr};

namespace {

enum Command { kBr, kTab, kTime, kDate, kMillis, kImageId, kImageTime, kImageDims, kImageType };

} // namespace

QTDImageParser::QTDImageParser(QTD::PROPERTIES* props) {
    name = "QTDImageParser";
    if (props && props != &vars)
        vars.importData(props, 0, -1);
}

QTDImageParser::~QTDImageParser() {}

ATTR QTDImageParser::parse(char const* text) {
    if (!text || !*text)
        return ATTR();
    std::string work = text;
    const int64_t nanos = std::chrono::duration_cast<std::chrono::nanoseconds>(
                              std::chrono::system_clock::now().time_since_epoch())
                              .count();

    ATTR validate = params.get("validateTime", ATTR());
    if (!validate.empty() && validate.as<int>() != 0)
        validateFormatting(work, true, false);

    image = static_cast<BrxImage*>(vars.get("image", ATTR()).as<void*>());

    seconds = nanos / 1000000000;
    milliseconds = nanos / 1000000;
    millisPart = static_cast<int32_t>(milliseconds - seconds * 1000);

    // Every search starts again at the front, so a value holding a command is expanded in its
    // turn; a command that comes back at the place it was found stops the walk.
    const size_t begLength = std::strlen(cmdBeg);
    size_t last = std::string::npos;
    for (;;) {
        size_t begin = work.find(cmdBeg);
        if (begin == std::string::npos || begin == last)
            break;
        size_t end = work.find(cmdEnd, begin + begLength);
        if (end == std::string::npos)
            break;
        ATTR value = get(work.substr(begin + begLength, end - begin - begLength).c_str(), "");
        work.replace(begin, end - begin + 1, value);
        last = begin;
    }
    return ATTR(work);
}

bool QTDImageParser::validateFormatting(std::string& text, bool, bool replaceChars) {
    bool ok = true;
    for (char const* marker : {"${time:", "${date:"}) {
        const size_t markerLength = std::strlen(marker);
        for (size_t at = text.find(marker); at != std::string::npos;
             at = text.find(marker, at + 1)) {
            // To the end of the whole text, not to the closing brace.
            for (size_t p = text.find('%', at + markerLength); p != std::string::npos;
                 p = text.find('%', p + 1)) {
                char next = text.at(p + 1); // a "%" at the very end throws, by design
                if (next == '\0' || !std::strchr(FORMATTING, next)) {
                    text[p] = '#';
                    ok = false;
                }
            }
        }
    }
    if (replaceChars) {
        std::string before = text;
        QTDImageParserUtils::replaceChars(text, chrRep, "<>:\"/\\|?*");
        if (ok)
            ok = text == before;
    }
    return ok;
}

ATTR QTDImageParser::get(char const* command, char const* fallback) {
    if (!command)
        return ATTR(fallback);

    std::vector<std::string> items;
    std::string copy = command;
    char* state = nullptr;
    for (char* item = strtok_r(&copy[0], cmdSep, &state); item;
         item = strtok_r(nullptr, cmdSep, &state))
        items.push_back(item);
    if (items.empty())
        items.push_back(command);

    const std::string& key = items[0];
    std::string value;
    if (vars.count() > 0 && find(key.c_str(), value))
        return ATTR(value);

    int index = -1;
    for (int i = 0; COMMANDS[i]; ++i)
        if (strcasecmp(COMMANDS[i], key.c_str()) == 0) {
            index = i;
            break;
        }
    if (index < 0)
        return ATTR(fallback);

    const std::string format = items.size() > 1 ? items[1] : std::string();
    auto pick = [&](char const* standard) { return format.empty() ? standard : format.c_str(); };
    ATTR result;
    switch (index) {
    case kBr:
        return ATTR("\n");
    case kTab:
        return ATTR("\t");
    case kImageId:
        if (image)
            result.fmt(pick("%08lu"), static_cast<unsigned long>(image->imageID));
        break;
    case kImageTime:
        if (image)
            result.fmt(pick("%lu"), static_cast<unsigned long>(image->timestamp));
        break;
    case kImageDims:
        if (image)
            result.fmt(pick("%ux%u"), image->width, image->height);
        break;
    case kImageType:
        if (image)
            result.fmt(pick("%u"), image->pixelType);
        break;
    default:
        break;
    }
    return result;
}

bool QTDImageParser::find(char const* key, std::string& value) {
    ATTR found;
    if (!vars.find(ATTR(key), &found, true))
        return false;
    value = found;
    return true;
}

ATTR QTDImageParser::formatTime(char const* format) {
    std::string pattern = format ? format : "%Y%m%d%H%M%S";
    size_t at = pattern.find("%f");
    if (at != std::string::npos) {
        size_t run = 0;
        while (at + 1 + run < pattern.size() && pattern[at + 1 + run] == 'f')
            ++run;
        char digits[16];
        if (run == 1)
            std::snprintf(digits, sizeof(digits), "%01d", static_cast<int>(millisPart / 100.0));
        else if (run == 2)
            std::snprintf(digits, sizeof(digits), "%02d", static_cast<int>(millisPart / 10.0));
        else
            std::snprintf(digits, sizeof(digits), "%03d", static_cast<int>(millisPart));
        pattern.replace(at, 1 + std::min<size_t>(run, 3), digits);
    }
    std::time_t when = static_cast<std::time_t>(seconds);
    std::tm local{};
    localtime_r(&when, &local);
    char buffer[256];
    size_t length = std::strftime(buffer, sizeof(buffer), pattern.c_str(), &local);
    return length ? ATTR(std::string(buffer, length)) : ATTR();
}

namespace QTDImageParserUtils {

ATTR replaceChars(std::string& text, char const* with, char const* chars) {
    if (!with)
        with = QTDImageParser::chrRep;
    if (text.empty() || !chars || !*chars || std::strpbrk(with, chars))
        return ATTR(text);
    const size_t withLength = std::strlen(with);
    for (size_t at = std::strcspn(text.c_str(), chars); at < text.size();
         at = std::strcspn(text.c_str(), chars))
        text.replace(at, 1, with, withLength);
    return ATTR(text);
}

int buildCommandsList(std::string& text, std::vector<std::string>& commands) {
    // The same search as the expansion, on a text that doesn't change: it stops when it finds
    // the first command a second time.
    const size_t begLength = std::strlen(QTDImageParser::cmdBeg);
    size_t last = std::string::npos;
    int added = 0;
    for (;;) {
        size_t begin = text.find(QTDImageParser::cmdBeg);
        if (begin == std::string::npos || begin == last)
            break;
        size_t end = text.find(QTDImageParser::cmdEnd, begin + begLength);
        if (end == std::string::npos)
            break;
        commands.push_back(text.substr(begin + begLength, end - begin - begLength));
        ++added;
        last = begin;
    }
    return added;
}

} // namespace QTDImageParserUtils
