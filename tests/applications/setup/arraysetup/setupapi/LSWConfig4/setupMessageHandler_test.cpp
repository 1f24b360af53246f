// Message layer: how a message is cut into frames, byte for byte, and how received frames
// are filtered and put together again.
#include "LSWConfig4/setupMessageHandler.h"

#include <gtest/gtest.h>
#include <openssl/sha.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "ExchangeFrames.h"
#include "support/Fields.h"
#include "support/ManualClock.h"
#include "support/MemoryDevice.h"
#include "zelutil/ZelStringUtil.h"

namespace {

using xchg::Bytes;
using xchg::Cat;
using xchg::Hex;
using Handler = SetupAPIMessageHandler;

const u_char kAdapterMac[6] = {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
const u_char kCtrlMac[6] = {0xC0, 0x11, 0x22, 0x33, 0x44, 0x55};  // above the adapter's
const u_char kMulticast[6] = {0x01, 0x09, 0x8A, 0x00, 0x00, 0x01};

Bytes Zeros(size_t n) {
    return Bytes(n, 0);
}

Bytes Sha4(const Bytes& data) {
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(data.data(), data.size(), digest);
    return Bytes(digest, digest + 4);
}

// A message of exactly `total` TLV bytes: one entry of type 1 with a counting pattern.
std::unique_ptr<SetupAPIMessage> MakeMessage(u_short opcode, u_short version, size_t total,
                                             const u_char* dhost = kCtrlMac,
                                             const u_char* shost = kAdapterMac, int seed = 0) {
    auto msg = std::make_unique<SetupAPIMessage>(opcode, version);
    msg->msghdr.Reset(0, dhost, shost);
    if (total > 2) {
        std::string value(total - 5, '\0');
        for (size_t i = 0; i < value.size(); ++i)
            value[i] = static_cast<char>((i + seed) % 251);
        msg->m_tlv.pushBackEntry(1, static_cast<uint16_t>(value.size()), value.data());
    }
    EXPECT_EQ(msg->m_tlv.getTlvBytesUsed(), total);
    return msg;
}

Bytes TlvBytes(const SetupAPIMessage& msg, size_t n) {
    const auto* p = reinterpret_cast<const unsigned char*>(msg.m_tlv.getTlvBuffer());
    return Bytes(p, p + n);
}

std::vector<Bytes> Frames(const SetupAPIMessage& msg) {
    MEMORYDevice out(kAdapterMac);
    Handler handler;
    handler.WriteSetupAPIMessage(out, msg);
    return out.Sent();
}

// The lone frame of a short message; the write answers that frame's size.
Bytes OneFrame(const SetupAPIMessage& msg) {
    MEMORYDevice out(kAdapterMac);
    const int written = Handler().WriteSetupAPIMessage(out, msg);
    EXPECT_EQ(out.Sent().size(), 1u);
    const Bytes frame = out.Sent().empty() ? Bytes() : out.Sent()[0];
    EXPECT_EQ(written, static_cast<int>(frame.size()));
    return frame;
}

// --- Sending: frames against the byte tables ------------------------------------------

TEST(MessageWrite, HelloRequestsAreTheTableFrames) {
    const Bytes linkV5 =
        Hex("01 09 8A 00 00 01  AA BB CC DD EE FF  00 36  AA AA 03 00 09 8A 00 01");
    HELLORequest plain(MESSAGE_VERSION_5);
    plain.msghdr.Reset(0, nullptr, kAdapterMac);
    EXPECT_EQ(OneFrame(plain),
              Cat({linkV5, Hex("00 05  00 01  00 22  01 01  FC F0 A6 C7  00 02"), Zeros(32)}));

    HELLORequest withLocale(MESSAGE_VERSION_5);
    withLocale.msghdr.Reset(0, nullptr, kAdapterMac);
    std::string locale = GetConvertedString("en_US", 256);
    withLocale.m_tlv.pushBackEntry(HELLORequest::LOCALIZATION_PARAMETER,
                                   static_cast<uint16_t>(locale.size()), locale.data());
    EXPECT_EQ(OneFrame(withLocale), Cat({linkV5, Hex("00 05  00 01  00 22  01 01  8D D0 8D 81"),
                                         Hex("00 0A 01 00 05 65 6E 5F 55 53"), Zeros(24)}));

    HELLORequest v4(MESSAGE_VERSION_4);
    v4.msghdr.Reset(0, nullptr, kAdapterMac);
    EXPECT_EQ(OneFrame(v4),
              Cat({Hex("01 09 8A 00 00 01  AA BB CC DD EE FF  05 C6  AA AA 03 00 09 8A 00 01"),
                   Hex("00 04  00 01  05 B2  01 01  FC F0 A6 C7  00 02"), Zeros(1456)}));
}

TEST(MessageWrite, PrejoinAndSetupResponseGoToTheController) {
    PREJOINRequest prejoin(MESSAGE_VERSION_5);
    prejoin.msghdr.Reset(0, kCtrlMac, kAdapterMac);
    EXPECT_EQ(OneFrame(prejoin),
              Cat({Hex("C0 11 22 33 44 55  AA BB CC DD EE FF  00 36  AA AA 03 00 09 8A 00 01"),
                   Hex("00 05  00 0D  00 22  01 01  FC F0 A6 C7  00 02"), Zeros(32)}));

    // The controller's answer: one status byte, padded, checksum over that byte alone.
    SETUPResponse rsp(MESSAGE_VERSION_5);
    rsp.msghdr.Reset(0, kAdapterMac, kCtrlMac);
    rsp.m_status = 0x07;
    MEMORYDevice dev(kAdapterMac);
    EXPECT_EQ(Handler().WriteSetupResponseMessage(dev, rsp), 68);
    ASSERT_EQ(dev.Sent().size(), 1u);
    EXPECT_EQ(dev.Sent()[0],
              Cat({Hex("AA BB CC DD EE FF  C0 11 22 33 44 55  00 36  AA AA 03 00 09 8A 00 01"),
                   Hex("00 05  00 06  00 22  01 01"), Sha4({0x07}), Hex("07"), Zeros(33)}));
}

TEST(MessageWrite, LongMessagesAreCutAsTheFrameRulesSay) {
    const Bytes link = Hex("C0 11 22 33 44 55  AA BB CC DD EE FF  05 C6  AA AA 03 00 09 8A 00 01");

    // 2916 bytes: two full frames.
    auto two = MakeMessage(PAYLOADHeader::SETUP_REQ, MESSAGE_VERSION_5, 2916);
    Bytes body = TlvBytes(*two, 2916);
    std::vector<Bytes> frames = Frames(*two);
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0], Cat({link, Hex("00 05  00 05  05 B2  02 01"), Sha4(body),
                              Bytes(body.begin(), body.begin() + 1458)}));
    EXPECT_EQ(frames[1], Cat({link, Hex("00 05  00 05  05 B2  02 02"), Sha4(body),
                              Bytes(body.begin() + 1458, body.end())}));

