#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>

#include "apiMgmt/proto/apiMgrMsg.pb.h"
#include "gpbcom/gpbcom.h"

namespace {

using protoIPCMsg::GPBIPCMsg;

// The client's request and the manager's reply, as they cross the socket.
const std::string kRequestBytes("\x0e\x08\x02\x12\x0a\x08\x01\x22\x06\x0a\x04<x/>", 15);
const std::string kReplyBytes("\x0e\x08\x03\x1a\x0a\x08\x01\x12\x06\x0a\x04<r/>", 15);

GPBIPCMsg Request(size_t iXmlSize = 0) {
    GPBIPCMsg msg;
    msg.set_msgtype(protoIPCMsg::APIRequest);
    msg.mutable_apireqmsg()->set_cmdtype(protoIPCMsg::Command);
    msg.mutable_apireqmsg()->mutable_cmd()->set_cmddata(iXmlSize ? std::string(iXmlSize, 'x')
                                                                 : "<x/>");
    return msg;
}

// The kind of the error a call ends in, with its text in oWhat; -1 when it ends without one.
template <class Call>
int ErrorOf(Call iCall, std::string& oWhat) {
    try {
        iCall();
    } catch (const GPBComError& e) {
        oWhat = e.what();
        return e.GetKind();
    }
    return -1;
}

bool WriteAll(int iFd, const std::string& iBytes) {
    return send(iFd, iBytes.data(), iBytes.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(iBytes.size());
}

// Reads until the peer closes; what came.
std::string ReadToEnd(int iFd) {
    std::string all;
    char buffer[4096];
    ssize_t got;
    while ((got = read(iFd, buffer, sizeof buffer)) > 0)
        all.append(buffer, static_cast<size_t>(got));
    return all;
}

size_t OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

// A directory of its own for each test's socket, open to every user for the planted one.
class GPBComSocketTest : public ::testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/gpbcom-test.XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir = name;
        chmod(dir.c_str(), 0777);
        path = dir + "/api.sock";
    }
    void TearDown() override {
        unlink(path.c_str());
        rmdir(dir.c_str());
    }

    GPBComEndpoint Endpoint(time_t iTimeout = 5, size_t iLargest = 4096) const {
        return GPBComEndpoint::CreateLocalEndpoint(path, iTimeout, iLargest);
    }

    // Runs iServe in a child process that listens on the endpoint (as iUid when not 0); the
    // child's exit status is iServe's result. Returns once the child listens.
    void Serve(const GPBComEndpoint& iEndpoint, std::function<int(GPBComServer&)> iServe,
               uid_t iUid = 0) {
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(ready[0]);
            if (iUid != 0 && (setgid(iUid) != 0 || setuid(iUid) != 0))
                _exit(90);
            int rc = 91;
            try {
                GPBComServer server(iEndpoint);
                if (write(ready[1], "r", 1) == 1)
                    rc = iServe(server);
            } catch (const std::exception& e) {
                fprintf(stderr, "server: %s\n", e.what());
            }
            _exit(rc);
        }
        close(ready[1]);
        char byte;
        pollfd entry = {ready[0], POLLIN, 0};
        ASSERT_EQ(poll(&entry, 1, 10000), 1);
        ASSERT_EQ(read(ready[0], &byte, 1), 1) << "server did not start";
        close(ready[0]);
    }

    int ServerStatus() {
        int status = 0;
        waitpid(child, &status, 0);
        child = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

    std::string dir;
    std::string path;
    pid_t child = -1;
};

TEST_F(GPBComSocketTest, RequestAndReplyByteForByte) {
    Serve(Endpoint(), [](GPBComServer& server) {
        auto connection = server.Accept(10000);
        std::string got;
        char byte;
        while (got.size() < kRequestBytes.size() && read(connection->GetFd(), &byte, 1) == 1)
            got += byte;
        return got == kRequestBytes && WriteAll(connection->GetFd(), kReplyBytes) ? 0 : 1;
    });
    GPBIPCMsg reply;
    GPBComClient(Endpoint()).SendReceiveMessage(Request(), reply);
    EXPECT_EQ(reply.msgtype(), protoIPCMsg::APIResp);
    EXPECT_EQ(reply.apirespmsg().cmd().respdata(), "<r/>");
    EXPECT_EQ(ServerStatus(), 0);
}

