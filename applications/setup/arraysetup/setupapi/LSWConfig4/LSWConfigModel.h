#ifndef LSWCONFIG4_LSWCONFIGMODEL_H
#define LSWCONFIG4_LSWCONFIGMODEL_H

#include <map>
#include <string>

#include "zelutil/ZelIpAddress.h"

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

#endif