    // 1465 bytes: one frame, the last seven bytes are cut off; the checksum still covers them.
    auto cut = MakeMessage(PAYLOADHeader::SETUP_REQ, MESSAGE_VERSION_5, 1465);
    body = TlvBytes(*cut, 1465);
    frames = Frames(*cut);
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0], Cat({link, Hex("00 05  00 05  05 B2  01 01"), Sha4(body),
                              Bytes(body.begin(), body.begin() + 1458)}));

    // Frame count and size at each edge: the count divides by 1470, every frame but a lone
    // short one carries 1458 bytes of body, a lone one at least 34.
    struct Edge {
        size_t length;
        u_short version;
        size_t frames;
        size_t lastFrameSize;
    };
    const Edge edges[] = {{2, 5, 1, 68},      {33, 5, 1, 68},       {34, 5, 1, 68},
                          {35, 5, 1, 69},     {1458, 5, 1, 1492},   {1459, 5, 1, 1492},
                          {1470, 5, 1, 1492}, {1471, 5, 2, 1492},   {2940, 5, 2, 1492},
                          {2941, 5, 3, 1492}, {45568, 5, 31, 1492}, {2, 4, 1, 1492},
                          {1470, 4, 1, 1492}};
    for (const Edge& e : edges) {
        auto msg = MakeMessage(PAYLOADHeader::DISK_CONFIG_RSP, e.version, e.length);
        frames = Frames(*msg);
        ASSERT_EQ(frames.size(), e.frames) << e.length;
        EXPECT_EQ(frames.back().size(), e.lastFrameSize) << e.length;
        for (size_t i = 0; i < frames.size(); ++i) {
            EXPECT_EQ(frames[i][28], e.frames) << e.length;
            EXPECT_EQ(frames[i][29], i + 1) << e.length;
        }
    }
    // The tail of a last frame comes from the zeros behind the message.
    auto tail = MakeMessage(PAYLOADHeader::DISK_CONFIG_RSP, MESSAGE_VERSION_5, 1471);
    frames = Frames(*tail);
    body = TlvBytes(*tail, 1471);
    EXPECT_EQ(Bytes(frames[1].begin() + 34, frames[1].end()),
              Cat({Bytes(body.begin() + 1458, body.end()), Zeros(1458 - 13)}));
}

