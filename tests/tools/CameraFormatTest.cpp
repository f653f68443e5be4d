// The tools' format table against the library's own, and the shapes of the frames they make.
#include "common/CameraFormat.h"
#include "common/RawFrame.h"
#include "common/SyntheticScene.h"

#include "image/ColorModelDescription.h"

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QTemporaryDir>

#include <cstdio>
#include <fstream>

namespace {

TEST(CameraFormat, EveryNameCarriesTheLibrarysTypeWord) {
    for (const CameraFormat& f : CameraFormat::all()) {
        SCOPED_TRACE(f.name);
        const ColorModelDescription& row = s_colorModelDescription[(f.pixelType & 0xFF) - 1];
        EXPECT_STREQ(row.name, f.name.c_str());
        EXPECT_EQ(row.pixelType, f.pixelType);
        EXPECT_EQ(int(row.bitsPerChannel), f.depth);
        EXPECT_EQ(CameraFormat::find(f.name), &f);
    }
    EXPECT_EQ(CameraFormat::find("bayerrg12P")->name, "BayerRG12p");
    EXPECT_EQ(CameraFormat::find("Mono9"), nullptr);
    EXPECT_EQ(CameraFormat::find(""), nullptr);
}

TEST(CameraFormat, RowsAreTightForCamerasAndPaddedForTheLibrary) {
    const CameraFormat& mono12p = *CameraFormat::find("Mono12p");
    EXPECT_EQ(mono12p.rowBytes(1000), 1500u);
    EXPECT_EQ(CameraFormat::find("Mono10p")->rowBytes(1000), 1250u);
    EXPECT_EQ(CameraFormat::find("Mono12Packed")->rowBytes(5), 8u);
    EXPECT_EQ(CameraFormat::find("Mono8")->rowBytes(1001), 1001u);
    EXPECT_EQ(CameraFormat::find("Mono8")->paddedStride(1001), 1004u);
    EXPECT_EQ(CameraFormat::find("RGB12")->paddedStride(3), 20u);
    EXPECT_EQ(CameraFormat::find("YUV422_8_UYVY")->rowBytes(640), 1280u);
}

TEST(RawFrame, YuvOfGreyIsStudioRangeLumaWithNeutralChroma) {
    QImage image(2, 1, QImage::Format_RGB888);
    image.setPixelColor(0, 0, QColor(0, 0, 0));
    image.setPixelColor(1, 0, QColor(255, 255, 255));
    RawFrame frame;
    ASSERT_TRUE(frame.pack(image, *CameraFormat::find("YUV422_8_UYVY"), nullptr));
    // U Y0 V Y1
    EXPECT_EQ(frame.bytes()[0], 128);
    EXPECT_EQ(frame.bytes()[1], 16);
    EXPECT_EQ(frame.bytes()[2], 128);
    EXPECT_EQ(frame.bytes()[3], 235);
}

TEST(RawFrame, WideSamplesAndColourOrder) {
    QImage image(1, 1, QImage::Format_RGB888);
    image.setPixelColor(0, 0, QColor(255, 128, 0));
    RawFrame bgr;
    ASSERT_TRUE(bgr.pack(image, *CameraFormat::find("BGR8"), nullptr));
    EXPECT_EQ((std::vector<uint8_t>(bgr.bytes().begin(), bgr.bytes().begin() + 3)),
              (std::vector<uint8_t>{0, 128, 255}));
    RawFrame rgb16;
    ASSERT_TRUE(rgb16.pack(image, *CameraFormat::find("RGB16"), nullptr));
    EXPECT_EQ((std::vector<uint8_t>(rgb16.bytes().begin(), rgb16.bytes().begin() + 6)),
              (std::vector<uint8_t>{0xFF, 0xFF, 0x80, 0x80, 0x00, 0x00}));
    EXPECT_EQ(rgb16.image()->imageSize, rgb16.image()->stride);
}

TEST(RawFrame, LoadsTightOrPaddedRowsAndNothingElse) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const CameraFormat& mono8 = *CameraFormat::find("Mono8");
    auto write = [&](const char* name, size_t bytes) {
        const std::string path = dir.filePath(name).toStdString();
        std::ofstream(path, std::ios::binary) << std::string(bytes, '\x40');
        return path;
    };
    RawFrame frame;
    std::string error;
    // Width 6: 6 bytes a row tight, 8 padded.
    ASSERT_TRUE(frame.load(write("tight.raw", 6 * 3), mono8, 6, 3, &error)) << error;
    EXPECT_EQ(frame.image()->stride, 6u);
    ASSERT_TRUE(frame.load(write("padded.raw", 8 * 3), mono8, 6, 3, &error)) << error;
    EXPECT_EQ(frame.image()->stride, 8u);
    EXPECT_EQ(frame.image()->imageSize, 24u);
    EXPECT_EQ(frame.image()->pixelType, mono8.pixelType);

    EXPECT_FALSE(frame.load(write("long.raw", 8 * 3 + 1), mono8, 6, 3, &error));
    EXPECT_NE(error.find("needs 18"), std::string::npos) << error;
    EXPECT_FALSE(frame.load(write("short.raw", 17), mono8, 6, 3, &error));
    EXPECT_FALSE(frame.load(dir.filePath("none.raw").toStdString(), mono8, 6, 3, &error));
    EXPECT_FALSE(frame.load(write("empty.raw", 0), mono8, 0, 3, &error));
    // Packed rows are read tight by the library: padding them would shift every row.
    const CameraFormat& mono12p = *CameraFormat::find("Mono12p");
    EXPECT_TRUE(frame.load(write("p.raw", 6 * 2), mono12p, 4, 2, &error)) << error;
    EXPECT_FALSE(frame.load(write("ppad.raw", 8 * 2), mono12p, 4, 2, &error));
}

TEST(SyntheticScene, BarsStayAndTheMarkerMoves) {
    SyntheticScene scene(320, 240);
    const QImage first = scene.frame(0);
    const QImage later = scene.frame(10);
    ASSERT_EQ(first.size(), QSize(320, 240));
    for (int bar = 0; bar < 8; ++bar) {
        const QColor c = later.pixelColor(bar * 40 + 20, 40);
        EXPECT_EQ(c.rgb() & 0xFFFFFF, SyntheticScene::barColours[bar]) << bar;
    }
    // The lower third holds the moving marker: the frames differ there, not in the bars.
    int changedBelow = 0, changedBars = 0;
    for (int y = 0; y < 240; ++y) {
        for (int x = 0; x < 320; ++x) {
            if (first.pixel(x, y) == later.pixel(x, y)) {
                continue;
            }
            if (y < 80) {
                ++changedBars;
            } else if (y >= 160) {
                ++changedBelow;
            }
        }
    }
    EXPECT_GT(changedBelow, 100);
    EXPECT_EQ(changedBars, 0);
}

} // namespace
