// Controller, array and record objects: setters and their odd corners, every validation
// rule with its text, array order and state, the fold into the primary, and the copies.
#include "LSWConfig4/LSWConfigModel.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ExchangeFrames.h"
#include "LSWConfig4/LSWConfigMgr.h"
#include "LSWConfig4/tlvUtils.h"
#include "LSWConfig4/unix/Adapter.h"
#include "support/Fields.h"

namespace {

using Controller = std::shared_ptr<CLSWVesperController>;
using IController = std::shared_ptr<IlswVesperController>;
using xchg::Bytes;
using xchg::Domain;
using xchg::Ip;
using xchg::Text;

// A controller that passes every rule; tests break one thing at a time.
Controller Good(const std::string& hw = "HW1", const char* address = "10.0.0.10") {
    auto c = std::make_shared<CLSWVesperController>();
    c->setHWAddress(hw);
    c->SetSerialNumberFromController("SN-" + hw);
    c->setServiceTag("TAG");
    c->setMgmtIp4Address("10.0.0.5");
    c->setEth0Ip4Address(address);
    c->setEth0Ip4Netmask("255.255.255.0");
    c->setEth0Ip4Gateway("10.0.0.1");
    c->setPrimaryDns("8.8.8.8");
    c->setSecondaryDns("8.8.4.4");
    c->SetProductVersionFromController(ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB2000);
    return c;
}

// A discovered controller for the array's ordering rules.
Controller Seen(const std::string& serial, const std::string& hw, unsigned char lastMac,
                bool initialized = false, bool ipConfigured = false) {
    auto c = std::make_shared<CLSWVesperController>();
    const unsigned char mac[6] = {0x00, 0x09, 0x8A, 0x10, 0x20, lastMac};
    c->SetMACAddressFromController(mac);
    c->SetSerialNumberFromController(serial);
    c->SetHardwareSNFromController(hw);
    c->SetIsInitializedFromController(initialized);
    c->SetIsIpConfigured(ipConfigured);
    return c;
}

std::string Validated(const Controller& c, long expectCode) {
    std::string msg = "stale";
    EXPECT_EQ(c->Validate(msg), expectCode);
    return msg;
}

std::shared_ptr<ClswPortConfigData> Port(unsigned int network, const char* ip) {
    auto p = std::make_shared<ClswPortConfigData>();
    p->setNetwork(network);
    p->setIpv4Address(ip);
    return p;
}

// A fault domain record on the wire: 16 bytes, then 29 a port.
Bytes DomainBytes(unsigned char id, std::vector<Bytes> ports) {
    Bytes b = {id,  10, 1,  0, 1, 255, 255,
               255, 0,  10, 1, 0, 254, static_cast<unsigned char>(ports.size()),
               2,   0};
    for (const auto& p : ports)
        b.insert(b.end(), p.begin(), p.end());
    return b;
}

Bytes PortBytes(unsigned char slot, unsigned char lastOctet) {
    return {slot, 10,   1,    0,    lastOctet, 255,  255,  255,  0, 0, 0, 0, 0,  // gateway 0.0.0.0
            3,    4,    5,    1,    0,         6,    0xFF,        // ... network, status
            0xFE, 0xFF, 0xFF, 0xFF, 0xFF,      0xFF, 0xFF, 0xFF,  // controller index -2
            9};
}

}  // namespace

TEST(VesperController, StartValuesAndOperatorSetters) {
    CLSWVesperController c;
    EXPECT_EQ(Fields(c.getBlinkValue(), c.getControllerModelNum(), c.GetIdType()),
              Fields(-1, 999, CLSWVesperController::NONE));
    c.setControllerIndex(2);  // refused: only 0 and 1
    EXPECT_EQ(c.getControllerIndex(), -1);
    c.setControllerIndex(1);
    EXPECT_EQ(Fields(c.getControllerIndex(), c.GetIdType()),
              Fields(1, CLSWVesperController::INDEX));
    c.setHWAddress("HWX");
    EXPECT_EQ(c.GetIdType(), CLSWVesperController::HW);
    c.setEth0Ip6AddrPrefix(64);
    c.setEth0Ip6AddrPrefix(256);
    EXPECT_EQ(c.GetEth0Ip6AddrPrefix(), 64);

    // An empty gateway and "0.0.0.0" read back as "0.0.0.0" and leave the value as it was; bad text
    // stays in the twin while the value keeps its older content; the IPv6 setters parse as IPv4, so
    // an IPv6 text never reaches the value and a dotted one does; the management processor's
    // IPv6 gateway getter reads the address's text.
    c.setEth0Ip4Gateway("10.0.0.1");
    c.setEth0Ip4Gateway("");
    c.setEth0Ip4Gateway("0.0.0.0");
    c.setEth0Ip4Address("10.0.0.10");
    c.setEth0Ip4Address("abc");
    c.setEth0Ip6Address("fe80::1");
    c.setMgmtIp6Address("10.9.9.9");
    c.setBmcIp6Address("2001:db8::5");
    c.setBmcIp6Gateway("2001:db8::1");
    EXPECT_EQ(Fields(c.getEth0Ip4Gateway(), Text(c.GetEth0Ip4GatewayValue()), c.getEth0Ip4Address(),
                     Text(c.GetEth0Ip4AddressValue()), c.getEth0Ip6Address(),
                     c.GetEth0Ip6AddressValue().valid(), Text(c.GetMgmtIp6AddressValue()),
                     c.getBmcIp6Gateway()),
              "0.0.0.0|10.0.0.1|abc|10.0.0.10|fe80::1|0|10.9.9.9|2001:db8::5");
}

