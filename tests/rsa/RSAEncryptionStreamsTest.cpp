#include "RSABlocks.h"
#include "support/Bytes.h"
#include "support/RSA.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <istream>
#include <limits>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

std::string const chunkTooLong = "chunkLength exceeds maximum ByteArray size";

TEST(RSAStreams, AreCutIntoBlocksOfTheLimit) {
    for (int const bits : sizes) {
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (RSAPaddingMode const padding : paddings) {
            int const signedLimit = limitOf(bits, padding);
            if (signedLimit <= 0) {
                continue; // see below
            }
            auto const limit = static_cast<std::size_t>(signedLimit);
            auto const encryptor = user.encryptor(padding);
            auto const decryptor = user.decryptor(padding);
            for (std::size_t const size : {std::size_t(0), std::size_t(1), limit - 1, limit, limit + 1, 2 * limit - 1,
                                           2 * limit, 2 * limit + 1, 3 * limit + 7}) {
                SCOPED_TRACE(describe(bits, padding) + ", " + std::to_string(size) + " bytes");
                std::string const message = text(pseudoRandomBytes(size));
                std::string const cipherText = encryptStream(*encryptor, message);
                std::size_t const blocks = (size + limit - 1) / limit;
                ASSERT_EQ(cipherText.size(), blocks * user.blockSize());
                EXPECT_EQ(decryptStream(*decryptor, cipherText), message);
                for (std::size_t block = 0; block < blocks; ++block) { // each a block by itself
                    EXPECT_EQ(
                        text(decryptor->decrypt(bytes(cipherText.substr(block * user.blockSize(), user.blockSize())))),
                        message.substr(block * limit, limit));
                }
            }
        }
    }
}

TEST(RSAStreams, Of600BytesTakeThreeBlocksOfPKCS1) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    std::string const cipherText = encryptStream(*user.encryptor(pkcs1), std::string(600, 'a'));
    ASSERT_EQ(cipherText.size(), 3U * 256U);
    EXPECT_EQ(user.decryptor(pkcs1)->decrypt(bytes(cipherText.substr(0, 256))).size(), 245U);
    EXPECT_EQ(user.decryptor(pkcs1)->decrypt(bytes(cipherText.substr(256, 256))).size(), 245U);
    EXPECT_EQ(user.decryptor(pkcs1)->decrypt(bytes(cipherText.substr(512))).size(), 110U);
}

TEST(RSAStreams, CannotBeEncryptedWhereThePaddingHasNoRoom) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    for (std::string const message : {"", "message"}) {
        std::istringstream input(message);
        std::ostringstream output;
        EXPECT_THROWS(InternalException, chunkTooLong, user.encryptor(oaep512)->encrypt(input, output));
        EXPECT_TRUE(input.good());
        EXPECT_EQ(output.str(), "");
    }
    EXPECT_EQ(decryptStream(*user.decryptor(oaep512), ""), "");
    EXPECT_THROWS(InternalException, notDecrypted, decryptStream(*user.decryptor(oaep512), std::string(128, 1)));
}

TEST(RSAStreams, ComeAndGoInWhateverPortions) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    std::string const message = " \n\t leading white space and more \n" + text(pseudoRandomBytes(1000));
    for (std::size_t const portion : {std::size_t(1), std::size_t(100), std::size_t(128), std::size_t(4096)}) {
        PortionBuffer buffer("read before" + message, portion);
        std::istream input(&buffer);
        input.ignore(11);
        std::stringstream cipherText;
        user.encryptor(pkcs1)->encrypt(input, cipherText);
        EXPECT_TRUE(input.eof() && input.fail() && !input.bad());
        EXPECT_NE(input.flags() & std::ios_base::skipws, std::ios_base::fmtflags()); // untouched

        PortionBuffer cipherBuffer(cipherText.str(), portion);
        std::istream cipherInput(&cipherBuffer);
        std::ostringstream output;
        user.decryptor(pkcs1)->decrypt(cipherInput, output);
        EXPECT_EQ(output.str(), message);
    }
}

