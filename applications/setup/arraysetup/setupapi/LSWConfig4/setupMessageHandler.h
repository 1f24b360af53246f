#ifndef LSWCONFIG4_SETUPMESSAGEHANDLER_H
#define LSWCONFIG4_SETUPMESSAGEHANDLER_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <utility>
#include <vector>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/setupMessage.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/unix/Adapter.h"

// Frames with the same destination, source, opcode and checksum belong to one message.
struct MapKey {
    MapKey(const MESSAGEHeader& iMsghdr, u_short iOpcode, const u_char* iDataChecksum);

    // Not a strict weak ordering, and kept so: the third test compares this destination
    // with the other's source. Two keys are the same entry when neither is less than the
    // other, which means the same destination and source and, unless the destination is
    // above the source, the same opcode and checksum.
    bool operator<(const MapKey& other) const;

    u_char dhost[6];
    u_char shost[6];
    u_short opcode;
    u_char dataChecksum[4];
};

// One slot of a message in flight: the body of one frame. len 0 means still empty.
struct DataBlob {
    uint16_t len;
    char blob[TARGET_PAYLOAD_SIZE];
};

// A message of several frames, collected until every slot is filled. A slot is made when its
// frame arrives: a first fragment announcing 255 frames must not cost 255 slots.
class SetupAPIMessagePart {
public:
    SetupAPIMessagePart(const MESSAGEHeader& iMsghdr, u_short iVlanid, const u_char* iDataChecksum,
                        size_t iNumBlobs);
    virtual ~SetupAPIMessagePart() = default;
    SetupAPIMessagePart(const SetupAPIMessagePart&) = delete;
    SetupAPIMessagePart& operator=(const SetupAPIMessagePart&) = delete;

    MESSAGEHeader msghdr;
    u_short vlanid;
    u_char dataChecksum[4];
    size_t numBlobs;
    std::vector<std::unique_ptr<DataBlob>> blobs;  // numBlobs places, null until filled
    time_t timeCreated;
};

// The messages in flight, keyed by MapKey. An ordered tree would need a strict weak
// ordering, and MapKey's is not one: a tree built with it misplaces keys, loses
// identical ones and can orphan whole subtrees on insertion. So the entries stand in a
// short list, and a key finds the entry that the comparison holds equal to it (neither
// less than the other), the meaning of equality in any keyed container. At most one entry
// exists per key, and an exchange holds only a few.
class PartialMessageMap {
public:
    using value_type = std::pair<MapKey, std::shared_ptr<SetupAPIMessagePart>>;
    using iterator = std::vector<value_type>::iterator;
    using const_iterator = std::vector<value_type>::const_iterator;

    iterator find(const MapKey& iKey);
    // Adds the entry unless one with an equal key is there; the entry for the key either way.
    std::pair<iterator, bool> insert(const MapKey& iKey,
                                     const std::shared_ptr<SetupAPIMessagePart>& iPart);
    iterator erase(iterator iPos);
    void clear() { m_entries.clear(); }

    iterator begin() { return m_entries.begin(); }
    iterator end() { return m_entries.end(); }
    const_iterator begin() const { return m_entries.begin(); }
    const_iterator end() const { return m_entries.end(); }
    size_t size() const { return m_entries.size(); }
    bool empty() const { return m_entries.empty(); }

private:
    std::vector<value_type> m_entries;
};

// The message layer: cuts a message into frames on a device and puts received frames back
// together, holding incomplete messages meanwhile. One handler serves one exchange.
class SetupAPIMessageHandler {
public:
    enum ReadResult {
        READ_SUCCESS = 0,
        ERROR_READ_TIMEOUT_OCCURRED = 1,  // the deadline passed among frames not ours
        ERROR_IOHANDLER_READ_PACKET = 2,  // the device's Read gave nothing
        ERROR_CHECKSUM_FAILED = 3,        // a message was complete and its checksum wrong
    };

    // Seconds a partial message is kept.
    static const int PARTIAL_MESSAGE_TIMEOUT = 15;
    // An exchange has a message or two in flight; a flood of fragments with ever new
    // checksums must not grow memory (each part may fill up to 255 frames) without bound,
    // so past this many the oldest partial message gives way.
    static constexpr size_t MAX_PARTIAL_MESSAGES = 64;

    int32_t WriteSetupAPIMessage(DEVICEIoHandler& iIOHandler, const SetupAPIMessage& iMsg);
    // The controller's side: a body of one status byte.
    int32_t WriteSetupResponseMessage(DEVICEIoHandler& iIOHandler, const SETUPResponse& iResp);

    // Cuts iBodylen bytes of iBody into frames: the last Write result, or -1 if no frame was
    // due. Short and tail frames take bytes from behind the message, as a TLV buffer holds
    // zeros there; past iBodyCapacity bytes (what iBody really holds) zeros are sent.
    int32_t WriteDataBlob(DEVICEIoHandler& iIOHandler, const MESSAGEHeader& iMsghdr,
                          const char* iBody, uint16_t iBodylen, u_short iVlanid, u_short iOpcode,
                          u_short iVersion, uint32_t iBodyCapacity = UINT32_MAX);

    ReadResult ReadSetupAPIMessage(DEVICEIoHandler& iIOHandler,
                                   std::shared_ptr<SetupAPIMessage>& msg, int iTimeout,
                                   bool iSkipChecksum);
    ReadResult ReadSetupResponseMessage(DEVICEIoHandler& iIOHandler,
                                        std::shared_ptr<SETUPResponse>& oResp, int iTimeout);

    // Drops partial messages older than PARTIAL_MESSAGE_TIMEOUT.
    void CleanUpPartialMessages();

    // Writes both addresses, the VLAN tag when iVlanid isn't 0, room for the length (handed
    // back in oMsgLengthPtr) and the SNAP header. Always 0.
    int32_t packMessageHeader(const MESSAGEHeader& iMsghdr, u_short& iVlanid, char*& ioNextPtr,
                              char*& oMsgLengthPtr);
    // Reads a link header from ioCursor: 0 for a frame of ours, 1 otherwise (also when the
    // frame is too short to hold one). The cursor ends behind the SNAP header.
    int32_t unpackMessageHeader(MESSAGEHeader& oMsghdr, u_short& oVlanid,
                                const unsigned char* oMacaddr, ByteCursor& ioCursor);
    // Files one frame of a message of several; msg is set when the message is complete.
    // ioCursor stands at the frame's body.
    ReadResult parseSinglePacketInMultiPacketMessage(MESSAGEHeader& iMsghdr,
                                                     PAYLOADHeader& iPayloadhdr, u_short& iVlanid,
                                                     ByteCursor& ioCursor,
                                                     std::shared_ptr<SetupAPIMessage>& msg);

    const PartialMessageMap& GetPartialMessages() const { return partialMessages; }

private:
    PartialMessageMap partialMessages;
};

#endif
