// Inputs whose size does not fit into libcrypto's 32 bits. Needs 4.2 GiB of free memory, and up to a minute.
#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/RSA.h"
#include "support/RSAKeys.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;

constexpr std::size_t twoGiB = std::size_t(1) << 31;
constexpr std::size_t fourGiB = std::size_t(1) << 32; // what is cut off: nothing of it is left

std::vector<RSAPaddingMode> const encryptionPaddings{RSAPaddingMode::OAEP_SHA1, RSAPaddingMode::OAEP_SHA256,
                                                     RSAPaddingMode::OAEP_SHA512, RSAPaddingMode::PKCS1_V1_5};

class RSALargeInputs : public testing::Test {
protected:
    static void TearDownTestSuite() { ByteArray().swap(large); }

    /// `bytes` and four gibibytes more, in memory that the tests share.
    static ByteArray& beyond(ByteArray const& bytes) {
        large.reserve(fourGiB + 10000); // so that it never moves
        large.resize(fourGiB + bytes.size(), '\n');
        std::copy(bytes.begin(), bytes.end(), large.begin());
        return large;
    }

private:
    static inline ByteArray large = ByteArray();
};

TEST_F(RSALargeInputs, AreNotEncrypted) {
    ByteArray& message = beyond(bytes("abcde"));
    for (std::size_t const size : {fourGiB + 5, fourGiB - 1, fourGiB - 64, twoGiB + 100, twoGiB, twoGiB - 1}) {
        message.resize(size);
        for (RSAPaddingMode const padding : encryptionPaddings) {
            EXPECT_THROWS(
                InternalException,
                "EVP_PKEY_encrypt failed to generate the encrypted text. Please try using streams for this operation.",
                rsaTestKeyUser(2048).encryptor(padding)->encrypt(message));
        }
    }
}

TEST_F(RSALargeInputs, AreNotDecrypted) {
    for (RSAPaddingMode const padding : encryptionPaddings) {
        RSAKeyUser const& user = rsaTestKeyUser(2048);
        ByteArray const& block = beyond(user.encryptor(padding)->encrypt(bytes("message")));
        EXPECT_THROWS(InternalException, "EVP_PKEY_decrypt failed to generate the decrypted text.",
                      user.decryptor(padding)->decrypt(block));
    }
}

TEST_F(RSALargeInputs, AreNoSignatures) {
    for (RSAPaddingMode const padding : {RSAPaddingMode::PKCS1_V1_5, RSAPaddingMode::PSS, rsaPadding(5)}) {
        RSAKeyUser const& user = rsaTestKeyUser(2048);
        auto const engine = engineNamed("sha256");
        ByteArray const signature = user.signer(padding)->sign(bytes("message"), engine);
        EXPECT_TRUE(user.verifier(padding)->verify(bytes("message"), signature, engine).isValid());
        EXPECT_FALSE(user.verifier(padding)->verify(bytes("message"), beyond(signature), engine).isValid());
    }
}

TEST_F(RSALargeInputs, AreNoKeys) {
    EXPECT_THROWS(InternalException,
                  "The length of bytes written into the private key BIO does not match the expected length",
                  provider.createRSA1024PrivateKey(beyond(readRSAKey(1024, "private.pem"))));
    EXPECT_THROWS(InternalException,
                  "The length of bytes written into the public key BIO does not match the expected length",
                  provider.createRSA1024PublicKey(beyond(readRSAKey(1024, "public.pem"))));
    ByteArray const exponent{1, 0, 1};
    ByteArray const& modulus = beyond(ByteArray(128, 0xff));
    EXPECT_THROWS(InternalException, "Failed to load the modulus and the public exponent data from the inputs",
                  provider.createRSA1024PublicKey(modulus, exponent));
    EXPECT_THROWS(InternalException, "Failed to load the modulus and the exponents data from the inputs",
                  provider.createRSA1024PrivateKey(modulus, exponent, exponent));
}

TEST(RSALargeNumbers, HaveZerosInFrontUpToTheLimitOfInt) {
    ByteArray const exponent{1, 0, 1};
    ByteArray modulus(twoGiB - 1);
    std::fill(modulus.end() - 128, modulus.end(), 0xff);
    EXPECT_EQ(provider.createRSA1024PublicKey(modulus, exponent)->getModulus(), ByteArray(128, 0xff));
    modulus.push_back(0xff);
    EXPECT_THROWS(InternalException, "Failed to load the modulus and the public exponent data from the inputs",
                  provider.createRSA1024PublicKey(modulus, exponent));
}

TEST(RSALargePasswords, AreNotCutToShortOnes) {
    std::string password = "password";
    for (char const* const form : {"encrypted.pem", "encrypted.der"}) {
        std::istringstream stream(text(readRSAKey(1024, form)));
        EXPECT_NO_THROW(provider.createRSA1024PrivateKey(stream, password));
    }
    password.resize(password.size() + fourGiB, 'x');
    for (std::size_t const size : {password.size(), fourGiB - 1, twoGiB}) {
        password.resize(size);
        for (char const* const form : {"encrypted.pem", "encrypted.der"}) {
            std::istringstream stream(text(readRSAKey(1024, form)));
            EXPECT_THROWS(InternalException, "Fail to create EVP_PKEYUPtr; the given raw pointer is NULL",
                          provider.createRSA1024PrivateKey(stream, password));
        }
    }
}

} // namespace
