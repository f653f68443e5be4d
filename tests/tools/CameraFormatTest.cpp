// The tools' format table against the library's own, and the shapes of the frames they make.
#include "common/CameraFormat.h"
#include "common/RawFrame.h"

#include "image/ColorModelDescription.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

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
}

TEST(CameraFormat, RowsAreTightForCamerasAndPaddedForTheLibrary) {
    EXPECT_EQ(CameraFormat::find("Mono12p")->rowBytes(1000), 1500u);
    EXPECT_EQ(CameraFormat::find("Mono10p")->rowBytes(1000), 1250u);
    EXPECT_EQ(CameraFormat::find("Mono12Packed")->rowBytes(5), 8u);
    // "Packed" rows start on whole bytes; a "p" frame is one stream that rows may share bytes of.
    EXPECT_EQ(CameraFormat::find("Mono12Packed")->frameBytes(5, 3), 24u);
    EXPECT_EQ(CameraFormat::find("Mono12p")->frameBytes(5, 3), 23u);
    EXPECT_EQ(CameraFormat::find("Mono8")->rowBytes(1001), 1001u);
    EXPECT_EQ(CameraFormat::find("Mono8")->paddedStride(1001), 1004u);
    EXPECT_EQ(CameraFormat::find("RGB12")->paddedStride(3), 20u);
    EXPECT_EQ(CameraFormat::find("YUV422_8_UYVY")->rowBytes(640), 1280u);
}

TEST(RawFrame, LoadsTightOrPaddedRowsAndNothingElse) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    auto write = [&](const char* name, size_t bytes) {
        const std::string path = dir.filePath(name).toStdString();
        std::ofstream(path, std::ios::binary) << std::string(bytes, '\x40');
        return path;
    };
    RawFrame frame;
    std::string error;
    // Mono8 of width 6: 6 bytes a row tight, 8 padded; anything else is refused.
    const CameraFormat& mono8 = *CameraFormat::find("Mono8");
    ASSERT_TRUE(frame.load(write("tight.raw", 6 * 3), mono8, 6, 3, &error)) << error;
    EXPECT_EQ(frame.image()->stride, 6u);
    ASSERT_TRUE(frame.load(write("padded.raw", 8 * 3), mono8, 6, 3, &error)) << error;
    EXPECT_EQ(frame.image()->stride, 8u);
    EXPECT_EQ(frame.image()->imageSize, 24u);
    EXPECT_FALSE(frame.load(write("long.raw", 8 * 3 + 1), mono8, 6, 3, &error));
    EXPECT_FALSE(frame.load(write("empty.raw", 0), mono8, 0, 3, &error));
    // Packed rows are read tight by the library: padding them would shift every row.
    const CameraFormat& mono12p = *CameraFormat::find("Mono12p");
    EXPECT_TRUE(frame.load(write("p.raw", 6 * 2), mono12p, 4, 2, &error)) << error;
    EXPECT_FALSE(frame.load(write("ppad.raw", 8 * 2), mono12p, 4, 2, &error));
}

} // namespace
