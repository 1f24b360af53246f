// The address value: byte layout, validity, text conversions in both directions.
#include "zelutil/ZelIpAddress.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::vector<unsigned char> Bytes(const ZEL_IP_ADDRESS_t& a) {
    return std::vector<unsigned char>(a.all, a.all + sizeof(a.all));
}

CZelIpAddress Parse(const char* text) {
    CZelIpAddress a;
    EXPECT_FALSE(ipStringToAddr(&a, text)) << text;
    return a;
}

std::string Text(const ZEL_IP_ADDRESS_t* a) {
    char buf[128];
    return ipAddrToString(a, buf, sizeof(buf));
}

TEST(ZelIpAddress, LayoutIsFamilyReservedPortThenAddress) {
    EXPECT_EQ(sizeof(ZEL_IP_ADDRESS_t), 20u);
    EXPECT_EQ(sizeof(CZelIpAddress), 20u);
    EXPECT_EQ(offsetof(ZEL_IP_ADDRESS_t, sa_family), 0u);
    EXPECT_EQ(offsetof(ZEL_IP_ADDRESS_t, reserved), 1u);
    EXPECT_EQ(offsetof(ZEL_IP_ADDRESS_t, port), 2u);
    EXPECT_EQ(offsetof(ZEL_IP_ADDRESS_t, v4), 4u);
    EXPECT_EQ(offsetof(ZEL_IP_ADDRESS_t, v6), 4u);
    EXPECT_EQ(offsetof(ZEL_IP_ADDRESS_t, __u6_addr16), 4u);

    CZelIpAddress a;
    EXPECT_EQ(Bytes(a), std::vector<unsigned char>(20, 0));
    a.set_IPv6(zelAddr6_none.v6);
    a.set_IPv4(htonl(0xC0A80A01));  // must clear what the IPv6 value left behind
    EXPECT_EQ(Bytes(a), (std::vector<unsigned char>{2, 0, 0, 0, 192, 168, 10, 1, 0, 0,
                                                    0, 0, 0, 0, 0,   0,   0,  0, 0, 0}));
    EXPECT_EQ(a.get_IPv4(), htonl(0xC0A80A01));

    const unsigned char v6[16] = {0x20, 0x01, 0x0d, 0xb8, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    a.set_IPv6(v6);
    EXPECT_EQ(Bytes(a), (std::vector<unsigned char>{24, 0, 0, 0, 0x20, 0x01, 0x0d, 0xb8, 1,  2,
                                                    3,  4, 5, 6, 7,    8,    9,    10,   11, 12}));
    EXPECT_EQ(ntohs(a.__u6_addr16[0]), 0x2001);
}

TEST(ZelIpAddress, NamedValues) {
    using V = std::vector<unsigned char>;
    V ff16(16, 0xFF);
    auto with = [](unsigned char family, V addr) {
        V v = {family, 0, 0, 0};
        addr.resize(16, 0);
        v.insert(v.end(), addr.begin(), addr.end());
        return v;
    };
    EXPECT_EQ(Bytes(zelAddr_zero), with(0, {}));
    EXPECT_EQ(Bytes(ZEL_NULL_IP_ADDRESS), with(0, {}));
    EXPECT_EQ(Bytes(zelAddr4_any), with(2, {}));
    EXPECT_EQ(Bytes(zelAddr6_any), with(24, {}));
    EXPECT_EQ(Bytes(zelAddr4_none), with(2, {255, 255, 255, 255}));
    EXPECT_EQ(Bytes(zelAddr6_none), with(24, ff16));
    EXPECT_EQ(Bytes(zelAddr6_mask), with(24, V(8, 0xFF)));
    EXPECT_EQ(Bytes(zelAddr4_loopback), with(2, {127, 0, 0, 1}));
    EXPECT_EQ(Bytes(zelAddr6_loopback), with(24, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(Bytes(zelAddr6_loopback_linklocal),
              with(24, {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(Bytes(CZelIpAddress::Null()), with(0, {}));
}

TEST(ZelIpAddress, ValidAndNullAreDifferentQuestions) {
    CZelIpAddress zero;
    EXPECT_TRUE(zero.isNull());
    EXPECT_FALSE(zero.valid());

    CZelIpAddress any4(zelAddr4_any);  // 0.0.0.0: a family, so not null, and not valid either
    EXPECT_FALSE(any4.isNull());
    EXPECT_FALSE(any4.valid());
    EXPECT_TRUE(any4.is_IPv4());
    EXPECT_TRUE(any4.isAnyAddr());

    EXPECT_TRUE(CZelIpAddress(zelAddr4_none).valid());
    EXPECT_FALSE(CZelIpAddress(zelAddr6_any).valid());
    EXPECT_TRUE(CZelIpAddress(zelAddr6_any).isAnyAddr());
    EXPECT_TRUE(CZelIpAddress(zelAddr6_loopback).valid());  // only the last byte set
    EXPECT_TRUE(CZelIpAddress(zelAddr6_loopback).is_IPv6());
    EXPECT_FALSE(zero.isAnyAddr());

    // An unknown family is never valid, whatever its bytes.
    CZelIpAddress odd(zelAddr4_loopback);
    odd.sa_family = 7;
    EXPECT_FALSE(odd.valid());
    EXPECT_FALSE(odd.isNull());

    EXPECT_TRUE(CZelIpAddress(zelAddr4_loopback).isLoopback());
    EXPECT_TRUE(Parse("127.200.0.9").isLoopback());
    EXPECT_TRUE(CZelIpAddress(zelAddr6_loopback).isLoopback());
    EXPECT_FALSE(CZelIpAddress(zelAddr6_loopback_linklocal).isLoopback());
    EXPECT_FALSE(Parse("10.0.0.1").isLoopback());

    EXPECT_TRUE(Parse("10.0.0.1") == Parse("10.0.0.1"));
    EXPECT_TRUE(Parse("10.0.0.1") != Parse("10.0.0.2"));
}

TEST(ZelIpAddress, TextChoosesFamilyByItsCharacters) {
    CZelIpAddress a = Parse("192.168.1.20");
    EXPECT_EQ(Bytes(a), (std::vector<unsigned char>{2, 0, 0, 0, 192, 168, 1, 20, 0, 0,
                                                    0, 0, 0, 0, 0,   0,   0, 0,  0, 0}));
    a = Parse("fe80::1");
    EXPECT_EQ(Bytes(a), Bytes(zelAddr6_loopback_linklocal));

    // Neither '.' nor ':': refused before anything is written.
    CZelIpAddress keep = Parse("9.9.9.9");
    CZelIpAddress out = keep;
    EXPECT_TRUE(ipStringToAddr(&out, "localhost"));
    EXPECT_EQ(out, keep);
    EXPECT_TRUE(zelAddrAtoN(&out, ""));
    EXPECT_EQ(out, keep);
    EXPECT_TRUE(zelAddrAtoN(&out, nullptr));
    EXPECT_EQ(out, keep);

    // Any '.' means IPv4, so the mixed IPv6 form fails and keeps only the family.
    out = keep;
    EXPECT_TRUE(ipStringToAddr(&out, "::ffff:1.2.3.4"));
    EXPECT_EQ(Bytes(out), Bytes(zelAddr4_any));

    out = keep;
    EXPECT_TRUE(ipStringToAddr(&out, "1.2.3"));
    EXPECT_EQ(Bytes(out), Bytes(zelAddr4_any));
    out = keep;
    EXPECT_TRUE(ipStringToAddr(&out, "1.2.3.256"));
    EXPECT_EQ(Bytes(out), Bytes(zelAddr4_any));
    out = keep;
    EXPECT_TRUE(ipStringToAddr(&out, "fe80:::1"));
    EXPECT_EQ(Bytes(out), Bytes(zelAddr6_any));

    // 0.0.0.0 parses; it is the checks that refuse it.
    EXPECT_FALSE(ipStringToAddr(&out, "0.0.0.0"));
    EXPECT_EQ(Bytes(out), Bytes(zelAddr4_any));
}

TEST(ZelIpAddress, AddressToText) {
    EXPECT_STREQ(zelAddrNtoA(&zelAddr4_loopback), "127.0.0.1");
    EXPECT_STREQ(zelAddrNtoA(&zelAddr6_loopback_linklocal), "fe80::1");
    EXPECT_STREQ(zelAddrNtoA(&zelAddr4_any), "0.0.0.0");
    EXPECT_EQ(zelAddrNtoA(&zelAddr_zero), nullptr);
    EXPECT_EQ(zelAddrNtoA(nullptr), nullptr);
    CZelIpAddress odd(zelAddr4_loopback);
    odd.sa_family = 10;  // the platform's AF_INET6 is no family of the value
    EXPECT_EQ(zelAddrNtoA(&odd), nullptr);
    EXPECT_STREQ(zelAddrNtoA(&zelAddr6_none), "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");

    EXPECT_EQ(Text(&zelAddr_zero), "Invalid");
    EXPECT_EQ(Text(nullptr), "Invalid");
    EXPECT_EQ(Text(&odd), "Invalid");
    EXPECT_EQ(Text(&zelAddr4_none), "255.255.255.255");

    // Cut to size - 1 and always terminated.
    char buf[16];
    memset(buf, 'x', sizeof(buf));
    CZelIpAddress a = Parse("192.168.100.200");
    EXPECT_EQ(ipAddrToString(&a, buf, 5), buf);
    EXPECT_STREQ(buf, "192.");
    EXPECT_EQ(buf[5], 'x');
    memset(buf, 'x', sizeof(buf));
    ipAddrToString(&zelAddr_zero, buf, 4);
    EXPECT_STREQ(buf, "Inv");
    ipAddrToString(&a, buf, 1);
    EXPECT_STREQ(buf, "");
    memset(buf, 'x', sizeof(buf));
    EXPECT_EQ(ipAddrToString(&a, buf, 0), buf);
    EXPECT_EQ(buf[0], 'x');
    EXPECT_EQ(ipAddrToString(&a, nullptr, 16), nullptr);
    ipAddrToString(&a, buf, sizeof(buf));
    EXPECT_STREQ(buf, "192.168.100.200");

    EXPECT_EQ(GetIpAddressStr(a), "192.168.100.200");
    EXPECT_EQ(GetIpAddressStr(CZelIpAddress(zelAddr4_any)), "");
    EXPECT_EQ(GetIpAddressStr(CZelIpAddress()), "");
    EXPECT_EQ(GetIpAddressStr(CZelIpAddress(zelAddr6_loopback)), "::1");
}

TEST(ZelIpAddress, SetIP4TakesTheLastOctetFirst) {
    CZelIpAddress a(zelAddr6_none);
    const char wire[4] = {4, 3, 2, 1};
    SetIP4(a, wire);
    EXPECT_EQ(Bytes(a), (std::vector<unsigned char>{2, 0, 0, 0, 1, 2, 3, 4, 0, 0,
                                                    0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(GetIpAddressStr(a), "1.2.3.4");

    const char high[4] = {'\x01', '\x00', '\xA8', '\xC0'};
    SetIP4(a, high);
    EXPECT_EQ(GetIpAddressStr(a), "192.168.0.1");

    unsigned char octets[4] = {};
    FillAddr(octets, a);
    EXPECT_EQ(std::vector<unsigned char>(octets, octets + 4),
              (std::vector<unsigned char>{192, 168, 0, 1}));
}

TEST(ZelIpAddress, FurtherMembers) {
    CZelIpAddress a(ZEL_INET, "10.1.2.3");
    EXPECT_EQ(a, Parse("10.1.2.3"));
    int family = 0;
    char text[ZEL_IP_ADDRESS_PRINTABLE_SIZE];
    EXPECT_TRUE(a.get(family, text));
    EXPECT_EQ(family, ZEL_INET);
    EXPECT_STREQ(text, "10.1.2.3");

    EXPECT_TRUE(a.set(ZEL_INET6, "2001:db8::5"));
    EXPECT_EQ(a, Parse("2001:db8::5"));
    EXPECT_TRUE(a.get(family, text));
    EXPECT_EQ(family, ZEL_INET6);
    EXPECT_STREQ(text, "2001:db8::5");

    EXPECT_FALSE(a.set(ZEL_INET, "2001:db8::5"));
    EXPECT_EQ(Bytes(a), Bytes(zelAddr4_any));
    EXPECT_FALSE(a.set(AF_INET6, "2001:db8::5"));  // the platform's number is not ours
    EXPECT_TRUE(a.isNull());
    EXPECT_FALSE(a.get(family, text));
    EXPECT_EQ(family, 0);
    EXPECT_STREQ(text, "");

    CZelIpAddress b(zelAddr4_any);
    EXPECT_EQ(b.__inet_pton("172.16.0.9"), 1);
    EXPECT_EQ(b, Parse("172.16.0.9"));
    EXPECT_EQ(b.__inet_pton("nonsense"), 0);
    EXPECT_EQ(Bytes(b), Bytes(zelAddr4_any));
    EXPECT_EQ(CZelIpAddress().__inet_pton("1.2.3.4"), -1);

    in_addr in;
    in.s_addr = htonl(0x0A000001);
    b.set_IPv4(in);
    EXPECT_EQ(GetIpAddressStr(b), "10.0.0.1");
    b.zero();
    EXPECT_TRUE(b.isNull());
    b = zelAddr6_mask;
    EXPECT_EQ(Bytes(b), Bytes(zelAddr6_mask));
}

TEST(ZelIpAddressString, TextMadeAtConstruction) {
    CZelIpAddress a = Parse("10.20.30.40");
    CZelIpAddressString s(a);
    a.set_IPv4(0);  // the copy is not affected
    EXPECT_STREQ(static_cast<char*>(s), "10.20.30.40");
    EXPECT_EQ(s.toAddr(), Parse("10.20.30.40"));
    EXPECT_EQ(sizeof(s.m_ipString), 42u);

    ZEL_IP_ADDRESS_t raw = zelAddr6_loopback_linklocal;
    EXPECT_STREQ(CZelIpAddressString(raw), "fe80::1");

    // Only the low 32 bits of the number become the address.
    unsigned long n = htonl(0x01020304);
    n += ULONG_MAX - 0xFFFFFFFFul;
    CZelIpAddressString fromNumber(n);
    EXPECT_STREQ(fromNumber, "1.2.3.4");
    EXPECT_TRUE(fromNumber.toAddr().is_IPv4());

    EXPECT_STREQ(IPADDR_STRING(Parse("8.8.4.4")), "8.8.4.4");
    EXPECT_STREQ(IPADDR_STRING(CZelIpAddress()), "Invalid");
    EXPECT_STREQ(IPADDR_STRING(zelAddr6_none), "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff");
}

}  // namespace
