#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Mutations.h"
#include "support/PEM.h"
#include "support/PSS.h"
#include "support/Provider.h"
#include "support/RSA.h"
#include "support/Streams.h"
#include "support/Threads.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <functional>
#include <limits>
#include <memory>
#include <pthread.h>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

constexpr RSAPaddingMode pkcs1 = RSAPaddingMode::PKCS1_V1_5;
constexpr RSAPaddingMode pss = RSAPaddingMode::PSS;
RSAPaddingMode const unknown = rsaPadding(5); // signs as PSS with libcrypto's own salt
std::vector<RSAPaddingMode> const oaepPaddings{RSAPaddingMode::OAEP_SHA1, RSAPaddingMode::OAEP_SHA256,
                                               RSAPaddingMode::OAEP_SHA512};
std::vector<int> const sizes{1024, 2048, 4096};
std::vector<std::string> const hashes{"md5", "sha1", "sha224", "sha256", "sha384", "sha512"};

std::string const oaepRefused = "Cannot use OAEP as Padding Algorithm for Signatures in OpenSSL.";
std::string const noEngine = "The digest engine does not exist.";
std::string const notInitialized = "Failed to initialize the digest for signing.";
std::string const noKeyContext = "Failed to get the OpenSSL pkey context for signing.";
std::string const notSigned = "Could not generate digital signature";

/// A host's own engine that only answers for the name by which libcrypto knows the hash.
DigestEnginePtr hostEngine(std::string const& name) {
    return std::make_shared<HostEngine>("", name);
}

DigestEnginePtr hostEngine(HostEngine::Answer answer) {
    return std::make_shared<HostEngine>(nullptr, std::move(answer));
}

ByteArray sign(IRSASigner const& signer, ByteArray const& message, std::string const& hash = "sha256") {
    return signer.sign(message, engineNamed(hash));
}

bool verify(IRSAVerifier const& verifier, ByteArray const& message, ByteArray const& signature,
            std::string const& hash = "sha256") {
    return verifier.verify(message, signature, engineNamed(hash)).isValid();
}

// Construction

template <class OfSize> using RSASignatureObjects = RSAObjects<OfSize>;
TYPED_TEST_SUITE(RSASignatureObjects, RSASizes, RSASizeNames);

TYPED_TEST(RSASignatureObjects, TellTheirKeySize) {
    EXPECT_EQ(TypeParam::signer(this->privateKey, pss, this->prng)->getKeySize(), TypeParam::bits);
    EXPECT_EQ(TypeParam::verifier(this->publicKey, pss, this->prng)->getKeySize(), TypeParam::bits);
}

TYPED_TEST(RSASignatureObjects, NeedAKeyOfTheLibrary) {
    auto const foreignPrivateKey = std::make_shared<ForeignRSAPrivateKey<typename TestFixture::Size>>();
    auto const foreignPublicKey = std::make_shared<ForeignRSAPublicKey<typename TestFixture::Size>>();
    for (auto const& given : {this->prng, CryptoPRNGPtr()}) { // the key is looked at first
        EXPECT_THROWS(InvalidKey, "The signing key does not exist.", TypeParam::signer(nullptr, pss, given));
        EXPECT_THROWS(InvalidKey, "The signing key does not exist.", TypeParam::signer(foreignPrivateKey, pss, given));
        EXPECT_THROWS(InvalidKey, "The verifying key does not exist. Please correct.",
                      TypeParam::verifier(nullptr, pss, given));
        EXPECT_THROWS(InvalidKey, "The verifying key does not exist. Please correct.",
                      TypeParam::verifier(foreignPublicKey, pss, given));
    }
}

TYPED_TEST(RSASignatureObjects, NeedAGeneratorOfTheLibrary) {
    for (auto const& given : {this->foreignPRNG, CryptoPRNGPtr()}) {
        EXPECT_THROWS(InternalException, "The PRNG does not exist.", TypeParam::signer(this->privateKey, pss, given));
        EXPECT_THROWS(InternalException, "The PRNG does not exist. Please correct.",
                      TypeParam::verifier(this->publicKey, pss, given));
    }
}

