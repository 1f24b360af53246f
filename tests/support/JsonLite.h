#ifndef TESTS_SUPPORT_JSONLITE_H
#define TESTS_SUPPORT_JSONLITE_H

// A small, strict JSON reader for the simulator's event log: a line that is not valid JSON
// fails to parse, so the tests also prove the log is well formed.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

struct JsonValue {
    enum Kind { Null, Bool, Number, String, Array, Object };
    Kind kind = Null;
    bool boolean = false;
    std::string text;  // a string's value, or a number's literal
    std::vector<JsonValue> items;
    std::vector<std::pair<std::string, JsonValue>> members;

    bool Has(const std::string& iKey) const {
        for (const auto& m : members)
            if (m.first == iKey)
                return true;
        return false;
    }
    const JsonValue& operator[](const std::string& iKey) const {
        for (const auto& m : members)
            if (m.first == iKey)
                return m.second;
        return Missing();
    }
    const JsonValue& operator[](size_t iIndex) const {
        return iIndex < items.size() ? items[iIndex] : Missing();
    }
    size_t Size() const { return kind == Array ? items.size() : members.size(); }
    long long Int() const { return kind == Number ? strtoll(text.c_str(), nullptr, 10) : -999999; }
    std::string Str() const { return kind == String ? text : "<not a string>"; }
    bool IsNull() const { return kind == Null; }

    static const JsonValue& Missing() {
        static const JsonValue none;
        return none;
    }
};

class JsonReader {
public:
    static bool Parse(const std::string& iText, JsonValue& oValue) {
        oValue = JsonValue();
        JsonReader r(iText);
        r.Space();
        if (!r.Value(oValue, 0))
            return false;
        r.Space();
        return r.m_pos == iText.size();
    }

private:
    explicit JsonReader(const std::string& iText) : m_s(iText) {}

