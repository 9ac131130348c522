#ifndef ZRFL_OPENSSL_RSAENCRYPTION_H
#define ZRFL_OPENSSL_RSAENCRYPTION_H

#include "common/KeySize.h"
#include "rsa/RSAKey.h"

#include <foundation/crypto/interfaces/ICryptoPRNG.h>
#include <foundation/crypto/interfaces/IRSAEncryption.h>
#include <foundation/crypto/utils/RSAPaddingMode.h>

namespace foundation::crypto::openssl {

/// Encrypts with an RSA public key. The constructor refuses `PSS` alone; a padding outside the enumeration is refused
/// by each operation.
template <class KeySize> class RSAEncryptor final : public interfaces::IRSAEncryptor {
public:
    /// @throws utils::InvalidKey for an empty `key`, utils::InternalException for an empty `prng` or for `PSS`.
    RSAEncryptor(std::shared_ptr<RSAPublicKey<KeySize>> key, utils::RSAPaddingMode padding,
                 interfaces::CryptoPRNGPtr prng);

    ByteArray encrypt(ByteArray const& plainText) const override;
    std::ostream& encrypt(std::istream& plainText, std::ostream& cipherText) const override;

    unsigned long getKeySize() const override { return bitsOf(KeySize()); }

private:
    std::shared_ptr<RSAPublicKey<KeySize>> key_;
    utils::RSAPaddingMode padding_;
    interfaces::CryptoPRNGPtr prng_;
};

/// Decrypts with an RSA private key; otherwise as `RSAEncryptor`.
template <class KeySize> class RSADecryptor final : public interfaces::IRSADecryptor {
public:
    /// @throws utils::InvalidKey for an empty `key`, utils::InternalException for an empty `prng` or for `PSS`.
    RSADecryptor(std::shared_ptr<RSAPrivateKey<KeySize>> key, utils::RSAPaddingMode padding,
                 interfaces::CryptoPRNGPtr prng);

    ByteArray decrypt(ByteArray const& cipherText) const override;
    std::ostream& decrypt(std::istream& cipherText, std::ostream& plainText) const override;

    unsigned long getKeySize() const override { return bitsOf(KeySize()); }

private:
    std::shared_ptr<RSAPrivateKey<KeySize>> key_;
    utils::RSAPaddingMode padding_;
    interfaces::CryptoPRNGPtr prng_;
};

extern template class RSAEncryptor<utils::RSAKeySize<1024>>;
extern template class RSAEncryptor<utils::RSAKeySize<2048>>;
extern template class RSAEncryptor<utils::RSAKeySize<4096>>;
extern template class RSADecryptor<utils::RSAKeySize<1024>>;
extern template class RSADecryptor<utils::RSAKeySize<2048>>;
extern template class RSADecryptor<utils::RSAKeySize<4096>>;

} // namespace foundation::crypto::openssl

#endif
