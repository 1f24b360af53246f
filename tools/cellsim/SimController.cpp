// Answering: one controller takes a received message, logs it, changes its state and replies
// through the faulty wire.
#include "SimController.h"

#include <openssl/crypto.h>

#include <algorithm>
#include <cstring>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/tlvUtils.h"
#include "SimDecode.h"

namespace {

std::string Plural(size_t iCount, const char* iWord) {
    return std::to_string(iCount) + " " + iWord + (iCount == 1 ? "" : "s");
}

bool IsRequest(u_short iOpcode) {
    switch (iOpcode) {
        case PAYLOADHeader::HELLO_REQ:
        case PAYLOADHeader::BLINK_REQ:
        case PAYLOADHeader::SETUP_REQ:
        case PAYLOADHeader::CONFIG_STATUS_REQ:
        case PAYLOADHeader::DISK_CONFIG_REQ:
        case PAYLOADHeader::PREJOIN_REQ:
            return true;
        default:
            return false;
    }
}

}  // namespace

struct CSimController::Reply {
    std::unique_ptr<SetupAPIMessage> message;
    std::unique_ptr<SETUPResponse> setup;
    CSimJsonObject extra;  // fields for the event of the reply
};

CSimController::CSimController(CSimCell& iCell, size_t iIndex, CSimEventLog& iLog, Sleeper iSleeper)
    : m_cell(iCell), m_index(iIndex), m_log(iLog), m_sleeper(std::move(iSleeper)) {}

void CSimController::OnChecksumFailure() {
    const CSimControllerConfig& c = Config();
    m_log.Event("rx_error", CSimJsonObject()
                                .Str("controller", c.name)
                                .Str("serial", c.serial)
                                .Str("reason", "checksum"));
    m_log.Say(c.name + "  a request arrived with a wrong checksum; not answered");
}

void CSimController::OnMessage(const SetupAPIMessage& iMessage, DEVICEIoHandler& iDevice) {
    const CSimControllerConfig& c = Config();
    const u_short op = iMessage.m_opcode;
    const u_short version = iMessage.m_version;
    const std::string src = SimMacText(iMessage.msghdr.shost);

    CSimJsonObject rx;
    rx.Str("controller", c.name)
        .Str("serial", c.serial)
        .Int("opcode", op)
        .Str("op", SimOpcodeName(op))
        .Int("version", version)
        .Str("src", src)
        .Str("dst", SimMacText(iMessage.msghdr.dhost));
    if (op != PAYLOADHeader::SETUP_RSP)
        rx.Raw("entries", SimDecodeEntries(op, iMessage.m_tlv));

    std::string summary =
        c.name + "  " + SimOpcodeName(op) + " v" + std::to_string(version) + " from " + src;
    std::string ignored;
    if (!IsRequest(op))
        ignored = "not a request";
    else if ((version == MESSAGE_VERSION_4 && !c.speaksV4) ||
             (version == MESSAGE_VERSION_5 && !c.speaksV5))
        ignored = "version " + std::to_string(version) + " not spoken";
    if (!ignored.empty()) {
        m_log.Event("rx", rx.Bool("answered", false).Str("reason", ignored));
        m_log.Say(summary + "  ignored: " + ignored);
        return;
    }

    if (op == PAYLOADHeader::PREJOIN_REQ) {
        m_cell.Change(m_index, [](CSimControllerState& s) { s.prejoined = true; });
        m_log.Event("rx", rx.Bool("answered", false).Bool("recorded", true));
        m_log.Say(summary + "  recorded (no reply)");
        return;
    }

    unsigned long number = 0;
    m_cell.Change(m_index, [&number](CSimControllerState& s) { number = ++s.requests; });
    rx.UInt("request", number);

    const CSimFaults& f = c.faults;
    const bool pastFirst = f.answerFirst >= 0 && number > static_cast<unsigned long>(f.answerFirst);
    if (pastFirst || f.silentTo.count(op)) {
        m_log.Event("rx", rx.Bool("answered", false).Str("reason", "silent"));
        m_log.Event("silent", CSimJsonObject()
                                  .Str("controller", c.name)
                                  .Str("op", SimOpcodeName(op))
                                  .UInt("request", number)
                                  .Int("answer_first", f.answerFirst));
        m_log.Say(summary + (pastFirst ? "  silent: answers only the first " +
                                             Plural(static_cast<size_t>(f.answerFirst), "request")
                                       : "  silent: never answers " + SimOpcodeName(op)));
        return;
    }

    Reply reply;
    Answer(iMessage, reply, rx, summary);
    m_log.Event("rx", rx.Bool("answered", !(f.dropEvery && number % f.dropEvery == 0)));

    if (f.dropEvery && number % f.dropEvery == 0) {
        m_log.Event("drop", CSimJsonObject()
                                .Str("controller", c.name)
                                .Str("op", SimOpcodeName(op))
                                .UInt("request", number)
                                .UInt("drop_every", f.dropEvery));
        m_log.Say(summary + "  reply dropped (every " + std::to_string(f.dropEvery) + ")");
        return;
    }
    if (f.delayMs && !m_sleeper(f.delayMs))
        return;
    Send(iMessage, reply, iDevice, summary);
}

