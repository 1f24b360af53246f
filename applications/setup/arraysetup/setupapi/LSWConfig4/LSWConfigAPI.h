#ifndef LSWCONFIG4_LSWCONFIGAPI_H
#define LSWCONFIG4_LSWCONFIGAPI_H

#include <memory>
#include <string>
#include <vector>

// What every operation that reaches a controller answers: 0 for success, else a status of
// the layer-2 side or an error code of CErrorCodes, with a text for the operator.
struct ApiResult {
    long resultCode = 0;
    std::string resultMsg;
};

class ClswDefs {
public:
    enum Status {
        INCOMPLETE = 0,
        READY = 1,
        PARTIAL_INIT = 2,
        INITIALIZED = 3,
        INIT_ERROR = 4,
    };
    enum IPConfigured {
        IP_NOT_CONFIGURED = 0,
        IP_CONFIGURED = 1,
        IP_PARTIALLY_CONFIGURED = 2,
    };
    // The gaps in the numbers are the hardware's own. The model arrives from the wire as a
    // 16-bit number, so every int is a value of this type, not just the named ones.
    enum SYSTargetType : int {
        SYS_TARGET_QUILLBROOK_MODEL_UNKNOWN = 0,
        SYS_TARGET_QUILLBROOK_MODEL_10 = 1,
        SYS_TARGET_QUILLBROOK_MODEL_20 = 2,
        SYS_TARGET_QUILLBROOK_MODEL_30 = 4,
        SYS_TARGET_QUILLBROOK_MODEL_40 = 5,
        SYS_TARGET_QUILLBROOK_MODEL_QB8000 = 6,
        SYS_TARGET_QUILLBROOK_MODEL_QB4000 = 8,
        SYS_TARGET_QUILLBROOK_MODEL_EHV = 9,
        SYS_TARGET_QUILLBROOK_MODEL_VMWARE = 10,
        SYS_TARGET_QUILLBROOK_MODEL_QB2000 = 11,
        SYS_TARGET_QUILLBROOK_MODEL_QB9000 = 12,
        SYS_TARGET_QUILLBROOK_MODEL_QB7000 = 13,
        SYS_TARGET_QUILLBROOK_MODEL_QB5000 = 14,
    };
};

class IlswController;
class IlswVesperController;

class IlswPortConfigData {
public:
    virtual ~IlswPortConfigData() = default;
    virtual unsigned int getSlotNumber() = 0;
    virtual unsigned int getSlotPortNumber() = 0;
    virtual unsigned int getControllerId() = 0;
    virtual unsigned int getTransportType() = 0;
    virtual unsigned int getPortLocation() = 0;
    virtual unsigned int getStatus() = 0;
    virtual unsigned int getControllerIndex() = 0;
    virtual unsigned int getNetwork() = 0;
    virtual unsigned int getCardModel() = 0;
    virtual bool getConfigured() = 0;
    virtual bool getEmbedded() = 0;
    virtual std::string getIpv4Address() = 0;
    virtual std::string getIpv4NetMask() = 0;
    virtual std::string getIpv4Gateway() = 0;
    virtual void setNetwork(unsigned int network) = 0;
    virtual void setConfigured(bool configured) = 0;
    virtual void setIpv4Address(const std::string& address) = 0;
    virtual void setIpv4NetMask(const std::string& netmask) = 0;
    virtual void setIpv4Gateway(const std::string& gateway) = 0;
};

class IlswFaultDomainConfigData {
public:
    virtual ~IlswFaultDomainConfigData() = default;
    virtual unsigned int getFaultDomainID() = 0;
    virtual std::string getIpv4Address() = 0;
    virtual std::string getIpv4NetMask() = 0;
    virtual std::string getIpv4Gateway() = 0;
    virtual unsigned int getNumberOfPorts() = 0;
    virtual unsigned int getTransportType() = 0;
    virtual bool getEmbedded() = 0;
    virtual std::vector<std::shared_ptr<IlswPortConfigData>> getPortConfigurationData() = 0;
    virtual void setIpv4Address(const std::string& address) = 0;
    virtual void setIpv4NetMask(const std::string& netmask) = 0;
    virtual void setIpv4Gateway(const std::string& gateway) = 0;
    virtual void addPortConfigurationData(std::shared_ptr<IlswPortConfigData> port) = 0;
};

class IlswDiskInfo {
public:
    virtual ~IlswDiskInfo() = default;
    virtual unsigned int getEnclosureIndex() = 0;
    virtual unsigned int getEnclosurePosition() = 0;
    virtual unsigned int getDiskStatus() = 0;
    virtual long long getDiskSize() = 0;
    virtual bool getHealthy() = 0;
    virtual std::string getDiskClass() = 0;
    virtual std::string getProduct() = 0;
    virtual std::string getRevision() = 0;
};

