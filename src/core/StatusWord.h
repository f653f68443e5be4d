#pragma once

// Status words, the failure reports of public operations, and the codes of the parameter
// interface. The stages' own code names (QTD::Procs) build their words from these.

#include <brx/BrxStatus.h>

#include <cstdint>

namespace QTD {

// Every component of this library is constructed with this type identifier.
inline constexpr unsigned char ComponentTypeID = BRX_COMPONENT_TYPE_ID;

// The failure word of a public operation: bit 31, the component's type in bits 23..16, the code
// in the low bits.
constexpr unsigned int statusWord(unsigned int componentTypeID, unsigned int code) {
    return BRX_STATUS_WORD(componentTypeID, code);
}

// Callers compare only the low 16 bits of a word.
constexpr int statusCode(uint32_t word) {
    return int(BRX_STATUS_CODE(word));
}

// Codes of the parameter interface and of the stages.
enum StatusCode : unsigned int {
    STATUS_NO_PARAMETER = BRX_STATUS_NO_PARAMETER,
    STATUS_BUFFER_TOO_SMALL = BRX_STATUS_BUFFER_TOO_SMALL,
    STATUS_BAD_ARGUMENT = BRX_STATUS_BAD_ARGUMENT,
    STATUS_NOT_IMPLEMENTED = BRX_STATUS_NOT_IMPLEMENTED,
};

} // namespace QTD
