#include "image/BrxImageUnpack.h"
#include "image/ImageLayout.h"
#include "image/QTDImageHelpers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

using namespace QTDImageHelpers;

namespace {

constexpr unsigned kMono10p = 0x010A2203, kMono12p = 0x010C2307;
constexpr unsigned kMono10Packed = 0x010C1204, kMono12Packed = 0x010C1308;
constexpr unsigned kMono10 = 0x01100202, kMono12 = 0x01100306, kMono8 = 0x01080101;

// A packed source over a buffer of exactly `bytes`, so that any read past it shows under
// AddressSanitizer.
struct Source {
    std::vector<uint8_t> data;
    BrxImage image{};
    Source(unsigned type, unsigned width, unsigned height, std::vector<uint8_t> bytes)
        : data(std::move(bytes)) {
        imageCreateFormat(&image, int(width), int(height), type);
        image.imageData = data.empty() ? nullptr : data.data();
        image.imageSize = uint32_t(data.size());
    }
};

// An output record with no pixels yet: the unpacker allocates them.
struct Target {
    BrxImage image{};
    explicit Target(unsigned type, unsigned width, unsigned height) {
        imageCreateFormat(&image, int(width), int(height), type);
    }
    ~Target() { imageFreeData(&image); }
    uint32_t at(unsigned row, unsigned col, uint64_t rowStep, bool bytes) const {
        const uint8_t* p = static_cast<const uint8_t*>(image.imageData) + row * rowStep;
        return bytes ? p[col] : reinterpret_cast<const uint16_t*>(p)[col];
    }
};

uint64_t stride16(uint64_t width) {
    return ((width * 16 + 31) >> 3) & ~3ull;
}

std::vector<uint8_t> randomBytes(size_t n, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<uint8_t> v(n);
    for (auto& b : v)
        b = uint8_t(rng());
    return v;
}

// `bits` bits of a little-endian bit stream from `firstBit` on; zero past the end.
unsigned streamValue(const std::vector<uint8_t>& bytes, uint64_t firstBit, unsigned bits) {
    unsigned v = 0;
    for (uint64_t k = firstBit; k < firstBit + bits; ++k)
        v |= (k / 8 < bytes.size() ? (bytes[k / 8] >> (k % 8)) & 1u : 0u) << (k - firstBit);
    return v;
}

// GigE Vision Packed, straight from its table: pixel `col` of a row starting at `row`.
unsigned gevValue(const std::vector<uint8_t>& bytes, uint64_t row, unsigned col, unsigned bits) {
    auto byte = [&](uint64_t i) -> unsigned { return i < bytes.size() ? bytes[i] : 0; };
    uint64_t g = row + (col / 2) * 3;
    unsigned mask = bits == 10 ? 0x03 : 0x0F;
    if (col % 2 == 0)
        return byte(g) << (bits - 8) | (byte(g + 1) & mask);
    return byte(g + 2) << (bits - 8) | ((byte(g + 1) >> 4) & mask);
}

const unsigned kWidths[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 13, 30, 31, 64, 67, 100, 101};

} // namespace

// Every width, both output forms, with and without padded target rows, against a bit-level
// reading of random source bytes: "p" frames are one bit stream, "Packed" rows start on whole
// bytes. The source holds exactly the bytes its size needs.
TEST(UnpackLayouts, MatchBitLevelReferenceForAllWidths) {
    unsigned seed = 1;
    for (unsigned type : {kMono10p, kMono12p, kMono10Packed, kMono12Packed}) {
        const unsigned bits = 6 + 2 * ((type >> 8) & 0xF);
        const bool gev = (type & 0xF000) == 0x1000;
        for (unsigned width : kWidths) {
            for (unsigned form = 0; form < 8; ++form) {
                const unsigned height = form & 1 ? 3 : 1, padding = form & 2 ? 24 : 0;
                const bool byteOut = form & 4;
                const uint64_t rowBytes = (width * 3 + 1) >> 1;
                auto bytes = randomBytes(QTD::frameBytes(type, width, height, 0), seed++);
                Source src(type, width, height, bytes);
                Target out(byteOut ? kMono8 : (bits == 10 ? kMono10 : kMono12), width, height);
                out.image.stride += padding;
                if (type == kMono12p && width % 4 && bytes.size() < 3) {
                    // Not one whole group: nothing to do.
                    EXPECT_EQ(0, BrxImageUnpack::Unpack(&src.image, &out.image));
                    continue;
                }
                ASSERT_EQ(1, BrxImageUnpack::Unpack(&src.image, &out.image))
                    << std::hex << type << std::dec << " width " << width;
                // The USB3 Vision rows of whole groups go by the packed row length; the others by
                // the target's stride.
                bool ownStride = gev || (type == kMono12p && width % 4 != 0);
                uint64_t step = ownStride ? out.image.stride
                                          : (byteOut ? stride16(width) / 2 : stride16(width));
                if (ownStride && !byteOut)
                    step = out.image.stride / 2 * 2;
                for (unsigned r = 0; r < height; ++r) {
                    for (unsigned c = 0; c < width; ++c) {
                        unsigned want;
                        if (gev)
                            want = gevValue(bytes, r * rowBytes, c, bits);
                        else
                            want = streamValue(bytes, (uint64_t(r) * width + c) * bits, bits);
                        ASSERT_EQ(want >> (byteOut ? bits - 8 : 0), out.at(r, c, step, byteOut))
                            << std::hex << type << std::dec << " w " << width << " form " << form
                            << " at " << r << "," << c;
                    }
                }
            }
        }
    }
}

