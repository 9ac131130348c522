#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/RSA.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <cstring>
#include <functional>
#include <new>
#include <sstream>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

constexpr RSAPaddingMode oaep1 = RSAPaddingMode::OAEP_SHA1;
constexpr RSAPaddingMode oaep256 = RSAPaddingMode::OAEP_SHA256;
constexpr RSAPaddingMode oaep512 = RSAPaddingMode::OAEP_SHA512;
constexpr RSAPaddingMode pkcs1 = RSAPaddingMode::PKCS1_V1_5;

using Paddings = std::vector<Named<RSAPaddingMode>>;

Paddings const oaep{{"OAEP_SHA1", oaep1}, {"OAEP_SHA256", oaep256}, {"OAEP_SHA512", oaep512}};
Paddings const withPKCS1{{"PKCS1_V1_5", pkcs1}};
Paddings const withOAEP1{oaep[0]};
Paddings const all{oaep[0], oaep[1], oaep[2], withPKCS1[0]};

RSAKeyUser const& user() {
    return rsaTestKeyUser(2048);
}

ByteArray const& encrypted(RSAPaddingMode padding) {
    static std::map<RSAPaddingMode, ByteArray> blocks;
    ByteArray& block = blocks[padding];
    if (block.empty()) {
        block = user().encryptor(padding)->encrypt(bytes("message"));
    }
    return block;
}

/// Counts what is written and keeps nothing of it.
class CountingBuffer : public std::streambuf {
public:
    std::size_t count = 0;

protected:
    int_type overflow(int_type character) override {
        ++count;
        return character;
    }

    std::streamsize xsputn(char const* /*data*/, std::streamsize size) override {
        count += static_cast<std::size_t>(size);
        return size;
    }
};

void encryptBlock(RSAPaddingMode padding) {
    user().encryptor(padding)->encrypt(bytes("message"));
}

void encryptStream(RSAPaddingMode padding) {
    std::istringstream input("message");
    CountingBuffer buffer;
    std::ostream output(&buffer);
    user().encryptor(padding)->encrypt(input, output);
}

void decryptBlock(RSAPaddingMode padding) {
    user().decryptor(padding)->decrypt(encrypted(padding));
}

void decryptStream(RSAPaddingMode padding) {
    std::istringstream input(text(encrypted(padding)));
    CountingBuffer buffer;
    std::ostream output(&buffer);
    user().decryptor(padding)->decrypt(input, output);
}

Variants encryptions(Paddings const& paddings) {
    return over(paddings, {{"Block", encryptBlock}, {"Stream", encryptStream}});
}

Variants decryptions(Paddings const& paddings) {
    return over(paddings, {{"Block", decryptBlock}, {"Stream", decryptStream}});
}

std::string const noContext = "Fail to create EVP_PKEY_CTXUPtr; the given raw pointer is NULL";
std::string const notRandom = "Unable to generate random bytes. Error=";
std::string const noEncryption = "Failed to initializing the EVP_PKEY_CTX for the encryptor.";
std::string const noEncryptionPadding = "Failed to set the RSA padding mode for the encryptor.";
std::string const noEncryptedSize = "Failed to obtain the output length for encryption.";
std::string const notEncrypted =
    "EVP_PKEY_encrypt failed to generate the encrypted text. Please try using streams for this operation.";
std::string const noDecryption = "Failed to initializing the EVP_PKEY_CTX for the decryptor.";
std::string const noDecryptionPadding = "Failed to set the RSA padding mode for the decryptor.";
std::string const noDecryptedSize = "Failed to obtain the output length for decryption.";
std::string const notDecrypted = "EVP_PKEY_decrypt failed to generate the decrypted text.";
std::string const tooLarge = "chunkLength exceeds maximum ByteArray size";
std::string const notPositiveSize = "chunkLength must be greater than zero";

std::vector<Result> const notPositive{0, -1, -2, made(0)};

