// The converter as users run it: pictures packed into camera formats and converted back
// through the library, the packer's bit layouts, and the one-line errors.
#include "common/CameraFormat.h"
#include "common/RawFrame.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QImage>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/wait.h>

namespace {

struct ToolRun {
    int status = -1;
    std::string out;
    std::string err;
};

ToolRun runConvert(const std::string& args, const QTemporaryDir& dir) {
    const std::string outFile = dir.filePath("stdout.txt").toStdString();
    const std::string errFile = dir.filePath("stderr.txt").toStdString();
    const std::string line =
        std::string(BRXCONVERT) + " " + args + " >" + outFile + " 2>" + errFile;
    ToolRun r;
    const int raw = std::system(line.c_str());
    r.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    auto slurp = [](const std::string& path) {
        std::string text;
        if (FILE* f = std::fopen(path.c_str(), "rb")) {
            char buffer[4096];
            size_t n;
            while ((n = std::fread(buffer, 1, sizeof(buffer), f)) > 0) {
                text.append(buffer, n);
            }
            std::fclose(f);
        }
        return text;
    };
    r.out = slurp(outFile);
    r.err = slurp(errFile);
    return r;
}

// Smooth in every channel, so that demosaicing and chroma subsampling lose little.
QImage source(int w, int h) {
    QImage image(w, h, QImage::Format_RGB888);
    for (int y = 0; y < h; ++y) {
        uint8_t* row = image.scanLine(y);
        for (int x = 0; x < w; ++x) {
            row[3 * x] = static_cast<uint8_t>(x * 255 / (w - 1));
            row[3 * x + 1] = static_cast<uint8_t>(40 + y * 170 / (h - 1));
            row[3 * x + 2] = static_cast<uint8_t>(220 - x * 200 / (w - 1));
        }
    }
    return image;
}

struct Loss {
    double mean = 0;
    int max = 0;
};

// Differences in the interior: the outermost two pixels of a demosaiced image are guesses.
Loss compare(const QImage& expected, const QImage& actual, int border) {
    const QImage a = expected.convertToFormat(QImage::Format_RGB888);
    const QImage b = actual.convertToFormat(QImage::Format_RGB888);
    Loss loss;
    long sum = 0, count = 0;
    for (int y = border; y < a.height() - border; ++y) {
        for (int x = 3 * border; x < 3 * (a.width() - border); ++x) {
            const int d = std::abs(int(a.constScanLine(y)[x]) - int(b.constScanLine(y)[x]));
            sum += d;
            ++count;
            loss.max = std::max(loss.max, d);
        }
    }
    loss.mean = count ? double(sum) / count : 0;
    return loss;
}

QImage grey(const QImage& image) {
    QImage out = image.convertToFormat(QImage::Format_RGB888);
    for (int y = 0; y < out.height(); ++y) {
        uint8_t* p = out.scanLine(y);
        for (int x = 0; x < out.width(); ++x, p += 3) {
            p[0] = p[1] = p[2] =
                static_cast<uint8_t>((77u * p[0] + 150u * p[1] + 29u * p[2] + 128u) >> 8);
        }
    }
    return out;
}

class BrxConvert : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        png = dir.filePath("source.png").toStdString();
        ASSERT_TRUE(source(W, H).save(QString::fromStdString(png)));
    }
    std::string path(const char* name) const { return dir.filePath(name).toStdString(); }

    static constexpr int W = 256;
    static constexpr int H = 128;
    QTemporaryDir dir;
    std::string png;
};

struct RoundTrip {
    const char* format;
    bool mono;
    int border;
    double meanLimit;
    int maxLimit;
};

