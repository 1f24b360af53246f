#ifndef LSWCONFIG4_BYTECURSOR_H
#define LSWCONFIG4_BYTECURSOR_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

// Explicit byte-order helpers for writing into buffers we own.
inline void PutBE16(void* oDst, uint16_t iValue) {
    auto* d = static_cast<unsigned char*>(oDst);
    d[0] = static_cast<unsigned char>(iValue >> 8);
    d[1] = static_cast<unsigned char>(iValue);
}
inline uint16_t GetBE16(const void* iSrc) {
    auto* s = static_cast<const unsigned char*>(iSrc);
    return static_cast<uint16_t>((s[0] << 8) | s[1]);
}
inline void PutLE16(void* oDst, uint16_t iValue) {
    auto* d = static_cast<unsigned char*>(oDst);
    d[0] = static_cast<unsigned char>(iValue);
    d[1] = static_cast<unsigned char>(iValue >> 8);
}

// Reads untrusted bytes. Every read checks the remaining length first; a read that would
// overrun copies nothing, zeroes its output, leaves the cursor where it was and marks the
// cursor failed. Once failed, every later read fails too, so a decoder may read a whole
// record and test ok() once at the end.
class ByteCursor {
public:
    ByteCursor() = default;
    ByteCursor(const void* iData, size_t iLength)
        : m_p(static_cast<const unsigned char*>(iData)), m_left(iData ? iLength : 0) {}

    bool ok() const { return m_ok; }
    size_t remaining() const { return m_left; }
    const unsigned char* position() const { return m_p; }

    bool skip(size_t iCount) {
        if (!take(iCount))
            return false;
        m_p += iCount;
        m_left -= iCount;
        return true;
    }

    bool readBytes(void* oDst, size_t iCount) {
        if (!take(iCount)) {
            if (oDst && iCount)
                std::memset(oDst, 0, iCount);
            return false;
        }
        if (iCount)
            std::memcpy(oDst, m_p, iCount);
        m_p += iCount;
        m_left -= iCount;
        return true;
    }

    uint8_t readU8() {
        uint8_t v = 0;
        readBytes(&v, 1);
        return v;
    }
    uint16_t readBE16() {
        unsigned char b[2];
        return readBytes(b, 2) ? GetBE16(b) : 0;
    }
    uint16_t readLE16() { return static_cast<uint16_t>(readLE(2)); }
    uint32_t readLE32() { return static_cast<uint32_t>(readLE(4)); }
    uint64_t readLE64() { return readLE(8); }

    // Appends iCount bytes to oText.
    bool readString(std::string& oText, size_t iCount) {
        if (!take(iCount))
            return false;
        oText.append(reinterpret_cast<const char*>(m_p), iCount);
        m_p += iCount;
        m_left -= iCount;
        return true;
    }

private:
    bool take(size_t iCount) {
        if (!m_ok || iCount > m_left) {
            m_ok = false;
            return false;
        }
        return true;
    }
    uint64_t readLE(size_t iCount) {
        unsigned char b[8] = {};
        if (!readBytes(b, iCount))
            return 0;
        uint64_t v = 0;
        for (size_t i = iCount; i-- > 0;)
            v = (v << 8) | b[i];
        return v;
    }

    const unsigned char* m_p = nullptr;
    size_t m_left = 0;
    bool m_ok = true;
};

#endif
