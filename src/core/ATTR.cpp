#include "core/ATTR.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

namespace QTD {

namespace {

constexpr size_t NUMBER_BUFFER = 64;
constexpr size_t TEXT_BUFFER = 16384;

// Text that does not fit the fixed buffer is a programming error, not a truncation: stop the
// process as the checked formatter would.
[[noreturn]] void overflow() {
    std::fputs("*** buffer overflow detected ***: ATTR formatting\n", stderr);
    std::abort();
}

void vformatInto(char* buffer, size_t size, char const* format, va_list args) {
    std::memset(buffer, 0, size);
    int n = std::vsnprintf(buffer, size, format, args);
    if (n < 0 || static_cast<size_t>(n) >= size)
        overflow();
}

// Free-form texts go through one fixed buffer, as large as any line this system writes.
std::string vformatText(char const* format, va_list args) {
    char buffer[TEXT_BUFFER];
    vformatInto(buffer, sizeof(buffer), format, args);
    return buffer;
}

void formatInto(char* buffer, size_t size, char const* format, ...)
    __attribute__((format(printf, 3, 4)));
void formatInto(char* buffer, size_t size, char const* format, ...) {
    va_list args;
    va_start(args, format);
    vformatInto(buffer, size, format, args);
    va_end(args);
}

} // namespace

// The caller's format is used as given; the defaults are the protocol's text forms.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

ATTR::ATTR(int v, char const* format) {
    char buffer[NUMBER_BUFFER];
    formatInto(buffer, sizeof(buffer), format ? format : "%d", v);
    assign(buffer);
}

ATTR::ATTR(long v, char const* format) {
    char buffer[NUMBER_BUFFER];
    formatInto(buffer, sizeof(buffer), format ? format : "%ld", v);
    assign(buffer);
}

ATTR::ATTR(double v, char const* format) {
    char buffer[NUMBER_BUFFER];
    formatInto(buffer, sizeof(buffer), format ? format : "%f", v);
    assign(buffer);
}

#pragma GCC diagnostic pop

ATTR::ATTR(void* p) {
    char buffer[NUMBER_BUFFER];
    formatInto(buffer, sizeof(buffer), "%p", p);
    assign(buffer);
}

ATTR& ATTR::operator=(ATTR const& other) {
    if (this != &other)
        assign(other.c_str());
    return *this;
}

ATTR& ATTR::operator=(char const* s) {
    assign(s ? s : "");
    return *this;
}

ATTR& ATTR::operator=(std::string const& s) {
    assign(s.c_str());
    return *this;
}

ATTR& ATTR::add(char const* format, ...) {
    if (!format)
        return *this;
    va_list args;
    va_start(args, format);
    append(vformatText(format, args));
    va_end(args);
    return *this;
}

ATTR& ATTR::fmt(char const* format, ...) {
    if (!format)
        return *this;
    va_list args;
    va_start(args, format);
    assign(vformatText(format, args));
    va_end(args);
    return *this;
}

ATTR ATTR::format(char const* format, ...) {
    ATTR result;
    if (!format)
        return result;
    va_list args;
    va_start(args, format);
    result.assign(vformatText(format, args));
    va_end(args);
    return result;
}

ATTR& ATTR::rem(int pos, int n) {
    // A negative position wraps to a huge one and raises std::out_of_range like any position
    // past the end.
    erase(static_cast<size_type>(pos), n < 0 ? npos : static_cast<size_type>(n));
    return *this;
}

ATTR& ATTR::ins(ATTR s, int pos) {
    if (pos < 0 || static_cast<size_type>(pos) >= size())
        append(s);
    else
        insert(static_cast<size_type>(pos), s);
    return *this;
}

ATTR& ATTR::ins(char const* s, int value, int start, int n) {
    if (!s)
        return *this;
    int pos = ATTR(s).copy(start, n).as<int>();
    return ins(ATTR(value), pos);
}

ATTR& ATTR::put(char c, int pos) {
    if (pos >= 0 && static_cast<size_type>(pos) >= size()) {
        push_back(c);
        return *this;
    }
    // Negative positions end up here and raise std::out_of_range from erase.
    erase(static_cast<size_type>(pos), 1);
    insert(static_cast<size_type>(pos), 1, c);
    return *this;
}

ATTR ATTR::copy(int start, int n) const {
    if (start < 0)
        start = 0;
    if (static_cast<size_type>(start) >= size())
        return ATTR();
    size_type left = size() - static_cast<size_type>(start);
    size_type take = n < 0 ? left : std::min(left, static_cast<size_type>(n));
    return ATTR(substr(static_cast<size_type>(start), take));
}

ATTR& ATTR::trim(bool rightOnly) {
    auto blank = [](char c) { return static_cast<unsigned char>(c) <= 32; };
    size_type end = size();
    while (end > 0 && blank((*this)[end - 1]))
        --end;
    erase(end);
    if (!rightOnly) {
        size_type begin = 0;
        while (begin < size() && blank((*this)[begin]))
            ++begin;
        erase(0, begin);
    }
    return *this;
}

ATTR& ATTR::lower(bool toLower) {
    for (char& c : *this) {
        int u = static_cast<unsigned char>(c);
        c = static_cast<char>(toLower ? std::tolower(u) : std::toupper(u));
    }
    return *this;
}

bool ATTR::same(char const* s, bool ignoreCase) const {
    if (!s || empty() || std::strlen(s) != size())
        return false;
    return (ignoreCase ? strcasecmp(c_str(), s) : std::strcmp(c_str(), s)) == 0;
}

bool ATTR::samel(char const* s, int n, bool ignoreCase, bool ignoreCaseToo) const {
    if (!s)
        return false;
    size_t length = std::strlen(s);
    size_t count = n < 0 ? std::min(length, size()) : static_cast<size_t>(n);
    if (count == 0 || count > length || count > size())
        return false;
    if (ignoreCase || ignoreCaseToo)
        return strncasecmp(c_str(), s, count) == 0;
    return std::strncmp(c_str(), s, count) == 0;
}

int ATTR::findPos(char const* s, int from, bool relative) const {
    if (!s || from < 0)
        return -1;
    size_type pos = find(s, static_cast<size_type>(from));
    if (pos == npos)
        return -1;
    return relative ? static_cast<int>(pos) - from : static_cast<int>(pos);
}

int ATTR::count(char const* s, bool) const {
    if (!s || !*s || empty())
        return 0;
    int hits = 0;
    for (size_type pos = find(s); pos != npos; pos = find(s, pos + 1))
        ++hits;
    return hits;
}

int ATTR::compare(char const* s, bool collate) const {
    if (!s)
        return -1;
    return collate ? std::strcoll(c_str(), s) : strcasecmp(c_str(), s);
}

bool ATTR::split(ATTR& out, int index, char const* delimiter) const {
    if (index < 0 || empty())
        return false;
    std::string chosen;
    if (!delimiter) {
        unsigned char last = static_cast<unsigned char>(back());
        chosen = std::isalnum(last) ? std::string(";") : std::string(1, static_cast<char>(last));
        delimiter = chosen.c_str();
    }
    size_t step = std::strlen(delimiter);
    if (step == 0) {
        if (index != 0)
            return false;
        out = *this;
        return true;
    }
    char const* text = c_str();
    if (!std::strstr(text, delimiter)) {
        if (index == 0) {
            out = *this;
            return true;
        }
        out.clear();
        return false;
    }
    char const* token = text;
    for (int i = 0; i < index; ++i) {
        char const* hit = std::strstr(token, delimiter);
        if (!hit) {
            out.clear();
            return false;
        }
        token = hit + step;
    }
    char const* end = std::strstr(token, delimiter);
    out.assign(token, end ? static_cast<size_t>(end - token) : std::strlen(token));
    return true;
}

ATTR ATTR::split(int index, char const* delimiter) const {
    ATTR out;
    if (!split(out, index, delimiter))
        return ATTR();
    return out;
}

ATTR ATTR::split(char const* before, char const* after) const {
    size_type start = find(before);
    if (start == npos)
        return ATTR();
    start += std::strlen(before);
    if (!after)
        return ATTR(substr(start));
    size_type end = find(after, start);
    if (end == npos)
        return ATTR();
    return ATTR(substr(start, end - start));
}

ATTR ATTR::encode(ATTR text, ATTR special, ATTR escape) {
    if (special.empty())
        return text;
    if (escape.empty())
        escape = "&";
    if (special.find(escape) == npos)
        special += escape;
    ATTR result;
    for (char c : text) {
        if (special.find(c) != npos)
            result.add("%s%d;", escape.c_str(), static_cast<unsigned char>(c));
        else
            result.push_back(c);
    }
    return result;
}

// Kept exactly as the system has always decoded: the count handed to copy and to rem is the
// absolute index of the ';', so an escape past index 0 also eats the bytes behind it.
ATTR ATTR::decode(ATTR text, ATTR escape) {
    ATTR result;
    if (text.empty())
        return result;
    if (escape.empty())
        escape = "&";
    char const mark = escape[0];
    for (int i = 0; static_cast<size_type>(i) < text.size(); ++i) {
        char c = text[static_cast<size_type>(i)];
        if (c != mark) {
            result.push_back(c);
            continue;
        }
        size_type semi = text.find(';', static_cast<size_type>(i));
        int n = semi == npos ? -1 : static_cast<int>(semi);
        char value = static_cast<char>(text.copy(i + 1, n).as<int>());
        text.rem(i, n);
        if (value != 0)
            result.push_back(value);
    }
    return result;
}

template <> int ATTR::as<int>() const {
    return empty() ? 0 : std::stoi(*this, nullptr, 10);
}

template <> unsigned int ATTR::as<unsigned int>() const {
    return static_cast<unsigned int>(as<int>());
}

template <> long ATTR::as<long>() const {
    return empty() ? 0L : static_cast<long>(std::stoll(*this, nullptr, 10));
}

template <> double ATTR::as<double>() const {
    return empty() ? 0.0 : std::stod(*this);
}

template <> void* ATTR::as<void*>() const {
    void* p = nullptr;
    if (std::sscanf(c_str(), "%p", &p) != 1)
        p = nullptr;
    return p;
}

template <> bool ATTR::as<bool>() const {
    return as<int>() != 0;
}

} // namespace QTD
