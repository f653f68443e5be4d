#include "core/ComponentImpl.h"

#include <cstring>
#include <map>
#include <string>

namespace QTD {

ComponentImpl::ComponentImpl()
    : componentTypeID(ComponentTypeID), setProcessor(nullptr), getProcessor(nullptr),
      log(log4cpp::Category::getInstance("BrxDisplayQt")) {}

ComponentImpl::~ComponentImpl() {}

unsigned char ComponentImpl::GetComponentTypeID() {
    return componentTypeID;
}

unsigned int ComponentImpl::GetParamCount() {
    return static_cast<unsigned int>(properties.count());
}

unsigned int ComponentImpl::GetParamName(unsigned int index, char* name, unsigned int* size) {
    // Indices beyond int wrap to negative ones, which the row accessor refuses.
    ATTR key = properties.keyAt(static_cast<int>(index));
    if (key.empty())
        return status(STATUS_NO_PARAMETER);
    if (!name)
        return 0;
    if (!size || *size == 0)
        return status(STATUS_BAD_ARGUMENT);
    if (*size <= key.size())
        return status(STATUS_BUFFER_TOO_SMALL);
    std::strncpy(name, key.c_str(), *size);
    return 0;
}

unsigned int ComponentImpl::GetParamAsString(char const* name, char* value, unsigned int* size,
                                             char const*) {
    return GetParamString(name, value, size);
}

unsigned int ComponentImpl::SetParamAsString(char const* name, char* value) {
    if (!name || !*name || !value || !*value)
        return status(STATUS_BAD_ARGUMENT);
    properties.set(name, value, true);
    return 0;
}

unsigned int ComponentImpl::setTyped(char const* name, ATTR const& text) {
    if (process(true, name, text))
        return 1;
    properties.set(name, text, true);
    return 0;
}

unsigned int ComponentImpl::SetParamBool(char const* name, bool value) {
    return setTyped(name, ATTR(value ? 1 : 0));
}

unsigned int ComponentImpl::SetParamInt(char const* name, long value) {
    return setTyped(name, ATTR(value));
}

unsigned int ComponentImpl::SetParamFloat(char const* name, double value) {
    return setTyped(name, ATTR(value));
}

unsigned int ComponentImpl::SetParamString(char const* name, char* value) {
    return setTyped(name, ATTR(value));
}

unsigned int ComponentImpl::SetParamArray(char const*, void*, unsigned int) {
    return status(STATUS_NOT_IMPLEMENTED);
}

bool ComponentImpl::lookup(char const* name, ATTR& value) {
    return properties.find(ATTR(name), &value, true);
}

template <typename T> unsigned int ComponentImpl::getTyped(char const* name, T* value) {
    if (process(false, name, ATTR(static_cast<void*>(value))))
        return 1;
    ATTR text;
    if (!lookup(name, text))
        return status(STATUS_NO_PARAMETER);
    if (!value)
        return status(STATUS_BAD_ARGUMENT);
    *value = text.as<T>();
    return 0;
}

unsigned int ComponentImpl::GetParamBool(char const* name, bool* value) {
    return getTyped(name, value);
}

unsigned int ComponentImpl::GetParamInt(char const* name, long* value) {
    return getTyped(name, value);
}

unsigned int ComponentImpl::GetParamFloat(char const* name, double* value) {
    return getTyped(name, value);
}

unsigned int ComponentImpl::GetParamString(char const* name, char* value, unsigned int* size) {
    // The caller's buffer is offered to the processor as it stands; it is read no further than
    // its stated size, so an unterminated buffer is not overrun.
    ATTR present;
    if (value && size)
        present = ATTR(std::string(value, strnlen(value, *size)));
    else if (value)
        present = ATTR(value);
    if (process(false, name, present))
        return 1;
    ATTR text;
    if (!lookup(name, text))
        return status(STATUS_NO_PARAMETER);
    if (!value || !size || *size == 0)
        return status(STATUS_BAD_ARGUMENT);
    if (text.size() >= *size)
        return status(STATUS_BUFFER_TOO_SMALL);
    std::strncpy(value, text.c_str(), *size);
    return 0;
}

unsigned int ComponentImpl::GetParamArray(char const*, void*, unsigned int*) {
    return status(STATUS_NOT_IMPLEMENTED);
}

unsigned int ComponentImpl::RunCommand(char const*) {
    return status(STATUS_NOT_IMPLEMENTED);
}

void ComponentImpl::SetProcessors(BrxDisplayCommand* setProcessor,
                                  BrxDisplayCommand* getProcessor) {
    std::lock_guard<std::recursive_mutex> hold(processorGuard);
    this->setProcessor = setProcessor;
    this->getProcessor = getProcessor;
}

bool ComponentImpl::process(bool isSet, char const* name, ATTR value) {
    std::lock_guard<std::recursive_mutex> hold(processorGuard);
    BrxDisplayCommand* processor = isSet ? setProcessor : getProcessor;
    if (!processor)
        return false;
    std::map<std::string, std::string> message;
    message["name"] = ATTR(name);
    message["value"] = value;
    message["props"] = ATTR(static_cast<void*>(&properties));
    return processor->RunCommandParams(isSet ? "cmd.parameter.set" : "cmd.parameter.get",
                                       &message) != 0;
}

} // namespace QTD
