#ifndef ZRFL_OPENSSL_HMACDIGESTENGINE_H
#define ZRFL_OPENSSL_HMACDIGESTENGINE_H

#include "common/Handles.h"
#include "common/Secrets.h"

#include <foundation/crypto/interfaces/IDigestEngine.h>
#include <foundation/crypto/utils/DigestAlgorithms.h>

#include <cstddef>

namespace foundation::crypto::openssl {

/// Puts a new context in place of `context`, for an HMAC with `digest` under the `keySize` bytes at `key`.
///
/// @throws utils::InternalException when libcrypto fails, or the key is longer than the `int` in which libcrypto
/// counts.
void startHMAC(Owned<EVP_MAC_CTX>& context, EVP_MD const* digest, unsigned char* key, std::size_t keySize);

/// A keyed message authentication code (RFC 2104, FIPS 198-1); `Algorithm` is one of the HMAC descriptors.
///
/// A copy continues the message of its source independently, but never receives the key: a copy-constructed engine
/// starts its next message with an empty one, which libcrypto refuses, and an assigned-to engine with its own.
template <class Algorithm> class HMACDigestEngine final : public interfaces::IDigestEngine {
public:
    explicit HMACDigestEngine(ByteArray const& key);
    HMACDigestEngine(HMACDigestEngine const& other);
    HMACDigestEngine& operator=(HMACDigestEngine const& other);
    ~HMACDigestEngine() override = default;

    ByteArray computeDigest(ByteArray const& data) override;
    ByteArray computeDigest(std::istream& input) override;
    void update(ByteArray const& data) override;
    void update(unsigned char const* data, std::size_t size) override;
    ByteArray finalize() override;

    std::string getDigestName() const override { return Algorithm::getDigestName(); }

    std::string getDigestNameForEVP_MD() const override { return Algorithm::getDigestNameForEVP_MD(); }

    std::size_t getDigestSize() const override { return Algorithm::getDigestSize(); }

private:
    void initialize();

    SecretBytes key_;
    Owned<EVP_MAC_CTX> context_;
    bool ready_ = false; ///< Whether the context takes a message; else it is used up, or was never initialised.
};

extern template class HMACDigestEngine<utils::HMACSHA1DigestAlgorithm>;
extern template class HMACDigestEngine<utils::HMACSHA256DigestAlgorithm>;
extern template class HMACDigestEngine<utils::HMACSHA512DigestAlgorithm>;

} // namespace foundation::crypto::openssl

#endif