TYPED_TEST(RSASignatureObjects, AreMadeForWhateverPadding) {
    for (int const padding : {0, 1, 2, 3, 4, 5, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_NO_THROW(TypeParam::signer(this->privateKey, rsaPadding(padding), this->prng));
        EXPECT_NO_THROW(TypeParam::verifier(this->publicKey, rsaPadding(padding), this->prng));
    }
}

TYPED_TEST(RSASignatureObjects, KeepTheirKeyAndGenerator) {
    auto const signer = TypeParam::signer(this->privateKey, pss, this->prng);
    auto const verifier = TypeParam::verifier(this->publicKey, pss, this->prng);
    this->privateKey.reset();
    this->publicKey.reset();
    this->prng.reset();
    EXPECT_TRUE(verify(*verifier, bytes("message"), sign(*signer, bytes("message"))));
}

TYPED_TEST(RSASignatureObjects, AsASignerHoldKeyAndGeneratorForItsLife) {
    expectKept([](auto const& ofKey, auto const& with) { return TypeParam::signer(ofKey, pss, with); },
               this->privateKey, this->prng);
}

TYPED_TEST(RSASignatureObjects, AsAVerifierHoldKeyAndGeneratorForItsLife) {
    expectKept([](auto const& ofKey, auto const& with) { return TypeParam::verifier(ofKey, pss, with); },
               this->publicKey, this->prng);
}

// Signatures

TEST(RSASignatures, AreAsLongAsTheModulusAndVerifyAlikeFromBytesAndStreams) {
    for (int const bits : sizes) {
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (RSAPaddingMode const padding : {pkcs1, pss, unknown, rsaPadding(-1), rsaPadding(1 << 30)}) {
            auto const signer = user.signer(padding);
            auto const verifier = user.verifier(padding);
            for (std::string const& hash : hashes) {
                if (bits == 1024 && hash == "sha512" && padding == pss) {
                    continue; // no room, see below
                }
                for (std::size_t const size : {0U, 1U, 1000U}) {
                    SCOPED_TRACE(std::to_string(bits) + " bits, padding " + std::to_string(static_cast<int>(padding)) +
                                 ", " + hash);
                    ByteArray const message = pseudoRandomBytes(size);
                    std::istringstream stream(text(message));
                    for (ByteArray const& signature :
                         {sign(*signer, message, hash), signer->sign(stream, engineNamed(hash))}) {
                        EXPECT_EQ(signature.size(), user.blockSize());
                        EXPECT_TRUE(verify(*verifier, message, signature, hash));
                        std::istringstream again(text(message));
                        EXPECT_TRUE(verifier->verify(again, signature, engineNamed(hash)).isValid());
                    }
                }
            }
        }
    }
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(RSASignatures, OfOneMessageAreTheSameWithPKCS1AndDifferWithPSS) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const message = bytes("twice");
    EXPECT_EQ(sign(*user.signer(pkcs1), message), sign(*user.signer(pkcs1), message));
    EXPECT_NE(sign(*user.signer(pss), message), sign(*user.signer(pss), message));
    EXPECT_NE(sign(*user.signer(unknown), message), sign(*user.signer(unknown), message));
}

TEST(RSASignatures, VerifyOnlyWithTheirKeyMessageHashAndPadding) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const message = bytes("message");
    Vector const foreignKey = readVectors("rsa_pkcs1_verify_2048_sha256.txt").front();
    for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
        ByteArray const signature = sign(*user.signer(padding), message);
        EXPECT_TRUE(verify(*user.verifier(padding), message, signature));
        EXPECT_FALSE(verify(*user.verifier(padding), bytes("massage"), signature));
        EXPECT_FALSE(verify(*user.verifier(padding), {}, signature));
        EXPECT_FALSE(verify(*user.verifier(padding == pkcs1 ? pss : pkcs1), message, signature));
        EXPECT_FALSE(verify(*makeRSAKeyUser(foreignKey).verifier(padding), message, signature));
        EXPECT_FALSE(verify(*rsaTestKeyUser(1024).verifier(padding), message, signature));
        EXPECT_FALSE(verify(*rsaTestKeyUser(4096).verifier(padding), message, signature));
        for (std::string const& hash : hashes) {
            EXPECT_EQ(verify(*user.verifier(padding), message, signature, hash), hash == "sha256") << hash;
        }
    }
}

TEST(RSASignatures, AreRefusedWithAnyBitFlipped) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    ByteArray const message = bytes("message");
    for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
        auto const verifier = user.verifier(padding);
        ByteArray signature = sign(*user.signer(padding), message);
        for (std::size_t bit = 0; bit < signature.size() * 8; ++bit) {
            auto const mask = static_cast<unsigned char>(1U << (bit % 8));
            signature[bit / 8] ^= mask;
            EXPECT_FALSE(verify(*verifier, message, signature)) << "bit " << bit;
            signature[bit / 8] ^= mask;
        }
        EXPECT_TRUE(verify(*verifier, message, signature));
    }
}

