// The whole layer-2 road as a client walks it: _GetArrays, the model's setters, initialize and
// the status polls, blink, disks and prejoin, through the facade, the worker, the exchanges and
// the packet device on the wizard's side of a test bed (scripts/netns-run), against the real
// cellsim program on the controllers' side. Every case checks both what the client got and
// what cellsim's event log says crossed the wire.
//
// A discovery waits out its timeout twice over (about seven seconds at the lowest timeout of
// three), so the cases share cellsim runs and discoveries where they can.
#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "LSWConfig4/LSWConfigAPI.h"
#include "LSWConfig4/LSWConfigMgr.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/LSWDiscovery4.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/unix/Adapter.h"
#include "support/CellsimProcess.h"
#include "support/Fields.h"
#include "support/NetnsPeer.h"

namespace {

using Arrays = std::vector<std::shared_ptr<IlswArray>>;

const unsigned int kMask = 11;
const unsigned int kTimeout = 3;

// Steps are written "id:status" as the controller numbers them: 1 SubmitLicense,
// 3 ConfigureDisks, 9 SetUserPassword; 0 Complete, 1 InProgress, 2 ConfiguredNotRun, 3 Failed.
const unsigned int kComplete = 0, kFailed = 3;

std::string IfMac(const std::string& iIfName) {
    char text[ZEL_MAC_ADDR_STRING_SIZE] = {};
    return GetMACAddrString(iIfName.c_str(), text) ? std::string(text) : std::string();
}

// The client's call, word for word but for the filter.
long Discover(Arrays& oArrays, std::string& oMessage, bool iUnInitializedOnly = false) {
    return _GetArrays(oArrays, kMask, oMessage, "", iUnInitializedOnly, kTimeout, "");
}

// The arrays' service tags in the order found.
std::string Tags(const Arrays& iArrays) {
    std::string tags;
    for (const auto& a : iArrays)
        tags += (tags.empty() ? "" : "|") + a->getArrayId();
    return tags;
}

std::string Said(const ApiResult& iResult) {
    return Fields(iResult.resultCode, iResult.resultMsg);
}

std::shared_ptr<IlswArray> ArrayOf(const Arrays& iArrays, const std::string& iTag) {
    for (const auto& a : iArrays)
        if (a && a->getArrayId() == iTag)
            return a;
    return nullptr;
}

std::shared_ptr<IlswVesperController> ControllerOf(const std::shared_ptr<IlswArray>& iArray,
                                                   unsigned int iIndex) {
    return iArray ? std::dynamic_pointer_cast<IlswVesperController>(iArray->getController(iIndex))
                  : nullptr;
}

std::string AdapterOf(const std::shared_ptr<IlswVesperController>& iController) {
    auto c = std::dynamic_pointer_cast<CLSWVesperController>(iController);
    return c && c->GetAdapterInfo() ? std::string(c->GetAdapterInfo()->m_pcapname) : "";
}

std::string StepsOf(const std::shared_ptr<IlswConfigurationStatusResponse>& iResponse) {
    std::string steps;
    if (iResponse)
        for (const auto& s : iResponse->getConfigurationStepList())
            steps += (steps.empty() ? "" : " ") + std::to_string(s->getStepId()) + ":" +
                     std::to_string(s->getStepStatus());
    return steps;
}

// Polls as the wizard does, until no step is unfinished or one has failed (at most six
// polls); every poll's steps, joined by '|', in oSeen.
std::shared_ptr<IlswConfigurationStatusResponse> PollToTheEnd(IlswController& ioController,
                                                              std::string& oSeen) {
    std::shared_ptr<IlswConfigurationStatusResponse> response;
    for (int i = 0; i < 6; ++i) {
        ApiResult r = ioController.getInitializeStatus(response);
        if (r.resultCode != 0 || !response) {
            ADD_FAILURE() << r.resultMsg;
            return nullptr;
        }
        oSeen += (i ? "|" : "") + StepsOf(response);
        bool unfinished = false, failed = false;
        for (const auto& s : response->getConfigurationStepList()) {
            failed = failed || s->getStepStatus() == kFailed;
            unfinished =
                unfinished || (s->getStepStatus() != kComplete && s->getStepStatus() != kFailed);
        }
        if (failed || !unfinished)
            break;
    }
    return response;
}

// What the operator types for one controller.
void Fill(IlswVesperController& ioController, const std::string& iEth0) {
    ioController.setMgmtIp4Address("10.20.0.5");
    ioController.setEth0Ip4Address(iEth0);
    ioController.setEth0Ip4Netmask("255.255.255.0");
    ioController.setEth0Ip4Gateway("10.20.0.1");
    ioController.setPrimaryDns("10.20.0.53");
    ioController.setSecondaryDns("10.20.0.54");
    ioController.setScName("Road Cell");
    ioController.setDomainName("road.test");
    ioController.setEmailAddress("ops@road.test");
}

// Two controllers that form one array and one that is half configured.
std::string PairOf(const std::string& iTag, const std::string& iMacPrefix,
                   const std::string& iSerialPrefix, const std::string& iTopMore,
                   const std::string& iBottomMore) {
    return CellsimSection(iTag + "-top", iMacPrefix + ":01", iSerialPrefix + "-1", iTag,
                          "primary = true\ncanister = 1\n" + iTopMore) +
           CellsimSection(iTag + "-bottom", iMacPrefix + ":02", iSerialPrefix + "-2", iTag,
                          "primary = false\ncanister = 2\n" + iBottomMore);
}

std::string HalfInitialized() {
    return PairOf("ROADHALF", "02:ce:7d:00:09", "RH", "initialized = true\n", "");
}

class RoadNetns : public ::testing::Test {
protected:
    void SetUp() override {
        std::string why;
        ASSERT_TRUE(NetnsBed::FromEnvironment(m_bed, why)) << why;
    }

