// The numbers of the frame shown, asked through the controller's commands: the pixel under a
// point in every view, statistics and histogram of a region, the samples along a line.

#include "FrontTestSupport.h"

#include "screen/QTDScreen.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <cmath>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace FrontTest;

namespace {

constexpr int W = 64, H = 48;

uint32_t level(int x, int y) {
    return uint32_t(x * 37 + y * 101) & 0xFFF;
}

// A frame of `type` whose pixel (x, y) holds level(x, y), cut to the format's depth; colour
// formats carry it in their first channel and fixed values in the others.
Image frameOf(uint32_t type) {
    Image image = make(W, H, type);
    auto* bytes = static_cast<uint8_t*>(image->imageData);
    for (int y = 0; y < H; ++y) {
        uint8_t* row = bytes + size_t(y) * image->stride;
        for (int x = 0; x < W; ++x) {
            const uint32_t v = level(x, y);
            if (type == PT::Mono12) {
                const uint16_t word = uint16_t(v);
                std::memcpy(row + 2 * x, &word, 2);
            } else if (type == PT::RGB8) {
                row[3 * x] = uint8_t(v), row[3 * x + 1] = 7, row[3 * x + 2] = 200;
            } else if (type == PT::YUV422_8_UYVY) {
                row[2 * x] = uint8_t(x % 2 ? 90 : 160); // U Y0 V Y1
                row[2 * x + 1] = uint8_t(v);
            } else if (type == PT::BayerRG12p) {
                // Two samples in three bytes, low bits first, one stream over the frame.
                const size_t i = size_t(y) * W + size_t(x), g = i / 2 * 3;
                if (i % 2 == 0) {
                    bytes[g] = uint8_t(v), bytes[g + 1] = uint8_t(v >> 8);
                } else {
                    bytes[g + 1] = uint8_t(bytes[g + 1] | (v & 0xF) << 4);
                    bytes[g + 2] = uint8_t(v >> 4);
                }
            }
        }
    }
    return image;
}

std::string rawOf(uint32_t type, int x, int y) {
    const uint32_t v = level(x, y);
    if (type == PT::RGB8) {
        return std::to_string(v & 0xFF) + ";7;200";
    }
    if (type == PT::YUV422_8_UYVY) {
        return std::to_string(v & 0xFF) + ";160;90";
    }
    return std::to_string(v);
}

struct LiveFrame : Live {
    explicit LiveFrame(uint32_t type) : Live(type, W, H), frame(frameOf(type)) {
        EXPECT_EQ(BrxDisplay_DisplayVideo(handle, frame.get()), 0u);
        EXPECT_TRUE(pumpUntil([&] { return processed() > 0; }));
    }
    int run(const char* command, Params& params) {
        return display->RunCommandParams(command, &params);
    }
    Image frame;
};

} // namespace