TEST(RSASignatures, OfAnotherSizeAreRefused) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
        ByteArray const signature = sign(*user.signer(padding), bytes("message"));
        auto const isValid = [&](ByteArray const& other) {
            return verify(*user.verifier(padding), bytes("message"), other);
        };
        EXPECT_FALSE(isValid({}));
        EXPECT_FALSE(isValid(ByteArray(signature.begin(), signature.end() - 1)));
        EXPECT_FALSE(isValid(ByteArray(signature.begin() + 1, signature.end())));
        ByteArray longer = signature;
        longer.push_back(0);
        EXPECT_FALSE(isValid(longer));
        longer.pop_back();
        longer.insert(longer.begin(), 0);
        EXPECT_FALSE(isValid(longer));
        EXPECT_FALSE(isValid(ByteArray(256, 0)));
        EXPECT_FALSE(isValid(ByteArray(256, 0xff)));
        EXPECT_FALSE(isValid(ByteArray(1000000, 1)));
    }
}

// RFC 8017, 8.1.2 and 8.2.2: the length is looked at first. libcrypto alone takes the number for the signature with
// PSS.
TEST(RSASignatures, WithoutTheirLeadingZeroByteAreRefused) {
    for (Vector const& vector : readVectors("rsa_leading_zero.txt")) {
        SCOPED_TRACE(vector.id());
        RSAKeyUser const& user = rsaTestKeyUser(vector.number("bits"));
        ByteArray const message = vector.bytes("msg");
        ByteArray const signature = vector.bytes("sig");
        ASSERT_EQ(signature.at(0), 0);
        ByteArray const shorter(signature.begin() + 1, signature.end());
        ByteArray longer = signature;
        longer.insert(longer.begin(), 0);
        std::vector<RSAPaddingMode> const paddings = vector.word("pad") == "pss"
                                                         ? std::vector<RSAPaddingMode>{pss, unknown}
                                                         : std::vector<RSAPaddingMode>{pkcs1};
        for (RSAPaddingMode const padding : paddings) {
            auto const verifier = user.verifier(padding);
            EXPECT_TRUE(verify(*verifier, message, signature));
            EXPECT_FALSE(verify(*verifier, message, shorter));
            EXPECT_FALSE(verify(*verifier, message, longer));
            std::istringstream stream(text(message));
            EXPECT_FALSE(verifier->verify(stream, shorter, engineNamed("sha256")).isValid());
        }
    }
}

TEST(RSASignatures, AreMadeByAKeyWithoutItsPrimes) {
    auto const whole = provider.createRSA2048PrivateKey(readRSAKey(2048, "private.der"));
    auto const publicKey = provider.createRSA2048PublicKey(readRSAKey(2048, "public.der"));
    auto const bare = provider.createRSA2048PrivateKey(whole->getModulus(), whole->getPrivateExponent(),
                                                       publicKey->getPublicExponent());
    auto const prng = provider.createDefaultCryptoPRNG({});
    EXPECT_EQ(sign(*provider.createRSA2048Signer(bare, pkcs1, prng), bytes("message")),
              sign(*provider.createRSA2048Signer(whole, pkcs1, prng), bytes("message")));
    EXPECT_TRUE(verify(*provider.createRSA2048Verifier(publicKey, pss, prng), bytes("message"),
                       sign(*provider.createRSA2048Signer(bare, pss, prng), bytes("message"))));
}

// The digest engine

TEST(RSASignatureEngines, OnlyNameTheHash) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    auto const busy = provider.createSHA256DigestEngine();
    busy->update(bytes("ab"));
    ByteArray const signature = user.signer(pkcs1)->sign(bytes("message"), busy);
    EXPECT_TRUE(user.verifier(pkcs1)->verify(bytes("message"), signature, busy).isValid());
    EXPECT_EQ(busy->computeDigest(bytes("c")), engineNamed("sha256")->computeDigest(bytes("abc")));

    EXPECT_EQ(user.signer(pkcs1)->sign(bytes("message"), hostEngine("sha256")), signature);
    EXPECT_TRUE(user.verifier(pkcs1)->verify(bytes("message"), signature, hostEngine("sha256")).isValid());
}

TEST(RSASignatureEngines, ThatDoNotExistAreRefused) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
        EXPECT_THROWS(InternalException, noEngine, user.signer(padding)->sign(bytes("message"), nullptr));
        EXPECT_FALSE(user.verifier(padding)->verify(bytes("message"), ByteArray(256), nullptr).isValid());
        std::istringstream message("message");
        EXPECT_THROWS(InternalException, noEngine, user.signer(padding)->sign(message, nullptr));
        EXPECT_TRUE(message.eof()); // it was read before
        std::istringstream again("message");
        EXPECT_FALSE(user.verifier(padding)->verify(again, ByteArray(256), nullptr).isValid());
        EXPECT_TRUE(again.eof());
    }
}

