// What hostile input costs in memory: a small frame or value must not make the receiver
// reserve far more than it brought. This binary counts the bytes handed out by operator new,
// so it is a suite of its own.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <vector>

#include "LSWConfig4/setupMessageHandler.h"
#include "LSWConfig4/tlvUtils.h"

namespace {
std::atomic<bool> g_Counting{false};
std::atomic<size_t> g_NewBytes{0};
}  // namespace

// The replacements pair malloc with free by design; g++ sees only a new paired with free.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

void* operator new(size_t iSize) {
    if (g_Counting.load(std::memory_order_relaxed))
        g_NewBytes.fetch_add(iSize, std::memory_order_relaxed);
    if (void* p = malloc(iSize ? iSize : 1))
        return p;
    throw std::bad_alloc();
}
void* operator new[](size_t iSize) {
    return operator new(iSize);
}
void* operator new(size_t iSize, const std::nothrow_t&) noexcept {
    if (g_Counting.load(std::memory_order_relaxed))
        g_NewBytes.fetch_add(iSize, std::memory_order_relaxed);
    return malloc(iSize ? iSize : 1);
}
void* operator new[](size_t iSize, const std::nothrow_t& iTag) noexcept {
    return operator new(iSize, iTag);
}
void operator delete(void* iPtr, const std::nothrow_t&) noexcept {
    free(iPtr);
}
void operator delete[](void* iPtr, const std::nothrow_t&) noexcept {
    free(iPtr);
}
void operator delete(void* iPtr) noexcept {
    free(iPtr);
}
void operator delete[](void* iPtr) noexcept {
    free(iPtr);
}
void operator delete(void* iPtr, size_t) noexcept {
    free(iPtr);
}
void operator delete[](void* iPtr, size_t) noexcept {
    free(iPtr);
}

namespace {

// Bytes allocated with new while iWork runs.
template <typename F>
size_t NewBytesDuring(F iWork) {
    g_NewBytes = 0;
    g_Counting = true;
    iWork();
    g_Counting = false;
    return g_NewBytes;
}

// Resident pages of the process, in bytes.
size_t ResidentBytes() {
    std::ifstream statm("/proc/self/statm");
    size_t pages = 0, resident = 0;
    statm >> pages >> resident;
    return resident * 4096;
}

TEST(HostileCost, FirstFragmentsCostTheirSlotNotAWholeMessage) {
    // A stream of 60-byte first fragments, each of a message announcing 255 frames and each
    // with a fresh checksum, so each opens a partial message of its own.
    const size_t kFragments = 1000;
    SetupAPIMessageHandler handler;
    // From a controller to the adapter: a source above the destination, so the checksum
    // tells the keys apart.
    const u_char adapter[6] = {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
    const u_char controller[6] = {0xC0, 0x11, 0x22, 0x33, 0x44, 0x55};
    MESSAGEHeader hdr{};
    hdr.Reset(0, adapter, controller);
    const char body[60] = {};
    size_t bytes = NewBytesDuring([&] {
        for (size_t i = 0; i < kFragments; ++i) {
            u_char checksum[4];
            memcpy(checksum, &i, sizeof(checksum));
            PAYLOADHeader payload{};
            payload.Reset(sizeof(body), PAYLOADHeader::DISK_CONFIG_RSP, MESSAGE_VERSION_5, 255, 1,
                          checksum);
            ByteCursor cursor(body, sizeof(body));
            u_short vlan = 0;
            std::shared_ptr<SetupAPIMessage> msg;
            ASSERT_EQ(
                handler.parseSinglePacketInMultiPacketMessage(hdr, payload, vlan, cursor, msg),
                SetupAPIMessageHandler::READ_SUCCESS);
        }
    });
    EXPECT_EQ(handler.GetPartialMessages().size(), SetupAPIMessageHandler::MAX_PARTIAL_MESSAGES);
    // One frame's slot and the bookkeeping of 255 slot places, not 255 slots.
    EXPECT_LT(bytes / kFragments, 8u * 1024);
}

TEST(HostileCost, ControllerInfoBlocksCostTheirOwnLength) {
    // One 65,535-byte value of the most blocks it can hold, each only its two length bytes.
    const uint32_t kBlocks = (65535 - 4) / 2;
    std::vector<char> value(4 + 2 * kBlocks);
    memcpy(value.data(), &kBlocks, 4);  // little-endian on this host, as the record has it
    for (uint32_t i = 0; i < kBlocks; ++i)
        value[4 + 2 * i + 1] = 2;

    const long long before = static_cast<long long>(ResidentBytes());
    ControllerInfoDataReader reader;
    ASSERT_TRUE(reader.UnpackData(value.data(), value.size()));
    ASSERT_EQ(reader.GetNumberOfControllers(), kBlocks);
    // A few dozen bytes a block, even with a sanitizer's red zones, not a page or more.
    EXPECT_LT(static_cast<long long>(ResidentBytes()) - before, 32LL << 20);
}

}  // namespace
