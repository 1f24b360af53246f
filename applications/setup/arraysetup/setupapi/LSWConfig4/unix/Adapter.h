#ifndef LSWCONFIG4_UNIX_ADAPTER_H
#define LSWCONFIG4_UNIX_ADAPTER_H

#include <pcap/pcap.h>

#include <cstdint>

// Seconds a request waits for its answer unless the caller says otherwise.
#define DEFAULT_IO_TIMEOUT 15

// Sizes of the names and texts an adapter record carries.
#define ZEL_ADAPTER_NAME_SIZE 256
#define ZEL_MAC_ADDR_LEN 6
// "xx:xx:xx:xx:xx:xx" and its terminator.
#define ZEL_MAC_ADDR_STRING_SIZE 18

// The packet device as the message layer sees it: one frame in, one frame out.
class DEVICEIoHandler {
public:
    // One frame of ours into oBuf (at most iCount bytes copied); the frame's length on the
    // wire, -1 when nothing of ours came within iTimeout seconds or the device is unusable,
    // 0 when the wait itself failed or found nothing ready.
    virtual int Read(void* oBuf, uint32_t iCount, int iTimeout) = 0;
    // Sends one frame: iCount on success, -1 on failure.
    virtual int Write(const void* iBuf, uint32_t iCount) = 0;
    // Waits up to iTimeout seconds for a frame to read: the result of select.
    virtual int Poll(int iTimeout) = 0;
    // Copies the device's 6-byte address.
    virtual void getMacAddr(unsigned char* oMac) = 0;
    virtual ~DEVICEIoHandler() {}
};

// A capture session on one host interface.
class CL2 : public DEVICEIoHandler {
public:
    // Frames must carry iSnap (8 bytes) at offset 14 and be addressed to the device or to
    // iMcast (6 bytes). Filtering is done in Read, in user space.
    virtual int setfilter(const unsigned char* iMcast, const unsigned char* iSnap) = 0;
    // Traces what the capture layer received and dropped.
    virtual void GetPcapStats() = 0;
    // The same counters for a caller that needs the numbers; false when they can't be read.
    virtual bool GetPcapStats(struct pcap_stat* oStats) = 0;

    // Opens a new session on each call; null when it can't be opened. The caller owns the
    // result. The wizard listens without promiscuous mode; a controller simulator, which
    // answers for addresses that are not its interface's, asks for it.
    static CL2* GetInterface(const unsigned char* iMac, const char* iPcapName,
                             bool iPromiscuous = false);

    // What GetInterface opens: a libpcap session unless replaced. Tests put a device in
    // memory behind it, so every exchange and the discovery fan-out run without a network.
    using Opener = CL2* (*)(const unsigned char* iMac, const char* iPcapName, bool iPromiscuous);
    // nullptr restores libpcap.
    static void SetOpener(Opener iOpener);
};

class CL2_Inner : public CL2 {
public:
    CL2_Inner(const unsigned char* iMac, const char* iPcapName, bool iPromiscuous = false);
    ~CL2_Inner() override;
    CL2_Inner(const CL2_Inner&) = delete;
    CL2_Inner& operator=(const CL2_Inner&) = delete;

    int Read(void* oBuf, uint32_t iCount, int iTimeout) override;
    int Write(const void* iBuf, uint32_t iCount) override;
    int Poll(int iTimeout) override;
    void getMacAddr(unsigned char* oMac) override;
    int setfilter(const unsigned char* iMcast, const unsigned char* iSnap) override;
    void GetPcapStats() override;
    bool GetPcapStats(struct pcap_stat* oStats) override;

    bool IsOpen() const { return m_LibPcapSession != nullptr; }
    const char* LastError() const { return m_LibPcapErr; }

private:
    static pcap_t* OpenSession(const char* iPcapName, bool iPromiscuous, char* oErr);
    void GrowReceiveBuffer();

    pcap_t* m_LibPcapSession;
    unsigned char m_HwAddr[ZEL_MAC_ADDR_LEN];
    struct {
        unsigned char mcast[6];
        unsigned char snap[8];
    } m_Filter;
    char m_LibPcapErr[PCAP_ERRBUF_SIZE];
};

// One host interface, in a singly linked list that keeps libpcap's order. The list belongs to
// whoever asked for it; FreeList releases it.
class CZelAdapter {
public:
    CZelAdapter(const unsigned char* iAddr, const char* iMsName, const char* iPcapName,
                const char* iDescription);
    CZelAdapter(const CZelAdapter&) = delete;
    CZelAdapter& operator=(const CZelAdapter&) = delete;

    // The usable interfaces of this host, or null.
    static CZelAdapter* GetAll();
    // Where GetAll takes its list from: the host unless replaced, as by a test that lists
    // adapters of its own. nullptr restores the host.
    using Source = CZelAdapter* (*)();
    static void SetSource(Source iSource);
    static void FreeList(CZelAdapter* iHead);

    unsigned char m_addr[ZEL_MAC_ADDR_LEN];
    char m_msname[ZEL_ADAPTER_NAME_SIZE];
    char m_pcapname[ZEL_ADAPTER_NAME_SIZE];
    char m_description[ZEL_ADAPTER_NAME_SIZE];
    CZelAdapter* m_next;
};

// Walks libpcap's device list once; the list is released when the probe goes.
class CZelAdapterProbe {
public:
    CZelAdapterProbe();
    ~CZelAdapterProbe();
    CZelAdapterProbe(const CZelAdapterProbe&) = delete;
    CZelAdapterProbe& operator=(const CZelAdapterProbe&) = delete;

    CZelAdapter* run();

private:
    pcap_if_t* m_alldevs;
};

// The interface's link-layer address as "xx:xx:xx:xx:xx:xx" into oText, which holds at least
// ZEL_MAC_ADDR_STRING_SIZE bytes. False when the interface has no Ethernet address.
bool GetMACAddrString(const char* iIfName, char* oText);

#endif
