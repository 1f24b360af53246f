#include "apiMgmt/common/utils/stringUtil.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cassert>
#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace {

const char kBlanks[] = " \f\n\r\t\v";

}  // namespace

int STRINGUtil::Comparecase(const std::string& iA, const std::string& iB) {
    return strcasecmp(iA.c_str(), iB.c_str());
}

bool STRINGUtil::ConvertStringToBool(const std::string& iText) {
    return Comparecase(iText, "true") == 0 || atoi(iText.c_str()) == 1;
}

bool STRINGUtil::IsNumeric(const std::string& iText) {
    if (iText.empty()) {
        return false;
    }
    std::string text = iText;
    Trim(text);
    if (text.empty()) {
        return false;
    }
    std::istringstream in(text);
    double value = 0;
    in >> value;
    // A lone sign or dot also runs the stream to its end; only a number that was read counts.
    return !in.fail() && in.eof();
}

bool STRINGUtil::StartsWith(const std::string& iText, const std::string& iPrefix) {
    return iText.compare(0, iPrefix.size(), iPrefix) == 0;
}

void STRINGUtil::TrimLeft(std::string& ioText) {
    ioText.erase(0, std::min(ioText.find_first_not_of(kBlanks), ioText.size()));
}

void STRINGUtil::TrimRight(std::string& ioText) {
    size_t last = ioText.find_last_not_of(kBlanks);
    ioText.erase(last == std::string::npos ? 0 : last + 1);
}

void STRINGUtil::Trim(std::string& ioText) {
    TrimRight(ioText);
    TrimLeft(ioText);
}

