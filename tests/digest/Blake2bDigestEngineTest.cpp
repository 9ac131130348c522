#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/EngineTests.h"
#include "support/Provider.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <set>
#include <sstream>
#include <string>

namespace {

using namespace support;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKey;

DigestEnginePtr create(ByteArray const& key, ByteArray const& salt, std::size_t size) {
    return provider.createBlake2bDigestEngineWithCustomSize(key, salt, size);
}

EngineCase engineCase(std::string const& test, std::string const& key, std::string const& salt, std::size_t size,
                      std::string const& emptyDigest) {
    return {test,      [=] { return create(bytes(key), bytes(salt), size); },
            "BLAKE2b", key.empty() ? "BLAKE2B" : "BLAKE2BMAC",
            size,      emptyDigest};
}

// The digests of the empty message, by CPython's hashlib.
INSTANTIATE_TEST_SUITE_P(
    Blake2b, Engines,
    testing::Values(
        EngineCase{"DefaultSize", [] { return provider.createBlake2bDigestEngine({}, {}); }, "BLAKE2b", "BLAKE2B", 64,
                   "786a02f742015903c6c6fd852552d272912f4740e15847618a86e217f71f5419"
                   "d25e1031afee585313896444934eb04b903a685b1448b755d56f701afe9be2ce"},
        EngineCase{"DefaultSizeWithKey", [] { return provider.createBlake2bDigestEngine(bytes("key"), {}); }, "BLAKE2b",
                   "BLAKE2BMAC", 64,
                   "5b3cfd8f422b490b764b55eceb330b500c79cbefa9a928ad00202b8b3c5dd778"
                   "a81122570434a2e3b8bfd028d105dfefd0a9576e88ed66de742ca9fbb5f8d2b6"},
        engineCase("Shortest", "", "", 1, "2e"),
        engineCase("OfTwentyBytes", "", "", 20, "3345524abf6bbe1809449224b5972c41790b6cf2"),
        engineCase("OfTwentyBytesWithKeyAndSalt", "key", "salt", 20, "716e802b606401d49a743c5d525f595578e05cca")),
    nameOf);

TEST(Blake2bVectors, KnowTheExampleOfRFC7693) {
    EXPECT_EQ(hex(provider.createBlake2bDigestEngine({}, {})->computeDigest(bytes("abc"))),
              "ba80a53f981c4d0d6a2797b69f12f6e94c212f14685ac4b74b12bb6fdbffa2d1"
              "7d87c5392aab792dc252d5de4533cc9518d38aa8dbf1925ab92386edd4009923");
}

/// The deterministic sequences of RFC 7693, appendix E.
ByteArray selfTestSequence(std::size_t size, std::uint32_t seed) {
    ByteArray result(size);
    std::uint32_t a = 0xDEAD4BADU * seed;
    std::uint32_t b = 1;
    for (unsigned char& byte : result) {
        std::uint32_t const t = a + b;
        a = b;
        b = t;
        byte = static_cast<unsigned char>(t >> 24U);
    }
    return result;
}

TEST(Blake2bVectors, PassTheSelfTestOfRFC7693) {
    auto const all = create({}, {}, 32);
    for (std::uint32_t const size : {20U, 32U, 48U, 64U}) {
        for (std::uint32_t const length : {0U, 3U, 128U, 129U, 255U, 1024U}) {
            ByteArray const message = selfTestSequence(length, length);
            all->update(create({}, {}, size)->computeDigest(message));
            all->update(create(selfTestSequence(size, size), {}, size)->computeDigest(message));
        }
    }
    EXPECT_EQ(hex(all->finalize()), "c23a7800d98123bd10f506c61e29da5603d763b8bbad2e737f5e765a7bccd475");
}

TEST(Blake2bVectors, WithAKeyAgreeHoweverTheMessageArrives) {
    std::set<std::size_t> sizes;
    for (Vector const& vector : readVectors("blake2b_keyed.txt")) {
        SCOPED_TRACE(vector.id());
        ByteArray const message = vector.bytes("msg");
        std::string const mac = vector.word("mac");
        auto const size = static_cast<std::size_t>(vector.number("size"));
        auto const engine = create(vector.bytes("key"), vector.bytes("salt"), size);
        sizes.insert(size);

        EXPECT_EQ(hex(engine->computeDigest(message)), mac);
        std::istringstream stream(text(message));
        EXPECT_EQ(hex(engine->computeDigest(stream)), mac);
        for (std::size_t split = 0; split <= message.size(); split += 1 + split / 4) {
            engine->update(message.data(), split);
            engine->update(message.data() + split, message.size() - split);
            EXPECT_EQ(hex(engine->finalize()), mac) << "split at " << split;
        }
    }
    EXPECT_EQ(sizes.size(), 64U);
}

TEST(Blake2bVectors, WithoutAKeyAgreeWithTheSystemsOwnToolAtEverySize) {
    TemporaryDirectory const directory;
    std::vector<ByteArray> messages;
    std::string paths;
    for (std::size_t const length : {0U, 1U, 127U, 128U, 129U, 1024U, 2500U, 100000U}) {
        messages.push_back(pseudoRandomBytes(length, length));
        std::string const path = directory / std::to_string(length);
        writeFile(path, messages.back());
        paths += " " + path;
    }
    for (std::size_t size = 1; size <= 64; ++size) {
        CommandResult const tool = run("b2sum -l " + std::to_string(8 * size) + paths);
        ASSERT_EQ(tool.status, 0);
        std::istringstream lines(tool.output);
        auto const engine = create({}, {}, size);
        for (ByteArray const& message : messages) {
            std::string expected;
            std::string path;
            lines >> expected >> path;
            EXPECT_EQ(hex(engine->computeDigest(message)), expected) << size << ", " << path;
            std::istringstream stream(text(message));
            EXPECT_EQ(hex(engine->computeDigest(stream)), expected) << size << ", " << path;
        }
    }
}

TEST(Blake2bSizes, AreFromOneTo64) {
    for (std::size_t const size :
         {std::size_t(0), std::size_t(65), std::size_t(256), std::numeric_limits<std::size_t>::max()}) {
        for (std::string const key : {"", "key"}) {
            EXPECT_THROWS(InternalException, "Invalid digest size for Blake2b digest engine.",
                          create(bytes(key), {}, size));
        }
    }
    EXPECT_THROWS(InternalException, "Invalid digest size for Blake2b digest engine.", create(ByteArray(65), {}, 0));
}

TEST(Blake2bSizes, AreNoTruncations) {
    std::string const whole = hex(create({}, {}, 64)->computeDigest(bytes("abc")));
    std::string const half = hex(create({}, {}, 32)->computeDigest(bytes("abc")));
    EXPECT_NE(half, whole.substr(0, 64));
}

TEST(Blake2bKeys, DecideAlone) {
    ByteArray const plain = provider.createBlake2bDigestEngine({}, {})->computeDigest(bytes("abc"));
    for (std::size_t const size : {1U, 16U, 17U, 1000U}) {
        auto const salted = provider.createBlake2bDigestEngine({}, pseudoRandomBytes(size));
        EXPECT_EQ(salted->getDigestNameForEVP_MD(), "BLAKE2B");
        EXPECT_EQ(salted->computeDigest(bytes("abc")), plain);
        EXPECT_EQ(salted->computeDigest(bytes("abc")), plain);
    }
    EXPECT_EQ(provider.createBlake2bDigestEngine({0}, {})->getDigestNameForEVP_MD(), "BLAKE2BMAC");
}

TEST(Blake2bKeys, AreLimitedByLibcrypto) {
    std::string const refused = "Could not initialize the digest context in MAC mode.";
    EXPECT_NO_THROW(provider.createBlake2bDigestEngine(ByteArray(64), ByteArray(16)));
    EXPECT_THROWS(InternalException, refused, provider.createBlake2bDigestEngine(ByteArray(65), {}));
    EXPECT_THROWS(InternalException, refused, provider.createBlake2bDigestEngine(ByteArray(1), ByteArray(17)));
}

TEST(Blake2bKeys, AndSaltsAreCopied) {
    ByteArray key = bytes("key");
    ByteArray salt = bytes("salt");
    auto const engine = create(key, salt, 20);
    key.assign(3, 'x');
    salt.assign(4, 'x');
    engine->finalize();
    EXPECT_EQ(hex(engine->finalize()), "716e802b606401d49a743c5d525f595578e05cca");
}

TEST(Blake2bStreams, ThatThrowTheLibrarysOwnExceptionsPassThemUnchanged) {
    for (std::string const key : {"", "key"}) {
        ThrowingBuffer<InvalidKey> buffer(InvalidKey(std::string("of a\0stream", 11)));
        std::istream stream(&buffer);
        stream.exceptions(std::ios_base::badbit);
        try {
            create(bytes(key), {}, 64)->computeDigest(stream);
            ADD_FAILURE() << "nothing thrown";
        } catch (InvalidKey const& error) {
            EXPECT_EQ(std::string(error.what(), 11), std::string("of a\0stream", 11));
        }
    }
}

} // namespace
