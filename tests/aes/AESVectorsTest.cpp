// AES against published answers and against the openssl command.
#include "support/AES.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;

ByteArray encryptStream(IAESEncryptor const& encryptor, ByteArray const& plainText) {
    std::istringstream input(text(plainText));
    std::ostringstream output;
    encryptor.encrypt(input, output);
    return bytes(output.str());
}

ByteArray decryptStream(IAESDecryptor const& decryptor, ByteArray const& cipherText) {
    std::istringstream input(text(cipherText));
    std::ostringstream output;
    decryptor.decrypt(input, output);
    return bytes(output.str());
}

class AESAnswers : public testing::TestWithParam<std::string> {};

INSTANTIATE_TEST_SUITE_P(, AESAnswers, testing::Values("aes_sp800_38a", "aes_sp800_38d", "aes_cbc", "aes_gcm"),
                         [](auto const& row) { return row.param; });

TEST_P(AESAnswers, AreGivenByBuffersAndStreams) {
    for (Vector const& vector : readVectors(GetParam() + ".txt")) {
        SCOPED_TRACE(vector.id());
        bool const isPadded = vector.has("pad") && vector.word("pad") == "pkcs7";
        AESSetup const setup{vector.bytes("key"), vector.bytes("iv"), aesModeNamed(vector.word("mode")),
                             isPadded ? AESPaddingMode::PKCS7 : AESPaddingMode::NoPadding};
        ByteArray const plainText = vector.bytes("pt");
        ByteArray cipherText = vector.bytes("ct");
        if (vector.has("tag")) {
            ByteArray const tag = vector.bytes("tag");
            cipherText.insert(cipherText.end(), tag.begin(), tag.end());
        }
        auto const encryptor = createAESEncryptor(setup);
        auto const decryptor = createAESDecryptor(setup);
        if (vector.expected() == "valid") {
            EXPECT_EQ(hex(encryptor->encrypt(plainText)), hex(cipherText));
            EXPECT_EQ(hex(encryptStream(*encryptor, plainText)), hex(cipherText));
            EXPECT_EQ(hex(decryptor->decrypt(cipherText)), hex(plainText));
            EXPECT_EQ(hex(decryptStream(*decryptor, cipherText)), hex(plainText));
        } else {
            bool const hasTooLongNonce = vector.has("why") && vector.word("why") == "iv-over-128-bytes";
            std::string const text = hasTooLongNonce              ? "Failed to initialize the IV length in OpenSSL"
                                     : setup.mode == AESMode::GCM ? "Tag verification failed or decryption error"
                                                                  : "Failed to finalize decryption";
            EXPECT_THROWS(InternalException, text, decryptor->decrypt(cipherText));
            EXPECT_THROWS(InternalException, text, decryptStream(*decryptor, cipherText));
            if (hasTooLongNonce) {
                EXPECT_THROWS(InternalException, text, encryptor->encrypt(plainText));
            }
        }
    }
}

// SP 800-38A, appendix F, gives the blocks of one message; modes that make a key stream also serve its beginnings.
TEST(AESStreamModes, KnowTheAnswersForEveryLength) {
    for (Vector const& vector : readVectors("aes_sp800_38a.txt")) {
        if (vector.word("mode") == "cbc") {
            continue;
        }
        SCOPED_TRACE(vector.id());
        auto const encryptor =
            createAESEncryptor({vector.bytes("key"), vector.bytes("iv"), aesModeNamed(vector.word("mode"))});
        for (std::size_t size = 0; size <= 64; ++size) {
            ByteArray plainText = vector.bytes("pt");
            plainText.resize(size);
            EXPECT_EQ(hex(encryptor->encrypt(plainText)), vector.word("ct").substr(0, 2 * size));
        }
    }
}

// The openssl command offers every mode but GCM.

struct Interoperation {
    AESFactories factories;
    NamedAESMode mode;
};

std::vector<Interoperation> allInteroperations() {
    std::vector<Interoperation> all;
    for (AESFactories const& factories : aesFactories()) {
        for (NamedAESMode const& mode : aesModes()) {
            if (mode.mode != AESMode::GCM) {
                all.push_back({factories, mode});
            }
        }
    }
    return all;
}

class AESCommand : public testing::TestWithParam<Interoperation> {};

INSTANTIATE_TEST_SUITE_P(, AESCommand, testing::ValuesIn(allInteroperations()), [](auto const& row) {
    return row.param.mode.name + std::to_string(row.param.factories.bits);
});

TEST_P(AESCommand, EncryptsForTheLibraryAndDecryptsItsFiles) {
    auto const& [factories, mode] = GetParam();
    TemporaryDirectory const directory;
    for (std::size_t const size : {0U, 1U, 15U, 16U, 17U, 1000U, 1048576U}) {
        for (auto const padding : {AESPaddingMode::PKCS7, AESPaddingMode::NoPadding}) {
            bool const isPadded = padding == AESPaddingMode::PKCS7;
            if (!isPadded && (mode.mode != AESMode::CBC || size % 16 != 0)) {
                continue; // the command cannot, or nothing changes
            }
            SCOPED_TRACE(size);
            AESSetup const setup{pseudoRandomBytes(factories.keyBytes(), size), pseudoRandomBytes(16, size + 1),
                                 mode.mode, padding};
            std::string const plain = directory / "plain";
            std::string const ours = directory / "ours";
            std::string const theirs = directory / "theirs";
            std::string const back = directory / "back";
            std::string const command = "openssl enc -aes-" + std::to_string(factories.bits) + "-" + mode.name +
                                        " -K " + hex(setup.key) + " -iv " + hex(setup.iv) + (isPadded ? "" : " -nopad");
            ByteArray const message = pseudoRandomBytes(size, size + 2);
            writeFile(plain, message);
            {
                std::ifstream input(plain, std::ios::binary);
                std::ofstream output(ours, std::ios::binary);
                factories.createEncryptor(setup)->encrypt(input, output);
            }
            ASSERT_EQ(run(command + " -in " + plain + " -out " + theirs).status, 0);
            EXPECT_EQ(readFile(ours) == readFile(theirs), true);

            ASSERT_EQ(run(command + " -d -in " + ours + " -out " + back).status, 0);
            EXPECT_EQ(readFile(back) == message, true);
            {
                std::ifstream input(theirs, std::ios::binary);
                std::ofstream output(back, std::ios::binary);
                factories.createDecryptor(setup)->decrypt(input, output);
            }
            EXPECT_EQ(readFile(back) == message, true);
        }
    }
}

} // namespace