TEST(MessageWrite, TaggedFramesCarryTheTagAsHeld) {
    CONFIGURATIONStatusRequest req(MESSAGE_VERSION_5);
    req.msghdr.Reset(0, kCtrlMac, kAdapterMac);
    const u_char tci[2] = {0x20, 0x0A};  // priority 1, VLAN 10, as it came off the wire
    memcpy(&req.m_vlanid, tci, 2);
    EXPECT_EQ(OneFrame(req),
              Cat({Hex("C0 11 22 33 44 55  AA BB CC DD EE FF  81 00  20 0A  00 36"
                       "  AA AA 03 00 09 8A 00 01"),
                   Hex("00 05  00 09  00 22  01 01  FC F0 A6 C7  00 02"), Zeros(32)}));

    // A tagged frame keeps the limit of 1492: 1454 bytes of body, so 1460 bytes lose their end
    // and 2933 take three frames.
    auto msg = MakeMessage(PAYLOADHeader::SETUP_REQ, MESSAGE_VERSION_5, 1460);
    msg->m_vlanid = 0x0A20;
    std::vector<Bytes> frames = Frames(*msg);
    ASSERT_EQ(frames.size(), 1u);
    EXPECT_EQ(frames[0].size(), 1492u);
    EXPECT_EQ(Bytes(frames[0].begin() + 16, frames[0].begin() + 18), Hex("05 C2"));  // 1474
    EXPECT_EQ(Bytes(frames[0].begin() + 30, frames[0].begin() + 32), Hex("05 AE"));  // 1454
    auto three = MakeMessage(PAYLOADHeader::SETUP_REQ, MESSAGE_VERSION_5, 2933);
    three->m_vlanid = 0x0A20;
    EXPECT_EQ(Frames(*three).size(), 3u);
}

TEST(MessageWrite, EmptyBodyAndFailingDevice) {
    MEMORYDevice dev(kAdapterMac);
    Handler handler;
    MESSAGEHeader hdr;
    hdr.Reset(0, kCtrlMac, kAdapterMac);
    char body[2] = {0x00, 0x02};
    EXPECT_EQ(handler.WriteDataBlob(dev, hdr, body, 0, 0, PAYLOADHeader::HELLO_REQ, 5), -1);
    EXPECT_EQ(dev.WriteCalls(), 0u);

    // A failed Write ends the message at once with its result; no retry.
    auto msg = MakeMessage(PAYLOADHeader::SETUP_REQ, MESSAGE_VERSION_5, 4000);
    dev.FailWritesFrom(1, -1);
    EXPECT_EQ(handler.WriteSetupAPIMessage(dev, *msg), -1);
    EXPECT_EQ(Fields(dev.WriteCalls(), dev.Sent().size()), "2|1");
    MEMORYDevice zero(kAdapterMac);
    zero.FailWritesFrom(0, 0);
    EXPECT_EQ(handler.WriteSetupAPIMessage(zero, *msg), 0);
    EXPECT_EQ(zero.WriteCalls(), 1u);
}

// --- Receiving ------------------------------------------------------------------------

