// The simulated controllers without a network: replies byte for byte, the password block,
// the step sequence, the disk lists, the faults and the event log, over an in-memory device.
#include "SimController.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/setupMessage.h"
#include "LSWConfig4/setupMessageHandler.h"
#include "SimConfig.h"
#include "SimDecode.h"
#include "SimEventLog.h"
#include "SimJson.h"
#include "SimKey.h"
#include "WizardSide.h"
#include "support/JsonLite.h"
#include "support/MemoryDevice.h"

namespace {

using Bytes = std::vector<unsigned char>;

const unsigned char kWizMac[6] = {0x02, 0xAA, 0xBB, 0xCC, 0xDD, 0x01};

// A cell made from INI text, with keys, an event log in a temporary file, and one
// controller object per section whose waits are recorded rather than slept.
class Rig {
public:
    explicit Rig(const std::string& iIni) {
        std::string error;
        if (!ParseSimConfig(iIni, "t.ini", "", m_config, error))
            ADD_FAILURE() << error;
        std::vector<std::unique_ptr<CSimRsaKey>> keys;
        for (size_t i = 0; i < m_config.controllers.size(); ++i) {
            keys.push_back(CSimRsaKey::Generate(error));
            if (!keys.back())
                ADD_FAILURE() << error;
        }
        m_cell = std::make_unique<CSimCell>(m_config, std::move(keys));
        char path[] = "/tmp/cellsim-events-XXXXXX";
        int fd = mkstemp(path);
        if (fd >= 0)
            close(fd);
        m_logPath = path;
        m_log.SetQuiet(true);
        if (!m_log.Open(m_logPath, error))
            ADD_FAILURE() << error;
        for (size_t i = 0; i < m_cell->Size(); ++i)
            m_controllers.push_back(
                std::make_unique<CSimController>(*m_cell, i, m_log, [this](unsigned iMs) {
                    m_waits.push_back(iMs);
                    return !m_stopping;
                }));
    }
    ~Rig() { unlink(m_logPath.c_str()); }

    CSimCell& Cell() { return *m_cell; }
    CSimController& Controller(size_t i) { return *m_controllers[i]; }
    const unsigned char* Mac(size_t i) const { return m_config.controllers[i].mac; }
    std::vector<JsonValue> Events() const { return ReadEvents(m_logPath); }

    // Sends iRequest from the wizard to controller i; the frames it answered with.
    std::vector<Bytes> Ask(size_t i, SetupAPIMessage& iRequest, bool iMulticast = false) {
        iRequest.msghdr.Reset(0, iMulticast ? nullptr : Mac(i), kWizMac);
        MEMORYDevice wire(Mac(i));
        Controller(i).OnMessage(iRequest, wire);
        return wire.Sent();
    }

    std::vector<unsigned> m_waits;
    bool m_stopping = false;

private:
    CSimConfig m_config;
    std::unique_ptr<CSimCell> m_cell;
    CSimEventLog m_log;
    std::string m_logPath;
    std::vector<std::unique_ptr<CSimController>> m_controllers;
};

// The wizard reading frames back through the message layer.
SetupAPIMessageHandler::ReadResult Receive(const std::vector<Bytes>& iFrames,
                                           std::shared_ptr<SetupAPIMessage>& oMessage) {
    MEMORYDevice wiz(kWizMac);
    for (const Bytes& f : iFrames)
        wiz.QueueFrame(f);
    SetupAPIMessageHandler handler;
    SetupAPIMessageHandler::ReadResult r = SetupAPIMessageHandler::ERROR_IOHANDLER_READ_PACKET;
    for (size_t i = 0; i < iFrames.size() && !oMessage; ++i)
        r = handler.ReadSetupAPIMessage(wiz, oMessage, 1, false);
    return r;
}

Bytes EntryBytes(const SETUPTlv& iTlv, int iCode) {
    for (SETUPTlvIterator it(iTlv); it.getType() != 0; it.next())
        if (it.getType() == iCode)
            return Bytes(it.getValue(), it.getValue() + it.getLen());
    return Bytes{0xEE, 0xEE, 0xEE};  // no such entry
}

std::string Controller(const std::string& iName, const std::string& iMac,
                       const std::string& iMore = "") {
    return "[controller " + iName + "]\nmac = " + iMac + "\nserial = S-" + iName +
           "\nservice_tag = TAG\n" + iMore;
}

const char kFullController[] = R"(
hardware_serial = HW-1
model = 13
family = 2
primary = true
canister = 1
model_number = 3020
management_ip = 10.1.2.3
eth0_ip = 10.1.2.10
eth0_netmask = 255.255.255.0
eth0_gateway = 10.1.2.1
primary_dns = 10.1.2.53
secondary_dns = 10.1.2.54
bmc_ip = 10.1.3.10
bmc_gateway = 10.1.3.1
bmc_netmask = 255.255.254.0
management_ipv6 = fd00::3
eth0_ipv6 = fd00::10
eth0_ipv6_prefix = 64
system_name = Cell One
domain_name = lab.example
ethernet_device = eth0
raid_level = RAID6
locale = en_US
software_version = 7.1.2
licensed_controllers = 2
iscsi_ports = 4
unified_block_file = true
vlan_id = 0x0102
dcb_on = true
status_error = 7
blink = 1
fault_domain = id=1 ip=10.20.1.0 netmask=255.255.255.0 gateway=10.20.1.1 transport=1 embedded=true
port = fd=1 slot=3 slot_port=1 ip=10.20.1.11 netmask=255.255.255.0 gateway=10.20.1.1 transport=1 configured=true network=2 status=1 location=4 controller_index=-1 card_model=5
port = fd=1 slot=3 slot_port=2
)";

}  // namespace

