#include "AESTransforms.h"
#include "support/AES.h"
#include "support/Bytes.h"
#include "support/PRNG.h"
#include "support/Provider.h"
#include "support/Threads.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <cstddef>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;

std::string const unsupportedMode = "Failed to get the OpenSSL cipher. Unsupported AES mode";
std::string const wrongTag = "Tag verification failed or decryption error";
std::string const tooShortIV = "Initialization vector must contain 16 bytes.";
std::string const wrongIVLength = "Failed to initialize the IV length in OpenSSL";

std::size_t expectedSize(AESMode mode, AESPaddingMode padding, std::size_t size) {
    switch (mode) {
    case AESMode::CBC:
        return padding == AESPaddingMode::NoPadding ? size : size + 16 - size % 16;
    case AESMode::GCM:
        return size + 16;
    default:
        return size;
    }
}

// Round trips

struct RoundTrip {
    AESFactories factories;
    NamedAESMode mode;
    AESPaddingMode padding;
};

std::vector<RoundTrip> allRoundTrips() {
    std::vector<RoundTrip> all;
    for (AESFactories const& factories : aesFactories()) {
        for (NamedAESMode const& mode : aesModes()) {
            for (auto const padding : {AESPaddingMode::PKCS7, AESPaddingMode::NoPadding}) {
                all.push_back({factories, mode, padding});
            }
        }
    }
    return all;
}

class AESRoundTrips : public testing::TestWithParam<RoundTrip> {};

INSTANTIATE_TEST_SUITE_P(, AESRoundTrips, testing::ValuesIn(allRoundTrips()), [](auto const& row) {
    return row.param.mode.name + std::to_string(row.param.factories.bits) +
           (row.param.padding == AESPaddingMode::PKCS7 ? "PKCS7" : "NoPadding");
});

TEST_P(AESRoundTrips, BringBackMessagesOf0To100Bytes) {
    auto const& [factories, mode, padding] = GetParam();
    AESSetup const setup{pseudoRandomBytes(factories.keyBytes()), iv, mode.mode, padding};
    auto const encryptor = factories.createEncryptor(setup);
    auto const decryptor = factories.createDecryptor(setup);
    bool const needsBlocks = mode.mode == AESMode::CBC && padding == AESPaddingMode::NoPadding;
    for (std::size_t size = 0; size <= 100; ++size) {
        SCOPED_TRACE(size);
        ByteArray const message = pseudoRandomBytes(size, size);
        std::istringstream messageStream(text(message));
        std::ostringstream encryptedStream;
        if (needsBlocks && size % 16 != 0) {
            EXPECT_THROWS(InternalException, "Failed to finalize encryption", encryptor->encrypt(message));
            EXPECT_THROWS(InternalException, "Failed to finalize encryption",
                          encryptor->encrypt(messageStream, encryptedStream));
            EXPECT_THROWS(InternalException, "Failed to finalize decryption", decryptor->decrypt(message));
            continue;
        }
        ByteArray const encrypted = encryptor->encrypt(message);
        EXPECT_EQ(encrypted.size(), expectedSize(mode.mode, padding, size));
        EXPECT_EQ(encryptor->encrypt(message), encrypted) << "a second time";
        EXPECT_EQ(decryptor->decrypt(encrypted), message);

        encryptor->encrypt(messageStream, encryptedStream);
        EXPECT_EQ(encryptedStream.str(), text(encrypted));
        std::istringstream encryptedInput(encryptedStream.str());
        std::ostringstream decryptedStream;
        decryptor->decrypt(encryptedInput, decryptedStream);
        EXPECT_EQ(decryptedStream.str(), text(message));
    }
}

TEST_P(AESRoundTrips, TellTheirKeySize) {
    auto const& [factories, mode, padding] = GetParam();
    AESSetup const setup{ByteArray(factories.keyBytes()), iv, mode.mode, padding};
    EXPECT_EQ(factories.createEncryptor(setup)->getKeySize(), factories.bits);
    EXPECT_EQ(factories.createDecryptor(setup)->getKeySize(), factories.bits);
}

// Padding