TEST(VesperController, DiscoveredValues) {
    CLSWVesperController c;
    c.SetMgmtIp4AddressFromController(Ip("10.0.0.5"));
    c.SetMgmtIp4AddressFromController(Ip("0.0.0.0"));  // none reported: ignored
    c.SetEth0Ip4GatewayFromController(Ip("0.0.0.0"));
    c.SetBMCIPv4DefaultRouteFromController(Ip("192.168.1.1"));
    c.SetDiskInfoFromController("12 disks");
    c.SetDiskInfoFromController("RAID6");
    EXPECT_EQ(Fields(c.getMgmtIp4Address(), c.getEth0Ip4Gateway(), c.getBmcIp4Gateway(),
                     c.GetDiskInfoText()),
              "10.0.0.5||192.168.1.1|12 disks, RAID6");

    // IPv6 text carries the prefix behind a backslash, and none for prefix 0; no limit on
    // the prefix on this path.
    c.SetEth0Ip6AddressFromController(Ip("fe80::1"));
    std::string seen = c.getEth0Ip6Address();
    for (unsigned int prefix : {64u, 300u})
        c.SetEth0Ip6AddrPrefixFromController(prefix), seen += " " + c.getEth0Ip6Address();
    c.SetEth0Ip6AddressFromController(CZelIpAddress());
    EXPECT_EQ(seen + "|" + c.getEth0Ip6Address(), "fe80::1 fe80::1\\64 fe80::1\\300|");
}

TEST(VesperController, TransportTypeIsTakenFromFirstNonEmbeddedDomainAndKept) {
    CLSWVesperController c;
    EXPECT_EQ(c.getTransportType(), 0u);
    Bytes embedded = DomainBytes(1, {}), plain = DomainBytes(2, {});
    embedded[14] = 7, embedded[15] = 1, plain[14] = 5;  // transport, embedded
    c.addFaultDomain(Domain(embedded));
    EXPECT_EQ(c.getTransportType(), 0u);
    c.addFaultDomain(Domain(plain));
    EXPECT_EQ(c.getTransportType(), 5u);
    // The getter wrote the field: with only embedded domains left, 5 is still answered.
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>> onlyEmbedded = {
        c.getFaultDomainConfigurationData()[0]};
    c.SetFaultDomainConfigurationData(onlyEmbedded);
    EXPECT_EQ(c.getTransportType(), 5u);
    c.addFaultDomain(nullptr);
    EXPECT_EQ(c.getFaultDomainConfigurationData().size(), 1u);
}