/// Writes what it is asked for once, and reports `count`; then it is at its end.
class MiscountingBuffer : public std::streambuf {
public:
    explicit MiscountingBuffer(std::streamsize count) : count_(count) {}

protected:
    std::streamsize xsgetn(char* data, std::streamsize size) override {
        std::fill_n(data, size, 'm');
        return std::exchange(count_, 0);
    }

private:
    std::streamsize count_;
};

TEST(RSAStreams, HoldWhatWasAskedForWhateverTheirBufferCounts) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    std::streamsize const most = std::numeric_limits<std::streamsize>::max();
    for (auto const& [count, size] :
         {std::pair<std::streamsize, std::size_t>(-1, 0), {-most, 0}, {118, 117}, {most, 117}}) {
        MiscountingBuffer buffer(count);
        std::istream input(&buffer);
        std::stringstream cipherText;
        std::ostringstream output;
        user.encryptor(pkcs1)->encrypt(input, cipherText);
        user.decryptor(pkcs1)->decrypt(cipherText, output);
        EXPECT_EQ(output.str(), std::string(size, 'm'));
        EXPECT_EQ(input.rdstate(), std::ios_base::eofbit | std::ios_base::failbit);
    }
}

/// Delivers `first`, then reports `count` and writes nothing; then it is at its end.
class IdleBuffer : public std::streambuf {
public:
    IdleBuffer(std::string first, std::streamsize count) : first_(std::move(first)), count_(count) {}

protected:
    std::streamsize xsgetn(char* data, std::streamsize size) override {
        std::streamsize const delivered = std::min(size, static_cast<std::streamsize>(first_.size()));
        if (delivered == 0) {
            return std::exchange(count_, 0);
        }
        std::copy_n(first_.begin(), delivered, data);
        first_.erase(0, static_cast<std::size_t>(delivered));
        return delivered;
    }

private:
    std::string first_;
    std::streamsize count_;
};

TEST(RSAStreams, HoldZerosWhereTheirBufferCountsWhatItDoesNotWrite) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    IdleBuffer plainText(std::string(117, 'm'), 10);
    std::istream message(&plainText);
    std::stringstream cipherText;
    user.encryptor(pkcs1)->encrypt(message, cipherText);
    EXPECT_EQ(decryptStream(*user.decryptor(pkcs1), cipherText.str()), std::string(117, 'm') + std::string(10, '\0'));

    IdleBuffer oneBlock(encryptStream(*user.encryptor(oaep1), "hi"), 128);
    std::istream blocks(&oneBlock);
    std::ostringstream output;
    EXPECT_THROWS(InternalException, notDecrypted, user.decryptor(oaep1)->decrypt(blocks, output));
    EXPECT_EQ(output.str(), "hi");
}

TEST(RSAStreams, ThatAreNotGoodAreEmpty) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    for (auto const state : {std::ios_base::eofbit, std::ios_base::failbit, std::ios_base::badbit}) {
        std::istringstream input("unread");
        input.setstate(state);
        std::ostringstream output;
        user.encryptor(oaep1)->encrypt(input, output);
        user.decryptor(oaep1)->decrypt(input, output);
        EXPECT_EQ(output.str(), "");
    }
}

TEST(RSAStreams, KeepTheBlocksBeforeOneThatFails) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    std::string const message = text(pseudoRandomBytes(3 * 86));
    std::string cipherText = encryptStream(*user.encryptor(oaep1), message);
    for (std::size_t const bad : {0U, 1U, 2U}) {
        std::string altered = cipherText;
        altered[bad * 128 + 60] ^= 1;
        std::istringstream input(altered);
        std::ostringstream output;
        EXPECT_THROWS(InternalException, notDecrypted, user.decryptor(oaep1)->decrypt(input, output));
        EXPECT_EQ(output.str(), message.substr(0, bad * 86));
        EXPECT_EQ(input.tellg(), static_cast<std::streamoff>((bad + 1) * 128));
    }
    // A last block that was cut
    std::istringstream input(cipherText.substr(0, 2 * 128 + 100));
    std::ostringstream output;
    EXPECT_THROWS(InternalException, notDecrypted, user.decryptor(oaep1)->decrypt(input, output));
    EXPECT_EQ(output.str(), message.substr(0, 2 * 86));
}

