#ifndef TESTS_TOOLS_CELLSIM_WIZARDSIDE_H
#define TESTS_TOOLS_CELLSIM_WIZARDSIDE_H

// The wizard's half of the exchanges, written for the tests on their own from the protocol's
// tables: reading a Hello response field by field, and making the password block and its
// ciphertext under the key a Hello carried.

#include <arpa/inet.h>
#include <openssl/decoder.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "LSWConfig4/ByteCursor.h"
#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/tlvUtils.h"
#include "support/CellsimProcess.h"

// The facts of one Hello response, as the wire gave them.
struct HelloFacts {
    std::map<int, int> seen;  // code -> how many entries
    std::string serviceTag, hardwareSerial, systemName, domainName, publicKey, ethernet, raid,
        locale;
    int productVersion = -1, productFamily = -1, vlan = -1, prefix = -1, keyLength = -1,
        licensed = -1, iscsi = -1, canister = -1, blink = -1, statusError = -1, modelNum = -1;
    int major = -1, minor = -1, maintenance = -1;
    bool dcb = false, ipConfigured = false, initialized = false, primary = false, unified = false;
    std::string mgmtIp, eth0Ip, eth0Netmask, eth0Gateway, dns1, dns2, bmcIp, bmcRoute, bmcNetmask,
        mgmtIpv6, eth0Ipv6;
    std::unique_ptr<SCPortConfigDataReader> ports;
};

// A Hello response carries IPv4 addresses last octet first.
inline std::string ReversedIPv4(const char* iValue, uint16_t iLen) {
    ByteCursor c(iValue, iLen);
    unsigned char b[4];
    if (!c.readBytes(b, 4))
        return "<short>";
    unsigned char n[4] = {b[3], b[2], b[1], b[0]};
    char t[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, n, t, sizeof(t));
    return t;
}

inline std::string IPv6Of(const char* iValue, uint16_t iLen) {
    ByteCursor c(iValue, iLen);
    unsigned char b[16];
    if (!c.readBytes(b, 16))
        return "<short>";
    char t[INET6_ADDRSTRLEN];
    inet_ntop(AF_INET6, b, t, sizeof(t));
    return t;
}

inline HelloFacts ReadHello(const SETUPTlv& iTlv) {
    HelloFacts h;
    h.ports = std::make_unique<SCPortConfigDataReader>();
    for (SETUPTlvIterator it(iTlv); it.getType() != 0; it.next()) {
        const char* v = it.getValue();
        const uint16_t len = it.getLen();
        ByteCursor c(v, len);
        std::string text(v, len);
        ++h.seen[it.getType()];
        switch (it.getType()) {
            case 1:
                h.serviceTag = text;
                break;
            case 3:
                h.productVersion = c.readLE16();
                break;
            case 4:
                h.vlan = c.readBE16();
                break;
            case 5:
                h.dcb = c.readU8() != 0;
                break;
            case 6:
                h.mgmtIp = ReversedIPv4(v, len);
                break;
            case 7:
                h.hardwareSerial = text;
                break;
            case 8:
                h.eth0Ip = ReversedIPv4(v, len);
                break;
            case 9:
                h.eth0Netmask = ReversedIPv4(v, len);
                break;
            case 10:
                h.eth0Gateway = ReversedIPv4(v, len);
                break;
            case 11:
                h.mgmtIpv6 = IPv6Of(v, len);
                break;
            case 12:
                h.eth0Ipv6 = IPv6Of(v, len);
                break;
            case 13:
                h.prefix = c.readBE16();
                break;
            case 14:
                h.systemName = text;
                break;
            case 15:
                h.domainName = text;
                break;
            case 16:
                h.dns1 = ReversedIPv4(v, len);
                break;
            case 17:
                h.dns2 = ReversedIPv4(v, len);
                break;
            case 18:
                h.keyLength = c.readLE16();
                break;
            case 19:
                h.publicKey = text;
                break;
            case 20:
                h.licensed = c.readLE16();
                break;
            case 21:
                h.iscsi = c.readLE16();
                break;
            case 22:
                h.productFamily = c.readLE16();
                break;
            case 23:
                h.ipConfigured = c.readU8() != 0;
                break;
            case 24:
                h.ethernet = text;
                break;
            case 25:
                h.raid = text;
                break;
            case 26:
                h.major = c.readU8();
                break;
            case 27:
                h.minor = c.readU8();
                break;
            case 28:
                h.maintenance = c.readU8();
                break;
            case 30:
                h.bmcIp = ReversedIPv4(v, len);
                break;
            case 32:
                h.bmcRoute = ReversedIPv4(v, len);
                break;
            case 34:
                h.canister = c.readLE16();
                break;
            case 35:
                h.ports->UnpackData(v, len);
                break;
            case 36:
                h.initialized = c.readU8() != 0;
                break;
            case 37:
                h.blink = c.readLE16();
                break;
            case 38:
                h.statusError = c.readLE16();
                break;
            case 39:
                h.modelNum = c.readLE16();
                break;
            case 40:
                h.primary = c.readU8() != 0;
                break;
            case 42:
                h.bmcNetmask = ReversedIPv4(v, len);
                break;
            case 44:
                h.unified = c.readU8() != 0;
                break;
            case 45:
                h.locale = text;
                break;
            default:
                break;
        }
    }
    return h;
}