// The pixel under window points a fiftieth of a pixel either side of a boundary, at fit, 1:1,
// 200 %, 800 % and after the view moved.
TEST(ImageCommands, PixelUnderThePointInEveryView) {
    for (uint32_t type : {PT::Mono12, PT::BayerRG12p, PT::RGB8, PT::YUV422_8_UYVY}) {
        SCOPED_TRACE(testing::Message() << std::hex << type);
        LiveFrame s(type);
        QTDScreen& screen = *s.display->getScreen();
        for (double scale : {0.0, 1.0, 0.5, 0.125, -0.125}) {
            SCOPED_TRACE(scale);
            if (scale == 0.0 || scale == 1.0) {
                // Fit, and actual size.
                ASSERT_TRUE(s.display->SetFitMode(scale == 0.0 ? 1 : 3, true));
            } else {
                s.display->SetFitMode(0, false);
                s.display->SetScale(std::fabs(scale), false);
            }
            if (scale < 0) {
                s.display->CenterAt(0.3, 0.7, false);
            }
            pump(20);
            const auto at = screen.imageRect();
            if (scale != 0.0 && scale != 1.0) {
                EXPECT_NEAR(at.width / W, 1 / std::fabs(scale), 1e-9);
            }
            // The pixel at the window's middle, and its neighbour to the upper left.
            const int px = int((at.width > 0 ? (160 - at.x) * W / at.width : 0));
            const int py = int((at.height > 0 ? (120 - at.y) * H / at.height : 0));
            for (double f : {0.02, -0.02}) {
                Params params{{"pos.x", std::to_string(at.x + (px + f) * at.width / W)},
                              {"pos.y", std::to_string(at.y + (py + f) * at.height / H)},
                              {"cs", "win"}};
                ASSERT_EQ(s.run("cmd.image.pixel", params), 1);
                const int x = f > 0 ? px : px - 1, y = f > 0 ? py : py - 1;
                EXPECT_EQ(params["x"], std::to_string(x));
                EXPECT_EQ(params["y"], std::to_string(y));
                EXPECT_EQ(params["inside"], "1");
                EXPECT_EQ(params["raw"], rawOf(type, x, y));
                if (type == PT::BayerRG12p) {
                    const char* sites[] = {"R", "Gr", "Gb", "B"};
                    EXPECT_EQ(params["raw.channel"], sites[(y % 2) * 2 + x % 2]);
                }
            }
        }
        // Image coordinates: the shown value beside the raw one; outside, "inside" 0.
        Params params{{"pos.x", "10.9"}, {"pos.y", "20.1"}};
        ASSERT_EQ(s.run("cmd.image.pixel", params), 1);
        EXPECT_EQ(params["raw"], rawOf(type, 10, 20));
        if (type == PT::RGB8) {
            EXPECT_EQ(params["shown"], rawOf(type, 10, 20));
        }
        Params outside{{"pos.x", "-0.5"}, {"pos.y", "3"}};
        ASSERT_EQ(s.run("cmd.image.pixel", outside), 1);
        EXPECT_EQ(outside["inside"], "0");
        EXPECT_EQ(outside.count("raw"), 0u);
    }
}

// Statistics and histogram against the same numbers worked out here, for a rectangle and for
// the whole frame; refusals leave the map as it was.
TEST(ImageCommands, StatisticsHistogramAndProfile) {
    LiveFrame s(PT::Mono12);
    for (auto rect : {std::vector<int>{5, 6, 20, 10}, std::vector<int>{0, 0, W, H}}) {
        Params params{{"rect.x", std::to_string(rect[0])},
                      {"rect.y", std::to_string(rect[1])},
                      {"rect.w", std::to_string(rect[2])},
                      {"rect.h", std::to_string(rect[3])},
                      {"bins", "16"}};
        ASSERT_EQ(s.run("cmd.image.statistics", params), 1);
        std::vector<long> bins(16, 0);
        double sum = 0, squares = 0;
        long lowest = 4096, highest = -1, n = 0;
        for (int y = rect[1]; y < rect[1] + rect[3]; ++y) {
            for (int x = rect[0]; x < rect[0] + rect[2]; ++x) {
                const long v = long(level(x, y));
                ++bins[size_t(v * 16 / 4096)];
                sum += double(v), squares += double(v) * double(v), ++n;
                lowest = std::min(lowest, v), highest = std::max(highest, v);
            }
        }
        const double mean = sum / double(n);
        std::ostringstream histogram;
        for (size_t b = 0; b < bins.size(); ++b) {
            histogram << (b ? ";" : "") << bins[b];
        }
        EXPECT_EQ(params["channels"], "Y");
        EXPECT_EQ(params["Y.min"], std::to_string(lowest));
        EXPECT_EQ(params["Y.max"], std::to_string(highest));
        EXPECT_NEAR(std::stod(params["Y.mean"]), mean, 1e-3);
        EXPECT_NEAR(std::stod(params["Y.stddev"]), std::sqrt(squares / double(n) - mean * mean),
                    1e-3);
        EXPECT_EQ(params["Y.histogram"], histogram.str());
        EXPECT_EQ(params["Y.saturated"], "0");
    }
    Params line{{"x0", "2"}, {"y0", "3"}, {"x1", "12"}, {"y1", "8"}};
    ASSERT_EQ(s.run("cmd.image.profile", line), 1);
    std::ostringstream values;
    for (int i = 0; i <= 10; ++i) {
        values << (i ? ";" : "") << level(2 + i, int(std::floor(3 + i * 0.5)));
    }
    EXPECT_EQ(line["count"], "11");
    EXPECT_EQ(line["values"], values.str());
    // The same line drawn as the view's profile line, asked for by its id.
    Params drawn{{"x0", "2"}, {"y0", "3"}, {"x1", "12"}, {"y1", "8"}, {"cs", "img"}};
    ASSERT_EQ(s.run("cmd.display.overlay.profline.add", drawn), 1);
    Params byId{{"objectID", drawn["objectID"]}};
    ASSERT_EQ(s.run("cmd.image.profile", byId), 1);
    EXPECT_EQ(byId["values"], values.str());

    for (const char* bad : {"rect.w=0", "rect.x=100 rect.w=5", "bins=0"}) {
        Params params = of(bad);
        const Params before = params;
        EXPECT_EQ(s.run("cmd.image.statistics", params), 0) << bad;
        EXPECT_EQ(params, before);
    }
    Params unknown{{"objectID", "@nosuch"}};
    EXPECT_EQ(s.run("cmd.image.profile", unknown), 0);
}

