#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/HostsMark.h"
#include "support/RSA.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

#include <map>
#include <new>
#include <sstream>

namespace {

using namespace support;
using namespace foundation::crypto::utils;

constexpr RSAPaddingMode pkcs1 = RSAPaddingMode::PKCS1_V1_5;
constexpr RSAPaddingMode pss = RSAPaddingMode::PSS;
RSAPaddingMode const unknown = rsaPadding(5);

using Paddings = std::vector<Named<RSAPaddingMode>>;

Paddings const withPSS{{"PSS", pss}};
Paddings const all{{"PKCS1_V1_5", pkcs1}, withPSS[0], {"Unknown", unknown}};

std::string const noContext = "Fail to create EVP_MD_CTXUPtr; the given raw pointer is NULL";
std::string const notInitialized = "Failed to initialize the digest for signing.";
std::string const noKeyContext = "Failed to get the OpenSSL pkey context for signing.";
std::string const noSalt = "Failed to set the salt length for pkey context when signing.";
std::string const noSize = "Could not calculate size of signature to be generated";
std::string const sizeOfZero = "Max size of signature to be generated is 0";
std::string const notSigned = "Could not generate digital signature";
std::string const signedNothing = "Size of generated signature is 0";

// Makes no calls into libcrypto.
std::shared_ptr<IDigestEngine> const sha256 = std::make_shared<HostEngine>("", "sha256");

ByteArray sign(RSAPaddingMode padding) {
    return rsaTestKeyUser(2048).signer(padding)->sign(bytes("message"), sha256);
}

ByteArray signStream(RSAPaddingMode padding) {
    std::istringstream message("message");
    return rsaTestKeyUser(2048).signer(padding)->sign(message, sha256);
}

bool verify(RSAPaddingMode padding, ByteArray const& signature) {
    return rsaTestKeyUser(2048).verifier(padding)->verify(bytes("message"), signature, sha256).isValid();
}

// Signing

Variants signing(Paddings const& paddings) {
    return over(paddings, {{"Bytes", [](RSAPaddingMode padding) { sign(padding); }},
                           {"Stream", [](RSAPaddingMode padding) { signStream(padding); }}});
}

std::vector<Result> const notOne{0, -1, -2, 2, made(0)};

std::vector<Fault> const faults{
    {"Context", "EVP_MD_CTX_new", 1, signing(all), noContext},
    {"Init", "EVP_DigestSignInit_ex", 1, signing(all), notInitialized, notOne},
    {"KeyContext", "EVP_MD_CTX_get_pkey_ctx", 1, signing(all), noKeyContext},
    {"Padding", "EVP_PKEY_CTX_set_rsa_padding", 1, signing(all), noKeyContext, {0, -1, -2, made(0)}},
    {"Salt", "EVP_PKEY_CTX_set_rsa_pss_saltlen", 1, signing(withPSS), noSalt, {0, -1, -2, made(0)}},
    {"Size", "EVP_DigestSign", 1, signing(all), noSize, notOne},
    {"SizeOfZero", "EVP_DigestSign", 1, signing(all), sizeOfZero, {1}}, // "success", and nothing was set
    {"Sign", "EVP_DigestSign", 2, signing(all), notSigned, notOne},
};

class RSASignerFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, RSASignerFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(RSASignerFaults, AreReportedInTheirOwnWords) {
    expectReported<InternalException>(GetParam());
}

TEST_P(RSASignerFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

TEST(RSASignerFault, OfASignatureWithoutBytesIsReported) {
    Replacing<decltype(EVP_DigestSign)> const shrinking(
        "EVP_DigestSign", [](auto real, EVP_MD_CTX* context, unsigned char* signature, std::size_t* size,
                             unsigned char const* data, std::size_t dataSize) {
            int const result = real(context, signature, size, data, dataSize);
            *size = signature == nullptr ? *size : 0;
            return result;
        });
    EXPECT_THROWS(InternalException, signedNothing, sign(pkcs1));
    EXPECT_THROWS(InternalException, signedNothing, sign(pss));
}

TEST(RSASignerCalls, TakeTheFinalSizeOfTheSignature) {
    Replacing<decltype(EVP_DigestSign)> const shrinking(
        "EVP_DigestSign", [](auto real, EVP_MD_CTX* context, unsigned char* signature, std::size_t* size,
                             unsigned char const* data, std::size_t dataSize) {
            int const result = real(context, signature, size, data, dataSize);
            *size = signature == nullptr ? *size : 100;
            return result;
        });
    EXPECT_EQ(sign(pkcs1).size(), 100U);
}

TEST(RSASignerCalls, AreThoseThatTheWorkNeeds) {
    struct {
        RSAPaddingMode padding;
        std::vector<std::string> salt;
        int number;
    } const rows[]{{pkcs1, {}, RSA_PKCS1_PADDING},
                   {pss, {"EVP_PKEY_CTX_set_rsa_pss_saltlen"}, RSA_PKCS1_PSS_PADDING},
                   {unknown, {}, RSA_PKCS1_PSS_PADDING},
                   {rsaPadding(-1), {}, RSA_PKCS1_PSS_PADDING}};

    for (auto const& [padding, salt, number] : rows) {
        auto const signer = rsaTestKeyUser(2048).signer(padding);
        Recording const recording;
        signer->sign(bytes("message"), sha256);
        std::vector<std::string> expected{"EVP_MD_CTX_new", "EVP_DigestSignInit_ex", "EVP_MD_CTX_get_pkey_ctx",
                                          "EVP_PKEY_CTX_set_rsa_padding"};
        expected.insert(expected.end(), salt.begin(), salt.end());
        expected.insert(expected.end(), {"EVP_DigestSign", "EVP_DigestSign", "EVP_MD_CTX_free"});
        EXPECT_EQ(recording.functions(), expected); // nothing is drawn from the generator

        EXPECT_EQ(recording.callsOf("EVP_PKEY_CTX_set_rsa_padding").at(0).arguments.at(1), number);
        std::vector<std::intptr_t> const init = recording.callsOf("EVP_DigestSignInit_ex").at(0).arguments;
        for (std::size_t const index : {1U, 3U, 4U, 6U}) { // no context out, library, properties, parameters
            EXPECT_EQ(init.at(index), 0) << index;
        }
        EXPECT_EQ(recording.callsOf("EVP_DigestSign").at(0).arguments.at(1), 0);
        EXPECT_EQ(recording.callsOf("EVP_DigestSign").at(1).arguments.at(4), 7);
    }
}

TEST(RSASignerCalls, SetTheSaltOfEachHash) {
    struct {
        std::string hash;
        int length;
    } const rows[]{{"sha1", 20}, {"sha256", 32}, {"sha512", 64}, {"sha224", -2},  {"sha384", -2}, {"md5", -2},
                   {"SHA1", -2}, {"SHA256", -2}, {"SHA512", -2}, {"sha-256", -2}, {"Sha512", -2}, {"sha2-256", -2}};

    RSAKeyUser const& user = rsaTestKeyUser(4096);
    auto const signer = user.signer(pss);
    auto const verifier = user.verifier(pss);
    for (auto const& [hash, length] : rows) {
        Recording const recording;
        auto const engine = std::make_shared<HostEngine>("", hash);
        ByteArray const signature = signer->sign({}, engine);
        EXPECT_TRUE(verifier->verify(ByteArray(), signature, engine).isValid());
        for (Call const& call : recording.callsOf("EVP_PKEY_CTX_set_rsa_pss_saltlen")) {
            EXPECT_EQ(call.arguments.at(1), length) << hash;
        }
        EXPECT_EQ(recording.count("EVP_PKEY_CTX_set_rsa_pss_saltlen"), 2U);
    }
}

TEST(RSASignerCalls, HandTheEmptyMessageOverWithAnAddress) {
    auto const signer = rsaTestKeyUser(2048).signer(pss);
    Recording const recording;
    signer->sign(ByteArray(), sha256);
    for (Call const& call : recording.callsOf("EVP_DigestSign")) {
        EXPECT_NE(call.arguments.at(3), 0);
        EXPECT_EQ(call.arguments.at(4), 0);
    }
}

TEST(RSASignatureCalls, AreNoneForAnEncryptionPaddingOrWithoutAnEngine) {
    auto const signer = rsaTestKeyUser(2048).signer(RSAPaddingMode::OAEP_SHA256);
    auto const verifier = rsaTestKeyUser(2048).verifier(RSAPaddingMode::OAEP_SHA256);
    auto const working = rsaTestKeyUser(2048).signer(pss);
    Recording const recording;
    catchFrom([&] { signer->sign(bytes("message"), sha256); });
    catchFrom([&] { verifier->verify(bytes("message"), {}, sha256); });
    catchFrom([&] { working->sign(bytes("message"), nullptr); });
    EXPECT_EQ(recording.functions(), std::vector<std::string>());
}

// Verification

struct Invalid : Exception {
    Invalid() : Exception("invalid") {}
};

/// Throws the status that is not "valid", for the table.
void requireValid(RSAPaddingMode padding) {
    static std::map<RSAPaddingMode, ByteArray> signatures;
    ByteArray& signature = signatures[padding];
    if (signature.empty()) {
        signature = sign(padding);
    }
    if (!verify(padding, signature)) {
        throw Invalid();
    }
}

std::vector<Fault> const verifierFaults{
    {"Context", "EVP_MD_CTX_new", 1, over(all, requireValid), "invalid"},
    {"Init", "EVP_DigestVerifyInit_ex", 1, over(all, requireValid), "invalid", notOne},
    {"KeyContext", "EVP_MD_CTX_get_pkey_ctx", 1, over(all, requireValid), "invalid"},
    {"Padding", "EVP_PKEY_CTX_set_rsa_padding", 1, over(all, requireValid), "invalid", {0, -1, -2, made(0)}},
    {"Salt", "EVP_PKEY_CTX_set_rsa_pss_saltlen", 1, over(withPSS, requireValid), "invalid", {0, -1, -2, made(0)}},
    {"Verify", "EVP_DigestVerify", 1, over(all, requireValid), "invalid", notOne},
};

class RSAVerifierFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, RSAVerifierFaults, testing::ValuesIn(expanded(verifierFaults)), nameOf);

TEST_P(RSAVerifierFaults, GiveTheInvalidStatus) {
    expectReported<Invalid>(GetParam());
}

TEST_P(RSAVerifierFaults, LeaveNoError) {
    forEachResult(GetParam(), [](Failing& failing) {
        failing.withError("forgotten");
        HostsMark const mark;
        catchFrom(GetParam().operation);
        EXPECT_EQ(ERR_GET_REASON(ERR_peek_last_error()), HostsMark::reason);
        EXPECT_TRUE(mark.isThere());
    });
}

TEST_P(RSAVerifierFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

TEST(RSAVerifierCalls, AreThoseThatTheWorkNeeds) {
    for (auto const& [name, padding] : all) {
        ByteArray const signature = sign(padding);
        auto const verifier = rsaTestKeyUser(2048).verifier(padding);
        Recording const recording;
        EXPECT_TRUE(verifier->verify(bytes("message"), signature, sha256).isValid());
        std::vector<std::string> expected{"EVP_MD_CTX_new", "EVP_DigestVerifyInit_ex", "EVP_MD_CTX_get_pkey_ctx",
                                          "EVP_PKEY_CTX_set_rsa_padding"};
        if (padding == pss) {
            expected.push_back("EVP_PKEY_CTX_set_rsa_pss_saltlen");
        }
        expected.insert(expected.end(), {"EVP_DigestVerify", "EVP_MD_CTX_free"});
        EXPECT_EQ(recording.functions(), expected);
        std::vector<std::intptr_t> const init = recording.callsOf("EVP_DigestVerifyInit_ex").at(0).arguments;
        for (std::size_t const index : {1U, 3U, 4U, 6U}) {
            EXPECT_EQ(init.at(index), 0) << index;
        }
    }
}

TEST(RSAVerifierCalls, AreNoneForASignatureOfAnotherSizeThanTheModulus) {
    for (auto const& [name, padding] : all) {
        auto const verifier = rsaTestKeyUser(2048).verifier(padding);
        ByteArray const signature = sign(padding);
        int asked = 0;
        auto const engine = std::make_shared<HostEngine>(nullptr, [&] {
            ++asked;
            return "sha256";
        });
        for (std::size_t const size : {0U, 1U, 255U, 257U, 512U, 100000U}) {
            ByteArray other = signature;
            other.resize(size);
            asked = 0;
            Recording const recording;
            EXPECT_FALSE(verifier->verify(bytes("message"), other, engine).isValid());
            EXPECT_EQ(recording.functions(), std::vector<std::string>()) << size;
            EXPECT_EQ(asked, 1);
        }
    }
    EXPECT_THROWS(InternalException, "Cannot use OAEP as Padding Algorithm for Signatures in OpenSSL.",
                  verify(RSAPaddingMode::OAEP_SHA1, ByteArray(257)));
}

// Allocations of the library

TEST(RSASignatureAllocations, ThatFailAreReportedWhenSigningAndInvalidWhenVerifying) {
    ByteArray const signature = sign(pss);
    auto const signer = rsaTestKeyUser(2048).signer(pss);
    auto const verifier = rsaTestKeyUser(2048).verifier(pss);
    ByteArray const message = bytes("message");
    auto const failEach = [](auto const& operation, auto const& judge) {
        for (int nth = 1;; ++nth) {
            FailingAllocation const failing(nth);
            Thrown const thrown = catchFrom(operation);
            if (!failing.happened()) {
                EXPECT_EQ(thrown.type, "nothing");
                return nth - 1;
            }
            judge(thrown);
        }
    };
    int failures = failEach([&] { signer->sign(message, sha256); },
                            [](Thrown const& thrown) { EXPECT_EQ(thrown.text, std::bad_alloc().what()); });
    EXPECT_GT(failures, 0);
    bool valid = true;
    failEach([&] { valid = verifier->verify(message, signature, sha256).isValid(); },
             [&](Thrown const& thrown) {
                 EXPECT_EQ(thrown.type, "nothing");
                 EXPECT_FALSE(valid);
             });
    EXPECT_TRUE(valid); // with a name as short as "sha256", verifying may allocate nothing at all
    std::istringstream stream;
    failures = failEach(
        [&] {
            stream.clear();
            stream.str("message");
            signer->sign(stream, sha256);
        },
        [](Thrown const& thrown) { EXPECT_EQ(thrown.text, std::bad_alloc().what()); });
    EXPECT_GT(failures, 0);
}

TEST(RSASignatureAllocations, ThatFailWhileAStreamIsReadAreNotTranslated) {
    auto const signer = rsaTestKeyUser(2048).signer(pss);
    auto const verifier = rsaTestKeyUser(2048).verifier(pss);
    ByteArray const signature(256);
    std::istringstream signedStream("message");
    std::istringstream verifiedStream("message");
    {
        FailingAllocation const exhausts;
        EXPECT_THROWS(std::bad_alloc, "std::bad_alloc", signer->sign(signedStream, sha256));
    }
    FailingAllocation const exhausts;
    EXPECT_THROWS(std::bad_alloc, "std::bad_alloc", verifier->verify(verifiedStream, signature, sha256));
}

} // namespace
