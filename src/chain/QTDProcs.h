#pragma once

// What stages and chains share: the stage interfaces, the status words, and the format lists
// by which the chain chooses its stages and the stages choose their conversions.

#include "core/StatusWord.h"
#include "image/ColorModelDescription.h"

#include <brx/BrxImage.h>
#include <brx/BrxImgProcessingChain.h>
#include <brx/BrxImgProcessor.h>
#include <brx/BrxImgProcessors.h>

#include <cstddef>
#include <cstdint>

namespace QTD {
namespace Procs {

// Plain status codes of stages and chains. Public operations wrap them into status words.
enum Code : int {
    CodeOk = 0,
    CodeFailed = 1,
    CodeNotFound = 2,
    CodeNotSupported = 3,
    CodeExists = 4,
    CodeBadArgument = 7,
    CodeNotReady = 8,
    CodeNoResources = 9,
    CodeUnknownCommand = 10,
};

using QTD::ComponentTypeID;
using QTD::statusCode;

// 0 for success, otherwise the failure word of the code's low 16 bits.
inline constexpr uint32_t statusWord(int code, unsigned char typeID = ComponentTypeID) {
    return code == 0 ? 0u : QTD::statusWord(typeID, uint32_t(code) & 0xFFFFu);
}

// The named pixel types live beside the colour model table.
namespace PixelType = QTD::PixelType;

// Bit-packed mono and Bayer: what the unpack stage takes.
inline constexpr uint32_t PACKED_INDEX[20] = {
    0x010C1204, // Mono10Packed
    0x010C1308, // Mono12Packed
    0x010A2203, // Mono10p
    0x010C2307, // Mono12p
    0x030C121A, // BayerGR10Packed
    0x030C121C, // BayerRG10Packed
    0x030C121E, // BayerGB10Packed
    0x030C1220, // BayerBG10Packed
    0x030C1322, // BayerGR12Packed
    0x030C1324, // BayerRG12Packed
    0x030C1326, // BayerGB12Packed
    0x030C1328, // BayerBG12Packed
    0x030A2219, // BayerGR10p
    0x030A221B, // BayerRG10p
    0x030A221D, // BayerGB10p
    0x030A221F, // BayerBG10p
    0x030C2321, // BayerGR12p
    0x030C2323, // BayerRG12p
    0x030C2325, // BayerGB12p
    0x030C2327, // BayerBG12p
};

// In step with PACKED_INDEX: the plain type that each packed type unpacks to.
inline constexpr uint32_t UNPACK_INDEX[20] = {
    0x01100202, // Mono10
    0x01100306, // Mono12
    0x01100202, // Mono10
    0x01100306, // Mono12
    0x03100211, // BayerGR10
    0x03100212, // BayerRG10
    0x03100213, // BayerGB10
    0x03100214, // BayerBG10
    0x03100315, // BayerGR12
    0x03100316, // BayerRG12
    0x03100317, // BayerGB12
    0x03100318, // BayerBG12
    0x03100211, // BayerGR10
    0x03100212, // BayerRG10
    0x03100213, // BayerGB10
    0x03100214, // BayerBG10
    0x03100315, // BayerGR12
    0x03100316, // BayerRG12
    0x03100317, // BayerGB12
    0x03100318, // BayerBG12
};

// Mosaics: GR, RG, BG, GB for each depth 8 to 16, then the packed Bayer types.
inline constexpr uint32_t BAYER_INDEX[36] = {
    0x0308010D, // BayerGR8
    0x0308010E, // BayerRG8
    0x03080110, // BayerBG8
    0x0308010F, // BayerGB8
    0x03100211, // BayerGR10
    0x03100212, // BayerRG10
    0x03100214, // BayerBG10
    0x03100213, // BayerGB10
    0x03100315, // BayerGR12
    0x03100316, // BayerRG12
    0x03100318, // BayerBG12
    0x03100317, // BayerGB12
    0x03100429, // BayerGR14
    0x0310042A, // BayerRG14
    0x0310042C, // BayerBG14
    0x0310042B, // BayerGB14
    0x0310052D, // BayerGR16
    0x0310052E, // BayerRG16
    0x03100530, // BayerBG16
    0x0310052F, // BayerGB16
    0x030C121A, // BayerGR10Packed
    0x030C121C, // BayerRG10Packed
    0x030C121E, // BayerGB10Packed
    0x030C1220, // BayerBG10Packed
    0x030C1322, // BayerGR12Packed
    0x030C1324, // BayerRG12Packed
    0x030C1326, // BayerGB12Packed
    0x030C1328, // BayerBG12Packed
    0x030A2219, // BayerGR10p
    0x030A221B, // BayerRG10p
    0x030A221D, // BayerGB10p
    0x030A221F, // BayerBG10p
    0x030C2321, // BayerGR12p
    0x030C2323, // BayerRG12p
    0x030C2325, // BayerGB12p
    0x030C2327, // BayerBG12p
};

// Mono, plain and packed.
inline constexpr uint32_t MONO_INDEXEXT[9] = {
    0x01080101, // Mono8
    0x01100202, // Mono10
    0x01100306, // Mono12
    0x0110040A, // Mono14
    0x0110050B, // Mono16
    0x010C1204, // Mono10Packed
    0x010C1308, // Mono12Packed
    0x010A2203, // Mono10p
    0x010C2307, // Mono12p
};

// Plain mono.
inline constexpr uint32_t MONO_INDEX[5] = {
    0x01080101, // Mono8
    0x01100202, // Mono10
    0x01100306, // Mono12
    0x0110040A, // Mono14
    0x0110050B, // Mono16
};

// Three-channel colour.
inline constexpr uint32_t RGBBGR_INDEX[10] = {
    0x02180171, // RGB8
    0x02180172, // BGR8
    0x02300275, // RGB10
    0x02300276, // BGR10
    0x02300377, // RGB12
    0x02300378, // BGR12
    0x02300479, // RGB14
    0x0230047A, // BGR14
    0x0230057B, // RGB16
    0x0230057C, // BGR16
};

// Colour with blue first.
inline constexpr uint32_t BGR_INDEX[5] = {
    0x02180172, // BGR8
    0x02300276, // BGR10
    0x02300378, // BGR12
    0x0230047A, // BGR14
    0x0230057C, // BGR16
};

// YUV forms.
inline constexpr uint32_t YUV_INDEX[6] = {
    0x05100180, // YUV422_8_UYVY
    0x05100181, // YUV422_8
    0x05200282, // YUV422_10
    0x05143283, // YUV422_10_PACKED
    0x05200184, // YUV444_8
    0x05100185, // YCbCr422_8
};

// 8-bit TrueSense, in the order of the 4-phase tables.
inline constexpr uint32_t TS8_INDEX[16] = {
    0x04080131, // TrueSense_BGGR_WBBW_0_8
    0x04080132, // TrueSense_BGGR_WBBW_1_8
    0x04080135, // TrueSense_GBRG_WGGW_0_8
    0x04080136, // TrueSense_GBRG_WGGW_1_8
    0x04080133, // TrueSense_BGGR_WBBW_2_8
    0x04080134, // TrueSense_BGGR_WBBW_3_8
    0x04080137, // TrueSense_GBRG_WGGW_2_8
    0x04080138, // TrueSense_GBRG_WGGW_3_8
    0x04080139, // TrueSense_GRBG_WGGW_0_8
    0x0408013A, // TrueSense_GRBG_WGGW_1_8
    0x0408013D, // TrueSense_RGGB_WRRW_0_8
    0x0408013E, // TrueSense_RGGB_WRRW_1_8
    0x0408013B, // TrueSense_GRBG_WGGW_2_8
    0x0408013C, // TrueSense_GRBG_WGGW_3_8
    0x0408013F, // TrueSense_RGGB_WRRW_2_8
    0x04080140, // TrueSense_RGGB_WRRW_3_8
};

// TrueSense of 10, 12 and 14 bits, sixteen per depth in the order of TS8_INDEX.
inline constexpr uint32_t TS16_INDEX[48] = {
    0x04100241, // TrueSense_BGGR_WBBW_0_10
    0x04100242, // TrueSense_BGGR_WBBW_1_10
    0x04100245, // TrueSense_GBRG_WGGW_0_10
    0x04100246, // TrueSense_GBRG_WGGW_1_10
    0x04100243, // TrueSense_BGGR_WBBW_2_10
    0x04100244, // TrueSense_BGGR_WBBW_3_10
    0x04100247, // TrueSense_GBRG_WGGW_2_10
    0x04100248, // TrueSense_GBRG_WGGW_3_10
    0x04100249, // TrueSense_GRBG_WGGW_0_10
    0x0410024A, // TrueSense_GRBG_WGGW_1_10
    0x0410024D, // TrueSense_RGGB_WRRW_0_10
    0x0410024E, // TrueSense_RGGB_WRRW_1_10
    0x0410024B, // TrueSense_GRBG_WGGW_2_10
    0x0410024C, // TrueSense_GRBG_WGGW_3_10
    0x0410024F, // TrueSense_RGGB_WRRW_2_10
    0x04100250, // TrueSense_RGGB_WRRW_3_10
    0x04100351, // TrueSense_BGGR_WBBW_0_12
    0x04100352, // TrueSense_BGGR_WBBW_1_12
    0x04100355, // TrueSense_GBRG_WGGW_0_12
    0x04100356, // TrueSense_GBRG_WGGW_1_12
    0x04100353, // TrueSense_BGGR_WBBW_2_12
    0x04100354, // TrueSense_BGGR_WBBW_3_12
    0x04100357, // TrueSense_GBRG_WGGW_2_12
    0x04100358, // TrueSense_GBRG_WGGW_3_12
    0x04100359, // TrueSense_GRBG_WGGW_0_12
    0x0410035A, // TrueSense_GRBG_WGGW_1_12
    0x0410035D, // TrueSense_RGGB_WRRW_0_12
    0x0410035E, // TrueSense_RGGB_WRRW_1_12
    0x0410035B, // TrueSense_GRBG_WGGW_2_12
    0x0410035C, // TrueSense_GRBG_WGGW_3_12
    0x0410035F, // TrueSense_RGGB_WRRW_2_12
    0x04100360, // TrueSense_RGGB_WRRW_3_12
    0x04100461, // TrueSense_BGGR_WBBW_0_14
    0x04100462, // TrueSense_BGGR_WBBW_1_14
    0x04100465, // TrueSense_GBRG_WGGW_0_14
    0x04100466, // TrueSense_GBRG_WGGW_1_14
    0x04100463, // TrueSense_BGGR_WBBW_2_14
    0x04100464, // TrueSense_BGGR_WBBW_3_14
    0x04100467, // TrueSense_GBRG_WGGW_2_14
    0x04100468, // TrueSense_GBRG_WGGW_3_14
    0x04100469, // TrueSense_GRBG_WGGW_0_14
    0x0410046A, // TrueSense_GRBG_WGGW_1_14
    0x0410046D, // TrueSense_RGGB_WRRW_0_14
    0x0410046E, // TrueSense_RGGB_WRRW_1_14
    0x0410046B, // TrueSense_GRBG_WGGW_2_14
    0x0410046C, // TrueSense_GRBG_WGGW_3_14
    0x0410046F, // TrueSense_RGGB_WRRW_2_14
    0x04100470, // TrueSense_RGGB_WRRW_3_14
};

// Position of `type` in `table`, or -1.
template <std::size_t N> constexpr int indexOf(const uint32_t (&table)[N], uint32_t type) {
    for (std::size_t i = 0; i < N; ++i) {
        if (table[i] == type) {
            return int(i);
        }
    }
    return -1;
}

template <std::size_t N> constexpr bool isIn(const uint32_t (&table)[N], uint32_t type) {
    return type != 0 && indexOf(table, type) >= 0;
}

// TrueSense, tested as the correction and coloration stages do: the 8-bit forms carry bit 19.
constexpr bool isTrueSense(uint32_t type) {
    return (type & 0x80000u) ? isIn(TS8_INDEX, type) : isIn(TS16_INDEX, type);
}

// Types that only mono and colour stages refuse: packed, UYVY, Bayer and TrueSense.
constexpr bool isRawTransport(uint32_t type) {
    return isIn(PACKED_INDEX, type) || type == PixelType::YUV422_8_UYVY ||
           isIn(BAYER_INDEX, type) || isTrueSense(type);
}

// The height to create a stage's output with, negative for bottom-up rows. The output is
// bottom-up if the input is, inverted when the stage's "image.flip.vert" is set.
inline int orientedHeight(const BrxImage* input, int flip) {
    const bool bottomUp = (input->orientation == 1) != (flip != 0);
    return bottomUp ? -int(input->height) : int(input->height);
}

} // namespace Procs
} // namespace QTD
