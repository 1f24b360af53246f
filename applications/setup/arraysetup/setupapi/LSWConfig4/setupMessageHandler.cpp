#include "LSWConfig4/setupMessageHandler.h"

#include <algorithm>
#include <cstring>

#include "zelutil/ZelClock.h"
#include "zelutil/ZelTrace.h"

namespace {

const size_t kPayloadHeaderSize = sizeof(PAYLOADHeader);
// Least body of a version 5 frame: the least data behind the 802.3 header, less the
// payload header.
const uint16_t kMinBodyOnWire = MIN_DATA_TO_SEND - kPayloadHeaderSize;

// The most a message of several frames can bring: 255 frames of a full untagged body. It
// fits the version 5 buffer, so a completed message never has to be cut on its way in.
static_assert(255u * TARGET_PAYLOAD_SIZE <= MAX_TLV_DATA_SIZE,
              "a message of 255 full frames fits a version 5 TLV buffer");

}  // namespace

// --- MapKey ---------------------------------------------------------------------------

MapKey::MapKey(const MESSAGEHeader& iMsghdr, u_short iOpcode, const u_char* iDataChecksum)
    : opcode(iOpcode) {
    memcpy(dhost, iMsghdr.dhost, sizeof(dhost));
    memcpy(shost, iMsghdr.shost, sizeof(shost));
    memcpy(dataChecksum, iDataChecksum, sizeof(dataChecksum));
}

bool MapKey::operator<(const MapKey& other) const {
    int cmp = memcmp(dhost, other.dhost, sizeof(dhost));
    if (cmp < 0)
        return true;
    if (cmp > 0)
        return false;
    if (memcmp(shost, other.shost, sizeof(shost)) < 0)
        return true;
    if (memcmp(dhost, other.shost, sizeof(dhost)) > 0)
        return false;
    if (opcode < other.opcode)
        return true;
    if (opcode > other.opcode)
        return false;
    return memcmp(dataChecksum, other.dataChecksum, sizeof(dataChecksum)) < 0;
}

// --- SetupAPIMessagePart --------------------------------------------------------------

SetupAPIMessagePart::SetupAPIMessagePart(const MESSAGEHeader& iMsghdr, u_short iVlanid,
                                         const u_char* iDataChecksum, size_t iNumBlobs)
    : msghdr(iMsghdr),
      vlanid(iVlanid),
      numBlobs(iNumBlobs),
      blobs(iNumBlobs),
      timeCreated(ZelClock::Now()) {
    memcpy(dataChecksum, iDataChecksum, sizeof(dataChecksum));
}

// --- PartialMessageMap ----------------------------------------------------------------

PartialMessageMap::iterator PartialMessageMap::find(const MapKey& iKey) {
    return std::find_if(m_entries.begin(), m_entries.end(), [&iKey](const value_type& entry) {
        return !(iKey < entry.first) && !(entry.first < iKey);
    });
}

std::pair<PartialMessageMap::iterator, bool> PartialMessageMap::insert(
    const MapKey& iKey, const std::shared_ptr<SetupAPIMessagePart>& iPart) {
    iterator found = find(iKey);
    if (found != m_entries.end())
        return {found, false};
    m_entries.emplace_back(iKey, iPart);
    return {m_entries.end() - 1, true};
}

PartialMessageMap::iterator PartialMessageMap::erase(iterator iPos) {
    return m_entries.erase(iPos);
}

// --- Sending --------------------------------------------------------------------------

int32_t SetupAPIMessageHandler::WriteSetupAPIMessage(DEVICEIoHandler& iIOHandler,
                                                     const SetupAPIMessage& iMsg) {
    return WriteDataBlob(iIOHandler, iMsg.msghdr, iMsg.m_tlv.getTlvBuffer(),
                         iMsg.m_tlv.getTlvBytesUsed(), iMsg.m_vlanid, iMsg.m_opcode, iMsg.m_version,
                         iMsg.m_tlv.getTlvAllocatedSize());
}

int32_t SetupAPIMessageHandler::WriteSetupResponseMessage(DEVICEIoHandler& iIOHandler,
                                                          const SETUPResponse& iResp) {
    return WriteDataBlob(iIOHandler, iResp.msghdr, reinterpret_cast<const char*>(&iResp.m_status),
                         1, iResp.m_vlanid, iResp.m_opcode, iResp.m_version, 1);
}

