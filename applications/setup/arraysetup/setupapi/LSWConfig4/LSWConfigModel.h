#ifndef LSWCONFIG4_LSWCONFIGMODEL_H
#define LSWCONFIG4_LSWCONFIGMODEL_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/LSWConfigAPI.h"
#include "zelutil/ZelIpAddress.h"

class CZelAdapter;
class PORTDataReader;
class FAULTDomainDataReader;
class FAULTDomainDataWriter;
class CONTROLLERPortDataReader;
class SetupAPIMessage;
class SETUPRequest;
class CLSWConfigManager;

// Checks on the addresses an operator gives a controller, and text-to-address helpers. Each
// check appends its reason to msg and traces it; none throws.
class CLSWCommonUtils {
public:
    static bool IsValidMemberIP(const CZelIpAddress& addr, std::string& msg, bool checkInUse);
    static bool IsValidSubnetMask(const CZelIpAddress& mask, std::string& msg);
    static bool IsValidGateway(const CZelIpAddress& ip, const CZelIpAddress& mask,
                               const CZelIpAddress& gateway, std::string& msg);
    static bool IsValidNetworkConf(const CZelIpAddress& ctrlIp, const CZelIpAddress& mgmtIp,
                                   const CZelIpAddress& mask, const CZelIpAddress& gateway,
                                   std::string& msg);
    // Three echo requests through the system's ping, whatever retries says.
    static bool IsHostPingable(const CZelIpAddress& addr, int retries);
    // printf into 1024 bytes; a longer result is cut.
    static std::string FormatString(const char* format, ...);
    // out is written only with a valid address of the wanted family.
    static bool ParseAddressString(bool wantIPv4, const std::string& text, CZelIpAddress& out);
    static void SetIP4(CZelIpAddress& addr, const char* bytes);
};

// Texts for the operator of this system's own result codes, from 1000 up.
class CErrorCodes {
public:
    static std::map<int, std::string> errorMap;
    static std::map<int, std::string> CreateErrorMap();
};

// The model answers 1001 when the facade cannot be had; nothing is thrown. True, with
// oResult filled and traced, when iManager is null.
bool NoManager(const CLSWConfigManager* iManager, ApiResult& oResult);

// ---- Port, fault domain and disk records ------------------------------------------------

// One front-end port as the controller reported it. Each address is kept as the text the
// operator sees and as a value; a text that is no IPv4 address leaves the value as it was.
class ClswPortConfigData : public IlswPortConfigData {
public:
    ClswPortConfigData() = default;
    ClswPortConfigData(const ClswPortConfigData& other) = default;

    unsigned int getSlotNumber() override { return m_SlotNumber; }
    unsigned int getSlotPortNumber() override { return m_SlotPortNumber; }
    unsigned int getControllerId() override { return m_ControllerId; }
    unsigned int getTransportType() override { return m_TransportType; }
    unsigned int getPortLocation() override { return m_PortLocation; }
    unsigned int getStatus() override { return m_Status; }
    unsigned int getControllerIndex() override { return m_ControllerIndex; }
    unsigned int getNetwork() override { return m_Network; }
    unsigned int getCardModel() override { return m_CardModel; }
    bool getConfigured() override { return m_Configured; }
    bool getEmbedded() override { return m_Embedded; }
    std::string getIpv4Address() override { return m_strIpv4Address; }
    std::string getIpv4NetMask() override { return m_strIpv4NetMask; }
    std::string getIpv4Gateway() override { return m_strIpv4Gateway; }
    void setNetwork(unsigned int network) override { m_Network = network; }
    void setConfigured(bool configured) override { m_Configured = configured; }
    void setIpv4Address(const std::string& address) override;
    void setIpv4NetMask(const std::string& netmask) override;
    void setIpv4Gateway(const std::string& gateway) override;

