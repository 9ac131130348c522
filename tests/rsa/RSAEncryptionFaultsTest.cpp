#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Faults.h"
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
std::vector<RSAPaddingMode> const all{oaep1, oaep256, oaep512, pkcs1};
std::vector<RSAPaddingMode> const oaep{oaep1, oaep256, oaep512};

RSAKeyUser const& user() {
    return rsaTestKeyUser(2048);
}

ByteArray encrypted(RSAPaddingMode padding) {
    static std::map<RSAPaddingMode, ByteArray> blocks;
    return blocks.try_emplace(padding, user().encryptor(padding)->encrypt(bytes("message"))).first->second;
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

// What an operation is given is made before, so that no call but its own counts.
using Operation = std::function<void()>;

Operation encryptBlock(RSAPaddingMode padding) {
    return [encryptor = user().encryptor(padding)] { encryptor->encrypt(bytes("message")); };
}

Operation encryptStream(RSAPaddingMode padding) {
    return [encryptor = user().encryptor(padding)] {
        std::istringstream input("message");
        CountingBuffer buffer;
        std::ostream output(&buffer);
        encryptor->encrypt(input, output);
    };
}

Operation decryptBlock(RSAPaddingMode padding) {
    return [decryptor = user().decryptor(padding), block = encrypted(padding)] { decryptor->decrypt(block); };
}

Operation decryptStream(RSAPaddingMode padding) {
    return [decryptor = user().decryptor(padding), block = text(encrypted(padding))] {
        std::istringstream input(block);
        CountingBuffer buffer;
        std::ostream output(&buffer);
        decryptor->decrypt(input, output);
    };
}

struct Fault {
    std::string name;
    std::string call;
    int nth;
    std::intptr_t result; // of the failing call
    std::vector<std::function<Operation(RSAPaddingMode)>> operations;
    std::vector<RSAPaddingMode> paddings;
    std::string text;
};

std::vector<Fault> const faults{
    {"NoContext",
     "EVP_PKEY_CTX_new",
     1,
     0,
     {encryptBlock, encryptStream, decryptBlock, decryptStream},
     all,
     "Fail to create EVP_PKEY_CTXUPtr; the given raw pointer is NULL"},

    {"EncryptInit0",
     "EVP_PKEY_encrypt_init",
     1,
     0,
     {encryptBlock, encryptStream},
     all,
     "Failed to initializing the EVP_PKEY_CTX for the encryptor."},
    {"EncryptInitMinus2",
     "EVP_PKEY_encrypt_init",
     1,
     -2,
     {encryptBlock},
     {oaep1},
     "Failed to initializing the EVP_PKEY_CTX for the encryptor."},
    {"EncryptHash0",
     "EVP_PKEY_CTX_set_rsa_oaep_md",
     1,
     0,
     {encryptBlock, encryptStream},
     oaep,
     "Failed to set the RSA padding mode for the encryptor."},
    {"EncryptHashMinus2",
     "EVP_PKEY_CTX_set_rsa_oaep_md",
     1,
     -2,
     {encryptBlock},
     {oaep1},
     "Failed to set the RSA padding mode for the encryptor."},
    {"EncryptPadding0",
     "EVP_PKEY_CTX_set_rsa_padding",
     1,
     0,
     {encryptBlock, encryptStream},
     all,
     "Failed to set the RSA padding mode for the encryptor."},
    {"EncryptPaddingMinus2",
     "EVP_PKEY_CTX_set_rsa_padding",
     1,
     -2,
     {encryptBlock},
     all,
     "Failed to set the RSA padding mode for the encryptor."},
    {"EncryptSize0",
     "EVP_PKEY_encrypt",
     1,
     0,
     {encryptBlock, encryptStream},
     all,
     "Failed to obtain the output length for encryption."},
    {"EncryptSizeMinus1",
     "EVP_PKEY_encrypt",
     1,
     -1,
     {encryptBlock},
     {oaep1},
     "Failed to obtain the output length for encryption."},
    {"Encrypt0",
     "EVP_PKEY_encrypt",
     2,
     0,
     {encryptBlock, encryptStream},
     all,
     "EVP_PKEY_encrypt failed to generate the encrypted text. Please try using streams for this operation."},
    {"EncryptMinus1",
     "EVP_PKEY_encrypt",
     2,
     -1,
     {encryptBlock},
     {oaep1},
     "EVP_PKEY_encrypt failed to generate the encrypted text. Please try using streams for this operation."},

    {"DecryptInit0",
     "EVP_PKEY_decrypt_init",
     1,
     0,
     {decryptBlock, decryptStream},
     all,
     "Failed to initializing the EVP_PKEY_CTX for the decryptor."},
    {"DecryptInitMinus2",
     "EVP_PKEY_decrypt_init",
     1,
     -2,
     {decryptBlock},
     {oaep1},
     "Failed to initializing the EVP_PKEY_CTX for the decryptor."},
    {"DecryptHash0",
     "EVP_PKEY_CTX_set_rsa_oaep_md",
     1,
     0,
     {decryptBlock, decryptStream},
     oaep,
     "Failed to set the RSA padding mode for the decryptor."},
    {"DecryptHashMinus2",
     "EVP_PKEY_CTX_set_rsa_oaep_md",
     1,
     -2,
     {decryptBlock},
     {oaep1},
     "Failed to set the RSA padding mode for the decryptor."},
    {"DecryptPadding0",
     "EVP_PKEY_CTX_set_rsa_padding",
     1,
     0,
     {decryptBlock, decryptStream},
     all,
     "Failed to set the RSA padding mode for the decryptor."},
    {"DecryptPaddingMinus2",
     "EVP_PKEY_CTX_set_rsa_padding",
     1,
     -2,
     {decryptBlock},
     all,
     "Failed to set the RSA padding mode for the decryptor."},
    {"DecryptSize0",
     "EVP_PKEY_decrypt",
     1,
     0,
     {decryptBlock, decryptStream},
     all,
     "Failed to obtain the output length for decryption."},
    {"DecryptSizeMinus1",
     "EVP_PKEY_decrypt",
     1,
     -1,
     {decryptBlock},
     {oaep1},
     "Failed to obtain the output length for decryption."},
    {"Decrypt0",
     "EVP_PKEY_decrypt",
     2,
     0,
     {decryptBlock, decryptStream},
     all,
     "EVP_PKEY_decrypt failed to generate the decrypted text."},
    {"DecryptMinus1",
     "EVP_PKEY_decrypt",
     2,
     -1,
     {decryptBlock},
     {oaep1},
     "EVP_PKEY_decrypt failed to generate the decrypted text."},

    {"EncryptKeyWithoutSize",
     "EVP_PKEY_get_size",
     1,
     0,
     {encryptStream},
     all,
     "chunkLength exceeds maximum ByteArray size"},
    {"EncryptKeyOfNegativeSize",
     "EVP_PKEY_get_size",
     1,
     -1,
     {encryptStream},
     all,
     "chunkLength exceeds maximum ByteArray size"},
    {"EncryptKeyAsLargeAsThePadding",
     "EVP_PKEY_get_size",
     1,
     42,
     {encryptStream},
     {oaep1},
     "chunkLength must be greater than zero"},
    {"EncryptKeyAsLargeAsThePKCS1Padding",
     "EVP_PKEY_get_size",
     1,
     11,
     {encryptStream},
     {pkcs1},
     "chunkLength must be greater than zero"},
    {"DecryptKeyWithoutSize", "EVP_PKEY_get_size", 1, 0, {decryptStream}, all, "chunkLength must be greater than zero"},
    {"DecryptKeyOfNegativeSize",
     "EVP_PKEY_get_size",
     1,
     -1,
     {decryptStream},
     all,
     "chunkLength exceeds maximum ByteArray size"},
};

class RSAEncryptionFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, RSAEncryptionFaults, testing::ValuesIn(faults),
                         [](auto const& row) { return row.param.name; });

