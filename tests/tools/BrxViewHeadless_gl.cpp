// The viewer's headless run on an X server: frames reach the screen, and the screenshot shows
// the synthetic camera's colour bars where they belong.
#include "common/SyntheticScene.h"
#include "tools/ToolRun.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>

namespace {

using ToolTest::run;

bool isBackground(QRgb c) {
    // 0xC0C0C0, give or take the X server's rounding.
    return std::abs(qRed(c) - 0xC0) <= 2 && std::abs(qGreen(c) - 0xC0) <= 2 &&
           std::abs(qBlue(c) - 0xC0) <= 2;
}

// Runs the viewer headless on the camera in `format` and checks the figures, and that the
// picture's colour bars show as `bars`. `environment` goes before the command, `options` after.
void checkHeadlessRun(const std::string& environment, const char* format,
                      const std::string& options, const uint32_t* bars) {
    SCOPED_TRACE(environment + " " + format + " " + options);
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string shot = dir.filePath("shot.png").toStdString();
    int status = -1;
    const std::string out =
        run(environment + " " + BRXVIEW + " --headless --frames 60 --fps 20 " +
                "--size 640x480 --format " + format + " " + options + " --screenshot " + shot,
            status);
    ASSERT_EQ(status, 0) << out;

    std::smatch m;
    ASSERT_TRUE(std::regex_search(out, m,
                                  std::regex("offered (\\d+), processed (\\d+), shown (\\d+), "
                                             "fps ([0-9.]+), processing ([0-9.]+) ms/frame")))
        << out;
    EXPECT_EQ(std::stoi(m[1]), 60);
    EXPECT_GT(std::stoi(m[2]), 0);
    EXPECT_LE(std::stoi(m[2]), 60);
    EXPECT_GT(std::stoi(m[3]), 0);
    EXPECT_GT(std::stod(m[5]), 0.0);

    // Taken while frames still flowed, so that the status line shows the live rate.
    ASSERT_TRUE(std::regex_search(out, m, std::regex("at frame (\\d+) of 60"))) << out;
    EXPECT_LT(std::stoi(m[1]), 60);

    ASSERT_TRUE(std::regex_search(out, m, std::regex("view: (\\d+),(\\d+) (\\d+)x(\\d+)")));
    const QRect view(std::stoi(m[1]), std::stoi(m[2]), std::stoi(m[3]), std::stoi(m[4]));
    const QImage image(QString::fromStdString(shot));
    ASSERT_FALSE(image.isNull());
    ASSERT_TRUE(image.rect().contains(view)) << out;

    // Fitted into the view with its aspect kept, and centred.
    const double scale = std::min(view.width() / 640.0, view.height() / 480.0);
    const QRect picture(view.left() + int((view.width() - 640 * scale) / 2),
                        view.top() + int((view.height() - 480 * scale) / 2), int(640 * scale),
                        int(480 * scale));
    const QPoint outside[] = {{picture.center().x(), picture.top() - 4},
                              {picture.center().x(), picture.bottom() + 4},
                              {picture.left() - 4, picture.center().y()},
                              {picture.right() + 4, picture.center().y()}};
    for (const QPoint& p : outside) {
        if (view.contains(p)) {
            EXPECT_TRUE(isBackground(image.pixel(p))) << p.x() << "," << p.y();
        }
    }
    // The bars: a quarter down the picture, clear of the profile line at a sixth.
    const int y = picture.top() + picture.height() / 4;
    for (int bar = 0; bar < 8; ++bar) {
        SCOPED_TRACE(bar);
        const int x = picture.left() + (2 * bar + 1) * picture.width() / 16;
        const QColor seen = image.pixelColor(x, y);
        const uint32_t c = bars[bar];
        EXPECT_NEAR(seen.red(), int(c >> 16), 24);
        EXPECT_NEAR(seen.green(), int((c >> 8) & 0xFF), 24);
        EXPECT_NEAR(seen.blue(), int(c & 0xFF), 24);
    }
}

// On the X server; on Qt's offscreen platform, where no xvfb-run is found and the viewer lays the
// display's own store over the widgets; with half the red gain, so that full red shows at half
// level; with the coloration, which paints white (over-exposed) red and black (under-exposed)
// green; and from a Bayer camera; and the same on the OpenGL backend.
TEST(BrxViewHeadless, ShowsTheCameraAndReportsItsFigures) {
    const uint32_t halfRed[] = {0x80FFFF, 0x80FF00, 0x00FFFF, 0x00FF00,
                                0x8000FF, 0x800000, 0x0000FF, 0x000000};
    uint32_t painted[8];
    std::copy(SyntheticScene::barColours, SyntheticScene::barColours + 8, painted);
    painted[0] = 0xFF0000;
    painted[7] = 0x00FF00;
    const struct {
        const char *environment, *format, *options;
        const uint32_t* bars;
    } runs[] = {{"", "RGB8", "", SyntheticScene::barColours},
                {"env BRXVIEW_UNDER_XVFB=1 QT_QPA_PLATFORM=offscreen", "RGB8", "",
                 SyntheticScene::barColours},
                {"", "RGB8", "--gains 0.5,1,1", halfRed},
                {"", "RGB8", "--coloration", painted},
                {"", "BayerRG8", "", SyntheticScene::barColours},
                {"", "BayerRG12p", "--backend opengl", SyntheticScene::barColours},
                {"", "RGB8", "--backend opengl --gains 0.5,1,1", halfRed},
                {"", "RGB8", "--backend opengl --coloration", painted}};
    // Without Qt's GLX integration (the sanitizer builds) there is no OpenGL to run on.
    const bool gl = qgetenv("QT_XCB_GL_INTEGRATION") != "none";
    for (const auto& r : runs)
        if (gl || std::strstr(r.options, "opengl") == nullptr)
            checkHeadlessRun(r.environment, r.format, r.options, r.bars);
}

} // namespace

// The readout of a placed cursor, the histogram's figures, and the three files of a save.
TEST(BrxViewHeadless, ReadsOutAPixelAndSavesTheFrame) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const std::string base = dir.path().toStdString();
    int status = -1;
    const std::string out =
        run(std::string(BRXVIEW) + " --headless --frames 40 --fps 20 --size 640x480 --format " +
                "Mono12 --cursor 100,60 --region 10,10,20,20 --screenshot " + base +
                "/shot.png --save-raw " + base + "/frame.raw --save-view " + base +
                "/view.png --save-full " + base + "/full.png",
            status);
    ASSERT_EQ(status, 0) << out;
    std::smatch m;
    ASSERT_TRUE(std::regex_search(out, m, std::regex("readout: x (\\d+), y (\\d+): raw (\\d+)")))
        << out;
    EXPECT_LT(std::stoi(m[3]), 4096);
    // The region lies in the white bar: every sample at the top of the range.
    EXPECT_NE(out.find("histogram: Y: min 4095, max 4095, mean 4095.0000, saturated 400"),
              std::string::npos)
        << out;
    for (const char* kind : {"saved: raw", "saved: shown", "saved: full"}) {
        EXPECT_NE(out.find(kind), std::string::npos) << kind;
    }
    EXPECT_EQ(QFileInfo(QString::fromStdString(base + "/frame.raw")).size(), 640 * 480 * 2);
    EXPECT_EQ(QImage(QString::fromStdString(base + "/full.png")).format(),
              QImage::Format_Grayscale16);
    EXPECT_EQ(QImage(QString::fromStdString(base + "/view.png")).size(), QSize(640, 480));
}
