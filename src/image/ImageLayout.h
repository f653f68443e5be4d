#pragma once

// Where the bytes of a frame lie, by its pixel type. The unpacker, the controller's checks of
// what a caller declares and the tools that write and read raw frames all follow this one rule,
// so it is header-only and depends on nothing but the image record.

#include <brx/BrxImage.h>

#include <cstdint>

namespace QTD {

// USB3 Vision "p": the whole frame is one little-endian bit stream. A row that ends inside a
// byte shares it with the next row; nothing is padded.
constexpr bool isBitStream(uint32_t pixelType) {
    return (pixelType & 0xF000) == 0x2000;
}

// GigE Vision "Packed": rows back to back, each from a byte boundary, whatever the stride says.
constexpr bool isTightRows(uint32_t pixelType) {
    return (pixelType & 0xF000) == 0x1000;
}

// Storage bits of one pixel.
constexpr uint32_t pixelBits(uint32_t pixelType) {
    return (pixelType >> 16) & 0xFFu;
}

// Bytes of one row of `width` pixels, a last byte begun counted whole: 3 for 2 pixels of
// "Packed", 5 for 4 of "10p", 2 for one "12p" pixel.
constexpr uint64_t rowBytes(uint32_t pixelType, uint64_t width) {
    return (width * pixelBits(pixelType) + 7) / 8;
}

// More than any 32-bit size can hold; what the frame sizes below answer for absurd geometry.
inline constexpr uint64_t kFrameTooLarge = ~uint64_t(0);

// Bytes of pixel data a frame of `width` x `height` needs; rows `stride` apart where the format
// places its rows by the stride.
constexpr uint64_t frameBytes(uint32_t pixelType, uint64_t width, uint64_t height,
                              uint64_t stride) {
    if (width > 0xFFFFFFFFu || height > 0xFFFFFFFFu || stride > 0xFFFFFFFFu) {
        return kFrameTooLarge;
    }
    if (isBitStream(pixelType)) {
        const uint64_t pixels = width * height;
        return pixels >> 48 ? kFrameTooLarge : (pixels * pixelBits(pixelType) + 7) / 8;
    }
    if (isTightRows(pixelType)) {
        const uint64_t row = rowBytes(pixelType, width);
        return row >> 32 ? kFrameTooLarge : height * row;
    }
    return height * stride;
}

// Whether `image` declares a stride and a size that hold its width and height when its bytes
// are read as `pixelType`: a stride of at least one row, and a size of at least what the rows
// need.
constexpr bool holdsGeometry(const BrxImage& image, uint32_t pixelType) {
    return image.width != 0 && image.height != 0 && image.stride != 0 &&
           image.stride >= rowBytes(pixelType, image.width) &&
           frameBytes(pixelType, image.width, image.height, image.stride) <= image.imageSize;
}

} // namespace QTD
