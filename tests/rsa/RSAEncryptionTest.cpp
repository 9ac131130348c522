#include "RSABlocks.h"
#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/RSA.h"
#include "support/Threads.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

constexpr RSAPaddingMode pss = RSAPaddingMode::PSS;
std::vector<int> const unknownPaddings{5, 77, -1, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};

std::string const unknownForEncryption = "Unsupported Padding Algorithm for encryption.";
std::string const unknownForDecryption = "Unsupported Padding Algorithm for decryption.";
std::string const notEncrypted =
    "EVP_PKEY_encrypt failed to generate the encrypted text. Please try using streams for this operation.";

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

} // namespace