std::vector<Fault> const faults{
    {"EncryptContext", "EVP_PKEY_CTX_new", 1, encryptions(all), noContext},
    {"EncryptInit", "EVP_PKEY_encrypt_init", 1, encryptions(all), noEncryption, notPositive},
    {"EncryptHash", "EVP_PKEY_CTX_set_rsa_oaep_md", 1, encryptions(oaep), noEncryptionPadding, notPositive},
    {"EncryptPadding", "EVP_PKEY_CTX_set_rsa_padding", 1, encryptions(all), noEncryptionPadding, notPositive},
    {"EncryptSeed", "RAND_bytes", 1, encryptions(all), notRandom, asUsual, true},
    {"EncryptSize", "EVP_PKEY_encrypt", 1, encryptions(all), noEncryptedSize, notPositive},
    {"Encrypt", "EVP_PKEY_encrypt", 2, encryptions(all), notEncrypted, notPositive},
    {"EncryptKeyWithoutSize", "EVP_PKEY_get_size", 1, over(all, encryptStream), tooLarge, {0, -1}},
    {"EncryptKeyOfPaddingsSize", "EVP_PKEY_get_size", 1, over(withOAEP1, encryptStream), notPositiveSize, {42}},
    {"EncryptKeyOfPaddingsSize", "EVP_PKEY_get_size", 1, over(withPKCS1, encryptStream), notPositiveSize, {11}},

    {"DecryptContext", "EVP_PKEY_CTX_new", 1, decryptions(all), noContext},
    {"DecryptInit", "EVP_PKEY_decrypt_init", 1, decryptions(all), noDecryption, notPositive},
    {"DecryptHash", "EVP_PKEY_CTX_set_rsa_oaep_md", 1, decryptions(oaep), noDecryptionPadding, notPositive},
    {"DecryptPadding", "EVP_PKEY_CTX_set_rsa_padding", 1, decryptions(all), noDecryptionPadding, notPositive},
    {"DecryptSeed", "RAND_bytes", 1, decryptions(all), notRandom, asUsual, true},
    {"DecryptSize", "EVP_PKEY_decrypt", 1, decryptions(all), noDecryptedSize, notPositive},
    {"Decrypt", "EVP_PKEY_decrypt", 2, decryptions(all), notDecrypted, notPositive},
    {"DecryptKeyWithoutSize", "EVP_PKEY_get_size", 1, over(all, decryptStream), notPositiveSize, {0}},
    {"DecryptKeyOfNegativeSize", "EVP_PKEY_get_size", 1, over(all, decryptStream), tooLarge, {-1}},
};

class RSAEncryptionFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, RSAEncryptionFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(RSAEncryptionFaults, AreReportedInTheirOwnWords) {
    expectReported<InternalException>(GetParam());
}