TEST(AESPadding, OfCBCFillsTheLastBlock) {
    EXPECT_EQ(encrypt({key, iv}, {}).size(), 16U);
    EXPECT_EQ(encrypt({key, iv}, ByteArray(16)).size(), 32U);
    AESSetup const unpadded{key, iv, AESMode::CBC, AESPaddingMode::NoPadding};
    EXPECT_EQ(encrypt(unpadded, {}).size(), 0U);
    EXPECT_EQ(encrypt(unpadded, ByteArray(16)).size(), 16U);
    EXPECT_THROWS(InternalException, "Failed to finalize encryption", encrypt(unpadded, ByteArray(15)));
}

TEST(AESPadding, OfAnyOtherValueIsPKCS7) {
    for (int const value : {2, 3, -1, 1000}) {
        auto const padding = static_cast<AESPaddingMode>(value);
        ByteArray const encrypted = encrypt({key, iv, AESMode::CBC, padding}, ByteArray(5));
        EXPECT_EQ(encrypted, encrypt({key, iv}, ByteArray(5)));
        EXPECT_EQ(decrypt({key, iv, AESMode::CBC, padding}, encrypted), ByteArray(5));
    }
}

TEST(AESPadding, ThatIsWrongIsReported) {
    AESSetup const unpadded{key, iv, AESMode::CBC, AESPaddingMode::NoPadding};
    for (char const* const block : {"00000000000000000000000000000000", "00000000000000000000000000000011",
                                    "00000000000000000000000000000302", "10101010101010101010101010100f10"}) {
        EXPECT_THROWS(InternalException, "Failed to finalize decryption",
                      decrypt({key, iv}, encrypt(unpadded, unhex(block))));
    }
    EXPECT_EQ(hex(decrypt({key, iv}, encrypt(unpadded, unhex("00000000000000000000000000000202")))),
              "0000000000000000000000000000");
}

TEST(AESPadding, IsMissingFromAnEmptyOrBrokenCipherText) {
    for (std::size_t const size : {0U, 1U, 15U, 17U, 31U}) {
        EXPECT_THROWS(InternalException, "Failed to finalize decryption", decrypt({key, iv}, ByteArray(size)));
    }
}

// Modes

TEST(AESModes, OutsideTheEnumerationFailAtEveryCall) {
    for (int const value : {5, 6, 255, -1, 1 << 30}) {
        AESSetup const setup{key, iv, static_cast<AESMode>(value)};
        auto const encryptor = createAESEncryptor(setup);
        auto const decryptor = createAESDecryptor(setup);
        std::istringstream input("message");
        std::ostringstream output;
        EXPECT_EQ(encryptor->getKeySize(), 128U);
        for (int call = 0; call < 2; ++call) {
            EXPECT_THROWS(InternalException, unsupportedMode, encryptor->encrypt(ByteArray()));
            EXPECT_THROWS(InternalException, unsupportedMode, encryptor->encrypt(input, output));
            EXPECT_THROWS(InternalException, unsupportedMode, decryptor->decrypt(ByteArray()));
            EXPECT_THROWS(InternalException, unsupportedMode, decryptor->decrypt(input, output));
        }
        EXPECT_EQ(output.str(), "");
    }
    EXPECT_THROWS(InternalException, tooShortIV, createAESEncryptor({key, ByteArray(15), static_cast<AESMode>(5)}));
}

TEST(AESModes, DifferFromOneAnother) {
    std::set<ByteArray> results;
    for (NamedAESMode const& mode : aesModes()) {
        results.insert(encrypt({key, iv, mode.mode}, pseudoRandomBytes(40)));
    }
    EXPECT_EQ(results.size(), aesModes().size());
}

// Initialisation vectors

TEST(AESVectors, OfFewerThan16BytesAreRefusedExceptInGCM) {
    for (NamedAESMode const& mode : aesModes()) {
        for (std::size_t size = 1; size < 16; ++size) {
            SCOPED_TRACE(mode.name + std::to_string(size));
            AESSetup const setup{key, ByteArray(size), mode.mode};
            if (mode.mode == AESMode::GCM) {
                EXPECT_EQ(decrypt(setup, encrypt(setup, ByteArray(5))), ByteArray(5));
            } else {
                EXPECT_THROWS(InternalException, tooShortIV, createAESEncryptor(setup));
                EXPECT_THROWS(InternalException, tooShortIV, createAESDecryptor(setup));
            }
        }
    }
}

