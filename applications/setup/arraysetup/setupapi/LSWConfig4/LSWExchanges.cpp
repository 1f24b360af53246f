// The unicast exchanges: setup request, configuration status poll, disk information, blink
// and prejoin. All share the shape in LSWExchange.h; what is their own is their words, their
// read and what their handler takes from the reply.

#include <cstring>
#include <string>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/LSWDiscovery4.h"
#include "LSWConfig4/LSWExchange.h"
#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/setupMessageHandler.h"
#include "LSWConfig4/unix/Adapter.h"
#include "zelutil/ZelClock.h"
#include "zelutil/ZelStringUtil.h"
#include "zelutil/ZelTrace.h"

// ---- Words of each exchange -------------------------------------------------------------

const char* const g_ReadTimeoutDiag =
    "Unexpected Error: timeout occurred while reading the response.";
const char* const g_ChecksumDiag =
    "Unexpected Error: checksum error occurred while reading the response.";

const UNICASTWording g_SetupWording = {
    .request = "Setup",
    .openDiag = "Unexpected Error: CL2::GetInterface failed.",
    .openTrace = "Unexpected Error: CL2::GetInterface failed for %s",
    .openResult = -1,
    .filterDiag = "Unexpected Error: SetFilter failed.",
    .filterTrace = "Unexpected Error: SetFilter failed for %s",
    .filterResult = -1,
    .nullRequestTrace = "m_request is NULL",
    .sendDiag = "Unexpected Error: Send config frame failed.",
    .sendTrace = "Unexpected Error: Write Frame failed for %s",
    .emptyDiag = "Unexpected Error: setup response was empty.",
    .timedOutDiag = "Setup request timed out.",
    .timedOutTrace = "Error: Setup timeout after %d seconds.",
};

// The poll never had a request test; a null request is refused all the same rather than
// followed.
const UNICASTWording g_PollWording = {
    .request = "Poll",
    .openDiag = nullptr,
    .openTrace = "CL2::GetInterface failed",
    .openResult = -1,
    .filterDiag = nullptr,
    .filterTrace = "setfilter failed",
    .filterResult = -1,
    .nullRequestTrace = "m_request is NULL",
    .sendDiag = nullptr,
    .sendTrace = "Error sending the frame",
    .emptyDiag = "Unexpected Error: Poll response was empty.",
    .timedOutDiag = "Poll request timed out.",
    .timedOutTrace = "Error: Poll request timeout after %d seconds.",
};

// The timeout trace says Blink here too: the text came over with the code.
const UNICASTWording g_DiskInfoWording = {
    .request = "DiskInfo",
    .openDiag = nullptr,
    .openTrace = "CL2::GetInterface failed",
    .openResult = -1,
    .filterDiag = nullptr,
    .filterTrace = "setfilter failed",
    .filterResult = -1,
    .nullRequestTrace = "m_request is NULL",
    .sendDiag = nullptr,
    .sendTrace = "Error sending the frame",
    .emptyDiag = "Unexpected Error: DiskInfo response was empty.",
    .timedOutDiag = "DiskInfo request timed out.",
    .timedOutTrace = "Error: Blink timeout after %d seconds.",
};

const UNICASTWording g_BlinkWording = {
    .request = "Blink",
    .openDiag = nullptr,
    .openTrace = "CL2::GetInterface failed",
    .openResult = -1,
    .filterDiag = nullptr,
    .filterTrace = "setfilter failed",
    .filterResult = -1,
    .nullRequestTrace = "m_request is NULL",
    .sendDiag = nullptr,
    .sendTrace = "Error sending the frame",
    .emptyDiag = "Unexpected Error: blink response was empty.",
    .timedOutDiag = "Blink request timed out.",
    .timedOutTrace = "Error: Blink timeout after %d seconds.",
};

// Nothing comes back, so nothing is read. The opening failures answer as the Hello's do.
const UNICASTWording g_PreJoinWording = {
    .request = "PreJoin",
    .openDiag = nullptr,
    .openTrace = "CL2::GetInterface failed",
    .openResult = 1004,
    .filterDiag = nullptr,
    .filterTrace = "setfilter failed",
    .filterResult = 1005,
    .nullRequestTrace = "Request is NULL",
    .sendDiag = nullptr,
    .sendTrace = "Error sending the frame",
    .emptyDiag = nullptr,
    .timedOutDiag = nullptr,
    .timedOutTrace = nullptr,
};

