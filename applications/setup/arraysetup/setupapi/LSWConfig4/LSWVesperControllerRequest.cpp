// The setup request of a primary controller: both controllers' settings in one TLV list,
// the administrator password encrypted under the controller's RSA key.
#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <cstring>

#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/tlvUtils.h"
#include "zelutil/ZelStringUtil.h"
#include "zelutil/ZelTrace.h"

namespace {

// The plaintext block: five bytes of the key's PEM text, then the password, zero padded.
// 245 bytes is the most PKCS#1 v1.5 padding takes under a 2048-bit key.
const size_t MAX_PWD_LEN = 245;
const size_t kPemPrefixLen = 5;
const size_t kCipherBufferLen = 256;
const int kKeyTextSize = 1024;
const int kPasswordSize = 240;
const int kNameSize = 256;

struct BioFree {
    void operator()(BIO* bio) const { BIO_free(bio); }
};
struct PkeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct PkeyCtxFree {
    void operator()(EVP_PKEY_CTX* ctx) const { EVP_PKEY_CTX_free(ctx); }
};
using BioPtr = std::unique_ptr<BIO, BioFree>;
using PkeyPtr = std::unique_ptr<EVP_PKEY, PkeyFree>;
using PkeyCtxPtr = std::unique_ptr<EVP_PKEY_CTX, PkeyCtxFree>;

// Wipes what it guards when it goes, however the scope is left.
class Cleanser {
public:
    Cleanser(void* data, size_t length) : m_data(data), m_length(length) {}
    ~Cleanser() {
        if (m_data != nullptr && m_length != 0)
            OPENSSL_cleanse(m_data, m_length);
    }
    Cleanser(const Cleanser&) = delete;
    Cleanser& operator=(const Cleanser&) = delete;

private:
    void* m_data;
    size_t m_length;
};

std::string OpenSslErrorText() {
    // ERR_error_string needs 256 bytes of its caller's; its own static buffer is shared.
    char text[256] = {};
    ERR_error_string(ERR_get_error(), text);
    return std::string(text);
}

// The controller's key is a PKCS#1 RSA public key in PEM form ("RSA PUBLIC KEY"); any other
// form is refused, also a SubjectPublicKeyInfo that the generic decoders would convert. Null
// when the text holds no such key.
PkeyPtr CreateRSA(const char* pem) {
    BioPtr bio(BIO_new_mem_buf(pem, -1));
    if (!bio)
        return nullptr;
    char* name = nullptr;
    char* header = nullptr;
    unsigned char* der = nullptr;
    long length = 0;
    EVP_PKEY* key = nullptr;
    if (PEM_read_bio(bio.get(), &name, &header, &der, &length) == 1) {
        if (strcmp(name, PEM_STRING_RSA_PUBLIC) == 0) {
            const unsigned char* cursor = der;
            key = d2i_PublicKey(EVP_PKEY_RSA, nullptr, &cursor, length);
        } else {
            // As a reader of this one label finds it: no start line of its own.
            ERR_raise(ERR_LIB_PEM, PEM_R_NO_START_LINE);
        }
    }
    OPENSSL_free(name);
    OPENSSL_free(header);
    OPENSSL_free(der);
    if (key == nullptr) {
        ZelOutputDebugError(HERE, "Failed creating RSA: %s", OpenSslErrorText().c_str());
        return nullptr;
    }
    return PkeyPtr(key);
}

// PKCS#1 v1.5 encryption of the whole block; false when the key cannot take it or the
// result would not fit the buffer.
bool EncryptBlock(EVP_PKEY* key, const unsigned char* block, size_t blockLength, unsigned char* out,
                  size_t& outLength) {
    PkeyCtxPtr ctx(EVP_PKEY_CTX_new_from_pkey(nullptr, key, nullptr));
    if (!ctx || EVP_PKEY_encrypt_init(ctx.get()) <= 0 ||
        EVP_PKEY_CTX_set_rsa_padding(ctx.get(), RSA_PKCS1_PADDING) <= 0)
        return false;
    size_t needed = 0;
    if (EVP_PKEY_encrypt(ctx.get(), nullptr, &needed, block, blockLength) <= 0)
        return false;
    if (needed > outLength) {
        // Only a 2048-bit key gives a result that fits the buffer.
        ERR_raise_data(ERR_LIB_RSA, RSA_R_MODULUS_TOO_LARGE, "key of %u bytes, room for %u",
                       static_cast<unsigned>(needed), static_cast<unsigned>(outLength));
        return false;
    }
    size_t written = outLength;
    if (EVP_PKEY_encrypt(ctx.get(), out, &written, block, blockLength) <= 0)
        return false;
    outLength = written;
    return true;
}

void PushAddress4(SETUPTlv& tlv, unsigned char type, const CZelIpAddress& address) {
    unsigned char bytes[4];
    FillAddr(bytes, address);
    tlv.pushBackEntry(type, sizeof(bytes), reinterpret_cast<const char*>(bytes));
}

void PushAddress6(SETUPTlv& tlv, unsigned char type, const CZelIpAddress& address) {
    tlv.pushBackEntry(type, sizeof(address.v6), reinterpret_cast<const char*>(address.v6));
}

// A name cut to 255 bytes, without terminator.
void PushText(SETUPTlv& tlv, unsigned char type, const std::string& text) {
    std::string value = GetConvertedString(text, kNameSize);
    tlv.pushBackEntry(type, static_cast<uint16_t>(value.size()), value.data());
}

}  // namespace

