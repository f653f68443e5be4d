#pragma once

// Status words, the failure reports of public operations, and the codes of the parameter
// interface. The stages' own code names (QTD::Procs) build their words from these.

#include <cstdint>

namespace QTD {

// Every component of this library is constructed with this type identifier.
inline constexpr unsigned char ComponentTypeID = 255;

// The failure word of a public operation: bit 31, the component's type in bits 23..16, the code
// in the low bits.
constexpr unsigned int statusWord(unsigned int componentTypeID, unsigned int code) {
    return 0x80000000u | (componentTypeID & 0xFFu) << 16 | code;
}

// Callers compare only the low 16 bits of a word.
constexpr int statusCode(uint32_t word) {
    return int(word & 0xFFFFu);
}

// Codes of the parameter interface and of the stages.
enum StatusCode : unsigned int {
    STATUS_NO_PARAMETER = 5,
    STATUS_BUFFER_TOO_SMALL = 6,
    STATUS_BAD_ARGUMENT = 7,
    STATUS_NOT_SUPPORTED = 10,
};

} // namespace QTD