TEST(UnpackBuffers, KeptWhenTheSizeFitsAndACallerBlockTooSmallIsRefused) {
    Source src(kMono12p, 16, 4, randomBytes(16 * 4 * 3 / 2, 3));
    Target out(kMono12, 16, 4);
    ASSERT_EQ(1, BrxImageUnpack::Unpack(&src.image, &out.image));
    void* first = out.image.imageData;
    ASSERT_NE(nullptr, first);
    out.image.imageSize = uint32_t(4 * stride16(16)); // what the rule needs
    ASSERT_EQ(1, BrxImageUnpack::Unpack(&src.image, &out.image));
    EXPECT_EQ(first, out.image.imageData);

    Source gev(kMono12Packed, 9, 2, randomBytes(9 * 2 * 3 / 2 + 1, 4));
    Target small(kMono12, 9, 2);
    std::vector<uint16_t> block(small.image.imageSize / 2, 0xBEEF);
    small.image.imageData = block.data();
    small.image.stride *= 4; // rows that would pass the end of the block
    EXPECT_EQ(0, BrxImageUnpack::Unpack(&gev.image, &small.image));
    for (uint16_t w : block)
        ASSERT_EQ(0xBEEF, w);
}

// Sources too short for their dimensions, null pixels, null records, huge dimensions and FLEx
// packing.
TEST(UnpackRobustness, RefusesWhatItCannotRead) {
    const unsigned types[] = {kMono10p, kMono12p, kMono10Packed, kMono12Packed};
    for (unsigned type : types) {
        for (unsigned width : {4u, 7u, 64u}) {
            const uint64_t need = QTD::frameBytes(type, width, 4, 0);
            Source shortSrc(type, width, 4, randomBytes(need - 1, width));
            Source null(type, width, 4, {});
            null.image.imageSize = uint32_t(need);
            Target out(kMono12, width, 4);
            for (Source* src : {&shortSrc, &null}) {
                EXPECT_EQ(0, BrxImageUnpack::Unpack(&src->image, &out.image))
                    << std::hex << type << std::dec << " " << width;
                EXPECT_EQ(nullptr, out.image.imageData);
            }
        }
    }
    Source src(kMono12p, 4, 1, randomBytes(6, 1));
    EXPECT_EQ(0, BrxImageUnpack::Unpack(nullptr, nullptr));
    EXPECT_EQ(0, BrxImageUnpack::Unpack(&src.image, nullptr));
    Target out(kMono12, 4, 1);
    src.image.width = 0;
    EXPECT_EQ(0, BrxImageUnpack::Unpack(&src.image, &out.image));
    for (uint32_t big : {0x7FFFFFFFu, 0xFFFFFFFFu, 0xAAAAAAABu}) {
        for (unsigned type : types) {
            src.image.pixelType = type;
            src.image.packing = type & 0xFF00;
            src.image.width = big;
            for (uint32_t height : {big, 1u}) {
                src.image.height = height;
                EXPECT_EQ(0, BrxImageUnpack::Unpack(&src.image, &out.image)) << big;
            }
        }
    }
    Source flex(0x010C3205, 4, 1, randomBytes(8, 2)); // Mono10_FLExPacked
    EXPECT_EQ(0, BrxImageUnpack::Unpack(&flex.image, &out.image));
}
