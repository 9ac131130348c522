#ifndef ZRFL_OPENSSL_RSASIGNATURE_H
#define ZRFL_OPENSSL_RSASIGNATURE_H

#include "common/KeySize.h"
#include "rsa/RSAKey.h"

#include <foundation/crypto/interfaces/ICryptoPRNG.h>
#include <foundation/crypto/interfaces/IRSASignature.h>
#include <foundation/crypto/utils/RSAPaddingMode.h>

namespace foundation::crypto::openssl {

/// Signs with an RSA private key. The padding is looked at when signing. The generator is kept and not drawn from:
/// libcrypto makes the salt by itself.
template <class KeySize> class RSASigner final : public interfaces::IRSASigner {
public:
    /// @throws utils::InvalidKey for an empty `key`, utils::InternalException for an empty `prng`.
    RSASigner(std::shared_ptr<RSAPrivateKey<KeySize>> key, utils::RSAPaddingMode padding,
              interfaces::CryptoPRNGPtr prng);

    ByteArray sign(ByteArray const& message, interfaces::DigestEnginePtr digest) const override;
    ByteArray sign(std::istream& message, interfaces::DigestEnginePtr digest) const override;

    unsigned long getKeySize() const override { return bitsOf(KeySize()); }

private:
    std::shared_ptr<RSAPrivateKey<KeySize>> key_;
    utils::RSAPaddingMode padding_;
    interfaces::CryptoPRNGPtr prng_;
};

/// Checks signatures with an RSA public key; otherwise as `RSASigner`.
template <class KeySize> class RSAVerifier final : public interfaces::IRSAVerifier {
public:
    /// @throws utils::InvalidKey for an empty `key`, utils::InternalException for an empty `prng`.
    RSAVerifier(std::shared_ptr<RSAPublicKey<KeySize>> key, utils::RSAPaddingMode padding,
                interfaces::CryptoPRNGPtr prng);

    utils::SignatureVerificationStatus verify(ByteArray const& message, ByteArray const& signature,
                                              interfaces::DigestEnginePtr digest) const override;
    utils::SignatureVerificationStatus verify(std::istream& message, ByteArray const& signature,
                                              interfaces::DigestEnginePtr digest) const override;

    unsigned long getKeySize() const override { return bitsOf(KeySize()); }

private:
    std::shared_ptr<RSAPublicKey<KeySize>> key_;
    utils::RSAPaddingMode padding_;
    interfaces::CryptoPRNGPtr prng_;
};

extern template class RSASigner<utils::RSAKeySize<1024>>;
extern template class RSASigner<utils::RSAKeySize<2048>>;
extern template class RSASigner<utils::RSAKeySize<4096>>;
extern template class RSAVerifier<utils::RSAKeySize<1024>>;
extern template class RSAVerifier<utils::RSAKeySize<2048>>;
extern template class RSAVerifier<utils::RSAKeySize<4096>>;

} // namespace foundation::crypto::openssl

#endif
