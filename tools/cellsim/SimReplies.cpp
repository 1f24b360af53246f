// The replies: each built as the controller would send it.
#include "SimReplies.h"

#include <arpa/inet.h>

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

}  // namespace

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
