#pragma once

// Status words, the results of the library's public operations: 0 on success, otherwise
// 0x80000000 | typeID << 16 | code, with the reporting component's type in bits 23..16 (255
// for every component of this library) and one of the codes below in the low 16 bits. Compare
// codes, not whole words: BRX_STATUS_CODE(word) == BRX_STATUS_BAD_ARGUMENT.

typedef enum BrxStatusCode {
    BRX_STATUS_OK = 0,
    BRX_STATUS_FAILED = 1,
    BRX_STATUS_NAME_NOT_FOUND = 2,   // no stage of that name in the chain
    BRX_STATUS_NOT_SUPPORTED = 3,    // e.g. an input format that a stage does not handle
    BRX_STATUS_NAME_EXISTS = 4,      // a stage of that name is already in the chain
    BRX_STATUS_NO_PARAMETER = 5,     // the parameter interface knows no such name
    BRX_STATUS_BUFFER_TOO_SMALL = 6, // the text and its terminator do not fit
    BRX_STATUS_BAD_ARGUMENT = 7,     // null or empty image or argument, or the wrong size
    BRX_STATUS_NOT_INITIALIZED = 8,  // set up again, e.g. for a new format or size
    BRX_STATUS_NO_RESOURCES = 9,     // an image or record could not be made
    BRX_STATUS_NOT_IMPLEMENTED = 10, // no such command, or an operation the component lacks
} BrxStatusCode;

// The type identifier of every component of this library.
#define BRX_COMPONENT_TYPE_ID 255u

#define BRX_STATUS_WORD(typeID, code) (0x80000000u | ((typeID)&0xFFu) << 16 | (code))
#define BRX_STATUS_CODE(word) ((word)&0xFFFFu)

// The words a component of this library returns.
#define BRX_ERROR_FAILED BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_FAILED)
#define BRX_ERROR_NAME_NOT_FOUND BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_NAME_NOT_FOUND)
#define BRX_ERROR_NOT_SUPPORTED BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_NOT_SUPPORTED)
#define BRX_ERROR_NAME_EXISTS BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_NAME_EXISTS)
#define BRX_ERROR_NO_PARAMETER BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_NO_PARAMETER)
#define BRX_ERROR_BUFFER_TOO_SMALL                                                                 \
    BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_BUFFER_TOO_SMALL)
#define BRX_ERROR_BAD_ARGUMENT BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_BAD_ARGUMENT)
#define BRX_ERROR_NOT_INITIALIZED BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_NOT_INITIALIZED)
#define BRX_ERROR_NO_RESOURCES BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_NO_RESOURCES)
#define BRX_ERROR_NOT_IMPLEMENTED BRX_STATUS_WORD(BRX_COMPONENT_TYPE_ID, BRX_STATUS_NOT_IMPLEMENTED)

// The one word with a fixed type field: a flat BrxDisplay_ function given a null handle.
#define BRX_ERROR_NULL_HANDLE 0x80070007u