// Frames as a controller sends them to the adapter.
std::vector<Bytes> FromController(u_short opcode, size_t total, const u_char* shost = kCtrlMac,
                                  int seed = 0, const u_char* dhost = kAdapterMac) {
    auto msg = MakeMessage(opcode, MESSAGE_VERSION_5, total, dhost, shost, seed);
    return Frames(*msg);
}

// A copy of a frame with some bytes set, or one byte flipped.
Bytes Set(Bytes frame, std::initializer_list<std::pair<size_t, u_char>> bytes) {
    for (const auto& b : bytes)
        frame.at(b.first) = b.second;
    return frame;
}

Bytes Flip(Bytes frame, size_t at, u_char mask) {
    frame.at(at) ^= mask;
    return frame;
}

Bytes ExpectedBody(size_t total, int seed = 0) {
    auto msg = MakeMessage(PAYLOADHeader::HELLO_RSP, MESSAGE_VERSION_5, total, kAdapterMac,
                           kCtrlMac, seed);
    return TlvBytes(*msg, total);
}

class MessageRead : public ::testing::Test {
protected:
    ManualClock clock;
    MEMORYDevice dev{kAdapterMac};
    Handler handler;
    std::shared_ptr<SetupAPIMessage> msg;

    Handler::ReadResult Read(int timeout = 5, bool skipChecksum = false) {
        return handler.ReadSetupAPIMessage(dev, msg, timeout, skipChecksum);
    }
    void Queue(const std::vector<Bytes>& frames, std::initializer_list<size_t> order) {
        for (size_t i : order)
            dev.QueueFrame(frames[i]);
    }
    void Queue(std::initializer_list<Bytes> frames) {
        for (const Bytes& f : frames)
            dev.QueueFrame(f);
    }
};

TEST_F(MessageRead, SingleFramesAndTheirChecksum) {
    std::vector<Bytes> hello = FromController(PAYLOADHeader::HELLO_RSP, 300);
    dev.QueueFrame(hello[0]);
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    ASSERT_TRUE(msg);
    EXPECT_EQ(Fields(msg->m_opcode, msg->m_version, msg->m_vlanid, msg->m_tlv.getTlvBytesUsed()),
              Fields(PAYLOADHeader::HELLO_RSP, MESSAGE_VERSION_5, 0, 300));
    EXPECT_EQ(memcmp(msg->msghdr.shost, kCtrlMac, 6), 0);
    EXPECT_EQ(TlvBytes(*msg, 300), ExpectedBody(300));

    // A wrong checksum on a version 5 frame fails the read; skipped on request.
    const Bytes bad = Flip(hello[0], 40, 0xFF);
    Queue({bad, hello[0]});
    EXPECT_EQ(Read(), Handler::ERROR_CHECKSUM_FAILED);
    EXPECT_EQ(Fields(msg == nullptr, dev.Pending()), "1|1");  // the good frame waits
    dev.QueueFrame(bad);
    EXPECT_EQ(Read(), Handler::READ_SUCCESS);  // the good one, queued earlier
    EXPECT_EQ(Read(5, true), Handler::READ_SUCCESS);
    EXPECT_EQ(TlvBytes(*msg, 7)[6], bad[40]);

    // Version 4 is always one whole frame: its count is ignored, its checksum not compared.
    auto v4 = MakeMessage(PAYLOADHeader::HELLO_RSP, MESSAGE_VERSION_4, 100, kAdapterMac, kCtrlMac);
    dev.QueueFrame(Flip(Set(Frames(*v4)[0], {{28, 2}, {29, 2}}), 30, 0xFF));  // count, place
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(Fields(msg->m_version, handler.GetPartialMessages().size()),
              Fields(MESSAGE_VERSION_4, 0));
    EXPECT_EQ(TlvBytes(*msg, 100), TlvBytes(*v4, 100));

    // Version 5 with a count of 0 is a whole message too.
    dev.QueueFrame(Set(hello[0], {{28, 0}}));
    EXPECT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_TRUE(handler.GetPartialMessages().empty());
}

