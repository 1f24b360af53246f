#include <sys/select.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "LSWConfig4/unix/Adapter.h"
#include "zelutil/ZelClock.h"
#include "zelutil/ZelTrace.h"

static_assert(PCAP_ERRBUF_SIZE == 256, "libpcap's error text fits the session's buffer");

namespace {

const int kSnapLength = 1500;
const int kReadTimeoutMs = 500;
const int kReceiveBufferGrowth = 50000;
// 802.3 header, LLC/SNAP and the payload header: the least a frame of ours holds.
const uint32_t kMinFrameLength = 14 + 8 + 12;
const size_t kSnapOffset = 14;

}  // namespace

namespace {

CL2* OpenPcap(const unsigned char* iMac, const char* iPcapName, bool iPromiscuous) {
    CL2_Inner* device = new CL2_Inner(iMac, iPcapName, iPromiscuous);
    if (!device->IsOpen()) {
        delete device;
        return nullptr;
    }
    return device;
}

std::atomic<CL2::Opener> g_Opener{&OpenPcap};

}  // namespace

CL2* CL2::GetInterface(const unsigned char* iMac, const char* iPcapName, bool iPromiscuous) {
    return g_Opener.load(std::memory_order_relaxed)(iMac, iPcapName, iPromiscuous);
}

void CL2::SetOpener(Opener iOpener) {
    g_Opener.store(iOpener ? iOpener : &OpenPcap, std::memory_order_relaxed);
}

CL2_Inner::CL2_Inner(const unsigned char* iMac, const char* iPcapName, bool iPromiscuous)
    : m_LibPcapSession(nullptr) {
    if (iMac)
        memcpy(m_HwAddr, iMac, sizeof(m_HwAddr));
    else
        memset(m_HwAddr, 0, sizeof(m_HwAddr));
    memset(&m_Filter, 0, sizeof(m_Filter));
    m_LibPcapErr[0] = '\0';

    m_LibPcapSession = OpenSession(iPcapName, iPromiscuous, m_LibPcapErr);
    if (!m_LibPcapSession) {
        ZelOutputDebugError(HERE, "pcap_open failed: %s", m_LibPcapErr);
        return;
    }
    GrowReceiveBuffer();
}

CL2_Inner::~CL2_Inner() {
    if (m_LibPcapSession)
        pcap_close(m_LibPcapSession);
}

// Immediate mode: on Linux libpcap captures into a TPACKET_V3 ring that holds frames back
// until a block fills or its timeout retires it, and that timeout is not to be relied on; a
// lone reply would sit in the ring while select saw nothing. Immediate mode hands each frame
// over as it comes. Snap length, promiscuity and timeout stay those of a live open.
pcap_t* CL2_Inner::OpenSession(const char* iPcapName, bool iPromiscuous, char* oErr) {
    if (!iPcapName) {
        snprintf(oErr, PCAP_ERRBUF_SIZE, "no interface name");
        return nullptr;
    }
    pcap_t* session = pcap_create(iPcapName, oErr);
    if (!session)
        return nullptr;
    if (pcap_set_snaplen(session, kSnapLength) != 0 ||
        pcap_set_promisc(session, iPromiscuous ? 1 : 0) != 0 ||
        pcap_set_timeout(session, kReadTimeoutMs) != 0 ||
        pcap_set_immediate_mode(session, 1) != 0) {
        snprintf(oErr, PCAP_ERRBUF_SIZE, "%s: %s", iPcapName, pcap_geterr(session));
        pcap_close(session);
        return nullptr;
    }
    int status = pcap_activate(session);
    if (status < 0) {
        // Worded as a live open words it: the device, what went wrong, libpcap's detail.
        const char* detail = pcap_geterr(session);
        if (status == PCAP_ERROR)
            snprintf(oErr, PCAP_ERRBUF_SIZE, "%s: %s", iPcapName, detail);
        else if (detail[0] != '\0')
            snprintf(oErr, PCAP_ERRBUF_SIZE, "%s: %s (%s)", iPcapName, pcap_statustostr(status),
                     detail);
        else
            snprintf(oErr, PCAP_ERRBUF_SIZE, "%s: %s", iPcapName, pcap_statustostr(status));
        pcap_close(session);
        return nullptr;
    }
    if (status > 0) {
        // A warning leaves the session usable; keep its text for the record.
        snprintf(oErr, PCAP_ERRBUF_SIZE, "%s", pcap_geterr(session));
    }
    return session;
}

// A larger socket buffer keeps the capture layer from dropping frames in a burst of answers.
// Failing to grow it costs nothing but that margin.
void CL2_Inner::GrowReceiveBuffer() {
    int fd = pcap_fileno(m_LibPcapSession);
    int length = 0;
    socklen_t size = sizeof(length);
    int got = getsockopt(fd, SOL_SOCKET, SO_RCVBUF, &length, &size);
    if (got >= 0)
        ZelOutputDebugPrint(HERE, "Pcap buffer length retrieved (%d)", length);

    int wanted =
        (length > INT_MAX - kReceiveBufferGrowth) ? INT_MAX : length + kReceiveBufferGrowth;
    int set = setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &wanted, sizeof(wanted));

    int now = 0;
    size = sizeof(now);
    int check = getsockopt(fd, SOL_SOCKET, SO_RCVBUF, &now, &size);
    if (check >= 0)
        ZelOutputDebugPrint(HERE, "Buffer length set succeeded: new length (%d)", now);

    if (got < 0 || set < 0 || check < 0)
        ZelOutputDebugError(
            HERE,
            "Unable to increase recv buffer length, implication of possible packet drops in pcap");
}