    // From the wire record; m_ControllerId is not part of it.
    virtual ClswPortConfigData& operator=(const PORTDataReader& reader);
    // Numbers but the card model, and the texts as they stand; the values are not copied.
    virtual void CopyFrom(std::shared_ptr<ClswPortConfigData> source);
    // Numbers but the controller id; the addresses through the setters.
    ClswPortConfigData& operator=(const ClswPortConfigData& other);

    // The values behind the texts, for the checks and the tests.
    const CZelIpAddress& GetIpv4AddressValue() const { return m_Ipv4Address; }
    const CZelIpAddress& GetIpv4NetMaskValue() const { return m_Ipv4NetMask; }
    const CZelIpAddress& GetIpv4GatewayValue() const { return m_Ipv4Gateway; }

private:
    unsigned int m_SlotNumber = 0;
    unsigned int m_SlotPortNumber = 0;
    unsigned int m_ControllerId = 0;
    unsigned int m_TransportType = 0;
    unsigned int m_PortLocation = 0;
    unsigned int m_Status = 0;
    unsigned int m_ControllerIndex = 0;
    unsigned int m_Network = 0;
    unsigned int m_CardModel = 0;
    bool m_Configured = false;
    bool m_Embedded = false;
    std::string m_strIpv4Address;
    std::string m_strIpv4NetMask;
    std::string m_strIpv4Gateway;
    CZelIpAddress m_Ipv4Address;
    CZelIpAddress m_Ipv4NetMask;
    CZelIpAddress m_Ipv4Gateway;
};

// A fault domain and its ports. Ports are shared: the same objects may hang from both
// controllers' lists and from the array's merged list.
class ClswFaultDomainConfigData : public IlswFaultDomainConfigData {
public:
    ClswFaultDomainConfigData() = default;
    ClswFaultDomainConfigData(const ClswFaultDomainConfigData& other) = default;

    unsigned int getFaultDomainID() override { return m_FaultDomainId; }
    std::string getIpv4Address() override { return m_strIpv4Address; }
    std::string getIpv4NetMask() override { return m_strIpv4NetMask; }
    std::string getIpv4Gateway() override { return m_strIpv4Gateway; }
    unsigned int getNumberOfPorts() override {
        return static_cast<unsigned int>(m_PortConfigurationData.size());
    }
    unsigned int getTransportType() override { return m_TransportType; }
    bool getEmbedded() override { return m_Embedded; }
    std::vector<std::shared_ptr<IlswPortConfigData>> getPortConfigurationData() override {
        return m_PortConfigurationData;
    }
    void setIpv4Address(const std::string& address) override { SetIPV4(address); }
    void setIpv4NetMask(const std::string& netmask) override { SetIPV4Netmask(netmask); }
    void setIpv4Gateway(const std::string& gateway) override { SetIPV4Gateway(gateway); }
    void addPortConfigurationData(std::shared_ptr<IlswPortConfigData> port) override;

    // From the wire record; its ports are appended to those already here.
    virtual ClswFaultDomainConfigData& operator=(const FAULTDomainDataReader& reader);
    // Keeps the source's port objects, and takes its gateway text for the netmask too.
    virtual void CopyFrom(std::shared_ptr<ClswFaultDomainConfigData> source);
    // Addresses through the setters; deep copies of the ports, appended.
    ClswFaultDomainConfigData& operator=(const ClswFaultDomainConfigData& other);
    void SetIPV4(std::string address);
    void SetIPV4Netmask(std::string netmask);
    void SetIPV4Gateway(std::string gateway);

    const CZelIpAddress& GetIpv4AddressValue() const { return m_Ipv4Address; }
    const CZelIpAddress& GetIpv4NetMaskValue() const { return m_Ipv4NetMask; }
    const CZelIpAddress& GetIpv4GatewayValue() const { return m_Ipv4Gateway; }

private:
    unsigned int m_FaultDomainId = 0;
    unsigned int m_TransportType = 0;
    std::string m_strIpv4Address;
    std::string m_strIpv4NetMask;
    std::string m_strIpv4Gateway;
    bool m_Embedded = false;
    CZelIpAddress m_Ipv4Address;
    CZelIpAddress m_Ipv4NetMask;
    CZelIpAddress m_Ipv4Gateway;
    std::vector<std::shared_ptr<IlswPortConfigData>> m_PortConfigurationData;
};

