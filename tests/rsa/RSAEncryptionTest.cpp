#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Mutations.h"
#include "support/Provider.h"
#include "support/RSA.h"
#include "support/Streams.h"
#include "support/Threads.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

constexpr RSAPaddingMode oaep1 = RSAPaddingMode::OAEP_SHA1;
constexpr RSAPaddingMode oaep256 = RSAPaddingMode::OAEP_SHA256;
constexpr RSAPaddingMode oaep512 = RSAPaddingMode::OAEP_SHA512;
constexpr RSAPaddingMode pkcs1 = RSAPaddingMode::PKCS1_V1_5;
constexpr RSAPaddingMode pss = RSAPaddingMode::PSS;
std::vector<int> const sizes{1024, 2048, 4096};
std::vector<RSAPaddingMode> const paddings{oaep1, oaep256, oaep512, pkcs1};
std::vector<int> const unknownPaddings{5, 77, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};

std::string const unknownForEncryption = "Unsupported Padding Algorithm for encryption.";
std::string const unknownForDecryption = "Unsupported Padding Algorithm for decryption.";
std::string const notEncrypted =
    "EVP_PKEY_encrypt failed to generate the encrypted text. Please try using streams for this operation.";
std::string const notDecrypted = "EVP_PKEY_decrypt failed to generate the decrypted text.";
std::string const chunkTooLong = "chunkLength exceeds maximum ByteArray size";

/// The bytes that one block takes; negative when not even the padding has room.
int limitOf(int bits, RSAPaddingMode padding) {
    static std::map<RSAPaddingMode, int> const shares{{oaep1, 42}, {oaep256, 66}, {oaep512, 130}, {pkcs1, 11}};
    return bits / 8 - shares.at(padding);
}

std::string encryptStream(IRSAEncryptor const& encryptor, std::string const& plainText) {
    std::istringstream input(plainText);
    std::ostringstream output;
    EXPECT_EQ(&encryptor.encrypt(input, output), &output);
    return output.str();
}

std::string decryptStream(IRSADecryptor const& decryptor, std::string const& cipherText) {
    std::istringstream input(cipherText);
    std::ostringstream output;
    EXPECT_EQ(&decryptor.decrypt(input, output), &output);
    return output.str();
}

std::string describe(int bits, RSAPaddingMode padding) {
    return std::to_string(bits) + " bits, padding " + std::to_string(static_cast<int>(padding));
}

// Construction

template <class OfSize> using RSAEncryptionObjects = RSAObjects<OfSize>;
TYPED_TEST_SUITE(RSAEncryptionObjects, RSASizes, RSASizeNames);

TYPED_TEST(RSAEncryptionObjects, TellTheirKeySize) {
    EXPECT_EQ(TypeParam::encryptor(this->publicKey, oaep1, this->prng)->getKeySize(), TypeParam::bits);
    EXPECT_EQ(TypeParam::decryptor(this->privateKey, oaep1, this->prng)->getKeySize(), TypeParam::bits);
}

TYPED_TEST(RSAEncryptionObjects, NeedAKeyOfTheLibrary) {
    auto const foreignPrivateKey = std::make_shared<ForeignRSAPrivateKey<typename TestFixture::Size>>();
    auto const foreignPublicKey = std::make_shared<ForeignRSAPublicKey<typename TestFixture::Size>>();
    for (auto const& given : {this->prng, CryptoPRNGPtr()}) {
        for (RSAPaddingMode const padding : {oaep1, pss}) { // the key is looked at first
            EXPECT_THROWS(InvalidKey, "The encryption key does not exist.",
                          TypeParam::encryptor(nullptr, padding, given));
            EXPECT_THROWS(InvalidKey, "The encryption key does not exist.",
                          TypeParam::encryptor(foreignPublicKey, padding, given));
            EXPECT_THROWS(InvalidKey, "The decryption key does not exist.",
                          TypeParam::decryptor(nullptr, padding, given));
            EXPECT_THROWS(InvalidKey, "The decryption key does not exist.",
                          TypeParam::decryptor(foreignPrivateKey, padding, given));
        }
    }
}

