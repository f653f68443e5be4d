#include "RawFrame.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace {

uint32_t luma(const uint8_t* p) {
    // Weights sum to 256, so grey stays exactly grey.
    return (77u * p[0] + 150u * p[1] + 29u * p[2] + 128u) >> 8;
}

void put16(uint8_t* out, uint32_t value) {
    out[0] = static_cast<uint8_t>(value & 0xFF);
    out[1] = static_cast<uint8_t>(value >> 8);
}

uint8_t clamp8(double v) {
    return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v + 0.5);
}

} // namespace

void RawFrame::packRow(const uint8_t* rgb, uint32_t y, uint8_t* out, uint32_t* lsbValues) const {
    const CameraFormat& f = *cameraFormat;
    const uint32_t width = record.width;
    // One value per pixel first (mono and Bayer), then the packing.
    std::vector<uint32_t> values;
    switch (f.layout) {
    case CameraFormat::Layout::Rgb:
    case CameraFormat::Layout::Bgr: {
        const bool bgr = f.layout == CameraFormat::Layout::Bgr;
        for (uint32_t x = 0; x < width; ++x) {
            const uint8_t* p = rgb + 3 * x;
            const uint8_t c[3] = {bgr ? p[2] : p[0], p[1], bgr ? p[0] : p[2]};
            for (int i = 0; i < 3; ++i) {
                if (f.depth == 8) {
                    out[3 * x + i] = c[i];
                } else {
                    put16(out + 6 * x + 2 * i, levels[c[i]]);
                }
            }
        }
        return;
    }
    case CameraFormat::Layout::Uyvy:
        for (uint32_t x = 0; x < width; x += 2) {
            const uint8_t* p0 = rgb + 3 * x;
            const uint8_t* p1 = x + 1 < width ? p0 + 3 : p0;
            double ys[2];
            double u = 0, v = 0;
            for (int k = 0; k < 2; ++k) {
                const uint8_t* p = k == 0 ? p0 : p1;
                ys[k] = 16 + 0.257 * p[0] + 0.504 * p[1] + 0.098 * p[2];
                u += (128 - 0.148 * p[0] - 0.291 * p[1] + 0.439 * p[2]) / 2;
                v += (128 + 0.439 * p[0] - 0.368 * p[1] - 0.071 * p[2]) / 2;
            }
            uint8_t* o = out + 2 * x;
            o[0] = clamp8(u);
            o[1] = clamp8(ys[0]);
            if (x + 1 < width) {
                o[2] = clamp8(v);
                o[3] = clamp8(ys[1]);
            }
        }
        return;
    case CameraFormat::Layout::Mono:
        values.resize(width);
        for (uint32_t x = 0; x < width; ++x) {
            values[x] = luma(rgb + 3 * x);
        }
        break;
    case CameraFormat::Layout::Bayer:
        values.resize(width);
        for (uint32_t x = 0; x < width; ++x) {
            values[x] = rgb[3 * x + f.cfa[(y & 1) * 2 + (x & 1)]];
        }
        break;
    }
    for (uint32_t& v : values) {
        v = levels[v];
    }
    switch (f.packing) {
    case CameraFormat::Packing::None:
        for (uint32_t x = 0; x < width; ++x) {
            if (f.depth == 8) {
                out[x] = static_cast<uint8_t>(values[x]);
            } else {
                put16(out + 2 * x, values[x]);
            }
        }
        break;
    case CameraFormat::Packing::Lsb:
        // The whole frame is one bit stream; pack() writes it.
        std::copy(values.begin(), values.end(), lsbValues);
        break;
    case CameraFormat::Packing::Gev: {
        // High bits in whole bytes, the two pixels' low bits shared in the middle byte.
        const int low = f.depth - 8;
        const uint32_t mask = (1u << low) - 1;
        for (uint32_t x = 0; x < width; x += 2) {
            const uint32_t a = values[x];
            const uint32_t b = x + 1 < width ? values[x + 1] : 0;
            uint8_t* o = out + (x / 2) * 3;
            o[0] = static_cast<uint8_t>(a >> low);
            o[1] = static_cast<uint8_t>((a & mask) | ((b & mask) << 4));
            if (x + 1 < width) {
                o[2] = static_cast<uint8_t>(b >> low);
            }
        }
        break;
    }
    }
}

