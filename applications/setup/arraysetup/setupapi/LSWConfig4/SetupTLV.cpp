#include "LSWConfig4/SetupTLV.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/setupMessage.h"

SETUPTlv::SETUPTlv(uint32_t size) {
    initialize(size);
}

SETUPTlv::SETUPTlv(const SETUPTlv& other) {
    initialize(other);
}

SETUPTlv& SETUPTlv::operator=(const SETUPTlv& other) {
    if (this != &other)
        initialize(other);
    return *this;
}

SETUPTlv::~SETUPTlv() {
    release();
}

void SETUPTlv::release() {
    free(mptlvBufferStart);
    mptlvBufferStart = mptlvBufferNext = mptlvBufferDataStart = nullptr;
    mtlvAllocated = 0;
}

void SETUPTlv::initialize(uint32_t size) {
    if (size == 0)
        return;
    release();
    // Room for the total length at least, whatever was asked.
    uint32_t allocation = std::max<uint32_t>(size, 2);
    mptlvBufferStart = static_cast<char*>(calloc(1, allocation));
    if (!mptlvBufferStart) {
        mtlvBufferSize = 0;
        return;
    }
    mtlvAllocated = allocation;
    mtlvBufferSize = static_cast<uint16_t>(size);  // truncated on purpose, see the class
    mptlvBufferNext = mptlvBufferStart + 2;
    mtlvBytesUsed = 2;
    mptlvBufferDataStart = mptlvBufferNext;
    PutBE16(mptlvBufferStart, 2);
}

void SETUPTlv::initialize(const SETUPTlv& other) {
    // The copy takes the enforced capacity as its allocation.
    initialize(other.mtlvBufferSize);
    if (mtlvBufferSize == 0 || !mptlvBufferStart)
        return;
    uint32_t n = std::min<uint32_t>(mtlvBufferSize, other.mtlvAllocated);
    if (n)
        memcpy(mptlvBufferStart, other.mptlvBufferStart, n);
    mtlvBytesUsed = GetBE16(mptlvBufferStart);
}

bool SETUPTlv::pushBackEntry(uint8_t type, uint16_t len, const char* value) {
    // 16 bits wide as the record has it: the sum may wrap.
    uint16_t spaceNeeded = static_cast<uint16_t>(len + mtlvBytesUsed + 3);
    if (mtlvBufferSize < spaceNeeded)
        return false;
    // A wrapped sum must still not carry the entry past the allocation.
    size_t offset = static_cast<size_t>(mptlvBufferNext - mptlvBufferStart);
    if (!mptlvBufferStart || offset + 3 + len > mtlvAllocated)
        return false;

    mptlvBufferNext[0] = static_cast<char>(type);
    PutBE16(mptlvBufferNext + 1, len);
    if (len != 0 && value)
        memcpy(mptlvBufferNext + 3, value, len);
    mptlvBufferNext += len + 3;
    mtlvBytesUsed = static_cast<uint16_t>(mtlvBytesUsed + len + 3);
    PutBE16(mptlvBufferStart, mtlvBytesUsed);
    return true;
}

bool SETUPTlv::appendTlvDataFromMessage(const char* data, uint16_t len) {
    if (!mptlvBufferStart)
        return false;
    char* target = mptlvBufferNext;
    size_t delta = 0;
    if (mptlvBufferNext == mptlvBufferDataStart) {
        target = mptlvBufferStart;
        delta = 2;
    }
    size_t offset = static_cast<size_t>(target - mptlvBufferStart);
    size_t room = mtlvAllocated > offset ? mtlvAllocated - offset : 0;
    size_t n = std::min<size_t>(len, room);
    if (n && data)
        memcpy(target, data, n);
    // Next advances by len less delta, which lands just behind the bytes copied.
    mptlvBufferNext = target + n;
    if (delta == 2)
        mtlvBytesUsed = GetBE16(mptlvBufferStart);
    return n == len;
}

void SETUPTlv::calculateChecksum(unsigned char* out) const {
    // A received total length may promise more than was allocated.
    uint32_t n = std::min<uint32_t>(mtlvBytesUsed, mtlvAllocated);
    SHA256CheckSum::generateChecksum(mptlvBufferStart, n, out);
}

SETUPTlvIterator::SETUPTlvIterator(const SETUPTlv& tlv) {
    mpStart = tlv.getTlvBuffer();
    if (!mpStart || tlv.getTlvBufferSize() < 2) {
        theEnd();
        return;
    }
    mpCurEntry = mpStart + 2;
    mpTlvEnd = mpStart + tlv.getTlvBufferSize() - 1;
    if (!load())
        theEnd();
}

bool SETUPTlvIterator::load() {
    // The entry's header and value must lie inside the block's capacity.
    size_t cur = static_cast<size_t>(mpCurEntry - mpStart);
    size_t capacity = static_cast<size_t>(mpTlvEnd - mpStart) + 1;
    if (cur + 3 > capacity)
        return false;
    uint16_t len = GetBE16(mpCurEntry + 1);
    if (cur + 3 + len > capacity)
        return false;
    mTlvType = static_cast<uint8_t>(mpCurEntry[0]);
    mTlvLen = len;
    mpTlvValue = mpCurEntry + 3;
    return true;
}

bool SETUPTlvIterator::next() {
    if (!mpCurEntry)
        return false;
    size_t cur = static_cast<size_t>(mpCurEntry - mpStart) + 3 + mTlvLen;
    size_t last = static_cast<size_t>(mpTlvEnd - mpStart);
    if (cur < last && mpStart[cur] != 0) {
        mpCurEntry = mpStart + cur;
        if (load())
            return true;
    }
    mpCurEntry = nullptr;
    theEnd();
    return false;
}

void SETUPTlvIterator::theEnd() {
    mTlvType = 0;
    mTlvLen = 0;
    mpTlvValue = nullptr;
}