void CLSWVesperController::GetRequestData(SETUPRequest& request) {
    SETUPTlv& tlv = request.m_tlv;

    PushAddress4(tlv, SETUPRequest::IPV4_MANAGEMENT_IP_ADDRESS, m_MgmtIp4Address);
    PushAddress4(tlv, SETUPRequest::TOP_CTRL_ETH0_IPV4_ADDRESS, m_Eth0Ip4Address);
    PushAddress4(tlv, SETUPRequest::TOP_CTRL_ETH0_IPV4_NETMASK, m_Eth0Ip4Netmask);
    PushAddress4(tlv, SETUPRequest::TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY, m_Eth0Ip4Gateway);

    if (m_Eth0Ip6Address.valid() && m_MgmtIp6Address.valid()) {
        ZelOutputDebugPrint(HERE, "Adding IP6 addresses");
        PushAddress6(tlv, SETUPRequest::TOP_CTRL_IPV6_MANAGEMENT_IP_ADDRESS, m_MgmtIp6Address);
        PushAddress6(tlv, SETUPRequest::TOP_CTRL_ETH0_IPV6_ADDRESS, m_Eth0Ip6Address);
        const char prefix = static_cast<char>(m_Eth0Ip6AddrPrefix & 0xFF);
        tlv.pushBackEntry(SETUPRequest::TOP_CTRL_ETH0_IPV6_PREFIX_LENGTH, 1, &prefix);
    }

    // Within each group: address, gateway, netmask.
    if (!m_SecondaryEth0Ip4Address.isNull() && !m_SecondaryEth0Ip4Netmask.isNull()) {
        ZelOutputDebugPrint(HERE, "Adding Secondary IP Addresses");
        PushAddress4(tlv, SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_ADDRESS, m_SecondaryEth0Ip4Address);
        PushAddress4(tlv, SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_DEFAULT_GATEWAY,
                     m_SecondaryEth0Ip4Gateway);
        PushAddress4(tlv, SETUPRequest::BOTTOM_CTRL_ETH0_IPV4_NETMASK, m_SecondaryEth0Ip4Netmask);
    }
    if (!m_BmcIp4Address.isNull() && !m_BmcIp4Netmask.isNull()) {
        ZelOutputDebugPrint(HERE, "Adding Primary BMC IP Addresses");
        PushAddress4(tlv, SETUPRequest::TOP_CTRL_BMC_IPV4_ADDRESS, m_BmcIp4Address);
        PushAddress4(tlv, SETUPRequest::TOP_CTRL_BMC_IPV4_DEFAULT_ROUTE, m_BmcIp4Gateway);
        PushAddress4(tlv, SETUPRequest::TOP_CTRL_BMC_NETMASK, m_BmcIp4Netmask);
    }
    if (!m_SecondaryBmcIp4Address.isNull() && !m_SecondaryBmcIp4Netmask.isNull()) {
        ZelOutputDebugPrint(HERE, "Adding Secondary BMC IP Addresses");
        PushAddress4(tlv, SETUPRequest::BOTTOM_CTRL_BMC_IPV4_ADDRESS, m_SecondaryBmcIp4Address);
        PushAddress4(tlv, SETUPRequest::BOTTOM_CTRL_BMC_IPV4_DEFAULT_ROUTE,
                     m_SecondaryBmcIp4Gateway);
        PushAddress4(tlv, SETUPRequest::BOTTOM_CTRL_BMC_NETMASK, m_SecondaryBmcIp4Netmask);
    }

    if (!m_DomainName.empty()) {
        ZelOutputDebugPrint(HERE, "Adding DomainName");
        PushText(tlv, SETUPRequest::DOMAIN_NAME, m_DomainName);
    }
    // A missing primary server is sent as four zero bytes; a missing secondary not at all.
    PushAddress4(tlv, SETUPRequest::PRIMARY_DNS_SERVER, m_PrimaryDNS);
    if (!m_SecondaryDNS.isNull())
        PushAddress4(tlv, SETUPRequest::SECONDARY_DNS_SERVER, m_SecondaryDNS);

    if (!m_PublicKey.empty() && !m_Password.empty()) {
        ZelOutputDebugPrint(HERE, "Adding keys");
        AddPasswordToSetupTlv(request);
    }
    if (!m_SystemName.empty()) {
        ZelOutputDebugPrint(HERE, "Adding SystemName");
        PushText(tlv, SETUPRequest::STORAGECELL_NAME, m_SystemName);
    }
    if (!m_EmailAddress.empty()) {
        ZelOutputDebugPrint(HERE, "Adding EmailAddress");
        PushText(tlv, SETUPRequest::DEFAULT_USER_EMAIL, m_EmailAddress);
    }
    if (!m_Locale.empty()) {
        ZelOutputDebugPrint(HERE, "Setting locale to: %s", m_Locale.c_str());
        PushText(tlv, SETUPRequest::LOCALIZATION_PARAMETER, m_Locale);
    }
    AddPortConfigDataToSetupTlv(request);
}

