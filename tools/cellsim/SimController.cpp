#include "SimController.h"

#include <arpa/inet.h>
#include <openssl/crypto.h>

#include <algorithm>
#include <cstring>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/tlvUtils.h"
#include "SimDecode.h"

namespace {

// The most body one untagged frame carries.
const size_t kFrameBody = TARGET_PAYLOAD_SIZE;

std::string AddressText(const SimIPv4& iAddress) {
    char t[INET_ADDRSTRLEN] = {};
    inet_ntop(AF_INET, iAddress.data(), t, sizeof(t));
    return t;
}

void PushText(SETUPTlv& ioTlv, uint8_t iCode, const std::string& iText) {
    std::string cut = GetConvertedString(iText, 256);
    ioTlv.pushBackEntry(iCode, static_cast<uint16_t>(cut.size()), cut.data());
}
void PushU8(SETUPTlv& ioTlv, uint8_t iCode, uint8_t iValue) {
    ioTlv.pushBackEntry(iCode, 1, reinterpret_cast<const char*>(&iValue));
}
void PushBool(SETUPTlv& ioTlv, uint8_t iCode, bool iValue) {
    PushU8(ioTlv, iCode, iValue ? 1 : 0);
}
void PushLE16(SETUPTlv& ioTlv, uint8_t iCode, uint16_t iValue) {
    char b[2];
    PutLE16(b, iValue);
    ioTlv.pushBackEntry(iCode, 2, b);
}
void PushBE16(SETUPTlv& ioTlv, uint8_t iCode, uint16_t iValue) {
    char b[2];
    PutBE16(b, iValue);
    ioTlv.pushBackEntry(iCode, 2, b);
}
void PushLE32(SETUPTlv& ioTlv, uint8_t iCode, uint32_t iValue) {
    char b[4];
    for (int i = 0; i < 4; ++i)
        b[i] = static_cast<char>(iValue >> (8 * i));
    ioTlv.pushBackEntry(iCode, 4, b);
}
// A Hello response carries IPv4 addresses last octet first.
void PushIPv4Reversed(SETUPTlv& ioTlv, uint8_t iCode, const std::optional<SimIPv4>& iAddress) {
    if (!iAddress)
        return;
    char b[4] = {static_cast<char>((*iAddress)[3]), static_cast<char>((*iAddress)[2]),
                 static_cast<char>((*iAddress)[1]), static_cast<char>((*iAddress)[0])};
    ioTlv.pushBackEntry(iCode, 4, b);
}
void PushIPv6(SETUPTlv& ioTlv, uint8_t iCode, const std::optional<SimIPv6>& iAddress) {
    if (iAddress)
        ioTlv.pushBackEntry(iCode, 16, reinterpret_cast<const char*>(iAddress->data()));
}

std::unique_ptr<SCPortConfigDataWriter> PortConfigWriter(const CSimControllerConfig& iConfig) {
    auto controller = std::make_unique<CONTROLLERPortDataWriter>();
    for (const CSimFaultDomain& fd : iConfig.faultDomains) {
        auto domain = std::make_unique<FAULTDomainDataWriter>();
        domain->SetId(fd.id);
        domain->SetIpV4(AddressText(fd.ip));
        domain->SetIpV4Netmask(AddressText(fd.netmask));
        domain->SetIpV4Gateway(AddressText(fd.gateway));
        domain->SetTransportType(fd.transport);
        domain->SetEmbedded(fd.embedded);
        for (const CSimPort& p : iConfig.ports) {
            if (p.faultDomain != fd.id)
                continue;
            auto port = std::make_unique<PORTDataWriter>();
            port->SetSlotNumber(p.slot);
            port->SetSlotPortNumber(p.slotPort);
            port->SetIpV4(AddressText(p.ip));
            port->SetIpV4Netmask(AddressText(p.netmask));
            port->SetIpV4Gateway(AddressText(p.gateway));
            port->SetTransportType(p.transport);
            port->SetConfigured(p.configured);
            port->SetEmbedded(p.embedded);
            port->SetNetwork(p.network);
            port->SetStatus(p.status);
            port->SetPortLocation(p.location);
            port->SetControllerIndex(p.controllerIndex);
            port->SetCardModel(p.cardModel);
            domain->AddPort(std::move(port));
        }
        controller->AddFaultDomain(std::move(domain));
    }
    auto all = std::make_unique<SCPortConfigDataWriter>();
    all->AddController(std::move(controller));
    return all;
}

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

std::string Plural(size_t iCount, const char* iWord) {
    return std::to_string(iCount) + " " + iWord + (iCount == 1 ? "" : "s");
}

bool IsRequest(u_short iOpcode) {
    switch (iOpcode) {
        case PAYLOADHeader::HELLO_REQ:
        case PAYLOADHeader::BLINK_REQ:
        case PAYLOADHeader::SETUP_REQ:
        case PAYLOADHeader::CONFIG_STATUS_REQ:
        case PAYLOADHeader::DISK_CONFIG_REQ:
        case PAYLOADHeader::PREJOIN_REQ:
            return true;
        default:
            return false;
    }
}

}  // namespace

