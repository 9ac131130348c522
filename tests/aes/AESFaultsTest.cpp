#include "aes/AESKey.h"
#include "aes/AESTransform.h"

#include "support/AES.h"
#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::openssl::AESDecryptor;
using foundation::crypto::openssl::AESEncryptor;
using foundation::crypto::openssl::AESKey;
using foundation::crypto::openssl::AESTransform;
using foundation::crypto::utils::InternalException;

// The classes as they are laid out.

template <class Transform, class Interface> constexpr bool isLaidOut() {
    return std::is_base_of_v<AESTransform<AESKeySize<256>>, Transform> && std::is_base_of_v<Interface, Transform> &&
           std::has_virtual_destructor_v<AESTransform<AESKeySize<256>>> &&
           sizeof(Transform) == sizeof(AESTransform<AESKeySize<256>>) + sizeof(void*);
}

static_assert(isLaidOut<AESEncryptor<AESKeySize<256>>, IAESEncryptor>());
static_assert(isLaidOut<AESDecryptor<AESKeySize<256>>, IAESDecryptor>());
static_assert(sizeof(AESKey<AESKeySize<256>>) == sizeof(void*) + sizeof(ByteArray));

TEST(AESLayout, HasTheTransformInFrontOfTheInterface) {
    AESEncryptor<AESKeySize<128>> const encryptor(nullptr, ByteArray(16), AESMode::CBC, AESPaddingMode::PKCS7, nullptr);
    auto const* const transform = static_cast<AESTransform<AESKeySize<128>> const*>(&encryptor);
    auto const* const interface = static_cast<IAESEncryptor const*>(&encryptor);
    EXPECT_EQ(static_cast<void const*>(transform), static_cast<void const*>(&encryptor));
    EXPECT_EQ(reinterpret_cast<char const*>(interface) - reinterpret_cast<char const*>(transform),
              static_cast<std::ptrdiff_t>(sizeof(AESTransform<AESKeySize<128>>)));
}

// Failures

ByteArray const key = pseudoRandomBytes(16, 128);
ByteArray const iv = pseudoRandomBytes(16, 16);
ByteArray const message = pseudoRandomBytes(100);

AESSetup setupFor(AESMode mode) {
    return {key, iv, mode};
}

void encryptBuffer(AESMode mode) {
    createAESEncryptor(setupFor(mode))->encrypt(message);
}

ByteArray const& encrypted(AESMode mode) {
    static std::map<AESMode, ByteArray> blocks;
    ByteArray& block = blocks[mode];
    if (block.empty()) {
        block = createAESEncryptor(setupFor(mode))->encrypt(message);
    }
    return block;
}

void decryptBuffer(AESMode mode) {
    createAESDecryptor(setupFor(mode))->decrypt(encrypted(mode));
}

/// Nothing of a message that fails comes out.
template <class Transform> void transformStream(ByteArray const& content, Transform transform) {
    std::istringstream input(text(content));
    std::ostringstream output;
    try {
        transform(input, output);
    } catch (...) {
        EXPECT_EQ(output.str(), "");
        throw;
    }
}

void encryptStream(AESMode mode) {
    transformStream(message, [&](auto& from, auto& to) { createAESEncryptor(setupFor(mode))->encrypt(from, to); });
}

void decryptStream(AESMode mode) {
    transformStream(encrypted(mode),
                    [&](auto& from, auto& to) { createAESDecryptor(setupFor(mode))->decrypt(from, to); });
}

using Modes = std::vector<Named<AESMode>>;

Modes const cbc{{"CBC", AESMode::CBC}};
Modes const cfb{{"CFB", AESMode::CFB}};
Modes const ofb{{"OFB", AESMode::OFB}};
Modes const gcm{{"GCM", AESMode::GCM}};
Modes const ctr{{"CTR", AESMode::CTR}};
Modes const standard{cbc[0], cfb[0], ofb[0], ctr[0]};
Modes const all{cbc[0], cfb[0], ofb[0], gcm[0], ctr[0]};

