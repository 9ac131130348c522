#include "digest/Blake2bDigestEngineImpl.h"

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
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;
using Engine = openssl::Blake2bDigestEngineImpl<utils::Blake2bDigestAlgorithm>;

/// Every operation exists for a plain hash and for a MAC.
enum class Mode { Plain, MAC };

Engine engineOf(Mode mode) {
    return {mode == Mode::MAC ? bytes("key") : ByteArray(), bytes("salt"), 20};
}

using Operation = std::function<void(Mode)>;

void create(Mode mode) {
    provider.createBlake2bDigestEngine(mode == Mode::MAC ? bytes("key") : ByteArray(), {});
}

void createWithCustomSize(Mode mode) {
    provider.createBlake2bDigestEngineWithCustomSize(mode == Mode::MAC ? bytes("key") : ByteArray(), {}, 20);
}

void copy(Mode mode) {
    Engine const source = engineOf(mode);
    Engine const target(source);
}

void assign(Mode mode) {
    Engine const source = engineOf(mode);
    Engine target = engineOf(mode);
    target = source;
}

void update(Mode mode) {
    engineOf(mode).update(bytes("abc"));
}

void updateByPointer(Mode mode) {
    engineOf(mode).update(nullptr, 0);
}

void finalize(Mode mode) {
    engineOf(mode).finalize();
}

void computeFromBytes(Mode mode) {
    engineOf(mode).computeDigest(bytes("abc"));
}

void computeFromStream(Mode mode) {
    std::istringstream stream("abc");
    engineOf(mode).computeDigest(stream);
}

std::string const notFetched = "Failed to fetch BLAKE2BMAC";
std::string const macNotInitialized = "Could not initialize the digest context in MAC mode.";
std::string const notInitialized = "Could not initialize the digest context in non-MAC mode.";
std::string const notUpdated = "Could not update data to the digest state. ";
std::string const macNotUpdated = "EVP_MAC_update failed";
std::string const macNotFinalized = "Failed to finalize the digest generation in Blake-2b MAC mode.";
std::string const macWrongSize = "OpenSSL Blake-2b MAC digest generation returned digest of incorrect size.";
std::string const notFinalized = "Failed to finalize the digest generation in Blake-2b non-MAC mode.";
std::string const notCopied = "Could not copy underlying EVP_MD_CTX.";
std::string const macNotCopied = "Failed to duplicate EVP_MAC_CTX";

/// An operation in one mode.
std::function<void()> plain(Operation const& operation) {
    return [=] { operation(Mode::Plain); };
}

std::function<void()> mac(Operation const& operation) {
    return [=] { operation(Mode::MAC); };
}

// Success is 1 for everything but the final call and the start of a MAC, which only fail with 0.
std::vector<Result> const notOne{0, -1, 2, made(0)};
std::vector<Result> const zero{0, made(0)};