TEST_F(MessageRead, FramesNotOursAreDropped) {
    std::vector<Bytes> good = FromController(PAYLOADHeader::HELLO_RSP, 40);
    // Another destination, the control byte of AA AA 03, versions 3 and 6, a frame cut
    // short, 41 bytes of body announced for 40 received.
    Queue({Flip(good[0], 5, 0x01), Set(good[0], {{16, 0x04}}), Set(good[0], {{23, 3}}),
           Set(good[0], {{23, 6}}), Bytes(good[0].begin(), good[0].begin() + 30),
           Set(good[0], {{26, 0x00}, {27, 0x29}}), good[0]});
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(dev.Pending(), 0u);
    EXPECT_EQ(TlvBytes(*msg, 40), ExpectedBody(40));

    // Only the first three SNAP bytes are the message layer's to compare: another OUI passes,
    // and so does the multicast destination.
    dev.QueueFrame(Set(FromController(PAYLOADHeader::HELLO_RSP, 40, kCtrlMac, 0, kMulticast)[0],
                       {{19, 0x42}}));
    EXPECT_EQ(Read(), Handler::READ_SUCCESS);

    // Tagged: the tag is taken raw and the rest read behind it.
    auto tagged =
        MakeMessage(PAYLOADHeader::BLINK_RSP, MESSAGE_VERSION_5, 60, kAdapterMac, kCtrlMac);
    tagged->m_vlanid = 0x0A20;
    dev.QueueFrame(Frames(*tagged)[0]);
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(msg->m_vlanid, 0x0A20);
    EXPECT_EQ(TlvBytes(*msg, 60), TlvBytes(*tagged, 60));
}

TEST_F(MessageRead, DeadlinesAndDeviceFailures) {
    // Nothing comes: the device gives up, which is not the read's own timeout.
    const time_t start = ManualClock::Now();
    EXPECT_EQ(Read(5), Handler::ERROR_IOHANDLER_READ_PACKET);
    EXPECT_EQ(ManualClock::Now(), start + 5);

    // Frames not ours keep coming until the deadline passes.
    Bytes foreign = FromController(PAYLOADHeader::HELLO_RSP, 40, kCtrlMac, 0, kCtrlMac)[0];
    const time_t t0 = ManualClock::Now();
    for (int s = 1; s <= 12; ++s)
        dev.QueueFrameAt(t0 + s, foreign);
    EXPECT_EQ(Read(10), Handler::ERROR_READ_TIMEOUT_OCCURRED);
    EXPECT_EQ(Fields(ManualClock::Now() - t0, dev.Pending()), "10|2");

    // Without a deadline only the device ends the wait.
    const time_t t1 = ManualClock::Now();
    dev.QueueFrameAt(t1 + 100, foreign);
    dev.QueueFrameAt(t1 + 1000, FromController(PAYLOADHeader::HELLO_RSP, 40)[0]);
    EXPECT_EQ(Read(-1), Handler::READ_SUCCESS);
    EXPECT_EQ(Read(-1), Handler::ERROR_IOHANDLER_READ_PACKET);

    // A device that reports more than it copied: the frame is what fits the buffer.
    Bytes big = FromController(PAYLOADHeader::HELLO_RSP, 40)[0];
    big.resize(1600, 0xEE);
    dev.QueueFrame(big);
    EXPECT_EQ(Read(), Handler::READ_SUCCESS);
}

TEST_F(MessageRead, FragmentsInAnyOrderWithDuplicates) {
    std::vector<Bytes> frames = FromController(PAYLOADHeader::DISK_CONFIG_RSP, 4000);
    ASSERT_EQ(frames.size(), 3u);
    Queue(frames, {2, 1, 0});
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(TlvBytes(*msg, 4000), ExpectedBody(4000));
    // The frame that completed the message names it.
    EXPECT_EQ(memcmp(msg->msghdr.shost, kCtrlMac, 6), 0);
    EXPECT_EQ(
        Fields(msg->m_tlv.getTlvBytesUsed(), msg->m_opcode, handler.GetPartialMessages().size()),
        Fields(4000, PAYLOADHeader::DISK_CONFIG_RSP, 0));

    // Duplicates overwrite their slot and add nothing.
    Queue(frames, {1, 1, 0, 1, 0, 2});
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(dev.Pending(), 0u);
    EXPECT_EQ(TlvBytes(*msg, 4000), ExpectedBody(4000));

    // A late duplicate of a completed message opens an entry of its own.
    Queue(frames, {2});
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);
    EXPECT_EQ(handler.GetPartialMessages().size(), 1u);
}

