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
    CodeOk = BRX_STATUS_OK,
    CodeFailed = BRX_STATUS_FAILED,
    CodeNotFound = BRX_STATUS_NAME_NOT_FOUND,
    CodeNotSupported = BRX_STATUS_NOT_SUPPORTED,
    CodeExists = BRX_STATUS_NAME_EXISTS,
    CodeBadArgument = BRX_STATUS_BAD_ARGUMENT,
    CodeNotReady = BRX_STATUS_NOT_INITIALIZED,
    CodeNoResources = BRX_STATUS_NO_RESOURCES,
    CodeUnknownCommand = BRX_STATUS_NOT_IMPLEMENTED,
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
    BRX_PIXEL_Mono10Packed,    BRX_PIXEL_Mono12Packed,    BRX_PIXEL_Mono10p,
    BRX_PIXEL_Mono12p,         BRX_PIXEL_BayerGR10Packed, BRX_PIXEL_BayerRG10Packed,
    BRX_PIXEL_BayerGB10Packed, BRX_PIXEL_BayerBG10Packed, BRX_PIXEL_BayerGR12Packed,
    BRX_PIXEL_BayerRG12Packed, BRX_PIXEL_BayerGB12Packed, BRX_PIXEL_BayerBG12Packed,
    BRX_PIXEL_BayerGR10p,      BRX_PIXEL_BayerRG10p,      BRX_PIXEL_BayerGB10p,
    BRX_PIXEL_BayerBG10p,      BRX_PIXEL_BayerGR12p,      BRX_PIXEL_BayerRG12p,
    BRX_PIXEL_BayerGB12p,      BRX_PIXEL_BayerBG12p,
};

// In step with PACKED_INDEX: the plain type that each packed type unpacks to.
inline constexpr uint32_t UNPACK_INDEX[20] = {
    BRX_PIXEL_Mono10,    BRX_PIXEL_Mono12,    BRX_PIXEL_Mono10,    BRX_PIXEL_Mono12,
    BRX_PIXEL_BayerGR10, BRX_PIXEL_BayerRG10, BRX_PIXEL_BayerGB10, BRX_PIXEL_BayerBG10,
    BRX_PIXEL_BayerGR12, BRX_PIXEL_BayerRG12, BRX_PIXEL_BayerGB12, BRX_PIXEL_BayerBG12,
    BRX_PIXEL_BayerGR10, BRX_PIXEL_BayerRG10, BRX_PIXEL_BayerGB10, BRX_PIXEL_BayerBG10,
    BRX_PIXEL_BayerGR12, BRX_PIXEL_BayerRG12, BRX_PIXEL_BayerGB12, BRX_PIXEL_BayerBG12,
};

// Mosaics: GR, RG, BG, GB for each depth 8 to 16, then the packed Bayer types.
inline constexpr uint32_t BAYER_INDEX[36] = {
    BRX_PIXEL_BayerGR8,        BRX_PIXEL_BayerRG8,        BRX_PIXEL_BayerBG8,
    BRX_PIXEL_BayerGB8,        BRX_PIXEL_BayerGR10,       BRX_PIXEL_BayerRG10,
    BRX_PIXEL_BayerBG10,       BRX_PIXEL_BayerGB10,       BRX_PIXEL_BayerGR12,
    BRX_PIXEL_BayerRG12,       BRX_PIXEL_BayerBG12,       BRX_PIXEL_BayerGB12,
    BRX_PIXEL_BayerGR14,       BRX_PIXEL_BayerRG14,       BRX_PIXEL_BayerBG14,
    BRX_PIXEL_BayerGB14,       BRX_PIXEL_BayerGR16,       BRX_PIXEL_BayerRG16,
    BRX_PIXEL_BayerBG16,       BRX_PIXEL_BayerGB16,       BRX_PIXEL_BayerGR10Packed,
    BRX_PIXEL_BayerRG10Packed, BRX_PIXEL_BayerGB10Packed, BRX_PIXEL_BayerBG10Packed,
    BRX_PIXEL_BayerGR12Packed, BRX_PIXEL_BayerRG12Packed, BRX_PIXEL_BayerGB12Packed,
    BRX_PIXEL_BayerBG12Packed, BRX_PIXEL_BayerGR10p,      BRX_PIXEL_BayerRG10p,
    BRX_PIXEL_BayerGB10p,      BRX_PIXEL_BayerBG10p,      BRX_PIXEL_BayerGR12p,
    BRX_PIXEL_BayerRG12p,      BRX_PIXEL_BayerGB12p,      BRX_PIXEL_BayerBG12p,
};

