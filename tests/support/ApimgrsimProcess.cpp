#include "support/ApimgrsimProcess.h"

#include <fstream>

ApimgrsimProcess::ApimgrsimProcess(const std::string& iBinary, const std::string& iConfig)
    : SimProcess("/tmp/apimgrsim-run-XXXXXX"),
      m_socket(m_dir + "/apimgr.sock"),
      m_key(m_dir + "/access.key") {
    if (m_dir.empty())
        return;
    const std::string ini = m_dir + "/sim.ini", out = m_dir + "/output";
    std::ofstream(ini) << iConfig;
    m_pid = StartChild({iBinary, "--config", ini, "--socket", m_socket, "--access-key-file", m_key,
                        "--log", m_log},
                       m_dir, out, out);
}
