// Token splitting and escaping of arbitrary text. decode reads numbers with the standard
// conversions, whose exceptions are its documented failure.

#include "core/ATTR.h"

#include <cstdint>
#include <stdexcept>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3)
        return 0;
    const int index = int(int8_t(data[0]));
    const size_t delimiterLength = data[1] % 4;
    data += 2, size -= 2;
    if (delimiterLength > size)
        return 0;
    const std::string delimiter(reinterpret_cast<const char*>(data), delimiterLength);
    const QTD::ATTR text(
        std::string(reinterpret_cast<const char*>(data + delimiterLength), size - delimiterLength));

    QTD::ATTR out;
    text.split(out, index, delimiter.c_str());
    text.split(out, index, nullptr);
    text.split(index, delimiter.c_str());
    if (!delimiter.empty())
        text.split(delimiter.c_str(), index & 1 ? nullptr : ";");
    try {
        QTD::ATTR::decode(text, QTD::ATTR(delimiter));
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {
    }
    QTD::ATTR::encode(text, QTD::ATTR(delimiter), QTD::ATTR("&"));
    return 0;
}