// Packs the source picture into `c.format`, converts it back through the library and compares.
void roundTrip(const RoundTrip& c, const std::string& png, const QTemporaryDir& dir, int w, int h) {
    SCOPED_TRACE(c.format);
    const std::string raw = dir.filePath("frame.raw").toStdString();
    const std::string back = dir.filePath("back.png").toStdString();
    ToolRun pack = runConvert(png + " --to " + c.format + " " + raw, dir);
    ASSERT_EQ(pack.status, 0) << pack.err;
    ToolRun unpack =
        runConvert(std::string("--format ") + c.format + " --size " + std::to_string(w) + "x" +
                       std::to_string(h) + " " + raw + " " + back,
                   dir);
    ASSERT_EQ(unpack.status, 0) << unpack.err;
    QImage result(QString::fromStdString(back));
    const QImage original = source(w, h);
    ASSERT_EQ(result.size(), original.size());
    if (c.mono) {
        EXPECT_TRUE(result.isGrayscale());
    }
    const Loss loss = compare(c.mono ? grey(original) : original, result, c.border);
    EXPECT_LE(loss.mean, c.meanLimit);
    EXPECT_LE(loss.max, c.maxLimit);
}

// Every mono and Bayer camera format, plain and packed, and the colour ones: exact for mono and
// RGB, within the demosaicing's loss for Bayer.
TEST_F(BrxConvert, RoundTripsThroughEveryCameraFormatWithinItsLoss) {
    int tried = 0;
    for (const CameraFormat& f : CameraFormat::all()) {
        const bool mono = f.name.rfind("Mono", 0) == 0;
        const bool bayer = f.name.rfind("Bayer", 0) == 0;
        if (!mono && !bayer)
            continue;
        roundTrip({f.name.c_str(), mono, bayer ? 2 : 0, bayer ? 1.5 : 0.0, bayer ? 6 : 0}, png, dir,
                  W, H);
        ++tried;
    }
    EXPECT_GE(tried, 45);
    const RoundTrip colour[] = {
        {"RGB8", false, 0, 0.0, 0},
        {"BGR8", false, 0, 0.0, 0},
        {"YUV422_8_UYVY", false, 0, 2.0, 8},
    };
    for (const RoundTrip& c : colour)
        roundTrip(c, png, dir, W, H);
}

TEST_F(BrxConvert, TiffInAndOut) {
    // A 16-bit mono frame through a TIFF both ways: the picture is what comes back.
    ASSERT_EQ(runConvert(png + " " + path("source.tif"), dir).status, 0);
    ASSERT_EQ(runConvert(path("source.tif") + " --to Mono16 " + path("m16.raw"), dir).status, 0);
    ToolRun r = runConvert(
        "--format Mono16 --size 256x128 " + path("m16.raw") + " " + path("back.tiff"), dir);
    ASSERT_EQ(r.status, 0) << r.err;
    const QImage back(QString::fromStdString(path("back.tiff")));
    ASSERT_FALSE(back.isNull());
    const Loss loss = compare(grey(source(W, H)), back, 0);
    EXPECT_EQ(loss.max, 0);
}

TEST_F(BrxConvert, RawToRawGoesThroughTheDisplayChain) {
    // A Bayer frame demosaiced by the library and packed again as mono.
    ASSERT_EQ(runConvert(png + " --to BayerGB12 " + path("bayer.raw"), dir).status, 0);
    ToolRun r = runConvert("--format BayerGB12 --size 256x128 " + path("bayer.raw") +
                               " --to Mono8 " + path("mono.raw"),
                           dir);
    ASSERT_EQ(r.status, 0) << r.err;
    RawFrame mono;
    std::string error;
    ASSERT_TRUE(mono.load(path("mono.raw"), *CameraFormat::find("Mono8"), W, H, &error)) << error;
    const QImage expected = grey(source(W, H));
    // The middle of the frame: luma of the demosaiced colours.
    const uint8_t* row = mono.bytes().data() + size_t(H / 2) * mono.image()->stride;
    EXPECT_NEAR(row[W / 2], expected.pixelColor(W / 2, H / 2).red(), 4);
}