TEST_F(MessageRead, TheFirstFrameFixesTheCount) {
    std::vector<Bytes> frames = FromController(PAYLOADHeader::DISK_CONFIG_RSP, 4000);
    // A second fragment announcing two frames does not shrink a part made for three.
    Queue({frames[0], Set(frames[1], {{28, 2}})});
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);
    ASSERT_EQ(handler.GetPartialMessages().size(), 1u);
    EXPECT_EQ(handler.GetPartialMessages().begin()->second->numBlobs, 3u);
    dev.QueueFrame(frames[2]);
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(TlvBytes(*msg, 4000), ExpectedBody(4000));

    // A first fragment announcing two frames makes a part of two: the third is outside it,
    // and the message completes short, failing its checksum.
    Queue({Set(frames[0], {{28, 2}}), frames[2], frames[1]});
    EXPECT_EQ(Read(), Handler::ERROR_CHECKSUM_FAILED);
    EXPECT_TRUE(handler.GetPartialMessages().empty());
}

TEST_F(MessageRead, HostilePlacesAndLengthsAreDropped) {
    std::vector<Bytes> frames = FromController(PAYLOADHeader::DISK_CONFIG_RSP, 4000);
    // Places 0 and 4 of 3; a body of 1459 bytes, more than the frame holds; one of 65535.
    const Bytes idBeyond = Set(frames[0], {{29, 4}});
    Queue({Set(frames[0], {{29, 0}}), idBeyond, Set(frames[0], {{26, 0x05}, {27, 0xB3}}),
           Set(frames[0], {{26, 0xFF}, {27, 0xFF}})});
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);
    EXPECT_TRUE(handler.GetPartialMessages().empty());  // none opened an entry

    // Once a part exists, a place beyond its count is still refused.
    Queue({frames[0], idBeyond, Set(frames[1], {{28, 200}, {29, 200}})});
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);
    Queue(frames, {1, 2});
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(TlvBytes(*msg, 4000), ExpectedBody(4000));

    // A frame cut short on the wire but announcing a full body is dropped, not padded.
    Queue({frames[0], Bytes(frames[1].begin(), frames[1].begin() + 700)});
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);
    Queue(frames, {1, 2});
    EXPECT_EQ(Read(), Handler::READ_SUCCESS);
}

TEST_F(MessageRead, AFloodOfPartialMessagesKeepsOnlyTheNewest) {
    // First fragments of ever new messages: each would hold a part until it ages out.
    const size_t flood = Handler::MAX_PARTIAL_MESSAGES + 40;
    for (size_t seed = 0; seed < flood; ++seed)
        dev.QueueFrame(FromController(PAYLOADHeader::DISK_CONFIG_RSP, 4000, kCtrlMac,
                                      static_cast<int>(seed))[0]);
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);
    EXPECT_EQ(handler.GetPartialMessages().size(), Handler::MAX_PARTIAL_MESSAGES);

    // The newest one still completes; the oldest gave way and its rest opens a new part.
    std::vector<Bytes> newest =
        FromController(PAYLOADHeader::DISK_CONFIG_RSP, 4000, kCtrlMac, static_cast<int>(flood - 1));
    Queue(newest, {1, 2});
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(TlvBytes(*msg, 4000), ExpectedBody(4000, static_cast<int>(flood - 1)));
    std::vector<Bytes> oldest = FromController(PAYLOADHeader::DISK_CONFIG_RSP, 4000);
    Queue(oldest, {1, 2});
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);
    EXPECT_EQ(handler.GetPartialMessages().size(), Handler::MAX_PARTIAL_MESSAGES);
}

