#include "ecc/SigningDigestPolicy.h"

#include "common/Check.h"

#include <foundation/crypto/utils/DigestAlgorithms.h>

#include <string>

namespace foundation::crypto::openssl {

using namespace utils;

namespace {

/// The name of the digest. What an engine of the host throws arrives as InternalException.
std::string askForName(interfaces::IDigestEngine const& engine) {
    return rethrowForeignAs<InternalException>([&] { return engine.getDigestName(); });
}

template <class... Algorithms> bool isOneOf(std::string const& digestName) {
    return ((digestName == Algorithms::getDigestName()) || ...);
}

bool isAccepted(std::string const& digestName, EllipticCurve curve) {
    switch (curve) {
    case EllipticCurve::P256:
        return isOneOf<SHA224DigestAlgorithm, SHA256DigestAlgorithm, SHA384DigestAlgorithm, SHA512DigestAlgorithm>(
            digestName);
    case EllipticCurve::Curve25519:
        return isOneOf<SHA512DigestAlgorithm>(digestName);
    default:
        return false;
    }
}

/// The words for a digest that is not accepted; those for an insecure one are the same on every curve.
char const* getRefusal(std::string const& digestName, EllipticCurve curve) {
    if (isOneOf<SHA1DigestAlgorithm, MD5DigestAlgorithm>(digestName)) {
        return "Insecure digest algorithm should not be used for signing/verification: ";
    }
    switch (curve) {
    case EllipticCurve::P256:
        return "P256 Signing/verification does not support digest algorithm: ";
    case EllipticCurve::Curve25519:
        return "Curve25519 signing/verification can only support the SHA-512 digest algorithm. "
               "Digest algorithm passed: ";
    default:
        throw InternalException("Unknown curve");
    }
}

} // namespace

void checkSigningDigest(interfaces::DigestEnginePtr const& engine, EllipticCurve curve) {
    std::string const name = askForName(*engine);
    if (!isAccepted(name, curve)) {
        char const* const refusal = getRefusal(name, curve);
        throw UnsupportedDigestAlgorithm(refusal + askForName(*engine)); // as the engine names its digest now
    }
}

} // namespace foundation::crypto::openssl
