#include "zelutil/ZelStringUtil.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/Fields.h"

TEST(ZelStringUtilTest, StrlcpyEmptiesThenCopiesWithinSize) {
    char buf[12];
    memset(buf, 'Z', sizeof(buf));
    EXPECT_EQ(_strlcpy(buf, "abcdefghijk", 8), buf);
    EXPECT_STREQ(buf, "abcdefg");
    for (size_t i = 8; i < sizeof(buf); ++i)
        EXPECT_EQ(buf[i], 'Z') << "byte " << i;

    EXPECT_STREQ(_strlcpy(buf, "hi", 8), "hi");
    EXPECT_STREQ(_strlcpy(buf, "x", 1), "");      // room for the terminator only
    EXPECT_STREQ(_strlcpy(buf, nullptr, 8), "");  // no source still empties the target

    memset(buf, 'Z', sizeof(buf));
    _strlcpy(buf, "abc", 0);  // no room at all: the target is left alone
    EXPECT_EQ(buf[0], 'Z');
    EXPECT_EQ(_strlcpy(nullptr, "abc", 8), nullptr);
}

TEST(ZelStringUtilTest, ConvertedStringKeepsSizeMinusOneBytes) {
    EXPECT_EQ(GetConvertedString("abcdef", 4), "abc");
    EXPECT_EQ(GetConvertedString("abc", 4), "abc");
    EXPECT_EQ(GetConvertedString("ab", 64), "ab");
    EXPECT_EQ(GetConvertedString("abc", 1), "");
    EXPECT_EQ(GetConvertedString("abc", 0), "");
    EXPECT_EQ(GetConvertedString("abc", -3), "");
    // The copy goes through the NUL-terminated form, as a fixed field would hold it.
    EXPECT_EQ(GetConvertedString(std::string("ab\0cd", 5), 16), "ab");
}

TEST(ZelStringUtilTest, CaseInsensitiveComparison) {
    auto same = [](const std::string& a, const std::string& b) {
        return AreStringsIdenticalIgnoreCase(a, b);
    };
    // Only letters fold: a bit-twiddling fold would match "@" and "`", "[" and "{". Compared
    // on the NUL-terminated forms.
    EXPECT_EQ(Fields(same("", ""), same("Vesper-A", "vESPER-a"), same("abc", "abcd"),
                     same("abcd", "abc"), same("", "a"), same("abc", "abd"), same("@", "`"),
                     same("[", "{"), same(std::string("ab\0x", 4), "AB")),
              "1|1|0|0|0|0|0|0|1");
}
