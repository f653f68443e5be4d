#pragma once

#include "core/ATTR.h"
#include "core/PROPERTIES.h"
#include "core/PROPERTIESMAP.h"
#include "core/RMutex.h"
#include "image/RgbColor.h"

#include <map>
#include <memory>
#include <vector>

class QFont;

namespace QTD {

// The text object of a surface: a table of named fonts, measuring, and the splitting of text
// into lines. Kinds differ only in how one line reaches the pixels (drawLine). Text is
// single-byte; codes below 32 have no glyph of their own.
class SurfaceText {
public:
    // Width of a tab stop in units of the font's line height.
    static int const tab;
    static ATTR const linefeed;

    explicit SurfaceText(PROPERTIES* props = nullptr);
    virtual ~SurfaceText();

    SurfaceText(SurfaceText const&) = delete;
    SurfaceText& operator=(SurfaceText const&) = delete;

    virtual int error();
    virtual void shut();
    // 0 when stored, -1 for an empty name or face. A name that exists is replaced.
    virtual int addFont(ATTR name, char const* face, int size, bool bold, bool italic);
    virtual int shutFont(ATTR name);
    virtual int drawText(char const* text, int x, int y, ATTR font, RgbColor* color);
    virtual int drawLine(char const* text, int x, int y, ATTR font, RgbColor* color);
    virtual void calcText(ATTR font, char const* text, int* width, int* height);
    virtual void calcLine(ATTR font, char const* text, int* width, int* height);
    virtual bool ready();
    // Width of `text` up to its first tab; its height goes to `height` when wanted.
    virtual int calcLineWidth(QFont* font, char const* text, int* height);

    // Splits at any of `separators`; empty lines vanish, and a text with no token is one line.
    // Returns the number of lines less one.
    static int splitLines(char const* text, std::vector<ATTR>& lines, char const* separators);

    int lastError = 0;
    RgbColor color;
    // One bag per font name, ordered by name; an empty name means the first.
    PROPERTIESMAP fonts;
    RMutex guard;
    PROPERTIES props;

protected:
    struct FontInfo {
        ATTR name;
        QFont* font = nullptr;
        int height = 0;
        int ascent = 0;
        int descent = 0;
    };

    // The font named `name`, or the first one for an empty name; false if there is none.
    bool findFont(ATTR const& name, FontInfo& info);
    // Adds the constructor's table of fonts; each kind calls it from its own constructor, so
    // that its addFont is the one that runs.
    void addDefaultFonts();
    // Splits `text` at tabs into its segments (at least one).
    static std::vector<std::string> tabSegments(char const* text);
    // Where the text behind a tab starts, relative to the start of the text before it.
    int tabAdvance(FontInfo const& info, char const* before);

private:
    std::map<ATTR, std::unique_ptr<QFont>> faces;
};

} // namespace QTD