std::vector<Fault> const faults{
    {"CreateContext", "EVP_MD_CTX_new", 1, plain(create), notInitialized},
    {"CreateInitialize", "EVP_DigestInit_ex2", 1, plain(create), notInitialized, notOne},
    {"CreateSizedInitialize", "EVP_DigestInit_ex2", 1, plain(createWithCustomSize), notInitialized, notOne},
    {"CopyContext", "EVP_MD_CTX_new", 2, plain(copy), notCopied},
    {"Copy", "EVP_MD_CTX_copy_ex", 1, plain(copy), notCopied, notOne},
    {"AssignContext", "EVP_MD_CTX_new", 3, plain(assign), notCopied},
    {"Assign", "EVP_MD_CTX_copy_ex", 1, plain(assign), notCopied, notOne},
    {"Update", "EVP_DigestUpdate", 1, plain(update), notUpdated, notOne},
    {"UpdateByPointer", "EVP_DigestUpdate", 1, plain(updateByPointer), notUpdated, notOne},
    {"ComputeUpdate", "EVP_DigestUpdate", 1, plain(computeFromBytes), notUpdated, notOne},
    {"StreamUpdate", "EVP_DigestUpdate", 1, plain(computeFromStream), notUpdated, notOne},
    {"FinalizeFinal", "EVP_DigestFinal_ex", 1, plain(finalize), notFinalized, notOne},
    {"ComputeFinal", "EVP_DigestFinal_ex", 1, plain(computeFromBytes), notFinalized, notOne},
    {"StreamFinal", "EVP_DigestFinal_ex", 1, plain(computeFromStream), notFinalized, notOne},
    {"FinalizeContext", "EVP_MD_CTX_new", 2, plain(finalize), notInitialized},
    {"CreateSize", "EVP_MD_CTX_get_size_ex", 1, plain(create), notInitialized, {-1, 0, 63, 65}},
    {"CreateSizedSize", "EVP_MD_CTX_get_size_ex", 1, plain(createWithCustomSize), notInitialized, {-1, 64}},
    {"FinalizeSize", "EVP_MD_CTX_get_size_ex", 2, plain(finalize), notInitialized, {-1, 64}},
    {"FinalizeInitialize", "EVP_DigestInit_ex2", 2, plain(finalize), notInitialized, notOne},
    {"ComputeInitialize", "EVP_DigestInit_ex2", 2, plain(computeFromBytes), notInitialized, notOne},
    {"StreamInitialize", "EVP_DigestInit_ex2", 2, plain(computeFromStream), notInitialized, notOne},
    {"CreateMACFetch", "EVP_MAC_fetch", 1, mac(create), notFetched},
    {"CreateMACContext", "EVP_MAC_CTX_new", 1, mac(create), macNotInitialized},
    {"CreateMACInitialize", "EVP_MAC_init", 1, mac(create), macNotInitialized, zero},
    {"CreateSizedMACInitialize", "EVP_MAC_init", 1, mac(createWithCustomSize), macNotInitialized, zero},
    {"CopyMAC", "EVP_MAC_CTX_dup", 1, mac(copy), macNotCopied},
    {"AssignMAC", "EVP_MAC_CTX_dup", 1, mac(assign), macNotCopied},
    {"UpdateMAC", "EVP_MAC_update", 1, mac(update), macNotUpdated, notOne},
    {"UpdateMACByPointer", "EVP_MAC_update", 1, mac(updateByPointer), macNotUpdated, notOne},
    {"ComputeMACUpdate", "EVP_MAC_update", 1, mac(computeFromBytes), macNotUpdated, notOne},
    {"StreamMACUpdate", "EVP_MAC_update", 1, mac(computeFromStream), macNotUpdated, notOne},
    {"FinalizeMACFinal", "EVP_MAC_final", 1, mac(finalize), macNotFinalized, zero},
    {"ComputeMACFinal", "EVP_MAC_final", 1, mac(computeFromBytes), macNotFinalized, zero},
    {"StreamMACFinal", "EVP_MAC_final", 1, mac(computeFromStream), macNotFinalized, zero},
    {"FinalizeMACFetch", "EVP_MAC_fetch", 2, mac(finalize), notFetched},
    {"FinalizeMACContext", "EVP_MAC_CTX_new", 2, mac(finalize), macNotInitialized},
    {"FinalizeMACInitialize", "EVP_MAC_init", 2, mac(finalize), macNotInitialized, zero},
    {"ComputeMACInitialize", "EVP_MAC_init", 2, mac(computeFromBytes), macNotInitialized, zero},
    {"StreamMACInitialize", "EVP_MAC_init", 2, mac(computeFromStream), macNotInitialized, zero},
};

class Blake2bFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, Blake2bFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(Blake2bFaults, AreReportedInTheirOwnWordsAlone) {
    expectReported<InternalException>(GetParam());
}

TEST_P(Blake2bFaults, LeakNothing) {
    expectAllReleased(GetParam());
}

TEST(Blake2bFault, IsZeroAloneForTheOtherCalls) {
    expectZeroAloneToFailMACs([] { return engineOf(Mode::MAC); });
}

TEST(Blake2bFault, OfAnotherSizeIsRefusedForAMAC) {
    expectOtherMACSizesRefused([] { return engineOf(Mode::MAC); }, 20, macWrongSize);
}

void expectUnusable(Engine& engine, Mode mode) {
    bool const mac = mode == Mode::MAC;
    support::expectUnusable(engine, mac ? macNotUpdated : notUpdated, mac ? macNotFinalized : notFinalized);
}

TEST(Blake2bFault, OfReinitializationIsReportedByWhatComesNext) {
    struct {
        Mode mode;
        std::string call;
    } const rows[] = {{Mode::Plain, "EVP_MD_CTX_new"},         {Mode::Plain, "EVP_DigestInit_ex2"},
                      {Mode::Plain, "EVP_MD_CTX_get_size_ex"}, {Mode::MAC, "EVP_MAC_fetch"},
                      {Mode::MAC, "EVP_MAC_CTX_new"},          {Mode::MAC, "EVP_MAC_init"}};

    for (auto const& row : rows) {
        bool const initializes = row.call == "EVP_DigestInit_ex2" || row.call == "EVP_MAC_init";
        for (bool const carriedOut : {false, initializes}) {
            SCOPED_TRACE(row.call);
            Engine engine = engineOf(row.mode);
            {
                Failing failing(row.call);
                failing.carriedOut(carriedOut);
                EXPECT_THROW(engine.computeDigest(bytes("abc")), InternalException);
            }
            expectUnusable(engine, row.mode);
        }
    }
}

