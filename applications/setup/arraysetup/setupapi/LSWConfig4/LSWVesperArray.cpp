// The pair of controllers that share a service tag: kept in the order of their hardware
// serials, judged together, and folded into one request for the primary.
#include "LSWConfig4/LSWConfigMgr.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/unix/Adapter.h"
#include "zelutil/ZelStringUtil.h"
#include "zelutil/ZelTrace.h"

// ---- Simple operations ------------------------------------------------------------------

unsigned short CLSWVesperArray::getProductFamily() {
    return m_Controllers.empty() ? 0 : m_Controllers.front()->getProductFamily();
}

ClswDefs::SYSTargetType CLSWVesperArray::getProductVersion() {
    return m_Controllers.empty() ? ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_UNKNOWN
                                 : m_Controllers.front()->getProductVersion();
}

std::shared_ptr<IlswController> CLSWVesperArray::getController(unsigned int index) {
    if (index >= m_Controllers.size())
        return nullptr;
    return m_Controllers[index];
}

std::vector<std::shared_ptr<IlswVesperController>> CLSWVesperArray::getControllers() {
    return std::vector<std::shared_ptr<IlswVesperController>>(m_Controllers.begin(),
                                                              m_Controllers.end());
}

std::string CLSWVesperArray::getHostMac() {
    for (const auto& controller : m_Controllers) {
        if (controller->isPrimaryController())
            return controller->getMacAddress();
    }
    return m_HostMAC;
}

void CLSWVesperArray::SetHostInfo(CZelAdapter* adapter) {
    if (adapter == nullptr)
        return;
    m_HostInfo = adapter->m_description;
    const unsigned char* mac = adapter->m_addr;
    m_HostMAC = CLSWCommonUtils::FormatString("%02X:%02X:%02X:%02X:%02X:%02X", mac[0], mac[1],
                                              mac[2], mac[3], mac[4], mac[5]);
}

std::shared_ptr<CLSWVesperController> CLSWVesperArray::FindControllerByIndex(unsigned int index) {
    if (index >= m_Controllers.size())
        return nullptr;
    return m_Controllers[index];
}

std::shared_ptr<CLSWVesperController> CLSWVesperArray::FindControllerByHW(
    const std::string& hardwareSn) {
    for (const auto& controller : m_Controllers) {
        if (controller->getHardwareSn() == hardwareSn)
            return controller;
    }
    return nullptr;
}

bool CLSWVesperArray::IsFaultDomainAdded(
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>>& domains,
    const std::shared_ptr<IlswFaultDomainConfigData>& domain) const {
    if (!domain)
        return false;
    for (const auto& known : domains) {
        if (known && known->getFaultDomainID() == domain->getFaultDomainID())
            return true;
    }
    return false;
}

// ---- Adding controllers -----------------------------------------------------------------

void CLSWVesperArray::AddControllerInternal(std::shared_ptr<IlswController> controller) {
    if (!controller)
        return;
    // Each interface has one implementation.
    AddVesperController(std::static_pointer_cast<CLSWVesperController>(controller));
}

void CLSWVesperArray::AddVesperController(std::shared_ptr<CLSWVesperController> controller) {
    if (!controller)
        return;
    if (m_Controllers.empty()) {
        m_ServiceTag = controller->getServiceTag();
        m_Locale = controller->getLocale();
        if (controller->isInitialized())
            m_SystemName = controller->getScName();
        m_Controllers.push_back(controller);
        UpdateArrayState();
        return;
    }

    size_t insertAt = m_Controllers.size();
    bool replaced = false;
    for (size_t i = 0; i < m_Controllers.size(); ++i) {
        const auto& existing = m_Controllers[i];
        if (existing->getSerialNumber() == controller->getSerialNumber()) {
            // One controller heard twice: the lower last byte of the link-layer address
            // wins, and an answer that changes nothing leaves the state as it was.
            if (existing->GetMACAddr()[5] <= controller->GetMACAddr()[5])
                return;
            m_Controllers[i] = controller;
            replaced = true;
            break;
        }
        if (insertAt == m_Controllers.size() &&
            controller->getHardwareSn() < existing->getHardwareSn())
            insertAt = i;
    }
    if (!replaced)
        m_Controllers.insert(m_Controllers.begin() + static_cast<std::ptrdiff_t>(insertAt),
                             controller);
    UpdateArrayState();
}

