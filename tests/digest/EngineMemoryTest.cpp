// Every allocation that libcrypto makes for an engine or a key derivation, failing one after the other: whatever it
// does then, the answer is right or an exception, and what is left of the engine can be used and released.
#include "digest/Blake2bDigestEngineImpl.h"
#include "digest/DigestEngine.h"
#include "digest/HMACDigestEngine.h"
#include "kdf/PBKDF2.h"

#include "support/Bytes.h"
#include "support/LibcryptoHeap.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;

/// The result of `work`, or an empty one where it threw.
template <class Work> ByteArray resultOf(Work&& work) {
    try {
        return work();
    } catch (InternalException const&) {
        return {};
    }
}

/// Fails the allocations of every operation of the engines that `create` makes.
template <class Engine, class Create> void failEachInEveryOperation(Create const& create) {
    ByteArray const expected = create()->computeDigest(bytes("abc"));
    auto const expectRightOrNone = [&](ByteArray const& found) { EXPECT_TRUE(found.empty() || found == expected); };
    auto const expectRightIfAny = [&](ByteArray const* found) { EXPECT_TRUE(found == nullptr || *found == expected); };
    std::unique_ptr<Engine> engine;
    std::unique_ptr<Engine> target;

    int const ofMaking = failEach(create, [&](std::unique_ptr<Engine> const* made) {
        if (made != nullptr) {
            EXPECT_EQ((*made)->computeDigest(bytes("abc")), expected);
        }
    });
    int const ofFinalizing = failEachAfter(
        [&] {
            engine = create();
            engine->update(bytes("abc"));
            return [&] { return engine->finalize(); };
        },
        [&](ByteArray const* found) {
            expectRightIfAny(found);
            expectRightOrNone(resultOf([&] { return engine->computeDigest(bytes("abc")); }));
            expectRightOrNone(resultOf([&] { return engine->computeDigest(bytes("abc")); }));
        });
    std::istringstream stream;
    int const ofReading = failEachAfter(
        [&] {
            engine = create();
            stream = std::istringstream("abc");
            return [&] { return engine->computeDigest(stream); };
        },
        expectRightIfAny);
    int const ofCopying = failEachAfter(
        [&] {
            engine = create();
            engine->update(bytes("ab"));
            target = create();
            return [&] {
                Engine copy(*engine);
                *target = copy;
                return target->computeDigest(bytes("c"));
            };
        },
        [&](ByteArray const* found) {
            expectRightIfAny(found);
            EXPECT_EQ(engine->computeDigest(bytes("c")), expected);
            resultOf([&] { return target->computeDigest(bytes("abc")); });
        });
    EXPECT_GT(ofMaking + ofFinalizing + ofReading + ofCopying, 0);
}

TEST(EngineMemory, ThatRunsOutDoesNotHarmAPlainDigest) {
    using Engine = openssl::DigestEngine<utils::SHA256DigestAlgorithm>;
    failEachInEveryOperation<Engine>([] { return std::make_unique<Engine>(); });
}

TEST(EngineMemory, ThatRunsOutDoesNotHarmAnHMAC) {
    using Engine = openssl::HMACDigestEngine<utils::HMACSHA256DigestAlgorithm>;
    failEachInEveryOperation<Engine>([] { return std::make_unique<Engine>(bytes("key")); });
}

TEST(EngineMemory, ThatRunsOutDoesNotHarmBlake2b) {
    using Engine = openssl::Blake2bDigestEngineImpl<utils::Blake2bDigestAlgorithm>;
    for (std::string const key : {"", "key"}) {
        failEachInEveryOperation<Engine>([&] { return std::make_unique<Engine>(bytes(key), bytes("salt"), 20); });
    }
}

TEST(EngineMemory, ThatRunsOutDoesNotHarmAKeyDerivation) {
    auto const derive = [] { return openssl::deriveKeyUsingPBKDF2("password", "salt", 100, 2); };
    ByteArray const expected = derive();
    int const failures =
        failEach(derive, [&](ByteArray const* key) { EXPECT_TRUE(key == nullptr || *key == expected); });
    EXPECT_GT(failures, 0);
}

} // namespace