// The password block as the wizard makes it: 245 bytes, the key text's first five bytes,
// the password cut to 239 bytes, zeros. iSpoil spoils it on purpose for the tests.
enum class BlockFault { None, WrongPrefix, DirtyPadding, ShortBlock };

inline std::vector<unsigned char> PasswordBlock(const std::string& iKeyPem,
                                                const std::string& iPassword,
                                                BlockFault iFault = BlockFault::None) {
    std::vector<unsigned char> block(iFault == BlockFault::ShortBlock ? 200 : 245, 0);
    memcpy(block.data(), iKeyPem.data(), 5);
    std::string pwd = iPassword.substr(0, 239);
    memcpy(block.data() + 5, pwd.data(), pwd.size());
    if (iFault == BlockFault::WrongPrefix)
        block[0] = 'X';
    if (iFault == BlockFault::DirtyPadding)
        block.back() = 0x55;
    return block;
}

// PKCS#1 v1.5 encryption under a PKCS#1 "RSA PUBLIC KEY" PEM; empty on failure.
inline std::vector<unsigned char> EncryptUnder(const std::string& iKeyPem,
                                               const std::vector<unsigned char>& iBlock) {
    EVP_PKEY* key = nullptr;
    OSSL_DECODER_CTX* dec = OSSL_DECODER_CTX_new_for_pkey(&key, "PEM", "type-specific", "RSA",
                                                          EVP_PKEY_PUBLIC_KEY, nullptr, nullptr);
    const unsigned char* data = reinterpret_cast<const unsigned char*>(iKeyPem.data());
    size_t left = iKeyPem.size();
    bool decoded = dec && OSSL_DECODER_from_data(dec, &data, &left) == 1 && key;
    OSSL_DECODER_CTX_free(dec);
    std::vector<unsigned char> out;
    if (!decoded) {
        EVP_PKEY_free(key);
        return out;
    }
    EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new_from_pkey(nullptr, key, nullptr);
    size_t outLen = 0;
    if (ctx && EVP_PKEY_encrypt_init(ctx) > 0 &&
        EVP_PKEY_CTX_set_rsa_padding(ctx, RSA_PKCS1_PADDING) > 0 &&
        EVP_PKEY_encrypt(ctx, nullptr, &outLen, iBlock.data(), iBlock.size()) > 0) {
        out.resize(outLen);
        if (EVP_PKEY_encrypt(ctx, out.data(), &outLen, iBlock.data(), iBlock.size()) > 0)
            out.resize(outLen);
        else
            out.clear();
    }
    EVP_PKEY_CTX_free(ctx);
    EVP_PKEY_free(key);
    return out;
}

#endif
