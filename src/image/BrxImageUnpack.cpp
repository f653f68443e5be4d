#include "image/BrxImageUnpack.h"

#include "image/ColorModelDescription.h"
#include "image/ImageLayout.h"

#include <log4cpp/Category.hh>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

// The hot loops read eight bytes at a time and take a whole group of pixels out of them. A group
// whose eight-byte read would pass the end of the source goes through a zero-padded copy
// instead, so no loop ever reads outside the source, whatever its declared size.

namespace {

log4cpp::Category& logger() {
    return log4cpp::Category::getInstance("BrxDisplayQt");
}

inline uint64_t load64(const uint8_t* p) {
    uint64_t v;
    std::memcpy(&v, p, sizeof(v));
    return v; // little-endian hosts only, as the packed formats are
}

// Up to eight bytes from `p`, never past `end`, zero-padded.
inline uint64_t loadTail(const uint8_t* p, const uint8_t* end) {
    uint8_t tmp[8] = {0};
    if (p < end)
        std::memcpy(tmp, p, std::min<size_t>(8, static_cast<size_t>(end - p)));
    return load64(tmp);
}

bool basicChecks(BrxImage const* source, BrxImage* target) {
    if (!source || !target || !source->imageData)
        return false;
    const uint64_t pixels = static_cast<uint64_t>(source->width) * source->height;
    // More pixels than a 32-bit size of packed data can hold would only overflow the sums below.
    return pixels != 0 && pixels <= (1ull << 33);
}

inline bool byteOutput(BrxImage const* target) {
    return target->packing == 0x100;
}

uint64_t stride16For(uint64_t width, unsigned bits) {
    return ((width * bits + 31) >> 3) & ~3ull;
}

// Makes sure the target holds `needed` bytes by the rule of the packed formats (a new block when
// it has none or its declared size differs) and that the rows about to be written, `extent`
// bytes from the start, fit in it. Returns the first byte, or null.
uint8_t* prepareTarget(BrxImage* target, uint64_t needed, uint64_t extent) {
    if (!target->imageData || target->imageSize != needed) {
        uint64_t bytes = std::max(needed, extent);
        if (bytes > SIZE_MAX)
            return nullptr;
        void* block = std::malloc(static_cast<size_t>(std::max<uint64_t>(bytes, 1)));
        if (!block) {
            logger().error("BrxImageUnpack: out of memory for %llu bytes",
                           static_cast<unsigned long long>(bytes));
            return nullptr;
        }
        if (target->allocatedData)
            std::free(target->allocatedData);
        target->imageData = block;
        target->allocatedData = block;
        return static_cast<uint8_t*>(block);
    }
    if (extent > target->imageSize) {
        logger().error("BrxImageUnpack: target rows (stride %u) exceed its %u bytes",
                       target->stride, target->imageSize);
        return nullptr;
    }
    return static_cast<uint8_t*>(target->imageData);
}

// Bytes from the first to the last written byte for rows `rowStep` apart, each `rowBytes` long.
uint64_t extentOf(uint64_t height, int64_t rowStep, uint64_t rowBytes, bool& ok) {
    ok = rowStep >= 0;
    return ok ? (height - 1) * static_cast<uint64_t>(rowStep) + rowBytes : 0;
}

bool sourceTooSmall(BrxImage const* source, uint64_t needed, const char* what) {
    if (source->imageSize >= needed)
        return false;
    logger().error("BrxImageUnpack: %s source of %ux%u holds %u bytes, needs %llu", what,
                   source->width, source->height, source->imageSize,
                   static_cast<unsigned long long>(needed));
    return true;
}

// The target's own stride as a row step, kept even for 16-bit words.
int64_t targetRowStep(BrxImage const* target, bool bytes) {
    return bytes ? int64_t(int32_t(target->stride)) : int64_t(int32_t(target->stride) / 2) * 2;
}

// The first byte of a target prepared for `height` rows `rowStep` apart, each `width` pixels of
// one byte (`bytes`) or two; null if the rows cannot be placed.
uint8_t* prepareRows(BrxImage* target, uint64_t needed, uint64_t height, int64_t rowStep,
                     uint64_t width, bool bytes) {
    bool ok = false;
    const uint64_t extent = extentOf(height, rowStep, width * (bytes ? 1 : 2), ok);
    return ok ? prepareTarget(target, needed, extent) : nullptr;
}

// Calls `row(index, dst)` for every row, with `dst` typed as the target's samples.
template <class Row>
int writeRows(uint8_t* out, int64_t rowStep, uint64_t height, bool bytes, Row row) {
    for (uint64_t index = 0; index < height; ++index) {
        uint8_t* dst = out + index * rowStep;
        if (bytes)
            row(index, dst);
        else
            row(index, reinterpret_cast<uint16_t*>(dst));
    }
    return 1;
}

// --- Vector paths: sixteen pixels a step, each 128-bit half taking its own run of bytes -------

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define BRX_UNPACK_AVX2 1

bool haveAvx2() {
    static const bool yes = __builtin_cpu_supports("avx2");
    return yes;
}

__attribute__((target("avx2"))) inline __m256i loadHalves(const uint8_t* low, const uint8_t* high) {
    __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(low));
    __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(high));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(a), b, 1);
}

