#ifndef FOUNDATION_CRYPTO_INTERFACES_IECCSIGNATURE_H
#define FOUNDATION_CRYPTO_INTERFACES_IECCSIGNATURE_H

#include "foundation/crypto/interfaces/IDigestEngine.h"
#include "foundation/crypto/utils/ByteArray.h"
#include "foundation/crypto/utils/SignatureVerificationStatus.h"

#include <iosfwd>
#include <memory>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-ecc-signatures
/// @{

/// Makes signatures with one private key: ECDSA on P-256 (FIPS 186-5) or Ed25519 on Curve25519 (RFC 8032). The object
/// never changes and may be shared between threads.
///
/// The digest engine given to each call only names the hash; its own state is neither used nor changed. The curves
/// accept, by `getDigestName()`: P-256 "SHA224", "SHA256", "SHA384" and "SHA512"; Curve25519 only "SHA512", which
/// Ed25519 has built in. So MD5, SHA-1, HMAC and BLAKE2b engines are refused.
class IECCSigner {
public:
    virtual ~IECCSigner() = default;

    /// Signs `message`, which may be empty, and returns the signature. P-256: DER, a SEQUENCE of the integers r and s,
    /// of varying length and at most 72 bytes, and different for each call. Curve25519: 64 bytes, always the same for
    /// the same key and message.
    ///
    /// @throws utils::UnsupportedDigestAlgorithm for a digest that the curve does not accept.
    /// @throws utils::InternalException for a null `digest` ("The digest engine does not exist.") or one that throws;
    ///         for a key that was missing or not of this library when the signer was made; for a libcrypto failure.
    virtual ByteArray sign(ByteArray const& message, DigestEnginePtr digest) const = 0;

    /// Signs the bytes of `message` from its current position to its end, white space included; they are held in memory
    /// whole. The stream is left at eof and fail; its format flags are as before, also after a failure. It is read
    /// before anything is checked, and must not be used by another thread meanwhile.
    ///
    /// @throws utils::UnsupportedDigestAlgorithm, utils::InternalException as above; the latter also for a stream that
    ///         throws.
    virtual ByteArray sign(std::istream& message, DigestEnginePtr digest) const = 0;

    /// The key's size in bits: 256 on both curves; 0 without a key.
    virtual long getKeySize() const = 0;
};

/// The pointer as operations take and return it.
using ECCSignerPtr = std::shared_ptr<IECCSigner>;

/// Checks the signatures that an `IECCSigner` makes, with the public key and the same hash. It accepts the same digest
/// engines. The object never changes and may be shared between threads.
class IECCVerifier {
public:
    virtual ~IECCVerifier() = default;

    /// Says whether `signature` is one of `message`. A signature that does not match, is empty or is not well formed
    /// gives the invalid status; it is never an exception.
    ///
    /// @throws utils::UnsupportedDigestAlgorithm for a digest that the curve does not accept.
    /// @throws utils::InternalException for a null `digest` ("The digest engine does not exist.") or one that throws;
    ///         for a key that was missing or not of this library when the verifier was made; when libcrypto cannot set
    ///         the verification up.
    virtual utils::SignatureVerificationStatus verify(ByteArray const& message, ByteArray const& signature,
                                                      DigestEnginePtr digest) const = 0;

    /// The same for the bytes of `message` from its current position to its end; with the stream as in
    /// `IECCSigner::sign`.
    ///
    /// @throws utils::UnsupportedDigestAlgorithm, utils::InternalException as above; the latter also for a stream that
    ///         throws.
    virtual utils::SignatureVerificationStatus verify(std::istream& message, ByteArray const& signature,
                                                      DigestEnginePtr digest) const = 0;

    /// The key's size in bits: 256 on both curves; 0 without a key.
    virtual long getKeySize() const = 0;
};

/// The pointer as operations take and return it.
using ECCVerifierPtr = std::shared_ptr<IECCVerifier>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
