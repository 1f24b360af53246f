// The local IPC transport against a server in another process on a Unix socket:
//   - one 1 KB request and its 1 KB reply through GPBComClient (a connection per call, as the
//     API client makes them), beside the bare write and read of the same bytes over a fresh
//     connection of the same kind;
//   - one reply of 5 MB, with the client's peak memory as a multiple of the message size.
// Report the medians: bench_gpbcom --benchmark_repetitions=9 --benchmark_report_aggregates_only
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "apiMgmt/proto/apiMgrMsg.pb.h"
#include "gpbcom/gpbcom.h"

namespace {

using protoIPCMsg::GPBIPCMsg;

const size_t kLargest = 5242880;
const size_t kSmall = 1024;
const size_t kLarge = kLargest - 64;  // the largest reply the endpoint takes, framing included

std::string gDir;

std::string Path(const char* iName) {
    return gDir + "/" + iName;
}

GPBComEndpoint Endpoint() {
    return GPBComEndpoint::CreateLocalEndpoint(Path("gpb.sock"), 30, kLargest);
}

// A request or reply whose message is iSize bytes in all.
GPBIPCMsg Message(protoIPCMsg::IPCMsgType iType, size_t iSize) {
    GPBIPCMsg msg;
    msg.set_msgtype(iType);
    std::string* xml;
    if (iType == protoIPCMsg::APIRequest) {
        msg.mutable_apireqmsg()->set_cmdtype(protoIPCMsg::Command);
        xml = msg.mutable_apireqmsg()->mutable_cmd()->mutable_cmddata();
    } else {
        msg.mutable_apirespmsg()->set_cmdtype(protoIPCMsg::Command);
        xml = msg.mutable_apirespmsg()->mutable_cmd()->mutable_respdata();
    }
    xml->assign(iSize, 'x');
    xml->resize(iSize - (msg.ByteSizeLong() - iSize));
    while (msg.ByteSizeLong() < iSize) {  // a shorter text may have a shorter length prefix
        xml->push_back('x');
    }
    return msg;
}

pid_t Fork(void (*iServe)()) {
    pid_t pid = fork();
    if (pid == 0) {
        iServe();
        _exit(0);
    }
    return pid;
}

// Answers each request with a reply of the size its XML names: "L" for the large one.
void ServeGpb() {
    GPBComServer server(Endpoint());
    GPBIPCMsg small = Message(protoIPCMsg::APIResp, kSmall);
    GPBIPCMsg large = Message(protoIPCMsg::APIResp, kLarge);
    for (;;) {
        auto connection = server.Accept();
        GPBIPCMsg request;
        connection->RecvGPBMsg(request);
        connection->SendGPBMsg(request.apireqmsg().cmd().cmddata() == "L" ? large : small);
    }
}

sockaddr_un BareAddress() {
    sockaddr_un addr = {};
    addr.sun_family = AF_UNIX;
    strncpy(addr.sun_path, Path("bare.sock").c_str(), sizeof addr.sun_path - 1);
    return addr;
}

bool ReadFull(int iFd, char* oBuffer, size_t iSize) {
    for (size_t got = 0; got < iSize;) {
        ssize_t n = read(iFd, oBuffer + got, iSize - got);
        if (n <= 0) {
            return false;
        }
        got += static_cast<size_t>(n);
    }
    return true;
}

// Reads 1 KB and writes it back, a connection each time.
void ServeBare() {
    sockaddr_un addr = BareAddress();
    int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    unlink(addr.sun_path);
    if (bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
        listen(listener, SOMAXCONN) != 0) {
        _exit(1);
    }
    char buffer[kSmall];
    for (;;) {
        int fd = accept(listener, nullptr, nullptr);
        if (ReadFull(fd, buffer, sizeof buffer)) {
            send(fd, buffer, sizeof buffer, MSG_NOSIGNAL);
        }
        close(fd);
    }
}

void WaitForSocket(const std::string& iPath) {
    while (access(iPath.c_str(), F_OK) != 0) {
        usleep(1000);
    }
}

void BM_GPBComClient_1KB(benchmark::State& state) {
    GPBIPCMsg request = Message(protoIPCMsg::APIRequest, kSmall);
    const GPBComEndpoint endpoint = Endpoint();
    for (auto _ : state) {
        GPBIPCMsg reply;
        GPBComClient(endpoint).SendReceiveMessage(request, reply);
        benchmark::DoNotOptimize(reply);
    }
}
BENCHMARK(BM_GPBComClient_1KB)->UseRealTime();

void BM_BareSocket_1KB(benchmark::State& state) {
    sockaddr_un addr = BareAddress();
    char out[kSmall];
    char in[kSmall];
    memset(out, 'x', sizeof out);
    for (auto _ : state) {
        int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
            send(fd, out, sizeof out, MSG_NOSIGNAL) != static_cast<ssize_t>(sizeof out) ||
            !ReadFull(fd, in, sizeof in)) {
            state.SkipWithError("bare round trip failed");
        }
        close(fd);
    }
}
BENCHMARK(BM_BareSocket_1KB)->UseRealTime();

