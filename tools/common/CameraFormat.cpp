#include "CameraFormat.h"

#include "image/ImageLayout.h"

#include <brx/BrxPixelTypes.h>

#include <algorithm>
#include <strings.h>

namespace {

CameraFormat make(const char* name, uint32_t type, CameraFormat::Layout layout, int depth,
                  CameraFormat::Packing packing = CameraFormat::Packing::None) {
    CameraFormat f;
    f.name = name;
    f.pixelType = type;
    f.layout = layout;
    f.depth = depth;
    f.packing = packing;
    if (layout == CameraFormat::Layout::Bayer) {
        // The two letters after "Bayer" are the first row; the second row is the other pair.
        const std::string pattern = f.name.substr(5, 2);
        const int a = pattern[0] == 'R' ? 0 : pattern[0] == 'G' ? 1 : 2;
        const int b = pattern[1] == 'R' ? 0 : pattern[1] == 'G' ? 1 : 2;
        if (a != 1) {
            // R G / G B or B G / G R
            const int cell[4] = {a, 1, 1, 2 - a};
            std::copy(cell, cell + 4, f.cfa);
        } else {
            // G R / B G or G B / R G
            const int cell[4] = {1, b, 2 - b, 1};
            std::copy(cell, cell + 4, f.cfa);
        }
    }
    return f;
}

// The name and its type word from one token, so that the two cannot part.
#define F(name, ...) make(#name, BRX_PIXEL_##name, __VA_ARGS__)

std::vector<CameraFormat> table() {
    using L = CameraFormat::Layout;
    using P = CameraFormat::Packing;
    return {
        F(Mono8, L::Mono, 8),
        F(Mono10, L::Mono, 10),
        F(Mono10p, L::Mono, 10, P::Lsb),
        F(Mono10Packed, L::Mono, 10, P::Gev),
        F(Mono12, L::Mono, 12),
        F(Mono12p, L::Mono, 12, P::Lsb),
        F(Mono12Packed, L::Mono, 12, P::Gev),
        F(Mono14, L::Mono, 14),
        F(Mono16, L::Mono, 16),
        F(BayerGR8, L::Bayer, 8),
        F(BayerRG8, L::Bayer, 8),
        F(BayerGB8, L::Bayer, 8),
        F(BayerBG8, L::Bayer, 8),
        F(BayerGR10, L::Bayer, 10),
        F(BayerRG10, L::Bayer, 10),
        F(BayerGB10, L::Bayer, 10),
        F(BayerBG10, L::Bayer, 10),
        F(BayerGR12, L::Bayer, 12),
        F(BayerRG12, L::Bayer, 12),
        F(BayerGB12, L::Bayer, 12),
        F(BayerBG12, L::Bayer, 12),
        F(BayerGR14, L::Bayer, 14),
        F(BayerRG14, L::Bayer, 14),
        F(BayerGB14, L::Bayer, 14),
        F(BayerBG14, L::Bayer, 14),
        F(BayerGR16, L::Bayer, 16),
        F(BayerRG16, L::Bayer, 16),
        F(BayerGB16, L::Bayer, 16),
        F(BayerBG16, L::Bayer, 16),
        F(BayerGR10p, L::Bayer, 10, P::Lsb),
        F(BayerGR10Packed, L::Bayer, 10, P::Gev),
        F(BayerRG10p, L::Bayer, 10, P::Lsb),
        F(BayerRG10Packed, L::Bayer, 10, P::Gev),
        F(BayerGB10p, L::Bayer, 10, P::Lsb),
        F(BayerGB10Packed, L::Bayer, 10, P::Gev),
        F(BayerBG10p, L::Bayer, 10, P::Lsb),
        F(BayerBG10Packed, L::Bayer, 10, P::Gev),
        F(BayerGR12p, L::Bayer, 12, P::Lsb),
        F(BayerGR12Packed, L::Bayer, 12, P::Gev),
        F(BayerRG12p, L::Bayer, 12, P::Lsb),
        F(BayerRG12Packed, L::Bayer, 12, P::Gev),
        F(BayerGB12p, L::Bayer, 12, P::Lsb),
        F(BayerGB12Packed, L::Bayer, 12, P::Gev),
        F(BayerBG12p, L::Bayer, 12, P::Lsb),
        F(BayerBG12Packed, L::Bayer, 12, P::Gev),
        F(RGB8, L::Rgb, 8),
        F(BGR8, L::Bgr, 8),
        F(RGB10, L::Rgb, 10),
        F(BGR10, L::Bgr, 10),
        F(RGB12, L::Rgb, 12),
        F(BGR12, L::Bgr, 12),
        F(RGB14, L::Rgb, 14),
        F(BGR14, L::Bgr, 14),
        F(RGB16, L::Rgb, 16),
        F(BGR16, L::Bgr, 16),
        F(YUV422_8_UYVY, L::Uyvy, 8),
    };
}

#undef F

} // namespace

const std::vector<CameraFormat>& CameraFormat::all() {
    static const std::vector<CameraFormat> formats = table();
    return formats;
}

const CameraFormat* CameraFormat::find(const std::string& name) {
    for (const CameraFormat& f : all()) {
        if (strcasecmp(f.name.c_str(), name.c_str()) == 0) {
            return &f;
        }
    }
    return nullptr;
}

std::string CameraFormat::names() {
    std::string text;
    for (const CameraFormat& f : all()) {
        text += (text.empty() ? "" : " ") + f.name;
    }
    return text;
}

std::string CameraFormat::listing(const std::string& indent, size_t width) {
    std::string text, line = indent;
    for (const CameraFormat& f : all()) {
        if (line.size() > indent.size() && line.size() + 1 + f.name.size() > width) {
            text += line + "\n";
            line = indent;
        }
        line += (line.size() > indent.size() ? " " : "") + f.name;
    }
    return text + line + "\n";
}

uint32_t CameraFormat::rowBytes(uint32_t width) const {
    return static_cast<uint32_t>(QTD::rowBytes(pixelType, width));
}

uint64_t CameraFormat::frameBytes(uint32_t width, uint32_t height) const {
    return QTD::frameBytes(pixelType, width, height, rowBytes(width));
}

uint32_t CameraFormat::paddedStride(uint32_t width) const {
    return static_cast<uint32_t>(((static_cast<uint64_t>(width) * bitsPerPixel() + 31) >> 3) &
                                 ~static_cast<uint64_t>(3));
}

void CameraFormat::describe(BrxImage& image, uint32_t width, uint32_t height, uint32_t stride,
                            void* data) const {
    image = BrxImage{};
    image.size = sizeof(BrxImage);
    image.pixelType = pixelType;
    image.bitsPerChannel = static_cast<uint32_t>(depth);
    image.packing = pixelType & 0xFF00;
    image.channels = layout == Layout::Mono || layout == Layout::Bayer ? 1 : 3;
    image.bitsPerPixel = static_cast<uint32_t>(bitsPerPixel());
    image.width = width;
    image.height = height;
    image.stride = stride;
    image.imageSize = stride * height;
    image.imageData = data;
}