// One disk as the disk information exchange reported it.
class ClswDiskInfo : public IlswDiskInfo {
public:
    unsigned int getEnclosureIndex() override { return m_EnclosureIndex; }
    unsigned int getEnclosurePosition() override { return m_EnclosurePosition; }
    unsigned int getDiskStatus() override { return m_DiskStatus; }
    long long getDiskSize() override { return m_DiskSize; }
    bool getHealthy() override { return m_Healthy; }
    std::string getDiskClass() override { return m_DiskClass; }
    std::string getProduct() override { return m_Product; }
    std::string getRevision() override { return m_Revision; }

    void SetEnclosureIndex(unsigned int value) { m_EnclosureIndex = value; }
    void SetEnclosurePosition(unsigned int value) { m_EnclosurePosition = value; }
    void SetDiskStatus(unsigned int value) { m_DiskStatus = value; }
    void SetDiskSize(long long value) { m_DiskSize = value; }
    void SetHealthy(bool value) { m_Healthy = value; }
    void SetDiskClass(std::string value) { m_DiskClass = std::move(value); }
    void SetProduct(std::string value) { m_Product = std::move(value); }
    void SetRevision(std::string value) { m_Revision = std::move(value); }

private:
    unsigned int m_EnclosureIndex = 0;
    unsigned int m_EnclosurePosition = 0;
    unsigned int m_DiskStatus = 0;
    long long m_DiskSize = 0;
    bool m_Healthy = false;
    std::string m_DiskClass;
    std::string m_Product;
    std::string m_Revision;
};

// ---- Controller -------------------------------------------------------------------------