void CLSWVesperController::AddPasswordToSetupTlv(SetupAPIMessage& message) {
    const std::string key = GetConvertedString(m_PublicKey, kKeyTextSize);
    std::string pwd = GetConvertedString(m_Password, kPasswordSize);
    Cleanser pwdGuard(pwd.empty() ? nullptr : &pwd[0], pwd.size());

    unsigned char block[MAX_PWD_LEN] = {};
    Cleanser blockGuard(block, sizeof(block));
    // The key's own first characters open the plaintext: the controller checks them.
    memcpy(block, key.data(), std::min(kPemPrefixLen, key.size()));
    memcpy(block + kPemPrefixLen, pwd.data(), std::min(pwd.size(), MAX_PWD_LEN - kPemPrefixLen));

    unsigned char cipher[kCipherBufferLen] = {};
    ERR_clear_error();
    PkeyPtr rsa = CreateRSA(key.c_str());
    if (!rsa)
        return;
    // The whole block is encrypted, whatever the password's length.
    size_t cipherLength = sizeof(cipher);
    if (!EncryptBlock(rsa.get(), block, sizeof(block), cipher, cipherLength)) {
        ZelOutputDebugError(HERE, "Encrypt password failed: %s", OpenSslErrorText().c_str());
        return;
    }
    message.m_tlv.pushBackEntry(SETUPRequest::DEFAULT_USER_PASSWORD,
                                static_cast<uint16_t>(cipherLength),
                                reinterpret_cast<const char*>(cipher));
}

void CLSWVesperController::AddPortConfigDataToSetupTlv(SetupAPIMessage& message) {
    // Both controllers' domains go into one tree under one controller record; the tree
    // owns every writer, the local list only until each is handed over.
    SCPortConfigDataWriter scWriter;
    auto controllerWriter = std::make_unique<CONTROLLERPortDataWriter>();
    std::vector<std::unique_ptr<FAULTDomainDataWriter>> writers;
    AddFDstoFaultDomainDataWriter(writers, m_FaultDomainConfigDataVec);
    AddFDstoFaultDomainDataWriter(writers, m_SecondaryCtrlFaultDomainConfigDataVec);
    for (auto& writer : writers)
        controllerWriter->AddFaultDomain(std::move(writer));
    scWriter.AddController(std::move(controllerWriter));
    scWriter.AddToTLV(message.m_tlv, SETUPRequest::PORT_CONFIG_DATA);
}

