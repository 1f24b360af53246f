// The cell's state: each controller's start values, the fields of a setup request it acts on,
// and the change a setup makes across an array.
#include "SimCell.h"

#include <cstring>

#include "LSWConfig4/ByteCursor.h"

namespace {

std::optional<SimIPv4> ReadIPv4(const SETUPTlvIterator& iIt) {
    ByteCursor c(iIt.getValue(), iIt.getLen());
    SimIPv4 a{};
    if (!c.readBytes(a.data(), a.size()))
        return std::nullopt;
    return a;
}

std::optional<SimIPv6> ReadIPv6(const SETUPTlvIterator& iIt) {
    ByteCursor c(iIt.getValue(), iIt.getLen());
    SimIPv6 a{};
    if (!c.readBytes(a.data(), a.size()))
        return std::nullopt;
    return a;
}

std::string ReadText(const SETUPTlvIterator& iIt) {
    return iIt.getValue() ? std::string(iIt.getValue(), iIt.getLen()) : std::string();
}

}  // namespace

CSimControllerState CSimControllerState::FromConfig(const CSimControllerConfig& iConfig) {
    CSimControllerState s;
    s.initialized = iConfig.initialized;
    s.ipConfigured = iConfig.ipConfigured;
    s.managementIp = iConfig.managementIp;
    s.eth0Ip = iConfig.eth0Ip;
    s.eth0Netmask = iConfig.eth0Netmask;
    s.eth0Gateway = iConfig.eth0Gateway;
    s.primaryDns = iConfig.primaryDns;
    s.secondaryDns = iConfig.secondaryDns;
    s.bmcIp = iConfig.bmcIp;
    s.bmcGateway = iConfig.bmcGateway;
    s.bmcNetmask = iConfig.bmcNetmask;
    s.managementIpv6 = iConfig.managementIpv6;
    s.eth0Ipv6 = iConfig.eth0Ipv6;
    s.eth0Ipv6Prefix = iConfig.eth0Ipv6Prefix;
    s.systemName = iConfig.systemName;
    s.domainName = iConfig.domainName;
    s.blinkValue = iConfig.blinkValue;
    return s;
}

CSimSetupRequest CSimSetupRequest::FromMessage(const SetupAPIMessage& iMessage) {
    CSimSetupRequest r;
    for (SETUPTlvIterator it(iMessage.m_tlv); it.getType() != 0; it.next()) {
        switch (it.getType()) {
            case SETUPRequest::IPV4_MANAGEMENT_IP_ADDRESS:
                r.managementIp = ReadIPv4(it);
                break;
            case SETUPRequest::TOP_CTRL_ETH0_IPV4_ADDRESS:
                r.topEth0Ip = ReadIPv4(it);
                break;
            case SETUPRequest::TOP_CTRL_ETH0_IPV4_NETMASK:
                r.topEth0Netmask = ReadIPv4(it);
                break;
            case SETUPRequest::TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY:
                r.topEth0Gateway = ReadIPv4(it);
                break;
            case SETUPRequest::TOP_CTRL_IPV6_MANAGEMENT_IP_ADDRESS:
                r.managementIpv6 = ReadIPv6(it);
                break;
            case SETUPRequest::TOP_CTRL_ETH0_IPV6_ADDRESS:
                r.eth0Ipv6 = ReadIPv6(it);
                break;
            case SETUPRequest::TOP_CTRL_ETH0_IPV6_PREFIX_LENGTH:
                if (it.getLen() >= 1)
                    r.eth0Ipv6Prefix = static_cast<uint8_t>(it.getValue()[0]);
                break;
            case SETUPRequest::DOMAIN_NAME:
                r.domainName = ReadText(it);
                break;
            case SETUPRequest::PRIMARY_DNS_SERVER:
                r.primaryDns = ReadIPv4(it);
                break;
            case SETUPRequest::SECONDARY_DNS_SERVER:
                r.secondaryDns = ReadIPv4(it);
                break;
            case SETUPRequest::DEFAULT_USER_PASSWORD:
                r.password = std::vector<unsigned char>(
                    reinterpret_cast<const unsigned char*>(it.getValue()),
                    reinterpret_cast<const unsigned char*>(it.getValue()) + it.getLen());
                break;
            case SETUPRequest::STORAGECELL_NAME:
                r.systemName = ReadText(it);
                break;
            case SETUPRequest::DEFAULT_USER_EMAIL:
                r.email = ReadText(it);
                break;
            case SETUPRequest::TOP_CTRL_BMC_IPV4_ADDRESS:
                r.topBmcIp = ReadIPv4(it);
                break;
            case SETUPRequest::TOP_CTRL_BMC_IPV4_DEFAULT_ROUTE:
                r.topBmcGateway = ReadIPv4(it);
                break;
            case SETUPRequest::TOP_CTRL_BMC_NETMASK:
                r.topBmcNetmask = ReadIPv4(it);
                break;
            case SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_ADDRESS:
                r.bottomEth0Ip = ReadIPv4(it);
                break;
            case SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_NETMASK:
                r.bottomEth0Netmask = ReadIPv4(it);
                break;
            case SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_DEFAULT_GATEWAY:
                r.bottomEth0Gateway = ReadIPv4(it);
                break;
            case SETUPRequest::BOTTOM_CTRL_BMC_IPV4_ADDRESS:
                r.bottomBmcIp = ReadIPv4(it);
                break;
            case SETUPRequest::BOTTOM_CTRL_BMC_IPV4_DEFAULT_ROUTE:
                r.bottomBmcGateway = ReadIPv4(it);
                break;
            case SETUPRequest::BOTTOM_CTRL_BMC_NETMASK:
                r.bottomBmcNetmask = ReadIPv4(it);
                break;
            case SETUPRequest::LOCALIZATION_PARAMETER:
                r.locale = ReadText(it);
                break;
            default:
                break;
        }
    }
    return r;
}