bool RawFrame::pack(const QImage& picture, const CameraFormat& format, std::string* error) {
    if (picture.isNull() || picture.width() <= 0 || picture.height() <= 0) {
        if (error) {
            *error = "empty picture";
        }
        return false;
    }
    const QImage rgb = picture.convertToFormat(QImage::Format_RGB888);
    const uint32_t width = static_cast<uint32_t>(rgb.width());
    const uint32_t height = static_cast<uint32_t>(rgb.height());
    cameraFormat = &format;
    for (uint32_t level = 0; level < 256; ++level) {
        levels[level] = format.depth == 8 ? level : expand(level, format.depth);
    }
    if (format.packing == CameraFormat::Packing::Lsb) {
        // USB3 Vision frames are one little-endian bit stream, rows not padded: pixel i of
        // the frame takes bits [i * depth, (i + 1) * depth).
        data.assign(static_cast<size_t>(format.frameBytes(width, height)), 0);
        format.describe(record, width, height, format.rowBytes(width), data.data());
        record.imageSize = static_cast<uint32_t>(data.size());
        std::vector<uint32_t> values(width);
        // Bits gather in an accumulator, lowest first, and leave it a byte at a time.
        uint64_t bits = 0;
        int count = 0;
        size_t at = 0;
        for (uint32_t y = 0; y < height; ++y) {
            packRow(rgb.constScanLine(static_cast<int>(y)), y, nullptr, values.data());
            for (uint32_t value : values) {
                bits |= uint64_t(value) << count;
                for (count += format.depth; count >= 8; count -= 8, bits >>= 8) {
                    data[at++] = static_cast<uint8_t>(bits & 0xFF);
                }
            }
        }
        if (count > 0) {
            data[at] = static_cast<uint8_t>(bits & 0xFF);
        }
        return true;
    }
    // The packed GigE Vision rows are read tight; everything else is padded to four bytes.
    const uint32_t stride = format.packing == CameraFormat::Packing::Gev
                                ? format.rowBytes(width)
                                : format.paddedStride(width);
    data.assign(static_cast<size_t>(stride) * height, 0);
    format.describe(record, width, height, stride, data.data());
    for (uint32_t y = 0; y < height; ++y) {
        packRow(rgb.constScanLine(static_cast<int>(y)), y, data.data() + size_t(y) * stride,
                nullptr);
    }
    return true;
}

bool RawFrame::load(const std::string& path, const CameraFormat& format, uint32_t width,
                    uint32_t height, std::string* error) {
    auto fail = [&](const std::string& text) {
        if (error) {
            *error = text;
        }
        return false;
    };
    if (width == 0 || height == 0 || width > 65536 || height > 65536) {
        return fail("bad size " + std::to_string(width) + "x" + std::to_string(height));
    }
    std::error_code code;
    if (std::filesystem::is_directory(path, code)) {
        return fail(path + " is a directory");
    }
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in) {
        return fail("cannot read " + path);
    }
    const std::streamoff length = in.tellg();
    const uint64_t tight = format.frameBytes(width, height);
    // Packed frames are always tight: the library reads them so.
    const uint64_t padded = format.packing == CameraFormat::Packing::None
                                ? uint64_t(format.paddedStride(width)) * height
                                : tight;
    uint32_t stride = 0;
    if (length >= 0 && uint64_t(length) == tight) {
        stride = format.rowBytes(width);
    } else if (length >= 0 && uint64_t(length) == padded) {
        stride = format.paddedStride(width);
    } else {
        return fail(path + " has " + std::to_string(length) + " bytes; " + format.name + " " +
                    std::to_string(width) + "x" + std::to_string(height) + " needs " +
                    std::to_string(tight) +
                    (padded != tight ? " (or " + std::to_string(padded) + " with padded rows)"
                                     : std::string()));
    }
    data.assign(static_cast<size_t>(length), 0);
    in.seekg(0);
    if (!in.read(reinterpret_cast<char*>(data.data()), length)) {
        return fail("cannot read " + path);
    }
    cameraFormat = &format;
    format.describe(record, width, height, stride, data.data());
    record.imageSize = static_cast<uint32_t>(data.size());
    return true;
}

bool RawFrame::save(const std::string& path, std::string* error) const {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out || !out.write(reinterpret_cast<const char*>(data.data()),
                           static_cast<std::streamsize>(data.size()))) {
        if (error) {
            *error = "cannot write " + path;
        }
        return false;
    }
    return true;
}