void CSimController::Answer(const SetupAPIMessage& iRequest, Reply& ioReply, CSimJsonObject& ioRx,
                            std::string& ioSummary) {
    const CSimControllerConfig& c = Config();
    const u_short version = iRequest.m_version;
    switch (iRequest.m_opcode) {
        case PAYLOADHeader::HELLO_REQ: {
            CSimControllerState s = m_cell.State(m_index);
            ioReply.message = SimBuildHello(c, s, m_cell.Key(m_index).PublicPem(), version);
            ioReply.extra.Bool("initialized", s.initialized);
            break;
        }
        case PAYLOADHeader::SETUP_REQ: {
            CSimSetupRequest request = CSimSetupRequest::FromMessage(iRequest);
            uint8_t status = c.setupStatus;
            bool passwordOk = true;
            if (request.password) {
                CSimSecret block;
                std::string why;
                std::string password;
                const std::vector<unsigned char>& cipher = *request.password;
                if (m_cell.Key(m_index).Decrypt(cipher.data(), cipher.size(), block, why) &&
                    SimCheckPasswordBlock(block, m_cell.Key(m_index).PublicPem(), password, why)) {
                    // The simulator plays the controller: it shows what the controller received.
                    ioRx.Str("password", password).Str("password_check", "ok");
                    ioSummary += "  password ok (" + Plural(password.size(), "byte") + ")";
                } else {
                    passwordOk = false;
                    ioRx.Null("password").Str("password_check", why);
                    ioSummary += "  password refused: " + why;
                }
                if (!password.empty())
                    OPENSSL_cleanse(&password[0], password.size());
                block.Wipe();
            } else {
                ioRx.Null("password").Str("password_check", "absent");
                ioSummary += "  no password";
            }
            if (!passwordOk)
                status = c.passwordFailureStatus;
            ioRx.Int("setup_status", status);
            if (status == 0) {
                CSimJsonArray names;
                for (const std::string& n : m_cell.ApplySetup(m_index, request))
                    names.Add(SimJsonString(n));
                ioRx.Raw("configured", names.Text());
            } else {
                m_cell.Change(m_index, [](CSimControllerState& s) { s.nextPoll = 0; });
            }
            ioReply.setup = std::make_unique<SETUPResponse>(version);
            ioReply.setup->m_status = status;
            ioReply.extra.Int("status", status);
            break;
        }
        case PAYLOADHeader::CONFIG_STATUS_REQ: {
            size_t list = 0;
            const size_t lists = c.steps.size();
            m_cell.Change(m_index, [&list, lists](CSimControllerState& s) {
                list = s.nextPoll;
                if (s.nextPoll + 1 < lists)
                    ++s.nextPoll;
            });
            ioReply.message = SimBuildStatus(c, list, version);
            ioReply.extra.UInt("poll", list + 1);
            if (lists > 0) {
                ioSummary += "  step list " + std::to_string(list + 1) + " of " +
                             std::to_string(lists) + ":";
                for (const CSimStep& s : c.steps[list]) {
                    const char* n = SimStepName(s.id);
                    const char* st = SimStepStatusName(s.status);
                    ioSummary += " " + (n ? std::string(n) : std::to_string(s.id)) + "=" +
                                 (st ? std::string(st) : std::to_string(s.status));
                }
            } else {
                ioSummary += "  no steps";
            }
            break;
        }
        case PAYLOADHeader::DISK_CONFIG_REQ: {
            size_t sent = 0;
            ioReply.message = SimBuildDisks(c, version, sent);
            ioReply.extra.UInt("disks", sent).UInt("disks_configured", c.disks.size());
            ioSummary += "  " + Plural(sent, "disk");
            if (sent < c.disks.size())
                ioSummary +=
                    " (of " + std::to_string(c.disks.size()) + ": one frame holds no more)";
            break;
        }
        case PAYLOADHeader::BLINK_REQ: {
            std::optional<uint8_t> command;
            for (SETUPTlvIterator it(iRequest.m_tlv); it.getType() != 0; it.next())
                if (it.getType() == BLINKRequest::BLINK_REQUEST_STATUS && it.getLen() >= 1)
                    command = static_cast<uint8_t>(it.getValue()[0]);
            if (command)
                ioRx.Int("command", *command);
            uint16_t value = 0;
            bool follows = c.blinkFollowsCommand && command.has_value();
            m_cell.Change(m_index, [&](CSimControllerState& s) {
                if (follows)
                    s.blinkValue = *command;
                value = s.blinkValue;
            });
            ioReply.message = SimBuildBlink(c, value, version);
            ioReply.extra.UInt("blink_status", c.blinkStatus).UInt("blink_value", value);
            ioSummary += "  blink " + (command ? std::to_string(*command) : std::string("?")) +
                         " -> value " + std::to_string(value);
            break;
        }
        default:
            break;
    }
}

