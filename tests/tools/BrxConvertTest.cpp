// The converter as users run it: pictures packed into camera formats and converted back
// through the library, the packer's bit layouts, and the one-line errors.
#include "common/CameraFormat.h"
#include "common/RawFrame.h"
#include "tools/ToolRun.h"

#include "image/BrxImageUnpack.h"
#include "image/QTDImageHelpers.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

namespace {

struct ToolRun {
    int status = -1;
    std::string err;
};

// Runs the converter; keeps its exit status and what it wrote to stderr.
ToolRun runConvert(const std::string& args) {
    ToolRun r;
    r.err = ToolTest::run(std::string(BRXCONVERT) + " " + args + " 2>&1 >/dev/null", r.status);
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

// Checks the mean and largest difference in the interior: the outermost two pixels of a
// demosaiced image are guesses.
void compare(const QImage& expected, const QImage& actual, int border, double meanLimit,
             int maxLimit) {
    const QImage a = expected.convertToFormat(QImage::Format_RGB888);
    const QImage b = actual.convertToFormat(QImage::Format_RGB888);
    ASSERT_EQ(a.size(), b.size());
    long sum = 0, count = 0;
    int max = 0;
    for (int y = border; y < a.height() - border; ++y) {
        for (int x = 3 * border; x < 3 * (a.width() - border); ++x) {
            const int d = std::abs(int(a.constScanLine(y)[x]) - int(b.constScanLine(y)[x]));
            sum += d;
            ++count;
            max = std::max(max, d);
        }
    }
    EXPECT_LE(double(sum) / count, meanLimit);
    EXPECT_LE(max, maxLimit);
}

class BrxConvert : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        png = path("source.png");
        ASSERT_TRUE(source(W, H).save(QString::fromStdString(png)));
    }
    std::string path(const char* name) const { return dir.filePath(name).toStdString(); }

    static constexpr int W = 256;
    static constexpr int H = 128;
    QTemporaryDir dir;
    std::string png;
};

// Every camera format, and rows that end inside a byte: the source packed by the tool, converted
// back through the library. Exact for mono and RGB, so that every 8-bit level of the gradient
// survives the widening and the library's narrowing; within the demosaicing's loss for Bayer and
// the chroma's for YUV.
TEST_F(BrxConvert, RoundTripsThroughEveryCameraFormatWithinItsLoss) {
    // Returns the size of the packed frame.
    auto roundTrip = [this](const std::string& format, int w, int h) {
        SCOPED_TRACE(format + " " + std::to_string(w));
        const std::string in = path("in.png"), raw = path("frame.raw"), back = path("back.png");
        EXPECT_TRUE(source(w, h).save(QString::fromStdString(in)));
        ToolRun r = runConvert(in + " --to " + format + " " + raw);
        EXPECT_EQ(r.status, 0) << r.err;
        r = runConvert("--format " + format + " --size " + std::to_string(w) + "x" +
                       std::to_string(h) + " " + raw + " " + back);
        EXPECT_EQ(r.status, 0) << r.err;
        const bool mono = format.rfind("Mono", 0) == 0;
        const bool bayer = format.rfind("Bayer", 0) == 0;
        const bool yuv = format.rfind("YUV", 0) == 0;
        const QImage result(QString::fromStdString(back));
        EXPECT_EQ(result.isGrayscale(), mono);
        compare(mono ? grey(source(w, h)) : source(w, h), result, bayer ? 2 : 0,
                bayer ? 1.5
                : yuv ? 2.0
                      : 0.0,
                bayer ? 6
                : yuv ? 8
                      : 0);
        return QFileInfo(QString::fromStdString(raw)).size();
    };
    int monoOrBayer = 0;
    for (const CameraFormat& f : CameraFormat::all()) {
        monoOrBayer += f.name.rfind("Mono", 0) == 0 || f.name.rfind("Bayer", 0) == 0;
        roundTrip(f.name, W, H);
    }
    EXPECT_GE(monoOrBayer, 45);
    EXPECT_EQ(roundTrip("BayerRG12p", 641, 479), 460559);
    EXPECT_EQ(roundTrip("Mono10p", 642, 480), 385200);
}

