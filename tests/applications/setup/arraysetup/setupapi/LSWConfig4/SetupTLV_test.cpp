// TLV block: capacity rules, entry layout, appending received bodies, the walker's bounds.
#include "LSWConfig4/SetupTLV.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "LSWConfig4/setupMessage.h"
#include "support/Fields.h"

namespace {

std::vector<unsigned char> Bytes(const SETUPTlv& tlv, size_t n) {
    const auto* p = reinterpret_cast<const unsigned char*>(tlv.getTlvBuffer());
    return std::vector<unsigned char>(p, p + n);
}

using Entries = std::vector<std::pair<int, std::string>>;

Entries Walk(const SETUPTlv& tlv) {
    Entries entries;
    for (SETUPTlvIterator it(tlv); it.getType() != 0; it.next())
        entries.emplace_back(it.getType(), std::string(it.getValue(), it.getLen()));
    return entries;
}

std::vector<unsigned char> Sum(const SETUPTlv& tlv) {
    unsigned char sum[4] = {};
    tlv.calculateChecksum(sum);
    return std::vector<unsigned char>(sum, sum + 4);
}

TEST(SetupTlv, NewBlockIsItsOwnLengthAndEmpty) {
    SETUPTlv v4(CHOOSE_TLV_SIZE_BY_VERSION(MESSAGE_VERSION_4));
    EXPECT_EQ(Fields(v4.getTlvBufferSize(), v4.getTlvAllocatedSize(), v4.getTlvBytesUsed()),
              "1470|1470|2");
    EXPECT_EQ(Bytes(v4, 4), (std::vector<unsigned char>{0x00, 0x02, 0x00, 0x00}));
    EXPECT_EQ(v4.getTlvDataBuffer(), v4.getTlvBuffer() + 2);
    SETUPTlvIterator it(v4);
    EXPECT_EQ(it.getLen(), 0);
    EXPECT_FALSE(it.next());
    EXPECT_TRUE(Walk(v4).empty());
    EXPECT_EQ(Sum(v4), (std::vector<unsigned char>{0xFC, 0xF0, 0xA6, 0xC7}));
}

TEST(SetupTlv, EntriesAreLaidOutBigEndianAndZeroLengthIsLegal) {
    SETUPTlv tlv(CHOOSE_TLV_SIZE_BY_VERSION(MESSAGE_VERSION_5));
    EXPECT_TRUE(tlv.pushBackEntry(7, 0, nullptr));
    EXPECT_TRUE(tlv.pushBackEntry(1, 5, "en_US"));
    EXPECT_EQ(tlv.getTlvBytesUsed(), 2 + 3 + 8);
    EXPECT_EQ(Bytes(tlv, 14), (std::vector<unsigned char>{0x00, 0x0D, 0x07, 0x00, 0x00, 0x01, 0x00,
                                                          0x05, 'e', 'n', '_', 'U', 'S', 0x00}));
    EXPECT_EQ(Walk(tlv), (Entries{{7, ""}, {1, "en_US"}}));
    SETUPTlvIterator it(tlv);
    ASSERT_TRUE(it.next());
    EXPECT_FALSE(it.next());
    EXPECT_EQ(it.getValue(), nullptr);  // and the type 0 that ended the walk
}

TEST(SetupTlv, Version4CapacityIsExact) {
    std::string value(1465, 'x');
    SETUPTlv full(1470);
    EXPECT_TRUE(full.pushBackEntry(9, 1465, value.data()));  // 2 + 3 + 1465 = 1470
    EXPECT_EQ(full.getTlvBytesUsed(), 1470);
    EXPECT_FALSE(full.pushBackEntry(9, 0, nullptr));
    EXPECT_EQ(full.getTlvBytesUsed(), 1470);

    SETUPTlv over(1470);
    value.push_back('y');
    EXPECT_FALSE(over.pushBackEntry(9, 1466, value.data()));
    EXPECT_EQ(over.getTlvBytesUsed(), 2);
    EXPECT_EQ(Bytes(over, 5), (std::vector<unsigned char>{0x00, 0x02, 0x00, 0x00, 0x00}));

    // A length whose 16-bit sum wraps passes the capacity test; it must still not write
    // past the 1470 bytes allocated.
    std::string huge(65533, 'h');
    EXPECT_FALSE(over.pushBackEntry(9, 65533, huge.data()));
    EXPECT_EQ(over.getTlvBytesUsed(), 2);
}

TEST(SetupTlv, Version5EnforcesTheTruncatedCapacity) {
    SETUPTlv tlv(MAX_TLV_DATA_SIZE);
    EXPECT_EQ(Fields(tlv.getTlvBufferSize(), tlv.getTlvAllocatedSize()),
              Fields(45568, MAX_TLV_DATA_SIZE));  // 373248 mod 65536
    std::string value(45563, 'v');
    SETUPTlv over(MAX_TLV_DATA_SIZE);
    EXPECT_FALSE(over.pushBackEntry(1, 45564, (value + "!").data()));
    EXPECT_TRUE(tlv.pushBackEntry(1, 45563, value.data()));
    EXPECT_EQ(tlv.getTlvBytesUsed(), 45568);
    EXPECT_FALSE(tlv.pushBackEntry(2, 0, nullptr));
    // The bytes behind the enforced capacity stay zero.
    EXPECT_EQ(Fields(tlv.getTlvBuffer()[45568], tlv.getTlvBuffer()[MAX_TLV_DATA_SIZE - 1]), "0|0");
}

TEST(SetupTlv, UnknownTypesAreWalkedPastByTheirLength) {
    SETUPTlv tlv(1470);
    tlv.pushBackEntry(1, 2, "ab");
    tlv.pushBackEntry(200, 4, "\x00\x00\x00\x00");  // a value of zeros does not end the walk
    tlv.pushBackEntry(3, 1, "c");
    EXPECT_EQ(Walk(tlv), (Entries{{1, "ab"}, {200, std::string(4, '\0')}, {3, "c"}}));
}

TEST(SetupTlv, AppendingReceivedBodies) {
    // Two frames: the total length comes with the first, padding stays behind it.
    SETUPTlv tlv(MAX_TLV_DATA_SIZE);
    // Total 0x05BA = 1466 (2 + 3 + 1461); entry type 4 of 0x05B5 = 1461, 1453 in this frame.
    std::vector<char> first(TARGET_PAYLOAD_SIZE, 'a');
    memcpy(first.data(), "\x05\xBA\x04\x05\xB5", 5);
    std::vector<char> second(34, 0);
    memcpy(second.data(), "bcdef", 5);
    tlv.appendTlvDataFromMessage(first.data(), static_cast<uint16_t>(first.size()));
    EXPECT_EQ(tlv.getTlvBytesUsed(), 0x05BA);
    tlv.appendTlvDataFromMessage(second.data(), static_cast<uint16_t>(second.size()));
    EXPECT_EQ(tlv.getTlvBytesUsed(), 0x05BA);  // later frames never change it
    EXPECT_EQ(Walk(tlv), (Entries{{4, std::string(1453, 'a') + "bcdef" + std::string(3, '\0')}}));

    // A first append of exactly two bytes leaves next at the data start: the next append
    // starts over at the block's start.
    SETUPTlv restart(1470);
    restart.appendTlvDataFromMessage("\x00\x02", 2);
    EXPECT_EQ(restart.getTlvBytesUsed(), 2);
    const char body[] = {0x00, 0x08, 0x01, 0x00, 0x03, 'x', 'y', 'z'};
    restart.appendTlvDataFromMessage(body, sizeof(body));
    EXPECT_EQ(restart.getTlvBytesUsed(), 8);
    EXPECT_EQ(Walk(restart), (Entries{{1, "xyz"}}));

    // More than the allocation: the copy stops at its end.
    SETUPTlv small(16);
    std::vector<char> big(40, 0x11);
    EXPECT_FALSE(small.appendTlvDataFromMessage(big.data(), static_cast<uint16_t>(big.size())));
    EXPECT_EQ(small.getTlvBytesUsed(), 0x1111);
    Sum(small);  // a total beyond the allocation reads only what is there
}

TEST(SetupTlv, HostileLengthsEndTheWalkInsideTheBuffer) {
    // An exact 24-byte allocation (a copy takes its capacity as its size), so any read past
    // it is caught by the address sanitizer.
    SETUPTlv src(24);
    const char body[] = {0x00, 0x0C, 0x01, 0x00, 0x02, 'o', 'k', 0x02, 0x00, 0x7F};
    src.appendTlvDataFromMessage(body, sizeof(body));
    SETUPTlv tlv(src);
    ASSERT_EQ(tlv.getTlvAllocatedSize(), 24u);
    EXPECT_EQ(Walk(tlv), (Entries{{1, "ok"}}));

    // The first entry itself claims more than the block holds.
    SETUPTlv first(8);
    const char claim[] = {0x00, 0x08, 0x05, static_cast<char>(0xFF), static_cast<char>(0xFF)};
    first.appendTlvDataFromMessage(claim, sizeof(claim));
    EXPECT_EQ(Walk(first).size(), 0u);

    // A block filled to its last byte ends by the bound, not by a zero type.
    SETUPTlv exact(10);
    EXPECT_TRUE(exact.pushBackEntry(6, 5, "12345"));
    EXPECT_EQ(exact.getTlvBytesUsed(), 10);
    EXPECT_EQ(Walk(exact), (Entries{{6, "12345"}}));
}

TEST(SetupTlv, CopyOfAVersion5BlockKeepsOnlyTheEnforcedCapacity) {
    SETUPTlv original(MAX_TLV_DATA_SIZE);
    original.pushBackEntry(1, 3, "one");
    original.pushBackEntry(2, 3, "two");
    SETUPTlv copy(original);
    EXPECT_EQ(Fields(copy.getTlvBufferSize(), copy.getTlvAllocatedSize(), copy.getTlvBytesUsed()),
              Fields(45568, 45568, original.getTlvBytesUsed()));
    EXPECT_EQ(Bytes(copy, 45568), Bytes(original, 45568));
    EXPECT_EQ(Sum(copy), Sum(original));

    // Its next pointer stays at the start: a push overwrites the first entries.
    copy.pushBackEntry(3, 3, "new");
    EXPECT_EQ(copy.getTlvBytesUsed(), original.getTlvBytesUsed() + 6);
    EXPECT_EQ(Walk(copy), (Entries{{3, "new"}, {2, "two"}}));

    SETUPTlv assigned(1470);
    assigned = original;
    EXPECT_EQ(assigned.getTlvBufferSize(), 45568);
    EXPECT_EQ(Walk(assigned), (Entries{{1, "one"}, {2, "two"}}));
}

}  // namespace
