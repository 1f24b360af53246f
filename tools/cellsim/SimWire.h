#ifndef TOOLS_CELLSIM_SIMWIRE_H
#define TOOLS_CELLSIM_SIMWIRE_H

// The fault-injecting wire in front of the packet device. Every frame cellsim sends leaves
// through CSimWire::Flush; every frame it receives comes in through CSimResponder's read loop
// (SimResponder.cpp).

#include <cstddef>
#include <cstdint>
#include <vector>

#include "LSWConfig4/unix/Adapter.h"

// One frame as it left.
struct CSimFrameInfo {
    int packetId = 0;
    int packets = 0;
    int bodyLength = 0;  // what the payload header announces
    size_t wireLength = 0;
};

// A packet device in front of another that holds the frames of one reply, spoils their
// checksums if asked, and sends them on in order or last first.
class CSimWire : public DEVICEIoHandler {
public:
    CSimWire(DEVICEIoHandler& iDevice, bool iCorruptChecksum)
        : m_device(iDevice), m_corrupt(iCorruptChecksum) {}

    int Read(void* oBuf, uint32_t iCount, int iTimeout) override {
        return m_device.Read(oBuf, iCount, iTimeout);
    }
    int Write(const void* iBuf, uint32_t iCount) override;
    int Poll(int iTimeout) override { return m_device.Poll(iTimeout); }
    void getMacAddr(unsigned char* oMac) override { m_device.getMacAddr(oMac); }

    // Puts the held frames in the order they will go (last first if iReverse) and lists
    // them, so the reply can be recorded before it leaves.
    std::vector<CSimFrameInfo> Arrange(bool iReverse);
    // Sends what is held, in that order: the last Write result, or -1 when nothing was held.
    int Flush();
    size_t Held() const { return m_held.size(); }

private:
    DEVICEIoHandler& m_device;
    bool m_corrupt;
    std::vector<std::vector<unsigned char>> m_held;
};

#endif
