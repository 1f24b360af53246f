// One message written through the message layer and read back through the in-memory
// device, beside one SHA-256 pass over the same bytes: the round trip hashes twice (sender
// and receiver), so the hash is the floor it is measured against.
#include <benchmark/benchmark.h>
#include <openssl/sha.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "LSWConfig4/setupMessageHandler.h"
#include "support/MemoryDevice.h"

namespace {

const u_char kMac[6] = {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
const u_char kPeer[6] = {0xC0, 0x11, 0x22, 0x33, 0x44, 0x55};

// A version 5 message of exactly iTotal TLV bytes, addressed to the device itself.
std::unique_ptr<SetupAPIMessage> MakeMessage(size_t iTotal) {
    auto msg = std::make_unique<SetupAPIMessage>(PAYLOADHeader::DISK_CONFIG_RSP, MESSAGE_VERSION_5);
    msg->msghdr.Reset(0, kMac, kPeer);
    std::string value(1000, '\0');
    for (size_t i = 0; i < value.size(); ++i)
        value[i] = static_cast<char>(i * 31 + 7);
    while (msg->m_tlv.getTlvBytesUsed() < iTotal) {
        size_t left = iTotal - msg->m_tlv.getTlvBytesUsed() - 3;
        size_t len = left < value.size() ? left : value.size();
        msg->m_tlv.pushBackEntry(3, static_cast<uint16_t>(len), value.data());
    }
    if (msg->m_tlv.getTlvBytesUsed() != iTotal)
        abort();
    return msg;
}

void BM_MessageRoundTrip(benchmark::State& state) {
    const size_t total = static_cast<size_t>(state.range(0));
    auto msg = MakeMessage(total);
    MEMORYDevice dev(kMac);
    dev.SetLoopback(true);
    SetupAPIMessageHandler handler;
    for (auto _ : state) {
        handler.WriteSetupAPIMessage(dev, *msg);
        std::shared_ptr<SetupAPIMessage> got;
        if (handler.ReadSetupAPIMessage(dev, got, 5, false) !=
                SetupAPIMessageHandler::READ_SUCCESS ||
            got->m_tlv.getTlvBytesUsed() != total) {
            state.SkipWithError("round trip failed");
            break;
        }
        benchmark::DoNotOptimize(got->m_tlv.getTlvBuffer());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * total));
    state.counters["frames"] = static_cast<double>(total / 1470 + (total % 1470 ? 1 : 0));
}

void BM_Sha256(benchmark::State& state) {
    const size_t total = static_cast<size_t>(state.range(0));
    auto msg = MakeMessage(total);
    unsigned char digest[SHA256_DIGEST_LENGTH];
    for (auto _ : state) {
        SHA256(reinterpret_cast<const unsigned char*>(msg->m_tlv.getTlvBuffer()), total, digest);
        benchmark::DoNotOptimize(digest);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * total));
}

// What a received message costs before any byte arrives: its version 5 buffer.
void BM_ReceivedMessageAllocation(benchmark::State& state) {
    for (auto _ : state) {
        auto msg =
            std::make_shared<SetupAPIMessage>(PAYLOADHeader::DISK_CONFIG_RSP, MESSAGE_VERSION_5);
        benchmark::DoNotOptimize(msg->m_tlv.getTlvBuffer());
    }
}

// 34 bytes: the least body of a frame; 1458: one full frame; 43740: thirty full frames.
#define MESSAGE_SIZES Arg(34)->Arg(1458)->Arg(43740)
BENCHMARK(BM_MessageRoundTrip)->MESSAGE_SIZES;
BENCHMARK(BM_Sha256)->MESSAGE_SIZES;
BENCHMARK(BM_ReceivedMessageAllocation);

}  // namespace

BENCHMARK_MAIN();
