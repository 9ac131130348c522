#include "ecc/ECCKey.h"

#include "ECCOperations.h"
#include "support/Bytes.h"
#include "support/ECC.h"
#include "support/Engines.h"
#include "support/Faults.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/evp.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;

TYPED_TEST(ECCCalls, OfASignatureAreThoseThatTheWorkNeeds) {
    using On = Operations<TypeParam>;
    Recording recording;
    On::sign();
    EXPECT_EQ(recording.functions(), (std::vector<std::string>{"EVP_MD_CTX_new", "EVP_DigestSignInit_ex",
                                                               "EVP_DigestSign", "EVP_DigestSign", "EVP_MD_CTX_free"}));
    auto const key =
        std::dynamic_pointer_cast<openssl::ECCPrivateKey<TypeParam::curve>>(On::pair().getPrivateKey())->get();
    auto const& setup = recording.calls().at(1).arguments;
    EXPECT_EQ(setup.at(1), 0);
    EXPECT_EQ(setup.at(2) != 0, TypeParam::curve == EllipticCurve::P256); // Ed25519 takes no digest
    EXPECT_EQ(setup.at(3), 0);
    EXPECT_EQ(setup.at(4), 0);
    EXPECT_EQ(setup.at(5), asNumber(key));
    EXPECT_EQ(setup.at(6), 0);
}

TYPED_TEST(ECCCalls, OfAVerificationAreThoseThatTheWorkNeeds) {
    using On = Operations<TypeParam>;
    Recording recording;
    On::verify();
    EXPECT_EQ(recording.functions(), (std::vector<std::string>{"EVP_MD_CTX_new", "EVP_DigestVerifyInit_ex",
                                                               "EVP_DigestVerify", "EVP_MD_CTX_free"}));
    EXPECT_EQ(recording.calls().at(1).arguments.at(2) != 0, TypeParam::curve == EllipticCurve::P256);
}

// libcrypto cuts the size of an ECDSA signature to 32 bits.
TYPED_TEST(ECCCalls, ThatVerifyNeverSeeASignatureLongerThanTheKeyMakes) {
    auto const key = Operations<TypeParam>::pair().getPublicKey();
    auto const verifier = TypeParam::verifier(key);
    auto const longest = static_cast<std::size_t>(
        EVP_PKEY_get_size(std::dynamic_pointer_cast<openssl::ECCPublicKey<TypeParam::curve>>(key)->get()));
    int asked = 0;
    auto const engine = std::make_shared<HostEngine>([] { return "SHA512"; },
                                                     [&] {
                                                         ++asked;
                                                         return "sha512";
                                                     });
    for (std::size_t const size : {longest, longest + 1, std::size_t(100000)}) {
        ByteArray const signature(size, 0x30);
        std::istringstream stream("abc");
        asked = 0;
        Recording const recording;
        EXPECT_FALSE(verifier->verify(bytes("abc"), signature, engine).isValid());
        EXPECT_FALSE(verifier->verify(stream, signature, engine).isValid());
        EXPECT_EQ(recording.count("EVP_DigestVerify"), size == longest ? 2U : 0U);
        EXPECT_EQ(recording.functions().empty(), size != longest);
        EXPECT_EQ(asked, 2);
    }
    ByteArray const tooLong(longest + 1);
    EXPECT_THROWS(utils::UnsupportedDigestAlgorithm,
                  "Insecure digest algorithm should not be used for signing/verification: SHA1",
                  verifier->verify(bytes("abc"), tooLong, engineNamed("sha1")));
    EXPECT_THROWS(InternalException, noVerifying, // without a key that is told, whatever the signature
                  TypeParam::verifier(nullptr)->verify(bytes("abc"), tooLong, engine));
}

TEST(ECCSignatureCalls, NameTheDigestOfTheEngineOnP256) {
    for (std::string const name : {"sha224", "sha256", "sha384", "sha512"}) {
        std::string named;
        Replacing<decltype(EVP_DigestSignInit_ex)> const looking(
            "EVP_DigestSignInit_ex", [&](auto real, auto context, auto keyContext, char const* digest, auto... others) {
                named = digest;
                return real(context, keyContext, digest, others...);
            });
        P256::signer(Operations<P256>::pair().getPrivateKey())->sign(bytes("abc"), engineNamed(name));
        EXPECT_EQ(named, name);
    }
}

