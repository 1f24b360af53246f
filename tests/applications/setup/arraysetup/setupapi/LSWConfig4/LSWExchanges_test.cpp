// The unicast exchanges (their reply handlers and their shared read rules, over a device in
// memory) and the parts of the worker that need no network.
#include <gtest/gtest.h>

#include <cstring>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "ExchangeFrames.h"
#include "LSWConfig4/LSWConfigMgr.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/LSWDiscovery4.h"
#include "LSWConfig4/LSWExchange.h"
#include "LSWConfig4/tlvUtils.h"
#include "support/Fields.h"
#include "support/ManualClock.h"
#include "support/MemoryDevice.h"

namespace {

using namespace xchg;

Bytes Steps(std::initializer_list<std::pair<int, int>> iSteps) {
    CONFIGURATIONStepWriter writer;
    for (auto& s : iSteps)
        writer.AddStep(static_cast<int8_t>(s.first), static_cast<int8_t>(s.second));
    return ToBytes(writer.Pack());
}

// A list of empty extended disk records: only their count is read here.
Bytes Extras(int iCount) {
    DISKConfigExtra1DataWriter writer;
    for (int i = 0; i < iCount; ++i)
        writer.AddDisk(RAWDiskDataExtra1{});
    return ToBytes(writer.Pack());
}

// ---- Reply handlers ---------------------------------------------------------------------

TEST(PollReply, EveryCodeAndWhatIsNotTaken) {
    CPollMsg poll(nullptr, nullptr, kCtrlMacA);
    EXPECT_EQ(poll.packet_handler(
                  Reply(PAYLOADHeader::CONFIG_STATUS_RSP, {{1, LE16(3)},
                                                           {2, Str("Configuring disks")},
                                                           {3, Steps({{1, 0}, {3, 1}, {13, 4}})},
                                                           {4, LE16(0x0107)},
                                                           {9, Str("later")}})),
              0);
    const auto& steps = poll.GetConfigurationStepReader().GetSteps();
    ASSERT_EQ(steps.size(), 3u);
    EXPECT_EQ(Fields(poll.GetConfigurationStatusResponseCode(), poll.GetErrorMessageText(),
                     poll.GetOrchestratorState(), steps[2].configurationStepId,
                     steps[2].configurationStepStatus),
              "3|Configuring disks|263|13|4");

    // Short numbers leave the start values (a count that lies is the step reader's to bound).
    CPollMsg shortPoll(nullptr, nullptr, kCtrlMacA);
    EXPECT_EQ(shortPoll.packet_handler(
                  Reply(PAYLOADHeader::CONFIG_STATUS_RSP, {{1, Hex("05")}, {4, Bytes()}})),
              0);
    EXPECT_EQ(
        Fields(shortPoll.GetConfigurationStatusResponseCode(), shortPoll.GetOrchestratorState()),
        "0|0");

    // Any other opcode is handled too, as the end of the exchange, with nothing stored.
    CPollMsg other(nullptr, nullptr, kCtrlMacA);
    EXPECT_EQ(other.packet_handler(Reply(PAYLOADHeader::DISK_CONFIG_RSP, {{1, LE16(9)}})), 0);
    EXPECT_EQ(Fields(other.GetConfigurationStatusResponseCode(),
                     other.GetConfigurationStepReader().GetSteps().size()),
              "0|0");
}

TEST(DiskReply, BothListsAnyLengthAndTheErrorState) {
    CDiskInfo none(nullptr, nullptr, kCtrlMacA);

    // 200 disks of both lists, over several frames, are read whole on the wire by the road's
    // network tests. A 16-bit state is the whole state: no bits of the start value remain.
    CDiskInfo state(nullptr, nullptr, kCtrlMacA);
    state.packet_handler(
        Reply(PAYLOADHeader::DISK_CONFIG_RSP, {{1, LE16(0xBEEF)}, {3, Extras(2)}}));
    EXPECT_EQ(Fields(state.GetErrorState(), state.GetDiskConfigDataReader().GetNumberOfDisks(),
                     state.GetDiskConfigExtra1DataReader().GetNumberOfDisks()),
              "48879|0|2");

    // A short state is no state (a count that lies is the disk reader's to bound).
    CDiskInfo hostile(nullptr, nullptr, kCtrlMacA);
    hostile.packet_handler(Reply(PAYLOADHeader::DISK_CONFIG_RSP, {{1, Hex("00")}}));
    CDiskInfo other(nullptr, nullptr, kCtrlMacA);
    EXPECT_EQ(other.packet_handler(Reply(PAYLOADHeader::BLINK_RSP, {{1, LE16(0)}})), 0);
    // Untouched, fed a short state, fed another answer: the start value each time.
    EXPECT_EQ(Fields(none.GetErrorState(), hostile.GetErrorState(), other.GetErrorState()),
              "4294967295|4294967295|4294967295");
}

TEST(BlinkReply, StatusValueAndReadingOn) {
    CBlink4 blink(nullptr, nullptr, kCtrlMacA);
    EXPECT_EQ(blink.getBlinkStatus(), -1);
    EXPECT_EQ(blink.packet_handler(
                  Reply(PAYLOADHeader::BLINK_RSP, {{1, LE32(0x01020304)}, {2, LE16(2)}, {7, {}}})),
              0);
    EXPECT_EQ(Fields(blink.getBlinkStatus(), blink.getBlinkValue()), "16909060|2");

    // A version 4 answer passes; short entries change nothing.
    CBlink4 shortBlink(nullptr, nullptr, kCtrlMacA);
    EXPECT_EQ(shortBlink.packet_handler(
                  Reply(PAYLOADHeader::BLINK_RSP, {{1, Hex("01 02 03")}, {2, Hex("01")}}, 4)),
              0);
    EXPECT_EQ(Fields(shortBlink.getBlinkStatus(), shortBlink.getBlinkValue()), "-1|0");

    // Not a blink answer: back to reading.
    EXPECT_EQ(blink.packet_handler(Reply(PAYLOADHeader::DISK_CONFIG_RSP, {{1, LE32(7)}})), 1);
    EXPECT_EQ(blink.getBlinkStatus(), 0x01020304);
}

// ---- The shared shape over a device in memory -------------------------------------------

class UnicastShape : public ::testing::Test {
protected:
    ManualClock clock;
    time_t start = ManualClock::Now();
    MEMORYDevice dev{kWizardMac};

