// Colour text as it comes from a bag. Numbers that don't convert raise the standard
// conversions' exceptions, which is the documented failure.

#include "image/RgbColor.h"

#include <cstdint>
#include <stdexcept>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QTD::ATTR text(std::string(reinterpret_cast<const char*>(data), size));
    double r = 0, g = 0, b = 0;
    try {
        if (QTD::RgbColor::readText<double>(text, r, g, b)) {
            QTD::RgbColor color;
            color.setDbl(r, g, b, 0.0);
            color.intensity();
            QTD::RgbColor::saveText<double>(color.red, color.green, color.blue);
        }
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {
    }
    return 0;
}
