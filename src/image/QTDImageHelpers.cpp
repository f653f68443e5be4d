#include "image/QTDImageHelpers.h"

#include "image/ColorModelDescription.h"
#include "image/LookupTable.h"

#include <QApplication>
#include <QMessageBox>
#include <QThread>
#include <log4cpp/Category.hh>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace QTDImageHelpers {

namespace {

log4cpp::Category& logger() {
    return log4cpp::Category::getInstance("BrxDisplayQt");
}

bool usable(BrxImage const* image) {
    return image && image->width && image->height && image->imageData;
}

bool sameSize(BrxImage const* a, BrxImage const* b) {
    return a->width == b->width && a->height == b->height;
}

// Rows of `rowBytes` bytes, `stride` apart, that lie wholly inside the image's pixel block.
uint64_t rowsInside(BrxImage const* image, uint64_t stride, uint64_t rowBytes) {
    uint64_t rows = image->height;
    if (rowBytes > image->imageSize)
        return 0;
    if (stride == 0)
        return rows;
    return std::min<uint64_t>(rows, (image->imageSize - rowBytes) / stride + 1);
}

bool isOneOf(unsigned int type, std::initializer_list<const char*> names) {
    for (const char* name : names)
        if (QTD::pixelTypeByName(name) == type)
            return true;
    return false;
}

bool isRgbOrBgr(unsigned int type) {
    return isOneOf(type, {"RGB8", "BGR8", "RGB10", "BGR10", "RGB12", "BGR12", "RGB14", "BGR14",
                          "RGB16", "BGR16"});
}

bool isBgr(unsigned int type) {
    return isOneOf(type, {"BGR8", "BGR10", "BGR12", "BGR14", "BGR16"});
}

// The image as an OpenCV matrix of `channels` samples of `depth` (CV_8U, CV_16U) per pixel;
// false if its rows don't fit its stride or its block.
bool wrap(BrxImage* image, void* data, int stride, int depth, int channels, cv::Mat& out) {
    const uint64_t rowBytes = uint64_t(image->width) * channels * CV_ELEM_SIZE1(depth);
    if (stride <= 0 || uint64_t(stride) < rowBytes || image->width > INT32_MAX ||
        image->height > INT32_MAX)
        return false;
    out = cv::Mat(int(image->height), int(image->width), CV_MAKETYPE(depth, channels), data,
                  size_t(stride));
    return true;
}

bool wrapSelf(BrxImage* image, int depth, int channels, cv::Mat& out) {
    return uint64_t(image->stride) * image->height <= image->imageSize &&
           wrap(image, image->imageData, int(image->stride), depth, channels, out);
}

void failed(const char* what) {
    logger().debug("QTDImageHelpers::%s: refused", what);
}

} // namespace

// ---- Records ------------------------------------------------------------------------------

BrxImage* imageCreateFormat(BrxImage* image, int width, int height, unsigned int pixelType) {
    const bool own = image == nullptr;
    if (own)
        image = static_cast<BrxImage*>(std::malloc(sizeof(BrxImage)));
    if (!image)
        return nullptr;
    std::memset(image, 0, sizeof(BrxImage));

    // Only the low byte picks the row; the rest of the word is not checked against it.
    const unsigned int row = (pixelType & 0xFF) - 1;
    const ColorModelDescription* model =
        row < unsigned(kColorModelCount) ? &s_colorModelDescription[row] : nullptr;
    const uint64_t absHeight = height < 0 ? -int64_t(height) : int64_t(height);
    const unsigned int bitsPerPixel = (pixelType >> 16) & 0xFF;
    const uint64_t stride = ((uint64_t(width < 0 ? 0 : width) * bitsPerPixel + 31) >> 3) & ~3ull;
    if (!model || pixelType == 0 || width < 0 || stride * absHeight > UINT32_MAX) {
        if (own)
            std::free(image);
        return nullptr;
    }
    image->size = sizeof(BrxImage);
    image->pixelType = pixelType;
    image->bitsPerChannel = model->bitsPerChannel;
    image->channels = model->channels;
    image->packing = pixelType & 0xFF00;
    image->bitsPerPixel = bitsPerPixel;
    image->orientation = height < 0 ? 1 : 0;
    image->width = uint32_t(width);
    image->height = uint32_t(absHeight);
    image->stride = uint32_t(stride);
    image->imageSize = uint32_t(stride * absHeight);
    return image;
}