    void Space() {
        while (m_pos < m_s.size() && (m_s[m_pos] == ' ' || m_s[m_pos] == '\t' ||
                                      m_s[m_pos] == '\n' || m_s[m_pos] == '\r'))
            ++m_pos;
    }
    bool Literal(const char* iWord) {
        std::string w(iWord);
        if (m_s.compare(m_pos, w.size(), w) != 0)
            return false;
        m_pos += w.size();
        return true;
    }
    bool Value(JsonValue& oValue, int iDepth) {
        if (iDepth > 64 || m_pos >= m_s.size())
            return false;
        char c = m_s[m_pos];
        if (c == '{')
            return Object(oValue, iDepth);
        if (c == '[')
            return Array(oValue, iDepth);
        if (c == '"') {
            oValue.kind = JsonValue::String;
            return StringLit(oValue.text);
        }
        if (c == 't' || c == 'f') {
            oValue.kind = JsonValue::Bool;
            oValue.boolean = c == 't';
            return Literal(c == 't' ? "true" : "false");
        }
        if (c == 'n') {
            oValue.kind = JsonValue::Null;
            return Literal("null");
        }
        return Number(oValue);
    }
    bool Number(JsonValue& oValue) {
        size_t start = m_pos;
        if (m_pos < m_s.size() && m_s[m_pos] == '-')
            ++m_pos;
        size_t digits = m_pos;
        while (m_pos < m_s.size() && isdigit(static_cast<unsigned char>(m_s[m_pos])))
            ++m_pos;
        if (m_pos == digits)
            return false;
        if (m_pos < m_s.size() && m_s[m_pos] == '.') {
            ++m_pos;
            while (m_pos < m_s.size() && isdigit(static_cast<unsigned char>(m_s[m_pos])))
                ++m_pos;
        }
        oValue.kind = JsonValue::Number;
        oValue.text = m_s.substr(start, m_pos - start);
        return true;
    }
    static void Utf8(uint32_t iCode, std::string& oOut) {
        if (iCode < 0x80) {
            oOut += static_cast<char>(iCode);
        } else if (iCode < 0x800) {
            oOut += static_cast<char>(0xC0 | (iCode >> 6));
            oOut += static_cast<char>(0x80 | (iCode & 0x3F));
        } else if (iCode < 0x10000) {
            oOut += static_cast<char>(0xE0 | (iCode >> 12));
            oOut += static_cast<char>(0x80 | ((iCode >> 6) & 0x3F));
            oOut += static_cast<char>(0x80 | (iCode & 0x3F));
        } else {
            oOut += static_cast<char>(0xF0 | (iCode >> 18));
            oOut += static_cast<char>(0x80 | ((iCode >> 12) & 0x3F));
            oOut += static_cast<char>(0x80 | ((iCode >> 6) & 0x3F));
            oOut += static_cast<char>(0x80 | (iCode & 0x3F));
        }
    }
    bool Hex4(uint32_t& oCode) {
        if (m_pos + 4 > m_s.size())
            return false;
        oCode = 0;
        for (int i = 0; i < 4; ++i) {
            char h = m_s[m_pos++];
            if (!isxdigit(static_cast<unsigned char>(h)))
                return false;
            oCode = oCode * 16 + static_cast<uint32_t>(isdigit(static_cast<unsigned char>(h))
                                                           ? h - '0'
                                                           : (tolower(h) - 'a' + 10));
        }
        return true;
    }
    bool StringLit(std::string& oText) {
        ++m_pos;  // opening quote
        oText.clear();
        while (m_pos < m_s.size()) {
            unsigned char c = static_cast<unsigned char>(m_s[m_pos++]);
            if (c == '"')
                return true;
            if (c < 0x20)
                return false;  // raw control characters are not allowed in JSON
            if (c != '\\') {
                oText += static_cast<char>(c);
                continue;
            }
            if (m_pos >= m_s.size())
                return false;
            char e = m_s[m_pos++];
            switch (e) {
                case '"':
                case '\\':
                case '/':
                    oText += e;
                    break;
                case 'n':
                    oText += '\n';
                    break;
                case 't':
                    oText += '\t';
                    break;
                case 'r':
                    oText += '\r';
                    break;
                case 'b':
                    oText += '\b';
                    break;
                case 'f':
                    oText += '\f';
                    break;
                case 'u': {
                    uint32_t code = 0;
                    if (!Hex4(code))
                        return false;
                    if (code >= 0xD800 && code < 0xDC00) {
                        uint32_t low = 0;
                        if (!Literal("\\u") || !Hex4(low) || low < 0xDC00 || low > 0xDFFF)
                            return false;
                        code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                    }
                    Utf8(code, oText);
                    break;
                }
                default:
                    return false;
            }
        }
        return false;
    }
    bool Array(JsonValue& oValue, int iDepth) {
        oValue.kind = JsonValue::Array;
        ++m_pos;
        Space();
        if (m_pos < m_s.size() && m_s[m_pos] == ']') {
            ++m_pos;
            return true;
        }
        for (;;) {
            JsonValue item;
            Space();
            if (!Value(item, iDepth + 1))
                return false;
            oValue.items.push_back(std::move(item));
            Space();
            if (m_pos >= m_s.size())
                return false;
            char c = m_s[m_pos++];
            if (c == ']')
                return true;
            if (c != ',')
                return false;
        }
    }
    bool Object(JsonValue& oValue, int iDepth) {
        oValue.kind = JsonValue::Object;
        ++m_pos;
        Space();
        if (m_pos < m_s.size() && m_s[m_pos] == '}') {
            ++m_pos;
            return true;
        }
        for (;;) {
            Space();
            std::string key;
            if (m_pos >= m_s.size() || m_s[m_pos] != '"' || !StringLit(key))
                return false;
            Space();
            if (m_pos >= m_s.size() || m_s[m_pos++] != ':')
                return false;
            Space();
            JsonValue item;
            if (!Value(item, iDepth + 1))
                return false;
            oValue.members.emplace_back(std::move(key), std::move(item));
            Space();
            if (m_pos >= m_s.size())
                return false;
            char c = m_s[m_pos++];
            if (c == '}')
                return true;
            if (c != ',')
                return false;
        }
    }

    const std::string& m_s;
    size_t m_pos = 0;
};

#endif
