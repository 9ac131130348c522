#ifndef FOUNDATION_CRYPTO_INTERFACES_IECCKEY_H
#define FOUNDATION_CRYPTO_INTERFACES_IECCKEY_H

#include "foundation/crypto/utils/ByteArray.h"
#include "foundation/crypto/utils/EllipticCurve.h"

#include <memory>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-ecc-keys
/// @{

/// A private key on the curve `C`: for ECDSA on P-256 (FIPS 186-5) or for Ed25519 (RFC 8032). It never changes and may
/// be shared between threads.
template <utils::EllipticCurve C> class IECCPrivateKey {
public:
    virtual ~IECCPrivateKey() = default;

    /// Returns the key, **not encrypted**, as the text of a PEM block "PRIVATE KEY" (PKCS #8, RFC 7468), even when it
    /// was read from an encrypted one. There is no terminating NUL.
    ///
    /// @throws utils::InternalException when libcrypto fails, as it does for a P-256 key made from a number of more
    ///         than 256 bits.
    virtual ByteArray getPEM() const = 0;

    /// Returns the private number, a secret, in the form that the provider's `...FromInteger` operations take. P-256:
    /// the number, big-endian and without leading zero bytes, so mostly 32 bytes, sometimes fewer, and none for a key
    /// made from 0. Curve25519: the 32 bytes of the raw Ed25519 key.
    ///
    /// @throws utils::InternalException as `getPEM()`.
    virtual ByteArray getPrivateInteger() const = 0;
};

/// The pointer as operations take and return it.
template <utils::EllipticCurve C> using ECCPrivateKeyPtr = std::shared_ptr<IECCPrivateKey<C>>;

/// A public key on the curve `C`. It never changes and may be shared between threads.
template <utils::EllipticCurve C> class IECCPublicKey {
public:
    virtual ~IECCPublicKey() = default;

    /// Returns the key as the text of a PEM block "PUBLIC KEY" (SubjectPublicKeyInfo, RFC 7468). There is no
    /// terminating NUL.
    ///
    /// @throws utils::InternalException when libcrypto fails.
    virtual ByteArray getPEM() const = 0;

    /// Returns the public point in the form that the provider's `...FromPoint` operations take. P-256: a SEC 1 point,
    /// uncompressed, of 65 bytes (04, X, Y); a key read from a PEM block that holds a compressed point returns its 33
    /// bytes. Curve25519: the 32 bytes of the raw Ed25519 key.
    ///
    /// @throws utils::InternalException when libcrypto fails.
    virtual ByteArray getPublicPoint() const = 0;
};

/// The pointer as operations take and return it.
template <utils::EllipticCurve C> using ECCPublicKeyPtr = std::shared_ptr<IECCPublicKey<C>>;

/// A generated key pair on the curve `C`. The two keys are independent objects, and each may outlive the pair. It never
/// changes and may be shared between threads.
template <utils::EllipticCurve C> class IECCKeyPair {
public:
    virtual ~IECCKeyPair() = default;

    /// Returns the private key, shared with the pair; never null.
    virtual ECCPrivateKeyPtr<C> getPrivateKey() const = 0;

    /// Returns the public key, shared with the pair; never null.
    virtual ECCPublicKeyPtr<C> getPublicKey() const = 0;
};

/// The pointer as operations take and return it.
template <utils::EllipticCurve C> using ECCKeyPairPtr = std::shared_ptr<IECCKeyPair<C>>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
