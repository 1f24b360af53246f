#include "gpbcom.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/io/zero_copy_stream_impl_lite.h>
#include <google/protobuf/message.h>
#include <google/protobuf/util/delimited_message_util.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <mutex>

namespace {

std::mutex gAccessKeyLock;
std::string gAccessKeyPath = APIMGR_ACCESS_KEY_FILE;

std::string Errno(int iCode) {
    return std::string(strerror(iCode));
}

// Milliseconds left until a monotonic deadline, never below 0.
int MillisecondsLeft(const timespec& iDeadline) {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    long long left =
        (iDeadline.tv_sec - now.tv_sec) * 1000LL + (iDeadline.tv_nsec - now.tv_nsec) / 1000000LL;
    if (left <= 0) {
        return 0;
    }
    return left > INT_MAX ? INT_MAX : static_cast<int>(left);
}

timespec DeadlineIn(time_t iSeconds) {
    timespec deadline;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += iSeconds;
    return deadline;
}

// Waits for the descriptor within the deadline; false on timeout, with errno kept on failure.
bool WaitFor(int iFd, short iEvents, const timespec& iDeadline, bool& oTimedOut) {
    for (;;) {
        pollfd entry = {iFd, iEvents, 0};
        int ready = poll(&entry, 1, MillisecondsLeft(iDeadline));
        if (ready > 0) {
            return true;
        }
        if (ready == 0) {
            oTimedOut = true;
            return false;
        }
        if (errno != EINTR) {
            return false;
        }
    }
}

}  // namespace

// The socket under protobuf's copying streams: every read and write waits at most until the
// deadline of the message under way, so a peer that trickles or stalls can't hold us.
struct GPBComSocket::Channel : public google::protobuf::io::CopyingInputStream,
                               public google::protobuf::io::CopyingOutputStream {
    explicit Channel(int iFd) : fd(iFd) {}

    void Start(time_t iSeconds) {
        deadline = DeadlineIn(iSeconds);
        timedOut = false;
        endOfStream = false;
        error = 0;
        bytesRead = 0;
    }

    int Read(void* oBuffer, int iSize) override {
        for (;;) {
            if (!WaitFor(fd, POLLIN, deadline, timedOut)) {
                error = timedOut ? 0 : errno;
                return -1;
            }
            ssize_t got = recv(fd, oBuffer, static_cast<size_t>(iSize), MSG_DONTWAIT);
            if (got < 0 && (errno == EINTR || errno == EAGAIN)) {
                continue;
            }
            if (got < 0) {
                error = errno;
                return -1;
            }
            endOfStream = got == 0;
            bytesRead += static_cast<size_t>(got);
            return static_cast<int>(got);
        }
    }

    bool Write(const void* iBuffer, int iSize) override {
        const char* data = static_cast<const char*>(iBuffer);
        size_t left = static_cast<size_t>(iSize);
        while (left > 0) {
            if (!WaitFor(fd, POLLOUT, deadline, timedOut)) {
                error = timedOut ? 0 : errno;
                return false;
            }
            ssize_t sent = send(fd, data, left, MSG_NOSIGNAL | MSG_DONTWAIT);
            if (sent < 0) {
                if (errno == EINTR || errno == EAGAIN) {
                    continue;
                }
                error = errno;
                return false;
            }
            data += sent;
            left -= static_cast<size_t>(sent);
        }
        return true;
    }

    int fd;
    timespec deadline = {};
    bool timedOut = false;
    bool endOfStream = false;
    int error = 0;
    size_t bytesRead = 0;
};

GPBComEndpoint::GPBComEndpoint(const sockaddr_storage& iAddr, socklen_t iAddrLen,
                               time_t iRecvTimeout, size_t iMaxMsgSize)
    : addr(iAddr), addrLen(iAddrLen), recvTimeout(iRecvTimeout), maxMsgSize(iMaxMsgSize) {}

