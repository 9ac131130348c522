#include "support/ECC.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;
using utils::InvalidKey;
using utils::UnsupportedDigestAlgorithm;

std::string const noSigningSetup = "Failed while doing setup to generate signature";
std::string const noVerifyingSetup = "Failed while doing setup to verify signature";
std::string const noEngine = "The digest engine does not exist.";

template <class Factory> class ECCSignatures : public testing::Test {
protected:
    typename Factory::KeyPair const pair = Factory::generateKeyPair();
    ECCSignerPtr const signer = Factory::signer(pair->getPrivateKey());
    ECCVerifierPtr const verifier = Factory::verifier(pair->getPublicKey());
    DigestEnginePtr const engine = Factory::engine();

    bool verifies(ByteArray const& message, ByteArray const& signature) const {
        return verifier->verify(message, signature, engine).isValid();
    }
};

TYPED_TEST_SUITE(ECCSignatures, BothCurves, CurveNames);

TYPED_TEST(ECCSignatures, VerifyHoweverTheMessageArrives) {
    for (std::size_t const size : {0U, 1U, 63U, 64U, 1023U, 100000U}) {
        SCOPED_TRACE(size);
        ByteArray const message = pseudoRandomBytes(size);
        std::istringstream toSign(text(message));
        for (ByteArray const& signature :
             {this->signer->sign(message, this->engine), this->signer->sign(toSign, this->engine)}) {
            std::istringstream toVerify(text(message));
            EXPECT_TRUE(this->verifier->verify(message, signature, this->engine).isValid());
            EXPECT_TRUE(this->verifier->verify(toVerify, signature, this->engine).isValid());
            EXPECT_EQ(this->verifier->verify(message, signature, this->engine),
                      utils::makeValidSignatureVerificationStatus());
        }
    }
}

TYPED_TEST(ECCSignatures, AnswerForTheSizeOfTheirKey) {
    EXPECT_EQ(this->signer->getKeySize(), 256);
    EXPECT_EQ(this->verifier->getKeySize(), 256);
}

TYPED_TEST(ECCSignatures, KeepTheirKeys) {
    auto shortLived = TypeParam::generateKeyPair();
    auto const signing = TypeParam::signer(shortLived->getPrivateKey());
    auto const verifying = TypeParam::verifier(shortLived->getPublicKey());
    shortLived.reset();
    EXPECT_TRUE(verifying->verify(bytes("abc"), signing->sign(bytes("abc"), this->engine), this->engine).isValid());
}

TYPED_TEST(ECCSignatures, AreMadeByEveryFormOfTheKey) {
    auto const privateHalf = this->pair->getPrivateKey();
    auto const publicHalf = this->pair->getPublicKey();
    std::istringstream privateStream(text(privateHalf->getPEM()));
    std::istringstream publicStream(text(publicHalf->getPEM()));
    std::vector<typename TypeParam::PrivateKey> const privateKeys{
        privateHalf, TypeParam::privateKey(privateHalf->getPEM()), TypeParam::privateKey(privateStream, ""),
        TypeParam::privateKeyFromInteger(privateHalf->getPrivateInteger())};
    std::vector<typename TypeParam::PublicKey> const publicKeys{
        publicHalf, TypeParam::publicKey(publicHalf->getPEM()), TypeParam::publicKey(publicStream),
        TypeParam::publicKeyFromPoint(publicHalf->getPublicPoint())};
    for (auto const& privateKey : privateKeys) {
        ByteArray const signature = TypeParam::signer(privateKey)->sign(bytes("abc"), this->engine);
        for (auto const& publicKey : publicKeys) {
            EXPECT_TRUE(TypeParam::verifier(publicKey)->verify(bytes("abc"), signature, this->engine).isValid());
        }
    }
}

// Invalid signatures

TYPED_TEST(ECCSignatures, AreInvalidWithAnyBitFlipped) {
    ByteArray const message = bytes("a message");
    ByteArray signature = this->signer->sign(message, this->engine);
    for (std::size_t bit = 0; bit < signature.size() * 8; ++bit) {
        auto const mask = static_cast<unsigned char>(1U << (bit % 8));
        signature[bit / 8] ^= mask;
        EXPECT_FALSE(this->verifies(message, signature)) << "bit " << bit;
        signature[bit / 8] ^= mask;
    }
    EXPECT_TRUE(this->verifies(message, signature));
}

