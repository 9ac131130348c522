// Copies of engines, which the provider's interface does not hand out, and what becomes of the key.
#include "digest/Blake2bDigestEngineImpl.h"

#include "EngineCopyTests.h"
#include "support/Allocations.h"

#include <gtest/gtest.h>

#include <string>

namespace support {

namespace {

using namespace foundation::crypto;
using utils::InternalException;
using Engine = openssl::Blake2bDigestEngineImpl<utils::Blake2bDigestAlgorithm>;

Engine withKey(std::string const& key) {
    return {bytes(key), bytes("salt"), 20};
}

struct PlainHash {
    using Engine = openssl::Blake2bDigestEngineImpl<utils::Blake2bDigestAlgorithm>;
    static constexpr auto restart = "EVP_DigestInit_ex2";
    static constexpr auto notUpdated = "Could not update data to the digest state. ";
    static constexpr auto notFinalized = "Failed to finalize the digest generation in Blake-2b non-MAC mode.";

    static Engine create() { return withKey(""); }

    static std::string finish(Engine& copy) { return hex(copy.finalize()); }
};

struct MAC : PlainHash {
    static constexpr auto restart = "EVP_MAC_init";
    static constexpr auto notUpdated = "EVP_MAC_update failed";
    static constexpr auto notFinalized = "Failed to finalize the digest generation in Blake-2b MAC mode.";

    static Engine create() { return withKey("key"); }
};

using Kinds = testing::Types<PlainHash, MAC>;
INSTANTIATE_TYPED_TEST_SUITE_P(Blake2b, Copies, Kinds);

template <class Kind> class Blake2bCopies : public Copies<Kind> {};

TYPED_TEST_SUITE(Blake2bCopies, Kinds);

TYPED_TEST(Blake2bCopies, HaveKeySaltAndSizeForTheNextMessage) {
    Engine const source = TypeParam::create();
    Engine copy(source);
    EXPECT_EQ(copy.getDigestSize(), 20U);
    EXPECT_EQ(copy.getDigestNameForEVP_MD(), source.getDigestNameForEVP_MD());
    copy.finalize();
    EXPECT_EQ(hex(copy.computeDigest(bytes("abc"))), this->digestOf("abc"));
    EXPECT_EQ(hex(copy.finalize()), this->digestOf(""));
}

TYPED_TEST(Blake2bCopies, ReplaceEverythingOfTheirTarget) {
    for (std::string const targetKey : {"", "another key"}) {
        Engine source = TypeParam::create();
        Engine target(bytes(targetKey), bytes("pepper"), 64);
        source.update(bytes("ab"));
        target.update(bytes("forgotten"));
        target = source;
        EXPECT_EQ(target.getDigestSize(), 20U);
        EXPECT_EQ(target.getDigestNameForEVP_MD(), source.getDigestNameForEVP_MD());
        EXPECT_EQ(hex(target.computeDigest(bytes("c"))), this->digestOf("abc"));
        EXPECT_EQ(hex(target.computeDigest(bytes("abc"))), this->digestOf("abc"));
        EXPECT_EQ(hex(source.finalize()), this->digestOf("ab"));
    }
}

TEST(Blake2bCopy, OfAMACWithoutAContextHasNone) {
    Engine source(bytes("key"), {}, 20);
    {
        Failing const failing("EVP_MAC_CTX_new");
        EXPECT_THROW(source.finalize(), InternalException);
    }
    Recording const recording;
    Engine copy(source);
    EXPECT_TRUE(recording.calls().empty());
    EXPECT_THROWS(InternalException, "EVP_MAC_update failed", copy.update(bytes("abc")));
}

TEST(Blake2bCopy, OfAPlainHashWithoutAContextFails) {
    Engine source({}, {}, 20);
    {
        Failing const failing("EVP_MD_CTX_new");
        EXPECT_THROW(source.finalize(), InternalException);
    }
    EXPECT_THROWS(InternalException, "Could not copy underlying EVP_MD_CTX.", Engine(source));
}

// The key in memory

ByteArray const secret = pseudoRandomBytes(48, 7);

TEST(Blake2bKeysInMemory, AreWipedWhenTheEngineGoes) {
    ReleaseWatch const watch(secret);
    {
        Engine engine(secret, bytes("salt"), 64);
        engine.computeDigest(bytes("abc"));
        Engine const copy(engine);
        Engine target(bytes("other"), {}, 20);
        target = engine;
        target = Engine({}, {}, 20);
    }
    EXPECT_GT(watch.blocks(), 0U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

TEST(Blake2bKeysInMemory, AreWipedWhenTheEngineCannotBeMade) {
    ReleaseWatch const watch(secret);
    EXPECT_THROW(Engine(secret, {}, 0), InternalException);
    EXPECT_THROW(Engine(secret, ByteArray(17), 64), InternalException);
    EXPECT_GT(watch.blocks(), 0U);
    EXPECT_EQ(watch.blocksWithSecret(), 0U);
}

} // namespace

} // namespace support