BrxImage* imageCopyFormat(BrxImage* target, BrxImage* source) {
    if (!target) {
        target = static_cast<BrxImage*>(std::malloc(sizeof(BrxImage)));
        if (!target)
            return nullptr;
        std::memset(target, 0, sizeof(BrxImage));
        target->version = 0x20000;
    }
    if (!source)
        return target;
    std::memset(target, 0, sizeof(BrxImage));
    // Everything up to and including the user data list, which is then shared.
    std::memcpy(target, source, offsetof(BrxImage, imageData));
    target->size = sizeof(BrxImage);
    target->imageData = nullptr;
    target->allocatedData = nullptr;
    return target;
}

BrxImage* imageCreateImage(BrxImage* image, int width, int height, unsigned int pixelType) {
    const bool own = image == nullptr;
    BrxImage* created = imageCreateFormat(image, width, height, pixelType);
    if (!created || created->imageSize == 0)
        return created;
    void* block = std::calloc(1, created->imageSize);
    if (!block) {
        logger().error("imageCreateImage: no memory for %u bytes", created->imageSize);
        if (qApp && QThread::currentThread() == qApp->thread())
            QMessageBox::critical(nullptr, "Error", "Not enough memory");
        if (own)
            std::free(created);
        return nullptr;
    }
    created->imageData = block;
    created->allocatedData = block;
    return created;
}

BrxImage* imageFreeData(BrxImage* image) {
    if (!image)
        return image;
    std::free(image->allocatedData);
    image->allocatedData = nullptr;
    image->imageData = nullptr;
    BrxImageUserData* entry = image->userData;
    while (entry) {
        BrxImageUserData* next = entry->next;
        delete entry;
        entry = next;
    }
    image->userData = nullptr;
    return image;
}

void imageDelete(BrxImage* image) {
    if (!image)
        return;
    imageFreeData(image);
    std::free(image);
}

double imageColorCoef(BrxImage* image, int* shift) {
    if (image && image->bitsPerChannel != 8) {
        int bits = 16 - int(image->bitsPerChannel);
        if (shift)
            *shift = bits;
        return std::ldexp(1.0, bits);
    }
    if (shift)
        *shift = 0;
    return 1.0;
}

BrxImage* imageCreateUserData(BrxImage* image, char* data, int size, int id, unsigned int kind) {
    if (!image)
        return image;
    BrxImageUserData* entry = new BrxImageUserData();
    entry->kind = kind;
    entry->id = uint64_t(int64_t(id));
    entry->size = uint64_t(int64_t(size));
    entry->data = data;
    entry->reserved = 0;
    entry->next = image->userData;
    image->userData = entry;
    return image;
}

BrxImageUserData* imageGetUserDataByIndex(BrxImage* image, int index) {
    if (!image)
        return nullptr;
    BrxImageUserData* entry = image->userData;
    for (int i = 0; i < index && entry; ++i)
        entry = entry->next;
    return entry;
}

BrxImageUserData* imageGetUserDataByID(BrxImage* image, int id) {
    if (!image)
        return nullptr;
    for (BrxImageUserData* entry = image->userData; entry; entry = entry->next)
        if (entry->id == uint64_t(int64_t(id)))
            return entry;
    return nullptr;
}

// ---- Data ---------------------------------------------------------------------------------

int dataCopy8b(BrxImage* source, BrxImage* target) {
    if (!usable(source) || !usable(target) || !sameSize(source, target)) {
        failed("dataCopy");
        return 0;
    }
    if (source->stride == target->stride) {
        std::memcpy(target->imageData, source->imageData,
                    std::min(source->imageSize, target->imageSize));
        return 1;
    }
    const uint64_t bytes = std::min(source->stride, target->stride);
    const uint64_t rows = std::min(rowsInside(source, source->stride, bytes),
                                   rowsInside(target, target->stride, bytes));
    CopyBuffer_DuffsDevice(static_cast<char*>(source->imageData), int(source->stride),
                           static_cast<char*>(target->imageData), int(target->stride),
                           size_t(bytes), int(rows));
    return 1;
}

int dataCopy16b(BrxImage* source, BrxImage* target) {
    return dataCopy8b(source, target);
}