std::string const noContext = "Fail to create EVP_CIPHER_CTXUPtr; the given raw pointer is NULL";
std::string const noMode = "Failed to get the OpenSSL cipher. Unsupported AES mode";
std::string const noIVLength = "Failed to initialize the IV length in OpenSSL";
std::string const noEncryption = "Failed to initialize cipher context in standard AES encryption.";
std::string const noDecryption = "Failed to initialize cipher context in standard AES decryption.";
std::string const noGCMEncryption = "Failed to initialize cipher context in AES-GCM encryption.";
std::string const noGCMDecryption = "Failed to initialize cipher context in AES-GCM decryption.";
std::string const noEncryptionKey = "Failed to initialize key and iv context in AES-GCM encryption.";
std::string const noDecryptionKey = "Failed to initialize key and iv context in AES-GCM decryption.";
std::string const notEncrypted = "Failed to encrypt data";
std::string const notDecrypted = "Failed to decrypt data";
std::string const noEncryptedEnd = "Failed to finalize encryption";
std::string const noDecryptedEnd = "Failed to finalize decryption";
std::string const wrongTag = "Tag verification failed or decryption error";

std::vector<Result> const notPositive{0, -1, made(0)};

// Nonces of 16 bytes, so the first control call of GCM sets their length and the second is the one of the tag.
std::vector<Fault> const faults{
    {"EncryptCipher", "EVP_aes_128_cbc", 1, over(cbc, encryptBuffer), noMode},
    {"EncryptCipher", "EVP_aes_128_cfb128", 1, over(cfb, encryptBuffer), noMode},
    {"EncryptCipher", "EVP_aes_128_ofb", 1, over(ofb, encryptBuffer), noMode},
    {"EncryptCipher", "EVP_aes_128_gcm", 1, over(gcm, encryptBuffer), noMode},
    {"EncryptCipher", "EVP_aes_128_ctr", 1, over(ctr, encryptBuffer), noMode},
    {"DecryptCipher", "EVP_aes_128_cbc", 1, over(cbc, decryptBuffer), noMode},
    {"DecryptCipher", "EVP_aes_128_gcm", 1, over(gcm, decryptBuffer), noMode},

    {"EncryptContext", "EVP_CIPHER_CTX_new", 1, over(all, encryptBuffer), noContext},
    {"EncryptInit", "EVP_EncryptInit_ex", 1, over(standard, encryptBuffer), noEncryption, notPositive},
    {"EncryptUpdate", "EVP_EncryptUpdate", 1, over(all, encryptBuffer), notEncrypted, notPositive},
    {"EncryptFinal", "EVP_EncryptFinal_ex", 1, over(standard, encryptBuffer), noEncryptedEnd, notPositive},
    {"EncryptInit", "EVP_EncryptInit_ex", 1, over(gcm, encryptBuffer), noGCMEncryption, notPositive},
    {"EncryptLength", "EVP_CIPHER_CTX_ctrl", 1, over(gcm, encryptBuffer), noIVLength, notPositive},
    {"EncryptKey", "EVP_EncryptInit_ex", 2, over(gcm, encryptBuffer), noEncryptionKey, notPositive},
    {"EncryptFinal", "EVP_EncryptFinal_ex", 1, over(gcm, encryptBuffer), notEncrypted, notPositive},
    {"EncryptTag", "EVP_CIPHER_CTX_ctrl", 2, over(gcm, encryptBuffer), "Failed to get GCM tag", notPositive},

    {"DecryptContext", "EVP_CIPHER_CTX_new", 1, over(all, decryptBuffer), noContext},
    {"DecryptInit", "EVP_DecryptInit_ex", 1, over(standard, decryptBuffer), noDecryption, notPositive},
    {"DecryptUpdate", "EVP_DecryptUpdate", 1, over(all, decryptBuffer), notDecrypted, notPositive},
    {"DecryptFinal", "EVP_DecryptFinal_ex", 1, over(standard, decryptBuffer), noDecryptedEnd, notPositive},
    {"DecryptInit", "EVP_DecryptInit_ex", 1, over(gcm, decryptBuffer), noGCMDecryption, notPositive},
    {"DecryptLength", "EVP_CIPHER_CTX_ctrl", 1, over(gcm, decryptBuffer), noIVLength, notPositive},
    {"DecryptKey", "EVP_DecryptInit_ex", 2, over(gcm, decryptBuffer), noDecryptionKey, notPositive},
    {"DecryptTag", "EVP_CIPHER_CTX_ctrl", 2, over(gcm, decryptBuffer), "Failed to set GCM tag", notPositive},
    {"DecryptFinal", "EVP_DecryptFinal_ex", 1, over(gcm, decryptBuffer), wrongTag, notPositive},

    {"EncryptStreamInit", "EVP_EncryptInit_ex", 1, over(standard, encryptStream), noEncryption, notPositive},
    {"EncryptStreamUpdate", "EVP_EncryptUpdate", 1, over(all, encryptStream), notEncrypted, notPositive},
    {"EncryptStreamFinal", "EVP_EncryptFinal_ex", 1, over(standard, encryptStream), noEncryptedEnd, notPositive},
    {"EncryptStreamFinal", "EVP_EncryptFinal_ex", 1, over(gcm, encryptStream), notEncrypted, notPositive},
    {"DecryptStreamInit", "EVP_DecryptInit_ex", 1, over(standard, decryptStream), noDecryption, notPositive},
    {"DecryptStreamUpdate", "EVP_DecryptUpdate", 1, over(all, decryptStream), notDecrypted, notPositive},
    {"DecryptStreamFinal", "EVP_DecryptFinal_ex", 1, over(standard, decryptStream), noDecryptedEnd, notPositive},
    {"DecryptStreamFinal", "EVP_DecryptFinal_ex", 1, over(gcm, decryptStream), wrongTag, notPositive},
};

class AESFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, AESFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(AESFaults, AreReportedInTheirOwnWords) {
    expectReported<InternalException>(GetParam());
}

TEST_P(AESFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

// Ciphers

TEST(AESCiphers, AreChosenByKeySizeAndMode) {
    std::vector<std::string> const names{"cbc", "cfb128", "ofb", "gcm", "ctr"}; // as the modes are numbered
    for (AESFactories const& factories : aesFactories()) {
        for (int value = 0; value < 5; ++value) {
            AESSetup const setup{ByteArray(factories.keyBytes()), iv, static_cast<AESMode>(value)};
            auto const encryptor = factories.createEncryptor(setup);
            auto const decryptor = factories.createDecryptor(setup);
            std::string const cipher = "EVP_aes_" + std::to_string(factories.bits) + "_" + names[std::size_t(value)];
            Recording const recording;
            decryptor->decrypt(encryptor->encrypt(message));
            EXPECT_EQ(recording.count(cipher), 2U) << cipher;
            EXPECT_EQ(recording.functions()[0], cipher);

            Failing const failing(cipher);
            EXPECT_THROWS(InternalException, noMode, encryptor->encrypt(message));
        }
    }
}

// Calls

TEST(AESCalls, OfTheStandardModesAreThoseThatTheWorkNeeds) {
    for (auto const& [name, mode] : standard) {
        for (auto const padding : {AESPaddingMode::PKCS7, AESPaddingMode::NoPadding, static_cast<AESPaddingMode>(2)}) {
            bool const isPadded = padding != AESPaddingMode::NoPadding;
            AESSetup const setup{key, iv, mode, padding};
            ByteArray const input(96);
            auto const encryptor = createAESEncryptor(setup);
            auto const decryptor = createAESDecryptor(setup);
            ByteArray encrypted;
            for (bool const encrypts : {true, false}) {
                SCOPED_TRACE(encrypts);
                std::string const prefix = encrypts ? "EVP_Encrypt" : "EVP_Decrypt";
                Recording const recording;
                encrypts ? encrypted = encryptor->encrypt(input) : decryptor->decrypt(encrypted);
                std::vector<std::string> functions = recording.functions();
                functions.erase(functions.begin()); // the cipher
                std::vector<std::string> expected{"EVP_CIPHER_CTX_new", prefix + "Init_ex", prefix + "Update",
                                                  prefix + "Final_ex", "EVP_CIPHER_CTX_free"};
                if (!isPadded) {
                    expected.insert(expected.begin() + 2, "EVP_CIPHER_CTX_set_padding");
                    EXPECT_EQ(recording.callsOf("EVP_CIPHER_CTX_set_padding").at(0).arguments[1], 0);
                }
                EXPECT_EQ(functions, expected);
                Call const init = recording.callsOf(prefix + "Init_ex").at(0);
                EXPECT_NE(init.arguments[1], 0);
                EXPECT_EQ(init.arguments[2], 0);
                Call const update = recording.callsOf(prefix + "Update").at(0);
                EXPECT_EQ(update.arguments[4], static_cast<std::intptr_t>(encrypts ? input.size() : encrypted.size()));
            }
        }
    }
}

TEST(AESCalls, OfGCMAreThoseThatTheWorkNeeds) {
    for (std::size_t const nonceSize : {8U, 12U, 16U, 20U}) {
        for (auto const padding : {AESPaddingMode::PKCS7, AESPaddingMode::NoPadding}) {
            AESSetup const setup{key, ByteArray(nonceSize), AESMode::GCM, padding};
            auto const encryptor = createAESEncryptor(setup);
            auto const decryptor = createAESDecryptor(setup);
            ByteArray encrypted;
            for (bool const encrypts : {true, false}) {
                SCOPED_TRACE(encrypts);
                std::string const prefix = encrypts ? "EVP_Encrypt" : "EVP_Decrypt";
                Recording const recording;
                encrypts ? encrypted = encryptor->encrypt(message) : decryptor->decrypt(encrypted);

                std::vector<std::string> expected{"EVP_aes_128_gcm", "EVP_CIPHER_CTX_new", prefix + "Init_ex"};
                std::vector<std::vector<std::intptr_t>> controls; // command and number
                if (nonceSize != 12) {
                    expected.emplace_back("EVP_CIPHER_CTX_ctrl");
                    controls.push_back({EVP_CTRL_GCM_SET_IVLEN, static_cast<std::intptr_t>(nonceSize)});
                }
                expected.insert(expected.end(), {prefix + "Init_ex", prefix + "Update"});
                if (encrypts) {
                    expected.insert(expected.end(), {prefix + "Final_ex", "EVP_CIPHER_CTX_ctrl"});
                    controls.push_back({EVP_CTRL_GCM_GET_TAG, 16});
                } else {
                    expected.insert(expected.end(), {"EVP_CIPHER_CTX_ctrl", prefix + "Final_ex"});
                    controls.push_back({EVP_CTRL_GCM_SET_TAG, 16});
                }
                expected.emplace_back("EVP_CIPHER_CTX_free");
                EXPECT_EQ(recording.functions(), expected);

                auto const found = recording.callsOf("EVP_CIPHER_CTX_ctrl");
                ASSERT_EQ(found.size(), controls.size());
                for (std::size_t at = 0; at < found.size(); ++at) {
                    EXPECT_EQ(found[at].arguments[1], controls[at][0]);
                    EXPECT_EQ(found[at].arguments[2], controls[at][1]);
                }
                auto const inits = recording.callsOf(prefix + "Init_ex");
                EXPECT_NE(inits[0].arguments[1], 0);
                EXPECT_EQ(inits[0].arguments[3], 0);
                EXPECT_EQ(inits[0].arguments[4], 0);
                EXPECT_EQ(inits[1].arguments[1], 0);
                EXPECT_NE(inits[1].arguments[3], 0);
                EXPECT_NE(inits[1].arguments[4], 0);
                EXPECT_EQ(recording.callsOf(prefix + "Update").at(0).arguments[4], 100);
            }
        }
    }
}

// Order of the checks

TEST(AESChecks, ComeInTheOrderOfTheWork) {
    ByteArray const longNonce(129);
    AESSetup const setup{key, longNonce, AESMode::GCM};
    // The length of the nonce before the length of the message,
    EXPECT_THROWS(InternalException, noIVLength, createAESDecryptor(setup)->decrypt(ByteArray(3)));
    {
        // the cipher before the context,
        Failing const cipher("EVP_aes_128_gcm");
        EXPECT_THROWS(InternalException, noMode, createAESDecryptor(setup)->decrypt(ByteArray(3)));
    }
    {
        // the first initialisation before the nonce's length,
        Failing const init("EVP_DecryptInit_ex");
        EXPECT_THROWS(InternalException, noGCMDecryption, createAESDecryptor(setup)->decrypt(ByteArray(3)));
    }
    {
        // key and nonce before the length of the message,
        Failing const keyed("EVP_DecryptInit_ex", 2);
        EXPECT_THROWS(InternalException, noDecryptionKey,
                      createAESDecryptor({key, iv, AESMode::GCM})->decrypt(ByteArray(3)));
    }
    // and that before anything is decrypted.
    Recording const recording;
    EXPECT_THROWS(InternalException, "Input data is smaller than the tag size",
                  createAESDecryptor({key, iv, AESMode::GCM})->decrypt(ByteArray(15)));
    EXPECT_EQ(recording.count("EVP_DecryptUpdate"), 0U);
}

// Construction

TEST(AESConstruction, DrawsA16ByteVectorOnlyWhenThereIsNone) {
    auto const prng = CryptoProvider().createDefaultCryptoPRNG({});
    for (AESFactories const& factories : aesFactories()) {
        ByteArray const anyKey(factories.keyBytes());
        for (auto const& [name, mode] : all) {
            Recording const recording;
            factories.createEncryptor({anyKey, {}, mode, AESPaddingMode::PKCS7, prng});
            factories.createDecryptor({anyKey, {}, mode, AESPaddingMode::PKCS7, prng});
            auto const draws = recording.callsOf("RAND_bytes");
            ASSERT_EQ(draws.size(), 2U);
            EXPECT_EQ(draws[0].arguments[1], 16);
            EXPECT_EQ(draws[1].arguments[1], 16);
            factories.createEncryptor({anyKey, iv, mode, AESPaddingMode::PKCS7, prng});
            EXPECT_EQ(recording.count("RAND_bytes"), 2U);
            EXPECT_EQ(recording.count("EVP_CIPHER_CTX_new"), 0U);
        }
    }
}

TEST(AESConstruction, UsesTheVectorThatWasDrawn) {
    auto const prng = CryptoProvider().createDefaultCryptoPRNG({});
    Replacing<decltype(RAND_bytes)> const fixed("RAND_bytes", [](auto /*real*/, unsigned char* data, int size) {
        std::copy(iv.begin(), iv.begin() + size, data);
        return 1;
    });
    for (AESFactories const& factories : aesFactories()) {
        ByteArray const anyKey(factories.keyBytes());
        for (auto const& [name, mode] : all) {
            ByteArray const expected = factories.createEncryptor({anyKey, iv, mode})->encrypt(message);
            AESSetup const drawing{anyKey, {}, mode, AESPaddingMode::PKCS7, prng};
            EXPECT_EQ(factories.createEncryptor(drawing)->encrypt(message), expected);
            EXPECT_EQ(factories.createDecryptor(drawing)->decrypt(expected), message);
        }
    }
}

TEST(AESConstruction, FailsWithTheGenerator) {
    auto const prng = CryptoProvider().createDefaultCryptoPRNG({});
    Failing const failing("RAND_bytes");
    EXPECT_THROWS(InternalException, "Unable to generate random bytes. Error=No OpenSSL errors.",
                  createAESEncryptor({key, {}, AESMode::CBC, AESPaddingMode::PKCS7, prng}));
}

} // namespace
