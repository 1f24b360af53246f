#include "support/ApimgrsimProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "support/CellsimProcess.h"

ApimgrsimProcess::ApimgrsimProcess(const std::string& iBinary, const std::string& iConfig) {
    char dir[] = "/tmp/apimgrsim-run-XXXXXX";
    if (!mkdtemp(dir))
        return;
    m_dir = dir;
    m_socket = m_dir + "/apimgr.sock";
    m_key = m_dir + "/access.key";
    m_log = m_dir + "/events.jsonl";
    m_ini = m_dir + "/sim.ini";
    m_out = m_dir + "/output";
    std::ofstream(m_ini) << iConfig;
    const pid_t parent = getpid();
    pid_t pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent)
            _exit(127);
        int out = open(m_out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (out >= 0) {
            dup2(out, 1);
            dup2(out, 2);
        }
        execl(iBinary.c_str(), iBinary.c_str(), "--config", m_ini.c_str(), "--socket",
              m_socket.c_str(), "--access-key-file", m_key.c_str(), "--log", m_log.c_str(),
              static_cast<char*>(nullptr));
        _exit(127);
    }
    m_pid = pid;
}

ApimgrsimProcess::~ApimgrsimProcess() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    for (const std::string& f : {m_socket, m_key, m_log, m_ini, m_out})
        if (!f.empty())
            unlink(f.c_str());
    if (!m_dir.empty())
        rmdir(m_dir.c_str());
}

bool ApimgrsimProcess::WaitReady(int iMs) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(iMs);
    while (std::chrono::steady_clock::now() < deadline) {
        if (FileText(m_log).find("\"event\":\"ready\"") != std::string::npos)
            return true;
        int status = 0;
        if (m_pid > 0 && waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

int ApimgrsimProcess::Stop(int iSignal) {
    if (m_pid <= 0)
        return -1;
    kill(m_pid, iSignal);
    for (int i = 0; i < 500; ++i) {
        int status = 0;
        if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
            m_pid = -1;
            return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return -1;
}

std::vector<Json> ApimgrsimProcess::Events() const {
    return ReadEvents(m_log);
}