TEST(SimController, HelloCarriesEveryFieldInItsOwnByteOrder) {
    Rig rig("[cellsim]\ninterface=x\n" + Controller("top", "02:00:00:00:00:01", kFullController) +
            Controller("bare", "02:00:00:00:00:02"));
    const std::string& pem = rig.Cell().Key(0).PublicPem();
    EXPECT_EQ(0u, pem.find("-----BEGIN RSA PUBLIC KEY-----\n"));
    EXPECT_NE(std::string::npos, pem.find("\n-----END RSA PUBLIC KEY-----\n"));
    EXPECT_NE(pem, rig.Cell().Key(1).PublicPem()) << "each controller has its own key";

    auto hello = SimBuildHello(rig.Cell().Controller(0), rig.Cell().State(0), pem, 5);
    const SETUPTlv& t = hello->m_tlv;
    EXPECT_EQ(PAYLOADHeader::HELLO_RSP, hello->m_opcode);
    EXPECT_EQ((Bytes{0x03, 0x02, 0x01, 0x0A}), EntryBytes(t, 6));  // 10.1.2.3, reversed
    EXPECT_EQ((Bytes{0x35, 0x02, 0x01, 0x0A}), EntryBytes(t, 16));
    EXPECT_EQ((Bytes{0x00, 0xFE, 0xFF, 0xFF}), EntryBytes(t, 42));  // 255.255.254.0
    EXPECT_EQ((Bytes{0x0D, 0x00}), EntryBytes(t, 3));   // PRODUCT_FAMILY: the model, le16
    EXPECT_EQ((Bytes{0x02, 0x00}), EntryBytes(t, 22));  // PRODUCT_LINE: the family, le16
    EXPECT_EQ((Bytes{0x01, 0x02}), EntryBytes(t, 4));   // VLAN id, big-endian
    EXPECT_EQ((Bytes{0x00, 0x40}), EntryBytes(t, 13));  // prefix 64, big-endian
    EXPECT_EQ((Bytes{0xCC, 0x0B}), EntryBytes(t, 39));  // 3020, le16
    EXPECT_EQ((Bytes{0x07}), EntryBytes(t, 26));
    EXPECT_EQ((Bytes{0x01}), EntryBytes(t, 5));
    const uint16_t keyLen = static_cast<uint16_t>(pem.size());
    EXPECT_EQ((Bytes{static_cast<unsigned char>(keyLen), static_cast<unsigned char>(keyLen >> 8)}),
              EntryBytes(t, 18));
    EXPECT_EQ(Bytes(pem.begin(), pem.end()), EntryBytes(t, 19));
    Bytes fd = {
        0x01, 0x01,                                            // counts
        0x01, 0x0A, 0x14, 0x01, 0x00, 0xFF, 0xFF, 0xFF, 0x00,  // id, ip, mask
        0x0A, 0x14, 0x01, 0x01, 0x02, 0x01, 0x01,              // gw, ports, ...
        0x03, 0x0A, 0x14, 0x01, 0x0B, 0xFF, 0xFF, 0xFF, 0x00,  // port 1
        0x0A, 0x14, 0x01, 0x01, 0x01, 0x04, 0x01, 0x01, 0x00, 0x02, 0x01, 0xFF, 0xFF, 0xFF, 0xFF,
        0xFF, 0xFF, 0xFF, 0xFF, 0x05, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // port
                                                                                             // 2
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};  // 3 bytes of slack a
                                                                            // port
    EXPECT_EQ(fd, EntryBytes(t, 35));

    HelloFacts h = ReadHello(t);
    for (int code : {1,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21,
                     22, 23, 24, 25, 26, 27, 28, 30, 32, 34, 35, 36, 37, 38, 39, 40, 42, 44, 45})
        EXPECT_EQ(1, h.seen[code]) << "code " << code;
    EXPECT_EQ(39u, h.seen.size()) << "codes nobody reads are not sent";
    EXPECT_EQ("HW-1", h.hardwareSerial);
    EXPECT_EQ("fd00::3", h.mgmtIpv6);
    EXPECT_EQ("10.1.3.1", h.bmcRoute);
    EXPECT_EQ("Cell One", h.systemName);
    EXPECT_EQ("en_US", h.locale);
    EXPECT_EQ(1, h.blink);
    EXPECT_EQ(7, h.statusError);
    EXPECT_TRUE(h.primary && h.unified && h.dcb);
    EXPECT_FALSE(h.initialized || h.ipConfigured);

    // A bare controller leaves out what it does not know, and still says who it is.
    auto bare = SimBuildHello(rig.Cell().Controller(1), rig.Cell().State(1),
                              rig.Cell().Key(1).PublicPem(), 4);
    HelloFacts b = ReadHello(bare->m_tlv);
    for (int code : {1, 3, 7, 18, 19, 20, 21, 22, 23, 26, 27, 28, 34, 36, 37, 38, 39, 40})
        EXPECT_EQ(1, b.seen[code]) << "code " << code;
    EXPECT_EQ(18u, b.seen.size());
    EXPECT_EQ(11, b.productVersion);
    EXPECT_EQ("S-bare", b.hardwareSerial);
    EXPECT_LE(bare->m_tlv.getTlvBytesUsed(), TARGET_PAYLOAD_SIZE);
}