// Each server misbehaves in its own way; the client ends in the named error, never a hang.
TEST_F(GPBComSocketTest, EveryFailureOfTheServerEndsInItsError) {
    auto reply = [](std::string iBytes, bool iClose) {
        return [iBytes, iClose](GPBComServer& server) {
            auto connection = server.Accept(10000);
            GPBIPCMsg request;
            connection->RecvGPBMsg(request);
            if (!WriteAll(connection->GetFd(), iBytes))
                return 1;
            if (!iClose)
                ReadToEnd(connection->GetFd());  // until the client gives up
            return 0;
        };
    };
    struct {
        const char* name;
        std::function<int(GPBComServer&)> serve;
        GPBComError::Kind kind;
        const char* said;
    } cases[] = {
        {"closes early", reply("", true), GPBComError::Closed, "closed the connection before"},
        {"truncates", reply(kReplyBytes.substr(0, 9), true), GPBComError::Truncated, "truncated"},
        {"garbage body", reply(std::string("\x03\xff\xff\xff", 4), true), GPBComError::Unparsable,
         "unparsable"},
        {"garbage prefix", reply(std::string(11, '\xff'), false), GPBComError::Unparsable,
         "bad length prefix"},
        {"no message type", reply(std::string("\x02\x38\x01", 3), true), GPBComError::Unparsable,
         "lacks msgType"},
        {"oversize prefix, no body", reply("\x81\x20", false), GPBComError::Oversize,
         "of 4097 bytes"},
        {"never answers", reply("", false), GPBComError::Timeout, "within 1 s"},
        {"trickles",
         [](GPBComServer& server) {
             auto connection = server.Accept(10000);
             GPBIPCMsg request;
             connection->RecvGPBMsg(request);
             for (char byte : kReplyBytes) {  // 15 bytes over 4.5 s, past the 1 s allowed
                 usleep(300000);
                 if (!WriteAll(connection->GetFd(), std::string(1, byte)))
                     return 0;
             }
             return 1;
         },
         GPBComError::Timeout, "within 1 s"},
    };
    std::string what;
    GPBIPCMsg got;
    for (auto& c : cases) {
        SCOPED_TRACE(c.name);
        Serve(Endpoint(1), c.serve);
        EXPECT_EQ(
            ErrorOf([&] { GPBComClient(Endpoint(1)).SendReceiveMessage(Request(), got); }, what),
            c.kind)
            << what;
        EXPECT_NE(what.find(c.said), std::string::npos) << what;
        EXPECT_EQ(ServerStatus(), 0);
    }
    EXPECT_EQ(ErrorOf([&] { GPBComClient client(Endpoint()); }, what), GPBComError::Connect)
        << "nobody listens";
}

TEST_F(GPBComSocketTest, OversizeMessagesAreRefusedOnEachSide) {
    // The server refuses a request whose prefix is over its largest, and a reply of its own.
    Serve(Endpoint(5, 64), [](GPBComServer& server) {
        std::string what;
        GPBIPCMsg msg;
        auto first = server.Accept(10000);
        const int in = ErrorOf([&] { first->RecvGPBMsg(msg); }, what);
        auto second = server.Accept(10000);
        const int out = ErrorOf([&] { second->SendGPBMsg(Request(100)); }, what);
        return in == GPBComError::Oversize && out == GPBComError::Oversize ? 0 : 1;
    });
    GPBComClient raw(Endpoint());
    ASSERT_TRUE(WriteAll(raw.GetFd(), "\x41"));  // 65 bytes announced, none sent
    GPBIPCMsg got;
    std::string what;
    EXPECT_EQ(ErrorOf([&] { GPBComClient(Endpoint()).ReceiveMessage(got); }, what),
              GPBComError::Closed)
        << what;
    EXPECT_EQ(ServerStatus(), 0);

    // The client refuses a request over its largest before a byte of it leaves.
    Serve(Endpoint(), [](GPBComServer& server) {
        auto connection = server.Accept(10000);
        return ReadToEnd(connection->GetFd()).empty() ? 0 : 1;
    });
    EXPECT_EQ(
        ErrorOf([&] { GPBComClient(Endpoint(5, 64)).SendReceiveMessage(Request(100), got); }, what),
        GPBComError::Oversize)
        << what;
    EXPECT_EQ(ServerStatus(), 0);
}

