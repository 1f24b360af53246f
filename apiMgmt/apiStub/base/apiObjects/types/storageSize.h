#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_TYPES_STORAGESIZE_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_TYPES_STORAGESIZE_H

#include <string>

#include "apiMgmt/common/utils/apiTypes.h"

enum SizeUnitEnum {
    SizeUnitEnum_Blocks = 0,
    SizeUnitEnum_KB = 1,
    SizeUnitEnum_MB = 2,
    SizeUnitEnum_GB = 3,
    SizeUnitEnum_TB = 4,
    SizeUnitEnum_PB = 5
};

struct SizeTypeInfo {
    SizeUnitEnum unitType;
    uns64 sizeInBytes;
    const char* desc;
    const char* short_desc;
};

// A size kept as a count of 512-byte blocks; a manufacturer's size reads in powers of ten.
class STORAGESize {
public:
    static const SizeTypeInfo dataSizeTypes[];
    static const SizeTypeInfo dataSizeTypesManu[];
    static const int dataSizeTypeCount = 6;

    STORAGESize() = default;
    explicit STORAGESize(uns64 iBlocks, bool iIsManu = false);
    STORAGESize(SizeUnitEnum iUnit, double iCount);

    static uns32 GetDefaultBlockSize() { return 512; }
    // Results past the range of 64 bits saturate.
    static uns64 ConvertToBytes(SizeUnitEnum iUnit, double iCount);
    static uns64 ConvertToBlocks(SizeUnitEnum iUnit, double iCount);
    static uns64 GetManufacturerBlockCount(uns64 iBlocks);

    uns64 GetNumBlocks() const { return numBlocks; }
    void SetNumBlocks(uns64 iBlocks) { numBlocks = iBlocks; }
    uns32 GetBlockSize() const { return blockSize; }
    bool IsManu() const { return isManu; }
    void SetManu(bool iIsManu) { isManu = iIsManu; }
    uns64 GetSizeInBytes() const;

    std::string ToString() const;
    std::string DisplayString() const;
    // A bare number is a count of blocks; otherwise a number and a unit word ("1.5 GB", "2 T").
    void Parse(const std::string& iText);

private:
    uns64 numBlocks = 0;
    uns32 blockSize = 512;
    bool isManu = false;
};

#endif
