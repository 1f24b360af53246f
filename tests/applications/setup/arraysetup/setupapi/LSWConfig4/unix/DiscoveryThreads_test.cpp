// The discovery fan-out: one thread per adapter, each with its own device, all tracing and
// pushing into the shared list at once. Over devices in memory, so it runs anywhere, and
// under ThreadSanitizer in CI.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "LSWConfig4/LSWConfigMgr.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/setupMessageHandler.h"
#include "LSWConfig4/setupMsgV4.h"
#include "support/MemoryDevice.h"
#include "support/MemoryL2.h"

namespace {

using Frame = std::vector<unsigned char>;
const int kAdapters = 8;

// 02:00:00:<side>:00:<adapter>, the adapter's side 0 and its controller's 1.
void Mac(unsigned char* oMac, int iAdapter, int iSide) {
    memcpy(oMac, "\x02\x00\x00\x00\x00\x00", 6);
    oMac[3] = static_cast<unsigned char>(iSide), oMac[5] = static_cast<unsigned char>(iAdapter);
}

// A version 5 Hello answer of a QB2000 controller, addressed to the adapter.
Frame HelloAnswer(int iAdapter, const std::string& iSerial) {
    SetupAPIMessage msg(PAYLOADHeader::HELLO_RSP, MESSAGE_VERSION_5);
    unsigned char adapter[6], controller[6];
    Mac(adapter, iAdapter, 0);
    Mac(controller, iAdapter, 1);
    msg.msghdr.Reset(0, adapter, controller);
    const char family[2] = {11, 0}, line[2] = {2, 0};
    msg.m_tlv.pushBackEntry(HELLOResponse::HARDWARE_SN, static_cast<uint16_t>(iSerial.size()),
                            iSerial.data());
    msg.m_tlv.pushBackEntry(HELLOResponse::PRODUCT_FAMILY, 2, family);
    msg.m_tlv.pushBackEntry(HELLOResponse::PRODUCT_LINE, 2, line);
    MEMORYDevice wire;
    SetupAPIMessageHandler handler;
    handler.WriteSetupAPIMessage(wire, msg);
    return wire.Sent().at(0);
}

// Filled before discovery starts and only read by its threads.
std::map<std::string, std::vector<Frame>> g_Answers;

CZelAdapter* EightAdapters() {
    CZelAdapter* head = nullptr;
    for (int i = kAdapters - 1; i >= 0; --i) {
        unsigned char mac[6];
        Mac(mac, i, 0);
        const std::string name = "mem" + std::to_string(i);
        auto* adapter = new CZelAdapter(mac, name.c_str(), name.c_str(), "in memory");
        adapter->m_next = head;
        head = adapter;
    }
    return head;
}

CL2* OpenInMemory(const unsigned char* iMac, const char* iPcapName, bool) {
    return new MEMORYL2(iMac, g_Answers.at(iPcapName));
}

TEST(DiscoveryThreads, EachAdapterInItsOwnThreadAndOneListAfter) {
    g_Answers.clear();
    std::set<std::string> expected = {"SN-SHARED"};
    for (int i = 0; i < kAdapters; ++i) {
        const std::string serial = "SN-" + std::to_string(i);
        g_Answers["mem" + std::to_string(i)].push_back(HelloAnswer(i, serial));
        expected.insert(serial);
    }
    // One controller heard on two adapters is listed once.
    for (int i : {0, 1})
        g_Answers["mem" + std::to_string(i)].push_back(HelloAnswer(i, "SN-SHARED"));

    CZelAdapter::SetSource(&EightAdapters);
    CL2::SetOpener(&OpenInMemory);
    std::vector<std::shared_ptr<IlswVesperController>> found;
    std::string message;
    long code;
    {
        CManager manager(1, 1, "");
        code = manager.DiscoverVesperControllers(found, message, false);
    }
    CL2::SetOpener(nullptr);
    CZelAdapter::SetSource(nullptr);

    EXPECT_EQ(code, 0);
    std::set<std::string> serials;
    for (const auto& c : found)
        serials.insert(c->getSerialNumber());
    EXPECT_EQ(serials, expected);
    EXPECT_EQ(found.size(), expected.size());
}

}  // namespace
