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
    {"Mono8", "Y", 1, 8, GetIndexMONO, 0, BRX_PIXEL_Mono8},
    {"Mono10", "Y", 1, 10, GetIndexMONO, 0, BRX_PIXEL_Mono10},
    {"Mono10p", "Y", 1, 10, GetIndexMONO, 0, BRX_PIXEL_Mono10p},
    {"Mono10Packed", "Y", 1, 10, GetIndexMONO, 0, BRX_PIXEL_Mono10Packed},
    {"Mono10_FLExPacked", "Y", 1, 10, GetIndexMONO, 0, BRX_PIXEL_Mono10_FLExPacked},
    {"Mono12", "Y", 1, 12, GetIndexMONO, 0, BRX_PIXEL_Mono12},
    {"Mono12p", "Y", 1, 12, GetIndexMONO, 0, BRX_PIXEL_Mono12p},
    {"Mono12Packed", "Y", 1, 12, GetIndexMONO, 0, BRX_PIXEL_Mono12Packed},
    {"Mono12_FLExPacked", "Y", 1, 12, GetIndexMONO, 0, BRX_PIXEL_Mono12_FLExPacked},
    {"Mono14", "Y", 1, 14, GetIndexMONO, 0, BRX_PIXEL_Mono14},
    {"Mono16", "Y", 1, 16, GetIndexMONO, 0, BRX_PIXEL_Mono16},
    {"Mono8_FLExPacked", "Y", 1, 8, GetIndexMONO, 0, BRX_PIXEL_Mono8_FLExPacked},
    {"BayerGR8", "G R G2 B", 1, 8, GetIndexMONO, 0, BRX_PIXEL_BayerGR8},
    {"BayerRG8", "R G B G2", 1, 8, GetIndexMONO, 0, BRX_PIXEL_BayerRG8},
    {"BayerGB8", "G B G2 R", 1, 8, GetIndexMONO, 0, BRX_PIXEL_BayerGB8},
    {"BayerBG8", "B G R G2", 1, 8, GetIndexMONO, 0, BRX_PIXEL_BayerBG8},
    {"BayerGR10", "G R G2 B", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerGR10},
    {"BayerRG10", "R G B G2", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerRG10},
    {"BayerGB10", "G B G2 R", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerGB10},
    {"BayerBG10", "B G R G2", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerBG10},
    {"BayerGR12", "G R G2 B", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerGR12},
    {"BayerRG12", "R G B G2", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerRG12},
    {"BayerGB12", "G B G2 R", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerGB12},
    {"BayerBG12", "B G R G2", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerBG12},
    {"BayerGR10p", "G R G2 B", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerGR10p},
    {"BayerGR10Packed", "G R G2 B", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerGR10Packed},
    {"BayerRG10p", "R G B G2", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerRG10p},
    {"BayerRG10Packed", "R G B G2", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerRG10Packed},
    {"BayerGB10p", "G B G2 R", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerGB10p},
    {"BayerGB10Packed", "G B G2 R", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerGB10Packed},
    {"BayerBG10p", "B G R G2", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerBG10p},
    {"BayerBG10Packed", "B G R G2", 1, 10, GetIndexMONO, 0, BRX_PIXEL_BayerBG10Packed},
    {"BayerGR12p", "G R G2 B", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerGR12p},
    {"BayerGR12Packed", "G R G2 B", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerGR12Packed},
    {"BayerRG12p", "R G B G2", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerRG12p},
    {"BayerRG12Packed", "R G B G2", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerRG12Packed},
    {"BayerGB12p", "G B G2 R", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerGB12p},
    {"BayerGB12Packed", "G B G2 R", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerGB12Packed},
    {"BayerBG12p", "B G R G2", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerBG12p},
    {"BayerBG12Packed", "B G R G2", 1, 12, GetIndexMONO, 0, BRX_PIXEL_BayerBG12Packed},
    {"BayerGR14", "G R G2 B", 1, 14, GetIndexMONO, 0, BRX_PIXEL_BayerGR14},
    {"BayerRG14", "R G B G2", 1, 14, GetIndexMONO, 0, BRX_PIXEL_BayerRG14},
    {"BayerGB14", "G B G2 R", 1, 14, GetIndexMONO, 0, BRX_PIXEL_BayerGB14},
    {"BayerBG14", "B G R G2", 1, 14, GetIndexMONO, 0, BRX_PIXEL_BayerBG14},
    {"BayerGR16", "G R G2 B", 1, 16, GetIndexMONO, 0, BRX_PIXEL_BayerGR16},
    {"BayerRG16", "R G B G2", 1, 16, GetIndexMONO, 0, BRX_PIXEL_BayerRG16},
    {"BayerGB16", "G B G2 R", 1, 16, GetIndexMONO, 0, BRX_PIXEL_BayerGB16},
    {"BayerBG16", "B G R G2", 1, 16, GetIndexMONO, 0, BRX_PIXEL_BayerBG16},
    {"TrueSense_BGGR_WBBW_0_8", "W B W G B W G W W G W R G W R W", 1, 8, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_BGGR_WBBW_0_8},
    {"TrueSense_BGGR_WBBW_1_8", "W B W G B W G W W G W R G W R W", 1, 8, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_BGGR_WBBW_1_8},
    {"TrueSense_BGGR_WBBW_2_8", "W B W G B W G W W G W R G W R W", 1, 8, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_BGGR_WBBW_2_8},
    {"TrueSense_BGGR_WBBW_3_8", "W B W G B W G W W G W R G W R W", 1, 8, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_BGGR_WBBW_3_8},
    {"TrueSense_GBRG_WGGW_0_8", "W G W B G W B W W R W G R W G W", 1, 8, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_GBRG_WGGW_0_8},
    {"TrueSense_GBRG_WGGW_1_8", "W G W B G W B W W R W G R W G W", 1, 8, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_GBRG_WGGW_1_8},
    {"TrueSense_GBRG_WGGW_2_8", "W G W B G W B W W R W G R W G W", 1, 8, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_GBRG_WGGW_2_8},
    {"TrueSense_GBRG_WGGW_3_8", "W G W B G W B W W R W G R W G W", 1, 8, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_GBRG_WGGW_3_8},
    {"TrueSense_GRBG_WGGW_0_8", "W G W R G W R W W B W G B W G W", 1, 8, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_GRBG_WGGW_0_8},
    {"TrueSense_GRBG_WGGW_1_8", "W G W R G W R W W B W G B W G W", 1, 8, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_GRBG_WGGW_1_8},
    {"TrueSense_GRBG_WGGW_2_8", "W G W R G W R W W B W G B W G W", 1, 8, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_GRBG_WGGW_2_8},
    {"TrueSense_GRBG_WGGW_3_8", "W G W R G W R W W B W G B W G W", 1, 8, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_GRBG_WGGW_3_8},
    {"TrueSense_RGGB_WRRW_0_8", "W R W G R W G W W G W B G W B W", 1, 8, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_RGGB_WRRW_0_8},
    {"TrueSense_RGGB_WRRW_1_8", "W R W G R W G W W G W B G W B W", 1, 8, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_RGGB_WRRW_1_8},
    {"TrueSense_RGGB_WRRW_2_8", "W R W G R W G W W G W B G W B W", 1, 8, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_RGGB_WRRW_2_8},
    {"TrueSense_RGGB_WRRW_3_8", "W R W G R W G W W G W B G W B W", 1, 8, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_RGGB_WRRW_3_8},
    {"TrueSense_BGGR_WBBW_0_10", "W B W G B W G W W G W R G W R W", 1, 10, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_BGGR_WBBW_0_10},
    {"TrueSense_BGGR_WBBW_1_10", "W B W G B W G W W G W R G W R W", 1, 10, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_BGGR_WBBW_1_10},
    {"TrueSense_BGGR_WBBW_2_10", "W B W G B W G W W G W R G W R W", 1, 10, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_BGGR_WBBW_2_10},
    {"TrueSense_BGGR_WBBW_3_10", "W B W G B W G W W G W R G W R W", 1, 10, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_BGGR_WBBW_3_10},
    {"TrueSense_GBRG_WGGW_0_10", "W G W B G W B W W R W G R W G W", 1, 10, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_GBRG_WGGW_0_10},
    {"TrueSense_GBRG_WGGW_1_10", "W G W B G W B W W R W G R W G W", 1, 10, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_GBRG_WGGW_1_10},
    {"TrueSense_GBRG_WGGW_2_10", "W G W B G W B W W R W G R W G W", 1, 10, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_GBRG_WGGW_2_10},
    {"TrueSense_GBRG_WGGW_3_10", "W G W B G W B W W R W G R W G W", 1, 10, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_GBRG_WGGW_3_10},
    {"TrueSense_GRBG_WGGW_0_10", "W G W R G W R W W B W G B W G W", 1, 10, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_GRBG_WGGW_0_10},
    {"TrueSense_GRBG_WGGW_1_10", "W G W R G W R W W B W G B W G W", 1, 10, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_GRBG_WGGW_1_10},
    {"TrueSense_GRBG_WGGW_2_10", "W G W R G W R W W B W G B W G W", 1, 10, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_GRBG_WGGW_2_10},
    {"TrueSense_GRBG_WGGW_3_10", "W G W R G W R W W B W G B W G W", 1, 10, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_GRBG_WGGW_3_10},
    {"TrueSense_RGGB_WRRW_0_10", "W R W G R W G W W G W B G W B W", 1, 10, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_RGGB_WRRW_0_10},
    {"TrueSense_RGGB_WRRW_1_10", "W R W G R W G W W G W B G W B W", 1, 10, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_RGGB_WRRW_1_10},
    {"TrueSense_RGGB_WRRW_2_10", "W R W G R W G W W G W B G W B W", 1, 10, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_RGGB_WRRW_2_10},
    {"TrueSense_RGGB_WRRW_3_10", "W R W G R W G W W G W B G W B W", 1, 10, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_RGGB_WRRW_3_10},
    {"TrueSense_BGGR_WBBW_0_12", "W B W G B W G W W G W R G W R W", 1, 12, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_BGGR_WBBW_0_12},
    {"TrueSense_BGGR_WBBW_1_12", "W B W G B W G W W G W R G W R W", 1, 12, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_BGGR_WBBW_1_12},
    {"TrueSense_BGGR_WBBW_2_12", "W B W G B W G W W G W R G W R W", 1, 12, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_BGGR_WBBW_2_12},
    {"TrueSense_BGGR_WBBW_3_12", "W B W G B W G W W G W R G W R W", 1, 12, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_BGGR_WBBW_3_12},
    {"TrueSense_GBRG_WGGW_0_12", "W G W B G W B W W R W G R W G W", 1, 12, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_GBRG_WGGW_0_12},
    {"TrueSense_GBRG_WGGW_1_12", "W G W B G W B W W R W G R W G W", 1, 12, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_GBRG_WGGW_1_12},
    {"TrueSense_GBRG_WGGW_2_12", "W G W B G W B W W R W G R W G W", 1, 12, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_GBRG_WGGW_2_12},
    {"TrueSense_GBRG_WGGW_3_12", "W G W B G W B W W R W G R W G W", 1, 12, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_GBRG_WGGW_3_12},
    {"TrueSense_GRBG_WGGW_0_12", "W G W R G W R W W B W G B W G W", 1, 12, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_GRBG_WGGW_0_12},
    {"TrueSense_GRBG_WGGW_1_12", "W G W R G W R W W B W G B W G W", 1, 12, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_GRBG_WGGW_1_12},
    {"TrueSense_GRBG_WGGW_2_12", "W G W R G W R W W B W G B W G W", 1, 12, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_GRBG_WGGW_2_12},
    {"TrueSense_GRBG_WGGW_3_12", "W G W R G W R W W B W G B W G W", 1, 12, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_GRBG_WGGW_3_12},
    {"TrueSense_RGGB_WRRW_0_12", "W R W G R W G W W G W B G W B W", 1, 12, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_RGGB_WRRW_0_12},
    {"TrueSense_RGGB_WRRW_1_12", "W R W G R W G W W G W B G W B W", 1, 12, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_RGGB_WRRW_1_12},
    {"TrueSense_RGGB_WRRW_2_12", "W R W G R W G W W G W B G W B W", 1, 12, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_RGGB_WRRW_2_12},
    {"TrueSense_RGGB_WRRW_3_12", "W R W G R W G W W G W B G W B W", 1, 12, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_RGGB_WRRW_3_12},
    {"TrueSense_BGGR_WBBW_0_14", "W B W G B W G W W G W R G W R W", 1, 14, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_BGGR_WBBW_0_14},
    {"TrueSense_BGGR_WBBW_1_14", "W B W G B W G W W G W R G W R W", 1, 14, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_BGGR_WBBW_1_14},
    {"TrueSense_BGGR_WBBW_2_14", "W B W G B W G W W G W R G W R W", 1, 14, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_BGGR_WBBW_2_14},
    {"TrueSense_BGGR_WBBW_3_14", "W B W G B W G W W G W R G W R W", 1, 14, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_BGGR_WBBW_3_14},
    {"TrueSense_GBRG_WGGW_0_14", "W G W B G W B W W R W G R W G W", 1, 14, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_GBRG_WGGW_0_14},
    {"TrueSense_GBRG_WGGW_1_14", "W G W B G W B W W R W G R W G W", 1, 14, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_GBRG_WGGW_1_14},
    {"TrueSense_GBRG_WGGW_2_14", "W G W B G W B W W R W G R W G W", 1, 14, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_GBRG_WGGW_2_14},
    {"TrueSense_GBRG_WGGW_3_14", "W G W B G W B W W R W G R W G W", 1, 14, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_GBRG_WGGW_3_14},
    {"TrueSense_GRBG_WGGW_0_14", "W G W R G W R W W B W G B W G W", 1, 14, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_GRBG_WGGW_0_14},
    {"TrueSense_GRBG_WGGW_1_14", "W G W R G W R W W B W G B W G W", 1, 14, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_GRBG_WGGW_1_14},
    {"TrueSense_GRBG_WGGW_2_14", "W G W R G W R W W B W G B W G W", 1, 14, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_GRBG_WGGW_2_14},
    {"TrueSense_GRBG_WGGW_3_14", "W G W R G W R W W B W G B W G W", 1, 14, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_GRBG_WGGW_3_14},
    {"TrueSense_RGGB_WRRW_0_14", "W R W G R W G W W G W B G W B W", 1, 14, GetIndexMONO, 0,
     BRX_PIXEL_TrueSense_RGGB_WRRW_0_14},
    {"TrueSense_RGGB_WRRW_1_14", "W R W G R W G W W G W B G W B W", 1, 14, GetIndexMONO, 1,
     BRX_PIXEL_TrueSense_RGGB_WRRW_1_14},
    {"TrueSense_RGGB_WRRW_2_14", "W R W G R W G W W G W B G W B W", 1, 14, GetIndexMONO, 2,
     BRX_PIXEL_TrueSense_RGGB_WRRW_2_14},
    {"TrueSense_RGGB_WRRW_3_14", "W R W G R W G W W G W B G W B W", 1, 14, GetIndexMONO, 3,
     BRX_PIXEL_TrueSense_RGGB_WRRW_3_14},
    {"RGB8", "R G B", 3, 8, GetIndexRGB, 0, BRX_PIXEL_RGB8},
    {"BGR8", "B G R", 3, 8, GetIndexBGR, 0, BRX_PIXEL_BGR8},
    {"RGBa8", "R G B A", 4, 8, GetIndexRGBA, 0, BRX_PIXEL_RGBa8},
    {"BGRa8", "B G R A", 4, 8, GetIndexBGRA, 0, BRX_PIXEL_BGRa8},
    {"RGB10", "R G B", 3, 10, GetIndexRGB, 0, BRX_PIXEL_RGB10},
    {"BGR10", "B G R", 3, 10, GetIndexBGR, 0, BRX_PIXEL_BGR10},
    {"RGB12", "R G B", 3, 12, GetIndexRGB, 0, BRX_PIXEL_RGB12},
    {"BGR12", "B G R", 3, 12, GetIndexBGR, 0, BRX_PIXEL_BGR12},
    {"RGB14", "R G B", 3, 14, GetIndexRGB, 0, BRX_PIXEL_RGB14},
    {"BGR14", "B G R", 3, 14, GetIndexBGR, 0, BRX_PIXEL_BGR14},
    {"RGB16", "R G B", 3, 16, GetIndexRGB, 0, BRX_PIXEL_RGB16},
    {"BGR16", "B G R", 3, 16, GetIndexBGR, 0, BRX_PIXEL_BGR16},
    {"RGB_8_FLEX_Packed", "R G B", 3, 8, GetIndexRGB, 0, BRX_PIXEL_RGB_8_FLEX_Packed},
    {"RGB_10_FLEX_Packed", "R G B", 3, 10, GetIndexRGB, 0, BRX_PIXEL_RGB_10_FLEX_Packed},
    {"RGB_12_FLEX_Packed", "R G B", 3, 12, GetIndexRGB, 0, BRX_PIXEL_RGB_12_FLEX_Packed},
    {"YUV422_8_UYVY", "U Y V Y", 3, 8, GetIndexYUV, 0, BRX_PIXEL_YUV422_8_UYVY},
    {"YUV422_8", "Y U Y V", 3, 8, GetIndexYUV, 0, BRX_PIXEL_YUV422_8},
    {"YUV422_10", "Y U Y V", 3, 10, GetIndexYUV, 0, BRX_PIXEL_YUV422_10},
    {"YUV422_10_PACKED", "Y U Y V", 3, 10, GetIndexYUV, 0, BRX_PIXEL_YUV422_10_PACKED},
    {"YUV444_8", "Y U V A", 4, 8, GetIndexYUV, 0, BRX_PIXEL_YUV444_8},
    {"YCbCr422_8", "Y Cb Y Cr", 3, 8, GetIndexYUV, 0, BRX_PIXEL_YCbCr422_8},
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
