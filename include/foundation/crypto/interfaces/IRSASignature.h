#ifndef FOUNDATION_CRYPTO_INTERFACES_IRSASIGNATURE_H
#define FOUNDATION_CRYPTO_INTERFACES_IRSASIGNATURE_H

#include "foundation/crypto/interfaces/IDigestEngine.h"
#include "foundation/crypto/utils/ByteArray.h"
#include "foundation/crypto/utils/SignatureVerificationStatus.h"

#include <iosfwd>
#include <memory>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-rsa-signatures
/// @{

/// Makes RSA signatures with one private key: PSS or PKCS #1 v1.5 (RFC 8017, sections 8.1 and 8.2), as it was made. The
/// object never changes and may be shared between threads.
///
/// The digest engine given to each call only names the hash (by `getDigestNameForEVP_MD()`); its own state is neither
/// used nor changed. Any engine is taken, also MD5 and SHA-1, which no longer make safe signatures. An HMAC engine
/// signs as its plain hash.
///
/// PSS has a salt of 20 bytes with "sha1", 32 with "sha256" and 64 with "sha512" (RSA-1024 has no room for the latter);
/// with any other hash it is the longest that fits. A padding value outside the enumeration signs as PSS with
/// libcrypto's default salt, as long as the digest or as the key has room for.
class IRSASigner {
public:
    virtual ~IRSASigner() = default;

    /// Signs `message`, which may be empty, and returns the signature: 128, 256 or 512 bytes, as many as the modulus.
    /// PKCS #1 v1.5 signatures of one message are always the same, PSS signatures are not.
    ///
    /// @throws utils::InternalException for an OAEP padding, which comes first ("Cannot use OAEP as Padding Algorithm
    ///         for Signatures in OpenSSL."); for a null `digest` ("The digest engine does not exist.") or one that
    ///         throws; for a hash that libcrypto does not know or that is too long for the key; for a libcrypto
    ///         failure.
    virtual ByteArray sign(ByteArray const& message, DigestEnginePtr digest) const = 0;

    /// Signs the bytes of `message` from its current position to its end, white space included; they are held in memory
    /// whole. The stream is left at eof and fail, with `skipws` cleared. It is read before anything is checked.
    ///
    /// @throws utils::InternalException as above, and for a stream that throws.
    virtual ByteArray sign(std::istream& message, DigestEnginePtr digest) const = 0;

    /// The size in bits of the keys of this kind of signer: 1024, 2048 or 4096.
    virtual unsigned long getKeySize() const = 0;
};

/// The pointer as operations take and return it.
using RSASignerPtr = std::shared_ptr<IRSASigner>;

/// Checks the signatures that an `IRSASigner` makes, with the public key, the same padding and the same hash. The
/// digest engine serves as there. With PSS and a hash other than those three, and with a padding value outside the
/// enumeration, the salt's length is read from the signature. The object never changes and may be shared between
/// threads.
class IRSAVerifier {
public:
    virtual ~IRSAVerifier() = default;

    /// Says whether `signature` is one of `message`. Everything that stands in the way of a valid signature gives the
    /// invalid status, without a reason: a wrong signature, another size, padding or hash, a null `digest` or one
    /// that throws, a libcrypto failure.
    ///
    /// @throws utils::InternalException for an OAEP padding, and for nothing else ("Cannot use OAEP as Padding
    ///         Algorithm for Signatures in OpenSSL.").
    virtual utils::SignatureVerificationStatus verify(ByteArray const& message, ByteArray const& signature,
                                                      DigestEnginePtr digest) const = 0;

    /// The same for the bytes of `message` from its current position to its end; with the stream as in
    /// `IRSASigner::sign`.
    ///
    /// @throws utils::InternalException as above, and for a stream that throws.
    virtual utils::SignatureVerificationStatus verify(std::istream& message, ByteArray const& signature,
                                                      DigestEnginePtr digest) const = 0;

    /// The size in bits of the keys of this kind of verifier: 1024, 2048 or 4096.
    virtual unsigned long getKeySize() const = 0;
};

/// The pointer as operations take and return it.
using RSAVerifierPtr = std::shared_ptr<IRSAVerifier>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
