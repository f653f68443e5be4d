#include "image/LookupTable.h"
#include "image/QTDImageHelpers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

using namespace QTDImageHelpers;

namespace {

constexpr unsigned kMono8 = 0x01080101, kMono12 = 0x01100306, kMono16 = 0x0110050B;
constexpr unsigned kRGB8 = 0x02180171, kRGB16 = 0x0230057B;
// Unpacked mosaics in the patterns GR, RG, BG, GB, of 8 and 12 bits.
constexpr unsigned kMosaics[2][4] = {{0x0308010D, 0x0308010E, 0x03080110, 0x0308010F},
                                     {0x03100315, 0x03100316, 0x03100318, 0x03100317}};

// A record with its own pixels, freed at the end of the test.
struct Image {
    BrxImage* p;
    Image(int width, int height, unsigned type)
        : p(imageCreateImage(nullptr, width, height, type)) {}
    ~Image() { imageDelete(p); }
    template <typename T> T* row(unsigned r) {
        return reinterpret_cast<T*>(static_cast<uint8_t*>(p->imageData) + r * p->stride);
    }
    BrxImage* operator->() { return p; }
};

// A flat colour (red, green, blue) sampled into a mosaic of pattern `pattern` (order above).
void fill(Image& image, int pattern, std::array<int, 3> colour) {
    static const int sites[4][4] = {{1, 0, 2, 1}, {0, 1, 1, 2}, {2, 1, 1, 0}, {1, 2, 0, 1}};
    for (unsigned i = 0; i < image->width * image->height; ++i) {
        const unsigned x = i % image->width, y = i / image->width;
        const int v = colour[sites[pattern][(y & 1) * 2 + (x & 1)]];
        if (image->bitsPerChannel == 8)
            image.row<uint8_t>(y)[x] = uint8_t(v);
        else
            image.row<uint16_t>(y)[x] = uint16_t(v);
    }
}

} // namespace

TEST(ImageRecords, CreateFormatPadsRowsAndRefusesUnknownTypes) {
    BrxImage local;
    std::memset(&local, 0xAB, sizeof(local));
    ASSERT_EQ(&local, imageCreateFormat(&local, 101, 2, kMono8));
    EXPECT_EQ(104u, local.stride);
    ASSERT_EQ(&local, imageCreateFormat(&local, 3, 1, kRGB16));
    EXPECT_EQ(20u, local.stride); // 3 * 48 bits = 18 bytes, padded to 20

    // Only the low byte picks a row; 0 and rows past the table give null, and leave a caller's
    // record cleared.
    EXPECT_EQ(nullptr, imageCreateFormat(&local, 10, 10, 0x01080100));
    EXPECT_EQ(0u, local.width);
    EXPECT_EQ(nullptr, imageCreateFormat(nullptr, 10, 10, 0x01080186));
}

// Every remainder of the unrolled loops.
TEST(ImageData, CopyAndShiftBuffersCoverEveryCount) {
    for (unsigned count = 0; count <= 19; ++count) {
        std::vector<uint8_t> from(count * 8), to(count * 12, 0);
        std::iota(from.begin(), from.end(), 1);
        CopyBuffer_DuffsDevice(from.data(), 8, to.data(), 12, 5, int(count));
        for (unsigned r = 0; r < count; ++r)
            for (unsigned c = 0; c < 12; ++c)
                ASSERT_EQ(c < 5 ? from[r * 8 + c] : 0, to[r * 12 + c]) << count << " " << r;

        std::vector<uint16_t> v(count + 1, 0xF0F0);
        ShiftBuffer_DuffsDevice(v.data(), count, 4);
        for (unsigned i = 0; i < count; ++i)
            ASSERT_EQ(0x0F00, v[i]);
        EXPECT_EQ(0xF0F0, v[count]); // nothing past the count
        ShiftBuffer_DuffsDevice(v.data(), count, -8);
        for (unsigned i = 0; i < count; ++i)
            ASSERT_EQ(0x000F, v[i]); // zeros come in from the top
    }
    std::vector<uint16_t> v(3, 0xFFFF);
    ShiftBuffer_DuffsDevice(v.data(), 3, 16);
    EXPECT_EQ(0, v[2]);
}

