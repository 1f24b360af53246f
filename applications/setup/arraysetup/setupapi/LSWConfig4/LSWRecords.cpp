// Port and fault domain records. The two ways of copying each record differ on purpose:
// operator= goes through the setters and copies deeply, CopyFrom copies the texts as they
// stand and shares the ports.
#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/tlvUtils.h"
#include "zelutil/ZelTrace.h"

// ---- ClswPortConfigData -------------------------------------------------------------------

void ClswPortConfigData::setIpv4Address(const std::string& address) {
    m_strIpv4Address = address;
    CLSWCommonUtils::ParseAddressString(true, address, m_Ipv4Address);
}

void ClswPortConfigData::setIpv4NetMask(const std::string& netmask) {
    m_strIpv4NetMask = netmask;
    CLSWCommonUtils::ParseAddressString(true, netmask, m_Ipv4NetMask);
}

void ClswPortConfigData::setIpv4Gateway(const std::string& gateway) {
    m_strIpv4Gateway = gateway;
    CLSWCommonUtils::ParseAddressString(true, gateway, m_Ipv4Gateway);
}

ClswPortConfigData& ClswPortConfigData::operator=(const PORTDataReader& reader) {
    // The record's bytes are signed: 0xFF becomes 0xFFFFFFFF here.
    m_SlotNumber = static_cast<unsigned int>(reader.GetSlotNumber());
    m_SlotPortNumber = static_cast<unsigned int>(reader.GetSlotPortNumber());
    m_TransportType = static_cast<unsigned int>(reader.GetTransportType());
    m_PortLocation = static_cast<unsigned int>(reader.GetPortLocation());
    m_Configured = reader.GetConfigured();
    m_Embedded = reader.GetEmbedded();
    m_Status = static_cast<unsigned int>(reader.GetStatus());
    m_ControllerIndex = static_cast<unsigned int>(reader.GetControllerIndex());
    m_Network = static_cast<unsigned int>(reader.GetNetwork());
    m_CardModel = static_cast<unsigned int>(reader.GetCardModel());
    setIpv4Address(reader.GetIpV4());
    setIpv4NetMask(reader.GetIpV4Netmask());
    setIpv4Gateway(reader.GetIpV4Gateway());
    return *this;
}

void ClswPortConfigData::CopyFrom(std::shared_ptr<ClswPortConfigData> source) {
    if (!source || source.get() == this)
        return;
    m_SlotNumber = source->m_SlotNumber;
    m_SlotPortNumber = source->m_SlotPortNumber;
    m_ControllerId = source->m_ControllerId;
    m_TransportType = source->m_TransportType;
    m_PortLocation = source->m_PortLocation;
    m_Status = source->m_Status;
    m_ControllerIndex = source->m_ControllerIndex;
    m_Network = source->m_Network;
    m_Configured = source->m_Configured;
    m_Embedded = source->m_Embedded;
    m_strIpv4Address = source->m_strIpv4Address;
    m_strIpv4NetMask = source->m_strIpv4NetMask;
    m_strIpv4Gateway = source->m_strIpv4Gateway;
}

ClswPortConfigData& ClswPortConfigData::operator=(const ClswPortConfigData& other) {
    if (this == &other)
        return *this;
    m_SlotNumber = other.m_SlotNumber;
    m_SlotPortNumber = other.m_SlotPortNumber;
    m_TransportType = other.m_TransportType;
    m_PortLocation = other.m_PortLocation;
    m_Status = other.m_Status;
    m_ControllerIndex = other.m_ControllerIndex;
    m_Network = other.m_Network;
    m_CardModel = other.m_CardModel;
    m_Configured = other.m_Configured;
    m_Embedded = other.m_Embedded;
    setIpv4Address(other.m_strIpv4Address);
    setIpv4NetMask(other.m_strIpv4NetMask);
    setIpv4Gateway(other.m_strIpv4Gateway);
    return *this;
}

// ---- ClswFaultDomainConfigData ------------------------------------------------------------

void ClswFaultDomainConfigData::addPortConfigurationData(std::shared_ptr<IlswPortConfigData> port) {
    if (port)
        m_PortConfigurationData.push_back(std::move(port));
}

void ClswFaultDomainConfigData::SetIPV4(std::string address) {
    m_strIpv4Address = std::move(address);
    CLSWCommonUtils::ParseAddressString(true, m_strIpv4Address, m_Ipv4Address);
}

void ClswFaultDomainConfigData::SetIPV4Netmask(std::string netmask) {
    m_strIpv4NetMask = std::move(netmask);
    CLSWCommonUtils::ParseAddressString(true, m_strIpv4NetMask, m_Ipv4NetMask);
}

