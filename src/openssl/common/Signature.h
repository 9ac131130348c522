#ifndef ZRFL_OPENSSL_SIGNATURE_H
#define ZRFL_OPENSSL_SIGNATURE_H

#include <foundation/crypto/interfaces/IDigestEngine.h>
#include <foundation/crypto/utils/ByteArray.h>

#include <openssl/evp.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace foundation::crypto::openssl {

// What every signer of this library has in common, whatever its key.

/// A message where it lies: in the host's array, or in the block that a stream was read into.
struct Message {
    template <class Allocator>
    Message(std::vector<unsigned char, Allocator> const& bytes) noexcept : data(bytes.data()), size(bytes.size()) {}

    unsigned char const* data;
    std::size_t size;
};

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
ByteArray sign(EVP_MD_CTX* context, Message message);

} // namespace foundation::crypto::openssl

#endif