int dataShift16b(BrxImage* source, BrxImage* target, int shift) {
    if (!usable(source))
        return 0;
    if (target) {
        if (!usable(target) || !sameSize(source, target) || target->imageSize != source->imageSize)
            return 0;
        if (shift == 0)
            shift = int(target->bitsPerChannel) - int(source->bitsPerChannel);
        // Copy, then shift the copy, a cache-sized piece at a time so that each piece is
        // shifted while it is still at hand.
        constexpr size_t piece = 32768;
        const uint8_t* from = static_cast<const uint8_t*>(source->imageData);
        uint8_t* to = static_cast<uint8_t*>(target->imageData);
        for (size_t at = 0; at < source->imageSize; at += piece) {
            const size_t n = std::min<size_t>(piece, source->imageSize - at);
            std::memcpy(to + at, from + at, n);
            if (shift != 0)
                ShiftBuffer_DuffsDevice(reinterpret_cast<uint16_t*>(to + at), unsigned(n / 2),
                                        shift);
        }
        return 1;
    }
    BrxImage* work = source;
    if (shift == 0)
        return 1;
    ShiftBuffer_DuffsDevice(static_cast<uint16_t*>(work->imageData), work->imageSize / 2, shift);
    return 1;
}

int dataShift16b8b(BrxImage* source, BrxImage* target) {
    if (!usable(source) || !usable(target) || !sameSize(source, target) ||
        source->bitsPerChannel <= 8 || target->bitsPerChannel != 8) {
        failed("dataShift16b8b");
        return 0;
    }
    if (!dataShift16b(source, nullptr, 8 - int(source->bitsPerChannel)))
        return 0;
    // One byte per word; a word that still holds more than 8 bits saturates.
    const uint64_t samples = uint64_t(source->width) * std::max(1u, source->channels);
    const uint64_t count = std::min<uint64_t>({samples, source->stride / 2, target->stride});
    const uint64_t rows = std::min(rowsInside(source, source->stride, count * 2),
                                   rowsInside(target, target->stride, count));
    for (uint64_t row = 0; row < rows; ++row) {
        const uint16_t* in = reinterpret_cast<const uint16_t*>(
            static_cast<const char*>(source->imageData) + row * source->stride);
        uint8_t* out = static_cast<uint8_t*>(target->imageData) + row * target->stride;
        for (uint64_t i = 0; i < count; ++i)
            out[i] = uint8_t(std::min<uint16_t>(in[i], 255));
    }
    return 1;
}

template <typename T>
int colorize(BrxImage* source, BrxImage* target, unsigned int low, unsigned int high,
             unsigned int colorLow, unsigned int colorHigh) {
    if (!usable(source) || !usable(target))
        return 0;
    if (isBgr(target->pixelType)) {
        auto swap = [](unsigned int c) {
            return (c & 0xFF00FF00u) | (c & 0xFF) << 16 | ((c >> 16) & 0xFF);
        };
        colorLow = swap(colorLow);
        colorHigh = swap(colorHigh);
    }
    const uint8_t lo[3] = {uint8_t(colorLow), uint8_t(colorLow >> 8), uint8_t(colorLow >> 16)};
    const uint8_t hi[3] = {uint8_t(colorHigh), uint8_t(colorHigh >> 8), uint8_t(colorHigh >> 16)};
    const bool sum = isRgbOrBgr(source->pixelType);
    const uint64_t step = std::max<uint64_t>(1, source->bitsPerPixel / (8 * sizeof(T)));
    const uint64_t width = std::min(source->width, target->width);
    const uint64_t inBytes = (width - 1) * step * sizeof(T) + (sum ? 3 : 1) * sizeof(T);
    const uint64_t rows = std::min(rowsInside(source, source->stride, inBytes),
                                   rowsInside(target, target->stride, width * 3));
    for (uint64_t row = 0; row < rows; ++row) {
        const T* in = reinterpret_cast<const T*>(static_cast<const char*>(source->imageData) +
                                                 row * source->stride);
        uint8_t* out = static_cast<uint8_t*>(target->imageData) + row * target->stride;
        for (uint64_t x = 0; x < width; ++x, in += step, out += 3) {
            // The sum of three channels is kept in a signed 16-bit value.
            const int64_t level = sum ? int64_t(int16_t(in[0] + in[1] + in[2])) : int64_t(in[0]);
            const uint8_t* color = level < int64_t(low) ? lo : level > int64_t(high) ? hi : nullptr;
            if (color)
                out[0] = color[0], out[1] = color[1], out[2] = color[2];
        }
    }
    return 1;
}