TEST(SimController, AnswersEachVersionItSpeaksAndIgnoresTheOther) {
    Rig rig("[cellsim]\ninterface=x\n" + Controller("top", "02:00:00:00:00:01") +
            Controller("old", "02:00:00:00:00:02", "versions = 4\n"));

    HELLORequest v5(5);
    auto frames = rig.Ask(0, v5, /*multicast*/ true);
    ASSERT_EQ(1u, frames.size());
    const Bytes& f = frames[0];
    EXPECT_EQ(Bytes(kWizMac, kWizMac + 6), Bytes(f.begin(), f.begin() + 6));
    EXPECT_EQ(Bytes(rig.Mac(0), rig.Mac(0) + 6), Bytes(f.begin() + 6, f.begin() + 12));
    EXPECT_EQ((Bytes{0x00, 0x05, 0x00, 0x02}), Bytes(f.begin() + 22, f.begin() + 26));
    std::shared_ptr<SetupAPIMessage> msg;
    ASSERT_EQ(SetupAPIMessageHandler::READ_SUCCESS, Receive(frames, msg));  // checksum good
    EXPECT_EQ("S-top", ReadHello(msg->m_tlv).hardwareSerial);

    HELLORequest v4(4);
    frames = rig.Ask(0, v4, true);
    ASSERT_EQ(1u, frames.size());
    EXPECT_EQ(1492u, frames[0].size());
    EXPECT_EQ((Bytes{0x00, 0x04, 0x00, 0x02}),
              Bytes(frames[0].begin() + 22, frames[0].begin() + 26));

    HELLORequest old5(5);
    EXPECT_TRUE(rig.Ask(1, old5, true).empty());
    HELLORequest old4(4);
    EXPECT_EQ(1u, rig.Ask(1, old4, true).size());

    auto events = rig.Events();
    auto rx = EventsOf(events, "rx", "HELLO_REQ");
    ASSERT_EQ(4u, rx.size());
    EXPECT_EQ("02:aa:bb:cc:dd:01", (*rx[0])["src"].Str());
    EXPECT_EQ("01:09:8a:00:00:01", (*rx[0])["dst"].Str());
    EXPECT_EQ(5, (*rx[0])["version"].Int());
    EXPECT_EQ("old", (*rx[2])["controller"].Str());
    EXPECT_FALSE((*rx[2])["answered"].boolean);
    EXPECT_EQ("version 5 not spoken", (*rx[2])["reason"].Str());
    auto tx = EventsOf(events, "tx", "HELLO_RSP");
    ASSERT_EQ(3u, tx.size());
    EXPECT_EQ(4, (*tx[1])["version"].Int());
    EXPECT_TRUE(EntryValue(*tx[0], "IPV4_MANAGEMENT_IP_ADDRESS").IsNull())
        << "not configured, not sent";
    EXPECT_EQ("S-top", EntryValue(*tx[0], "HARDWARE_SN").Str());
    EXPECT_EQ(1, (*tx[0])["frames"].Size());
    for (const auto& e : events)
        EXPECT_FALSE(e.Has("unparsed")) << e["unparsed"].Str();
}