void ClswFaultDomainConfigData::SetIPV4Gateway(std::string gateway) {
    m_strIpv4Gateway = std::move(gateway);
    CLSWCommonUtils::ParseAddressString(true, m_strIpv4Gateway, m_Ipv4Gateway);
}

ClswFaultDomainConfigData& ClswFaultDomainConfigData::operator=(
    const FAULTDomainDataReader& reader) {
    m_FaultDomainId = static_cast<unsigned int>(reader.GetId());
    SetIPV4(reader.GetIpV4());
    SetIPV4Netmask(reader.GetIpV4Netmask());
    SetIPV4Gateway(reader.GetIpV4Gateway());
    m_TransportType = static_cast<unsigned int>(reader.GetTransportType());
    m_Embedded = reader.GetEmbedded();

    const int count = reader.GetNumberOfPorts();
    for (int index = 0; index < count; ++index) {
        const PORTDataReader* portReader = reader.GetPort(static_cast<unsigned char>(index));
        if (portReader == nullptr)
            continue;
        auto port = std::make_shared<ClswPortConfigData>();
        *port = *portReader;
        ZelOutputDebugPrint(HERE, "PortInfo SlotNumber: %d", port->getSlotNumber());
        ZelOutputDebugPrint(HERE, "PortInfo SlotPortNumber: %d", port->getSlotPortNumber());
        ZelOutputDebugPrint(HERE, "PortInfo ControllerId: %d", port->getControllerId());
        ZelOutputDebugPrint(HERE, "PortInfo TransportType: %d", port->getTransportType());
        ZelOutputDebugPrint(HERE, "PortInfo PortLocation: %d", port->getPortLocation());
        ZelOutputDebugPrint(HERE, "PortInfo Status: %d", port->getStatus());
        ZelOutputDebugPrint(HERE, "PortInfo ControllerIndex: %d", port->getControllerIndex());
        ZelOutputDebugPrint(HERE, "PortInfo Network: %d", port->getNetwork());
        ZelOutputDebugPrint(HERE, "PortInfo CardModel: %d", port->getCardModel());
        ZelOutputDebugPrint(HERE, "PortInfo Configured: %d", port->getConfigured() ? 1 : 0);
        ZelOutputDebugPrint(HERE, "PortInfo Embedded: %d", port->getEmbedded() ? 1 : 0);
        ZelOutputDebugPrint(HERE, "PortInfo IPV4: %s", port->getIpv4Address().c_str());
        ZelOutputDebugPrint(HERE, "PortInfo Netmask: %s", port->getIpv4NetMask().c_str());
        ZelOutputDebugPrint(HERE, "PortInfo Gateway: %s", port->getIpv4Gateway().c_str());
        m_PortConfigurationData.push_back(port);
    }
    return *this;
}

void ClswFaultDomainConfigData::CopyFrom(std::shared_ptr<ClswFaultDomainConfigData> source) {
    if (!source || source.get() == this)
        return;
    m_FaultDomainId = source->m_FaultDomainId;
    m_TransportType = source->m_TransportType;
    m_Embedded = source->m_Embedded;
    m_strIpv4Address = source->m_strIpv4Address;
    m_strIpv4Gateway = source->m_strIpv4Gateway;
    // The gateway's text stands for the netmask too; receivers rely on this copy as it is.
    m_strIpv4NetMask = source->m_strIpv4Gateway;
    for (const auto& port : source->m_PortConfigurationData) {
        if (!port)
            continue;
        // The copy is made and dropped: the source's own port is what is kept.
        auto copy = std::make_shared<ClswPortConfigData>();
        copy->CopyFrom(std::static_pointer_cast<ClswPortConfigData>(port));
        m_PortConfigurationData.push_back(port);
    }
}

ClswFaultDomainConfigData& ClswFaultDomainConfigData::operator=(
    const ClswFaultDomainConfigData& other) {
    if (this == &other)
        return *this;
    m_FaultDomainId = other.m_FaultDomainId;
    m_TransportType = other.m_TransportType;
    m_Embedded = other.m_Embedded;
    SetIPV4(other.m_strIpv4Address);
    SetIPV4Netmask(other.m_strIpv4NetMask);
    SetIPV4Gateway(other.m_strIpv4Gateway);
    for (const auto& port : other.m_PortConfigurationData) {
        if (!port)
            continue;
        auto copy = std::make_shared<ClswPortConfigData>();
        *copy = *std::static_pointer_cast<ClswPortConfigData>(port);
        m_PortConfigurationData.push_back(copy);
    }
    return *this;
}