// One controller: what discovery found, what the operator wants, and the rules that judge
// it. Setters never fail: a text is kept as given and judged in Validate.
class CLSWVesperController : public IlswVesperController,
                             public std::enable_shared_from_this<CLSWVesperController> {
public:
    enum IdType { NONE = 0, INDEX = 1, HW = 2 };

    CLSWVesperController();
    ~CLSWVesperController() override;
    // Not copied: a copy would be one more plaintext of the password.
    CLSWVesperController(const CLSWVesperController&) = delete;
    CLSWVesperController& operator=(const CLSWVesperController&) = delete;

    // IlswController
    std::string getMacAddress() override { return m_MACAddrString; }
    unsigned short getProtocolVersion() override { return m_ProtocolVersion; }
    std::string getSerialNumber() override { return m_SerialNumber; }
    std::string getServiceTag() override { return m_ServiceTag; }
    unsigned short getProductFamily() override { return m_ProductFamily; }
    ClswDefs::SYSTargetType getProductVersion() override { return m_ProductVersion; }
    bool isInitialized() override { return m_IsInitialized; }
    bool isIpConfigured() override { return m_IsIpConfigured; }
    std::string getEthernetDev() override { return m_EthernetDev; }
    std::string getRaidLevel() override { return m_RaidLevel; }
    std::string getVersion() override { return m_Version; }
    ApiResult initialize() override;
    ApiResult getInitializeStatus(
        std::shared_ptr<IlswConfigurationStatusResponse>& response) override;
    ApiResult blinkController(unsigned short code,
                              std::shared_ptr<IlswBlinkResponse>& response) override;
    ApiResult getDiskInfo(std::vector<std::shared_ptr<IlswDiskInfo>>& disks) override;
    int getPublicKeyLength() override { return m_PublicKeyLength; }
    std::string getPublicKey() override { return m_PublicKey; }

    // IlswVesperController
    std::string getHardwareSn() override { return m_HardwareSN; }
    std::string getMgmtIp4Address() override { return m_MgmtIp4AddressString; }
    std::string getEth0Ip4Address() override { return m_Eth0Ip4AddressString; }
    std::string getEth0Ip4Netmask() override { return m_Eth0Ip4NetmaskString; }
    std::string getEth0Ip4Gateway() override { return m_Eth0Ip4GatewayString; }
    std::string getMgmtIp6Address() override { return m_MgmtIp6AddressString; }
    std::string getEth0Ip6Address() override { return m_Eth0Ip6AddressString; }
    std::string getScName() override { return m_SystemName; }
    std::string getDomainName() override { return m_DomainName; }
    std::string getPrimaryDns() override { return m_PrimaryDNSString; }
    std::string getSecondaryDns() override { return m_SecondaryDNSString; }
    short getControllerIndex() override { return m_ControllerIndex; }
    int getLicensedControllers() override { return m_LicensedControllers; }
    int getIscsiPorts() override { return m_iSCSIPorts; }
    std::string getEmailAddress() override { return m_EmailAddress; }
    int getCanisterId() override { return m_CanisterId; }
    int getBlinkValue() override { return m_BlinkValue; }
    unsigned int getDiscoveryErrorStatus() override { return m_DiscoveryErrorStatus; }
    unsigned int getControllerModelNum() override { return m_ControllerModelNum; }
    // The first fault domain that is not embedded decides, and is remembered.
    unsigned int getTransportType() override;
    bool getIndicator() override { return m_Indicator; }
    bool isPrimaryController() override { return m_ControllerIsPrimary; }
    bool IsUnifiedBlockFileEnabled() override { return m_IsUnifiedBlockFileEnabled; }
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>> getFaultDomainConfigurationData()
        override {
        return m_FaultDomainConfigDataVec;
    }
    void addFaultDomain(std::shared_ptr<IlswFaultDomainConfigData> domain) override;
    std::string getLocale() override { return m_Locale; }
    void setMgmtIp4Address(const std::string& text) override;
    void setEth0Ip4Address(const std::string& text) override;
    void setEth0Ip4Netmask(const std::string& text) override;
    void setEth0Ip4Gateway(const std::string& text) override;
    void setMgmtIp6Address(const std::string& text) override;
    void setEth0Ip6Address(const std::string& text) override;
    void setEth0Ip6AddrPrefix(unsigned short prefix) override;
    void setServiceTag(const std::string& text) override { m_ServiceTag = text; }
    void setControllerIndex(unsigned short index) override;
    void setHWAddress(const std::string& text) override { m_HardwareSN = text; }
    void setDomainName(const std::string& text) override { m_DomainName = text; }
    void setPrimaryDns(const std::string& text) override;
    void setSecondaryDns(const std::string& text) override;
    void setPassword(const std::string& text) override;
    void setScName(const std::string& text) override { m_SystemName = text; }
    void setEmailAddress(const std::string& text) override { m_EmailAddress = text; }
    void setLocale(const std::string& text) override { m_Locale = text; }
    void setBmcIp4Address(const std::string& text) override;
    void setBmcIp4Netmask(const std::string& text) override;
    void setBmcIp4Gateway(const std::string& text) override;
    void setBmcIp6Address(const std::string& text) override;
    void setBmcIp6Gateway(const std::string& text) override;

    // The management processor's addresses, as text.
    std::string getBmcIp4Address() { return m_BmcIp4AddressString; }
    std::string getBmcIp4Netmask() { return m_BmcIp4NetmaskString; }
    std::string getBmcIp4Gateway() { return m_BmcIp4GatewayString; }
    std::string getBmcIp6Address() { return m_BmcIp6AddressString; }
    // Answers the IPv6 address's text, not the gateway's; callers have always read it so.
    std::string getBmcIp6Gateway() { return m_BmcIp6AddressString; }

    // Values the controller reported in discovery. An address that is not valid (a
    // controller reports 0.0.0.0 for none) leaves the field and its text as they were.
    void SetMgmtIp4AddressFromController(const CZelIpAddress& address);
    void SetEth0Ip4AddressFromController(const CZelIpAddress& address);
    void SetEth0Ip4NetmaskFromController(const CZelIpAddress& address);
    void SetEth0Ip4GatewayFromController(const CZelIpAddress& address);
    void SetMgmtIp6AddressFromController(const CZelIpAddress& address);
    void SetPrimaryDNSFromController(const CZelIpAddress& address);
    void SetSecondaryDNSFromController(const CZelIpAddress& address);
    void SetBMCIPv4AddressFromController(const CZelIpAddress& address);
    void SetBMCIPv4NetmaskFromController(const CZelIpAddress& address);
    void SetBMCIPv4DefaultRouteFromController(const CZelIpAddress& address);
    void SetEth0Ip6AddressFromController(const CZelIpAddress& address);
    void SetEth0Ip6AddrPrefixFromController(unsigned short prefix);
    void SetMACAddressFromController(const unsigned char* mac);
    void SetDiskInfoFromController(const std::string& text);
    void SetSerialNumberFromController(const std::string& text) { m_SerialNumber = text; }
    void SetServiceTagFromController(const std::string& text) { m_ServiceTag = text; }
    void SetEthernetDevFromController(const std::string& text) { m_EthernetDev = text; }
    void SetRaidLevelFromController(const std::string& text) { m_RaidLevel = text; }
    void SetHardwareSNFromController(const std::string& text) { m_HardwareSN = text; }
    void SetVersionFromController(const std::string& text) { m_Version = text; }
    void SetSystemNameFromController(const std::string& text) { m_SystemName = text; }
    void SetDomainNameFromController(const std::string& text) { m_DomainName = text; }
    void SetLocaleFromController(const std::string& text) { m_Locale = text; }
    void SetProductVersionFromController(ClswDefs::SYSTargetType version) {
        m_ProductVersion = version;
    }
    void SetIsInitializedFromController(bool value) { m_IsInitialized = value; }
    void SetIsIpConfigured(bool value) { m_IsIpConfigured = value; }
    void SetProtocolVersion(unsigned short version) { m_ProtocolVersion = version; }
    void SetPublicKeyLength(int length) { m_PublicKeyLength = length; }
    void SetPublicKey(const std::string& key) { m_PublicKey = key; }
    void SetLicensedControllers(int count) { m_LicensedControllers = count; }
    void SetiSCSIPorts(int count) { m_iSCSIPorts = count; }
    void SetProductFamily(unsigned short family) { m_ProductFamily = family; }
    void SetCanisterId(int id) { m_CanisterId = id; }
    void SetBlinkValue(int value) { m_BlinkValue = value; }
    void SetDiscoveryErrorStatus(unsigned int status) { m_DiscoveryErrorStatus = status; }
    void SetControllerModelNum(unsigned int model) { m_ControllerModelNum = model; }
    void SetIsControllerPrimary(bool value) { m_ControllerIsPrimary = value; }
    void SetIsUnifiedBlockFileEnabled(bool value) { m_IsUnifiedBlockFileEnabled = value; }
    // Keeps a copy of the record: the list it comes from belongs to one facade call.
    void SetAdapterInfoFromController(CZelAdapter* adapter);
    // Appends one new fault domain for each that the reader holds.
    void SetControllerPortConfigData(CONTROLLERPortDataReader* reader);
    void SetFaultDomainConfigurationData(
        std::vector<std::shared_ptr<IlswFaultDomainConfigData>> domains);
    // Appends the other controller's own objects; called twice, the list doubles.
    void SetSecondaryCtrlFaultDomainConfigurationData(
        std::vector<std::shared_ptr<IlswFaultDomainConfigData>> domains);

    // The other controller's values, folded in before the setup request is built.
    void SetSecondaryEth0Ip4Address(const std::string& text);
    void SetSecondaryEth0Ip4Netmask(const std::string& text);
    void SetSecondaryEth0Ip4Gateway(const std::string& text);
    void SetSecondaryBmcIp4Address(const std::string& text);
    void SetSecondaryBmcIp4Netmask(const std::string& text);
    void SetSecondaryBmcIp4Gateway(const std::string& text);

    // 0, or the code of the first rule that fails with its text in msg.
    long Validate(std::string& msg);
    // Fills the TLV list of one setup request from this (primary) controller.
    void GetRequestData(SETUPRequest& request);

    const unsigned char* GetMACAddr() const { return m_MACAddress; }
    CZelAdapter* GetAdapterInfo() const { return m_Adapter.get(); }
    std::shared_ptr<CLSWVesperController> GetMySharedPtr() { return shared_from_this(); }
    IdType GetIdType();
    bool ParseAddressString(bool wantIPv4, const std::string& text, CZelIpAddress& out);
    void UpdateEth0Ip6AddrString();

    // The values behind the texts and the secondary fields, for the request and the tests.
    const CZelIpAddress& GetMgmtIp4AddressValue() const { return m_MgmtIp4Address; }
    const CZelIpAddress& GetEth0Ip4AddressValue() const { return m_Eth0Ip4Address; }
    const CZelIpAddress& GetEth0Ip4NetmaskValue() const { return m_Eth0Ip4Netmask; }
    const CZelIpAddress& GetEth0Ip4GatewayValue() const { return m_Eth0Ip4Gateway; }
    const CZelIpAddress& GetMgmtIp6AddressValue() const { return m_MgmtIp6Address; }
    const CZelIpAddress& GetEth0Ip6AddressValue() const { return m_Eth0Ip6Address; }
    unsigned short GetEth0Ip6AddrPrefix() const { return m_Eth0Ip6AddrPrefix; }
    const CZelIpAddress& GetPrimaryDNSValue() const { return m_PrimaryDNS; }
    const CZelIpAddress& GetSecondaryDNSValue() const { return m_SecondaryDNS; }
    const CZelIpAddress& GetBmcIp4AddressValue() const { return m_BmcIp4Address; }
    const CZelIpAddress& GetBmcIp4NetmaskValue() const { return m_BmcIp4Netmask; }
    const CZelIpAddress& GetBmcIp4GatewayValue() const { return m_BmcIp4Gateway; }
    const CZelIpAddress& GetSecondaryEth0Ip4AddressValue() const {
        return m_SecondaryEth0Ip4Address;
    }
    const CZelIpAddress& GetSecondaryEth0Ip4NetmaskValue() const {
        return m_SecondaryEth0Ip4Netmask;
    }
    const CZelIpAddress& GetSecondaryEth0Ip4GatewayValue() const {
        return m_SecondaryEth0Ip4Gateway;
    }
    const CZelIpAddress& GetSecondaryBmcIp4AddressValue() const { return m_SecondaryBmcIp4Address; }
    const CZelIpAddress& GetSecondaryBmcIp4NetmaskValue() const { return m_SecondaryBmcIp4Netmask; }
    const CZelIpAddress& GetSecondaryBmcIp4GatewayValue() const { return m_SecondaryBmcIp4Gateway; }
    const std::string& GetDiskInfoText() const { return m_DiskInfo; }
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>>
    GetSecondaryCtrlFaultDomainConfigurationData() const {
        return m_SecondaryCtrlFaultDomainConfigDataVec;
    }

private:
    // Stores a discovered address and its text when it is valid.
    void SetFromController(const CZelIpAddress& address, CZelIpAddress& field, std::string& text);
    // Stores the operator's text and parses it as IPv4, whatever the field's family.
    void SetFromOperator(const std::string& text, std::string& twin, CZelIpAddress& field);
    // Overwrites the administrator password before its memory is let go.
    void WipePassword();
    // The password row; left out when the key cannot be read or the block not encrypted.
    void AddPasswordToSetupTlv(SetupAPIMessage& message);
    void AddPortConfigDataToSetupTlv(SetupAPIMessage& message);
    void AddFDstoFaultDomainDataWriter(
        std::vector<std::unique_ptr<FAULTDomainDataWriter>>& writers,
        std::vector<std::shared_ptr<IlswFaultDomainConfigData>>& domains);
    void AddPortsToFD(FAULTDomainDataWriter& writer,
                      std::vector<std::shared_ptr<IlswPortConfigData>>& ports);

    unsigned char m_MACAddress[6] = {};
    std::string m_MACAddrString;
    unsigned short m_ProtocolVersion = 0;
    std::string m_SerialNumber;
    bool m_IsInitialized = false;
    bool m_IsIpConfigured = false;
    std::string m_EthernetDev;
    std::string m_RaidLevel;
    std::string m_Version;
    std::string m_ServiceTag;
    std::string m_DiskInfo;
    std::string m_HardwareSN;
    ClswDefs::SYSTargetType m_ProductVersion = ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_UNKNOWN;
    unsigned short m_ProductFamily = 0;
    std::string m_SystemName;
    std::string m_DomainName;
    short m_ControllerIndex = -1;  // -1: no index, so GetIdType can answer NONE
    CZelIpAddress m_MgmtIp4Address;
    CZelIpAddress m_Eth0Ip4Address;
    CZelIpAddress m_Eth0Ip4Netmask;
    CZelIpAddress m_Eth0Ip4Gateway;
    CZelIpAddress m_MgmtIp6Address;
    CZelIpAddress m_Eth0Ip6Address;
    unsigned short m_Eth0Ip6AddrPrefix = 0;
    CZelIpAddress m_SecondaryEth0Ip4Address;
    CZelIpAddress m_SecondaryEth0Ip4Netmask;
    CZelIpAddress m_SecondaryEth0Ip4Gateway;
    CZelIpAddress m_PrimaryDNS;
    CZelIpAddress m_SecondaryDNS;
    int m_PublicKeyLength = 0;
    std::string m_PublicKey;
    std::string m_Password;
    std::string m_EmailAddress;
    std::string m_Locale;
    int m_LicensedControllers = 0;
    int m_iSCSIPorts = 0;
    int m_CanisterId = 0;
    int m_BlinkValue = -1;
    unsigned int m_DiscoveryErrorStatus = 0;
    unsigned int m_ControllerModelNum = 999;
    bool m_ControllerIsPrimary = false;
    bool m_IsUnifiedBlockFileEnabled = false;
    unsigned int m_TransportType = 0;
    bool m_Indicator = false;
    std::string m_MgmtIp4AddressString;
    std::string m_Eth0Ip4AddressString;
    std::string m_Eth0Ip4NetmaskString;
    std::string m_Eth0Ip4GatewayString;
    std::string m_MgmtIp6AddressString;
    std::string m_Eth0Ip6AddressString;
    std::string m_PrimaryDNSString;
    std::string m_SecondaryDNSString;
    std::string m_BmcIp4AddressString;
    std::string m_BmcIp4NetmaskString;
    std::string m_BmcIp4GatewayString;
    std::string m_BmcIp6AddressString;
    std::string m_BmcIp6GatewayString;
    CZelIpAddress m_BmcIp4Address;
    CZelIpAddress m_BmcIp4Netmask;
    CZelIpAddress m_BmcIp4Gateway;
    CZelIpAddress m_BmcIp6Address;
    CZelIpAddress m_BmcIp6Gateway;
    CZelIpAddress m_SecondaryBmcIp4Address;
    CZelIpAddress m_SecondaryBmcIp4Netmask;
    CZelIpAddress m_SecondaryBmcIp4Gateway;
    std::string m_DefaultGatewayString = "0.0.0.0";  // stands for "no gateway"
    std::string m_LocalizedParam;
    // The adapter it was found through, as its own copy: every facade call enumerates the
    // adapters anew and frees them again, and the controller is used across calls.
    std::shared_ptr<CZelAdapter> m_Adapter;
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>> m_FaultDomainConfigDataVec;
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>> m_SecondaryCtrlFaultDomainConfigDataVec;
};