TYPED_TEST(RSAEncryptionObjects, NeedAGeneratorOfTheLibrary) {
    for (auto const& given : {this->foreignPRNG, CryptoPRNGPtr()}) {
        for (RSAPaddingMode const padding : {oaep1, pss}) { // before the padding
            EXPECT_THROWS(InternalException, "The PRNG does not exist.",
                          TypeParam::encryptor(this->publicKey, padding, given));
            EXPECT_THROWS(InternalException, "The PRNG does not exist.",
                          TypeParam::decryptor(this->privateKey, padding, given));
        }
    }
}

TYPED_TEST(RSAEncryptionObjects, AreNotMadeForPSS) {
    EXPECT_THROWS(InternalException, "Cannot use PSS as Padding Algorithm for encryption.",
                  TypeParam::encryptor(this->publicKey, pss, this->prng));
    EXPECT_THROWS(InternalException, "Cannot use PSS as Padding Algorithm for decryption.",
                  TypeParam::decryptor(this->privateKey, pss, this->prng));
}

TYPED_TEST(RSAEncryptionObjects, KeepTheirKeyAndGenerator) {
    auto const encryptor = TypeParam::encryptor(this->publicKey, oaep1, this->prng);
    auto const decryptor = TypeParam::decryptor(this->privateKey, oaep1, this->prng);
    this->privateKey.reset();
    this->publicKey.reset();
    this->prng.reset();
    EXPECT_EQ(text(decryptor->decrypt(encryptor->encrypt(bytes("message")))), "message");
}

TYPED_TEST(RSAEncryptionObjects, AsAnEncryptorHoldKeyAndGeneratorForItsLife) {
    expectKept([](auto const& ofKey, auto const& with) { return TypeParam::encryptor(ofKey, oaep1, with); },
               this->publicKey, this->prng);
}

TYPED_TEST(RSAEncryptionObjects, AsADecryptorHoldKeyAndGeneratorForItsLife) {
    expectKept([](auto const& ofKey, auto const& with) { return TypeParam::decryptor(ofKey, oaep1, with); },
               this->privateKey, this->prng);
}

// One block

TEST(RSABlocks, HoldExactlyWhatTheirPaddingLeaves) {
    for (int const bits : sizes) {
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (RSAPaddingMode const padding : paddings) {
            SCOPED_TRACE(describe(bits, padding));
            auto const encryptor = user.encryptor(padding);
            auto const decryptor = user.decryptor(padding);
            int const limit = limitOf(bits, padding);
            for (int const size : {0, 1, limit - 1, limit}) {
                if (size < 0 || size > limit) {
                    continue;
                }
                ByteArray const message = pseudoRandomBytes(static_cast<std::size_t>(size));
                ByteArray const cipherText = encryptor->encrypt(message);
                EXPECT_EQ(cipherText.size(), user.blockSize());
                EXPECT_EQ(decryptor->decrypt(cipherText), message);
            }
            for (int const size : {limit + 1, limit + 2, bits / 8 - 1, bits / 8, bits / 8 + 1, 100000}) {
                ByteArray const message = pseudoRandomBytes(static_cast<std::size_t>(std::max(size, 0)));
                EXPECT_THROWS(InternalException, notEncrypted, encryptor->encrypt(message));
            }
        }
    }
}

TEST(RSABlocks, ThatAreFullOfOneByteComeBackWhole) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    for (RSAPaddingMode const padding : paddings) {
        for (int const byte : {0x00, 0x01, 0xff}) {
            ByteArray const message(static_cast<std::size_t>(limitOf(2048, padding)), static_cast<unsigned char>(byte));
            EXPECT_EQ(user.decryptor(padding)->decrypt(user.encryptor(padding)->encrypt(message)), message);
        }
    }
}

TEST(RSABlocks, DifferFromCallToCall) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    for (RSAPaddingMode const padding : paddings) {
        EXPECT_NE(user.encryptor(padding)->encrypt(bytes("twice")), user.encryptor(padding)->encrypt(bytes("twice")));
    }
}