void CLSWVesperController::AddFDstoFaultDomainDataWriter(
    std::vector<std::unique_ptr<FAULTDomainDataWriter>>& writers,
    std::vector<std::shared_ptr<IlswFaultDomainConfigData>>& domains) {
    for (const auto& domain : domains) {
        if (!domain)
            continue;
        // The id travels as one signed byte; that is what makes two domains one.
        const int8_t id = static_cast<int8_t>(domain->getFaultDomainID());
        std::vector<std::shared_ptr<IlswPortConfigData>> ports = domain->getPortConfigurationData();
        FAULTDomainDataWriter* found = nullptr;
        for (const auto& writer : writers) {
            if (writer->GetId() == id) {
                found = writer.get();
                break;
            }
        }
        if (found != nullptr) {
            // The addresses of the domain that came first stand.
            AddPortsToFD(*found, ports);
            continue;
        }
        auto writer = std::make_unique<FAULTDomainDataWriter>();
        writer->SetIpV4(domain->getIpv4Address());
        writer->SetIpV4Gateway(domain->getIpv4Gateway());
        writer->SetIpV4Netmask(domain->getIpv4NetMask());
        writer->SetTransportType(static_cast<int8_t>(domain->getTransportType()));
        writer->SetEmbedded(domain->getEmbedded());
        writer->SetId(id);
        ZelOutputDebugPrint(HERE, "FaultDomainId: %d", domain->getFaultDomainID());
        ZelOutputDebugPrint(HERE, "FdIP: %s", domain->getIpv4Address().c_str());
        ZelOutputDebugPrint(HERE, "FdGateway: %s", domain->getIpv4Gateway().c_str());
        ZelOutputDebugPrint(HERE, "FdNetmask: %s", domain->getIpv4NetMask().c_str());
        AddPortsToFD(*writer, ports);
        writers.push_back(std::move(writer));
    }
}

void CLSWVesperController::AddPortsToFD(FAULTDomainDataWriter& writer,
                                        std::vector<std::shared_ptr<IlswPortConfigData>>& ports) {
    for (const auto& port : ports) {
        if (!port)
            continue;
        auto portWriter = std::make_unique<PORTDataWriter>();
        portWriter->SetIpV4(port->getIpv4Address());
        portWriter->SetIpV4Gateway(port->getIpv4Gateway());
        portWriter->SetIpV4Netmask(port->getIpv4NetMask());
        portWriter->SetConfigured(port->getConfigured());
        portWriter->SetNetwork(static_cast<int8_t>(port->getNetwork()));
        portWriter->SetSlotNumber(static_cast<int8_t>(port->getSlotNumber()));
        portWriter->SetSlotPortNumber(static_cast<int8_t>(port->getSlotPortNumber()));
        portWriter->SetStatus(static_cast<int8_t>(port->getStatus()));
        portWriter->SetTransportType(static_cast<int8_t>(port->getTransportType()));
        portWriter->SetEmbedded(port->getEmbedded());
        portWriter->SetPortLocation(static_cast<int8_t>(port->getPortLocation()));
        portWriter->SetControllerIndex(port->getControllerIndex());
        // The controller id and the card model are not sent.
        ZelOutputDebugPrint(HERE, "SlotPortNumber: %d", port->getSlotPortNumber());
        ZelOutputDebugPrint(HERE, "SlotNumber: %d", port->getSlotNumber());
        ZelOutputDebugPrint(HERE, "PortIP: %s", port->getIpv4Address().c_str());
        ZelOutputDebugPrint(HERE, "PortGateway: %s", port->getIpv4Gateway().c_str());
        ZelOutputDebugPrint(HERE, "PortNetmask: %s", port->getIpv4NetMask().c_str());
        writer.AddPort(std::move(portWriter));
    }
}
