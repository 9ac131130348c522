#include "RSASigning.h"
#include "support/Bytes.h"
#include "support/Engines.h"
#include "support/Provider.h"
#include "support/RSA.h"
#include "support/Threads.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

std::string const noKeyContext = "Failed to get the OpenSSL pkey context for signing.";

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
                    continue; // no room, see RSASignaturePaddingsTest.cpp
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

} // namespace
