// One controller of an array: discovered facts, the operator's wishes, and the rules that
// decide whether they can be sent. The setup request it builds is in
// LSWVesperControllerRequest.cpp.
#include <openssl/crypto.h>

#include <cstring>

#include "LSWConfig4/LSWConfigMgr.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/tlvUtils.h"
#include "LSWConfig4/unix/Adapter.h"
#include "zelutil/ZelStringUtil.h"
#include "zelutil/ZelTrace.h"

namespace {

const unsigned int kAddrTextSize = 128;

std::string AddressText(const CZelIpAddress& address) {
    char text[kAddrTextSize];
    ipAddrToString(&address, text, sizeof(text));
    return std::string(text);
}

}  // namespace

CLSWVesperController::CLSWVesperController() = default;

CLSWVesperController::~CLSWVesperController() {
    WipePassword();
}

void CLSWVesperController::WipePassword() {
    if (!m_Password.empty())
        OPENSSL_cleanse(&m_Password[0], m_Password.size());
    m_Password.clear();
}

// ---- Operator's values ------------------------------------------------------------------

void CLSWVesperController::setPassword(const std::string& text) {
    // The old plaintext is wiped first: assigning may reuse or free its buffer.
    WipePassword();
    m_Password = text;
}

bool CLSWVesperController::ParseAddressString(bool wantIPv4, const std::string& text,
                                              CZelIpAddress& out) {
    return CLSWCommonUtils::ParseAddressString(wantIPv4, text, out);
}

void CLSWVesperController::SetFromOperator(const std::string& text, std::string& twin,
                                           CZelIpAddress& field) {
    // Every operator setter parses as IPv4, the IPv6 ones too: an IPv6 text stays in the
    // twin and leaves the value as it was. Validate judges the value and shows the text.
    twin = text;
    ParseAddressString(true, text, field);
}

void CLSWVesperController::setMgmtIp4Address(const std::string& text) {
    SetFromOperator(text, m_MgmtIp4AddressString, m_MgmtIp4Address);
}

void CLSWVesperController::setEth0Ip4Address(const std::string& text) {
    SetFromOperator(text, m_Eth0Ip4AddressString, m_Eth0Ip4Address);
}

void CLSWVesperController::setEth0Ip4Netmask(const std::string& text) {
    SetFromOperator(text, m_Eth0Ip4NetmaskString, m_Eth0Ip4Netmask);
}

void CLSWVesperController::setEth0Ip4Gateway(const std::string& text) {
    // No gateway reads back as "0.0.0.0"; the empty text still goes to the parser, which
    // refuses it and leaves the value alone.
    m_Eth0Ip4GatewayString = text.empty() ? m_DefaultGatewayString : text;
    ParseAddressString(true, text, m_Eth0Ip4Gateway);
}

void CLSWVesperController::setMgmtIp6Address(const std::string& text) {
    SetFromOperator(text, m_MgmtIp6AddressString, m_MgmtIp6Address);
}

void CLSWVesperController::setEth0Ip6Address(const std::string& text) {
    SetFromOperator(text, m_Eth0Ip6AddressString, m_Eth0Ip6Address);
}

void CLSWVesperController::setEth0Ip6AddrPrefix(unsigned short prefix) {
    if (prefix < 256)
        m_Eth0Ip6AddrPrefix = prefix;
}

void CLSWVesperController::setControllerIndex(unsigned short index) {
    if (index < 2)
        m_ControllerIndex = static_cast<short>(index);
}

void CLSWVesperController::setPrimaryDns(const std::string& text) {
    SetFromOperator(text, m_PrimaryDNSString, m_PrimaryDNS);
}

void CLSWVesperController::setSecondaryDns(const std::string& text) {
    SetFromOperator(text, m_SecondaryDNSString, m_SecondaryDNS);
}

void CLSWVesperController::setBmcIp4Address(const std::string& text) {
    SetFromOperator(text, m_BmcIp4AddressString, m_BmcIp4Address);
}