bool CLSWVesperArray::addController(std::shared_ptr<IlswController> controller) {
    if (!controller) {
        ZelOutputDebugError(HERE, "NULL controller object");
        return false;
    }
    // Strictly more than two: a third controller still passes here.
    if (m_Controllers.size() > 2) {
        ZelOutputDebugError(HERE, "Invalid attempt to add more than two vesper controllers");
        return false;
    }
    const ClswDefs::SYSTargetType version = controller->getProductVersion();
    if (version != ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB2000 &&
        version != ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_EHV &&
        version != ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB7000 &&
        version != ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_QB5000) {
        ZelOutputDebugError(HERE, "Attempt to add invalid type controller %d",
                            static_cast<int>(version));
        return false;
    }
    auto vesper = std::static_pointer_cast<CLSWVesperController>(controller);
    std::string msg;
    if (vesper->Validate(msg) != 0) {
        ZelOutputDebugError(HERE, "Controller validation failed: %s", msg.c_str());
        return false;
    }
    if (m_Controllers.empty()) {
        m_Controllers.push_back(vesper);
        return true;
    }
    const auto& first = m_Controllers.front();
    const CLSWVesperController::IdType idType = first->GetIdType();
    if (vesper->GetIdType() != idType) {
        ZelOutputDebugError(HERE, "Attempt to add controllers with incompatible id fields");
        return false;
    }
    if (vesper->getServiceTag() != first->getServiceTag()) {
        ZelOutputDebugError(HERE, "Attempt to add controllers with different ServiceTag fields");
        return false;
    }
    if (idType == CLSWVesperController::HW && vesper->getHardwareSn() == first->getHardwareSn()) {
        ZelOutputDebugError(HERE, "Attempt to add controller with duplicate HW fields %s",
                            vesper->getHardwareSn().c_str());
        return false;
    }
    if (idType == CLSWVesperController::INDEX &&
        vesper->getControllerIndex() == first->getControllerIndex()) {
        ZelOutputDebugError(HERE, "Attempt to add controller with duplicate Index field %d",
                            vesper->getControllerIndex());
        return false;
    }
    m_Controllers.push_back(vesper);
    return true;
}

void CLSWVesperArray::UpdateArrayState() {
    if (m_Controllers.empty())
        return;
    if (m_Controllers.size() == 1) {
        const auto& only = m_Controllers.front();
        m_Status = only->isInitialized() ? ClswDefs::INITIALIZED : ClswDefs::READY;
        m_IpConfigured =
            only->isIpConfigured() ? ClswDefs::IP_CONFIGURED : ClswDefs::IP_NOT_CONFIGURED;
        return;
    }
    const bool init0 = m_Controllers[0]->isInitialized();
    const bool init1 = m_Controllers[1]->isInitialized();
    if (init0 && init1)
        m_Status = ClswDefs::INITIALIZED;
    else if (!init0 && !init1)
        m_Status = ClswDefs::READY;
    else
        m_Status = ClswDefs::PARTIAL_INIT;

    const bool ip0 = m_Controllers[0]->isIpConfigured();
    const bool ip1 = m_Controllers[1]->isIpConfigured();
    if (ip0 && ip1)
        m_IpConfigured = ClswDefs::IP_CONFIGURED;
    else if (!ip0 && !ip1)
        m_IpConfigured = ClswDefs::IP_NOT_CONFIGURED;
    else
        m_IpConfigured = ClswDefs::IP_PARTIALLY_CONFIGURED;
}

// ---- Rules over both controllers --------------------------------------------------------