TEST(RSAStreams, MayContainEmptyBlocks) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    auto const encryptor = user.encryptor(oaep1);
    auto const block = [&](std::string const& message) { return text(encryptor->encrypt(bytes(message))); };
    EXPECT_EQ(decryptStream(*user.decryptor(oaep1), block("one") + block("") + block("two")), "onetwo");
}

TEST(RSAStreams, WhoseInputThrowsEndThereOrAreReported) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    std::string const message = text(pseudoRandomBytes(2 * 86 + 20));
    {
        PortionBuffer buffer(message, 10, "the disk is gone"); // the piece being read is lost
        std::istream input(&buffer);
        std::ostringstream output;
        user.encryptor(oaep1)->encrypt(input, output);
        EXPECT_TRUE(input.bad());
        EXPECT_EQ(decryptStream(*user.decryptor(oaep1), output.str()), message.substr(0, 2 * 86));
    }
    {
        PortionBuffer buffer(message, 10, "the disk is gone");
        std::istream input(&buffer);
        input.exceptions(std::ios_base::badbit);
        std::ostringstream output;
        EXPECT_THROWS(InternalException, "the disk is gone", user.encryptor(oaep1)->encrypt(input, output));
        EXPECT_EQ(decryptStream(*user.decryptor(oaep1), output.str()), message.substr(0, 2 * 86));
        std::istringstream ended("too short for a block");
        ended.exceptions(std::ios_base::eofbit);
        EXPECT_THROWS_PREFIX(InternalException, "basic_ios::clear", user.decryptor(oaep1)->decrypt(ended, output));
    }
}

TEST(RSAStreams, WhoseInputThrowsTheLibrarysOwnExceptionsAreTranslatedToo) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    ThrowingBuffer<InvalidKey> buffer(InvalidKey("of a stream"));
    std::istream input(&buffer);
    input.exceptions(std::ios_base::badbit);
    std::ostringstream output;
    EXPECT_THROWS(InternalException, "of a stream", user.encryptor(oaep1)->encrypt(input, output));
    input.clear();
    EXPECT_THROWS(InternalException, "of a stream", user.decryptor(oaep1)->decrypt(input, output));
    EXPECT_EQ(output.str(), "");
}

TEST(RSAStreams, PadAFieldWithTheFirstByteAlone) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    std::string const cipherText = encryptStream(*user.encryptor(oaep1), "message");
    std::istringstream input(cipherText);
    std::ostringstream output;
    output << std::setw(5) << std::setfill('*');
    user.decryptor(oaep1)->decrypt(input, output);
    EXPECT_EQ(output.str(), "****message");
    EXPECT_EQ(output.width(), 0);

    std::istringstream again(cipherText);
    std::ostringstream left;
    left << std::setw(3) << std::setfill('*') << std::left << std::hex;
    user.decryptor(oaep1)->decrypt(again, left);
    EXPECT_EQ(left.str(), "m**essage");

    std::istringstream empty;
    std::ostringstream untouched;
    untouched << std::setw(5);
    user.decryptor(oaep1)->decrypt(empty, untouched);
    EXPECT_EQ(untouched.width(), 5);
}

/// Takes `room` characters and then fails, or throws where it has a text for that.
class FullBuffer : public std::streambuf {
public:
    explicit FullBuffer(std::size_t room, std::string failure = "") : room_(room), failure_(std::move(failure)) {}

    std::string const& content() const { return content_; }

protected:
    int_type overflow(int_type character) override {
        if (content_.size() == room_) {
            if (!failure_.empty()) {
                throw std::runtime_error(failure_);
            }
            return traits_type::eof();
        }
        content_.push_back(traits_type::to_char_type(character));
        return character;
    }

private:
    std::size_t room_;
    std::string failure_;
    std::string content_;
};

