// Discovery: the parsing of a Hello answer into a record and a controller, the platform
// filter, and the Hello exchange over a device in memory.
#include "LSWConfig4/LSWDiscovery4.h"

#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "ExchangeFrames.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/unix/Adapter.h"
#include "support/Fields.h"
#include "support/ManualClock.h"
#include "support/MemoryDevice.h"

namespace {

using namespace xchg;

std::shared_ptr<CLSWControllerDiscovery4> Parse(const std::vector<Entry>& iEntries,
                                                unsigned short iVersion = 5) {
    SETUPTlv tlv(CHOOSE_TLV_SIZE_BY_VERSION(iVersion));
    Push(tlv, iEntries);
    SETUPTlvIterator it(tlv);
    return ParseHello4Data(&it, iVersion);
}

// Every field of a record, so that two records can be compared whole.
std::string Fingerprint(const CLSWControllerDiscovery4& r) {
    std::string out = Fields(
        r.ProtocolVersion, r.IsInitialized, r.IsIPConfigured, r.SerialNumber, r.RaidLevel,
        r.ProductFamily, r.MajorVersion, r.MinorVersion, r.MaintenanceVersion, r.Ethernet,
        r.ServiceTag, r.DiskInfo, r.ProductVersion, r.VlanID, r.HasVlanID, r.DCBOn, r.HasDCBOn,
        r.HWSerialNumber, r.SystemName, r.DomainName, r.PublicKeyLength, r.PublicKey,
        r.LicensedControllers, r.IscsiPorts, r.CanisterId, r.BlinkValue, r.DiscoveryErrorStatus,
        r.ControllerModelNum, r.IsControllerPrimary, r.IsUnifiedBlockFileEnabled,
        r.LocalizationParameter, r.Eth0Ip6AddrPrefix, r.mReader.GetNumberOfControllers());
    for (const CZelIpAddress* a :
         {&r.PrimaryDNS, &r.SecondaryDNS, &r.MgmtIp4Address, &r.Eth0Ip4Address, &r.Eth0Ip4Netmask,
          &r.Eth0Ip4Gateway, &r.Eth1Ip4Address, &r.Eth1Ip4PeerAddress, &r.MgmtIp6Address,
          &r.Eth0Ip6Address, &r.Eth1Ip6Address, &r.Eth1Ip6PeerAddress, &r.BMCIPv4Address,
          &r.BMCIPv4DefaultRoute, &r.BMCIPv4Netmask})
        out += "|" + Text(*a);
    return out;
}

Bytes Ip6(const char* iText) {
    CZelIpAddress a(ZEL_INET6, iText);
    return Bytes(a.v6, a.v6 + 16);
}

// One controller, one fault domain with id 3 and one port.
Bytes PortTree(int iControllers = 1) {
    SCPortConfigDataWriter tree;
    for (int c = 0; c < iControllers; ++c) {
        auto controller = std::make_unique<CONTROLLERPortDataWriter>();
        auto domain = std::make_unique<FAULTDomainDataWriter>();
        domain->SetId(3), domain->SetIpV4("10.1.0.1"), domain->SetIpV4Netmask("255.255.0.0");
        domain->SetIpV4Gateway("10.1.0.254");
        auto port = std::make_unique<PORTDataWriter>();
        port->SetSlotNumber(2), port->SetIpV4("10.1.0.20");
        domain->AddPort(std::move(port));
        controller->AddFaultDomain(std::move(domain));
        tree.AddController(std::move(controller));
    }
    return ToBytes(tree.Pack());
}

std::vector<Entry> FullAnswer() {
    // clang-format off
    return {{1, Str("SVC-TAG-7")}, {2, Str("disk summary")}, {3, LE16(11)}, {4, Hex("00 64")},
            {5, Hex("01")}, {6, Hex("04 03 02 01")}, {7, Str("HWSN-001")}, {8, Hex("0B 00 00 0A")},
            {9, Hex("00 FF FF FF")}, {10, Hex("01 00 00 0A")}, {11, Ip6("fd00::1")},
            {12, Ip6("fd00::2")}, {13, Hex("01 40")}, {14, Str("cell-one")},
            {15, Str("example.test")}, {16, Hex("04 04 08 08")}, {17, Hex("02 00 00 01")},
            {18, LE16(451)}, {19, Str("-----BEGIN RSA PUBLIC KEY-----\nnot base64 at all\n")},
            {20, LE16(2)}, {21, LE16(4)}, {22, LE16(2)}, {23, Hex("01")}, {24, Str("eth7")},
            {25, Str("raid6")}, {26, Hex("07")}, {27, Hex("01")}, {28, Hex("02")}, {29, Hex("01")},
            {30, Hex("05 00 A8 C0")}, {31, Ip6("fd00::9")}, {32, Hex("01 00 A8 C0")},
            {33, Ip6("fd00::a")}, {34, LE16(1)}, {35, PortTree()}, {36, Hex("00")}, {37, LE16(1)},
            {38, LE16(5)}, {39, LE16(0x1234)}, {40, Hex("01")}, {41, Hex("00 04 00 00 00 00")},
            {42, Hex("00 FF FF FF")}, {43, Hex("01")}, {44, Hex("01")}, {45, Str("fr_FR")},
            {99, Str("from a later release")}};
    // clang-format on
}

TEST(HelloParse, EveryFieldOfAFullAnswer) {
    auto rec = Parse(FullAnswer());
    // Every field at once. Of note: the disk summary is announced but never taken (the empty
    // field after the tag); the two product codes are crossed on the wire (11 and 2); IPv4
    // arrives last octet first; 01 40 big-endian is 320, and the one-byte prefix keeps 64.
    EXPECT_EQ(Fingerprint(*rec),
              "5|0|1|HWSN-001|raid6|2|7|1|2|eth7|SVC-TAG-7||11|100|1|1|1|HWSN-001|cell-one|"
              "example.test|451|-----BEGIN RSA PUBLIC KEY-----\nnot base64 at all\n|2|4|1|1|5|"
              "4660|1|1|fr_FR|64|1|8.8.4.4|1.0.0.2|1.2.3.4|10.0.0.11|255.255.255.0|10.0.0.1|"
              "Invalid|Invalid|fd00::1|fd00::2|Invalid|Invalid|192.168.0.5|192.168.0.1|"
              "255.255.255.0");
    const unsigned char networkOrder[4] = {1, 2, 3, 4};  // held in network order
    EXPECT_EQ(memcmp(&rec->MgmtIp4Address.v4, networkOrder, 4), 0);
    EXPECT_TRUE(rec->IsControllerRequired(1));

    // The controller made from it (its MAC text, version, serial, key, role and adapter are
    // read back on the wire by the road's network tests).
    memcpy(rec->CtrlMACAddress, kCtrlMacA, 6);
    unsigned char mac[6] = {2, 0, 0, 0, 0, 7};
    CZelAdapter adapter(mac, "eth7", "eth7", "test adapter");
    adapter.m_next = nullptr;
    std::shared_ptr<CLSWVesperController> c = rec->GetVesperInfo(&adapter);
    ASSERT_TRUE(c);
    // The texts the operator sees, each from its own field, then the numbers.
    EXPECT_EQ(Fields(c->getVersion(), c->getHardwareSn(), c->getServiceTag(),
                     c->getMgmtIp4Address(), c->getEth0Ip4Address(), c->getEth0Ip4Netmask(),
                     c->getEth0Ip4Gateway(), c->getMgmtIp6Address(), c->getEth0Ip6Address(),
                     c->getPrimaryDns(), c->getSecondaryDns(), c->getBmcIp4Address(),
                     c->getBmcIp4Gateway(), c->getBmcIp4Netmask(), c->getScName(),
                     c->getDomainName(), c->getEthernetDev(), c->getRaidLevel(), c->getLocale()),
              "7.1.2|HWSN-001|SVC-TAG-7|1.2.3.4|10.0.0.11|255.255.255.0|10.0.0.1|fd00::1|"
              "fd00::2\\64|8.8.4.4|1.0.0.2|192.168.0.5|192.168.0.1|255.255.255.0|cell-one|"
              "example.test|eth7|raid6|fr_FR");
    EXPECT_EQ(Fields(c->getProductVersion(), c->getProductFamily(), c->getPublicKeyLength(),
                     c->getLicensedControllers(), c->getIscsiPorts(), c->getCanisterId(),
                     c->getBlinkValue(), c->getDiscoveryErrorStatus(), c->getControllerModelNum()),
              "11|2|451|2|4|1|1|5|4660");
    EXPECT_TRUE(c->isIpConfigured() && !c->isInitialized() && c->IsUnifiedBlockFileEnabled());
    ASSERT_TRUE(c->GetAdapterInfo());
    EXPECT_EQ(memcmp(c->GetAdapterInfo()->m_addr, adapter.m_addr, 6), 0);
    auto domains = c->getFaultDomainConfigurationData();
    ASSERT_EQ(domains.size(), 1u);
    ASSERT_EQ(domains[0]->getPortConfigurationData().size(), 1u);
    EXPECT_EQ(Fields(domains[0]->getFaultDomainID(), domains[0]->getIpv4Address(),
                     domains[0]->getPortConfigurationData()[0]->getIpv4Address()),
              "3|10.1.0.1|10.1.0.20");
}

TEST(HelloParse, EmptyBlockGivesDefaultsThatTheFilterSkips) {
    auto rec = Parse({}, 4);
    EXPECT_EQ(Fields(rec->ProtocolVersion, rec->BlinkValue, rec->ControllerModelNum,
                     rec->ProductFamily, rec->HasVlanID, rec->MgmtIp4Address.isNull()),
              "4|-1|999|0|0|1");
    for (unsigned int mask = 0; mask < 4; ++mask)
        EXPECT_FALSE(rec->IsControllerRequired(mask));
    EXPECT_EQ(rec->GetInfo(nullptr, 3), nullptr);

    std::shared_ptr<CLSWVesperController> c = rec->GetVesperInfo(nullptr);
    // A zero address is not valid, so the text stays empty.
    EXPECT_EQ(Fields(c->getBlinkValue(), c->getControllerModelNum(), c->getVersion(),
                     c->getMgmtIp4Address(), c->getSerialNumber(),
                     c->getFaultDomainConfigurationData().size()),
              "-1|999|0.0.0|||0");

    // A null iterator gives the defaults as well.
    EXPECT_EQ(Fingerprint(*ParseHello4Data(nullptr, 4)), Fingerprint(*rec));
}

// The width each fixed-size code implies.
struct Width {
    uint8_t code;
    size_t width;
};
const Width kWidths[] = {
    {3, 2},  {4, 2},  {5, 1},  {6, 4},  {8, 4},  {9, 4},  {10, 4}, {11, 16}, {12, 16}, {13, 2},
    {16, 4}, {17, 4}, {18, 2}, {20, 2}, {21, 2}, {22, 2}, {23, 1}, {26, 1},  {27, 1},  {28, 1},
    {30, 4}, {32, 4}, {34, 2}, {36, 1}, {37, 2}, {38, 2}, {39, 2}, {40, 1},  {42, 4},  {44, 1},
};

TEST(HelloParse, ShortEntriesReadNothingAndKeepTheField) {
    const Entry after{1, Str("\x5A\x5A\x5A\x5A\x5A\x5A\x5A\x5A\x5A\x5A\x5A\x5A\x5A\x5A\x5A\x5A")};
    const std::string alone = Fingerprint(*Parse({after}));
    for (const Width& w : kWidths) {
        SCOPED_TRACE("code " + std::to_string(w.code));
        // Short alone: the default stays, and the next entry's bytes are not taken.
        Entry shortEntry{w.code, Bytes(w.width - 1, 0xEE)};
        EXPECT_EQ(Fingerprint(*Parse({shortEntry, after})), alone);
        // Short after a whole one: the whole one's value stays.
        Entry whole{w.code, Bytes(w.width, 0x5A)};
        EXPECT_EQ(Fingerprint(*Parse({whole, shortEntry, after})),
                  Fingerprint(*Parse({whole, after})));
        // Longer than needed: the first bytes count.
        EXPECT_EQ(Fingerprint(*Parse({Entry{w.code, Cat({whole.value, {0xEE}})}, after})),
                  Fingerprint(*Parse({whole, after})));
    }
}

TEST(HelloParse, HostileBlocksStayInBounds) {
    // An entry that claims more bytes than the block holds ends the walk; what came before
    // stays.
    SETUPTlv tlv(16);
    const Bytes raw = Hex("00 10 07 00 04 48 57 30 31 16 00 FF 02 00 00 00");
    tlv.appendTlvDataFromMessage(reinterpret_cast<const char*>(raw.data()),
                                 static_cast<uint16_t>(raw.size()));
    SETUPTlvIterator it(tlv);
    auto rec = ParseHello4Data(&it, 5);
    EXPECT_EQ(Fields(rec->HWSerialNumber, rec->ProductFamily), "HW01|0");

    // Five controllers announced, one present (the entry cut behind it): the reader holds
    // the one that is really there.
    Bytes tree = PortTree();
    const size_t used = 1 + 1 + 16 + 29;
    ASSERT_GE(tree.size(), used);
    tree.resize(used);
    tree[0] = 5;
    auto lying = Parse({{35, tree}, {7, Str("SN")}});
    EXPECT_EQ(Fields(lying->mReader.GetNumberOfControllers(), lying->SerialNumber,
                     lying->GetVesperInfo(nullptr)->getFaultDomainConfigurationData().size()),
              "1|SN|1");
    Bytes domains = PortTree();
    domains[1] = 100;  // a hundred fault domains, one present
    EXPECT_EQ(Parse({{35, domains}})->mReader.GetNumberOfControllers(), 0);
    Bytes cutTree = PortTree();
    cutTree.resize(cutTree.size() - 10);
    auto cut = Parse({{35, cutTree}});
    EXPECT_TRUE(cut->GetVesperInfo(nullptr)->getFaultDomainConfigurationData().empty());

    // Two controllers' port data is not taken either: only a lone controller's is.
    auto two = Parse({{35, PortTree(2)}});
    EXPECT_EQ(Fields(two->mReader.GetNumberOfControllers(),
                     two->GetVesperInfo(nullptr)->getFaultDomainConfigurationData().size()),
              "2|0");

    // A model number far outside the named ones is held as given.
    auto odd = Parse({{3, LE16(0xFFFF)}, {22, LE16(2)}});
    EXPECT_EQ(Fields(static_cast<int>(odd->ProductVersion), odd->IsControllerRequired(3)),
              "65535|0");

    // A repeated entry overwrites the earlier one.
    EXPECT_EQ(Parse({{7, Str("FIRST")}, {7, Str("SECOND")}})->SerialNumber, "SECOND");
}

TEST(HelloFilter, MaskTable) {
    struct Row {
        uint16_t family;
        int model;
        unsigned int mask;
        bool wanted;
    };
    const Row rows[] = {
        {2, 11, 1, true},  {2, 11, 2, false}, {2, 11, 3, true},  {2, 11, 0, false},
        {2, 9, 2, true},   {2, 13, 2, true},  {2, 14, 2, true},  {2, 9, 1, false},
        {2, 13, 1, false}, {2, 14, 3, true},  {2, 12, 3, false}, {2, 10, 3, false},
        {1, 11, 3, false}, {3, 11, 3, false}, {0, 0, 3, false},  {2, 11, 0xFFFFFFFC, false},
    };
    for (const Row& r : rows) {
        CLSWControllerDiscovery4 rec;
        rec.ProductFamily = r.family, rec.HWSerialNumber = rec.SerialNumber = "SN";
        rec.ProductVersion = static_cast<ClswDefs::SYSTargetType>(r.model);
        EXPECT_EQ(rec.IsControllerRequired(r.mask), r.wanted)
            << "family " << r.family << " model " << r.model << " mask " << r.mask;
        EXPECT_EQ(rec.GetInfo(nullptr, r.mask) != nullptr, r.wanted);
    }
    // The answer of the crossed codes: PRODUCT_LINE 2, PRODUCT_FAMILY 11, under bit 0.
    EXPECT_TRUE(Parse({{22, LE16(2)}, {3, LE16(11)}})->IsControllerRequired(1));

    CHello4 hello(nullptr, 2);
    EXPECT_EQ(Fields(hello.chkPlatform(2), hello.chkPlatform(1), hello.chkPlatform(3),
                     hello.chkPlatform(6)),
              "1|0|0|0");
}

// ---- The exchange over a device in memory ----------------------------------------------

TEST(HelloExchange, RequestsAnswersAndTheEndOfTheTime) {
    ManualClock clock;
    const time_t start = ManualClock::Now();
    MEMORYDevice dev(kWizardMac);
    const int timeout = 8;

    auto answer = [](u_short iVersion, const u_char* iFrom, const char* iSerial, uint16_t iModel) {
        return ReplyFrame(PAYLOADHeader::HELLO_RSP,
                          {{7, Str(iSerial)}, {1, Str("TAG")}, {22, LE16(2)}, {3, LE16(iModel)}},
                          iVersion, iFrom);
    };
    // The second request leaves a second after the first, and the discovery time counts
    // from there.
    const time_t begin = start + 1;
    // A answers both requests; B answers with a model this mask does not take; one frame is
    // a Hello request of someone else; the last comes after the time is over.
    dev.QueueFrameAt(begin + 1, answer(4, kCtrlMacA, "SN-A", 11));
    dev.QueueFrameAt(begin + 2, ReplyFrame(PAYLOADHeader::HELLO_REQ, {}, 5, kCtrlMacB));
    dev.QueueFrameAt(begin + 3, answer(5, kCtrlMacA, "SN-A", 11));
    dev.QueueFrameAt(begin + 4, answer(5, kCtrlMacB, "SN-B", 13));
    dev.QueueFrameAt(begin + timeout + 1, answer(5, kCtrlMacB, "SN-LATE", 11));

    CHello4 hello(nullptr, 1);
    std::list<std::shared_ptr<IlswController>> found;
    ASSERT_EQ(hello.run(dev, found, timeout, "en_US"), 0);

    // Both requests, version 4 then 5, each with the locale en_US (the frames' bytes are the
    // message writer's tests' to prove).
    ASSERT_EQ(dev.Sent().size(), 2u);
    const Bytes body = Hex("00 0A 01 00 05 65 6E 5F 55 53");
    for (size_t i = 0; i < 2; ++i) {
        const Bytes& sent = dev.Sent()[i];
        ASSERT_GE(sent.size(), 68u);
        EXPECT_EQ(Bytes(sent.begin() + 22, sent.begin() + 26),
                  Hex(i ? "00 05 00 01" : "00 04 00 01"));
        EXPECT_EQ(Bytes(sent.begin() + 34, sent.begin() + 44), body);
    }

    // A twice, once per version, in order of arrival; nothing of B, of the request or of
    // the late answer.
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(Fields(found.front()->getSerialNumber(), found.front()->getProtocolVersion(),
                     found.back()->getSerialNumber(), found.back()->getProtocolVersion()),
              "SN-A|4|SN-A|5");
    EXPECT_EQ(ManualClock::Now() - begin, timeout + 1);
}

TEST(HelloExchange, SilenceAndFailedSends) {
    ManualClock clock;
    {
        // Silence: a second between the requests, then the first read waits out the whole
        // time, which does not exceed it, so a second read waits once more. No locale: the
        // bodies are the bare block.
        const time_t start = ManualClock::Now();
        MEMORYDevice dev(kWizardMac);
        CHello4 hello(nullptr, 3);
        std::list<std::shared_ptr<IlswController>> found;
        EXPECT_EQ(hello.run(dev, found, 5, ""), 0);
        EXPECT_EQ(Fields(found.size(), ManualClock::Now() - start), Fields(0, 1 + 10));
        ASSERT_EQ(dev.Sent().size(), 2u);
        EXPECT_EQ(Bytes(dev.Sent()[1].begin() + 34, dev.Sent()[1].begin() + 37), Hex("00 02 00"));
    }
    for (size_t failing : {0, 1}) {
        MEMORYDevice dev(kWizardMac);
        dev.FailWritesFrom(failing);
        dev.QueueFrame(ReplyFrame(PAYLOADHeader::HELLO_RSP, {{7, Str("SN-A")}}));
        CHello4 hello(nullptr, 3);
        std::list<std::shared_ptr<IlswController>> found;
        EXPECT_EQ(hello.run(dev, found, 3, ""), 1006);
        EXPECT_EQ(dev.ReadCalls(), 0u);  // answers to the first Hello are not looked at
    }
}

TEST(HelloExchange, OtherFramesDoNotCrowdOutTheAnswers) {
    // More frames of another opcode than the store holds answers come first; the real
    // answer behind them is still found.
    ManualClock clock;
    MEMORYDevice dev(kWizardMac);
    const Bytes junk =
        ReplyFrame(PAYLOADHeader::SETUP_RSP, {{7, Str("NOT-A-HELLO")}}, 5, kCtrlMacB);
    for (int i = 0; i < 300; ++i)
        dev.QueueFrame(junk);
    dev.QueueFrameAt(ManualClock::Now() + 2,
                     ReplyFrame(PAYLOADHeader::HELLO_RSP,
                                {{7, Str("SN-A")}, {22, LE16(2)}, {3, LE16(11)}}, 5, kCtrlMacA));
    CHello4 hello(nullptr, 1);
    std::list<std::shared_ptr<IlswController>> found;
    ASSERT_EQ(hello.run(dev, found, 3, ""), 0);
    ASSERT_EQ(Fields(dev.Pending(), found.size()), "0|1");

    EXPECT_EQ(found.front()->getSerialNumber(), "SN-A");
}

}  // namespace
