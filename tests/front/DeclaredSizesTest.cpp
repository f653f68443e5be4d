// What a caller declares about its buffers: the library reads and writes within it, refuses a
// declaration that cannot hold its geometry, and takes any stride of at least one row.

#include "FrontTestSupport.h"

#include "window/QTDWindow.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <vector>

using namespace FrontTest;

namespace {

// RGB8 rows of 641 pixels: 1923 bytes, an odd count, 1924 in the library's own images.
constexpr uint32_t W = 641, H = 9, Row = 3 * W, Padded = 1924;

// `bytes` that end where an inaccessible page begins, so that any read or write past them
// faults.
class Guarded {
public:
    explicit Guarded(size_t bytes) {
        const size_t page = size_t(sysconf(_SC_PAGESIZE));
        span = (bytes + page - 1) / page * page + page;
        base = static_cast<uint8_t*>(
            mmap(nullptr, span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        EXPECT_NE(base, MAP_FAILED);
        EXPECT_EQ(mprotect(base + span - page, page, PROT_NONE), 0);
        data = base + span - page - bytes;
    }
    ~Guarded() { munmap(base, span); }
    Guarded(const Guarded&) = delete;
    Guarded& operator=(const Guarded&) = delete;
    uint8_t* data;

private:
    uint8_t* base;
    size_t span;
};

// An RGB8 or BGR8 record over guarded bytes of its declared size, its rows the RGB8 pattern of
// wrongPixels(), the bytes between rows 0xEE.
struct Frame {
    Frame(uint32_t type, uint32_t stride, uint32_t imageSize) : bytes(imageSize) {
        QTDImageHelpers::imageCreateFormat(&image, int(W), int(H), type);
        image.stride = stride;
        image.imageSize = imageSize;
        image.imageData = bytes.data;
        std::memset(bytes.data, 0xEE, imageSize);
        if (stride >= Row && uint64_t(stride) * H <= imageSize) {
            for (uint32_t y = 0; y < H; ++y) {
                for (uint32_t i = 0; i < Row; ++i) {
                    bytes.data[y * stride + i] = expected(PT::RGB8, i / 3, y, i % 3);
                }
            }
        }
    }
    Guarded bytes;
    BrxImage image{};
};

} // namespace

// Each bad declaration as the source or the target of a conversion and as a frame to show:
// code 7, the guarded bytes neither read past nor written.
TEST(DeclaredSizes, DeclarationsThatCannotHoldTheirGeometryAreRefused) {
    const struct {
        const char* what;
        uint32_t stride, imageSize;
    } cases[] = {
        {"imageSize far below the rows", Padded, 1000},
        {"imageSize one byte short", Padded, Padded * H - 1},
        {"zero stride", 0, Padded * H},
        {"huge stride", 0x80000000u, Padded * H},
        {"stride below the row", Row - 1, Padded * H},
    };
    Live live(PT::RGB8, int(W), int(H));
    Frame good(PT::RGB8, Padded, Padded * H), target(PT::BGR8, Padded, Padded * H);
    ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, &good.image, &target.image), 0u);
    ASSERT_EQ(wrongPixels(&target.image, PT::RGB8), 0);
    std::memset(target.bytes.data, 0, Padded * H);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Frame badSource(PT::RGB8, c.stride, c.imageSize);
        Frame badTarget(PT::BGR8, c.stride, c.imageSize);
        EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, &badSource.image, &target.image),
                  0x80FF0007u);
        EXPECT_EQ(BrxDisplay_ConvertImage(live.handle, &good.image, &badTarget.image), 0x80FF0007u);
        const uint8_t* written = badTarget.bytes.data;
        EXPECT_TRUE(
            std::all_of(written, written + c.imageSize, [](uint8_t b) { return b == 0xEE; }));
        EXPECT_EQ(BrxDisplay_DisplayVideo(live.handle, &badSource.image), 0x80FF0007u);
    }
    pump(5);
    EXPECT_EQ(live.processed(), 0);
    EXPECT_TRUE(std::all_of(target.bytes.data, target.bytes.data + Padded * H,
                            [](uint8_t b) { return b == 0; }));
}

// Tight rows, the library's padded ones and rows twice as far apart, for source and target,
// convert exactly; a frame with a trailer past its rows larger than the hand-over buffer is
// shown like any other.
TEST(DeclaredSizes, AnyStrideOfAtLeastOneRowConvertsAndShows) {
    Live live(PT::RGB8, int(W), int(H));
    long shown = 0;
    for (uint32_t sourceStride : {Row, Padded, 2 * Row}) {
        for (uint32_t targetStride : {Row, Padded, 2 * Row}) {
            SCOPED_TRACE(testing::Message() << sourceStride << " to " << targetStride);
            Frame source(PT::RGB8, sourceStride, sourceStride * H);
            Frame target(PT::RGB8, targetStride, targetStride * H);
            ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, &source.image, &target.image), 0u);
            EXPECT_EQ(wrongPixels(&target.image, PT::RGB8), 0);
        }
        for (uint32_t trailer : {0u, 1u << 20}) {
            SCOPED_TRACE(testing::Message() << sourceStride << " trailer " << trailer);
            Frame frame(PT::RGB8, sourceStride, sourceStride * H + trailer);
            frame.image.imageID = uint64_t(++shown);
            ASSERT_EQ(BrxDisplay_DisplayVideo(live.handle, &frame.image), 0u);
            ASSERT_TRUE(pumpUntil([&] { return live.processed() == shown; }));
            BrxImage* onWindow = live.display->getWindow()->currentImage();
            ASSERT_NE(onWindow, nullptr);
            EXPECT_EQ(onWindow->imageID, uint64_t(shown));
            EXPECT_EQ(wrongPixels(onWindow, PT::RGB8), 0);
        }
    }
}

// Deep samples at an odd stride, which splits them between bytes, convert as at the library's
// own stride, also when the declared size is that of the padded rows.
TEST(DeclaredSizes, DeepSamplesAtAnOddStrideConvertAsAtThePaddedOne) {
    for (uint32_t type : {PT::Mono12, PT::BayerRG12}) {
        SCOPED_TRACE(testing::Message() << std::hex << type);
        Live live(type, int(W), int(H));
        Image padded = make(int(W), int(H), type);
        std::vector<uint8_t> odd(padded->imageSize);
        for (uint32_t y = 0; y < H; ++y) {
            for (uint32_t x = 0; x < W; ++x) {
                const uint16_t sample = uint16_t((x * 7 + y * 13) % 4096);
                std::memcpy(row8(padded.get(), y) + 2 * x, &sample, 2);
                std::memcpy(odd.data() + y * (2 * W + 1) + 2 * x, &sample, 2);
            }
        }
        BrxImage oddImage = *padded;
        oddImage.stride = 2 * W + 1;
        oddImage.imageData = odd.data();
        Image expected = make(int(W), int(H), PT::RGB8), actual = make(int(W), int(H), PT::RGB8);
        ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, padded.get(), expected.get()), 0u);
        ASSERT_EQ(BrxDisplay_ConvertImage(live.handle, &oddImage, actual.get()), 0u);
        EXPECT_EQ(std::memcmp(expected->imageData, actual->imageData, expected->imageSize), 0);
    }
}
