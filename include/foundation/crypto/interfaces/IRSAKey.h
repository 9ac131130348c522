#ifndef FOUNDATION_CRYPTO_INTERFACES_IRSAKEY_H
#define FOUNDATION_CRYPTO_INTERFACES_IRSAKEY_H

#include "foundation/crypto/utils/ByteArray.h"
#include "foundation/crypto/utils/KeySizes.h"

#include <memory>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-rsa-keys
///
/// @par Sizes
/// `KeySize` names the size of the modulus: `utils::RSAKeySize` of 1024, 2048 or 4096 bits. A key of another size
/// cannot be made. 1024 bits are offered for old data only (NIST SP 800-131A disallows them for new signatures).
///
/// @{

/// An RSA private key (RFC 8017). It never changes and may be shared between threads. Numbers are big-endian and
/// unsigned, without leading zero bytes.
template <class KeySize> class IRSAPrivateKey {
public:
    virtual ~IRSAPrivateKey() = default;

    /// The size of the modulus in bits: 1024, 2048 or 4096.
    virtual unsigned long getKeySize() const = 0;

    /// Returns the key, **not encrypted**, as DER: PKCS #8 PrivateKeyInfo (RFC 5208), whatever form it came in.
    ///
    /// @throws utils::InternalException for a key made from modulus and exponents, which lacks the CRT factors that the
    ///         encoding needs ("Failed to convert RSA private key to DER-form BIO."), or for a libcrypto failure.
    virtual ByteArray getDER() const = 0;

    /// Returns the modulus n: 128, 256 or 512 bytes.
    ///
    /// @throws utils::InternalException when libcrypto fails.
    virtual ByteArray getModulus() const = 0;

    /// Returns the private exponent d, a secret: normally at most as many bytes as the modulus. A key that
    /// was read from DER or PEM has the exponent that stands there, of whatever size.
    ///
    /// @throws utils::InternalException when libcrypto fails.
    virtual ByteArray getPrivateExponent() const = 0;
};

/// The pointer as operations take and return it.
template <unsigned long Bits> using RSAPrivateKeyPtr = std::shared_ptr<IRSAPrivateKey<utils::RSAKeySize<Bits>>>;

/// An RSA public key (RFC 8017); otherwise as `IRSAPrivateKey`.
template <class KeySize> class IRSAPublicKey {
public:
    virtual ~IRSAPublicKey() = default;

    /// The size of the modulus in bits: 1024, 2048 or 4096.
    virtual unsigned long getKeySize() const = 0;

    /// Returns the key as DER: X.509 SubjectPublicKeyInfo (RFC 5280, section 4.1), whatever form it came in.
    ///
    /// @throws utils::InternalException when libcrypto fails ("Failed to convert RSA public key to DER-form BIO.").
    virtual ByteArray getDER() const = 0;

    /// Returns the modulus n: 128, 256 or 512 bytes.
    ///
    /// @throws utils::InternalException when libcrypto fails.
    virtual ByteArray getModulus() const = 0;

    /// Returns the public exponent e; 65537, as generated keys have it, is the three bytes 01 00 01.
    ///
    /// @throws utils::InternalException when libcrypto fails.
    virtual ByteArray getPublicExponent() const = 0;
};

/// The pointer as operations take and return it.
template <unsigned long Bits> using RSAPublicKeyPtr = std::shared_ptr<IRSAPublicKey<utils::RSAKeySize<Bits>>>;

/// A generated RSA key pair. The two keys are independent objects, and each may outlive the pair. The pair also keeps
/// the random generator that it was made with. It never changes and may be shared between threads.
template <class KeySize> class IRSAKeyPair {
public:
    virtual ~IRSAKeyPair() = default;

    /// Returns the public key, shared with the pair; never null.
    virtual std::shared_ptr<IRSAPublicKey<KeySize>> getPublicKey() const = 0;

    /// Returns the private key, shared with the pair; never null.
    virtual std::shared_ptr<IRSAPrivateKey<KeySize>> getPrivateKey() const = 0;
};

/// The pointer as operations take and return it.
template <unsigned long Bits> using RSAKeyPairPtr = std::shared_ptr<IRSAKeyPair<utils::RSAKeySize<Bits>>>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
