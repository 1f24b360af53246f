// The object handler against the real apimgrsim over its socket: the two objects the wizard
// asks for, and every fault ending in null with the handler's own log line.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "apiMgmt/common/logs/logTask.h"
#include "applications/setup/arrayinitd/apiObjectHandler.h"
#include "support/ApimgrsimProcess.h"
#include "support/CellsimProcess.h"

namespace {

using ControllerHandler =
    APIObjectHandler<const APIScController*, APIScController::APIScControllerGetListMethod>;
using CellHandler =
    APIObjectHandler<const APIStorageCell*, APIStorageCell::APIStorageCellGetMethod>;

class Sink : public BASELogger {
public:
    void DoLog(const LOGMsg& iMsg) override {
        std::lock_guard<std::mutex> hold(m_lock);
        m_lines.push_back(iMsg);
        m_more.notify_all();
    }
    // The messages logged from here on, once iCount have arrived (or after two seconds).
    std::vector<LOGMsg> Take(size_t iCount) {
        std::unique_lock<std::mutex> hold(m_lock);
        m_more.wait_for(hold, std::chrono::seconds(2), [&] { return m_lines.size() >= iCount; });
        // Whatever more would come is in flight now; let it land before it is counted.
        hold.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        hold.lock();
        std::vector<LOGMsg> out;
        out.swap(m_lines);
        return out;
    }

private:
    std::mutex m_lock;
    std::condition_variable m_more;
    std::vector<LOGMsg> m_lines;
};

Sink* g_Sink = nullptr;

class ApiObjectHandlerSocket : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!g_Sink) {
            g_Sink = new Sink;
            ASSERT_TRUE(APPLogger::SetLogTask(new LOGTask(g_Sink)));
        }
        APPLogger::SetLogLevel(LOGLevel_Error);
    }
    void TearDown() override {
        BASEApiMethod::SetAPIManagerEndpoint(nullptr);
        GPBComEndpoint::SetAccessKeyPath("");
    }

    // Starts the simulator with the cell below and the faults given, and points the client
    // at it (with a receive timeout of iTimeout seconds).
    std::unique_ptr<ApimgrsimProcess> Start(const std::string& iFaults, time_t iTimeout = 5) {
        std::unique_ptr<ApimgrsimProcess> sim(new ApimgrsimProcess(
            APIMGRSIM_BINARY,
            "[controller top]\ninstance_id = 61.1\nhardware_serial_number = 6000123\n"
            "name = Top-Controller\n[controller bottom]\ninstance_id = 61.2\n"
            "hardware_serial_number = 6000124\nname = Bottom-Controller\n"
            "[storagecell]\nserial_number = 6000123\noperation_mode = Install\n"
            "[faults]\n" +
                iFaults));
        EXPECT_TRUE(sim->WaitReady());
        Use(*sim, iTimeout);
        return sim;
    }
    void Use(const ApimgrsimProcess& iSim, time_t iTimeout = 5) {
        GPBComEndpoint endpoint =
            GPBComEndpoint::CreateLocalEndpoint(iSim.SocketPath(), iTimeout, 5242880);
        BASEApiMethod::SetAPIManagerEndpoint(&endpoint);
        GPBComEndpoint::SetAccessKeyPath(iSim.KeyFile());
        g_Sink->Take(0);
    }
    // The handler's log lines carry their message between " LOG: " and " FNC: ".
    static std::vector<std::string> Messages(const std::vector<LOGMsg>& iLines) {
        std::vector<std::string> out;
        for (const LOGMsg& m : iLines) {
            EXPECT_EQ(m.level, LOGLevel_Error);
            EXPECT_EQ(m.category, "arrayinitd");
            EXPECT_EQ(m.message.compare(0, 4, "TS: "), 0);
            size_t b = m.message.find(" LOG: "), e = m.message.find(" FNC: ");
            EXPECT_NE(e, std::string::npos);
            EXPECT_NE(m.message.find(" FLN: ", e), std::string::npos);
            out.push_back(b == std::string::npos || e == std::string::npos
                              ? m.message
                              : m.message.substr(b + 6, e - b - 6));
        }
        return out;
    }
};

