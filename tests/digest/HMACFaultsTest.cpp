#include "digest/HMACDigestEngine.h"

#include "EngineFaults.h"
#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/Provider.h"
#include "support/Throws.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;
using Engine = openssl::HMACDigestEngine<utils::HMACSHA256DigestAlgorithm>;

ByteArray const key = bytes("key");

void create() {
    provider.createHMACSHA256DigestEngine(key);
}

void copy() {
    Engine const source(key);
    Engine const target(source);
}

void assign() {
    Engine const source(key);
    Engine target(key);
    target = source;
}

void update() {
    Engine(key).update(bytes("abc"));
}

void updateByPointer() {
    Engine(key).update(nullptr, 0);
}

void finalize() {
    Engine(key).finalize();
}

void computeFromBytes() {
    Engine(key).computeDigest(bytes("abc"));
}

void computeFromStream() {
    std::istringstream stream("abc");
    Engine(key).computeDigest(stream);
}

std::string const unknown = "OpenSSL did not recognize HMAC-SHA256; Error Message=";
std::string const notFetched = "Could not initialize the EVP MAC. ";
std::string const noContext = "OpenSSL could not initialize EVP HMAC context. ";
std::string const notInitialized = "Could not initialize the digest context. ";
std::string const notCopied = "Could not copy Context. ";
std::string const notUpdated = "Could not update data to the digest state. ";
std::string const notFinalized = "Failed to perform the final computation. ";
std::string const wrongSize = "OpenSSL HMAC digest generation API returned digest of incorrect size.";

// Success is 1 for an update, and anything but 0 for the other calls.
std::vector<Result> const notOne{0, -1, 2, made(0)};
std::vector<Result> const zero{0, made(0)};

std::vector<Fault> const faults{
    {"CreateUnknown", "EVP_get_digestbyname", 1, create, unknown, asUsual, true},
    {"CreateFetch", "EVP_MAC_fetch", 1, create, notFetched},
    {"CreateContext", "EVP_MAC_CTX_new", 1, create, noContext},
    {"CreateInitialize", "EVP_MAC_init", 1, create, notInitialized, zero, true},
    {"Copy", "EVP_MAC_CTX_dup", 1, copy, notCopied, asUsual, true},
    {"Assign", "EVP_MAC_CTX_dup", 1, assign, notCopied, asUsual, true},
    {"Update", "EVP_MAC_update", 1, update, notUpdated, notOne, true},
    {"UpdateByPointer", "EVP_MAC_update", 1, updateByPointer, notUpdated, notOne, true},
    {"ComputeUpdate", "EVP_MAC_update", 1, computeFromBytes, notUpdated, notOne, true},
    {"StreamUpdate", "EVP_MAC_update", 1, computeFromStream, notUpdated, notOne, true},
    {"FinalizeFinal", "EVP_MAC_final", 1, finalize, notFinalized, zero},
    {"ComputeFinal", "EVP_MAC_final", 1, computeFromBytes, notFinalized, zero},
    {"StreamFinal", "EVP_MAC_final", 1, computeFromStream, notFinalized, zero},
    {"FinalizeUnknown", "EVP_get_digestbyname", 2, finalize, unknown, asUsual, true},
    {"FinalizeFetch", "EVP_MAC_fetch", 2, finalize, notFetched},
    {"FinalizeContext", "EVP_MAC_CTX_new", 2, finalize, noContext},
    {"FinalizeInitialize", "EVP_MAC_init", 2, finalize, notInitialized, zero, true},
    {"ComputeInitialize", "EVP_MAC_init", 2, computeFromBytes, notInitialized, zero, true},
    {"StreamInitialize", "EVP_MAC_init", 2, computeFromStream, notInitialized, zero, true},
};

class HMACFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, HMACFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(HMACFaults, AreReportedInTheirOwnWords) {
    expectReported<InternalException>(GetParam());
}