TEST(VesperController, ValidateRulesInOrderWithTheirTexts) {
    EXPECT_EQ(Validated(Good(), 0), "");
    using Make = std::function<Controller()>;
    auto edit = [](std::function<void(CLSWVesperController&)> change) {
        return [change] {
            auto c = Good();
            change(*c);
            return c;
        };
    };
    // A fresh controller has no value where Good() has one: the value stays zero, the text
    // shows what the operator typed.
    auto fresh = [](const char* mgmt, const char* eth0, const char* mask, const char* gw) {
        return [=] {
            auto f = std::make_shared<CLSWVesperController>();
            f->setHWAddress("HW1");
            f->setServiceTag("TAG");
            for (auto set : {std::make_pair(&CLSWVesperController::setMgmtIp4Address, mgmt),
                             std::make_pair(&CLSWVesperController::setEth0Ip4Address, eth0),
                             std::make_pair(&CLSWVesperController::setEth0Ip4Netmask, mask),
                             std::make_pair(&CLSWVesperController::setEth0Ip4Gateway, gw)})
                if (set.second)
                    ((*f).*set.first)(set.second);
            return f;
        };
    };
    const std::string netText =
        "Invalid Network configuration for controller HW1. Check if the Management Address is "
        "the same as Controller IP Address or Gateway IP. Also Management address should be on "
        "the same subnet as the Controller.";
    const struct {
        Make make;
        long code;
        std::string text;
    } rows[] = {
        // Known only by index: never passes.
        {edit([](auto& c) { c.setHWAddress(""), c.setControllerIndex(0); }), 1018,
         "Controller ID Index/Hardware SN missing."},
        {edit([](auto& c) { c.setServiceTag(""); }), 1019, "Empty Service Tag."},
        {fresh("10.0.0.500", nullptr, nullptr, nullptr), 1020,
         "Invalid/Missing Ipv4[10.0.0.500] Management Address for controller HW1."},
        {edit([](auto& c) { c.setMgmtIp4Address("10.0.0.255"); }), 1021,
         "Invalid IP[10.0.0.255] for Management Address for controller HW1."},
        {fresh("10.0.0.5", nullptr, nullptr, nullptr), 1022,
         "Invalid/Missing Ipv4[] Controller Address for HW1."},
        {edit([](auto& c) { c.setEth0Ip4Address("127.0.0.9"); }), 1023,
         "Invalid IP[127.0.0.9] for Controller HW1."},
        {fresh("10.0.0.5", "10.0.0.10", "x", nullptr), 1024,
         "Invalid/Missing Netmask IP[x] for controller HW1."},
        {edit([](auto& c) { c.setEth0Ip4Netmask("255.0.255.0"); }), 1025,
         "Invalid Netmask IP[255.0.255.0] for controller HW1"},
        {fresh("10.0.0.5", "10.0.0.10", "255.255.255.0", "gw"), 1026,
         "Invalid/Missing Gateway IP[gw] for controller HW1."},
        // The same as the address, on the right subnet; then on another subnet.
        {edit([](auto& c) { c.setEth0Ip4Gateway("10.0.0.10"); }), 1027,
         "Invalid Gateway IP[10.0.0.10] for controller HW1."},
        {edit([](auto& c) { c.setEth0Ip4Gateway("10.0.1.1"); }), 1027,
         "Invalid Gateway IP[10.0.1.1] for controller HW1."},
        {edit([](auto& c) { c.setMgmtIp4Address("10.0.0.10"); }), 1028, netText},
        {edit([](auto& c) { c.setMgmtIp4Address("10.0.1.5"); }), 1028, netText},
        {edit([](auto& c) { c.setSecondaryDns("8.8.8.8"); }), 1029,
         "Primary[8.8.8.8] and Secondary[8.8.8.8] DNS cannot be the same."},
        // Two empty texts count as identical.
        {edit([](auto& c) { c.setPrimaryDns(""), c.setSecondaryDns(""); }), 1029,
         "Primary[] and Secondary[] DNS cannot be the same."},
        // Without a gateway ("0.0.0.0" is the default's own text) the gateway rules are
        // skipped, but the network rule still compares with the value an empty text left.
        {edit([](auto& c) { c.setEth0Ip4Gateway(""); }), 0, ""},
        {edit([](auto& c) { c.setEth0Ip4Gateway("0.0.0.0"); }), 0, ""},
        {edit([](auto& c) { c.setEth0Ip4Gateway("10.0.0.5"), c.setEth0Ip4Gateway(""); }), 1028,
         netText},
    };
    for (const auto& r : rows)
        EXPECT_EQ(Validated(r.make(), r.code), r.text);
}

TEST(VesperArray, DiscoveryKeepsControllersSortedByHardwareSerial) {
    for (bool reversed : {false, true}) {
        CLSWVesperArray a;
        auto low = Seen("S1", "HW-A", 0x10);
        auto high = Seen("S2", "HW-B", 0x10);
        a.AddControllerInternal(reversed ? high : low);
        a.AddControllerInternal(reversed ? low : high);
        EXPECT_EQ(a.getControllers(), (std::vector<IController>{low, high})) << reversed;
    }

    // A third goes between them; there is no limit on this path.
    CLSWVesperArray a;
    a.AddControllerInternal(Seen("S1", "HW-A", 1));
    a.AddControllerInternal(Seen("S3", "HW-C", 1));
    auto mid = Seen("S2", "HW-B", 1);
    a.AddControllerInternal(mid);
    a.AddControllerInternal(Seen("S4", "HW-D", 1));
    a.AddControllerInternal(nullptr);
    ASSERT_EQ(a.getControllerCount(), 4u);
    EXPECT_EQ((std::vector<Controller>{a.FindControllerByIndex(1), a.FindControllerByHW("HW-B"),
                                       a.FindControllerByHW("hw-b"), a.FindControllerByIndex(4)}),
              (std::vector<Controller>{mid, mid, nullptr, nullptr}));
    EXPECT_EQ(a.getController(4), nullptr);
}