// ---- The shape --------------------------------------------------------------------------

namespace {

void SetDiag(char* oDiag, const char* iText) {
    if (oDiag && iText)
        _strlcpy(oDiag, iText, SETUP_MSG_SETUP_RSP_DIAG_SIZE);
}

// Frames to this adapter's own address that carry our SNAP header.
int SetUnicastFilter(CL2& ioDev) {
    return ioDev.setfilter(g_MessageHeaderTemplate, g_MessageHeaderTemplate + 14);
}

// Reads until the reply decides: a handled reply ends with 0; a failed read, or a reply that
// came after the time was over, ends with -1.
int ReadUnicastReply(DEVICEIoHandler& iDev, SetupAPIMessageHandler& ioHandler,
                     const UNICASTWording& iWording, const UNICASTReply& iReply, int iTimeout,
                     char* oDiag) {
    SetupAPIMessageHandler::ReadResult result = SetupAPIMessageHandler::ERROR_READ_TIMEOUT_OCCURRED;
    const time_t start = ZelClock::Now();
    for (;;) {
        // Replies that are not the awaited one are read past while there is time.
        do {
            result = iReply.read(ioHandler, iDev, iTimeout);
        } while (result == SetupAPIMessageHandler::READ_SUCCESS && !iReply.valid() &&
                 ZelClock::Now() - start < iTimeout);

        switch (result) {
            case SetupAPIMessageHandler::ERROR_READ_TIMEOUT_OCCURRED:
                SetDiag(oDiag, g_ReadTimeoutDiag);
                return -1;
            case SetupAPIMessageHandler::ERROR_IOHANDLER_READ_PACKET:
                SetDiag(oDiag, iWording.emptyDiag);
                return -1;
            case SetupAPIMessageHandler::ERROR_CHECKSUM_FAILED:
                SetDiag(oDiag, g_ChecksumDiag);
                return -1;
            case SetupAPIMessageHandler::READ_SUCCESS:
                break;
        }

        if (ZelClock::Now() - start > iTimeout) {
            SetDiag(oDiag, iWording.timedOutDiag);
            if (iWording.timedOutTrace)
                ZelOutputDebugError(HERE, iWording.timedOutTrace, iTimeout);
            return -1;
        }
        if (iReply.handle() == 0)
            return 0;
    }
}

}  // namespace

int OpenUnicastSession(CZelAdapter* iAdapter, const UNICASTWording& iWording,
                       std::unique_ptr<CL2>& ioDev, char* oDiag) {
    ioDev.reset();
    // No adapter means no session, the same as a session that could not be opened.
    if (iAdapter)
        ioDev.reset(CL2::GetInterface(iAdapter->m_addr, iAdapter->m_pcapname));
    const char* name = iAdapter ? iAdapter->m_pcapname : "";
    if (!ioDev) {
        SetDiag(oDiag, iWording.openDiag);
        ZelOutputDebugError(HERE, iWording.openTrace, name);
        return iWording.openResult;
    }
    if (SetUnicastFilter(*ioDev) != 0) {
        SetDiag(oDiag, iWording.filterDiag);
        ZelOutputDebugError(HERE, iWording.filterTrace, name);
        return iWording.filterResult;
    }
    return 0;
}

int ConverseUnicast(DEVICEIoHandler& iDev, SetupAPIMessage* ioRequest, const unsigned char* iMac,
                    const UNICASTWording& iWording, const UNICASTReply* iReply, int iTimeout,
                    char* oDiag) {
    if (!ioRequest) {
        ZelOutputDebugError(HERE, "%s", iWording.nullRequestTrace);
        return -1;
    }
    ZelOutputDebugPrint(HERE, "Sending %s request to: %02X-%02X-%02X-%02X-%02X-%02X",
                        iWording.request, iMac[0], iMac[1], iMac[2], iMac[3], iMac[4], iMac[5]);

    // To the controller's own address, from the session's.
    unsigned char source[ZEL_MAC_ADDR_LEN];
    iDev.getMacAddr(source);
    ioRequest->msghdr.Reset(0, iMac, source);

    SetupAPIMessageHandler handler;
    if (handler.WriteSetupAPIMessage(iDev, *ioRequest) < 1) {
        SetDiag(oDiag, iWording.sendDiag);
        ZelOutputDebugError(HERE, "%s", iWording.sendTrace);
        return -1;
    }
    if (!iReply)
        return 0;
    return ReadUnicastReply(iDev, handler, iWording, *iReply, iTimeout, oDiag);
}