GPBComEndpoint GPBComEndpoint::CreateLocalEndpoint(const std::string& iPath, time_t iRecvTimeout,
                                                   size_t iMaxMsgSize) {
    sockaddr_storage storage = {};
    sockaddr_un* local = reinterpret_cast<sockaddr_un*>(&storage);
    if (iPath.empty() || iPath.size() >= sizeof(local->sun_path)) {
        throw GPBComError(GPBComError::Endpoint, "socket path \"" + iPath +
                                                     "\" is empty or longer than the " +
                                                     std::to_string(sizeof(local->sun_path) - 1) +
                                                     " characters a local socket allows");
    }
    local->sun_family = AF_UNIX;
    memcpy(local->sun_path, iPath.c_str(), iPath.size() + 1);
    return GPBComEndpoint(storage, sizeof(sockaddr_un), iRecvTimeout, iMaxMsgSize);
}

GPBComEndpoint GPBComEndpoint::CreateTCPEndpoint(const std::string& iHost, unsigned short iPort,
                                                 time_t iRecvTimeout, size_t iMaxMsgSize) {
    sockaddr_storage storage = {};
    sockaddr_in* v4 = reinterpret_cast<sockaddr_in*>(&storage);
    sockaddr_in6* v6 = reinterpret_cast<sockaddr_in6*>(&storage);
    if (inet_pton(AF_INET, iHost.c_str(), &v4->sin_addr) == 1) {
        v4->sin_family = AF_INET;
        v4->sin_port = htons(iPort);
        return GPBComEndpoint(storage, sizeof(sockaddr_in), iRecvTimeout, iMaxMsgSize);
    }
    if (inet_pton(AF_INET6, iHost.c_str(), &v6->sin6_addr) == 1) {
        v6->sin6_family = AF_INET6;
        v6->sin6_port = htons(iPort);
        return GPBComEndpoint(storage, sizeof(sockaddr_in6), iRecvTimeout, iMaxMsgSize);
    }
    throw GPBComError(GPBComError::Endpoint, "\"" + iHost + "\" is no numeric IP address");
}

std::string GPBComEndpoint::GetDescription() const {
    if (IsLocal()) {
        return reinterpret_cast<const sockaddr_un*>(&addr)->sun_path;
    }
    char host[INET6_ADDRSTRLEN] = {};
    unsigned short port;
    if (addr.ss_family == AF_INET) {
        const sockaddr_in* v4 = reinterpret_cast<const sockaddr_in*>(&addr);
        inet_ntop(AF_INET, &v4->sin_addr, host, sizeof host);
        port = ntohs(v4->sin_port);
    } else {
        const sockaddr_in6* v6 = reinterpret_cast<const sockaddr_in6*>(&addr);
        inet_ntop(AF_INET6, &v6->sin6_addr, host, sizeof host);
        port = ntohs(v6->sin6_port);
    }
    return std::string(host) + ":" + std::to_string(port);
}

std::string GPBComEndpoint::GetAccessKey() {
    std::string path;
    {
        std::lock_guard<std::mutex> hold(gAccessKeyLock);
        path = gAccessKeyPath;
    }
    int keyFd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (keyFd < 0) {
        return std::string();
    }
    // One line of a key is short; a longer first line is no key of ours.
    char buffer[4096];
    size_t length = 0;
    while (length < sizeof buffer) {
        ssize_t got = read(keyFd, buffer + length, sizeof buffer - length);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        length += static_cast<size_t>(got);
        if (memchr(buffer, '\n', length) != nullptr) {
            break;
        }
    }
    close(keyFd);
    const char* newline = static_cast<const char*>(memchr(buffer, '\n', length));
    size_t lineLength = newline ? static_cast<size_t>(newline - buffer) : length;
    if (lineLength > 0 && buffer[lineLength - 1] == '\r') {
        --lineLength;
    }
    std::string key(buffer, newline || length < sizeof buffer ? lineLength : 0);
    explicit_bzero(buffer, sizeof buffer);
    return key;
}

void GPBComEndpoint::SetAccessKeyPath(const std::string& iPath) {
    std::lock_guard<std::mutex> hold(gAccessKeyLock);
    gAccessKeyPath = iPath.empty() ? APIMGR_ACCESS_KEY_FILE : iPath;
}

