// Inputs whose size does not fit into libcrypto's 32 bits. Needs 8.1 GiB of free memory, and up to a minute.
#include "support/ECC.h"
#include "support/PEM.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKeyEncoding;

constexpr std::size_t twoGiB = std::size_t(1) << 31;
constexpr std::size_t fourGiB = std::size_t(1) << 32; // what is cut off: nothing of it is left

template <class Factory> class ECCLargeInputs : public testing::Test {
protected:
    static void TearDownTestSuite() { ByteArray().swap(large); }

    /// `bytes` and four gibibytes more, in memory that the tests share.
    static ByteArray const& beyond(ByteArray const& bytes) {
        large.reserve(fourGiB + 10000); // so that it never moves
        large.resize(fourGiB + bytes.size(), '\n');
        std::copy(bytes.begin(), bytes.end(), large.begin());
        return large;
    }

    typename Factory::KeyPair const pair = Factory::generateKeyPair();

private:
    static inline ByteArray large = ByteArray();
};

TYPED_TEST_SUITE(ECCLargeInputs, BothCurves, CurveNames);

TYPED_TEST(ECCLargeInputs, AreNoSignatures) {
    auto const engine = TypeParam::engine();
    auto const verifier = TypeParam::verifier(this->pair->getPublicKey());
    ByteArray const signature = TypeParam::signer(this->pair->getPrivateKey())->sign(bytes("abc"), engine);
    EXPECT_TRUE(verifier->verify(bytes("abc"), signature, engine).isValid());
    ByteArray const& longer = this->beyond(signature);
    EXPECT_FALSE(verifier->verify(bytes("abc"), longer, engine).isValid());
    std::istringstream stream("abc");
    EXPECT_FALSE(verifier->verify(stream, longer, engine).isValid());
}

TYPED_TEST(ECCLargeInputs, AreNoKeys) {
    bool const isP256 = TypeParam::curve == EllipticCurve::P256;
    ByteArray const pem = this->pair->getPrivateKey()->getPEM();
    EXPECT_THROWS(InternalException,
                  "Expected " + std::to_string(pem.size() + fourGiB) + " bytes written to BIO. Found " +
                      std::to_string(pem.size()) + " bytes.",
                  TypeParam::privateKey(this->beyond(pem)));
    EXPECT_THROWS(InternalException,
                  std::string("Fail to create ") + (isP256 ? "BNUPtr" : "EVP_PKEYUPtr") +
                      "; the given raw pointer is NULL",
                  TypeParam::privateKeyFromInteger(this->beyond(this->pair->getPrivateKey()->getPrivateInteger())));
    if (!isP256) { // libcrypto counts a point's bytes in full, and copies them twice before it looks at them
        EXPECT_THROWS(InternalException, "Fail to create EVP_PKEYUPtr; the given raw pointer is NULL",
                      TypeParam::publicKeyFromPoint(this->beyond(this->pair->getPublicKey()->getPublicPoint())));
    }
}

template <class Factory> class ECCLargePasswords : public testing::Test {};

TYPED_TEST_SUITE(ECCLargePasswords, BothCurves, CurveNames);

TYPED_TEST(ECCLargePasswords, AreNotCutToShortOnes) {
    std::string password = "secret";
    std::string const locked =
        encryptedPEM(readPrivate(text(TypeParam::generateKeyPair()->getPrivateKey()->getPEM())), password);
    password.resize(password.size() + fourGiB, 'x');
    for (std::size_t const size : {password.size(), fourGiB - 1, twoGiB}) {
        password.resize(size);
        std::istringstream stream(locked);
        EXPECT_THROWS(InvalidKeyEncoding,
                      "Could not create key from bytes in PEM encoding. Is the key really in PEM encoding? DER is not "
                      "supported.",
                      TypeParam::privateKey(stream, password));
    }
}

} // namespace