TEST(RSASignatureEngines, ThatNameNoHashForRSAAreRefused) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const signature = sign(*user.signer(pkcs1), bytes("message"));
    for (std::string const name : {"no such hash", "", "sha-257", "shake256", "blake2b512"}) {
        SCOPED_TRACE(name);
        for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
            EXPECT_THROWS(InternalException, notInitialized,
                          user.signer(padding)->sign(bytes("message"), hostEngine(name)));
            EXPECT_FALSE(user.verifier(padding)->verify(bytes("message"), signature, hostEngine(name)).isValid());
        }
    }
}

/// What a thread comes to that runs `work`.
void* resultOfThread(std::function<void()> work) {
    pthread_t thread{};
    EXPECT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void* given) -> void* { return (*static_cast<decltype(work)*>(given))(), nullptr; }, &work),
              0);
    void* result = nullptr;
    EXPECT_EQ(pthread_join(thread, &result), 0);
    return result;
}

TEST(RSASignatureEngines, MayCancelTheThreadThatAsksThem) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    auto const cancelling = hostEngine([]() -> std::string {
        pthread_cancel(pthread_self());
        pthread_testcancel();
        return "sha256";
    });
    EXPECT_EQ(resultOfThread([&] { user.signer(pkcs1)->sign(bytes("message"), cancelling); }), PTHREAD_CANCELED);
    EXPECT_EQ(resultOfThread([&] { user.verifier(pkcs1)->verify(bytes("message"), ByteArray(256), cancelling); }),
              PTHREAD_CANCELED);
}

TEST(RSASignatureEngines, ThatThrowAreReportedWhenSigningAndInvalidWhenVerifying) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const signature = sign(*user.signer(pkcs1), bytes("message"));
    auto const throwing = hostEngine([]() -> std::string { throw std::runtime_error("the engine room is flooded"); });
    auto const throwingOurs = hostEngine([]() -> std::string { throw UnsupportedDigestAlgorithm("not this one"); });
    auto const throwingMemory = hostEngine([]() -> std::string { throw std::bad_alloc(); });

    EXPECT_THROWS(InternalException, "the engine room is flooded",
                  user.signer(pkcs1)->sign(bytes("message"), throwing));
    EXPECT_THROWS(UnsupportedDigestAlgorithm, "not this one", user.signer(pkcs1)->sign(bytes("message"), throwingOurs));
    EXPECT_THROWS(InternalException, "std::bad_alloc", user.signer(pkcs1)->sign(bytes("message"), throwingMemory));
    for (auto const& engine : {throwing, throwingOurs, throwingMemory}) {
        EXPECT_FALSE(user.verifier(pkcs1)->verify(bytes("message"), signature, engine).isValid());
        std::istringstream message("message");
        EXPECT_FALSE(user.verifier(pkcs1)->verify(message, signature, engine).isValid());
    }
}

TEST(RSASignatureEngines, ThatThrowWhatIsNoStandardExceptionAreNotHindered) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    auto const throwing = hostEngine([]() -> std::string { throw 42; });
    EXPECT_THROW(user.signer(pkcs1)->sign(bytes("message"), throwing), int);
    EXPECT_THROW(user.verifier(pkcs1)->verify(bytes("message"), ByteArray(256), throwing), int);
    std::istringstream message("message");
    EXPECT_THROW(user.verifier(pkcs1)->verify(message, ByteArray(256), throwing), int);
}

TEST(RSASignatureEngines, OfHMACSignAsTheirPlainHashAndOfBLAKE2bNotAtAll) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const signature = sign(*user.signer(pkcs1), bytes("message"));
    auto const hmac = provider.createHMACSHA256DigestEngine(bytes("key"));
    EXPECT_EQ(user.signer(pkcs1)->sign(bytes("message"), hmac), signature);
    EXPECT_TRUE(user.verifier(pkcs1)->verify(bytes("message"), signature, hmac).isValid());
    for (auto const& blake2b : {provider.createBlake2bDigestEngine({}, {}),
                                provider.createBlake2bDigestEngine(bytes("key"), ByteArray(16))}) {
        EXPECT_THROWS(InternalException, notInitialized, user.signer(pkcs1)->sign(bytes("message"), blake2b));
        EXPECT_FALSE(user.verifier(pkcs1)->verify(bytes("message"), signature, blake2b).isValid());
    }
}

// Padding

TEST(RSASignaturePaddings, OfEncryptionAreRefusedAtEachCallBeforeAnythingElse) {
    auto const throwing = hostEngine([]() -> std::string { throw std::runtime_error("flooded"); });
    for (int const bits : sizes) {
        for (RSAPaddingMode const padding : oaepPaddings) {
            auto const signer = rsaTestKeyUser(bits).signer(padding);
            auto const verifier = rsaTestKeyUser(bits).verifier(padding);
            for (DigestEnginePtr const& engine :
                 {engineNamed("sha256"), DigestEnginePtr(), hostEngine("no such hash"), throwing}) {
                EXPECT_THROWS(InternalException, oaepRefused, signer->sign(bytes("message"), engine));
                EXPECT_THROWS(InternalException, oaepRefused, verifier->verify(bytes("message"), {}, engine));
                std::istringstream message("message"); // streams are read before
                EXPECT_THROWS(InternalException, oaepRefused, signer->sign(message, engine));
                EXPECT_TRUE(message.eof() && message.fail());
                std::istringstream again("message");
                EXPECT_THROWS(InternalException, oaepRefused, verifier->verify(again, {}, engine));
                EXPECT_TRUE(again.eof() && again.fail());
            }
        }
    }
}

