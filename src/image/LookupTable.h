#pragma once

namespace QTD {

// Per-channel level tables built from gain, offset and gamma. `values` and `levels` hold
// `entries + 1` ints per channel.
class LookupTable {
public:
    LookupTable(int entries = 0, int channels = 1);
    ~LookupTable();
    LookupTable(LookupTable const&) = delete;
    LookupTable& operator=(LookupTable const&) = delete;

    void init(int entries, int channels);
    void shut();
    void calc();

    void setValues(int channel, int const* data, int count);
    void setLevels(int channel, int const* data, int count);
    int* getValues(int channel) const;
    int* getLevels(int channel) const;

    double gain[3] = {1.0, 1.0, 1.0};
    double offset[3] = {0.0, 0.0, 0.0}; // fractions of full scale
    double gamma = 1.0;
    int entries = 0; // 256, 1024, 4096, 16384 or 65536; 0 for no table
    int channels = 1;
    int* values[4] = {nullptr, nullptr, nullptr, nullptr};
    int* levels[4] = {nullptr, nullptr, nullptr, nullptr};
};

} // namespace QTD
