#include "image/QTDImageTypes.h"

#include <brx/BrxPixelTypes.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

using namespace QTD;

namespace {

std::vector<std::string> letters(const char* order) {
    std::istringstream in(order);
    std::vector<std::string> out;
    for (std::string s; in >> s;)
        out.push_back(s);
    return out;
}

bool startsWith(const std::string& s, const char* prefix) {
    return s.rfind(prefix, 0) == 0;
}
bool endsWith(const std::string& s, const std::string& suffix) {
    return s.size() >= suffix.size() &&
           s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

const char* kPatterns[4] = {"BGGR_WBBW", "GBRG_WGGW", "GRBG_WGGW", "RGGB_WRRW"};
} // namespace

TEST(ColorModelTable, EveryRowRoundTripsNameTypeAndShape) {
    std::set<std::string> names;
    for (int i = 0; i < kColorModelCount; ++i) {
        const ColorModelDescription& row = s_colorModelDescription[i];
        const std::string name = row.name;
        SCOPED_TRACE(name);
        EXPECT_TRUE(names.insert(name).second);
        EXPECT_EQ(unsigned(i + 1), row.pixelType & 0xFF);
        EXPECT_EQ(&row, colorModelByType(row.pixelType));
        EXPECT_EQ(&row, colorModelByName(row.name));
        EXPECT_EQ(row.pixelType, pixelTypeByName(row.name));

        // The depth code of the word (1 for 8 bits to 5 for 16), and the packing by the name.
        EXPECT_EQ(6 + 2 * ((row.pixelType >> 8) & 0xF), row.bitsPerChannel);
        const bool flex = name.find("FLE") != std::string::npos || endsWith(name, "_PACKED");
        EXPECT_EQ(flex                       ? 3
                  : endsWith(name, "Packed") ? 1
                  : endsWith(name, "p")      ? 2
                                             : 0,
                  (row.pixelType >> 12) & 0xF);

        unsigned family = row.pixelType >> 24;
        std::vector<std::string> order = letters(row.channelOrder);
        if (startsWith(name, "Mono") || startsWith(name, "Bayer") ||
            startsWith(name, "TrueSense")) {
            EXPECT_EQ(startsWith(name, "Mono") ? 1u : startsWith(name, "Bayer") ? 3u : 4u, family);
            EXPECT_EQ(1u, row.channels);
            EXPECT_EQ(&GetIndexMONO, row.getIndex);
            if (startsWith(name, "Bayer")) {
                EXPECT_EQ(name.substr(5, 2), order[0] + order[1]);
            }
        } else {
            EXPECT_EQ(startsWith(name, "RGB") || startsWith(name, "BGR") ? 2u : 5u, family);
            EXPECT_EQ(std::set<std::string>(order.begin(), order.end()).size(), row.channels);
            EXPECT_EQ(0u, row.phase);
            if (family == 2) // letter positions are the channel indices
                for (size_t k = 0; k < order.size(); ++k)
                    EXPECT_EQ(int(k), row.getIndex(order[k][0])) << order[k];
            else
                EXPECT_EQ(&GetIndexYUV, row.getIndex);
        }
    }
    EXPECT_EQ(133u, names.size());
    EXPECT_EQ(nullptr, colorModelByType(0));
    EXPECT_EQ(nullptr, colorModelByType(134));
    EXPECT_EQ(nullptr, colorModelByName("mono8")); // exact names only
}

// Each name of the public header stands for the row of that name, and every row has one.
TEST(ColorModelTable, PublicNamesAreTheRowsTypes) {
#define ROW(name) std::make_pair(#name, BRX_PIXEL_##name)
    // clang-format off
    const std::pair<const char*, BrxPixelType> rows[] = {
        ROW(Mono8), ROW(Mono10), ROW(Mono10p), ROW(Mono10Packed), ROW(Mono10_FLExPacked),
        ROW(Mono12), ROW(Mono12p), ROW(Mono12Packed), ROW(Mono12_FLExPacked), ROW(Mono14),
        ROW(Mono16), ROW(Mono8_FLExPacked), ROW(BayerGR8), ROW(BayerRG8), ROW(BayerGB8),
        ROW(BayerBG8), ROW(BayerGR10), ROW(BayerRG10), ROW(BayerGB10), ROW(BayerBG10),
        ROW(BayerGR12), ROW(BayerRG12), ROW(BayerGB12), ROW(BayerBG12), ROW(BayerGR10p),
        ROW(BayerGR10Packed), ROW(BayerRG10p), ROW(BayerRG10Packed), ROW(BayerGB10p),
        ROW(BayerGB10Packed), ROW(BayerBG10p), ROW(BayerBG10Packed), ROW(BayerGR12p),
        ROW(BayerGR12Packed), ROW(BayerRG12p), ROW(BayerRG12Packed), ROW(BayerGB12p),
        ROW(BayerGB12Packed), ROW(BayerBG12p), ROW(BayerBG12Packed), ROW(BayerGR14), ROW(BayerRG14),
        ROW(BayerGB14), ROW(BayerBG14), ROW(BayerGR16), ROW(BayerRG16), ROW(BayerGB16),
        ROW(BayerBG16), ROW(TrueSense_BGGR_WBBW_0_8), ROW(TrueSense_BGGR_WBBW_1_8),
        ROW(TrueSense_BGGR_WBBW_2_8), ROW(TrueSense_BGGR_WBBW_3_8), ROW(TrueSense_GBRG_WGGW_0_8),
        ROW(TrueSense_GBRG_WGGW_1_8), ROW(TrueSense_GBRG_WGGW_2_8), ROW(TrueSense_GBRG_WGGW_3_8),
        ROW(TrueSense_GRBG_WGGW_0_8), ROW(TrueSense_GRBG_WGGW_1_8), ROW(TrueSense_GRBG_WGGW_2_8),
        ROW(TrueSense_GRBG_WGGW_3_8), ROW(TrueSense_RGGB_WRRW_0_8), ROW(TrueSense_RGGB_WRRW_1_8),
        ROW(TrueSense_RGGB_WRRW_2_8), ROW(TrueSense_RGGB_WRRW_3_8), ROW(TrueSense_BGGR_WBBW_0_10),
        ROW(TrueSense_BGGR_WBBW_1_10), ROW(TrueSense_BGGR_WBBW_2_10), ROW(TrueSense_BGGR_WBBW_3_10),
        ROW(TrueSense_GBRG_WGGW_0_10), ROW(TrueSense_GBRG_WGGW_1_10), ROW(TrueSense_GBRG_WGGW_2_10),
        ROW(TrueSense_GBRG_WGGW_3_10), ROW(TrueSense_GRBG_WGGW_0_10), ROW(TrueSense_GRBG_WGGW_1_10),
        ROW(TrueSense_GRBG_WGGW_2_10), ROW(TrueSense_GRBG_WGGW_3_10), ROW(TrueSense_RGGB_WRRW_0_10),
        ROW(TrueSense_RGGB_WRRW_1_10), ROW(TrueSense_RGGB_WRRW_2_10), ROW(TrueSense_RGGB_WRRW_3_10),
        ROW(TrueSense_BGGR_WBBW_0_12), ROW(TrueSense_BGGR_WBBW_1_12), ROW(TrueSense_BGGR_WBBW_2_12),
        ROW(TrueSense_BGGR_WBBW_3_12), ROW(TrueSense_GBRG_WGGW_0_12), ROW(TrueSense_GBRG_WGGW_1_12),
        ROW(TrueSense_GBRG_WGGW_2_12), ROW(TrueSense_GBRG_WGGW_3_12), ROW(TrueSense_GRBG_WGGW_0_12),
        ROW(TrueSense_GRBG_WGGW_1_12), ROW(TrueSense_GRBG_WGGW_2_12), ROW(TrueSense_GRBG_WGGW_3_12),
        ROW(TrueSense_RGGB_WRRW_0_12), ROW(TrueSense_RGGB_WRRW_1_12), ROW(TrueSense_RGGB_WRRW_2_12),
        ROW(TrueSense_RGGB_WRRW_3_12), ROW(TrueSense_BGGR_WBBW_0_14), ROW(TrueSense_BGGR_WBBW_1_14),
        ROW(TrueSense_BGGR_WBBW_2_14), ROW(TrueSense_BGGR_WBBW_3_14), ROW(TrueSense_GBRG_WGGW_0_14),
        ROW(TrueSense_GBRG_WGGW_1_14), ROW(TrueSense_GBRG_WGGW_2_14), ROW(TrueSense_GBRG_WGGW_3_14),
        ROW(TrueSense_GRBG_WGGW_0_14), ROW(TrueSense_GRBG_WGGW_1_14), ROW(TrueSense_GRBG_WGGW_2_14),
        ROW(TrueSense_GRBG_WGGW_3_14), ROW(TrueSense_RGGB_WRRW_0_14), ROW(TrueSense_RGGB_WRRW_1_14),
        ROW(TrueSense_RGGB_WRRW_2_14), ROW(TrueSense_RGGB_WRRW_3_14), ROW(RGB8), ROW(BGR8),
        ROW(RGBa8), ROW(BGRa8), ROW(RGB10), ROW(BGR10), ROW(RGB12), ROW(BGR12), ROW(RGB14),
        ROW(BGR14), ROW(RGB16), ROW(BGR16), ROW(RGB_8_FLEX_Packed), ROW(RGB_10_FLEX_Packed),
        ROW(RGB_12_FLEX_Packed), ROW(YUV422_8_UYVY), ROW(YUV422_8), ROW(YUV422_10),
        ROW(YUV422_10_PACKED), ROW(YUV444_8), ROW(YCbCr422_8),
    };
    // clang-format on
#undef ROW
    std::set<uint32_t> types;
    for (const auto& [name, type] : rows) {
        SCOPED_TRACE(name);
        EXPECT_EQ(pixelTypeByName(name), type);
        EXPECT_TRUE(types.insert(type).second);
    }
    EXPECT_EQ(types.size(), size_t(kColorModelCount));
}

// The expected format of each row, worked out from its name alone.
TEST(PixelFormatRules, EveryTypeOfTheTable) {
    const std::set<std::string> mono = {"Mono8",   "Mono10", "Mono10p", "Mono12",
                                        "Mono12p", "Mono14", "Mono16"};
    const std::set<std::string> rgb = {"RGB8", "RGB10", "RGB12", "RGB14", "RGB16"};
    const std::set<std::string> bgr = {"BGR8", "BGR10", "BGR12", "BGR14", "BGR16"};
    // Position of (pattern, phase) in the format tables.
    const int position[4][4] = {{0, 1, 4, 5}, {2, 3, 6, 7}, {8, 9, 12, 13}, {10, 11, 14, 15}};
    for (const ColorModelDescription& row : s_colorModelDescription) {
        const std::string name = row.name;
        SCOPED_TRACE(name);
        PixelFormat f(row.pixelType);
        const int depth = int(row.bitsPerChannel);
        if (startsWith(name, "Bayer")) {
            if (endsWith(name, "Packed")) {
                EXPECT_FALSE(f.valid());
                continue;
            }
            const std::string pattern = name.substr(5, 2);
            const int order = pattern == "GR" ? 0 : pattern == "RG" ? 1 : pattern == "BG" ? 2 : 3;
            const bool usb = endsWith(name, "p");
            EXPECT_EQ(std::make_tuple(ClrBayer, order, depth), std::tie(f.mode, f.order, f.depth));
            EXPECT_EQ(usb ? "usb" : "", f.option);
            const unsigned k = order == 2 ? 3 : order == 3 ? 2 : unsigned(order);
            if (!usb) // the word of the same row, with family 1
                EXPECT_EQ((row.pixelType & 0x00FFFFFF) | 0x01000000, f.getTypeID());
            else
                EXPECT_EQ(0x010C0000u | (depth == 10 ? 0x2200u : 0x2300u) |
                              ((depth == 10 ? 25u : 33u) + k),
                          f.getTypeID());
        } else if (startsWith(name, "TrueSense")) {
            int p = 0;
            while (!startsWith(name.substr(10), kPatterns[p]))
                ++p;
            EXPECT_EQ(std::make_tuple(ClrTrueSense, position[p][row.phase], depth),
                      std::tie(f.mode, f.order, f.depth));
            EXPECT_EQ(row.pixelType, f.getTypeID());
        } else if (mono.count(name) || rgb.count(name) || bgr.count(name) || name == "RGBa8" ||
                   name == "BGRa8" || name == "YUV422_8_UYVY") {
            const ClrMode mode = mono.count(name)                     ? ClrMono
                                 : name == "RGBa8" || name == "BGRa8" ? ClrRGBA
                                 : name == "YUV422_8_UYVY"            ? ClrYUV
                                                                      : ClrRGB;
            EXPECT_EQ(std::make_pair(mode, depth), std::make_pair(f.mode, f.depth));
            EXPECT_EQ(endsWith(name, "p") ? "usb" : "", f.option);
            if (mode == ClrRGB || mode == ClrRGBA) {
                EXPECT_EQ(startsWith(name, "BGR") ? 1 : 0, f.order);
            }
            EXPECT_EQ(row.pixelType, f.getTypeID());
        } else {
            EXPECT_FALSE(f.valid());
            EXPECT_EQ(0u, f.getTypeID());
        }
    }
}

TEST(PixelFormatRules, SizesScalesAndEdgeWords) {
    PixelFormat mono(ClrMono, 12, 0);
    EXPECT_EQ(2000, mono.strideFor(1000, 4));
    EXPECT_EQ(0.0625, mono.scale(8));
    EXPECT_EQ(-4, mono.shift(8));
    mono.option = "usb";
    EXPECT_EQ(1500, mono.strideFor(1000, 4));
    mono.depth = 10;
    EXPECT_EQ(1250, mono.strideFor(1000, 4));
    EXPECT_EQ(304, PixelFormat(ClrRGB, 8, 0).strideFor(101, 4)); // 303 rounded up to four

    EXPECT_EQ(0u, PixelFormat(ClrRGBA, 16, 0).getTypeID());
    EXPECT_EQ(0u, PixelFormat(ClrTrueSense, 8, 16).getTypeID());
    EXPECT_EQ(0x0230057Cu, PixelFormat(ClrRGB, 9, 1).getTypeID()); // BGR16 for other depths
    EXPECT_EQ(0x01080101u, PixelFormat(ClrMono, 9, 0).getTypeID());
}

TEST(PixelFormatRules, AssignmentTakesTypeAndMergesProperties) {
    PixelFormat a(0x010C2307), b; // Mono12p
    a.props.set("k", "1", true);
    b.props.set("k", "0", true);
    b.props.set("own", "x", true);
    b = a;
    EXPECT_EQ("usb", b.option);
    EXPECT_EQ("k=1 own=x", b.props.text(false));
}

TEST(RgbColorValues, ConversionsClampAndPin) {
    double d[4] = {-1, -1, -1, -1};
    RgbColor::convert(d, 1, 2, 3, 4, 0); // no levels: nothing
    EXPECT_EQ(-1.0, d[0]);
    RgbColor::convert(d, 128, 300, 0, 255, 256);
    EXPECT_EQ(1.0, d[1]);
    int i[4];
    RgbColor::convert(i, 0.5, 1.2, 0.0, 0.99999, 1024);
    EXPECT_EQ(1023, i[1]);
    RgbColor::convert(i, -0.5, -1e30, std::nan(""), 0.999, 256);
    EXPECT_EQ(-128, i[0]);
    EXPECT_EQ(INT_MIN, i[1]); // pinned, not undefined
    EXPECT_EQ(0, i[2]);
}

// Gains, offsets and clamping at 256 levels are checked through the colour correction stage.
TEST(LookupTableCalc, ChannelsPastThreeFollowTheFirstAndGammaActsOnLevels) {
    LookupTable t(256, 7);
    t.gain[0] = 2.0;
    t.calc();
    EXPECT_EQ(20, t.values[3][10]);
    t.init(1024, 1);
    t.gamma = 0.5;
    t.calc();
    EXPECT_EQ(10, t.values[0][100]); // sqrt(100)
}
