// RSA signatures and encryption when libcrypto runs out of memory, at each of its allocations: the right answer, an
// exception of the library's family, or the invalid status. A program of its own, since it replaces libcrypto's heap.
#include "support/Bytes.h"
#include "support/LibcryptoHeap.h"
#include "support/RSA.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <functional>
#include <memory>
#include <sstream>

namespace {

using namespace support;
using foundation::crypto::utils::Exception;

constexpr RSAPaddingMode oaep = RSAPaddingMode::OAEP_SHA256;
constexpr RSAPaddingMode pkcs1 = RSAPaddingMode::PKCS1_V1_5;
constexpr RSAPaddingMode pss = RSAPaddingMode::PSS;

/// Prepares some work, with a key of its own, and runs it with each of its allocations by libcrypto failing. Returns
/// how many results were not right; an exception of the library's family is no result.
template <class Prepare, class IsRight> int countWrong(Prepare const& prepare, IsRight const& isRight) {
    int wrong = 0;
    int const failures =
        failEachAfter(prepare, [&](auto const* result) { wrong += result == nullptr || isRight(*result) ? 0 : 1; });
    EXPECT_GT(failures, 0);
    return wrong;
}

DigestEnginePtr const sha256 = engineNamed("sha256");
ByteArray const message = bytes("message");

/// With a key that nothing has been done with.
RSAKeyUser newUser() {
    return makeRSAKeyUser(1024, readRSAKey(1024, "private.der"), readRSAKey(1024, "public.der"));
}

std::string runStream(std::function<void(std::istream&, std::ostream&)> const& operation, std::string const& content) {
    std::istringstream input(content);
    std::ostringstream output;
    operation(input, output);
    return output.str();
}

// What libcrypto does by itself

using Key = std::shared_ptr<EVP_PKEY>;

Key newBareKey() {
    ByteArray const der = readRSAKey(1024, "private.der");
    unsigned char const* start = der.data();
    return {d2i_AutoPrivateKey(nullptr, &start, static_cast<long>(der.size())), &EVP_PKEY_free};
}

void requireBare(bool succeeded) {
    if (!succeeded) {
        throw Exception("libcrypto failed");
    }
}

ByteArray signBare(EVP_PKEY* key, RSAPaddingMode padding) {
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> const context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    EVP_PKEY_CTX* keyContext = nullptr;
    std::size_t size = 128;
    ByteArray signature(size);
    requireBare(context != nullptr &&
                EVP_DigestSignInit_ex(context.get(), &keyContext, "sha256", nullptr, nullptr, key, nullptr) == 1);
    if (padding == pss) {
        requireBare(EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) > 0 &&
                    EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, 32) > 0);
    }
    requireBare(EVP_DigestSign(context.get(), signature.data(), &size, message.data(), message.size()) == 1);
    return signature;
}

ByteArray decryptBare(EVP_PKEY* key, ByteArray const& cipherText) {
    std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> const context(EVP_PKEY_CTX_new(key, nullptr),
                                                                              EVP_PKEY_CTX_free);
    ByteArray plainText(128);
    std::size_t size = plainText.size();
    requireBare(context != nullptr && EVP_PKEY_decrypt_init(context.get()) > 0 &&
                EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) > 0 &&
                EVP_PKEY_decrypt(context.get(), plainText.data(), &size, cipherText.data(), cipherText.size()) > 0);
    plainText.resize(size);
    return plainText;
}

// A failed allocation while libcrypto blinds the number can leave the key's blinding out of step: that signature is
// wrong, and so are those that follow with the key. We make no more of them than libcrypto does by itself.
TEST(RSAOutOfMemory, SignaturesAreThoseOfLibcrypto) {
    for (RSAPaddingMode const padding : {pkcs1, pss}) {
        auto const verifier = newUser().verifier(padding);
        auto const isRight = [&](ByteArray const& signature) {
            return verifier->verify(message, signature, sha256).isValid();
        };
        int const bareWrong =
            countWrong([&] { return [=, key = newBareKey()] { return signBare(key.get(), padding); }; }, isRight);
        int const wrong = countWrong(
            [&] { return [signer = newUser().signer(padding)] { return signer->sign(message, sha256); }; }, isRight);
        EXPECT_LE(wrong, bareWrong) << "padding " << static_cast<int>(padding);
    }
}

TEST(RSAOutOfMemory, WrongSignaturesAreNeverValid) {
    for (RSAPaddingMode const padding : {pkcs1, pss, rsaPadding(5)}) {
        ByteArray signature = newUser().signer(padding)->sign(message, sha256);
        auto const verify = [&] {
            return [&, verifier = newUser().verifier(padding)] {
                return verifier->verify(message, signature, sha256).isValid();
            };
        };
        int valid = 0;
        countWrong(verify, [&](bool isValid) { return valid += isValid ? 1 : 0, true; });
        EXPECT_GT(valid, 0); // at least with all allocations made
        signature[60] ^= 1U;
        EXPECT_EQ(countWrong(verify, [](bool isValid) { return !isValid; }), 0);
    }
}

TEST(RSAOutOfMemory, CipherTextsAreWholeOrNone) {
    for (RSAPaddingMode const padding : {oaep, pkcs1}) {
        auto const decryptor = newUser().decryptor(padding);
        int const wrongBlocks = countWrong(
            [&] { return [encryptor = newUser().encryptor(padding)] { return encryptor->encrypt(message); }; },
            [&](ByteArray const& cipherText) { return decryptor->decrypt(cipherText) == message; });
        EXPECT_EQ(wrongBlocks, 0);

        std::string const longMessage = text(pseudoRandomBytes(150));
        int const wrongStreams = countWrong(
            [&] {
                return [&, encryptor = newUser().encryptor(padding)] {
                    return runStream([&](auto& input, auto& output) { encryptor->encrypt(input, output); },
                                     longMessage);
                };
            },
            [&](std::string const& cipherText) {
                return runStream([&](auto& input, auto& output) { decryptor->decrypt(input, output); }, cipherText) ==
                       longMessage;
            });
        EXPECT_EQ(wrongStreams, 0);
    }
}

TEST(RSAOutOfMemory, PlainTextsOfOAEPAreRightOrNone) {
    ByteArray const cipherText = newUser().encryptor(oaep)->encrypt(message);
    int const wrong = countWrong(
        [&] { return [&, decryptor = newUser().decryptor(oaep)] { return decryptor->decrypt(cipherText); }; },
        [&](ByteArray const& plainText) { return plainText == message; });
    EXPECT_EQ(wrong, 0);
}

// Where an allocation fails, libcrypto can take a good block for one with a wrong padding, and answers it as such.
TEST(RSAOutOfMemory, PlainTextsOfPKCS1AreThoseOfLibcrypto) {
    ByteArray const cipherText = newUser().encryptor(pkcs1)->encrypt(message);
    auto const isRight = [&](ByteArray const& plainText) { return plainText == message; };
    int const bareWrong =
        countWrong([&] { return [&, key = newBareKey()] { return decryptBare(key.get(), cipherText); }; }, isRight);
    int const wrong = countWrong(
        [&] { return [&, decryptor = newUser().decryptor(pkcs1)] { return decryptor->decrypt(cipherText); }; },
        isRight);
    EXPECT_LE(wrong, bareWrong);
}

} // namespace
