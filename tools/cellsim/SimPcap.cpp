#include "SimPcap.h"

#include <sys/time.h>

#include <algorithm>

namespace {

// Larger than any frame of the protocol, so nothing is ever cut.
const int kSnapLength = 65535;
// Multicast frames remembered until every session has read them; a session that lost one
// must not make the list grow.
const size_t kMostShared = 32;

}  // namespace

std::unique_ptr<CSimPcap> CSimPcap::Open(const std::string& iPath, size_t iSessions,
                                         std::string& oError) {
    pcap_t* dead = pcap_open_dead(DLT_EN10MB, kSnapLength);
    if (!dead) {
        oError = "cannot make a capture file handle";
        return nullptr;
    }
    pcap_dumper_t* dumper = pcap_dump_open(dead, iPath.c_str());
    if (!dumper) {
        oError = std::string("cannot write the capture file: ") + pcap_geterr(dead);
        pcap_close(dead);
        return nullptr;
    }
    return std::unique_ptr<CSimPcap>(new CSimPcap(dead, dumper, iSessions));
}

CSimPcap::~CSimPcap() {
    pcap_dump_close(m_dumper);
    pcap_close(m_dead);
}

void CSimPcap::Sent(const void* iFrame, size_t iCaptured, size_t iWireLength) {
    std::lock_guard<std::mutex> hold(m_lock);
    WriteLocked(iFrame, iCaptured, iWireLength);
}

void CSimPcap::Received(const void* iFrame, size_t iCaptured, size_t iWireLength) {
    const auto* b = static_cast<const unsigned char*>(iFrame);
    // The group bit of the destination.
    if (iCaptured == 0 || !(b[0] & 0x01) || m_sessions < 2)
        return Sent(iFrame, iCaptured, iWireLength);
    std::vector<unsigned char> frame(b, b + iCaptured);
    std::lock_guard<std::mutex> hold(m_lock);
    for (auto it = m_shared.begin(); it != m_shared.end(); ++it) {
        if (it->frame == frame) {
            if (--it->unread == 0)
                m_shared.erase(it);
            return;
        }
    }
    if (m_shared.size() == kMostShared)
        m_shared.erase(m_shared.begin());
    m_shared.push_back({std::move(frame), m_sessions - 1});
    WriteLocked(iFrame, iCaptured, iWireLength);
}

void CSimPcap::WriteLocked(const void* iFrame, size_t iCaptured, size_t iWireLength) {
    struct pcap_pkthdr header = {};
    gettimeofday(&header.ts, nullptr);
    header.caplen = static_cast<bpf_u_int32>(std::min<size_t>(iCaptured, kSnapLength));
    header.len = static_cast<bpf_u_int32>(std::max(iCaptured, iWireLength));
    pcap_dump(reinterpret_cast<u_char*>(m_dumper), &header, static_cast<const u_char*>(iFrame));
    // A run may end by a kill: what was recorded stays readable.
    pcap_dump_flush(m_dumper);
}

int CSimRecordingDevice::Read(void* oBuf, uint32_t iCount, int iTimeout) {
    int n = m_device->Read(oBuf, iCount, iTimeout);
    if (n > 0)
        m_pcap.Received(oBuf, std::min<size_t>(static_cast<size_t>(n), iCount),
                        static_cast<size_t>(n));
    return n;
}

int CSimRecordingDevice::Write(const void* iBuf, uint32_t iCount) {
    int n = m_device->Write(iBuf, iCount);
    if (n > 0)
        m_pcap.Sent(iBuf, iCount, iCount);
    return n;
}
