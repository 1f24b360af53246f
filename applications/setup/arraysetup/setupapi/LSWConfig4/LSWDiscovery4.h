#ifndef LSWCONFIG4_LSWDISCOVERY4_H
#define LSWCONFIG4_LSWDISCOVERY4_H

#include <sys/types.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/LSWConfigAPI.h"
#include "LSWConfig4/LSWExchange.h"
#include "LSWConfig4/setupMessage.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/tlvUtils.h"
#include "zelutil/ZelIpAddress.h"

typedef std::string STRING;

class CL2;
class CZelAdapter;
class DEVICEIoHandler;
class CLSWVesperController;
class SETUPTlvIterator;

// One HELLO_RSP as the wire gave it; lives for the handling of that one answer.
class CLSWControllerDiscovery4 {
public:
    CLSWControllerDiscovery4();

    // The platform filter, then the controller object.
    std::shared_ptr<IlswController> GetInfo(CZelAdapter* iAdapter, unsigned int iMask);
    bool IsControllerRequired(unsigned int iMask) const;
    std::shared_ptr<CLSWVesperController> GetVesperInfo(CZelAdapter* iAdapter);

    u_short ProtocolVersion = 0;
    unsigned char CtrlMACAddress[6] = {};
    bool IsInitialized = false;
    bool IsIPConfigured = false;
    STRING SerialNumber;
    STRING RaidLevel;
    uint16_t ProductFamily = 0;
    uint8_t MajorVersion = 0;
    uint8_t MinorVersion = 0;
    uint8_t MaintenanceVersion = 0;
    STRING Ethernet;
    STRING ServiceTag;
    STRING DiskInfo;
    ClswDefs::SYSTargetType ProductVersion = ClswDefs::SYS_TARGET_QUILLBROOK_MODEL_UNKNOWN;
    uint32_t VlanID = 0;
    bool HasVlanID = false;
    bool DCBOn = false;
    bool HasDCBOn = false;
    STRING HWSerialNumber;
    STRING SystemName;
    STRING DomainName;
    CZelIpAddress PrimaryDNS, SecondaryDNS;
    CZelIpAddress MgmtIp4Address, Eth0Ip4Address, Eth0Ip4Netmask, Eth0Ip4Gateway;
    CZelIpAddress Eth1Ip4Address, Eth1Ip4PeerAddress;
    CZelIpAddress MgmtIp6Address, Eth0Ip6Address;
    uint8_t Eth0Ip6AddrPrefix = 0;
    CZelIpAddress Eth1Ip6Address, Eth1Ip6PeerAddress;
    CZelIpAddress BMCIPv4Address, BMCIPv4DefaultRoute, BMCIPv4Netmask;
    uint32_t PublicKeyLength = 0;
    STRING PublicKey;
    uint32_t LicensedControllers = 0;
    uint32_t IscsiPorts = 0;
    uint32_t CanisterId = 0;
    int32_t BlinkValue = -1;
    uint32_t DiscoveryErrorStatus = 0;
    uint32_t ControllerModelNum = 999;
    bool IsControllerPrimary = false;
    bool IsUnifiedBlockFileEnabled = false;
    STRING LocalizationParameter;
    SCPortConfigDataReader mReader;
    ControllerInfoDataReader ctlreader;
};

std::shared_ptr<CLSWControllerDiscovery4> ParseHello4Data(SETUPTlvIterator* tlvIt,
                                                          unsigned short version);
// Four bytes in the reversed order of a HELLO_RSP into an address in network order.
void SetIP4(CZelIpAddress& address, const char* value);
void PrintIPAddress(unsigned char type, const CZelIpAddress& address);

// Finds the controllers on one adapter: both Hello requests, then every answer until the
// discovery time is over.
class CHello4 {
public:
    CHello4(CZelAdapter* iAdapter, unsigned short iMask);
    ~CHello4();
    CHello4(const CHello4&) = delete;
    CHello4& operator=(const CHello4&) = delete;

    int run(std::list<std::shared_ptr<IlswController>>& controllers, int timeout, STRING locale);
    // The same from the first request on, over a session already open and filtered.
    int run(DEVICEIoHandler& iDev, std::list<std::shared_ptr<IlswController>>& controllers,
            int timeout, STRING locale);
    void packet_handler(const std::shared_ptr<SetupAPIMessage>& msg,
                        std::list<std::shared_ptr<IlswController>>& controllers);
    bool validatePkt(const std::shared_ptr<SetupAPIMessage>& msg);
    bool chkPlatform(unsigned short platform);

private:
    CZelAdapter* m_adapter;
    std::unique_ptr<CL2> m_dev;
    uint32_t m_mask;
    std::vector<std::shared_ptr<SetupAPIMessage>> m_MsgVec;
};