// Indexed like BAYER_INDEX: the colour type each mosaic yields. Packed mosaics have 0, for
// they reach demosaicing only unpacked.
// clang-format off
inline constexpr uint32_t RGB_DEBAYER_INDEX[36] = {
    BRX_PIXEL_RGB8,  BRX_PIXEL_RGB8,  BRX_PIXEL_RGB8,  BRX_PIXEL_RGB8,  // 8 bits
    BRX_PIXEL_RGB10, BRX_PIXEL_RGB10, BRX_PIXEL_RGB10, BRX_PIXEL_RGB10, // 10 bits
    BRX_PIXEL_RGB12, BRX_PIXEL_RGB12, BRX_PIXEL_RGB12, BRX_PIXEL_RGB12, // 12 bits
    BRX_PIXEL_RGB14, BRX_PIXEL_RGB14, BRX_PIXEL_RGB14, BRX_PIXEL_RGB14, // 14 bits
    BRX_PIXEL_RGB16, BRX_PIXEL_RGB16, BRX_PIXEL_RGB16, BRX_PIXEL_RGB16, // 16 bits
    0, 0, 0, 0, 0, 0, 0, 0, // the ...Packed group
    0, 0, 0, 0, 0, 0, 0, 0, // the ...p group
};
inline constexpr uint32_t BGR_DEBAYER_INDEX[36] = {
    BRX_PIXEL_BGR8,  BRX_PIXEL_BGR8,  BRX_PIXEL_BGR8,  BRX_PIXEL_BGR8,  // 8 bits
    BRX_PIXEL_BGR10, BRX_PIXEL_BGR10, BRX_PIXEL_BGR10, BRX_PIXEL_BGR10, // 10 bits
    BRX_PIXEL_BGR12, BRX_PIXEL_BGR12, BRX_PIXEL_BGR12, BRX_PIXEL_BGR12, // 12 bits
    BRX_PIXEL_BGR14, BRX_PIXEL_BGR14, BRX_PIXEL_BGR14, BRX_PIXEL_BGR14, // 14 bits
    BRX_PIXEL_BGR16, BRX_PIXEL_BGR16, BRX_PIXEL_BGR16, BRX_PIXEL_BGR16, // 16 bits
    0, 0, 0, 0, 0, 0, 0, 0, // the ...Packed group
    0, 0, 0, 0, 0, 0, 0, 0, // the ...p group
};
// clang-format on

// Mono, plain and packed.
inline constexpr uint32_t MONO_INDEXEXT[9] = {
    BRX_PIXEL_Mono8,        BRX_PIXEL_Mono10,  BRX_PIXEL_Mono12,
    BRX_PIXEL_Mono14,       BRX_PIXEL_Mono16,  BRX_PIXEL_Mono10Packed,
    BRX_PIXEL_Mono12Packed, BRX_PIXEL_Mono10p, BRX_PIXEL_Mono12p,
};

// Plain mono.
inline constexpr uint32_t MONO_INDEX[5] = {
    BRX_PIXEL_Mono8, BRX_PIXEL_Mono10, BRX_PIXEL_Mono12, BRX_PIXEL_Mono14, BRX_PIXEL_Mono16,
};

// Three-channel colour.
inline constexpr uint32_t RGBBGR_INDEX[10] = {
    BRX_PIXEL_RGB8,  BRX_PIXEL_BGR8,  BRX_PIXEL_RGB10, BRX_PIXEL_BGR10, BRX_PIXEL_RGB12,
    BRX_PIXEL_BGR12, BRX_PIXEL_RGB14, BRX_PIXEL_BGR14, BRX_PIXEL_RGB16, BRX_PIXEL_BGR16,
};

// Colour with blue first.
inline constexpr uint32_t BGR_INDEX[5] = {
    BRX_PIXEL_BGR8, BRX_PIXEL_BGR10, BRX_PIXEL_BGR12, BRX_PIXEL_BGR14, BRX_PIXEL_BGR16,
};

// YUV forms.
inline constexpr uint32_t YUV_INDEX[6] = {
    BRX_PIXEL_YUV422_8_UYVY,    BRX_PIXEL_YUV422_8, BRX_PIXEL_YUV422_10,
    BRX_PIXEL_YUV422_10_PACKED, BRX_PIXEL_YUV444_8, BRX_PIXEL_YCbCr422_8,
};

// 8-bit TrueSense, in the order of the 4-phase tables.
inline constexpr uint32_t TS8_INDEX[16] = {
    BRX_PIXEL_TrueSense_BGGR_WBBW_0_8, BRX_PIXEL_TrueSense_BGGR_WBBW_1_8,
    BRX_PIXEL_TrueSense_GBRG_WGGW_0_8, BRX_PIXEL_TrueSense_GBRG_WGGW_1_8,
    BRX_PIXEL_TrueSense_BGGR_WBBW_2_8, BRX_PIXEL_TrueSense_BGGR_WBBW_3_8,
    BRX_PIXEL_TrueSense_GBRG_WGGW_2_8, BRX_PIXEL_TrueSense_GBRG_WGGW_3_8,
    BRX_PIXEL_TrueSense_GRBG_WGGW_0_8, BRX_PIXEL_TrueSense_GRBG_WGGW_1_8,
    BRX_PIXEL_TrueSense_RGGB_WRRW_0_8, BRX_PIXEL_TrueSense_RGGB_WRRW_1_8,
    BRX_PIXEL_TrueSense_GRBG_WGGW_2_8, BRX_PIXEL_TrueSense_GRBG_WGGW_3_8,
    BRX_PIXEL_TrueSense_RGGB_WRRW_2_8, BRX_PIXEL_TrueSense_RGGB_WRRW_3_8,
};

