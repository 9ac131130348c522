#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/Threads.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <set>
#include <stdexcept>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;

TEST(PRNG, TellsWhetherItWasSeeded) {
    EXPECT_FALSE(provider.createDefaultCryptoPRNG({})->isSeeded());
    EXPECT_TRUE(provider.createDefaultCryptoPRNG({0})->isSeeded());
    EXPECT_TRUE(provider.createDefaultCryptoPRNG(pseudoRandomBytes(100000))->isSeeded());
}

TEST(PRNG, TellsItsName) {
    EXPECT_EQ(provider.createDefaultCryptoPRNG({})->getPRNGName(), "CTR-DRBG");
}

TEST(PRNG, ReturnsAsManyBytesAsAsked) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    for (std::size_t const size : {0U, 1U, 2U, 16U, 32766U, 32767U, 32768U, 65534U, 65535U, 100000U, 10000000U}) {
        EXPECT_EQ(prng->generateRandomBytes(size).size(), size);
    }
}

TEST(PRNG, FillsTheWholeArray) {
    // Every position is found different from zero within a few draws; 8 zeros at one of them have a chance of 2^-64.
    auto const prng = provider.createDefaultCryptoPRNG({});
    ByteArray seen(70000);
    for (int draw = 0; draw < 8; ++draw) {
        ByteArray const bytes = prng->generateRandomBytes(seen.size());
        for (std::size_t at = 0; at < seen.size(); ++at) {
            seen[at] = static_cast<unsigned char>(seen[at] | bytes[at]);
        }
    }
    EXPECT_EQ(std::count(seen.begin(), seen.end(), 0), 0);
}

TEST(PRNG, ReturnsEveryByteValue) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    std::set<unsigned char> values;
    for (int draw = 0; draw < 20000; ++draw) { // a value missing: 256 * (255/256)^20000, about 10^-32
        values.insert(prng->generateRandomByte());
    }
    EXPECT_EQ(values.size(), 256U);
}

TEST(PRNG, IsNotMadeReproducibleByASeed) {
    ByteArray const seed = bytes("the same seed");
    EXPECT_NE(provider.createDefaultCryptoPRNG(seed)->generateRandomBytes(32),
              provider.createDefaultCryptoPRNG(seed)->generateRandomBytes(32));
}

TEST(PRNG, RefusesWhatNoArrayCanHold) {
    auto const prng = provider.createDefaultCryptoPRNG({});
    std::string standardText;
    try {
        ByteArray const tooLong(std::numeric_limits<std::size_t>::max());
    } catch (std::length_error const& error) {
        standardText = error.what();
    }
    ASSERT_FALSE(standardText.empty());
    for (std::size_t const size : {std::numeric_limits<std::size_t>::max(), ByteArray().max_size() + 1}) {
        EXPECT_THROWS(InternalException, standardText, prng->generateRandomBytes(size));
    }
}

TEST(PRNG, ServesSeveralThreadsAtOnce) {
    auto const prng = provider.createDefaultCryptoPRNG(bytes("seed"));
    std::vector<ByteArray> drawn(4);
    onThreads(drawn.size(), [&](std::size_t thread) {
        for (int round = 0; round < 100; ++round) {
            drawn[thread] = prng->generateRandomBytes(1000);
            prng->generateRandomByte();
            EXPECT_TRUE(prng->isSeeded());
        }
    });
    EXPECT_EQ(std::set<ByteArray>(drawn.begin(), drawn.end()).size(), drawn.size());
}

} // namespace
