// cellsim over real frames: this program runs in the wizard's namespace of a test bed
// (scripts/netns-run) and talks through wiz0 with our own link layer, while the real cellsim
// program answers on ctl0 in the controllers' namespace. Every test checks both what the
// client decoded and what cellsim's event log says crossed the wire. Disk lists, blink and
// prejoin are the layer-2 road's network tests' to prove, through the wizard's own exchanges.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/LSWDiscovery4.h"
#include "LSWConfig4/setupMessage.h"
#include "LSWConfig4/setupMessageHandler.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/tlvUtils.h"
#include "LSWConfig4/unix/Adapter.h"
#include "WizardSide.h"
#include "support/CellsimProcess.h"
#include "support/Fields.h"
#include "support/Mac.h"
#include "support/NetnsPeer.h"

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<unsigned char>;

const unsigned char kTemplate[22] = MESSAGE_HEADER_INITIALIZER;

// The real cellsim, started in the controllers' namespace on ctl0.
struct Cellsim : CellsimProcess {
    Cellsim(const NetnsBed& iBed, const std::string& iIni)
        : CellsimProcess(CELLSIM_BINARY, iBed.ctl, "ctl0", iIni) {}
};

// The wizard's end: our packet device on wiz0 and the message layer.
class Client {
public:
    Client() {
        if (!MacOf("wiz0", m_mac))
            return;
        m_device.reset(CL2::GetInterface(m_mac, "wiz0"));
        if (m_device)
            m_device->setfilter(kTemplate, kTemplate + 14);
    }
    bool Ok() const { return m_device != nullptr; }
    const unsigned char* Mac() const { return m_mac; }

    // To iDst, or to the discovery multicast when null.
    bool Send(SetupAPIMessage& ioRequest, const unsigned char* iDst) {
        ioRequest.msghdr.Reset(0, iDst, m_mac);
        return m_handler.WriteSetupAPIMessage(*m_device, ioRequest) > 0;
    }

    // The messages of iOpcode that arrive within iSeconds, or the first iEnough of them.
    std::vector<std::shared_ptr<SetupAPIMessage>> Collect(u_short iOpcode, double iSeconds,
                                                          size_t iEnough = SIZE_MAX) {
        std::vector<std::shared_ptr<SetupAPIMessage>> all;
        auto deadline = Clock::now() + std::chrono::milliseconds(static_cast<int>(iSeconds * 1000));
        while (Clock::now() < deadline && all.size() < iEnough) {
            std::shared_ptr<SetupAPIMessage> msg;
            m_handler.ReadSetupAPIMessage(*m_device, msg, 1, false);
            if (msg && msg->m_opcode == iOpcode)
                all.push_back(msg);
        }
        return all;
    }

    // A setup response, read as the wizard reads it: the checksum of its one-byte body is
    // not compared. -1 when none came.
    int SetupStatus(int iSeconds) {
        std::shared_ptr<SETUPResponse> resp;
        const auto read = m_handler.ReadSetupResponseMessage(*m_device, resp, iSeconds);
        return read == SetupAPIMessageHandler::READ_SUCCESS && resp ? resp->m_status : -1;
    }

private:
    unsigned char m_mac[6] = {};
    std::unique_ptr<CL2> m_device;
    SetupAPIMessageHandler m_handler;
};

std::string Section(const std::string& iName, const std::string& iMac, const std::string& iMore) {
    return CellsimSection(iName, iMac, "SN-" + iName, "NETTAG", iMore);
}

const unsigned char kTop[6] = {0x02, 0xce, 0x5e, 0x00, 0x00, 0x01};

class CellsimNetns : public ::testing::Test {
protected:
    void SetUp() override {
        std::string why;
        ASSERT_TRUE(NetnsBed::FromEnvironment(m_bed, why)) << why;
    }
    NetnsBed m_bed;
};

// A Hello answer read as the wizard's discovery reads it.
std::shared_ptr<CLSWControllerDiscovery4> Hello(const SetupAPIMessage& iReply) {
    SETUPTlvIterator it(iReply.m_tlv);
    return ParseHello4Data(&it, iReply.m_version);
}

}  // namespace

