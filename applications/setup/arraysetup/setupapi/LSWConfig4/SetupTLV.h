#ifndef LSWCONFIG4_SETUPTLV_H
#define LSWCONFIG4_SETUPTLV_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "LSWConfig4/ByteCursor.h"

// The body of a message: a two-byte big-endian total length, then entries of
// type (1 byte), big-endian length (2 bytes) and value, back to back.
//
// The enforced capacity is 16 bits wide while the allocation is not: a version 5 buffer is
// allocated with 373248 bytes and enforces 45568 (373248 mod 65536). The allocation is kept
// apart so that no read or write ever leaves it, whatever a received length says.
class SETUPTlv {
public:
    static const uint8_t NO_MORE_ENTRIES = 0;

    explicit SETUPTlv(uint32_t size);
    SETUPTlv(const SETUPTlv& other);
    SETUPTlv& operator=(const SETUPTlv& other);
    virtual ~SETUPTlv();

    // Appends one entry; false, with nothing changed, when it does not fit.
    bool pushBackEntry(uint8_t type, uint16_t len, const char* value);

    // Adds the body of one received frame; the total length arrives with the first one.
    // Bytes that would leave the allocation are cut off, and the result is then false.
    bool appendTlvDataFromMessage(const char* data, uint16_t len);

    void calculateChecksum(unsigned char* out) const;

    char* getTlvBuffer() const { return mptlvBufferStart; }
    char* getTlvDataBuffer() const { return mptlvBufferDataStart; }
    uint16_t getTlvBufferSize() const { return mtlvBufferSize; }
    uint16_t getTlvBytesUsed() const { return mtlvBytesUsed; }
    // Bytes really allocated; never less than the enforced capacity.
    uint32_t getTlvAllocatedSize() const { return mtlvAllocated; }

private:
    void initialize(uint32_t size);
    void initialize(const SETUPTlv& other);
    void release();

    char* mptlvBufferStart = nullptr;
    char* mptlvBufferNext = nullptr;
    char* mptlvBufferDataStart = nullptr;
    uint16_t mtlvBufferSize = 0;
    uint16_t mtlvBytesUsed = 0;
    uint32_t mtlvAllocated = 0;
};

// Walks a block entry by entry. It points into the SETUPTlv, which must outlive it.
// An entry whose header or value would reach past the block's capacity ends the walk.
//
// Every parser has the same shape:
//     for (SETUPTlvIterator it(tlv); it.getType() != 0; it.next()) { ... }
// which stops as soon as next() returns false, since the type is then 0.
class SETUPTlvIterator {
public:
    explicit SETUPTlvIterator(const SETUPTlv& tlv);

    uint8_t getType() const { return mTlvType; }
    uint16_t getLen() const { return mTlvLen; }
    char* getValue() const { return mpTlvValue; }
    // The value bounded by the entry's own length, so that an entry shorter than its type
    // implies reads as nothing.
    ByteCursor valueCursor() const { return ByteCursor(mpTlvValue, mTlvLen); }
    std::string valueString() const {
        std::string text;
        valueCursor().readString(text, mTlvLen);
        return text;
    }
    bool next();
    void theEnd();

private:
    bool load();

    uint8_t mTlvType = 0;
    uint16_t mTlvLen = 0;
    char* mpTlvValue = nullptr;
    char* mpCurEntry = nullptr;
    char* mpTlvEnd = nullptr;
    char* mpStart = nullptr;  // block start; offsets are checked against it
};

#endif