TYPED_TEST(ECCSignatures, AreInvalidForAnotherMessage) {
    ByteArray message = bytes("a message");
    ByteArray const signature = this->signer->sign(message, this->engine);
    for (std::size_t bit = 0; bit < message.size() * 8; ++bit) {
        auto const mask = static_cast<unsigned char>(1U << (bit % 8));
        message[bit / 8] ^= mask;
        EXPECT_FALSE(this->verifies(message, signature)) << "bit " << bit;
        message[bit / 8] ^= mask;
    }
    EXPECT_FALSE(this->verifies(ByteArray(), signature));
    EXPECT_FALSE(this->verifies(bytes("a messag"), signature));
    EXPECT_FALSE(this->verifies(bytes("a message "), signature));
}

TYPED_TEST(ECCSignatures, AreInvalidInAnotherLength) {
    ByteArray const message = bytes("a message");
    ByteArray const signature = this->signer->sign(message, this->engine);
    for (std::size_t size = 0; size < signature.size(); ++size) {
        ByteArray const cut(signature.begin(), signature.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(this->verifies(message, cut)) << size;
    }
    for (unsigned char const last : ByteArray{0x00, 0x01, 0xff}) {
        ByteArray longer(signature);
        longer.push_back(last);
        EXPECT_FALSE(this->verifies(message, longer));
    }
    EXPECT_FALSE(this->verifies(message, ByteArray(1 << 16, 0x30)));
    std::istringstream stream("a message");
    EXPECT_EQ(this->verifier->verify(stream, ByteArray(), this->engine),
              utils::makeInvalidSignatureVerificationStatus());
}

TYPED_TEST(ECCSignatures, AreInvalidForAnotherKey) {
    auto const other = TypeParam::verifier(TypeParam::generateKeyPair()->getPublicKey());
    ByteArray const signature = this->signer->sign(bytes("abc"), this->engine);
    EXPECT_FALSE(other->verify(bytes("abc"), signature, this->engine).isValid());
}

TYPED_TEST(ECCSignatures, AreInvalidOnTheOtherCurve) {
    using Other = typename TypeParam::Other;
    auto const otherPair = Other::generateKeyPair();
    ByteArray const signature = Other::signer(otherPair->getPrivateKey())->sign(bytes("abc"), Other::engine());
    EXPECT_FALSE(this->verifies(bytes("abc"), signature));
}

// P-256

class P256Signatures : public ECCSignatures<P256> {};

TEST_F(P256Signatures, AreMadeWithEachDigestThatTheCurveAccepts) {
    std::vector<std::string> const names{"sha224", "sha256", "sha384", "sha512"};
    for (std::string const& name : names) {
        ByteArray const signature = signer->sign(bytes("abc"), engineNamed(name));
        for (std::string const& other : names) {
            EXPECT_EQ(verifier->verify(bytes("abc"), signature, engineNamed(other)).isValid(), other == name)
                << name << ' ' << other;
        }
    }
}

/// Checks that `der` is one INTEGER at `at`, positive, below 2^256 and as short as it can be; returns what follows.
std::size_t expectInteger(ByteArray const& der, std::size_t at) {
    EXPECT_EQ(der.at(at), 0x02);
    std::size_t const size = der.at(at + 1);
    std::size_t const first = at + 2;
    EXPECT_GE(size, 1U);
    EXPECT_LE(size, 33U);
    EXPECT_LT(der.at(first), 0x80);
    if (size > 1 && der.at(first) == 0x00) {
        EXPECT_GE(der.at(first + 1), 0x80);
    }
    if (size == 33) {
        EXPECT_EQ(der.at(first), 0x00);
    }
    if (size == 1) {
        EXPECT_NE(der.at(first), 0x00);
    }
    return first + size;
}

TEST_F(P256Signatures, AreDERSequencesOfTwoIntegers) {
    std::set<std::size_t> sizes;
    std::set<ByteArray> different;
    for (int i = 0; i < 500; ++i) {
        ByteArray const signature = signer->sign(bytes("abc"), engine);
        ASSERT_GE(signature.size(), 8U);
        ASSERT_LE(signature.size(), 72U);
        EXPECT_EQ(signature.at(0), 0x30);
        EXPECT_EQ(signature.at(1), signature.size() - 2);
        EXPECT_EQ(expectInteger(signature, expectInteger(signature, 2)), signature.size());
        sizes.insert(signature.size());
        different.insert(signature);
    }
    EXPECT_GE(sizes.size(), 2U);
    EXPECT_EQ(different.size(), 500U);
    for (ByteArray const& signature : different) {
        ASSERT_TRUE(verifies(bytes("abc"), signature));
    }
}

// Nothing keeps a host from taking such keys from a stranger; the documentation warns of them.
TEST_F(P256Signatures, OfThePointAtInfinityAreAnybodysToMake) {
    auto const infinity = P256::verifier(P256::publicKeyFromPoint({0x00}));
    EXPECT_EQ(infinity->getKeySize(), 256);
    ByteArray const signature = P256::signer(P256::privateKeyFromInteger({0x00}))->sign(bytes("abc"), engine);
    EXPECT_TRUE(infinity->verify(bytes("abc"), signature, engine).isValid());
    EXPECT_FALSE(infinity->verify(bytes("abd"), signature, engine).isValid());
    EXPECT_FALSE(infinity->verify(bytes("abc"), signer->sign(bytes("abc"), engine), engine).isValid());
}

// Ed25519

class Curve25519Signatures : public ECCSignatures<Curve25519> {};

TEST_F(Curve25519Signatures, Have64BytesAndAreAlwaysTheSame) {
    ByteArray const signature = signer->sign(bytes("abc"), engine);
    EXPECT_EQ(signature.size(), 64U);
    std::istringstream stream("abc");
    EXPECT_EQ(signer->sign(stream, engine), signature);
    EXPECT_EQ(Curve25519::signer(Curve25519::privateKey(pair->getPrivateKey()->getPEM()))->sign(bytes("abc"), engine),
              signature);
}

TEST_F(Curve25519Signatures, OfTheNeutralPointAreAnybodysToMake) {
    ByteArray neutral(32, 0x00);
    neutral[0] = 0x01;
    ByteArray signature(64, 0x00); // R is the neutral point, S is 0
    signature[0] = 0x01;
    auto const everybodys = Curve25519::verifier(Curve25519::publicKeyFromPoint(neutral));
    EXPECT_TRUE(everybodys->verify(bytes("any message"), signature, engine).isValid());
}

// The digest engine

TYPED_TEST(ECCSignatures, NeedAnEngine) {
    EXPECT_THROWS(InternalException, noEngine, this->signer->sign(bytes("abc"), nullptr));
    EXPECT_THROWS(InternalException, noEngine, this->verifier->verify(bytes("abc"), bytes("abc"), nullptr));

    std::istringstream toSign("abc");
    std::istringstream toVerify("abc");
    EXPECT_THROWS(InternalException, noEngine, this->signer->sign(toSign, nullptr));
    EXPECT_THROWS(InternalException, noEngine, this->verifier->verify(toVerify, bytes("abc"), nullptr));
    EXPECT_TRUE(toSign.eof() && toVerify.eof()); // the message is read before anything is checked
}

TYPED_TEST(ECCSignatures, RefuseWhatThePolicyRefuses) {
    std::string const insecure = "Insecure digest algorithm should not be used for signing/verification: ";
    std::string const own = TypeParam::curve == EllipticCurve::P256
                                ? "P256 Signing/verification does not support digest algorithm: "
                                : "Curve25519 signing/verification can only support the SHA-512 digest algorithm. "
                                  "Digest algorithm passed: ";
    std::vector<std::pair<std::string, std::string>> refused{
        {"MD5", insecure}, {"SHA1", insecure}, {"HMAC-SHA512", own}, {"BLAKE2b", own}};
    if (TypeParam::curve == EllipticCurve::Curve25519) {
        refused.insert(refused.end(), {{"SHA224", own}, {"SHA256", own}, {"SHA384", own}});
    }
    for (auto const& [name, message] : refused) {
        auto const refusedEngine = std::make_shared<HostEngine>(name, "sha512");
        std::istringstream toSign(" \n abc");
        std::istringstream toVerify(" \n abc");
        EXPECT_THROWS(UnsupportedDigestAlgorithm, message + name, this->signer->sign(bytes("abc"), refusedEngine));
        EXPECT_THROWS(UnsupportedDigestAlgorithm, message + name, this->signer->sign(toSign, refusedEngine));
        EXPECT_THROWS(UnsupportedDigestAlgorithm, message + name,
                      this->verifier->verify(bytes("abc"), bytes("abc"), refusedEngine));
        EXPECT_THROWS(UnsupportedDigestAlgorithm, message + name,
                      this->verifier->verify(toVerify, bytes("abc"), refusedEngine));
        for (std::istringstream* const stream : {&toSign, &toVerify}) {
            EXPECT_EQ(stream->rdstate(), std::ios_base::eofbit | std::ios_base::failbit);
            EXPECT_TRUE((stream->flags() & std::ios_base::skipws) != 0);
        }
    }
}

TYPED_TEST(ECCSignatures, RefuseTheEnginesOfTheLibraryThatNoCurveAccepts) {
    CryptoProvider const provider;
    EXPECT_THROWS(UnsupportedDigestAlgorithm,
                  "Insecure digest algorithm should not be used for signing/verification: MD5",
                  this->signer->sign(bytes("abc"), provider.createMD5DigestEngine()));
    EXPECT_THROWS(UnsupportedDigestAlgorithm,
                  "Insecure digest algorithm should not be used for signing/verification: SHA1",
                  this->verifier->verify(bytes("abc"), bytes("abc"), provider.createSHA1DigestEngine()));
    ByteArray const key(32, 0x5a);
    std::string const own = TypeParam::curve == EllipticCurve::P256
                                ? "P256 Signing/verification does not support digest algorithm: "
                                : "Curve25519 signing/verification can only support the SHA-512 digest algorithm. "
                                  "Digest algorithm passed: ";
    for (auto const& mac : {provider.createHMACSHA1DigestEngine(key), provider.createHMACSHA256DigestEngine(key),
                            provider.createHMACSHA512DigestEngine(key), provider.createBlake2bDigestEngine(key, {})}) {
        EXPECT_THROWS(UnsupportedDigestAlgorithm, own + mac->getDigestName(), this->signer->sign(bytes("abc"), mac));
        EXPECT_THROWS(UnsupportedDigestAlgorithm, own + mac->getDigestName(),
                      this->verifier->verify(bytes("abc"), bytes("abc"), mac));
    }
}

TYPED_TEST(ECCSignatures, AskTheEngineForItsNamesAlone) {
    std::vector<std::string> asked;
    auto const host = std::make_shared<HostEngine>(
        [&] {
            asked.push_back("name");
            return "SHA512";
        },
        [&] {
            asked.push_back("EVP name");
            return "sha512";
        });
    ByteArray const signature = this->signer->sign(bytes("abc"), host);
    EXPECT_EQ(asked, (std::vector<std::string>{"name", "EVP name"}));
    EXPECT_TRUE(this->verifier->verify(bytes("abc"), signature, host).isValid());
    EXPECT_EQ(asked, (std::vector<std::string>{"name", "EVP name", "name", "EVP name"}));
    EXPECT_TRUE(this->verifier->verify(bytes("abc"), signature, engineNamed("sha512")).isValid());
}

TYPED_TEST(ECCSignatures, LeaveTheMessageOfTheEngineAlone) {
    auto const busy = engineNamed("sha512");
    busy->update(bytes("ab"));
    ByteArray const signature = this->signer->sign(bytes("xyz"), busy);
    EXPECT_TRUE(this->verifier->verify(bytes("xyz"), signature, busy).isValid());
    EXPECT_EQ(busy->computeDigest(bytes("c")), engineNamed("sha512")->computeDigest(bytes("abc")));
}

TYPED_TEST(ECCSignatures, ReportAnEngineThatThrowsInItsOwnWords) {
    auto const fails = []() -> std::string { throw std::runtime_error("the engine is cold"); };
    auto const failsAgain = [asked = 0]() mutable -> std::string {
        return ++asked % 2 == 1 ? "MD5" : throw std::logic_error("asked again");
    };

    struct {
        std::shared_ptr<HostEngine> engine;
        std::string text;
    } const cases[] = {{std::make_shared<HostEngine>(fails, nullptr), "the engine is cold"},
                       {std::make_shared<HostEngine>([] { return "SHA512"; }, fails), "the engine is cold"},
                       {std::make_shared<HostEngine>(failsAgain, nullptr), "asked again"}};

    for (auto const& [host, message] : cases) {
        std::istringstream toSign("abc");
        std::istringstream toVerify("abc");
        EXPECT_THROWS(InternalException, message, this->signer->sign(bytes("abc"), host));
        EXPECT_THROWS(InternalException, message, this->signer->sign(toSign, host));
        EXPECT_THROWS(InternalException, message, this->verifier->verify(bytes("abc"), bytes("abc"), host));
        EXPECT_THROWS(InternalException, message, this->verifier->verify(toVerify, bytes("abc"), host));
        EXPECT_TRUE((toSign.flags() & std::ios_base::skipws) != 0);
        EXPECT_TRUE((toVerify.flags() & std::ios_base::skipws) != 0);
    }
}

TYPED_TEST(ECCSignatures, PassTheLibrarysOwnExceptionsOfAnEngine) {
    auto const host = std::make_shared<HostEngine>(
        [] { return "SHA512"; }, []() -> std::string { throw utils::InvalidArgument("no such digest"); });
    EXPECT_THROWS(utils::InvalidArgument, "no such digest", this->signer->sign(bytes("abc"), host));
    EXPECT_THROWS(utils::InvalidArgument, "no such digest", this->verifier->verify(bytes("abc"), bytes("abc"), host));
}

TEST_F(P256Signatures, FailInSetupForADigestThatLibcryptoDoesNotKnow) {
    for (std::string const name : {"", "no such digest"}) {
        auto const host = std::make_shared<HostEngine>("SHA256", name);
        EXPECT_THROWS(InternalException, noSigningSetup, signer->sign(bytes("abc"), host)) << name;
        EXPECT_THROWS(InternalException, noVerifyingSetup, verifier->verify(bytes("abc"), bytes("abc"), host)) << name;
    }
}

TEST_F(Curve25519Signatures, TakeNoDigestFromTheEngine) {
    auto const host = std::make_shared<HostEngine>("SHA512", "no such digest");
    EXPECT_EQ(signer->sign(bytes("abc"), host), signer->sign(bytes("abc"), engine));
}

// Keys that are not there

TYPED_TEST(ECCSignatures, FailInSetupWithoutAKeyOfTheLibrary) {
    auto const foreignPrivate = std::make_shared<ForeignPrivateKey<TypeParam::curve>>();
    auto const foreignPublic = std::make_shared<ForeignPublicKey<TypeParam::curve>>();
    for (auto const& without : {TypeParam::signer(nullptr), TypeParam::signer(foreignPrivate)}) {
        std::istringstream stream("abc");
        EXPECT_THROWS(InternalException, noSigningSetup, without->sign(bytes("abc"), this->engine));
        EXPECT_THROWS(InternalException, noSigningSetup, without->sign(stream, this->engine));
        EXPECT_THROWS(InternalException, noEngine, without->sign(bytes("abc"), nullptr));
        ERR_clear_error();
        EXPECT_EQ(without->getKeySize(), 0);
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
    for (auto const& without : {TypeParam::verifier(nullptr), TypeParam::verifier(foreignPublic)}) {
        std::istringstream stream("abc");
        EXPECT_THROWS(InternalException, noVerifyingSetup, without->verify(bytes("abc"), bytes("abc"), this->engine));
        EXPECT_THROWS(InternalException, noVerifyingSetup, without->verify(stream, bytes("abc"), this->engine));
        EXPECT_THROWS(InternalException, noEngine, without->verify(bytes("abc"), bytes("abc"), nullptr));
        ERR_clear_error();
        EXPECT_EQ(without->getKeySize(), 0);
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

// Streams

TYPED_TEST(ECCSignatures, CoverWhiteSpaceAndLeaveTheStreamReadWithItsFlags) {
    std::string const message = " \t a b\r\n\n ";
    for (auto const flags : {std::ios_base::skipws | std::ios_base::dec, std::ios_base::hex | std::ios_base::left}) {
        std::istringstream toSign(message);
        std::istringstream toVerify(message);
        std::istringstream toRefuse(message);
        for (std::istringstream* const stream : {&toSign, &toVerify, &toRefuse}) {
            stream->flags(flags);
            stream->width(5);
        }
        ByteArray const signature = this->signer->sign(toSign, this->engine);
        EXPECT_TRUE(this->verifies(bytes(message), signature));
        EXPECT_TRUE(this->verifier->verify(toVerify, signature, this->engine).isValid());
        EXPECT_FALSE(this->verifier->verify(toRefuse, bytes("abc"), this->engine).isValid());
        for (std::istringstream* const stream : {&toSign, &toVerify, &toRefuse}) {
            EXPECT_EQ(stream->rdstate(), std::ios_base::eofbit | std::ios_base::failbit);
            EXPECT_EQ(stream->flags(), flags);
            EXPECT_EQ(stream->width(), 5);
            EXPECT_EQ(stream->gcount(), 0);
        }
    }
}

TYPED_TEST(ECCSignatures, CoverTheStreamFromWhereItStands) {
    for (std::size_t const portion : {1U, 5U, 4096U}) {
        PortionBuffer buffer("skipped a message", portion);
        std::istream stream(&buffer);
        stream.ignore(8);
        EXPECT_TRUE(this->verifies(bytes("a message"), this->signer->sign(stream, this->engine)));
    }
}

TYPED_TEST(ECCSignatures, OfAStreamThatIsNotGoodCoverTheEmptyMessage) {
    for (auto const state : {std::ios_base::eofbit, std::ios_base::failbit, std::ios_base::badbit}) {
        std::istringstream stream("unread");
        stream.setstate(state);
        EXPECT_TRUE(this->verifies(ByteArray(), this->signer->sign(stream, this->engine)));
        EXPECT_EQ(stream.rdstate(), state | std::ios_base::failbit);
    }
}

TYPED_TEST(ECCSignatures, CoverWhatCameBeforeTheStreamBroke) {
    PortionBuffer buffer("abc", 2, "the disk is gone");
    std::istream stream(&buffer);
    EXPECT_TRUE(this->verifies(bytes("abc"), this->signer->sign(stream, this->engine)));
    EXPECT_TRUE(stream.bad());
    EXPECT_TRUE((stream.flags() & std::ios_base::skipws) != 0);
}

TYPED_TEST(ECCSignatures, ReportAStreamThatThrowsInItsOwnWords) {
    PortionBuffer firstBuffer("abc", 1, "the disk is gone");
    PortionBuffer secondBuffer("abc", 1, "the disk is gone");
    std::istream toSign(&firstBuffer);
    std::istream toVerify(&secondBuffer);
    std::istringstream strict("abc");
    toSign.exceptions(std::ios_base::badbit);
    toVerify.exceptions(std::ios_base::badbit);
    strict.exceptions(std::ios_base::failbit);
    EXPECT_THROWS(InternalException, "the disk is gone", this->signer->sign(toSign, this->engine));
    EXPECT_THROWS(InternalException, "the disk is gone", this->verifier->verify(toVerify, bytes("abc"), this->engine));
    EXPECT_THROWS_PREFIX(InternalException, "basic_ios::clear", this->signer->sign(strict, this->engine));
    for (std::ios_base const* const stream : std::initializer_list<std::ios_base const*>{&toSign, &toVerify, &strict}) {
        EXPECT_TRUE((stream->flags() & std::ios_base::skipws) != 0);
    }
}

TYPED_TEST(ECCSignatures, PassTheLibrarysOwnExceptionsOutOfAStreamUnchanged) {
    ThrowingBuffer<InvalidKey> buffer(InvalidKey("of a stream"));
    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROWS(InvalidKey, "of a stream", this->signer->sign(stream, this->engine));
    stream.clear();
    EXPECT_THROWS(InvalidKey, "of a stream", this->verifier->verify(stream, bytes("abc"), this->engine));
}

// The host's error queue

TYPED_TEST(ECCSignatures, LeaveTheErrorQueueAsItWas) {
    ByteArray const signature = this->signer->sign(bytes("abc"), this->engine);
    std::vector<std::function<void()>> const operations{
        [&] { this->signer->sign(bytes("abc"), this->engine); },
        [&] { EXPECT_TRUE(this->verifies(bytes("abc"), signature)); },
        [&] { EXPECT_FALSE(this->verifies(bytes("abd"), signature)); },
        [&] { EXPECT_FALSE(this->verifies(bytes("abc"), bytes("not even DER"))); },
        [&] { EXPECT_FALSE(this->verifies(bytes("abc"), ByteArray())); },
        [&] { EXPECT_EQ(this->signer->getKeySize(), 256); },
    };
    for (auto const& operation : operations) {
        ERR_clear_error();
        operation();
        EXPECT_EQ(ERR_get_error(), 0U);
        ERR_raise(ERR_LIB_USER, 7);
        operation();
        EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 7);
        EXPECT_EQ(ERR_get_error(), 0U);
    }
}

} // namespace