bool AttachLocale(SetupAPIMessage& ioRequest, uint8_t iCode, const std::string& iLocale) {
    const std::string cut = GetConvertedString(iLocale, 256);
    if (cut.empty())
        return true;
    ZelOutputDebugPrint(HERE, "Setting locale to: %s", cut.c_str());
    return ioRequest.m_tlv.pushBackEntry(iCode, static_cast<uint16_t>(cut.size()), cut.data());
}

void TraceSource(const MESSAGEHeader& iHdr) {
    ZelOutputDebugPrint(HERE,
                        "Processing response from SourceMacAddress: "
                        "%02X-%02X-%02X-%02X-%02X-%02X",
                        iHdr.shost[0], iHdr.shost[1], iHdr.shost[2], iHdr.shost[3], iHdr.shost[4],
                        iHdr.shost[5]);
}

// ---- The common part -------------------------------------------------------------------

CUnicastExchange::CUnicastExchange(CZelAdapter* iAdapter, SetupAPIMessage* iRequest,
                                   const unsigned char* iMac, const UNICASTWording& iWording)
    : m_adapter(iAdapter), m_request(iRequest), m_wording(iWording) {
    if (iMac)
        memcpy(m_mac, iMac, sizeof(m_mac));
}

CUnicastExchange::~CUnicastExchange() = default;

int CUnicastExchange::OpenSession(char* oDiag) {
    return OpenUnicastSession(m_adapter, m_wording, m_dev, oDiag);
}

int CUnicastExchange::Converse(DEVICEIoHandler& iDev, const UNICASTReply* iReply, int iTimeout,
                               char* oDiag) {
    return ConverseUnicast(iDev, m_request, m_mac, m_wording, iReply, iTimeout, oDiag);
}

template <typename Exchange>
int CUnicastExchange::ConverseForMessage(Exchange& ioSelf, DEVICEIoHandler& iDev, int iTimeout) {
    std::shared_ptr<SetupAPIMessage> msg;
    UNICASTReply reply{
        [&](SetupAPIMessageHandler& h, DEVICEIoHandler& d, int t) {
            return h.ReadSetupAPIMessage(d, msg, t, false);
        },
        [&] { return ioSelf.validatePkt(msg); },
        [&] { return static_cast<long>(ioSelf.packet_handler(msg)); },
    };
    return Converse(iDev, &reply, iTimeout, m_diagnostic);
}

// ---- CSetup -----------------------------------------------------------------------------

CSetup::CSetup(CZelAdapter* iAdapter, SETUPRequest* iRequest, const unsigned char* iMac)
    : CUnicastExchange(iAdapter, iRequest, iMac, g_SetupWording) {}

CSetup::~CSetup() = default;

int CSetup::run(int setup_timeout) {
    if (OpenSession() != 0)
        return -1;
    return run(*m_dev, setup_timeout);
}

int CSetup::run(DEVICEIoHandler& iDev, int timeout) {
    std::shared_ptr<SETUPResponse> resp;
    // The status byte is no TLV block, so the response has a read of its own that skips the
    // checksum and never yields other opcodes.
    UNICASTReply reply{
        [&](SetupAPIMessageHandler& h, DEVICEIoHandler& d, int t) {
            return h.ReadSetupResponseMessage(d, resp, t);
        },
        [&] { return validatePkt(resp); },
        [&] { return static_cast<long>(packet_handler(resp)); },
    };
    return Converse(iDev, &reply, timeout, m_diagnostic);
}

bool CSetup::validatePkt(std::shared_ptr<SETUPResponse> resp) {
    if (IsReply(resp, PAYLOADHeader::SETUP_RSP))
        return true;
    ZelOutputDebugPrint(HERE, "Setup packet handler ignored pkt v(%d),opcode(%d)",
                        resp ? resp->m_version : 0, resp ? resp->m_opcode : 0);
    return false;
}

