// Demosaicing by OpenCV: the pattern mapping, colours in their channels, and refusals.

#include "image/QTDImageHelpers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

using namespace QTDImageHelpers;

namespace {

// Unpacked mosaics in the patterns GR, RG, BG, GB, of 8 and 12 bits.
constexpr unsigned kMosaics[2][4] = {{0x0308010D, 0x0308010E, 0x03080110, 0x0308010F},
                                     {0x03100315, 0x03100316, 0x03100318, 0x03100317}};

struct Image {
    BrxImage* p;
    Image(int width, int height, unsigned type)
        : p(imageCreateImage(nullptr, width, height, type)) {}
    ~Image() { imageDelete(p); }
    BrxImage* operator->() { return p; }
};

// A flat colour (red, green, blue) sampled into a mosaic of pattern `pattern` (order above).
void fill(Image& image, int pattern, std::array<int, 3> colour) {
    static const int sites[4][4] = {{1, 0, 2, 1}, {0, 1, 1, 2}, {2, 1, 1, 0}, {1, 2, 0, 1}};
    for (unsigned y = 0; y < image->height; ++y) {
        uint8_t* row = static_cast<uint8_t*>(image->imageData) + y * image->stride;
        for (unsigned x = 0; x < image->width; ++x) {
            const int v = colour[sites[pattern][(y & 1) * 2 + (x & 1)]];
            if (image->bitsPerChannel == 8)
                row[x] = uint8_t(v);
            else
                reinterpret_cast<uint16_t*>(row)[x] = uint16_t(v);
        }
    }
}

} // namespace

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