struct SaltCase {
    int padding;
    std::string hash; // as the engine names it
    int length;       // of the salt, with a key of 2048 bits
};

std::vector<SaltCase> const saltCases{
    // The digest's length for three of the names; for all others the longest: 256 - 2 - the digest's length.
    {4, "sha1", 20},
    {4, "sha256", 32},
    {4, "sha512", 64},
    {4, "md5", 238},
    {4, "sha224", 226},
    {4, "sha384", 206},
    {4, "SHA1", 234},
    {4, "SHA256", 222},
    {4, "Sha512", 190},
    {4, "sha-256", 222},
    {4, "SHA2-512", 190},
    {4, "sha3-256", 222},
    // libcrypto's own: the digest's length.
    {5, "sha1", 20},
    {5, "sha224", 28},
    {5, "sha256", 32},
    {5, "sha384", 48},
    {5, "sha512", 64},
    {-1, "SHA256", 32},
    {std::numeric_limits<int>::max(), "md5", 16},
};

TEST(RSASignaturePaddings, GivePSSItsSalt) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    RawKey const key = readPublic(text(readRSAKey(2048, "public.pem")));
    ByteArray const message = bytes("message");
    for (SaltCase const& row : saltCases) {
        SCOPED_TRACE(std::to_string(row.padding) + " " + row.hash);
        RSAPaddingMode const padding = rsaPadding(row.padding);
        ByteArray const signature = user.signer(padding)->sign(message, hostEngine(row.hash));
        EXPECT_TRUE(isPSSWithSalt(row.length, key.get(), row.hash, message, signature));
        EXPECT_FALSE(isPSSWithSalt(row.length - 1, key.get(), row.hash, message, signature));
        EXPECT_TRUE(user.verifier(padding)->verify(message, signature, hostEngine(row.hash)).isValid());
        // A verifier that reads the length from the signature takes them all.
        EXPECT_TRUE(user.verifier(unknown)->verify(message, signature, hostEngine(row.hash)).isValid());
    }
}

TEST(RSASignaturePaddings, DemandTheSaltOfThreeHashesAndTakeAnyOfTheOthers) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const message = bytes("message");
    for (std::string const& hash : hashes) {
        // Under another name the salt is the longest, with an unknown padding as long as the digest.
        ByteArray const longest =
            user.signer(pss)->sign(message, hostEngine(hash == "md5" ? "MD5" : "SHA" + hash.substr(3)));
        ByteArray const asDigest = sign(*user.signer(unknown), message, hash);
        bool const fixed = hash == "sha1" || hash == "sha256" || hash == "sha512";
        EXPECT_EQ(verify(*user.verifier(pss), message, longest, hash), !fixed) << hash;
        EXPECT_TRUE(verify(*user.verifier(pss), message, asDigest, hash)) << hash;
        EXPECT_TRUE(verify(*user.verifier(unknown), message, longest, hash)) << hash;
    }
}

TEST(RSASignaturePaddings, OfPSSWithSHA512DoNotFitAKeyOf1024Bits) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    EXPECT_THROWS(InternalException, notSigned, sign(*user.signer(pss), bytes("message"), "sha512"));
    EXPECT_EQ(sign(*user.signer(unknown), bytes("message"), "sha512").size(), 128U); // with the longest that fits
    EXPECT_FALSE(verify(*user.verifier(pss), bytes("message"), ByteArray(128, 1), "sha512"));
}

// Keys of other kinds that pass by their size

TEST(RSASignatureKeys, BoundToPSSMakeAndTakeNothingElse) {
    RSAKeyUser const bound = makePSSKeyUser(); // to SHA-256
    ByteArray const signature = sign(*bound.signer(pss), bytes("message"));
    EXPECT_TRUE(verify(*bound.verifier(pss), bytes("message"), signature));
    EXPECT_TRUE(verify(*bound.verifier(unknown), bytes("message"), signature));
    EXPECT_TRUE(verify(*bound.verifier(unknown), bytes("message"), sign(*bound.signer(unknown), bytes("message"))));
    EXPECT_THROWS(InternalException, noKeyContext, sign(*bound.signer(pkcs1), bytes("message")));
    EXPECT_FALSE(verify(*bound.verifier(pkcs1), bytes("message"), signature));
    EXPECT_THROWS(InternalException, notInitialized, sign(*bound.signer(pss), bytes("message"), "sha512"));
    EXPECT_FALSE(verify(*bound.verifier(pss), bytes("message"), signature, "sha512"));
}

