#ifndef ZRFL_OPENSSL_DIGESTSUPPORT_H
#define ZRFL_OPENSSL_DIGESTSUPPORT_H

#include "common/ErrorText.h"

#include <foundation/crypto/interfaces/IDigestEngine.h>
#include <foundation/crypto/utils/ByteArray.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <openssl/evp.h>

#include <istream>

namespace foundation::crypto::openssl {

// What every digest engine of this library has in common, whatever it computes and however it reports failures. An
// engine can be copied in the middle of a message. Nothing in the library does so; the copies are kept right on
// purpose.

/// Feeds `data`, then finalises.
ByteArray updateAndFinalize(interfaces::IDigestEngine& engine, ByteArray const& data);

/// Feeds `input` in chunks of 1024 bytes for as long as it is good, then finalises.
ByteArray updateAndFinalize(interfaces::IDigestEngine& engine, std::istream& input);

/// The hash that libcrypto knows by the name in the descriptor `Algorithm`.
///
/// @throws utils::InternalException when libcrypto does not know it.
template <class Algorithm> EVP_MD const* findDigest() {
    EVP_MD const* const digest = EVP_get_digestbyname(Algorithm::getDigestNameForEVP_MD().c_str());
    if (digest == nullptr) {
        throw utils::InternalException("OpenSSL did not recognize " + Algorithm::getDigestName() +
                                       "; Error Message=" + getOpenSSLErrorText());
    }
    return digest;
}

} // namespace foundation::crypto::openssl

#endif