TEST(RSABlocks, DecryptOnlyAtTheirSizeAndBelowTheModulus) {
    for (int const bits : sizes) {
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (RSAPaddingMode const padding : paddings) {
            SCOPED_TRACE(describe(bits, padding));
            auto const decryptor = user.decryptor(padding);
            std::size_t const size = user.blockSize();
            for (ByteArray const& block :
                 {ByteArray(), ByteArray(size + 1, 1), ByteArray(size, 0xff), ByteArray(1000000, 1)}) {
                EXPECT_THROWS(InternalException, notDecrypted, decryptor->decrypt(block));
            }
        }
    }
}

TEST(RSABlocks, ThatAreShorterAreTheNumberAllTheSame) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    for (RSAPaddingMode const padding : {oaep1, pkcs1}) {
        ByteArray cipherText;
        do {
            cipherText = user.encryptor(padding)->encrypt(bytes("message"));
        } while (cipherText.front() != 0);
        cipherText.erase(cipherText.begin());
        EXPECT_EQ(text(user.decryptor(padding)->decrypt(cipherText)), "message");
        EXPECT_EQ(decryptStream(*user.decryptor(padding), text(cipherText)), "message");
    }
}

TEST(RSABlocks, DecryptOnlyWithTheirOAEPHash) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    for (RSAPaddingMode const padding : {oaep1, oaep256, oaep512}) {
        ByteArray const cipherText = user.encryptor(padding)->encrypt(bytes("message"));
        for (RSAPaddingMode const other : {oaep1, oaep256, oaep512}) {
            if (other == padding) {
                EXPECT_EQ(text(user.decryptor(other)->decrypt(cipherText)), "message");
            } else {
                EXPECT_THROWS(InternalException, notDecrypted, user.decryptor(other)->decrypt(cipherText));
            }
        }
        EXPECT_NE(text(user.decryptor(pkcs1)->decrypt(cipherText)), "message"); // an arbitrary answer
    }
}

TEST(RSABlocks, WithAnyBitFlippedAreRefusedByOAEP) {
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    auto const decryptor = user.decryptor(oaep256);
    ByteArray cipherText = user.encryptor(oaep256)->encrypt(bytes("message"));
    for (std::size_t bit = 0; bit < cipherText.size() * 8; ++bit) {
        auto const mask = static_cast<unsigned char>(1U << (bit % 8));
        cipherText[bit / 8] ^= mask;
        EXPECT_THROWS(InternalException, notDecrypted, decryptor->decrypt(cipherText));
        cipherText[bit / 8] ^= mask;
    }
    EXPECT_EQ(text(decryptor->decrypt(cipherText)), "message");
}

TEST(RSABlocks, ThatWereAlteredGiveWithPKCS1AnAnswerThatTellsNothing) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    auto const decryptor = user.decryptor(pkcs1);
    ByteArray const cipherText = user.encryptor(pkcs1)->encrypt(bytes("message"));
    for (std::size_t at = 1; at < cipherText.size(); at += 50) {
        ByteArray altered = cipherText;
        altered[at] ^= 1U;
        ByteArray const answer = decryptor->decrypt(altered);
        EXPECT_NE(text(answer), "message");
        EXPECT_EQ(decryptor->decrypt(altered), answer); // the same each time
        EXPECT_EQ(text(decryptor->decrypt(altered)), decryptStream(*decryptor, text(altered)));
    }
    EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST(RSABlocks, OfAnUnknownPaddingFail) {
    for (int const bits : sizes) {
        for (int const padding : unknownPaddings) {
            auto const encryptor = rsaTestKeyUser(bits).encryptor(rsaPadding(padding));
            auto const decryptor = rsaTestKeyUser(bits).decryptor(rsaPadding(padding));
            for (std::string const message : {"", "message"}) {
                EXPECT_THROWS(InternalException, unknownForEncryption, encryptor->encrypt(bytes(message)));
                EXPECT_THROWS(InternalException, unknownForDecryption, decryptor->decrypt(bytes(message)));
                std::ostringstream output; // the length of a block depends on the padding
                std::istringstream input(message);
                EXPECT_THROWS(InternalException, unknownForEncryption, encryptor->encrypt(input, output));
                EXPECT_EQ(input.tellg(), 0);
            }
            std::ostringstream output;
            std::istringstream input("message");
            EXPECT_THROWS(InternalException, unknownForDecryption, decryptor->decrypt(input, output));
            EXPECT_EQ(output.str(), "");
            EXPECT_EQ(decryptStream(*decryptor, ""), "");
        }
    }
}