TEST(Blake2bFault, OfAnotherSizeLeavesTheEngineUnusable) {
    Engine engine = engineOf(Mode::MAC);
    {
        Failing silent("EVP_MAC_final");
        silent.returning(1);
        EXPECT_THROWS(InternalException, macWrongSize, engine.finalize());
    }
    expectUnusable(engine, Mode::MAC);
}

class Blake2bModes : public testing::TestWithParam<Mode> {
protected:
    static char const* either(char const* plain, char const* mac) { return GetParam() == Mode::MAC ? mac : plain; }

    static ByteArray digestOfABC() { return engineOf(GetParam()).computeDigest(bytes("abc")); }
};

INSTANTIATE_TEST_SUITE_P(, Blake2bModes, testing::Values(Mode::Plain, Mode::MAC),
                         [](auto const& row) { return row.param == Mode::MAC ? "MAC" : "Plain"; });

TEST_P(Blake2bModes, KeepTheMessageWhenAnUpdateOrTheFinalCallFails) {
    Engine engine = engineOf(GetParam());
    engine.update(bytes("ab"));
    {
        Failing const failing(either("EVP_DigestUpdate", "EVP_MAC_update"));
        EXPECT_THROW(engine.update(bytes("lost")), InternalException);
    }
    {
        Failing const failing(either("EVP_DigestFinal_ex", "EVP_MAC_final"));
        EXPECT_THROW(engine.finalize(), InternalException);
    }
    EXPECT_EQ(engine.computeDigest(bytes("c")), digestOfABC());
}

TEST_P(Blake2bModes, GiveNoDigestAfterAFinalCallThatWasCarriedOut) {
    Engine engine = engineOf(GetParam());
    {
        Failing failing(either("EVP_DigestFinal_ex", "EVP_MAC_final"));
        failing.carriedOut();
        EXPECT_THROW(engine.computeDigest(bytes("abc")), InternalException);
    }
    char const* const text = either(notFinalized.c_str(), macNotFinalized.c_str());
    EXPECT_THROWS(InternalException, text, engine.finalize());
    EXPECT_THROW(engine.update(bytes("abc")), InternalException);
    EXPECT_THROWS(InternalException, text, engine.finalize());
}

TEST_P(Blake2bModes, KeepTheTargetOfAnAssignmentThatFails) {
    Engine const source(GetParam() == Mode::MAC ? bytes("another key") : ByteArray(), {}, 64);
    Engine target = engineOf(GetParam());
    target.update(bytes("ab"));
    {
        Failing const failing(either("EVP_MD_CTX_copy_ex", "EVP_MAC_CTX_dup"));
        EXPECT_THROW(target = source, InternalException);
    }
    EXPECT_EQ(target.getDigestSize(), 20U);
    EXPECT_EQ(target.computeDigest(bytes("c")), digestOfABC());
    EXPECT_EQ(target.computeDigest(bytes("abc")), digestOfABC());
}

