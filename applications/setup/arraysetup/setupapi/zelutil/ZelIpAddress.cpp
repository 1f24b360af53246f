#include "zelutil/ZelIpAddress.h"

#include <arpa/inet.h>
#include <sys/socket.h>

#include <cstring>

// Each named value spells out its 20 bytes: family, reserved, port (2), address (16).
const ZEL_IP_ADDRESS_t zelAddr_zero = {{{0}}};
const ZEL_IP_ADDRESS_t zelAddr4_any = {{{ZEL_INET}}};
const ZEL_IP_ADDRESS_t zelAddr6_any = {{{ZEL_INET6}}};
const ZEL_IP_ADDRESS_t zelAddr4_none = {{{ZEL_INET, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}}};
const ZEL_IP_ADDRESS_t zelAddr6_none = {
    {{ZEL_INET6, 0,    0,    0,    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
      0xFF,      0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}};
const ZEL_IP_ADDRESS_t zelAddr6_mask = {
    {{ZEL_INET6, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}};
const ZEL_IP_ADDRESS_t zelAddr4_loopback = {{{ZEL_INET, 0, 0, 0, 127, 0, 0, 1}}};
const ZEL_IP_ADDRESS_t zelAddr6_loopback = {
    {{ZEL_INET6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}}};
const ZEL_IP_ADDRESS_t zelAddr6_loopback_linklocal = {
    {{ZEL_INET6, 0, 0, 0, 0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}}};

namespace {

// The platform's family number for a family of the value; 0 for none.
int PlatformFamily(int family) {
    if (family == ZEL_INET)
        return AF_INET;
    if (family == ZEL_INET6)
        return AF_INET6;
    return 0;
}

}  // namespace

CZelIpAddress::CZelIpAddress(const ZEL_IP_ADDRESS_t& other) {
    memcpy(all, other.all, sizeof(all));
}

CZelIpAddress::CZelIpAddress(int family, const char* text) {
    zero();
    set(family, text);
}

CZelIpAddress& CZelIpAddress::operator=(const ZEL_IP_ADDRESS_t& other) {
    memmove(all, other.all, sizeof(all));
    return *this;
}

bool CZelIpAddress::set(int family, const char* text) {
    zero();
    if (PlatformFamily(family) == 0 || text == nullptr)
        return false;
    sa_family = static_cast<uint8_t>(family);
    return __inet_pton(text) == 1;
}

bool CZelIpAddress::get(int& family, char* text) const {
    family = sa_family;
    const char* s = zelAddrNtoA(this);
    if (text != nullptr) {
        text[0] = '\0';
        if (s != nullptr) {
            size_t n = strnlen(s, ZEL_IP_ADDRESS_PRINTABLE_SIZE - 1);
            memcpy(text, s, n);
            text[n] = '\0';
        }
    }
    return s != nullptr;
}

void CZelIpAddress::set_IPv4(uint32_t addr) {
    zero();
    sa_family = ZEL_INET;
    v4 = addr;
}

void CZelIpAddress::set_IPv6(const unsigned char* addr) {
    zero();
    sa_family = ZEL_INET6;
    if (addr != nullptr)
        memcpy(v6, addr, sizeof(v6));
}

bool CZelIpAddress::valid() const {
    if (sa_family == ZEL_INET)
        return v4 != 0;
    if (sa_family == ZEL_INET6) {
        for (unsigned char b : v6) {
            if (b != 0)
                return true;
        }
    }
    return false;
}

bool CZelIpAddress::isNull() const {
    return memcmp(all, zelAddr_zero.all, sizeof(all)) == 0;
}

bool CZelIpAddress::isAnyAddr() const {
    return (sa_family == ZEL_INET || sa_family == ZEL_INET6) && !valid();
}

bool CZelIpAddress::isLoopback() const {
    if (sa_family == ZEL_INET)
        return v6[0] == 127;
    if (sa_family == ZEL_INET6)
        return memcmp(all, zelAddr6_loopback.all, sizeof(all)) == 0;
    return false;
}

void CZelIpAddress::zero() {
    memset(all, 0, sizeof(all));
}

int CZelIpAddress::__inet_pton(const char* text) {
    int af = PlatformFamily(sa_family);
    if (af == 0)
        return -1;
    if (text == nullptr)
        return 0;
    memset(v6, 0, sizeof(v6));
    unsigned char parsed[16] = {};
    int rc = inet_pton(af, text, parsed);
    if (rc == 1)
        memcpy(v6, parsed, af == AF_INET ? 4 : 16);
    return rc;
}

bool CZelIpAddress::operator==(const CZelIpAddress& other) const {
    return memcmp(all, other.all, sizeof(all)) == 0;
}

bool zelAddrAtoN(ZEL_IP_ADDRESS_s* out, const char* text) {
    if (out == nullptr || text == nullptr)
        return true;
    int family;
    if (strchr(text, '.') != nullptr) {
        family = ZEL_INET;
    } else if (strchr(text, ':') != nullptr) {
        family = ZEL_INET6;
    } else {
        return true;
    }
    memset(out->all, 0, sizeof(out->all));
    out->sa_family = static_cast<uint8_t>(family);
    unsigned char parsed[16] = {};
    if (inet_pton(PlatformFamily(family), text, parsed) != 1)
        return true;
    memcpy(out->v6, parsed, family == ZEL_INET ? 4 : 16);
    return false;
}

bool ipStringToAddr(CZelIpAddress* out, const char* text) {
    return zelAddrAtoN(out, text);
}

const char* zelAddrNtoA(const ZEL_IP_ADDRESS_s* addr) {
    // One buffer per thread: discovery threads turn addresses into text side by side.
    static thread_local char s_text6[ZEL_IP_ADDRESS_PRINTABLE_SIZE];
    if (addr == nullptr)
        return nullptr;
    if (addr->sa_family == ZEL_INET) {
        in_addr in;
        memcpy(&in.s_addr, addr->v6, 4);
        return inet_ntoa(in);
    }
    if (addr->sa_family == ZEL_INET6) {
        return inet_ntop(AF_INET6, addr->v6, s_text6, sizeof(s_text6));
    }
    return nullptr;
}

char* ipAddrToString(const ZEL_IP_ADDRESS_s* addr, char* buf, unsigned int size) {
    if (buf == nullptr)
        return nullptr;
    if (size == 0)
        return buf;  // no room even for the terminator
    const char* text = addr != nullptr ? zelAddrNtoA(addr) : nullptr;
    if (text == nullptr)
        text = "Invalid";
    size_t n = strnlen(text, size - 1);
    memcpy(buf, text, n);
    buf[n] = '\0';
    return buf;
}

void FillAddr(unsigned char* out, const CZelIpAddress& addr) {
    if (out != nullptr)
        memcpy(out, addr.v6, 4);
}

void SetIP4(CZelIpAddress& addr, const char* bytes) {
    if (bytes == nullptr)
        return;
    unsigned char reversed[4];
    for (int i = 0; i < 4; ++i)
        reversed[i] = static_cast<unsigned char>(bytes[3 - i]);
    uint32_t value;
    memcpy(&value, reversed, sizeof(value));
    addr.set_IPv4(value);
}

std::string GetIpAddressStr(const CZelIpAddress& addr) {
    if (!addr.valid())
        return std::string();
    const char* text = zelAddrNtoA(&addr);
    return text != nullptr ? std::string(text) : std::string();
}