int32_t SetupAPIMessageHandler::packMessageHeader(const MESSAGEHeader& iMsghdr, u_short& iVlanid,
                                                  char*& ioNextPtr, char*& oMsgLengthPtr) {
    memcpy(ioNextPtr, iMsghdr.dhost, sizeof(iMsghdr.dhost));
    ioNextPtr += sizeof(iMsghdr.dhost);
    memcpy(ioNextPtr, iMsghdr.shost, sizeof(iMsghdr.shost));
    ioNextPtr += sizeof(iMsghdr.shost);
    if (iVlanid != 0) {
        PutBE16(ioNextPtr, ETHERTYPE_VLAN);
        // The tag goes out as it is held: it was taken from the wire unswapped.
        memcpy(ioNextPtr + 2, &iVlanid, sizeof(iVlanid));
        ioNextPtr += sizeof(vlan_tag);
    }
    oMsgLengthPtr = ioNextPtr;
    ioNextPtr += sizeof(iMsghdr.length);
    memcpy(ioNextPtr, iMsghdr.snap.snap, sizeof(iMsghdr.snap.snap));
    ioNextPtr += sizeof(iMsghdr.snap.snap);
    return 0;
}

int32_t SetupAPIMessageHandler::WriteDataBlob(DEVICEIoHandler& iIOHandler,
                                              const MESSAGEHeader& iMsghdr, const char* iBody,
                                              uint16_t iBodylen, u_short iVlanid, u_short iOpcode,
                                              u_short iVersion, uint32_t iBodyCapacity) {
    char frame[MAX_SNAP_FRAME_PAYLOAD_SIZE];
    memset(frame, 0, sizeof(frame));
    char* next = frame;
    char* lengthPtr = nullptr;
    packMessageHeader(iMsghdr, iVlanid, next, lengthPtr);
    int32_t result = -1;
    if (!iBody)
        iBodyCapacity = 0;

    const size_t headerLen = static_cast<size_t>(next - frame);
    const uint16_t payloadsize = static_cast<uint16_t>(MAX_SNAP_FRAME_PAYLOAD_SIZE - headerLen);
    const uint16_t bodysize = static_cast<uint16_t>(payloadsize - kPayloadHeaderSize);

    // Counted against the payload size, not the body size: a message a little longer than a
    // whole number of frames loses its end. Receivers expect exactly these frames.
    uint8_t numpackets =
        static_cast<uint8_t>(iBodylen / payloadsize + (iBodylen % payloadsize ? 1 : 0));

    u_char chksum[4] = {};
    SHA256CheckSum::generateChecksum(iBody, std::min<uint32_t>(iBodylen, iBodyCapacity), chksum);
    // Never decremented: every frame but a lone short one goes out full.
    const uint16_t dataleft = iBodylen;

    for (uint8_t i = 0; i < numpackets; ++i) {
        memset(next, 0, payloadsize);
        uint16_t dataonwire = bodysize;
        if (iVersion > MESSAGE_VERSION_4 && dataleft <= bodysize)
            dataonwire = std::max<uint16_t>(dataleft, kMinBodyOnWire);

        PAYLOADHeader payloadhdr;
        payloadhdr.Reset(dataonwire, iOpcode, iVersion, numpackets, static_cast<u_char>(i + 1),
                         chksum);
        memcpy(next, &payloadhdr, kPayloadHeaderSize);

        const uint16_t copied = std::min(dataonwire, bodysize);
        const size_t offset = static_cast<size_t>(bodysize) * i;
        if (offset < iBodyCapacity) {
            size_t avail = std::min<size_t>(copied, iBodyCapacity - offset);
            memcpy(next + kPayloadHeaderSize, iBody + offset, avail);
        }
        PutBE16(lengthPtr, static_cast<uint16_t>(copied + 20));

        result =
            iIOHandler.Write(frame, static_cast<uint32_t>(headerLen + kPayloadHeaderSize + copied));
        if (result <= 0) {
            ZelOutputDebugError(HERE, "Write of frame %d of %d failed (%d)", i + 1, numpackets,
                                result);
            break;
        }
    }
    return result;
}

// --- Receiving ------------------------------------------------------------------------