TEST(VesperArray, SameSerialTwiceKeepsTheLowerLastMacByte) {
    CLSWVesperArray a;
    auto other = Seen("S0", "HW-0", 0x01);
    auto first = Seen("S1", "HW-1", 0x20);
    a.AddControllerInternal(other);
    a.AddControllerInternal(first);
    EXPECT_EQ(a.getArrayState(), ClswDefs::READY);

    // A higher (or equal) last byte is dropped and the state is not recomputed, even though
    // the held controller has changed since.
    first->SetIsInitializedFromController(true);
    a.AddControllerInternal(Seen("S1", "HW-1", 0x21, true));
    a.AddControllerInternal(Seen("S1", "HW-1", 0x20, true));
    EXPECT_EQ(a.FindControllerByIndex(1), first);
    EXPECT_EQ(a.getArrayState(), ClswDefs::READY);

    // A lower one replaces it in place, and the state follows.
    auto lower = Seen("S1", "HW-1", 0x1F, true);
    a.AddControllerInternal(lower);
    EXPECT_EQ(a.getControllers(), (std::vector<IController>{other, lower}));
    EXPECT_EQ(a.getArrayState(), ClswDefs::PARTIAL_INIT);
}

TEST(VesperArray, StateTable) {
    struct Row {
        std::vector<std::pair<bool, bool>> controllers;  // initialized, IP configured
        ClswDefs::Status status;
        ClswDefs::IPConfigured ip;
    };
    const std::vector<Row> rows = {
        {{}, ClswDefs::INCOMPLETE, ClswDefs::IP_NOT_CONFIGURED},
        {{{false, false}}, ClswDefs::READY, ClswDefs::IP_NOT_CONFIGURED},
        {{{true, true}}, ClswDefs::INITIALIZED, ClswDefs::IP_CONFIGURED},
        {{{false, false}, {false, false}}, ClswDefs::READY, ClswDefs::IP_NOT_CONFIGURED},
        {{{true, false}, {false, true}}, ClswDefs::PARTIAL_INIT, ClswDefs::IP_PARTIALLY_CONFIGURED},
        {{{false, true}, {true, false}}, ClswDefs::PARTIAL_INIT, ClswDefs::IP_PARTIALLY_CONFIGURED},
        {{{true, true}, {true, true}}, ClswDefs::INITIALIZED, ClswDefs::IP_CONFIGURED},
        // Only the first two decide.
        {{{true, true}, {true, true}, {false, false}},
         ClswDefs::INITIALIZED,
         ClswDefs::IP_CONFIGURED},
    };
    for (size_t i = 0; i < rows.size(); ++i) {
        CLSWVesperArray a;
        for (size_t n = 0; n < rows[i].controllers.size(); ++n)
            a.AddControllerInternal(Seen("S" + std::to_string(n), "HW" + std::to_string(n), 1,
                                         rows[i].controllers[n].first,
                                         rows[i].controllers[n].second));
        EXPECT_EQ(Fields(a.getArrayState(), a.getIpConfigured()),
                  Fields(rows[i].status, rows[i].ip))
            << "row " << i;
    }
}

