#include "ecc/SigningDigestPolicy.h"

#include "support/ECC.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/DigestAlgorithms.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using openssl::checkSigningDigest;
using utils::InternalException;
using utils::UnsupportedDigestAlgorithm;

std::string const insecure = "Insecure digest algorithm should not be used for signing/verification: ";
std::string const notOnP256 = "P256 Signing/verification does not support digest algorithm: ";
std::string const notOnCurve25519 = "Curve25519 signing/verification can only support the SHA-512 digest algorithm. "
                                    "Digest algorithm passed: ";
std::string const accepted;

struct Row {
    std::string digestName;
    std::string onP256; // the message without the name, empty where the digest is accepted
    std::string onCurve25519;
};

std::vector<Row> const rows{
    {utils::MD5DigestAlgorithm::getDigestName(), insecure, insecure},
    {utils::SHA1DigestAlgorithm::getDigestName(), insecure, insecure},
    {utils::SHA224DigestAlgorithm::getDigestName(), accepted, notOnCurve25519},
    {utils::SHA256DigestAlgorithm::getDigestName(), accepted, notOnCurve25519},
    {utils::SHA384DigestAlgorithm::getDigestName(), accepted, notOnCurve25519},
    {utils::SHA512DigestAlgorithm::getDigestName(), accepted, accepted},
    {utils::HMACSHA1DigestAlgorithm::getDigestName(), notOnP256, notOnCurve25519},
    {utils::HMACSHA256DigestAlgorithm::getDigestName(), notOnP256, notOnCurve25519},
    {utils::HMACSHA512DigestAlgorithm::getDigestName(), notOnP256, notOnCurve25519},
    {utils::Blake2bDigestAlgorithm::getDigestName(), notOnP256, notOnCurve25519},
    {"", notOnP256, notOnCurve25519},
    {"sha512", notOnP256, notOnCurve25519}, // names are compared exactly
    {"SHA-512", notOnP256, notOnCurve25519},
    {"SHA512 ", notOnP256, notOnCurve25519},
    {"SHA51", notOnP256, notOnCurve25519},
    {std::string("SHA512\0", 7), notOnP256, notOnCurve25519},
    {"md5", notOnP256, notOnCurve25519},
};

void expectAnswer(Row const& row, EllipticCurve curve, std::string const& refusal) {
    SCOPED_TRACE(row.digestName);
    auto const engine = std::make_shared<HostEngine>(row.digestName, "unused");
    if (refusal.empty()) {
        EXPECT_NO_THROW(checkSigningDigest(engine, curve));
    } else {
        try {
            checkSigningDigest(engine, curve);
            ADD_FAILURE() << "accepted";
        } catch (UnsupportedDigestAlgorithm const& error) {
            EXPECT_EQ(std::string(error.what()), (refusal + row.digestName).c_str());
        }
    }
}

TEST(SigningDigestPolicy, AnswersByDigestAndCurve) {
    for (Row const& row : rows) {
        expectAnswer(row, EllipticCurve::P256, row.onP256);
        expectAnswer(row, EllipticCurve::Curve25519, row.onCurve25519);
    }
}

TEST(SigningDigestPolicy, LooksForInsecureDigestsBeforeTheCurve) {
    for (int const curve : {-1, 2, 1000}) {
        for (Row const& row : rows) {
            auto const engine = std::make_shared<HostEngine>(row.digestName, "unused");
            if (row.onP256 == insecure) {
                EXPECT_THROWS(UnsupportedDigestAlgorithm, insecure + row.digestName,
                              checkSigningDigest(engine, static_cast<EllipticCurve>(curve)));
            } else {
                EXPECT_THROWS(InternalException, "Unknown curve",
                              checkSigningDigest(engine, static_cast<EllipticCurve>(curve)));
            }
        }
    }
}

TEST(SigningDigestPolicy, AsksForTheNameAnewForItsMessage) {
    struct {
        std::string first;
        EllipticCurve curve;
        std::string text;
    } const cases[] = {{"MD5", EllipticCurve::P256, insecure + "second"},
                       {"SHA1", EllipticCurve::Curve25519, insecure + "second"},
                       {"BLAKE2b", EllipticCurve::P256, notOnP256 + "second"},
                       {"SHA256", EllipticCurve::Curve25519, notOnCurve25519 + "second"}};

    for (auto const& [first, curve, text] : cases) {
        int asked = 0;
        auto const changing =
            std::make_shared<HostEngine>([&, name = first] { return ++asked == 1 ? name : "second"; }, nullptr);
        EXPECT_THROWS(UnsupportedDigestAlgorithm, text, checkSigningDigest(changing, curve));
        EXPECT_EQ(asked, 2);
    }
}

TEST(SigningDigestPolicy, AsksForTheNameOnceToAccept) {
    int asked = 0;
    auto const engine = std::make_shared<HostEngine>([&] { return ++asked == 1 ? "SHA512" : "MD5"; }, nullptr);
    EXPECT_NO_THROW(checkSigningDigest(engine, EllipticCurve::Curve25519));
    EXPECT_EQ(asked, 1);
}

} // namespace
