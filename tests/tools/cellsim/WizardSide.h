#ifndef TESTS_TOOLS_CELLSIM_WIZARDSIDE_H
#define TESTS_TOOLS_CELLSIM_WIZARDSIDE_H

// The wizard's password block and its ciphertext under the key a Hello carried: what the
// simulator's password check is held against.

#include <openssl/decoder.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <cstring>
#include <string>
#include <vector>

// The password block as the wizard makes it: 245 bytes, the key text's first five bytes,
// the password cut to 239 bytes, zeros.
inline std::vector<unsigned char> PasswordBlock(const std::string& iKeyPem,
                                                const std::string& iPassword) {
    std::vector<unsigned char> block(245, 0);
    memcpy(block.data(), iKeyPem.data(), 5);
    std::string pwd = iPassword.substr(0, 239);
    memcpy(block.data() + 5, pwd.data(), pwd.size());
    return block;
}

// PKCS#1 v1.5 encryption under a PKCS#1 "RSA PUBLIC KEY" PEM; empty on failure.
inline std::vector<unsigned char> EncryptUnder(const std::string& iKeyPem,
                                               const std::vector<unsigned char>& iBlock) {
    std::vector<unsigned char> out;
    EVP_PKEY* key = nullptr;
    OSSL_DECODER_CTX* dec = OSSL_DECODER_CTX_new_for_pkey(&key, "PEM", "type-specific", "RSA",
                                                          EVP_PKEY_PUBLIC_KEY, nullptr, nullptr);
    const unsigned char* data = reinterpret_cast<const unsigned char*>(iKeyPem.data());
    size_t left = iKeyPem.size(), outLen = 0;
    if (dec && OSSL_DECODER_from_data(dec, &data, &left) == 1 && key) {
        EVP_PKEY_CTX* ctx = EVP_PKEY_CTX_new_from_pkey(nullptr, key, nullptr);
        if (ctx && EVP_PKEY_encrypt_init(ctx) > 0 &&
            EVP_PKEY_CTX_set_rsa_padding(ctx, RSA_PKCS1_PADDING) > 0 &&
            EVP_PKEY_encrypt(ctx, nullptr, &outLen, iBlock.data(), iBlock.size()) > 0) {
            out.resize(outLen);
            const bool done =
                EVP_PKEY_encrypt(ctx, out.data(), &outLen, iBlock.data(), iBlock.size()) > 0;
            out.resize(done ? outLen : 0);
        }
        EVP_PKEY_CTX_free(ctx);
    }
    OSSL_DECODER_CTX_free(dec);
    EVP_PKEY_free(key);
    return out;
}

#endif