class IlswBlinkResponse {
public:
    virtual ~IlswBlinkResponse() = default;
    virtual unsigned int getBlinkStatus() = 0;
};

class IlswConfigurationStepList {
public:
    virtual ~IlswConfigurationStepList() = default;
    virtual unsigned int getStepId() = 0;
    virtual unsigned int getStepStatus() = 0;
};

class IlswConfigurationStatusResponse {
public:
    virtual ~IlswConfigurationStatusResponse() = default;
    virtual unsigned int getConfigurationStatusResponseCode() = 0;
    virtual unsigned int getOrchestratorState() = 0;
    virtual std::string getErrorMessage() = 0;
    virtual std::vector<std::shared_ptr<IlswConfigurationStepList>> getConfigurationStepList() = 0;
};

class IlswArray {
public:
    virtual ~IlswArray() = default;
    virtual std::string getArrayId() = 0;
    virtual unsigned short getProductFamily() = 0;
    virtual ClswDefs::SYSTargetType getProductVersion() = 0;
    virtual ClswDefs::Status getArrayState() = 0;
    virtual ClswDefs::IPConfigured getIpConfigured() = 0;
    virtual std::string getArrayName() = 0;
    virtual unsigned int getControllerCount() = 0;
    virtual std::shared_ptr<IlswController> getController(unsigned int index) = 0;
    virtual std::vector<std::shared_ptr<IlswVesperController>> getControllers() = 0;
    virtual std::string getHostAdapter() = 0;
    virtual std::string getHostMac() = 0;
    virtual bool addController(std::shared_ptr<IlswController> controller) = 0;
    virtual ApiResult initialize() = 0;
    virtual ApiResult getInitializeStatus(
        std::shared_ptr<IlswConfigurationStatusResponse>& response) = 0;
    virtual std::vector<std::shared_ptr<IlswFaultDomainConfigData>>
    getFaultDomainConfigurationData() = 0;
    virtual void setLocale(const std::string& locale) = 0;
    virtual std::string getLocale() = 0;
    virtual ApiResult preJoin() = 0;
    virtual bool isPreJoinAvailable() = 0;
};

class IlswController {
public:
    virtual ~IlswController() = default;
    virtual std::string getMacAddress() = 0;
    virtual unsigned short getProtocolVersion() = 0;
    virtual std::string getSerialNumber() = 0;
    virtual std::string getServiceTag() = 0;
    virtual unsigned short getProductFamily() = 0;
    virtual ClswDefs::SYSTargetType getProductVersion() = 0;
    virtual bool isInitialized() = 0;
    virtual bool isIpConfigured() = 0;
    virtual std::string getEthernetDev() = 0;
    virtual std::string getRaidLevel() = 0;
    virtual std::string getVersion() = 0;
    virtual ApiResult initialize() = 0;
    virtual ApiResult getInitializeStatus(
        std::shared_ptr<IlswConfigurationStatusResponse>& response) = 0;
    virtual ApiResult blinkController(unsigned short code,
                                      std::shared_ptr<IlswBlinkResponse>& response) = 0;
    virtual ApiResult getDiskInfo(std::vector<std::shared_ptr<IlswDiskInfo>>& disks) = 0;
    virtual int getPublicKeyLength() = 0;
    virtual std::string getPublicKey() = 0;
};

