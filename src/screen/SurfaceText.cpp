#include "screen/SurfaceText.h"

#include "core/AutoLock.h"

#include <QFont>
#include <QFontMetrics>
#include <QString>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

namespace QTD {

int const SurfaceText::tab = 4;
ATTR const SurfaceText::linefeed = "\n";

SurfaceText::SurfaceText(PROPERTIES* source) : color(0, 0, 0, 0, 256), guard("SurfaceText") {
    color.depth = 8;
    if (source)
        props.importData(source);
}

SurfaceText::~SurfaceText() {
    shut();
}

int SurfaceText::error() {
    return lastError;
}

void SurfaceText::shut() {
    AutoLock hold(&guard, "SurfaceText::shut");
    while (!fonts.groups.empty()) {
        size_t before = fonts.groups.size();
        shutFont(fonts.groups.begin()->first);
        if (fonts.groups.size() == before) {
            // A kind that refuses a name must not hold the loop.
            std::lock_guard<std::mutex> inner(fonts.guard);
            faces.erase(fonts.groups.begin()->first);
            fonts.groups.erase(fonts.groups.begin());
        }
    }
}

void SurfaceText::addDefaultFonts() {
    addFont("default", "Cambria", 11, false, false);
    addFont("fixed", "Courier New", 12, false, false);
    addFont("bold", "Cambria", 12, true, false);
    addFont("medium", "Calibri", 13, false, false);
    addFont("large", "Cambria", 15, false, false);
}

int SurfaceText::addFont(ATTR name, char const* face, int size, bool bold, bool italic) {
    if (name.empty() || !face || !*face)
        return -1;
    auto font = std::make_unique<QFont>(QString::fromLocal8Bit(face), std::abs(size),
                                        bold ? 75 : 50, italic);
    QFontMetrics metrics(*font);
    int height = 0;
    calcLineWidth(font.get(), "A", &height);
    // The step between lines: the height of "A" less half the descent.
    height -= metrics.descent() / 2;

    PROPERTIES bag;
    bag.set("font", ATTR(static_cast<void*>(font.get())), true);
    bag.set("name", name, true);
    bag.set("face", face, true);
    bag.set("size", ATTR(size), true);
    bag.set("bold", bold ? "1" : "0", true);
    bag.set("italic", italic ? "1" : "0", true);
    bag.set("descent", ATTR(metrics.descent()), true);
    bag.set("ascent", ATTR(metrics.ascent()), true);
    bag.set("height", ATTR(height), true);

    AutoLock hold(&guard, "SurfaceText::addFont");
    std::lock_guard<std::mutex> inner(fonts.guard);
    fonts.groups.erase(name);
    fonts.groups.emplace(name, bag);
    faces[name] = std::move(font);
    return 0;
}

int SurfaceText::shutFont(ATTR name) {
    if (name.empty())
        return -1;
    AutoLock hold(&guard, "SurfaceText::shutFont");
    std::lock_guard<std::mutex> inner(fonts.guard);
    if (fonts.groups.erase(name) == 0)
        return -1;
    faces.erase(name);
    return 0;
}

bool SurfaceText::findFont(ATTR const& name, FontInfo& info) {
    AutoLock hold(&guard, "SurfaceText::findFont");
    std::lock_guard<std::mutex> inner(fonts.guard);
    auto it = name.empty() ? fonts.groups.begin() : fonts.groups.find(name);
    if (it == fonts.groups.end())
        return false;
    auto face = faces.find(it->first);
    info.name = it->first;
    info.font = face == faces.end() ? nullptr : face->second.get();
    PROPERTIES& bag = it->second;
    info.height = bag.get("height", "0", false).as<int>();
    info.ascent = bag.get("ascent", "0", false).as<int>();
    info.descent = bag.get("descent", "0", false).as<int>();
    return true;
}

bool SurfaceText::ready() {
    return false;
}

int SurfaceText::calcLineWidth(QFont* font, char const* text, int* height) {
    if (!font || !text)
        return 0;
    char const* stop = std::strchr(text, '\t');
    std::string part = stop ? std::string(text, stop) : std::string(text);
    if (part.empty())
        return 0;
    QRect box = QFontMetrics(*font).boundingRect(QString::fromLocal8Bit(part.c_str()));
    if (height)
        *height = box.bottom() - box.top() + 1;
    return box.right() - box.left() + 1;
}

std::vector<std::string> SurfaceText::tabSegments(char const* text) {
    std::vector<std::string> segments;
    char const* start = text ? text : "";
    for (;;) {
        char const* stop = std::strchr(start, '\t');
        if (!stop) {
            segments.emplace_back(start);
            return segments;
        }
        segments.emplace_back(start, stop);
        start = stop + 1;
    }
}

int SurfaceText::tabAdvance(FontInfo const& info, char const* before) {
    int step = info.height * tab;
    int stops = step == 0 ? 0 : calcLineWidth(info.font, before, nullptr) / step;
    return step + stops * step;
}

void SurfaceText::calcLine(ATTR font, char const* text, int* width, int* height) {
    FontInfo info;
    if (!findFont(font, info)) {
        if (width)
            *width = 0;
        if (height)
            *height = 0;
        return;
    }
    int w = 0;
    int h = info.height;
    if (info.font && text) {
        // The text behind each tab starts at the next stop past the text before it.
        std::vector<std::string> segments = tabSegments(text);
        int total = 0;
        h = 0;
        for (size_t i = 0; i < segments.size(); ++i) {
            int segmentHeight = info.height;
            int segmentWidth = calcLineWidth(info.font, segments[i].c_str(), &segmentHeight);
            h = std::max(h, segmentHeight);
            if (i + 1 < segments.size())
                total += tabAdvance(info, segments[i].c_str());
            else
                total += segmentWidth;
        }
        w = total;
    }
    if (width)
        *width = w;
    if (height)
        *height = h;
}

void SurfaceText::calcText(ATTR font, char const* text, int* width, int* height) {
    int lineHeight = fonts.getPropsValueAs<int>(font, "height", "0");
    int offset = fonts.getPropsValueAs<int>(font, "offset", "0");
    if (width)
        *width = 0;
    if (height)
        *height = text ? lineHeight : 0;
    if (font.empty() || !text)
        return;
    if (!std::strchr(text, '\n')) {
        calcLine(font, text, width, height);
        return;
    }
    std::vector<ATTR> lines;
    splitLines(text, lines, linefeed.c_str());
    int widest = 0;
    int sum = 0;
    for (ATTR const& line : lines) {
        int w = 0, h = 0;
        calcLine(font, line.c_str(), &w, &h);
        widest = std::max(widest, w);
        sum += h;
    }
    if (width)
        *width = widest;
    if (height)
        *height = offset + sum;
}

int SurfaceText::drawText(char const* text, int x, int y, ATTR font, RgbColor* c) {
    FontInfo info;
    if (!text || !ready() || !findFont(font, info))
        return 0;
    if (!std::strchr(text, '\n'))
        return drawLine(text, x, y, font, c);
    // Lines step by the font's height, not by what was measured: calcText may differ by a few
    // pixels.
    std::vector<ATTR> lines;
    splitLines(text, lines, linefeed.c_str());
    int drawn = 0;
    for (ATTR const& line : lines) {
        drawn += drawLine(line.c_str(), x, y, font, c);
        y += info.height;
    }
    return drawn;
}

int SurfaceText::drawLine(char const*, int, int, ATTR, RgbColor*) {
    return 0;
}

int SurfaceText::splitLines(char const* text, std::vector<ATTR>& lines, char const* separators) {
    lines.clear();
    if (!text)
        return -1;
    std::string buffer(text);
    buffer.push_back('\0');
    char* state = nullptr;
    for (char* token = strtok_r(&buffer[0], separators ? separators : "", &state); token;
         token = strtok_r(nullptr, separators ? separators : "", &state))
        lines.emplace_back(token);
    if (lines.empty())
        lines.emplace_back(text);
    return static_cast<int>(lines.size()) - 1;
}

} // namespace QTD
