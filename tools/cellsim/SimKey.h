#ifndef TOOLS_CELLSIM_SIMKEY_H
#define TOOLS_CELLSIM_SIMKEY_H

// A controller's RSA key pair and the password block of a setup request.

#include <openssl/evp.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// Bytes that hold clear text: wiped when they go.
class CSimSecret {
public:
    CSimSecret() = default;
    explicit CSimSecret(size_t iSize) : m_bytes(iSize, 0) {}
    ~CSimSecret() { Wipe(); }
    CSimSecret(const CSimSecret&) = delete;
    CSimSecret& operator=(const CSimSecret&) = delete;

    unsigned char* data() { return m_bytes.data(); }
    const unsigned char* data() const { return m_bytes.data(); }
    size_t size() const { return m_bytes.size(); }
    void resize(size_t iSize);
    void Wipe();

private:
    std::vector<unsigned char> m_bytes;
};

class CSimRsaKey {
public:
    // A fresh 2048-bit key pair; null with the reason in oError.
    static std::unique_ptr<CSimRsaKey> Generate(std::string& oError);

    // The public key as a PKCS#1 "RSA PUBLIC KEY" PEM text.
    const std::string& PublicPem() const { return m_publicPem; }

    // PKCS#1 v1.5 decryption with the private key. False with the reason in oError.
    bool Decrypt(const unsigned char* iCipher, size_t iLength, CSimSecret& oPlain,
                 std::string& oError) const;

private:
    struct KeyFree {
        void operator()(EVP_PKEY* iKey) const { EVP_PKEY_free(iKey); }
    };
    explicit CSimRsaKey(EVP_PKEY* iKey) : m_key(iKey) {}

    std::unique_ptr<EVP_PKEY, KeyFree> m_key;
    std::string m_publicPem;
};

// The plaintext block of a setup password: 245 bytes, the first five characters of the
// public key text, the password, zeros to the end.
const size_t kSimPasswordBlockSize = 245;
const size_t kSimPasswordMax = 239;

// Checks a decrypted block against the key text it was made with. True with the password
// in oPassword; false with what is wrong in oWhy.
bool SimCheckPasswordBlock(const CSimSecret& iBlock, const std::string& iPublicPem,
                           std::string& oPassword, std::string& oWhy);

// The text of OpenSSL's last error, emptied from its queue.
std::string SimOpenSslError();

#endif
