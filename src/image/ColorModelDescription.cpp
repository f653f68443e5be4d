#include "image/ColorModelDescription.h"

#include <cstring>

int GetIndexMONO(char channel) {
    return channel == 'Y' ? 0 : -1;
}

int GetIndexRGB(char channel) {
    switch (channel) {
    case 'R':
        return 0;
    case 'G':
        return 1;
    case 'B':
        return 2;
    default:
        return -1;
    }
}

int GetIndexBGR(char channel) {
    switch (channel) {
    case 'B':
        return 0;
    case 'G':
        return 1;
    case 'R':
        return 2;
    default:
        return -1;
    }
}

int GetIndexRGBA(char channel) {
    return channel == 'A' ? 3 : GetIndexRGB(channel);
}

int GetIndexBGRA(char channel) {
    return channel == 'A' ? 3 : GetIndexBGR(channel);
}

int GetIndexYUV(char channel) {
    switch (channel) {
    case 'Y':
        return 0;
    case 'U':
        return 1;
    case 'V':
        return 2;
    default:
        return -1;
    }
}

// Rows 49 to 112 are the TrueSense types: by depth (8, 10, 12, 14), then by pattern, then by
// phase; their type is 0x04080100 | row at 8 bits and 0x04100000 | depthCode << 8 | row deeper.
const ColorModelDescription s_colorModelDescription[kColorModelCount] = {
    {"Mono8", "Y", 1, 8, GetIndexMONO, 0, 0x01080101},
    {"Mono10", "Y", 1, 10, GetIndexMONO, 0, 0x01100202},
    {"Mono10p", "Y", 1, 10, GetIndexMONO, 0, 0x010A2203},
    {"Mono10Packed", "Y", 1, 10, GetIndexMONO, 0, 0x010C1204},
    {"Mono10_FLExPacked", "Y", 1, 10, GetIndexMONO, 0, 0x010C3205},
    {"Mono12", "Y", 1, 12, GetIndexMONO, 0, 0x01100306},
    {"Mono12p", "Y", 1, 12, GetIndexMONO, 0, 0x010C2307},
    {"Mono12Packed", "Y", 1, 12, GetIndexMONO, 0, 0x010C1308},
    {"Mono12_FLExPacked", "Y", 1, 12, GetIndexMONO, 0, 0x010C3309},
    {"Mono14", "Y", 1, 14, GetIndexMONO, 0, 0x0110040A},
    {"Mono16", "Y", 1, 16, GetIndexMONO, 0, 0x0110050B},
    {"Mono8_FLExPacked", "Y", 1, 8, GetIndexMONO, 0, 0x0108310C},
    {"BayerGR8", "G R G2 B", 1, 8, GetIndexMONO, 0, 0x0308010D},
    {"BayerRG8", "R G B G2", 1, 8, GetIndexMONO, 0, 0x0308010E},
    {"BayerGB8", "G B G2 R", 1, 8, GetIndexMONO, 0, 0x0308010F},
    {"BayerBG8", "B G R G2", 1, 8, GetIndexMONO, 0, 0x03080110},
    {"BayerGR10", "G R G2 B", 1, 10, GetIndexMONO, 0, 0x03100211},
    {"BayerRG10", "R G B G2", 1, 10, GetIndexMONO, 0, 0x03100212},
    {"BayerGB10", "G B G2 R", 1, 10, GetIndexMONO, 0, 0x03100213},
    {"BayerBG10", "B G R G2", 1, 10, GetIndexMONO, 0, 0x03100214},
    {"BayerGR12", "G R G2 B", 1, 12, GetIndexMONO, 0, 0x03100315},
    {"BayerRG12", "R G B G2", 1, 12, GetIndexMONO, 0, 0x03100316},
    {"BayerGB12", "G B G2 R", 1, 12, GetIndexMONO, 0, 0x03100317},
    {"BayerBG12", "B G R G2", 1, 12, GetIndexMONO, 0, 0x03100318},
    {"BayerGR10p", "G R G2 B", 1, 10, GetIndexMONO, 0, 0x030A2219},
    {"BayerGR10Packed", "G R G2 B", 1, 10, GetIndexMONO, 0, 0x030C121A},
    {"BayerRG10p", "R G B G2", 1, 10, GetIndexMONO, 0, 0x030A221B},
    {"BayerRG10Packed", "R G B G2", 1, 10, GetIndexMONO, 0, 0x030C121C},
    {"BayerGB10p", "G B G2 R", 1, 10, GetIndexMONO, 0, 0x030A221D},
    {"BayerGB10Packed", "G B G2 R", 1, 10, GetIndexMONO, 0, 0x030C121E},
    {"BayerBG10p", "B G R G2", 1, 10, GetIndexMONO, 0, 0x030A221F},
    {"BayerBG10Packed", "B G R G2", 1, 10, GetIndexMONO, 0, 0x030C1220},
    {"BayerGR12p", "G R G2 B", 1, 12, GetIndexMONO, 0, 0x030C2321},
    {"BayerGR12Packed", "G R G2 B", 1, 12, GetIndexMONO, 0, 0x030C1322},
    {"BayerRG12p", "R G B G2", 1, 12, GetIndexMONO, 0, 0x030C2323},
    {"BayerRG12Packed", "R G B G2", 1, 12, GetIndexMONO, 0, 0x030C1324},
    {"BayerGB12p", "G B G2 R", 1, 12, GetIndexMONO, 0, 0x030C2325},
    {"BayerGB12Packed", "G B G2 R", 1, 12, GetIndexMONO, 0, 0x030C1326},
    {"BayerBG12p", "B G R G2", 1, 12, GetIndexMONO, 0, 0x030C2327},
    {"BayerBG12Packed", "B G R G2", 1, 12, GetIndexMONO, 0, 0x030C1328},
    {"BayerGR14", "G R G2 B", 1, 14, GetIndexMONO, 0, 0x03100429},
    {"BayerRG14", "R G B G2", 1, 14, GetIndexMONO, 0, 0x0310042A},
    {"BayerGB14", "G B G2 R", 1, 14, GetIndexMONO, 0, 0x0310042B},
    {"BayerBG14", "B G R G2", 1, 14, GetIndexMONO, 0, 0x0310042C},
    {"BayerGR16", "G R G2 B", 1, 16, GetIndexMONO, 0, 0x0310052D},
    {"BayerRG16", "R G B G2", 1, 16, GetIndexMONO, 0, 0x0310052E},
    {"BayerGB16", "G B G2 R", 1, 16, GetIndexMONO, 0, 0x0310052F},
    {"BayerBG16", "B G R G2", 1, 16, GetIndexMONO, 0, 0x03100530},
    {"TrueSense_BGGR_WBBW_0_8", "W B W G B W G W W G W R G W R W", 1, 8, GetIndexMONO, 0,
     0x04080131},
    {"TrueSense_BGGR_WBBW_1_8", "W B W G B W G W W G W R G W R W", 1, 8, GetIndexMONO, 1,
     0x04080132},
    {"TrueSense_BGGR_WBBW_2_8", "W B W G B W G W W G W R G W R W", 1, 8, GetIndexMONO, 2,
     0x04080133},
    {"TrueSense_BGGR_WBBW_3_8", "W B W G B W G W W G W R G W R W", 1, 8, GetIndexMONO, 3,
     0x04080134},
    {"TrueSense_GBRG_WGGW_0_8", "W G W B G W B W W R W G R W G W", 1, 8, GetIndexMONO, 0,
     0x04080135},
    {"TrueSense_GBRG_WGGW_1_8", "W G W B G W B W W R W G R W G W", 1, 8, GetIndexMONO, 1,
     0x04080136},
    {"TrueSense_GBRG_WGGW_2_8", "W G W B G W B W W R W G R W G W", 1, 8, GetIndexMONO, 2,
     0x04080137},
    {"TrueSense_GBRG_WGGW_3_8", "W G W B G W B W W R W G R W G W", 1, 8, GetIndexMONO, 3,
     0x04080138},
    {"TrueSense_GRBG_WGGW_0_8", "W G W R G W R W W B W G B W G W", 1, 8, GetIndexMONO, 0,
     0x04080139},
    {"TrueSense_GRBG_WGGW_1_8", "W G W R G W R W W B W G B W G W", 1, 8, GetIndexMONO, 1,
     0x0408013A},
    {"TrueSense_GRBG_WGGW_2_8", "W G W R G W R W W B W G B W G W", 1, 8, GetIndexMONO, 2,
     0x0408013B},
    {"TrueSense_GRBG_WGGW_3_8", "W G W R G W R W W B W G B W G W", 1, 8, GetIndexMONO, 3,
     0x0408013C},
    {"TrueSense_RGGB_WRRW_0_8", "W R W G R W G W W G W B G W B W", 1, 8, GetIndexMONO, 0,
     0x0408013D},
    {"TrueSense_RGGB_WRRW_1_8", "W R W G R W G W W G W B G W B W", 1, 8, GetIndexMONO, 1,
     0x0408013E},
    {"TrueSense_RGGB_WRRW_2_8", "W R W G R W G W W G W B G W B W", 1, 8, GetIndexMONO, 2,
     0x0408013F},
    {"TrueSense_RGGB_WRRW_3_8", "W R W G R W G W W G W B G W B W", 1, 8, GetIndexMONO, 3,
     0x04080140},
    {"TrueSense_BGGR_WBBW_0_10", "W B W G B W G W W G W R G W R W", 1, 10, GetIndexMONO, 0,
     0x04100241},
    {"TrueSense_BGGR_WBBW_1_10", "W B W G B W G W W G W R G W R W", 1, 10, GetIndexMONO, 1,
     0x04100242},
    {"TrueSense_BGGR_WBBW_2_10", "W B W G B W G W W G W R G W R W", 1, 10, GetIndexMONO, 2,
     0x04100243},
    {"TrueSense_BGGR_WBBW_3_10", "W B W G B W G W W G W R G W R W", 1, 10, GetIndexMONO, 3,
     0x04100244},
    {"TrueSense_GBRG_WGGW_0_10", "W G W B G W B W W R W G R W G W", 1, 10, GetIndexMONO, 0,
     0x04100245},
    {"TrueSense_GBRG_WGGW_1_10", "W G W B G W B W W R W G R W G W", 1, 10, GetIndexMONO, 1,
     0x04100246},
    {"TrueSense_GBRG_WGGW_2_10", "W G W B G W B W W R W G R W G W", 1, 10, GetIndexMONO, 2,
     0x04100247},
    {"TrueSense_GBRG_WGGW_3_10", "W G W B G W B W W R W G R W G W", 1, 10, GetIndexMONO, 3,
     0x04100248},
    {"TrueSense_GRBG_WGGW_0_10", "W G W R G W R W W B W G B W G W", 1, 10, GetIndexMONO, 0,
     0x04100249},
    {"TrueSense_GRBG_WGGW_1_10", "W G W R G W R W W B W G B W G W", 1, 10, GetIndexMONO, 1,
     0x0410024A},
    {"TrueSense_GRBG_WGGW_2_10", "W G W R G W R W W B W G B W G W", 1, 10, GetIndexMONO, 2,
     0x0410024B},
    {"TrueSense_GRBG_WGGW_3_10", "W G W R G W R W W B W G B W G W", 1, 10, GetIndexMONO, 3,
     0x0410024C},
    {"TrueSense_RGGB_WRRW_0_10", "W R W G R W G W W G W B G W B W", 1, 10, GetIndexMONO, 0,
     0x0410024D},
    {"TrueSense_RGGB_WRRW_1_10", "W R W G R W G W W G W B G W B W", 1, 10, GetIndexMONO, 1,
     0x0410024E},
    {"TrueSense_RGGB_WRRW_2_10", "W R W G R W G W W G W B G W B W", 1, 10, GetIndexMONO, 2,
     0x0410024F},
    {"TrueSense_RGGB_WRRW_3_10", "W R W G R W G W W G W B G W B W", 1, 10, GetIndexMONO, 3,
     0x04100250},
    {"TrueSense_BGGR_WBBW_0_12", "W B W G B W G W W G W R G W R W", 1, 12, GetIndexMONO, 0,
     0x04100351},
    {"TrueSense_BGGR_WBBW_1_12", "W B W G B W G W W G W R G W R W", 1, 12, GetIndexMONO, 1,
     0x04100352},
    {"TrueSense_BGGR_WBBW_2_12", "W B W G B W G W W G W R G W R W", 1, 12, GetIndexMONO, 2,
     0x04100353},
    {"TrueSense_BGGR_WBBW_3_12", "W B W G B W G W W G W R G W R W", 1, 12, GetIndexMONO, 3,
     0x04100354},
    {"TrueSense_GBRG_WGGW_0_12", "W G W B G W B W W R W G R W G W", 1, 12, GetIndexMONO, 0,
     0x04100355},
    {"TrueSense_GBRG_WGGW_1_12", "W G W B G W B W W R W G R W G W", 1, 12, GetIndexMONO, 1,
     0x04100356},
    {"TrueSense_GBRG_WGGW_2_12", "W G W B G W B W W R W G R W G W", 1, 12, GetIndexMONO, 2,
     0x04100357},
    {"TrueSense_GBRG_WGGW_3_12", "W G W B G W B W W R W G R W G W", 1, 12, GetIndexMONO, 3,
     0x04100358},
    {"TrueSense_GRBG_WGGW_0_12", "W G W R G W R W W B W G B W G W", 1, 12, GetIndexMONO, 0,
     0x04100359},
    {"TrueSense_GRBG_WGGW_1_12", "W G W R G W R W W B W G B W G W", 1, 12, GetIndexMONO, 1,
     0x0410035A},
    {"TrueSense_GRBG_WGGW_2_12", "W G W R G W R W W B W G B W G W", 1, 12, GetIndexMONO, 2,
     0x0410035B},
    {"TrueSense_GRBG_WGGW_3_12", "W G W R G W R W W B W G B W G W", 1, 12, GetIndexMONO, 3,
     0x0410035C},
    {"TrueSense_RGGB_WRRW_0_12", "W R W G R W G W W G W B G W B W", 1, 12, GetIndexMONO, 0,
     0x0410035D},
    {"TrueSense_RGGB_WRRW_1_12", "W R W G R W G W W G W B G W B W", 1, 12, GetIndexMONO, 1,
     0x0410035E},
    {"TrueSense_RGGB_WRRW_2_12", "W R W G R W G W W G W B G W B W", 1, 12, GetIndexMONO, 2,
     0x0410035F},
    {"TrueSense_RGGB_WRRW_3_12", "W R W G R W G W W G W B G W B W", 1, 12, GetIndexMONO, 3,
     0x04100360},
    {"TrueSense_BGGR_WBBW_0_14", "W B W G B W G W W G W R G W R W", 1, 14, GetIndexMONO, 0,
     0x04100461},
    {"TrueSense_BGGR_WBBW_1_14", "W B W G B W G W W G W R G W R W", 1, 14, GetIndexMONO, 1,
     0x04100462},
    {"TrueSense_BGGR_WBBW_2_14", "W B W G B W G W W G W R G W R W", 1, 14, GetIndexMONO, 2,
     0x04100463},
    {"TrueSense_BGGR_WBBW_3_14", "W B W G B W G W W G W R G W R W", 1, 14, GetIndexMONO, 3,
     0x04100464},
    {"TrueSense_GBRG_WGGW_0_14", "W G W B G W B W W R W G R W G W", 1, 14, GetIndexMONO, 0,
     0x04100465},
    {"TrueSense_GBRG_WGGW_1_14", "W G W B G W B W W R W G R W G W", 1, 14, GetIndexMONO, 1,
     0x04100466},
    {"TrueSense_GBRG_WGGW_2_14", "W G W B G W B W W R W G R W G W", 1, 14, GetIndexMONO, 2,
     0x04100467},
    {"TrueSense_GBRG_WGGW_3_14", "W G W B G W B W W R W G R W G W", 1, 14, GetIndexMONO, 3,
     0x04100468},
    {"TrueSense_GRBG_WGGW_0_14", "W G W R G W R W W B W G B W G W", 1, 14, GetIndexMONO, 0,
     0x04100469},
    {"TrueSense_GRBG_WGGW_1_14", "W G W R G W R W W B W G B W G W", 1, 14, GetIndexMONO, 1,
     0x0410046A},
    {"TrueSense_GRBG_WGGW_2_14", "W G W R G W R W W B W G B W G W", 1, 14, GetIndexMONO, 2,
     0x0410046B},
    {"TrueSense_GRBG_WGGW_3_14", "W G W R G W R W W B W G B W G W", 1, 14, GetIndexMONO, 3,
     0x0410046C},
    {"TrueSense_RGGB_WRRW_0_14", "W R W G R W G W W G W B G W B W", 1, 14, GetIndexMONO, 0,
     0x0410046D},
    {"TrueSense_RGGB_WRRW_1_14", "W R W G R W G W W G W B G W B W", 1, 14, GetIndexMONO, 1,
     0x0410046E},
    {"TrueSense_RGGB_WRRW_2_14", "W R W G R W G W W G W B G W B W", 1, 14, GetIndexMONO, 2,
     0x0410046F},
    {"TrueSense_RGGB_WRRW_3_14", "W R W G R W G W W G W B G W B W", 1, 14, GetIndexMONO, 3,
     0x04100470},
    {"RGB8", "R G B", 3, 8, GetIndexRGB, 0, 0x02180171},
    {"BGR8", "B G R", 3, 8, GetIndexBGR, 0, 0x02180172},
    {"RGBa8", "R G B A", 4, 8, GetIndexRGBA, 0, 0x02200173},
    {"BGRa8", "B G R A", 4, 8, GetIndexBGRA, 0, 0x02200174},
    {"RGB10", "R G B", 3, 10, GetIndexRGB, 0, 0x02300275},
    {"BGR10", "B G R", 3, 10, GetIndexBGR, 0, 0x02300276},
    {"RGB12", "R G B", 3, 12, GetIndexRGB, 0, 0x02300377},
    {"BGR12", "B G R", 3, 12, GetIndexBGR, 0, 0x02300378},
    {"RGB14", "R G B", 3, 14, GetIndexRGB, 0, 0x02300479},
    {"BGR14", "B G R", 3, 14, GetIndexBGR, 0, 0x0230047A},
    {"RGB16", "R G B", 3, 16, GetIndexRGB, 0, 0x0230057B},
    {"BGR16", "B G R", 3, 16, GetIndexBGR, 0, 0x0230057C},
    {"RGB_8_FLEX_Packed", "R G B", 3, 8, GetIndexRGB, 0, 0x0218317D},
    {"RGB_10_FLEX_Packed", "R G B", 3, 10, GetIndexRGB, 0, 0x0220327E},
    {"RGB_12_FLEX_Packed", "R G B", 3, 12, GetIndexRGB, 0, 0x0224337F},
    {"YUV422_8_UYVY", "U Y V Y", 3, 8, GetIndexYUV, 0, 0x05100180},
    {"YUV422_8", "Y U Y V", 3, 8, GetIndexYUV, 0, 0x05100181},
    {"YUV422_10", "Y U Y V", 3, 10, GetIndexYUV, 0, 0x05200282},
    {"YUV422_10_PACKED", "Y U Y V", 3, 10, GetIndexYUV, 0, 0x05143283},
    {"YUV444_8", "Y U V A", 4, 8, GetIndexYUV, 0, 0x05200184},
    {"YCbCr422_8", "Y Cb Y Cr", 3, 8, GetIndexYUV, 0, 0x05100185},
};

namespace QTD {

const ColorModelDescription* colorModelByType(unsigned int pixelType) {
    unsigned int row = pixelType & 0xFF;
    if (row < 1 || row > static_cast<unsigned int>(kColorModelCount))
        return nullptr;
    return &s_colorModelDescription[row - 1];
}

const ColorModelDescription* colorModelByName(const char* name) {
    if (!name)
        return nullptr;
    for (const ColorModelDescription& row : s_colorModelDescription)
        if (std::strcmp(row.name, name) == 0)
            return &row;
    return nullptr;
}

unsigned int pixelTypeByName(const char* name) {
    const ColorModelDescription* row = colorModelByName(name);
    return row ? row->pixelType : 0;
}

} // namespace QTD
