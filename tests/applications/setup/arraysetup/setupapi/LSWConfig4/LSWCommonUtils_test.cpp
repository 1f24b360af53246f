// Address and network checks: which rule refuses, with which text, in which order.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "ExchangeFrames.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "support/CellsimProcess.h"

namespace {

using Utils = CLSWCommonUtils;
using xchg::Ip;

// Each check appends its reason to what the message held, and says false exactly then.
template <typename Check>
std::string Reason(Check check) {
    std::string msg = "prior. ";
    const bool ok = check(msg);
    EXPECT_EQ(ok, msg == "prior. ") << msg;
    return msg.substr(7);
}

std::string MemberReason(const CZelIpAddress& iAddress, bool iPing = false) {
    return Reason([&](std::string& m) { return Utils::IsValidMemberIP(iAddress, m, iPing); });
}

TEST(LSWCommonUtils, MemberAddressRules) {
    const struct {
        const char* address;
        std::string reason;
    } rows[] = {
        {"223.1.1.1", ""},
        {"0.1.2.3", "Invalid Address: 0.1.2.3"},
        {"0.0.0.0", "Invalid Address: 0.0.0.0"},
        {"127.0.0.1", "Invalid loopback Address: 127.0.0.1"},
        {"224.0.0.1", "Invalid Address class provided: 224.0.0.1"},
        {"255.255.255.255", "Invalid Address class provided: 255.255.255.255"},
        // The last octet alone decides, whatever the netmask would be.
        {"10.0.0.255", "Invalid, Broadcast Address provided: 10.0.0.255"},
        {"10.0.1.0", "Invalid, Broadcast Address provided: 10.0.1.0"},
        // The first rule that holds speaks.
        {"127.0.0.255", "Invalid loopback Address: 127.0.0.255"},
        {"0.0.0.255", "Invalid Address: 0.0.0.255"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(MemberReason(Ip(r.address)), r.reason);
    // A value with no family has no text of its own.
    EXPECT_EQ(MemberReason(CZelIpAddress()), "Invalid Address: Invalid");
}

TEST(LSWCommonUtils, SubnetMaskRules) {
    for (const char* good : {"255.255.255.255", "128.0.0.0", "255.255.255.0", "255.255.255.254",
                             "255.192.0.0", "ffff:ffff:ff80::"})
        EXPECT_EQ(Reason([&](std::string& m) { return Utils::IsValidSubnetMask(Ip(good), m); }), "")
            << good;
    const struct {
        CZelIpAddress mask;
        std::string reason;
    } rows[] = {
        {Ip("0.255.255.255"), "Invalid Subnet mask, leading zero: 0.255.255.255"},
        {Ip("0.0.0.0"), "Invalid Subnet mask, leading zero: 0.0.0.0"},
        {Ip("255.0.255.0"), "Invalid Subnet mask, Invalid octets: 255.0.255.0"},
        {Ip("255.255.253.0"), "Invalid Subnet mask, Invalid octets: 255.255.253.0"},
        {Ip("255.255.255.1"), "Invalid Subnet mask, Invalid octets: 255.255.255.1"},
        {Ip("254.0.0.1"), "Invalid Subnet mask, Invalid octets: 254.0.0.1"},
        // Sixteen bytes for anything not IPv4; an IPv4 mask of all ones stops at four.
        {Ip("ffff:ffff:ffff:ffff::1"),
         "Invalid Subnet mask, Invalid octets: ffff:ffff:ffff:ffff::1"},
        {CZelIpAddress(zelAddr6_none), ""},
        {CZelIpAddress(zelAddr4_none), ""},
        {CZelIpAddress(), "Invalid Subnet mask, leading zero: Invalid"},
    };
    for (const auto& r : rows)
        EXPECT_EQ(Reason([&](std::string& m) { return Utils::IsValidSubnetMask(r.mask, m); }),
                  r.reason);
}

TEST(LSWCommonUtils, GatewayAndNetworkRulesInOrder) {
    const CZelIpAddress mask = Ip("255.255.255.0"), gw = Ip("10.0.0.1");
    auto gateway = [&](const char* address, const char* m, const char* g) {
        return Reason(
            [&](std::string& s) { return Utils::IsValidGateway(Ip(address), Ip(m), Ip(g), s); });
    };
    EXPECT_EQ(gateway("10.0.0.5", "255.255.255.0", "10.0.0.1"), "");
    EXPECT_EQ(gateway("10.0.0.5", "255.255.255.0", "10.0.1.1"),
              "Invalid Gateway, on different subnet: ");
    // Same subnet passes first, then the equality refuses; no address follows the text.
    EXPECT_EQ(gateway("10.0.0.5", "255.255.255.0", "10.0.0.5"),
              "Invalid Gateway, same as address: ");
    EXPECT_EQ(gateway("10.0.0.5", "255.255.0.0", "10.0.1.1"), "");

    auto network = [&](const CZelIpAddress& mgmt, const CZelIpAddress& address) {
        return Reason(
            [&](std::string& s) { return Utils::IsValidNetworkConf(mgmt, address, mask, gw, s); });
    };
    EXPECT_EQ(network(Ip("10.0.0.5"), Ip("10.0.0.6")), "");
    // All three equal: the first rule speaks, alone; another subnet comes before the gateway.
    EXPECT_EQ(network(gw, gw), "Management Address same as Controller Address. ");
    EXPECT_EQ(network(Ip("10.0.1.5"), gw),
              "Management Address must be on the same subnet as Controller Address. ");
    EXPECT_EQ(network(Ip("10.0.0.5"), gw),
              "Management Address same as Controller Gateway Address. ");
}

TEST(LSWCommonUtils, ParseAddressStringWritesOnlyAWantedValidAddress) {
    const CZelIpAddress before = Ip("1.1.1.1");
    CZelIpAddress out = before;
    for (const char* bad : {"0.0.0.0", "10.2.3", "host", "", "::"}) {
        EXPECT_FALSE(Utils::ParseAddressString(true, bad, out)) << bad;
        EXPECT_FALSE(Utils::ParseAddressString(false, bad, out)) << bad;
    }
    EXPECT_FALSE(Utils::ParseAddressString(false, "10.2.3.4", out));
    EXPECT_FALSE(Utils::ParseAddressString(true, "fe80::1", out));
    EXPECT_EQ(out, before);
    EXPECT_TRUE(Utils::ParseAddressString(true, "10.2.3.4", out));
    EXPECT_EQ(out, Ip("10.2.3.4"));
    EXPECT_TRUE(Utils::ParseAddressString(false, "fe80::1", out));
    EXPECT_EQ(out, CZelIpAddress(zelAddr6_loopback_linklocal));

    // Texts are cut to the 1023 bytes of the buffer they are made in.
    EXPECT_EQ(Utils::FormatString("%d-%03d", 7, 5), "7-005");
    EXPECT_EQ(Utils::FormatString(nullptr), "");
    EXPECT_EQ(Utils::FormatString("%s!", std::string(3000, 'z').c_str()), std::string(1023, 'z'));
}

// The in-use check: a stand-in for the system's ping, first on PATH, records its arguments
// and answers 0 only for 10.0.0.1, so the check needs no network. It pings three echoes,
// whatever the retries, and only when asked and only when every other rule passed.
TEST(LSWCommonUtils, InUseCheckPingsOnlyWhenAskedAndLast) {
    char dir[] = "/tmp/lswping.XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string args = std::string(dir) + "/args", ping = std::string(dir) + "/ping";
    std::ofstream(ping) << "#!/bin/sh\necho \"$@\" >> '" << args << "'\n[ \"$3\" = 10.0.0.1 ]\n";
    ASSERT_EQ(chmod(ping.c_str(), 0755), 0);
    const std::string oldPath = getenv("PATH") ? getenv("PATH") : "/usr/bin:/bin";
    setenv("PATH", (std::string(dir) + ":" + oldPath).c_str(), 1);

    EXPECT_TRUE(Utils::IsHostPingable(Ip("10.0.0.1"), 7));
    EXPECT_FALSE(Utils::IsHostPingable(Ip("10.0.0.2"), 1));
    EXPECT_EQ(MemberReason(Ip("10.0.0.1")), "");
    EXPECT_NE(MemberReason(Ip("10.0.0.255"), true), "");
    EXPECT_EQ(MemberReason(Ip("10.0.0.1"), true), "Invalid, address already in use: 10.0.0.1");
    EXPECT_EQ(MemberReason(Ip("10.0.0.2"), true), "");

    setenv("PATH", oldPath.c_str(), 1);
    EXPECT_EQ(FileText(args), "-c 3 10.0.0.1\n-c 3 10.0.0.2\n-c 3 10.0.0.1\n-c 3 10.0.0.2\n");
    std::filesystem::remove_all(dir);
}

}  // namespace
