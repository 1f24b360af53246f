#ifndef TESTS_SUPPORT_APIMGRSIMPROCESS_H
#define TESTS_SUPPORT_APIMGRSIMPROCESS_H

#include <string>

#include "support/CellsimProcess.h"

// The real apimgrsim program on a socket of its own; the socket and the key file live in the
// private directory.
class ApimgrsimProcess : public SimProcess {
public:
    // Starts iBinary with the INI text iConfig.
    ApimgrsimProcess(const std::string& iBinary, const std::string& iConfig);

    const std::string& SocketPath() const { return m_socket; }
    const std::string& KeyFile() const { return m_key; }

private:
    std::string m_socket, m_key;
};

#endif