// ---- Arrays -----------------------------------------------------------------------------

class CLSWArray : public IlswArray {
public:
    CLSWArray() = default;

    // Discovery's way in: keeps the array sorted and its state current.
    virtual void AddControllerInternal(std::shared_ptr<IlswController> controller) = 0;
    virtual void SetHostInfo(CZelAdapter* adapter) = 0;
    virtual const unsigned char* AdapterAddr() { return m_hostMAC; }

protected:
    unsigned char m_hostMAC[6] = {};
};

// The controllers that share a service tag, in the order of their hardware serials.
class CLSWVesperArray : public CLSWArray {
public:
    CLSWVesperArray() = default;
    explicit CLSWVesperArray(const std::string& id) : m_ServiceTag(id) {}

    std::string getArrayId() override { return m_ServiceTag; }
    unsigned short getProductFamily() override;
    ClswDefs::SYSTargetType getProductVersion() override;
    ClswDefs::Status getArrayState() override { return m_Status; }
    ClswDefs::IPConfigured getIpConfigured() override { return m_IpConfigured; }
    std::string getArrayName() override { return m_SystemName; }
    unsigned int getControllerCount() override {
        return static_cast<unsigned int>(m_Controllers.size());
    }
    std::shared_ptr<IlswController> getController(unsigned int index) override;
    std::vector<std::shared_ptr<IlswVesperController>> getControllers() override;
    std::string getHostAdapter() override { return m_HostInfo; }
    std::string getHostMac() override;
    bool addController(std::shared_ptr<IlswController> controller) override;
    ApiResult initialize() override;
    ApiResult getInitializeStatus(
        std::shared_ptr<IlswConfigurationStatusResponse>& response) override;
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>> getFaultDomainConfigurationData()
        override;
    void setLocale(const std::string& locale) override { m_Locale = locale; }
    std::string getLocale() override { return m_Locale; }
    ApiResult preJoin() override;
    bool isPreJoinAvailable() override { return true; }