TEST_P(HMACFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

TEST(HMACFault, OfTheOtherCallsIsZeroAlone) {
    expectZeroAloneToFailMACs([] { return Engine(key); });
}

TEST(HMACFault, OfAnotherSizeIsRefused) {
    expectOtherMACSizesRefused([] { return Engine(key); }, 32, wrongSize);
    Failing silent("EVP_MAC_final");
    silent.returning(1);
    EXPECT_THROWS(InternalException, wrongSize, finalize());
}

TEST(HMACFault, OfReinitializationIsReportedByWhatComesNext) {
    for (std::string const call : {"EVP_get_digestbyname", "EVP_MAC_fetch", "EVP_MAC_CTX_new", "EVP_MAC_init"}) {
        for (bool const carriedOut : {false, call == "EVP_MAC_init"}) {
            SCOPED_TRACE(call);
            Engine engine(key);
            {
                Failing failing(call);
                failing.carriedOut(carriedOut);
                EXPECT_THROW(engine.computeDigest(bytes("abc")), InternalException);
            }
            expectUnusable(engine, notUpdated + "No OpenSSL errors.", notFinalized);
        }
    }
}

TEST(HMACFault, OfAnotherSizeLeavesTheEngineUnusable) {
    Engine engine(key);
    {
        Failing silent("EVP_MAC_final");
        silent.returning(1);
        EXPECT_THROWS(InternalException, wrongSize, engine.finalize());
    }
    expectUnusable(engine, notUpdated + "No OpenSSL errors.", notFinalized);
}

TEST(HMACFault, OfTheFinalCallLeavesTheContextInPlace) {
    Engine engine(key);
    engine.update(bytes("ab"));
    {
        Recording const recording;
        Failing const failing("EVP_MAC_final");
        EXPECT_THROWS(InternalException, notFinalized, engine.finalize());
        EXPECT_EQ(recording.functions(), std::vector<std::string>{"EVP_MAC_final"});
    }
    EXPECT_EQ(engine.computeDigest(bytes("c")), Engine(key).computeDigest(bytes("abc")));
}

TEST(HMACFault, OfAFinalCallThatWasCarriedOutLeavesNoCode) {
    Engine engine(key);
    {
        Failing failing("EVP_MAC_final");
        failing.carriedOut();
        EXPECT_THROWS(InternalException, notFinalized, engine.computeDigest(bytes("abc")));
    }
    EXPECT_THROWS(InternalException, notFinalized, engine.finalize());
    EXPECT_THROWS_PREFIX(InternalException, notUpdated, engine.update(bytes("abc")));
    EXPECT_THROWS(InternalException, notFinalized, engine.finalize());
}

TEST(HMACFault, InUpdateLeavesTheMessageAsItWas) {
    Engine engine(key);
    engine.update(bytes("ab"));
    {
        Failing const failing("EVP_MAC_update");
        EXPECT_THROWS_PREFIX(InternalException, notUpdated, engine.update(bytes("lost")));
    }
    EXPECT_EQ(engine.computeDigest(bytes("c")), Engine(key).computeDigest(bytes("abc")));
}

TEST(HMACFault, InAssignmentLeavesTheTargetAsItWas) {
    Engine const source(bytes("other"));
    Engine target(key);
    target.update(bytes("ab"));
    {
        Failing const failing("EVP_MAC_CTX_dup");
        EXPECT_THROWS_PREFIX(InternalException, notCopied, target = source);
    }
    EXPECT_EQ(target.computeDigest(bytes("c")), Engine(key).computeDigest(bytes("abc")));
}

TEST(HMACFault, OfAllocationIsTranslatedByFinalizeAlone) {
    Engine engine(key);
    engine.update(bytes("ab"));
    {
        FailingAllocation const failing;
        EXPECT_THROWS(InternalException, "std::bad_alloc", engine.finalize());
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_EQ(engine.computeDigest(bytes("c")), Engine(key).computeDigest(bytes("abc")));

    FailingAllocation const failing;
    EXPECT_THROW(Engine another(key), std::bad_alloc);
}

// The calls themselves

TEST(HMACCalls, AreThoseThatTheWorkNeeds) {
    Recording const recording;
    provider.createHMACSHA256DigestEngine(key)->computeDigest(bytes("abc"));
    EXPECT_EQ(recording.functions(),
              (std::vector<std::string>{"EVP_get_digestbyname", "EVP_MAC_fetch", "EVP_MAC_CTX_new", "EVP_MAC_free",
                                        "EVP_MAC_init", "EVP_MAC_update", "EVP_MAC_final", "EVP_get_digestbyname",
                                        "EVP_MAC_fetch", "EVP_MAC_CTX_new", "EVP_MAC_CTX_free", "EVP_MAC_free",
                                        "EVP_MAC_init", "EVP_MAC_CTX_free"}));
    Call const fetch = recording.callsOf("EVP_MAC_fetch").at(0);
    EXPECT_EQ(fetch.arguments.at(0), 0);
    EXPECT_STREQ(reinterpret_cast<char const*>(fetch.arguments.at(1)), "HMAC");
    EXPECT_EQ(fetch.arguments.at(2), 0);
}

TEST(HMACCalls, PassTheKeyAndThenTheDigestAsParameters) {
    int calls = 0;
    Replacing<decltype(EVP_MAC_init)> const watching("EVP_MAC_init", [&](auto real, EVP_MAC_CTX* context,
                                                                         unsigned char const* given, std::size_t size,
                                                                         OSSL_PARAM const* parameters) {
        ++calls;
        EXPECT_EQ(given, nullptr);
        EXPECT_EQ(size, 0U);
        EXPECT_STREQ(parameters[0].key, "key");
        EXPECT_EQ(parameters[0].data_type, static_cast<unsigned>(OSSL_PARAM_OCTET_STRING));
        auto const* const data = static_cast<unsigned char const*>(parameters[0].data);
        EXPECT_EQ(ByteArray(data, data + parameters[0].data_size), key);
        EXPECT_STREQ(parameters[1].key, "digest");
        EXPECT_EQ(parameters[1].data_type, static_cast<unsigned>(OSSL_PARAM_UTF8_STRING));
        EXPECT_STREQ(static_cast<char const*>(parameters[1].data), EVP_MD_get0_name(EVP_sha256()));
        EXPECT_EQ(parameters[2].key, nullptr);
        return real(context, given, size, parameters);
    });
    finalize();
    EXPECT_EQ(calls, 2);
}

TEST(HMACCalls, PassAnEmptyKeyWithoutData) {
    Replacing<decltype(EVP_MAC_init)> const watching("EVP_MAC_init",
                                                     [](auto real, EVP_MAC_CTX* context, unsigned char const* given,
                                                        std::size_t size, OSSL_PARAM const* parameters) {
                                                         EXPECT_EQ(parameters[0].data, nullptr);
                                                         EXPECT_EQ(parameters[0].data_size, 0U);
                                                         return real(context, given, size, parameters);
                                                     });
    ByteArray emptied = key;
    emptied.clear(); // has an address all the same
    EXPECT_THROWS(InternalException, notInitialized + "No OpenSSL errors.",
                  provider.createHMACSHA256DigestEngine(emptied));
}

TEST(HMACCalls, ThatStartIncludeNoKeyAboveTheLargestInt) {
    constexpr std::size_t largest = INT_MAX;
    unsigned char byte = 'k';
    openssl::Owned<EVP_MAC_CTX> context;
    Replacing<decltype(EVP_MAC_init)> const watching(
        "EVP_MAC_init",
        [&](auto /*real*/, EVP_MAC_CTX*, unsigned char const*, std::size_t, OSSL_PARAM const* parameters) {
            EXPECT_EQ(parameters[0].data, &byte);
            EXPECT_EQ(parameters[0].data_size, largest);
            return 1;
        });
    Recording const recording;
    openssl::startHMAC(context, EVP_sha256(), &byte, largest);
    EXPECT_EQ(recording.count("EVP_MAC_init"), 1U);
    for (std::size_t const size : {largest + 1, std::size_t(UINT_MAX), std::size_t(UINT_MAX) + 1,
                                   std::size_t(UINT_MAX) + 17, static_cast<std::size_t>(-1)}) {
        EXPECT_THROWS(InternalException, notInitialized + "No OpenSSL errors.",
                      openssl::startHMAC(context, EVP_sha256(), &byte, size));
    }
    EXPECT_EQ(recording.count("EVP_MAC_init"), 1U);
}

TEST(HMACCalls, HandOverTheWholeSizeOfAnUpdate) {
    constexpr std::size_t large = std::size_t(UINT_MAX) + 6;
    unsigned char const byte = 'a';
    Replacing<decltype(EVP_MAC_update)> const watching(
        "EVP_MAC_update", [&](auto /*real*/, EVP_MAC_CTX*, unsigned char const* data, std::size_t size) {
            EXPECT_EQ(data, &byte);
            EXPECT_EQ(size, large);
            return 1;
        });
    Recording const recording;
    Engine(key).update(&byte, large);
    EXPECT_EQ(recording.count("EVP_MAC_update"), 1U);
}

TEST(HMACCalls, FeedAStreamInPiecesOf1024Bytes) {
    EXPECT_EQ(piecesOfStream(Engine(key), "EVP_MAC_update", 2500), (std::vector<std::intptr_t>{1024, 1024, 452}));
}

} // namespace