TEST(RSABlocks, OfKeysForAnotherPurposeFail) {
    RSAKeyUser const bound = makePSSKeyUser();
    RSAKeyUser const dsa = makeDSAKeyUser();
    for (RSAPaddingMode const padding : paddings) {
        for (RSAKeyUser const* const user : {&bound, &dsa}) {
            EXPECT_THROWS(InternalException, "Failed to initializing the EVP_PKEY_CTX for the encryptor.",
                          user->encryptor(padding)->encrypt(bytes("message")));
            EXPECT_THROWS(InternalException, "Failed to initializing the EVP_PKEY_CTX for the decryptor.",
                          user->decryptor(padding)->decrypt(bytes("message")));
        }
    }
}

TEST(RSABlocks, AreDecryptedByAKeyWithoutItsPrimes) {
    auto const whole = provider.createRSA2048PrivateKey(readRSAKey(2048, "private.der"));
    auto const publicKey = provider.createRSA2048PublicKey(readRSAKey(2048, "public.der"));
    auto const bare = provider.createRSA2048PrivateKey(whole->getModulus(), whole->getPrivateExponent(),
                                                       publicKey->getPublicExponent());
    auto const prng = provider.createDefaultCryptoPRNG({});
    for (RSAPaddingMode const padding : paddings) {
        EXPECT_EQ(text(provider.createRSA2048Decryptor(bare, padding, prng)
                           ->decrypt(rsaTestKeyUser(2048).encryptor(padding)->encrypt(bytes("message")))),
                  "message");
    }
}

// Streams

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

// The error queue

TEST(RSAEncryptionErrors, AreNotLeftByASuccess) {
    for (int const bits : sizes) {
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        for (RSAPaddingMode const padding : paddings) {
            if (limitOf(bits, padding) < 0) {
                continue;
            }
            ERR_raise_data(ERR_LIB_USER, 1, "the host's own");
            ByteArray const cipherText = user.encryptor(padding)->encrypt({1});
            user.decryptor(padding)->decrypt(cipherText);
            decryptStream(*user.decryptor(padding), encryptStream(*user.encryptor(padding), "message"));
            if (padding == pkcs1) { // a block with another padding, answered all the same
                user.decryptor(pkcs1)->decrypt(ByteArray(user.blockSize(), 1));
            }
            EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 1);
            EXPECT_EQ(ERR_get_error(), 0U);
        }
    }
}

TEST(RSAEncryptionErrors, DoNotPileUpWhereNobodySeesThem) {
    // Removing PKCS #1 v1.5 padding leaves an entry in libcrypto's queue that reading skips, but that takes room.
    RSAKeyUser const& user = rsaTestKeyUser(1024);
    auto const decryptor = user.decryptor(pkcs1);
    ByteArray const block = user.encryptor(pkcs1)->encrypt({1});
    std::string const message(20 * 117, 'a'); // 20 blocks
    std::string const blocks = encryptStream(*user.encryptor(pkcs1), message);

    ERR_raise_data(ERR_LIB_USER, 1, "the host's own");
    for (int time = 0; time < 20; ++time) {
        decryptor->decrypt(block);
    }
    EXPECT_EQ(ERR_GET_REASON(ERR_peek_error()), 1) << "after 20 blocks";
    EXPECT_EQ(decryptStream(*decryptor, blocks), message);
    EXPECT_EQ(ERR_GET_REASON(ERR_peek_error()), 1) << "after a stream of 20 blocks";
    decryptor->decrypt(block);
    provider.generateECCP256KeyPair();
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 1) << "after an operation that marks the queue";
    EXPECT_EQ(ERR_get_error(), 0U);
}

