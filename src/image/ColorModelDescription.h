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

} // namespace QTD
