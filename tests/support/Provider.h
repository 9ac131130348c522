#ifndef ZRFL_TESTS_SUPPORT_PROVIDER_H
#define ZRFL_TESTS_SUPPORT_PROVIDER_H

#include <foundation/crypto/openssl/CryptoProvider.h>

namespace support {

/// The provider of the tests and their helpers. It is made before any test, so that its own calls into libcrypto stand
/// in no recording.
inline foundation::crypto::openssl::CryptoProvider const provider;

} // namespace support

#endif
