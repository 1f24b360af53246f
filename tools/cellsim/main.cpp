// cellsim: plays unconfigured storage controllers on a network interface, so the setup
// wizard can be run and tested without a Storage Cell on the desk.

#include <getopt.h>
#include <signal.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/setupMessage.h"
#include "LSWConfig4/unix/Adapter.h"
#include "SimConfig.h"
#include "SimController.h"
#include "SimEventLog.h"
#include "SimKey.h"
#include "SimPcap.h"
#include "SimResponder.h"

namespace {

const int kExitFailure = 1;
const int kExitUsage = 2;

const char kHelp[] =
    R"(Usage: cellsim --config FILE [OPTIONS]

Plays one or more unconfigured storage controllers on one network interface and answers
the setup wizard as they would, over real layer-2 frames: Hello (versions 4 and 5), setup,
configuration status polls, disk information, blink and prejoin. Each controller answers
from its own MAC address, with its own 2048-bit RSA key made at start.

Options:
  -c, --config FILE      the controllers to play (INI file, described below)
  -i, --interface NAME   answer on this interface; overrides "interface" in the file
  -l, --log FILE         write one JSON object per line for every message received and
                         every reply sent (emptied at start, flushed line by line)
  -p, --pcap FILE        write every frame received and sent to a capture file (pcap,
                         Ethernet), for Wireshark or tshark
  -q, --quiet            no line per exchange on standard output
  -d, --duration SECS    stop by itself after SECS seconds; otherwise run until SIGINT or
                         SIGTERM
      --check            read and check the file, show what it holds, and exit
  -h, --help             show this text

Opening the capture sessions needs root (or CAP_NET_RAW). cellsim stops cleanly on SIGINT
and SIGTERM, closing its sessions. Its link layer traces as the wizard's does (the trace
file and /etc/zelogic/zel.conf; DebugLevel = 0 there turns it off).

The password: cellsim plays the controller's side, so it decrypts the administrator
password of a setup request with the controller's private key, checks the 245-byte block
(the first five characters of the public key text, the password, zero padding) and writes
the password IN CLEAR into the event log, so a test can see what really arrived. Use test
passwords only, and keep the log where only you can read it.

Configuration file:

  [cellsim]
  interface = ctl0

  [controller top]                       ; one section per controller; NAME names it
  mac = 02:00:00:00:01:01                ; required, unicast
  serial = 1000001                       ; required; also the hardware serial unless
  hardware_serial = ...                  ;   given: the Hello carries it as HARDWARE_SN
  service_tag = ST-0001                  ; required; controllers of one array share it
  model = 11                             ; PRODUCT_FAMILY on the wire (default 11)
  family = 2                             ; PRODUCT_LINE on the wire (default 2)
  versions = 4,5                         ; protocol versions answered: 4, 5 or 4,5
  initialized = false                    ; ARRAY_INITIALIZATION_STATE
  ip_configured = false                  ; IP_INITIALIZATION_STATE
  primary = true                         ; CONTROLLER_IS_PRIMARY
  canister = 1                           ; NODE_NUMBER
  model_number = 3020                    ; CONTROLLER_MODEL_NUMBER
  management_ip, eth0_ip, eth0_netmask, eth0_gateway, primary_dns, secondary_dns,
  bmc_ip, bmc_gateway, bmc_netmask       ; IPv4 addresses, sent only when given
  management_ipv6, eth0_ipv6, eth0_ipv6_prefix
  system_name, domain_name, ethernet_device, raid_level, locale   ; texts, when given
  software_version = 7.1.2               ; MAJOR.MINOR.MAINTENANCE
  licensed_controllers = 2, iscsi_ports = 4, status_error = 0, blink = 0
  unified_block_file, vlan_id, dcb_on    ; sent only when given
  fault_domain = id=1 ip=10.10.1.0 netmask=255.255.255.0 gateway=10.10.1.1
                 transport=1 embedded=true                     (repeat the key)
  port = fd=1 slot=1 slot_port=1 ip=10.10.1.11 netmask=255.255.255.0
         gateway=10.10.1.1 transport=1 configured=true embedded=true network=0
         status=0 location=0 controller_index=0 card_model=0    (repeat the key)
  disk = enclosure=0 position=3 status=0 class=SAS product="ST4000 NM" revision=A1
         size=4000787030016 healthy=true                       (repeat the key)
  disk_count = 200                       ; that many more disks, made up, 24 a shelf
  disk_lists = both                      ; both, plain, extended or none
  disk_error_state = 0
  setup_status = 0                       ; status byte of the setup response; 0 succeeds
  password_failure_status = 1            ; status sent when the password block is wrong
  steps = SubmitLicense:InProgress SetUserPassword:ConfiguredNotRun
  steps = SubmitLicense:Complete SetUserPassword:Complete      (one list per poll;
                                          the last repeats; names or numbers)
  step_error = text                      ; sent with a list that holds a Failed step
  status_code = 0, orchestrator_state = 0
  blink_status = 0                       ; code 1 of the blink response
  blink_follows_command = false          ; true: a blink request sets the blink value

  Faults, per controller:
  drop_every = N                         ; the Nth, 2Nth, ... reply is not sent
  delay_ms = N                           ; each reply waits N ms
  corrupt_checksum = true                ; every reply frame carries a wrong checksum
  reverse_fragments = true               ; multi-frame replies go out last frame first
  answer_first = N                       ; answer N requests, then stay silent
  silent_to = SETUP_REQ                  ; never answer requests of these kinds

