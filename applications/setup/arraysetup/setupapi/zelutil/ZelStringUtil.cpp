#include "zelutil/ZelStringUtil.h"

#include <cctype>
#include <cstring>

namespace {
int Upper(char c) {
    return toupper(static_cast<unsigned char>(c));
}
}  // namespace

void ConvertMBtoWC(const char* source, std::string& target) {
    if (source) {
        target = source;
    } else {
        target.clear();
    }
}

std::string ConvertWCtoMB(const std::string& source) {
    return source;
}

std::string GetConvertedString(const std::string& source, int size) {
    if (size <= 0)
        return std::string();
    return std::string(source.c_str(), strnlen(source.c_str(), static_cast<size_t>(size) - 1));
}

char* _strlcpy(char* target, const char* source, unsigned long size) {
    if (target && size != 0) {
        target[0] = '\0';
        if (source)
            strncat(target, source, size - 1);
    }
    return target;
}

bool ci_char_traits::eq(char c1, char c2) {
    return Upper(c1) == Upper(c2);
}

bool ci_char_traits::lt(char c1, char c2) {
    return Upper(c1) < Upper(c2);
}

int ci_char_traits::compare(const char* s1, const char* s2, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        int diff = Upper(s1[i]) - Upper(s2[i]);
        if (diff != 0)
            return diff;
    }
    return 0;
}

const char* ci_char_traits::find(const char* s, std::size_t n, char a) {
    for (std::size_t i = 0; i < n; ++i) {
        if (eq(s[i], a))
            return s + i;
    }
    return nullptr;
}

bool AreStringsIdenticalIgnoreCase(const std::string& first, const std::string& second) {
    const char* a = first.c_str();
    const char* b = second.c_str();
    size_t length = strlen(a);
    if (strlen(b) != length)
        return false;
    return ci_char_traits::compare(a, b, length) == 0;
}
