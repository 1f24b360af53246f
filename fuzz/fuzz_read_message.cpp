// Arbitrary frames, one or many, through the in-memory device into one message handler.
//
// Input: an options byte, then records of [length: 2 bytes BE][delay: 1 byte][frame bytes].
// Options: bit 0 skips the checksum, bit 1 reads through ReadSetupResponseMessage,
// bits 2-3 pick the timeout (-1, 1, 5 or 20 seconds). A record's delay is the seconds after
// the previous record that its frame arrives, so ageing and deadlines are reached too.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/setupMessageHandler.h"
#include "support/FuzzWalk.h"
#include "support/ManualClock.h"
#include "support/MemoryDevice.h"

const unsigned char kAdapterMac[6] = {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};

FUZZ_QUIET_START

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1)
        return 0;
    const uint8_t options = data[0];
    static const int kTimeouts[4] = {-1, 1, 5, 20};
    const int timeout = kTimeouts[(options >> 2) & 3];

    ManualClock clock;
    MEMORYDevice dev(kAdapterMac);
    size_t pos = 1, frames = 0;
    time_t at = ManualClock::Now();
    while (pos + 3 <= size) {
        size_t len = (static_cast<size_t>(data[pos]) << 8) | data[pos + 1];
        at += data[pos + 2];
        pos += 3;
        if (len > size - pos)
            len = size - pos;
        dev.QueueFrameAt(at, std::vector<unsigned char>(data + pos, data + pos + len));
        pos += len;
        ++frames;
    }

    SetupAPIMessageHandler handler;
    // Each read takes at least one frame, so this ends; the bound guards the harness alone.
    for (size_t round = 0; dev.Pending() > 0 && round <= frames; ++round) {
        if (options & 2) {
            std::shared_ptr<SETUPResponse> resp;
            auto result = handler.ReadSetupResponseMessage(dev, resp, timeout);
            FuzzCheck((result == SetupAPIMessageHandler::READ_SUCCESS) == static_cast<bool>(resp));
        } else {
            std::shared_ptr<SetupAPIMessage> msg;
            auto result = handler.ReadSetupAPIMessage(dev, msg, timeout, options & 1);
            FuzzCheck((result == SetupAPIMessageHandler::READ_SUCCESS) == static_cast<bool>(msg));
            if (msg) {
                WalkTlv(msg->m_tlv);
                unsigned char sum[4];
                msg->m_tlv.calculateChecksum(sum);
                // A message received can be sent on again without reading past its buffer.
                MEMORYDevice echo(kAdapterMac);
                echo.SetCapture(false);
                handler.WriteSetupAPIMessage(echo, *msg);
            }
        }
        FuzzCheck(handler.GetPartialMessages().size() <= frames);
    }
    return 0;
}
