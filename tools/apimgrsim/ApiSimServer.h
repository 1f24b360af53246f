#ifndef TOOLS_APIMGRSIM_APISIMSERVER_H
#define TOOLS_APIMGRSIM_APISIMSERVER_H

// The API manager's side of one call: read the request document, check the session key,
// answer ScController GetList and StorageCell Get from the configuration, fail anything else,
// and spoil the reply as the faults say. The event log gets every request and reply.

#include <cstdio>
#include <functional>
#include <string>

#include "ApiSimConfig.h"
#include "apiMgmt/proto/apiMgrMsg.pb.h"

class ApiSimLog {
public:
    ~ApiSimLog();
    bool Open(const std::string& iPath, std::string& oError);
    // One JSON object per line, "seq", "time" and "event" first; flushed at once.
    void Event(const std::string& iKind, const std::string& iJsonFields);
    void Say(const std::string& iLine) const;
    void SetQuiet(bool iQuiet) { m_quiet = iQuiet; }
    unsigned long long Count() const { return m_seq; }

private:
    FILE* m_file = nullptr;
    bool m_quiet = false;
    unsigned long long m_seq = 0;
};

class ApiSimServer {
public:
    ApiSimServer(const ApiSimConfig& iConfig, const std::string& iAccessKey, ApiSimLog& ioLog)
        : m_config(iConfig), m_key(iAccessKey), m_log(ioLog) {}

    // The reply to a request, or false when the connection is to close without one.
    // iWait sleeps for a delay and answers false when the simulator is stopping.
    bool Answer(const protoIPCMsg::GPBIPCMsg& iRequest, protoIPCMsg::GPBIPCMsg& oReply,
                const std::function<bool(unsigned)>& iWait);

    // The request document as the manager reads it: the client writes values unescaped, and
    // the filter's hyphen token "&hy&" is the one thing in it that is not XML. Each is turned
    // into "&amp;hy&amp;" so that the text reads back as written.
    static std::string Tolerate(const std::string& iDocument);
    // The document with the session key's value left out, for the log.
    static std::string Redacted(const std::string& iDocument);

private:
    std::string Reply(const std::string& iObject, const std::string& iCommand,
                      const std::map<std::string, std::string>& iAttributes, bool iKeyValid,
                      std::string& oOutcome) const;

    const ApiSimConfig& m_config;
    std::string m_key;
    ApiSimLog& m_log;
};

#endif
