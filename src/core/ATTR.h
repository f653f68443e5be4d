#pragma once

#include <cstddef>
#include <string>

namespace QTD {

// The one text type: command names, keys, values, numbers and pointers all cross component
// boundaries as ATTR. Construction goes through C strings, so a text ends at its first zero byte.
// Positions and counts are int; a negative count means "to the end".
class ATTR : public std::string {
public:
    ATTR() {}
    ATTR(std::nullptr_t) {}
    ATTR(char const* s) : std::string(s ? s : "") {}
    ATTR(char* s) : std::string(s ? s : "") {}
    ATTR(std::string const& s) : std::string(s.c_str()) {}
    ATTR(ATTR const& other) : std::string(other.c_str()) {}
    ATTR(int v, char const* format = nullptr);
    ATTR(long v, char const* format = nullptr);
    ATTR(double v, char const* format = nullptr);
    ATTR(void* p);

    ATTR& operator=(ATTR const& other);
    ATTR& operator=(char const* s);
    ATTR& operator=(std::string const& s);

    ATTR& add(char const* format, ...) __attribute__((format(printf, 2, 3)));
    ATTR& fmt(char const* format, ...) __attribute__((format(printf, 2, 3)));
    static ATTR format(char const* format, ...) __attribute__((format(printf, 1, 2)));

    ATTR& rem(int pos, int n);
    ATTR& ins(ATTR s, int pos);
    ATTR& ins(char const* s, int value, int start, int n);
    ATTR& put(char c, int pos);
    ATTR copy(int start, int n = -1) const;
    ATTR& trim(bool rightOnly = false);
    ATTR& lower(bool toLower = true);

    bool same(char const* s, bool ignoreCase = false) const;
    bool samel(char const* s, int n = -1, bool ignoreCase = false,
               bool ignoreCaseToo = false) const;
    int findPos(char const* s, int from = 0, bool relative = false) const;
    int count(char const* s, bool unused = false) const;
    int compare(char const* s, bool collate = false) const;

    bool split(ATTR& out, int index, char const* delimiter = nullptr) const;
    ATTR split(int index, char const* delimiter = nullptr) const;
    ATTR split(char const* before, char const* after) const;

    static ATTR encode(ATTR text, ATTR special, ATTR escape);
    static ATTR decode(ATTR text, ATTR escape);

    // Reads the text as a number or pointer. Conversion failures raise the standard library's
    // exceptions (std::invalid_argument, std::out_of_range) and are left to the caller.
    template <typename T> T as() const;
};

template <> int ATTR::as<int>() const;
template <> unsigned int ATTR::as<unsigned int>() const;
template <> long ATTR::as<long>() const;
template <> double ATTR::as<double>() const;
template <> void* ATTR::as<void*>() const;
template <> bool ATTR::as<bool>() const;

} // namespace QTD