TEST(AESVectors, CountWithTheirFirst16BytesExceptInGCM) {
    ByteArray longer = iv;
    longer.insert(longer.end(), 100, 0xaa);
    for (NamedAESMode const& mode : aesModes()) {
        ByteArray const withLonger = encrypt({key, longer, mode.mode}, ByteArray(40));
        ByteArray const withFirst16 = encrypt({key, iv, mode.mode}, ByteArray(40));
        EXPECT_EQ(withLonger == withFirst16, mode.mode != AESMode::GCM) << mode.name;
    }
}

TEST(AESVectors, OfGCMHaveAtMost128Bytes) {
    std::set<ByteArray> results;
    for (std::size_t size = 1; size <= 128; ++size) {
        AESSetup const setup{key, ByteArray(size, 7), AESMode::GCM};
        ByteArray const encrypted = encrypt(setup, bytes("hello"));
        EXPECT_EQ(text(decrypt(setup, encrypted)), "hello");
        results.insert(encrypted);
    }
    EXPECT_EQ(results.size(), 128U);
    for (std::size_t const size : {129U, 130U, 1000U, 100000U}) {
        AESSetup const setup{key, ByteArray(size, 7), AESMode::GCM};
        EXPECT_THROWS(InternalException, wrongIVLength, encrypt(setup, bytes("hello")));
        EXPECT_THROWS(InternalException, wrongIVLength, decrypt(setup, ByteArray(21)));
    }
}

TEST(AESVectors, ThatAreMissingAreDrawn) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    for (NamedAESMode const& mode : aesModes()) {
        AESSetup const setup{key, {}, mode.mode, AESPaddingMode::PKCS7, prng};
        ByteArray const message(40);
        auto const encryptor = createAESEncryptor(setup);
        EXPECT_EQ(encryptor->encrypt(message), encryptor->encrypt(message)) << "drawn once per object";
        EXPECT_NE(encryptor->encrypt(message), createAESEncryptor(setup)->encrypt(message));
        EXPECT_NO_THROW(createAESDecryptor(setup));
    }
}

TEST(AESVectors, ThatAreMissingNeedAGenerator) {
    for (CryptoPRNGPtr const& prng : {CryptoPRNGPtr(), CryptoPRNGPtr(std::make_shared<ForeignPRNG>())}) {
        for (NamedAESMode const& mode : aesModes()) {
            AESSetup const without{key, {}, mode.mode, AESPaddingMode::PKCS7, prng};
            EXPECT_THROWS(InternalException, "The PRNG does not exist.", createAESEncryptor(without));
            EXPECT_THROWS(InternalException, "The PRNG does not exist.", createAESDecryptor(without));
            AESSetup const with{key, iv, mode.mode, AESPaddingMode::PKCS7, prng};
            EXPECT_EQ(decrypt(with, encrypt(with, bytes("hello"))), bytes("hello"));
        }
    }
}

TEST(AESVectors, AreCopied) {
    ByteArray given = iv;
    auto const encryptor =
        provider.createAES128Encryptor(provider.createAES128Key(key), given, AESMode::CTR, {}, nullptr);
    ByteArray const before = encryptor->encrypt(ByteArray(16));
    given.assign(16, 0);
    EXPECT_EQ(encryptor->encrypt(ByteArray(16)), before);
}

// Keys

template <class KeySize> class ForeignKey : public IAESKey<KeySize> {
    unsigned long getKeySize() const override { return 128; }

    ByteArray getKeyBytes() const override { return ByteArray(16); }
};

