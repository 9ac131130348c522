// Mutated cipher texts.
#include "RSABlocks.h"
#include "support/Bytes.h"
#include "support/Mutations.h"
#include "support/RSA.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>
#include <typeinfo>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

TEST(RSAEncryptionMutations, GiveThisFamilysExceptionAndNothingWorse) {
    std::mt19937_64 random(20240608);
    int tried = 0;
    for (int const bits : sizes) {
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (RSAPaddingMode const padding : paddings) {
            if (limitOf(bits, padding) < 0) {
                continue;
            }
            SCOPED_TRACE(describe(bits, padding));
            auto const decryptor = user.decryptor(padding);
            std::string const message = "a message of several blocks" + std::string(2 * user.blockSize(), '.');
            ByteArray const block = user.encryptor(padding)->encrypt(bytes("message"));
            std::string const stream = encryptStream(*user.encryptor(padding), message);
            int const rounds = mutations(bits == 4096 ? 52 : 152);
            for (int round = 0; round < rounds; ++round, tried += 2) {
                ByteArray const mutatedBlock = mutate(block, random);
                Thrown const thrown = catchFrom([&] { decryptor->decrypt(mutatedBlock); });
                if (thrown.type != "nothing") {
                    EXPECT_EQ(thrown.type, typeid(InternalException).name());
                    EXPECT_EQ(thrown.text, notDecrypted);
                } else {
                    EXPECT_TRUE(padding == pkcs1 || mutatedBlock == block) << hex(mutatedBlock);
                }
                std::istringstream input(text(mutate(bytes(stream), random)));
                std::ostringstream output;
                Thrown const thrownByStream = catchFrom([&] { decryptor->decrypt(input, output); });
                if (thrownByStream.type != "nothing") {
                    EXPECT_EQ(thrownByStream.type, typeid(InternalException).name());
                    EXPECT_EQ(thrownByStream.text, notDecrypted);
                }
            }
        }
    }
    EXPECT_EQ(tried, mutations(2 * (3 * 152 + 4 * 152 + 4 * 52)));
}

} // namespace