// One setup request to one controller, and its one-byte status.
class CSetup : public CUnicastExchange {
public:
    CSetup(CZelAdapter* iAdapter, SETUPRequest* iRequest, const unsigned char* iMac);
    ~CSetup();

    int run(int setup_timeout);
    // The same from the null-request test on, over a session already open and filtered.
    int run(DEVICEIoHandler& iDev, int timeout);
    using CUnicastExchange::diag;
    int GetStatus() const { return m_status; }
    int packet_handler(std::shared_ptr<SETUPResponse> resp);
    bool validatePkt(std::shared_ptr<SETUPResponse> resp);

private:
    int m_status = -1;
};

// One configuration status poll.
class CPollMsg : public CUnicastExchange {
public:
    CPollMsg(CZelAdapter* iAdapter, CONFIGURATIONStatusRequest* iRequest,
             const unsigned char* iMac);
    ~CPollMsg();

    int run(int timeout);
    // The same from the null-request test on, over a session already open and filtered.
    int run(DEVICEIoHandler& iDev, int timeout);
    STRING GetErrorMessageText() const { return m_errorMessage; }
    int GetConfigurationStatusResponseCode() const {
        return static_cast<int>(m_ConfigStatusResponse);
    }
    unsigned int GetOrchestratorState() const { return m_OrchestratorState; }
    CONFIGURATIONStepReader& GetConfigurationStepReader() { return m_Reader; }
    using CUnicastExchange::diag;
    long int packet_handler(const std::shared_ptr<SetupAPIMessage>& msg);
    bool validatePkt(const std::shared_ptr<SetupAPIMessage>& msg);

private:
    uint32_t m_ConfigStatusResponse = 0;
    uint32_t m_OrchestratorState = 0;
    STRING m_errorMessage;
    CONFIGURATIONStepReader m_Reader;
};

// One disk list request; the answer may carry the plain and the extended list.
class CDiskInfo : public CUnicastExchange {
public:
    CDiskInfo(CZelAdapter* iAdapter, DISKConfigurationRequest* iRequest, const unsigned char* iMac);
    ~CDiskInfo();

    int run(int timeout);
    // The same from the null-request test on, over a session already open and filtered.
    int run(DEVICEIoHandler& iDev, int timeout);
    unsigned int GetErrorState() const { return m_ErrorState; }
    DISKConfigDataReader& GetDiskConfigDataReader() { return m_DiskReader; }
    DISKConfigExtra1DataReader& GetDiskConfigExtra1DataReader() {
        return m_DiskConfigExtra1DataReader;
    }
    using CUnicastExchange::diag;
    long int packet_handler(const std::shared_ptr<SetupAPIMessage>& msg);
    bool validatePkt(const std::shared_ptr<SetupAPIMessage>& msg);

private:
    DISKConfigDataReader m_DiskReader;
    DISKConfigExtra1DataReader m_DiskConfigExtra1DataReader;
    uint32_t m_ErrorState = 4294967295u;
};

// One blink command and the state it reports back.
class CBlink4 : public CUnicastExchange {
public:
    CBlink4(CZelAdapter* iAdapter, BLINKRequest* iRequest, const unsigned char* iMac);
    ~CBlink4();

    int run(int timeout);
    // The same from the null-request test on, over a session already open and filtered.
    int run(DEVICEIoHandler& iDev, int timeout);
    int getBlinkValue() const { return m_BlinkValue; }
    int getBlinkStatus() const { return m_status; }
    using CUnicastExchange::diag;
    int packet_handler(const std::shared_ptr<SetupAPIMessage>& msg);
    bool validatePkt(const std::shared_ptr<SetupAPIMessage>& msg);

private:
    int m_status = -1;  // a run without a reply reports a failure, not a 0
    int m_BlinkValue = 0;
};

// Fire and forget: nothing comes back.
class CPreJoin : public CUnicastExchange {
public:
    CPreJoin(CZelAdapter* iAdapter, PREJOINRequest* iRequest, const unsigned char* iMac);
    ~CPreJoin();

    int run();
    // The same from the null-request test on, over a session already open and filtered.
    int run(DEVICEIoHandler& iDev);

private:
    uint32_t m_mask = 0;
};

#endif
