#ifndef TESTS_SUPPORT_MEMORYL2_H
#define TESTS_SUPPORT_MEMORYL2_H

#include <cstdint>
#include <deque>
#include <mutex>
#include <vector>

#include "LSWConfig4/unix/Adapter.h"

// A capture session in memory, for what opens its device through CL2::GetInterface (see
// CL2::SetOpener). It hands out the frames it was given, then waits out each read's timeout
// through ZelClock::Sleep and reports nothing; frames written are kept. Safe to use from the
// thread that opened it while others use theirs: it touches no shared clock state itself.
class MEMORYL2 : public CL2 {
public:
    MEMORYL2(const unsigned char* iMac, std::vector<std::vector<unsigned char>> iFrames);

    int Read(void* oBuf, uint32_t iCount, int iTimeout) override;
    int Write(const void* iBuf, uint32_t iCount) override;
    int Poll(int iTimeout) override;
    void getMacAddr(unsigned char* oMac) override;
    int setfilter(const unsigned char*, const unsigned char*) override { return 0; }
    void GetPcapStats() override {}
    bool GetPcapStats(struct pcap_stat*) override { return false; }

    size_t WriteCalls() const;

private:
    mutable std::mutex m_lock;
    unsigned char m_mac[6];
    std::deque<std::vector<unsigned char>> m_frames;
    size_t m_writeCalls = 0;
};

#endif