    void AddControllerInternal(std::shared_ptr<IlswController> controller) override;
    void SetHostInfo(CZelAdapter* adapter) override;

    std::shared_ptr<CLSWVesperController> FindControllerByIndex(unsigned int index);
    std::shared_ptr<CLSWVesperController> FindControllerByHW(const std::string& hardwareSn);
    void AddVesperController(std::shared_ptr<CLSWVesperController> controller);
    void UpdateArrayState();
    long Validate(std::string& msg);
    // Folds the second controller's settings into the primary's secondary fields, so that
    // one request to the primary configures the pair.
    void CopySecondaryControllerInfoToPrimary();
    bool IsFaultDomainAdded(std::vector<std::shared_ptr<IlswFaultDomainConfigData>>& domains,
                            const std::shared_ptr<IlswFaultDomainConfigData>& domain) const;

private:
    std::vector<std::shared_ptr<CLSWVesperController>> m_Controllers;
    std::string m_ServiceTag;
    std::string m_SystemName;
    ClswDefs::Status m_Status = ClswDefs::INCOMPLETE;
    ClswDefs::IPConfigured m_IpConfigured = ClswDefs::IP_NOT_CONFIGURED;
    std::string m_HostInfo;
    std::string m_HostMAC;
    std::string m_Locale;
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>> m_ArrayFaultDomainsVec;
};

#endif
