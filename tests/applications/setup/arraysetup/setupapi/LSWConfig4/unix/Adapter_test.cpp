// Adapter records and MAC texts; no network needed.
#include "LSWConfig4/unix/Adapter.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/Fields.h"

namespace {

const unsigned char kMac[6] = {0x02, 0x11, 0x22, 0x33, 0x44, 0x55};

TEST(ZelAdapter, RecordsCopyAndCutTheirTextsAndFreeAsAList) {
    std::string longName(300, 'n');
    longName[254] = 'x';  // the last character kept
    // Built as GetAll builds them, on the heap and chained, and freed the same way; the
    // sanitizer build's leak check reports any record FreeList leaves behind.
    // libpcap gave no description.
    CZelAdapter* a = new CZelAdapter(kMac, longName.c_str(), "wiz7", nullptr);
    EXPECT_EQ(
        Fields(memcmp(a->m_addr, kMac, 6), strlen(a->m_msname), std::string(1, a->m_msname[254]),
               a->m_pcapname, a->m_description, a->m_next == nullptr),
        "0|255|x|wiz7||1");

    a->m_next = new CZelAdapter(kMac, "eth1", "eth1", "Ethernet port 1");
    EXPECT_STREQ("Ethernet port 1", a->m_next->m_description);
    a->m_next->m_next = new CZelAdapter(nullptr, "c", "c", nullptr);
    const unsigned char zero[6] = {};
    EXPECT_EQ(0, memcmp(a->m_next->m_next->m_addr, zero, 6));

    CZelAdapter::FreeList(a);
    CZelAdapter::FreeList(nullptr);
}

TEST(ZelAdapter, MacTextOnlyForAnInterfaceThatHasOne) {
    char text[ZEL_MAC_ADDR_STRING_SIZE];
    memcpy(text, "untouched", 10);
    EXPECT_FALSE(GetMACAddrString("no-such-if0", text));
    EXPECT_FALSE(GetMACAddrString(nullptr, text));
    // The loopback has a link-layer address of six zero bytes.
    ASSERT_TRUE(GetMACAddrString("lo", text));
    EXPECT_STREQ("00:00:00:00:00:00", text);
}

}  // namespace
