#ifndef ZRFL_OPENSSL_ECCKEYREADER_H
#define ZRFL_OPENSSL_ECCKEYREADER_H

#include "common/Handles.h"

#include <foundation/crypto/utils/EllipticCurve.h>

#include <string>

namespace foundation::crypto::openssl {

// All failures are utils::InternalException unless stated; a null argument is one of them.

/// The SubjectPublicKeyInfo in the first public-key block of the PEM text in `bio`.
///
/// @throws utils::InvalidKeyEncoding when there is none.
EVP_PKEYUPtr readPEMPublicKey(BIO* bio);

/// The key in the first private-key block of the PEM text in `bio`; `password` opens an encrypted one and is ignored
/// otherwise.
///
/// @throws utils::InvalidKeyEncoding when there is none, or it cannot be opened with `password`.
EVP_PKEYUPtr readPEMPrivateKey(BIO* bio, std::string const& password);

/// Accepts `key` if it lies on `expected`.
///
/// @throws utils::KeyAndCurveMismatch when it lies on another curve or is no elliptic-curve key.
void checkCurve(EVP_PKEY const* key, utils::EllipticCurve expected);

} // namespace foundation::crypto::openssl

#endif
