// Helpers for the exchange tests: byte strings, TLV blocks and controller replies as the
// controller would put them on the wire.
#ifndef TESTS_LSWCONFIG4_EXCHANGEFRAMES_H
#define TESTS_LSWCONFIG4_EXCHANGEFRAMES_H

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/setupMessageHandler.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/tlvUtils.h"
#include "support/MemoryDevice.h"
#include "zelutil/ZelIpAddress.h"

namespace xchg {

using Bytes = std::vector<unsigned char>;

const u_char kWizardMac[6] = {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
const u_char kCtrlMacA[6] = {0x00, 0xC0, 0xDD, 0x01, 0x02, 0x0A};
const u_char kCtrlMacB[6] = {0x00, 0xC0, 0xDD, 0x01, 0x02, 0x0B};

// "01 09 8a ..." to bytes.
inline Bytes Hex(const std::string& text) {
    Bytes out;
    std::istringstream in(text);
    std::string byte;
    while (in >> byte)
        out.push_back(static_cast<unsigned char>(std::stoul(byte, nullptr, 16)));
    return out;
}

inline Bytes Cat(std::initializer_list<Bytes> parts) {
    Bytes out;
    for (const Bytes& p : parts)
        out.insert(out.end(), p.begin(), p.end());
    return out;
}

inline Bytes Str(const std::string& text) {
    return Bytes(text.begin(), text.end());
}

// A fault domain as discovery makes it from a record read off the wire.
inline std::shared_ptr<ClswFaultDomainConfigData> Domain(const Bytes& iWire) {
    FAULTDomainDataReader reader;
    EXPECT_TRUE(reader.UnpackData(reinterpret_cast<const char*>(iWire.data()), iWire.size()));
    auto domain = std::make_shared<ClswFaultDomainConfigData>();
    *domain = reader;
    return domain;
}

// An address from its text (which must parse), and back.
inline CZelIpAddress Ip(const char* text) {
    CZelIpAddress a;
    EXPECT_FALSE(ipStringToAddr(&a, text)) << text;
    return a;
}
inline std::string Text(const CZelIpAddress& a) {
    char buf[ZEL_IP_ADDRESS_STRING_SIZE];
    return ipAddrToString(&a, buf, sizeof(buf));
}

// One entry of a TLV block.
struct Entry {
    uint8_t type;
    Bytes value;
};

inline void Push(SETUPTlv& ioTlv, const std::vector<Entry>& iEntries) {
    for (const Entry& e : iEntries)
        ioTlv.pushBackEntry(e.type, static_cast<uint16_t>(e.value.size()),
                            reinterpret_cast<const char*>(e.value.data()));
}

// A received message as the message layer hands it over.
inline std::shared_ptr<SetupAPIMessage> Reply(u_short iOpcode, const std::vector<Entry>& iEntries,
                                              u_short iVersion = MESSAGE_VERSION_5,
                                              const u_char* iFrom = kCtrlMacA) {
    auto msg = std::make_shared<SetupAPIMessage>(iOpcode, iVersion);
    msg->msghdr.Reset(0, kWizardMac, iFrom);
    Push(msg->m_tlv, iEntries);
    return msg;
}

// The first frame of a reply from a controller to the wizard.
inline Bytes ReplyFrame(u_short iOpcode, const std::vector<Entry>& iEntries,
                        u_short iVersion = MESSAGE_VERSION_5, const u_char* iFrom = kCtrlMacA) {
    MEMORYDevice out(iFrom);
    SetupAPIMessageHandler().WriteSetupAPIMessage(out, *Reply(iOpcode, iEntries, iVersion, iFrom));
    return out.Sent().empty() ? Bytes() : out.Sent().front();
}

// A SETUP_RSP: its body is the one status byte.
inline Bytes SetupReplyFrame(u_char iStatus, u_short iVersion = MESSAGE_VERSION_5) {
    SETUPResponse resp(iVersion);
    resp.m_status = iStatus;
    resp.msghdr.Reset(0, kWizardMac, kCtrlMacA);
    MEMORYDevice out(kCtrlMacA);
    SetupAPIMessageHandler().WriteSetupResponseMessage(out, resp);
    return out.Sent().empty() ? Bytes() : out.Sent().front();
}

inline Bytes LE16(uint16_t v) {
    return Bytes{static_cast<unsigned char>(v), static_cast<unsigned char>(v >> 8)};
}

inline Bytes LE32(uint32_t v) {
    return Cat({LE16(static_cast<uint16_t>(v)), LE16(static_cast<uint16_t>(v >> 16))});
}

inline Bytes ToBytes(const std::vector<char>& v) {
    return Bytes(v.begin(), v.end());
}

}  // namespace xchg

#endif
