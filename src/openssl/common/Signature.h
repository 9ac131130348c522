#ifndef ZRFL_OPENSSL_SIGNATURE_H
#define ZRFL_OPENSSL_SIGNATURE_H

#include <foundation/crypto/interfaces/IDigestEngine.h>
#include <foundation/crypto/utils/ByteArray.h>

#include <openssl/evp.h>

#include <memory>
#include <string>

namespace foundation::crypto::openssl {

// What every signer of this library has in common, whatever its key.

/// @throws utils::InternalException "The digest engine does not exist." for an empty `engine`.
void requireDigestEngine(interfaces::DigestEnginePtr const& engine);

/// The name by which libcrypto knows the digest of `engine`.
///
/// @throws utils::InternalException as `requireDigestEngine`.
std::string getDigestNameForSignature(interfaces::DigestEnginePtr const& engine);

/// Signs `message` with the key, digest and padding that `context` was set up with: asks for the signature's size, then
/// for the signature.
///
/// @throws utils::InternalException when libcrypto cannot.
ByteArray sign(EVP_MD_CTX* context, ByteArray const& message);

} // namespace foundation::crypto::openssl

#endif
