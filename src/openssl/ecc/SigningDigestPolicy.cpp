#include "ecc/SigningDigestPolicy.h"

#include <foundation/crypto/utils/DigestAlgorithms.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <algorithm>
#include <array>
#include <string>

namespace foundation::crypto::openssl {

namespace {

/// What is thought of one digest: by everybody, and by each curve.
struct Rule {
    std::string digestName;
    bool isInsecure;
    bool isAcceptedOnP256;
    bool isAcceptedOnCurve25519;
};

/// A digest that is not in the table is accepted by neither curve.
Rule ruleFor(std::string const& digestName) {
    static std::array<Rule, 6> const rules{{
        // clang-format off
        // digest                                        insecure  P-256   Curve25519
        {utils::MD5DigestAlgorithm::getDigestName(),     true,     false,  false},
        {utils::SHA1DigestAlgorithm::getDigestName(),    true,     false,  false},
        {utils::SHA224DigestAlgorithm::getDigestName(),  false,    true,   false},
        {utils::SHA256DigestAlgorithm::getDigestName(),  false,    true,   false},
        {utils::SHA384DigestAlgorithm::getDigestName(),  false,    true,   false},
        {utils::SHA512DigestAlgorithm::getDigestName(),  false,    true,   true},
        // clang-format on
    }};
    auto const* const found =
        std::find_if(rules.begin(), rules.end(), [&](Rule const& rule) { return rule.digestName == digestName; });
    return found == rules.end() ? Rule{digestName, false, false, false} : *found;
}

/// The text names the engine's digest as the engine names it then.
void refuseUnless(bool accepted, char const* refusal, interfaces::IDigestEngine const& engine) {
    if (!accepted) {
        throw utils::UnsupportedDigestAlgorithm(refusal + engine.getDigestName());
    }
}

} // namespace

void checkSigningDigest(std::shared_ptr<interfaces::IDigestEngine> const& engine, utils::EllipticCurve curve) {
    Rule const rule = ruleFor(engine->getDigestName());
    refuseUnless(!rule.isInsecure, "Insecure digest algorithm should not be used for signing/verification: ", *engine);
    switch (curve) {
    case utils::EllipticCurve::P256:
        refuseUnless(rule.isAcceptedOnP256, "P256 Signing/verification does not support digest algorithm: ", *engine);
        break;
    case utils::EllipticCurve::Curve25519:
        refuseUnless(rule.isAcceptedOnCurve25519,
                     "Curve25519 signing/verification can only support the SHA-512 digest algorithm. "
                     "Digest algorithm passed: ",
                     *engine);
        break;
    default:
        throw utils::InternalException("Unknown curve");
    }
}

} // namespace foundation::crypto::openssl
