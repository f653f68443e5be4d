#pragma once

#include "image/TRECT.h"
#include "screen/SurfaceText.h"

#include <map>
#include <memory>
#include <vector>

class QImage;

namespace QTD {

// A text kind that renders every font once into a glyph strip, white on black, so that drawing
// needs no font rendering: the first byte of a strip pixel is the coverage of 0 to 255. The
// memory and GL text kinds build on it.
class GlyphSurfaceText : public SurfaceText {
public:
    explicit GlyphSurfaceText(PROPERTIES* props = nullptr);
    ~GlyphSurfaceText() override;

    int addFont(ATTR name, char const* face, int size, bool bold, bool italic) override;
    int shutFont(ATTR name) override;

    // Per font, the rectangle of each character in its strip, indexed by code minus 32.
    std::map<ATTR, std::vector<TRECT<int>>> glyphs;
    // Per font name, the address of its strip (a QImage) as "%p".
    PROPERTIES strips;

protected:
    struct Strip {
        QImage const* image = nullptr;
        std::vector<TRECT<int>> const* rects = nullptr;
        // Extra advance after a glyph ("intv").
        int advance = 0;
    };
    // Callers hold `guard` for as long as they use the strip.
    bool findStrip(ATTR const& font, Strip& strip);

private:
    void buildStrip(ATTR const& name);
    std::map<ATTR, std::unique_ptr<QImage>> stripImages;
};

} // namespace QTD