TEST(RSASignatureKeys, ForDSAFailWithEveryPadding) {
    RSAKeyUser const dsa = makeDSAKeyUser();
    for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
        EXPECT_THROWS(InternalException, noKeyContext, sign(*dsa.signer(padding), bytes("message")));
        EXPECT_FALSE(verify(*dsa.verifier(padding), bytes("message"), ByteArray(46, 1)));
    }
}

// Streams

TEST(RSASignatureStreams, AreReadFromWhereTheyStandToTheirEnd) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    std::string const message = " \t\r\n white \n\n space and a NUL \0 at the end \n";
    ByteArray const signature = sign(*user.signer(pkcs1), bytes(message));
    for (std::size_t const portion : {1U, 7U, 4096U}) {
        PortionBuffer buffer("read before" + message, portion);
        std::istream stream(&buffer);
        stream.ignore(11);
        EXPECT_EQ(user.signer(pkcs1)->sign(stream, engineNamed("sha256")), signature);
        EXPECT_TRUE(stream.eof() && stream.fail() && !stream.bad());
        EXPECT_EQ(stream.flags() & std::ios_base::skipws, std::ios_base::fmtflags()); // and left so
    }
    std::istringstream stream("read before" + message);
    stream.ignore(11);
    EXPECT_TRUE(user.verifier(pkcs1)->verify(stream, signature, engineNamed("sha256")).isValid());
    EXPECT_TRUE(stream.eof() && stream.fail() && !stream.bad());
    EXPECT_EQ(stream.flags() & std::ios_base::skipws, std::ios_base::fmtflags());
}

TEST(RSASignatureStreams, ThatAreNotGoodAreTheEmptyMessage) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    ByteArray const ofNothing = sign(*user.signer(pkcs1), {});
    for (auto const state : {std::ios_base::eofbit, std::ios_base::failbit, std::ios_base::badbit}) {
        std::istringstream stream("unread");
        stream.setstate(state);
        EXPECT_EQ(user.signer(pkcs1)->sign(stream, engineNamed("sha256")), ofNothing);
        std::istringstream again("unread");
        again.setstate(state);
        EXPECT_TRUE(user.verifier(pkcs1)->verify(again, ofNothing, engineNamed("sha256")).isValid());
    }
}

TEST(RSASignatureStreams, WhoseBufferThrowsEndThereOrAreReported) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    ByteArray const ofHalf = sign(*user.signer(pkcs1), bytes("half a message"));
    PortionBuffer silent("half a message", 5, "the disk is gone");
    std::istream stream(&silent);
    EXPECT_EQ(user.signer(pkcs1)->sign(stream, engineNamed("sha256")), ofHalf);
    EXPECT_TRUE(stream.bad());

    for (RSAPaddingMode const padding : {pkcs1, RSAPaddingMode::OAEP_SHA1}) { // reading comes before all checks
        PortionBuffer buffer("half a message", 5, "the disk is gone");
        std::istream strict(&buffer);
        strict.exceptions(std::ios_base::badbit);
        EXPECT_THROWS(InternalException, "the disk is gone", user.signer(padding)->sign(strict, nullptr));
        PortionBuffer secondBuffer("half a message", 5, "the disk is gone");
        std::istream second(&secondBuffer);
        second.exceptions(std::ios_base::badbit);
        EXPECT_THROWS(InternalException, "the disk is gone", user.verifier(padding)->verify(second, ofHalf, nullptr));
    }
    std::istringstream strict("message");
    strict.exceptions(std::ios_base::failbit);
    EXPECT_THROWS_PREFIX(InternalException, "basic_ios::clear",
                         user.signer(pkcs1)->sign(strict, engineNamed("sha256")));
}

TEST(RSASignatureStreams, WhoseBufferThrowsTheLibrarysOwnExceptionsPassThemUnchanged) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    ThrowingBuffer<InvalidKeyEncoding> buffer(InvalidKeyEncoding("of a stream"));
    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROWS(InvalidKeyEncoding, "of a stream", user.signer(pkcs1)->sign(stream, engineNamed("sha256")));
    stream.clear();
    EXPECT_THROWS(InvalidKeyEncoding, "of a stream", user.verifier(pkcs1)->verify(stream, {}, engineNamed("sha256")));
}

// The error queue

