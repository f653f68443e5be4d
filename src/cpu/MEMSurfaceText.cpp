#include "cpu/MEMSurfaceText.h"

#include "chain/QTDProcs.h"
#include "core/AutoLock.h"

#include <QImage>

#include <cstring>
#include <string>
#include <vector>

namespace {

struct BlendTables {
    double coef1[256];
    double coef2[256];
    BlendTables() {
        for (int i = 0; i < 256; ++i) {
            coef1[i] = i / 255.0;
            coef2[i] = 1.0 - coef1[i];
        }
    }
};

BlendTables const& blendTables() {
    static BlendTables const tables;
    return tables;
}

// The pixel layout text is blended into.
struct Target {
    uint8_t* data = nullptr;
    size_t stride = 0;
    size_t size = 0; // 0: rows times stride
    int width = 0;
    int height = 0;
    int bytes = 1;
    int channels = 3;
    int step = 3;
    bool flipped = false;
    int colors = 256;
    int component[3] = {0, 0, 0};
    int opacity = 0;
};

int readSample(uint8_t const* p, int bytes) {
    if (bytes == 1)
        return *p;
    uint16_t v;
    std::memcpy(&v, p, sizeof(v));
    return v;
}

void writeSample(uint8_t* p, int bytes, int value) {
    if (bytes == 1) {
        *p = static_cast<uint8_t>(value);
        return;
    }
    uint16_t v = static_cast<uint16_t>(value);
    std::memcpy(p, &v, sizeof(v));
}

void blendPixel(Target const& t, uint8_t* pixel, int a) {
    BlendTables const& tables = blendTables();
    int old[3] = {0, 0, 0};
    for (int c = 0; c < t.channels; ++c)
        old[c] = readSample(pixel + c * t.bytes, t.bytes);
    switch (t.opacity) {
    case 1:
        for (int c = 0; c < t.channels; ++c)
            writeSample(
                pixel + c * t.bytes, t.bytes,
                static_cast<int>(old[c] * tables.coef2[a] + tables.coef1[a] * t.component[c]));
        break;
    case 2:
        for (int c = 0; c < t.channels; ++c)
            writeSample(pixel + c * t.bytes, t.bytes, t.colors - 1 - old[c]);
        break;
    case 3: {
        // Black on bright, white on dark. RgbColor::setOpc cannot produce this value.
        int sum = old[0] + old[1] + old[2];
        int value = sum >= t.colors / 4 ? 0 : t.colors - 1;
        for (int c = 0; c < t.channels; ++c)
            writeSample(pixel + c * t.bytes, t.bytes, value);
        break;
    }
    default:
        for (int c = 0; c < t.channels; ++c)
            writeSample(pixel + c * t.bytes, t.bytes, t.component[c]);
        break;
    }
}

} // namespace

MEMSurfaceText::MEMSurfaceText(QTD::PROPERTIES* props) : QTD::GlyphSurfaceText(props) {
    addDefaultFonts();
}

MEMSurfaceText::~MEMSurfaceText() {
    image = nullptr;
}

int MEMSurfaceText::drawLine(char const* text, int x, int y, QTD::ATTR font, QTD::RgbColor* c) {
    if (!image || !text || !*text)
        return 0;
    // Held while the strip is read, so that no other thread removes the font meanwhile.
    QTD::AutoLock hold(&guard, "MEMSurfaceText::drawLine");
    FontInfo info;
    Strip strip;
    if (!findFont(font, info) || !findStrip(info.name, strip))
        return 0;
    if (!image->imageData || image->width == 0 || image->height == 0 || image->stride == 0 ||
        image->bitsPerChannel < 1 || image->bitsPerChannel > 16)
        return 0;
    QTD::RgbColor use = c ? *c : color;
    use.setColors(1 << image->bitsPerChannel, 0);
    std::vector<std::string> segments = tabSegments(text);
    long cursor = x;
    for (size_t i = 0; i < segments.size(); ++i) {
        drawSegment(segments[i].c_str(), static_cast<int>(segments[i].size()), cursor, y, strip,
                    use);
        if (i + 1 < segments.size())
            cursor += tabAdvance(info, segments[i].c_str());
    }
    return 1;
}

long MEMSurfaceText::drawSegment(char const* text, int length, long x, long y, Strip const& strip,
                                 QTD::RgbColor const& color) {
    using namespace QTD::Procs;
    Target t;
    t.data = static_cast<uint8_t*>(image->imageData);
    t.stride = image->stride;
    t.size = image->imageSize;
    t.width = static_cast<int>(std::min<uint32_t>(image->width, 1u << 30));
    t.height = static_cast<int>(std::min<uint32_t>(image->height, 1u << 30));
    t.bytes = image->bitsPerChannel <= 8 ? 1 : 2;
    t.flipped = image->orientation == 1;
    t.colors = color.colors;
    t.opacity = color.opacity;
    if (isIn(MONO_INDEXEXT, image->pixelType)) {
        t.channels = 1;
        t.component[0] = color.intensity();
    } else {
        t.channels = 3;
        bool bgr = isIn(BGR_INDEX, image->pixelType);
        t.component[0] = bgr ? color.b : color.r;
        t.component[1] = color.g;
        t.component[2] = bgr ? color.r : color.b;
    }
    t.step = t.channels * t.bytes;

    QImage const& stripImage = *strip.image;
    std::vector<QTD::TRECT<int>> const& rects = *strip.rects;
    for (int i = 0; i < length; ++i) {
        int code = static_cast<unsigned char>(text[i]);
        if (code < 32)
            code = 32;
        size_t index = static_cast<size_t>(code - 32);
        if (index >= rects.size())
            break;
        QTD::TRECT<int> const& r = rects[index];
        // Everything further right is off the image.
        if (x > t.width)
            break;
        for (int row = 0; row < r.height; ++row) {
            long imageRow = y + row;
            if (imageRow < 0)
                continue;
            if (imageRow >= t.height)
                break;
            if (t.flipped)
                imageRow = t.height - 1 - imageRow;
            int stripRow = r.y + row;
            if (stripRow < 0 || stripRow >= stripImage.height())
                continue;
            uchar const* source = stripImage.constScanLine(stripRow);
            for (int column = 0; column < r.width; ++column) {
                long imageColumn = x + column;
                if (imageColumn < 0)
                    continue;
                // The column equal to the width is still written where the row's padding
                // leaves room for it; nothing is written past a row or the buffer.
                if (imageColumn > t.width)
                    break;
                size_t inRow = static_cast<size_t>(imageColumn) * t.step;
                if (inRow + t.step > t.stride)
                    break;
                size_t offset = static_cast<size_t>(imageRow) * t.stride + inRow;
                if (t.size != 0 && offset + t.step > t.size)
                    break;
                int stripColumn = r.x + column;
                if (stripColumn < 0 || stripColumn >= stripImage.width())
                    continue;
                int a = source[stripColumn * 3];
                if (a == 0)
                    continue;
                blendPixel(t, t.data + offset, a);
            }
        }
        x += r.width;
        if (code > 32)
            x += strip.advance;
    }
    return x;
}