int GPBComEndpoint::CreateSocket(SocketType iType) const {
    int newFd = socket(addr.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (newFd < 0) {
        throw GPBComError(GPBComError::Connect, "cannot create a socket: " + Errno(errno));
    }
    if (iType == SERVER) {
        if (!IsLocal()) {
            int on = 1;
            setsockopt(newFd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        }
        if (bind(newFd, reinterpret_cast<const sockaddr*>(&addr), addrLen) != 0 ||
            listen(newFd, SOMAXCONN) != 0) {
            int code = errno;
            close(newFd);
            throw GPBComError(GPBComError::Endpoint,
                              "cannot listen on " + GetDescription() + ": " + Errno(code));
        }
        return newFd;
    }
    // A listener whose queue is full makes connect wait; it waits no longer than a reply may.
    timeval limit = {recvTimeout, 0};
    setsockopt(newFd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    int rc;
    do {
        rc = connect(newFd, reinterpret_cast<const sockaddr*>(&addr), addrLen);
    } while (rc != 0 && errno == EINTR);
    if (rc != 0) {
        int code = errno;
        close(newFd);
        throw GPBComError(GPBComError::Connect,
                          "cannot connect to " + GetDescription() + ": " + Errno(code));
    }
    return newFd;
}

void GPBComEndpoint::CloseSocket(int iFd) {
    if (iFd >= 0) {
        close(iFd);
    }
}

void GPBComEndpoint::UnlinkDomainSocketFile() const {
    // Only a socket: a wrong path must not cost anyone a file.
    const char* path = reinterpret_cast<const sockaddr_un*>(&addr)->sun_path;
    struct stat status;
    if (IsLocal() && lstat(path, &status) == 0 && S_ISSOCK(status.st_mode)) {
        unlink(path);
    }
}

GPBComSocket::GPBComSocket(const GPBComEndpoint& iEndpoint, GPBComEndpoint::SocketType iType,
                           int iFd)
    : endpoint(iEndpoint),
      socketType(iType),
      fd(iFd),
      channel(new Channel(iFd)),
      inputStream(new google::protobuf::io::CopyingInputStreamAdaptor(channel.get())),
      outputStream(new google::protobuf::io::CopyingOutputStreamAdaptor(channel.get())) {}

GPBComSocket::~GPBComSocket() {
    outputStream.reset();
    inputStream.reset();
    GPBComEndpoint::CloseSocket(fd);
}

void GPBComSocket::SendGPBMsg(const google::protobuf::Message& iMsg) {
    const std::string& type = iMsg.GetTypeName();
    if (!iMsg.IsInitialized()) {
        throw GPBComError(GPBComError::Incomplete,
                          "cannot send " + type + ": missing " + iMsg.InitializationErrorString());
    }
    size_t size = iMsg.ByteSizeLong();
    if (size > endpoint.GetMaxMsgSize() || size > INT_MAX) {
        throw GPBComError(GPBComError::Oversize,
                          "refusing to send " + type + " of " + std::to_string(size) +
                              " bytes to " + endpoint.GetDescription() + ": the largest is " +
                              std::to_string(endpoint.GetMaxMsgSize()));
    }
    channel->Start(endpoint.GetRecvTimeout());
    bool written =
        google::protobuf::util::SerializeDelimitedToZeroCopyStream(iMsg, outputStream.get()) &&
        outputStream->Flush();
    if (!written) {
        throw GPBComError(
            channel->timedOut ? GPBComError::Timeout : GPBComError::Io,
            "sending " + type + " to " + endpoint.GetDescription() + " failed: " +
                (channel->timedOut ? "the peer took no data for " +
                                         std::to_string(endpoint.GetRecvTimeout()) + " s"
                                   : Errno(channel->error)));
    }
}

void GPBComSocket::RecvGPBMsg(google::protobuf::Message& oMsg) {
    const std::string& type = oMsg.GetTypeName();
    const std::string from = " from " + endpoint.GetDescription();
    channel->Start(endpoint.GetRecvTimeout());
    oMsg.Clear();
    // Whatever stopped the read, the channel knows which it was.
    auto failure = [&](const std::string& iWhat) {
        if (channel->timedOut) {
            return GPBComError(GPBComError::Timeout, "no whole " + type + from + " within " +
                                                         std::to_string(endpoint.GetRecvTimeout()) +
                                                         " s");
        }
        if (channel->error != 0) {
            return GPBComError(GPBComError::Io,
                               "receiving " + type + from + " failed: " + Errno(channel->error));
        }
        if (channel->endOfStream && channel->bytesRead == 0) {
            return GPBComError(GPBComError::Closed,
                               "the peer closed the connection before sending " + type);
        }
        if (channel->endOfStream) {
            return GPBComError(GPBComError::Truncated, type + from + " is truncated: " + iWhat);
        }
        return GPBComError(GPBComError::Unparsable, type + from + " is unparsable: " + iWhat);
    };
    google::protobuf::io::CodedInputStream coded(inputStream.get());
    uint32_t size = 0;
    if (!coded.ReadVarint32(&size)) {
        throw failure("bad length prefix");
    }
    size_t largest = std::min<size_t>(endpoint.GetMaxMsgSize(), INT_MAX - 16);
    if (size > largest) {
        throw GPBComError(GPBComError::Oversize,
                          "refusing " + type + from + " of " + std::to_string(size) +
                              " bytes: the largest is " + std::to_string(endpoint.GetMaxMsgSize()));
    }
    coded.SetTotalBytesLimit(static_cast<int>(size) + 16);
    auto limit = coded.PushLimit(static_cast<int>(size));
    if (!oMsg.MergePartialFromCodedStream(&coded) || coded.BytesUntilLimit() != 0) {
        throw failure("body of " + std::to_string(size) + " bytes does not decode");
    }
    coded.PopLimit(limit);
    if (!oMsg.IsInitialized()) {
        oMsg.Clear();
        throw GPBComError(GPBComError::Unparsable,
                          type + from + " lacks " + oMsg.InitializationErrorString());
    }
}

GPBComClient::GPBComClient(const GPBComEndpoint& iEndpoint)
    : GPBComSocket(iEndpoint, GPBComEndpoint::CLIENT,
                   iEndpoint.CreateSocket(GPBComEndpoint::CLIENT)) {
    if (!endpoint.IsLocal()) {
        return;
    }
    ucred peer = {};
    socklen_t length = sizeof peer;
    if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) {
        throw GPBComError(
            GPBComError::Untrusted,
            "cannot learn who listens on " + endpoint.GetDescription() + ": " + Errno(errno));
    }
    if (peer.uid != 0 && peer.uid != geteuid()) {
        throw GPBComError(GPBComError::Untrusted,
                          "refusing " + endpoint.GetDescription() + ": it is served by uid " +
                              std::to_string(peer.uid) + ", neither root nor uid " +
                              std::to_string(geteuid()));
    }
}

void GPBComClient::SendReceiveMessage(const google::protobuf::Message& iRequest,
                                      google::protobuf::Message& oReply) {
    SendGPBMsg(iRequest);
    RecvGPBMsg(oReply);
}

GPBComServer::GPBComServer(const GPBComEndpoint& iEndpoint)
    : GPBComSocket(
          iEndpoint, GPBComEndpoint::SERVER,
          (iEndpoint.UnlinkDomainSocketFile(), iEndpoint.CreateSocket(GPBComEndpoint::SERVER))) {}

GPBComServer::~GPBComServer() {
    endpoint.UnlinkDomainSocketFile();
}

std::unique_ptr<GPBComSocket> GPBComServer::Accept(int iTimeoutMs) {
    for (;;) {
        pollfd entry = {fd, POLLIN, 0};
        int ready = poll(&entry, 1, iTimeoutMs);
        if (ready == 0) {
            return nullptr;
        }
        if (ready < 0 && errno != EINTR) {
            throw GPBComError(GPBComError::Io, "waiting for a connection on " +
                                                   endpoint.GetDescription() +
                                                   " failed: " + Errno(errno));
        }
        if (ready < 0) {
            continue;
        }
        int connection = accept4(fd, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
            return std::unique_ptr<GPBComSocket>(
                new GPBComSocket(endpoint, GPBComEndpoint::SERVER_CONNECTION, connection));
        }
        if (errno != EINTR && errno != ECONNABORTED && errno != EAGAIN) {
            throw GPBComError(GPBComError::Io, "accepting on " + endpoint.GetDescription() +
                                                   " failed: " + Errno(errno));
        }
    }
}