// The frame's bytes, the processed image at its own depth and the picture shown, each read back;
// a path that cannot be written answers 0.
TEST(ImageCommands, SavesTheFrameThePictureAndTheFullDepthImage) {
    LiveFrame s(PT::Mono12);
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string raw = dir.filePath("frame.raw").toStdString();
    const std::string full = dir.filePath("full.png").toStdString();
    const std::string shown = dir.filePath("shown.png").toStdString();
    for (auto [what, file] : {std::pair{"raw", raw}, {"full", full}, {"shown", shown}}) {
        Params params{{"file", file}, {"what", what}};
        ASSERT_EQ(s.run("cmd.image.save", params), 1) << what;
    }
    // Written on a thread of their own: wait until all three stand.
    ASSERT_TRUE(pumpUntil([&] {
        return QFileInfo(QString::fromStdString(raw)).size() == qint64(s.frame->imageSize) &&
               !QImage(QString::fromStdString(full)).isNull() &&
               !QImage(QString::fromStdString(shown)).isNull();
    }));
    QFile bytes(QString::fromStdString(raw));
    ASSERT_TRUE(bytes.open(QIODevice::ReadOnly));
    const QByteArray content = bytes.readAll();
    EXPECT_EQ(std::memcmp(content.constData(), s.frame->imageData, s.frame->imageSize), 0);
    QFile side(QString::fromStdString(raw + ".txt"));
    ASSERT_TRUE(side.open(QIODevice::ReadOnly));
    EXPECT_TRUE(side.readAll().contains("width=64\nheight=48"));

    const QImage deep(QString::fromStdString(full));
    ASSERT_EQ(deep.format(), QImage::Format_Grayscale16);
    int wrong = 0;
    for (int y = 0; y < H; ++y) {
        const auto* row = reinterpret_cast<const uint16_t*>(deep.constScanLine(y));
        for (int x = 0; x < W; ++x) {
            wrong += row[x] != level(x, y);
        }
    }
    EXPECT_EQ(wrong, 0);
    const QImage picture(QString::fromStdString(shown));
    EXPECT_EQ(picture.size(), QSize(W, H));
    EXPECT_EQ(qGray(picture.pixel(10, 20)), int(level(10, 20) >> 4));

    Params nowhere{{"file", "/nonexistent/dir/x.png"}, {"what", "shown"}};
    EXPECT_EQ(s.run("cmd.image.save", nowhere), 0);
    Params unknown{{"file", shown}, {"what", "everything"}};
    EXPECT_EQ(s.run("cmd.image.save", unknown), 0);
}