TEST(SimController, SetupDecryptsAndChecksThePasswordAndConfiguresThePair) {
    Rig rig(
        "[cellsim]\ninterface=x\n" +
        Controller("top", "02:00:00:00:00:01", "primary = true\npassword_failure_status = 9\n") +
        Controller("bottom", "02:00:00:00:00:02") +
        "[controller other]\nmac=02:00:00:00:00:03\nserial=X\nservice_tag=ELSEWHERE\n");
    const std::string pem = rig.Cell().Key(0).PublicPem();
    auto request = [&](const Bytes& iCipher) {
        auto r = std::make_unique<SETUPRequest>(5);
        const char mgmt[4] = {10, 1, 0, 5}, top[4] = {10, 1, 0, 6},
                   mask[4] = {'\xff', '\xff', '\xff', 0}, gw[4] = {10, 1, 0, 1},
                   bottom[4] = {10, 1, 0, 7}, dns[4] = {10, 1, 0, 53};
        r->m_tlv.pushBackEntry(SETUPRequest::IPV4_MANAGEMENT_IP_ADDRESS, 4, mgmt);
        r->m_tlv.pushBackEntry(SETUPRequest::TOP_CTRL_ETH0_IPV4_ADDRESS, 4, top);
        r->m_tlv.pushBackEntry(SETUPRequest::TOP_CTRL_ETH0_IPV4_NETMASK, 4, mask);
        r->m_tlv.pushBackEntry(SETUPRequest::TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY, 4, gw);
        r->m_tlv.pushBackEntry(SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_ADDRESS, 4, bottom);
        r->m_tlv.pushBackEntry(SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_DEFAULT_GATEWAY, 4, gw);
        r->m_tlv.pushBackEntry(SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_NETMASK, 4, mask);
        r->m_tlv.pushBackEntry(SETUPRequest::DOMAIN_NAME, 11, "lab.example");
        r->m_tlv.pushBackEntry(SETUPRequest::PRIMARY_DNS_SERVER, 4, dns);
        if (!iCipher.empty())
            r->m_tlv.pushBackEntry(SETUPRequest::DEFAULT_USER_PASSWORD,
                                   static_cast<uint16_t>(iCipher.size()),
                                   reinterpret_cast<const char*>(iCipher.data()));
        r->m_tlv.pushBackEntry(SETUPRequest::STORAGECELL_NAME, 7, "Cell 42");
        return r;
    };
    auto statusOf = [](const std::vector<Bytes>& iFrames) {
        // One frame of 68 bytes whose body is the status byte and padding.
        if (iFrames.size() != 1 || iFrames[0].size() != 68)
            return -1;
        return static_cast<int>(iFrames[0][34]);
    };

    // Refused blocks first: none of them configures anything.
    Bytes garbage(256, 0x5A);
    const Bytes bad[] = {EncryptUnder(pem, PasswordBlock(pem, "pw", BlockFault::WrongPrefix)),
                         EncryptUnder(pem, PasswordBlock(pem, "pw", BlockFault::DirtyPadding)),
                         EncryptUnder(pem, PasswordBlock(pem, "pw", BlockFault::ShortBlock)),
                         EncryptUnder(pem, PasswordBlock(pem, "")), garbage};
    for (const Bytes& cipher : bad) {
        ASSERT_FALSE(cipher.empty());
        auto r = request(cipher);
        EXPECT_EQ(9, statusOf(rig.Ask(0, *r)));
    }
    EXPECT_FALSE(rig.Cell().State(0).initialized || rig.Cell().State(1).initialized);

    // A good one, with a password that needs escaping in the log.
    const std::string password = "S3cret \"quoted\" \\ back\tslash";
    auto good = request(EncryptUnder(pem, PasswordBlock(pem, password)));
    std::vector<Bytes> frames = rig.Ask(0, *good);
    EXPECT_EQ(0, statusOf(frames));
    EXPECT_EQ((Bytes{0x00, 0x05, 0x00, 0x06, 0x00, 0x22, 0x01, 0x01}),
              Bytes(frames[0].begin() + 22, frames[0].begin() + 30));

    CSimControllerState top = rig.Cell().State(0), bottom = rig.Cell().State(1);
    EXPECT_TRUE(top.initialized && top.ipConfigured && bottom.initialized && bottom.ipConfigured);
    EXPECT_EQ((SimIPv4{10, 1, 0, 6}), *top.eth0Ip);
    EXPECT_EQ((SimIPv4{10, 1, 0, 7}), *bottom.eth0Ip);
    EXPECT_EQ((SimIPv4{10, 1, 0, 5}), *bottom.managementIp);
    EXPECT_EQ("Cell 42", bottom.systemName);
    EXPECT_FALSE(rig.Cell().State(2).initialized) << "another array is not touched";
    // Later Hello replies say so.
    HELLORequest hello(5);
    std::shared_ptr<SetupAPIMessage> msg;
    ASSERT_EQ(SetupAPIMessageHandler::READ_SUCCESS, Receive(rig.Ask(1, hello, true), msg));
    HelloFacts h = ReadHello(msg->m_tlv);
    EXPECT_TRUE(h.initialized && h.ipConfigured);
    EXPECT_EQ("10.1.0.7", h.eth0Ip);
    EXPECT_EQ("lab.example", h.domainName);

    // No password at all is no failure.
    auto none = request(Bytes());
    EXPECT_EQ(0, statusOf(rig.Ask(0, *none)));

    const auto events = rig.Events();
    auto rx = EventsOf(events, "rx", "SETUP_REQ");
    ASSERT_EQ(7u, rx.size());
    const char* why[] = {"does not open with the first five characters",
                         "byte 244 of the padding is not zero", "the block is 200 bytes",
                         "the block holds no password", "decryption failed"};
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE((*rx[i])["password"].IsNull());
        EXPECT_NE(std::string::npos, (*rx[i])["password_check"].Str().find(why[i]))
            << (*rx[i])["password_check"].Str();
        EXPECT_EQ(9, (*rx[i])["setup_status"].Int());
    }
    EXPECT_EQ(password, (*rx[5])["password"].Str());
    EXPECT_EQ("ok", (*rx[5])["password_check"].Str());
    EXPECT_EQ(0, (*rx[5])["setup_status"].Int());
    ASSERT_EQ(2u, (*rx[5])["configured"].Size());
    EXPECT_EQ("bottom", (*rx[5])["configured"][1].Str());
    EXPECT_EQ("10.1.0.7", EntryValue(*rx[5], "BOTTOM_CTRL_ETH0_IPV4_ADDRESS").Str());
    EXPECT_EQ(512u, EntryValue(*rx[5], "DEFAULT_USER_PASSWORD").Str().size());
    EXPECT_EQ("absent", (*rx[6])["password_check"].Str());
    auto tx = EventsOf(events, "tx", "SETUP_RSP");
    ASSERT_EQ(7u, tx.size());
    EXPECT_EQ(0, (*tx[5])["status"].Int());
}