TEST(VesperArray, FirstDiscoveredControllerNamesTheArray) {
    CLSWVesperArray a;
    EXPECT_EQ(Fields(a.getProductVersion(), a.getProductFamily()),
              Fields(ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_UNKNOWN, 0));
    auto c = Seen("S1", "HW1", 1, true);
    c->SetServiceTagFromController("TAG9");
    c->SetLocaleFromController("de_DE");
    c->SetSystemNameFromController("cell-a");
    c->SetProductFamily(3);
    c->SetProductVersionFromController(ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB7000);
    a.AddControllerInternal(c);
    EXPECT_EQ(Fields(a.getArrayId(), a.getLocale(), a.getArrayName(), a.getProductFamily(),
                     a.getProductVersion()),
              "TAG9|de_DE|cell-a|3|13");

    // An uninitialized first controller gives no name.
    CLSWVesperArray b;
    auto d = Seen("S1", "HW1", 1, false);
    d->SetSystemNameFromController("cell-b");
    b.AddControllerInternal(d);
    EXPECT_EQ(b.getArrayName(), "");

    // The host's address unless a primary controller is there.
    CZelAdapter adapter(reinterpret_cast<const unsigned char*>("\x00\x1b\x21\xaa\xbb\xcc"), "ms",
                        "eth0", "Intel NIC");
    b.SetHostInfo(&adapter);
    b.SetHostInfo(nullptr);
    EXPECT_EQ(Fields(b.getHostAdapter(), b.getHostMac()), "Intel NIC|00:1B:21:AA:BB:CC");
    d->SetIsControllerPrimary(true);
    EXPECT_EQ(b.getHostMac(), "00:09:8A:10:20:01");
    EXPECT_EQ(Bytes(b.AdapterAddr(), b.AdapterAddr() + 6), Bytes(6, 0));
    EXPECT_TRUE(b.isPreJoinAvailable());
}

TEST(VesperArray, AddControllerChecks) {
    auto array = ClswConfigFactory::getVesperArray("ARRAY-ID");
    EXPECT_FALSE(array->addController(nullptr));

    auto wrongType = Good("HW9", "10.0.0.19");
    for (auto version : {ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB9000,
                         ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_VMWARE,
                         ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_UNKNOWN}) {
        wrongType->SetProductVersionFromController(version);
        EXPECT_FALSE(array->addController(wrongType)) << version;
    }
    auto invalid = Good("HW9", "10.0.0.19");
    invalid->setServiceTag("");
    EXPECT_FALSE(array->addController(invalid));
    EXPECT_EQ(array->getControllerCount(), 0u);

    // No sorting, no state, and the array keeps its own id.
    auto b = Good("HW-B", "10.0.0.12");
    auto a = Good("HW-A", "10.0.0.11");
    a->SetProductVersionFromController(ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_EHV);
    ASSERT_TRUE(array->addController(b));
    ASSERT_TRUE(array->addController(a));
    EXPECT_EQ(array->getControllers(), (std::vector<IController>{b, a}));
    EXPECT_EQ(Fields(array->getArrayState(), array->getArrayId()),
              Fields(ClswDefs::INCOMPLETE, "ARRAY-ID"));

    auto otherTag = Good("HW-C", "10.0.0.13");
    otherTag->setServiceTag("OTHER");
    EXPECT_FALSE(array->addController(otherTag));
    EXPECT_FALSE(array->addController(Good("HW-B", "10.0.0.14")));  // duplicate serial

    // The limit is "more than two": a third still enters, a fourth does not.
    auto third = Good("HW-C", "10.0.0.13");
    third->SetProductVersionFromController(ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB5000);
    EXPECT_TRUE(array->addController(third));
    EXPECT_FALSE(array->addController(Good("HW-D", "10.0.0.15")));
    EXPECT_EQ(Fields(array->getControllerCount(), array->getControllers().size()), "3|3");
}

TEST(VesperArray, ValidateComparesTextsOfBothControllers) {
    auto make = [](const Controller& c0, const Controller& c1) {
        auto array = std::make_shared<CLSWVesperArray>("T");
        EXPECT_TRUE(array->addController(c0));
        EXPECT_TRUE(array->addController(c1));
        return array;
    };
    std::string msg;
    CLSWVesperArray single;
    single.AddControllerInternal(Good());
    EXPECT_EQ(single.Validate(msg), 0);

    auto c1 = Good("HW2", "10.0.0.11");
    EXPECT_EQ(make(Good(), c1)->Validate(msg), 0);

    c1->setMgmtIp4Address("10.0.0.05");  // the same address, another text
    EXPECT_EQ(make(Good(), c1)->Validate(msg), 1030);
    EXPECT_EQ(msg,
              "Mismatched Management IPv4 addresses for both controllers[10.0.0.5] - "
              "[10.0.0.05].");

    EXPECT_EQ(make(Good(), Good("HW2", "10.0.0.10"))->Validate(msg), 1031);
    EXPECT_EQ(msg, "Identical Controller IPv4 Addresses [10.0.0.10] - [10.0.0.10].");

    c1 = Good("HW2", "10.0.0.11");
    c1->setEth0Ip4Netmask("255.255.0.0");
    EXPECT_EQ(make(Good(), c1)->Validate(msg), 1032);
    EXPECT_EQ(msg, "Mismatched Netmask fields [255.255.255.0] - [255.255.0.0].");

    c1 = Good("HW2", "10.0.0.11");
    c1->setEth0Ip4Gateway("");
    EXPECT_EQ(make(Good(), c1)->Validate(msg), 1033);
    EXPECT_EQ(msg, "Mismatched Gateway fields [10.0.0.1] - [0.0.0.0].");

    // initialize stops at validation: nothing is folded, the manager is not reached.
    c1 = Good("HW2", "10.0.0.10");
    auto c0 = Good();
    c0->SetIsControllerPrimary(true);
    c0->SetCanisterId(1);
    ApiResult r = make(c0, c1)->initialize();
    EXPECT_EQ(r.resultCode, 1031);
    EXPECT_EQ(r.resultMsg, "Identical Controller IPv4 Addresses [10.0.0.10] - [10.0.0.10].");
    EXPECT_TRUE(c0->GetSecondaryEth0Ip4AddressValue().isNull());
}

