// Published cases.
#include "RSABlocks.h"
#include "support/Bytes.h"
#include "support/RSA.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <map>
#include <string>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

class RSADecryptionVectors : public testing::TestWithParam<std::string> {};

TEST_P(RSADecryptionVectors, GiveTheirPlainTextFromBytesAndFromStreams) {
    static std::map<std::string, RSAPaddingMode> const paddingsByName{
        {"oaep-sha1", oaep1}, {"oaep-sha256", oaep256}, {"oaep-sha512", oaep512}, {"pkcs1", pkcs1}};
    std::map<std::string, RSAKeyUser> users; // few keys for many cases
    for (Vector const& vector : readVectors(GetParam())) {
        SCOPED_TRACE(vector.id());
        ASSERT_EQ(vector.word("alg"), "rsa-decrypt");
        auto const user = users.try_emplace(vector.word("pkcs8"), makeRSAKeyUser(vector)).first->second;
        auto const decryptor = user.decryptor(paddingsByName.at(vector.word("pad")));
        ByteArray const cipherText = vector.bytes("ct");
        std::string const expect = vector.expected();
        if (expect == "invalid") {
            EXPECT_THROWS(InternalException, notDecrypted, decryptor->decrypt(cipherText));
            if (cipherText.empty()) { // no block at all
                EXPECT_EQ(decryptStream(*decryptor, ""), "");
            } else if (cipherText.size() <= user.blockSize()) { // a longer one is more than a block
                EXPECT_THROWS(InternalException, notDecrypted, decryptStream(*decryptor, text(cipherText)));
            }
        } else {
            ASSERT_TRUE(expect == "valid" || expect == "synthetic");
            std::string const plainText = vector.word(expect == "valid" ? "pt" : "synthetic");
            ERR_clear_error();
            EXPECT_EQ(hex(decryptor->decrypt(cipherText)), plainText);
            EXPECT_EQ(ERR_peek_error(), 0U);
            EXPECT_EQ(hex(bytes(decryptStream(*decryptor, text(cipherText)))), plainText);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, RSADecryptionVectors,
                         testing::Values("rsa_oaep_1024.txt", "rsa_oaep_2048.txt", "rsa_oaep_4096.txt",
                                         "rsa_pkcs1_decrypt_2048.txt", "rsa_pkcs1_decrypt_4096.txt"),
                         [](auto const& file) { return file.param.substr(0, file.param.find('.')); });

} // namespace
