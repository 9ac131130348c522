#ifndef FOUNDATION_CRYPTO_UTILS_DIGESTALGORITHMS_H
#define FOUNDATION_CRYPTO_UTILS_DIGESTALGORITHMS_H

#include "foundation/crypto/utils/Visibility.h"

#include <cstddef>
#include <string>

namespace foundation::crypto::utils {

/// @addtogroup reference-digests
///
/// @par Descriptors
/// There is one for each algorithm. They hold nothing and may be asked from any thread:
///
/// - `getDigestName()` is the algorithm's own name, as messages show it and as the elliptic-curve signers compare it;
/// - `getDigestSize()` is the length of the digest in bytes;
/// - `getDigestNameForEVP_MD()` is the name by which libcrypto finds the hash; for HMAC, that of the hash underneath.
///
/// @{

/// MD5 (RFC 1321). Broken; for old formats only, and refused for elliptic-curve signatures.
class ZRFL_EXPORT MD5DigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
    static std::string getDigestNameForEVP_MD();
};

/// SHA-1 (FIPS 180-4). Broken for signatures; refused for elliptic-curve ones.
class ZRFL_EXPORT SHA1DigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
    static std::string getDigestNameForEVP_MD();
};

/// SHA-224 (FIPS 180-4).
class ZRFL_EXPORT SHA224DigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
    static std::string getDigestNameForEVP_MD();
};

/// SHA-256 (FIPS 180-4).
class ZRFL_EXPORT SHA256DigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
    static std::string getDigestNameForEVP_MD();
};

/// SHA-384 (FIPS 180-4).
class ZRFL_EXPORT SHA384DigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
    static std::string getDigestNameForEVP_MD();
};

/// SHA-512 (FIPS 180-4).
class ZRFL_EXPORT SHA512DigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
    static std::string getDigestNameForEVP_MD();
};

/// HMAC with SHA-1 (RFC 2104, FIPS 198-1).
/// @ingroup reference-hmac
class ZRFL_EXPORT HMACSHA1DigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
    static std::string getDigestNameForEVP_MD();
};

/// HMAC with SHA-256 (RFC 2104, FIPS 198-1).
/// @ingroup reference-hmac
class ZRFL_EXPORT HMACSHA256DigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
    static std::string getDigestNameForEVP_MD();
};

/// HMAC with SHA-512 (RFC 2104, FIPS 198-1).
/// @ingroup reference-hmac
class ZRFL_EXPORT HMACSHA512DigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
    static std::string getDigestNameForEVP_MD();
};

/// BLAKE2b (RFC 7693), with or without a key. The size is the default one, 64 bytes; an engine answers for its own size
/// and for its libcrypto name, which depends on whether it has a key.
/// @ingroup reference-blake2b
class ZRFL_EXPORT Blake2bDigestAlgorithm {
public:
    static std::string getDigestName();
    static std::size_t getDigestSize() noexcept;
};

/// @}

} // namespace foundation::crypto::utils

#endif