void CSimController::Send(const SetupAPIMessage& iRequest, Reply& ioReply, DEVICEIoHandler& iDevice,
                          std::string& ioSummary) {
    const CSimControllerConfig& c = Config();
    const CSimFaults& f = c.faults;
    CSimWire wire(iDevice, f.corruptChecksum);
    SetupAPIMessageHandler handler;
    u_short opcode = 0;
    size_t bytes = 0;
    std::string entries;
    if (ioReply.setup) {
        ioReply.setup->msghdr.Reset(0, iRequest.msghdr.shost, c.mac);
        handler.WriteSetupResponseMessage(wire, *ioReply.setup);
        opcode = ioReply.setup->m_opcode;
        bytes = 1;
    } else if (ioReply.message) {
        ioReply.message->msghdr.Reset(0, iRequest.msghdr.shost, c.mac);
        handler.WriteSetupAPIMessage(wire, *ioReply.message);
        opcode = ioReply.message->m_opcode;
        bytes = ioReply.message->m_tlv.getTlvBytesUsed();
        entries = SimDecodeEntries(opcode, ioReply.message->m_tlv);
    } else {
        return;
    }

    // Recorded before it leaves: whoever has the reply in hand finds it in the log.
    std::vector<CSimFrameInfo> sent = wire.Arrange(f.reverseFragments);
    size_t carried = 0;
    CSimJsonArray frames;
    for (const CSimFrameInfo& fr : sent) {
        carried += static_cast<size_t>(fr.bodyLength);
        frames.Add(CSimJsonObject()
                       .Int("id", fr.packetId)
                       .Int("of", fr.packets)
                       .Int("body", fr.bodyLength)
                       .UInt("wire", fr.wireLength)
                       .Text());
    }
    const bool cut = bytes > carried && opcode != PAYLOADHeader::SETUP_RSP;

    CSimJsonObject tx;
    tx.Str("controller", c.name)
        .Str("serial", c.serial)
        .Int("opcode", opcode)
        .Str("op", SimOpcodeName(opcode))
        .Int("version", iRequest.m_version)
        .Str("src", SimMacText(c.mac))
        .Str("dst", SimMacText(iRequest.msghdr.shost))
        .UInt("bytes", bytes)
        .Raw("frames", frames.Text());
    if (!entries.empty())
        tx.Raw("entries", entries);
    tx.Merge(ioReply.extra);
    if (f.delayMs)
        tx.UInt("delay_ms", f.delayMs);
    if (f.corruptChecksum)
        tx.Bool("corrupt_checksum", true);
    if (f.reverseFragments && sent.size() > 1)
        tx.Bool("reverse_fragments", true);
    // The frame cutting counts frames against 1470 bytes but fills each with 1458: a message
    // just past a whole number of frames loses its end, as it would from a real controller.
    if (cut)
        tx.UInt("lost_tail_bytes", bytes - carried);
    m_log.Event("tx", tx);

    const int result = wire.Flush();
    if (result <= 0)
        m_log.Event("tx_error", CSimJsonObject()
                                    .Str("controller", c.name)
                                    .Str("op", SimOpcodeName(opcode))
                                    .Str("reason", "the interface refused a frame"));

    std::string reply = SimOpcodeName(opcode);
    if (ioReply.setup)
        reply += " status " + std::to_string(ioReply.setup->m_status);
    reply += " (" + Plural(sent.size(), "frame");
    if (f.reverseFragments && sent.size() > 1)
        reply += ", last first";
    if (f.corruptChecksum)
        reply += ", checksum spoiled";
    if (f.delayMs)
        reply += ", after " + std::to_string(f.delayMs) + " ms";
    reply += ")";
    if (result <= 0)
        reply += " SEND FAILED";
    if (cut)
        reply += " losing its last " + Plural(bytes - carried, "byte") + " to the frame cutting";
    m_log.Say(ioSummary + "  -> " + reply);
}
