#include "LSWConfig4/unix/Adapter.h"

#include <ifaddrs.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <netinet/ether.h>
#include <sys/socket.h>

#include <atomic>
#include <cstdio>
#include <cstring>

#include "zelutil/ZelTrace.h"

namespace {

// Copies at most size - 1 characters and always terminates.
void CopyName(char* oTo, size_t iSize, const char* iFrom) {
    if (!iFrom)
        iFrom = "";
    size_t n = strnlen(iFrom, iSize - 1);
    memcpy(oTo, iFrom, n);
    oTo[n] = '\0';
}

}  // namespace

CZelAdapter::CZelAdapter(const unsigned char* iAddr, const char* iMsName, const char* iPcapName,
                         const char* iDescription)
    : m_next(nullptr) {
    if (iAddr)
        memcpy(m_addr, iAddr, sizeof(m_addr));
    else
        memset(m_addr, 0, sizeof(m_addr));
    CopyName(m_msname, sizeof(m_msname), iMsName);
    CopyName(m_pcapname, sizeof(m_pcapname), iPcapName);
    CopyName(m_description, sizeof(m_description), iDescription);
}

namespace {

CZelAdapter* ProbeHost() {
    CZelAdapterProbe probe;
    return probe.run();
}

std::atomic<CZelAdapter::Source> g_AdapterSource{&ProbeHost};

}  // namespace

CZelAdapter* CZelAdapter::GetAll() {
    return g_AdapterSource.load(std::memory_order_relaxed)();
}

void CZelAdapter::SetSource(Source iSource) {
    g_AdapterSource.store(iSource ? iSource : &ProbeHost, std::memory_order_relaxed);
}

void CZelAdapter::FreeList(CZelAdapter* iHead) {
    while (iHead) {
        CZelAdapter* next = iHead->m_next;
        delete iHead;
        iHead = next;
    }
}

CZelAdapterProbe::CZelAdapterProbe() : m_alldevs(nullptr) {}

CZelAdapterProbe::~CZelAdapterProbe() {
    if (m_alldevs)
        pcap_freealldevs(m_alldevs);
}

CZelAdapter* CZelAdapterProbe::run() {
    ZelOutputDebugPrint(HERE, "Starting pcap calls to find the list of interfaces");

    char errbuf[PCAP_ERRBUF_SIZE];
    errbuf[0] = '\0';
    int status = pcap_findalldevs(&m_alldevs, errbuf);
    if (status == -1) {
        ZelOutputDebugError(HERE, "pcap_findalldevs failed with error\t\t\tstatus (%d)", status);
        return nullptr;
    }
    if (!m_alldevs) {
        ZelOutputDebugError(HERE, "No interfaces found .. check libpcap installation");
        return nullptr;
    }

    CZelAdapter* head = nullptr;
    CZelAdapter* tail = nullptr;
    for (pcap_if_t* dev = m_alldevs; dev; dev = dev->next) {
        // No address means nothing to reach a controller through. Any name holding "lo" goes
        // too, with the loopback.
        if (!dev->name || !dev->addresses || strstr(dev->name, "lo"))
            continue;

        char text[ZEL_MAC_ADDR_STRING_SIZE];
        if (!GetMACAddrString(dev->name, text)) {
            ZelOutputDebugError(HERE, "Failed to find MAC Address for %s", dev->name);
            continue;
        }
        ZelOutputDebugPrint(HERE, "ifr name (%s), macaddr (%s)", dev->name, text);

        struct ether_addr addr;
        if (!ether_aton_r(text, &addr)) {
            ZelOutputDebugError(HERE, "Failed to find MAC Address for %s", dev->name);
            continue;
        }
        CZelAdapter* adapter =
            new CZelAdapter(addr.ether_addr_octet, dev->name, dev->name, dev->description);
        if (tail)
            tail->m_next = adapter;
        else
            head = adapter;
        tail = adapter;
    }
    return head;
}

// Linux keeps the link-layer address in the packet family's sockaddr_ll.
bool GetMACAddrString(const char* iIfName, char* oText) {
    if (!iIfName || !oText)
        return false;
    struct ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0)
        return false;

    bool found = false;
    for (struct ifaddrs* ifa = all; ifa; ifa = ifa->ifa_next) {
        if (!ifa->ifa_name || !ifa->ifa_addr || ifa->ifa_addr->sa_family != AF_PACKET)
            continue;
        if (strcmp(ifa->ifa_name, iIfName) != 0)
            continue;
        const struct sockaddr_ll* ll = reinterpret_cast<const struct sockaddr_ll*>(ifa->ifa_addr);
        // Only an Ethernet address can stand in a frame's header.
        if (ll->sll_halen != ETH_ALEN)
            continue;
        const unsigned char* a = ll->sll_addr;
        snprintf(oText, ZEL_MAC_ADDR_STRING_SIZE, "%02x:%02x:%02x:%02x:%02x:%02x", a[0], a[1], a[2],
                 a[3], a[4], a[5]);
        found = true;
        break;
    }
    freeifaddrs(all);
    return found;
}
