// The setup request a primary controller builds: entries in their order with their bytes,
// the optional rows, the port tree of both controllers, and the password block as the
// controller decrypts it with its private key.
#include <gtest/gtest.h>
#include <openssl/core_names.h>
#include <openssl/encoder.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ExchangeFrames.h"
#include "LSWConfig4/LSWConfigModel.h"
#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/setupMsgV4.h"
#include "LSWConfig4/tlvUtils.h"
#include "support/Fields.h"
#include "zelutil/ZelTrace.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Entry = std::pair<int, Bytes>;
using Controller = std::shared_ptr<CLSWVesperController>;
using xchg::Domain;
using xchg::Ip;
using xchg::Str;

struct PkeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using PkeyPtr = std::unique_ptr<EVP_PKEY, PkeyFree>;

std::vector<Entry> Entries(const SETUPRequest& request) {
    std::vector<Entry> out;
    for (SETUPTlvIterator it(request.m_tlv); it.getType() != 0; it.next()) {
        const auto* value = reinterpret_cast<const unsigned char*>(it.getValue());
        out.emplace_back(it.getType(), Bytes(value, value + it.getLen()));
    }
    return out;
}

std::vector<int> Codes(const std::vector<Entry>& entries) {
    std::vector<int> codes;
    for (const auto& e : entries)
        codes.push_back(e.first);
    return codes;
}

const Bytes* Find(const std::vector<Entry>& entries, int code) {
    for (const auto& e : entries)
        if (e.first == code)
            return &e.second;
    return nullptr;
}

std::vector<Entry> Build(const Controller& c) {
    SETUPRequest request(4);
    c->GetRequestData(request);
    return Entries(request);
}

// The key in the two PEM forms: PKCS#1 ("RSA PUBLIC KEY", the controller's) and
// SubjectPublicKeyInfo ("PUBLIC KEY").
std::string PublicPem(EVP_PKEY* key, const char* structure) {
    OSSL_ENCODER_CTX* ctx =
        OSSL_ENCODER_CTX_new_for_pkey(key, EVP_PKEY_PUBLIC_KEY, "PEM", structure, nullptr);
    EXPECT_NE(ctx, nullptr);
    unsigned char* data = nullptr;
    size_t length = 0;
    EXPECT_EQ(OSSL_ENCODER_to_data(ctx, &data, &length), 1);
    OSSL_ENCODER_CTX_free(ctx);
    std::string pem(reinterpret_cast<char*>(data), length);
    OPENSSL_free(data);
    return pem;
}

Bytes Decrypt(EVP_PKEY* key, const Bytes& cipher) {
    EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new_from_pkey(nullptr, key, nullptr);
    EXPECT_EQ(EVP_PKEY_decrypt_init(ctx), 1);
    EXPECT_EQ(EVP_PKEY_CTX_set_rsa_padding(ctx, RSA_PKCS1_PADDING), 1);
    Bytes plain(512);
    size_t length = plain.size();
    EXPECT_EQ(EVP_PKEY_decrypt(ctx, plain.data(), &length, cipher.data(), cipher.size()), 1);
    EVP_PKEY_CTX_free(ctx);
    plain.resize(length);
    return plain;
}

// What the controller expects after decryption: the PEM's first five bytes, the password,
// zeros up to 245.
Bytes Block(const std::string& pem, const std::string& password) {
    Bytes block(245, 0);
    std::copy(pem.begin(), pem.begin() + 5, block.begin());
    std::copy(password.begin(), password.end(), block.begin() + 5);
    return block;
}

// The same bytes under the PKCS#1 label.
std::string Relabel(std::string pem) {
    for (const char* edge : {"BEGIN", "END"}) {
        const std::string from = std::string(edge) + " PUBLIC KEY";
        pem.replace(pem.find(from), from.size(), std::string(edge) + " RSA PUBLIC KEY");
    }
    return pem;
}

Bytes DomainBytes(Bytes head, const std::vector<Bytes>& ports) {
    head[13] = static_cast<unsigned char>(ports.size());
    for (const auto& p : ports)
        head.insert(head.end(), p.begin(), p.end());
    return head;
}

// Only what every request carries.
Controller Minimal() {
    auto c = std::make_shared<CLSWVesperController>();
    c->setHWAddress("HW1"), c->setServiceTag("TAG"), c->setMgmtIp4Address("10.0.0.5");
    c->setEth0Ip4Address("10.0.0.10"), c->setEth0Ip4Netmask("255.255.255.0");
    c->setEth0Ip4Gateway("");
    return c;
}

class SetupRequestTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_key.reset(EVP_RSA_gen(2048));
        ASSERT_NE(s_key, nullptr);
        s_pem = PublicPem(s_key.get(), "pkcs1");
        ASSERT_EQ(s_pem.compare(0, 30, "-----BEGIN RSA PUBLIC KEY-----"), 0);
    }
    static void TearDownTestSuite() { s_key.reset(); }

    static PkeyPtr s_key;
    static std::string s_pem;
};

PkeyPtr SetupRequestTest::s_key;
std::string SetupRequestTest::s_pem;

}  // namespace

TEST_F(SetupRequestTest, MinimalRequestCarriesOnlyTheAlwaysRows) {
    auto c = Minimal();
    c->setPassword("secret");              // no key: no password row, and no failure
    c->setEth0Ip6Address("2001:db8::10");  // IPv6 through the setters never reaches a value
    c->setMgmtIp6Address("2001:db8::5");
    c->setBmcIp4Address("192.168.0.10");         // without its netmask: no BMC rows
    c->SetSecondaryEth0Ip4Address("10.0.0.11");  // the same for the secondary group
    c->SetSecondaryBmcIp4Address("192.168.0.11");
    const std::vector<Entry> expected = {
        {SETUPRequest::IPV4_MANAGEMENT_IP_ADDRESS, {10, 0, 0, 5}},
        {SETUPRequest::TOP_CTRL_ETH0_IPV4_ADDRESS, {10, 0, 0, 10}},
        {SETUPRequest::TOP_CTRL_ETH0_IPV4_NETMASK, {255, 255, 255, 0}},
        {SETUPRequest::TOP_CTRL_ETH0_IPV4_DEFAULT_GATEWAY, {0, 0, 0, 0}},
        {SETUPRequest::PRIMARY_DNS_SERVER, {0, 0, 0, 0}},
        // One controller record, no fault domain.
        {SETUPRequest::PORT_CONFIG_DATA, {1, 0}},
    };
    EXPECT_EQ(Build(c), expected);
}

