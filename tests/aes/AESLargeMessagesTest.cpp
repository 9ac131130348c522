// Messages at and above the limit of 2147483647 bytes, and streams of 1 GiB. Needs 4.2 GiB of free memory, 3 GiB in the
// system's temporary folder, and up to four minutes.
#include "support/AES.h"
#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/ResidentMemory.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;

constexpr std::size_t limit = 2147483647;
constexpr std::size_t mebibyte = std::size_t(1) << 20;
constexpr std::size_t gibibyte = std::size_t(1) << 30;

ByteArray const key = pseudoRandomBytes(32, 256);
ByteArray const iv = pseudoRandomBytes(16, 16);

bool isAllOf(ByteArray const& bytes, unsigned char value) {
    return std::all_of(bytes.begin(), bytes.end(), [=](unsigned char byte) { return byte == value; });
}

TEST(AESLimit, HoldsForEncryptionInEveryMode) {
    ByteArray const message(limit + 1);
    for (NamedAESMode const& mode : aesModes()) {
        EXPECT_THROWS(InternalException,
                      std::string("Input size exceeds maximum allowable size for AES") +
                          (mode.mode == AESMode::GCM ? "-GCM" : " standard") + " encryption .",
                      createAESEncryptor({key, iv, mode.mode})->encrypt(message));
    }
}

TEST(AESLimit, HoldsForDecryptionInEveryMode) {
    ByteArray message(limit + 1);
    for (NamedAESMode const& mode : aesModes()) {
        if (mode.mode != AESMode::GCM) {
            EXPECT_THROWS(InternalException, "Input size exceeds maximum allowable size for AES standard decryption .",
                          createAESDecryptor({key, iv, mode.mode})->decrypt(message));
        }
    }
    message.resize(limit + 1 + 16); // the tag does not count
    EXPECT_THROWS(InternalException, "Input size exceeds maximum allowable size for AES-GCM decryption .",
                  createAESDecryptor({key, iv, AESMode::GCM})->decrypt(message));
}

TEST(AESLimit, ComesAfterTheSetup) {
    ByteArray const message(limit + 1 + 16);
    AESSetup const setup{key, ByteArray(129), AESMode::GCM};
    EXPECT_THROWS(InternalException, "Failed to initialize the IV length in OpenSSL",
                  createAESEncryptor(setup)->encrypt(message));
    EXPECT_THROWS(InternalException, "Failed to initialize the IV length in OpenSSL",
                  createAESDecryptor(setup)->decrypt(message));
}

TEST(AESLimit, IsReachedByTheStreamModes) {
    for (AESMode const mode : {AESMode::CTR, AESMode::GCM}) {
        AESSetup const setup{key, iv, mode};
        ByteArray message(limit, 'a');
        ByteArray const encrypted = createAESEncryptor(setup)->encrypt(message);
        EXPECT_EQ(encrypted.size(), limit + (mode == AESMode::GCM ? 16 : 0));
        message = ByteArray();
        message = createAESDecryptor(setup)->decrypt(encrypted);
        EXPECT_EQ(message.size(), limit);
        EXPECT_TRUE(isAllOf(message, 'a'));
    }
}

TEST(AESLimit, IsReachedByCBCWhosePaddingGoesBeyond) {
    ByteArray encrypted = createAESEncryptor({key, iv})->encrypt(ByteArray(limit, 'a'));
    ASSERT_EQ(encrypted.size(), limit + 1);
    // That is more than can be decrypted at once; the last block says that the work was done to the end.
    EXPECT_THROWS(InternalException, "Input size exceeds maximum allowable size for AES standard decryption .",
                  createAESDecryptor({key, iv})->decrypt(encrypted));
    ByteArray const lastIV(encrypted.end() - 32, encrypted.end() - 16);
    ByteArray const lastBlock(encrypted.end() - 16, encrypted.end());
    EXPECT_EQ(createAESDecryptor({key, lastIV})->decrypt(lastBlock), ByteArray(15, 'a'));
}

class AESLargeStreams : public testing::Test {
protected:
    /// A file of `size` bytes that repeats one block.
    std::string writeMessage(std::size_t size) const {
        std::string const path = directory_ / "message";
        std::ofstream file(path, std::ios::binary);
        for (std::size_t written = 0; written < size; written += block_.size()) {
            file.write(block_.data(), static_cast<std::streamsize>(block_.size()));
        }
        return path;
    }

    bool isMessage(std::string const& path, std::size_t size) const {
        std::ifstream file(path, std::ios::binary);
        std::string found(block_.size(), '\0');
        for (std::size_t read = 0; read < size; read += block_.size()) {
            if (!file.read(found.data(), static_cast<std::streamsize>(found.size())) || found != block_) {
                return false;
            }
        }
        return file.peek() == std::ifstream::traits_type::eof();
    }

    TemporaryDirectory const directory_;
    std::string const block_ = text(pseudoRandomBytes(mebibyte));
};

TEST_F(AESLargeStreams, OfFilesTakeOneBlock) {
    std::string const message = writeMessage(gibibyte);
    std::string const encrypted = directory_ / "encrypted";
    std::string const decrypted = directory_ / "decrypted";
    AESSetup const setup{key, iv, AESMode::GCM};
    for (bool const encrypts : {true, false}) {
        std::ifstream input(encrypts ? message : encrypted, std::ios::binary);
        std::ofstream output(encrypts ? encrypted : decrypted, std::ios::binary);
        AllocationRecording const recording;
        std::size_t const peak = peakMemoryOf([&] {
            encrypts ? createAESEncryptor(setup)->encrypt(input, output)
                     : createAESDecryptor(setup)->decrypt(input, output);
        });
        EXPECT_TRUE(output.flush().good());
        EXPECT_LE(recording.peak(), gibibyte + mebibyte);
        EXPECT_LE(peak, gibibyte + mebibyte);
        RecordProperty(encrypts ? "EncryptionMiB" : "DecryptionMiB", std::to_string(peak / mebibyte));
    }
    EXPECT_EQ(std::filesystem::file_size(encrypted), gibibyte + 16);
    EXPECT_TRUE(isMessage(decrypted, gibibyte));
}

TEST_F(AESLargeStreams, OfStringsTakeOneBlock) {
    class Count : public std::streambuf {
    public:
        std::size_t bytes = 0;

    private:
        std::streamsize xsputn(char const* /*data*/, std::streamsize size) override {
            bytes += static_cast<std::size_t>(size);
            return size;
        }
    } count;

    std::stringstream input;
    input << std::string(gibibyte, 'a');
    std::ostream output(&count);
    EXPECT_LE(peakMemoryOf([&] { createAESEncryptor({key, iv})->encrypt(input, output); }), gibibyte + mebibyte);
    EXPECT_EQ(count.bytes, gibibyte + 16);
}

} // namespace