A successful setup (status 0 and a good password block, or none) makes the controller
and the other controllers with its service tag report themselves initialized, with the
addresses of the request (top for the one that got it, bottom for its peers). A status
poll walks the step lists from the start again after each setup. Version 4 answers fit
one frame: a disk list too long for it is cut. Step names: SubmitLicense, EulaAccept,
ConfigureDisks, JoinControllers, EnableCache, GenerateSSLKey, ConfigureIoPorts,
ConfigureBackendPorts, SetUserPassword, ControllerUpdate, SetControllerIPAddress,
SetManagementIPAddress, ConfigureKeyManagementServer; statuses: Complete, InProgress,
ConfiguredNotRun, Failed, NotConfigured.

Exit status: 0 after a clean stop (or a good --check), 1 when it could not start (capture
session, key, log or capture file), 2 for a bad command line or a refused configuration file.
)";

struct Options {
    std::string config;
    std::string interface;
    std::string log;
    std::string pcap;
    bool quiet = false;
    bool check = false;
    long duration = 0;
};

int Usage(const std::string& iWhy) {
    fprintf(stderr, "cellsim: %s\nTry 'cellsim --help'.\n", iWhy.c_str());
    return kExitUsage;
}

// 0 to go on, or the exit status.
int ParseOptions(int argc, char** argv, Options& oOptions, bool& oDone) {
    static const struct option kLong[] = {{"config", required_argument, nullptr, 'c'},
                                          {"interface", required_argument, nullptr, 'i'},
                                          {"log", required_argument, nullptr, 'l'},
                                          {"pcap", required_argument, nullptr, 'p'},
                                          {"quiet", no_argument, nullptr, 'q'},
                                          {"duration", required_argument, nullptr, 'd'},
                                          {"check", no_argument, nullptr, 'C'},
                                          {"help", no_argument, nullptr, 'h'},
                                          {nullptr, 0, nullptr, 0}};
    oDone = false;
    opterr = 0;
    int opt;
    while ((opt = getopt_long(argc, argv, ":c:i:l:p:qd:h", kLong, nullptr)) != -1) {
        switch (opt) {
            case 'c':
                oOptions.config = optarg;
                break;
            case 'i':
                oOptions.interface = optarg;
                break;
            case 'l':
                oOptions.log = optarg;
                break;
            case 'p':
                oOptions.pcap = optarg;
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

std::string Versions(const CSimControllerConfig& iController) {
    if (iController.speaksV4 && iController.speaksV5)
        return "v4+v5";
    return iController.speaksV4 ? "v4" : "v5";
}

std::string Describe(const CSimControllerConfig& iController) {
    std::string d = iController.name + " " + SimMacText(iController.mac) + " (" +
                    Versions(iController) + ", serial " + iController.serial + ", tag " +
                    iController.serviceTag;
    if (iController.primary)
        d += ", primary";
    if (iController.initialized)
        d += ", initialized";
    d += ")";
    return d;
}

// The Hello reply must fit where it goes: one frame for a version 4 controller.
bool CheckHelloFits(const CSimCell& iCell, std::string& oError) {
    for (size_t i = 0; i < iCell.Size(); ++i) {
        const CSimControllerConfig& c = iCell.Controller(i);
        if (!c.speaksV4)
            continue;
        std::unique_ptr<SetupAPIMessage> hello =
            SimBuildHello(c, iCell.State(i), iCell.Key(i).PublicPem(), MESSAGE_VERSION_5);
        size_t bytes = hello->m_tlv.getTlvBytesUsed();
        if (bytes > TARGET_PAYLOAD_SIZE) {
            oError = iCell.Config().file + ": [" + c.section + "] " +
                     (c.ports.empty() ? "fault_domain" : "port") + ": the Hello reply would be " +
                     std::to_string(bytes) + " bytes, more than one version 4 frame holds (" +
                     std::to_string(TARGET_PAYLOAD_SIZE) + "); give fewer ports or texts";
            return false;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    bool done = false;
    if (int status = ParseOptions(argc, argv, options, done))
        return status;
    if (done)
        return 0;

    CSimConfig config;
    std::string error;
    if (!LoadSimConfig(options.config, options.interface, config, error)) {
        fprintf(stderr, "cellsim: %s\n", error.c_str());
        return kExitUsage;
    }
    if (options.check) {
        printf("%s: %zu controller%s on %s\n", config.file.c_str(), config.controllers.size(),
               config.controllers.size() == 1 ? "" : "s", config.interface.c_str());
        for (const auto& c : config.controllers)
            printf("  %s\n", Describe(c).c_str());
        return 0;
    }

    // Signals are taken by the main thread alone, with sigtimedwait; every thread started
    // from here on inherits the mask.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    CSimEventLog log;
    log.SetQuiet(options.quiet);
    if (!options.log.empty() && !log.Open(options.log, error)) {
        fprintf(stderr, "cellsim: %s\n", error.c_str());
        return kExitFailure;
    }

    std::unique_ptr<CSimPcap> pcap;
    if (!options.pcap.empty() &&
        !(pcap = CSimPcap::Open(options.pcap, config.controllers.size(), error))) {
        fprintf(stderr, "cellsim: %s\n", error.c_str());
        return kExitFailure;
    }

    std::vector<std::unique_ptr<CSimRsaKey>> keys;
    for (const auto& c : config.controllers) {
        std::unique_ptr<CSimRsaKey> key = CSimRsaKey::Generate(error);
        if (!key) {
            fprintf(stderr, "cellsim: [%s] %s\n", c.section.c_str(), error.c_str());
            return kExitFailure;
        }
        keys.push_back(std::move(key));
    }
    CSimCell cell(config, std::move(keys));
    if (!CheckHelloFits(cell, error)) {
        fprintf(stderr, "cellsim: %s\n", error.c_str());
        return kExitUsage;
    }

    const unsigned char kTemplate[22] = MESSAGE_HEADER_INITIALIZER;
    CSimStop stop;
    std::vector<std::unique_ptr<CSimController>> controllers;
    std::vector<std::unique_ptr<CSimResponder>> responders;
    for (size_t i = 0; i < cell.Size(); ++i) {
        const CSimControllerConfig& c = cell.Controller(i);
        // Promiscuous, so the interface takes frames for a MAC address that is not its own.
        std::unique_ptr<CL2_Inner> device(
            new CL2_Inner(c.mac, config.interface.c_str(), /*promiscuous*/ true));
        if (!device->IsOpen()) {
            fprintf(stderr, "cellsim: cannot open a capture session on %s for [%s]: %s\n",
                    config.interface.c_str(), c.section.c_str(), device->LastError());
            return kExitFailure;
        }
        device->setfilter(kTemplate, kTemplate + 14);
        std::unique_ptr<CL2> session = std::move(device);
        if (pcap)
            session = std::make_unique<CSimRecordingDevice>(std::move(session), *pcap);
        controllers.push_back(std::make_unique<CSimController>(
            cell, i, log, [&stop](unsigned iMs) { return stop.WaitFor(iMs); }));
        responders.push_back(
            std::make_unique<CSimResponder>(*controllers.back(), std::move(session), stop));
    }
    for (auto& r : responders)
        r->Start();

    CSimJsonArray list;
    for (const auto& c : config.controllers) {
        CSimJsonArray versions;
        if (c.speaksV4)
            versions.AddInt(4);
        if (c.speaksV5)
            versions.AddInt(5);
        list.Add(CSimJsonObject()
                     .Str("name", c.name)
                     .Str("mac", SimMacText(c.mac))
                     .Str("serial", c.serial)
                     .Raw("versions", versions.Text())
                     .Bool("primary", c.primary)
                     .Text());
    }
    log.Event("ready", CSimJsonObject()
                           .Str("interface", config.interface)
                           .Str("config", config.file)
                           .Raw("controllers", list.Text()));
    log.Say("cellsim: answering on " + config.interface + " for " +
            std::to_string(config.controllers.size()) + " controller" +
            (config.controllers.size() == 1 ? "" : "s") + "; stop with Ctrl-C");
    for (const auto& c : config.controllers)
        log.Say("  " + Describe(c));

    const time_t started = time(nullptr);
    int signal = 0;
    for (;;) {
        struct timespec wait = {1, 0};
        int got = sigtimedwait(&stopSignals, nullptr, &wait);
        if (got > 0) {
            signal = got;
            break;
        }
        if (options.duration > 0 && time(nullptr) - started >= options.duration)
            break;
    }

    stop.Request();
    for (auto& r : responders)
        r->Join();
    responders.clear();  // closes the capture sessions
    log.Event("stop",
              CSimJsonObject()
                  .Str("reason", signal ? (signal == SIGINT ? "SIGINT" : "SIGTERM") : "duration")
                  .UInt("events", log.Count()));
    log.Say(std::string("cellsim: stopped") +
            (signal ? std::string(" on ") + (signal == SIGINT ? "SIGINT" : "SIGTERM") : ""));
    return 0;
}