// --- State ----------------------------------------------------------------------------

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

// --- Replies --------------------------------------------------------------------------

std::unique_ptr<SetupAPIMessage> SimBuildHello(const CSimControllerConfig& iConfig,
                                               const CSimControllerState& iState,
                                               const std::string& iPublicPem, u_short iVersion) {
    auto reply = std::make_unique<HELLOResponse>(iVersion);
    SETUPTlv& t = reply->m_tlv;
    if (!iConfig.serviceTag.empty())
        PushText(t, HELLOResponse::KELT_SERVICE_TAG, iConfig.serviceTag);
    PushLE16(t, HELLOResponse::PRODUCT_FAMILY, iConfig.model);
    if (iConfig.vlanId)
        PushBE16(t, HELLOResponse::VLAN_ID, *iConfig.vlanId);
    if (iConfig.dcbOn)
        PushBool(t, HELLOResponse::DCB_ON, *iConfig.dcbOn);
    PushIPv4Reversed(t, HELLOResponse::IPV4_MANAGEMENT_IP_ADDRESS, iState.managementIp);
    PushText(t, HELLOResponse::HARDWARE_SN, iConfig.hardwareSerial);
    PushIPv4Reversed(t, HELLOResponse::ETH0_IPV4_ADDRESS, iState.eth0Ip);
    PushIPv4Reversed(t, HELLOResponse::ETH0_IPV4_NETMASK, iState.eth0Netmask);
    PushIPv4Reversed(t, HELLOResponse::ETH0_IPV4_DEFAULT_GATEWAY, iState.eth0Gateway);
    PushIPv6(t, HELLOResponse::IPV6_MANAGEMENT_IP_ADDRESS, iState.managementIpv6);
    PushIPv6(t, HELLOResponse::ETH0_IPV6_ADDRESS, iState.eth0Ipv6);
    if (iState.eth0Ipv6Prefix)
        PushBE16(t, HELLOResponse::ETH0_IPV6_PREFIX_LENGTH, *iState.eth0Ipv6Prefix);
    if (!iState.systemName.empty())
        PushText(t, HELLOResponse::STORAGECELL_NAME, iState.systemName);
    if (!iState.domainName.empty())
        PushText(t, HELLOResponse::DOMAIN_NAME, iState.domainName);
    PushIPv4Reversed(t, HELLOResponse::PRIMARY_DNS_SERVER, iState.primaryDns);
    PushIPv4Reversed(t, HELLOResponse::SECONDARY_DNS_SERVER, iState.secondaryDns);
    PushLE16(t, HELLOResponse::RSA_PUBLIC_KEY_LENGTH, static_cast<uint16_t>(iPublicPem.size()));
    t.pushBackEntry(HELLOResponse::RSA_PUBLIC_KEY, static_cast<uint16_t>(iPublicPem.size()),
                    iPublicPem.data());
    PushLE16(t, HELLOResponse::NUM_LICENSED_CONTROLLERS, iConfig.licensedControllers);
    PushLE16(t, HELLOResponse::NUM_ISCSI_PORTS, iConfig.iscsiPorts);
    PushLE16(t, HELLOResponse::PRODUCT_LINE, iConfig.family);
    PushBool(t, HELLOResponse::IP_INITIALIZATION_STATE, iState.ipConfigured);
    if (!iConfig.ethernetDevice.empty())
        PushText(t, HELLOResponse::ETHERNET_DEVICE_NAME, iConfig.ethernetDevice);
    if (!iConfig.raidLevel.empty())
        PushText(t, HELLOResponse::RAID_LEVEL, iConfig.raidLevel);
    PushU8(t, HELLOResponse::MAJOR_VERSION, iConfig.major);
    PushU8(t, HELLOResponse::MINOR_VERSION, iConfig.minor);
    PushU8(t, HELLOResponse::MAINTENANCE_VERSION, iConfig.maintenance);
    PushIPv4Reversed(t, HELLOResponse::BMC_IPV4_ADDRESS, iState.bmcIp);
    PushIPv4Reversed(t, HELLOResponse::BMC_IPV4_DEFAULT_ROUTE, iState.bmcGateway);
    PushLE16(t, HELLOResponse::NODE_NUMBER, iConfig.canister);
    if (!iConfig.faultDomains.empty())
        PortConfigWriter(iConfig)->AddToTLV(t, HELLOResponse::PORT_CONFIG_DATA);
    PushBool(t, HELLOResponse::ARRAY_INITIALIZATION_STATE, iState.initialized);
    PushLE16(t, HELLOResponse::BLINK_STATE, iState.blinkValue);
    PushLE16(t, HELLOResponse::STATUS_ERROR_INFO, iConfig.statusErrorInfo);
    PushLE16(t, HELLOResponse::CONTROLLER_MODEL_NUMBER, iConfig.modelNumber);
    PushBool(t, HELLOResponse::CONTROLLER_IS_PRIMARY, iConfig.primary);
    PushIPv4Reversed(t, HELLOResponse::BMC_IPV4_NETMASK, iState.bmcNetmask);
    if (iConfig.unifiedBlockFile)
        PushBool(t, HELLOResponse::UNIFIED_BLOCK_FILE_ENABLED, *iConfig.unifiedBlockFile);
    if (!iConfig.locale.empty())
        PushText(t, HELLOResponse::LOCALIZATION_PARAMETER, iConfig.locale);
    return reply;
}

