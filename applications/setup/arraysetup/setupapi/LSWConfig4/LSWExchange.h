#ifndef LSWCONFIG4_LSWEXCHANGE_H
#define LSWCONFIG4_LSWEXCHANGE_H

// The one shape of the unicast exchanges: open a session on the adapter, filter it, send
// the request once to the controller's MAC, then read until a reply is handled, the
// device gives up or the time is over. The exchanges differ only in their words, their
// read and their handler.

#include <functional>
#include <memory>
#include <string>

#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/setupMessageHandler.h"
#include "LSWConfig4/setupMsgV4.h"

class CL2;
class CZelAdapter;
class DEVICEIoHandler;
class SetupAPIMessage;

// How one exchange words each failure. A null text is neither written nor traced. The
// traces of the opening steps may hold one "%s", the adapter's capture name. Rows are
// written with their field names.
struct UNICASTWording {
    const char* request;   // "Sending <request> request to: ..."
    const char* openDiag;  // no session on the adapter
    const char* openTrace;
    int openResult;
    const char* filterDiag;  // filter refused
    const char* filterTrace;
    int filterResult;
    const char* nullRequestTrace;  // no request to send
    const char* sendDiag;          // the frame did not leave
    const char* sendTrace;
    const char* emptyDiag;      // the device's read gave nothing
    const char* timedOutDiag;   // the reply came after the time was over
    const char* timedOutTrace;  // "%d": the timeout in seconds
};

extern const UNICASTWording g_SetupWording;
extern const UNICASTWording g_PollWording;
extern const UNICASTWording g_DiskInfoWording;
extern const UNICASTWording g_BlinkWording;
extern const UNICASTWording g_PreJoinWording;

// Shared by every exchange that reads.
extern const char* const g_ReadTimeoutDiag;
extern const char* const g_ChecksumDiag;

// The exchange's own part of the reading. Each callable works on the message that the
// exchange holds for the length of one run.
struct UNICASTReply {
    // One read of the message layer, with the exchange's whole timeout.
    std::function<SetupAPIMessageHandler::ReadResult(SetupAPIMessageHandler&, DEVICEIoHandler&,
                                                     int)>
        read;
    // Whether the message just read is the awaited reply.
    std::function<bool()> valid;
    // 0 ends the exchange with success; anything else goes back to reading.
    std::function<long()> handle;
};

// Opens a session on the adapter into ioDev (releasing what ioDev held) and sets the
// unicast filter. 0, or the wording's result of the step that failed; oDiag holds
// SETUP_MSG_SETUP_RSP_DIAG_SIZE bytes.
int OpenUnicastSession(CZelAdapter* iAdapter, const UNICASTWording& iWording,
                       std::unique_ptr<CL2>& ioDev, char* oDiag);

// From the null-request test on: addresses the request from the device's own MAC to iMac,
// sends it, and, unless iReply is null (fire and forget), reads until the reply decides.
// 0 when a reply was handled (or sent, without iReply), else -1 with oDiag filled as the
// wording says.
int ConverseUnicast(DEVICEIoHandler& iDev, SetupAPIMessage* ioRequest, const unsigned char* iMac,
                    const UNICASTWording& iWording, const UNICASTReply* iReply, int iTimeout,
                    char* oDiag);

// What the unicast exchanges hold and do alike: the adapter, the session opened on it, the
// controller's address, the request (not owned) and the diagnostic text; opening the session,
// and sending the request and reading the reply as the wording says. Each exchange adds its
// own reading of the reply.
class CUnicastExchange {
public:
    CUnicastExchange(const CUnicastExchange&) = delete;
    CUnicastExchange& operator=(const CUnicastExchange&) = delete;

protected:
    CUnicastExchange(CZelAdapter* iAdapter, SetupAPIMessage* iRequest, const unsigned char* iMac,
                     const UNICASTWording& iWording);
    ~CUnicastExchange();

    std::string diag() const { return m_diagnostic; }
    // Opens the session into m_dev: 0, or the wording's result of the step that failed.
    // oDiag (m_diagnostic unless told) takes the wording's text; null writes none.
    int OpenSession(char* oDiag);
    int OpenSession() { return OpenSession(m_diagnostic); }
    // ConverseUnicast with this exchange's request, address and wording.
    int Converse(DEVICEIoHandler& iDev, const UNICASTReply* iReply, int iTimeout, char* oDiag);
    // The reading of an exchange whose reply is a whole message: one read of the message
    // layer with the checksum compared, then the exchange's validatePkt and packet_handler.
    template <typename Exchange>
    int ConverseForMessage(Exchange& ioSelf, DEVICEIoHandler& iDev, int iTimeout);
    // Whether a reply is there, of a version we speak, with this opcode.
    template <typename Message>
    static bool IsReply(const std::shared_ptr<Message>& iMsg, unsigned short iOpcode) {
        return iMsg && PAYLOADHeader::MessageVersionSupported(iMsg->m_version) &&
               iMsg->m_opcode == iOpcode;
    }

    CZelAdapter* m_adapter;
    std::unique_ptr<CL2> m_dev;
    unsigned char m_mac[6] = {};
    SetupAPIMessage* m_request;
    char m_diagnostic[SETUP_MSG_SETUP_RSP_DIAG_SIZE] = {};
    const UNICASTWording& m_wording;
};

// Adds the locale to a request as entry iCode, cut as a 256-byte field would keep it; an
// empty locale adds nothing. False when the entry did not fit.
bool AttachLocale(SetupAPIMessage& ioRequest, uint8_t iCode, const std::string& iLocale);

// Traces the address a reply came from, as every handler does before reading it.
void TraceSource(const MESSAGEHeader& iHdr);

// A 16-bit value of an entry into a field of any width; the field keeps its value when the
// entry is too short to hold one.
template <typename T>
void ReadLE16(const SETUPTlvIterator& iIt, T& ioField) {
    ByteCursor cursor = iIt.valueCursor();
    uint16_t value = cursor.readLE16();
    if (cursor.ok())
        ioField = static_cast<T>(value);
}

#endif