TEST(ImageData, ShiftsInPlaceAndOverAFrameOfSeveralPieces) {
    Image source(4, 2, kMono12), wrong(4, 3, kMono16);
    source.row<uint16_t>(0)[0] = 0x0ABC;
    ASSERT_EQ(1, dataShift16b(source.p, nullptr, -4)); // in place
    EXPECT_EQ(0x00AB, source.row<uint16_t>(0)[0]);
    EXPECT_EQ(0, dataShift16b(source.p, wrong.p, 0));

    Image big(301, 101, kMono12), bigOut(301, 101, kMono16);
    uint16_t* words = static_cast<uint16_t*>(big->imageData);
    for (uint32_t i = 0; i < big->imageSize / 2; ++i)
        words[i] = uint16_t(i * 7919 & 0x0FFF);
    ASSERT_EQ(1, dataShift16b(big.p, bigOut.p, 0));
    const uint16_t* shifted = static_cast<const uint16_t*>(bigOut->imageData);
    for (uint32_t i = 0; i < big->imageSize / 2; ++i)
        ASSERT_EQ(uint16_t(words[i] << 4), shifted[i]) << i;
}

TEST(ImageData, FlipAndMonoToRgb) {
    Image rgb(2, 2, kRGB8);
    for (unsigned r = 0; r < 2; ++r)
        for (unsigned i = 0; i < 6; ++i)
            rgb.row<uint8_t>(r)[i] = uint8_t(r * 10 + i);
    ASSERT_EQ(1, dataFlip8b(rgb.p, nullptr, true)); // left to right, whole pixels
    EXPECT_EQ(3, rgb.row<uint8_t>(0)[0]);
    // Mono to RGB is checked through the CPU image stage; rows too short for the pixels fail.
    Image mono(3, 2, kMono8);
    std::vector<char> wide(2 * 12, 0);
    EXPECT_EQ(0, dataMonoRgb8b(mono.p, wide.data(), 5));
}

// Per-channel tables on 8-bit colour are checked through the colour correction stage. Deep
// images: words past the table take its last entry.
TEST(ImageData, ApplyLutToDeepImages) {
    QTD::LookupTable deep(4096, 1);
    deep.gain[0] = 0.5;
    deep.calc();
    Image mono(2, 1, kMono12);
    uint16_t* m = mono.row<uint16_t>(0);
    m[0] = 100, m[1] = 60000;
    ASSERT_EQ(1, dataApplyLUT(mono.p, &deep));
    EXPECT_EQ(50, m[0]);
    EXPECT_EQ(2048, m[1]);
    EXPECT_EQ(0, dataApplyLUT(mono.p, nullptr));
}

// Records whose declared block is shorter than their rows: nothing is read or written past the
// block (checked under AddressSanitizer, the blocks being exactly as long as declared).
TEST(ImageData, ShortBlocksStayInside) {
    auto shortImage = [](unsigned type, std::vector<uint8_t>& block) {
        BrxImage image{};
        imageCreateFormat(&image, 16, 8, type);
        block.assign(image.imageSize / 2 + 3, 1);
        image.imageSize = uint32_t(block.size());
        image.imageData = block.data();
        return image;
    };
    std::vector<uint8_t> a, b, c;
    BrxImage mono8 = shortImage(kMono8, a);
    BrxImage rgb8 = shortImage(kRGB8, b);
    BrxImage mono12 = shortImage(kMono12, c);
    Image full8(16, 8, kMono8), fullRgb(16, 8, kRGB8), full12(16, 8, kMono12);

    EXPECT_EQ(1, dataCopy8b(full8.p, &mono8)); // rows that fit
    full12->stride += 2;
    EXPECT_EQ(1, dataCopy16b(&mono12, full12.p));
    EXPECT_EQ(1, dataShift16b8b(&mono12, &mono8));
    EXPECT_EQ(1, dataColorize(&mono12, &rgb8, 1, 2, 3, 4));
    QTD::LookupTable table(256, 3), deep(4096, 1);
    EXPECT_EQ(1, dataApplyLUT(&rgb8, &table));
    EXPECT_EQ(1, dataApplyLUT(&mono12, &deep));
    // Whole-image OpenCV calls need the whole block.
    EXPECT_EQ(0, dataFlip8b(&rgb8, nullptr, false));
    EXPECT_EQ(0, dataSwapRgb8b(&rgb8, nullptr));
    std::vector<char> out(16 * 8 * 3);
    EXPECT_EQ(0, dataMonoRgb8b(&mono8, out.data(), 48));
    mono8.stride = 0;
    EXPECT_EQ(0, dataFlip8b(&mono8, nullptr, false));
    EXPECT_EQ(1, dataShift16b(&mono12, nullptr, 2)); // in place, over the declared size
}

