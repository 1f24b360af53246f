#include "LSWConfig4/setupMsgV4.h"

#include <cstring>

SetupAPIMessage::SetupAPIMessage(u_short opcode, u_short version)
    : m_tlv(CHOOSE_TLV_SIZE_BY_VERSION(version)),
      m_opcode(opcode),
      m_version(version),
      m_vlanid(0) {
    memset(&msghdr, 0, sizeof(msghdr));
}

SetupAPIMessage::~SetupAPIMessage() = default;

HELLORequest::HELLORequest(u_short version) : SetupAPIMessage(PAYLOADHeader::HELLO_REQ, version) {}

BLINKRequest::BLINKRequest(u_short version) : SetupAPIMessage(PAYLOADHeader::BLINK_REQ, version) {}

SETUPRequest::SETUPRequest(u_short version) : SetupAPIMessage(PAYLOADHeader::SETUP_REQ, version) {}

CONFIGURATIONStatusRequest::CONFIGURATIONStatusRequest(u_short version)
    : SetupAPIMessage(PAYLOADHeader::CONFIG_STATUS_REQ, version) {}

DISKConfigurationRequest::DISKConfigurationRequest(u_short version)
    : SetupAPIMessage(PAYLOADHeader::DISK_CONFIG_REQ, version) {}

PREJOINRequest::PREJOINRequest(u_short version)
    : SetupAPIMessage(PAYLOADHeader::PREJOIN_REQ, version) {}

HELLOResponse::HELLOResponse(u_short version)
    : SetupAPIMessage(PAYLOADHeader::HELLO_RSP, version) {}

SETUPResponse::SETUPResponse(u_short version)
    : m_status(0), m_opcode(PAYLOADHeader::SETUP_RSP), m_version(version), m_vlanid(0) {
    memset(&msghdr, 0, sizeof(msghdr));
}