TEST_F(BrxConvert, RawToRawGoesThroughTheDisplayChain) {
    // A Bayer frame demosaiced by the library and packed again as mono.
    ASSERT_EQ(runConvert(png + " --to BayerGB12 " + path("bayer.raw")).status, 0);
    ToolRun r = runConvert("--format BayerGB12 --size 256x128 " + path("bayer.raw") +
                           " --to Mono8 " + path("mono.raw"));
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
}

// Every packed format at each width modulo four: the frame packed, saved and loaded again
// unpacks in the library to the samples of the plain format of the same depth.
TEST(RawFramePacking, PackedFramesReadBackAsTheirPlainTwins) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string file = dir.filePath("frame.raw").toStdString();
    int packedFormats = 0;
    for (const CameraFormat& f : CameraFormat::all()) {
        if (f.packing == CameraFormat::Packing::None) {
            continue;
        }
        ++packedFormats;
        const std::string depth = std::to_string(f.depth);
        const CameraFormat& plain = *CameraFormat::find(f.name.substr(0, f.name.find(depth) + 2));
        for (uint32_t width : {641u, 642u, 643u, 644u}) {
            SCOPED_TRACE(f.name + " " + std::to_string(width));
            const uint32_t height = 5;
            const QImage picture = source(int(width), int(height));
            RawFrame packed, loaded, twin;
            std::string error;
            ASSERT_TRUE(packed.pack(picture, f, &error)) << error;
            EXPECT_EQ(packed.bytes().size(), f.frameBytes(width, height));
            ASSERT_TRUE(packed.save(file, &error)) << error;
            ASSERT_TRUE(loaded.load(file, f, width, height, &error)) << error;
            ASSERT_TRUE(twin.pack(picture, plain, &error)) << error;
            // 16-bit rows of the unpacker's own pitch, so that its row rules all agree.
            BrxImage out{};
            QTDImageHelpers::imageCreateFormat(&out, int(width), int(height), plain.pixelType);
            ASSERT_EQ(BrxImageUnpack::Unpack(loaded.image(), &out), 1);
            int wrong = 0;
            for (uint32_t y = 0; y < height; ++y) {
                wrong +=
                    std::memcmp(static_cast<uint8_t*>(out.imageData) + y * out.stride,
                                twin.bytes().data() + y * twin.image()->stride, 2 * width) != 0;
            }
            EXPECT_EQ(wrong, 0);
            QTDImageHelpers::imageFreeData(&out);
        }
    }
    EXPECT_EQ(packedFormats, 20);
}

// Each demosaicing mode by name and by number; on a McMaster picture the quality mode beats the
// residual-curvature one, which beats the default.
TEST_F(BrxConvert, DemosaicingModesByNameAndNumber) {
    const QImage picture = QImage(QString(BRX_TEST_DATA) + "/mcmaster/McMaster3.png")
                               .convertToFormat(QImage::Format_RGB888);
    ASSERT_FALSE(picture.isNull());
    const std::string in = path("mc.png"), raw = path("mc.raw");
    ASSERT_TRUE(picture.save(QString::fromStdString(in)));
    ASSERT_EQ(runConvert(in + " --to BayerRG8 " + raw).status, 0);
    const std::string size =
        std::to_string(picture.width()) + "x" + std::to_string(picture.height());
    auto quality = [&](const std::string& mode) {
        const std::string out = path((mode + ".png").c_str());
        ToolRun r = runConvert("--format BayerRG8 --size " + size + " --demosaic " + mode + " " +
                               raw + " " + out);
        EXPECT_EQ(r.status, 0) << r.err;
        const QImage result =
            QImage(QString::fromStdString(out)).convertToFormat(QImage::Format_RGB888);
        double sum = 0;
        long n = 0;
        for (int y = 4; y < picture.height() - 4; ++y)
            for (int x = 4; x < picture.width() - 4; ++x)
                for (int c = 0; c < 3; ++c, ++n) {
                    const double d = double(picture.constScanLine(y)[3 * x + c]) -
                                     result.constScanLine(y)[3 * x + c];
                    sum += d * d;
                }
        return 10.0 * std::log10(255.0 * 255.0 * double(n) / sum);
    };
    const double gradient = quality("gradient"), rcd = quality("rcd"), best = quality("quality");
    EXPECT_GT(rcd, gradient + 0.5);
    EXPECT_GT(best, rcd + 0.5);
    EXPECT_EQ(quality("3"), best);
    EXPECT_EQ(quality("0"), gradient);
    EXPECT_LT(quality("bilinear"), gradient);
}