int32_t SetupAPIMessageHandler::unpackMessageHeader(MESSAGEHeader& oMsghdr, u_short& oVlanid,
                                                    const unsigned char* oMacaddr,
                                                    ByteCursor& ioCursor) {
    static const u_char kSnapSap[3] = {0xAA, 0xAA, 0x03};

    if (!ioCursor.readBytes(oMsghdr.dhost, sizeof(oMsghdr.dhost)))
        return 1;
    if (memcmp(oMsghdr.dhost, g_MessageHeaderTemplate, sizeof(oMsghdr.dhost)) != 0 &&
        (!oMacaddr || memcmp(oMsghdr.dhost, oMacaddr, sizeof(oMsghdr.dhost)) != 0))
        return 1;
    ioCursor.readBytes(oMsghdr.shost, sizeof(oMsghdr.shost));

    ByteCursor peek = ioCursor;
    if (peek.readBE16() == ETHERTYPE_VLAN) {
        ioCursor.skip(2);
        ioCursor.readBytes(&oVlanid, sizeof(oVlanid));
    }
    // The length is carried along but not used.
    ioCursor.readBytes(oMsghdr.length, sizeof(oMsghdr.length));
    ioCursor.readBytes(oMsghdr.snap.snap, sizeof(oMsghdr.snap.snap));
    if (!ioCursor.ok())
        return 1;

    // Of the SNAP header only DSAP, SSAP and control are ours to compare; the device has
    // checked the rest.
    if (memcmp(oMsghdr.snap.parts.snap_sap, kSnapSap, sizeof(kSnapSap)) != 0)
        return 1;
    return 0;
}

SetupAPIMessageHandler::ReadResult SetupAPIMessageHandler::ReadSetupAPIMessage(
    DEVICEIoHandler& iIOHandler, std::shared_ptr<SetupAPIMessage>& msg, int iTimeout,
    bool iSkipChecksum) {
    ReadResult result = ERROR_READ_TIMEOUT_OCCURRED;
    const time_t timeoutTime = ZelClock::Now() + iTimeout;
    msg.reset();
    unsigned char macaddr[6] = {};
    iIOHandler.getMacAddr(macaddr);

    char buf[MAX_SNAP_FRAME_PAYLOAD_SIZE];
    while (!msg && result == ERROR_READ_TIMEOUT_OCCURRED &&
           (iTimeout == -1 || ZelClock::Now() < timeoutTime)) {
        memset(buf, 0, sizeof(buf));
        int got = iIOHandler.Read(buf, sizeof(buf), iTimeout);
        if (got < 1)
            return ERROR_IOHANDLER_READ_PACKET;

        // The device reports the frame's length on the wire, which may exceed what it copied.
        ByteCursor cursor(buf, std::min<size_t>(static_cast<size_t>(got), sizeof(buf)));
        MESSAGEHeader msghdr;
        u_short vlanid = 0;
        if (unpackMessageHeader(msghdr, vlanid, macaddr, cursor) != 0)
            continue;

        PAYLOADHeader payloadhdr;
        if (!cursor.readBytes(&payloadhdr, sizeof(payloadhdr)))
            continue;
        const u_short version = payloadhdr.GetVersion();
        if (!PAYLOADHeader::MessageVersionSupported(version))
            continue;
        // A body longer than what came in the frame is not ours.
        if (payloadhdr.GetLength() > cursor.remaining()) {
            ZelOutputDebugVerbose(HERE, "Dropped frame announcing %d bytes of body, %d received",
                                  payloadhdr.GetLength(), static_cast<int>(cursor.remaining()));
            continue;
        }

        if (version >= MESSAGE_VERSION_5 && payloadhdr.numberOfPackets != 0 &&
            payloadhdr.numberOfPackets != 1) {
            ReadResult partResult =
                parseSinglePacketInMultiPacketMessage(msghdr, payloadhdr, vlanid, cursor, msg);
            if (partResult != READ_SUCCESS)
                result = partResult;
            else if (msg)
                result = READ_SUCCESS;
        } else {
            auto whole = std::make_shared<SetupAPIMessage>(payloadhdr.GetOpcode(), version);
            whole->msghdr = msghdr;
            whole->m_opcode = payloadhdr.GetOpcode();
            whole->m_version = version;
            whole->m_vlanid = vlanid;
            whole->m_tlv.appendTlvDataFromMessage(reinterpret_cast<const char*>(cursor.position()),
                                                  payloadhdr.GetLength());
            u_char chksum[4] = {};
            whole->m_tlv.calculateChecksum(chksum);
            if (version >= MESSAGE_VERSION_5 &&
                memcmp(chksum, payloadhdr.dataChecksum, sizeof(chksum)) != 0 && !iSkipChecksum) {
                ZelOutputDebugError(HERE, "Checksum mismatch on message with opcode %d",
                                    whole->m_opcode);
                msg.reset();
                result = ERROR_CHECKSUM_FAILED;
            } else {
                msg = whole;
                result = READ_SUCCESS;
            }
        }
        CleanUpPartialMessages();
    }
    return result;
}

