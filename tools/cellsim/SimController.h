#ifndef TOOLS_CELLSIM_SIMCONTROLLER_H
#define TOOLS_CELLSIM_SIMCONTROLLER_H

// The controllers cellsim plays: what each one is now, the replies it builds, and how it
// answers one received message (faults included). Nothing here touches a network: the
// reply goes out on whatever packet device the caller hands in.

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "LSWConfig4/setupMessageHandler.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/unix/Adapter.h"
#include "SimConfig.h"
#include "SimEventLog.h"
#include "SimKey.h"

// What a controller reports now: its configuration as changed by setups and blinks.
struct CSimControllerState {
    bool initialized = false;
    bool ipConfigured = false;
    std::optional<SimIPv4> managementIp, eth0Ip, eth0Netmask, eth0Gateway, primaryDns, secondaryDns,
        bmcIp, bmcGateway, bmcNetmask;
    std::optional<SimIPv6> managementIpv6, eth0Ipv6;
    std::optional<uint16_t> eth0Ipv6Prefix;
    std::string systemName;
    std::string domainName;
    uint16_t blinkValue = 0;
    size_t nextPoll = 0;  // index of the step list the next status poll gets
    bool prejoined = false;
    unsigned long requests = 0;  // requests that asked for an answer

    static CSimControllerState FromConfig(const CSimControllerConfig& iConfig);
};

// The fields of a setup request that a controller acts on.
struct CSimSetupRequest {
    std::optional<SimIPv4> managementIp, topEth0Ip, topEth0Netmask, topEth0Gateway, primaryDns,
        secondaryDns, topBmcIp, topBmcGateway, topBmcNetmask, bottomEth0Ip, bottomEth0Netmask,
        bottomEth0Gateway, bottomBmcIp, bottomBmcGateway, bottomBmcNetmask;
    std::optional<SimIPv6> managementIpv6, eth0Ipv6;
    std::optional<uint8_t> eth0Ipv6Prefix;
    std::optional<std::string> domainName, systemName, email, locale;
    std::optional<std::vector<unsigned char>> password;  // the ciphertext

    static CSimSetupRequest FromMessage(const SetupAPIMessage& iMessage);
};

// Every controller of one run. A setup reaches the peers of its array too, so the states
// live together under one lock.
class CSimCell {
public:
    CSimCell(const CSimConfig& iConfig, std::vector<std::unique_ptr<CSimRsaKey>> iKeys);

    size_t Size() const { return m_config.controllers.size(); }
    const CSimConfig& Config() const { return m_config; }
    const CSimControllerConfig& Controller(size_t iIndex) const {
        return m_config.controllers[iIndex];
    }
    const CSimRsaKey& Key(size_t iIndex) const { return *m_keys[iIndex]; }

    CSimControllerState State(size_t iIndex) const;
    // Changes one controller's state under the lock.
    void Change(size_t iIndex, const std::function<void(CSimControllerState&)>& iChange);
    // A successful setup on iIndex: it takes the top addresses, the other controllers of
    // its array (same service tag) the bottom ones, and all of them are initialized. The
    // names of the controllers changed, in order.
    std::vector<std::string> ApplySetup(size_t iIndex, const CSimSetupRequest& iRequest);

private:
    CSimConfig m_config;
    std::vector<std::unique_ptr<CSimRsaKey>> m_keys;
    mutable std::mutex m_lock;
    std::vector<CSimControllerState> m_states;
};

// Replies, built as the controller would send them. oNote, where given, says what was left
// out to make the reply fit.
std::unique_ptr<SetupAPIMessage> SimBuildHello(const CSimControllerConfig& iConfig,
                                               const CSimControllerState& iState,
                                               const std::string& iPublicPem, u_short iVersion);
std::unique_ptr<SetupAPIMessage> SimBuildStatus(const CSimControllerConfig& iConfig, size_t iList,
                                                u_short iVersion);
// Version 4 answers in one frame: the disk lists are cut to what fits, oSent says how many
// disks went.
std::unique_ptr<SetupAPIMessage> SimBuildDisks(const CSimControllerConfig& iConfig,
                                               u_short iVersion, size_t& oSent);
std::unique_ptr<SetupAPIMessage> SimBuildBlink(const CSimControllerConfig& iConfig, uint16_t iValue,
                                               u_short iVersion);

// One frame as it left.
struct CSimFrameInfo {
    int packetId = 0;
    int packets = 0;
    int bodyLength = 0;  // what the payload header announces
    size_t wireLength = 0;
};

// A packet device in front of another that holds the frames of one reply, spoils their
// checksums if asked, and sends them on in order or last first.
class CSimWire : public DEVICEIoHandler {
public:
    CSimWire(DEVICEIoHandler& iDevice, bool iCorruptChecksum)
        : m_device(iDevice), m_corrupt(iCorruptChecksum) {}

    int Read(void* oBuf, uint32_t iCount, int iTimeout) override {
        return m_device.Read(oBuf, iCount, iTimeout);
    }
    int Write(const void* iBuf, uint32_t iCount) override;
    int Poll(int iTimeout) override { return m_device.Poll(iTimeout); }
    void getMacAddr(unsigned char* oMac) override { m_device.getMacAddr(oMac); }

    // Puts the held frames in the order they will go (last first if iReverse) and lists
    // them, so the reply can be recorded before it leaves.
    std::vector<CSimFrameInfo> Arrange(bool iReverse);
    // Sends what is held, in that order: the last Write result, or -1 when nothing was held.
    int Flush();
    size_t Held() const { return m_held.size(); }

private:
    DEVICEIoHandler& m_device;
    bool m_corrupt;
    std::vector<std::vector<unsigned char>> m_held;
};

// One controller answering: logs what came, changes its state, and replies with its faults.
class CSimController {
public:
    // Waits iMs milliseconds; false when the program is stopping meanwhile.
    using Sleeper = std::function<bool(unsigned iMs)>;

    CSimController(CSimCell& iCell, size_t iIndex, CSimEventLog& iLog, Sleeper iSleeper);

    void OnMessage(const SetupAPIMessage& iMessage, DEVICEIoHandler& iDevice);
    // A message whose checksum did not match reached the message layer.
    void OnChecksumFailure();

    const CSimControllerConfig& Config() const { return m_cell.Controller(m_index); }

private:
    struct Reply;
    void Answer(const SetupAPIMessage& iRequest, Reply& ioReply, CSimJsonObject& ioRx,
                std::string& ioSummary);
    void Send(const SetupAPIMessage& iRequest, Reply& ioReply, DEVICEIoHandler& iDevice,
              std::string& ioSummary);

    CSimCell& m_cell;
    size_t m_index;
    CSimEventLog& m_log;
    Sleeper m_sleeper;
};

#endif