TEST(RSASignatureErrors, AreForgottenWhenTheAnswerIsAStatus) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    ByteArray const signature = sign(*user.signer(pss), bytes("message"));
    auto const flooded = hostEngine([]() -> std::string {
        ERR_raise_data(ERR_LIB_USER, 2, "flooded");
        throw std::runtime_error("flooded");
    });
    for (bool const withEntry : {false, true}) {
        for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
            for (DigestEnginePtr const& engine : {engineNamed("sha256"), engineNamed("sha512"),
                                                  hostEngine("no such hash"), DigestEnginePtr(), flooded}) {
                for (ByteArray const& given : {signature, ByteArray(), ByteArray(256, 0xff), ByteArray(256)}) {
                    if (withEntry) {
                        ERR_raise_data(ERR_LIB_USER, 1, "the host's own");
                    }
                    user.verifier(padding)->verify(bytes("message"), given, engine);
                    unsigned long const left = ERR_get_error();
                    EXPECT_EQ(ERR_GET_REASON(left), withEntry ? 1 : 0);
                    EXPECT_EQ(ERR_get_error(), 0U);
                }
            }
        }
    }
}

TEST(RSASignatureErrors, AreNotLeftBySigning) {
    for (int const bits : sizes) {
        for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
            ERR_raise_data(ERR_LIB_USER, 1, "the host's own");
            sign(*rsaTestKeyUser(bits).signer(padding), bytes("message"));
            EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 1);
            EXPECT_EQ(ERR_get_error(), 0U);
        }
    }
}

// Threads

TEST(RSASignatureThreads, ShareOneSignerAndOneVerifier) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    for (RSAPaddingMode const padding : {pkcs1, pss}) {
        auto const signer = user.signer(padding);
        auto const verifier = user.verifier(padding);
        std::vector<int> valid(4);
        onThreads(valid.size(), [&](std::size_t thread) {
            ByteArray const message = pseudoRandomBytes(100, thread);
            for (int round = 0; round < 20; ++round) {
                std::istringstream stream(text(message));
                valid[thread] += verify(*verifier, message, signer->sign(stream, engineNamed("sha256"))) ? 1 : 0;
                valid[thread] += verify(*verifier, bytes("another"), sign(*signer, message)) ? 1000 : 0;
            }
        });
        EXPECT_EQ(valid, std::vector<int>(4, 20));
    }
}

// Published cases

bool isExpectedValid(Vector const& vector) {
    return vector.expected() == "valid";
}

class RSAVerificationVectors : public testing::TestWithParam<std::string> {};

