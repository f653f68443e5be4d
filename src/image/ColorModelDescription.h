#pragma once

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
inline constexpr uint32_t Mono8 = 0x01080101;
inline constexpr uint32_t Mono10 = 0x01100202;
inline constexpr uint32_t Mono12 = 0x01100306;
inline constexpr uint32_t Mono14 = 0x0110040A;
inline constexpr uint32_t Mono16 = 0x0110050B;
inline constexpr uint32_t Mono10p = 0x010A2203;
inline constexpr uint32_t Mono12p = 0x010C2307;
inline constexpr uint32_t Mono10Packed = 0x010C1204;
inline constexpr uint32_t Mono12Packed = 0x010C1308;
inline constexpr uint32_t RGB8 = 0x02180171;
inline constexpr uint32_t BGR8 = 0x02180172;
inline constexpr uint32_t RGB10 = 0x02300275;
inline constexpr uint32_t BGR10 = 0x02300276;
inline constexpr uint32_t RGB12 = 0x02300377;
inline constexpr uint32_t BGR12 = 0x02300378;
inline constexpr uint32_t RGB16 = 0x0230057B;
inline constexpr uint32_t BGR16 = 0x0230057C;
inline constexpr uint32_t YUV422_8_UYVY = 0x05100180;
inline constexpr uint32_t YUV422_8 = 0x05100181;
inline constexpr uint32_t BayerGR8 = 0x0308010D;
inline constexpr uint32_t BayerRG8 = 0x0308010E;
inline constexpr uint32_t BayerBG8 = 0x03080110;
inline constexpr uint32_t BayerGB8 = 0x0308010F;
inline constexpr uint32_t BayerGR12 = 0x03100315;
inline constexpr uint32_t BayerRG12 = 0x03100316;
inline constexpr uint32_t BayerGB10Packed = 0x030C121E;
inline constexpr uint32_t BayerRG12p = 0x030C2323;
inline constexpr uint32_t TrueSense_BGGR_WBBW_0_8 = 0x04080131;
inline constexpr uint32_t TrueSense_BGGR_WBBW_0_12 = 0x04100351;
} // namespace PixelType

} // namespace QTD