TEST_F(SetupRequestTest, FullRequestInOrderWithBothControllersPorts) {
    auto c = Minimal();
    c->setEth0Ip4Gateway("10.0.0.1");
    c->SetMgmtIp6AddressFromController(Ip("2001:db8::5"));
    c->SetEth0Ip6AddressFromController(Ip("2001:db8::10"));
    c->SetEth0Ip6AddrPrefixFromController(0x140);  // only the low byte travels
    c->SetSecondaryEth0Ip4Address("10.0.0.11"), c->SetSecondaryEth0Ip4Gateway("10.0.0.2");
    c->SetSecondaryEth0Ip4Netmask("255.255.255.128");
    c->setBmcIp4Address("192.168.0.10"), c->setBmcIp4Netmask("255.255.255.0");
    c->setBmcIp4Gateway("192.168.0.1");
    c->SetSecondaryBmcIp4Address("192.168.0.11"), c->SetSecondaryBmcIp4Netmask("255.255.0.0");
    c->SetSecondaryBmcIp4Gateway("192.168.0.2");
    c->setDomainName("example.com"), c->setPrimaryDns("8.8.8.8"), c->setSecondaryDns("8.8.4.4");
    c->SetPublicKey(s_pem), c->setPassword("S3cret!"), c->setScName("cell-1");
    c->setEmailAddress("admin@example.com"), c->setLocale("fr_FR");

    // Fault domain 1 on both controllers, domain 2 only on the other one.
    const Bytes fd1 = {1, 10, 1, 0, 1, 255, 255, 255, 0, 10, 1, 0, 254, 0, 2, 0};
    const Bytes fd1Other = {1, 10, 9, 9, 9, 255, 0, 0, 0, 10, 9, 9, 1, 0, 2, 0};
    const Bytes fd2 = {2, 10, 2, 0, 1, 255, 255, 0, 0, 10, 2, 0, 254, 0, 3, 1};
    const Bytes p1 = {1, 10, 1, 0, 11, 255, 255, 255, 0, 10, 1, 0, 254, 3, 4,
                      5, 1,  0, 6, 7,  1,   0,   0,   0, 0,  0, 0, 0,   9};
    const Bytes p2 = {2, 10, 1, 0, 12, 255, 255, 255, 0, 10, 1, 0, 254, 3, 4,
                      5, 0,  1, 8, 7,  0,   0,   0,   0, 0,  0, 0, 0,   9};
    c->addFaultDomain(Domain(DomainBytes(fd1, {p1})));
    c->SetSecondaryCtrlFaultDomainConfigurationData(
        {Domain(DomainBytes(fd1Other, {p2})), Domain(DomainBytes(fd2, {}))});

    SETUPRequest request(4);
    c->GetRequestData(request);
    auto entries = Entries(request);
    EXPECT_EQ(Codes(entries), (std::vector<int>{2,  4,  5,  6,  7,  8,  9,  34, 36, 35, 26, 28,
                                                39, 41, 43, 45, 10, 11, 12, 13, 14, 15, 46, 31}));
    const Bytes v6mgmt = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x05};
    const Bytes v6eth0 = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x10};
    // The IPv4 rows, names and DNS are read back on the wire by the road's network tests.
    const std::vector<std::pair<int, Bytes>> values = {
        {SETUPRequest::TOP_CTRL_IPV6_MANAGEMENT_IP_ADDRESS, v6mgmt},
        {SETUPRequest::TOP_CTRL_ETH0_IPV6_ADDRESS, v6eth0},
        {SETUPRequest::TOP_CTRL_ETH0_IPV6_PREFIX_LENGTH, {0x40}},
        {SETUPRequest::TOP_CTRL_BMC_IPV4_ADDRESS, {192, 168, 0, 10}},
        {SETUPRequest::TOP_CTRL_BMC_IPV4_DEFAULT_ROUTE, {192, 168, 0, 1}},
        {SETUPRequest::TOP_CTRL_BMC_NETMASK, {255, 255, 255, 0}},
        {SETUPRequest::BOTTOM_CTRL_BMC_IPV4_ADDRESS, {192, 168, 0, 11}},
        {SETUPRequest::BOTTOM_CTRL_BMC_IPV4_DEFAULT_ROUTE, {192, 168, 0, 2}},
        {SETUPRequest::BOTTOM_CTRL_BMC_NETMASK, {255, 255, 0, 0}},
        {SETUPRequest::LOCALIZATION_PARAMETER, Str("fr_FR")},
    };
    for (const auto& v : values) {
        const Bytes* got = Find(entries, v.first);
        ASSERT_NE(got, nullptr) << v.first;
        EXPECT_EQ(*got, v.second) << v.first;
    }

    // One controller record holding both lists: domain 1 once with the first list's
    // addresses and its ports ahead of the other's; the card model is not sent; three
    // bytes of slack a port at the end.
    Bytes p1Sent = p1, p2Sent = p2;
    p1Sent[28] = p2Sent[28] = 0;
    const Bytes head = {1, 2, 1, 10, 1, 0, 1, 255, 255, 255, 0, 10, 1, 0, 254, 2, 2, 0};
    EXPECT_EQ(*Find(entries, SETUPRequest::PORT_CONFIG_DATA),
              xchg::Cat({head, p1Sent, p2Sent, fd2, Bytes(6, 0)}));

    const Bytes* cipher = Find(entries, SETUPRequest::DEFAULT_USER_PASSWORD);
    ASSERT_NE(cipher, nullptr);
    ASSERT_EQ(cipher->size(), 256u);
    EXPECT_EQ(Decrypt(s_key.get(), *cipher), Block(s_pem, "S3cret!"));
    // The clear text is nowhere in the request's bytes.
    const char* raw = request.m_tlv.getTlvBuffer();
    const std::string wire(raw, raw + request.m_tlv.getTlvBytesUsed());
    EXPECT_EQ(wire.find("S3cret!"), std::string::npos);
}

TEST_F(SetupRequestTest, LongTextsAreCut) {
    auto c = Minimal();
    const std::string password(300, 'p');
    c->SetPublicKey(s_pem), c->setPassword(password), c->setDomainName(std::string(300, 'd'));
    c->setScName(std::string(256, 'n')), c->setEmailAddress(std::string(255, 'e'));
    auto entries = Build(c);
    for (int code : {SETUPRequest::DOMAIN_NAME, SETUPRequest::STORAGECELL_NAME,
                     SETUPRequest::DEFAULT_USER_EMAIL})
        EXPECT_EQ(Find(entries, code)->size(), 255u) << code;

    // 239 bytes of password fill the block up to its last byte, which stays zero.
    const Bytes plain = Decrypt(s_key.get(), *Find(entries, SETUPRequest::DEFAULT_USER_PASSWORD));
    EXPECT_EQ(plain, Block(s_pem, password.substr(0, 239)));
}

