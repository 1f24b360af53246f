#ifndef APIMGMT_COMMON_UTILS_STRINGUTIL_H
#define APIMGMT_COMMON_UTILS_STRINGUTIL_H

#include <strings.h>

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

// Character traits whose comparison ignores case, for strings ordered without regard to it.
struct ci_char_traits : public std::char_traits<char> {
    static bool eq(char a, char b) { return lower(a) == lower(b); }
    static bool lt(char a, char b) { return lower(a) < lower(b); }
    static int compare(const char* a, const char* b, size_t n) { return strncasecmp(a, b, n); }
    static const char* find(const char* s, size_t n, char c) {
        for (; n > 0; --n, ++s) {
            if (eq(*s, c)) {
                return s;
            }
        }
        return nullptr;
    }

private:
    static unsigned char lower(char c) {
        return static_cast<unsigned char>(tolower(static_cast<unsigned char>(c)));
    }
};
typedef std::basic_string<char, ci_char_traits> ci_string;

// The string rules the API client and the common library share. The client's behaviour hangs on
// their exact edges, so each keeps the rule it has always had.
class STRINGUtil {
public:
    static int Comparecase(const std::string& iA, const std::string& iB);
    static bool ConvertStringToBool(const std::string& iText);
    static bool IsNumeric(const std::string& iText);
    static bool StartsWith(const std::string& iText, const std::string& iPrefix);

    static void TrimLeft(std::string& ioText);
    static void TrimRight(std::string& ioText);
    static void Trim(std::string& ioText);
    static std::string ToLowerCase(const std::string& iText);
    static std::string ToUpperCase(const std::string& iText);

    // Replaces left to right and resumes behind each replacement, so a replacement that holds
    // the searched text is never scanned again.
    static void ReplaceAll(std::string& ioText, const std::string& iFrom, const std::string& iTo);

    static void SplitString(const std::string& iText, char iSeparator,
                            std::vector<std::string>& oPieces);
    // Empty pieces are kept, a trailing separator adds none; with a limit, the last piece is the
    // rest of the text, separators and all.
    static void SplitString(const std::string& iText, const std::string& iSeparator,
                            std::vector<std::string>& oPieces, unsigned int iLimit);

    // Appends an item to a comma-delimited list.
    static void AddToList(std::string& ioList, const std::string& iItem);
    static std::string ExtractFilenameFromPath(const std::string& iPath);

    static std::string FormatStr(const char* iFormat, ...);
    static std::string FormatStr(const char* iFormat, va_list iArgs);

    static std::string EscapeString(const std::string& iText, bool iMarkupOnly);
    static std::string UnEscapeString(const std::string& iText, bool iMarkupOnly);

    static void SafeStrncpy(char* ipDestination, const char* ipSource, size_t iSize);

    // oPrefix is 128 without a "/", -1 when the given prefix is no number up to 128.
    static bool ParseIpV6Address(const std::string& iText, std::string& oAddress, int& oPrefix);

    static std::string FormatBase36String(const std::string& iText, const std::string& iSeparator,
                                          size_t iGroupSize);

    template <typename T>
    static T ConvertStringToType(const std::string& iText) {
        T value{};
        std::istringstream in(iText);
        in >> value;
        return value;
    }

    template <typename T>
    static std::string ConvertTypeToString(const T& iValue) {
        std::ostringstream out;
        out << iValue;
        return out.str();
    }
};

#endif