// Threads

TEST(RSAEncryptionThreads, ShareOneEncryptorAndOneDecryptor) {
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    for (RSAPaddingMode const padding : paddings) {
        auto const encryptor = user.encryptor(padding);
        auto const decryptor = user.decryptor(padding);
        std::vector<int> equal(4);
        onThreads(equal.size(), [&](std::size_t thread) {
            ByteArray const message = pseudoRandomBytes(100, thread);
            for (int round = 0; round < 10; ++round) {
                equal[thread] += decryptor->decrypt(encryptor->encrypt(message)) == message ? 1 : 0;
                std::string const longMessage = text(pseudoRandomBytes(300, thread));
                equal[thread] +=
                    decryptStream(*decryptor, encryptStream(*encryptor, longMessage)) == longMessage ? 1 : 0;
            }
        });
        EXPECT_EQ(equal, std::vector<int>(4, 20));
    }
}

// Published cases

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

// The openssl command, both ways

TEST(RSAEncryptionExchange, AgreesWithTheCommand) {
    static std::map<RSAPaddingMode, std::string> const options{
        {oaep1, "-pkeyopt rsa_padding_mode:oaep"},
        {oaep256, "-pkeyopt rsa_padding_mode:oaep -pkeyopt rsa_oaep_md:sha256 -pkeyopt rsa_mgf1_md:sha256"},
        {oaep512, "-pkeyopt rsa_padding_mode:oaep -pkeyopt rsa_oaep_md:sha512"},
        {pkcs1, "-pkeyopt rsa_padding_mode:pkcs1"}};
    TemporaryDirectory const directory;
    std::string const pkeyutl = "cd " + directory.path().string() + " && openssl pkeyutl -in in -out out ";
    for (int const bits : sizes) {
        RSAKeyUser const& user = rsaTestKeyUser(bits);
        writeFile(directory / "private.der", readRSAKey(static_cast<unsigned long>(bits), "private.der"));
        writeFile(directory / "public.der", readRSAKey(static_cast<unsigned long>(bits), "public.der"));
        for (RSAPaddingMode const padding : paddings) {
            int const limit = limitOf(bits, padding);
            for (int const size : {0, 1, limit}) {
                if (size < 0 || limit < 0) {
                    continue;
                }
                SCOPED_TRACE(describe(bits, padding) + ", " + std::to_string(size) + " bytes");
                ByteArray const message = pseudoRandomBytes(static_cast<std::size_t>(size));
                writeFile(directory / "in", message);
                ASSERT_EQ(run(pkeyutl + "-encrypt -pubin -keyform DER -inkey public.der " + options.at(padding)).status,
                          0);
                EXPECT_EQ(user.decryptor(padding)->decrypt(readFile(directory / "out")), message);

                writeFile(directory / "in", user.encryptor(padding)->encrypt(message));
                ASSERT_EQ(run(pkeyutl + "-decrypt -keyform DER -inkey private.der " + options.at(padding)).status, 0);
                EXPECT_EQ(readFile(directory / "out"), message);
            }
        }
    }
}

TEST(RSAEncryptionExchange, AgreesWithTheCommandBlockByBlock) {
    TemporaryDirectory const directory;
    RSAKeyUser const& user = rsaTestKeyUser(2048);
    writeFile(directory / "private.der", readRSAKey(2048, "private.der"));
    ByteArray const message = pseudoRandomBytes(600);
    std::ofstream file(directory / "encrypted", std::ios::binary);
    std::istringstream input(text(message));
    user.encryptor(pkcs1)->encrypt(input, file);
    file.close();
    CommandResult const result = run("cd " + directory.path().string() +
                                     " && for block in 0 1 2; do dd bs=256 count=1 skip=$block if=encrypted of=block "
                                     "2>/dev/null && openssl pkeyutl -decrypt -keyform DER -inkey private.der "
                                     "-in block; done");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, text(message));
}

// Mutated cipher texts

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