TEST_P(RSAEncryptionFaults, AreReportedInTheirOwnWordsAndLeakNothing) {
    for (auto const& makeOperation : GetParam().operations) {
        for (RSAPaddingMode const padding : GetParam().paddings) {
            Operation const operation = makeOperation(padding);
            Recording const recording;
            Failing failing(GetParam().call, GetParam().nth);
            failing.returning(GetParam().result).withError("libcrypto's own words do not follow");
            EXPECT_THROWS(InternalException, GetParam().text, operation());
            std::size_t const failedCreations = GetParam().call == "EVP_PKEY_CTX_new" ? 1 : 0;
            EXPECT_EQ(recording.count("EVP_PKEY_CTX_free"), recording.count("EVP_PKEY_CTX_new") - failedCreations);
        }
    }
}

TEST(RSAEncryptionFault, OfTheGeneratorIsReportedInItsOwnWords) {
    for (auto const& makeOperation : {encryptBlock, encryptStream, decryptBlock, decryptStream}) {
        for (RSAPaddingMode const padding : all) {
            Operation const operation = makeOperation(padding);
            Recording const recording;
            Failing const failing("RAND_bytes");
            EXPECT_THROWS(InternalException, "Unable to generate random bytes. Error=No OpenSSL errors.", operation());
            EXPECT_EQ(recording.count("RAND_seed"), 0U);
            EXPECT_EQ(recording.count("EVP_PKEY_encrypt") + recording.count("EVP_PKEY_decrypt"), 0U);
        }
    }
}

