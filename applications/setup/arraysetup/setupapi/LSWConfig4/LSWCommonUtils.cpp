#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "LSWConfig4/LSWConfigModel.h"
#include "zelutil/ZelTrace.h"

namespace {

const unsigned int kAddrTextSize = 128;

// A reason followed by the address's own text.
std::string WithAddress(const char* reason, const CZelIpAddress& addr) {
    char text[kAddrTextSize];
    ipAddrToString(&addr, text, sizeof(text));
    return std::string(reason) + text;
}

}  // namespace

bool CLSWCommonUtils::IsValidMemberIP(const CZelIpAddress& addr, std::string& msg,
                                      bool checkInUse) {
    unsigned char octet[4];
    FillAddr(octet, addr);
    const char* reason = nullptr;
    if (octet[0] == 0) {
        reason = "Invalid Address: ";
    } else if (octet[0] == 127) {
        reason = "Invalid loopback Address: ";
    } else if (octet[0] >= 224) {
        reason = "Invalid Address class provided: ";
    } else if (octet[3] == 0 || octet[3] == 255) {
        // The last octet alone decides, whatever the netmask.
        reason = "Invalid, Broadcast Address provided: ";
    } else if (checkInUse && IsHostPingable(addr, 1)) {
        reason = "Invalid, address already in use: ";
    }
    if (reason == nullptr)
        return true;
    std::string line = WithAddress(reason, addr);
    ZelOutputDebugError(HERE, "%s", line.c_str());
    msg += line;
    return false;
}

bool CLSWCommonUtils::IsValidSubnetMask(const CZelIpAddress& mask, std::string& msg) {
    static const unsigned char kBoundaries[] = {0x00, 0x80, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE};
    const unsigned char* bytes = mask.v6;
    const size_t count = mask.is_IPv4() ? 4 : 16;
    const char* reason = nullptr;
    if (bytes[0] == 0) {
        reason = "Invalid Subnet mask, leading zero: ";
    } else {
        size_t i = 0;
        while (i < count && bytes[i] == 0xFF)
            ++i;
        if (i < count) {
            if (memchr(kBoundaries, bytes[i], sizeof(kBoundaries)) == nullptr) {
                reason = "Invalid Subnet mask, Invalid octets: ";
            }
            for (++i; reason == nullptr && i < count; ++i) {
                if (bytes[i] != 0)
                    reason = "Invalid Subnet mask, Invalid octets: ";
            }
        }
    }
    if (reason == nullptr)
        return true;
    std::string line = WithAddress(reason, mask);
    ZelOutputDebugError(HERE, "%s", line.c_str());
    msg += line;
    return false;
}

bool CLSWCommonUtils::IsValidGateway(const CZelIpAddress& ip, const CZelIpAddress& mask,
                                     const CZelIpAddress& gateway, std::string& msg) {
    // These two texts carry no address behind them.
    const char* reason = nullptr;
    if ((ip.v4 & mask.v4) != (gateway.v4 & mask.v4)) {
        reason = "Invalid Gateway, on different subnet: ";
    } else if (ip.v4 == gateway.v4) {
        reason = "Invalid Gateway, same as address: ";
    }
    if (reason == nullptr)
        return true;
    ZelOutputDebugError(HERE, "%s", reason);
    msg += reason;
    return false;
}

bool CLSWCommonUtils::IsValidNetworkConf(const CZelIpAddress& ctrlIp, const CZelIpAddress& mgmtIp,
                                         const CZelIpAddress& mask, const CZelIpAddress& gateway,
                                         std::string& msg) {
    const char* reason = nullptr;
    if (ctrlIp.v4 == mgmtIp.v4) {
        reason = "Management Address same as Controller Address. ";
    } else if ((mgmtIp.v4 & mask.v4) != (ctrlIp.v4 & mask.v4)) {
        reason = "Management Address must be on the same subnet as Controller Address. ";
    } else if (mgmtIp.v4 == gateway.v4) {
        reason = "Management Address same as Controller Gateway Address. ";
    }
    if (reason == nullptr)
        return true;
    ZelOutputDebugError(HERE, "%s", reason);
    msg += reason;
    return false;
}

bool CLSWCommonUtils::IsHostPingable(const CZelIpAddress& addr, int /*retries*/) {
    // The text comes from the address value, never from the operator, so it is safe to hand
    // to the shell.
    char text[kAddrTextSize];
    ipAddrToString(&addr, text, sizeof(text));
    std::string command = std::string("ping -c 3 ") + text + " > /tmp/ping.out 2>&1";
    return system(command.c_str()) == 0;
}

std::string CLSWCommonUtils::FormatString(const char* format, ...) {
    if (format == nullptr)
        return std::string();
    char buffer[1024];
    va_list args;
    va_start(args, format);
    int n = vsnprintf(buffer, sizeof(buffer), format, args);
    va_end(args);
    if (n < 0)
        return std::string();
    return std::string(buffer);
}

bool CLSWCommonUtils::ParseAddressString(bool wantIPv4, const std::string& text,
                                         CZelIpAddress& out) {
    CZelIpAddress addr;
    if (ipStringToAddr(&addr, text.c_str()))
        return false;
    if (!addr.valid() || addr.is_IPv4() != wantIPv4)
        return false;
    out = addr;
    return true;
}

void CLSWCommonUtils::SetIP4(CZelIpAddress& addr, const char* bytes) {
    ::SetIP4(addr, bytes);
}