TEST_F(CellsimNetns, HelloInBothVersionsCarriesEveryField) {
    Cellsim sim(m_bed, "[cellsim]\ninterface = ignored0\n" +
                           Section("top", "02:ce:5e:00:00:01",
                                   "hardware_serial = HW-77\nmodel = 14\nfamily = 2\n"
                                   "primary = true\ncanister = 2\nmodel_number = 3020\n"
                                   "management_ip = 10.9.0.5\neth0_ip = 10.9.0.6\n"
                                   "eth0_netmask = 255.255.0.0\neth0_gateway = 10.9.0.1\n"
                                   "primary_dns = 10.9.0.53\nsecondary_dns = 10.9.0.54\n"
                                   "bmc_ip = 10.9.1.6\nbmc_gateway = 10.9.1.1\n"
                                   "bmc_netmask = 255.255.255.128\nmanagement_ipv6 = fd00::5\n"
                                   "eth0_ipv6 = fd00::6\neth0_ipv6_prefix = 48\n"
                                   "system_name = Lab Cell\ndomain_name = lab.test\n"
                                   "ethernet_device = eth0\nraid_level = RAID10\nlocale = de_DE\n"
                                   "software_version = 8.2.3\nlicensed_controllers = 2\n"
                                   "iscsi_ports = 6\nunified_block_file = true\nvlan_id = 300\n"
                                   "dcb_on = true\nstatus_error = 4\nblink = 1\n"
                                   "fault_domain = id=1 ip=10.30.1.0 netmask=255.255.255.0 "
                                   "gateway=10.30.1.1 transport=1 embedded=true\n"
                                   "fault_domain = id=2 ip=10.30.2.0 netmask=255.255.255.0 "
                                   "gateway=10.30.2.1 transport=1\n"
                                   "port = fd=1 slot=1 slot_port=1 ip=10.30.1.11 "
                                   "netmask=255.255.255.0 gateway=10.30.1.1 configured=true\n"
                                   "port = fd=2 slot=1 slot_port=2 ip=10.30.2.11 status=1\n"));
    ASSERT_TRUE(sim.WaitReady()) << sim.Stderr();
    Client client;
    ASSERT_TRUE(client.Ok());

    for (u_short version : {MESSAGE_VERSION_4, MESSAGE_VERSION_5}) {
        SCOPED_TRACE(version);
        HELLORequest hello(version);
        hello.m_tlv.pushBackEntry(HELLORequest::LOCALIZATION_PARAMETER, 5, "en_US");
        ASSERT_TRUE(client.Send(hello, nullptr));
        auto replies = client.Collect(PAYLOADHeader::HELLO_RSP, 3, 1);
        ASSERT_EQ(1u, replies.size());
        auto reply = replies[0];
        EXPECT_EQ(version, reply->m_version);
        EXPECT_EQ(0, memcmp(reply->msghdr.shost, kTop, 6));
        EXPECT_EQ(0, memcmp(reply->msghdr.dhost, client.Mac(), 6));

        auto h = Hello(*reply);
        ASSERT_TRUE(h);
        EXPECT_EQ(Fields(h->ServiceTag, h->HWSerialNumber, h->ProductVersion, h->ProductFamily,
                         h->VlanID, h->DCBOn, h->Eth0Ip6AddrPrefix, h->SystemName, h->DomainName,
                         h->LicensedControllers, h->IscsiPorts, h->IsIPConfigured, h->Ethernet,
                         h->RaidLevel, h->MajorVersion, h->MinorVersion, h->MaintenanceVersion,
                         h->CanisterId, h->IsInitialized, h->BlinkValue, h->DiscoveryErrorStatus,
                         h->ControllerModelNum, h->IsControllerPrimary,
                         h->IsUnifiedBlockFileEnabled, h->LocalizationParameter),
                  "NETTAG|HW-77|14|2|300|1|48|Lab Cell|lab.test|2|6|0|eth0|RAID10|8|2|3|2|0|1|4|"
                  "3020|1|1|de_DE");
        const std::pair<const CZelIpAddress*, const char*> addresses[] = {
            {&h->MgmtIp4Address, "10.9.0.5"},       {&h->Eth0Ip4Address, "10.9.0.6"},
            {&h->Eth0Ip4Netmask, "255.255.0.0"},    {&h->Eth0Ip4Gateway, "10.9.0.1"},
            {&h->MgmtIp6Address, "fd00::5"},        {&h->Eth0Ip6Address, "fd00::6"},
            {&h->PrimaryDNS, "10.9.0.53"},          {&h->SecondaryDNS, "10.9.0.54"},
            {&h->BMCIPv4Address, "10.9.1.6"},       {&h->BMCIPv4DefaultRoute, "10.9.1.1"},
            {&h->BMCIPv4Netmask, "255.255.255.128"}};
        for (const auto& a : addresses)
            EXPECT_EQ(a.second, GetIpAddressStr(*a.first));
        EXPECT_EQ(Fields(h->PublicKey.find("-----BEGIN RSA PUBLIC KEY-----"), h->PublicKeyLength),
                  Fields(0, h->PublicKey.size()));
        ASSERT_EQ(1, h->mReader.GetNumberOfControllers());
        CONTROLLERPortDataReader* ctl = h->mReader.GetController(0);
        ASSERT_TRUE(ctl);
        ASSERT_EQ(2, ctl->GetNumberOfFaultDomains());
        FAULTDomainDataReader* fd2 = ctl->GetFaultDomain(1);
        ASSERT_TRUE(fd2);
        ASSERT_EQ(1, fd2->GetNumberOfPorts());
        EXPECT_EQ(Fields(fd2->GetId(), fd2->GetIpV4Gateway(), fd2->GetPort(0)->GetIpV4(),
                         fd2->GetPort(0)->GetSlotPortNumber(),
                         ctl->GetFaultDomain(0)->GetPort(0)->GetConfigured()),
                  "2|10.30.2.1|10.30.2.11|2|1");
    }

    ASSERT_EQ(0, sim.Stop());
    auto events = sim.Events();
    auto rx = EventsOf(events, "rx", "HELLO_REQ");
    auto tx = EventsOf(events, "tx", "HELLO_RSP");
    ASSERT_EQ(Fields(rx.size(), tx.size()), "2|2");
    EXPECT_EQ(Fields(Column(rx, "dst"), JsonText(EntryValue(*rx[1], "LOCALIZATION_PARAMETER"))),
              "01:09:8a:00:00:01|01:09:8a:00:00:01|en_US");
    EXPECT_EQ(Row(*tx[1], {"src", "dst"}), "02:ce:5e:00:00:01|" + MacText(client.Mac()));
    EXPECT_EQ(Fields(JsonText(tx[0]->at("frames").at(0).at("wire")),
                     JsonText(EntryValue(*tx[0], "IPV4_MANAGEMENT_IP_ADDRESS"))),
              "1492|10.9.0.5");
    EXPECT_EQ(Row(events.back(), {"event", "reason"}), "stop|SIGTERM");
    EXPECT_NE(std::string::npos, sim.Stdout().find("HELLO_REQ v5 from " + MacText(client.Mac())));
}