TEST(VesperArray, FaultDomainsMergeOnceIntoTheFirstControllersObjects) {
    auto c0 = Good("HW1");
    auto c1 = Good("HW2", "10.0.0.11");
    auto d0 = Domain(DomainBytes(1, {}));
    d0->addPortConfigurationData(Port(1, "10.1.0.11"));
    c0->addFaultDomain(d0);
    auto e1 = Domain(DomainBytes(1, {}));
    e1->addPortConfigurationData(Port(2, "10.1.0.12"));
    auto e2 = Domain(DomainBytes(2, {}));
    e2->addPortConfigurationData(Port(3, "10.1.0.13"));
    c1->addFaultDomain(e1);
    c1->addFaultDomain(e2);

    CLSWVesperArray array;
    array.AddControllerInternal(c0);
    array.AddControllerInternal(c1);
    for (int call = 0; call < 2; ++call) {
        auto merged = array.getFaultDomainConfigurationData();
        ASSERT_EQ(merged.size(), 1u) << call;  // a domain only the second has is dropped
        EXPECT_EQ(merged[0], d0);
        ASSERT_EQ(d0->getNumberOfPorts(), 2u) << call;
        EXPECT_EQ(d0->getPortConfigurationData()[1], e1->getPortConfigurationData()[0]);
    }
    // The first controller sees the second's port from now on.
    EXPECT_EQ(c0->getFaultDomainConfigurationData()[0]->getNumberOfPorts(), 2u);

    CLSWVesperArray none;
    EXPECT_TRUE(none.getFaultDomainConfigurationData().empty());
    CLSWVesperArray one;
    one.AddControllerInternal(c1);
    EXPECT_EQ(one.getFaultDomainConfigurationData().size(), 2u);
}

// The top-primary fold's values are proven on the wire (the road's network tests read them
// from the setup request); here its odd corners.
TEST(VesperArray, CopyToTopPrimaryTakesTheSecondAsPrimaryAndAppendsDomainsAgain) {
    auto a = Good("HW1", "10.0.0.10");
    auto b = Good("HW2", "10.0.0.11");
    // The first is not primary, so the second is taken as primary without a test.
    b->SetCanisterId(1);
    CLSWVesperArray array;
    array.AddControllerInternal(a);
    array.AddControllerInternal(b);
    auto ad = std::make_shared<ClswFaultDomainConfigData>();
    a->addFaultDomain(ad);
    array.CopySecondaryControllerInfoToPrimary();
    EXPECT_EQ(Text(b->GetSecondaryEth0Ip4AddressValue()), "10.0.0.10");
    EXPECT_TRUE(a->GetSecondaryEth0Ip4AddressValue().isNull());
    ASSERT_EQ(b->GetSecondaryCtrlFaultDomainConfigurationData().size(), 1u);
    EXPECT_EQ(b->GetSecondaryCtrlFaultDomainConfigurationData()[0], ad);
    array.CopySecondaryControllerInfoToPrimary();
    EXPECT_EQ(b->GetSecondaryCtrlFaultDomainConfigurationData().size(), 2u);

    // Nothing happens without exactly two controllers.
    CLSWVesperArray single;
    auto s = Good();
    s->SetIsControllerPrimary(true);
    s->SetCanisterId(1);
    single.AddControllerInternal(s);
    single.CopySecondaryControllerInfoToPrimary();
    EXPECT_TRUE(s->GetSecondaryEth0Ip4AddressValue().isNull());
}

