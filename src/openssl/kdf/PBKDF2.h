#ifndef ZRFL_OPENSSL_PBKDF2_H
#define ZRFL_OPENSSL_PBKDF2_H

#include <foundation/crypto/utils/ByteArray.h>

#include <string>

namespace foundation::crypto::openssl {

/// Derives `keyLength` bytes from `password` and `salt` with PBKDF2 (RFC 8018) over HMAC-SHA-512.
///
/// @throws utils::InvalidArgument for a password or a salt of more than 65535 bytes.
/// @throws std::length_error for a negative `keyLength`.
/// @throws utils::InternalException for a `keyLength` of 0, fewer than one iteration, or a libcrypto failure.
ByteArray deriveKeyUsingPBKDF2(std::string const& password, std::string const& salt, int keyLength, int iterations);

} // namespace foundation::crypto::openssl

#endif