// --- The cell -------------------------------------------------------------------------

CSimCell::CSimCell(const CSimConfig& iConfig, std::vector<std::unique_ptr<CSimRsaKey>> iKeys)
    : m_config(iConfig), m_keys(std::move(iKeys)) {
    for (const auto& c : m_config.controllers)
        m_states.push_back(CSimControllerState::FromConfig(c));
}

CSimControllerState CSimCell::State(size_t iIndex) const {
    std::lock_guard<std::mutex> hold(m_lock);
    return m_states[iIndex];
}

void CSimCell::Change(size_t iIndex, const std::function<void(CSimControllerState&)>& iChange) {
    std::lock_guard<std::mutex> hold(m_lock);
    iChange(m_states[iIndex]);
}

std::vector<std::string> CSimCell::ApplySetup(size_t iIndex, const CSimSetupRequest& iRequest) {
    std::lock_guard<std::mutex> hold(m_lock);
    std::vector<std::string> changed;
    const std::string& tag = m_config.controllers[iIndex].serviceTag;
    auto common = [&](CSimControllerState& s) {
        s.initialized = true;
        s.ipConfigured = true;
        if (iRequest.managementIp)
            s.managementIp = iRequest.managementIp;
        if (iRequest.primaryDns)
            s.primaryDns = iRequest.primaryDns;
        if (iRequest.secondaryDns)
            s.secondaryDns = iRequest.secondaryDns;
        if (iRequest.domainName)
            s.domainName = *iRequest.domainName;
        if (iRequest.systemName)
            s.systemName = *iRequest.systemName;
    };
    for (size_t i = 0; i < m_states.size(); ++i) {
        CSimControllerState& s = m_states[i];
        if (i == iIndex) {
            common(s);
            if (iRequest.topEth0Ip)
                s.eth0Ip = iRequest.topEth0Ip;
            if (iRequest.topEth0Netmask)
                s.eth0Netmask = iRequest.topEth0Netmask;
            if (iRequest.topEth0Gateway)
                s.eth0Gateway = iRequest.topEth0Gateway;
            if (iRequest.topBmcIp)
                s.bmcIp = iRequest.topBmcIp;
            if (iRequest.topBmcGateway)
                s.bmcGateway = iRequest.topBmcGateway;
            if (iRequest.topBmcNetmask)
                s.bmcNetmask = iRequest.topBmcNetmask;
            if (iRequest.managementIpv6)
                s.managementIpv6 = iRequest.managementIpv6;
            if (iRequest.eth0Ipv6)
                s.eth0Ipv6 = iRequest.eth0Ipv6;
            if (iRequest.eth0Ipv6Prefix)
                s.eth0Ipv6Prefix = *iRequest.eth0Ipv6Prefix;
            s.nextPoll = 0;
        } else if (m_config.controllers[i].serviceTag == tag) {
            common(s);
            if (iRequest.bottomEth0Ip)
                s.eth0Ip = iRequest.bottomEth0Ip;
            if (iRequest.bottomEth0Netmask)
                s.eth0Netmask = iRequest.bottomEth0Netmask;
            if (iRequest.bottomEth0Gateway)
                s.eth0Gateway = iRequest.bottomEth0Gateway;
            if (iRequest.bottomBmcIp)
                s.bmcIp = iRequest.bottomBmcIp;
            if (iRequest.bottomBmcGateway)
                s.bmcGateway = iRequest.bottomBmcGateway;
            if (iRequest.bottomBmcNetmask)
                s.bmcNetmask = iRequest.bottomBmcNetmask;
        } else {
            continue;
        }
        changed.push_back(m_config.controllers[i].name);
    }
    return changed;
}
