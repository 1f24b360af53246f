// One request and its immediate reply through CL2, between the two namespaces of a test bed:
// the wizard's end here on wiz0, a child answering on ctl0. Run it through scripts/bench-netns.
//   bench_cl2_roundtrip [--roundtrips=N] [benchmark flags]
// Reports the median and the 99th percentile of the round trip in microseconds.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/setupMessage.h"
#include "LSWConfig4/unix/Adapter.h"
#include "support/NetnsPeer.h"

namespace {

using Bytes = std::vector<unsigned char>;

const unsigned char kTemplate[22] = MESSAGE_HEADER_INITIALIZER;
const int kWaitMs = 10000;

Bytes MakeFrame(const unsigned char* iDhost, const unsigned char* iShost, u_short iOpcode,
                uint32_t iSeq) {
    const u_short body = 34;  // the least a version 5 frame carries
    Bytes f(22 + 12 + body, 0);
    MESSAGEHeader mh;
    mh.Reset(0, iDhost, iShost);
    mh.SetLength(8 + 12 + body);
    const unsigned char seq[4] = {
        static_cast<unsigned char>(iSeq >> 24), static_cast<unsigned char>(iSeq >> 16),
        static_cast<unsigned char>(iSeq >> 8), static_cast<unsigned char>(iSeq)};
    PAYLOADHeader ph;
    ph.Reset(body, iOpcode, MESSAGE_VERSION_5, 1, 1, seq);
    memcpy(f.data(), &mh, sizeof(mh));
    memcpy(f.data() + 22, &ph, sizeof(ph));
    return f;
}

uint32_t SeqOf(const unsigned char* iFrame) {
    const unsigned char* s = iFrame + 22 + 8;
    return (uint32_t(s[0]) << 24) | (uint32_t(s[1]) << 16) | (uint32_t(s[2]) << 8) | s[3];
}

bool MacOf(const char* iIfName, unsigned char* oMac) {
    char text[ZEL_MAC_ADDR_STRING_SIZE];
    unsigned v[6];
    if (!GetMACAddrString(iIfName, text) ||
        sscanf(text, "%x:%x:%x:%x:%x:%x", &v[0], &v[1], &v[2], &v[3], &v[4], &v[5]) != 6)
        return false;
    for (int i = 0; i < 6; ++i)
        oMac[i] = static_cast<unsigned char>(v[i]);
    return true;
}

// The controller's end: answers every request addressed to it with a reply to its sender.
int Answer(NetnsPeer& iSelf) {
    unsigned char mac[6];
    if (!MacOf("ctl0", mac))
        return 1;
    std::unique_ptr<CL2> ctl(CL2::GetInterface(mac, "ctl0"));
    if (!ctl)
        return 2;
    ctl->setfilter(kTemplate, kTemplate + 14);
    if (!iSelf.Send(mac, sizeof(mac)))
        return 3;
    unsigned char buf[1600];
    for (;;) {
        int r = ctl->Read(buf, sizeof(buf), 2);
        if (r < 34)
            continue;  // quiet line or nothing ready: keep listening until killed
        Bytes reply = MakeFrame(buf + 6, mac, PAYLOADHeader::HELLO_RSP, SeqOf(buf));
        ctl->Write(reply.data(), static_cast<uint32_t>(reply.size()));
    }
}

void BM_CL2RoundTrip(benchmark::State& state) {
    NetnsBed bed;
    std::string why;
    if (!NetnsBed::FromEnvironment(bed, why)) {
        state.SkipWithError(why.c_str());
        return;
    }
    unsigned char wizMac[6];
    if (!MacOf("wiz0", wizMac)) {
        state.SkipWithError("wiz0 has no MAC address");
        return;
    }
    NetnsPeer peer(bed.ctl, &Answer);
    std::unique_ptr<CL2> wiz(CL2::GetInterface(wizMac, "wiz0"));
    std::string msg;
    if (!peer.Started() || !wiz || !peer.Receive(msg, kWaitMs) || msg.size() != 6) {
        state.SkipWithError("could not open both ends");
        return;
    }
    wiz->setfilter(kTemplate, kTemplate + 14);
    unsigned char ctlMac[6];
    memcpy(ctlMac, msg.data(), 6);

    std::vector<double> micros;
    micros.reserve(static_cast<size_t>(state.max_iterations));
    unsigned char buf[1600];
    uint32_t seq = 0;
    for (auto _ : state) {
        ++seq;
        Bytes request = MakeFrame(ctlMac, wizMac, PAYLOADHeader::HELLO_REQ, seq);
        auto start = std::chrono::steady_clock::now();
        if (wiz->Write(request.data(), static_cast<uint32_t>(request.size())) < 0) {
            state.SkipWithError("write failed");
            break;
        }
        int r;
        do {
            r = wiz->Read(buf, sizeof(buf), 5);
        } while (r >= 34 && SeqOf(buf) != seq);  // a stale reply from an earlier round
        if (r < 34) {
            state.SkipWithError("no reply");
            break;
        }
        std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(took.count());
        micros.push_back(took.count() * 1e6);
    }
    if (micros.empty())
        return;
    std::sort(micros.begin(), micros.end());
    auto at = [&](double q) {
        size_t i = static_cast<size_t>(q * static_cast<double>(micros.size() - 1) + 0.5);
        return micros[std::min(i, micros.size() - 1)];
    };
    state.counters["median_us"] = at(0.5);
    state.counters["p99_us"] = at(0.99);
    state.counters["max_us"] = micros.back();
    struct pcap_stat stats;
    if (wiz->GetPcapStats(&stats))
        state.counters["dropped"] = stats.ps_drop;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    long roundtrips = 1000;
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--roundtrips=", 13) == 0) {
            roundtrips = strtol(argv[i] + 13, nullptr, 10);
        } else {
            fprintf(stderr, "unknown argument %s\n", argv[i]);
            return 2;
        }
    }
    if (roundtrips < 1)
        roundtrips = 1;
    benchmark::RegisterBenchmark("CL2RoundTrip", BM_CL2RoundTrip)
        ->Iterations(roundtrips)
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