void CLSWVesperController::setBmcIp4Netmask(const std::string& text) {
    SetFromOperator(text, m_BmcIp4NetmaskString, m_BmcIp4Netmask);
}

void CLSWVesperController::setBmcIp4Gateway(const std::string& text) {
    SetFromOperator(text, m_BmcIp4GatewayString, m_BmcIp4Gateway);
}

void CLSWVesperController::setBmcIp6Address(const std::string& text) {
    SetFromOperator(text, m_BmcIp6AddressString, m_BmcIp6Address);
}

void CLSWVesperController::setBmcIp6Gateway(const std::string& text) {
    SetFromOperator(text, m_BmcIp6GatewayString, m_BmcIp6Gateway);
}

void CLSWVesperController::addFaultDomain(std::shared_ptr<IlswFaultDomainConfigData> domain) {
    if (domain)
        m_FaultDomainConfigDataVec.push_back(std::move(domain));
}

// ---- Discovered values ------------------------------------------------------------------

void CLSWVesperController::SetFromController(const CZelIpAddress& address, CZelIpAddress& field,
                                             std::string& text) {
    if (!address.valid())
        return;
    field = address;
    text = AddressText(address);
}

void CLSWVesperController::SetMgmtIp4AddressFromController(const CZelIpAddress& address) {
    SetFromController(address, m_MgmtIp4Address, m_MgmtIp4AddressString);
}

void CLSWVesperController::SetEth0Ip4AddressFromController(const CZelIpAddress& address) {
    SetFromController(address, m_Eth0Ip4Address, m_Eth0Ip4AddressString);
}

void CLSWVesperController::SetEth0Ip4NetmaskFromController(const CZelIpAddress& address) {
    SetFromController(address, m_Eth0Ip4Netmask, m_Eth0Ip4NetmaskString);
}

void CLSWVesperController::SetEth0Ip4GatewayFromController(const CZelIpAddress& address) {
    SetFromController(address, m_Eth0Ip4Gateway, m_Eth0Ip4GatewayString);
}

void CLSWVesperController::SetMgmtIp6AddressFromController(const CZelIpAddress& address) {
    SetFromController(address, m_MgmtIp6Address, m_MgmtIp6AddressString);
}

void CLSWVesperController::SetPrimaryDNSFromController(const CZelIpAddress& address) {
    SetFromController(address, m_PrimaryDNS, m_PrimaryDNSString);
}

void CLSWVesperController::SetSecondaryDNSFromController(const CZelIpAddress& address) {
    SetFromController(address, m_SecondaryDNS, m_SecondaryDNSString);
}

void CLSWVesperController::SetBMCIPv4AddressFromController(const CZelIpAddress& address) {
    SetFromController(address, m_BmcIp4Address, m_BmcIp4AddressString);
}

void CLSWVesperController::SetBMCIPv4NetmaskFromController(const CZelIpAddress& address) {
    SetFromController(address, m_BmcIp4Netmask, m_BmcIp4NetmaskString);
}

void CLSWVesperController::SetBMCIPv4DefaultRouteFromController(const CZelIpAddress& address) {
    SetFromController(address, m_BmcIp4Gateway, m_BmcIp4GatewayString);
}

void CLSWVesperController::SetEth0Ip6AddressFromController(const CZelIpAddress& address) {
    m_Eth0Ip6Address = address;
    UpdateEth0Ip6AddrString();
}

void CLSWVesperController::SetEth0Ip6AddrPrefixFromController(unsigned short prefix) {
    m_Eth0Ip6AddrPrefix = prefix;
    UpdateEth0Ip6AddrString();
}

