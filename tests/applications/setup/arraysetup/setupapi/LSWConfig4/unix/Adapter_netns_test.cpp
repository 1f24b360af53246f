// The packet device and the adapter list against real interfaces: this program runs in the
// wizard's namespace of a test bed (scripts/netns-run); the controller's side is a child
// process in the other namespace, on the far end of the veth pairs.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/setupMessage.h"
#include "LSWConfig4/unix/Adapter.h"
#include "support/CellsimProcess.h"
#include "support/Fields.h"
#include "support/Mac.h"
#include "support/NetnsPeer.h"
#include "zelutil/ZelClock.h"
#include "zelutil/ZelTrace.h"

namespace {

using Bytes = std::vector<unsigned char>;

const unsigned char kTemplate[22] = MESSAGE_HEADER_INITIALIZER;
const unsigned char* const kMcast = kTemplate;
const unsigned char* const kSnap = kTemplate + 14;
const unsigned char kStranger[6] = {0x02, 0x00, 0x5E, 0x10, 0x20, 0x30};
const int kPeerWaitMs = 10000;

// A frame of ours laid out by hand: link header, payload header, `body` bytes of 0x5A. The
// marker goes in the checksum field so even a frame with no body can be told apart.
Bytes MakeFrame(const unsigned char* iDhost, const unsigned char* iShost, uint16_t iBody,
                uint16_t iMarker) {
    Bytes f(22 + 12 + iBody, 0x5A);
    MESSAGEHeader mh;
    mh.Reset(0, iDhost, iShost);
    mh.SetLength(static_cast<u_short>(8 + 12 + iBody));
    const unsigned char sum[4] = {static_cast<unsigned char>(iMarker >> 8),
                                  static_cast<unsigned char>(iMarker), 0xC0, 0xDE};
    PAYLOADHeader ph;
    ph.Reset(iBody, PAYLOADHeader::HELLO_RSP, MESSAGE_VERSION_5, 1, 1, sum);
    memcpy(f.data(), &mh, sizeof(mh));
    memcpy(f.data() + 22, &ph, sizeof(ph));
    return f;
}

uint16_t MarkerOf(const Bytes& iFrame) {
    return iFrame.size() < 32 ? 0xFFFF : static_cast<uint16_t>((iFrame[30] << 8) | iFrame[31]);
}

bool Has(const std::string& iText, const std::string& iPart) {
    return iText.find(iPart) != std::string::npos;
}

// One Read of iCount bytes on the controller's side, reported to the parent: the result, then
// the whole receive buffer, which was 0xEE before the read.
bool ReportRead(NetnsPeer& ioSelf, CL2& ioDevice, uint32_t iCount) {
    Bytes buf(1600, 0xEE);
    int r = ioDevice.Read(buf.data(), iCount, 5);
    return ioSelf.Send(std::string(reinterpret_cast<const char*>(&r), sizeof r) +
                       std::string(buf.begin(), buf.end()));
}
// The parent's side of it: the result (-2 when no report came) and the buffer.
int ReadReported(NetnsPeer& ioPeer, Bytes& oBuf) {
    std::string m;
    int r = -2;
    if (!ioPeer.Receive(m, kPeerWaitMs) || m.size() < sizeof r)
        return r;
    memcpy(&r, m.data(), sizeof r);
    oBuf.assign(m.begin() + sizeof r, m.end());
    return r;
}

// Moves one second further at every reading, so the deadline of Read is crossed by counting
// frames rather than by waiting.
std::atomic<time_t> g_steps{0};
time_t SteppingNow() {
    return 2000000 + g_steps.fetch_add(1);
}
struct SteppingClock {
    SteppingClock() { ZelClock::SetSource(&SteppingNow); }
    ~SteppingClock() { ZelClock::SetSource(nullptr); }
};

class L2Netns : public ::testing::Test {
protected:
    void SetUp() override {
        std::string why;
        ASSERT_TRUE(NetnsBed::FromEnvironment(m_bed, why)) << why;
        ASSERT_TRUE(MacOf("wiz0", m_wizMac)) << "wiz0 has no MAC address";
    }