std::unique_ptr<SetupAPIMessage> SimBuildStatus(const CSimControllerConfig& iConfig, size_t iList,
                                                u_short iVersion) {
    auto reply = std::make_unique<SetupAPIMessage>(PAYLOADHeader::CONFIG_STATUS_RSP, iVersion);
    SETUPTlv& t = reply->m_tlv;
    PushLE16(t, CONFIGURATIONStatusResponse::CONFIG_STATUS_RESPONSE_CODE, iConfig.statusCode);
    CONFIGURATIONStepWriter steps;
    bool failed = false;
    if (iList < iConfig.steps.size())
        for (const CSimStep& s : iConfig.steps[iList]) {
            steps.AddStep(static_cast<int8_t>(s.id), static_cast<int8_t>(s.status));
            failed = failed || s.status == 3;
        }
    if (failed && !iConfig.stepError.empty())
        PushText(t, CONFIGURATIONStatusResponse::ERROR_MESSAGE_TEXT, iConfig.stepError);
    steps.AddToTLV(t, CONFIGURATIONStatusResponse::CONFIGURATION_STEPS);
    PushLE16(t, CONFIGURATIONStatusResponse::ORCHESTRATOR_STATE, iConfig.orchestratorState);
    return reply;
}

std::unique_ptr<SetupAPIMessage> SimBuildDisks(const CSimControllerConfig& iConfig,
                                               u_short iVersion, size_t& oSent) {
    size_t count = iConfig.disks.size();
    if (iVersion <= MESSAGE_VERSION_4)
        while (count > 0 && SimDiskReplyBytes(iConfig, count) > kFrameBody)
            --count;
    oSent = count;
    auto reply = std::make_unique<SetupAPIMessage>(PAYLOADHeader::DISK_CONFIG_RSP, iVersion);
    SETUPTlv& t = reply->m_tlv;
    PushLE16(t, DISKConfigurationResponse::DISK_ERROR_STATE, iConfig.diskErrorState);
    if (iConfig.plainDiskList) {
        DISKConfigDataWriter plain;
        for (size_t i = 0; i < count; ++i) {
            RAWDiskData d;
            d.enclosureIndex = iConfig.disks[i].enclosure;
            d.enclosurePosition = iConfig.disks[i].position;
            d.diskStatus = iConfig.disks[i].status;
            plain.AddDisk(d);
        }
        plain.AddToTLV(t, DISKConfigurationResponse::DISK_CONFIG_DATA);
    }
    if (iConfig.extendedDiskList) {
        DISKConfigExtra1DataWriter extended;
        for (size_t i = 0; i < count; ++i) {
            RAWDiskDataExtra1 d;
            d.diskclass = iConfig.disks[i].diskClass;
            d.product = iConfig.disks[i].product;
            d.revision = iConfig.disks[i].revision;
            d.disksize = iConfig.disks[i].size;
            d.healthy = iConfig.disks[i].healthy;
            extended.AddDisk(d);
        }
        extended.AddToTLV(t, DISKConfigurationResponse::DISK_CONFIG_EXTRA1_DATA);
    }
    return reply;
}

