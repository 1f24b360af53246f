#ifndef PLATFORM_GPBCOM_GPBCOM_H
#define PLATFORM_GPBCOM_GPBCOM_H

#include <sys/socket.h>

#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>

namespace google {
namespace protobuf {
class Message;
namespace io {
class CopyingInputStreamAdaptor;
class CopyingOutputStreamAdaptor;
}  // namespace io
}  // namespace protobuf
}  // namespace google

#define APIMGR_ACCESS_KEY_FILE "/run/apimgr/access.key"

// A failure of the IPC transport; what() says which, Kind() lets a caller tell them apart.
class GPBComError : public std::runtime_error {
public:
    enum Kind {
        Endpoint,    // the endpoint can't be described or bound
        Connect,     // nobody listens, or the socket can't be reached
        Untrusted,   // the listener is neither root nor our own user
        Oversize,    // a message over the endpoint's largest, refused before its body
        Incomplete,  // a message that can't be sent without its required fields
        Io,          // the socket failed while sending or receiving
        Closed,      // the peer closed before any byte of its message
        Truncated,   // the peer closed in the middle of its message
        Timeout,     // the whole message didn't arrive within the endpoint's timeout
        Unparsable   // the bytes are no valid message of the expected type
    };
    GPBComError(Kind iKind, const std::string& iWhat) : std::runtime_error(iWhat), kind(iKind) {}
    Kind GetKind() const { return kind; }

private:
    Kind kind;
};

// Where a peer listens, how long a reply may take and how large a message may be.
class GPBComEndpoint {
public:
    enum SocketType { CLIENT = 0, SERVER = 1, SERVER_CONNECTION = 2 };

    // A local stream socket at iPath; nothing is connected here.
    static GPBComEndpoint CreateLocalEndpoint(const std::string& iPath, time_t iRecvTimeout,
                                              size_t iMaxMsgSize);
    // A TCP endpoint at a numeric IPv4 or IPv6 address.
    static GPBComEndpoint CreateTCPEndpoint(const std::string& iHost, unsigned short iPort,
                                            time_t iRecvTimeout, size_t iMaxMsgSize);

    // The first line of the access key file the API manager writes when it starts; empty when
    // the file is missing or unreadable.
    static std::string GetAccessKey();
    // Tests and tools read their key from elsewhere; an empty path restores the product's.
    static void SetAccessKeyPath(const std::string& iPath);

    // A new socket of this endpoint's family: connected for CLIENT, bound and listening for
    // SERVER. Throws GPBComError.
    int CreateSocket(SocketType iType) const;
    static void CloseSocket(int iFd);
    time_t GetRecvTimeout() const { return recvTimeout; }
    size_t GetMaxMsgSize() const { return maxMsgSize; }
    bool IsLocal() const { return addr.ss_family == AF_UNIX; }
    std::string GetDescription() const;
    void UnlinkDomainSocketFile() const;

private:
    GPBComEndpoint(const sockaddr_storage& iAddr, socklen_t iAddrLen, time_t iRecvTimeout,
                   size_t iMaxMsgSize);

    sockaddr_storage addr;
    const socklen_t addrLen;
    const time_t recvTimeout;
    const size_t maxMsgSize;
};

// One connected stream that carries protobuf messages, each preceded by its length as a
// base-128 varint, as protobuf's delimited-message utilities write it.
class GPBComSocket {
public:
    GPBComSocket(const GPBComEndpoint& iEndpoint, GPBComEndpoint::SocketType iType, int iFd);
    virtual ~GPBComSocket();
    GPBComSocket(const GPBComSocket&) = delete;
    GPBComSocket& operator=(const GPBComSocket&) = delete;

    // Both throw GPBComError; a message over the endpoint's largest is refused before a byte of
    // it is sent or its body is read, and the whole of a message must arrive (or leave) within
    // the endpoint's timeout.
    void SendGPBMsg(const google::protobuf::Message& iMsg);
    void RecvGPBMsg(google::protobuf::Message& oMsg);
    int GetFd() const { return fd; }
    const GPBComEndpoint& GetEndpoint() const { return endpoint; }

protected:
    struct Channel;

    GPBComEndpoint endpoint;
    GPBComEndpoint::SocketType socketType;
    int fd;
    std::unique_ptr<Channel> channel;
    std::unique_ptr<google::protobuf::io::CopyingInputStreamAdaptor> inputStream;
    std::unique_ptr<google::protobuf::io::CopyingOutputStreamAdaptor> outputStream;
};

// The client: one connection, opened in the constructor, for one request and its reply.
class GPBComClient : public GPBComSocket {
public:
    // Connects, then refuses a listener that is neither root nor our own effective user, so
    // nothing reaches a socket another user planted.
    explicit GPBComClient(const GPBComEndpoint& iEndpoint);
    ~GPBComClient() override = default;

    void SendReceiveMessage(const google::protobuf::Message& iRequest,
                            google::protobuf::Message& oReply);
    void SendMessage(const google::protobuf::Message& iRequest) { SendGPBMsg(iRequest); }
    void ReceiveMessage(google::protobuf::Message& oReply) { RecvGPBMsg(oReply); }
};

// The listening side: bound to the endpoint's path (a stale socket there is replaced) and
// removed again with the server. Each accepted connection serves one request.
class GPBComServer : public GPBComSocket {
public:
    explicit GPBComServer(const GPBComEndpoint& iEndpoint);
    ~GPBComServer() override;

    // The next connection, or null when none arrived within iTimeoutMs (-1 waits for ever).
    std::unique_ptr<GPBComSocket> Accept(int iTimeoutMs = -1);
};

#endif