long CLSWVesperArray::Validate(std::string& msg) {
    if (m_Controllers.size() != 2)
        return 0;
    ZelOutputDebugPrint(HERE, "Validating Array input for dual controllers.");
    const auto& c0 = m_Controllers[0];
    const auto& c1 = m_Controllers[1];
    long code = 0;
    std::string first;
    std::string second;
    // The texts are compared, not the values: 10.0.0.1 and 10.0.0.01 differ.
    if (!AreStringsIdenticalIgnoreCase(c0->getMgmtIp4Address(), c1->getMgmtIp4Address())) {
        code = 1030;
        first = c0->getMgmtIp4Address();
        second = c1->getMgmtIp4Address();
    } else if (AreStringsIdenticalIgnoreCase(c0->getEth0Ip4Address(), c1->getEth0Ip4Address())) {
        code = 1031;
        first = c0->getEth0Ip4Address();
        second = c1->getEth0Ip4Address();
    } else if (!AreStringsIdenticalIgnoreCase(c0->getEth0Ip4Netmask(), c1->getEth0Ip4Netmask())) {
        code = 1032;
        first = c0->getEth0Ip4Netmask();
        second = c1->getEth0Ip4Netmask();
    } else if (!AreStringsIdenticalIgnoreCase(c0->getEth0Ip4Gateway(), c1->getEth0Ip4Gateway())) {
        code = 1033;
        first = c0->getEth0Ip4Gateway();
        second = c1->getEth0Ip4Gateway();
    }
    if (code != 0) {
        msg = CLSWCommonUtils::FormatString(CErrorCodes::errorMap[static_cast<int>(code)].c_str(),
                                            first.c_str(), second.c_str());
        ZelOutputDebugError(HERE, "%s", msg.c_str());
    }
    return code;
}

std::vector<std::shared_ptr<IlswFaultDomainConfigData>>
CLSWVesperArray::getFaultDomainConfigurationData() {
    if (!m_ArrayFaultDomainsVec.empty())
        return m_ArrayFaultDomainsVec;
    if (m_Controllers.size() == 1) {
        m_ArrayFaultDomainsVec = m_Controllers[0]->getFaultDomainConfigurationData();
    } else if (m_Controllers.size() == 2) {
        // The first controller's own domain objects take the second's ports, so the first
        // controller sees them too from now on. A domain only the second has is dropped.
        m_ArrayFaultDomainsVec = m_Controllers[0]->getFaultDomainConfigurationData();
        const auto others = m_Controllers[1]->getFaultDomainConfigurationData();
        for (const auto& domain : m_ArrayFaultDomainsVec) {
            if (!domain)
                continue;
            for (const auto& other : others) {
                if (!other || other->getFaultDomainID() != domain->getFaultDomainID())
                    continue;
                for (const auto& port : other->getPortConfigurationData())
                    domain->addPortConfigurationData(port);
            }
        }
    } else {
        ZelOutputDebugError(HERE, "Invalid controller count (%d) found for array %s: ",
                            static_cast<int>(m_Controllers.size()), m_ServiceTag.c_str());
    }
    return m_ArrayFaultDomainsVec;
}