TEST(SimController, ThePasswordBlockHasItsExactForm) {
    const std::string pem = "-----BEGIN RSA PUBLIC KEY-----\nMIIB...";
    std::string password, why;
    auto check = [&](const Bytes& iBlock) {
        CSimSecret s(iBlock.size());
        if (!iBlock.empty())
            memcpy(s.data(), iBlock.data(), iBlock.size());
        return SimCheckPasswordBlock(s, pem, password, why);
    };
    std::string longest(239, 'p');
    EXPECT_TRUE(check(PasswordBlock(pem, longest)));
    EXPECT_EQ(longest, password);
    Bytes full = PasswordBlock(pem, longest);
    full[244] = 'p';  // 240 bytes of password leave no terminator
    EXPECT_FALSE(check(full));
    EXPECT_EQ("the password is 240 bytes; the block carries at most 239", why);
    Bytes gap = PasswordBlock(pem, "ab");
    gap[9] = 'c';  // a byte behind the terminator
    EXPECT_FALSE(check(gap));
    EXPECT_EQ("byte 9 of the padding is not zero", why);
    EXPECT_FALSE(check(Bytes(246, 0)));
    EXPECT_EQ("the block is 246 bytes, not 245", why);
    EXPECT_TRUE(check(PasswordBlock(pem, "x")));
    EXPECT_EQ("x", password);
}

TEST(SimController, StatusPollsWalkTheStepListsStayOnTheLastAndRestartAfterASetup) {
    Rig rig(
        "[cellsim]\ninterface=x\n" +
        Controller("top", "02:00:00:00:00:01",
                   "steps = SubmitLicense:InProgress EulaAccept:ConfiguredNotRun\n"
                   "steps = SubmitLicense:Complete EulaAccept:Failed\n"
                   "steps = SubmitLicense:Complete EulaAccept:Complete\n"
                   "step_error = EULA refused\nstatus_code = 3\norchestrator_state = 0x0102\n"));
    std::vector<Bytes> lists;
    std::vector<std::string> errors;
    auto poll = [&] {
        CONFIGURATIONStatusRequest r(5);
        std::shared_ptr<SetupAPIMessage> msg;
        EXPECT_EQ(SetupAPIMessageHandler::READ_SUCCESS, Receive(rig.Ask(0, r), msg));
        if (!msg)
            return;
        EXPECT_EQ((Bytes{0x03, 0x00}), EntryBytes(msg->m_tlv, 1));
        EXPECT_EQ((Bytes{0x02, 0x01}), EntryBytes(msg->m_tlv, 4));
        lists.push_back(EntryBytes(msg->m_tlv, 3));
        Bytes e = EntryBytes(msg->m_tlv, 2);
        errors.push_back(e == Bytes{0xEE, 0xEE, 0xEE} ? "" : std::string(e.begin(), e.end()));
    };
    for (int i = 0; i < 5; ++i)
        poll();
    const Bytes first = {0x02, 0x00, 0x00, 0x00, 0x01, 0x01, 0x02, 0x02};
    const Bytes second = {0x02, 0x00, 0x00, 0x00, 0x01, 0x00, 0x02, 0x03};
    const Bytes last = {0x02, 0x00, 0x00, 0x00, 0x01, 0x00, 0x02, 0x00};
    EXPECT_EQ((std::vector<Bytes>{first, second, last, last, last}), lists);
    EXPECT_EQ((std::vector<std::string>{"", "EULA refused", "", "", ""}), errors);

    SETUPRequest setup(5);
    rig.Ask(0, setup);
    poll();
    EXPECT_EQ(first, lists.back());

    const auto events = rig.Events();
    auto tx = EventsOf(events, "tx", "CONFIG_STATUS_RSP");
    ASSERT_EQ(6u, tx.size());
    EXPECT_EQ(2, (*tx[1])["poll"].Int());
    EXPECT_EQ(3, (*tx[4])["poll"].Int());
    const JsonValue& steps = EntryValue(*tx[1], "CONFIGURATION_STEPS");
    ASSERT_EQ(2u, steps.Size());
    EXPECT_EQ("EulaAccept", steps[1]["step"].Str());
    EXPECT_EQ("Failed", steps[1]["state"].Str());
    EXPECT_EQ("EULA refused", EntryValue(*tx[1], "ERROR_MESSAGE_TEXT").Str());
}

