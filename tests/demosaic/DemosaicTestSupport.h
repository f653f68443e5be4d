#pragma once

// Pictures, mosaics, image records and PSNR for the demosaicing tests.

#include <brx/BrxImage.h>

#include "demosaic/BayerPixelTypes.h"

#include <QImage>
#include <QString>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace DemosaicTest {

// An RGB picture with samples of up to 16 bits, row after row, three per pixel.
struct Picture {
    int width = 0;
    int height = 0;
    int depth = 8;
    std::vector<uint16_t> rgb;

    uint16_t at(int x, int y, int c) const { return rgb[(size_t(y) * width + x) * 3 + c]; }
    uint16_t& at(int x, int y, int c) { return rgb[(size_t(y) * width + x) * 3 + c]; }
};

// Colour of the site (x, y) in a pattern (GR 0, RG 1, BG 2, GB 3): 0 red, 1 green, 2 blue.
inline int cfaChannel(int pattern, int x, int y) {
    int const rx = 1 - (pattern & 1), ry = pattern > 1 ? 1 : 0;
    bool const redRow = ((y ^ ry) & 1) == 0;
    if ((x & 1) != (redRow ? rx : 1 - rx))
        return 1;
    return redRow ? 0 : 2;
}

// A smooth colour picture: slow waves of different direction per channel.
inline Picture smoothPicture(int width, int height, int depth) {
    Picture p{width, height, depth, std::vector<uint16_t>(size_t(width) * height * 3)};
    double const top = double((1 << depth) - 1);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double const r = 0.5 + 0.35 * std::sin(x / 23.0 + y / 41.0);
            double const g = 0.5 + 0.30 * std::cos(x / 37.0 - y / 29.0);
            double const b = 0.45 + 0.30 * std::sin((x + 2 * y) / 31.0 + 1.0);
            p.at(x, y, 0) = uint16_t(std::lround(r * top));
            p.at(x, y, 1) = uint16_t(std::lround(g * top));
            p.at(x, y, 2) = uint16_t(std::lround(b * top));
        }
    return p;
}

// Deterministic noise: every sample independent, the hardest case for the edge tests.
inline Picture noisePicture(int width, int height, int depth, uint32_t seed) {
    Picture p{width, height, depth, std::vector<uint16_t>(size_t(width) * height * 3)};
    uint32_t s = seed;
    for (uint16_t& v : p.rgb) {
        s = s * 1664525u + 1013904223u;
        v = uint16_t((s >> 8) & ((1u << depth) - 1));
    }
    return p;
}

inline Picture loadPicture(QString const& path) {
    QImage image(path);
    Picture p;
    if (image.isNull())
        return p;
    image = image.convertToFormat(QImage::Format_RGB888);
    p.width = image.width();
    p.height = image.height();
    p.rgb.resize(size_t(p.width) * p.height * 3);
    for (int y = 0; y < p.height; ++y) {
        uchar const* line = image.constScanLine(y);
        for (int i = 0; i < p.width * 3; ++i)
            p.rgb[size_t(y) * p.width * 3 + i] = line[i];
    }
    return p;
}

inline QString mcMaster(int n) {
    return QString("%1/mcmaster/McMaster%2.png").arg(BRX_TEST_DATA).arg(n);
}

// A BrxImage over a buffer of its own, with an optional row padding and guard bytes after the
// pixels (filled with `guardValue`) to catch writes past the end.
struct Image {
    BrxImage record;
    std::vector<uint8_t> buffer;
    static constexpr size_t GUARD = 64;
    static constexpr uint8_t GUARD_VALUE = 0xA5;

    Image(uint32_t pixelType, int width, int height, int padding = 0) {
        std::memset(&record, 0, sizeof record);
        int const bytes = ((pixelType >> 8) & 0xF) == 1 ? 1 : 2;
        int const channels = (pixelType >> 24) == 2 ? 3 : 1;
        record.size = sizeof(BrxImage);
        record.pixelType = pixelType;
        record.packing = pixelType & 0xFF00;
        record.channels = uint32_t(channels);
        record.bitsPerPixel = (pixelType >> 16) & 0xFF;
        record.width = uint32_t(width);
        record.height = uint32_t(height);
        record.stride = uint32_t(width * channels * bytes + padding);
        record.imageSize = record.stride * uint32_t(height);
        buffer.assign(record.imageSize + GUARD, GUARD_VALUE);
        record.imageData = buffer.data();
    }
    Image(Image const&) = delete;

    BrxImage* get() { return &record; }
    int bytes() const { return ((record.pixelType >> 8) & 0xF) == 1 ? 1 : 2; }
    bool guardIntact() const {
        for (size_t i = record.imageSize; i < buffer.size(); ++i)
            if (buffer[i] != GUARD_VALUE)
                return false;
        return true;
    }
    uint16_t sample(int x, int y, int c) const {
        int const channels = int(record.channels);
        size_t const at = size_t(y) * record.stride + (size_t(x) * channels + c) * bytes();
        if (bytes() == 1)
            return buffer[at];
        uint16_t v;
        std::memcpy(&v, &buffer[at], 2);
        return v;
    }
    void setSample(int x, int y, uint16_t v) {
        size_t const at = size_t(y) * record.stride + size_t(x) * bytes();
        if (bytes() == 1)
            buffer[at] = uint8_t(v);
        else
            std::memcpy(&buffer[at], &v, 2);
    }
};

// The mosaic of a picture in a Bayer image of the picture's depth.
inline void mosaic(Picture const& p, int pattern, Image& out) {
    for (int y = 0; y < p.height; ++y) {
        uint8_t* row = out.buffer.data() + size_t(y) * out.record.stride;
        for (int x = 0; x < p.width; ++x) {
            uint16_t const v = p.at(x, y, cfaChannel(pattern, x, y));
            if (out.bytes() == 1)
                row[x] = uint8_t(v);
            else
                std::memcpy(row + 2 * x, &v, 2);
        }
    }
}

inline uint32_t bayerType(int pattern, int depth) {
    return BrxDemosaic::BayerPixelTypes::bayerFor(pattern, depth);
}
inline uint32_t rgbType(int depth, bool bgr = false) {
    return BrxDemosaic::BayerPixelTypes::rgbFor(depth, bgr);
}

// Colour PSNR of an RGB/BGR image against a picture, one MSE over the three channels, a border
// left out, at the picture's depth.
inline double psnr(Picture const& p, Image const& out, int border = 4, bool bgr = false) {
    double sum = 0;
    long n = 0;
    int const bytes = out.bytes();
    for (int y = border; y < p.height - border; ++y) {
        uint8_t const* row = out.buffer.data() + size_t(y) * out.record.stride;
        uint16_t const* ref = &p.rgb[size_t(y) * p.width * 3];
        for (int x = border; x < p.width - border; ++x)
            for (int c = 0; c < 3; ++c) {
                size_t const at = size_t(x) * 3 + (bgr ? 2 - c : c);
                uint16_t v = row[at];
                if (bytes == 2)
                    std::memcpy(&v, row + 2 * at, 2);
                double const d = double(ref[size_t(x) * 3 + c]) - double(v);
                sum += d * d;
                ++n;
            }
    }
    double const top = double((1 << p.depth) - 1);
    return sum == 0 ? 99.0 : 10.0 * std::log10(top * top * double(n) / sum);
}

} // namespace DemosaicTest
