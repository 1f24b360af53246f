#ifndef LSWCONFIG4_SETUPMESSAGE_H
#define LSWCONFIG4_SETUPMESSAGE_H

#include <sys/types.h>

#include <cstdint>

// Sizes of a setup frame.
#define MAX_SNAP_FRAME_PAYLOAD_SIZE 1492  // whole frame, from dhost, both headers included
#define TARGET_PAYLOAD_SIZE 1458          // 1492 - 22 - 12: most body in an untagged frame
#define MIN_DATA_TO_SEND 46               // PAYLOADHeader plus 34 bytes of body
#define MAX_TLV_DATA_SIZE 373248          // 256 x 1458: a version 5 TLV buffer
#define SETUP_MSG_SETUP_RSP_DIAG_SIZE 1024

#define MESSAGE_VERSION_4 4
#define MESSAGE_VERSION_5 5

#define CHOOSE_TLV_SIZE_BY_VERSION(version) \
    ((version) > MESSAGE_VERSION_4 ? MAX_TLV_DATA_SIZE : TARGET_PAYLOAD_SIZE + 12)

#ifndef ETHERTYPE_VLAN
#define ETHERTYPE_VLAN 0x8100
#endif

// The 22-byte template of a link header and the program's only source of the protocol's
// magic values: multicast destination, zero source, zero length, LLC/SNAP.
#define MESSAGE_HEADER_INITIALIZER                                                                \
    {                                                                                             \
        0x01, 0x09, 0x8A, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xAA, \
            0xAA, 0x03, 0x00, 0x09, 0x8A, 0x00, 0x01                                              \
    }

extern const u_char g_MessageHeaderTemplate[22];

#pragma pack(push, 1)

struct vlan_tag {
    u_short type;  // ETHERTYPE_VLAN, big-endian
    u_short tci;   // kept in wire order
};

// IEEE 802.3 header with LLC/SNAP. The VLAN tag is not part of this record: the frame
// writer and reader put it between shost and length when a message carries one.
struct MESSAGEHeader {
    struct snapparts_t {
        u_char snap_sap[3];  // AA AA 03
        u_char oui[3];       // 00 09 8A
        u_char pid[2];       // 00 01
    };
    union Snap {
        u_char snap[8];
        snapparts_t parts;
    };

    u_char dhost[6];
    u_char shost[6];
    u_char length[2];  // big-endian: SNAP, payload header and body of this frame
    Snap snap;

    // Copies the template, then the addresses that are given (null dhost: multicast).
    void Reset(u_short iLength, const u_char* iDhost, const u_char* iShost);
    void SetLength(u_short iLength);
    u_short GetLength() const;
    static void moveswapped(void* oTo, const void* iFrom);
};

struct PAYLOADHeader {
    enum Opcode : u_short {
        HELLO_REQ = 1,
        HELLO_RSP = 2,
        BLINK_REQ = 3,
        BLINK_RSP = 4,
        SETUP_REQ = 5,
        SETUP_RSP = 6,
        CONFIG_STATUS_REQ = 9,
        CONFIG_STATUS_RSP = 10,
        DISK_CONFIG_REQ = 11,
        DISK_CONFIG_RSP = 12,
        PREJOIN_REQ = 13,
    };

    u_char version[2];  // big-endian
    u_char opcode[2];   // big-endian
    u_char length[2];   // big-endian: body bytes in this frame, padding included
    u_char numberOfPackets;
    u_char packetId;
    u_char dataChecksum[4];

    void Reset(u_short iLength, u_short iOpcode, u_short iVersion, u_char iNumberOfPackets,
               u_char iPacketId, const u_char* iDataChecksum);
    void SetVersion(u_short iVersion);
    u_short GetVersion() const;
    void SetOpcode(u_short iOpcode);
    u_short GetOpcode() const;
    void SetLength(u_short iLength);
    u_short GetLength() const;
    static bool MessageVersionSupported(u_short iVersion);
};

#pragma pack(pop)

static_assert(sizeof(MESSAGEHeader) == 22, "MESSAGEHeader is 22 bytes on the wire");
static_assert(sizeof(PAYLOADHeader) == 12, "PAYLOADHeader is 12 bytes on the wire");
static_assert(sizeof(vlan_tag) == 4, "a VLAN tag is 4 bytes");

class SHA256CheckSum {
public:
    // First 4 bytes of the SHA-256 digest of iLength bytes; nothing when a pointer is null.
    static void generateChecksum(const char* iData, uint32_t iLength, unsigned char* oChecksum);
};

#endif
