#ifndef ZRFL_OPENSSL_RSAKEYREADER_H
#define ZRFL_OPENSSL_RSAKEYREADER_H

#include "common/Handles.h"

#include <foundation/crypto/interfaces/KeySignatureMethod.h>
#include <foundation/crypto/utils/ByteArray.h>

#include <istream>
#include <string>
#include <string_view>

namespace foundation::crypto::openssl {

// Reading encoded keys, of any size. The key is PEM when "-----BEGIN " stands in it before "-----END ", else DER. All
// failures are utils::InternalException, those of a stream that throws included. `password` ends at its first NUL and
// may be empty; nobody is ever asked for one.

/// A private key: PEM, encrypted or not, or DER in any form that libcrypto knows (PKCS #8, encrypted or not; PKCS #1).
EVP_PKEYUPtr loadRSAPrivateKey(std::string_view encodedKey, std::string const& password);
EVP_PKEYUPtr loadRSAPrivateKey(ByteArray const& encodedKey, std::string const& password);
/// From the stream's position to its end; `skipws` is left cleared.
EVP_PKEYUPtr loadRSAPrivateKey(std::istream& encodedKey, std::string const& password);

/// A public key: PEM, or DER as X.509 SubjectPublicKeyInfo.
EVP_PKEYUPtr loadRSAPublicKey(std::string_view encodedKey);
EVP_PKEYUPtr loadRSAPublicKey(ByteArray const& encodedKey);
/// From the stream's position to its end; `skipws` is left cleared.
EVP_PKEYUPtr loadRSAPublicKey(std::istream& encodedKey);

/// Which of the RSA sizes `key` has; its kind is not looked at.
///
/// @throws utils::InternalException "Unsupported Key size" when it has none of them.
interfaces::KeySignatureMethod getKeySignatureMethod(EVP_PKEY const* key);

} // namespace foundation::crypto::openssl

#endif
