// apimgrsim: plays the local API manager on its socket, so the setup wizard, its tests and a
// new user never need a real one.

#include <fcntl.h>
#include <getopt.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "ApiSimConfig.h"
#include "ApiSimServer.h"
#include "gpbcom/gpbcom.h"

namespace {

const int kExitFailure = 1;
const int kExitUsage = 2;

const char kHelp[] =
    R"(Usage: apimgrsim --config FILE [OPTIONS]

Plays the local API manager on a Unix socket: it writes an access key file, listens, and
answers each call (one request and one reply per connection, protobuf messages carrying XML)
as the manager would: "ScController GetList" with its filter applied, "StorageCell Get" by
instance id, and a failed call for anything else or for a wrong session key.

Options:
  -c, --config FILE           what to play (INI file, described below)
  -s, --socket PATH           listen here; overrides "socket" in the file
  -k, --access-key-file PATH  write the key here; overrides "access_key_file"
  -l, --log FILE              one JSON object per line for every request and reply (the
                              request's XML with the session key's value left out)
  -q, --quiet                 no line per call on standard output
  -d, --duration SECS         stop by itself after SECS seconds
      --check                 read and check the file, show what it holds, and exit
  -h, --help                  show this text

Configuration file:

  [apimgrsim]
  socket = /tmp/sim/apimgr.sock          ; required here or with --socket
  access_key_file = /tmp/sim/access.key  ; required here or with --access-key-file; written
                                         ;   at start, mode 0600
  access_key = ...                       ; default: a random key made at start

  [controller NAME]                      ; one section per local controller
  instance_id = 6000123.1                ; every key names a ScController attribute, in
  hardware_serial_number = 6000123       ;   words joined by "_" or as written in the API
  name = Top Controller                  ;   (HardwareSerialNumber); values are checked
  ip_address = 10.0.0.11                 ;   by the attribute's own rules
  leader = true

  [storagecell]
  serial_number = 6000123                ; any StorageCell attribute, as above
  instance_id = 6000123                  ; default: the serial number
  operation_mode = Install               ; Normal, Maintenance, Install, PreProduction or 1-4

  [faults]                               ; applied to every call
  no_socket = true                       ; never listen: calls find nobody
  close_without_reply = true             ; read the request, close without a reply
  delay_ms = N                           ; wait N ms before each reply
  wrong_message_type = true              ; the reply is no APIResp
  unparsable_xml = true                  ; the reply's document is cut in half
  return_elements = 0                    ; 0 or 2 ApiMethodReturn elements instead of 1
  fail = true                            ; every call fails, with:
  fail_code = StorageCellError           ;   an error state by name or number
  fail_error, fail_localized_error, fail_detail   ; its texts
  oversize_reply = true                  ; the reply is larger than the client takes

Exit status: 0 after a clean stop on SIGINT or SIGTERM (or a good --check), 1 when it could
not start (socket, key file, log file), 2 for a bad command line or a refused file (the
message names the file, the section and the key).
)";

struct Options {
    std::string config, socket, keyFile, log;
    bool quiet = false, check = false;
    long duration = 0;
};

int Usage(const std::string& iWhy) {
    fprintf(stderr, "apimgrsim: %s\nTry 'apimgrsim --help'.\n", iWhy.c_str());
    return kExitUsage;
}

int ParseOptions(int argc, char** argv, Options& oOptions, bool& oDone) {
    static const struct option kLong[] = {{"config", required_argument, nullptr, 'c'},
                                          {"socket", required_argument, nullptr, 's'},
                                          {"access-key-file", required_argument, nullptr, 'k'},
                                          {"log", required_argument, nullptr, 'l'},
                                          {"quiet", no_argument, nullptr, 'q'},
                                          {"duration", required_argument, nullptr, 'd'},
                                          {"check", no_argument, nullptr, 'C'},
                                          {"help", no_argument, nullptr, 'h'},
                                          {nullptr, 0, nullptr, 0}};
    oDone = false;
    opterr = 0;
    int opt;
    while ((opt = getopt_long(argc, argv, ":c:s:k:l:qd:h", kLong, nullptr)) != -1) {
        switch (opt) {
            case 'c':
                oOptions.config = optarg;
                break;
            case 's':
                oOptions.socket = optarg;
                break;
            case 'k':
                oOptions.keyFile = optarg;
                break;
            case 'l':
                oOptions.log = optarg;
                break;
            case 'q':
                oOptions.quiet = true;
                break;
            case 'd': {
                char* end = nullptr;
                errno = 0;
                long v = strtol(optarg, &end, 10);
                if (errno || !end || *end || v <= 0 || v > 86400 * 365)
                    return Usage(std::string("--duration wants a number of seconds, not '") +
                                 optarg + "'");
                oOptions.duration = v;
                break;
            }
            case 'C':
                oOptions.check = true;
                break;
            case 'h':
                fputs(kHelp, stdout);
                oDone = true;
                return 0;
            case ':':
                return Usage(std::string("option ") + argv[optind - 1] + " needs a value");
            default:
                return Usage(std::string("unknown option ") + argv[optind - 1]);
        }
    }
    if (optind < argc)
        return Usage(std::string("unexpected argument '") + argv[optind] + "'");
    if (oOptions.config.empty())
        return Usage("no configuration file: give --config FILE");
    return 0;
}

// 32 bytes from the kernel's generator, as hexadecimal.
bool RandomKey(std::string& oKey) {
    unsigned char bytes[32];
    int fd = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    bool ok = fd >= 0 && read(fd, bytes, sizeof(bytes)) == static_cast<ssize_t>(sizeof(bytes));
    if (fd >= 0)
        close(fd);
    if (!ok)
        return false;
    static const char kHex[] = "0123456789abcdef";
    oKey.clear();
    for (unsigned char b : bytes) {
        oKey += kHex[b >> 4];
        oKey += kHex[b & 15];
    }
    return true;
}

