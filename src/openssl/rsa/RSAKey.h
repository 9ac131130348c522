#ifndef ZRFL_OPENSSL_RSAKEY_H
#define ZRFL_OPENSSL_RSAKEY_H

#include "common/Handles.h"
#include "common/KeySize.h"

#include <foundation/crypto/interfaces/ICryptoPRNG.h>
#include <foundation/crypto/interfaces/IRSAKey.h>
#include <foundation/crypto/utils/ByteArray.h>
#include <foundation/crypto/utils/KeySizes.h>

#include <cstddef>
#include <istream>
#include <memory>
#include <string>

namespace foundation::crypto::openssl {

/// An RSA private key (RFC 8017) whose modulus has as many bits as `KeySize` says.
template <class KeySize> class RSAPrivateKey final : public interfaces::IRSAPrivateKey<KeySize> {
public:
    /// Takes over `key`. Every constructor ends with the check of the size.
    ///
    /// @throws utils::Exception for a key of another size.
    explicit RSAPrivateKey(EVP_PKEYUPtr key);
    /// Reads PEM or DER that is not encrypted, or only with an empty password.
    explicit RSAPrivateKey(ByteArray const& encodedKey);
    RSAPrivateKey(std::istream& encodedKey, std::string const& password);
    /// From n, d and e. Such a key holds no CRT factors.
    RSAPrivateKey(ByteArray const& modulus, ByteArray const& privateExponent, ByteArray const& publicExponent);

    unsigned long getKeySize() const override { return bitsOf(KeySize()); }

    ByteArray getDER() const override;
    ByteArray getModulus() const override;
    ByteArray getPrivateExponent() const override;

    /// libcrypto's key, never null, for the other classes of this library. It stays with this object.
    EVP_PKEY* get() const noexcept { return key_.get(); }

private:
    EVP_PKEYUPtr key_;
};

/// An RSA public key (RFC 8017) whose modulus has as many bits as `KeySize` says.
template <class KeySize> class RSAPublicKey final : public interfaces::IRSAPublicKey<KeySize> {
public:
    /// Takes over `key`. Every constructor ends with the check of the size.
    ///
    /// @throws utils::Exception for a key of another size.
    explicit RSAPublicKey(EVP_PKEYUPtr key);
    explicit RSAPublicKey(ByteArray const& encodedKey);
    /// @throws utils::NotImplemented for a stream that throws while it is read.
    explicit RSAPublicKey(std::istream& encodedKey);
    /// From n and e.
    RSAPublicKey(ByteArray const& modulus, ByteArray const& publicExponent);

    unsigned long getKeySize() const override { return bitsOf(KeySize()); }

    ByteArray getDER() const override;
    ByteArray getModulus() const override;
    ByteArray getPublicExponent() const override;

    /// libcrypto's key, never null, for the other classes of this library. It stays with this object.
    EVP_PKEY* get() const noexcept { return key_.get(); }

private:
    EVP_PKEYUPtr key_;
};

/// A new key, and its two halves as independent objects.
template <class KeySize> class RSAKeyPair final : public interfaces::IRSAKeyPair<KeySize> {
public:
    /// Generates the key; `prng` is kept and not drawn from.
    explicit RSAKeyPair(interfaces::CryptoPRNGPtr prng);

    std::shared_ptr<interfaces::IRSAPublicKey<KeySize>> getPublicKey() const override { return publicKey_; }

    std::shared_ptr<interfaces::IRSAPrivateKey<KeySize>> getPrivateKey() const override { return privateKey_; }

private:
    interfaces::CryptoPRNGPtr prng_;
    std::shared_ptr<RSAPrivateKey<KeySize>> privateKey_;
    std::shared_ptr<RSAPublicKey<KeySize>> publicKey_;
};

/// The bytes of the modulus of a key whose size is `KeySize`.
template <class KeySize> constexpr std::size_t modulusBytes = bitsOf(KeySize()) / 8;

extern template class RSAPrivateKey<utils::RSAKeySize<1024>>;
extern template class RSAPrivateKey<utils::RSAKeySize<2048>>;
extern template class RSAPrivateKey<utils::RSAKeySize<4096>>;
extern template class RSAPublicKey<utils::RSAKeySize<1024>>;
extern template class RSAPublicKey<utils::RSAKeySize<2048>>;
extern template class RSAPublicKey<utils::RSAKeySize<4096>>;
extern template class RSAKeyPair<utils::RSAKeySize<1024>>;
extern template class RSAKeyPair<utils::RSAKeySize<2048>>;
extern template class RSAKeyPair<utils::RSAKeySize<4096>>;

} // namespace foundation::crypto::openssl

#endif
