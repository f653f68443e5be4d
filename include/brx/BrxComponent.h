#pragma once

// The parameter interface of every configurable object of the library: named values read and
// written by type, listed by index, and a plain-text command entry. The order of the virtual
// operations is part of the binary interface.
//
// Results are status words: 0 on success, 0x80000000 | typeID << 16 | code on failure, with the
// codes 5 (no such parameter), 6 (buffer too small), 7 (null or empty argument) and 10 (not
// supported). A command processor that takes over a typed access makes it return a bare 1.

class BrxDisplayCommand;

class BrxComponent {
public:
    virtual ~BrxComponent() {}

    virtual unsigned char GetComponentTypeID() = 0;
    virtual unsigned int GetParamCount() = 0;
    virtual unsigned int GetParamName(unsigned int index, char* name, unsigned int* size) = 0;
    virtual unsigned int GetParamAsString(char const* name, char* value, unsigned int* size,
                                          char const* unused) = 0;
    virtual unsigned int SetParamAsString(char const* name, char* value) = 0;
    virtual unsigned int SetParamBool(char const* name, bool value) = 0;
    virtual unsigned int SetParamInt(char const* name, long value) = 0;
    virtual unsigned int SetParamFloat(char const* name, double value) = 0;
    virtual unsigned int SetParamString(char const* name, char* value) = 0;
    virtual unsigned int SetParamArray(char const* name, void* data, unsigned int size) = 0;
    virtual unsigned int GetParamBool(char const* name, bool* value) = 0;
    virtual unsigned int GetParamInt(char const* name, long* value) = 0;
    virtual unsigned int GetParamFloat(char const* name, double* value) = 0;
    virtual unsigned int GetParamString(char const* name, char* value, unsigned int* size) = 0;
    virtual unsigned int GetParamArray(char const* name, void* data, unsigned int* size) = 0;
    virtual unsigned int RunCommand(char const* command) = 0;
    virtual void SetProcessors(BrxDisplayCommand* setProcessor,
                               BrxDisplayCommand* getProcessor) = 0;
};
