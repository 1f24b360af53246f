#include "LSWConfig4/RAWStream.h"

#include <cstring>

RAWStream::RAWStream(conversionType iDirection, char* oBuffer, size_t iSize, ByteCursor iCursor)
    : m_direction(iDirection), m_out(oBuffer), m_size(oBuffer ? iSize : 0), m_cursor(iCursor) {}

RAWStream RAWStream::ForPack(char* oBuffer, size_t iSize) {
    return RAWStream(ConversionType_Pack, oBuffer, iSize, ByteCursor());
}

RAWStream RAWStream::ForUnpack(const char* iValue, size_t iLength) {
    return RAWStream(ConversionType_Unpack, nullptr, 0, ByteCursor(iValue, iLength));
}

void RAWStream::Fail() {
    m_failed = true;
}

bool RAWStream::Put(const void* iData, size_t iCount) {
    if (m_failed || iCount > m_size - m_written) {
        Fail();
        return false;
    }
    if (iCount)
        memcpy(m_out + m_written, iData, iCount);
    m_written += iCount;
    return true;
}

bool RAWStream::Get(void* oData, size_t iCount) {
    if (m_failed || !m_cursor.readBytes(oData, iCount)) {
        if (iCount)
            memset(oData, 0, iCount);
        m_failed = true;
        return false;
    }
    return true;
}

bool RAWStream::PutBytes(const void* iData, size_t iCount) {
    if (!Packing())
        return false;
    return Put(iData, iCount);
}

const char* RAWStream::Position() const {
    return Packing() ? nullptr : reinterpret_cast<const char*>(m_cursor.position());
}

bool RAWStream::Skip(size_t iCount) {
    if (Packing() || m_failed)
        return false;
    if (!m_cursor.skip(iCount))
        m_failed = true;
    return !m_failed;
}

bool RAWStream::ReadString(std::string& ioText, size_t iCount) {
    if (Packing() || m_failed)
        return false;
    if (!m_cursor.readString(ioText, iCount))
        m_failed = true;
    return !m_failed;
}

uint64_t RAWStream::MoveLE(uint64_t iValue, size_t iCount) {
    unsigned char bytes[8] = {};
    if (Packing()) {
        for (size_t i = 0; i < iCount; ++i)
            bytes[i] = static_cast<unsigned char>(iValue >> (8 * i));
        Put(bytes, iCount);
        return iValue;
    }
    Get(bytes, iCount);
    uint64_t value = 0;
    for (size_t i = iCount; i-- > 0;)
        value = (value << 8) | bytes[i];
    return value;
}

void RAWStream::Move(int8_t& ioField) {
    ioField = static_cast<int8_t>(static_cast<uint8_t>(MoveLE(static_cast<uint8_t>(ioField), 1)));
}

void RAWStream::Move(uint8_t& ioField) {
    ioField = static_cast<uint8_t>(MoveLE(ioField, 1));
}

void RAWStream::Move(uint32_t& ioField) {
    ioField = static_cast<uint32_t>(MoveLE(ioField, 4));
}

void RAWStream::Move(int64_t& ioField) {
    ioField = static_cast<int64_t>(MoveLE(static_cast<uint64_t>(ioField), 8));
}

void RAWStream::Move(uint64_t& ioField) {
    ioField = MoveLE(ioField, 8);
}

void RAWStream::MoveBytes(unsigned char* ioField, size_t iCount) {
    if (Packing())
        Put(ioField, iCount);
    else
        Get(ioField, iCount);
}

void rawConverterString(RAWStream& ioStream, std::string& ioText) {
    if (ioStream.Packing()) {
        unsigned char length[2];
        PutLE16(length, static_cast<uint16_t>(ioText.size()));
        ioStream.PutBytes(length, 2);
        ioStream.PutBytes(ioText.data(), ioText.size());
        return;
    }
    // Zero when the value ends before its length: nothing is moved then.
    unsigned char length[2] = {};
    ioStream.MoveBytes(length, 2);
    ioStream.ReadString(ioText, static_cast<size_t>(length[0] | (length[1] << 8)));
}

size_t rawStringLength(const std::string& iText) {
    return iText.size() + 2;
}