TYPED_TEST(ECCCalls, AreNotMadeForARefusedDigest) {
    auto const signer = TypeParam::signer(Operations<TypeParam>::pair().getPrivateKey());
    auto const verifier = TypeParam::verifier(Operations<TypeParam>::pair().getPublicKey());
    auto const refused = engineNamed("sha1");
    Recording const recording;
    EXPECT_ANY_THROW(signer->sign(bytes("abc"), refused));
    EXPECT_ANY_THROW(signer->sign(bytes("abc"), nullptr));
    EXPECT_ANY_THROW(verifier->verify(bytes("abc"), bytes("abc"), refused));
    EXPECT_ANY_THROW(verifier->verify(bytes("abc"), bytes("abc"), nullptr));
    EXPECT_EQ(recording.functions(), std::vector<std::string>());
}

/// Answers the size query with `most` and the signature itself with `size` bytes.
auto signatureOf(std::size_t most, std::size_t size) {
    return [=](auto /*real*/, EVP_MD_CTX* /*context*/, unsigned char* signature, std::size_t* written,
               unsigned char const* /*data*/, std::size_t /*dataSize*/) {
        if (signature != nullptr) {
            EXPECT_EQ(*written, most); // the room there is
            std::fill_n(signature, size, static_cast<unsigned char>(0xab));
        }
        *written = signature == nullptr ? most : size;
        return 1;
    };
}

TYPED_TEST(ECCCalls, CutASignatureToItsFinalLength) {
    auto const signer = TypeParam::signer(Operations<TypeParam>::pair().getPrivateKey());
    for (std::size_t const size : {72U, 71U, 70U, 8U, 1U}) {
        Replacing<decltype(EVP_DigestSign)> const shorter("EVP_DigestSign", signatureOf(72, size));
        EXPECT_EQ(signer->sign(bytes("abc"), TypeParam::engine()), ByteArray(size, 0xab));
    }
}

TYPED_TEST(ECCCalls, RefuseASignatureOfNothing) {
    {
        Replacing<decltype(EVP_DigestSign)> const none("EVP_DigestSign", signatureOf(0, 0));
        EXPECT_THROWS(InternalException, "Max size of signature to be generated is 0", Operations<TypeParam>::sign());
    }
    Replacing<decltype(EVP_DigestSign)> const none("EVP_DigestSign", signatureOf(72, 0));
    EXPECT_THROWS(InternalException, "Size of generated signature is 0", Operations<TypeParam>::sign());
}

TYPED_TEST(ECCCalls, AreValidForTheResultOneAlone) {
    auto const verifier = TypeParam::verifier(Operations<TypeParam>::pair().getPublicKey());
    for (int const result : {1, 0, -1, -2, 2}) {
        Failing failing("EVP_DigestVerify");
        failing.returning(result).withError("malformed");
        EXPECT_EQ(verifier->verify(bytes("abc"), bytes("abc"), TypeParam::engine()).isValid(), result == 1) << result;
        EXPECT_EQ(ERR_peek_error(), 0U);
    }
}

TYPED_TEST(ECCCalls, AnswerWhateverBitsLibcryptoNames) {
    auto const signer = TypeParam::signer(Operations<TypeParam>::pair().getPrivateKey());
    auto const verifier = TypeParam::verifier(Operations<TypeParam>::pair().getPublicKey());
    for (int const bits : {253, 256, 0, -1}) {
        {
            Failing failing("EVP_PKEY_get_bits");
            failing.returning(bits);
            EXPECT_EQ(signer->getKeySize(), bits);
        }
        Failing failing("EVP_PKEY_get_bits");
        failing.returning(bits);
        EXPECT_EQ(verifier->getKeySize(), bits);
    }
}

} // namespace