// Demosaicing by OpenCV: the pattern mapping, colours in their channels, and refusals.
TEST(ImageDebayer, FlatColoursComeOutAsRgbForEveryPatternAndMethod) {
    const std::array<int, 3> colour = {210, 95, 20};
    for (int pattern = 0; pattern < 4; ++pattern) {
        for (int flags = 0; flags < 3; ++flags) {
            Image in(12, 8, kMosaics[0][pattern]);
            fill(in, pattern, colour);
            std::vector<uint8_t> out(12 * 3 * 8, 0);
            ASSERT_EQ(dataDebayer8b(in.p, reinterpret_cast<char*>(out.data()), 36, flags), 1);
            int bad = 0;
            for (size_t i = 0; i < out.size(); ++i) {
                bad += std::abs(int(out[i]) - colour[i % 3]) > 1;
            }
            EXPECT_EQ(bad, 0) << "pattern " << pattern << " flags " << flags;
        }
        // Deep mosaics keep their depth; target rows padded beyond their 60 bytes keep the
        // padding untouched.
        const std::array<int, 3> deep = {4000, 1500, 70};
        Image in(10, 6, kMosaics[1][pattern]);
        fill(in, pattern, deep);
        std::vector<uint16_t> out(32 * 6, 0xBEEF);
        ASSERT_EQ(dataDebayer16b(in.p, reinterpret_cast<char*>(out.data()), 64), 1);
        for (unsigned y = 0; y < 6; ++y) {
            for (unsigned x = 0; x < 10; ++x)
                for (int c = 0; c < 3; ++c)
                    ASSERT_EQ(out[y * 32 + x * 3 + c], deep[c]) << x << "," << y;
            EXPECT_EQ(out[y * 32 + 30], 0xBEEF);
        }
    }
}

TEST(ImageDebayer, RefusalsReturnZero) {
    // Only unpacked mosaics have a code.
    for (unsigned other :
         {0u, 0x01080101u /* Mono8 */, 0x030C2323u /* BayerRG12p */, 0x04080131u /* TrueSense */})
        EXPECT_EQ(PixelTypeToBayerType(other), -1) << std::hex << other;
    Image in8(8, 4, kMosaics[0][1]);
    Image in12(8, 4, kMosaics[1][1]);
    std::vector<char> out(8 * 4 * 6 * 4);
    EXPECT_EQ(dataDebayer8b(in8.p, nullptr, 0, 0), 0);
    EXPECT_EQ(dataDebayer8b(in8.p, out.data(), 0, 3), 0);  // no such method
    EXPECT_EQ(dataDebayer8b(in12.p, out.data(), 0, 0), 0); // words, not bytes
    EXPECT_EQ(dataDebayer16b(in12.p, out.data(), 49), 0);  // rows of words on odd bytes
    EXPECT_EQ(dataDebayer8b(in8.p, out.data(), 23, 0), 0); // shorter than a row
    // A record whose block is shorter than its rows.
    in8->imageSize = in8->stride * 2;
    EXPECT_EQ(dataDebayer8b(in8.p, out.data(), 0, 0), 0);
}
