// The whole layer-2 road as a client walks it: _GetArrays, the model's setters, initialize and
// the status polls, blink, disks and prejoin, through the facade, the worker, the exchanges and
// the packet device on the wizard's side of a test bed (scripts/netns-run), against the real
// cellsim program on the controllers' side. Every case checks both what the client got and
// what cellsim's event log says crossed the wire.
//
// A discovery waits out its timeout twice over (about seven seconds at the lowest timeout of
// three), so the cases share cellsim runs and discoveries where they can.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
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
using Steps = std::vector<std::pair<unsigned int, unsigned int>>;  // (id, status) of a poll

const unsigned int kMask = 11;
const unsigned int kTimeout = 3;

// Step ids and statuses as the controller numbers them.
const unsigned int kSubmitLicense = 1, kConfigureDisks = 3, kSetUserPassword = 9;
const unsigned int kComplete = 0, kInProgress = 1, kConfiguredNotRun = 2, kFailed = 3;

std::string IfMac(const std::string& iIfName) {
    char text[ZEL_MAC_ADDR_STRING_SIZE] = {};
    return GetMACAddrString(iIfName.c_str(), text) ? std::string(text) : std::string();
}

// The client's call, word for word but for the filter.
long Discover(Arrays& oArrays, std::string& oMessage, bool iUnInitializedOnly = false) {
    return _GetArrays(oArrays, kMask, oMessage, "", iUnInitializedOnly, kTimeout, "");
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

Steps StepsOf(const std::shared_ptr<IlswConfigurationStatusResponse>& iResponse) {
    Steps steps;
    if (iResponse)
        for (const auto& s : iResponse->getConfigurationStepList())
            steps.emplace_back(s->getStepId(), s->getStepStatus());
    return steps;
}

// Polls as the wizard does, until no step is unfinished or one has failed (at most
// iMostPolls); every poll's steps in oSeen.
std::shared_ptr<IlswConfigurationStatusResponse> PollToTheEnd(IlswController& ioController,
                                                              std::vector<Steps>& oSeen,
                                                              int iMostPolls = 6) {
    std::shared_ptr<IlswConfigurationStatusResponse> response;
    for (int i = 0; i < iMostPolls; ++i) {
        ApiResult r = ioController.getInitializeStatus(response);
        EXPECT_EQ(0, r.resultCode) << r.resultMsg;
        Steps steps = StepsOf(response);
        oSeen.push_back(steps);
        bool unfinished = false, failed = false;
        for (const auto& s : steps) {
            failed = failed || s.second == kFailed;
            unfinished = unfinished || (s.second != kComplete && s.second != kFailed);
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

const char kHalf[] = "ROADHALF";

std::string HalfInitialized() {
    return PairOf(kHalf, "02:ce:7d:00:09", "RH", "initialized = true\n", "");
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
    // The silent controller answers the Hellos of three discoveries (two requests each: this
    // test's own and the inline ones of two initialize calls), then not its setup request.
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
                             "primary = true\ncanister = 1\nanswer_first = 6\n") +
              HalfInitialized());
    ASSERT_TRUE(sim->WaitReady()) << sim->Stderr();
    const std::string wiz0 = IfMac("wiz0");
    ASSERT_FALSE(wiz0.empty());

    // ---- Discovery, uninitialized arrays only.
    Arrays arrays;
    std::string message;
    ASSERT_EQ(0, Discover(arrays, message, true)) << message;

    std::set<std::string> tags;
    for (const auto& a : arrays)
        tags.insert(a->getArrayId());
    EXPECT_EQ((std::set<std::string>{disks, mute, nosteps, pair}), tags)
        << "the half-initialized array answered but is left out";

    auto pairArray = ArrayOf(arrays, pair);
    ASSERT_TRUE(pairArray);
    ASSERT_EQ(2u, pairArray->getControllerCount()) << "one array of two, the peer heard twice";
    EXPECT_EQ(ClswDefs::READY, pairArray->getArrayState());
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
    ApiResult r = bottom->getDiskInfo(diskList);
    EXPECT_EQ(1034, r.resultCode);
    EXPECT_TRUE(diskList.empty());
    r = diskCtl->getDiskInfo(diskList);
    ASSERT_EQ(0, r.resultCode) << r.resultMsg;
    ASSERT_EQ(200u, diskList.size());
    for (size_t i = 0; i < diskList.size(); ++i) {
        ASSERT_EQ(i / 24, diskList[i]->getEnclosureIndex()) << i;
        ASSERT_EQ(i % 24, diskList[i]->getEnclosurePosition()) << i;
    }
    EXPECT_EQ("SIM-HDD-4T", diskList[199]->getProduct());
    EXPECT_GT(diskList[199]->getDiskSize(), 0);

    // ---- Blink: the primary test comes before the code's, and the value comes back.
    std::shared_ptr<IlswBlinkResponse> blink;
    r = bottom->blinkController(3, blink);
    EXPECT_EQ(1034, r.resultCode);
    EXPECT_EQ("Controller [RP-2] is not Primary. Try the request on Primary controller.",
              r.resultMsg);
    r = diskCtl->blinkController(3, blink);
    EXPECT_EQ(1017, r.resultCode);
    EXPECT_EQ("Invalid blink request code.", r.resultMsg);
    EXPECT_FALSE(blink);
    r = diskCtl->blinkController(1, blink);
    ASSERT_EQ(0, r.resultCode) << r.resultMsg;
    ASSERT_TRUE(blink);
    EXPECT_EQ(1u, blink->getBlinkStatus());
    r = diskCtl->blinkController(0, blink);
    ASSERT_EQ(0, r.resultCode) << r.resultMsg;
    EXPECT_EQ(0u, blink->getBlinkStatus());

    // ---- Prejoin: to the uninitialized primary only, and nothing comes back.
    r = pairArray->preJoin();
    EXPECT_EQ(0, r.resultCode) << r.resultMsg;

    // ---- A step that fails, with its message.
    std::vector<Steps> seen;
    auto response = PollToTheEnd(*diskCtl, seen);
    ASSERT_TRUE(response);
    EXPECT_EQ(
        (std::vector<Steps>{{{kSubmitLicense, kInProgress}, {kConfigureDisks, kConfiguredNotRun}},
                            {{kSubmitLicense, kComplete}, {kConfigureDisks, kFailed}}}),
        seen);
    EXPECT_EQ("Disk shelf 2 did not answer", response->getErrorMessage());

    // ---- A controller with no steps is asked four times in one call.
    auto nostepsCtl = ControllerOf(ArrayOf(arrays, nosteps), 0);
    ASSERT_TRUE(nostepsCtl);
    response.reset();
    r = nostepsCtl->getInitializeStatus(response);
    EXPECT_EQ(0, r.resultCode) << r.resultMsg;
    ASSERT_TRUE(response);
    EXPECT_TRUE(response->getConfigurationStepList().empty());

    // ---- The operator's settings, and one setup request for the pair.
    Fill(*top, "10.20.0.6");
    Fill(*bottom, "10.20.0.7");
    const std::string password = "R0ad test pa$$ \xc3\xa9";
    top->setPassword(password);
    r = pairArray->initialize();
    ASSERT_EQ(0, r.resultCode) << r.resultMsg;

    // Polls through the steps to the end, on the first controller as the wizard asks.
    seen.clear();
    response = PollToTheEnd(*pairArray->getController(0), seen);
    EXPECT_EQ(
        (std::vector<Steps>{{{kSubmitLicense, kInProgress}, {kSetUserPassword, kConfiguredNotRun}},
                            {{kSubmitLicense, kComplete}, {kSetUserPassword, kInProgress}},
                            {{kSubmitLicense, kComplete}, {kSetUserPassword, kComplete}}}),
        seen);

    // ---- Silence: the setup request goes unanswered.
    auto muteArray = ArrayOf(arrays, mute);
    auto muteCtl = ControllerOf(muteArray, 0);
    ASSERT_TRUE(muteCtl);
    Fill(*muteCtl, "10.20.0.8");
    r = muteArray->initialize();
    EXPECT_EQ(-1, r.resultCode);
    EXPECT_EQ("Unexpected Error: setup response was empty.", r.resultMsg);

    // ---- What crossed the wire.
    ASSERT_EQ(0, sim->Stop());
    auto events = sim->Events();
    for (const auto& e : events)
        EXPECT_FALSE(e.contains("unparsed")) << e.at("unparsed").get<std::string>();

    // Every discovery multicast both versions from wiz0; the half-initialized pair answered.
    auto hellos = EventsOf(events, "rx", "HELLO_REQ");
    ASSERT_FALSE(hellos.empty());
    for (const Json* h : hellos)
        EXPECT_EQ(wiz0, (*h).at("src").get<std::string>());
    std::set<std::string> answered;
    for (const Json* tx : EventsOf(events, "tx", "HELLO_RSP"))
        answered.insert((*tx).at("controller").get<std::string>());
    EXPECT_TRUE(answered.count("ROADHALF-top") && answered.count("ROADHALF-bottom"));

    // Exactly one setup request reached the pair: to the primary, in version 4, with the
    // peer's addresses in the bottom entries and the password as it was set.
    std::vector<const Json*> setups;
    for (const Json* s : EventsOf(events, "rx", "SETUP_REQ"))
        if ((*s).at("controller").get<std::string>().rfind(pair, 0) == 0)
            setups.push_back(s);
    ASSERT_EQ(1u, setups.size());
    const Json& setup = *setups[0];
    EXPECT_EQ(Fields(setup.at("controller").get<std::string>(), setup.at("dst").get<std::string>(),
                     setup.at("src").get<std::string>(), setup.at("version").get<long long>(),
                     setup.at("password_check").get<std::string>(),
                     setup.at("setup_status").get<long long>()),
              Fields("ROADPAIR-top", "02:ce:7d:00:01:01", wiz0, 4, "ok", 0));
    EXPECT_EQ(password, setup.at("password").get<std::string>());
    const std::pair<const char*, const char*> entries[] = {
        {"IPV4_MANAGEMENT_IP_ADDRESS", "10.20.0.5"},
        {"TOP_CTRL_ETH0_IPV4_ADDRESS", "10.20.0.6"},
        {"TOP_CTRL_ETH0_IPV4_NETMASK", "255.255.255.0"},
        {"TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY", "10.20.0.1"},
        {"BOTTOM_CTRL_ETH0_IPV4_ADDRESS", "10.20.0.7"},
        {"BOTTOM_CTRL_ETH0_IPV4_NETMASK", "255.255.255.0"},
        {"BOTTOM_CTRL_ETH0_IPV4_DEFAULT_GATEWAY", "10.20.0.1"},
        {"PRIMARY_DNS_SERVER", "10.20.0.53"},
        {"SECONDARY_DNS_SERVER", "10.20.0.54"},
        {"STORAGECELL_NAME", "Road Cell"},
        {"DOMAIN_NAME", "road.test"},
        {"DEFAULT_USER_EMAIL", "ops@road.test"}};
    for (const auto& e : entries)
        EXPECT_EQ(e.second, EntryValue(setup, e.first).get<std::string>()) << e.first;
    auto setupReplies = EventsOf(events, "tx", "SETUP_RSP");
    ASSERT_EQ(1u, setupReplies.size()) << "the silent controller's request got none";
    EXPECT_EQ("ROADPAIR-top", (*setupReplies[0]).at("controller").get<std::string>());

    // The silent controller's last request was its setup request.
    auto silent = EventsOf(events, "silent");
    ASSERT_EQ(1u, silent.size());
    EXPECT_EQ("ROADMUTE", (*silent[0]).at("controller").get<std::string>());
    EXPECT_EQ("SETUP_REQ", (*silent[0]).at("op").get<std::string>());

    // Four status requests for the one call on the controller with no steps.
    size_t noStepPolls = 0;
    for (const Json* p : EventsOf(events, "rx", "CONFIG_STATUS_REQ"))
        noStepPolls += (*p).at("controller").get<std::string>() == nosteps ? 1 : 0;
    EXPECT_EQ(4u, noStepPolls);

    // The disk list took several frames; the blinks carried their codes.
    std::vector<const Json*> diskReplies = EventsOf(events, "tx", "DISK_CONFIG_RSP");
    ASSERT_EQ(1u, diskReplies.size()) << "the secondary was never asked";
    EXPECT_GT((*diskReplies[0]).at("frames").size(), 1u);
    EXPECT_EQ(200, (*diskReplies[0]).at("disks").get<long long>());
    std::vector<long long> commands;
    for (const Json* b : EventsOf(events, "rx", "BLINK_REQ"))
        commands.push_back((*b).at("command").get<long long>());
    EXPECT_EQ((std::vector<long long>{1, 0}), commands) << "refused codes never left the host";

    // The prejoin reached the primary alone and was not answered.
    auto prejoins = EventsOf(events, "rx", "PREJOIN_REQ");
    ASSERT_EQ(1u, prejoins.size());
    EXPECT_EQ(Fields((*prejoins[0]).at("dst").get<std::string>(),
                     (*prejoins[0]).at("version").get<long long>(),
                     (*prejoins[0]).at("recorded").get<bool>()),
              "02:ce:7d:00:01:01|4|1");
    EXPECT_TRUE(EventsOf(events, "tx", "PREJOIN_RSP").empty());
}

// The same controllers behind three adapters at once: one cellsim per controller-side
// interface. Discovery still gives one array of two, and each controller keeps the adapter it
// was heard on, also for the later calls, which each enumerate the adapters anew.
TEST_F(RoadNetns, ThreeAdaptersStillOneArrayOfTwo) {
    ASSERT_GE(m_bed.pairs, 3);
    const std::string trio = "ROADTRIO";
    const std::string ini =
        PairOf(trio, "02:ce:7d:00:05", "RT",
               "steps = SubmitLicense:Complete SetUserPassword:Complete\n", "") +
        HalfInitialized();
    std::vector<std::unique_ptr<CellsimProcess>> sims;
    for (int i = 0; i < 3; ++i)
        sims.push_back(Start(ini, i));
    for (auto& sim : sims)
        ASSERT_TRUE(sim->WaitReady()) << sim->Stderr();

    Arrays arrays;
    std::string message;
    ASSERT_EQ(0, _GetArrays(arrays, 11, message, "", false, 3, "")) << message;
    ASSERT_EQ(2u, arrays.size());
    // Ordered by product version, then service tag.
    EXPECT_EQ(kHalf, arrays[0]->getArrayId());
    EXPECT_EQ(ClswDefs::PARTIAL_INIT, arrays[0]->getArrayState()) << "all arrays were asked for";
    EXPECT_EQ(2u, arrays[0]->getControllerCount());
    auto trioArray = arrays[1];
    EXPECT_EQ(trio, trioArray->getArrayId());
    ASSERT_EQ(2u, trioArray->getControllerCount());
    EXPECT_EQ(ClswDefs::READY, trioArray->getArrayState());
    auto top = ControllerOf(trioArray, 0);
    ASSERT_TRUE(top);
    EXPECT_EQ("RT-1", top->getSerialNumber());
    EXPECT_EQ("RT-2", ControllerOf(trioArray, 1)->getSerialNumber());

    // The controller is tied to one of the three adapters; a status poll, a facade call of its
    // own, goes out there and nowhere else.
    const std::string adapter = AdapterOf(top);
    ASSERT_TRUE(adapter == "wiz0" || adapter == "wiz1" || adapter == "wiz2") << adapter;
    std::shared_ptr<IlswConfigurationStatusResponse> response;
    ApiResult r = top->getInitializeStatus(response);
    ASSERT_EQ(0, r.resultCode) << r.resultMsg;
    EXPECT_EQ((Steps{{kSubmitLicense, kComplete}, {kSetUserPassword, kComplete}}),
              StepsOf(response));

    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE("ctl" + std::to_string(i));
        ASSERT_EQ(0, sims[i]->Stop());
        auto events = sims[i]->Events();
        const std::string wiz = IfMac("wiz" + std::to_string(i));
        std::set<long long> versions;
        for (const Json* h : EventsOf(events, "rx", "HELLO_REQ")) {
            EXPECT_EQ(wiz, (*h).at("src").get<std::string>());
            versions.insert((*h).at("version").get<long long>());
        }
        EXPECT_EQ((std::set<long long>{4, 5}), versions) << "each adapter sent both Hellos";
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