    // One cellsim on ctl<iIndex>.
    std::unique_ptr<CellsimProcess> Start(const std::string& iIni, int iIndex = 0) {
        return std::make_unique<CellsimProcess>(CELLSIM_BINARY, m_bed.ctl,
                                                "ctl" + std::to_string(iIndex),
                                                "[cellsim]\ninterface = ctl0\n" + iIni);
    }

    NetnsBed m_bed;
};

}  // namespace

// One cellsim, one adapter: a pair whose primary speaks only version 4, a few single
// controllers and a half-initialized pair. One discovery, then what a client does with what it
// found.
TEST_F(RoadNetns, OneAdapterFromDiscoveryToAConfiguredArray) {
    const std::string pair = "ROADPAIR", disks = "ROADDISK", nosteps = "ROADNOSTEPS",
                      mute = "ROADMUTE";
    // The silent controller answers every Hello, and never its setup request.
    auto sim =
        Start(PairOf(pair, "02:ce:7d:00:01", "RP",
                     "versions = 4\n"
                     "steps = SubmitLicense:InProgress SetUserPassword:ConfiguredNotRun\n"
                     "steps = SubmitLicense:Complete SetUserPassword:InProgress\n"
                     "steps = SubmitLicense:Complete SetUserPassword:Complete\n",
                     "versions = 4,5\n") +
              CellsimSection(disks, "02:ce:7d:00:02:01", "RD-1", disks,
                             "primary = true\ncanister = 1\ndisk_count = 200\nblink_status = 0\n"
                             "blink_follows_command = true\n"
                             "steps = SubmitLicense:InProgress ConfigureDisks:ConfiguredNotRun\n"
                             "steps = SubmitLicense:Complete ConfigureDisks:Failed\n"
                             "step_error = Disk shelf 2 did not answer\n") +
              CellsimSection(nosteps, "02:ce:7d:00:03:01", "RN-1", nosteps,
                             "primary = true\ncanister = 1\n") +
              CellsimSection(mute, "02:ce:7d:00:04:01", "RM-1", mute,
                             "primary = true\ncanister = 1\nsilent_to = SETUP_REQ\n") +
              HalfInitialized());
    ASSERT_TRUE(sim->WaitReady()) << sim->Stderr();
    const std::string wiz0 = IfMac("wiz0");
    ASSERT_FALSE(wiz0.empty());

    // ---- Discovery, uninitialized arrays only: the half-initialized one answered but is left
    // out; the pair is one array of two, its peer heard twice.
    Arrays arrays;
    std::string message;
    ASSERT_EQ(0, Discover(arrays, message, true)) << message;
    EXPECT_EQ(Tags(arrays), "ROADDISK|ROADMUTE|ROADNOSTEPS|ROADPAIR");
    auto pairArray = ArrayOf(arrays, pair);
    ASSERT_TRUE(pairArray);
    ASSERT_EQ(
        Fields(pairArray->getControllerCount(), pairArray->getArrayState() == ClswDefs::READY),
        "2|1");
    auto top = ControllerOf(pairArray, 0);
    auto bottom = ControllerOf(pairArray, 1);
    ASSERT_TRUE(top && bottom);
    // The top answered only the version 4 Hello.
    EXPECT_EQ(Fields(top->getSerialNumber(), top->isPrimaryController(), top->getProtocolVersion(),
                     top->getMacAddress(), AdapterOf(top)),
              "RP-1|1|4|02:CE:7D:00:01:01|wiz0");
    EXPECT_EQ(Fields(bottom->getSerialNumber(), bottom->isPrimaryController(),
                     bottom->getProtocolVersion()),
              "RP-2|0|5");
    EXPECT_EQ(0u, top->getPublicKey().find("-----BEGIN RSA PUBLIC KEY-----"));

    auto diskArray = ArrayOf(arrays, disks);
    auto diskCtl = ControllerOf(diskArray, 0);
    ASSERT_TRUE(diskCtl);

    // ---- Disks: 200 of them, over several frames, from the primary only.
    std::vector<std::shared_ptr<IlswDiskInfo>> diskList;
    EXPECT_EQ(1034, bottom->getDiskInfo(diskList).resultCode);
    EXPECT_TRUE(diskList.empty());
    ApiResult r = diskCtl->getDiskInfo(diskList);
    ASSERT_EQ(0, r.resultCode) << r.resultMsg;
    ASSERT_EQ(200u, diskList.size());
    for (size_t i = 0; i < diskList.size(); ++i) {
        ASSERT_EQ(i / 24, diskList[i]->getEnclosureIndex()) << i;
        ASSERT_EQ(i % 24, diskList[i]->getEnclosurePosition()) << i;
    }
    EXPECT_EQ(Fields(diskList[199]->getProduct(), diskList[199]->getDiskSize() > 0),
              "SIM-HDD-4T|1");

    // ---- Blink: the primary test comes before the code's, and the value comes back.
    std::shared_ptr<IlswBlinkResponse> blink;
    EXPECT_EQ(Said(bottom->blinkController(3, blink)),
              "1034|Controller [RP-2] is not Primary. Try the request on Primary controller.");
    EXPECT_EQ(Said(diskCtl->blinkController(3, blink)), "1017|Invalid blink request code.");
    EXPECT_FALSE(blink);
    for (unsigned int code : {1u, 0u}) {
        r = diskCtl->blinkController(code, blink);
        ASSERT_TRUE(r.resultCode == 0 && blink) << r.resultMsg;
        EXPECT_EQ(code, blink->getBlinkStatus());
    }

    // ---- Prejoin: to the uninitialized primary only, and nothing comes back.
    EXPECT_EQ(Said(pairArray->preJoin()), "0|");

    // ---- A step that fails, with its message.
    std::string seen;
    auto response = PollToTheEnd(*diskCtl, seen);
    ASSERT_TRUE(response);
    EXPECT_EQ(seen, "1:1 3:2|1:0 3:3");
    EXPECT_EQ("Disk shelf 2 did not answer", response->getErrorMessage());

    // ---- A controller with no steps is asked four times in one call.
    auto nostepsCtl = ControllerOf(ArrayOf(arrays, nosteps), 0);
    ASSERT_TRUE(nostepsCtl);
    response.reset();
    EXPECT_EQ(Said(nostepsCtl->getInitializeStatus(response)), "0|");
    EXPECT_TRUE(response && response->getConfigurationStepList().empty());

    // ---- The operator's settings, and one setup request for the pair.
    Fill(*top, "10.20.0.6");
    Fill(*bottom, "10.20.0.7");
    const std::string password = "R0ad test pa$$ \xc3\xa9";
    top->setPassword(password);
    ASSERT_EQ(Said(pairArray->initialize()), "0|");

    // Polls through the steps to the end, on the first controller as the wizard asks.
    seen.clear();
    response = PollToTheEnd(*pairArray->getController(0), seen);
    EXPECT_EQ(seen, "1:1 9:2|1:0 9:1|1:0 9:0");

    // ---- Silence: the setup request goes unanswered.
    auto muteArray = ArrayOf(arrays, mute);
    auto muteCtl = ControllerOf(muteArray, 0);
    ASSERT_TRUE(muteCtl);
    Fill(*muteCtl, "10.20.0.8");
    EXPECT_EQ(Said(muteArray->initialize()), "-1|Unexpected Error: setup response was empty.");

    // ---- What crossed the wire.
    ASSERT_EQ(0, sim->Stop());
    auto events = sim->Events();
    for (const auto& e : events)
        EXPECT_FALSE(e.contains("unparsed")) << e.at("unparsed").get<std::string>();

    // Every discovery multicast both versions from wiz0; the half-initialized pair answered.
    auto hellos = EventsOf(events, "rx", "HELLO_REQ");
    ASSERT_FALSE(hellos.empty());
    for (const Json* h : hellos)
        EXPECT_EQ(wiz0, JsonText(h->at("src")));
    const std::string answered = Column(EventsOf(events, "tx", "HELLO_RSP"), "controller");
    EXPECT_TRUE(answered.find("ROADHALF-top") != std::string::npos &&
                answered.find("ROADHALF-bottom") != std::string::npos);

    // Exactly one setup request reached the pair: to the primary, in version 4, with the
    // peer's addresses in the bottom entries and the password as it was set.
    std::vector<const Json*> setups;
    for (const Json* s : EventsOf(events, "rx", "SETUP_REQ"))
        if (JsonText(s->at("controller")).rfind(pair, 0) == 0)
            setups.push_back(s);
    ASSERT_EQ(1u, setups.size());
    const Json& setup = *setups[0];
    EXPECT_EQ(Row(setup, {"controller", "dst", "src", "version", "password_check", "setup_status"}),
              "ROADPAIR-top|02:ce:7d:00:01:01|" + wiz0 + "|4|ok|0");
    EXPECT_EQ(password, JsonText(setup.at("password")));
    std::string entries;
    for (const char* name :
         {"IPV4_MANAGEMENT_IP_ADDRESS", "TOP_CTRL_ETH0_IPV4_ADDRESS", "TOP_CTRL_ETH0_IPV4_NETMASK",
          "TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY", "BOTTOM_CTRL_ETH0_IPV4_ADDRESS",
          "BOTTOM_CTRL_ETH0_IPV4_NETMASK", "BOTTOM_CTRL_ETH0_IPV4_DEFAULT_GATEWAY",
          "PRIMARY_DNS_SERVER", "SECONDARY_DNS_SERVER", "STORAGECELL_NAME", "DOMAIN_NAME",
          "DEFAULT_USER_EMAIL"})
        entries += JsonText(EntryValue(setup, name)) + "|";
    EXPECT_EQ(entries,
              "10.20.0.5|10.20.0.6|255.255.255.0|10.20.0.1|10.20.0.7|255.255.255.0|10.20.0.1|"
              "10.20.0.53|10.20.0.54|Road Cell|road.test|ops@road.test|");
    // The silent controller's request got no reply: its last request was its setup request.
    EXPECT_EQ(Column(EventsOf(events, "tx", "SETUP_RSP"), "controller"), "ROADPAIR-top");
    auto silent = EventsOf(events, "silent");
    ASSERT_EQ(1u, silent.size());
    EXPECT_EQ(Row(*silent[0], {"controller", "op"}), "ROADMUTE|SETUP_REQ");

    // Four status requests for the one call on the controller with no steps.
    size_t noStepPolls = 0;
    for (const Json* p : EventsOf(events, "rx", "CONFIG_STATUS_REQ"))
        noStepPolls += JsonText(p->at("controller")) == nosteps ? 1 : 0;
    EXPECT_EQ(4u, noStepPolls);

    // The disk list took several frames, and the secondary was never asked; the blinks carried
    // their codes, the refused ones never left the host.
    std::vector<const Json*> diskReplies = EventsOf(events, "tx", "DISK_CONFIG_RSP");
    ASSERT_EQ(1u, diskReplies.size());
    EXPECT_GT(diskReplies[0]->at("frames").size(), 1u);
    EXPECT_EQ(JsonText(diskReplies[0]->at("disks")), "200");
    EXPECT_EQ(Column(EventsOf(events, "rx", "BLINK_REQ"), "command"), "1|0");

    // The prejoin reached the primary alone and was not answered.
    auto prejoins = EventsOf(events, "rx", "PREJOIN_REQ");
    ASSERT_EQ(1u, prejoins.size());
    EXPECT_EQ(Row(*prejoins[0], {"dst", "version", "recorded"}), "02:ce:7d:00:01:01|4|true");
    EXPECT_TRUE(EventsOf(events, "tx", "PREJOIN_RSP").empty());
}

