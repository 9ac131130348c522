// Published cases.
#include "RSASigning.h"
#include "support/Bytes.h"
#include "support/Engines.h"
#include "support/RSA.h"
#include "support/Vectors.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using namespace support;

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

} // namespace
