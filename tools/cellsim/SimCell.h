#ifndef TOOLS_CELLSIM_SIMCELL_H
#define TOOLS_CELLSIM_SIMCELL_H

// The cell's state: what each controller cellsim plays is now, and the setup requests that
// change it.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "LSWConfig4/setupMsgV4.h"
#include "SimConfig.h"
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

#endif