void CLSWVesperController::UpdateEth0Ip6AddrString() {
    if (!m_Eth0Ip6Address.valid()) {
        m_Eth0Ip6AddressString.clear();
        return;
    }
    m_Eth0Ip6AddressString = AddressText(m_Eth0Ip6Address);
    // The controller's own form separates the prefix with a backslash.
    if (m_Eth0Ip6AddrPrefix != 0)
        m_Eth0Ip6AddressString += CLSWCommonUtils::FormatString("\\%d", m_Eth0Ip6AddrPrefix);
}

void CLSWVesperController::SetMACAddressFromController(const unsigned char* mac) {
    if (mac == nullptr)
        return;
    memcpy(m_MACAddress, mac, sizeof(m_MACAddress));
    m_MACAddrString = CLSWCommonUtils::FormatString("%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1],
                                                    mac[2], mac[3], mac[4], mac[5]);
}

void CLSWVesperController::SetAdapterInfoFromController(CZelAdapter* adapter) {
    if (adapter == m_Adapter.get())
        return;
    m_Adapter = adapter ? std::make_shared<CZelAdapter>(adapter->m_addr, adapter->m_msname,
                                                        adapter->m_pcapname, adapter->m_description)
                        : nullptr;
}

void CLSWVesperController::SetDiskInfoFromController(const std::string& text) {
    if (!m_DiskInfo.empty())
        m_DiskInfo += ", ";
    m_DiskInfo += text;
}

void CLSWVesperController::SetControllerPortConfigData(CONTROLLERPortDataReader* reader) {
    if (reader == nullptr)
        return;
    const int count = reader->GetNumberOfFaultDomains();
    for (int index = 0; index < count; ++index) {
        const FAULTDomainDataReader* domainReader =
            reader->GetFaultDomain(static_cast<unsigned char>(index));
        if (domainReader == nullptr)
            continue;
        auto domain = std::make_shared<ClswFaultDomainConfigData>();
        *domain = *domainReader;
        ZelOutputDebugPrint(HERE, "FaultDomain ID: %d", domain->getFaultDomainID());
        ZelOutputDebugPrint(HERE, "FaultDomain IPAddr: %s", domain->getIpv4Address().c_str());
        ZelOutputDebugPrint(HERE, "FaultDomain Netmask: %s", domain->getIpv4NetMask().c_str());
        ZelOutputDebugPrint(HERE, "FaultDomain Gateway: %s", domain->getIpv4Gateway().c_str());
        ZelOutputDebugPrint(HERE, "FaultDomain NoOfPorts: %d", domain->getNumberOfPorts());
        ZelOutputDebugPrint(HERE, "FaultDomain TransportType: %d", domain->getTransportType());
        ZelOutputDebugPrint(HERE, "FaultDomain Embedded: %d", domain->getEmbedded() ? 1 : 0);
        m_FaultDomainConfigDataVec.push_back(domain);
    }
}

void CLSWVesperController::SetFaultDomainConfigurationData(
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>> domains) {
    m_FaultDomainConfigDataVec = std::move(domains);
}

void CLSWVesperController::SetSecondaryCtrlFaultDomainConfigurationData(
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>> domains) {
    for (const auto& domain : domains) {
        if (!domain)
            continue;
        // The copy is made and dropped: the primary keeps the other controller's own
        // objects, and the list is not cleared first.
        auto copy = std::make_shared<ClswFaultDomainConfigData>();
        copy->CopyFrom(std::static_pointer_cast<ClswFaultDomainConfigData>(domain));
        m_SecondaryCtrlFaultDomainConfigDataVec.push_back(domain);
    }
}

void CLSWVesperController::SetSecondaryEth0Ip4Address(const std::string& text) {
    ParseAddressString(true, text, m_SecondaryEth0Ip4Address);
}

void CLSWVesperController::SetSecondaryEth0Ip4Netmask(const std::string& text) {
    ParseAddressString(true, text, m_SecondaryEth0Ip4Netmask);
}

void CLSWVesperController::SetSecondaryEth0Ip4Gateway(const std::string& text) {
    ParseAddressString(true, text, m_SecondaryEth0Ip4Gateway);
}