std::string STRINGUtil::ToLowerCase(const std::string& iText) {
    std::string out = iText;
    for (char& c : out) {
        c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

std::string STRINGUtil::ToUpperCase(const std::string& iText) {
    std::string out = iText;
    for (char& c : out) {
        c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
    }
    return out;
}

void STRINGUtil::ReplaceAll(std::string& ioText, const std::string& iFrom, const std::string& iTo) {
    if (iFrom.empty()) {
        return;
    }
    for (size_t pos = ioText.find(iFrom); pos != std::string::npos;
         pos = ioText.find(iFrom, pos + iTo.size())) {
        ioText.replace(pos, iFrom.size(), iTo);
    }
}

void STRINGUtil::SplitString(const std::string& iText, char iSeparator,
                             std::vector<std::string>& oPieces) {
    SplitString(iText, std::string(1, iSeparator), oPieces, 0);
}

void STRINGUtil::SplitString(const std::string& iText, const std::string& iSeparator,
                             std::vector<std::string>& oPieces, unsigned int iLimit) {
    oPieces.clear();
    if (iSeparator.empty()) {
        if (!iText.empty()) {
            oPieces.push_back(iText);
        }
        return;
    }
    size_t pos = 0;
    while (pos < iText.size()) {
        size_t next = iText.find(iSeparator, pos);
        if ((iLimit != 0 && oPieces.size() + 1 >= iLimit) || next == std::string::npos) {
            oPieces.push_back(iText.substr(pos));
            return;
        }
        oPieces.push_back(iText.substr(pos, next - pos));
        pos = next + iSeparator.size();
    }
}

void STRINGUtil::AddToList(std::string& ioList, const std::string& iItem) {
    if (!ioList.empty()) {
        ioList += ',';
    }
    ioList += iItem;
}

std::string STRINGUtil::ExtractFilenameFromPath(const std::string& iPath) {
    size_t slash = iPath.rfind('/');
    return slash == std::string::npos ? iPath : iPath.substr(slash + 1);
}

std::string STRINGUtil::FormatStr(const char* iFormat, ...) {
    va_list args;
    va_start(args, iFormat);
    std::string out = FormatStr(iFormat, args);
    va_end(args);
    return out;
}

std::string STRINGUtil::FormatStr(const char* iFormat, va_list iArgs) {
    if (iFormat == nullptr) {
        return std::string();
    }
    // Most lines fit the first buffer; a longer one is measured by the first pass.
    std::vector<char> buffer(100, '\0');
    va_list args;
    va_copy(args, iArgs);
    int length = vsnprintf(buffer.data(), buffer.size(), iFormat, args);
    va_end(args);
    if (length < 0) {
        return std::string("Error in format string: \"") + iFormat + "\"";
    }
    if (static_cast<size_t>(length) >= buffer.size()) {
        buffer.assign(static_cast<size_t>(length) + 1, '\0');
        va_copy(args, iArgs);
        length = vsnprintf(buffer.data(), buffer.size(), iFormat, args);
        va_end(args);
        if (length < 0) {
            return std::string("Error in format string: \"") + iFormat + "\"";
        }
    }
    return std::string(buffer.data(), static_cast<size_t>(length));
}

std::string STRINGUtil::EscapeString(const std::string& iText, bool iMarkupOnly) {
    std::string out;
    out.reserve(iText.size());
    for (char c : iText) {
        if (c == '<') {
            out += "&lt;";
        } else if (c == '>') {
            out += "&gt;";
        } else if (iMarkupOnly) {
            out += c;
        } else if (c == '&') {
            out += "&amp;";
        } else if (c == '\'') {
            out += "&apos;";
        } else if (c == '"') {
            out += "&quot;";
        } else if (static_cast<unsigned char>(c) < 0x20) {
            // Every control byte comes out as the newline's reference; readers rely on it.
            out += "&#x0a;";
        } else {
            out += c;
        }
    }
    return out;
}

std::string STRINGUtil::UnEscapeString(const std::string& iText, bool iMarkupOnly) {
    static const struct {
        const char* entity;
        char c;
        bool markup;
    } kEntities[] = {{"&lt;", '<', true},
                     {"&gt;", '>', true},
                     {"&amp;", '&', false},
                     {"&quot;", '"', false},
                     {"&apos;", '\'', false}};
    std::string out;
    out.reserve(iText.size());
    size_t pos = 0;
    while (pos < iText.size()) {
        bool resolved = false;
        if (iText[pos] == '&') {
            for (const auto& e : kEntities) {
                if ((e.markup || !iMarkupOnly) &&
                    iText.compare(pos, strlen(e.entity), e.entity) == 0) {
                    out += e.c;
                    pos += strlen(e.entity);
                    resolved = true;
                    break;
                }
            }
        }
        if (!resolved) {
            out += iText[pos++];
        }
    }
    return out;
}

void STRINGUtil::SafeStrncpy(char* ipDestination, const char* ipSource, size_t iSize) {
    assert(ipDestination);
    if (ipDestination == nullptr || iSize == 0) {
        return;
    }
    if (ipSource == nullptr) {
        ipDestination[0] = '\0';
        return;
    }
    strncpy(ipDestination, ipSource, iSize - 1);
    ipDestination[iSize - 1] = '\0';
}

bool STRINGUtil::ParseIpV6Address(const std::string& iText, std::string& oAddress, int& oPrefix) {
    oPrefix = 128;
    oAddress.clear();
    if (iText.empty()) {
        return false;
    }
    std::string address = iText;
    size_t slash = iText.rfind('/');
    if (slash != std::string::npos) {
        std::string digits = iText.substr(slash + 1);
        address = iText.substr(0, slash);
        unsigned long prefix = 0;
        std::istringstream in(digits);
        in >> prefix;
        if (digits.empty() || in.fail() || !in.eof() ||
            !isdigit(static_cast<unsigned char>(digits[0])) || prefix > 128) {
            oPrefix = -1;
            oAddress = address;
            return false;
        }
        oPrefix = static_cast<int>(prefix);
    }
    oAddress = address;
    in6_addr parsed;
    return inet_pton(AF_INET6, address.c_str(), &parsed) == 1;
}

std::string STRINGUtil::FormatBase36String(const std::string& iText, const std::string& iSeparator,
                                           size_t iGroupSize) {
    if (iGroupSize == 0) {
        return iText;
    }
    std::string out;
    for (size_t i = 0; i < iText.size(); i += iGroupSize) {
        if (i != 0) {
            out += iSeparator;
        }
        out += iText.substr(i, iGroupSize);
    }
    return out;
}