class IlswVesperController : public IlswController {
public:
    virtual std::string getHardwareSn() = 0;
    virtual std::string getMgmtIp4Address() = 0;
    virtual std::string getEth0Ip4Address() = 0;
    virtual std::string getEth0Ip4Netmask() = 0;
    virtual std::string getEth0Ip4Gateway() = 0;
    virtual std::string getMgmtIp6Address() = 0;
    virtual std::string getEth0Ip6Address() = 0;
    virtual std::string getScName() = 0;
    virtual std::string getDomainName() = 0;
    virtual std::string getPrimaryDns() = 0;
    virtual std::string getSecondaryDns() = 0;
    virtual short getControllerIndex() = 0;
    virtual int getLicensedControllers() = 0;
    virtual int getIscsiPorts() = 0;
    virtual std::string getEmailAddress() = 0;
    virtual int getCanisterId() = 0;
    virtual int getBlinkValue() = 0;
    virtual unsigned int getDiscoveryErrorStatus() = 0;
    virtual unsigned int getControllerModelNum() = 0;
    virtual unsigned int getTransportType() = 0;
    virtual bool getIndicator() = 0;
    virtual bool isPrimaryController() = 0;
    virtual bool IsUnifiedBlockFileEnabled() = 0;
    virtual std::vector<std::shared_ptr<IlswFaultDomainConfigData>>
    getFaultDomainConfigurationData() = 0;
    virtual void addFaultDomain(std::shared_ptr<IlswFaultDomainConfigData> domain) = 0;
    virtual std::string getLocale() = 0;
    virtual void setMgmtIp4Address(const std::string& text) = 0;
    virtual void setEth0Ip4Address(const std::string& text) = 0;
    virtual void setEth0Ip4Netmask(const std::string& text) = 0;
    virtual void setEth0Ip4Gateway(const std::string& text) = 0;
    virtual void setMgmtIp6Address(const std::string& text) = 0;
    virtual void setEth0Ip6Address(const std::string& text) = 0;
    virtual void setEth0Ip6AddrPrefix(unsigned short prefix) = 0;
    virtual void setServiceTag(const std::string& text) = 0;
    virtual void setControllerIndex(unsigned short index) = 0;
    virtual void setHWAddress(const std::string& text) = 0;
    virtual void setDomainName(const std::string& text) = 0;
    virtual void setPrimaryDns(const std::string& text) = 0;
    virtual void setSecondaryDns(const std::string& text) = 0;
    virtual void setPassword(const std::string& text) = 0;
    virtual void setScName(const std::string& text) = 0;
    virtual void setEmailAddress(const std::string& text) = 0;
    virtual void setLocale(const std::string& text) = 0;
    virtual void setBmcIp4Address(const std::string& text) = 0;
    virtual void setBmcIp4Netmask(const std::string& text) = 0;
    virtual void setBmcIp4Gateway(const std::string& text) = 0;
    virtual void setBmcIp6Address(const std::string& text) = 0;
    virtual void setBmcIp6Gateway(const std::string& text) = 0;
};

// The small response objects.
class ClswBlinkResponse : public IlswBlinkResponse {
public:
    explicit ClswBlinkResponse(unsigned int status) : m_BlinkStatus(status) {}
    unsigned int getBlinkStatus() override { return m_BlinkStatus; }

private:
    unsigned int m_BlinkStatus;
};

class ClswConfigurationStepList : public IlswConfigurationStepList {
public:
    unsigned int getStepId() override { return m_StepId; }
    unsigned int getStepStatus() override { return m_StepStatus; }
    void SetStepId(unsigned int id) { m_StepId = id; }
    void SetStepStatus(unsigned int status) { m_StepStatus = status; }

private:
    unsigned int m_StepId = 0;
    unsigned int m_StepStatus = 0;
};

class ClswConfigurationStatusResponse : public IlswConfigurationStatusResponse {
public:
    unsigned int getConfigurationStatusResponseCode() override {
        return m_ConfigStatusResponseCode;
    }
    unsigned int getOrchestratorState() override { return m_OrchestratorState; }
    std::string getErrorMessage() override { return m_ErrorMessage; }
    std::vector<std::shared_ptr<IlswConfigurationStepList>> getConfigurationStepList() override {
        return m_ConfigStepList;
    }
    void SetConfigurationState(unsigned int state) { m_ConfigStatusResponseCode = state; }
    void SetOrchestratorState(unsigned int state) { m_OrchestratorState = state; }
    void SetErrorMessage(std::string message) { m_ErrorMessage = std::move(message); }
    void AddConfigurationStep(std::shared_ptr<ClswConfigurationStepList>& step) {
        if (step)
            m_ConfigStepList.push_back(step);
    }

private:
    unsigned int m_ConfigStatusResponseCode = 0;
    unsigned int m_OrchestratorState = 0;
    std::vector<std::shared_ptr<IlswConfigurationStepList>> m_ConfigStepList;
    std::string m_ErrorMessage;
};

// The model's public way in: each creator makes the one implementation of an interface.
class ClswConfigFactory {
public:
    static std::shared_ptr<IlswVesperController> getVesperController();
    static std::shared_ptr<IlswArray> getVesperArray(const std::string& id);
    static std::shared_ptr<IlswConfigurationStatusResponse> getConfigurationStatusResponseObj();
    static std::shared_ptr<IlswBlinkResponse> getBlinkResponseObj();
    static std::shared_ptr<IlswPortConfigData> getPortConfigDataObj();
    static std::shared_ptr<IlswFaultDomainConfigData> getFaultDomainConfigDataObj();
};

#endif
