#include "image/TextParser.h"

namespace QTD {

TextParser::TextParser() {}

TextParser::~TextParser() {}

ATTR TextParser::parse(char const* text) {
    return ATTR(text);
}

} // namespace QTD