TEST_P(Blake2bModes, TranslateAFailedAllocationInFinalizeAlone) {
    Engine engine = engineOf(GetParam());
    engine.update(bytes("ab"));
    {
        FailingAllocation const failing;
        EXPECT_THROWS(InternalException, "std::bad_alloc", engine.finalize());
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_EQ(engine.computeDigest(bytes("c")), digestOfABC());

    ByteArray const key(100, 'k');
    FailingAllocation const failing;
    EXPECT_THROW(Engine(key, key, 20), std::bad_alloc);
}

TEST_P(Blake2bModes, FeedAStreamInPiecesOf1024Bytes) {
    EXPECT_EQ(piecesOfStream(engineOf(GetParam()), either("EVP_DigestUpdate", "EVP_MAC_update"), 2500),
              (std::vector<std::intptr_t>{1024, 1024, 452}));
}

// The calls themselves

TEST(Blake2bCalls, OfAPlainHashAreThoseThatTheWorkNeeds) {
    Recording const recording;
    computeFromBytes(Mode::Plain);
    EXPECT_EQ(recording.functions(),
              (std::vector<std::string>{"EVP_MD_CTX_new", "EVP_DigestInit_ex2", "EVP_MD_CTX_get_size_ex",
                                        "EVP_DigestUpdate", "EVP_DigestFinal_ex", "EVP_MD_CTX_new", "EVP_MD_CTX_free",
                                        "EVP_DigestInit_ex2", "EVP_MD_CTX_get_size_ex", "EVP_MD_CTX_free"}));
}

TEST(Blake2bCalls, OfAMACAreThoseThatTheWorkNeeds) {
    Recording const recording;
    computeFromBytes(Mode::MAC);
    EXPECT_EQ(recording.functions(),
              (std::vector<std::string>{"EVP_MAC_fetch", "EVP_MAC_CTX_new", "EVP_MAC_init", "EVP_MAC_free",
                                        "EVP_MAC_update", "EVP_MAC_final", "EVP_MAC_fetch", "EVP_MAC_CTX_new",
                                        "EVP_MAC_CTX_free", "EVP_MAC_init", "EVP_MAC_free", "EVP_MAC_CTX_free"}));
    Call const fetch = recording.callsOf("EVP_MAC_fetch").at(0);
    EXPECT_EQ(fetch.arguments.at(0), 0);
    EXPECT_STREQ(reinterpret_cast<char const*>(fetch.arguments.at(1)), "BLAKE2BMAC");
    EXPECT_EQ(fetch.arguments.at(2), 0);
}

ByteArray dataOf(OSSL_PARAM const& parameter) {
    auto const* const data = static_cast<unsigned char const*>(parameter.data);
    return {data, data + parameter.data_size};
}

void expectSize(OSSL_PARAM const& parameter, std::size_t expected) {
    EXPECT_STREQ(parameter.key, "size");
    EXPECT_EQ(parameter.data_type, static_cast<unsigned>(OSSL_PARAM_UNSIGNED_INTEGER));
    ASSERT_EQ(parameter.data_size, sizeof(std::size_t));
    EXPECT_EQ(*static_cast<std::size_t const*>(parameter.data), expected);
}

TEST(Blake2bCalls, PassKeySizeAndSaltOfAMACAsParameters) {
    for (std::string const salt : {"", "salt"}) {
        int calls = 0;
        Replacing<decltype(EVP_MAC_init)> const watching("EVP_MAC_init", [&](auto real, EVP_MAC_CTX* context,
                                                                             unsigned char const* key, std::size_t size,
                                                                             OSSL_PARAM const* parameters) {
            ++calls;
            EXPECT_EQ(key, nullptr);
            EXPECT_EQ(size, 0U);
            EXPECT_STREQ(parameters[0].key, "key");
            EXPECT_EQ(parameters[0].data_type, static_cast<unsigned>(OSSL_PARAM_OCTET_STRING));
            EXPECT_EQ(dataOf(parameters[0]), bytes("key"));
            expectSize(parameters[1], 20);
            OSSL_PARAM const* end = &parameters[2];
            if (!salt.empty()) {
                EXPECT_STREQ(parameters[2].key, "salt");
                EXPECT_EQ(parameters[2].data_type, static_cast<unsigned>(OSSL_PARAM_OCTET_STRING));
                EXPECT_EQ(dataOf(parameters[2]), bytes(salt));
                ++end;
            }
            EXPECT_EQ(end->key, nullptr);
            return real(context, key, size, parameters);
        });
        Engine(bytes("key"), bytes(salt), 20).finalize();
        EXPECT_EQ(calls, 2);
    }
}

TEST(Blake2bCalls, LeaveTheSizesOfKeyAndSaltToLibcryptoWhichComparesThemInFull) {
    for (int const grown : {0, 2}) {
        Replacing<decltype(EVP_MAC_init)> const growing("EVP_MAC_init", [&](auto real, EVP_MAC_CTX* context,
                                                                            unsigned char const* key, std::size_t size,
                                                                            OSSL_PARAM const* parameters) {
            std::vector<OSSL_PARAM> copies(parameters, parameters + 4);
            copies[static_cast<std::size_t>(grown)].data_size += std::size_t(UINT_MAX) + 1;
            return real(context, key, size, copies.data());
        });
        EXPECT_THROWS(InternalException, macNotInitialized, Engine(bytes("key"), bytes("salt"), 20));
    }
}

TEST(Blake2bCalls, PassTheSizeAloneForAPlainHash) {
    int calls = 0;
    Replacing<decltype(EVP_DigestInit_ex2)> const watching(
        "EVP_DigestInit_ex2", [&](auto real, EVP_MD_CTX* context, EVP_MD const* digest, OSSL_PARAM const* parameters) {
            ++calls;
            EXPECT_EQ(digest, EVP_blake2b512());
            expectSize(parameters[0], 20);
            EXPECT_EQ(parameters[1].key, nullptr);
            return real(context, digest, parameters);
        });
    finalize(Mode::Plain);
    EXPECT_EQ(calls, 2);
}

TEST(Blake2bCalls, AreNotMadeForARefusedSize) {
    Recording const recording;
    EXPECT_THROW(provider.createBlake2bDigestEngineWithCustomSize(bytes("key"), {}, 65), InternalException);
    EXPECT_TRUE(recording.calls().empty());
}

} // namespace
