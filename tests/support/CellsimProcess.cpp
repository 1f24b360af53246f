#include "support/CellsimProcess.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace {
using Clock = std::chrono::steady_clock;
}  // namespace

std::string CellsimSection(const std::string& iName, const std::string& iMac,
                           const std::string& iSerial, const std::string& iTag,
                           const std::string& iMore) {
    return "[controller " + iName + "]\nmac = " + iMac + "\nserial = " + iSerial +
           "\nservice_tag = " + iTag + "\n" + iMore + "\n";
}

int RunCommand(const std::string& iCommand, std::string& oOutput) {
    oOutput.clear();
    FILE* p = popen(iCommand.c_str(), "r");
    if (!p)
        return -1;
    char buf[4096];
    for (size_t n; (n = fread(buf, 1, sizeof(buf), p)) > 0;)
        oOutput.append(buf, n);
    const int status = pclose(p);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void RemoveDir(const std::string& iDir) {
    std::error_code ignored;
    if (!iDir.empty())
        std::filesystem::remove_all(iDir, ignored);
}

std::string FileText(const std::string& iPath) {
    std::ifstream in(iPath);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

pid_t StartChild(std::vector<std::string> iArgs, const std::string& iDir, const std::string& iOut,
                 const std::string& iErr) {
    const pid_t parent = getpid();
    pid_t pid = fork();
    if (pid != 0)
        return pid;
    // The child goes with the test that started it, also when the test aborts; had the test
    // gone before this line, nobody would stop it.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent)
        _exit(127);
    int out = open(iOut.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int err = iErr == iOut ? out : open(iErr.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (out >= 0)
        dup2(out, 1);
    if (err >= 0)
        dup2(err, 2);
    // Its trace goes into the private directory too, never a file another test writes.
    if (chdir(iDir.c_str()) != 0 || setenv("HOME", iDir.c_str(), 1) != 0)
        _exit(127);
    std::vector<char*> argv;
    for (std::string& a : iArgs)
        argv.push_back(&a[0]);
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
}

bool WaitChildReady(pid_t& ioPid, const std::string& iLog, int iMs) {
    for (auto deadline = Clock::now() + std::chrono::milliseconds(iMs); Clock::now() < deadline;
         std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
        if (FileText(iLog).find("\"event\":\"ready\"") != std::string::npos)
            return true;
        if (WaitChild(ioPid, 0), ioPid <= 0)
            return false;  // it ended, or never started
    }
    return false;
}

int WaitChild(pid_t& ioPid, int iMs) {
    if (ioPid <= 0)
        return -1;
    auto deadline = Clock::now() + std::chrono::milliseconds(iMs);
    for (;;) {
        int status = 0;
        pid_t done = waitpid(ioPid, &status, WNOHANG);
        if (done == ioPid || (done < 0 && errno != EINTR)) {
            ioPid = -1;
            return done > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        if (Clock::now() >= deadline)
            return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void KillChild(pid_t& ioPid) {
    if (ioPid > 0) {
        kill(ioPid, SIGKILL);
        waitpid(ioPid, nullptr, 0);
    }
    ioPid = -1;
}

SimProcess::SimProcess(const char* iPattern) {
    std::string dir = iPattern;
    if (!mkdtemp(&dir[0]))
        return;
    m_dir = dir;
    m_log = m_dir + "/events.jsonl";
}

SimProcess::~SimProcess() {
    KillChild(m_pid);
    RemoveDir(m_dir);
}

int SimProcess::Stop(int iSignal) {
    if (m_pid > 0)
        kill(m_pid, iSignal);
    return WaitChild(m_pid, 5000);
}

CellsimProcess::CellsimProcess(const std::string& iBinary, const std::string& iNamespace,
                               const std::string& iInterface, const std::string& iConfig,
                               bool iFromFile, const std::vector<std::string>& iOptions)
    : SimProcess("/tmp/cellsim-run-XXXXXX"), m_out(m_dir + "/stdout"), m_err(m_dir + "/stderr") {
    if (m_dir.empty())
        return;
    std::string config = iConfig;
    if (!iFromFile)
        std::ofstream(config = m_dir + "/cell.ini") << iConfig;
    std::vector<std::string> args = {"ip",       "netns",    "exec", iNamespace,
                                     iBinary,    "--config", config, "--interface",
                                     iInterface, "--log",    m_log};
    args.insert(args.end(), iOptions.begin(), iOptions.end());
    m_pid = StartChild(args, m_dir, m_out, m_err);
}

std::string CellsimProcess::Stdout() const {
    return FileText(m_out);
}

std::string CellsimProcess::Stderr() const {
    return FileText(m_err);
}

std::vector<Json> ReadEvents(const std::string& iPath) {
    std::vector<Json> events;
    std::ifstream in(iPath);
    std::string line;
    while (std::getline(in, line)) {
        Json v = Json::parse(line, nullptr, false);
        events.push_back(v.is_object() ? std::move(v) : Json{{"unparsed", line}});
    }
    return events;
}

std::vector<const Json*> EventsOf(const std::vector<Json>& iEvents, const std::string& iKind,
                                  const std::string& iOp) {
    std::vector<const Json*> out;
    for (const auto& e : iEvents)
        if (e.value("event", "") == iKind && (iOp.empty() || e.value("op", "") == iOp))
            out.push_back(&e);
    return out;
}

const Json& EntryValue(const Json& iEvent, const std::string& iName) {
    static const Json none;
    auto entries = iEvent.find("entries");
    if (entries == iEvent.end() || !entries->is_array())
        return none;
    for (const auto& e : *entries) {
        if (e.value("name", "") != iName)
            continue;
        auto value = e.find("value");
        if (value == e.end())
            value = e.find("hex");
        return value == e.end() ? none : *value;
    }
    return none;
}

std::string JsonText(const Json& iValue) {
    return iValue.is_string() ? iValue.get<std::string>() : iValue.dump();
}

std::string Row(const Json& iEvent, const std::vector<std::string>& iFields) {
    std::string out;
    for (const std::string& f : iFields)
        out += (&f == &iFields[0] ? "" : "|") + JsonText(iEvent.value(f, Json()));
    return out;
}

std::string Column(const std::vector<const Json*>& iEvents, const std::string& iField) {
    std::string out;
    for (const Json* e : iEvents)
        out += (e == iEvents[0] ? "" : "|") + JsonText(e->value(iField, Json()));
    return out;
}