void CLSWVesperArray::CopySecondaryControllerInfoToPrimary() {
    if (m_Controllers.size() != 2)
        return;
    // Only the first is asked; when it is not primary the second is taken as primary.
    const bool firstIsPrimary = m_Controllers[0]->isPrimaryController();
    const auto& primary = firstIsPrimary ? m_Controllers[0] : m_Controllers[1];
    const auto& other = firstIsPrimary ? m_Controllers[1] : m_Controllers[0];

    if (primary->getCanisterId() == 1) {
        // The primary is the top controller: its own fields are the top ones already.
        primary->SetSecondaryEth0Ip4Address(other->getEth0Ip4Address());
        primary->SetSecondaryEth0Ip4Gateway(other->getEth0Ip4Gateway());
        primary->SetSecondaryEth0Ip4Netmask(other->getEth0Ip4Netmask());
        primary->SetSecondaryCtrlFaultDomainConfigurationData(
            other->getFaultDomainConfigurationData());
        primary->SetSecondaryBmcIp4Address(other->getBmcIp4Address());
        primary->SetSecondaryBmcIp4Gateway(other->getBmcIp4Gateway());
        primary->SetSecondaryBmcIp4Netmask(other->getBmcIp4Netmask());
        return;
    }

    // The primary is the bottom controller: its data moves to the secondary (bottom)
    // fields and the other's takes the top ones.
    const std::string ownAddress = primary->getEth0Ip4Address();
    const std::string ownGateway = primary->getEth0Ip4Gateway();
    const std::string ownNetmask = primary->getEth0Ip4Netmask();
    const auto ownDomains = primary->getFaultDomainConfigurationData();
    const std::string ownBmcAddress = primary->getBmcIp4Address();
    const std::string ownBmcGateway = primary->getBmcIp4Gateway();
    const std::string ownBmcNetmask = primary->getBmcIp4Netmask();

    primary->SetSecondaryEth0Ip4Address(ownAddress);
    primary->SetSecondaryEth0Ip4Gateway(ownGateway);
    primary->SetSecondaryEth0Ip4Netmask(ownNetmask);
    primary->SetSecondaryCtrlFaultDomainConfigurationData(ownDomains);
    primary->SetSecondaryBmcIp4Address(ownBmcAddress);
    primary->SetSecondaryBmcIp4Gateway(ownBmcGateway);
    primary->SetSecondaryBmcIp4Netmask(ownBmcNetmask);

    primary->setEth0Ip4Address(other->getEth0Ip4Address());
    primary->setEth0Ip4Gateway(other->getEth0Ip4Gateway());
    primary->setEth0Ip4Netmask(other->getEth0Ip4Netmask());
    primary->SetFaultDomainConfigurationData(other->getFaultDomainConfigurationData());

    // The management processor's fields are not swapped: the other's values overwrite
    // the secondary ones just set, and the primary keeps its own in the top fields.
    primary->SetSecondaryBmcIp4Address(other->getBmcIp4Address());
    primary->SetSecondaryBmcIp4Gateway(other->getBmcIp4Gateway());
    primary->SetSecondaryBmcIp4Netmask(other->getBmcIp4Netmask());
}

// ---- Operations that reach the manager --------------------------------------------------

ApiResult CLSWVesperArray::initialize() {
    ApiResult result;
    result.resultCode = -1;
    const long code = Validate(result.resultMsg);
    if (code != 0) {
        ZelOutputDebugError(HERE, "Invalid configuration request: %s.", result.resultMsg.c_str());
        result.resultCode = code;
        return result;
    }
    CopySecondaryControllerInfoToPrimary();
    CLSWConfigManager* manager = CLSWConfigManager::GetInstance();
    if (NoManager(manager, result))
        return result;
    result.resultCode = manager->InitializeVesperArray(this, result.resultMsg);
    return result;
}

ApiResult CLSWVesperArray::getInitializeStatus(
    std::shared_ptr<IlswConfigurationStatusResponse>& response) {
    ApiResult result;
    for (unsigned int index = 0; index < m_Controllers.size(); ++index) {
        std::shared_ptr<CLSWVesperController> controller = FindControllerByIndex(index);
        if (controller->isPrimaryController()) {
            result = controller->getInitializeStatus(response);
        } else {
            ZelOutputDebugPrint(HERE, "Ignoring secondary controller %s status",
                                controller->getSerialNumber().c_str());
        }
    }
    return result;
}

ApiResult CLSWVesperArray::preJoin() {
    ApiResult result;
    result.resultCode = -1;
    CLSWConfigManager* manager = CLSWConfigManager::GetInstance();
    if (NoManager(manager, result))
        return result;
    result.resultCode = manager->PreJoinArray(this, result.resultMsg);
    return result;
}