TEST(RawFramePacking, BitLayoutsAreTheCameras) {
    // Levels 255 and 0 expand to the format's full scale and zero.
    auto pack = [](const char* format, std::initializer_list<int> levels) {
        QImage image(int(levels.size()), 1, QImage::Format_RGB888);
        int x = 0;
        for (int v : levels) {
            image.setPixelColor(x++, 0, QColor(v, v, v));
        }
        RawFrame frame;
        EXPECT_TRUE(frame.pack(image, *CameraFormat::find(format), nullptr));
        return frame.bytes();
    };
    using Bytes = std::vector<uint8_t>;
    EXPECT_EQ(pack("Mono10p", {255, 0, 0, 0}), (Bytes{0xFF, 0x03, 0x00, 0x00, 0x00}));
    EXPECT_EQ(pack("Mono10p", {0, 255, 0, 0}), (Bytes{0x00, 0xFC, 0x0F, 0x00, 0x00}));
    EXPECT_EQ(pack("Mono12p", {255, 0, 0, 0}), (Bytes{0xFF, 0x0F, 0x00, 0x00, 0x00, 0x00}));
    EXPECT_EQ(pack("Mono12p", {0, 255, 0, 0}), (Bytes{0x00, 0xF0, 0xFF, 0x00, 0x00, 0x00}));
    EXPECT_EQ(pack("Mono10Packed", {255, 255}), (Bytes{0xFF, 0x33, 0xFF}));
    EXPECT_EQ(pack("Mono12Packed", {255, 255}), (Bytes{0xFF, 0xFF, 0xFF}));
    // Plain 16-bit samples are little-endian, value in the low bits; rows padded to 4 bytes.
    EXPECT_EQ(pack("Mono12", {255}), (Bytes{0xFF, 0x0F, 0x00, 0x00}));
    // 8-bit levels survive the widening and the library's narrowing to the top 8 bits.
    for (uint32_t level = 0; level < 256; ++level) {
        ASSERT_EQ(RawFrame::expand(level, 12) >> 4, level);
        ASSERT_EQ(RawFrame::expand(level, 10) >> 2, level);
    }
}

TEST(RawFramePacking, BayerSitesFollowTheFormatName) {
    QImage image(2, 2, QImage::Format_RGB888);
    image.fill(QColor(10, 20, 30));
    const struct {
        const char* format;
        uint8_t sites[4];
    } cases[] = {{"BayerRG8", {10, 20, 20, 30}},
                 {"BayerBG8", {30, 20, 20, 10}},
                 {"BayerGR8", {20, 10, 30, 20}},
                 {"BayerGB8", {20, 30, 10, 20}}};
    for (const auto& c : cases) {
        RawFrame frame;
        ASSERT_TRUE(frame.pack(image, *CameraFormat::find(c.format), nullptr));
        const uint32_t stride = frame.image()->stride;
        const uint8_t* p = frame.bytes().data();
        EXPECT_EQ((std::vector<uint8_t>{p[0], p[1], p[stride], p[stride + 1]}),
                  (std::vector<uint8_t>(c.sites, c.sites + 4)))
            << c.format;
    }
}

TEST_F(BrxConvert, EveryErrorIsOneLineAndAFailure) {
    ASSERT_EQ(runConvert(png + " --to Mono8 " + path("ok.raw"), dir).status, 0);
    {
        std::FILE* f = std::fopen(path("short.raw").c_str(), "wb");
        std::fputs("too short", f);
        std::fclose(f);
    }
    const std::string cases[] = {
        "--format Mono9 --size 256x128 " + path("ok.raw") + " out.png",
        png + " --to NoSuchFormat " + path("x.raw"),
        "--format Mono8 --size 256x " + path("ok.raw") + " " + path("x.png"),
        "--format Mono8 --size 0x128 " + path("ok.raw") + " " + path("x.png"),
        "--format Mono8 --size 256x129 " + path("ok.raw") + " " + path("x.png"),
        "--format Mono12p --size 256x128 " + path("short.raw") + " " + path("x.png"),
        "--format Mono8 --size 256x128 " + path("missing.raw") + " " + path("x.png"),
        path("missing.png") + " " + path("x.png"),
        path("short.raw") + " " + path("x.png"),
        png + " " + path("no/such/dir/x.png"),
        png + " --to Mono8 " + path("no/such/dir/x.raw"),
        png + " " + path("x.raw"),
        "--format Mono8 " + path("ok.raw") + " " + path("x.png"),
        "--bogus " + png + " " + path("x.png"),
        png,
    };
    for (const std::string& args : cases) {
        SCOPED_TRACE(args);
        ToolRun r = runConvert(args, dir);
        EXPECT_NE(r.status, 0);
        ASSERT_FALSE(r.err.empty());
        EXPECT_EQ(r.err.rfind("brxconvert: ", 0), 0u) << r.err;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
    }
}

} // namespace