// One large call in a process of its own: the growth of its peak resident size over what it
// held before the call, as a multiple of the reply's size.
int MeasurePeak() {
    GPBIPCMsg request = Message(protoIPCMsg::APIRequest, 64);
    request.mutable_apireqmsg()->mutable_cmd()->set_cmddata("L");
    const GPBComEndpoint endpoint = Endpoint();
    rusage before;
    getrusage(RUSAGE_SELF, &before);
    GPBIPCMsg reply;
    GPBComClient(endpoint).SendReceiveMessage(request, reply);
    rusage after;
    getrusage(RUSAGE_SELF, &after);
    printf("%f\n", (after.ru_maxrss - before.ru_maxrss) * 1024.0 / kLarge);
    return 0;
}

// Runs MeasurePeak in a fresh program, so nothing of the benchmark's own heap counts.
double PeakMultipleOfMessage() {
    char self[4096] = {};
    if (readlink("/proc/self/exe", self, sizeof self - 1) <= 0) {
        return -1;
    }
    std::string command = std::string(self) + " --measure-peak " + gDir;
    FILE* child = popen(command.c_str(), "r");
    double multiple = -1;
    if (child == nullptr || fscanf(child, "%lf", &multiple) != 1) {
        multiple = -1;
    }
    if (child != nullptr) {
        pclose(child);
    }
    return multiple;
}

void BM_GPBComClient_5MBReply(benchmark::State& state) {
    GPBIPCMsg request = Message(protoIPCMsg::APIRequest, 64);
    request.mutable_apireqmsg()->mutable_cmd()->set_cmddata("L");
    const GPBComEndpoint endpoint = Endpoint();
    for (auto _ : state) {
        GPBIPCMsg reply;
        GPBComClient(endpoint).SendReceiveMessage(request, reply);
        benchmark::DoNotOptimize(reply);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kLarge));
    state.counters["peak_rss_x_msg"] = PeakMultipleOfMessage();
}
BENCHMARK(BM_GPBComClient_5MBReply)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && strcmp(argv[1], "--measure-peak") == 0) {
        gDir = argv[2];
        return MeasurePeak();
    }
    char dir[] = "/tmp/bench-gpbcom.XXXXXX";
    if (mkdtemp(dir) == nullptr) {
        return 1;
    }
    gDir = dir;
    pid_t gpb = Fork(ServeGpb);
    pid_t bare = Fork(ServeBare);
    WaitForSocket(Path("gpb.sock"));
    WaitForSocket(Path("bare.sock"));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    kill(gpb, SIGTERM);
    kill(bare, SIGTERM);
    waitpid(gpb, nullptr, 0);
    waitpid(bare, nullptr, 0);
    unlink(Path("gpb.sock").c_str());
    unlink(Path("bare.sock").c_str());
    rmdir(dir);
    return 0;
}