template int colorize<unsigned char>(BrxImage*, BrxImage*, unsigned int, unsigned int, unsigned int,
                                     unsigned int);
template int colorize<unsigned short>(BrxImage*, BrxImage*, unsigned int, unsigned int,
                                      unsigned int, unsigned int);

int dataColorize(BrxImage* source, BrxImage* target, unsigned int low, unsigned int high,
                 unsigned int colorLow, unsigned int colorHigh) {
    if (!usable(source) || !usable(target) || target->bitsPerChannel != 8) {
        failed("dataColorize");
        return 0;
    }
    if (source->bitsPerChannel == 8)
        return colorize<unsigned char>(source, target, low, high, colorLow, colorHigh);
    return colorize<unsigned short>(source, target, low, high, colorLow, colorHigh);
}

template <typename T> int dataSwapRgbChannels(BrxImage* image, T* target, int cvType) {
    cv::Mat in;
    if (!usable(image) || !wrapSelf(image, CV_MAT_DEPTH(cvType), 3, in)) {
        failed("dataSwapRgb");
        return 0;
    }
    const int pairs[] = {0, 2, 1, 1, 2, 0};
    if (!target || static_cast<void*>(target) == image->imageData) {
        cv::Mat swapped(in.size(), in.type());
        cv::mixChannels(&in, 1, &swapped, 1, pairs, 3);
        swapped.copyTo(in);
        return 1;
    }
    cv::Mat out(in.rows, in.cols, in.type(), target, in.step);
    cv::mixChannels(&in, 1, &out, 1, pairs, 3);
    return 1;
}

template int dataSwapRgbChannels<char>(BrxImage*, char*, int);
template int dataSwapRgbChannels<unsigned short>(BrxImage*, unsigned short*, int);

int dataSwapRgb8b(BrxImage* image, char* target) {
    return dataSwapRgbChannels<char>(image, target, CV_8UC3);
}

int dataSwapRgb16b(BrxImage* image, unsigned short* target) {
    return dataSwapRgbChannels<unsigned short>(image, target, CV_16UC3);
}

// A clear flag flips top to bottom, whole rows as they are stored; a set flag flips left to
// right, pixel by pixel.
template <typename T> int dataFlipImage(BrxImage* image, T* target, bool flag) {
    if (!usable(image) || image->stride < sizeof(T) || image->height > INT32_MAX ||
        uint64_t(image->stride) * image->height > image->imageSize) {
        failed("dataFlip");
        return 0;
    }
    const int depth = sizeof(T) == 1 ? CV_8U : CV_16U;
    cv::Mat in;
    if (!flag) {
        // Whole rows, so the channel count doesn't matter.
        in = cv::Mat(int(image->height), int(image->stride / sizeof(T)), CV_MAKETYPE(depth, 1),
                     image->imageData, image->stride);
    } else {
        const int channels = std::clamp(int(image->bitsPerPixel / (8 * sizeof(T))), 1, CV_CN_MAX);
        if (!wrapSelf(image, depth, channels, in)) {
            failed("dataFlip");
            return 0;
        }
    }
    if (!target || static_cast<void*>(target) == image->imageData) {
        cv::Mat flipped;
        cv::flip(in, flipped, flag ? 1 : 0);
        flipped.copyTo(in);
        return 1;
    }
    cv::Mat out(in.rows, in.cols, in.type(), target, in.step);
    cv::flip(in, out, flag ? 1 : 0);
    return 1;
}

template int dataFlipImage<char>(BrxImage*, char*, bool);
template int dataFlipImage<unsigned short>(BrxImage*, unsigned short*, bool);

int dataFlip8b(BrxImage* image, char* target, bool flag) {
    return dataFlipImage<char>(image, target, flag);
}

int dataFlip16b(BrxImage* image, unsigned short* target, bool flag) {
    return dataFlipImage<unsigned short>(image, target, flag);
}

