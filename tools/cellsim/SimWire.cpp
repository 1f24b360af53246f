// The wire: holds a reply's frames, spoils or reorders them as the faults say, sends them.
#include "SimWire.h"

#include <algorithm>
#include <cstring>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/setupMessage.h"

int CSimWire::Write(const void* iBuf, uint32_t iCount) {
    if (!iBuf)
        return -1;
    const auto* b = static_cast<const unsigned char*>(iBuf);
    std::vector<unsigned char> frame(b, b + iCount);
    if (m_corrupt) {
        // The payload header stands behind the link header, four bytes later when tagged.
        size_t payload = (frame.size() >= 14 && GetBE16(&frame[12]) == ETHERTYPE_VLAN) ? 26 : 22;
        if (frame.size() >= payload + 12)
            for (size_t i = payload + 8; i < payload + 12; ++i)
                frame[i] ^= 0xFF;
    }
    m_held.push_back(std::move(frame));
    return static_cast<int>(iCount);
}

std::vector<CSimFrameInfo> CSimWire::Arrange(bool iReverse) {
    if (iReverse)
        std::reverse(m_held.begin(), m_held.end());
    std::vector<CSimFrameInfo> frames;
    for (const auto& frame : m_held) {
        CSimFrameInfo info;
        info.wireLength = frame.size();
        size_t payload = (frame.size() >= 14 && GetBE16(&frame[12]) == ETHERTYPE_VLAN) ? 26 : 22;
        if (frame.size() >= payload + 12) {
            info.bodyLength = GetBE16(&frame[payload + 4]);
            info.packets = frame[payload + 6];
            info.packetId = frame[payload + 7];
        }
        frames.push_back(info);
    }
    return frames;
}

int CSimWire::Flush() {
    int result = -1;
    for (const auto& frame : m_held) {
        result = m_device.Write(frame.data(), static_cast<uint32_t>(frame.size()));
        if (result <= 0)
            break;
    }
    m_held.clear();
    return result;
}