int CSetup::packet_handler(std::shared_ptr<SETUPResponse> resp) {
    if (!resp) {
        ZelOutputDebugError(HERE, "packet handler received empty data packet");
        return -1;
    }
    if (!validatePkt(resp))
        return -1;
    TraceSource(resp->msghdr);
    m_status = resp->m_status;
    ZelOutputDebugPrint(HERE, "Setup status code %d", m_status);
    return 0;
}

// ---- CPollMsg ---------------------------------------------------------------------------

CPollMsg::CPollMsg(CZelAdapter* iAdapter, CONFIGURATIONStatusRequest* iRequest,
                   const unsigned char* iMac)
    : CUnicastExchange(iAdapter, iRequest, iMac, g_PollWording) {}

CPollMsg::~CPollMsg() = default;

int CPollMsg::run(int timeout) {
    if (OpenSession() != 0)
        return -1;
    return run(*m_dev, timeout);
}

int CPollMsg::run(DEVICEIoHandler& iDev, int timeout) {
    return ConverseForMessage(*this, iDev, timeout);
}

bool CPollMsg::validatePkt(const std::shared_ptr<SetupAPIMessage>& msg) {
    if (IsReply(msg, PAYLOADHeader::CONFIG_STATUS_RSP))
        return true;
    ZelOutputDebugPrint(HERE, "PollMsg packet handler ignored. invalid packet ver(%d):opcode(%d)",
                        msg ? msg->m_version : 0, msg ? msg->m_opcode : 0);
    return false;
}
// Ends the exchange at the first message handled, valid or not.
long int CPollMsg::packet_handler(const std::shared_ptr<SetupAPIMessage>& msg) {
    if (!validatePkt(msg))
        return 0;
    TraceSource(msg->msghdr);
    for (SETUPTlvIterator it(msg->m_tlv); it.getType() != 0; it.next()) {
        ZelOutputDebugPrint(HERE, "Found TLV entry Type:%d, Len:%d", it.getType(), it.getLen());
        switch (it.getType()) {
            case CONFIGURATIONStatusResponse::CONFIG_STATUS_RESPONSE_CODE:
                ReadLE16(it, m_ConfigStatusResponse);
                ZelOutputDebugPrint(HERE, "Enum:%d, Value:%d", it.getType(),
                                    static_cast<int>(m_ConfigStatusResponse));
                break;
            case CONFIGURATIONStatusResponse::ERROR_MESSAGE_TEXT:
                m_errorMessage = it.valueString();
                ZelOutputDebugPrint(HERE, "Enum:%d, Value:%s", it.getType(),
                                    m_errorMessage.c_str());
                break;
            case CONFIGURATIONStatusResponse::CONFIGURATION_STEPS:
                m_Reader.UnpackData(it.getValue(), it.getLen());
                break;
            case CONFIGURATIONStatusResponse::ORCHESTRATOR_STATE:
                ReadLE16(it, m_OrchestratorState);
                ZelOutputDebugPrint(HERE, "Enum:%d, Value:%d", it.getType(),
                                    static_cast<int>(m_OrchestratorState));
                break;
            default:
                ZelOutputDebugPrint(HERE, "Unknown CONFIGURATIONStatusResponse TlvTypeCode %d",
                                    it.getType());
                break;
        }
    }
    return 0;
}

// ---- CDiskInfo --------------------------------------------------------------------------

CDiskInfo::CDiskInfo(CZelAdapter* iAdapter, DISKConfigurationRequest* iRequest,
                     const unsigned char* iMac)
    : CUnicastExchange(iAdapter, iRequest, iMac, g_DiskInfoWording) {}

CDiskInfo::~CDiskInfo() = default;

int CDiskInfo::run(int timeout) {
    if (OpenSession() != 0)
        return -1;
    return run(*m_dev, timeout);
}

int CDiskInfo::run(DEVICEIoHandler& iDev, int timeout) {
    return ConverseForMessage(*this, iDev, timeout);
}

bool CDiskInfo::validatePkt(const std::shared_ptr<SetupAPIMessage>& msg) {
    if (IsReply(msg, PAYLOADHeader::DISK_CONFIG_RSP))
        return true;
    ZelOutputDebugPrint(HERE, "DiskInfo packet handler ignored. invalid packet ver(%d):opcode(%d)",
                        msg ? msg->m_version : 0, msg ? msg->m_opcode : 0);
    return false;
}

