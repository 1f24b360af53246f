#include "SimJson.h"

#include <cstdio>

namespace {

// Length of the valid UTF-8 sequence at iText[i], or 0 when the bytes there are not one.
size_t Utf8Length(const std::string& iText, size_t i) {
    const auto* s = reinterpret_cast<const unsigned char*>(iText.data());
    size_t left = iText.size() - i;
    unsigned char c = s[i];
    size_t n;
    uint32_t cp;
    if (c >= 0xC2 && c <= 0xDF) {
        n = 2;
        cp = c & 0x1F;
    } else if (c >= 0xE0 && c <= 0xEF) {
        n = 3;
        cp = c & 0x0F;
    } else if (c >= 0xF0 && c <= 0xF4) {
        n = 4;
        cp = c & 0x07;
    } else {
        return 0;
    }
    if (left < n)
        return 0;
    for (size_t k = 1; k < n; ++k) {
        if ((s[i + k] & 0xC0) != 0x80)
            return 0;
        cp = (cp << 6) | (s[i + k] & 0x3F);
    }
    // Overlong forms, surrogates and values past U+10FFFF are not valid UTF-8.
    if ((n == 3 && cp < 0x800) || (n == 4 && (cp < 0x10000 || cp > 0x10FFFF)) ||
        (cp >= 0xD800 && cp <= 0xDFFF))
        return 0;
    return n;
}

}  // namespace

std::string SimJsonString(const std::string& iText) {
    std::string out;
    out.reserve(iText.size() + 2);
    out += '"';
    for (size_t i = 0; i < iText.size();) {
        unsigned char c = static_cast<unsigned char>(iText[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
            ++i;
        } else if (c == '\n') {
            out += "\\n";
            ++i;
        } else if (c == '\r') {
            out += "\\r";
            ++i;
        } else if (c == '\t') {
            out += "\\t";
            ++i;
        } else if (c < 0x20 || c == 0x7F) {
            char esc[8];
            snprintf(esc, sizeof(esc), "\\u%04x", c);
            out += esc;
            ++i;
        } else if (c < 0x80) {
            out += static_cast<char>(c);
            ++i;
        } else if (size_t n = Utf8Length(iText, i)) {
            out.append(iText, i, n);
            i += n;
        } else {
            char esc[8];
            snprintf(esc, sizeof(esc), "\\u%04x", c);
            out += esc;
            ++i;
        }
    }
    out += '"';
    return out;
}

std::string SimJsonHex(const void* iData, size_t iLength) {
    static const char kDigits[] = "0123456789abcdef";
    const auto* b = static_cast<const unsigned char*>(iData);
    std::string out = "\"";
    for (size_t i = 0; i < iLength; ++i) {
        out += kDigits[b[i] >> 4];
        out += kDigits[b[i] & 15];
    }
    return out + "\"";
}

void CSimJsonObject::Key(const char* iKey) {
    if (!m_body.empty())
        m_body += ',';
    m_body += SimJsonString(iKey);
    m_body += ':';
}

CSimJsonObject& CSimJsonObject::Str(const char* iKey, const std::string& iValue) {
    Key(iKey);
    m_body += SimJsonString(iValue);
    return *this;
}

CSimJsonObject& CSimJsonObject::Int(const char* iKey, long long iValue) {
    Key(iKey);
    m_body += std::to_string(iValue);
    return *this;
}

CSimJsonObject& CSimJsonObject::UInt(const char* iKey, unsigned long long iValue) {
    Key(iKey);
    m_body += std::to_string(iValue);
    return *this;
}

CSimJsonObject& CSimJsonObject::Bool(const char* iKey, bool iValue) {
    Key(iKey);
    m_body += iValue ? "true" : "false";
    return *this;
}

CSimJsonObject& CSimJsonObject::Null(const char* iKey) {
    Key(iKey);
    m_body += "null";
    return *this;
}

CSimJsonObject& CSimJsonObject::Raw(const char* iKey, const std::string& iJson) {
    Key(iKey);
    m_body += iJson;
    return *this;
}

CSimJsonObject& CSimJsonObject::Merge(const CSimJsonObject& iOther) {
    if (!iOther.m_body.empty()) {
        if (!m_body.empty())
            m_body += ',';
        m_body += iOther.m_body;
    }
    return *this;
}

CSimJsonArray& CSimJsonArray::Add(const std::string& iJson) {
    if (m_count++ > 0)
        m_body += ',';
    m_body += iJson;
    return *this;
}