TEST_F(MessageRead, ACorruptFragmentFailsAtCompletionAndARetransmissionStartsClean) {
    std::vector<Bytes> frames = FromController(PAYLOADHeader::DISK_CONFIG_RSP, 4000);
    const Bytes corrupt = Flip(frames[1], 500, 0x5A);
    Queue({frames[0], corrupt});
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);  // not yet complete
    Queue(frames, {2, 0, 1, 2});
    EXPECT_EQ(Read(), Handler::ERROR_CHECKSUM_FAILED);
    EXPECT_EQ(dev.Pending(), 3u);
    EXPECT_TRUE(handler.GetPartialMessages().empty());
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(TlvBytes(*msg, 4000), ExpectedBody(4000));

    // A message of several frames is checked whatever the caller asks.
    Queue({frames[0], corrupt, frames[2]});
    EXPECT_EQ(Read(5, true), Handler::ERROR_CHECKSUM_FAILED);
}

TEST_F(MessageRead, PartsAgeOnlyWhenAFrameOfOursComes) {
    std::vector<Bytes> frames = FromController(PAYLOADHeader::DISK_CONFIG_RSP, 2900);
    ASSERT_EQ(frames.size(), 2u);
    Bytes single = FromController(PAYLOADHeader::HELLO_RSP, 40, kCtrlMac, 9)[0];
    Bytes foreign = FromController(PAYLOADHeader::HELLO_RSP, 40, kCtrlMac, 0, kCtrlMac)[0];

    // Silence ages nothing: the second half completes a minute later.
    dev.QueueFrame(frames[0]);
    EXPECT_EQ(Read(60), Handler::ERROR_IOHANDLER_READ_PACKET);
    EXPECT_EQ(handler.GetPartialMessages().size(), 1u);
    dev.QueueFrame(frames[1]);
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_EQ(TlvBytes(*msg, 2900), ExpectedBody(2900));

    // Fifteen seconds old is still kept; a frame of ours past that clears it; frames that
    // fail the header tests don't.
    const time_t t0 = ManualClock::Now();
    dev.QueueFrame(frames[0]);
    dev.QueueFrameAt(t0 + 15, single);
    ASSERT_EQ(Read(20), Handler::READ_SUCCESS);
    EXPECT_EQ(handler.GetPartialMessages().size(), 1u);
    dev.QueueFrameAt(t0 + 30, foreign);
    EXPECT_EQ(Read(20), Handler::ERROR_IOHANDLER_READ_PACKET);
    EXPECT_EQ(handler.GetPartialMessages().size(), 1u);
    dev.QueueFrame(single);
    ASSERT_EQ(Read(), Handler::READ_SUCCESS);
    EXPECT_TRUE(handler.GetPartialMessages().empty());
    // The second half now opens a part of its own that never completes.
    dev.QueueFrame(frames[1]);
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);
    EXPECT_EQ(handler.GetPartialMessages().size(), 1u);
}

TEST_F(MessageRead, SetupResponseSkipsTheChecksumAndOtherMessages) {
    SETUPResponse rsp(MESSAGE_VERSION_5);
    rsp.msghdr.Reset(0, kAdapterMac, kCtrlMac);
    rsp.m_status = 0x03;
    MEMORYDevice out(kCtrlMac);
    handler.WriteSetupResponseMessage(out, rsp);
    dev.QueueFrame(FromController(PAYLOADHeader::HELLO_RSP, 40)[0]);
    // The checksum can't be recomputed from a status byte anyway.
    dev.QueueFrame(Flip(out.Sent().at(0), 30, 0xFF));
    std::shared_ptr<SETUPResponse> got;
    ASSERT_EQ(handler.ReadSetupResponseMessage(dev, got, 5), Handler::READ_SUCCESS);
    ASSERT_TRUE(got);
    EXPECT_EQ(Fields(got->m_status, got->m_opcode, got->m_version),
              Fields(0x03, PAYLOADHeader::SETUP_RSP, MESSAGE_VERSION_5));
    EXPECT_EQ(memcmp(got->msghdr.shost, kCtrlMac, 6), 0);

    // Each pass waits anew; a failure is handed on and leaves no response.
    const time_t t0 = ManualClock::Now();
    dev.QueueFrameAt(t0 + 4, FromController(PAYLOADHeader::HELLO_RSP, 40)[0]);
    EXPECT_EQ(handler.ReadSetupResponseMessage(dev, got, 5), Handler::ERROR_IOHANDLER_READ_PACKET);
    EXPECT_EQ(Fields(got == nullptr, ManualClock::Now() - t0), "1|9");
}

