// Address and network checks: which rule refuses, with which text, in which order.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "LSWConfig4/LSWConfigModel.h"

namespace {

CZelIpAddress Ip(const char* text) {
    CZelIpAddress a;
    EXPECT_FALSE(ipStringToAddr(&a, text)) << text;
    return a;
}

// The reason text IsValidMemberIP leaves for an address; empty when it passes.
std::string MemberReason(const char* text) {
    std::string msg;
    bool ok = CLSWCommonUtils::IsValidMemberIP(Ip(text), msg, false);
    EXPECT_EQ(ok, msg.empty()) << text;
    return msg;
}

std::string MaskReason(const CZelIpAddress& mask) {
    std::string msg;
    bool ok = CLSWCommonUtils::IsValidSubnetMask(mask, msg);
    EXPECT_EQ(ok, msg.empty());
    return msg;
}

TEST(LSWCommonUtils, MemberAddressRules) {
    EXPECT_EQ(MemberReason("223.1.1.1"), "");
    EXPECT_EQ(MemberReason("10.0.0.1"), "");
    EXPECT_EQ(MemberReason("0.1.2.3"), "Invalid Address: 0.1.2.3");
    EXPECT_EQ(MemberReason("0.0.0.0"), "Invalid Address: 0.0.0.0");
    EXPECT_EQ(MemberReason("127.0.0.1"), "Invalid loopback Address: 127.0.0.1");
    EXPECT_EQ(MemberReason("224.0.0.1"), "Invalid Address class provided: 224.0.0.1");
    EXPECT_EQ(MemberReason("255.255.255.255"), "Invalid Address class provided: 255.255.255.255");
    // The last octet alone decides, so these are refused whatever the netmask would be.
    EXPECT_EQ(MemberReason("10.0.0.255"), "Invalid, Broadcast Address provided: 10.0.0.255");
    EXPECT_EQ(MemberReason("10.0.1.0"), "Invalid, Broadcast Address provided: 10.0.1.0");
    // First rule that holds wins.
    EXPECT_EQ(MemberReason("127.0.0.255"), "Invalid loopback Address: 127.0.0.255");
    EXPECT_EQ(MemberReason("0.0.0.255"), "Invalid Address: 0.0.0.255");

    // A value with no family has no text of its own.
    std::string msg = "earlier. ";
    EXPECT_FALSE(CLSWCommonUtils::IsValidMemberIP(CZelIpAddress(), msg, false));
    EXPECT_EQ(msg, "earlier. Invalid Address: Invalid");

    msg = "kept";
    EXPECT_TRUE(CLSWCommonUtils::IsValidMemberIP(Ip("192.168.3.4"), msg, false));
    EXPECT_EQ(msg, "kept");
}

TEST(LSWCommonUtils, SubnetMaskRules) {
    for (const char* good : {"255.255.255.255", "128.0.0.0", "255.255.255.0", "255.255.255.254",
                             "255.255.0.0", "255.192.0.0", "255.255.255.252"}) {
        EXPECT_EQ(MaskReason(Ip(good)), "") << good;
    }
    EXPECT_EQ(MaskReason(Ip("0.255.255.255")), "Invalid Subnet mask, leading zero: 0.255.255.255");
    EXPECT_EQ(MaskReason(Ip("0.0.0.0")), "Invalid Subnet mask, leading zero: 0.0.0.0");
    EXPECT_EQ(MaskReason(Ip("255.0.255.0")), "Invalid Subnet mask, Invalid octets: 255.0.255.0");
    EXPECT_EQ(MaskReason(Ip("255.255.253.0")),
              "Invalid Subnet mask, Invalid octets: 255.255.253.0");
    EXPECT_EQ(MaskReason(Ip("255.255.255.1")),
              "Invalid Subnet mask, Invalid octets: 255.255.255.1");
    EXPECT_EQ(MaskReason(Ip("254.0.0.1")), "Invalid Subnet mask, Invalid octets: 254.0.0.1");

    // Sixteen bytes for anything not IPv4.
    EXPECT_EQ(MaskReason(CZelIpAddress(zelAddr6_mask)), "");
    EXPECT_EQ(MaskReason(CZelIpAddress(zelAddr6_none)), "");
    EXPECT_EQ(MaskReason(Ip("ffff:ffff:ff80::")), "");
    EXPECT_EQ(MaskReason(Ip("ffff:ffff:ffff:ffff::1")),
              "Invalid Subnet mask, Invalid octets: ffff:ffff:ffff:ffff::1");
    // An IPv4 mask of all ones stops at four bytes, not sixteen.
    EXPECT_EQ(MaskReason(CZelIpAddress(zelAddr4_none)), "");
    EXPECT_EQ(MaskReason(CZelIpAddress()), "Invalid Subnet mask, leading zero: Invalid");

    std::string msg = "a. ";
    EXPECT_FALSE(CLSWCommonUtils::IsValidSubnetMask(Ip("255.0.255.0"), msg));
    EXPECT_EQ(msg, "a. Invalid Subnet mask, Invalid octets: 255.0.255.0");
}

TEST(LSWCommonUtils, GatewayRules) {
    const CZelIpAddress mask = Ip("255.255.255.0");
    std::string msg = "x";
    EXPECT_TRUE(CLSWCommonUtils::IsValidGateway(Ip("10.0.0.5"), mask, Ip("10.0.0.1"), msg));
    EXPECT_EQ(msg, "x");

    msg.clear();
    EXPECT_FALSE(CLSWCommonUtils::IsValidGateway(Ip("10.0.0.5"), mask, Ip("10.0.1.1"), msg));
    EXPECT_EQ(msg, "Invalid Gateway, on different subnet: ");

    // Same subnet passes first, then the equality refuses; no address follows the text.
    msg.clear();
    EXPECT_FALSE(CLSWCommonUtils::IsValidGateway(Ip("10.0.0.5"), mask, Ip("10.0.0.5"), msg));
    EXPECT_EQ(msg, "Invalid Gateway, same as address: ");

    // A wider mask takes in what the narrower one refused.
    msg.clear();
    EXPECT_TRUE(
        CLSWCommonUtils::IsValidGateway(Ip("10.0.0.5"), Ip("255.255.0.0"), Ip("10.0.1.1"), msg));
    EXPECT_EQ(msg, "");
}

TEST(LSWCommonUtils, NetworkConfRules) {
    const CZelIpAddress mask = Ip("255.255.255.0");
    const CZelIpAddress gw = Ip("10.0.0.1");
    std::string msg;
    EXPECT_TRUE(CLSWCommonUtils::IsValidNetworkConf(Ip("10.0.0.5"), Ip("10.0.0.6"), mask, gw, msg));
    EXPECT_EQ(msg, "");

    // All three equal: the first rule speaks, alone.
    EXPECT_FALSE(CLSWCommonUtils::IsValidNetworkConf(gw, gw, mask, gw, msg));
    EXPECT_EQ(msg, "Management Address same as Controller Address. ");

    // On another subnet and equal to the gateway: the subnet rule comes first.
    msg.clear();
    EXPECT_FALSE(CLSWCommonUtils::IsValidNetworkConf(Ip("10.0.1.5"), gw, mask, gw, msg));
    EXPECT_EQ(msg, "Management Address must be on the same subnet as Controller Address. ");

    msg = "prior. ";
    EXPECT_FALSE(CLSWCommonUtils::IsValidNetworkConf(Ip("10.0.0.5"), gw, mask, gw, msg));
    EXPECT_EQ(msg, "prior. Management Address same as Controller Gateway Address. ");
}

TEST(LSWCommonUtils, ParseAddressStringWritesOnlyAWantedValidAddress) {
    const CZelIpAddress before = Ip("1.1.1.1");
    CZelIpAddress out = before;
    EXPECT_TRUE(CLSWCommonUtils::ParseAddressString(true, "10.2.3.4", out));
    EXPECT_EQ(out, Ip("10.2.3.4"));

    out = before;
    for (const char* bad : {"0.0.0.0", "10.2.3", "host", "", "::"}) {
        EXPECT_FALSE(CLSWCommonUtils::ParseAddressString(true, bad, out)) << bad;
        EXPECT_FALSE(CLSWCommonUtils::ParseAddressString(false, bad, out)) << bad;
        EXPECT_EQ(out, before) << bad;
    }
    EXPECT_FALSE(CLSWCommonUtils::ParseAddressString(false, "10.2.3.4", out));
    EXPECT_FALSE(CLSWCommonUtils::ParseAddressString(true, "fe80::1", out));
    EXPECT_EQ(out, before);
    EXPECT_TRUE(CLSWCommonUtils::ParseAddressString(false, "fe80::1", out));
    EXPECT_EQ(out, CZelIpAddress(zelAddr6_loopback_linklocal));
}

TEST(LSWCommonUtils, FormatStringAndSetIP4) {
    EXPECT_EQ(CLSWCommonUtils::FormatString("Invalid IP[%s] for Controller %s.", "1.2.3", "SN9"),
              "Invalid IP[1.2.3] for Controller SN9.");
    EXPECT_EQ(CLSWCommonUtils::FormatString("%d-%03d", 7, 5), "7-005");
    EXPECT_EQ(CLSWCommonUtils::FormatString(nullptr), "");

    std::string longText(3000, 'z');
    std::string cut = CLSWCommonUtils::FormatString("%s!", longText.c_str());
    EXPECT_EQ(cut, std::string(1023, 'z'));

    CZelIpAddress a;
    const char wire[4] = {'\x0A', '\x00', '\x10', '\xAC'};
    CLSWCommonUtils::SetIP4(a, wire);
    EXPECT_EQ(a, Ip("172.16.0.10"));
}

// A stand-in for the system's ping, first on PATH: records its arguments and answers 0 only
// for 10.0.0.1, so the check needs no network.
class FakePing : public ::testing::Test {
protected:
    void SetUp() override {
        char dirTemplate[] = "/tmp/lswping.XXXXXX";
        ASSERT_NE(mkdtemp(dirTemplate), nullptr);
        m_dir = dirTemplate;
        m_args = m_dir + "/args";
        std::ofstream script(m_dir + "/ping");
        script << "#!/bin/sh\n"
               << "echo \"$@\" >> '" << m_args << "'\n"
               << "[ \"$3\" = 10.0.0.1 ]\n";
        script.close();
        ASSERT_EQ(chmod((m_dir + "/ping").c_str(), 0755), 0);
        const char* path = getenv("PATH");
        m_oldPath = path != nullptr ? path : "/usr/bin:/bin";
        setenv("PATH", (m_dir + ":" + m_oldPath).c_str(), 1);
    }
    void TearDown() override {
        setenv("PATH", m_oldPath.c_str(), 1);
        unlink(m_args.c_str());
        unlink((m_dir + "/ping").c_str());
        rmdir(m_dir.c_str());
    }
    std::string Calls() {
        std::ifstream in(m_args);
        std::stringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }

    std::string m_dir;
    std::string m_args;
    std::string m_oldPath;
};

TEST_F(FakePing, PingRunsThreeEchoesWhateverTheRetries) {
    EXPECT_TRUE(CLSWCommonUtils::IsHostPingable(Ip("10.0.0.1"), 7));
    EXPECT_FALSE(CLSWCommonUtils::IsHostPingable(Ip("10.0.0.2"), 1));
    EXPECT_EQ(Calls(), "-c 3 10.0.0.1\n-c 3 10.0.0.2\n");
}

TEST_F(FakePing, InUseCheckPingsOnlyWhenAskedAndLast) {
    std::string msg;
    EXPECT_TRUE(CLSWCommonUtils::IsValidMemberIP(Ip("10.0.0.1"), msg, false));
    EXPECT_FALSE(CLSWCommonUtils::IsValidMemberIP(Ip("10.0.0.255"), msg, true));
    EXPECT_EQ(Calls(), "");

    msg.clear();
    EXPECT_FALSE(CLSWCommonUtils::IsValidMemberIP(Ip("10.0.0.1"), msg, true));
    EXPECT_EQ(msg, "Invalid, address already in use: 10.0.0.1");
    msg.clear();
    EXPECT_TRUE(CLSWCommonUtils::IsValidMemberIP(Ip("10.0.0.2"), msg, true));
    EXPECT_EQ(msg, "");
    EXPECT_EQ(Calls(), "-c 3 10.0.0.1\n-c 3 10.0.0.2\n");
}

}  // namespace