int CL2_Inner::setfilter(const unsigned char* iMcast, const unsigned char* iSnap) {
    if (iMcast)
        memcpy(m_Filter.mcast, iMcast, sizeof(m_Filter.mcast));
    if (iSnap)
        memcpy(m_Filter.snap, iSnap, sizeof(m_Filter.snap));
    return 0;
}

int CL2_Inner::Poll(int iTimeout) {
    if (!m_LibPcapSession) {
        errno = EBADF;
        return -1;
    }
    int fd = pcap_fileno(m_LibPcapSession);
    if (fd < 0 || fd >= FD_SETSIZE) {
        // select can't watch it without writing past its set.
        errno = EBADF;
        return -1;
    }
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    struct timeval wait;
    wait.tv_sec = iTimeout;
    wait.tv_usec = 0;
    return select(fd + 1, &readable, nullptr, nullptr, &wait);
}

int CL2_Inner::Read(void* oBuf, uint32_t iCount, int iTimeout) {
    ZelOutputDebugPrint(HERE, "Packet Read Begin...");
    if (!m_LibPcapSession) {
        ZelOutputDebugError(HERE, "adapter not initialized correctly.");
        return -1;
    }

    long packets = 0;
    time_t start = ZelClock::Now();
    for (;;) {
        int ready = Poll(iTimeout);
        if (ready == -1) {
            // Worded now, while errno still says why.
            char why[128];
            snprintf(why, sizeof(why), "Error while waiting for packet: %m");
            ZelOutputDebugError(HERE, "%s", why);
            return 0;
        }
        if (ready == 0) {
            ZelOutputDebugError(HERE, "Select timed out after %d seconds.", iTimeout);
            return -1;
        }

        struct pcap_pkthdr* header = nullptr;
        const u_char* data = nullptr;
        int got = pcap_next_ex(m_LibPcapSession, &header, &data);
        if (got == 0) {
            // select may wake with nothing in the ring.
            ZelOutputDebugPrint(HERE, "Packet Read Done. (0)");
            return 0;
        }
        if (got != 1) {
            snprintf(m_LibPcapErr, sizeof(m_LibPcapErr), "%s", pcap_geterr(m_LibPcapSession));
            ZelOutputDebugError(HERE, "pcap_next_ex failed: %s", m_LibPcapErr);
            return -1;
        }

        ++packets;
        if (packets % 10 == 0)
            ZelOutputDebugVerbose(HERE, "packet count: %ld", packets);

        // The deadline is checked before the frame is looked at: a late frame is lost.
        if (ZelClock::Now() - start > iTimeout) {
            ZelOutputDebugPrint(HERE, "Timed out after %d seconds.", iTimeout);
            return -1;
        }

        if (header->len < kMinFrameLength)
            continue;
        // What was captured is all there is to read, whatever the wire length says.
        if (header->caplen < kMinFrameLength)
            continue;
        if (memcmp(data + kSnapOffset, m_Filter.snap, sizeof(m_Filter.snap)) != 0)
            continue;
        if (memcmp(data, m_HwAddr, sizeof(m_HwAddr)) != 0 &&
            memcmp(data, m_Filter.mcast, sizeof(m_Filter.mcast)) != 0)
            continue;

        uint32_t copy = iCount < header->caplen ? iCount : header->caplen;
        if (oBuf && copy)
            memcpy(oBuf, data, copy);
        ZelOutputDebugPrint(HERE, "Packet Read Done. (len=%d) Read our packet",
                            static_cast<int>(header->len));
        return header->len > INT_MAX ? INT_MAX : static_cast<int>(header->len);
    }
}

int CL2_Inner::Write(const void* iBuf, uint32_t iCount) {
    if (!m_LibPcapSession) {
        ZelOutputDebugError(HERE, "adapter not initialized correctly.");
        return -1;
    }
    if (!iBuf || iCount > INT_MAX ||
        pcap_sendpacket(m_LibPcapSession, static_cast<const u_char*>(iBuf),
                        static_cast<int>(iCount)) != 0) {
        ZelOutputDebugError(HERE, "Error sending the frame:");
        return -1;
    }
    return static_cast<int>(iCount);
}

bool CL2_Inner::GetPcapStats(struct pcap_stat* oStats) {
    if (!m_LibPcapSession || !oStats)
        return false;
    return pcap_stats(m_LibPcapSession, oStats) == 0;
}

void CL2_Inner::GetPcapStats() {
    struct pcap_stat stats;
    memset(&stats, 0, sizeof(stats));
    if (GetPcapStats(&stats)) {
        ZelOutputDebugPrint(HERE, "Packets recvd (%d), Packets dropped (%d)",
                            static_cast<int>(stats.ps_recv), static_cast<int>(stats.ps_drop));
    } else {
        ZelOutputDebugError(HERE, "Error retrieving pcap stats: %s",
                            m_LibPcapSession ? pcap_geterr(m_LibPcapSession)
                                             : "adapter not initialized correctly.");
    }
}

void CL2_Inner::getMacAddr(unsigned char* oMac) {
    if (oMac)
        memcpy(oMac, m_HwAddr, sizeof(m_HwAddr));
}
