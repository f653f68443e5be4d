#pragma once

#include <brx/BrxPixelTypes.h>

#include <cstdint>

// One row of the table of colour models: everything the library knows about a pixel type.
struct ColorModelDescription {
    const char* name;
    const char* channelOrder; // letters separated by blanks, in storage order
    uint32_t channels;
    uint32_t bitsPerChannel;
    int (*getIndex)(char channel); // index of a channel letter within a pixel, -1 if unknown
    uint32_t phase;                // TrueSense phase, 0 elsewhere
    uint32_t pixelType;
};

// Rows are numbered by the low byte of the pixel type, from 1; row n is at index n - 1.
constexpr int kColorModelCount = 133;
extern const ColorModelDescription s_colorModelDescription[kColorModelCount];

int GetIndexMONO(char channel);
int GetIndexRGB(char channel);
int GetIndexBGR(char channel);
int GetIndexRGBA(char channel);
int GetIndexBGRA(char channel);
int GetIndexYUV(char channel);

namespace QTD {

// The row of a pixel type, chosen by its low byte alone; null for 0 and above 133.
const ColorModelDescription* colorModelByType(unsigned int pixelType);
// The row with exactly this name, or null.
const ColorModelDescription* colorModelByName(const char* name);
// The pixel type of a name, 0 if unknown.
unsigned int pixelTypeByName(const char* name);

// Pixel types that code names directly, as in the table.
namespace PixelType {
inline constexpr uint32_t Mono8 = BRX_PIXEL_Mono8;
inline constexpr uint32_t Mono10 = BRX_PIXEL_Mono10;
inline constexpr uint32_t Mono12 = BRX_PIXEL_Mono12;
inline constexpr uint32_t Mono14 = BRX_PIXEL_Mono14;
inline constexpr uint32_t Mono16 = BRX_PIXEL_Mono16;
inline constexpr uint32_t Mono10p = BRX_PIXEL_Mono10p;
inline constexpr uint32_t Mono12p = BRX_PIXEL_Mono12p;
inline constexpr uint32_t Mono10Packed = BRX_PIXEL_Mono10Packed;
inline constexpr uint32_t Mono12Packed = BRX_PIXEL_Mono12Packed;
inline constexpr uint32_t RGB8 = BRX_PIXEL_RGB8;
inline constexpr uint32_t BGR8 = BRX_PIXEL_BGR8;
inline constexpr uint32_t RGB10 = BRX_PIXEL_RGB10;
inline constexpr uint32_t BGR10 = BRX_PIXEL_BGR10;
inline constexpr uint32_t RGB12 = BRX_PIXEL_RGB12;
inline constexpr uint32_t BGR12 = BRX_PIXEL_BGR12;
inline constexpr uint32_t RGB16 = BRX_PIXEL_RGB16;
inline constexpr uint32_t BGR16 = BRX_PIXEL_BGR16;
inline constexpr uint32_t YUV422_8_UYVY = BRX_PIXEL_YUV422_8_UYVY;
inline constexpr uint32_t YUV422_8 = BRX_PIXEL_YUV422_8;
inline constexpr uint32_t BayerGR8 = BRX_PIXEL_BayerGR8;
inline constexpr uint32_t BayerRG8 = BRX_PIXEL_BayerRG8;
inline constexpr uint32_t BayerBG8 = BRX_PIXEL_BayerBG8;
inline constexpr uint32_t BayerGB8 = BRX_PIXEL_BayerGB8;
inline constexpr uint32_t BayerGR12 = BRX_PIXEL_BayerGR12;
inline constexpr uint32_t BayerRG12 = BRX_PIXEL_BayerRG12;
inline constexpr uint32_t BayerGB10Packed = BRX_PIXEL_BayerGB10Packed;
inline constexpr uint32_t BayerRG12p = BRX_PIXEL_BayerRG12p;
inline constexpr uint32_t TrueSense_BGGR_WBBW_0_8 = BRX_PIXEL_TrueSense_BGGR_WBBW_0_8;
inline constexpr uint32_t TrueSense_BGGR_WBBW_0_12 = BRX_PIXEL_TrueSense_BGGR_WBBW_0_12;
} // namespace PixelType

} // namespace QTD