// The four layouts as 16 pixels in 16-bit words from one step of bytes: `step` bytes are
// consumed, `need` bytes must be readable, and the byte output keeps the top 8 of `bits`.
#define BRX_AVX2 __attribute__((target("avx2")))

struct Layout10p {
    static constexpr int step = 20, need = 26, bits = 10;
    // Pixel k of a group sits in bytes k and k + 1, shifted by 2k bits: multiply it up to the
    // top of the word, then shift all down alike.
    BRX_AVX2 static inline __m256i words(const uint8_t* src) {
        const __m256i shuffle = _mm256_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9, 0,
                                                 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9);
        const __m256i scale =
            _mm256_setr_epi16(64, 16, 4, 1, 64, 16, 4, 1, 64, 16, 4, 1, 64, 16, 4, 1);
        __m256i w = _mm256_shuffle_epi8(loadHalves(src, src + 10), shuffle);
        return _mm256_srli_epi16(_mm256_mullo_epi16(w, scale), 6);
    }
};

struct Layout12p {
    static constexpr int step = 24, need = 28, bits = 12;
    BRX_AVX2 static inline __m256i words(const uint8_t* src) {
        const __m256i shuffle = _mm256_setr_epi8(0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11,
                                                 0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11);
        const __m256i scale = _mm256_set1_epi32(0x00010010);
        __m256i w = _mm256_shuffle_epi8(loadHalves(src, src + 12), shuffle);
        return _mm256_srli_epi16(_mm256_mullo_epi16(w, scale), 4);
    }
};

template <int Bits> struct LayoutG {
    static constexpr int step = 24, need = 28, bits = Bits;
    // Words of (b1, b0) for the first pixel of a group and (b1, b2) for the second.
    BRX_AVX2 static inline __m256i words(const uint8_t* src) {
        const __m256i shuffle = _mm256_setr_epi8(1, 0, 1, 2, 4, 3, 4, 5, 7, 6, 7, 8, 10, 9, 10, 11,
                                                 1, 0, 1, 2, 4, 3, 4, 5, 7, 6, 7, 8, 10, 9, 10, 11);
        __m256i w = _mm256_shuffle_epi8(loadHalves(src, src + 12), shuffle);
        if (Bits == 12)
            return _mm256_or_si256(
                _mm256_and_si256(_mm256_srli_epi16(w, 4), _mm256_set1_epi32(0x0FFF0FF0)),
                _mm256_and_si256(w, _mm256_set1_epi32(0x0000000F)));
        const __m256i scale = _mm256_set1_epi32(0x00010010);
        return _mm256_or_si256(_mm256_and_si256(_mm256_srli_epi16(w, 6), _mm256_set1_epi16(0x3FC)),
                               _mm256_and_si256(_mm256_srli_epi16(_mm256_mullo_epi16(w, scale), 4),
                                                _mm256_set1_epi16(0x3)));
    }
};

