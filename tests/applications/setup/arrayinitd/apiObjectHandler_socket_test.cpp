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

const char kExecFailed[] = "Unable to execute API, execption occurred ";
// A failed list call logs its cause, then the list's own failure.
const std::string kExecThenNoLoad =
    std::string(kExecFailed) + "...|Unable to load information from API";
const std::string kNoLoadTwice =
    "Unable to load information from API|Unable to load information from API";

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
        GPBComEndpoint endpoint =
            GPBComEndpoint::CreateLocalEndpoint(sim->SocketPath(), iTimeout, 5242880);
        BASEApiMethod::SetAPIManagerEndpoint(&endpoint);
        GPBComEndpoint::SetAccessKeyPath(sim->KeyFile());
        g_Sink->Take(0);
        return sim;
    }
    // The next iCount log lines' messages, joined by '|'. The handler's lines carry their
    // message between " LOG: " and " FNC: "; an exception's own text after the handler's
    // words is shown as "...".
    static std::string Logged(size_t iCount) {
        std::string out;
        for (const LOGMsg& m : g_Sink->Take(iCount)) {
            const size_t b = m.message.find(" LOG: "), e = m.message.find(" FNC: ");
            EXPECT_TRUE(m.level == LOGLevel_Error && m.category == "arrayinitd" &&
                        m.message.rfind("TS: ", 0) == 0 && b != std::string::npos &&
                        e != std::string::npos && m.message.find(" FLN: ", e) != std::string::npos)
                << m.message;
            std::string text =
                b < e && e != std::string::npos ? m.message.substr(b + 6, e - b - 6) : m.message;
            for (const char* cause : {kExecFailed, "Exception while executing command: "})
                if (text.rfind(cause, 0) == 0)
                    text = std::string(cause) + "...";
            out += (out.empty() ? "" : "|") + text;
        }
        return out;
    }
};

// Whether a fresh handler finds the controller of that hardware serial.
bool Finds(const std::string& iSerial) {
    return ControllerHandler().GetFilteredObjectFromList(
               APIScController::GetHardwareSerialNumberAttr(), iSerial) != nullptr;
}

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
    EXPECT_EQ(Logged(1), "Unable to load information from API");

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
    const struct {
        std::string faults;
        std::string logged;
        time_t timeout;
    } cases[] = {
        {"no_socket = true", kExecThenNoLoad, 5},
        {"close_without_reply = true", kExecThenNoLoad, 5},
        {"delay_ms = 2500", kExecThenNoLoad, 1},
        {"oversize_reply = true", kExecThenNoLoad, 5},
        {"wrong_message_type = true", kNoLoadTwice, 5},
        {"unparsable_xml = true", kNoLoadTwice, 5},
        {"return_elements = 0", kNoLoadTwice, 5},
        {"return_elements = 2", kNoLoadTwice, 5},
        {"fail = true\nfail_code = InvalidValue", kNoLoadTwice, 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.faults);
        auto sim = Start(c.faults, c.timeout);
        EXPECT_FALSE(Finds("6000123"));
        EXPECT_EQ(Logged(2), c.logged);
    }
}

TEST_F(ApiObjectHandlerSocket, ManagerDownWrongKeyAndNoMatch) {
    {
        // Nobody listens: the exception, then the list's own failure.
        auto sim = Start("");
        ASSERT_EQ(sim->Stop(SIGTERM), 0);
        EXPECT_FALSE(Finds("6000123"));
        EXPECT_EQ(Logged(2), kExecThenNoLoad);
        CellHandler cells;
        EXPECT_EQ(cells.GetObject("6000123"), nullptr);
        EXPECT_EQ(Logged(1), "Exception while executing command: ...");
    }
    auto sim = Start("");
    EXPECT_FALSE(Finds("1"));
    EXPECT_EQ(Logged(2), "No objects returned from API|Unable to load information from API");
    // A key the manager did not write is refused with a failed call.
    const std::string other = sim->Dir() + "/other.key";
    std::ofstream(other) << "not-the-key\n";
    GPBComEndpoint::SetAccessKeyPath(other);
    EXPECT_FALSE(Finds("6000123"));
    EXPECT_EQ(Logged(2), kNoLoadTwice);
    unlink(other.c_str());
    const auto events = sim->Events();
    ASSERT_FALSE(events.empty());
    EXPECT_FALSE(events[events.size() - 2].value("session_key_valid", false));
    EXPECT_EQ(events.back().value("outcome", ""), "refused: session key");
}

}  // namespace