TEST_F(SetupRequestTest, AReplacedPasswordIsTheOneSent) {
    auto c = Minimal();
    c->SetPublicKey(s_pem), c->setPassword("A-much-longer-first-password");
    c->setPassword("Second");
    auto entries = Build(c);
    const Bytes* cipher = Find(entries, SETUPRequest::DEFAULT_USER_PASSWORD);
    ASSERT_NE(cipher, nullptr);
    EXPECT_EQ(Decrypt(s_key.get(), *cipher), Block(s_pem, "Second"));

    // An empty password takes the row out again: a key alone sends none.
    c->setPassword("");
    EXPECT_EQ(Find(Build(c), SETUPRequest::DEFAULT_USER_PASSWORD), nullptr);
}

TEST_F(SetupRequestTest, KeysThatCannotBeUsedLeaveThePasswordRowOut) {
    PkeyPtr small(EVP_RSA_gen(1024));
    ASSERT_NE(small, nullptr);
    const std::string password = "Pw-Unique-7781";
    const std::string spki = PublicPem(s_key.get(), "SubjectPublicKeyInfo");
    ASSERT_EQ(spki.compare(0, 26, "-----BEGIN PUBLIC KEY-----"), 0);
    struct Case {
        std::string key;
        const char* trace;
    };
    const std::vector<Case> cases = {
        {"not a PEM key at all", "Failed creating RSA: "},
        // A valid key in the other PEM form is refused: only PKCS#1 is read.
        {spki, "Failed creating RSA: "},
        // ... also when its label claims the PKCS#1 form.
        {Relabel(spki), "Failed creating RSA: "},
        {s_pem.substr(0, 120), "Failed creating RSA: "},
        // 245 bytes do not fit PKCS#1 v1.5 padding under a 1024-bit key.
        {PublicPem(small.get(), "pkcs1"), "Encrypt password failed: "},
        // A good key: the row is there, and the password is still not traced.
        {s_pem, nullptr},
    };
    g_Tracer.SetDbgPrintOnly(true);
    for (const auto& k : cases) {
        auto c = Minimal();
        c->SetPublicKey(k.key), c->setPassword(password), c->setScName("cell-1");
        testing::internal::CaptureStderr();
        auto entries = Build(c);
        const std::string trace = testing::internal::GetCapturedStderr();
        std::vector<int> codes = {2, 4, 5, 6, 11, 14, 31};
        if (!k.trace)
            codes.insert(codes.begin() + 5, SETUPRequest::DEFAULT_USER_PASSWORD);
        EXPECT_EQ(Codes(entries), codes) << k.key;
        if (k.trace) {
            EXPECT_NE(trace.find(k.trace), std::string::npos) << trace;
        } else {
            EXPECT_EQ(trace.find("Encrypt password failed"), std::string::npos) << trace;
            if (g_Tracer.CheckLevel(ZEL_OUTPUT_DEBUG_PRINT)) {
                EXPECT_NE(trace.find("Adding keys"), std::string::npos) << trace;
            }
        }
        EXPECT_EQ(trace.find(password), std::string::npos) << trace;
    }
    g_Tracer.SetDbgPrintOnly(false);
}

TEST_F(SetupRequestTest, FoldedDomainsAreSentTwiceAfterTheArrayMergedThem) {
    // The array's merge puts the other controller's port into the primary's own domain;
    // the fold then adds the other's domain again, so the port travels twice.
    const Bytes fd1 = {1, 10, 1, 0, 1, 255, 255, 255, 0, 10, 1, 0, 254, 0, 2, 0};
    const Bytes port = {1, 10, 1, 0, 12, 255, 255, 255, 0, 10, 1, 0, 254, 3, 4,
                        5, 0,  1, 8, 7,  0,   0,   0,   0, 0,  0, 0, 0,   0};
    auto primary = Minimal();
    primary->SetSerialNumberFromController("S1"), primary->SetIsControllerPrimary(true);
    primary->SetCanisterId(1), primary->addFaultDomain(Domain(DomainBytes(fd1, {})));
    auto other = Minimal();
    other->setHWAddress("HW2"), other->SetSerialNumberFromController("S2");
    other->addFaultDomain(Domain(DomainBytes(fd1, {port})));
    CLSWVesperArray array;
    array.AddControllerInternal(primary);
    array.AddControllerInternal(other);
    array.getFaultDomainConfigurationData();
    array.CopySecondaryControllerInfoToPrimary();

    const auto entries = Build(primary);
    const Bytes& tree = *Find(entries, SETUPRequest::PORT_CONFIG_DATA);
    ASSERT_EQ(tree.size(), 1u + 1u + 16u + 2u * 32u);
    EXPECT_EQ(Fields(tree[1], tree[15]), "1|2");  // one domain, with the port twice
    EXPECT_EQ(Bytes(tree.begin() + 18, tree.begin() + 47),
              Bytes(tree.begin() + 47, tree.begin() + 76));
}