int dataMonoRgb8b(BrxImage* image, char* target, int stride) {
    cv::Mat in, out;
    if (!usable(image) || !target || !wrapSelf(image, CV_8U, 1, in) ||
        !wrap(image, target, stride > 0 ? stride : int(image->stride) * 3, CV_8U, 3, out)) {
        failed("dataMonoRgb8b");
        return 0;
    }
    cv::cvtColor(in, out, cv::COLOR_GRAY2BGR);
    return 1;
}

int dataCbYCr422ToRGB8b(BrxImage* image, char* target, int stride) {
    cv::Mat in, out;
    if (!usable(image) || !target || (image->width & 1) || !wrapSelf(image, CV_8U, 2, in) ||
        !wrap(image, target, stride > 0 ? stride : int(image->width) * 3, CV_8U, 3, out)) {
        failed("dataCbYCr422ToRGB8b");
        return 0;
    }
    cv::cvtColor(in, out, cv::COLOR_YUV2RGB_UYVY);
    return 1;
}

namespace {

// Deep images: a word past the table takes its last entry.
int applyLUT16(BrxImage* image, QTD::LookupTable* table, int channels) {
    const int entries = table->entries;
    std::vector<uint16_t> lut(size_t(channels) * (entries + 1));
    for (int c = 0; c < channels; ++c) {
        const int* values = table->values[c < table->channels ? c : 0];
        for (int i = 0; i <= entries; ++i)
            lut[size_t(c) * (entries + 1) + i] = uint16_t(std::clamp(values[i], 0, 65535));
    }
    const uint64_t samples = uint64_t(image->width) * channels;
    const uint64_t rows = rowsInside(image, image->stride, samples * 2);
    for (uint64_t row = 0; row < rows; ++row) {
        uint16_t* p =
            reinterpret_cast<uint16_t*>(static_cast<char*>(image->imageData) + row * image->stride);
        for (uint64_t x = 0; x < image->width; ++x, p += channels)
            for (int c = 0; c < channels; ++c)
                p[c] = lut[size_t(c) * (entries + 1) + std::min<int>(p[c], entries)];
    }
    return 1;
}

// One row of 8-bit pixels of N channels, four pixels a step: the loads of a step go ahead of its
// stores, so the lookups overlap. Faster than cv::LUT with a table per channel, same result.
template <int N> void applyLUT8(uint8_t* p, uint64_t pixels, const uint8_t (*tables)[256]) {
    uint64_t x = 0;
    for (; x + 4 <= pixels; x += 4, p += 4 * N) {
        uint8_t out[4 * N];
        for (int i = 0; i < 4 * N; ++i)
            out[i] = tables[i % N][p[i]];
        std::memcpy(p, out, 4 * N);
    }
    for (; x < pixels; ++x, p += N)
        for (int c = 0; c < N; ++c)
            p[c] = tables[c][p[c]];
}

} // namespace

// Each channel of the image goes through the table's channel of the same index; a table with
// fewer channels than the image applies its first channel to all.
int dataApplyLUT(BrxImage* image, QTD::LookupTable* table) {
    if (!usable(image) || !table || table->entries <= 0 || !table->values[0]) {
        failed("dataApplyLUT");
        return 0;
    }
    const int channels = std::clamp(int(image->channels), 1, 4);
    for (int c = 0; c < std::min(channels, table->channels); ++c)
        if (!table->values[c])
            return 0;
    if (image->bitsPerChannel > 8) {
        if (image->bitsPerPixel < 16u * channels)
            return 0;
        return applyLUT16(image, table, channels);
    }
    if (image->bitsPerPixel < 8u * channels) {
        failed("dataApplyLUT");
        return 0;
    }
    uint8_t tables[4][256];
    for (int c = 0; c < channels; ++c) {
        const int* values = table->values[c < table->channels ? c : 0];
        for (int i = 0; i < 256; ++i)
            tables[c][i] = uint8_t(std::clamp(values[i], 0, 255));
    }
    const uint64_t pixelBytes = image->bitsPerPixel / 8;
    const uint64_t rows = rowsInside(image, image->stride, image->width * pixelBytes);
    for (uint64_t row = 0; row < rows; ++row) {
        uint8_t* p = static_cast<uint8_t*>(image->imageData) + row * image->stride;
        if (pixelBytes == uint64_t(channels) && channels == 3)
            applyLUT8<3>(p, image->width, tables);
        else if (pixelBytes == uint64_t(channels) && channels == 4)
            applyLUT8<4>(p, image->width, tables);
        else if (pixelBytes == 1)
            applyLUT8<1>(p, image->width, tables);
        else
            for (uint64_t x = 0; x < image->width; ++x, p += pixelBytes)
                for (int c = 0; c < channels; ++c)
                    p[c] = tables[c][p[c]];
    }
    return 1;
}

