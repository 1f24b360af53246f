#ifndef TOOLS_CELLSIM_SIMPCAP_H
#define TOOLS_CELLSIM_SIMPCAP_H

// A capture file of every frame cellsim received and sent, written with libpcap's own dump
// routines, so a run in the test bed leaves behind what Wireshark or tshark can open.

#include <pcap/pcap.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "LSWConfig4/unix/Adapter.h"

// One capture file shared by all controllers of a run: each controller answers from its own
// thread, so every frame is written and flushed under one lock, whole or not at all.
class CSimPcap {
public:
    // iSessions capture sessions share the interface. Null, with the reason in oError, when
    // the file cannot be made.
    static std::unique_ptr<CSimPcap> Open(const std::string& iPath, size_t iSessions,
                                          std::string& oError);
    ~CSimPcap();
    CSimPcap(const CSimPcap&) = delete;
    CSimPcap& operator=(const CSimPcap&) = delete;

    // iCaptured bytes of a frame that was iWireLength long, stamped now.
    void Sent(const void* iFrame, size_t iCaptured, size_t iWireLength);
    // The same for a frame one session read. Every session reads each discovery multicast:
    // the first to come records it, before its controller can answer, and the others pass.
    void Received(const void* iFrame, size_t iCaptured, size_t iWireLength);

private:
    CSimPcap(pcap_t* iDead, pcap_dumper_t* iDumper, size_t iSessions)
        : m_dead(iDead), m_dumper(iDumper), m_sessions(iSessions) {}
    void WriteLocked(const void* iFrame, size_t iCaptured, size_t iWireLength);

    struct Shared {
        std::vector<unsigned char> frame;
        size_t unread;  // sessions that have yet to read it
    };

    std::mutex m_lock;
    pcap_t* m_dead;
    pcap_dumper_t* m_dumper;
    size_t m_sessions;
    std::vector<Shared> m_shared;
};

// A controller's capture session that records what passes through it.
class CSimRecordingDevice : public CL2 {
public:
    CSimRecordingDevice(std::unique_ptr<CL2> iDevice, CSimPcap& iPcap)
        : m_device(std::move(iDevice)), m_pcap(iPcap) {}

    int Read(void* oBuf, uint32_t iCount, int iTimeout) override;
    int Write(const void* iBuf, uint32_t iCount) override;
    int Poll(int iTimeout) override { return m_device->Poll(iTimeout); }
    void getMacAddr(unsigned char* oMac) override { m_device->getMacAddr(oMac); }
    int setfilter(const unsigned char* iMcast, const unsigned char* iSnap) override {
        return m_device->setfilter(iMcast, iSnap);
    }
    void GetPcapStats() override { m_device->GetPcapStats(); }
    bool GetPcapStats(struct pcap_stat* oStats) override { return m_device->GetPcapStats(oStats); }

private:
    std::unique_ptr<CL2> m_device;
    CSimPcap& m_pcap;
};

#endif
