#include "AESTransforms.h"
#include "support/AES.h"
#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <ios>
#include <istream>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKey;

TEST(AESStreams, AreLeftAsTheyAre) {
    for (auto const state : {std::ios_base::goodbit, std::ios_base::eofbit, std::ios_base::failbit,
                             std::ios_base::badbit, std::ios_base::eofbit | std::ios_base::failbit}) {
        for (bool const skipsBlanks : {false, true}) {
            std::istringstream input("  \n message with blanks\n ");
            input.width(7);
            input.setf(skipsBlanks ? std::ios_base::skipws : std::ios_base::fmtflags(), std::ios_base::skipws);
            input.setstate(state);
            StreamState const before(input);
            std::ostringstream output;
            createAESEncryptor({key, iv})->encrypt(input, output);
            EXPECT_EQ(StreamState(input), before);
            EXPECT_EQ(output.str(), text(encrypt({key, iv}, bytes("  \n message with blanks\n "))));
        }
    }
}

TEST(AESStreams, AreReadFromWhereTheyStand) {
    std::istringstream input("already read, still to come");
    input.ignore(14);
    std::ostringstream output;
    createAESEncryptor({key, iv})->encrypt(input, output);
    EXPECT_EQ(output.str(), text(encrypt({key, iv}, bytes("still to come"))));

    std::ostringstream second; // the input is at its end
    createAESEncryptor({key, iv})->encrypt(input, second);
    EXPECT_EQ(second.str(), text(encrypt({key, iv}, {})));
}

TEST(AESStreams, AreReadToTheirEndBeforeAnythingIsRefused) {
    for (AESSetup const& setup :
         {AESSetup{key, iv, static_cast<AESMode>(5)}, AESSetup{key, ByteArray(129), AESMode::GCM},
          AESSetup{key, iv, AESMode::CBC, AESPaddingMode::NoPadding}}) {
        std::istringstream input("message");
        std::istringstream encrypted("message");
        std::ostringstream output;
        EXPECT_THROW(createAESEncryptor(setup)->encrypt(input, output), InternalException);
        EXPECT_THROW(createAESDecryptor(setup)->decrypt(encrypted, output), InternalException);
        EXPECT_EQ(input.tellg(), 7);
        EXPECT_EQ(encrypted.tellg(), 7);
    }
    std::istringstream input("message");
    std::ostringstream output;
    auto const keyless = provider.createAES128Encryptor(nullptr, iv, AESMode::CBC, AESPaddingMode::PKCS7, nullptr);
    EXPECT_THROWS(InternalException, unsupportedKeySize, keyless->encrypt(input, output));
    EXPECT_EQ(input.tellg(), 7);
}

TEST(AESStreams, BringWhatBuffersBring) {
    for (AESFactories const& factories : aesFactories()) {
        for (NamedAESMode const& mode : aesModes()) {
            for (auto const padding : {AESPaddingMode::PKCS7, AESPaddingMode::NoPadding}) {
                for (std::size_t const size : {0U, 1U, 15U, 16U, 17U, 31U, 32U, 1000U, 4096U, 65536U, 100003U}) {
                    AESSetup const setup{pseudoRandomBytes(factories.keyBytes()), iv, mode.mode, padding};
                    SCOPED_TRACE(mode.name + std::to_string(factories.bits) + ", " + std::to_string(size));
                    if (mode.mode == AESMode::CBC && padding == AESPaddingMode::NoPadding && size % 16 != 0) {
                        continue;
                    }
                    ByteArray const message = pseudoRandomBytes(size);
                    ByteArray const encrypted = encrypt(setup, message);
                    std::istringstream messageStream(text(message));
                    std::stringstream encryptedStream;
                    std::ostringstream decrypted;
                    createAESEncryptor(setup)->encrypt(messageStream, encryptedStream);
                    EXPECT_TRUE(encryptedStream.str() == text(encrypted));
                    createAESDecryptor(setup)->decrypt(encryptedStream, decrypted);
                    EXPECT_TRUE(decrypted.str() == text(message));
                }
            }
        }
    }
}

TEST(AESStreams, WithoutABufferAreEmpty) {
    std::istream input(nullptr);
    std::ostringstream output;
    createAESEncryptor({key, iv})->encrypt(input, output);
    EXPECT_EQ(output.str(), text(encrypt({key, iv}, {})));
}

