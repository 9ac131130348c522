#include "ecc/SigningDigestPolicy.h"

#include "common/Check.h"

#include <foundation/crypto/utils/DigestAlgorithms.h>

#include <string>

namespace foundation::crypto::openssl {

using namespace utils;

namespace {

/// What the engine itself throws is translated.
std::string askForName(interfaces::IDigestEngine const& engine) {
    return rethrowForeignAs<InternalException>([&] { return engine.getDigestName(); });
}

template <class... Algorithms> bool isOneOf(std::string const& digestName) {
    return ((digestName == Algorithms::getDigestName()) || ...);
}

/// The text names the engine's digest as the engine names it then.
void refuseUnless(bool accepted, char const* refusal, interfaces::IDigestEngine const& engine) {
    if (!accepted) {
        throw UnsupportedDigestAlgorithm(refusal + askForName(engine));
    }
}

} // namespace

void checkSigningDigest(std::shared_ptr<interfaces::IDigestEngine> const& engine, EllipticCurve curve) {
    std::string const name = askForName(*engine);
    refuseUnless(!isOneOf<SHA1DigestAlgorithm, MD5DigestAlgorithm>(name),
                 "Insecure digest algorithm should not be used for signing/verification: ", *engine);
    switch (curve) {
    case EllipticCurve::P256:
        refuseUnless(
            isOneOf<SHA224DigestAlgorithm, SHA256DigestAlgorithm, SHA384DigestAlgorithm, SHA512DigestAlgorithm>(name),
            "P256 Signing/verification does not support digest algorithm: ", *engine);
        break;
    case EllipticCurve::Curve25519:
        refuseUnless(isOneOf<SHA512DigestAlgorithm>(name),
                     "Curve25519 signing/verification can only support the SHA-512 digest algorithm. "
                     "Digest algorithm passed: ",
                     *engine);
        break;
    default:
        throw InternalException("Unknown curve");
    }
}

} // namespace foundation::crypto::openssl