TEST(VesperArray, CopyToBottomPrimarySwapsEthernetButNotManagementProcessor) {
    auto a = Good("HW1", "10.0.0.10");  // primary, bottom
    auto b = Good("HW2", "10.0.0.11");
    a->SetIsControllerPrimary(true), a->SetCanisterId(2);
    b->setEth0Ip4Gateway("10.0.0.3"), b->setEth0Ip4Netmask("255.255.255.128");
    a->setBmcIp4Address("192.168.0.10"), b->setBmcIp4Address("192.168.0.11");
    a->setBmcIp4Netmask("255.255.255.0"), b->setBmcIp4Netmask("255.255.0.0");
    a->setBmcIp4Gateway("192.168.0.1"), b->setBmcIp4Gateway("192.168.0.2");
    auto ad = std::make_shared<ClswFaultDomainConfigData>();
    auto bd = std::make_shared<ClswFaultDomainConfigData>();
    a->addFaultDomain(ad), b->addFaultDomain(bd);

    CLSWVesperArray array;
    array.AddControllerInternal(b);
    array.AddControllerInternal(a);
    array.CopySecondaryControllerInfoToPrimary();

    // Ethernet: the other's values on top, the primary's own in the secondary fields.
    EXPECT_EQ(Fields(a->getEth0Ip4Address(), a->getEth0Ip4Gateway(), a->getEth0Ip4Netmask(),
                     Text(a->GetEth0Ip4AddressValue()), Text(a->GetSecondaryEth0Ip4AddressValue()),
                     Text(a->GetSecondaryEth0Ip4GatewayValue()),
                     Text(a->GetSecondaryEth0Ip4NetmaskValue())),
              "10.0.0.11|10.0.0.3|255.255.255.128|10.0.0.11|10.0.0.10|10.0.0.1|255.255.255.0");
    EXPECT_EQ(a->getFaultDomainConfigurationData(),
              std::vector<std::shared_ptr<IlswFaultDomainConfigData>>{bd});
    EXPECT_EQ(a->GetSecondaryCtrlFaultDomainConfigurationData(),
              std::vector<std::shared_ptr<IlswFaultDomainConfigData>>{ad});

    // Management processor: not swapped. The primary keeps its own on top, the other's
    // values end in the secondary fields.
    EXPECT_EQ(Fields(Text(a->GetBmcIp4AddressValue()), Text(a->GetBmcIp4NetmaskValue()),
                     Text(a->GetBmcIp4GatewayValue()), Text(a->GetSecondaryBmcIp4AddressValue()),
                     Text(a->GetSecondaryBmcIp4NetmaskValue()),
                     Text(a->GetSecondaryBmcIp4GatewayValue())),
              "192.168.0.10|255.255.255.0|192.168.0.1|192.168.0.11|255.255.0.0|192.168.0.2");
    EXPECT_EQ(b->getEth0Ip4Address(), "10.0.0.11");
}

TEST(Records, PortFromReaderAndItsTwoCopies) {
    Bytes wire = PortBytes(0xFF, 11);
    FAULTDomainDataReader domainReader;
    Bytes domain = DomainBytes(1, {wire});
    ASSERT_TRUE(
        domainReader.UnpackData(reinterpret_cast<const char*>(domain.data()), domain.size()));
    auto port = std::make_shared<ClswPortConfigData>();
    *port = *domainReader.GetPort(0);
    // Signed bytes widen; the rest of the fields are the reader's, proven with its bytes.
    // 0.0.0.0 is kept as text, and the value stays all zero.
    EXPECT_EQ(
        Fields(port->getSlotNumber(), port->getControllerIndex(), Text(port->GetIpv4AddressValue()),
               port->getIpv4Gateway(), port->GetIpv4GatewayValue().isNull()),
        "4294967295|4294967294|10.1.0.11|0.0.0.0|1");

    // "abc" leaves the previous value in place.
    port->setIpv4NetMask("abc");
    EXPECT_EQ(Fields(port->getIpv4NetMask(), Text(port->GetIpv4NetMaskValue())),
              "abc|255.255.255.0");

    // CopyFrom: numbers but the card model, texts as they stand, no values.
    auto copied = std::make_shared<ClswPortConfigData>();
    copied->CopyFrom(port);
    EXPECT_EQ(Fields(copied->getSlotNumber(), copied->getControllerIndex(), copied->getCardModel(),
                     copied->getIpv4Address(), copied->GetIpv4AddressValue().isNull()),
              "4294967295|4294967294|0|10.1.0.11|1");

    // operator=: the card model too, the values through the setters.
    ClswPortConfigData assigned;
    assigned = *port;
    EXPECT_EQ(Fields(assigned.getCardModel(), Text(assigned.GetIpv4AddressValue()),
                     assigned.getIpv4NetMask(), assigned.GetIpv4NetMaskValue().isNull()),
              "9|10.1.0.11|abc|1");
}