TEST_P(RSAEncryptionFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

TEST(RSAEncryptionFault, OfTheGeneratorStopsTheWork) {
    for (Variants const& operations : {encryptions(all), decryptions(all)}) {
        for (auto const& [name, operation] : operations.all()) {
            operation(); // the key and the block are there
            Recording const recording;
            Failing const failing("RAND_bytes");
            catchFrom(operation);
            EXPECT_EQ(recording.count("RAND_seed"), 0U) << name;
            EXPECT_EQ(recording.count("EVP_PKEY_encrypt") + recording.count("EVP_PKEY_decrypt"), 0U) << name;
        }
    }
}

TEST(RSAEncryptionFault, InMidStreamLeavesTheBlocksBefore) {
    std::string const message(3 * 214, 'a');
    std::istringstream input(message);
    std::ostringstream output;
    {
        Failing const failing("EVP_PKEY_encrypt", 6); // the third block's second call
        EXPECT_THROWS(InternalException, notEncrypted, user().encryptor(oaep1)->encrypt(input, output));
    }
    EXPECT_EQ(output.str().size(), 2U * 256U);
    std::istringstream cipherText(output.str());
    std::ostringstream plainText;
    Failing const failing("EVP_PKEY_CTX_new", 2);
    EXPECT_THROWS(InternalException, noContext, user().decryptor(oaep1)->decrypt(cipherText, plainText));
    EXPECT_EQ(plainText.str(), message.substr(0, 214));
}

TEST(RSAEncryptionCalls, AreThoseThatTheWorkNeeds) {
    auto const expectCalls = [](auto* operation, RSAPaddingMode padding, std::string const& initialize,
                                std::string const& transform, bool stream) {
        operation(padding); // the key and the block are there
        Recording const recording;
        operation(padding);
        std::vector<std::string> expected;
        if (stream) {
            expected.push_back("EVP_PKEY_get_size");
        }
        expected.insert(expected.end(), {"EVP_PKEY_CTX_new", initialize});
        if (padding != pkcs1) {
            expected.push_back("EVP_PKEY_CTX_set_rsa_oaep_md");
        }
        expected.insert(expected.end(), {"EVP_PKEY_CTX_set_rsa_padding", "RAND_bytes", "RAND_seed", transform,
                                         transform, "EVP_PKEY_CTX_free"});
        EXPECT_EQ(recording.functions(), expected);

        EXPECT_EQ(recording.callsOf("EVP_PKEY_CTX_set_rsa_padding").at(0).arguments.at(1),
                  padding == pkcs1 ? RSA_PKCS1_PADDING : RSA_PKCS1_OAEP_PADDING);
        std::vector<std::intptr_t> const drawn = recording.callsOf("RAND_bytes").at(0).arguments;
        EXPECT_EQ(drawn.at(1), 32);
        EXPECT_EQ(recording.callsOf("RAND_seed").at(0).arguments, drawn); // the very bytes
        EXPECT_EQ(recording.callsOf(transform).at(0).arguments.at(1), 0);
        EXPECT_NE(recording.callsOf(transform).at(1).arguments.at(1), 0);
    };
    for (auto const& [name, padding] : all) {
        expectCalls(encryptBlock, padding, "EVP_PKEY_encrypt_init", "EVP_PKEY_encrypt", false);
        expectCalls(encryptStream, padding, "EVP_PKEY_encrypt_init", "EVP_PKEY_encrypt", true);
        expectCalls(decryptBlock, padding, "EVP_PKEY_decrypt_init", "EVP_PKEY_decrypt", false);
        expectCalls(decryptStream, padding, "EVP_PKEY_decrypt_init", "EVP_PKEY_decrypt", true);
    }
}

TEST(RSAEncryptionCalls, GiveOAEPItsHash) {
    struct {
        RSAPaddingMode padding;
        EVP_MD const* digest;
    } const rows[]{{oaep1, EVP_sha1()}, {oaep256, EVP_sha256()}, {oaep512, EVP_sha512()}};

    for (auto const& [padding, digest] : rows) {
        Recording const recording;
        encryptBlock(padding);
        EXPECT_EQ(recording.callsOf("EVP_PKEY_CTX_set_rsa_oaep_md").at(0).arguments.at(1), asNumber(digest));
    }
}

TEST(RSAEncryptionCalls, SeedAnewForEachBlock) {
    auto const encryptor = user().encryptor(pkcs1);
    std::istringstream input(std::string(600, 'a'));
    std::ostringstream output;
    Recording const recording;
    encryptor->encrypt(input, output);
    EXPECT_EQ(recording.count("RAND_seed"), 3U);
    std::vector<std::intptr_t> sizes;
    for (Call const& call : recording.callsOf("EVP_PKEY_encrypt")) {
        sizes.push_back(call.arguments.at(4));
    }
    EXPECT_EQ(sizes, (std::vector<std::intptr_t>{245, 245, 245, 245, 110, 110}));
}

TEST(RSAEncryptionCalls, AreNoneForAnEmptyStreamButTheSizeOfABlock) {
    for (bool const decrypts : {false, true}) {
        auto const encryptor = user().encryptor(oaep1);
        auto const decryptor = user().decryptor(oaep1);
        std::istringstream input;
        std::ostringstream output;
        Recording const recording;
        decrypts ? decryptor->decrypt(input, output) : encryptor->encrypt(input, output);
        EXPECT_EQ(recording.functions(), std::vector<std::string>{"EVP_PKEY_get_size"});
    }
}

TEST(RSAEncryptionCalls, StopBeforeSeedingWhenThePaddingIsUnknown) {
    auto const encryptor = user().encryptor(rsaPadding(5));
    auto const decryptor = user().decryptor(rsaPadding(5));
    Recording const recording;
    catchFrom([&] { encryptor->encrypt(bytes("message")); });
    catchFrom([&] { decryptor->decrypt(bytes("message")); });
    EXPECT_EQ(recording.functions(),
              (std::vector<std::string>{"EVP_PKEY_CTX_new", "EVP_PKEY_encrypt_init", "EVP_PKEY_CTX_free",
                                        "EVP_PKEY_CTX_new", "EVP_PKEY_decrypt_init", "EVP_PKEY_CTX_free"}));
}

// libcrypto cuts sizes to 32 bits, and writes past its buffer for a message of 2 GiB.
TEST(RSAEncryptionCalls, NeverSeeMoreThanTheModulusHas) {
    struct {
        std::string transform;
        std::string text;
        std::string unknownSize;
        std::function<void(RSAPaddingMode, ByteArray const&)> operation;
    } const rows[]{{"EVP_PKEY_encrypt", notEncrypted, noEncryptedSize,
                    [](RSAPaddingMode padding, ByteArray const& block) { user().encryptor(padding)->encrypt(block); }},
                   {"EVP_PKEY_decrypt", notDecrypted, noDecryptedSize,
                    [](RSAPaddingMode padding, ByteArray const& block) { user().decryptor(padding)->decrypt(block); }}};

    for (auto const& [transform, text, unknownSize, operation] : rows) {
        for (auto const& [name, padding] : all) {
            for (std::size_t const size : {256U, 257U, 512U, 100000U}) {
                ByteArray const block(size, 0xff); // no number below the modulus
                Recording const recording;
                EXPECT_THROWS(InternalException, text, operation(padding, block));
                std::vector<Call> const calls = recording.callsOf(transform);
                EXPECT_EQ(calls.size(), size == 256 ? 2U : 1U); // the one that asks for the result's size is made
                for (Call const& call : calls) {
                    EXPECT_EQ(call.arguments.at(4), 256);
                }
                EXPECT_EQ(recording.count("RAND_seed"), 1U);
                ERR_clear_error();
            }
            Failing const failing(transform); // of too many bytes this is told first
            EXPECT_THROWS(InternalException, unknownSize, operation(padding, ByteArray(257)));
        }
    }
}

TEST(RSAEncryptionCalls, TakeTheFinalSizeOfTheResult) {
    Replacing<decltype(EVP_PKEY_encrypt)> const shrinking(
        "EVP_PKEY_encrypt", [](auto real, EVP_PKEY_CTX* context, unsigned char* out, std::size_t* outSize,
                               unsigned char const* in, std::size_t size) {
            int const result = real(context, out, outSize, in, size);
            *outSize = out == nullptr ? *outSize : 100;
            return result;
        });
    EXPECT_EQ(user().encryptor(oaep1)->encrypt(bytes("message")).size(), 100U);
}

// Secrets

TEST(RSAEncryptionSecrets, AreWipedWhereTheyWereOurs) {
    // A stream buffer of the host's that needs no heap.
    struct FixedBuffer : std::streambuf {
        explicit FixedBuffer(std::string& content) {
            setg(content.data(), content.data(), content.data() + content.size());
        }
    };

    std::string plainText = text(pseudoRandomBytes(500, 7));
    ByteArray const part =
        bytes(plainText.substr(214 + 100, 16)); // of the second block, where the third does not reach
    std::ostringstream cipherOutput;
    {
        FixedBuffer buffer(plainText);
        std::istream input(&buffer);
        ReleaseWatch const watch(part);
        user().encryptor(oaep1)->encrypt(input, cipherOutput);
        EXPECT_GT(watch.blocks(), 0U);
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
    }
    std::string cipherText = cipherOutput.str();
    for (bool const fails : {false, true}) {
        FixedBuffer buffer(cipherText);
        std::istream input(&buffer);
        CountingBuffer counting;
        std::ostream output(&counting);
        auto const decryptor = user().decryptor(oaep1);
        ReleaseWatch const watch(part);
        if (fails) {
            Failing const failing("EVP_PKEY_decrypt", 6);
            catchFrom([&] { decryptor->decrypt(input, output); });
        } else {
            decryptor->decrypt(input, output);
        }
        EXPECT_EQ(counting.count, fails ? 428U : 500U);
        EXPECT_GT(watch.blocks(), 0U);
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
    }
}

TEST(RSAEncryptionSecrets, IncludeTheSeed) {
    Replacing<decltype(RAND_bytes)> const known("RAND_bytes", [](auto /*real*/, unsigned char* data, int size) {
        std::memset(data, 0x5a, static_cast<std::size_t>(size));
        return 1;
    });
    for (auto const operation : {encryptBlock, encryptStream, decryptBlock, decryptStream}) {
        operation(oaep1); // the key and the block are there
        ReleaseWatch const watch(ByteArray(16, 0x5a));
        operation(oaep1);
        EXPECT_GT(watch.blocks(), 0U);
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
    }
}

// Allocations of the library

TEST(RSAEncryptionAllocations, ThatFailAreReported) {
    auto const encryptor = user().encryptor(oaep1);
    auto const decryptor = user().decryptor(oaep1);
    ByteArray const message = bytes("message");
    ByteArray const block = encrypted(oaep1);
    std::istringstream input;
    CountingBuffer buffer;
    std::ostream output(&buffer);
    std::function<void()> const operations[]{
        [&] { encryptor->encrypt(message); }, [&] { encryptor->encrypt(input, output); },
        [&] { decryptor->decrypt(block); }, [&] { decryptor->decrypt(input, output); }};

    for (auto const& operation : operations) {
        int failures = 0;
        for (;; ++failures) {
            input.str(text(block)); // two blocks to encrypt
            input.clear();
            FailingAllocation const failing(failures + 1);
            Thrown const thrown = catchFrom(operation);
            if (!failing.happened()) {
                EXPECT_EQ(thrown.type, "nothing");
                break;
            }
            EXPECT_EQ(thrown.text.rfind("std::bad_alloc", 0), 0U) << thrown.type << ": " << thrown.text;
        }
        EXPECT_GT(failures, 0);
    }
}

} // namespace
