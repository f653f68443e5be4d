#pragma once

#include <brx/BrxComponent.h>
#include <brx/BrxDisplayCommand.h>

#include "core/ATTR.h"
#include "core/PROPERTIES.h"
#include "core/StatusWord.h"

#include <log4cpp/Category.hh>

#include <mutex>

namespace QTD {

// The single implementation of BrxComponent: a property bag plus two optional command
// processors that may veto, answer or watch each typed access ("cmd.parameter.set",
// "cmd.parameter.get" with "name", "value" and "props").
class ComponentImpl : public BrxComponent {
public:
    ComponentImpl();
    ~ComponentImpl() override;

    ComponentImpl(ComponentImpl const&) = delete;
    ComponentImpl& operator=(ComponentImpl const&) = delete;

    unsigned char GetComponentTypeID() override;
    unsigned int GetParamCount() override;
    unsigned int GetParamName(unsigned int index, char* name, unsigned int* size) override;
    unsigned int GetParamAsString(char const* name, char* value, unsigned int* size,
                                  char const* unused) override;
    unsigned int SetParamAsString(char const* name, char* value) override;
    unsigned int SetParamBool(char const* name, bool value) override;
    unsigned int SetParamInt(char const* name, long value) override;
    unsigned int SetParamFloat(char const* name, double value) override;
    unsigned int SetParamString(char const* name, char* value) override;
    unsigned int SetParamArray(char const* name, void* data, unsigned int size) override;
    unsigned int GetParamBool(char const* name, bool* value) override;
    unsigned int GetParamInt(char const* name, long* value) override;
    unsigned int GetParamFloat(char const* name, double* value) override;
    unsigned int GetParamString(char const* name, char* value, unsigned int* size) override;
    unsigned int GetParamArray(char const* name, void* data, unsigned int* size) override;
    unsigned int RunCommand(char const* command) override;
    void SetProcessors(BrxDisplayCommand* setProcessor, BrxDisplayCommand* getProcessor) override;

    // Offers the access to the set or get processor. True means the processor has taken it and
    // the bag is to be left alone.
    virtual bool process(bool isSet, char const* name, ATTR value);

    // The failure word for `code` with this component's type.
    unsigned int status(unsigned int code) const { return statusWord(componentTypeID, code); }

    unsigned char componentTypeID;
    PROPERTIES properties;
    BrxDisplayCommand* setProcessor;
    BrxDisplayCommand* getProcessor;
    std::recursive_mutex processorGuard;
    log4cpp::Category& log;

private:
    unsigned int setTyped(char const* name, ATTR const& text);
    // The typed reads: offered to the get processor with the caller's address, else parsed
    // from the bag.
    template <typename T> unsigned int getTyped(char const* name, T* value);
    // Copies the value of `name` out under the bag's lock, so that a writer on another thread
    // cannot move the rows under the read; false if there is no such row.
    bool lookup(char const* name, ATTR& value);
};

} // namespace QTD
