#ifndef LSWCONFIG4_RAWSTREAM_H
#define LSWCONFIG4_RAWSTREAM_H

// The bytes a record converter (tlvUtils.h) moves its fields through, and the macros and
// string helpers the converters use on it.

#include <cstddef>
#include <cstdint>
#include <string>

#include "LSWConfig4/ByteCursor.h"

enum conversionType {
    ConversionType_Pack = 0,
    ConversionType_Unpack = 1,
};

// The bytes a converter moves through, in one direction. Packing writes into a buffer the
// converter reserved; unpacking reads a received value through a ByteCursor. Either way a
// move that would leave the buffer moves nothing and fails the stream for good.
class RAWStream {
public:
    static RAWStream ForPack(char* oBuffer, size_t iSize);
    static RAWStream ForUnpack(const char* iValue, size_t iLength);

    conversionType Direction() const { return m_direction; }
    bool Packing() const { return m_direction == ConversionType_Pack; }
    bool ok() const { return !m_failed; }
    // Bytes written so far, or bytes of the value not read yet.
    size_t Written() const { return m_written; }
    size_t Remaining() const { return Packing() ? m_size - m_written : m_cursor.remaining(); }

    void Move(int8_t& ioField);
    void Move(uint8_t& ioField);
    void Move(uint32_t& ioField);
    void Move(int64_t& ioField);
    void Move(uint64_t& ioField);
    void MoveBytes(unsigned char* ioField, size_t iCount);

    // Packing only: copies bytes that have no field of their own.
    bool PutBytes(const void* iData, size_t iCount);
    // Unpacking only: the unread bytes, stepping over some of them, and appending some of
    // them to a text.
    const char* Position() const;
    bool Skip(size_t iCount);
    bool ReadString(std::string& ioText, size_t iCount);
    // Marks the stream failed: a record found malformed ends the read as a short one does,
    // and nothing more moves.
    void Fail();

private:
    RAWStream(conversionType iDirection, char* oBuffer, size_t iSize, ByteCursor iCursor);
    uint64_t MoveLE(uint64_t iValue, size_t iCount);
    bool Put(const void* iData, size_t iCount);
    bool Get(void* oData, size_t iCount);

    conversionType m_direction;
    char* m_out = nullptr;
    size_t m_size = 0;
    size_t m_written = 0;
    bool m_failed = false;
    ByteCursor m_cursor;
};

// Moves one field; integers wider than a byte travel little-endian.
#define m_RAW_CONVERTER(ioStream, field) (ioStream).Move(field)
// Moves a byte array as it stands, e.g. a four-byte address in network order.
#define m_RAW_CONVERTER_ARRAY(ioStream, field) (ioStream).MoveBytes((field), sizeof(field))

// One string: two bytes of length, little-endian, then the bytes, no terminator. Unpacking
// appends to the text given. A text of 65536 bytes or more loses the high bits of its
// length while all its bytes are still written.
void rawConverterString(RAWStream& ioStream, std::string& ioText);
size_t rawStringLength(const std::string& iText);

#endif