long int CDiskInfo::packet_handler(const std::shared_ptr<SetupAPIMessage>& msg) {
    if (!validatePkt(msg))
        return 0;
    TraceSource(msg->msghdr);
    for (SETUPTlvIterator it(msg->m_tlv); it.getType() != 0; it.next()) {
        ZelOutputDebugPrint(HERE, "Found TLV entry Type:%d, Len:%d", it.getType(), it.getLen());
        switch (it.getType()) {
            case DISKConfigurationResponse::DISK_ERROR_STATE:
                ReadLE16(it, m_ErrorState);
                break;
            case DISKConfigurationResponse::DISK_CONFIG_DATA:
                m_DiskReader.UnpackData(it.getValue(), it.getLen());
                break;
            case DISKConfigurationResponse::DISK_CONFIG_EXTRA1_DATA:
                m_DiskConfigExtra1DataReader.UnpackData(it.getValue(), it.getLen());
                break;
            default:
                ZelOutputDebugPrint(HERE, "Unknown ZelSetupMsg_DiskInfo4_rsp_4 TlvTypeCode %d",
                                    it.getType());
                break;
        }
    }
    return 0;
}

// ---- CBlink4 ----------------------------------------------------------------------------

CBlink4::CBlink4(CZelAdapter* iAdapter, BLINKRequest* iRequest, const unsigned char* iMac)
    : CUnicastExchange(iAdapter, iRequest, iMac, g_BlinkWording) {}

CBlink4::~CBlink4() = default;

int CBlink4::run(int timeout) {
    if (OpenSession() != 0)
        return -1;
    return run(*m_dev, timeout);
}

int CBlink4::run(DEVICEIoHandler& iDev, int timeout) {
    return ConverseForMessage(*this, iDev, timeout);
}

// The ignore text is the disk exchange's: the two were written from one model.
bool CBlink4::validatePkt(const std::shared_ptr<SetupAPIMessage>& msg) {
    if (IsReply(msg, PAYLOADHeader::BLINK_RSP))
        return true;
    ZelOutputDebugPrint(HERE, "DiskInfo packet handler ignored. invalid packet ver(%d):opcode(%d)",
                        msg ? msg->m_version : 0, msg ? msg->m_opcode : 0);
    return false;
}

// 1 sends the exchange back to reading.
int CBlink4::packet_handler(const std::shared_ptr<SetupAPIMessage>& msg) {
    if (!validatePkt(msg))
        return 1;
    SETUPTlvIterator it(msg->m_tlv);
    TraceSource(msg->msghdr);
    for (; it.getType() != 0; it.next()) {
        ZelOutputDebugPrint(HERE, "Found TLV entry Type:%d, Len:%d", it.getType(), it.getLen());
        switch (it.getType()) {
            case BLINKResponse::BLINK_STATUS: {
                ByteCursor cursor = it.valueCursor();
                uint32_t status = cursor.readLE32();
                if (cursor.ok())
                    m_status = static_cast<int>(status);
                break;
            }
            case BLINKResponse::BLINK_VALUE: {
                ByteCursor cursor = it.valueCursor();
                uint16_t value = cursor.readLE16();
                if (cursor.ok())
                    m_BlinkValue = value;
                break;
            }
            default:
                ZelOutputDebugPrint(HERE, "Unknown BLINKResponse TlvTypeCode %d", it.getType());
                break;
        }
    }
    return 0;
}

// ---- CPreJoin ---------------------------------------------------------------------------

CPreJoin::CPreJoin(CZelAdapter* iAdapter, PREJOINRequest* iRequest, const unsigned char* iMac)
    : CUnicastExchange(iAdapter, iRequest, iMac, g_PreJoinWording) {
    (void)m_mask;
}

CPreJoin::~CPreJoin() = default;

// Nothing is written into a diagnostic: the opening failures answer with their codes.
int CPreJoin::run() {
    int opened = OpenSession(nullptr);
    if (opened != 0)
        return opened;
    return run(*m_dev);
}

int CPreJoin::run(DEVICEIoHandler& iDev) {
    return Converse(iDev, nullptr, 0, nullptr);
}