TEST(Records, FaultDomainFromReaderAndItsTwoCopies) {
    Bytes domain = DomainBytes(0x85, {PortBytes(1, 11), PortBytes(2, 12)});
    domain[15] = 1;  // embedded
    FAULTDomainDataReader reader;
    ASSERT_TRUE(reader.UnpackData(reinterpret_cast<const char*>(domain.data()), domain.size()));
    auto source = std::make_shared<ClswFaultDomainConfigData>();
    *source = reader;
    EXPECT_EQ(Fields(source->getFaultDomainID(), Text(source->GetIpv4GatewayValue())),
              "4294967173|10.1.0.254");
    ASSERT_EQ(source->getNumberOfPorts(), 2u);
    // Assigned twice from one reader: every port twice.
    *source = reader;
    EXPECT_EQ(source->getNumberOfPorts(), 4u);

    // CopyFrom: the gateway's text stands for the netmask too; the ports are shared.
    auto copied = std::make_shared<ClswFaultDomainConfigData>();
    copied->CopyFrom(source);
    EXPECT_EQ(Fields(copied->getFaultDomainID(), copied->getIpv4Address(), copied->getIpv4NetMask(),
                     copied->getIpv4Gateway(), copied->GetIpv4AddressValue().isNull()),
              "4294967173|10.1.0.1|10.1.0.254|10.1.0.254|1");
    ASSERT_EQ(copied->getNumberOfPorts(), 4u);
    copied->getPortConfigurationData()[0]->setNetwork(42);
    EXPECT_EQ(source->getPortConfigurationData()[0]->getNetwork(), 42u);

    // operator=: deep copies, appended to the ports already there.
    ClswFaultDomainConfigData assigned;
    assigned.addPortConfigurationData(Port(7, "10.7.0.1"));
    assigned.addPortConfigurationData(nullptr);
    assigned = *source;
    ASSERT_EQ(assigned.getNumberOfPorts(), 5u);
    EXPECT_EQ(Fields(assigned.getIpv4NetMask(), Text(assigned.GetIpv4NetMaskValue()),
                     assigned.getPortConfigurationData()[0]->getNetwork(),
                     assigned.getPortConfigurationData()[1]->getNetwork()),
              "255.255.255.0|255.255.255.0|7|42");
    EXPECT_NE(assigned.getPortConfigurationData()[1], source->getPortConfigurationData()[0]);
    ClswFaultDomainConfigData& self = assigned;
    assigned = self;  // no-op on itself
    EXPECT_EQ(assigned.getNumberOfPorts(), 5u);
}

TEST(Records, ControllerAppendsTheDomainsOfItsPortReader) {
    Bytes wire = {2};  // two fault domains
    Bytes d1 = DomainBytes(1, {PortBytes(1, 11)});
    Bytes d2 = DomainBytes(2, {});
    wire.insert(wire.end(), d1.begin(), d1.end());
    wire.insert(wire.end(), d2.begin(), d2.end());
    CONTROLLERPortDataReader reader;
    ASSERT_TRUE(reader.UnpackData(reinterpret_cast<const char*>(wire.data()), wire.size()));

    CLSWVesperController c;
    c.addFaultDomain(std::make_shared<ClswFaultDomainConfigData>());
    c.SetControllerPortConfigData(&reader);
    c.SetControllerPortConfigData(nullptr);
    auto domains = c.getFaultDomainConfigurationData();
    ASSERT_EQ(domains.size(), 3u);  // the one already there stays
    EXPECT_EQ(Fields(domains[1]->getFaultDomainID(), domains[1]->getNumberOfPorts(),
                     domains[2]->getFaultDomainID()),
              "1|1|2");
}

TEST(ConfigManager, DiscoveryTimeoutTakesOnlyValuesInRange) {
    CLSWConfigManager* manager = CLSWConfigManager::GetInstance();
    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(CLSWConfigManager::GetInstance(), manager);
    EXPECT_EQ(manager->GetDiscoveryTimeout(), 15u);  // not ZEL_DEFAULT_DISCOVERY_TIMEOUT
    // Each value and what is held after it: out of range is dropped, not clamped.
    const unsigned int rows[][2] = {{0, 15}, {2, 15}, {3, 3}, {121, 3}, {120, 120}, {1000, 120}};
    for (const auto& r : rows) {
        manager->SetDiscoveryTimeout(r[0]);
        EXPECT_EQ(manager->GetDiscoveryTimeout(), r[1]) << r[0];
    }
    manager->SetDiscoveryTimeout(15);
}
