#include "image/PixelFormat.h"

#include "image/ColorModelDescription.h"

#include <cmath>
#include <cstdlib>

namespace QTD {

namespace {

// TrueSense types in the order of the format tables: the phases 0 and 1 of BGGR, GBRG, then 2
// and 3 of the same, then the same for GRBG and RGGB. Row numbers of the 8-bit table; each deeper
// table is the same 16 positions 16 rows further on. The 17th entry closes the table.
constexpr int kTrueSenseRows[16] = {49, 50, 53, 54, 51, 52, 55, 56, 57, 58, 61, 62, 59, 60, 63, 64};

unsigned int trueSenseType(int depthIndex, int position) {
    if (position < 0 || position >= 16)
        return 0; // the closing entry of each table, and anything past it
    return s_colorModelDescription[kTrueSenseRows[position] - 1 + 16 * depthIndex].pixelType;
}

// Position of a TrueSense type in the table of its depth: 0 to 15 within a depth, and the depth
// index 0 to 3 (8, 10, 12, 14); false for any other type.
bool trueSensePosition(unsigned int typeID, int& depthIndex, int& position) {
    for (depthIndex = 0; depthIndex < 4; ++depthIndex)
        for (position = 0; position < 16; ++position)
            if (trueSenseType(depthIndex, position) == typeID)
                return true;
    return false;
}

struct NamedType {
    unsigned int type;
    ClrMode mode;
    int order;
};

int depthFromCode(unsigned int typeID) {
    switch ((typeID >> 8) & 0x0F) {
    case 2:
        return 10;
    case 3:
        return 12;
    case 4:
        return 14;
    case 5:
        return 16;
    default:
        return 8;
    }
}

} // namespace

PixelFormat::PixelFormat(ClrMode mode, int depth, int order, char const* option) {
    init(mode, depth, order, option);
}

PixelFormat::PixelFormat(unsigned int typeID) {
    mode = ClrNone;
    order = 0;
    depth = 0;
    setTypeID(typeID);
}

PixelFormat::PixelFormat(PixelFormat const& other)
    : mode(other.mode), order(other.order), depth(other.depth), option(other.option),
      props(other.props) {}

PixelFormat::~PixelFormat() {}

PixelFormat& PixelFormat::init(ClrMode newMode, int newDepth, int newOrder, char const* newOption) {
    mode = newMode;
    depth = newDepth;
    order = newOrder;
    option = ATTR(newOption);
    return *this;
}

void PixelFormat::shut() {
    mode = ClrNone;
    order = 0;
    depth = 0;
    option.clear();
}

int PixelFormat::bpp() const {
    if (mode & 2)
        return depth * 3;
    if (mode & 4)
        return depth * 4;
    return depth == 8 ? 8 : 16;
}

int PixelFormat::strideFor(int width, int align) const {
    if (width < 1)
        return 0;
    if (option == "usb")
        return depth == 10 ? width * 5 / 4 : width * 3 / 2;
    long long bits = depth == 8 ? 8 : 16;
    if (mode == 2)
        bits *= 3;
    else if (mode == 4)
        bits *= 4;
    long long alignBits = static_cast<long long>(align) * 8;
    return static_cast<int>(((bits * width + alignBits - 1) & -alignBits) / 8);
}

int PixelFormat::sizeFor(int width, int height, int align) const {
    return std::abs(height) * strideFor(width, align);
}

double PixelFormat::scale(int bits) const {
    return std::pow(2.0, bits - depth);
}

void PixelFormat::setTypeID(unsigned int typeID) {
    option.clear();

    static const struct {
        const char* prefix;
        int order;
    } bayerOrders[] = {{"BayerGR", 0}, {"BayerRG", 1}, {"BayerBG", 2}, {"BayerGB", 3}};
    const ColorModelDescription* row = colorModelByType(typeID);
    if (row && row->pixelType == typeID && (typeID >> 24) == 3) {
        std::string name = row->name;
        if (name.find("Packed") != std::string::npos) {
            mode = ClrNone;
            return;
        }
        mode = ClrBayer;
        for (const auto& o : bayerOrders)
            if (name.compare(0, 7, o.prefix) == 0)
                order = o.order;
        depth = static_cast<int>(row->bitsPerChannel);
        if (name.back() == 'p')
            option = "usb";
        return;
    }

    int depthIndex = 0, position = 0;
    if (trueSensePosition(typeID, depthIndex, position)) {
        mode = ClrTrueSense;
        order = position;
        depth = 8 + 2 * depthIndex;
        return;
    }

    static const NamedType named[] = {
        {BRX_PIXEL_Mono8, ClrMono, -1},   {BRX_PIXEL_Mono10, ClrMono, -1},
        {BRX_PIXEL_Mono10p, ClrMono, -1}, {BRX_PIXEL_Mono12, ClrMono, -1},
        {BRX_PIXEL_Mono12p, ClrMono, -1}, {BRX_PIXEL_Mono14, ClrMono, -1},
        {BRX_PIXEL_Mono16, ClrMono, -1},  {BRX_PIXEL_RGB8, ClrRGB, 0},
        {BRX_PIXEL_RGB10, ClrRGB, 0},     {BRX_PIXEL_RGB12, ClrRGB, 0},
        {BRX_PIXEL_RGB14, ClrRGB, 0},     {BRX_PIXEL_RGB16, ClrRGB, 0},
        {BRX_PIXEL_BGR8, ClrRGB, 1},      {BRX_PIXEL_BGR10, ClrRGB, 1},
        {BRX_PIXEL_BGR12, ClrRGB, 1},     {BRX_PIXEL_BGR14, ClrRGB, 1},
        {BRX_PIXEL_BGR16, ClrRGB, 1},     {BRX_PIXEL_RGBa8, ClrRGBA, 0},
        {BRX_PIXEL_BGRa8, ClrRGBA, 1},    {BRX_PIXEL_YUV422_8_UYVY, ClrYUV, -1},
    };
    for (const NamedType& n : named) {
        if (n.type != typeID)
            continue;
        mode = n.mode;
        if (n.order >= 0)
            order = n.order;
        unsigned int packing = (typeID >> 8) & 0xFF;
        if (packing == 0x22 || packing == 0x23) {
            option = "usb";
            depth = packing == 0x22 ? 10 : 12;
        } else {
            depth = depthFromCode(typeID);
        }
        return;
    }
}

unsigned int PixelFormat::getTypeID() const {
    switch (mode) {
    case ClrTrueSense: {
        if (order > 17)
            return 0;
        int depthIndex = depth == 8 ? 0 : depth == 10 ? 1 : depth == 12 ? 2 : depth == 14 ? 3 : -1;
        return depthIndex < 0 ? 0 : trueSenseType(depthIndex, order);
    }
    case ClrBayer: {
        static const unsigned int k[4] = {0, 1, 3, 2};
        unsigned int step = order >= 0 && order < 4 ? k[order] : 0;
        bool usb = option == "usb";
        unsigned int bits = 0, code = 0, base = 0;
        if (depth <= 8) {
            bits = 0x00080000, code = 0x100, base = 13;
        } else if (usb) {
            if (depth != 10 && depth != 12)
                return 0x010C0000;
            bits = 0x000C0000, code = depth == 10 ? 0x2200 : 0x2300, base = depth == 10 ? 25 : 33;
        } else if (depth == 10) {
            bits = 0x00100000, code = 0x200, base = 17;
        } else if (depth == 12) {
            bits = 0x00100000, code = 0x300, base = 21;
        } else if (depth == 14) {
            bits = 0x00100000, code = 0x400, base = 41;
        } else if (depth == 16) {
            bits = 0x00100000, code = 0x500, base = 45;
        } else {
            return 0x01000000; // a depth with no Bayer row
        }
        // Family 1, not 3: the row still goes by the low byte.
        return 0x01000000 | bits | code | (base + step);
    }
    case ClrRGB: {
        const bool rgb = order == 0;
        switch (depth) {
        case 8:
            return rgb ? BRX_PIXEL_RGB8 : BRX_PIXEL_BGR8;
        case 10:
            return rgb ? BRX_PIXEL_RGB10 : BRX_PIXEL_BGR10;
        case 12:
            return rgb ? BRX_PIXEL_RGB12 : BRX_PIXEL_BGR12;
        case 14:
            return rgb ? BRX_PIXEL_RGB14 : BRX_PIXEL_BGR14;
        default:
            return rgb ? BRX_PIXEL_RGB16 : BRX_PIXEL_BGR16;
        }
    }
    case ClrRGBA:
        if (depth != 8)
            return 0;
        return order == 0 ? BRX_PIXEL_RGBa8 : BRX_PIXEL_BGRa8;
    case ClrMono: {
        const bool usb = option == "usb";
        switch (depth) {
        case 10:
            return usb ? BRX_PIXEL_Mono10p : BRX_PIXEL_Mono10;
        case 12:
            return usb ? BRX_PIXEL_Mono12p : BRX_PIXEL_Mono12;
        case 14:
            return BRX_PIXEL_Mono14;
        case 16:
            return BRX_PIXEL_Mono16;
        default:
            return BRX_PIXEL_Mono8;
        }
    }
    case ClrYUV:
        return depth == 8 && order == 0 ? BRX_PIXEL_YUV422_8_UYVY : 0;
    default:
        return 0;
    }
}

PixelFormat& PixelFormat::operator=(PixelFormat const& other) {
    if (this == &other)
        return *this;
    setTypeID(other.getTypeID());
    props.importData(const_cast<PROPERTIES*>(&other.props), 0, -1);
    return *this;
}

} // namespace QTD