TEST_F(GPBComSocketTest, ASocketPlantedByAnotherUserGetsNothing) {
    if (geteuid() != 0) {
        if (getenv("CI") != nullptr)
            FAIL() << "needs root to plant a socket as another user";
        GTEST_SKIP() << "needs root to plant a socket as another user";
    }
    Serve(
        Endpoint(),
        [](GPBComServer& server) {
            auto connection = server.Accept(10000);
            return connection && ReadToEnd(connection->GetFd()).empty() ? 0 : 1;
        },
        65534);
    GPBIPCMsg got;
    std::string what;
    EXPECT_EQ(ErrorOf([&] { GPBComClient(Endpoint()).SendReceiveMessage(Request(), got); }, what),
              GPBComError::Untrusted);
    EXPECT_NE(what.find("served by uid 65534"), std::string::npos) << what;
    EXPECT_EQ(ServerStatus(), 0);
}

TEST_F(GPBComSocketTest, TwoHundredCallsLeaveNoDescriptorBehind) {
    static const int calls = 200;
    Serve(Endpoint(), [](GPBComServer& server) {
        for (int i = 0; i < calls; ++i) {
            auto connection = server.Accept(10000);
            GPBIPCMsg request;
            connection->RecvGPBMsg(request);
            GPBIPCMsg reply;
            reply.set_msgtype(protoIPCMsg::APIResp);
            reply.set_sequencenum(static_cast<uint32_t>(i));
            connection->SendGPBMsg(reply);
        }
        return 0;
    });
    size_t before = OpenDescriptors();
    for (int i = 0; i < calls; ++i) {
        GPBIPCMsg reply;
        GPBComClient(Endpoint()).SendReceiveMessage(Request(), reply);
        ASSERT_EQ(reply.sequencenum(), static_cast<uint32_t>(i));
    }
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_EQ(ServerStatus(), 0);
}

TEST(GPBComEndpointTest, AccessKeyIsTheFirstLineOrNothing) {
    char name[] = "/tmp/gpbcom-key.XXXXXX";
    int fd = mkstemp(name);
    ASSERT_GE(fd, 0);
    struct {
        std::string content;
        std::string key;
    } cases[] = {{"k3y-1\nsecond\n", "k3y-1"},
                 {"k3y-2\r\n", "k3y-2"},
                 {"k3y-3", "k3y-3"},
                 {"", ""},
                 {std::string(5000, 'k'), ""}};
    GPBComEndpoint::SetAccessKeyPath(name);
    for (const auto& c : cases) {
        ASSERT_EQ(ftruncate(fd, 0), 0);
        ASSERT_EQ(pwrite(fd, c.content.data(), c.content.size(), 0),
                  static_cast<ssize_t>(c.content.size()));
        EXPECT_EQ(GPBComEndpoint::GetAccessKey(), c.key);
    }
    close(fd);
    unlink(name);
    EXPECT_EQ(GPBComEndpoint::GetAccessKey(), "");
    GPBComEndpoint::SetAccessKeyPath("");
    EXPECT_THROW(GPBComEndpoint::CreateLocalEndpoint(std::string(108, 'p'), 1, 1), GPBComError);
}

}  // namespace
