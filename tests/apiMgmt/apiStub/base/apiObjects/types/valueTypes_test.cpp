#include <gtest/gtest.h>

#include <cstdlib>

#include "apiMgmt/apiStub/base/apiObjects/types/dateTimeObject.h"
#include "apiMgmt/apiStub/base/apiObjects/types/storageSize.h"
#include "apiMgmt/apiStub/base/apiObjects/types/versionObject.h"
#include "support/Fields.h"

namespace {

TEST(VERSIONObjectTest, ClampsAndParses) {
    EXPECT_EQ(VERSIONObject(100, 0).ToString(), "99.00.00.000");
    EXPECT_EQ(VERSIONObject(-1, 5, 1000, 10000, 100).ToFullString(), "00.05.999.9999.99");
    EXPECT_EQ(VERSIONObject(7, 1, 2, 3).ToFullString(), "07.01.02.003.00");
    struct {
        const char* text;
        const char* full;
    } cases[] = {
        {"", "00.00.00.000.00"},
        {"  v6.3.10.42 ", "06.03.10.042.00"},
        {"Build 7", "07.00.00.000.00"},
        {"1.2.3.4.5.6", "01.02.03.004.05"},
        {"1..x.99999999999999999999", "01.00.00.9999.00"},
        {"no digits", "00.00.00.000.00"},
        {"5.-3", "05.00.00.000.00"},
    };
    for (const auto& c : cases) {
        VERSIONObject version(9, 9);
        version.Parse(c.text);
        EXPECT_EQ(version.ToFullString(), c.full) << c.text;
    }
    EXPECT_EQ(VERSIONObject(99, 99, 999, 9999, 99).GetVersionLong(), 1000908999000099ULL);
}

TEST(STORAGESizeTest, ParseAndDisplay) {
    struct {
        const char* text;
        uint64_t blocks;
        const char* display;
    } cases[] = {
        {"2048", 2048, "1 MB"},  // a bare number is blocks, not bytes
        {"1.5 GB", 3145728, "1.50 GB"},
        {"2 t", 4294967296ULL, "2 TB"},
        {" 3 kb ", 6, "3 KB"},
        {"1 B", 1, "512 bytes"},
        {"-4 GB", 0, ""},
        {"4 parsecs", 0, ""},
        {"1e300 PB", UINT64_MAX, "16383.99 PB"},
    };
    for (const auto& c : cases) {
        STORAGESize size(77);
        size.Parse(c.text);
        EXPECT_EQ(Fields(size.GetNumBlocks(), size.DisplayString()), Fields(c.blocks, c.display))
            << c.text;
    }
    // The hundredths print as a plain number, so 1.0625 GB reads "1.6 GB".
    EXPECT_EQ(STORAGESize(SizeUnitEnum_GB, 1.0625).DisplayString(), "1.6 GB");
    STORAGESize manu(1000000, true);
    EXPECT_EQ(manu.ToString() + " " + manu.DisplayString(), "1024000 512 MB");
    EXPECT_EQ(STORAGESize::ConvertToBytes(static_cast<SizeUnitEnum>(9), 3), 0u);
    EXPECT_EQ(STORAGESize::ConvertToBlocks(SizeUnitEnum_KB, 3), 6u);
}

TEST(DATETimeObjectTest, ReadsBothFormatsAndWritesNothingForZero) {
    setenv("TZ", "UTC", 1);
    tzset();
    EXPECT_EQ(DATETimeObject("01/02/2024 03:04:05 PM").GetTimeElapsedInSec(), 1704207845);
    EXPECT_EQ(DATETimeObject("01/02/2024-15:04:05").GetTimeElapsedInSec(), 1704207845);
    EXPECT_EQ(DATETimeObject("2024-01-02", "%Y-%m-%d").GetTimeElapsedInSec(), 1704153600);
    EXPECT_EQ(DATETimeObject("yesterday").GetTimeElapsedInSec(), 0);
    DATETimeObject time(1704207845);
    EXPECT_EQ(time.ToString(), "01/02/2024 03:04:05 PM");
    EXPECT_EQ(time.FormatAs("%e  %b"), " 2 Jan");  // a double blank becomes one
    EXPECT_EQ(time.GetMinutesElapsedOfTheDay(), 15 * 60 + 4);
    EXPECT_EQ(DATETimeObject(0).ToString(), "");
    EXPECT_EQ(time.FormatAs(""), "");
    EXPECT_EQ(DATETimeObject(INT64_MAX).ToString(), "");  // no calendar date
}

}  // namespace