TEST(RSAStreams, ThatCannotBeWrittenAreLeftBadOrReported) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    std::string const message = text(pseudoRandomBytes(3 * 86));
    std::string const cipherText = encryptStream(*user.encryptor(oaep1), message);
    for (std::streamsize const width : {0, 7}) {
        for (std::string const failure : {"", "the disk is full"}) {
            std::string const filled = std::string(width == 0 ? 0 : 6, ' ') + message;
            {
                FullBuffer buffer(100, failure);
                std::ostream output(&buffer);
                output.width(width);
                std::istringstream input(cipherText);
                user.decryptor(oaep1)->decrypt(input, output); // goes on, in vain
                EXPECT_EQ(buffer.content(), filled.substr(0, 100));
                EXPECT_TRUE(output.bad());
                EXPECT_TRUE(input.eof());
            }
            {
                FullBuffer buffer(100, failure);
                std::ostream output(&buffer);
                output.width(width);
                output.exceptions(std::ios_base::badbit);
                std::istringstream input(cipherText);
                EXPECT_THROWS_PREFIX(InternalException, failure.empty() ? "basic_ios::clear" : failure,
                                     user.decryptor(oaep1)->decrypt(input, output));
                EXPECT_EQ(buffer.content(), filled.substr(0, 100));
                EXPECT_EQ(input.tellg(), 2 * 128);
            }
            {
                FullBuffer buffer(0, failure); // the first byte, formatted or not
                std::ostream output(&buffer);
                output.width(width);
                output.exceptions(std::ios_base::badbit);
                std::istringstream input(message);
                EXPECT_THROWS_PREFIX(InternalException, failure.empty() ? "basic_ios::clear" : failure,
                                     user.encryptor(oaep1)->encrypt(input, output));
            }
        }
    }
    std::ostream none(nullptr);
    std::istringstream input(message);
    EXPECT_EQ(&user.encryptor(oaep1)->encrypt(input, none), &none);
    EXPECT_TRUE(none.bad() && input.eof());
    none.width(9);
    std::istringstream again(message);
    user.encryptor(oaep1)->encrypt(again, none);
    EXPECT_EQ(none.width(), 9);
}

TEST(RSAStreams, LeaveAnOutputAsInsertingByteByByteWould) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    std::string const message = text(pseudoRandomBytes(100));
    std::string const cipherText = encryptStream(*user.encryptor(oaep1), message); // 86 and 14 bytes
    using Base = std::ios_base;
    auto const insert = [&](std::ostream& output) {
        try {
            for (char const character : message) {
                output << character;
            }
        } catch (std::ios_base::failure const& error) {
            throw InternalException(error.what());
        }
    };
    auto const decrypt = [&](std::ostream& output) {
        std::istringstream input(cipherText);
        user.decryptor(oaep1)->decrypt(input, output);
    };
    for (std::streamsize const width : {0, 1, 9}) {
        for (auto const state : {Base::goodbit, Base::eofbit, Base::failbit, Base::badbit}) {
            for (auto const mask : {Base::goodbit, Base::badbit, Base::failbit, Base::failbit | Base::badbit}) {
                for (std::size_t const room : {0U, 1U, 50U, 84U, 85U, 86U, 87U, 98U, 99U, 100U, 1000U}) {
                    SCOPED_TRACE("width " + std::to_string(width) + ", state " + std::to_string(state) + ", mask " +
                                 std::to_string(mask) + ", room " + std::to_string(room));
                    FullBuffer expectedBuffer(room);
                    FullBuffer foundBuffer(room);
                    std::ostream expected(&expectedBuffer);
                    std::ostream found(&foundBuffer);
                    for (std::ostream* const output : {&expected, &found}) {
                        output->width(width);
                        output->setstate(state);
                        catchFrom([&] { output->exceptions(mask); }); // set all the same
                    }
                    Thrown const expectedThrown = catchFrom([&] { insert(expected); });
                    Thrown const foundThrown = catchFrom([&] { decrypt(found); });
                    EXPECT_EQ(foundThrown.type, expectedThrown.type);
                    EXPECT_EQ(foundThrown.text, expectedThrown.text);
                    EXPECT_EQ(foundBuffer.content(), expectedBuffer.content());
                    EXPECT_EQ(found.rdstate(), expected.rdstate());
                    EXPECT_EQ(found.width(), expected.width());
                }
            }
        }
    }
}

} // namespace