    // The controller writes the frames iMake makes from its own MAC once the wizard's device,
    // filtered as an exchange sets it up and returned here, listens on wiz0.
    std::unique_ptr<CL2> FramesFromTheController(
        std::function<std::vector<Bytes>(const unsigned char*)> iMake) {
        m_peer = std::make_unique<NetnsPeer>(m_bed.ctl, [iMake](NetnsPeer& self) {
            unsigned char mac[6];
            std::string go;
            std::unique_ptr<CL2> ctl(MacOf("ctl0", mac) ? CL2::GetInterface(mac, "ctl0") : nullptr);
            if (!ctl || !self.Send("ready") || !self.Receive(go, kPeerWaitMs))
                return 1;
            for (const Bytes& f : iMake(mac))
                if (ctl->Write(f.data(), static_cast<uint32_t>(f.size())) < 0)
                    return 2;
            return 0;
        });
        std::unique_ptr<CL2> wiz(CL2::GetInterface(m_wizMac, "wiz0"));
        std::string ready;
        if (wiz)
            wiz->setfilter(kMcast, kSnap);
        EXPECT_TRUE(wiz && m_peer->Receive(ready, kPeerWaitMs) && m_peer->Send("go"));
        return wiz;
    }

    NetnsBed m_bed;
    std::unique_ptr<NetnsPeer> m_peer;
    unsigned char m_wizMac[6] = {};
};

TEST_F(L2Netns, AdapterListKeepsLibpcapOrderAndLeavesOutWhatCannotCarryFrames) {
    ASSERT_GE(m_bed.pairs, 3);
    if (access("/dev/net/tun", R_OK | W_OK) != 0) {
        if (getenv("CI"))
            FAIL() << "needs /dev/net/tun for its tun devices, and CI must have it";
        GTEST_SKIP() << "needs /dev/net/tun for its tun devices, which this machine lacks";
    }
    // Besides the bed's veths: a fourth one made last, its peer renamed to hold "lo"; a tun
    // device, which has no link-layer address and so no address at all for libpcap; and a
    // second one given an IPv4 address, which has an address but still no MAC. The address
    // is a loopback one on a device without carrier: nothing is ever sent to it.
    struct Extra {
        ~Extra() {
            (void)!system("ip link del aux0 2>/dev/null");
            (void)!system("ip tuntap del dev tun7 mode tun 2>/dev/null");
            (void)!system("ip tuntap del dev tun8 mode tun 2>/dev/null");
        }
    } extra;
    const char* make =
        ("ip link add aux0 type veth peer name tmpv0 && ip link set tmpv0 name hello0 && "
         "ip link set aux0 up && ip link set hello0 up && "
         "ip tuntap add dev tun7 mode tun && ip link set tun7 up && "
         "ip tuntap add dev tun8 mode tun && ip addr add 127.0.0.8/32 dev tun8");
    ASSERT_EQ(0, system(make)) << make;

    // Each left-out case is really in libpcap's list, so the rules, not chance, drop them.
    char errbuf[PCAP_ERRBUF_SIZE];
    pcap_if_t* all = nullptr;
    ASSERT_EQ(0, pcap_findalldevs(&all, errbuf)) << errbuf;
    std::vector<std::string> pcapOrder;
    std::map<std::string, std::string> listed;
    for (pcap_if_t* d = all; d; d = d->next) {
        const std::string name = d->name;
        listed[name] = d->addresses ? "addressed" : "bare";
        if (name.rfind("wiz", 0) == 0 || name == "aux0")
            pcapOrder.push_back(name);
    }
    pcap_freealldevs(all);
    ASSERT_EQ(Fields(listed["lo"], listed["hello0"], listed["tun7"], listed["tun8"]),
              "addressed|addressed|bare|addressed");

    // What the tracer writes from here on.
    const std::string tracePath = g_Tracer.LogFileName() ? g_Tracer.LogFileName() : "";
    const size_t traceStart = FileText(tracePath).size();
    CZelAdapter* head = CZelAdapter::GetAll();
    std::unique_ptr<CZelAdapter, void (*)(CZelAdapter*)> owner(head, &CZelAdapter::FreeList);
    std::vector<std::string> names;
    for (CZelAdapter* a = head; a; a = a->m_next) {
        names.push_back(a->m_msname);
        EXPECT_STREQ(a->m_msname, a->m_pcapname);
        EXPECT_STREQ("", a->m_description);
        // The kernel's own word on the address.
        EXPECT_EQ(FileText(std::string("/sys/class/net/") + a->m_msname + "/address"),
                  MacText(a->m_addr) + "\n");
    }
    std::vector<std::string> expected;
    for (int i = 0; i < m_bed.pairs; ++i)
        expected.push_back("wiz" + std::to_string(i));
    expected.push_back("aux0");  // made last: after the bed's, not in name order
    EXPECT_EQ(expected, names);
    EXPECT_EQ(pcapOrder, names);

    char text[ZEL_MAC_ADDR_STRING_SIZE];
    EXPECT_FALSE(GetMACAddrString("tun7", text));

    // The trace tells the two ways out apart: no address is dropped without a word, an
    // address without a MAC is reported.
    ASSERT_TRUE(!tracePath.empty() && g_Tracer.CheckLevel(ZEL_OUTPUT_DEBUG_PRINT))
        << "the tracer must write its file at level 2 for this test";
    const std::string t = FileText(tracePath).substr(traceStart);
    for (CZelAdapter* a = head; a; a = a->m_next)
        EXPECT_TRUE(Has(
            t, std::string("ifr name (") + a->m_msname + "), macaddr (" + MacText(a->m_addr) + ")"))
            << a->m_msname;
    EXPECT_EQ(Fields(Has(t, "Starting pcap calls to find the list of interfaces"),
                     Has(t, "Failed to find MAC Address for tun8"), Has(t, "tun7"),
                     Has(t, "hello0"), Has(t, "(lo)")),
              "1|1|0|0|0");
}

TEST_F(L2Netns, OnlyFramesOfOursReachTheController) {
    // The controller's end: one session filtered as an exchange sets it up, and one left
    // unfiltered (promiscuous, as a simulator opens it), both reading the same frames.
    NetnsPeer peer(m_bed.ctl, [](NetnsPeer& self) {
        unsigned char mac[6];
        std::unique_ptr<CL2> filtered(MacOf("ctl0", mac) ? CL2::GetInterface(mac, "ctl0")
                                                         : nullptr);
        std::unique_ptr<CL2> unfiltered(filtered ? CL2::GetInterface(mac, "ctl0", true) : nullptr);
        if (!unfiltered)
            return 2;
        filtered->setfilter(kMcast, kSnap);
        self.Send(mac, sizeof(mac));
        // The second read is of a frame longer than its count.
        return ReportRead(self, *filtered, 1600) && ReportRead(self, *filtered, 40) &&
                       ReportRead(self, *unfiltered, 1600)
                   ? 0
                   : 3;
    });
    ASSERT_TRUE(peer.Started());
    std::unique_ptr<CL2> wiz(CL2::GetInterface(m_wizMac, "wiz0"));
    ASSERT_NE(nullptr, wiz);
    std::string msg;
    ASSERT_TRUE(peer.Receive(msg, kPeerWaitMs)) << "controller side did not start";
    ASSERT_EQ(6u, msg.size());
    unsigned char ctlMac[6];
    memcpy(ctlMac, msg.data(), 6);

    Bytes toStranger = MakeFrame(kStranger, m_wizMac, 34, 1);
    Bytes foreignSnap = MakeFrame(nullptr, m_wizMac, 34, 2);
    foreignSnap[19] = 0x8B;  // another OUI
    Bytes shortFrame = MakeFrame(nullptr, m_wizMac, 0, 3);
    shortFrame.pop_back();  // 33 bytes
    // Tagged: 81 00 and a TCI between shost and length, so the SNAP header sits at 18.
    Bytes tagged = MakeFrame(nullptr, m_wizMac, 34, 4);
    tagged.insert(tagged.begin() + 12, {0x81, 0x00, 0x00, 0x05});
    Bytes multicast = MakeFrame(nullptr, m_wizMac, 0, 5);  // 34 bytes: the least accepted
    Bytes zeroSnap = MakeFrame(ctlMac, m_wizMac, 0, 6);
    memset(zeroSnap.data() + 14, 0, 8);
    Bytes unicast = MakeFrame(ctlMac, m_wizMac, 34, 7);
    ASSERT_EQ(33u, shortFrame.size());
    ASSERT_EQ(72u, tagged.size());

    for (const Bytes* f :
         {&toStranger, &foreignSnap, &shortFrame, &tagged, &multicast, &zeroSnap, &unicast})
        ASSERT_EQ(static_cast<int>(f->size()),
                  wiz->Write(f->data(), static_cast<uint32_t>(f->size())));

    Bytes got;
    // Filtered, first read: the multicast frame, whole, and nothing beyond it touched.
    ASSERT_EQ(34, ReadReported(peer, got));
    EXPECT_EQ(multicast, Bytes(got.begin(), got.begin() + 34));
    EXPECT_EQ(0xEE, got[34]);
    // Second read: the unicast frame to the controller, copied up to the count only, with
    // its full length returned.
    ASSERT_EQ(68, ReadReported(peer, got));
    EXPECT_EQ(Bytes(unicast.begin(), unicast.begin() + 40), Bytes(got.begin(), got.begin() + 40));
    EXPECT_EQ(0xEE, got[40]);
    // Unfiltered, the filter is all zeros: only a frame with eight zero bytes at 14 passes.
    ASSERT_EQ(34, ReadReported(peer, got));
    EXPECT_EQ(zeroSnap, Bytes(got.begin(), got.begin() + 34));
    EXPECT_EQ(0, peer.Wait(kPeerWaitMs));
}

TEST_F(L2Netns, DeadlineCountsSkippedFramesAndLosesALateOneOfOurs) {
    const unsigned char* wizMac = m_wizMac;
    auto wiz = FramesFromTheController([wizMac](const unsigned char* iMac) {
        return std::vector<Bytes>{MakeFrame(kStranger, iMac, 34, 1),
                                  MakeFrame(kStranger, iMac, 34, 2), MakeFrame(wizMac, iMac, 34, 3),
                                  MakeFrame(wizMac, iMac, 34, 4), MakeFrame(nullptr, iMac, 34, 5)};
    });
    ASSERT_TRUE(wiz);
    ASSERT_EQ(0, m_peer->Wait(kPeerWaitMs));

    SteppingClock clock;
    Bytes buf(1600, 0);
    // Two strangers pass at 1 and 2 seconds, within the limit; ours comes at 3 and is lost.
    EXPECT_EQ(-1, wiz->Read(buf.data(), static_cast<uint32_t>(buf.size()), 2));
    // A fresh wait picks up the next one of ours at once, then the multicast one.
    ASSERT_EQ(68, wiz->Read(buf.data(), static_cast<uint32_t>(buf.size()), 2));
    EXPECT_EQ(4, MarkerOf(buf));
    ASSERT_EQ(68, wiz->Read(buf.data(), static_cast<uint32_t>(buf.size()), 2));
    EXPECT_EQ(5, MarkerOf(buf));
}

TEST_F(L2Netns, BurstOfFiveHundredFramesArrivesWhole) {
    const int kFrames = 500;
    const unsigned char* wizMac = m_wizMac;
    auto wiz = FramesFromTheController([wizMac](const unsigned char* iMac) {
        std::vector<Bytes> frames;
        for (int i = 0; i < kFrames; ++i)
            frames.push_back(
                MakeFrame(wizMac, iMac, TARGET_PAYLOAD_SIZE, static_cast<uint16_t>(i)));
        return frames;
    });
    ASSERT_TRUE(wiz);

    Bytes buf(1600, 0);
    int received = 0;
    for (int i = 0; i < kFrames; ++i) {
        int r = wiz->Read(buf.data(), static_cast<uint32_t>(buf.size()), 5);
        if (r != MAX_SNAP_FRAME_PAYLOAD_SIZE || MarkerOf(buf) != i) {
            ADD_FAILURE() << "frame " << i << ": result " << r << ", marker " << MarkerOf(buf);
            break;
        }
        ++received;
    }
    EXPECT_EQ(kFrames, received);
    EXPECT_EQ(0, m_peer->Wait(kPeerWaitMs));

    struct pcap_stat stats;
    ASSERT_TRUE(wiz->GetPcapStats(&stats));
    EXPECT_GE(stats.ps_recv, static_cast<u_int>(kFrames));
    EXPECT_EQ(0u, stats.ps_drop);
    wiz->GetPcapStats();
}

}  // namespace
