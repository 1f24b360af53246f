#ifndef ZELUTIL_ZELSTRINGUTIL_H
#define ZELUTIL_ZELSTRINGUTIL_H

#include <cstddef>
#include <string>

// Text of the layer-2 side is narrow throughout: the "conversions" only copy.
void ConvertMBtoWC(const char* source, std::string& target);
std::string ConvertWCtoMB(const std::string& source);

// The first size - 1 bytes of source (less if source holds a NUL sooner), as a fixed
// field of size bytes with its terminator would keep them.
std::string GetConvertedString(const std::string& source, int size);

// Empties target, then appends at most size - 1 bytes of source; target always ends in NUL.
char* _strlcpy(char* target, const char* source, unsigned long size);

// Character traits that compare through toupper, byte by byte.
struct ci_char_traits : public std::char_traits<char> {
    static bool eq(char c1, char c2);
    static bool lt(char c1, char c2);
    // The difference of the first pair of upper-cased bytes that differ, else 0.
    static int compare(const char* s1, const char* s2, std::size_t n);
    static const char* find(const char* s, std::size_t n, char a);
};

using ci_string = std::basic_string<char, ci_char_traits>;

// Compared up to the first NUL of each; two empty strings are identical.
bool AreStringsIdenticalIgnoreCase(const std::string& first, const std::string& second);

#endif
