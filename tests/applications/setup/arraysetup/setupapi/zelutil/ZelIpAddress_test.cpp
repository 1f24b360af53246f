// The address value: its bytes after each setter, validity, and text in both directions.
#include "zelutil/ZelIpAddress.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/Fields.h"

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Of(const ZEL_IP_ADDRESS_t& a) {
    return Bytes(a.all, a.all + sizeof(a.all));
}

// The 20 bytes of a value: family, three zeros, the address padded with zeros.
Bytes Value(unsigned char family, const Bytes& address) {
    Bytes v(20, 0);
    v[0] = family;
    for (size_t i = 0; i < address.size() && i < 16; ++i)
        v[4 + i] = address[i];
    return v;
}

CZelIpAddress Parse(const char* text) {
    CZelIpAddress a;
    EXPECT_FALSE(ipStringToAddr(&a, text)) << text;
    return a;
}

TEST(ZelIpAddress, SettersLeaveNoBytesOfTheOldValue) {
    CZelIpAddress a(zelAddr6_none);
    a.set_IPv4(htonl(0xC0A80A01));
    EXPECT_EQ(Of(a), Value(2, {192, 168, 10, 1}));
    const unsigned char v6[16] = {0x20, 0x01, 0x0d, 0xb8, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    a.set_IPv6(v6);
    EXPECT_EQ(Of(a), Value(24, Bytes(v6, v6 + 16)));
    EXPECT_EQ(Of(zelAddr6_loopback_linklocal),
              Value(24, {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));

    // The wire's four bytes come last octet first.
    const char wire[4] = {'\x01', '\x00', '\xA8', '\xC0'};
    SetIP4(a, wire);
    EXPECT_EQ(Of(a), Value(2, {192, 168, 0, 1}));
    unsigned char octets[4] = {};
    FillAddr(octets, a);
    EXPECT_EQ(Bytes(octets, octets + 4), (Bytes{192, 168, 0, 1}));
}

TEST(ZelIpAddress, ValidAndNullAreDifferentQuestions) {
    struct Row {
        CZelIpAddress value;
        bool null, valid, any, loopback;
    };
    CZelIpAddress odd(zelAddr4_loopback);
    odd.sa_family = 7;
    const Row rows[] = {
        {CZelIpAddress(), true, false, false, false},
        {CZelIpAddress(zelAddr4_any), false, false, true, false},
        {CZelIpAddress(zelAddr6_any), false, false, true, false},
        {CZelIpAddress(zelAddr4_none), false, true, false, false},
        {CZelIpAddress(zelAddr6_loopback), false, true, false, true},
        {CZelIpAddress(zelAddr6_loopback_linklocal), false, true, false, false},
        {Parse("127.200.0.9"), false, true, false, true},
        {odd, false, false, false, false},
    };
    // isLoopback is not asked of a value whose family is none of ours.
    for (const Row& r : rows)
        EXPECT_EQ(Fields(r.value.isNull(), r.value.valid(), r.value.isAnyAddr(),
                         r.value.sa_family != 7 && r.value.isLoopback()),
                  Fields(r.null, r.valid, r.any, r.loopback))
            << IPADDR_STRING(r.value);
}

TEST(ZelIpAddress, TextChoosesTheFamilyByItsCharacters) {
    EXPECT_EQ(Of(Parse("192.168.1.20")), Value(2, {192, 168, 1, 20}));
    EXPECT_EQ(Of(Parse("fe80::1")), Of(zelAddr6_loopback_linklocal));
    EXPECT_EQ(Of(Parse("0.0.0.0")), Of(zelAddr4_any));  // parses: the checks refuse it

    // Neither '.' nor ':' writes nothing; any '.' means IPv4, and a failure keeps only the
    // family.
    const struct {
        const char* text;
        Bytes after;
    } refused[] = {{"localhost", Of(Parse("9.9.9.9"))},  {"", Of(Parse("9.9.9.9"))},
                   {"::ffff:1.2.3.4", Of(zelAddr4_any)}, {"1.2.3", Of(zelAddr4_any)},
                   {"1.2.3.256", Of(zelAddr4_any)},      {"fe80:::1", Of(zelAddr6_any)}};
    for (const auto& r : refused) {
        CZelIpAddress out = Parse("9.9.9.9");
        EXPECT_TRUE(ipStringToAddr(&out, r.text)) << r.text;
        EXPECT_EQ(Of(out), r.after) << r.text;
    }
    CZelIpAddress out;
    EXPECT_TRUE(zelAddrAtoN(&out, nullptr));

    // The families are ours, not the platform's.
    CZelIpAddress a(ZEL_INET, "10.1.2.3");
    EXPECT_EQ(a, Parse("10.1.2.3"));
    EXPECT_FALSE(a.set(ZEL_INET, "2001:db8::5"));
    EXPECT_EQ(Of(a), Of(zelAddr4_any));
    EXPECT_FALSE(a.set(AF_INET6, "2001:db8::5"));
    EXPECT_EQ(Fields(a.isNull(), CZelIpAddress().__inet_pton("1.2.3.4")), "1|-1");
}

TEST(ZelIpAddress, AddressToText) {
    CZelIpAddress odd(zelAddr4_loopback);
    odd.sa_family = 10;  // the platform's AF_INET6 is no family of the value
    EXPECT_STREQ(zelAddrNtoA(&zelAddr6_none), "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
    EXPECT_STREQ(zelAddrNtoA(&zelAddr4_any), "0.0.0.0");
    EXPECT_EQ(zelAddrNtoA(&zelAddr_zero), nullptr);
    EXPECT_EQ(zelAddrNtoA(&odd), nullptr);
    EXPECT_EQ(GetIpAddressStr(CZelIpAddress(zelAddr4_any)), "");
    EXPECT_EQ(GetIpAddressStr(CZelIpAddress(zelAddr6_loopback)), "::1");

    // Cut to size - 1 and always terminated; nothing written for size 0.
    char buf[16];
    memset(buf, 'x', sizeof(buf));
    CZelIpAddress a = Parse("192.168.100.200");
    EXPECT_EQ(ipAddrToString(&a, buf, 5), buf);
    EXPECT_EQ(std::string(buf, 6), std::string("192.\0x", 6));
    ipAddrToString(&zelAddr_zero, buf, 4);
    EXPECT_STREQ(buf, "Inv");
    memset(buf, 'x', sizeof(buf));
    ipAddrToString(&a, buf, 0);
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(ipAddrToString(&a, nullptr, 16), nullptr);
}

}  // namespace
