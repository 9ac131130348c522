// Copies of engines, which the provider's interface does not hand out, and what becomes of the key.
#include "digest/Blake2bDigestEngineImpl.h"

#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Faults.h"
#include "support/Throws.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;
using Engine = openssl::Blake2bDigestEngineImpl<utils::Blake2bDigestAlgorithm>;

/// With the key it is given: an empty one makes a plain hash.
class Blake2bCopies : public testing::TestWithParam<std::string> {
protected:
    static Engine create() { return {bytes(GetParam()), bytes("salt"), 20}; }

    static std::string digestOf(std::string const& message) { return hex(create().computeDigest(bytes(message))); }
};

INSTANTIATE_TEST_SUITE_P(, Blake2bCopies, testing::Values("", "key"),
                         [](auto const& row) { return row.param.empty() ? "Plain" : "Keyed"; });

TEST_P(Blake2bCopies, ContinueTheMessageIndependently) {
    Engine source = create();
    source.update(bytes("ab"));
    Engine copy(source);
    copy.update(bytes("c"));
    source.update(bytes("x"));
    EXPECT_EQ(hex(copy.finalize()), digestOf("abc"));
    EXPECT_EQ(hex(source.finalize()), digestOf("abx"));
}

TEST_P(Blake2bCopies, HaveKeySaltAndSizeForTheNextMessage) {
    Engine const source = create();
    Engine copy(source);
    EXPECT_EQ(copy.getDigestSize(), 20U);
    EXPECT_EQ(copy.getDigestNameForEVP_MD(), source.getDigestNameForEVP_MD());
    copy.finalize();
    EXPECT_EQ(hex(copy.computeDigest(bytes("abc"))), digestOf("abc"));
    EXPECT_EQ(hex(copy.finalize()), digestOf(""));
}

TEST_P(Blake2bCopies, ReplaceEverythingOfTheirTarget) {
    for (std::string const targetKey : {"", "another key"}) {
        Engine source = create();
        Engine target(bytes(targetKey), bytes("pepper"), 64);
        source.update(bytes("ab"));
        target.update(bytes("forgotten"));
        target = source;
        EXPECT_EQ(target.getDigestSize(), 20U);
        EXPECT_EQ(target.getDigestNameForEVP_MD(), source.getDigestNameForEVP_MD());
        EXPECT_EQ(hex(target.computeDigest(bytes("c"))), digestOf("abc"));
        EXPECT_EQ(hex(target.computeDigest(bytes("abc"))), digestOf("abc"));
        EXPECT_EQ(hex(source.finalize()), digestOf("ab"));
    }
}

TEST_P(Blake2bCopies, OntoThemselvesChangeNothing) {
    Engine engine = create();
    engine.update(bytes("ab"));
    auto const& itself = engine;
    Recording const recording;
    engine = itself;
    EXPECT_TRUE(recording.calls().empty());
    EXPECT_EQ(hex(engine.computeDigest(bytes("c"))), digestOf("abc"));
}

TEST_P(Blake2bCopies, OutliveTheirSource) {
    auto source = std::make_unique<Engine>(bytes(GetParam()), bytes("salt"), 20);
    source->update(bytes("ab"));
    Engine copy(*source);
    source.reset();
    EXPECT_EQ(hex(copy.computeDigest(bytes("c"))), digestOf("abc"));
}

TEST_P(Blake2bCopies, OfAnEngineThatIsNotReadyAreNotReadyEither) {
    bool const keyed = !GetParam().empty();
    Engine source = create();
    Engine target = create();
    {
        Failing const failing(keyed ? "EVP_MAC_init" : "EVP_DigestInit_ex2");
        EXPECT_THROW(source.finalize(), InternalException);
    }
    Engine copy(source);
    target = source;
    for (Engine* const engine : {&copy, &target}) {
        EXPECT_THROWS(InternalException,
                      keyed ? "EVP_MAC_update failed" : "Could not update data to the digest state. ",
                      engine->update(nullptr, 0));
        EXPECT_THROW(engine->finalize(), InternalException);
    }
    target = create();
    EXPECT_EQ(hex(target.computeDigest(bytes("abc"))), digestOf("abc"));
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
