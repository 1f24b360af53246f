#ifndef TOOLS_CELLSIM_SIMCONFIG_H
#define TOOLS_CELLSIM_SIMCONFIG_H

// What cellsim plays, as its INI file says it: the interface and the controllers on it.
// Everything is checked when the file is read; a value that cannot go on the wire as given
// is refused there, with the file, the section and the key named.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

using SimIPv4 = std::array<unsigned char, 4>;   // network order
using SimIPv6 = std::array<unsigned char, 16>;  // network order

struct CSimFaultDomain {
    int8_t id = 0;
    SimIPv4 ip{};
    SimIPv4 netmask{};
    SimIPv4 gateway{};
    int8_t transport = 0;
    bool embedded = false;
};

struct CSimPort {
    int8_t faultDomain = 0;  // id of the fault domain the port belongs to
    int8_t slot = 0;
    int8_t slotPort = 0;
    SimIPv4 ip{};
    SimIPv4 netmask{};
    SimIPv4 gateway{};
    int8_t transport = 0;
    bool configured = false;
    bool embedded = false;
    int8_t network = 0;
    int8_t status = 0;
    int8_t location = 0;
    int64_t controllerIndex = 0;
    int8_t cardModel = 0;
};

struct CSimStep {
    uint8_t id = 0;
    uint8_t status = 0;
};

struct CSimDisk {
    int64_t enclosure = 0;
    int64_t position = 0;
    int64_t status = 0;
    std::string diskClass;
    std::string product;
    std::string revision;
    int64_t size = 0;
    int8_t healthy = 0;
};

struct CSimFaults {
    unsigned dropEvery = 0;         // 0: none; N: the Nth, 2Nth, ... reply is not sent
    unsigned delayMs = 0;           // wait before each reply
    bool corruptChecksum = false;   // the checksum of every reply frame is spoiled
    bool reverseFragments = false;  // the frames of a reply go out last first
    long answerFirst = -1;          // -1: no limit; N: requests after the Nth get no answer
    std::set<unsigned> silentTo;    // opcodes of the requests that never get an answer
};

struct CSimControllerConfig {
    std::string name;  // from the section name "controller NAME"
    std::string section;
    unsigned char mac[6] = {};
    std::string serial;
    std::string hardwareSerial;
    std::string serviceTag;
    uint16_t model = 11;  // PRODUCT_FAMILY on the wire: the model number
    uint16_t family = 2;  // PRODUCT_LINE on the wire: the family
    bool speaksV4 = true;
    bool speaksV5 = true;
    bool initialized = false;
    bool ipConfigured = false;
    bool primary = false;
    uint16_t canister = 0;
    uint16_t modelNumber = 0;
    std::optional<SimIPv4> managementIp, eth0Ip, eth0Netmask, eth0Gateway, primaryDns, secondaryDns,
        bmcIp, bmcGateway, bmcNetmask;
    std::optional<SimIPv6> managementIpv6, eth0Ipv6;
    std::optional<uint16_t> eth0Ipv6Prefix;
    std::string systemName, domainName, ethernetDevice, raidLevel, locale;
    uint8_t major = 0, minor = 0, maintenance = 0;
    uint16_t licensedControllers = 2;
    uint16_t iscsiPorts = 0;
    std::optional<bool> unifiedBlockFile;
    std::optional<uint16_t> vlanId;
    std::optional<bool> dcbOn;
    uint16_t statusErrorInfo = 0;

    std::vector<CSimFaultDomain> faultDomains;
    std::vector<CSimPort> ports;

    std::vector<CSimDisk> disks;
    bool plainDiskList = true;
    bool extendedDiskList = true;
    uint16_t diskErrorState = 0;

    uint8_t setupStatus = 0;
    uint8_t passwordFailureStatus = 1;

    std::vector<std::vector<CSimStep>> steps;  // one list per status poll, the last repeats
    std::string stepError;
    uint16_t statusCode = 0;
    uint16_t orchestratorState = 0;

    uint16_t blinkValue = 0;
    uint32_t blinkStatus = 0;
    bool blinkFollowsCommand = false;

    CSimFaults faults;
};

struct CSimConfig {
    std::string file;
    std::string interface;
    std::vector<CSimControllerConfig> controllers;
};

// Reads and checks a configuration file. iInterface, when not empty, replaces the file's
// interface. False with one line of explanation in oError ("FILE: [SECTION] KEY: why").
bool LoadSimConfig(const std::string& iPath, const std::string& iInterface, CSimConfig& oConfig,
                   std::string& oError);
// The same from text in memory; iFileName only names it in messages.
bool ParseSimConfig(const std::string& iText, const std::string& iFileName,
                    const std::string& iInterface, CSimConfig& oConfig, std::string& oError);

// Bytes of the disk reply body (the TLV block in use) for the first iCount disks.
size_t SimDiskReplyBytes(const CSimControllerConfig& iController, size_t iCount);

// The step names the file may use, for messages and for the log: "SubmitLicense", ...
const char* SimStepName(uint8_t iId);
const char* SimStepStatusName(uint8_t iStatus);

std::string SimMacText(const unsigned char* iMac);

#endif