// The step walk of the status polls and the password check's verdict are the road's network
// tests' to prove, through the wizard's own exchanges.
TEST_F(CellsimNetns, SetupWithThePasswordFromTheHelloKeyChangesWhatTheCellAnswers) {
    Cellsim sim(m_bed, Section("top", "02:ce:5e:00:00:01", "primary = true\n") +
                           Section("bottom", "02:ce:5e:00:00:02", ""));
    ASSERT_TRUE(sim.WaitReady()) << sim.Stderr();
    Client client;
    ASSERT_TRUE(client.Ok());

    HELLORequest hello(5);
    ASSERT_TRUE(client.Send(hello, nullptr));
    std::string key;
    for (const auto& m : client.Collect(PAYLOADHeader::HELLO_RSP, 3, 2))
        if (memcmp(m->msghdr.shost, kTop, 6) == 0)
            key = Hello(*m)->PublicKey;
    ASSERT_FALSE(key.empty());

    const std::string password = "Adm1n pa$$word \xc3\xa9";
    Bytes cipher = EncryptUnder(key, PasswordBlock(key, password));
    ASSERT_EQ(256u, cipher.size());
    SETUPRequest setup(5);
    const char mgmt[4] = {10, 2, 0, 5}, top[4] = {10, 2, 0, 6}, bottom[4] = {10, 2, 0, 7},
               mask[4] = {'\xff', '\xff', '\xff', 0}, gw[4] = {10, 2, 0, 1};
    setup.m_tlv.pushBackEntry(SETUPRequest::IPV4_MANAGEMENT_IP_ADDRESS, 4, mgmt);
    setup.m_tlv.pushBackEntry(SETUPRequest::TOP_CTRL_ETH0_IPV4_ADDRESS, 4, top);
    setup.m_tlv.pushBackEntry(SETUPRequest::TOP_CTRL_ETH0_IPV4_NETMASK, 4, mask);
    setup.m_tlv.pushBackEntry(SETUPRequest::TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY, 4, gw);
    setup.m_tlv.pushBackEntry(SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_ADDRESS, 4, bottom);
    setup.m_tlv.pushBackEntry(SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_DEFAULT_GATEWAY, 4, gw);
    setup.m_tlv.pushBackEntry(SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_NETMASK, 4, mask);
    setup.m_tlv.pushBackEntry(SETUPRequest::DEFAULT_USER_PASSWORD, 256,
                              reinterpret_cast<const char*>(cipher.data()));
    FAULTDomainDataWriter* fd = new FAULTDomainDataWriter();
    fd->SetId(1);
    fd->SetIpV4("10.40.1.0");
    PORTDataWriter* port = new PORTDataWriter();
    port->SetSlotPortNumber(3);
    port->SetIpV4("10.40.1.13");
    fd->AddPort(port);
    CONTROLLERPortDataWriter* ctl = new CONTROLLERPortDataWriter();
    ctl->AddFaultDomain(fd);
    SCPortConfigDataWriter tree;
    tree.AddController(ctl);
    tree.AddToTLV(setup.m_tlv, SETUPRequest::PORT_CONFIG_DATA);
    ASSERT_TRUE(client.Send(setup, kTop));
    EXPECT_EQ(0, client.SetupStatus(3));

    // Both controllers of the array now say they are initialized, with their addresses.
    HELLORequest again(5);
    ASSERT_TRUE(client.Send(again, nullptr));
    auto answers = client.Collect(PAYLOADHeader::HELLO_RSP, 3, 2);
    ASSERT_EQ(2u, answers.size());
    for (const auto& m : answers) {
        auto h = Hello(*m);
        EXPECT_TRUE(h->IsInitialized && h->IsIPConfigured) << h->HWSerialNumber;
        EXPECT_EQ(memcmp(m->msghdr.shost, kTop, 6) == 0 ? "10.2.0.6" : "10.2.0.7",
                  GetIpAddressStr(h->Eth0Ip4Address));
        EXPECT_EQ("10.2.0.5", GetIpAddressStr(h->MgmtIp4Address));
    }

    ASSERT_EQ(0, sim.Stop());
    auto events = sim.Events();
    auto rx = EventsOf(events, "rx", "SETUP_REQ");
    ASSERT_EQ(1u, rx.size());
    // The port tree as the simulator decodes it (the road's requests carry none).
    EXPECT_EQ("10.40.1.13",
              JsonText(EntryValue(*rx[0], "PORT_CONFIG_DATA")
                           .at(Json::json_pointer("/controllers/0/fault_domains/0/ports/0/ip"))));
    EXPECT_NE(std::string::npos, sim.Stdout().find("password ok"));
}
