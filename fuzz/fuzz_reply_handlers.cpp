// One received reply handed to the handler of the poll, disk information or blink exchange.
//
// Input: a byte that picks the exchange (low two bits) and the message version (bit 2: 4 or
// 5), a byte that, when odd, gives the reply another exchange's opcode, then the TLV block
// from its two-byte total length on, held in an allocation of exactly its size.
#include <cstddef>
#include <cstdint>
#include <memory>

#include "LSWConfig4/LSWDiscovery4.h"
#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/setupMsgV4.h"
#include "support/FuzzWalk.h"

FUZZ_QUIET_START

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4 || size - 2 > 0xFFFF)
        return 0;
    const unsigned which = data[0] & 3u;
    const u_short version = (data[0] & 4u) ? MESSAGE_VERSION_5 : MESSAGE_VERSION_4;
    const bool foreign = (data[1] & 1u) != 0;
    static const unsigned char kMac[6] = {0x00, 0xC0, 0xDD, 0x01, 0x02, 0x0A};
    const uint8_t* body = data + 2;
    const size_t length = size - 2;

    static const u_short kOpcodes[3] = {PAYLOADHeader::CONFIG_STATUS_RSP,
                                        PAYLOADHeader::DISK_CONFIG_RSP, PAYLOADHeader::BLINK_RSP};
    const u_short opcode = kOpcodes[(which + (foreign ? 1 : 0)) % 3];

    auto msg = std::make_shared<SetupAPIMessage>(opcode, version);
    msg->m_tlv = SETUPTlv(static_cast<uint32_t>(length));
    msg->m_tlv.appendTlvDataFromMessage(reinterpret_cast<const char*>(body),
                                        static_cast<uint16_t>(length));
    msg->msghdr.Reset(0, nullptr, kMac);

    switch (which % 3) {
        case 0: {
            CPollMsg poll(nullptr, nullptr, kMac);
            FuzzCheck(poll.packet_handler(msg) == 0);
            CONFIGURATIONStepReader& reader = poll.GetConfigurationStepReader();
            FuzzCheck(reader.GetNumberOfSteps() <= reader.GetSteps().size());
            FuzzCheck(poll.GetErrorMessageText().size() < length);
            FuzzCheck(poll.GetConfigurationStatusResponseCode() <= 0xFFFF);
            break;
        }
        case 1: {
            CDiskInfo disks(nullptr, nullptr, kMac);
            FuzzCheck(disks.packet_handler(msg) == 0);
            FuzzCheck(disks.GetErrorState() <= 0xFFFF || disks.GetErrorState() == 4294967295u);
            DISKConfigDataReader& plain = disks.GetDiskConfigDataReader();
            DISKConfigExtra1DataReader& extra = disks.GetDiskConfigExtra1DataReader();
            FuzzCheck(plain.GetNumberOfDisks() <= plain.GetDisks().size());
            FuzzCheck(extra.GetNumberOfDisks() <= extra.GetDisks().size());
            for (const auto& d : extra.GetDisks())
                FuzzCheck(d.diskclass.size() + d.product.size() + d.revision.size() < length);
            break;
        }
        default: {
            CBlink4 blink(nullptr, nullptr, kMac);
            int result = blink.packet_handler(msg);
            FuzzCheck(result == (foreign ? 1 : 0));
            FuzzCheck(blink.getBlinkValue() >= 0 && blink.getBlinkValue() <= 0xFFFF);
            break;
        }
    }
    return 0;
}