TEST(SimController, DiskListsSpanFramesInVersion5AndAreCutToOneFrameInVersion4) {
    Rig rig("[cellsim]\ninterface=x\n" +
            Controller("top", "02:00:00:00:00:01",
                       "disk = enclosure=9 position=8 status=7 class=NL-SAS product=\"Big One\" "
                       "revision=Z9 size=12000138625024 healthy=false\n"
                       "disk_count = 199\nreverse_fragments = false\n") +
            Controller("rev", "02:00:00:00:00:02", "disk_count = 200\nreverse_fragments = true\n"));
    const CSimControllerConfig& c = rig.Cell().Controller(0);
    const size_t bytes = SimDiskReplyBytes(c, 200);

    DISKConfigurationRequest r5(5);
    std::vector<Bytes> frames = rig.Ask(0, r5);
    const size_t expectedFrames = (bytes + 1469) / 1470;
    ASSERT_GT(expectedFrames, 1u);
    ASSERT_EQ(expectedFrames, frames.size());
    for (size_t i = 0; i < frames.size(); ++i) {
        EXPECT_EQ(1492u, frames[i].size());
        EXPECT_EQ(expectedFrames, frames[i][28]);
        EXPECT_EQ(i + 1, frames[i][29]);
    }
    std::shared_ptr<SetupAPIMessage> msg;
    ASSERT_EQ(SetupAPIMessageHandler::READ_SUCCESS, Receive(frames, msg));
    DISKConfigDataReader plain;
    DISKConfigExtra1DataReader extended;
    Bytes p = EntryBytes(msg->m_tlv, 2), x = EntryBytes(msg->m_tlv, 3);
    ASSERT_TRUE(plain.UnpackData(reinterpret_cast<const char*>(p.data()), p.size()));
    ASSERT_TRUE(extended.UnpackData(reinterpret_cast<const char*>(x.data()), x.size()));
    ASSERT_EQ(200u, plain.GetNumberOfDisks());
    ASSERT_EQ(200u, extended.GetNumberOfDisks());
    EXPECT_EQ(9, plain.GetDisks()[0].enclosureIndex);
    EXPECT_EQ(7, plain.GetDisks()[0].diskStatus);
    EXPECT_EQ("Big One", extended.GetDisks()[0].product);
    EXPECT_EQ(12000138625024LL, extended.GetDisks()[0].disksize);
    EXPECT_EQ(8, plain.GetDisks()[199].enclosureIndex);  // made-up disk 198: shelf 8, slot 6
    EXPECT_EQ(6, plain.GetDisks()[199].enclosurePosition);
    EXPECT_EQ("SIM-HDD-4T", extended.GetDisks()[199].product);

    // Version 4: one frame of 1492 bytes with as many disks as fit its 1458 bytes of body.
    DISKConfigurationRequest r4(4);
    frames = rig.Ask(0, r4);
    ASSERT_EQ(1u, frames.size());
    EXPECT_EQ(1492u, frames[0].size());
    size_t fit = 0;
    while (SimDiskReplyBytes(c, fit + 1) <= TARGET_PAYLOAD_SIZE)
        ++fit;
    msg.reset();
    ASSERT_EQ(SetupAPIMessageHandler::READ_SUCCESS, Receive(frames, msg));
    DISKConfigDataReader plain4;
    p = EntryBytes(msg->m_tlv, 2);
    ASSERT_TRUE(plain4.UnpackData(reinterpret_cast<const char*>(p.data()), p.size()));
    EXPECT_EQ(fit, plain4.GetNumberOfDisks());
    EXPECT_GT(fit, 10u);

    // Last frame first: the wizard puts them together all the same.
    DISKConfigurationRequest rr(5);
    frames = rig.Ask(1, rr);
    ASSERT_EQ(expectedFrames, frames.size());
    for (size_t i = 0; i < frames.size(); ++i)
        EXPECT_EQ(frames.size() - i, frames[i][29]);
    msg.reset();
    ASSERT_EQ(SetupAPIMessageHandler::READ_SUCCESS, Receive(frames, msg));

    const auto events = rig.Events();
    auto tx = EventsOf(events, "tx", "DISK_CONFIG_RSP");
    ASSERT_EQ(3u, tx.size());
    EXPECT_EQ(200, (*tx[0])["disks"].Int());
    EXPECT_EQ(static_cast<long long>(bytes), (*tx[0])["bytes"].Int());
    EXPECT_FALSE((*tx[0]).Has("lost_tail_bytes"));
    EXPECT_EQ(static_cast<long long>(fit), (*tx[1])["disks"].Int());
    EXPECT_EQ(200, (*tx[1])["disks_configured"].Int());
    EXPECT_TRUE((*tx[2])["reverse_fragments"].boolean);
    EXPECT_EQ(static_cast<long long>(expectedFrames), (*tx[2])["frames"][0]["id"].Int());
    EXPECT_EQ(200u, EntryValue(*tx[0], "DISK_CONFIG_EXTRA1_DATA").Size());
}