// The same controllers behind three adapters at once: one cellsim per controller-side
// interface. Discovery still gives one array of two, and each controller keeps the adapter it
// was heard on, also for the later calls, which each enumerate the adapters anew.
TEST_F(RoadNetns, ThreeAdaptersStillOneArrayOfTwo) {
    ASSERT_GE(m_bed.pairs, 3);
    const std::string ini =
        PairOf("ROADTRIO", "02:ce:7d:00:05", "RT",
               "steps = SubmitLicense:Complete SetUserPassword:Complete\n", "") +
        HalfInitialized();
    std::vector<std::unique_ptr<CellsimProcess>> sims;
    for (int i = 0; i < 3; ++i)
        sims.push_back(Start(ini, i));
    for (auto& sim : sims)
        ASSERT_TRUE(sim->WaitReady()) << sim->Stderr();

    // All arrays were asked for, ordered by product version, then service tag.
    Arrays arrays;
    std::string message;
    ASSERT_EQ(0, Discover(arrays, message)) << message;
    ASSERT_EQ(Tags(arrays), "ROADHALF|ROADTRIO");
    EXPECT_EQ(Fields(arrays[0]->getArrayState() == ClswDefs::PARTIAL_INIT,
                     arrays[0]->getControllerCount()),
              "1|2");
    ASSERT_EQ(
        Fields(arrays[1]->getArrayState() == ClswDefs::READY, arrays[1]->getControllerCount()),
        "1|2");
    auto top = ControllerOf(arrays[1], 0);
    ASSERT_TRUE(top);
    EXPECT_EQ(top->getSerialNumber() + ControllerOf(arrays[1], 1)->getSerialNumber(), "RT-1RT-2");

    // The controller is tied to one of the three adapters; a status poll, a facade call of its
    // own, goes out there and nowhere else.
    const std::string adapter = AdapterOf(top);
    ASSERT_TRUE(adapter == "wiz0" || adapter == "wiz1" || adapter == "wiz2") << adapter;
    std::shared_ptr<IlswConfigurationStatusResponse> response;
    ApiResult r = top->getInitializeStatus(response);
    ASSERT_EQ(0, r.resultCode) << r.resultMsg;
    EXPECT_EQ(StepsOf(response), "1:0 9:0");

    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE("ctl" + std::to_string(i));
        ASSERT_EQ(0, sims[i]->Stop());
        auto events = sims[i]->Events();
        const std::string wiz = IfMac("wiz" + std::to_string(i));
        std::set<std::string> versions;
        for (const Json* h : EventsOf(events, "rx", "HELLO_REQ")) {
            EXPECT_EQ(wiz, JsonText(h->at("src")));
            versions.insert(JsonText(h->at("version")));
        }
        EXPECT_EQ((std::set<std::string>{"4", "5"}), versions) << "each adapter sent both Hellos";
        EXPECT_EQ(8u, EventsOf(events, "tx", "HELLO_RSP").size())
            << "four controllers, two versions";
        const bool here = adapter == "wiz" + std::to_string(i);
        EXPECT_EQ(here ? 1u : 0u, EventsOf(events, "rx", "CONFIG_STATUS_REQ").size());
    }
}

// An adapter that cannot be opened: no session, so no frame, and the code of the adapter.
TEST_F(RoadNetns, AnAdapterThatCannotBeOpenedAnswers1004) {
    const unsigned char mac[6] = {0x02, 0xce, 0x7d, 0x00, 0x0f, 0x01};
    CZelAdapter bogus(mac, "nosuch9", "nosuch9", "");
    std::list<std::shared_ptr<IlswController>> found;
    CHello4 hello(&bogus, kMask);
    EXPECT_EQ(1004, hello.run(found, static_cast<int>(kTimeout), ""));
    EXPECT_TRUE(found.empty());

    PREJOINRequest request(MESSAGE_VERSION_5);
    CPreJoin prejoin(&bogus, &request, mac);
    EXPECT_EQ(1004, prejoin.run());
}