// Whole steps while they are wanted and their reads stay before `end`; the count of pixels done
// comes back, the rest is left to the caller.
template <class L>
BRX_AVX2 uint64_t bulk(const uint8_t* src, const uint8_t* end, uint64_t count, uint16_t* out) {
    uint64_t done = 0;
    for (; count - done >= 16 && end - src >= L::need; src += L::step, done += 16)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + done), L::words(src));
    return done;
}

template <class L>
BRX_AVX2 uint64_t bulk(const uint8_t* src, const uint8_t* end, uint64_t count, uint8_t* out) {
    uint64_t done = 0;
    for (; count - done >= 32 && end - src >= L::step + L::need; src += 2 * L::step, done += 32) {
        __m256i a = _mm256_srli_epi16(L::words(src), L::bits - 8);
        __m256i b = _mm256_srli_epi16(L::words(src + L::step), L::bits - 8);
        __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + done), packed);
    }
    return done;
}

#undef BRX_AVX2

#endif

#ifdef BRX_UNPACK_AVX2
template <class L, typename T>
inline uint64_t vectorRun(const uint8_t* src, const uint8_t* end, uint64_t count, T* out) {
    return haveAvx2() ? bulk<L>(src, end, count, out) : 0;
}
#else
template <class L, typename T>
inline uint64_t vectorRun(const uint8_t*, const uint8_t*, uint64_t, T*) {
    return 0;
}
struct Layout10p {};
struct Layout12p {};
template <int Bits> struct LayoutG {};
#endif

// `count` pixels in groups of four, `GroupBytes` bytes each: as many as the vector path of
// layout L takes, then eight-byte reads while they stay before `end`, zero-padded reads after,
// and a last partial group. `put(v, out)` writes the four pixels of the eight bytes in v.
template <class L, int GroupBytes, typename T, class Put>
void runGroups(const uint8_t* src, const uint8_t* end, uint64_t count, T* out, Put put) {
    const uint64_t vec = vectorRun<L>(src, end, count, out); // a multiple of 4 pixels
    src += vec / 4 * GroupBytes, out += vec, count -= vec;
    const uint64_t groups = count / 4;
    uint64_t fast = 0;
    if (end - src >= 8)
        fast = std::min(groups, static_cast<uint64_t>((end - src - 8) / GroupBytes + 1));
    for (uint64_t g = 0; g < fast; ++g)
        put(load64(src + GroupBytes * g), out + 4 * g);
    for (uint64_t g = fast; g < groups; ++g)
        put(loadTail(src + GroupBytes * g, end), out + 4 * g);
    if (uint64_t rest = count % 4) {
        T last[4];
        put(loadTail(src + GroupBytes * groups, end), last);
        std::copy(last, last + rest, out + 4 * groups);
    }
}

// --- USB3 Vision "p": pixels of `Bits` bits back to back, least significant bits first ------

// The four pixels at the start of `v`; the byte output keeps the top 8 bits of each.
template <int Bits> inline void putP(uint64_t v, uint16_t* out) {
    constexpr uint64_t mask = (1u << Bits) - 1;
    out[0] = static_cast<uint16_t>(v & mask);
    out[1] = static_cast<uint16_t>((v >> Bits) & mask);
    out[2] = static_cast<uint16_t>((v >> 2 * Bits) & mask);
    out[3] = static_cast<uint16_t>((v >> 3 * Bits) & mask);
}

template <int Bits> inline void putP(uint64_t v, uint8_t* out) {
    v >>= Bits - 8;
    out[0] = static_cast<uint8_t>(v & 0xFF);
    out[1] = static_cast<uint8_t>((v >> Bits) & 0xFF);
    out[2] = static_cast<uint8_t>((v >> 2 * Bits) & 0xFF);
    out[3] = static_cast<uint8_t>((v >> 3 * Bits) & 0xFF);
}

// Four pixels take 5 bytes in Mono10p and 6 (two groups of the format) in Mono12p.
template <int Bits> struct StreamLayout;
template <> struct StreamLayout<10> { using Vector = Layout10p; };
template <> struct StreamLayout<12> { using Vector = Layout12p; };