// TrueSense of 10, 12 and 14 bits, sixteen per depth in the order of TS8_INDEX.
inline constexpr uint32_t TS16_INDEX[48] = {
    BRX_PIXEL_TrueSense_BGGR_WBBW_0_10, BRX_PIXEL_TrueSense_BGGR_WBBW_1_10,
    BRX_PIXEL_TrueSense_GBRG_WGGW_0_10, BRX_PIXEL_TrueSense_GBRG_WGGW_1_10,
    BRX_PIXEL_TrueSense_BGGR_WBBW_2_10, BRX_PIXEL_TrueSense_BGGR_WBBW_3_10,
    BRX_PIXEL_TrueSense_GBRG_WGGW_2_10, BRX_PIXEL_TrueSense_GBRG_WGGW_3_10,
    BRX_PIXEL_TrueSense_GRBG_WGGW_0_10, BRX_PIXEL_TrueSense_GRBG_WGGW_1_10,
    BRX_PIXEL_TrueSense_RGGB_WRRW_0_10, BRX_PIXEL_TrueSense_RGGB_WRRW_1_10,
    BRX_PIXEL_TrueSense_GRBG_WGGW_2_10, BRX_PIXEL_TrueSense_GRBG_WGGW_3_10,
    BRX_PIXEL_TrueSense_RGGB_WRRW_2_10, BRX_PIXEL_TrueSense_RGGB_WRRW_3_10,
    BRX_PIXEL_TrueSense_BGGR_WBBW_0_12, BRX_PIXEL_TrueSense_BGGR_WBBW_1_12,
    BRX_PIXEL_TrueSense_GBRG_WGGW_0_12, BRX_PIXEL_TrueSense_GBRG_WGGW_1_12,
    BRX_PIXEL_TrueSense_BGGR_WBBW_2_12, BRX_PIXEL_TrueSense_BGGR_WBBW_3_12,
    BRX_PIXEL_TrueSense_GBRG_WGGW_2_12, BRX_PIXEL_TrueSense_GBRG_WGGW_3_12,
    BRX_PIXEL_TrueSense_GRBG_WGGW_0_12, BRX_PIXEL_TrueSense_GRBG_WGGW_1_12,
    BRX_PIXEL_TrueSense_RGGB_WRRW_0_12, BRX_PIXEL_TrueSense_RGGB_WRRW_1_12,
    BRX_PIXEL_TrueSense_GRBG_WGGW_2_12, BRX_PIXEL_TrueSense_GRBG_WGGW_3_12,
    BRX_PIXEL_TrueSense_RGGB_WRRW_2_12, BRX_PIXEL_TrueSense_RGGB_WRRW_3_12,
    BRX_PIXEL_TrueSense_BGGR_WBBW_0_14, BRX_PIXEL_TrueSense_BGGR_WBBW_1_14,
    BRX_PIXEL_TrueSense_GBRG_WGGW_0_14, BRX_PIXEL_TrueSense_GBRG_WGGW_1_14,
    BRX_PIXEL_TrueSense_BGGR_WBBW_2_14, BRX_PIXEL_TrueSense_BGGR_WBBW_3_14,
    BRX_PIXEL_TrueSense_GBRG_WGGW_2_14, BRX_PIXEL_TrueSense_GBRG_WGGW_3_14,
    BRX_PIXEL_TrueSense_GRBG_WGGW_0_14, BRX_PIXEL_TrueSense_GRBG_WGGW_1_14,
    BRX_PIXEL_TrueSense_RGGB_WRRW_0_14, BRX_PIXEL_TrueSense_RGGB_WRRW_1_14,
    BRX_PIXEL_TrueSense_GRBG_WGGW_2_14, BRX_PIXEL_TrueSense_GRBG_WGGW_3_14,
    BRX_PIXEL_TrueSense_RGGB_WRRW_2_14, BRX_PIXEL_TrueSense_RGGB_WRRW_3_14,
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

// The colour type that demosaicing turns the mosaic `type` into, or 0.
constexpr uint32_t debayerType(uint32_t type, bool bgr) {
    const int at = indexOf(BAYER_INDEX, type);
    return at < 0 ? 0 : bgr ? BGR_DEBAYER_INDEX[at] : RGB_DEBAYER_INDEX[at];
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