template <unsigned long Bits, class Encryptor, class Decryptor>
void expectUnusable(Encryptor createEncryptor, Decryptor createDecryptor) {
    using Key = IAESKey<AESKeySize<Bits>>;
    for (std::shared_ptr<Key> const& none :
         {std::shared_ptr<Key>(), std::shared_ptr<Key>(std::make_shared<ForeignKey<AESKeySize<Bits>>>())}) {
        for (int mode = 0; mode <= 5; ++mode) { // a missing key is reported before an unknown mode
            auto const encryptor =
                (provider.*createEncryptor)(none, iv, static_cast<AESMode>(mode), AESPaddingMode::PKCS7, nullptr);
            auto const decryptor =
                (provider.*createDecryptor)(none, iv, static_cast<AESMode>(mode), AESPaddingMode::PKCS7, nullptr);
            std::istringstream input("message");
            std::ostringstream output;
            EXPECT_THROWS(InternalException, unsupportedKeySize, encryptor->encrypt(ByteArray(16)));
            EXPECT_THROWS(InternalException, unsupportedKeySize, encryptor->encrypt(input, output));
            EXPECT_THROWS(InternalException, unsupportedKeySize, decryptor->decrypt(ByteArray(16)));
            EXPECT_THROWS(InternalException, unsupportedKeySize, decryptor->decrypt(input, output));
            EXPECT_EQ(encryptor->getKeySize(), Bits);
            EXPECT_EQ(decryptor->getKeySize(), Bits);
        }
    }
}

TEST(AESTransformKeys, ThatAreMissingOrForeignFailAtEveryCall) {
    expectUnusable<128>(&CryptoProvider::createAES128Encryptor, &CryptoProvider::createAES128Decryptor);
    expectUnusable<192>(&CryptoProvider::createAES192Encryptor, &CryptoProvider::createAES192Decryptor);
    expectUnusable<256>(&CryptoProvider::createAES256Encryptor, &CryptoProvider::createAES256Decryptor);
}

TEST(AESTransformKeys, LiveAsLongAsTheTransform) {
    auto aesKey = provider.createAES128Key(key);
    std::weak_ptr<IAESKey<AESKeySize<128>>> const observer(aesKey);
    auto encryptor = provider.createAES128Encryptor(aesKey, iv, AESMode::CBC, AESPaddingMode::PKCS7, nullptr);
    aesKey.reset();
    EXPECT_FALSE(observer.expired());
    EXPECT_EQ(encryptor->encrypt(bytes("hello")), encrypt({key, iv}, bytes("hello")));
    encryptor.reset();
    EXPECT_TRUE(observer.expired());
}

template <unsigned long Bits, class CreateKey, class Create>
void expectReferencesKept(CreateKey createKey, Create create) {
    auto const aesKey = (provider.*createKey)(ByteArray(Bits / 8));
    auto const prng = provider.createDefaultCryptoPRNG({});
    for (ByteArray const& vector : {iv, ByteArray()}) { // whether it was drawn from or not
        auto transform = (provider.*create)(aesKey, vector, AESMode::CBC, AESPaddingMode::PKCS7, prng);
        EXPECT_EQ(aesKey.use_count(), 2);
        EXPECT_EQ(prng.use_count(), 2);
        transform.reset();
        EXPECT_EQ(aesKey.use_count(), 1);
        EXPECT_EQ(prng.use_count(), 1);
    }
}

TEST(AESTransforms, KeepTheirKeyAndGeneratorForLife) {
    expectReferencesKept<128>(&CryptoProvider::createAES128Key, &CryptoProvider::createAES128Encryptor);
    expectReferencesKept<128>(&CryptoProvider::createAES128Key, &CryptoProvider::createAES128Decryptor);
    expectReferencesKept<192>(&CryptoProvider::createAES192Key, &CryptoProvider::createAES192Encryptor);
    expectReferencesKept<192>(&CryptoProvider::createAES192Key, &CryptoProvider::createAES192Decryptor);
    expectReferencesKept<256>(&CryptoProvider::createAES256Key, &CryptoProvider::createAES256Encryptor);
    expectReferencesKept<256>(&CryptoProvider::createAES256Key, &CryptoProvider::createAES256Decryptor);
}

TEST(AESTransformKeys, OfAnotherValueDoNotDecrypt) {
    ByteArray other = key;
    other[15] ^= 1U;
    ByteArray const encrypted = encrypt({key, iv, AESMode::GCM}, bytes("hello"));
    EXPECT_THROWS(InternalException, wrongTag, decrypt({other, iv, AESMode::GCM}, encrypted));
}

// GCM