TEST(AESStreams, OfAnyKindBringTheSameBytes) {
    ByteArray const message = pseudoRandomBytes(300000);
    std::string const expected = text(encrypt({key, iv}, message));
    for (std::size_t const portion : {1U, 7U, 4096U, 65536U, 1000000U}) {
        PortionBuffer buffer(text(message), portion);
        std::istream input(&buffer);
        std::ostringstream output;
        createAESEncryptor({key, iv})->encrypt(input, output);
        EXPECT_EQ(output.str() == expected, true) << portion;
    }
}

TEST(AESStreams, MayBeOneAndTheSame) {
    std::stringstream both("a message in place");
    createAESEncryptor({key, iv, AESMode::GCM})->encrypt(both, both);
    both.seekg(0);
    std::ostringstream output;
    createAESDecryptor({key, iv, AESMode::GCM})->decrypt(both, output);
    EXPECT_EQ(output.str(), "a message in place");
}

/// Counts the writes that arrive.
class CountingBuffer : public std::stringbuf {
public:
    std::vector<std::streamsize> writes;

protected:
    std::streamsize xsputn(char const* data, std::streamsize size) override {
        writes.push_back(size);
        return std::stringbuf::xsputn(data, size);
    }
};

TEST(AESStreams, AreWrittenAtOnceWithoutTheirWidth) {
    for (std::size_t const size : {std::size_t(0), std::size_t(5), std::size_t(1) << 20}) {
        CountingBuffer buffer;
        std::ostream output(&buffer);
        output.width(100);
        output.fill('*');
        std::istringstream input(std::string(size, 'a'));
        std::ostream& returned = createAESEncryptor({key, iv, AESMode::CTR})->encrypt(input, output);
        EXPECT_EQ(&returned, &output);
        EXPECT_EQ(output.width(), 100);
        EXPECT_EQ(buffer.writes, std::vector<std::streamsize>{static_cast<std::streamsize>(size)});
        EXPECT_EQ(buffer.str(), text(encrypt({key, iv, AESMode::CTR}, ByteArray(size, 'a'))));
    }
}

TEST(AESStreams, GetNothingWhenTheWorkFails) {
    CountingBuffer buffer;
    std::ostream output(&buffer);
    std::istringstream input("not a cipher text");
    EXPECT_THROWS(InternalException, "Failed to finalize decryption",
                  createAESDecryptor({key, iv})->decrypt(input, output));
    EXPECT_TRUE(buffer.writes.empty());
    EXPECT_TRUE(output.good());
}

TEST(AESStreams, ThatCannotBeWrittenTellByTheirState) {
    std::ostream output(nullptr);
    std::istringstream input("message");
    EXPECT_EQ(&createAESEncryptor({key, iv})->encrypt(input, output), &output);
    EXPECT_TRUE(output.bad());

    std::ofstream full("/dev/full", std::ios::binary);
    std::istringstream large(std::string(1 << 20, 'a'));
    createAESEncryptor({key, iv})->encrypt(large, full);
    EXPECT_TRUE(full.bad());
}

TEST(AESStreams, ThatThrowAreReportedInTheirOwnWords) {
    PortionBuffer buffer("abc", 1, "the disk is gone");
    std::istream input(&buffer);
    std::ostringstream output;
    EXPECT_THROWS(InternalException, "the disk is gone", createAESEncryptor({key, iv})->encrypt(input, output));
    EXPECT_TRUE(input.good());
    EXPECT_EQ(output.str(), "");

    std::istringstream message("message");
    std::ostream strict(nullptr);
    try {
        strict.exceptions(std::ios_base::badbit);
    } catch (std::ios_base::failure const&) { // it has no buffer, so it is bad from the start
    }
    EXPECT_THROWS_PREFIX(InternalException, "basic_ios::clear",
                         createAESDecryptor({key, iv, AESMode::CTR})->decrypt(message, strict));
}

TEST(AESStreams, ThatThrowTheLibrarysOwnExceptionsAreTranslatedToo) {
    ThrowingBuffer<InvalidKey> buffer(InvalidKey("of a stream"));
    std::istream input(&buffer);
    std::ostringstream output;
    EXPECT_THROWS(InternalException, "of a stream", createAESEncryptor({key, iv})->encrypt(input, output));
    EXPECT_THROWS(InternalException, "of a stream", createAESDecryptor({key, iv})->decrypt(input, output));
    EXPECT_EQ(output.str(), "");
}

TEST(AESStreams, LetForeignExceptionsPass) {
    struct Throwing : std::streambuf {
        int_type underflow() override { throw 7; }
    } buffer;

    std::istream input(&buffer);
    std::ostringstream output;
    EXPECT_THROW(createAESEncryptor({key, iv})->encrypt(input, output), int);
    EXPECT_EQ(output.str(), "");
}

} // namespace
