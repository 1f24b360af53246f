#ifndef TOOLS_CELLSIM_SIMJSON_H
#define TOOLS_CELLSIM_SIMJSON_H

// Just enough JSON to write one event per line: objects and arrays built in order, strings
// escaped so that any bytes give valid JSON.

#include <cstdint>
#include <string>

// A JSON string literal of iText. Valid UTF-8 goes through; control characters, quotes and
// backslashes are escaped; a byte that is not part of valid UTF-8 becomes \u00XX (its
// Latin-1 reading), so the line stays valid whatever the wire carried.
std::string SimJsonString(const std::string& iText);
// Lower-case hexadecimal of the bytes, as a JSON string.
std::string SimJsonHex(const void* iData, size_t iLength);

class CSimJsonObject {
public:
    CSimJsonObject& Str(const char* iKey, const std::string& iValue);
    CSimJsonObject& Int(const char* iKey, long long iValue);
    CSimJsonObject& UInt(const char* iKey, unsigned long long iValue);
    CSimJsonObject& Bool(const char* iKey, bool iValue);
    CSimJsonObject& Null(const char* iKey);
    // iJson must already be a JSON value.
    CSimJsonObject& Raw(const char* iKey, const std::string& iJson);
    // Appends the fields of iOther behind these.
    CSimJsonObject& Merge(const CSimJsonObject& iOther);
    bool Empty() const { return m_body.empty(); }
    std::string Text() const { return "{" + m_body + "}"; }

private:
    void Key(const char* iKey);
    std::string m_body;
};

class CSimJsonArray {
public:
    // iJson must already be a JSON value.
    CSimJsonArray& Add(const std::string& iJson);
    CSimJsonArray& AddInt(long long iValue) { return Add(std::to_string(iValue)); }
    size_t Size() const { return m_count; }
    std::string Text() const { return "[" + m_body + "]"; }

private:
    std::string m_body;
    size_t m_count = 0;
};

#endif