    void At(time_t iOffset, const Bytes& iFrame) { dev.QueueFrameAt(start + iOffset, iFrame); }
    Bytes StatusReply(uint16_t iCode, u_short iVersion = 5) {
        return ReplyFrame(PAYLOADHeader::CONFIG_STATUS_RSP,
                          {{1, LE16(iCode)}, {3, Steps({{4, 1}})}}, iVersion);
    }
};

TEST_F(UnicastShape, PollReadsPastOthersAndAddressesTheController) {
    CONFIGURATIONStatusRequest request(5);
    CPollMsg poll(nullptr, &request, kCtrlMacA);
    At(1, ReplyFrame(PAYLOADHeader::DISK_CONFIG_RSP, {{1, LE16(0)}}));
    At(2, StatusReply(4));
    EXPECT_EQ(poll.run(dev, 8), 0);
    EXPECT_EQ(Fields(poll.GetConfigurationStatusResponseCode(),
                     poll.GetConfigurationStepReader().GetSteps().size(), poll.diag()),
              "4|1|");

    ASSERT_EQ(dev.Sent().size(), 1u);
    const Bytes& frame = dev.Sent()[0];
    EXPECT_EQ(
        Bytes(frame.begin(), frame.begin() + 36),
        Cat({Bytes(kCtrlMacA, kCtrlMacA + 6), Bytes(kWizardMac, kWizardMac + 6),
             Hex("00 36 AA AA 03 00 09 8A 00 01 00 05 00 09 00 22 01 01 FC F0 A6 C7 00 02")}));
}

TEST_F(UnicastShape, SilenceLateRepliesAndTheLastSecond) {
    const struct {
        time_t answerAt;  // 0: silence, and the device gives up after one wait
        uint16_t answer;
        int result;
        const char* diag;
    } rows[] = {
        {0, 0, -1, "Unexpected Error: Poll response was empty."},
        // Another message read just in time, the answer after the time is over.
        {9, 1, -1, "Poll request timed out."},
        // An answer in the last second is taken: the time must be exceeded.
        {8, 2, 0, ""},
    };
    for (const auto& r : rows) {
        start = ManualClock::Now();
        if (r.answerAt) {
            At(7, ReplyFrame(PAYLOADHeader::BLINK_RSP, {}));
            At(r.answerAt, StatusReply(r.answer));
        }
        CONFIGURATIONStatusRequest request(5);
        CPollMsg poll(nullptr, &request, kCtrlMacA);
        const int result = poll.run(dev, 8);
        EXPECT_EQ(Fields(result, poll.diag(), poll.GetConfigurationStatusResponseCode()),
                  Fields(r.result, r.diag, r.result ? 0 : r.answer));
        if (!r.answerAt) {
            EXPECT_EQ(ManualClock::Now() - start, 8);
        }
    }
}

TEST_F(UnicastShape, ChecksumsAreComparedExceptForTheSetupStatus) {
    Bytes corrupt = StatusReply(1);
    corrupt[30] ^= 0xFF;
    At(1, corrupt);
    CONFIGURATIONStatusRequest request(5);
    CPollMsg poll(nullptr, &request, kCtrlMacA);
    EXPECT_EQ(poll.run(dev, 8), -1);
    EXPECT_EQ(poll.diag(), "Unexpected Error: checksum error occurred while reading the response.");

    // The status byte of a setup answer is no block; its checksum is never compared, and the
    // controller's verdict is in the status, not in the result.
    for (u_char status : {u_char(0), u_char(200)}) {
        Bytes setupReply = SetupReplyFrame(status);
        setupReply[31] ^= 0x55;
        dev.QueueFrame(setupReply);
        SETUPRequest setupRequest(5);
        CSetup setup(nullptr, &setupRequest, kCtrlMacA);
        EXPECT_EQ(setup.run(dev, 8), 0);
        EXPECT_EQ(setup.GetStatus(), status);
    }
}

TEST_F(UnicastShape, FailuresBeforeAndAfterTheSend) {
    // No request: nothing goes out, and there is no text for the operator.
    CSetup noRequest(nullptr, nullptr, kCtrlMacA);
    EXPECT_EQ(noRequest.run(dev, 8), -1);
    EXPECT_EQ(Fields(noRequest.diag(), noRequest.GetStatus(), dev.Sent().size()), "|-1|0");

    SETUPRequest setupRequest(5);
    CSetup silent(nullptr, &setupRequest, kCtrlMacA);
    EXPECT_EQ(silent.run(dev, 8), -1);
    EXPECT_EQ(Fields(silent.diag(), silent.GetStatus()),
              "Unexpected Error: setup response was empty.|-1");

    dev.FailWritesFrom(dev.WriteCalls());
    CSetup unsent(nullptr, &setupRequest, kCtrlMacA);
    EXPECT_EQ(unsent.run(dev, 8), -1);
    EXPECT_EQ(unsent.diag(), "Unexpected Error: Send config frame failed.");
    CONFIGURATIONStatusRequest pollRequest(5);
    CPollMsg poll(nullptr, &pollRequest, kCtrlMacA);
    EXPECT_EQ(poll.run(dev, 8), -1);
    EXPECT_EQ(Fields(poll.diag(), dev.ReadCalls()), "|1");  // only the silent setup read

    // Without a device at all: the words of each exchange, and PreJoin's own codes.
    unsigned char mac[6] = {2, 0, 0, 0, 0, 1};
    CZelAdapter nowhere(mac, "no-such-if0", "no-such-if0", "");
    nowhere.m_next = nullptr;
    CSetup setupNowhere(&nowhere, &setupRequest, kCtrlMacA);
    EXPECT_EQ(setupNowhere.run(8), -1);
    EXPECT_EQ(setupNowhere.diag(), "Unexpected Error: CL2::GetInterface failed.");
    CBlink4 blinkNowhere(nullptr, nullptr, kCtrlMacA);
    EXPECT_EQ(blinkNowhere.run(8), -1);
    EXPECT_EQ(blinkNowhere.diag(), "");
    PREJOINRequest prejoinRequest(5);
    CPreJoin prejoinNowhere(&nowhere, &prejoinRequest, kCtrlMacA);
    EXPECT_EQ(prejoinNowhere.run(), 1004);
}

TEST_F(UnicastShape, SilentDiskInfoAndBlinkWithoutItsValue) {
    DISKConfigurationRequest request(5);
    CDiskInfo silent(nullptr, &request, kCtrlMacA);
    EXPECT_EQ(silent.run(dev, 8), -1);
    EXPECT_EQ(Fields(silent.diag(), silent.GetErrorState() != 0),
              "Unexpected Error: DiskInfo response was empty.|1");

    // A version 4 answer to a version 5 request, without a blink value.
    BLINKRequest blinkRequest(5);
    const char on = 1;
    blinkRequest.m_tlv.pushBackEntry(BLINKRequest::BLINK_REQUEST_STATUS, 1, &on);
    dev.QueueFrame(ReplyFrame(PAYLOADHeader::BLINK_RSP, {{1, LE32(0)}}, 4));
    CBlink4 blink(nullptr, &blinkRequest, kCtrlMacA);
    EXPECT_EQ(blink.run(dev, 8), 0);
    EXPECT_EQ(Fields(blink.getBlinkStatus(), blink.getBlinkValue()), "0|0");
    CBlink4 silentBlink(nullptr, &blinkRequest, kCtrlMacA);
    EXPECT_EQ(silentBlink.run(dev, 8), -1);
    EXPECT_EQ(Fields(silentBlink.diag(), silentBlink.getBlinkStatus()),
              "Unexpected Error: blink response was empty.|-1");
}

TEST_F(UnicastShape, PreJoinIsOneFrameAndNoRead) {
    PREJOINRequest v5(5);
    CPreJoin prejoin(nullptr, &v5, kCtrlMacA);
    EXPECT_EQ(prejoin.run(dev), 0);
    PREJOINRequest v4(4);
    CPreJoin prejoin4(nullptr, &v4, kCtrlMacA);
    EXPECT_EQ(prejoin4.run(dev), 0);
    EXPECT_EQ(dev.ReadCalls(), 0u);

    ASSERT_EQ(dev.Sent().size(), 2u);
    const Bytes link = Cat({Bytes(kCtrlMacA, kCtrlMacA + 6), Bytes(kWizardMac, kWizardMac + 6)});
    EXPECT_EQ(dev.Sent()[0],
              Cat({link, Hex("00 36 AA AA 03 00 09 8A 00 01 00 05 00 0D 00 22 01 01"),
                   Hex("FC F0 A6 C7 00 02"), Bytes(32, 0)}));
    const Bytes& frame4 = dev.Sent()[1];
    ASSERT_EQ(frame4.size(), 1492u);
    EXPECT_EQ(Bytes(frame4.begin(), frame4.begin() + 36),
              Cat({link, Hex("05 C6 AA AA 03 00 09 8A 00 01 00 04 00 0D 05 B2 01 01"),
                   Hex("FC F0 A6 C7 00 02")}));

    CPreJoin none(nullptr, nullptr, kCtrlMacA);
    EXPECT_EQ(none.run(dev), -1);
    dev.FailWritesFrom(0);
    EXPECT_EQ(prejoin.run(dev), -1);
}

TEST(ExchangeLocale, CutAndPushedUnderTheRequestsCode) {
    BLINKRequest blink(5);
    EXPECT_TRUE(AttachLocale(blink, BLINKRequest::LOCALIZATION_PARAMETER, ""));
    EXPECT_EQ(blink.m_tlv.getTlvBytesUsed(), 2);
    EXPECT_TRUE(AttachLocale(blink, BLINKRequest::LOCALIZATION_PARAMETER, std::string(300, 'x')));
    SETUPTlvIterator it(blink.m_tlv);
    EXPECT_EQ(Fields(it.getType(), it.getLen()), "2|255");
}

// ---- The worker -------------------------------------------------------------------------

std::shared_ptr<CLSWVesperController> Controller(const std::string& iSerial,
                                                 const std::string& iTag, int iModel,
                                                 const u_char* iMac, bool iInitialized = false,
                                                 bool iPrimary = false) {
    auto c = std::make_shared<CLSWVesperController>();
    c->SetSerialNumberFromController(iSerial), c->SetHardwareSNFromController(iSerial);
    c->SetServiceTagFromController(iTag), c->SetMACAddressFromController(iMac);
    c->SetProductVersionFromController(static_cast<ClswDefs::SYSTargetType>(iModel));
    c->SetIsInitializedFromController(iInitialized), c->SetIsControllerPrimary(iPrimary);
    c->SetProtocolVersion(5);
    return c;
}

void Put(ControllersMap& ioMap, const std::shared_ptr<CLSWVesperController>& iController) {
    ioMap[std::make_pair(static_cast<unsigned int>(iController->getProductVersion()),
                         iController->getSerialNumber())] = iController;
}

// Each array as "id:serial,serial", in the list's order.
std::string Arrays(const std::list<std::shared_ptr<CLSWArray>>& iArrays) {
    std::string out;
    for (const auto& a : iArrays) {
        out += (out.empty() ? "" : "|") + a->getArrayId() + ":";
        for (unsigned int i = 0; i < a->getControllerCount(); ++i)
            out += (i ? "," : "") + a->getController(i)->getSerialNumber();
    }
    return out;
}

const u_char kMacC[6] = {0x00, 0xC0, 0xDD, 0x01, 0x02, 0x0C};
const u_char kMacD[6] = {0x00, 0xC0, 0xDD, 0x01, 0x02, 0x0D};

TEST(ManagerJoin, ArraysByModelThenTagAndControllersByHardwareSerial) {
    CManager manager(11, 3, "");
    ControllersMap map;
    Put(map, Controller("SN-B", "TAG-1", 11, kCtrlMacB));
    Put(map, Controller("SN-A", "TAG-1", 11, kCtrlMacA, true));
    Put(map, Controller("SN-C", "TAG-1", 13, kMacC));
    Put(map, Controller("SN-D", "TAG-0", 11, kMacD));
    Put(map, Controller("", "TAG-0", 11, kMacD));  // no serial: in no array
    Put(map, Controller("SN-F", "", 11, kMacC));
    Put(map, Controller("SN-E", "", 11, kMacD));

    std::list<std::shared_ptr<CLSWArray>> arrays;
    arrays.push_back(std::make_shared<CLSWVesperArray>("EARLIER"));  // kept in front
    manager.JoinArrays(arrays, map);
    EXPECT_EQ(Arrays(arrays), "EARLIER:|:SN-E,SN-F|TAG-0:SN-D|TAG-1:SN-A,SN-B|TAG-1:SN-C");
    ASSERT_EQ(arrays.size(), 5u);
    const auto emptyTag = *std::next(arrays.begin()), tag0 = *std::next(arrays.begin(), 2),
               tag1 = *std::next(arrays.begin(), 3), model13 = arrays.back();
    EXPECT_EQ(Fields(tag1->getArrayState(), tag0->getArrayState(), model13->getProductVersion()),
              Fields(ClswDefs::PARTIAL_INIT, ClswDefs::READY,
                     ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB7000));

    // Either controller finds its array, in any letter case.
    EXPECT_EQ(manager.FindArrayFromMacAddress(arrays, "00:c0:dd:01:02:0b"), tag1);
    EXPECT_EQ(manager.FindArrayFromMacAddress(arrays, "00:C0:DD:01:02:0A"), tag1);
    EXPECT_EQ(manager.FindArrayFromMacAddress(arrays, "00:C0:DD:01:02:0C"), emptyTag);
    EXPECT_EQ(manager.FindArrayFromMacAddress(arrays, "00:C0:DD:01:02:99"), nullptr);
    EXPECT_EQ(manager.FindArrayFromMacAddress({}, "00:C0:DD:01:02:0A"), nullptr);
}

TEST(ManagerOperations, FailuresThatNeedNoWire) {
    CManager manager(11, 3, "");
    std::string message;

    std::shared_ptr<IlswBlinkResponse> blink;
    EXPECT_EQ(manager.BlinkVesperController(nullptr, 1, blink, message), 1010);
    EXPECT_EQ(Fields(message, blink == nullptr), "Controller not found.|1");
    std::vector<std::shared_ptr<IlswDiskInfo>> disks;
    message.clear();
    EXPECT_EQ(manager.GetDiskInfo(nullptr, disks, message), 1010);
    EXPECT_EQ(message, "Controller not found.");

    // No MAC address: -1, and the caller's last response stays.
    auto noMac = std::make_shared<CLSWVesperController>();
    noMac->setHWAddress("SN-X");
    auto last = std::make_shared<ClswConfigurationStatusResponse>();
    std::shared_ptr<IlswConfigurationStatusResponse> response = last;
    EXPECT_EQ(manager.GetVesperControllerInitializeStatus(noMac, response, message), -1);
    EXPECT_EQ(Fields(message, response == last), "MAC Address not found for the controller.|1");

    // A controller that fails its own rules goes nowhere.
    EXPECT_EQ(
        manager.ConfigureVesperController(std::make_shared<CLSWVesperController>(), message, true),
        1018);
    EXPECT_FALSE(message.empty());

    // PreJoin: an array that is not ready; a primary without adapter (a code with no text);
    // an array with nobody to send to.
    CLSWVesperArray incomplete;
    EXPECT_EQ(manager.PreJoinArray(&incomplete, message), 1013);
    EXPECT_EQ(message, "Array is in invalid state.");

    CLSWVesperArray ready;
    ready.AddVesperController(Controller("SN-A", "TAG", 11, kCtrlMacA, false, true));
    ASSERT_EQ(ready.getArrayState(), ClswDefs::READY);
    message = "stale";
    EXPECT_EQ(Fields(manager.PreJoinArray(&ready, message), message), "1035|");

    CLSWVesperArray nobody;
    nobody.AddVesperController(Controller("SN-A", "TAG", 11, kCtrlMacA, true, true));
    nobody.AddVesperController(Controller("SN-B", "TAG", 11, kCtrlMacB, false, false));
    ASSERT_EQ(nobody.getArrayState(), ClswDefs::PARTIAL_INIT);
    message = "kept";
    EXPECT_EQ(Fields(manager.PreJoinArray(&nobody, message), message), "0|kept");
}

}  // namespace
