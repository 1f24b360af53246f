#include "SimKey.h"

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/encoder.h>
#include <openssl/err.h>
#include <openssl/rsa.h>

#include <cstring>

namespace {

struct CtxFree {
    void operator()(EVP_PKEY_CTX* iCtx) const { EVP_PKEY_CTX_free(iCtx); }
};
struct EncoderFree {
    void operator()(OSSL_ENCODER_CTX* iCtx) const { OSSL_ENCODER_CTX_free(iCtx); }
};
struct OpenSslFree {
    void operator()(unsigned char* iData) const { OPENSSL_free(iData); }
};

}  // namespace

void CSimSecret::resize(size_t iSize) {
    if (iSize < m_bytes.size())
        OPENSSL_cleanse(m_bytes.data() + iSize, m_bytes.size() - iSize);
    // Growing may move the bytes: wipe the old home first.
    if (iSize > m_bytes.capacity()) {
        std::vector<unsigned char> bigger(iSize, 0);
        if (!m_bytes.empty())
            memcpy(bigger.data(), m_bytes.data(), m_bytes.size());
        Wipe();
        m_bytes.swap(bigger);
        return;
    }
    m_bytes.resize(iSize, 0);
}

void CSimSecret::Wipe() {
    if (!m_bytes.empty())
        OPENSSL_cleanse(m_bytes.data(), m_bytes.size());
}

std::string SimOpenSslError() {
    unsigned long code = ERR_get_error();
    std::string text;
    while (code != 0) {
        char buf[256];
        ERR_error_string_n(code, buf, sizeof(buf));
        if (text.empty())
            text = buf;
        code = ERR_get_error();
    }
    return text.empty() ? "no detail from OpenSSL" : text;
}

std::unique_ptr<CSimRsaKey> CSimRsaKey::Generate(std::string& oError) {
    EVP_PKEY* raw = EVP_RSA_gen(2048);
    if (!raw) {
        oError = "RSA key generation failed: " + SimOpenSslError();
        return nullptr;
    }
    std::unique_ptr<CSimRsaKey> key(new CSimRsaKey(raw));

    // "type-specific" is the PKCS#1 structure: BEGIN RSA PUBLIC KEY, which is what the
    // wizard reads. The SubjectPublicKeyInfo form would not do.
    std::unique_ptr<OSSL_ENCODER_CTX, EncoderFree> enc(OSSL_ENCODER_CTX_new_for_pkey(
        raw, OSSL_KEYMGMT_SELECT_PUBLIC_KEY, "PEM", "type-specific", nullptr));
    unsigned char* out = nullptr;
    size_t outLen = 0;
    if (!enc || OSSL_ENCODER_CTX_get_num_encoders(enc.get()) == 0 ||
        !OSSL_ENCODER_to_data(enc.get(), &out, &outLen)) {
        oError = "cannot write the public key as PKCS#1 PEM: " + SimOpenSslError();
        return nullptr;
    }
    std::unique_ptr<unsigned char, OpenSslFree> owned(out);
    key->m_publicPem.assign(reinterpret_cast<const char*>(out), outLen);
    return key;
}

bool CSimRsaKey::Decrypt(const unsigned char* iCipher, size_t iLength, CSimSecret& oPlain,
                         std::string& oError) const {
    std::unique_ptr<EVP_PKEY_CTX, CtxFree> ctx(
        EVP_PKEY_CTX_new_from_pkey(nullptr, m_key.get(), nullptr));
    if (!ctx || EVP_PKEY_decrypt_init(ctx.get()) <= 0 ||
        EVP_PKEY_CTX_set_rsa_padding(ctx.get(), RSA_PKCS1_PADDING) <= 0) {
        oError = "cannot set up the decryption: " + SimOpenSslError();
        return false;
    }
#ifdef OSSL_ASYM_CIPHER_PARAM_IMPLICIT_REJECTION
    // A bad ciphertext is to be reported, not turned into random bytes.
    unsigned int implicit = 0;
    OSSL_PARAM params[] = {
        OSSL_PARAM_construct_uint(OSSL_ASYM_CIPHER_PARAM_IMPLICIT_REJECTION, &implicit),
        OSSL_PARAM_construct_end()};
    EVP_PKEY_CTX_set_params(ctx.get(), params);
#endif
    size_t outLen = 0;
    if (EVP_PKEY_decrypt(ctx.get(), nullptr, &outLen, iCipher, iLength) <= 0) {
        oError = "decryption failed: " + SimOpenSslError();
        return false;
    }
    oPlain.resize(outLen);
    if (EVP_PKEY_decrypt(ctx.get(), oPlain.data(), &outLen, iCipher, iLength) <= 0) {
        oPlain.resize(0);
        oError = "decryption failed: " + SimOpenSslError();
        return false;
    }
    oPlain.resize(outLen);
    return true;
}

bool SimCheckPasswordBlock(const CSimSecret& iBlock, const std::string& iPublicPem,
                           std::string& oPassword, std::string& oWhy) {
    oPassword.clear();
    if (iBlock.size() != kSimPasswordBlockSize) {
        oWhy = "the block is " + std::to_string(iBlock.size()) + " bytes, not " +
               std::to_string(kSimPasswordBlockSize);
        return false;
    }
    const unsigned char* b = iBlock.data();
    if (iPublicPem.size() < 5 || memcmp(b, iPublicPem.data(), 5) != 0) {
        oWhy = "the block does not open with the first five characters of the public key";
        return false;
    }
    size_t end = 5;
    while (end < kSimPasswordBlockSize && b[end] != 0)
        ++end;
    for (size_t i = end; i < kSimPasswordBlockSize; ++i)
        if (b[i] != 0) {
            oWhy = "byte " + std::to_string(i) + " of the padding is not zero";
            return false;
        }
    oPassword.assign(reinterpret_cast<const char*>(b + 5), end - 5);
    if (oPassword.empty()) {
        oWhy = "the block holds no password";
        return false;
    }
    if (oPassword.size() > kSimPasswordMax) {
        oWhy = "the password is " + std::to_string(oPassword.size()) +
               " bytes; the block carries at most " + std::to_string(kSimPasswordMax);
        return false;
    }
    return true;
}
