#pragma once

// The image record that crosses the public interface. Its layout is fixed (96 bytes on a 64-bit
// system): applications fill it and the library reads it field by field.

#include <brx/BrxPixelTypes.h>

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// One entry of the list of user data an image carries. The entry does not own `data`.
typedef struct _BrxImageUserData {
    uint64_t kind; // holds a 32-bit value
    uint64_t id;
    uint64_t size;
    void* data;
    uint64_t reserved; // 0
    struct _BrxImageUserData* next;
} BrxImageUserData;

typedef struct _BrxImage {
    uint32_t size;           // 96 once created
    uint32_t version;        // 0, or 0x20000 for a record made by copying a format
    uint32_t pixelType;      // family, storage bits, packing, depth code, table row
    uint32_t bitsPerChannel; // significant bits of one channel
    uint32_t reserved;       // 0
    uint32_t packing;        // pixelType & 0xFF00
    uint32_t channels;       // channels of one pixel
    uint32_t bitsPerPixel;   // (pixelType >> 16) & 0xFF, storage width of one pixel
    uint32_t orientation;    // 1 for bottom-up rows
    uint32_t width;          // pixels
    uint32_t height;         // pixels, always positive
    uint32_t imageSize;      // bytes of pixel data: height * stride
    uint32_t stride;         // bytes from one row to the next
    uint32_t padding;
    uint64_t timestamp;         // from the source, carried unchanged
    uint64_t imageID;           // frame number from the source, carried unchanged
    BrxImageUserData* userData; // head of the user data list, or null
    void* imageData;            // first pixel
    void* allocatedData;        // block owned by this record, or null
} BrxImage;

#ifdef __cplusplus
}

static_assert(sizeof(void*) != 8 || sizeof(BrxImage) == 96, "BrxImage is 96 bytes");
static_assert(offsetof(BrxImage, size) == 0, "BrxImage layout");
static_assert(offsetof(BrxImage, version) == 4, "BrxImage layout");
static_assert(offsetof(BrxImage, pixelType) == 8, "BrxImage layout");
static_assert(offsetof(BrxImage, bitsPerChannel) == 12, "BrxImage layout");
static_assert(offsetof(BrxImage, reserved) == 16, "BrxImage layout");
static_assert(offsetof(BrxImage, packing) == 20, "BrxImage layout");
static_assert(offsetof(BrxImage, channels) == 24, "BrxImage layout");
static_assert(offsetof(BrxImage, bitsPerPixel) == 28, "BrxImage layout");
static_assert(offsetof(BrxImage, orientation) == 32, "BrxImage layout");
static_assert(offsetof(BrxImage, width) == 36, "BrxImage layout");
static_assert(offsetof(BrxImage, height) == 40, "BrxImage layout");
static_assert(offsetof(BrxImage, imageSize) == 44, "BrxImage layout");
static_assert(offsetof(BrxImage, stride) == 48, "BrxImage layout");
static_assert(offsetof(BrxImage, padding) == 52, "BrxImage layout");
static_assert(offsetof(BrxImage, timestamp) == 56, "BrxImage layout");
static_assert(offsetof(BrxImage, imageID) == 64, "BrxImage layout");
static_assert(sizeof(void*) != 8 || offsetof(BrxImage, userData) == 72, "BrxImage layout");
static_assert(sizeof(void*) != 8 || offsetof(BrxImage, imageData) == 80, "BrxImage layout");
static_assert(sizeof(void*) != 8 || offsetof(BrxImage, allocatedData) == 88, "BrxImage layout");
static_assert(sizeof(void*) != 8 || sizeof(BrxImageUserData) == 48, "BrxImageUserData layout");
#endif