// --- Several messages from several senders at once ------------------------------------

TEST_F(MessageRead, InterleavedMessagesFromSeveralSendersAllComplete) {
    // Senders above the adapter's address, and messages to the multicast address, keep
    // their messages apart by opcode and checksum.
    std::vector<std::pair<Bytes, Bytes>> expected;  // (sender, body)
    std::vector<Bytes> all;
    for (int s = 0; s < 4; ++s) {
        u_char sender[6] = {0xC0, 0, 0, 0, 0, static_cast<u_char>(s)};
        for (int m = 0; m < 3; ++m) {
            const u_short opcode =
                m == 2 ? PAYLOADHeader::HELLO_RSP : PAYLOADHeader::DISK_CONFIG_RSP;
            const size_t total = 3000 + 500 * m + 13 * s;  // three frames, none cut
            const int seed = s * 10 + m;
            const u_char* dhost = m == 2 ? kMulticast : kAdapterMac;
            std::vector<Bytes> frames = FromController(opcode, total, sender, seed, dhost);
            all.insert(all.end(), frames.begin(), frames.end());
            auto ref = MakeMessage(opcode, MESSAGE_VERSION_5, total, dhost, sender, seed);
            expected.emplace_back(Bytes(sender, sender + 6), TlvBytes(*ref, total));
        }
    }
    std::mt19937 rng(7);
    for (int round = 0; round < 20; ++round) {
        std::shuffle(all.begin(), all.end(), rng);
        for (const Bytes& f : all)
            dev.QueueFrame(f);
        std::multiset<std::pair<Bytes, Bytes>> got;
        Handler::ReadResult r;
        while ((r = Read()) == Handler::READ_SUCCESS) {
            const size_t n = msg->m_tlv.getTlvBytesUsed();
            got.emplace(Bytes(msg->msghdr.shost, msg->msghdr.shost + 6), TlvBytes(*msg, n));
            EXPECT_LE(handler.GetPartialMessages().size(), expected.size());
        }
        const std::multiset<std::pair<Bytes, Bytes>> want(expected.begin(), expected.end());
        EXPECT_EQ(r, Handler::ERROR_IOHANDLER_READ_PACKET);
        ASSERT_EQ(got.size(), want.size()) << "round " << round;
        EXPECT_TRUE(got == want) << "round " << round;
        EXPECT_TRUE(handler.GetPartialMessages().empty());
    }
}

TEST_F(MessageRead, TwoMessagesFromASenderBelowTheDestinationShareOneEntry) {
    // The kept mark of the comparison: with the destination above the source, two messages
    // in flight from one sender fall into one part, and their interleaving spoils both.
    const u_char lowSender[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
    std::vector<Bytes> a = FromController(PAYLOADHeader::DISK_CONFIG_RSP, 4000, lowSender, 1);
    std::vector<Bytes> b = FromController(PAYLOADHeader::CONFIG_STATUS_RSP, 4000, lowSender, 2);
    Queue({a[0], b[0], a[1], b[1], a[2], b[2]});
    EXPECT_EQ(Read(), Handler::ERROR_CHECKSUM_FAILED);  // a1 b1 a2 b2 a3: a's sum over b1 b2 a3
    EXPECT_EQ(Read(), Handler::ERROR_IOHANDLER_READ_PACKET);  // b3 opens a new part
    EXPECT_EQ(handler.GetPartialMessages().size(), 1u);

    // One at a time they come through.
    Handler fresh;
    Queue({a[0], a[1], a[2], b[0], b[1], b[2]});
    EXPECT_EQ(fresh.ReadSetupAPIMessage(dev, msg, 5, false), Handler::READ_SUCCESS);
    EXPECT_EQ(msg->m_opcode, PAYLOADHeader::DISK_CONFIG_RSP);
    EXPECT_EQ(fresh.ReadSetupAPIMessage(dev, msg, 5, false), Handler::READ_SUCCESS);
    EXPECT_EQ(msg->m_opcode, PAYLOADHeader::CONFIG_STATUS_RSP);
}

}  // namespace
