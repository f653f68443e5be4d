#pragma once

// Records, user data and whole-buffer transforms of BrxImage. Data functions return non-zero on
// success and 0 for a null image, a zero width or height, missing pixels or mismatched images.

#include <brx/BrxImage.h>

#include <cstddef>
#include <cstring>
#include <memory>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace QTD {
class LookupTable;
}

namespace QTDImageHelpers {

// Records. A record allocated here comes from malloc; imageDelete frees it with its data.
BrxImage* imageCreateFormat(BrxImage* image, int width, int height, unsigned int pixelType);
BrxImage* imageCopyFormat(BrxImage* target, BrxImage* source);
BrxImage* imageCreateImage(BrxImage* image, int width, int height, unsigned int pixelType);
BrxImage* imageFreeData(BrxImage* image);
void imageDelete(BrxImage* image);
double imageColorCoef(BrxImage* image, int* shift);

// Owns a record made here and deletes it with imageDelete.
struct ImageDeleter {
    void operator()(BrxImage* image) const { imageDelete(image); }
};
using ImagePtr = std::unique_ptr<BrxImage, ImageDeleter>;

// User data: a list headed by `userData`, newest first. Entries do not own what they point at.
BrxImage* imageCreateUserData(BrxImage* image, char* data, int size, int id, unsigned int kind);
BrxImageUserData* imageGetUserDataByIndex(BrxImage* image, int index);
BrxImageUserData* imageGetUserDataByID(BrxImage* image, int id);

// Data.
int dataCopy8b(BrxImage* source, BrxImage* target);
int dataCopy16b(BrxImage* source, BrxImage* target);
int dataShift16b(BrxImage* source, BrxImage* target, int shift);
int dataShift16b8b(BrxImage* source, BrxImage* target);
int dataColorize(BrxImage* source, BrxImage* target, unsigned int low, unsigned int high,
                 unsigned int colorLow, unsigned int colorHigh);
int dataSwapRgb8b(BrxImage* image, char* target);
int dataSwapRgb16b(BrxImage* image, unsigned short* target);
int dataFlip8b(BrxImage* image, char* target, bool flag);
int dataFlip16b(BrxImage* image, unsigned short* target, bool flag);
int dataMonoRgb8b(BrxImage* image, char* target, int stride);
int dataCbYCr422ToRGB8b(BrxImage* image, char* target, int stride);
int dataApplyLUT(BrxImage* image, QTD::LookupTable* table);
// Bayer mosaics by OpenCV, to RGB of the same depth. `stride` above 0 is the target's row length
// in bytes, otherwise 3 times the image's. `flags` picks OpenCV's method for 8 bits: 0 bilinear,
// 1 variable number of gradients, 2 edge-aware; 16-bit words are bilinear.
int dataDebayer8b(BrxImage* image, char* target, int stride, int flags);
int dataDebayer16b(BrxImage* image, char* target, int stride);
// The cv::cvtColor code that turns the unpacked Bayer type `pixelType` into RGB by bilinear
// interpolation, or -1 for any other type.
int PixelTypeToBayerType(unsigned int pixelType);

template <typename T>
int colorize(BrxImage* source, BrxImage* target, unsigned int low, unsigned int high,
             unsigned int colorLow, unsigned int colorHigh);
template <typename T> int dataSwapRgbChannels(BrxImage* image, T* target, int cvType);
template <typename T> int dataFlipImage(BrxImage* image, T* target, bool flag);

// Shifts `count` words left by `shift`, or right by -shift for a shift below 1, filling with
// zeros. Eight words a step, the odd ones first by Duff's device.
template <typename T> void ShiftBuffer_DuffsDevice(T* buffer, unsigned int count, int shift) {
    if (!buffer || count == 0 || shift == 0)
        return;
    const int bits = static_cast<int>(sizeof(T) * 8);
    if (shift >= bits || -shift >= bits) {
        std::memset(buffer, 0, sizeof(T) * count);
        return;
    }
    const bool left = shift > 0;
    const unsigned int by = static_cast<unsigned int>(left ? shift : -shift);
#define BRX_SHIFT_ONE(i) buffer[i] = static_cast<T>(left ? buffer[i] << by : buffer[i] >> by)
    unsigned int done = 0;
    switch (count % 8) {
    case 7:
        BRX_SHIFT_ONE(done), ++done;
        [[fallthrough]];
    case 6:
        BRX_SHIFT_ONE(done), ++done;
        [[fallthrough]];
    case 5:
        BRX_SHIFT_ONE(done), ++done;
        [[fallthrough]];
    case 4:
        BRX_SHIFT_ONE(done), ++done;
        [[fallthrough]];
    case 3:
        BRX_SHIFT_ONE(done), ++done;
        [[fallthrough]];
    case 2:
        BRX_SHIFT_ONE(done), ++done;
        [[fallthrough]];
    case 1:
        BRX_SHIFT_ONE(done), ++done;
        [[fallthrough]];
    default:
        break;
    }
#undef BRX_SHIFT_ONE
    // The rest is whole groups of eight, one vector shift each where the words are 16 bits.
    T* p = buffer + done;
    const unsigned int groups = (count - done) / 8;
#if defined(__SSE2__)
    if constexpr (sizeof(T) == 2) {
        const __m128i amount = _mm_cvtsi32_si128(static_cast<int>(by));
        __m128i* v = reinterpret_cast<__m128i*>(p);
        if (left)
            for (unsigned int g = 0; g < groups; ++g)
                _mm_storeu_si128(v + g, _mm_sll_epi16(_mm_loadu_si128(v + g), amount));
        else
            for (unsigned int g = 0; g < groups; ++g)
                _mm_storeu_si128(v + g, _mm_srl_epi16(_mm_loadu_si128(v + g), amount));
        return;
    }
#endif
    for (unsigned int g = 0; g < groups; ++g, p += 8)
        for (int i = 0; i < 8; ++i)
            p[i] = static_cast<T>(left ? p[i] << by : p[i] >> by);
}

// Copies `bytes` of each of `rows` rows; strides are in bytes. Eight rows a step, the odd ones
// first by Duff's device.
template <typename T>
void CopyBuffer_DuffsDevice(T* source, int sourceStride, T* target, int targetStride, size_t bytes,
                            int rows) {
    if (!source || !target || rows <= 0 || bytes == 0)
        return;
    const char* from = reinterpret_cast<const char*>(source);
    char* to = reinterpret_cast<char*>(target);
    int n = (rows + 7) / 8;
#define BRX_COPY_ROW() std::memcpy(to, from, bytes), from += sourceStride, to += targetStride
    switch (rows % 8) {
    case 0:
        do {
            BRX_COPY_ROW();
            [[fallthrough]];
        case 7:
            BRX_COPY_ROW();
            [[fallthrough]];
        case 6:
            BRX_COPY_ROW();
            [[fallthrough]];
        case 5:
            BRX_COPY_ROW();
            [[fallthrough]];
        case 4:
            BRX_COPY_ROW();
            [[fallthrough]];
        case 3:
            BRX_COPY_ROW();
            [[fallthrough]];
        case 2:
            BRX_COPY_ROW();
            [[fallthrough]];
        case 1:
            BRX_COPY_ROW();
        } while (--n > 0);
    }
#undef BRX_COPY_ROW
}

} // namespace QTDImageHelpers
