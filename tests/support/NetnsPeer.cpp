#include "support/NetnsPeer.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "support/CellsimProcess.h"

bool NetnsBed::FromEnvironment(NetnsBed& oBed, std::string& oWhy) {
    const char* wiz = getenv("ARRAYSETUP_NETNS_WIZ");
    const char* ctl = getenv("ARRAYSETUP_NETNS_CTL");
    const char* pairs = getenv("ARRAYSETUP_NETNS_PAIRS");
    if (!wiz || !ctl || !pairs || !*wiz || !*ctl) {
        oWhy = "not inside a test bed: run this program through scripts/netns-run";
        return false;
    }
    oBed = NetnsBed{wiz, ctl, atoi(pairs)};
    if (oBed.pairs < 1) {
        oWhy = "ARRAYSETUP_NETNS_PAIRS is not a count of veth pairs";
        return false;
    }
    return true;
}

NetnsPeer::NetnsPeer(const std::string& iNamespace, Body iBody) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return;
    pid_t pid = fork();
    if (pid < 0) {
        close(ends[0]), close(ends[1]);
        return;
    }
    if (pid == 0) {
        close(ends[0]);
        m_fd = ends[1];
        m_pid = 0;
        std::string path = "/var/run/netns/" + iNamespace;
        int ns = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (ns < 0 || setns(ns, CLONE_NEWNET) != 0)
            _exit(kCannotEnterNamespace);
        close(ns);
        int status = kBodyThrew;
        try {
            status = iBody(*this);
        } catch (...) {
        }
        // No exit handlers: they belong to the parent's copy of this process.
        _exit(status);
    }
    close(ends[1]);
    m_fd = ends[0];
    m_pid = pid;
}

NetnsPeer::~NetnsPeer() {
    KillChild(m_pid);
    if (m_fd >= 0)
        close(m_fd);
}

bool NetnsPeer::Send(const void* iData, size_t iLength) {
    if (m_fd < 0)
        return false;
    return TEMP_FAILURE_RETRY(send(m_fd, iData, iLength, MSG_NOSIGNAL)) ==
           static_cast<ssize_t>(iLength);
}

bool NetnsPeer::Receive(std::string& oMessage, int iTimeoutMs) {
    oMessage.clear();
    if (m_fd < 0)
        return false;
    struct pollfd p = {m_fd, POLLIN, 0};
    if (TEMP_FAILURE_RETRY(poll(&p, 1, iTimeoutMs)) <= 0)
        return false;
    std::vector<char> buf(65536);
    const ssize_t got = TEMP_FAILURE_RETRY(recv(m_fd, buf.data(), buf.size(), 0));
    if (got <= 0)
        return false;
    oMessage.assign(buf.data(), static_cast<size_t>(got));
    return true;
}

int NetnsPeer::Wait(int iTimeoutMs) {
    return WaitChild(m_pid, iTimeoutMs);
}
