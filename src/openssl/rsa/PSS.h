#ifndef ZRFL_OPENSSL_PSS_H
#define ZRFL_OPENSSL_PSS_H

#include <openssl/evp.h>

#include <string>

namespace foundation::crypto::openssl {

/// Sets the salt length of an RSA-PSS signature (RFC 8017, section 9.1): the digest's own length for "sha1", "sha256"
/// and "sha512"; for every other name the largest that fits when signing, and whatever the signature has when
/// verifying. False when libcrypto refuses.
bool setPSSSaltLength(EVP_PKEY_CTX* context, std::string const& digestName);

} // namespace foundation::crypto::openssl

#endif