TEST_F(BrxConvert, EveryBadInputIsOneLineAndAFailure) {
    ASSERT_EQ(runConvert(png + " --to Mono8 " + path("ok.raw")).status, 0);
    std::FILE* f = std::fopen(path("short.raw").c_str(), "wb");
    std::fputs("too short", f);
    std::fclose(f);
    const std::string ok = path("ok.raw"), x = path("x.png");
    const std::pair<std::string, std::string> cases[] = {
        {"--format Mono9 --size 256x128 " + ok + " out.png", "unknown pixel format Mono9"},
        {png + " --to NoSuchFormat " + path("x.raw"), "unknown pixel format NoSuchFormat"},
        {"--format Mono8 --size 256x " + ok + " " + x, "bad size 256x,"},
        {"--format Mono8 --size 0x128 " + ok + " " + x, "bad size 0x128,"},
        {"--format Mono8 --size 256x129 " + ok + " " + x, "needs 33024"},
        {"--format Mono12p --size 256x128 " + path("short.raw") + " " + x, "has 9 bytes"},
        {"--format Mono8 --size 256x128 " + path("missing.raw") + " " + x, "cannot read"},
        {"--format Mono8 --size 256x128 " + dir.path().toStdString() + " " + x, "is a directory"},
        {path("missing.png") + " " + x, "cannot read"},
        {path("short.raw") + " " + x, "cannot read"},
        {png + " " + path("no/such/dir/x.png"), "cannot write"},
        {png + " --to Mono8 " + path("no/such/dir/x.raw"), "cannot write"},
        {png + " " + path("x.raw"), "is no picture file"},
        {png + " --to Mono8 " + x, "is named as a picture"},
        {"--format Mono8 " + ok + " " + x, "needs --size"},
        {"--size 256x128 " + png + " " + x, "--size needs --format"},
        {"--bogus " + png + " " + x, "unknown option --bogus"},
        {png + " " + x + " " + x, "too many files"},
        {png + " " + x + " --to", "--to needs a value"},
        {"--format BayerRG8 --size 256x128 --demosaic best " + ok + " " + x,
         "unknown demosaicing mode best; one of: gradient (0), bilinear (1), rcd (2), quality (3)"},
        {"--demosaic quality " + png + " " + x, "--demosaic applies to raw Bayer input"},
        {png, "needs an input and an output file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.first);
        ToolRun r = runConvert(c.first);
        EXPECT_NE(r.status, 0);
        ASSERT_FALSE(r.err.empty());
        EXPECT_EQ(r.err.rfind("brxconvert: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find(c.second), std::string::npos) << r.err;
        EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << r.err;
    }
}

// Both tools' help lists every camera format by its name, the viewer's also its controls.
TEST(ToolHelp, ListsEveryFormatAndTheViewersControls) {
    const struct {
        const char* tool;
        std::vector<std::string> controls;
    } tools[] = {{BRXCONVERT, {}},
                 {BRXVIEW,
                  {"left drag", "double-click", "wheel", "right drag", "Shift", "Ctrl", "0, 1, 2",
                   "s d", "s i"}}};
    for (const auto& t : tools) {
        SCOPED_TRACE(t.tool);
        int status = -1;
        const std::string help = ToolTest::run(std::string(t.tool) + " --help", status);
        EXPECT_EQ(status, 0);
        for (const CameraFormat& f : CameraFormat::all()) {
            EXPECT_TRUE(std::regex_search(help, std::regex("\\s" + f.name + "\\s"))) << f.name;
        }
        for (const std::string& c : t.controls) {
            EXPECT_NE(help.find(c), std::string::npos) << c;
        }
    }
}

} // namespace
