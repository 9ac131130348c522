// Mutated signatures.
#include "RSASigning.h"
#include "support/Bytes.h"
#include "support/Mutations.h"
#include "support/RSA.h"

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <random>

namespace {

using namespace support;

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