std::unique_ptr<SetupAPIMessage> SimBuildBlink(const CSimControllerConfig& iConfig, uint16_t iValue,
                                               u_short iVersion) {
    auto reply = std::make_unique<SetupAPIMessage>(PAYLOADHeader::BLINK_RSP, iVersion);
    PushLE32(reply->m_tlv, BLINKResponse::BLINK_STATUS, iConfig.blinkStatus);
    PushLE16(reply->m_tlv, BLINKResponse::BLINK_VALUE, iValue);
    return reply;
}

// --- The wire -------------------------------------------------------------------------

int CSimWire::Write(const void* iBuf, uint32_t iCount) {
    if (!iBuf)
        return -1;
    const auto* b = static_cast<const unsigned char*>(iBuf);
    std::vector<unsigned char> frame(b, b + iCount);
    if (m_corrupt) {
        // The payload header stands behind the link header, four bytes later when tagged.
        size_t payload = (frame.size() >= 14 && GetBE16(&frame[12]) == ETHERTYPE_VLAN) ? 26 : 22;
        if (frame.size() >= payload + 12)
            for (size_t i = payload + 8; i < payload + 12; ++i)
                frame[i] ^= 0xFF;
    }
    m_held.push_back(std::move(frame));
    return static_cast<int>(iCount);
}

std::vector<CSimFrameInfo> CSimWire::Arrange(bool iReverse) {
    if (iReverse)
        std::reverse(m_held.begin(), m_held.end());
    std::vector<CSimFrameInfo> frames;
    for (const auto& frame : m_held) {
        CSimFrameInfo info;
        info.wireLength = frame.size();
        size_t payload = (frame.size() >= 14 && GetBE16(&frame[12]) == ETHERTYPE_VLAN) ? 26 : 22;
        if (frame.size() >= payload + 12) {
            info.bodyLength = GetBE16(&frame[payload + 4]);
            info.packets = frame[payload + 6];
            info.packetId = frame[payload + 7];
        }
        frames.push_back(info);
    }
    return frames;
}

int CSimWire::Flush() {
    int result = -1;
    for (const auto& frame : m_held) {
        result = m_device.Write(frame.data(), static_cast<uint32_t>(frame.size()));
        if (result <= 0)
            break;
    }
    m_held.clear();
    return result;
}

// --- Answering ------------------------------------------------------------------------

struct CSimController::Reply {
    std::unique_ptr<SetupAPIMessage> message;
    std::unique_ptr<SETUPResponse> setup;
    CSimJsonObject extra;  // fields for the event of the reply
};

CSimController::CSimController(CSimCell& iCell, size_t iIndex, CSimEventLog& iLog, Sleeper iSleeper)
    : m_cell(iCell), m_index(iIndex), m_log(iLog), m_sleeper(std::move(iSleeper)) {}

