#include "SigningDigestPolicy.h"

#include <foundation/crypto/utils/DigestAlgorithms.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <algorithm>
#include <array>
#include <string>

namespace foundation::crypto::openssl {

namespace {

enum class Answer { Insecure, Refused, Accepted };

/// What each curve answers to one digest.
struct Rule {
    std::string digestName;
    Answer onP256;
    Answer onCurve25519;
};

/// A digest that is not in the table is refused by both curves.
Rule ruleFor(std::string const& digestName) {
    static std::array<Rule, 6> const rules{{
        // digest                                     P-256             Curve25519
        {utils::MD5DigestAlgorithm::getDigestName(), Answer::Insecure, Answer::Insecure},
        {utils::SHA1DigestAlgorithm::getDigestName(), Answer::Insecure, Answer::Insecure},
        {utils::SHA224DigestAlgorithm::getDigestName(), Answer::Accepted, Answer::Refused},
        {utils::SHA256DigestAlgorithm::getDigestName(), Answer::Accepted, Answer::Refused},
        {utils::SHA384DigestAlgorithm::getDigestName(), Answer::Accepted, Answer::Refused},
        {utils::SHA512DigestAlgorithm::getDigestName(), Answer::Accepted, Answer::Accepted},
    }};
    auto const* const found =
        std::find_if(rules.begin(), rules.end(), [&](Rule const& rule) { return rule.digestName == digestName; });
    return found == rules.end() ? Rule{digestName, Answer::Refused, Answer::Refused} : *found;
}

} // namespace

void checkSigningDigest(std::shared_ptr<interfaces::IDigestEngine> const& engine, utils::EllipticCurve curve) {
    auto const requireAccepted = [&](Answer answer, char const* refusal) {
        if (answer != Answer::Accepted) {
            throw utils::UnsupportedDigestAlgorithm(refusal + engine->getDigestName());
        }
    };

    Rule const rule = ruleFor(engine->getDigestName());
    if (rule.onP256 == Answer::Insecure || rule.onCurve25519 == Answer::Insecure) { // on every curve there may be
        requireAccepted(Answer::Insecure, "Insecure digest algorithm should not be used for signing/verification: ");
    }
    switch (curve) {
    case utils::EllipticCurve::P256:
        requireAccepted(rule.onP256, "P256 Signing/verification does not support digest algorithm: ");
        break;
    case utils::EllipticCurve::Curve25519:
        requireAccepted(rule.onCurve25519, "Curve25519 signing/verification can only support the SHA-512 digest "
                                           "algorithm. Digest algorithm passed: ");
        break;
    default:
        throw utils::InternalException("Unknown curve");
    }
}

} // namespace foundation::crypto::openssl
