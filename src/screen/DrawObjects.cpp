#include "screen/DrawObjects.h"
#include "screen/Rounding.h"

#include "core/AutoLock.h"
#include "image/QTDImageParser.h"
#include "screen/QTDSurface.h"
#include "screen/SurfaceText.h"

#include <sched.h>
#include <strings.h>

#include <algorithm>
#include <climits>
#include <cmath>

namespace QTD {

namespace {

using QTD::roundHalfAway;

enum Kind { KindLine, KindRect, KindText, KindMarker, KindCircle, KindNone };

Kind kindOf(ATTR const& type) {
    static char const* const names[] = {"line", "rect", "text", "marker", "circle"};
    for (int i = 0; i < 5; ++i)
        if (strcasecmp(type.c_str(), names[i]) == 0)
            return static_cast<Kind>(i);
    return KindNone;
}

// Holds `objectsMutex` for a scope.
class ObjectsLock {
public:
    explicit ObjectsLock(DrawObjects& owner) : owner(owner) { owner.lockObjects(); }
    ~ObjectsLock() { owner.unlockObjects(); }
    ObjectsLock(ObjectsLock const&) = delete;
    ObjectsLock& operator=(ObjectsLock const&) = delete;

private:
    DrawObjects& owner;
};

int intOf(PROPERTIES& bag, char const* key, char const* fallback) {
    return bag.getAs<int>(key, fallback);
}

} // namespace

int32_t const DrawObjects::BASEID = 1000;

DrawObjects::DrawObjects(QTDSurface* target)
    : baseColor(116, 12, 24, 0, 256), lastID(BASEID), surfaceRef(target),
      parserRef(new QTDImageParser(nullptr)) {
    defaults.set("back.mode", "0", true);
    defaults.set("line.width", "1", true);
    defaults.set("line.clr", "0", true);
    defaults.set("text.font", "default", true);
    defaults.set("text.clr", "0", true);
}

DrawObjects::~DrawObjects() {
    if (isOwnParser(parserRef))
        delete parserRef;
    parserRef = nullptr;
}

bool DrawObjects::isOwnParser(TextParser* textParser) {
    return textParser && textParser->name.same("QTDImageParser");
}

void DrawObjects::lockObjects() {
    // Frames hold this lock for their whole length; a setter waits politely.
    while (!objectsMutex.try_lock())
        sched_yield();
}

DrawObjects& DrawObjects::surface(QTDSurface* target) {
    AutoLock hold(&mutex);
    surfaceRef = target;
    if (target) {
        const TPAIR<int> size = target->size();
        resize(0, 0, size.x, size.y);
    }
    return *this;
}

DrawObjects& DrawObjects::parser(TextParser* textParser) {
    AutoLock hold(&mutex);
    ObjectsLock holdObjects(*this);
    if (parserRef != textParser && isOwnParser(parserRef))
        delete parserRef;
    parserRef = textParser;
    return *this;
}

DrawObjects& DrawObjects::shut() {
    AutoLock hold(&mutex);
    ObjectsLock holdObjects(*this);
    objects.clear();
    surfaceRef = nullptr;
    if (isOwnParser(parserRef))
        retired.emplace_back(parserRef);
    parserRef = nullptr;
    area = TRECT<int>();
    baseColor = RgbColor(196, 0, 0, 0, 256);
    return *this;
}

DrawObjects& DrawObjects::clear() {
    AutoLock hold(&mutex);
    ObjectsLock holdObjects(*this);
    objects.clear();
    return *this;
}

DrawObjects& DrawObjects::resize(int x, int y, int w, int h) {
    AutoLock hold(&mutex);
    area.x = x;
    area.y = y;
    area.width = w;
    area.height = h;
    return updatePlacement(nullptr, true);
}

DrawObjects& DrawObjects::updatePlacement(PROPERTIES* object, bool lock) {
    AutoLock hold(lock ? &mutex : static_cast<RMutex*>(nullptr));
    ObjectsLock holdObjects(*this);
    if (object) {
        recalcPlacementFor(object, nullptr, nullptr);
        return *this;
    }
    for (auto& entry : objects)
        recalcPlacementFor(&entry.second, nullptr, nullptr);
    return *this;
}

DrawObjects& DrawObjects::add(PROPERTIES& props, bool replace) {
    AutoLock hold(&mutex);
    updatePlacement(&props, false);
    addObject(props, replace, true);
    return *this;
}

bool DrawObjects::addObject(PROPERTIES& props, bool replace, bool lock) {
    AutoLock hold(lock ? &mutex : static_cast<RMutex*>(nullptr));
    ObjectsLock holdObjects(*this);
    ATTR id = props.get("objectID");
    auto existing = objects.find(id);
    if (existing != objects.end()) {
        if (!replace)
            return false;
        objects.erase(existing);
    }
    if (id.empty())
        return false;
    objects.emplace(id, PROPERTIES(props));
    return true;
}

bool DrawObjects::del(ATTR id) {
    AutoLock hold(&mutex);
    return delObject(id);
}

bool DrawObjects::delObject(ATTR id) {
    ObjectsLock holdObjects(*this);
    return objects.erase(id) > 0;
}

PROPERTIES* DrawObjects::find(ATTR id, bool lock) {
    AutoLock hold(lock ? &mutex : static_cast<RMutex*>(nullptr));
    auto found = objects.find(id);
    return found == objects.end() ? nullptr : &found->second;
}

bool DrawObjects::isExist(ATTR id, ATTR type) {
    AutoLock hold(&mutex);
    ObjectsLock holdObjects(*this);
    auto found = objects.find(id);
    if (found == objects.end())
        return false;
    return type.empty() || found->second.get("type").same(type.c_str());
}

int DrawObjects::count() {
    ObjectsLock holdObjects(*this);
    return static_cast<int>(objects.size());
}

PROPERTIES* DrawObjects::at(int index) {
    ObjectsLock holdObjects(*this);
    if (index < 0 || static_cast<size_t>(index) >= objects.size())
        return nullptr;
    return &std::next(objects.begin(), index)->second;
}

ATTR DrawObjects::idAt(int index) {
    ObjectsLock holdObjects(*this);
    if (index < 0 || static_cast<size_t>(index) >= objects.size())
        return ATTR();
    return std::next(objects.begin(), index)->first;
}

DrawObjects& DrawObjects::update(ATTR id, PROPERTIES& props) {
    AutoLock hold(&mutex);
    ObjectsLock holdObjects(*this);
    auto found = objects.find(id);
    if (found != objects.end()) {
        found->second.importData(&props, 0, -1);
        recalcPlacementFor(&found->second, nullptr, nullptr);
    }
    return *this;
}

void DrawObjects::setActiveLine(int index) {
    AutoLock hold(&mutex);
    activeLine = index;
}

ATTR& DrawObjects::verifyID(ATTR& id) {
    if (!id.empty())
        return id;
    int32_t next = lastID + 1;
    if (next >= 1000000)
        next = 1;
    lastID = next;
    id = ATTR::format("%05ld@%p", static_cast<long>(next), static_cast<void*>(this));
    return id;
}

bool DrawObjects::removeFor(ATTR& id) {
    return id.empty() ? false : delObject(id);
}

void DrawObjects::startBag(PROPERTIES& bag, PROPERTIES* props, char const* type, ATTR& id) {
    if (props)
        bag.importData(props, 0, -1);
    bag.set("type", type, true);
    bag.set("objectID", verifyID(id), true);
}

bool DrawObjects::placeText(ATTR& id, int placement, char const* text, PROPERTIES* props) {
    AutoLock hold(&mutex);
    if (!text)
        return removeFor(id);
    PROPERTIES bag;
    startBag(bag, props, "text", id);
    bag.set("text", text, true);
    bag.set("placement", ATTR(placement), true);
    recalcPlacementFor(&bag, nullptr, nullptr);
    return addObject(bag, true, false);
}

bool DrawObjects::setText(ATTR& id, int x, int y, char const* text, PROPERTIES* props) {
    AutoLock hold(&mutex);
    if (!text)
        return removeFor(id);
    PROPERTIES bag;
    startBag(bag, props, "text", id);
    bag.set("text", text, true);
    bag.set("x", ATTR(x), true);
    bag.set("y", ATTR(y), true);
    return addObject(bag, true, false);
}

bool DrawObjects::setRect(ATTR& id, TRECT<int>* rect, PROPERTIES* props) {
    AutoLock hold(&mutex);
    if (!rect)
        return removeFor(id);
    PROPERTIES bag;
    startBag(bag, props, "rect", id);
    bag.set("x", ATTR(rect->x), true);
    bag.set("y", ATTR(rect->y), true);
    bag.set("w", ATTR(rect->width), true);
    bag.set("h", ATTR(rect->height), true);
    return addObject(bag, true, false);
}

bool DrawObjects::setLine(ATTR& id, int x0, int y0, int x1, int y1, PROPERTIES* props) {
    AutoLock hold(&mutex);
    if (x0 < 0 && y0 < 0 && x1 < 0 && y1 < 0)
        return removeFor(id);
    PROPERTIES bag;
    startBag(bag, props, "line", id);
    bag.set("x0", ATTR(x0), true);
    bag.set("y0", ATTR(y0), true);
    bag.set("x1", ATTR(x1), true);
    bag.set("y1", ATTR(y1), true);
    return addObject(bag, true, false);
}

bool DrawObjects::setMarker(ATTR& id, int x, int y, PROPERTIES* props) {
    AutoLock hold(&mutex);
    if (x < 0 && y < 0)
        return removeFor(id);
    PROPERTIES bag;
    startBag(bag, props, "marker", id);
    bag.set("x", ATTR(x), true);
    bag.set("y", ATTR(y), true);
    return addObject(bag, true, false);
}

bool DrawObjects::recalcPlacementFor(PROPERTIES* object, int* x, int* y) {
    if (!object)
        return false;
    int placement = intOf(*object, "placement", "-1");
    bool adjust = intOf(*object, "adjust", "0") != 0;
    SurfaceText* measure = surfaceRef ? surfaceRef->textObject() : nullptr;
    if (kindOf(object->get("type")) == KindText && placement >= 0 && measure) {
        ATTR font = object->get("text.font", defaults.get("text.font"));
        ATTR text = object->get("text");
        if (parserRef)
            text = parserRef->parse(text.c_str());
        int tw = 0;
        int th = 0;
        measure->calcText(font, text.c_str(), &tw, &th);
        // Sizes move in steps of 8 and 2, so that a changing text does not flicker its
        // background at every pixel of width.
        int w = roundHalfAway((tw + 7) * 0.125) * 8;
        int h = roundHalfAway((th + 1) * 0.5) * 2;
        object->set("w", ATTR(w), true);
        object->set("h", ATTR(h), true);
        int ax = area.x;
        int ay = area.y;
        int aw = area.width;
        int ah = area.height;
        // Two pixels above the bottom edge of the image.
        const TRECT<double> image = surfaceRef->areaRect();
        int m = static_cast<int>(image.y + image.height - 2.0);
        int px = 0;
        int py = 0;
        bool byRule = true;
        switch (placement) {
        case 1: // top left
            px = 4;
            py = h + 2;
            if (adjust) {
                if (ax < 0)
                    px -= ax;
                if (ay < 0)
                    py -= ay;
            }
            break;
        case 2: // bottom left
            px = 4;
            py = ah - 2;
            if (adjust) {
                if (ax < 0)
                    px -= ax;
                if (py > m)
                    py = m - ay;
            }
            break;
        case 3: // bottom right
        case 7: // bottom centre
            px = placement == 3 ? aw - (w + 4) : (aw - w) / 2;
            py = ah - 2;
            if (adjust) {
                if (ax < 0)
                    px -= aw + ax;
                if (py > m)
                    py = m - ay;
            }
            break;
        case 4: // top right
            px = aw - (w + 4);
            py = h + 2;
            if (adjust) {
                if (ax < 0)
                    px -= aw + ax;
                if (ay < 0)
                    py -= ay;
            }
            break;
        case 5: // centre; sits h above the true centre, as it always has
            px = (aw - w) / 2;
            py = (ah - h) / 2;
            break;
        case 9: // top centre, kept inside whatever "adjust" says
            px = (aw - w) / 2;
            py = h + 2;
            if (ax < 0)
                px -= ax;
            if (ay < 0)
                py -= ay;
            break;
        default:
            byRule = false;
        }
        if (byRule) {
            py -= h;
            object->set("x", ATTR(px), true);
            object->set("y", ATTR(py), true);
        }
    }
    if (x)
        *x = intOf(*object, "x", "0");
    if (y)
        *y = intOf(*object, "y", "0");
    return true;
}

void DrawObjects::render(QTDSurface* target, PROPERTIES* props) {
    AutoLock hold(&mutex);
    ObjectsLock holdObjects(*this);
    QTDSurface* on = target ? target : surfaceRef;
    if (!on || objects.empty())
        return;
    int depth = 8;
    if (props)
        depth = props->getAs<int>("color.depth", "8");
    auto paint = [this, depth](RgbColor& colour, unsigned int value) {
        colour.setClr(value, 0);
        colour.setDepth(depth);
        if (decolorize)
            colour.decolorize();
    };
    RgbColor foreground;
    RgbColor background;
    foreground.setOpc(1);
    int lineIndex = 0;
    // Keys that an object sets and the defaults lack carry over to later objects; the active
    // line colour is the one that this touches.
    PROPERTIES style;
    for (auto& entry : objects) {
        PROPERTIES object(entry.second);
        style.importData(&defaults, 0, -1);
        style.importData(&object, 0, -1);
        Kind kind = kindOf(style.get("type"));
        switch (kind) {
        case KindRect:
            paint(foreground, style.getAs<unsigned int>("line.clr", "0"));
            on->rect(intOf(style, "x", "0"), intOf(style, "y", "0"), intOf(style, "w", "0"),
                     intOf(style, "h", "0"), &foreground, intOf(style, "line.width", "1"), 0);
            break;
        case KindText: {
            paint(foreground, style.getAs<unsigned int>("text.clr", "0"));
            foreground.setOpc(1);
            int x = intOf(style, "x", "0");
            int y = intOf(style, "y", "0");
            int mode = intOf(style, "back.mode", "0");
            if (mode != 0) {
                unsigned int g = mode == 2 ? 0u : mode == 1 ? 255u : 128u;
                paint(background, g | g << 8 | g << 16);
                int w = intOf(object, "w", "0");
                int h = intOf(object, "h", "0");
                on->fillRect(std::max(x - 2, 0), y - h, w + 4, h, &background);
            }
            ATTR text = style.get("text");
            if (parserRef)
                text = parserRef->parse(text.c_str());
            on->text(text.c_str(), x, y, style.get("text.font"), &foreground);
            break;
        }
        case KindLine: {
            char const* key = activeLine == lineIndex ? "line.actclr" : "line.clr";
            ++lineIndex;
            paint(foreground, style.getAs<unsigned int>(key, "0"));
            int width = intOf(style, "line.width", "1");
            int x1 = intOf(style, "x1", "0");
            int y1 = intOf(style, "y1", "0");
            on->line(intOf(style, "x0", "0"), intOf(style, "y0", "0"), x1, y1, &foreground, width,
                     0);
            on->rect(x1 - 1, y1 - 1, 2, 2, &foreground, width, 0);
            break;
        }
        default:
            // Markers and circles are kept and can be asked for, but are not drawn.
            break;
        }
    }
}

} // namespace QTD
