// Frame layout: headers laid out by Reset, and the message checksum.
#include "LSWConfig4/setupMessage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

const u_char kAdapterMac[6] = {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};

// Composes a single-frame request by hand: link header, payload header, padded body.
std::vector<u_char> ComposeFrame(u_short version, u_short opcode, const std::vector<u_char>& tlv,
                                 u_short bodyOnWire) {
    std::vector<u_char> frame(22 + 12 + bodyOnWire, 0);
    MESSAGEHeader mh;
    mh.Reset(0, nullptr, kAdapterMac);
    mh.SetLength(static_cast<u_short>(bodyOnWire + 20));
    unsigned char sum[4] = {};
    SHA256CheckSum::generateChecksum(reinterpret_cast<const char*>(tlv.data()),
                                     static_cast<uint32_t>(tlv.size()), sum);
    PAYLOADHeader ph;
    ph.Reset(bodyOnWire, opcode, version, 1, 1, sum);
    memcpy(frame.data(), &mh, sizeof(mh));
    memcpy(frame.data() + 22, &ph, sizeof(ph));
    memcpy(frame.data() + 34, tlv.data(), tlv.size());
    return frame;
}

TEST(SetupFrame, HelloRequestVersion5IsTheTableFrame) {
    // clang-format off
    const std::vector<u_char> expected = {
        0x01, 0x09, 0x8A, 0x00, 0x00, 0x01,              // dhost: multicast
        0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF,              // shost
        0x00, 0x36,                                      // length 54
        0xAA, 0xAA, 0x03, 0x00, 0x09, 0x8A, 0x00, 0x01,  // snap
        0x00, 0x05,                                      // version
        0x00, 0x01,                                      // HELLO_REQ
        0x00, 0x22,                                      // body length 34
        0x01, 0x01,                                      // 1 of 1
        0xFC, 0xF0, 0xA6, 0xC7,                          // checksum of 00 02
        0x00, 0x02,                                      // TLV total length
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,  // padding to 34 bytes of body
        0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    // clang-format on
    ASSERT_EQ(expected.size(), 68u);
    EXPECT_EQ(ComposeFrame(MESSAGE_VERSION_5, PAYLOADHeader::HELLO_REQ, {0x00, 0x02}, 34),
              expected);
}

TEST(SetupFrame, HelloRequestVersion4IsAlwaysFullSize) {
    std::vector<u_char> frame = ComposeFrame(MESSAGE_VERSION_4, PAYLOADHeader::HELLO_REQ,
                                             {0x00, 0x02}, TARGET_PAYLOAD_SIZE);
    ASSERT_EQ(frame.size(), 1492u);
    // clang-format off
    const std::vector<u_char> head = {
        0x01, 0x09, 0x8A, 0x00, 0x00, 0x01, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF,
        0x05, 0xC6,                                      // 1478
        0xAA, 0xAA, 0x03, 0x00, 0x09, 0x8A, 0x00, 0x01,
        0x00, 0x04, 0x00, 0x01, 0x05, 0xB2,              // version 4, HELLO_REQ, 1458
        0x01, 0x01, 0xFC, 0xF0, 0xA6, 0xC7, 0x00, 0x02};
    // clang-format on
    EXPECT_EQ(std::vector<u_char>(frame.begin(), frame.begin() + 36), head);
    for (size_t i = 36; i < frame.size(); ++i)
        ASSERT_EQ(frame[i], 0) << "offset " << i;
}

TEST(SetupFrame, HelloRequestWithLocaleCarriesItsChecksum) {
    const std::vector<u_char> body = {0x00, 0x0A, 0x01, 0x00, 0x05, 0x65, 0x6E, 0x5F, 0x55, 0x53};
    std::vector<u_char> frame = ComposeFrame(MESSAGE_VERSION_5, PAYLOADHeader::HELLO_REQ, body, 34);
    ASSERT_EQ(frame.size(), 68u);
    const std::vector<u_char> sum = {0x8D, 0xD0, 0x8D, 0x81};
    EXPECT_EQ(std::vector<u_char>(frame.begin() + 30, frame.begin() + 34), sum);
    EXPECT_EQ(std::vector<u_char>(frame.begin() + 34, frame.begin() + 44), body);
    EXPECT_EQ(frame[12], 0x00);
    EXPECT_EQ(frame[13], 0x36);
}

TEST(SetupFrame, HeaderFieldsAndEdges) {
    MESSAGEHeader mh;
    memset(&mh, 0x5A, sizeof(mh));
    mh.Reset(0, nullptr, nullptr);
    const u_char multicast[6] = {0x01, 0x09, 0x8A, 0x00, 0x00, 0x01};
    const u_char zero[6] = {};
    EXPECT_EQ(memcmp(mh.dhost, multicast, 6), 0);
    EXPECT_EQ(memcmp(mh.shost, zero, 6), 0);
    EXPECT_EQ(mh.GetLength(), 8);
    EXPECT_EQ(memcmp(mh.snap.snap, g_MessageHeaderTemplate + 14, 8), 0);
    EXPECT_EQ(mh.snap.parts.oui[2], 0x8A);

    mh.Reset(0, kAdapterMac, nullptr);
    EXPECT_EQ(memcmp(mh.dhost, kAdapterMac, 6), 0);

    u_char swapped[2] = {};
    const u_char src[2] = {0x12, 0x34};
    MESSAGEHeader::moveswapped(swapped, src);
    EXPECT_EQ(swapped[0], 0x34);
    EXPECT_EQ(swapped[1], 0x12);

    EXPECT_FALSE(PAYLOADHeader::MessageVersionSupported(3));
    EXPECT_TRUE(PAYLOADHeader::MessageVersionSupported(4));
    EXPECT_TRUE(PAYLOADHeader::MessageVersionSupported(5));
    EXPECT_FALSE(PAYLOADHeader::MessageVersionSupported(6));

    EXPECT_EQ(CHOOSE_TLV_SIZE_BY_VERSION(MESSAGE_VERSION_4), 1470);
    EXPECT_EQ(CHOOSE_TLV_SIZE_BY_VERSION(MESSAGE_VERSION_5), 373248);

    unsigned char out[4] = {1, 2, 3, 4};
    SHA256CheckSum::generateChecksum(nullptr, 2, out);
    const char data[2] = {0, 2};
    SHA256CheckSum::generateChecksum(data, 2, nullptr);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[3], 4);
}

}  // namespace
