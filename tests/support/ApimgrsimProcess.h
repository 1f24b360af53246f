#ifndef TESTS_SUPPORT_APIMGRSIMPROCESS_H
#define TESTS_SUPPORT_APIMGRSIMPROCESS_H

// The real apimgrsim program on a socket of its own, in a private directory that goes with
// the object, and the event log it writes.

#include <sys/types.h>

#include <string>
#include <vector>

#include "support/CellsimProcess.h"  // Json and ReadEvents

class ApimgrsimProcess {
public:
    // Starts iBinary with the INI text iConfig; the socket, the key file and the log live in
    // the private directory.
    ApimgrsimProcess(const std::string& iBinary, const std::string& iConfig);
    ~ApimgrsimProcess();
    ApimgrsimProcess(const ApimgrsimProcess&) = delete;
    ApimgrsimProcess& operator=(const ApimgrsimProcess&) = delete;

    // True once the log says it is ready; false if the program ended or took longer.
    bool WaitReady(int iMs = 10000);
    // Sends the signal and returns the exit status, or -1 if it died otherwise or hung.
    int Stop(int iSignal);

    const std::string& SocketPath() const { return m_socket; }
    const std::string& KeyFile() const { return m_key; }
    const std::string& Dir() const { return m_dir; }
    std::vector<Json> Events() const;

private:
    pid_t m_pid = -1;
    std::string m_dir, m_socket, m_key, m_log, m_ini, m_out;
};

#endif
