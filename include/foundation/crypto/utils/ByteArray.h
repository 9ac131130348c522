#ifndef FOUNDATION_CRYPTO_UTILS_BYTEARRAY_H
#define FOUNDATION_CRYPTO_UTILS_BYTEARRAY_H

#include <vector>

namespace foundation::crypto::utils {

/// Bytes as they cross the interface: keys, messages, digests, signatures, cipher texts and encoded keys. It does not
/// wipe itself; a caller that is done with secret bytes overwrites them.
/// @ingroup reference-bytes
using ByteArray = std::vector<unsigned char>;

} // namespace foundation::crypto::utils

namespace foundation::crypto::interfaces {

using utils::ByteArray;

} // namespace foundation::crypto::interfaces

namespace foundation::crypto::openssl {

using utils::ByteArray;

} // namespace foundation::crypto::openssl

#endif