void CSimController::OnChecksumFailure() {
    const CSimControllerConfig& c = Config();
    m_log.Event("rx_error", CSimJsonObject()
                                .Str("controller", c.name)
                                .Str("serial", c.serial)
                                .Str("reason", "checksum"));
    m_log.Say(c.name + "  a request arrived with a wrong checksum; not answered");
}

void CSimController::OnMessage(const SetupAPIMessage& iMessage, DEVICEIoHandler& iDevice) {
    const CSimControllerConfig& c = Config();
    const u_short op = iMessage.m_opcode;
    const u_short version = iMessage.m_version;
    const std::string src = SimMacText(iMessage.msghdr.shost);

    CSimJsonObject rx;
    rx.Str("controller", c.name)
        .Str("serial", c.serial)
        .Int("opcode", op)
        .Str("op", SimOpcodeName(op))
        .Int("version", version)
        .Str("src", src)
        .Str("dst", SimMacText(iMessage.msghdr.dhost));
    if (op != PAYLOADHeader::SETUP_RSP)
        rx.Raw("entries", SimDecodeEntries(op, iMessage.m_tlv));

    std::string summary =
        c.name + "  " + SimOpcodeName(op) + " v" + std::to_string(version) + " from " + src;
    std::string ignored;
    if (!IsRequest(op))
        ignored = "not a request";
    else if ((version == MESSAGE_VERSION_4 && !c.speaksV4) ||
             (version == MESSAGE_VERSION_5 && !c.speaksV5))
        ignored = "version " + std::to_string(version) + " not spoken";
    if (!ignored.empty()) {
        m_log.Event("rx", rx.Bool("answered", false).Str("reason", ignored));
        m_log.Say(summary + "  ignored: " + ignored);
        return;
    }

    if (op == PAYLOADHeader::PREJOIN_REQ) {
        m_cell.Change(m_index, [](CSimControllerState& s) { s.prejoined = true; });
        m_log.Event("rx", rx.Bool("answered", false).Bool("recorded", true));
        m_log.Say(summary + "  recorded (no reply)");
        return;
    }

    unsigned long number = 0;
    m_cell.Change(m_index, [&number](CSimControllerState& s) { number = ++s.requests; });
    rx.UInt("request", number);

    const CSimFaults& f = c.faults;
    if (f.answerFirst >= 0 && number > static_cast<unsigned long>(f.answerFirst)) {
        m_log.Event("rx", rx.Bool("answered", false).Str("reason", "silent"));
        m_log.Event("silent", CSimJsonObject()
                                  .Str("controller", c.name)
                                  .Str("op", SimOpcodeName(op))
                                  .UInt("request", number)
                                  .Int("answer_first", f.answerFirst));
        m_log.Say(summary + "  silent: answers only the first " +
                  Plural(static_cast<size_t>(f.answerFirst), "request"));
        return;
    }

    Reply reply;
    Answer(iMessage, reply, rx, summary);
    m_log.Event("rx", rx.Bool("answered", !(f.dropEvery && number % f.dropEvery == 0)));

    if (f.dropEvery && number % f.dropEvery == 0) {
        m_log.Event("drop", CSimJsonObject()
                                .Str("controller", c.name)
                                .Str("op", SimOpcodeName(op))
                                .UInt("request", number)
                                .UInt("drop_every", f.dropEvery));
        m_log.Say(summary + "  reply dropped (every " + std::to_string(f.dropEvery) + ")");
        return;
    }
    if (f.delayMs && !m_sleeper(f.delayMs))
        return;
    Send(iMessage, reply, iDevice, summary);
}

