#pragma once

#include "core/ATTR.h"
#include "core/PROPERTIES.h"

namespace QTD {

// Expands the text of an overlay object before it is drawn. This base form returns the text as
// it is; QTDImageParser is the form in use.
class TextParser {
public:
    TextParser();
    virtual ~TextParser();

    virtual ATTR parse(char const* text);

    ATTR name;         // empty here; the class name in derived forms
    PROPERTIES vars;   // user variables, and "image", the address of the image being drawn
    PROPERTIES params; // options; "validateTime"
};

} // namespace QTD
