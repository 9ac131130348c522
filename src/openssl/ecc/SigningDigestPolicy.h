#ifndef ZRFL_OPENSSL_SIGNINGDIGESTPOLICY_H
#define ZRFL_OPENSSL_SIGNINGDIGESTPOLICY_H

#include <foundation/crypto/interfaces/IDigestEngine.h>
#include <foundation/crypto/utils/EllipticCurve.h>

#include <memory>

namespace foundation::crypto::openssl {

/// Accepts `engine`, which is not empty, if its digest may be used for signatures with a key on `curve`. Only the name
/// of the digest counts. A refusal asks the engine for its name once more, for the message.
///
/// @throws utils::UnsupportedDigestAlgorithm for a digest that is insecure, or that the curve does not allow.
/// @throws utils::InternalException for a value outside the enumeration.
void checkSigningDigest(interfaces::DigestEnginePtr const& engine, utils::EllipticCurve curve);

} // namespace foundation::crypto::openssl

#endif