// `count` pixels of the stream from pixel `first` on, which may lie inside a group of four.
template <int Bits, typename T>
void runStream(const uint8_t* base, const uint8_t* end, uint64_t first, uint64_t count, T* out) {
    constexpr int quadBytes = Bits / 2;
    const uint8_t* src = base + (first / 4) * quadBytes;
    if (const uint64_t phase = first % 4; phase != 0 && count != 0) {
        T quad[4];
        putP<Bits>(loadTail(src, end), quad);
        const uint64_t taken = std::min<uint64_t>(4 - phase, count);
        std::copy(quad + phase, quad + phase + taken, out);
        out += taken;
        count -= taken;
        src += quadBytes;
    }
    runGroups<typename StreamLayout<Bits>::Vector, quadBytes>(
        src, end, count, out, [](uint64_t v, T* o) { putP<Bits>(v, o); });
}

// --- GigE Vision Packed: 3 bytes, 2 pixels, high bits in whole bytes --------------------------

template <int Bits> inline void putG(uint64_t v, uint16_t* out) {
    // Two groups: b0 b1 b2 b3 b4 b5.
    constexpr int lowMask = Bits == 10 ? 0x03 : 0x0F;
    constexpr int hiShift = 4;
    uint32_t b0 = v & 0xFF, b1 = (v >> 8) & 0xFF, b2 = (v >> 16) & 0xFF;
    uint32_t b3 = (v >> 24) & 0xFF, b4 = (v >> 32) & 0xFF, b5 = (v >> 40) & 0xFF;
    constexpr int up = Bits - 8;
    out[0] = static_cast<uint16_t>(b0 << up | (b1 & lowMask));
    out[1] = static_cast<uint16_t>(b2 << up | ((b1 >> hiShift) & lowMask));
    out[2] = static_cast<uint16_t>(b3 << up | (b4 & lowMask));
    out[3] = static_cast<uint16_t>(b5 << up | ((b4 >> hiShift) & lowMask));
}

template <int Bits> inline void putG(uint64_t v, uint8_t* out) {
    out[0] = static_cast<uint8_t>(v);
    out[1] = static_cast<uint8_t>(v >> 16);
    out[2] = static_cast<uint8_t>(v >> 24);
    out[3] = static_cast<uint8_t>(v >> 40);
}

template <int Bits, typename T>
void rowG(const uint8_t* src, const uint8_t* end, uint64_t width, T* out) {
    runGroups<LayoutG<Bits>, 6>(src, end, width, out, [](uint64_t v, T* o) { putG<Bits>(v, o); });
}

template <int Bits> int unpackG(BrxImage const* source, BrxImage* target) {
    if (!basicChecks(source, target))
        return 0;
    const uint64_t width = source->width, height = source->height;
    // The routine, not the record's type word, decides the layout.
    constexpr uint32_t layout = QTD::PixelType::Mono12Packed;
    const uint64_t rowBytes = QTD::rowBytes(layout, width);
    if (sourceTooSmall(source, QTD::frameBytes(layout, width, height, 0),
                       Bits == 10 ? "Mono10Packed" : "Mono12Packed"))
        return 0;
    const bool bytes = byteOutput(target);
    const uint64_t stride16 = stride16For(width, 16);
    const uint64_t needed = bytes ? height * stride16 / 2 : height * stride16;
    const int64_t rowStep = targetRowStep(target, bytes);
    uint8_t* out = prepareRows(target, needed, height, rowStep, width, bytes);
    if (!out)
        return 0;
    const uint8_t* src = static_cast<const uint8_t*>(source->imageData);
    const uint8_t* end = src + source->imageSize;
    return writeRows(out, rowStep, height, bytes, [&](uint64_t row, auto* dst) {
        rowG<Bits>(src + row * rowBytes, end, width, dst);
    });
}

} // namespace