SetupAPIMessageHandler::ReadResult SetupAPIMessageHandler::parseSinglePacketInMultiPacketMessage(
    MESSAGEHeader& iMsghdr, PAYLOADHeader& iPayloadhdr, u_short& iVlanid, ByteCursor& ioCursor,
    std::shared_ptr<SetupAPIMessage>& msg) {
    const u_short opcode = iPayloadhdr.GetOpcode();
    const u_short version = iPayloadhdr.GetVersion();
    const uint16_t len = iPayloadhdr.GetLength();
    MapKey key(iMsghdr, opcode, iPayloadhdr.dataChecksum);

    PartialMessageMap::iterator entry = partialMessages.find(key);
    const size_t numBlobs =
        entry != partialMessages.end() ? entry->second->numBlobs : iPayloadhdr.numberOfPackets;
    // A place outside the message, or a body the frame doesn't hold or a slot can't take,
    // makes the frame not ours.
    if (iPayloadhdr.packetId < 1 || iPayloadhdr.packetId > numBlobs || len > ioCursor.remaining() ||
        len > TARGET_PAYLOAD_SIZE) {
        ZelOutputDebugVerbose(HERE, "Dropped fragment %d of %d with %d bytes of body",
                              iPayloadhdr.packetId, static_cast<int>(numBlobs), len);
        return READ_SUCCESS;
    }
    if (entry == partialMessages.end()) {
        if (partialMessages.size() >= MAX_PARTIAL_MESSAGES) {
            ZelOutputDebugPrint(HERE, "Too many partial messages, dropping the oldest");
            partialMessages.erase(partialMessages.begin());
        }
        auto part = std::make_shared<SetupAPIMessagePart>(iMsghdr, iVlanid,
                                                          iPayloadhdr.dataChecksum, numBlobs);
        entry = partialMessages.insert(key, part).first;
    }
    SetupAPIMessagePart& part = *entry->second;

    std::unique_ptr<DataBlob>& slot = part.blobs[iPayloadhdr.packetId - 1];
    if (!slot)
        slot = std::make_unique<DataBlob>();
    slot->len = len;
    ioCursor.readBytes(slot->blob, len);

    for (const auto& blob : part.blobs)
        if (!blob || blob->len == 0)
            return READ_SUCCESS;

    auto whole = std::make_shared<SetupAPIMessage>(opcode, version);
    for (const auto& blob : part.blobs)
        whole->m_tlv.appendTlvDataFromMessage(blob->blob, blob->len);
    // The frame that completed the message names it, whichever slot it filled.
    whole->msghdr = iMsghdr;
    whole->m_opcode = opcode;
    whole->m_version = version;
    whole->m_vlanid = iVlanid;

    ReadResult result = READ_SUCCESS;
    u_char chksum[4] = {};
    whole->m_tlv.calculateChecksum(chksum);
    if (memcmp(chksum, part.dataChecksum, sizeof(chksum)) != 0) {
        ZelOutputDebugError(HERE, "Checksum mismatch on message of %d frames with opcode %d",
                            static_cast<int>(part.numBlobs), opcode);
        msg.reset();
        result = ERROR_CHECKSUM_FAILED;
    } else {
        msg = whole;
    }
    partialMessages.erase(entry);
    return result;
}

void SetupAPIMessageHandler::CleanUpPartialMessages() {
    const time_t now = ZelClock::Now();
    for (PartialMessageMap::iterator it = partialMessages.begin(); it != partialMessages.end();) {
        if (it->second->timeCreated + PARTIAL_MESSAGE_TIMEOUT < now)
            it = partialMessages.erase(it);
        else
            ++it;
    }
}

SetupAPIMessageHandler::ReadResult SetupAPIMessageHandler::ReadSetupResponseMessage(
    DEVICEIoHandler& iIOHandler, std::shared_ptr<SETUPResponse>& oResp, int iTimeout) {
    std::shared_ptr<SetupAPIMessage> msg;
    do {
        oResp.reset();
        // The body is one status byte, not a block whose checksum could be recomputed.
        ReadResult result = ReadSetupAPIMessage(iIOHandler, msg, iTimeout, true);
        if (result != READ_SUCCESS)
            return result;
        oResp = std::make_shared<SETUPResponse>(msg->m_version);
    } while (msg->m_opcode != PAYLOADHeader::SETUP_RSP);

    oResp->msghdr = msg->msghdr;
    oResp->m_vlanid = msg->m_vlanid;
    const char* body = msg->m_tlv.getTlvBuffer();
    oResp->m_status = body ? static_cast<u_char>(body[0]) : 0;
    return READ_SUCCESS;
}