void CLSWVesperController::SetSecondaryBmcIp4Address(const std::string& text) {
    ParseAddressString(true, text, m_SecondaryBmcIp4Address);
}

void CLSWVesperController::SetSecondaryBmcIp4Netmask(const std::string& text) {
    ParseAddressString(true, text, m_SecondaryBmcIp4Netmask);
}

void CLSWVesperController::SetSecondaryBmcIp4Gateway(const std::string& text) {
    ParseAddressString(true, text, m_SecondaryBmcIp4Gateway);
}

// ---- Derived values ---------------------------------------------------------------------

CLSWVesperController::IdType CLSWVesperController::GetIdType() {
    if (m_HardwareSN.empty())
        return m_ControllerIndex == -1 ? NONE : INDEX;
    return HW;
}

unsigned int CLSWVesperController::getTransportType() {
    for (const auto& domain : m_FaultDomainConfigDataVec) {
        if (domain && !domain->getEmbedded()) {
            m_TransportType = domain->getTransportType();
            return m_TransportType;
        }
    }
    return m_TransportType;
}

// ---- Validation -------------------------------------------------------------------------

long CLSWVesperController::Validate(std::string& msg) {
    msg.clear();
    long code = 0;
    std::string reason;
    // A failing check has left its own reason in msg; it goes to the trace before the
    // operator's text replaces it.
    auto fail = [&](long failCode, const std::string& text) {
        reason = msg;
        code = failCode;
        msg = text;
    };
    auto text2 = [](int failCode, const std::string& first, const std::string& second) {
        return CLSWCommonUtils::FormatString(CErrorCodes::errorMap[failCode].c_str(), first.c_str(),
                                             second.c_str());
    };

    if (m_HardwareSN.empty()) {
        fail(1018, CErrorCodes::errorMap[1018]);
    } else {
        ZelOutputDebugPrint(HERE, "Validating Controller input for %s.", m_HardwareSN.c_str());
        if (m_ServiceTag.empty()) {
            fail(1019, text2(1019, m_HardwareSN, std::string()));
        } else if (!m_MgmtIp4Address.valid()) {
            fail(1020, text2(1020, m_MgmtIp4AddressString, m_HardwareSN));
        } else if (!CLSWCommonUtils::IsValidMemberIP(m_MgmtIp4Address, msg, false)) {
            fail(1021, text2(1021, m_MgmtIp4AddressString, m_HardwareSN));
        } else if (!m_Eth0Ip4Address.valid()) {
            fail(1022, text2(1022, m_Eth0Ip4AddressString, m_HardwareSN));
        } else if (!CLSWCommonUtils::IsValidMemberIP(m_Eth0Ip4Address, msg, false)) {
            fail(1023, text2(1023, m_Eth0Ip4AddressString, m_HardwareSN));
        } else if (!m_Eth0Ip4Netmask.valid()) {
            fail(1024, text2(1024, m_Eth0Ip4NetmaskString, m_HardwareSN));
        } else if (!CLSWCommonUtils::IsValidSubnetMask(m_Eth0Ip4Netmask, msg)) {
            fail(1025, text2(1025, m_Eth0Ip4NetmaskString, m_HardwareSN));
        } else if (!AreStringsIdenticalIgnoreCase(m_Eth0Ip4GatewayString, m_DefaultGatewayString) &&
                   !m_Eth0Ip4Gateway.valid()) {
            fail(1026, text2(1026, m_Eth0Ip4GatewayString, m_HardwareSN));
        } else if (!AreStringsIdenticalIgnoreCase(m_Eth0Ip4GatewayString, m_DefaultGatewayString) &&
                   !CLSWCommonUtils::IsValidGateway(m_Eth0Ip4Address, m_Eth0Ip4Netmask,
                                                    m_Eth0Ip4Gateway, msg)) {
            fail(1027, text2(1027, m_Eth0Ip4GatewayString, m_HardwareSN));
        } else if (!CLSWCommonUtils::IsValidNetworkConf(m_Eth0Ip4Address, m_MgmtIp4Address,
                                                        m_Eth0Ip4Netmask, m_Eth0Ip4Gateway, msg)) {
            // Runs also without a gateway, against the stored value.
            fail(1028, text2(1028, m_HardwareSN, std::string()));
        } else if (AreStringsIdenticalIgnoreCase(m_PrimaryDNSString, m_SecondaryDNSString)) {
            // Two empty texts are identical too.
            fail(1029, text2(1029, m_PrimaryDNSString, m_SecondaryDNSString));
        }
    }
    if (code != 0) {
        if (!reason.empty())
            ZelOutputDebugError(HERE, "%s", reason.c_str());
        ZelOutputDebugError(HERE, "%s", msg.c_str());
    }
    return code;
}

