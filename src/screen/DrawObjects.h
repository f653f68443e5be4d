#pragma once

#include "core/ATTR.h"
#include "core/PROPERTIES.h"
#include "core/RMutex.h"
#include "image/RgbColor.h"
#include "image/TRECT.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

class QTDSurface;

namespace QTD {

class TextParser;

// The retained list of what is drawn over the image: texts, rectangles and profile lines. An
// object is nothing but a property bag, kept under its id and drawn in id order. Texts may be
// placed by rule (corners, centre) instead of by coordinates; the placement follows `resize`.
//
// Lock order: `mutex` (recursive, outer) before `objectsMutex` (inner, held through a frame).
class DrawObjects {
public:
    // Generated ids count up from here.
    static int32_t const BASEID;

    struct ByText {
        bool operator()(ATTR const& a, ATTR const& b) const {
            return std::strcmp(a.c_str(), b.c_str()) < 0;
        }
    };
    using Objects = std::map<ATTR, PROPERTIES, ByText>;

    explicit DrawObjects(QTDSurface* surface = nullptr);
    virtual ~DrawObjects();

    DrawObjects(DrawObjects const&) = delete;
    DrawObjects& operator=(DrawObjects const&) = delete;

    // Forgets all objects, the surface and the parser (which is not freed here).
    virtual DrawObjects& shut();
    virtual DrawObjects& clear();
    // The rectangle in which rule placement works; every placed text is placed again.
    virtual DrawObjects& resize(int x, int y, int w, int h);
    // Draws every object on `surface` (or the bound one). `props` may carry "color.depth".
    virtual void render(QTDSurface* surface, PROPERTIES* props);
    virtual DrawObjects& add(PROPERTIES& props, bool replace);
    virtual bool del(ATTR id);
    // Merges `props` into an existing object and places it again.
    virtual DrawObjects& update(ATTR id, PROPERTIES& props);
    // Places `object` again, or every object for null.
    virtual DrawObjects& updatePlacement(PROPERTIES* object, bool lock);

    // The set operations: an empty id asks for a new one, which is written back into `id`. The
    // object is replaced as a whole; a null text or rectangle, or negative coordinates, delete.
    virtual bool placeText(ATTR& id, int placement, char const* text, PROPERTIES* props);
    virtual bool setText(ATTR& id, int x, int y, char const* text, PROPERTIES* props);
    virtual bool setRect(ATTR& id, TRECT<int>* rect, PROPERTIES* props);
    virtual bool setLine(ATTR& id, int x0, int y0, int x1, int y1, PROPERTIES* props);
    virtual bool setMarker(ATTR& id, int x, int y, PROPERTIES* props);

    // Stores a copy of `props` under its "objectID"; an existing one only with `replace`.
    virtual bool addObject(PROPERTIES& props, bool replace, bool lock);
    virtual bool delObject(ATTR id);
    // Index among the line objects, first to last, of the one drawn in "line.actclr".
    virtual void setActiveLine(int index);
    // Measures and places a text object by its "placement"; the result position goes to x, y.
    virtual bool recalcPlacementFor(PROPERTIES* object, int* x, int* y);
    // Fills an empty id in place with the next "%05ld@%p".
    virtual ATTR& verifyID(ATTR& id);

    DrawObjects& surface(QTDSurface* target);
    QTDSurface* surface() const { return surfaceRef; }
    // The old parser is freed only if it is this class's own kind.
    DrawObjects& parser(TextParser* textParser);
    TextParser* parser() const { return parserRef; }

    // With `lock` false the caller holds `objectsMutex` already.
    PROPERTIES* find(ATTR id, bool lock);
    bool isExist(ATTR id, ATTR type);
    int count();
    // The object at `index` in id order, counted under `objectsMutex`; null past the end.
    PROPERTIES* at(int index);
    ATTR idAt(int index);
    int activeLineIndex() const { return activeLine; }

    // Takes `objectsMutex` by try-lock and yield.
    void lockObjects();
    void unlockObjects() { objectsMutex.unlock(); }

    PROPERTIES defaults;
    RMutex mutex;
    Objects objects;
    std::mutex objectsMutex;
    TRECT<int> area;
    RgbColor baseColor;
    bool decolorize = false;
    int32_t lastID;

private:
    static bool isOwnParser(TextParser* textParser);
    // Removes `id` if it is not empty; the result of a remove condition.
    bool removeFor(ATTR& id);
    // The temporary bag of a set operation with "type" and "objectID".
    void startBag(PROPERTIES& bag, PROPERTIES* props, char const* type, ATTR& id);

    QTDSurface* surfaceRef = nullptr;
    TextParser* parserRef = nullptr;
    // Own parsers that `shut` let go of without freeing; they go with this object.
    std::vector<std::unique_ptr<TextParser>> retired;
    int32_t activeLine = 0;
};

} // namespace QTD
