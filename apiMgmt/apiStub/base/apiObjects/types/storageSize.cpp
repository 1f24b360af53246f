#include "apiMgmt/apiStub/base/apiObjects/types/storageSize.h"

#include <cmath>
#include <limits>

#include "apiMgmt/common/utils/stringUtil.h"

namespace {

// A count from a text may be any size; the cast of an out-of-range double is undefined.
uns64 Saturate(long double iValue) {
    if (!(iValue > 0)) {
        return 0;
    }
    if (iValue >= static_cast<long double>(std::numeric_limits<uns64>::max())) {
        return std::numeric_limits<uns64>::max();
    }
    return static_cast<uns64>(iValue);
}

const SizeTypeInfo* FindUnit(SizeUnitEnum iUnit) {
    for (int i = 0; i < STORAGESize::dataSizeTypeCount; ++i) {
        if (STORAGESize::dataSizeTypes[i].unitType == iUnit) {
            return &STORAGESize::dataSizeTypes[i];
        }
    }
    return nullptr;
}

}  // namespace

const SizeTypeInfo STORAGESize::dataSizeTypes[] = {
    {SizeUnitEnum_Blocks, 512ULL, "", "B"},
    {SizeUnitEnum_KB, 1024ULL, "KB", "K"},
    {SizeUnitEnum_MB, 1048576ULL, "MB", "M"},
    {SizeUnitEnum_GB, 1073741824ULL, "GB", "G"},
    {SizeUnitEnum_TB, 1099511627776ULL, "TB", "T"},
    {SizeUnitEnum_PB, 1125899906842624ULL, "PB", "P"},
};

const SizeTypeInfo STORAGESize::dataSizeTypesManu[] = {
    {SizeUnitEnum_Blocks, 500ULL, "", "B"},
    {SizeUnitEnum_KB, 1000ULL, "KB", "K"},
    {SizeUnitEnum_MB, 1000000ULL, "MB", "M"},
    {SizeUnitEnum_GB, 1000000000ULL, "GB", "G"},
    {SizeUnitEnum_TB, 1000000000000ULL, "TB", "T"},
    {SizeUnitEnum_PB, 1000000000000000ULL, "PB", "P"},
};

STORAGESize::STORAGESize(uns64 iBlocks, bool iIsManu) : numBlocks(iBlocks), isManu(iIsManu) {}

STORAGESize::STORAGESize(SizeUnitEnum iUnit, double iCount)
    : numBlocks(ConvertToBytes(iUnit, iCount) / 512) {}

uns64 STORAGESize::ConvertToBytes(SizeUnitEnum iUnit, double iCount) {
    const SizeTypeInfo* unit = FindUnit(iUnit);
    return unit ? Saturate(static_cast<long double>(iCount) * unit->sizeInBytes) : 0;
}

uns64 STORAGESize::ConvertToBlocks(SizeUnitEnum iUnit, double iCount) {
    return ConvertToBytes(iUnit, iCount) / 512;
}

uns64 STORAGESize::GetManufacturerBlockCount(uns64 iBlocks) {
    unsigned __int128 bytes = static_cast<unsigned __int128>(iBlocks) * 512;
    return static_cast<uns64>(bytes / 500);  // at most blocks * 1.024: fits whenever blocks do
}

uns64 STORAGESize::GetSizeInBytes() const {
    unsigned __int128 bytes = static_cast<unsigned __int128>(numBlocks) * blockSize;
    return bytes > std::numeric_limits<uns64>::max() ? std::numeric_limits<uns64>::max()
                                                     : static_cast<uns64>(bytes);
}

std::string STORAGESize::ToString() const {
    return std::to_string(isManu ? GetManufacturerBlockCount(numBlocks) : numBlocks);
}

std::string STORAGESize::DisplayString() const {
    uns64 size = GetSizeInBytes();
    if (size == 0) {
        return std::string();
    }
    const SizeTypeInfo* table = isManu ? dataSizeTypesManu : dataSizeTypes;
    for (int i = dataSizeTypeCount - 1; i >= 0; --i) {
        if (table[i].desc[0] == '\0' || table[i].sizeInBytes > size) {
            continue;
        }
        long double value = static_cast<long double>(size) / table[i].sizeInBytes;
        long double whole = std::floor(value);
        unsigned hundredths = static_cast<unsigned>((value - whole) * 100);
        if (hundredths == 0) {
            return STRINGUtil::FormatStr("%lu %s", static_cast<unsigned long>(whole),
                                         table[i].desc);
        }
        // The hundredths print as a plain number: 1.05 reads "1.5", as it always has.
        return STRINGUtil::FormatStr("%lu.%u %s", static_cast<unsigned long>(whole), hundredths,
                                     table[i].desc);
    }
    return STRINGUtil::FormatStr("%ld bytes", static_cast<long>(size));
}

void STORAGESize::Parse(const std::string& iText) {
    numBlocks = 0;
    if (STRINGUtil::IsNumeric(iText)) {
        std::istringstream in(iText);
        long double blocks = 0;
        in >> blocks;
        numBlocks = Saturate(blocks);
        return;
    }
    std::string text = iText;
    STRINGUtil::Trim(text);
    std::istringstream in(text);
    double number = 0;
    std::string word;
    in >> number >> word;
    if (!(number > 0) || !std::isfinite(number)) {
        number = 0;
    }
    for (int i = 0; i < dataSizeTypeCount; ++i) {
        if (STRINGUtil::Comparecase(dataSizeTypes[i].desc, word) == 0 ||
            STRINGUtil::Comparecase(dataSizeTypes[i].short_desc, word) == 0) {
            numBlocks =
                Saturate(static_cast<long double>(number) * dataSizeTypes[i].sizeInBytes / 512);
            return;
        }
    }
}
