#ifndef FOUNDATION_CRYPTO_INTERFACES_IHSMSIGNER_H
#define FOUNDATION_CRYPTO_INTERFACES_IHSMSIGNER_H

#include "foundation/crypto/interfaces/IDigestEngine.h"
#include "foundation/crypto/utils/ByteArray.h"

#include <iosfwd>
#include <memory>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-hsm
/// @{

/// Makes RSA-PSS signatures (RFC 8017, section 8.1) with a private key that never leaves a hardware security module,
/// reached over PKCS #11. Only its description is kept: **every call, `getKeySize()` included, loads the module, logs
/// in, finds the key anew, and unloads everything**; a failed call leaves the signer usable.
///
/// What a host has to know:
/// - **Threads: a process must make its HSM calls one at a time**, whatever the signers and the tokens. Ending a call
///   shuts the module down for the whole process: calls side by side crash or hang inside it and can damage the token.
///   The library takes no lock; `SerializedHSMSigner.h` among the examples is a signer that makes the calls of others
///   take turns. A signer itself holds no state.
/// - **PIN: a wrong one is tried three times in each call and can lock the token.** The library never tries again, and
///   a host should not either. A URI without a PIN makes the provider module ask for it on the terminal or read it from
///   the standard input.
/// - Each call leaves a little behind in libcrypto that cannot be taken back: after thousands of calls every new key
///   object in the process takes noticeably longer to make.
/// - The calling thread's libcrypto error queue is not kept as it was.
///
/// Failures are `utils::InternalException`; standard exceptions, also those of a stream or a digest engine, pass
/// unchanged.
class IHSMSigner {
public:
    virtual ~IHSMSigner() = default;

    /// Signs `message`, which may be empty, and returns the signature, as many bytes as the modulus. `digest` only
    /// names the hash (by `getDigestNameForEVP_MD()`); its own state is neither used nor changed, and an HMAC engine
    /// signs as its plain hash. The salt has 20 bytes with "sha1", 32 with "sha256" and 64 with "sha512"; with any
    /// other hash it is the longest that fits, and for a padding value outside the enumeration the provider module's
    /// default.
    ///
    /// Faults are looked for in this order:
    ///
    /// @throws utils::InternalException when the provider module cannot be found or loaded; when the URI describes no
    ///         private key, the PIN or the PKCS #11 module is wrong ("Failed to load the reference to the key on HSM"),
    ///         or the URI cannot be opened at all; when it describes several ("Error when more than one private key can
    ///         be described by " and the URI); for a key of 1024 bits or fewer, elliptic-curve keys included ("RSA 1024
    ///         is insecure and no longer supported."); for an OAEP or PKCS #1 v1.5 padding; for a null `digest` ("The
    ///         digest engine does not exist."); when the module cannot make the signature.
    virtual ByteArray sign(ByteArray const& message, DigestEnginePtr digest) const = 0;

    /// Signs the bytes of `message` from its current position to its end, white space included; they are held in memory
    /// whole. The stream is left at eof and fail, with `skipws` cleared. It is read before anything is checked.
    ///
    /// @throws utils::InternalException as above; what the stream throws passes unchanged.
    virtual ByteArray sign(std::istream& message, DigestEnginePtr digest) const = 0;

    /// Asks the module for the key's size in bits, with all that a call involves. A key of 1024 bits is not refused
    /// here.
    ///
    /// @throws utils::InternalException as `sign`, up to finding the key.
    virtual unsigned long getKeySize() const = 0;
};

/// The pointer as operations take and return it.
using HSMSignerPtr = std::shared_ptr<IHSMSigner>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
