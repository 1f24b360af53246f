// The simulated controllers' faults without a network, over an in-memory device: what each
// fault does to the replies and what the event log says of it. What the replies carry is
// proven on the wire (cellsim's and the layer-2 road's network tests).
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
#include "SimEventLog.h"
#include "SimKey.h"
#include "support/CellsimProcess.h"
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
        EXPECT_TRUE(ParseSimConfig(iIni, "t.ini", "", m_config, error)) << error;
        std::vector<std::unique_ptr<CSimRsaKey>> keys;
        for (size_t i = 0; i < m_config.controllers.size(); ++i) {
            keys.push_back(CSimRsaKey::Generate(error));
            EXPECT_TRUE(keys.back()) << error;
        }
        m_cell = std::make_unique<CSimCell>(m_config, std::move(keys));
        char path[] = "/tmp/cellsim-events-XXXXXX";
        close(mkstemp(path));
        m_logPath = path;
        m_log.SetQuiet(true);
        EXPECT_TRUE(m_log.Open(m_logPath, error)) << error;
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
    std::vector<Json> Events() const { return ReadEvents(m_logPath); }

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

std::string Controller(const std::string& iName, const std::string& iMac,
                       const std::string& iMore = "") {
    return CellsimSection(iName, iMac, "S-" + iName, "TAG", iMore);
}

}  // namespace

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
    // The wizard, reading it back through the message layer, refuses it.
    MEMORYDevice wiz(kWizMac);
    wiz.QueueFrame(f);
    std::shared_ptr<SetupAPIMessage> msg;
    EXPECT_EQ(SetupAPIMessageHandler::ERROR_CHECKSUM_FAILED,
              SetupAPIMessageHandler().ReadSetupAPIMessage(wiz, msg, 1, false));

    // An interface that refuses the frame: the reply is on record, and so is the refusal.
    HELLORequest refused(5);
    refused.msghdr.Reset(0, nullptr, kWizMac);
    MEMORYDevice broken(rig.Mac(3));
    broken.FailWritesFrom(0);
    rig.Controller(3).OnMessage(refused, broken);

    auto events = rig.Events();
    EXPECT_EQ(Column(EventsOf(events, "tx_error"), "controller"), "bad");
    EXPECT_EQ(events.at(events.size() - 2).at("event"), "tx");
    // The requests dropped (2 and 4) and left unanswered (3 and 4), counted per controller.
    EXPECT_EQ(Column(EventsOf(events, "drop"), "request") + " " +
                  Column(EventsOf(events, "silent"), "request"),
              "2|4 3|4");
    EXPECT_EQ(Column(EventsOf(events, "rx", "PREJOIN_REQ"), "recorded"), "true");
    auto spoiled = EventsOf(events, "tx", "HELLO_RSP");
    ASSERT_GE(spoiled.size(), 3u);
    EXPECT_EQ(spoiled[spoiled.size() - 2]->at("corrupt_checksum"), true);
    EXPECT_EQ(spoiled[spoiled.size() - 3]->at("delay_ms"), 250);
}

// The simulated controller's check of the password block, what the road's setup on the wire
// is held against: every refusal with its reason, and the longest and shortest passwords.
TEST(SimController, ThePasswordBlockHasItsExactForm) {
    const std::string pem = "-----BEGIN RSA PUBLIC KEY-----\nMIIB...";
    auto block = [&](const std::string& iPassword, size_t iAt = 0, unsigned char iByte = 0) {
        Bytes b(245, 0);
        memcpy(b.data(), pem.data(), 5);
        memcpy(b.data() + 5, iPassword.data(), iPassword.size());
        if (iAt)
            b[iAt] = iByte;
        return b;
    };
    const struct {
        Bytes block;
        std::string password;  // empty: refused
        std::string why;
    } rows[] = {
        {block(std::string(239, 'p')), std::string(239, 'p'), ""},
        {block("x"), "x", ""},
        {block("pw", 1, 'X'), "", "does not open with the first five characters"},
        {block(std::string(239, 'p'), 244, 'p'), "",
         "the password is 240 bytes; the block carries at most 239"},
        {block("ab", 9, 'c'), "", "byte 9 of the padding is not zero"},
        {block(""), "", "the block holds no password"},
        {Bytes(246, 0), "", "the block is 246 bytes, not 245"},
        {Bytes(200, 0), "", "the block is 200 bytes"},
    };
    for (const auto& r : rows) {
        CSimSecret s(r.block.size());
        memcpy(s.data(), r.block.data(), r.block.size());
        std::string password, why;
        EXPECT_EQ(SimCheckPasswordBlock(s, pem, password, why), !r.password.empty()) << r.why;
        EXPECT_TRUE(r.password.empty() ? why.find(r.why) != std::string::npos
                                       : password == r.password)
            << why << password;
    }
}