TEST(SimController, FaultsDropDelaySpoilAndSilenceReplies) {
    Rig rig("[cellsim]\ninterface=x\n" +
            Controller("drop", "02:00:00:00:00:01", "drop_every = 2\n") +
            Controller("mute", "02:00:00:00:00:02", "answer_first = 2\n") +
            Controller("slow", "02:00:00:00:00:03", "delay_ms = 250\n") +
            Controller("bad", "02:00:00:00:00:04", "corrupt_checksum = true\n"));
    std::vector<size_t> sent;
    for (int i = 0; i < 4; ++i) {
        BLINKRequest r(5);
        sent.push_back(rig.Ask(0, r).size());
    }
    EXPECT_EQ((std::vector<size_t>{1, 0, 1, 0}), sent);

    sent.clear();
    PREJOINRequest pj(5);
    EXPECT_TRUE(rig.Ask(1, pj).empty());  // no reply, and it does not count
    for (int i = 0; i < 4; ++i) {
        HELLORequest r(5);
        sent.push_back(rig.Ask(1, r, true).size());
    }
    EXPECT_EQ((std::vector<size_t>{1, 1, 0, 0}), sent);
    EXPECT_TRUE(rig.Cell().State(1).prejoined);

    HELLORequest slow(5);
    EXPECT_EQ(1u, rig.Ask(2, slow, true).size());
    EXPECT_EQ((std::vector<unsigned>{250}), rig.m_waits);
    rig.m_stopping = true;  // a stop during the wait: nothing goes out
    EXPECT_TRUE(rig.Ask(2, slow, true).empty());

    HELLORequest bad(5);
    std::vector<Bytes> frames = rig.Ask(3, bad, true);
    ASSERT_EQ(1u, frames.size());
    const Bytes& f = frames[0];
    const uint16_t used = static_cast<uint16_t>((f[34] << 8) | f[35]);
    unsigned char good[4];
    SHA256CheckSum::generateChecksum(reinterpret_cast<const char*>(&f[34]), used, good);
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(static_cast<unsigned char>(~good[i]), f[30 + i]);
    std::shared_ptr<SetupAPIMessage> msg;
    EXPECT_EQ(SetupAPIMessageHandler::ERROR_CHECKSUM_FAILED, Receive(frames, msg));

    // An interface that refuses the frame: the reply is on record, and so is the refusal.
    HELLORequest refused(5);
    refused.msghdr.Reset(0, nullptr, kWizMac);
    MEMORYDevice broken(rig.Mac(3));
    broken.FailWritesFrom(0);
    rig.Controller(3).OnMessage(refused, broken);

    auto events = rig.Events();
    auto failures = EventsOf(events, "tx_error");
    ASSERT_EQ(1u, failures.size());
    EXPECT_EQ("bad", (*failures[0])["controller"].Str());
    EXPECT_EQ("tx", events[events.size() - 2]["event"].Str());
    auto drops = EventsOf(events, "drop");
    ASSERT_EQ(2u, drops.size());
    EXPECT_EQ(2, (*drops[0])["request"].Int());
    EXPECT_EQ(4, (*drops[1])["request"].Int());
    auto silent = EventsOf(events, "silent");
    ASSERT_EQ(2u, silent.size());
    EXPECT_EQ(3, (*silent[0])["request"].Int());
    auto prejoin = EventsOf(events, "rx", "PREJOIN_REQ");
    ASSERT_EQ(1u, prejoin.size());
    EXPECT_TRUE((*prejoin[0])["recorded"].boolean);
    auto spoiled = EventsOf(events, "tx", "HELLO_RSP");
    ASSERT_FALSE(spoiled.empty());
    ASSERT_GE(spoiled.size(), 3u);
    EXPECT_TRUE((*spoiled[spoiled.size() - 2])["corrupt_checksum"].boolean);
    EXPECT_EQ(250, (*spoiled[spoiled.size() - 3])["delay_ms"].Int());
}

