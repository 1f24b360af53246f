#include "support/ApimgrsimProcess.h"

#include <signal.h>
#include <stdlib.h>

#include <fstream>

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
    m_pid = StartChild({iBinary, "--config", m_ini, "--socket", m_socket, "--access-key-file",
                        m_key, "--log", m_log},
                       m_dir, m_out, m_out);
}

ApimgrsimProcess::~ApimgrsimProcess() {
    KillChild(m_pid);
    RemoveDir(m_dir);
}

bool ApimgrsimProcess::WaitReady(int iMs) {
    return WaitChildReady(m_pid, m_log, iMs);
}

int ApimgrsimProcess::Stop(int iSignal) {
    if (m_pid > 0)
        kill(m_pid, iSignal);
    return WaitChild(m_pid, 5000);
}

std::vector<Json> ApimgrsimProcess::Events() const {
    return ReadEvents(m_log);
}
