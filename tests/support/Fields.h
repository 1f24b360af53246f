#ifndef TESTS_SUPPORT_FIELDS_H
#define TESTS_SUPPORT_FIELDS_H

// A record's values joined by '|' (small integers as numbers), so that a test compares a
// whole record in one line and a failure shows every field at once.

#include <sstream>
#include <string>
#include <type_traits>

template <class T>
auto FieldShown(const T& iValue) {
    if constexpr (std::is_integral<T>::value)
        return static_cast<long long>(iValue);
    else
        return iValue;
}

template <class... T>
std::string Fields(const T&... iValues) {
    std::ostringstream out;
    const char* separator = "";
    ((out << separator << FieldShown(iValues), separator = "|"), ...);
    return out.str();
}

#endif