TEST_F(ApiObjectHandlerSocket, FindsTheControllerAndTheCell) {
    auto sim = Start("");
    ControllerHandler controllers;
    const APIScController* c = controllers.GetFilteredObjectFromList(
        APIScController::GetHardwareSerialNumberAttr(), "6000124");
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->GetName(), "Bottom-Controller");
    EXPECT_EQ(c->GetInstanceId(), "61.2");
    // A hyphen in a filter value crosses as "&hy&" and still matches.
    c = controllers.GetFilteredObjectFromList(APIScController::GetNameAttr(), "Top-Controller");
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->GetHardwareSerialNumber(), 6000123);

    CellHandler cells;
    const APIStorageCell* cell = cells.GetObject("6000123");
    ASSERT_NE(cell, nullptr);
    EXPECT_EQ(cell->GetOperationMode(), StorageCellOperationModeEnum_Install);
    EXPECT_EQ(cells.GetObject("6000999"), nullptr);
    EXPECT_EQ(Messages(g_Sink->Take(1)),
              std::vector<std::string>{"Unable to load information from API"});

    // The log holds the session key's presence, never its value.
    const std::string key = FileText(sim->KeyFile());
    ASSERT_GT(key.size(), 10u);
    const auto events = sim->Events();
    size_t requests = 0;
    for (const auto& e : events) {
        if (e.value("event", "") == "request") {
            ++requests;
            EXPECT_EQ(e.value("session_key", ""), "present");
            EXPECT_TRUE(e.value("session_key_valid", false));
        }
        EXPECT_EQ(e.value("xml", "").find(key.substr(0, key.size() - 1)), std::string::npos);
    }
    EXPECT_EQ(requests, 4u);
    EXPECT_EQ(sim->Stop(SIGINT), 0);
}

TEST_F(ApiObjectHandlerSocket, EveryFaultEndsInNullWithItsLogLine) {
    const std::string execFailed = "Unable to execute API, execption occurred ";
    const std::string noLoad = "Unable to load information from API";
    const struct {
        std::string faults;
        std::vector<std::string> logged;  // a trailing blank: the line starts with the text
        time_t timeout;
    } cases[] = {
        {"no_socket = true", {execFailed + " ", noLoad}, 5},
        {"close_without_reply = true", {execFailed + " ", noLoad}, 5},
        {"delay_ms = 2500", {execFailed + " ", noLoad}, 1},
        {"oversize_reply = true", {execFailed + " ", noLoad}, 5},
        {"wrong_message_type = true", {noLoad, noLoad}, 5},
        {"unparsable_xml = true", {noLoad, noLoad}, 5},
        {"return_elements = 0", {noLoad, noLoad}, 5},
        {"return_elements = 2", {noLoad, noLoad}, 5},
        {"fail = true\nfail_code = InvalidValue", {noLoad, noLoad}, 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.faults);
        auto sim = Start(c.faults, c.timeout);
        ControllerHandler handler;
        EXPECT_EQ(handler.GetFilteredObjectFromList(APIScController::GetHardwareSerialNumberAttr(),
                                                    "6000123"),
                  nullptr);
        std::vector<std::string> got = Messages(g_Sink->Take(c.logged.size()));
        ASSERT_EQ(got.size(), c.logged.size());
        for (size_t i = 0; i < got.size(); ++i) {
            if (c.logged[i].back() == ' ')
                EXPECT_EQ(got[i].compare(0, c.logged[i].size() - 1, c.logged[i], 0,
                                         c.logged[i].size() - 1),
                          0)
                    << got[i];
            else
                EXPECT_EQ(got[i], c.logged[i]);
        }
    }
}

TEST_F(ApiObjectHandlerSocket, ManagerDownWrongKeyAndNoMatch) {
    {
        // Nobody listens: the exception, then the list's own failure.
        auto sim = Start("");
        ASSERT_EQ(sim->Stop(SIGTERM), 0);
        ControllerHandler handler;
        EXPECT_EQ(handler.GetFilteredObjectFromList(APIScController::GetHardwareSerialNumberAttr(),
                                                    "6000123"),
                  nullptr);
        std::vector<std::string> got = Messages(g_Sink->Take(2));
        ASSERT_EQ(got.size(), 2u);
        EXPECT_EQ(got[0].rfind("Unable to execute API, execption occurred ", 0), 0u);
        EXPECT_EQ(got[1], "Unable to load information from API");
        CellHandler cells;
        EXPECT_EQ(cells.GetObject("6000123"), nullptr);
        got = Messages(g_Sink->Take(1));
        ASSERT_EQ(got.size(), 1u);
        EXPECT_EQ(got[0].rfind("Exception while executing command: ", 0), 0u);
    }
    auto sim = Start("");
    ControllerHandler handler;
    EXPECT_EQ(
        handler.GetFilteredObjectFromList(APIScController::GetHardwareSerialNumberAttr(), "1"),
        nullptr);
    EXPECT_EQ(Messages(g_Sink->Take(2)),
              (std::vector<std::string>{"No objects returned from API",
                                        "Unable to load information from API"}));
    // A key the manager did not write is refused with a failed call.
    const std::string other = sim->Dir() + "/other.key";
    std::ofstream(other) << "not-the-key\n";
    GPBComEndpoint::SetAccessKeyPath(other);
    EXPECT_EQ(handler.GetFilteredObjectFromList(APIScController::GetHardwareSerialNumberAttr(),
                                                "6000123"),
              nullptr);
    EXPECT_EQ(Messages(g_Sink->Take(2)).size(), 2u);
    unlink(other.c_str());
    const auto events = sim->Events();
    ASSERT_FALSE(events.empty());
    EXPECT_FALSE(events[events.size() - 2].value("session_key_valid", false));
    EXPECT_EQ(events.back().value("outcome", ""), "refused: session key");
}

}  // namespace
