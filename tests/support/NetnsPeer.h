#ifndef TESTS_SUPPORT_NETNSPEER_H
#define TESTS_SUPPORT_NETNSPEER_H

#include <sys/types.h>

#include <functional>
#include <string>

// What scripts/netns-run tells a program about the test bed it runs in.
struct NetnsBed {
    std::string wiz;  // the namespace this program runs in
    std::string ctl;  // the namespace across the veth pairs
    int pairs = 0;

    // False, with the reason, when the program was not started by scripts/netns-run.
    static bool FromEnvironment(NetnsBed& oBed, std::string& oWhy);
};

// A child process that runs a body inside another network namespace, with a message channel
// to the parent (one datagram per message, both ways). The child ends with the body's result
// as its exit status; the parent reaps it on Wait or in the destructor, killing it if needed.
class NetnsPeer {
public:
    using Body = std::function<int(NetnsPeer& iSelf)>;

    NetnsPeer(const std::string& iNamespace, Body iBody);
    ~NetnsPeer();
    NetnsPeer(const NetnsPeer&) = delete;
    NetnsPeer& operator=(const NetnsPeer&) = delete;

    bool Started() const { return m_pid > 0; }

    // Either side may call these; Receive waits up to iTimeoutMs and is false on silence,
    // a closed channel or an error.
    bool Send(const void* iData, size_t iLength);
    bool Send(const std::string& iText) { return Send(iText.data(), iText.size()); }
    bool Receive(std::string& oMessage, int iTimeoutMs);

    // Parent side: the child's exit status, or -1 if it did not end within iTimeoutMs or died
    // of a signal.
    int Wait(int iTimeoutMs);

    // Exit statuses of a child that could not get going.
    static const int kCannotEnterNamespace = 120;
    static const int kBodyThrew = 121;

private:
    pid_t m_pid = -1;
    int m_fd = -1;  // this side's end of the channel
};

#endif
