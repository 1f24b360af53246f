#include "support/CellsimProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

namespace {
using Clock = std::chrono::steady_clock;
}  // namespace

std::string FileText(const std::string& iPath) {
    std::ifstream in(iPath);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

CellsimProcess::CellsimProcess(const std::string& iBinary, const std::string& iNamespace,
                               const std::string& iInterface, const std::string& iConfig,
                               bool iFromFile, const std::vector<std::string>& iOptions) {
    char dir[] = "/tmp/cellsim-run-XXXXXX";
    if (!mkdtemp(dir))
        return;
    m_dir = dir;
    m_log = m_dir + "/events.jsonl";
    m_out = m_dir + "/stdout";
    m_err = m_dir + "/stderr";
    std::string config = iConfig;
    if (!iFromFile) {
        m_ini = m_dir + "/cell.ini";
        std::ofstream f(m_ini);
        f << iConfig;
        config = m_ini;
    }
    const pid_t parent = getpid();
    pid_t pid = fork();
    if (pid == 0) {
        // The simulator goes with the test that started it, also when the test aborts; had
        // the test gone before this line, nobody would stop it.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent)
            _exit(127);
        int out = open(m_out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        int err = open(m_err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (out >= 0)
            dup2(out, 1);
        if (err >= 0)
            dup2(err, 2);
        std::vector<std::string> args = {"ip",       "netns",    "exec", iNamespace,
                                         iBinary,    "--config", config, "--interface",
                                         iInterface, "--log",    m_log};
        args.insert(args.end(), iOptions.begin(), iOptions.end());
        std::vector<char*> argv;
        for (std::string& a : args)
            argv.push_back(&a[0]);
        argv.push_back(nullptr);
        execvp("ip", argv.data());
        _exit(127);
    }
    m_pid = pid;
}

CellsimProcess::~CellsimProcess() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    for (const std::string& f : {m_log, m_out, m_err, m_ini})
        if (!f.empty())
            unlink(f.c_str());
    if (!m_dir.empty())
        rmdir(m_dir.c_str());
}

bool CellsimProcess::WaitReady(int iMs) {
    auto deadline = Clock::now() + std::chrono::milliseconds(iMs);
    while (Clock::now() < deadline) {
        if (FileText(m_log).find("\"event\":\"ready\"") != std::string::npos)
            return true;
        int status = 0;
        if (m_pid > 0 && waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

int CellsimProcess::Stop(int iSignal) {
    if (m_pid <= 0)
        return -1;
    kill(m_pid, iSignal);
    auto deadline = Clock::now() + std::chrono::seconds(5);
    while (Clock::now() < deadline) {
        int status = 0;
        if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return -1;
}

std::vector<JsonValue> CellsimProcess::Events() const {
    return ReadEvents(m_log);
}

std::string CellsimProcess::Stdout() const {
    return FileText(m_out);
}

std::string CellsimProcess::Stderr() const {
    return FileText(m_err);
}

std::vector<JsonValue> ReadEvents(const std::string& iPath) {
    std::vector<JsonValue> events;
    std::ifstream in(iPath);
    std::string line;
    while (std::getline(in, line)) {
        JsonValue v;
        if (!JsonReader::Parse(line, v)) {
            v = JsonValue();
            v.kind = JsonValue::Object;
            JsonValue raw;
            raw.kind = JsonValue::String;
            raw.text = line;
            v.members.emplace_back("unparsed", raw);
        }
        events.push_back(std::move(v));
    }
    return events;
}

std::vector<const JsonValue*> EventsOf(const std::vector<JsonValue>& iEvents,
                                       const std::string& iKind, const std::string& iOp) {
    std::vector<const JsonValue*> out;
    for (const auto& e : iEvents)
        if (e["event"].Str() == iKind && (iOp.empty() || e["op"].Str() == iOp))
            out.push_back(&e);
    return out;
}

const JsonValue& EntryValue(const JsonValue& iEvent, const std::string& iName) {
    for (const auto& e : iEvent["entries"].items)
        if (e["name"].Str() == iName)
            return e.Has("value") ? e["value"] : e["hex"];
    return JsonValue::Missing();
}