void CSimController::Answer(const SetupAPIMessage& iRequest, Reply& ioReply, CSimJsonObject& ioRx,
                            std::string& ioSummary) {
    const CSimControllerConfig& c = Config();
    const u_short version = iRequest.m_version;
    switch (iRequest.m_opcode) {
        case PAYLOADHeader::HELLO_REQ: {
            CSimControllerState s = m_cell.State(m_index);
            ioReply.message = SimBuildHello(c, s, m_cell.Key(m_index).PublicPem(), version);
            ioReply.extra.Bool("initialized", s.initialized);
            break;
        }
        case PAYLOADHeader::SETUP_REQ: {
            CSimSetupRequest request = CSimSetupRequest::FromMessage(iRequest);
            uint8_t status = c.setupStatus;
            bool passwordOk = true;
            if (request.password) {
                CSimSecret block;
                std::string why;
                std::string password;
                const std::vector<unsigned char>& cipher = *request.password;
                if (m_cell.Key(m_index).Decrypt(cipher.data(), cipher.size(), block, why) &&
                    SimCheckPasswordBlock(block, m_cell.Key(m_index).PublicPem(), password, why)) {
                    // The simulator plays the controller: it shows what the controller received.
                    ioRx.Str("password", password).Str("password_check", "ok");
                    ioSummary += "  password ok (" + Plural(password.size(), "byte") + ")";
                } else {
                    passwordOk = false;
                    ioRx.Null("password").Str("password_check", why);
                    ioSummary += "  password refused: " + why;
                }
                if (!password.empty())
                    OPENSSL_cleanse(&password[0], password.size());
                block.Wipe();
            } else {
                ioRx.Null("password").Str("password_check", "absent");
                ioSummary += "  no password";
            }
            if (!passwordOk)
                status = c.passwordFailureStatus;
            ioRx.Int("setup_status", status);
            if (status == 0) {
                CSimJsonArray names;
                for (const std::string& n : m_cell.ApplySetup(m_index, request))
                    names.Add(SimJsonString(n));
                ioRx.Raw("configured", names.Text());
            } else {
                m_cell.Change(m_index, [](CSimControllerState& s) { s.nextPoll = 0; });
            }
            ioReply.setup = std::make_unique<SETUPResponse>(version);
            ioReply.setup->m_status = status;
            ioReply.extra.Int("status", status);
            break;
        }
        case PAYLOADHeader::CONFIG_STATUS_REQ: {
            size_t list = 0;
            const size_t lists = c.steps.size();
            m_cell.Change(m_index, [&list, lists](CSimControllerState& s) {
                list = s.nextPoll;
                if (s.nextPoll + 1 < lists)
                    ++s.nextPoll;
            });
            ioReply.message = SimBuildStatus(c, list, version);
            ioReply.extra.UInt("poll", list + 1);
            if (lists > 0) {
                ioSummary += "  step list " + std::to_string(list + 1) + " of " +
                             std::to_string(lists) + ":";
                for (const CSimStep& s : c.steps[list]) {
                    const char* n = SimStepName(s.id);
                    const char* st = SimStepStatusName(s.status);
                    ioSummary += " " + (n ? std::string(n) : std::to_string(s.id)) + "=" +
                                 (st ? std::string(st) : std::to_string(s.status));
                }
            } else {
                ioSummary += "  no steps";
            }
            break;
        }
        case PAYLOADHeader::DISK_CONFIG_REQ: {
            size_t sent = 0;
            ioReply.message = SimBuildDisks(c, version, sent);
            ioReply.extra.UInt("disks", sent).UInt("disks_configured", c.disks.size());
            ioSummary += "  " + Plural(sent, "disk");
            if (sent < c.disks.size())
                ioSummary +=
                    " (of " + std::to_string(c.disks.size()) + ": one frame holds no more)";
            break;
        }
        case PAYLOADHeader::BLINK_REQ: {
            std::optional<uint8_t> command;
            for (SETUPTlvIterator it(iRequest.m_tlv); it.getType() != 0; it.next())
                if (it.getType() == BLINKRequest::BLINK_REQUEST_STATUS && it.getLen() >= 1)
                    command = static_cast<uint8_t>(it.getValue()[0]);
            if (command)
                ioRx.Int("command", *command);
            uint16_t value = 0;
            bool follows = c.blinkFollowsCommand && command.has_value();
            m_cell.Change(m_index, [&](CSimControllerState& s) {
                if (follows)
                    s.blinkValue = *command;
                value = s.blinkValue;
            });
            ioReply.message = SimBuildBlink(c, value, version);
            ioReply.extra.UInt("blink_status", c.blinkStatus).UInt("blink_value", value);
            ioSummary += "  blink " + (command ? std::to_string(*command) : std::string("?")) +
                         " -> value " + std::to_string(value);
            break;
        }
        default:
            break;
    }
}

