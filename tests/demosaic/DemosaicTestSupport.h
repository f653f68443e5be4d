#pragma once

// Pictures, mosaics, image records and PSNR for the demosaicing tests.

#include <brx/BrxBayer.h>
#include <brx/BrxImage.h>

#include "demosaic/BayerPixelTypes.h"

#include <QImage>
#include <QString>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace DemosaicTest {

// An RGB picture with samples of up to 16 bits, row after row, three per pixel.
struct Picture {
    int width = 0, height = 0, depth = 8;
    std::vector<uint16_t> rgb;

    uint16_t at(int x, int y, int c) const { return rgb[(size_t(y) * width + x) * 3 + c]; }
};

// Colour of the site (x, y) in a pattern (GR 0, RG 1, BG 2, GB 3): 0 red, 1 green, 2 blue.
inline int cfaChannel(int pattern, int x, int y) {
    int const rx = 1 - (pattern & 1), ry = pattern > 1 ? 1 : 0; // the red site
    return (x + rx + y + ry) & 1 ? 1 : (y + ry) & 1 ? 2 : 0;
}

// A smooth colour picture: slow waves of different direction per channel.
inline Picture smoothPicture(int width, int height, int depth) {
    Picture p{width, height, depth, {}};
    double const top = double((1 << depth) - 1);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (double v : {0.5 + 0.35 * std::sin(x / 23.0 + y / 41.0),
                             0.5 + 0.30 * std::cos(x / 37.0 - y / 29.0),
                             0.45 + 0.30 * std::sin((x + 2 * y) / 31.0 + 1.0)})
                p.rgb.push_back(uint16_t(std::lround(v * top)));
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

// McMaster image n (1 to 18), 8-bit; empty when it cannot be read.
inline Picture mcMaster(int n) {
    QImage const image = QImage(QString("%1/mcmaster/McMaster%2.png").arg(BRX_TEST_DATA).arg(n))
                             .convertToFormat(QImage::Format_RGB888);
    Picture p{image.width(), image.height(), 8, {}};
    for (int y = 0; y < p.height; ++y)
        p.rgb.insert(p.rgb.end(), image.constScanLine(y), image.constScanLine(y) + p.width * 3);
    return p;
}

inline uint32_t bayerType(int pattern, int depth) {
    return BrxDemosaic::BayerPixelTypes::bayerFor(pattern, depth);
}
inline uint32_t rgbType(int depth, bool bgr = false) {
    return BrxDemosaic::BayerPixelTypes::rgbFor(depth, bgr);
}

// A BrxImage over a buffer of its own, with an optional row padding and guard bytes after the
// pixels (and in the padding) to catch writes past the rows.
struct Image {
    BrxImage record{};
    std::vector<uint8_t> buffer;
    static constexpr size_t GUARD = 64;
    static constexpr uint8_t GUARD_VALUE = 0xA5;

    Image(uint32_t pixelType, int width, int height, int padding = 0) {
        record.size = sizeof(BrxImage);
        record.pixelType = pixelType;
        record.channels = (pixelType >> 24) == 2 ? 3 : 1;
        record.width = uint32_t(width);
        record.height = uint32_t(height);
        record.stride = uint32_t(width) * record.channels * uint32_t(bytes()) + uint32_t(padding);
        record.imageSize = record.stride * uint32_t(height);
        buffer.assign(record.imageSize + GUARD, GUARD_VALUE);
        record.imageData = buffer.data();
    }
    // The mosaic of a picture, in a Bayer image of the picture's depth.
    Image(Picture const& p, int pattern, int padding = 0)
        : Image(bayerType(pattern, p.depth), p.width, p.height, padding) {
        for (int y = 0; y < p.height; ++y)
            for (int x = 0; x < p.width; ++x) {
                uint16_t const v = p.at(x, y, cfaChannel(pattern, x, y));
                std::memcpy(&buffer[offset(x, y, 0)], &v, size_t(bytes()));
            }
    }
    Image(Image const&) = delete;

    BrxImage* get() { return &record; }
    int bytes() const { return ((record.pixelType >> 8) & 0xF) == 1 ? 1 : 2; }
    bool guardIntact() const {
        return std::all_of(buffer.begin() + long(record.imageSize), buffer.end(),
                           [](uint8_t v) { return v == GUARD_VALUE; });
    }
    size_t offset(int x, int y, int c) const {
        return size_t(y) * record.stride + (size_t(x) * record.channels + size_t(c)) * bytes();
    }
    // Samples of one or two bytes, in the machine's (little-endian) order.
    uint16_t sample(int x, int y, int c) const {
        uint16_t v = 0;
        std::memcpy(&v, &buffer[offset(x, y, c)], size_t(bytes()));
        return v;
    }
};

// Largest difference between two images of the same kind; the second one read bottom-up on request.
inline long maxDifference(Image const& a, Image const& b, bool bUpsideDown = false) {
    int const h = int(a.record.height);
    long worst = 0;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < int(a.record.width); ++x)
            for (int c = 0; c < int(a.record.channels); ++c)
                worst = std::max(worst, std::labs(long(a.sample(x, y, c)) -
                                                  b.sample(x, bUpsideDown ? h - 1 - y : y, c)));
    return worst;
}

// One BrxBayer for one algorithm, released and deleted at the end of the scope.
struct Bayer {
    BrxBayer* bayer = BrxBayer::CreateComponent();
    explicit Bayer(long algorithm, long threads = 0) {
        bayer->GetComponent()->SetParamInt("BayerAlgType", algorithm);
        bayer->GetComponent()->SetParamInt("BayerThreads", threads);
    }
    Bayer(Bayer const&) = delete;
    ~Bayer() {
        bayer->Release();
        BrxBayer::DeleteComponent(bayer);
    }
    BrxBayer* operator->() { return bayer; }
    unsigned short run(Image& in, Image& out) {
        unsigned short const code = bayer->Init(in.get(), out.get());
        return code ? code : bayer->ProcessImage(in.get(), out.get());
    }
};

// Colour PSNR (one MSE over the three channels, a border left out) of an RGB or BGR image.
inline double psnr(Picture const& p, Image const& out, int border = 4, bool bgr = false) {
    double sum = 0;
    long n = 0;
    for (int y = border; y < p.height - border; ++y)
        for (int x = border; x < p.width - border; ++x)
            for (int c = 0; c < 3; ++c, ++n) {
                double const d = double(p.at(x, y, c)) - out.sample(x, y, bgr ? 2 - c : c);
                sum += d * d;
            }
    double const top = double((1 << p.depth) - 1);
    return sum == 0 ? 99.0 : 10.0 * std::log10(top * top * double(n) / sum);
}

} // namespace DemosaicTest
