#ifndef ZRFL_OPENSSL_ECCKEY_H
#define ZRFL_OPENSSL_ECCKEY_H

#include "common/Handles.h"

#include <foundation/crypto/interfaces/IECCKey.h>
#include <foundation/crypto/utils/ByteArray.h>
#include <foundation/crypto/utils/EllipticCurve.h>

#include <istream>
#include <memory>
#include <string>

namespace foundation::crypto::openssl {

/// What the bytes are that a key is made from.
enum class ECCKeyInput : int {
    Encoded = 0, ///< PEM text.
    Raw = 1,     ///< The private integer or the public point.
};

/// A private key on the curve `C`, with its public part.
template <utils::EllipticCurve C> class ECCPrivateKey final : public interfaces::IECCPrivateKey<C> {
public:
    /// Encoded bytes that are encrypted open with the empty password.
    ECCPrivateKey(ByteArray const& bytes, ECCKeyInput kind);

    /// The stream holds PEM text.
    ECCPrivateKey(std::istream& encodedKey, std::string const& password);

    /// Takes over `key`, which has to lie on `C`.
    explicit ECCPrivateKey(EVP_PKEYUPtr key);

    ByteArray getPEM() const override;
    ByteArray getPrivateInteger() const override;

    /// The key itself, which stays this object's.
    EVP_PKEY* get() const noexcept { return key_.get(); }

private:
    EVP_PKEYUPtr key_;
};

/// A public key on the curve `C`.
template <utils::EllipticCurve C> class ECCPublicKey final : public interfaces::IECCPublicKey<C> {
public:
    ECCPublicKey(ByteArray const& bytes, ECCKeyInput kind);

    /// The stream holds PEM text.
    explicit ECCPublicKey(std::istream& encodedKey);

    /// Takes over `key`, which has to lie on `C`.
    explicit ECCPublicKey(EVP_PKEYUPtr key);

    ByteArray getPEM() const override;
    ByteArray getPublicPoint() const override;

    /// The key itself, which stays this object's.
    EVP_PKEY* get() const noexcept { return key_.get(); }

private:
    EVP_PKEYUPtr key_;
};

/// A new key pair on the curve `C`.
template <utils::EllipticCurve C> class ECCKeyPair final : public interfaces::IECCKeyPair<C> {
public:
    ECCKeyPair();

    interfaces::ECCPrivateKeyPtr<C> getPrivateKey() const override { return privateKey_; }

    interfaces::ECCPublicKeyPtr<C> getPublicKey() const override { return publicKey_; }

private:
    explicit ECCKeyPair(EVP_PKEYUPtr generated);

    std::shared_ptr<ECCPublicKey<C>> publicKey_;
    std::shared_ptr<ECCPrivateKey<C>> privateKey_;
};

extern template class ECCPrivateKey<utils::EllipticCurve::P256>;
extern template class ECCPrivateKey<utils::EllipticCurve::Curve25519>;
extern template class ECCPublicKey<utils::EllipticCurve::P256>;
extern template class ECCPublicKey<utils::EllipticCurve::Curve25519>;
extern template class ECCKeyPair<utils::EllipticCurve::P256>;
extern template class ECCKeyPair<utils::EllipticCurve::Curve25519>;

} // namespace foundation::crypto::openssl

#endif
