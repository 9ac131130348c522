// Keys and generators from another copy of the library in the process: their classes have the names of ours, and
// perhaps another layout.
#include "support/Bytes.h"
#include "support/ECC.h"
#include "support/PlugIn.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"
#include "support/Throws.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <typeinfo>

namespace {

using namespace support;
using namespace foundation::crypto;
using interfaces::ICryptoPRNG;
using interfaces::ICryptoProvider;
using utils::AESMode;
using utils::AESPaddingMode;
using utils::InternalException;
using utils::InvalidKey;

/// The provider of a plug-in with the second copy.
ICryptoProvider const& secondLibrary() {
    static std::unique_ptr<ICryptoProvider const> const other(
        PlugIn<ICryptoProvider*()>(ZRFL_SECOND_LIBRARY_PLUG_IN).handOver()());
    return *other;
}

TEST(SecondLibrary, HasClassesOfTheSameNames) {
    auto const theirs = secondLibrary().createDefaultCryptoPRNG({});
    auto const ours = provider.createDefaultCryptoPRNG({});
    auto const typeOf = [](ICryptoPRNG const& prng) { return &typeid(prng); };
    EXPECT_STREQ(typeOf(*theirs)->name(), typeOf(*ours)->name());
    EXPECT_NE(typeOf(*theirs), typeOf(*ours));
}

template <unsigned long Bits, class PrivateKey, class PublicKey>
void expectRSAKeysMissing(PrivateKey const& privateKey, PublicKey const& publicKey) {
    using OfSize = RSAKeys<Bits>;
    auto const prng = provider.createDefaultCryptoPRNG({});
    auto const padding = RSAPaddingMode::OAEP_SHA1;
    EXPECT_THROWS(InvalidKey, "The encryption key does not exist.", OfSize::encryptor(publicKey, padding, prng));
    EXPECT_THROWS(InvalidKey, "The decryption key does not exist.", OfSize::decryptor(privateKey, padding, prng));
    EXPECT_THROWS(InvalidKey, "The signing key does not exist.", OfSize::signer(privateKey, padding, prng));
    EXPECT_THROWS(InvalidKey, "The verifying key does not exist. Please correct.",
                  OfSize::verifier(publicKey, padding, prng));
}

TEST(SecondLibrary, HasNoKeysForRSA) {
    auto const privateKey = [](unsigned long bits) { return readRSAKey(bits, "private.der"); };
    auto const publicKey = [](unsigned long bits) { return readRSAKey(bits, "public.der"); };
    expectRSAKeysMissing<1024>(secondLibrary().createRSA1024PrivateKey(privateKey(1024)),
                               secondLibrary().createRSA1024PublicKey(publicKey(1024)));
    expectRSAKeysMissing<2048>(secondLibrary().createRSA2048PrivateKey(privateKey(2048)),
                               secondLibrary().createRSA2048PublicKey(publicKey(2048)));
    expectRSAKeysMissing<4096>(secondLibrary().createRSA4096PrivateKey(privateKey(4096)),
                               secondLibrary().createRSA4096PublicKey(publicKey(4096)));
}

template <class OfSize> class SecondLibrarysGenerators : public testing::Test {};

TYPED_TEST_SUITE(SecondLibrarysGenerators, RSASizes, RSASizeNames);

TYPED_TEST(SecondLibrarysGenerators, AreMissingForRSA) {
    auto const privateKey = TypeParam::createPrivateKey(readRSAKey(TypeParam::bits, "private.der"));
    auto const publicKey = TypeParam::createPublicKey(readRSAKey(TypeParam::bits, "public.der"));
    auto const prng = secondLibrary().createDefaultCryptoPRNG({});
    auto const padding = RSAPaddingMode::OAEP_SHA1;
    EXPECT_THROWS(InternalException, "The PRNG does not exist.", TypeParam::encryptor(publicKey, padding, prng));
    EXPECT_THROWS(InternalException, "The PRNG does not exist.", TypeParam::decryptor(privateKey, padding, prng));
    EXPECT_THROWS(InternalException, "The PRNG does not exist.", TypeParam::signer(privateKey, padding, prng));
    EXPECT_THROWS(InternalException, "The PRNG does not exist. Please correct.",
                  TypeParam::verifier(publicKey, padding, prng));
}

template <class Curve, class PrivateKey, class PublicKey>
void expectCurveKeysMissing(PrivateKey const& privateKey, PublicKey const& publicKey) {
    auto const engine = Curve::engine();
    EXPECT_THROWS(InternalException, "Failed while doing setup to generate signature",
                  Curve::signer(privateKey)->sign(bytes("abc"), engine));
    EXPECT_THROWS(InternalException, "Failed while doing setup to verify signature",
                  Curve::verifier(publicKey)->verify(bytes("abc"), bytes("abc"), engine));
}

TEST(SecondLibrary, HasNoKeysForTheCurves) {
    auto const p256 = secondLibrary().generateECCP256KeyPair();
    expectCurveKeysMissing<P256>(p256->getPrivateKey(), p256->getPublicKey());
    auto const curve25519 = secondLibrary().generateECCCurve25519KeyPair();
    expectCurveKeysMissing<Curve25519>(curve25519->getPrivateKey(), curve25519->getPublicKey());
}

/// Neither the second library's key nor its generator is used for AES.
template <class Key, class Encryptor, class Decryptor>
void expectAESObjectsMissing(Key const& theirs, Key const& ours, Encryptor createEncryptor, Decryptor createDecryptor) {
    char const* const noKey = "Failed to get the OpenSSL cipher. Unsupported key size";
    auto const encryptor =
        (provider.*createEncryptor)(theirs, ByteArray(16), AESMode::CBC, AESPaddingMode::PKCS7, nullptr);
    auto const decryptor =
        (provider.*createDecryptor)(theirs, ByteArray(16), AESMode::CBC, AESPaddingMode::PKCS7, nullptr);
    EXPECT_THROWS(InternalException, noKey, encryptor->encrypt(ByteArray(16)));
    EXPECT_THROWS(InternalException, noKey, decryptor->decrypt(ByteArray(16)));

    auto const prng = secondLibrary().createDefaultCryptoPRNG({});
    EXPECT_THROWS(InternalException, "The PRNG does not exist.",
                  (provider.*createEncryptor)(ours, {}, AESMode::CBC, AESPaddingMode::PKCS7, prng));
    EXPECT_THROWS(InternalException, "The PRNG does not exist.",
                  (provider.*createDecryptor)(ours, {}, AESMode::CBC, AESPaddingMode::PKCS7, prng));
}

TEST(SecondLibrary, HasNoKeysAndGeneratorsForAES) {
    expectAESObjectsMissing(secondLibrary().createAES128Key(ByteArray(16)), provider.createAES128Key(ByteArray(16)),
                            &CryptoProvider::createAES128Encryptor, &CryptoProvider::createAES128Decryptor);
    expectAESObjectsMissing(secondLibrary().createAES192Key(ByteArray(24)), provider.createAES192Key(ByteArray(24)),
                            &CryptoProvider::createAES192Encryptor, &CryptoProvider::createAES192Decryptor);
    expectAESObjectsMissing(secondLibrary().createAES256Key(ByteArray(32)), provider.createAES256Key(ByteArray(32)),
                            &CryptoProvider::createAES256Encryptor, &CryptoProvider::createAES256Decryptor);
}

} // namespace