TEST(SimController, BlinkAnswersWithStatusAndValueAndMayFollowTheCommand) {
    Rig rig("[cellsim]\ninterface=x\n" +
            Controller("fixed", "02:00:00:00:00:01", "blink = 2\nblink_status = 0x01020304\n") +
            Controller("follow", "02:00:00:00:00:02", "blink_follows_command = true\n"));
    auto blink = [&](size_t i, char iCommand) {
        BLINKRequest r(4);
        r.m_tlv.pushBackEntry(BLINKRequest::BLINK_REQUEST_STATUS, 1, &iCommand);
        std::shared_ptr<SetupAPIMessage> msg;
        EXPECT_EQ(SetupAPIMessageHandler::READ_SUCCESS, Receive(rig.Ask(i, r), msg));
        return msg ? std::make_pair(EntryBytes(msg->m_tlv, 1), EntryBytes(msg->m_tlv, 2))
                   : std::make_pair(Bytes(), Bytes());
    };
    auto r = blink(0, 1);
    EXPECT_EQ((Bytes{0x04, 0x03, 0x02, 0x01}), r.first);  // four bytes, little-endian
    EXPECT_EQ((Bytes{0x02, 0x00}), r.second);
    EXPECT_EQ((Bytes{0x01, 0x00}), blink(1, 1).second);
    EXPECT_EQ((Bytes{0x00, 0x00}), blink(1, 0).second);
    const auto events = rig.Events();
    auto rx = EventsOf(events, "rx", "BLINK_REQ");
    ASSERT_EQ(3u, rx.size());
    EXPECT_EQ(1, (*rx[0])["command"].Int());
    EXPECT_EQ(1, EntryValue(*rx[0], "BLINK_REQUEST_STATUS").Int());
}

TEST(SimJson, AnyBytesMakeValidJsonThatReadsBack) {
    struct Case {
        std::string in;
        std::string out;  // what a JSON reader gives back
    };
    const Case cases[] = {
        {"plain", "plain"},
        {"q\"b\\s/", "q\"b\\s/"},
        {"\n\r\t\x01\x1f\x7f", "\n\r\t\x01\x1f\x7f"},
        {"caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x94\x91", "caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x94\x91"},
        {"\xff", "\xc3\xbf"},                          // a lone byte reads as Latin-1
        {"\xe2\x82", "\xc3\xa2\xc2\x82"},              // a sequence cut short
        {"\xc0\xaf", "\xc3\x80\xc2\xaf"},              // an overlong form
        {"\xed\xa0\x80", "\xc3\xad\xc2\xa0\xc2\x80"},  // a surrogate
        {std::string("nul\0byte", 8), std::string("nul\0byte", 8)},
    };
    for (const Case& c : cases) {
        std::string json = SimJsonString(c.in);
        JsonValue v;
        ASSERT_TRUE(JsonReader::Parse(json, v)) << json;
        EXPECT_EQ(c.out, v.Str()) << json;
    }
    JsonValue v;
    ASSERT_TRUE(JsonReader::Parse(CSimJsonObject()
                                      .Str("a", "x")
                                      .Int("n", -5)
                                      .Merge(CSimJsonObject().Bool("b", true).Null("z"))
                                      .Raw("arr", CSimJsonArray().AddInt(1).AddInt(2).Text())
                                      .Raw("hex", SimJsonHex("\x00\xab", 2))
                                      .Text(),
                                  v));
    EXPECT_EQ(-5, v["n"].Int());
    EXPECT_TRUE(v["b"].boolean);
    EXPECT_TRUE(v["z"].IsNull());
    EXPECT_EQ(2u, v["arr"].Size());
    EXPECT_EQ("00ab", v["hex"].Str());
}

TEST(SimDecode, EntriesAreNamedByTheirMessageAndShortValuesAreMarked) {
    SETUPTlv t(1470);
    t.pushBackEntry(6, 3, "\x01\x02\x03");      // an address one byte short
    t.pushBackEntry(8, 4, "\x04\x03\x02\x01");  // reversed in a Hello response
    t.pushBackEntry(99, 2, "\xbe\xef");         // no such code
    t.pushBackEntry(35, 2, "\x01\x05");         // counts with nothing behind
    JsonValue v;
    ASSERT_TRUE(JsonReader::Parse(SimDecodeEntries(PAYLOADHeader::HELLO_RSP, t), v));
    ASSERT_EQ(4u, v.Size());
    EXPECT_EQ("IPV4_MANAGEMENT_IP_ADDRESS", v[0]["name"].Str());
    EXPECT_TRUE(v[0]["malformed"].boolean);
    EXPECT_EQ("010203", v[0]["hex"].Str());
    EXPECT_EQ("1.2.3.4", v[1]["value"].Str());
    EXPECT_FALSE(v[2].Has("name"));
    EXPECT_EQ("beef", v[2]["hex"].Str());
    EXPECT_TRUE(v[3]["malformed"].boolean);

    // The same code means something else in another message: 8 of a setup request is an
    // IPv6 address.
    v = JsonValue();
    ASSERT_TRUE(JsonReader::Parse(SimDecodeEntries(PAYLOADHeader::SETUP_REQ, t), v));
    EXPECT_EQ("TOP_CTRL_ETH0_IPV6_ADDRESS", v[1]["name"].Str());
    EXPECT_TRUE(v[1]["malformed"].boolean);
    EXPECT_EQ("HELLO_REQ", SimOpcodeName(1));
    EXPECT_EQ("OPCODE_7", SimOpcodeName(7));
}
