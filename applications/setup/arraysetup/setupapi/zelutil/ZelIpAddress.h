#ifndef ZELUTIL_ZELIPADDRESS_H
#define ZELUTIL_ZELIPADDRESS_H

#include <netinet/in.h>

#include <cstddef>
#include <cstdint>
#include <string>

// Family numbers of the address value. They are the value's own: 24 is not the platform's
// AF_INET6, which is what the conversion calls get.
#define ZEL_IP_ADDRESS_INET 2
#define ZEL_INET 2
#define ZEL_IP_ADDRESS_INET6 24
#define ZEL_INET6 24
#define ZEL_IP_ADDRESS_PRINTABLE_SIZE 40
#define PRINTABLE_SIZE 40
#define ZEL_INADDR_NONE 4294967295u

#define ZEL_IP_ADDRESS_SIZE 20

#pragma pack(push, 1)

// An IPv4 or IPv6 address, compared and copied as its bytes: every byte a value does not use
// is zero. The address is in network order, first octet at the lowest byte.
typedef struct ZEL_IP_ADDRESS_s {
    union {
        unsigned char all[ZEL_IP_ADDRESS_SIZE];
        struct {
            uint8_t sa_family;  // 0 none, ZEL_INET, ZEL_INET6
            uint8_t reserved;   // always 0
            uint16_t port;      // always 0
            union {
                uint32_t v4;
                unsigned char v6[16];
                uint16_t __u6_addr16[8];
            };
        };
    };
} ZEL_IP_ADDRESS_t;

#pragma pack(pop)

static_assert(sizeof(ZEL_IP_ADDRESS_t) == ZEL_IP_ADDRESS_SIZE, "address value is 20 bytes");
static_assert(offsetof(ZEL_IP_ADDRESS_t, sa_family) == 0 &&
                  offsetof(ZEL_IP_ADDRESS_t, reserved) == 1 &&
                  offsetof(ZEL_IP_ADDRESS_t, port) == 2 && offsetof(ZEL_IP_ADDRESS_t, v4) == 4 &&
                  offsetof(ZEL_IP_ADDRESS_t, v6) == 4,
              "family, reserved byte, port, then the address");

extern const ZEL_IP_ADDRESS_t zelAddr_zero;
#define ZEL_NULL_IP_ADDRESS zelAddr_zero
extern const ZEL_IP_ADDRESS_t zelAddr4_any;
extern const ZEL_IP_ADDRESS_t zelAddr6_any;
extern const ZEL_IP_ADDRESS_t zelAddr4_none;
extern const ZEL_IP_ADDRESS_t zelAddr6_none;
extern const ZEL_IP_ADDRESS_t zelAddr6_mask;
extern const ZEL_IP_ADDRESS_t zelAddr4_loopback;
extern const ZEL_IP_ADDRESS_t zelAddr6_loopback;
extern const ZEL_IP_ADDRESS_t zelAddr6_loopback_linklocal;

class CZelIpAddress : public ZEL_IP_ADDRESS_s {
public:
    CZelIpAddress() { zero(); }
    CZelIpAddress(const ZEL_IP_ADDRESS_t& other);  // NOLINT: a plain value converts freely
    // Parses text of the given family (ZEL_INET or ZEL_INET6); zero on failure.
    CZelIpAddress(int family, const char* text);
    CZelIpAddress& operator=(const ZEL_IP_ADDRESS_t& other);

    // Text of the given family (ZEL_INET or ZEL_INET6) into the value. False, and a value
    // that holds the family and a zero address, when the text is not an address; any other
    // family leaves the value zero.
    bool set(int family, const char* text);
    // Family and text; text must hold ZEL_IP_ADDRESS_PRINTABLE_SIZE bytes and is empty when
    // the value has no text. False when there is no text.
    bool get(int& family, char* text) const;

    void set_IPv4(uint32_t addr);
    void set_IPv4(in_addr addr) { set_IPv4(static_cast<uint32_t>(addr.s_addr)); }
    void set_IPv6(const unsigned char* addr);
    uint32_t get_IPv4() const { return v4; }

    bool is_IPv4() const { return sa_family == ZEL_INET; }
    bool is_IPv6() const { return sa_family == ZEL_INET6; }
    bool valid() const;
    bool isNull() const;
    // A known family with an all-zero address: 0.0.0.0 or ::.
    bool isAnyAddr() const;
    // 127.0.0.0/8 or ::1.
    bool isLoopback() const;
    void zero();

    // inet_pton of text into the address of the value's current family, keeping the family;
    // inet_pton's own result (1 success, 0 not an address, -1 no such family).
    int __inet_pton(const char* text);

    static CZelIpAddress Null() { return CZelIpAddress(zelAddr_zero); }

    operator ZEL_IP_ADDRESS_t*() { return this; }
    operator const ZEL_IP_ADDRESS_t*() const { return this; }

    bool operator==(const CZelIpAddress& other) const;
    bool operator!=(const CZelIpAddress& other) const { return !(*this == other); }
};

static_assert(sizeof(CZelIpAddress) == ZEL_IP_ADDRESS_SIZE, "CZelIpAddress adds no field");

// Text to address; the family is chosen from the text: any '.' is IPv4, else any ':' IPv6.
// True on failure. Text with neither leaves out untouched; a text that does not parse leaves
// the chosen family and a zero address.
bool zelAddrAtoN(ZEL_IP_ADDRESS_s* out, const char* text);
bool ipStringToAddr(CZelIpAddress* out, const char* text);

// Text of an address, in a static buffer overwritten by the next call; null for a value of no
// known family.
const char* zelAddrNtoA(const ZEL_IP_ADDRESS_s* addr);

// Text of addr into buf, cut to size - 1 bytes and terminated; "Invalid" when there is none.
// Returns buf.
char* ipAddrToString(const ZEL_IP_ADDRESS_s* addr, char* buf, unsigned int size);

// The four stored bytes of v4, first octet first.
void FillAddr(unsigned char* out, const CZelIpAddress& addr);

// Four bytes that carry the last octet first, into a value in network order.
void SetIP4(CZelIpAddress& addr, const char* bytes);

// Text of a valid address; empty for any other.
std::string GetIpAddressStr(const CZelIpAddress& addr);

#define ZEL_IP_ADDRESS_STRING_SIZE 42

template <typename T>
class CZelIpAddressStringT;

// An address with its text, made once at construction.
template <>
class CZelIpAddressStringT<char> {
public:
    explicit CZelIpAddressStringT(const CZelIpAddress& addr) : m_ip(addr) { Fill(); }
    explicit CZelIpAddressStringT(ZEL_IP_ADDRESS_t& addr) : m_ip(addr) { Fill(); }
    explicit CZelIpAddressStringT(unsigned long addr) {
        m_ip.set_IPv4(static_cast<uint32_t>(addr));
        Fill();
    }

    operator char*() { return m_ipString; }
    operator const char*() const { return m_ipString; }
    CZelIpAddress toAddr() const { return m_ip; }

    CZelIpAddress m_ip;
    char m_ipString[ZEL_IP_ADDRESS_STRING_SIZE];

private:
    void Fill() { ipAddrToString(&m_ip, m_ipString, sizeof(m_ipString)); }
};

#define CZelIpAddressString CZelIpAddressStringT<char>

// Text of an address for the length of one full expression.
#define IPADDR_STRING(u) (static_cast<char*>(CZelIpAddressString(u)))

#endif