// Written whole under a new name, then renamed, so a reader never sees half a key; 0600
// from its creation on.
bool WriteKey(const std::string& iPath, const std::string& iKey, std::string& oError) {
    const std::string temp = iPath + ".new";
    unlink(temp.c_str());
    int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const std::string line = iKey + "\n";
    bool ok = fd >= 0 && fchmod(fd, 0600) == 0 &&
              write(fd, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    int err = errno;
    if (fd >= 0)
        ok = close(fd) == 0 && ok;
    if (ok && rename(temp.c_str(), iPath.c_str()) != 0) {
        err = errno;
        ok = false;
    }
    if (!ok) {
        unlink(temp.c_str());
        oError = iPath + ": cannot write the access key: " + strerror(err);
    }
    return ok;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    bool done = false;
    if (int status = ParseOptions(argc, argv, options, done))
        return status;
    if (done)
        return 0;

    ApiSimConfig config;
    std::string error;
    if (!LoadApiSimConfig(options.config, options.socket, options.keyFile, config, error)) {
        fprintf(stderr, "apimgrsim: %s\n", error.c_str());
        return kExitUsage;
    }
    if (options.check) {
        printf("%s: socket %s, key file %s, %zu controller%s, %s\n", config.file.c_str(),
               config.socketPath.c_str(), config.accessKeyFile.c_str(), config.controllers.size(),
               config.controllers.size() == 1 ? "" : "s",
               config.hasStorageCell ? "a storage cell" : "no storage cell");
        for (const auto& c : config.controllers)
            printf("  [%s] %zu attributes\n", c.section.c_str(), c.attributes.size());
        return 0;
    }

    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
    signal(SIGPIPE, SIG_IGN);

    ApiSimLog log;
    log.SetQuiet(options.quiet);
    if (!options.log.empty() && !log.Open(options.log, error)) {
        fprintf(stderr, "apimgrsim: %s\n", error.c_str());
        return kExitFailure;
    }
    std::string key = config.accessKey;
    if (key.empty() && !RandomKey(key)) {
        fprintf(stderr, "apimgrsim: cannot make an access key: %s\n", strerror(errno));
        return kExitFailure;
    }
    if (!WriteKey(config.accessKeyFile, key, error)) {
        fprintf(stderr, "apimgrsim: %s\n", error.c_str());
        return kExitFailure;
    }

    // An oversize reply must leave this end: the server's own limit is raised for it.
    const size_t limit = config.faults.oversize ? 16u << 20 : 5242880;
    std::unique_ptr<GPBComServer> server;
    if (!config.faults.noSocket) {
        try {
            server.reset(new GPBComServer(
                GPBComEndpoint::CreateLocalEndpoint(config.socketPath, 900, limit)));
        } catch (const std::exception& e) {
            fprintf(stderr, "apimgrsim: cannot listen on %s: %s\n", config.socketPath.c_str(),
                    e.what());
            return kExitFailure;
        }
    }

    int signal = 0;
    auto stopRequested = [&](int iWaitMs) {
        struct timespec wait = {iWaitMs / 1000, (iWaitMs % 1000) * 1000000L};
        int got = sigtimedwait(&stopSignals, nullptr, &wait);
        if (got > 0)
            signal = got;
        return signal != 0;
    };
    // A delay ends early when a stop is asked for.
    auto wait = [&](unsigned iMs) {
        for (unsigned waited = 0; waited < iMs; waited += 50)
            if (stopRequested(static_cast<int>(std::min(50u, iMs - waited))))
                return false;
        return true;
    };

    ApiSimServer sim(config, key, log);
    log.Event("ready", nlohmann::json({{"socket", config.socketPath},
                                       {"listening", server != nullptr},
                                       {"access_key_file", config.accessKeyFile},
                                       {"controllers", config.controllers.size()},
                                       {"storage_cell", config.hasStorageCell}})
                           .dump());
    log.Say(
        "apimgrsim: " + std::string(server ? "answering on " : "not listening (no_socket) for ") +
        config.socketPath + "; stop with Ctrl-C");

    const time_t started = time(nullptr);
    while (!stopRequested(0)) {
        if (options.duration > 0 && time(nullptr) - started >= options.duration)
            break;
        if (!server) {
            stopRequested(200);
            continue;
        }
        std::unique_ptr<GPBComSocket> connection;
        try {
            connection = server->Accept(200);
        } catch (const std::exception& e) {
            log.Event("error", nlohmann::json({{"accept", e.what()}}).dump());
            continue;
        }
        if (!connection)
            continue;
        protoIPCMsg::GPBIPCMsg request, reply;
        try {
            connection->RecvGPBMsg(request);
        } catch (const std::exception& e) {
            log.Event("error", nlohmann::json({{"receive", e.what()}})
                                   .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
            continue;
        }
        if (!sim.Answer(request, reply, wait))
            continue;
        try {
            connection->SendGPBMsg(reply);
        } catch (const std::exception& e) {
            log.Event("error", nlohmann::json({{"send", e.what()}})
                                   .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
        }
    }

    server.reset();  // removes the socket file
    log.Event(
        "stop",
        nlohmann::json({{"reason", signal ? (signal == SIGINT ? "SIGINT" : "SIGTERM") : "duration"},
                        {"events", log.Count()}})
            .dump());
    log.Say(std::string("apimgrsim: stopped") +
            (signal ? std::string(" on ") + (signal == SIGINT ? "SIGINT" : "SIGTERM") : ""));
    return 0;
}