TEST_P(RSAVerificationVectors, GiveTheirStatusFromBytesAndFromStreams) {
    for (Vector const& vector : readVectors(GetParam())) {
        SCOPED_TRACE(vector.id());
        ASSERT_EQ(vector.word("alg"), "rsa-verify");
        RSAKeyUser const user = makeRSAKeyUser(vector);
        ByteArray const message = vector.bytes("msg");
        ByteArray const signature = vector.bytes("sig");
        auto const engine = engineNamed(vector.word("hash"));
        auto const expectStatus = [&](RSAPaddingMode padding, bool valid) {
            std::istringstream stream(text(message));
            auto const verifier = user.verifier(padding);
            EXPECT_EQ(verifier->verify(message, signature, engine).isValid(), valid);
            EXPECT_EQ(verifier->verify(stream, signature, engine).isValid(), valid);
        };
        if (vector.word("pad") == "pkcs1") {
            expectStatus(pkcs1, isExpectedValid(vector));
        } else {
            expectStatus(pss, isExpectedValid(vector));
            expectStatus(unknown, vector.word("any") == "valid");
            expectStatus(rsaPadding(-1), vector.word("any") == "valid");
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, RSAVerificationVectors,
                         testing::Values("rsa_pkcs1_verify_2048_sha224.txt", "rsa_pkcs1_verify_2048_sha256.txt",
                                         "rsa_pkcs1_verify_2048_sha384.txt", "rsa_pkcs1_verify_2048_sha512.txt",
                                         "rsa_pkcs1_verify_4096_sha256.txt", "rsa_pkcs1_verify_4096_sha384.txt",
                                         "rsa_pkcs1_verify_4096_sha512.txt", "rsa_pss_2048.txt",
                                         "rsa_pss_2048_params.txt", "rsa_pss_4096.txt", "rsa_pss_4096_params.txt",
                                         "rsa_pss_other_salt.txt", "rsa_pss_other_salt_params.txt"),
                         [](auto const& file) { return file.param.substr(0, file.param.find('.')); });

TEST(RSASigningVectors, GiveTheSignatureFromBytesAndFromStreams) {
    for (Vector const& vector : readVectors("rsa_pkcs1_sign.txt")) {
        SCOPED_TRACE(vector.id());
        RSAKeyUser const user = makeRSAKeyUser(vector);
        ByteArray const message = vector.bytes("msg");
        auto const engine = engineNamed(vector.word("hash"));
        ASSERT_TRUE(isExpectedValid(vector));
        EXPECT_EQ(hex(user.signer(pkcs1)->sign(message, engine)), vector.word("sig"));
        std::istringstream stream(text(message));
        EXPECT_EQ(hex(user.signer(pkcs1)->sign(stream, engine)), vector.word("sig"));
        EXPECT_TRUE(user.verifier(pkcs1)->verify(message, vector.bytes("sig"), engine).isValid());
    }
}

// The openssl command, both ways

class RSASignatureExchange : public testing::Test {
protected:
    explicit RSASignatureExchange() { writeFile(directory / "message", message); }

    void useKey(int bits) {
        writeFile(directory / "private.der", readRSAKey(static_cast<unsigned long>(bits), "private.der"));
        writeFile(directory / "public.der", readRSAKey(static_cast<unsigned long>(bits), "public.der"));
    }

    CommandResult dgst(std::string const& hash, std::string const& options) const {
        return run("cd " + directory.path().string() + " && openssl dgst -" + hash + " -keyform DER " + options +
                   " message 2>/dev/null");
    }

    ByteArray signByCommand(std::string const& hash, std::string const& options) const {
        EXPECT_EQ(dgst(hash, "-sign private.der -out signature " + options).status, 0);
        return readFile(directory / "signature");
    }

    bool verifyByCommand(std::string const& hash, ByteArray const& signature, std::string const& options) const {
        writeFile(directory / "signature", signature);
        return dgst(hash, "-verify public.der -signature signature " + options).status == 0;
    }

    static std::string pssWith(std::string const& salt) {
        return "-sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:" + salt;
    }

    TemporaryDirectory directory;
    ByteArray message = pseudoRandomBytes(5000);
};

TEST_F(RSASignatureExchange, AgreesOnPKCS1) {
    for (int const bits : sizes) {
        useKey(bits);
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (std::string const& hash : hashes) {
            SCOPED_TRACE(std::to_string(bits) + " " + hash);
            ByteArray const signature = sign(*user.signer(pkcs1), message, hash);
            EXPECT_EQ(signByCommand(hash, ""), signature);
            EXPECT_TRUE(verifyByCommand(hash, signature, ""));
            EXPECT_FALSE(verifyByCommand(hash, sign(*user.signer(pkcs1), bytes("another"), hash), ""));
        }
    }
}

TEST_F(RSASignatureExchange, AgreesOnPSSWhateverTheSalt) {
    for (int const bits : sizes) {
        useKey(bits);
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (std::string const& hash : hashes) {
            if (bits == 1024 && hash == "sha512") {
                continue; // a salt of 64 bytes does not fit
            }
            SCOPED_TRACE(std::to_string(bits) + " " + hash);
            bool const fixed = hash == "sha1" || hash == "sha256" || hash == "sha512";
            ByteArray const ours = sign(*user.signer(pss), message, hash);
            EXPECT_EQ(verifyByCommand(hash, ours, pssWith("digest")), fixed);
            EXPECT_EQ(verifyByCommand(hash, ours, pssWith("max")), !fixed);
            EXPECT_TRUE(verifyByCommand(hash, ours, pssWith("auto")));
            EXPECT_TRUE(verifyByCommand(hash, sign(*user.signer(unknown), message, hash), pssWith("digest")));

            ByteArray const asDigest = signByCommand(hash, pssWith("digest"));
            EXPECT_TRUE(verify(*user.verifier(pss), message, asDigest, hash));
            EXPECT_TRUE(verify(*user.verifier(unknown), message, asDigest, hash));
            for (std::string const salt : {"max", "auto", "0", "21"}) {
                ByteArray const other = signByCommand(hash, pssWith(salt));
                EXPECT_EQ(verify(*user.verifier(pss), message, other, hash), !fixed) << salt;
                EXPECT_TRUE(verify(*user.verifier(unknown), message, other, hash)) << salt;
            }
        }
    }
}

// Mutated signatures

TEST(RSASignatureMutations, AreInvalidAndNothingWorse) {
    std::mt19937_64 random(20240607);
    ByteArray const message = bytes("message");
    int tried = 0;
    for (int const bits : sizes) {
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (RSAPaddingMode const padding : {pkcs1, pss, unknown}) {
            ByteArray const signature = sign(*user.signer(padding), message);
            auto const verifier = user.verifier(padding);
            for (int round = 0; round < 320; ++round, ++tried) {
                ByteArray const mutated = mutate(signature, random);
                EXPECT_EQ(verify(*verifier, message, mutated), mutated == signature) << hex(mutated);
            }
        }
    }
    EXPECT_EQ(tried, 2880);
    EXPECT_EQ(ERR_peek_error(), 0U);
}

} // namespace