TEST(AESGCM, AppendsATagOf16Bytes) {
    AESSetup const setup{key, pseudoRandomBytes(12), AESMode::GCM};
    EXPECT_EQ(encrypt(setup, bytes("hello")).size(), 21U);
    ByteArray const tagAlone = encrypt(setup, {});
    EXPECT_EQ(tagAlone.size(), 16U);
    EXPECT_EQ(decrypt(setup, tagAlone), ByteArray());
}

TEST(AESGCM, RefusesWhatIsShorterThanATag) {
    for (std::size_t size = 0; size < 16; ++size) {
        EXPECT_THROWS(InternalException, "Input data is smaller than the tag size",
                      decrypt({key, iv, AESMode::GCM}, ByteArray(size)));
    }
    EXPECT_THROWS(InternalException, wrongTag, decrypt({key, iv, AESMode::GCM}, ByteArray(16)));
}

TEST(AESGCM, RefusesEverySingleBitChange) {
    for (AESFactories const& factories : aesFactories()) {
        AESSetup const setup{pseudoRandomBytes(factories.keyBytes()), pseudoRandomBytes(12), AESMode::GCM};
        ByteArray const encrypted = factories.createEncryptor(setup)->encrypt(bytes("a short message"));
        auto const decryptor = factories.createDecryptor(setup);
        for (std::size_t bit = 0; bit < 8 * encrypted.size(); ++bit) {
            SCOPED_TRACE(bit);
            ByteArray changed = encrypted;
            changed[bit / 8] = static_cast<unsigned char>(changed[bit / 8] ^ (1U << (bit % 8)));
            ByteArray plainText;
            EXPECT_THROWS(InternalException, wrongTag, plainText = decryptor->decrypt(changed));
            EXPECT_EQ(plainText, ByteArray());
            std::istringstream input(text(changed));
            std::ostringstream output;
            EXPECT_THROWS(InternalException, wrongTag, decryptor->decrypt(input, output));
            EXPECT_EQ(output.str(), "");
        }
    }
}

TEST(AESGCM, RefusesEveryShorterAndLongerMessage) {
    AESSetup const setup{key, pseudoRandomBytes(12), AESMode::GCM};
    ByteArray const encrypted = encrypt(setup, bytes("a short message"));
    for (std::size_t size = 16; size < encrypted.size(); ++size) {
        EXPECT_THROWS(InternalException, wrongTag,
                      decrypt(setup, ByteArray(encrypted.begin(), encrypted.begin() + static_cast<long>(size))));
    }
    ByteArray longer = encrypted;
    longer.push_back(0);
    EXPECT_THROWS(InternalException, wrongTag, decrypt(setup, longer));
}

// Objects

TEST(AESTransforms, ServeSeveralThreadsAtOnce) {
    for (NamedAESMode const& mode : aesModes()) {
        AESSetup const setup{key, iv, mode.mode};
        auto const encryptor = createAESEncryptor(setup);
        auto const decryptor = createAESDecryptor(setup);
        ByteArray const message = pseudoRandomBytes(10000);
        ByteArray const expected = encryptor->encrypt(message);
        onThreads(4, [&](std::size_t /*thread*/) {
            for (int round = 0; round < 50; ++round) {
                EXPECT_EQ(encryptor->encrypt(message), expected);
                EXPECT_EQ(decryptor->decrypt(expected), message);
                std::istringstream input(text(message));
                std::ostringstream output;
                encryptor->encrypt(input, output);
                EXPECT_EQ(output.str(), text(expected));
            }
        });
    }
}

TEST(AESTransforms, LeaveTheErrorQueueAsItWas) {
    ERR_raise(ERR_LIB_USER, 7);
    for (NamedAESMode const& mode : aesModes()) {
        AESSetup const setup{key, iv, mode.mode};
        decrypt(setup, encrypt(setup, ByteArray(100)));
    }
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 7);
    EXPECT_EQ(ERR_get_error(), 0UL);
}

TEST(AESTransforms, WorkAfterAFailure) {
    auto const decryptor = createAESDecryptor({key, iv, AESMode::GCM});
    EXPECT_THROWS(InternalException, wrongTag, decryptor->decrypt(ByteArray(20)));
    EXPECT_EQ(decryptor->decrypt(encrypt({key, iv, AESMode::GCM}, bytes("hello"))), bytes("hello"));
}

} // namespace
