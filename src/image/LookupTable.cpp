#include "image/LookupTable.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace QTD {

namespace {

bool legalEntries(int entries) {
    return entries == 256 || entries == 1024 || entries == 4096 || entries == 16384 ||
           entries == 65536;
}

int clampChannel(int channel) {
    return std::clamp(channel, 0, 3);
}

} // namespace

LookupTable::LookupTable(int entries, int channels) {
    init(entries, channels);
}

LookupTable::~LookupTable() {
    shut();
}

void LookupTable::init(int newEntries, int newChannels) {
    shut();
    channels = std::clamp(newChannels, 1, 4);
    std::fill(gain, gain + 3, 1.0);
    std::fill(offset, offset + 3, 0.0);
    gamma = 1.0;
    entries = legalEntries(newEntries) ? newEntries : 0;
    if (!entries)
        return;
    for (int c = 0; c < channels; ++c) {
        values[c] = new int[entries + 1];
        levels[c] = new int[entries + 1];
        for (int i = 0; i <= entries; ++i)
            values[c][i] = levels[c][i] = i;
    }
}

void LookupTable::shut() {
    for (int c = 0; c < 4; ++c) {
        delete[] values[c];
        delete[] levels[c];
        values[c] = levels[c] = nullptr;
    }
}

void LookupTable::calc() {
    if (entries == 0)
        return;
    const int top = entries - 1;
    const bool withGamma = std::fabs(gamma) >= 0.0000001 && std::fabs(gamma - 1.0) >= 0.0000001;
    for (int c = 0; c < channels; ++c) {
        if (!values[c])
            continue;
        const int k = c == 3 ? 0 : c;
        for (int i = 0; i <= entries; ++i) {
            double v = i * gain[k] + top * offset[k];
            // Gamma works on levels, not on fractions of full scale.
            if (withGamma)
                v = std::pow(v > 0.0 ? v : 0.004, gamma);
            v = std::round(v);
            values[c][i] = static_cast<int>(std::clamp(v, 0.0, static_cast<double>(top)));
        }
    }
}

void LookupTable::setValues(int channel, int const* data, int count) {
    channel = clampChannel(channel);
    if (!data || !values[channel] || count < 0 || count > entries + 1)
        return;
    std::memcpy(values[channel], data, sizeof(int) * count);
}

void LookupTable::setLevels(int channel, int const* data, int count) {
    channel = clampChannel(channel);
    if (!data || !levels[channel] || count < 0 || count > entries + 1)
        return;
    std::memcpy(levels[channel], data, sizeof(int) * count);
}

int* LookupTable::getValues(int channel) const {
    return values[clampChannel(channel)];
}

int* LookupTable::getLevels(int channel) const {
    return levels[clampChannel(channel)];
}

} // namespace QTD