TEST(RSAEncryptionFault, InMidStreamLeavesTheBlocksBefore) {
    std::string const message(3 * 214, 'a');
    std::istringstream input(message);
    std::ostringstream output;
    {
        Failing const failing("EVP_PKEY_encrypt", 6); // the third block's second call
        EXPECT_THROWS_PREFIX(InternalException, "EVP_PKEY_encrypt failed",
                             user().encryptor(oaep1)->encrypt(input, output));
    }
    EXPECT_EQ(output.str().size(), 2U * 256U);
    std::istringstream cipherText(output.str());
    std::ostringstream plainText;
    Failing const failing("EVP_PKEY_CTX_new", 2);
    EXPECT_THROWS_PREFIX(InternalException, "Fail to create EVP_PKEY_CTXUPtr",
                         user().decryptor(oaep1)->decrypt(cipherText, plainText));
    EXPECT_EQ(plainText.str(), message.substr(0, 214));
}

TEST(RSAEncryptionCalls, AreThoseThatTheWorkNeeds) {
    auto const expectCalls = [](Operation const& operation, RSAPaddingMode padding, std::string const& initialize,
                                std::string const& transform, bool stream) {
        Recording const recording;
        operation();
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
    for (RSAPaddingMode const padding : all) {
        expectCalls(encryptBlock(padding), padding, "EVP_PKEY_encrypt_init", "EVP_PKEY_encrypt", false);
        expectCalls(encryptStream(padding), padding, "EVP_PKEY_encrypt_init", "EVP_PKEY_encrypt", true);
        expectCalls(decryptBlock(padding), padding, "EVP_PKEY_decrypt_init", "EVP_PKEY_decrypt", false);
        expectCalls(decryptStream(padding), padding, "EVP_PKEY_decrypt_init", "EVP_PKEY_decrypt", true);
    }
}

TEST(RSAEncryptionCalls, GiveOAEPItsHash) {
    struct {
        RSAPaddingMode padding;
        EVP_MD const* digest;
    } const rows[]{{oaep1, EVP_sha1()}, {oaep256, EVP_sha256()}, {oaep512, EVP_sha512()}};

    for (auto const& [padding, digest] : rows) {
        Operation const operation = encryptBlock(padding);
        Recording const recording;
        operation();
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
    } const rows[]{
        {"EVP_PKEY_encrypt",
         "EVP_PKEY_encrypt failed to generate the encrypted text. Please try using streams for this operation.",
         "Failed to obtain the output length for encryption.",
         [](RSAPaddingMode padding, ByteArray const& block) { user().encryptor(padding)->encrypt(block); }},
        {"EVP_PKEY_decrypt", "EVP_PKEY_decrypt failed to generate the decrypted text.",
         "Failed to obtain the output length for decryption.",
         [](RSAPaddingMode padding, ByteArray const& block) { user().decryptor(padding)->decrypt(block); }}};

    for (auto const& [transform, text, unknownSize, operation] : rows) {
        for (RSAPaddingMode const padding : all) {
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
    for (auto const& makeOperation : {encryptBlock, encryptStream, decryptBlock, decryptStream}) {
        Operation const operation = makeOperation(oaep1);
        ReleaseWatch const watch(ByteArray(16, 0x5a));
        operation();
        EXPECT_GT(watch.blocks(), 0U);
        EXPECT_EQ(watch.blocksWithSecret(), 0U);
    }
}

// Allocations of the library

TEST(RSAEncryptionAllocations, ThatFailAreReported) {
    for (auto const& makeOperation : {encryptBlock, encryptStream, decryptBlock, decryptStream}) {
        Operation const operation = makeOperation(oaep1);
        int failures = 0;
        for (;; ++failures) {
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
