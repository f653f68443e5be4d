#include "front/ImageReadout.h"

#include "chain/QTDProcs.h"
#include "core/ATTR.h"
#include "image/BrxImageUnpack.h"
#include "image/ParallelRows.h"
#include "image/QTDImageHelpers.h"
#include "screen/QTDScreen.h"

#include <QImage>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

using namespace QTD::Procs;

namespace QTD {

namespace {

const char* const SITE_NAMES[4] = {"R", "Gr", "Gb", "B"};

std::string joined(const std::vector<std::string>& parts, const char* separator) {
    std::string text;
    for (size_t i = 0; i < parts.size(); ++i) {
        text += (i ? separator : "") + parts[i];
    }
    return text;
}

} // namespace

ImageReadout::~ImageReadout() {
    if (writer.joinable()) {
        writer.join();
    }
    std::free(unpacked.allocatedData);
}

void ImageReadout::frame(BrxImage* rawFrame, BrxImage* shownImage, uint32_t pixelType,
                         uint64_t generation) {
    if (rawFrame != raw || pixelType != type || generation != unpackedGeneration) {
        unpackedFresh = false;
    }
    raw = rawFrame;
    shown = shownImage;
    type = pixelType;
    unpackedGeneration = generation;
}

BrxImage* ImageReadout::plain() {
    if (raw == nullptr || raw->imageData == nullptr || raw->width == 0 || raw->height == 0) {
        return nullptr;
    }
    const int at = indexOf(PACKED_INDEX, type);
    if (at < 0) {
        return raw;
    }
    if (!unpackedFresh) {
        if (unpacked.width != raw->width || unpacked.height != raw->height ||
            unpacked.pixelType != UNPACK_INDEX[at]) {
            std::free(unpacked.allocatedData);
            unpacked = BrxImage{};
            QTDImageHelpers::imageCreateFormat(&unpacked, int(raw->width), int(raw->height),
                                               UNPACK_INDEX[at]);
        }
        BrxImage source = *raw;
        source.pixelType = type;
        if (BrxImageUnpack::Unpack(&source, &unpacked) != 1 || unpacked.imageData == nullptr) {
            return nullptr;
        }
        unpackedFresh = true;
    }
    return &unpacked;
}

int ImageReadout::channels() const {
    return type == PixelType::YUV422_8_UYVY || isIn(RGBBGR_INDEX, type) ? 3 : 1;
}

int ImageReadout::site(int x, int y) const {
    const uint32_t mosaic =
        isIn(PACKED_INDEX, type) ? UNPACK_INDEX[indexOf(PACKED_INDEX, type)] : type;
    const int at = indexOf(BAYER_INDEX, mosaic);
    if (at < 0) {
        return -1;
    }
    // BAYER_INDEX lists each depth's mosaics as GR, RG, BG, GB.
    const int p = at % 4, redX = 1 - p % 2, redY = p > 1 ? 1 : 0;
    const bool redRow = y % 2 == redY, redColumn = x % 2 == redX;
    return redRow ? (redColumn ? 0 : 1) : (redColumn ? 2 : 3);
}

std::vector<std::string> ImageReadout::channelNames() const {
    if (site(0, 0) >= 0) {
        return {"R", "Gr", "Gb", "B"};
    }
    if (type == PixelType::YUV422_8_UYVY) {
        return {"Y", "U", "V"};
    }
    if (channels() == 3) {
        return {"R", "G", "B"};
    }
    return {"Y"};
}

uint32_t ImageReadout::sample(BrxImage* image, int x, int y, int c) const {
    const auto* row = static_cast<const uint8_t*>(image->imageData) + size_t(y) * image->stride;
    if (type == PixelType::YUV422_8_UYVY) {
        // U Y0 V Y1: the pair's chroma belongs to both of its pixels.
        const uint8_t* pair = row + 4 * (x / 2);
        return c == 0 ? pair[1 + 2 * (x % 2)] : c == 1 ? pair[0] : pair[2];
    }
    const int n = channels();
    const int index = x * n + (isIn(BGR_INDEX, type) ? n - 1 - c : c);
    if (image->bitsPerChannel > 8) {
        uint16_t v;
        std::memcpy(&v, row + 2 * index, 2);
        return v;
    }
    return row[index];
}

bool ImageReadout::pixel(int x, int y, Map& out) {
    BrxImage* image = plain();
    if (image == nullptr || x < 0 || y < 0 || x >= int(image->width) || y >= int(image->height)) {
        return false;
    }
    std::vector<std::string> values;
    for (int c = 0; c < channels(); ++c) {
        values.push_back(ATTR::format("%u", sample(image, x, y, c)).c_str());
    }
    out["raw"] = joined(values, ";");
    if (site(x, y) >= 0) {
        out["raw.channel"] = SITE_NAMES[site(x, y)];
    }
    out["depth"] = ATTR::format("%u", image->bitsPerChannel).c_str();
    if (shown != nullptr && shown->imageData != nullptr && shown->bitsPerPixel == 24 &&
        shown->width == image->width && shown->height == image->height) {
        // The shown picture may lie bottom-up.
        const int row = shown->orientation == 1 ? int(shown->height) - 1 - y : y;
        const auto* p = static_cast<const uint8_t*>(shown->imageData) +
                        size_t(row) * shown->stride + 3 * size_t(x);
        const bool bgr = isIn(BGR_INDEX, shown->pixelType);
        out["shown"] = ATTR::format("%u;%u;%u", p[bgr ? 2 : 0], p[1], p[bgr ? 0 : 2]).c_str();
    }
    return true;
}

bool ImageReadout::statistics(int x, int y, int w, int h, int bins, Map& out) {
    BrxImage* image = plain();
    if (image == nullptr || w <= 0 || h <= 0 || bins < 1 || bins > 65536) {
        return false;
    }
    const int x0 = std::max(x, 0), y0 = std::max(y, 0);
    const int x1 = std::min(x + w, int(image->width)), y1 = std::min(y + h, int(image->height));
    if (x0 >= x1 || y0 >= y1) {
        return false;
    }
    const int depth = type == PixelType::YUV422_8_UYVY ? 8 : int(image->bitsPerChannel);
    const uint32_t levels = 1u << depth, top = levels - 1;
    const std::vector<std::string> names = channelNames();
    // One count per level and channel in a single pass, bands of rows over the cores, each
    // band with counts of its own; everything else follows from the counts.
    const size_t perBand = names.size() * levels;
    const int bands = std::max(1, std::min(cv::getNumThreads(), (y1 - y0 + 63) / 64));
    std::vector<uint64_t> bandCounts(size_t(bands) * perBand, 0);
    const bool mosaic = site(0, 0) >= 0;
    const int n = channels();
    const bool wide = depth > 8 && image->stride % 2 == 0;
    QTD::parallelFor(cv::Range(0, bands), [&](const cv::Range& range) {
        for (int band = range.start; band < range.end; ++band) {
            uint64_t* counts = bandCounts.data() + size_t(band) * perBand;
            const int from = y0 + (y1 - y0) * band / bands,
                      to = y0 + (y1 - y0) * (band + 1) / bands;
            for (int yy = from; yy < to; ++yy) {
                const auto* row =
                    static_cast<const uint8_t*>(image->imageData) + size_t(yy) * image->stride;
                if (n == 1) {
                    // Mono, or a mosaic whose even and odd columns are two sites.
                    uint64_t* even = counts + (mosaic ? size_t(site(x0 & ~1, yy)) * levels : 0);
                    uint64_t* odd = counts + (mosaic ? size_t(site(x0 | 1, yy)) * levels : 0);
                    const auto* words = reinterpret_cast<const uint16_t*>(row);
                    for (int xx = x0; xx < x1; ++xx) {
                        uint32_t v =
                            depth > 8
                                ? (wide ? words[xx] : uint32_t(row[2 * xx] | row[2 * xx + 1] << 8))
                                : row[xx];
                        ++((xx & 1) ? odd : even)[v > top ? top : v];
                    }
                    continue;
                }
                for (int xx = x0; xx < x1; ++xx) {
                    for (int c = 0; c < n; ++c) {
                        const uint32_t v = sample(image, xx, yy, c);
                        ++counts[size_t(c) * levels + (v > top ? top : v)];
                    }
                }
            }
        }
    });
    std::vector<std::vector<uint64_t>> counts(names.size(), std::vector<uint64_t>(levels, 0));
    for (int band = 0; band < bands; ++band) {
        for (size_t c = 0; c < names.size(); ++c) {
            const uint64_t* from = bandCounts.data() + size_t(band) * perBand + c * levels;
            for (uint32_t v = 0; v < levels; ++v) {
                counts[c][v] += from[v];
            }
        }
    }
    out["channels"] = joined(names, ";");
    for (size_t c = 0; c < names.size(); ++c) {
        const std::vector<uint64_t>& count = counts[c];
        uint64_t total = 0;
        double sum = 0.0, squares = 0.0;
        int lowest = -1, highest = -1;
        std::vector<uint64_t> histogram(size_t(bins), 0);
        for (uint32_t v = 0; v < levels; ++v) {
            if (count[v] == 0) {
                continue;
            }
            lowest = lowest < 0 ? int(v) : lowest;
            highest = int(v);
            total += count[v];
            sum += double(v) * double(count[v]);
            squares += double(v) * double(v) * double(count[v]);
            histogram[size_t((uint64_t(v) * uint64_t(bins)) >> depth)] += count[v];
        }
        const std::string key = names[c] + ".";
        const double mean = total ? sum / double(total) : 0.0;
        const double variance = total ? std::max(0.0, squares / double(total) - mean * mean) : 0.0;
        out[key + "count"] = ATTR::format("%llu", (unsigned long long)total).c_str();
        out[key + "min"] = ATTR::format("%d", std::max(lowest, 0)).c_str();
        out[key + "max"] = ATTR::format("%d", std::max(highest, 0)).c_str();
        out[key + "mean"] = ATTR::format("%.4f", mean).c_str();
        out[key + "stddev"] = ATTR::format("%.4f", std::sqrt(variance)).c_str();
        out[key + "saturated"] = ATTR::format("%llu", (unsigned long long)count[top]).c_str();
        std::string bars;
        for (size_t b = 0; b < histogram.size(); ++b) {
            bars += (b ? ";" : "") + std::to_string(histogram[b]);
        }
        out[key + "histogram"] = bars;
    }
    return true;
}

bool ImageReadout::profile(double x0, double y0, double x1, double y1, Map& out) {
    BrxImage* image = plain();
    if (image == nullptr) {
        return false;
    }
    const double dx = x1 - x0, dy = y1 - y0;
    const int steps = int(std::ceil(std::max(std::fabs(dx), std::fabs(dy))));
    std::vector<std::string> values;
    for (int i = 0; i <= steps; ++i) {
        const double t = steps ? double(i) / steps : 0.0;
        const int x = int(std::floor(x0 + t * dx)), y = int(std::floor(y0 + t * dy));
        if (x < 0 || y < 0 || x >= int(image->width) || y >= int(image->height)) {
            continue;
        }
        std::vector<std::string> channelsHere;
        for (int c = 0; c < channels(); ++c) {
            channelsHere.push_back(std::to_string(sample(image, x, y, c)));
        }
        values.push_back(joined(channelsHere, ","));
    }
    if (values.empty()) {
        return false;
    }
    out["count"] = std::to_string(values.size());
    out["values"] = joined(values, ";");
    return true;
}

namespace {

// A deep copy of `image` (8-bit mono or RGB/BGR, or deeper of either) as a QImage the right way
// up; a null image for other kinds.
QImage pictureOf(const BrxImage* image) {
    if (image == nullptr || image->imageData == nullptr || image->width == 0 ||
        image->height == 0) {
        return QImage();
    }
    const int w = int(image->width), h = int(image->height);
    const bool colour = image->channels == 3, deep = image->bitsPerChannel > 8;
    const bool bgr = isIn(BGR_INDEX, image->pixelType);
    if (image->channels != 1 && !colour) {
        return QImage();
    }
    QImage::Format format = colour
                                ? (deep ? QImage::Format_RGBX64 : QImage::Format_RGB888)
                                : (deep ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8);
    QImage picture(w, h, format);
    for (int y = 0; y < h; ++y) {
        const int from = image->orientation == 1 ? h - 1 - y : y;
        const auto* row =
            static_cast<const uint8_t*>(image->imageData) + size_t(from) * image->stride;
        uchar* to = picture.scanLine(y);
        if (!colour) {
            std::memcpy(to, row, size_t(w) * (deep ? 2 : 1));
            continue;
        }
        for (int x = 0; x < w; ++x) {
            for (int c = 0; c < 3; ++c) {
                const int source = 3 * x + (bgr ? 2 - c : c);
                if (deep) {
                    uint16_t v;
                    std::memcpy(&v, row + 2 * source, 2);
                    reinterpret_cast<uint16_t*>(to)[4 * x + c] = v;
                } else {
                    to[3 * x + c] = row[source];
                }
            }
            if (deep) {
                reinterpret_cast<uint16_t*>(to)[4 * x + 3] = 0xFFFF;
            }
        }
    }
    picture.setText("Bits", QString::number(image->bitsPerChannel));
    return picture;
}

} // namespace

bool ImageReadout::save(const std::string& file, ATTR const& what, BrxImage* image,
                        std::string& why) {
    if (file.empty()) {
        why = "no file name";
        return false;
    }
    std::shared_ptr<std::vector<char>> bytes;
    std::string side;
    QImage picture;
    if (what.same("raw")) {
        if (raw == nullptr || raw->imageData == nullptr) {
            why = "no frame";
            return false;
        }
        const auto* data = static_cast<const char*>(raw->imageData);
        bytes = std::make_shared<std::vector<char>>(data, data + raw->imageSize);
        side = ATTR::format("pixelType=0x%08X\nwidth=%u\nheight=%u\nstride=%u\nbytes=%u\n", type,
                            raw->width, raw->height, raw->stride, raw->imageSize)
                   .c_str();
    } else if (what.same("shown") || what.same("full")) {
        picture = pictureOf(image);
        if (picture.isNull()) {
            why = "no picture to save";
            return false;
        }
    } else {
        why = "unknown kind \"" + std::string(what.c_str()) + "\"";
        return false;
    }
    // Whether the file can be written is answered now; the writing itself is not waited for.
    FILE* probe = std::fopen(file.c_str(), "wb");
    if (probe == nullptr) {
        why = "cannot write " + file + ": " + std::strerror(errno);
        return false;
    }
    std::fclose(probe);
    if (writer.joinable()) {
        writer.join();
    }
    writer = std::thread([file, bytes, side, picture] {
        if (bytes) {
            if (FILE* out = std::fopen(file.c_str(), "wb")) {
                std::fwrite(bytes->data(), 1, bytes->size(), out);
                std::fclose(out);
            }
            if (FILE* text = std::fopen((file + ".txt").c_str(), "w")) {
                std::fputs(side.c_str(), text);
                std::fclose(text);
            }
        } else {
            picture.save(QString::fromStdString(file), "PNG");
        }
    });
    return true;
}

bool ImageReadout::toImage(QTDScreen* screen, ATTR const& cs, double& x, double& y) const {
    if (raw == nullptr || raw->width == 0 || raw->height == 0) {
        return false;
    }
    if (cs.empty() || cs.same("img")) {
        return true;
    }
    if (cs.same("base")) {
        x *= raw->width;
        y *= raw->height;
        return true;
    }
    if (screen == nullptr) {
        return false;
    }
    const TRECT<double> shownAt = screen->imageRect();
    if (shownAt.width <= 0 || shownAt.height <= 0) {
        return false;
    }
    const bool window = cs.same("win");
    if (!window && !cs.same("scr")) {
        return false;
    }
    x = (x - (window ? shownAt.x : 0.0)) * raw->width / shownAt.width;
    y = (y - (window ? shownAt.y : 0.0)) * raw->height / shownAt.height;
    return true;
}

} // namespace QTD
