#ifndef FOUNDATION_CRYPTO_INTERFACES_IDIGESTENGINE_H
#define FOUNDATION_CRYPTO_INTERFACES_IDIGESTENGINE_H

#include "foundation/crypto/utils/ByteArray.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-digests
/// @{

/// Computes a message digest (FIPS 180-4, RFC 1321), an HMAC (RFC 2104) or a BLAKE2b digest (RFC 7693) over a message
/// that arrives in one piece, in several, or as a stream. Signers and verifiers also take an engine as their choice of
/// hash: they only ask for its names, and its own state is neither used nor changed. An engine of the host's own must
/// not release, while it is asked, the object that asks.
///
/// The engine carries the state of the message in progress, so one engine serves one thread at a time; distinct engines
/// are independent. It can be used for any number of messages, one after the other. After an operation that failed the
/// state of the message is unspecified.
///
/// The operations throw `utils::InternalException`: for a libcrypto failure and, from `finalize()` and the stream form
/// of `computeDigest`, for any standard exception met on the way, with its text. (A stream that throws an exception of
/// this library's own has it passed on unchanged by BLAKE2b.)
/// @ingroup reference-hmac reference-blake2b
class IDigestEngine {
public:
    virtual ~IDigestEngine() = default;

    /// Feeds `data`, which may be empty, and returns what `finalize()` returns. Whatever was fed before the call is
    /// part of the digest; the engine is then ready for a new message.
    ///
    /// @throws utils::InternalException as `update` and `finalize()`.
    virtual ByteArray computeDigest(ByteArray const& data) = 0;

    /// The same over the bytes of `input` from its current position to its end, read unformatted and in chunks of 1024
    /// bytes. A stream that is not good on entry adds nothing. The stream is neither rewound nor cleared: afterwards it
    /// is normally at eof and fail. Only a chunk is held in memory.
    ///
    /// @throws utils::InternalException as `update` and `finalize()`, and for a stream that throws (its exception
    ///         mask).
    virtual ByteArray computeDigest(std::istream& input) = 0;

    /// Adds `data` to the message in progress; an empty one changes nothing.
    ///
    /// @throws utils::InternalException when libcrypto fails.
    virtual void update(ByteArray const& data) = 0;

    /// Adds the `size` bytes at `data`, which may be null when `size` is 0.
    ///
    /// @throws utils::InternalException when libcrypto fails.
    virtual void update(unsigned char const* data, std::size_t size) = 0;

    /// Returns the digest, `getDigestSize()` bytes, of everything fed since the engine was made or last finalised, and
    /// makes it ready for a new message under the same key, salt and size. With nothing fed, that is the digest of the
    /// empty message.
    ///
    /// @throws utils::InternalException when libcrypto fails, makes a digest of another size, or cannot start anew; the
    ///         engine may then stay unusable, a plain digest's always does.
    virtual ByteArray finalize() = 0;

    /// The algorithm's name: "MD5", "SHA1", "SHA224", "SHA256", "SHA384", "SHA512", "HMAC-SHA1", "HMAC-SHA256",
    /// "HMAC-SHA512" or "BLAKE2b". The elliptic-curve signers and verifiers choose by it which engines they accept.
    virtual std::string getDigestName() const = 0;

    /// The name that libcrypto knows the algorithm by, in lower case: "md5", "sha1", "sha224", "sha256", "sha384" or
    /// "sha512"; for HMAC that of the hash underneath. For BLAKE2b it is "BLAKE2B", or "BLAKE2BMAC" with a key. Signers
    /// and verifiers hash with the algorithm of this name.
    virtual std::string getDigestNameForEVP_MD() const = 0;

    /// The size of the digest in bytes; for BLAKE2b, the size that the engine was made with.
    virtual std::size_t getDigestSize() const = 0;
};

/// The pointer as operations take and return it.
using DigestEnginePtr = std::shared_ptr<IDigestEngine>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
