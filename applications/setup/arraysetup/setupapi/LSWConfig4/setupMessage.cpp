#include "LSWConfig4/setupMessage.h"

#include <openssl/sha.h>

#include <cstring>

#include "LSWConfig4/ByteCursor.h"

const u_char g_MessageHeaderTemplate[22] = MESSAGE_HEADER_INITIALIZER;

void MESSAGEHeader::Reset(u_short iLength, const u_char* iDhost, const u_char* iShost) {
    static_assert(sizeof(g_MessageHeaderTemplate) == sizeof(MESSAGEHeader), "template size");
    memcpy(this, g_MessageHeaderTemplate, sizeof(MESSAGEHeader));
    if (iDhost)
        memcpy(dhost, iDhost, sizeof(dhost));
    if (iShost)
        memcpy(shost, iShost, sizeof(shost));
    SetLength(static_cast<u_short>(iLength + 8));
}

void MESSAGEHeader::SetLength(u_short iLength) {
    PutBE16(length, iLength);
}
u_short MESSAGEHeader::GetLength() const {
    return GetBE16(length);
}

void MESSAGEHeader::moveswapped(void* oTo, const void* iFrom) {
    auto* to = static_cast<u_char*>(oTo);
    auto* from = static_cast<const u_char*>(iFrom);
    u_char first = from[0];
    to[0] = from[1];
    to[1] = first;
}

void PAYLOADHeader::Reset(u_short iLength, u_short iOpcode, u_short iVersion,
                          u_char iNumberOfPackets, u_char iPacketId, const u_char* iDataChecksum) {
    SetLength(iLength);
    SetOpcode(iOpcode);
    SetVersion(iVersion);
    numberOfPackets = iNumberOfPackets;
    packetId = iPacketId;
    if (iDataChecksum)
        memcpy(dataChecksum, iDataChecksum, sizeof(dataChecksum));
    else
        memset(dataChecksum, 0, sizeof(dataChecksum));
}

void PAYLOADHeader::SetVersion(u_short iVersion) {
    PutBE16(version, iVersion);
}
u_short PAYLOADHeader::GetVersion() const {
    return GetBE16(version);
}
void PAYLOADHeader::SetOpcode(u_short iOpcode) {
    PutBE16(opcode, iOpcode);
}
u_short PAYLOADHeader::GetOpcode() const {
    return GetBE16(opcode);
}
void PAYLOADHeader::SetLength(u_short iLength) {
    PutBE16(length, iLength);
}
u_short PAYLOADHeader::GetLength() const {
    return GetBE16(length);
}

bool PAYLOADHeader::MessageVersionSupported(u_short iVersion) {
    return iVersion == MESSAGE_VERSION_4 || iVersion == MESSAGE_VERSION_5;
}

void SHA256CheckSum::generateChecksum(const char* iData, uint32_t iLength,
                                      unsigned char* oChecksum) {
    if (!iData || !oChecksum)
        return;
    unsigned char digest[SHA256_DIGEST_LENGTH];
    SHA256(reinterpret_cast<const unsigned char*>(iData), iLength, digest);
    memcpy(oChecksum, digest, 4);
}