// OpenCV names a mosaic by the colours at its second row and column, so each pattern is shifted
// by one site diagonally: the camera's RG is OpenCV's BG.
int PixelTypeToBayerType(unsigned int pixelType) {
    switch (pixelType) {
    case BRX_PIXEL_BayerGR8:
    case BRX_PIXEL_BayerGR10:
    case BRX_PIXEL_BayerGR12:
    case BRX_PIXEL_BayerGR14:
    case BRX_PIXEL_BayerGR16:
        return cv::COLOR_BayerGB2RGB;
    case BRX_PIXEL_BayerRG8:
    case BRX_PIXEL_BayerRG10:
    case BRX_PIXEL_BayerRG12:
    case BRX_PIXEL_BayerRG14:
    case BRX_PIXEL_BayerRG16:
        return cv::COLOR_BayerBG2RGB;
    case BRX_PIXEL_BayerGB8:
    case BRX_PIXEL_BayerGB10:
    case BRX_PIXEL_BayerGB12:
    case BRX_PIXEL_BayerGB14:
    case BRX_PIXEL_BayerGB16:
        return cv::COLOR_BayerGR2RGB;
    case BRX_PIXEL_BayerBG8:
    case BRX_PIXEL_BayerBG10:
    case BRX_PIXEL_BayerBG12:
    case BRX_PIXEL_BayerBG14:
    case BRX_PIXEL_BayerBG16:
        return cv::COLOR_BayerRG2RGB;
    default:
        return -1;
    }
}

namespace {

// The method variant of a bilinear code; -1 for an unknown method.
int bayerMethod(int code, int flags) {
    struct Variants {
        int bilinear, vng, ea;
    };
    static const Variants variants[] = {
        {cv::COLOR_BayerBG2RGB, cv::COLOR_BayerBG2RGB_VNG, cv::COLOR_BayerBG2RGB_EA},
        {cv::COLOR_BayerGB2RGB, cv::COLOR_BayerGB2RGB_VNG, cv::COLOR_BayerGB2RGB_EA},
        {cv::COLOR_BayerRG2RGB, cv::COLOR_BayerRG2RGB_VNG, cv::COLOR_BayerRG2RGB_EA},
        {cv::COLOR_BayerGR2RGB, cv::COLOR_BayerGR2RGB_VNG, cv::COLOR_BayerGR2RGB_EA},
    };
    for (const Variants& v : variants)
        if (v.bilinear == code)
            return flags == 0 ? v.bilinear : flags == 1 ? v.vng : flags == 2 ? v.ea : -1;
    return -1;
}

int debayer(BrxImage* image, char* target, int stride, int flags, bool deep, const char* what) {
    cv::Mat in, out;
    const int depth = deep ? CV_16U : CV_8U;
    // OpenCV's demosaicing wants a 2 x 2 cell at least.
    const int code = usable(image) && image->width >= 2 && image->height >= 2 &&
                             (image->bitsPerChannel > 8) == deep
                         ? bayerMethod(PixelTypeToBayerType(image->pixelType), flags)
                         : -1;
    if (code < 0 || !target) {
        failed(what);
        return 0;
    }
    const int64_t targetStride = stride > 0 ? stride : int64_t(image->stride) * 3;
    // Rows of words start on whole words.
    const bool aligned = !deep || ((image->stride | targetStride) & 1) == 0;
    if (!aligned || targetStride > INT32_MAX || !wrapSelf(image, depth, 1, in) ||
        !wrap(image, target, int(targetStride), depth, 3, out)) {
        failed(what);
        return 0;
    }
    cv::cvtColor(in, out, code);
    return 1;
}

} // namespace

int dataDebayer8b(BrxImage* image, char* target, int stride, int flags) {
    return debayer(image, target, stride, flags, false, "dataDebayer8b");
}

int dataDebayer16b(BrxImage* image, char* target, int stride) {
    return debayer(image, target, stride, 0, true, "dataDebayer16b");
}

} // namespace QTDImageHelpers