// ---- Operations that reach the manager --------------------------------------------------

bool NoManager(const CLSWConfigManager* iManager, ApiResult& oResult) {
    if (iManager != nullptr)
        return false;
    oResult.resultCode = 1001;
    oResult.resultMsg = CErrorCodes::errorMap[1001];
    ZelOutputDebugError(HERE, "%s", oResult.resultMsg.c_str());
    return true;
}

ApiResult CLSWVesperController::initialize() {
    ApiResult result;
    // A path that forgets to store a code reads as a failure.
    result.resultCode = -1;
    CLSWConfigManager* manager = CLSWConfigManager::GetInstance();
    if (NoManager(manager, result))
        return result;
    result.resultCode = manager->InitializeVesperController(GetMySharedPtr(), result.resultMsg);
    return result;
}

ApiResult CLSWVesperController::getInitializeStatus(
    std::shared_ptr<IlswConfigurationStatusResponse>& response) {
    ApiResult result;
    CLSWConfigManager* manager = CLSWConfigManager::GetInstance();
    if (NoManager(manager, result))
        return result;
    result.resultCode =
        manager->GetVesperControllerInitializeStatus(GetMySharedPtr(), response, result.resultMsg);
    return result;
}

ApiResult CLSWVesperController::blinkController(unsigned short code,
                                                std::shared_ptr<IlswBlinkResponse>& response) {
    ApiResult result;
    CLSWConfigManager* manager = CLSWConfigManager::GetInstance();
    if (NoManager(manager, result))
        return result;
    // Only the primary answers; that test comes before the code's.
    if (!isPrimaryController()) {
        result.resultCode = 1034;
        result.resultMsg = CLSWCommonUtils::FormatString(CErrorCodes::errorMap[1034].c_str(),
                                                         m_HardwareSN.c_str());
        ZelOutputDebugError(HERE, "%s", result.resultMsg.c_str());
        return result;
    }
    if (code >= 3) {
        result.resultCode = 1017;
        result.resultMsg = CErrorCodes::errorMap[1017];
        ZelOutputDebugError(HERE, "%s", result.resultMsg.c_str());
        return result;
    }
    result.resultCode =
        manager->BlinkVesperController(GetMySharedPtr(), code, response, result.resultMsg);
    return result;
}

ApiResult CLSWVesperController::getDiskInfo(std::vector<std::shared_ptr<IlswDiskInfo>>& disks) {
    ApiResult result;
    CLSWConfigManager* manager = CLSWConfigManager::GetInstance();
    if (NoManager(manager, result))
        return result;
    if (!isPrimaryController()) {
        result.resultCode = 1034;
        result.resultMsg = CLSWCommonUtils::FormatString(CErrorCodes::errorMap[1034].c_str(),
                                                         m_HardwareSN.c_str());
        ZelOutputDebugError(HERE, "%s", result.resultMsg.c_str());
        return result;
    }
    result.resultCode = manager->GetDiskInfo(GetMySharedPtr(), disks, result.resultMsg);
    return result;
}
