#include "CameraFormat.h"

#include "image/ImageLayout.h"

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

std::vector<CameraFormat> table() {
    using L = CameraFormat::Layout;
    using P = CameraFormat::Packing;
    std::vector<CameraFormat> t = {
        make("Mono8", 0x01080101, L::Mono, 8),
        make("Mono10", 0x01100202, L::Mono, 10),
        make("Mono10p", 0x010A2203, L::Mono, 10, P::Lsb),
        make("Mono10Packed", 0x010C1204, L::Mono, 10, P::Gev),
        make("Mono12", 0x01100306, L::Mono, 12),
        make("Mono12p", 0x010C2307, L::Mono, 12, P::Lsb),
        make("Mono12Packed", 0x010C1308, L::Mono, 12, P::Gev),
        make("Mono14", 0x0110040A, L::Mono, 14),
        make("Mono16", 0x0110050B, L::Mono, 16),
    };
    // Running numbers of the Bayer rows: plain depths, then the packed forms.
    const char* patterns[] = {"GR", "RG", "GB", "BG"};
    const struct {
        int depth;
        uint32_t base; // type word without the running number
        int first;     // running number of the GR row
    } plain[] = {{8, 0x03080100, 13},
                 {10, 0x03100200, 17},
                 {12, 0x03100300, 21},
                 {14, 0x03100400, 41},
                 {16, 0x03100500, 45}};
    for (const auto& d : plain) {
        for (int i = 0; i < 4; ++i) {
            const std::string name = std::string("Bayer") + patterns[i] + std::to_string(d.depth);
            t.push_back(
                make(name.c_str(), d.base | static_cast<uint32_t>(d.first + i), L::Bayer, d.depth));
        }
    }
    // 25.. : GR10p GR10Packed RG10p RG10Packed GB.. BG.., then the same for 12.
    for (int depth : {10, 12}) {
        const int first = depth == 10 ? 25 : 33;
        for (int i = 0; i < 4; ++i) {
            const std::string stem = std::string("Bayer") + patterns[i] + std::to_string(depth);
            const uint32_t code = depth == 10 ? 0x200 : 0x300;
            const uint32_t p = 0x03000000 | (depth == 10 ? 0x000A0000 : 0x000C0000) | 0x2000 |
                               code | static_cast<uint32_t>(first + 2 * i);
            const uint32_t g =
                0x030C0000 | 0x1000 | code | static_cast<uint32_t>(first + 2 * i + 1);
            t.push_back(make((stem + "p").c_str(), p, L::Bayer, depth, P::Lsb));
            t.push_back(make((stem + "Packed").c_str(), g, L::Bayer, depth, P::Gev));
        }
    }
    t.push_back(make("RGB8", 0x02180171, L::Rgb, 8));
    t.push_back(make("BGR8", 0x02180172, L::Bgr, 8));
    t.push_back(make("RGB10", 0x02300275, L::Rgb, 10));
    t.push_back(make("BGR10", 0x02300276, L::Bgr, 10));
    t.push_back(make("RGB12", 0x02300377, L::Rgb, 12));
    t.push_back(make("BGR12", 0x02300378, L::Bgr, 12));
    t.push_back(make("RGB14", 0x02300479, L::Rgb, 14));
    t.push_back(make("BGR14", 0x0230047A, L::Bgr, 14));
    t.push_back(make("RGB16", 0x0230057B, L::Rgb, 16));
    t.push_back(make("BGR16", 0x0230057C, L::Bgr, 16));
    t.push_back(make("YUV422_8_UYVY", 0x05100180, L::Uyvy, 8));
    return t;
}

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