int BrxImageUnpack::Unpack(BrxImage const* source, BrxImage* target) {
    if (!basicChecks(source, target))
        return 0;
    switch (source->pixelType & 0xFF00) {
    case 0x1200:
        return UnpackGEV(source, target, "Mono10g");
    case 0x1300:
        return UnpackGEV(source, target, "Mono12g");
    case 0x2200:
        return UnpackU3V(source, target, "Mono10p");
    case 0x2300:
        return UnpackU3V(source, target, "Mono12p");
    default:
        return 0;
    }
}

int BrxImageUnpack::UnpackU3V(BrxImage const* source, BrxImage* target, char const* format) {
    if (!basicChecks(source, target) || !format)
        return 0;
    if (strcasecmp(format, "Mono10p") == 0)
        return Unpack_10p(source, target);
    if (strcasecmp(format, "Mono12p") == 0)
        return Unpack_12p(source, target);
    return 0;
}

int BrxImageUnpack::UnpackGEV(BrxImage const* source, BrxImage* target, char const* format) {
    if (!basicChecks(source, target) || !format)
        return 0;
    if (strcasecmp(format, "Mono10g") == 0)
        return Unpack_10g(source, target);
    if (strcasecmp(format, "Mono12g") == 0)
        return Unpack_12g(source, target);
    return 0;
}

int BrxImageUnpack::Unpack_10p(BrxImage const* source, BrxImage* target) {
    if (!basicChecks(source, target))
        return 0;
    const uint64_t width = source->width, height = source->height;
    // The source is one bit stream, as in Mono12p: a row of a width that is no multiple of four
    // ends inside a byte, and the next row begins there, not at width * 5 / 4 whole bytes.
    if (sourceTooSmall(source, QTD::frameBytes(QTD::PixelType::Mono10p, width, height, 0),
                       "Mono10p"))
        return 0;
    const bool bytes = byteOutput(target);
    const uint64_t stride16 = stride16For(width, source->bitsPerPixel == 8 ? 8 : 16);
    const int64_t rowStep = int64_t(bytes ? stride16 / 2 : stride16);
    uint8_t* out = prepareRows(target, height * rowStep, height, rowStep, width, bytes);
    if (!out)
        return 0;
    const uint8_t* src = static_cast<const uint8_t*>(source->imageData);
    const uint8_t* end = src + source->imageSize;
    return writeRows(out, rowStep, height, bytes, [&](uint64_t row, auto* dst) {
        runStream<10>(src, end, row * width, width, dst);
    });
}

int BrxImageUnpack::Unpack_12p(BrxImage const* source, BrxImage* target) {
    if (!basicChecks(source, target) || source->imageSize == 0)
        return 0;
    const uint64_t width = source->width, height = source->height;
    const bool bytes = byteOutput(target);
    const uint64_t stride16 = stride16For(width, source->bitsPerPixel == 8 ? 8 : 16);
    const uint64_t needed = bytes ? height * stride16 / 2 : height * stride16;
    // Rows of a width that is a multiple of four lie in whole groups and are placed by the
    // packed row length; any other width makes the source one stream of pixels, cut into rows
    // by the target's own stride.
    const bool stream = width % 4 != 0;
    int64_t rowStep = 0;
    if (!stream)
        rowStep = int64_t(bytes ? stride16 / 2 : stride16);
    else
        rowStep = targetRowStep(target, bytes);
    if (sourceTooSmall(source, QTD::frameBytes(QTD::PixelType::Mono12p, width, height, 0),
                       "Mono12p"))
        return 0;
    if (stream && source->imageSize < 3)
        return 0;
    uint8_t* out = prepareRows(target, needed, height, rowStep, width, bytes);
    if (!out)
        return 0;
    const uint8_t* src = static_cast<const uint8_t*>(source->imageData);
    const uint8_t* end = src + source->imageSize;
    return writeRows(out, rowStep, height, bytes, [&](uint64_t row, auto* dst) {
        runStream<12>(src, end, row * width, width, dst);
    });
}

int Unpack_10g(BrxImage const* source, BrxImage* target) {
    return unpackG<10>(source, target);
}

int Unpack_12g(BrxImage const* source, BrxImage* target) {
    return unpackG<12>(source, target);
}
