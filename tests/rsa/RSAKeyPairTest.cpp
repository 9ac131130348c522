#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/PRNG.h"
#include "support/Provider.h"
#include "support/RSAKeys.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;

template <class OfSize> class RSAKeyPair : public testing::Test {};

TYPED_TEST_SUITE(RSAKeyPair, RSASizes, RSASizeNames);

TYPED_TEST(RSAKeyPair, HoldsTwoHalvesOfOneKey) {
    auto const pair = TypeParam::generateKeyPair(std::make_shared<ForeignPRNG>());
    auto const privateKey = pair->getPrivateKey();
    auto const publicKey = pair->getPublicKey();
    EXPECT_EQ(privateKey->getKeySize(), TypeParam::bits);
    EXPECT_EQ(publicKey->getKeySize(), TypeParam::bits);
    EXPECT_EQ(privateKey->getModulus(), publicKey->getModulus());
    EXPECT_EQ(privateKey->getModulus().size(), TypeParam::bits / 8);
    EXPECT_EQ(hex(publicKey->getPublicExponent()), "010001");
    EXPECT_EQ(TypeParam::createPrivateKey(privateKey->getDER())->getDER(), privateKey->getDER());
    EXPECT_EQ(TypeParam::createPublicKey(publicKey->getDER())->getDER(), publicKey->getDER());

    EXPECT_EQ(pair->getPrivateKey(), privateKey);
    EXPECT_EQ(pair->getPublicKey(), publicKey);
    EXPECT_EQ(privateKey.use_count(), 2);
    EXPECT_EQ(publicKey.use_count(), 2);

    TemporaryDirectory const directory;
    writeFile(directory / "key.der", privateKey->getDER());
    CommandResult const checked = run("openssl rsa -inform DER -noout -check -in " + (directory / "key.der"));
    EXPECT_EQ(checked.output, "RSA key ok\n");
    CommandResult const half =
        run("openssl rsa -inform DER -pubout -outform DER 2>/dev/null -in " + (directory / "key.der"));
    EXPECT_EQ(bytes(half.output), publicKey->getDER());
}

TYPED_TEST(RSAKeyPair, NeedsAPRNG) {
    EXPECT_THROWS(InternalException, "The PRNG does not exist.", TypeParam::generateKeyPair(nullptr));
}

TEST(RSAKeyPairs, KeepTheirPRNGAndAreOutlivedByTheirKeys) {
    auto const prng = std::make_shared<ForeignPRNG>();
    auto pair = provider.generateRSA1024KeyPair(prng);
    EXPECT_EQ(prng.use_count(), 2);
    auto const privateKey = pair->getPrivateKey();
    auto const publicKey = pair->getPublicKey();
    pair.reset();
    EXPECT_EQ(prng.use_count(), 1);
    EXPECT_EQ(privateKey->getModulus(), publicKey->getModulus());
}

TEST(RSAKeyPairs, AreMadeWithTheProvidersOwnPRNGToo) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    EXPECT_NE(provider.generateRSA1024KeyPair(prng)->getPrivateKey()->getModulus(),
              provider.generateRSA1024KeyPair(prng)->getPrivateKey()->getModulus());
}

} // namespace