void CSimController::Send(const SetupAPIMessage& iRequest, Reply& ioReply, DEVICEIoHandler& iDevice,
                          std::string& ioSummary) {
    const CSimControllerConfig& c = Config();
    const CSimFaults& f = c.faults;
    CSimWire wire(iDevice, f.corruptChecksum);
    SetupAPIMessageHandler handler;
    u_short opcode = 0;
    size_t bytes = 0;
    std::string entries;
    if (ioReply.setup) {
        ioReply.setup->msghdr.Reset(0, iRequest.msghdr.shost, c.mac);
        handler.WriteSetupResponseMessage(wire, *ioReply.setup);
        opcode = ioReply.setup->m_opcode;
        bytes = 1;
    } else if (ioReply.message) {
        ioReply.message->msghdr.Reset(0, iRequest.msghdr.shost, c.mac);
        handler.WriteSetupAPIMessage(wire, *ioReply.message);
        opcode = ioReply.message->m_opcode;
        bytes = ioReply.message->m_tlv.getTlvBytesUsed();
        entries = SimDecodeEntries(opcode, ioReply.message->m_tlv);
    } else {
        return;
    }

    // Recorded before it leaves: whoever has the reply in hand finds it in the log.
    std::vector<CSimFrameInfo> sent = wire.Arrange(f.reverseFragments);
    size_t carried = 0;
    CSimJsonArray frames;
    for (const CSimFrameInfo& fr : sent) {
        carried += static_cast<size_t>(fr.bodyLength);
        frames.Add(CSimJsonObject()
                       .Int("id", fr.packetId)
                       .Int("of", fr.packets)
                       .Int("body", fr.bodyLength)
                       .UInt("wire", fr.wireLength)
                       .Text());
    }
    const bool cut = bytes > carried && opcode != PAYLOADHeader::SETUP_RSP;

    CSimJsonObject tx;
    tx.Str("controller", c.name)
        .Str("serial", c.serial)
        .Int("opcode", opcode)
        .Str("op", SimOpcodeName(opcode))
        .Int("version", iRequest.m_version)
        .Str("src", SimMacText(c.mac))
        .Str("dst", SimMacText(iRequest.msghdr.shost))
        .UInt("bytes", bytes)
        .Raw("frames", frames.Text());
    if (!entries.empty())
        tx.Raw("entries", entries);
    tx.Merge(ioReply.extra);
    if (f.delayMs)
        tx.UInt("delay_ms", f.delayMs);
    if (f.corruptChecksum)
        tx.Bool("corrupt_checksum", true);
    if (f.reverseFragments && sent.size() > 1)
        tx.Bool("reverse_fragments", true);
    // The frame cutting counts frames against 1470 bytes but fills each with 1458: a message
    // just past a whole number of frames loses its end, as it would from a real controller.
    if (cut)
        tx.UInt("lost_tail_bytes", bytes - carried);
    m_log.Event("tx", tx);

    const int result = wire.Flush();
    if (result <= 0)
        m_log.Event("tx_error", CSimJsonObject()
                                    .Str("controller", c.name)
                                    .Str("op", SimOpcodeName(opcode))
                                    .Str("reason", "the interface refused a frame"));

    std::string reply = SimOpcodeName(opcode);
    if (ioReply.setup)
        reply += " status " + std::to_string(ioReply.setup->m_status);
    reply += " (" + Plural(sent.size(), "frame");
    if (f.reverseFragments && sent.size() > 1)
        reply += ", last first";
    if (f.corruptChecksum)
        reply += ", checksum spoiled";
    if (f.delayMs)
        reply += ", after " + std::to_string(f.delayMs) + " ms";
    reply += ")";
    if (result <= 0)
        reply += " SEND FAILED";
    if (cut)
        reply += " losing its last " + Plural(bytes - carried, "byte") + " to the frame cutting";
    m_log.Say(ioSummary + "  -> " + reply);
}
