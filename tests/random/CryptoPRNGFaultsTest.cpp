#include "random/CryptoPRNG.h"

#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/FaultTables.h"
#include "support/Provider.h"
#include "support/Throws.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>
#include <openssl/rand.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::DefaultPRNGAlgorithm;
using foundation::crypto::utils::InternalException;
using PRNG = foundation::crypto::openssl::CryptoPRNG<DefaultPRNGAlgorithm>;

static_assert(!std::is_copy_constructible_v<PRNG> && !std::is_copy_assignable_v<PRNG>);
static_assert(!std::is_move_constructible_v<PRNG> && !std::is_move_assignable_v<PRNG>);

std::string const notGenerated = "Unable to generate random bytes. Error=";

TEST(PRNGCalls, SeedOnceWithTheBytesGivenOrNotAtAll) {
    ByteArray const seed = bytes("seed");
    Recording const recording;
    provider.createDefaultCryptoPRNG({});
    EXPECT_TRUE(recording.calls().empty());
    PRNG const prng(seed);
    ASSERT_EQ(recording.functions(), (std::vector<std::string>{"RAND_seed"}));
    EXPECT_EQ(recording.calls()[0].arguments, (std::vector<std::intptr_t>{asNumber(seed.data()), 4}));
}

TEST(PRNGCalls, SeedWithNoMoreThanTheirCountHolds) {
    constexpr std::size_t largest = INT_MAX;
    unsigned char const byte = 's';
    int given = 0;
    Replacing<decltype(RAND_seed)> const watching("RAND_seed", [&](auto /*real*/, void const* data, int size) {
        EXPECT_EQ(data, &byte);
        given = size;
    });
    for (std::size_t const size : {largest - 1, largest, largest + 1, std::size_t(UINT_MAX), std::size_t(UINT_MAX) + 1,
                                   std::size_t(UINT_MAX) + 17}) {
        foundation::crypto::openssl::seedGenerator(&byte, size);
        EXPECT_EQ(static_cast<std::size_t>(given), std::min(size, largest)) << size;
    }
}

TEST(PRNGCalls, DrawPiecesOf32767Bytes) {
    struct {
        std::size_t size;
        std::vector<std::intptr_t> pieces;
    } const rows[] = {{0, {}},
                      {1, {1}},
                      {32766, {32766}},
                      {32767, {32767}},
                      {32768, {32767, 1}},
                      {65534, {32767, 32767}},
                      {100000, {32767, 32767, 32767, 1699}}};

    for (auto const& [size, pieces] : rows) {
        Recording const recording;
        ByteArray const drawn = provider.createDefaultCryptoPRNG({})->generateRandomBytes(size);
        ASSERT_EQ(recording.calls().size(), pieces.size());
        std::intptr_t position = asNumber(drawn.data());
        for (std::size_t at = 0; at < pieces.size(); ++at) {
            EXPECT_EQ(recording.calls()[at].function, "RAND_bytes");
            EXPECT_EQ(recording.calls()[at].arguments, (std::vector<std::intptr_t>{position, pieces[at]}));
            position += pieces[at];
        }
    }
}

TEST(PRNGCalls, DrawASingleByte) {
    Recording const recording;
    provider.createDefaultCryptoPRNG({})->generateRandomByte();
    ASSERT_EQ(recording.functions(), (std::vector<std::string>{"RAND_bytes"}));
    EXPECT_EQ(recording.calls()[0].arguments[1], 1);
}

TEST(PRNGCalls, BringTheBytesOfTheGenerator) {
    Replacing<decltype(RAND_bytes)> const counting("RAND_bytes", [](auto /*real*/, unsigned char* data, int size) {
        for (int at = 0; at < size; ++at) {
            data[at] = static_cast<unsigned char>(at + 1);
        }
        return 1;
    });
    auto const prng = provider.createDefaultCryptoPRNG({});
    EXPECT_EQ(hex(prng->generateRandomBytes(4)), "01020304");
    EXPECT_EQ(prng->generateRandomByte(), 1);
}

void generateByte() {
    provider.createDefaultCryptoPRNG({})->generateRandomByte();
}

void generateBytes() {
    provider.createDefaultCryptoPRNG({})->generateRandomBytes(100000);
}

// -1 is of a generator that does not support the call.
std::vector<Result> const notOne{0, -1, made(0)};

std::vector<Fault> const faults{
    {"Byte", "RAND_bytes", 1, generateByte, notGenerated, notOne, true},
    {"FirstPiece", "RAND_bytes", 1, generateBytes, notGenerated, notOne, true},
    {"SecondPiece", "RAND_bytes", 2, generateBytes, notGenerated, notOne, true},
    {"LastPiece", "RAND_bytes", 4, generateBytes, notGenerated, notOne, true},
};

class PRNGCallFaults : public testing::TestWithParam<Fault> {};

INSTANTIATE_TEST_SUITE_P(, PRNGCallFaults, testing::ValuesIn(expanded(faults)), nameOf);

TEST_P(PRNGCallFaults, AreReportedWithTheErrorText) {
    expectReported<InternalException>(GetParam());
}

TEST(PRNGFaults, AreNotTriedAgain) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    Recording const recording;
    Failing const failing("RAND_bytes", 2);
    EXPECT_THROWS_PREFIX(InternalException, notGenerated, prng->generateRandomBytes(100000));
    EXPECT_EQ(recording.count("RAND_bytes"), 2U);
}

TEST(PRNGFaults, OfAllocationNameTheSize) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    std::string const text = "std::bad_alloc;Size = ";
    for (std::size_t const size : {1U, 32767U, 100000U}) {
        std::string const expected = text + std::to_string(size);
        FailingAllocation const failing;
        EXPECT_THROWS(InternalException, expected, prng->generateRandomBytes(size));
    }
    {
        std::string const expected = text + "1";
        FailingAllocation const failing;
        EXPECT_THROWS(InternalException, expected, prng->generateRandomByte());
    }
    std::size_t const largest = ByteArray().max_size(); // an array that is possible, but fits into no memory
    EXPECT_THROWS(InternalException, text + std::to_string(largest), prng->generateRandomBytes(largest));
}

TEST(PRNGFaults, OfAllocationAreTheStandardOnesInTheFactory) {
    FailingAllocation const failing;
    EXPECT_THROWS(std::bad_alloc, "std::bad_alloc", provider.createDefaultCryptoPRNG(bytes("seed")));
}

TEST(PRNGFaults, OfSeedingLeaveNoErrorBehind) {
    ERR_raise(ERR_LIB_USER, 7);
    Replacing<decltype(RAND_seed)> const failing(
        "RAND_seed", [](auto /*real*/, void const* /*data*/, int /*size*/) { ERR_raise(ERR_LIB_USER, 8); });
    EXPECT_TRUE(provider.createDefaultCryptoPRNG(bytes("seed"))->isSeeded());
    EXPECT_EQ(ERR_GET_REASON(ERR_get_error()), 7);
    EXPECT_EQ(ERR_get_error(), 0UL);
}

} // namespace
