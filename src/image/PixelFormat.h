#pragma once

#include "core/ATTR.h"
#include "core/PROPERTIES.h"

namespace QTD {

enum ClrMode : int {
    ClrNone = 0,
    ClrMono = 1,
    ClrRGB = 2,
    ClrRGBA = 4,
    ClrBayer = 16,
    ClrTrueSense = 32,
    ClrYUV = 160,
};

// A pixel type seen as colour mode, arrangement and depth: the form in which the GPU path
// reasons about formats.
class PixelFormat {
public:
    PixelFormat(ClrMode mode = ClrNone, int depth = 0, int order = 0, char const* option = nullptr);
    explicit PixelFormat(unsigned int typeID);
    PixelFormat(PixelFormat const& other);
    virtual ~PixelFormat();

    PixelFormat& init(ClrMode mode, int depth, int order, char const* option = nullptr);
    void shut();
    bool valid() const { return mode != ClrNone; }
    int bpp() const;
    int strideFor(int width, int align = 4) const;
    int sizeFor(int width, int height, int align = 4) const;
    int shift(int bits) const { return bits - depth; }
    double scale(int bits) const;

    void setTypeID(unsigned int typeID);
    unsigned int getTypeID() const;

    PixelFormat& operator=(PixelFormat const& other);

    ClrMode mode = ClrNone;
    int order = 0;
    int depth = 0;
    ATTR option;
    PROPERTIES props;
};

} // namespace QTD
