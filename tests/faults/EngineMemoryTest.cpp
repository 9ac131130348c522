// Every allocation that libcrypto makes for an engine or a key derivation, failing one after the other: whatever it
// does then, the answer is right or an exception, and what is left of the engine can be used and released.
#include "Blake2bDigestEngineImpl.h"
#include "DigestEngine.h"
#include "HMACDigestEngine.h"
#include "PBKDF2.h"

#include "support/Bytes.h"

#include <gtest/gtest.h>

#include <openssl/crypto.h>

#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

namespace {

using namespace support;
using namespace foundation::crypto;
using utils::InternalException;

thread_local int untilFailure = 0; // 0: none is to fail
thread_local bool failed = false;

bool failsNow() {
    if (untilFailure == 0 || --untilFailure > 0) {
        return false;
    }
    failed = true;
    return true;
}

void* allocate(std::size_t size, char const* /*file*/, int /*line*/) {
    return failsNow() ? nullptr : std::malloc(size);
}

void* reallocate(void* block, std::size_t size, char const* /*file*/, int /*line*/) {
    return failsNow() ? nullptr : std::realloc(block, size);
}

void release(void* block, char const* /*file*/, int /*line*/) {
    std::free(block);
}

// libcrypto takes them only before it has allocated anything.
bool const replaced = CRYPTO_set_mem_functions(allocate, reallocate, release) == 1;

class EngineMemory : public testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(replaced); }

    void TearDown() override { EXPECT_GT(failures_, 0) << "no allocation was made"; }

    /// Runs `attempt` with the first, the second, ... allocation of libcrypto failing, until it has none left to fail.
    template <class Attempt> void failEach(Attempt&& attempt) {
        attempt([] {}, [] {}); // libcrypto's first use of an algorithm is not what is tested
        int nth = 0;
        do {
            ++nth;
            SCOPED_TRACE("allocation " + std::to_string(nth));
            failed = false;
            attempt([&] { untilFailure = nth; }, [] { untilFailure = 0; });
            failures_ += failed ? 1 : 0;
        } while (failed);
    }

    template <class Engine, class Create> void failEachInEveryOperation(Create create);

private:
    int failures_ = 0;
};

/// The result of `work`, or an empty one where it threw.
template <class Work> ByteArray resultOf(Work&& work) {
    try {
        return work();
    } catch (InternalException const&) {
        return {};
    }
}

template <class Engine, class Create> void EngineMemory::failEachInEveryOperation(Create create) {
    ByteArray const expected = create()->computeDigest(bytes("abc"));
    auto const expectRightOrNone = [&](ByteArray const& found) { EXPECT_TRUE(found.empty() || found == expected); };

    failEach([&](auto arm, auto disarm) { // made
        arm();
        auto const engine = [&]() -> std::unique_ptr<Engine> {
            try {
                return create();
            } catch (InternalException const&) {
                return nullptr;
            }
        }();
        disarm();
        if (engine != nullptr) {
            EXPECT_EQ(engine->computeDigest(bytes("abc")), expected);
        }
    });
    failEach([&](auto arm, auto disarm) { // finalised, and used again
        auto const engine = create();
        engine->update(bytes("abc"));
        arm();
        expectRightOrNone(resultOf([&] { return engine->finalize(); }));
        disarm();
        expectRightOrNone(resultOf([&] { return engine->computeDigest(bytes("abc")); }));
        expectRightOrNone(resultOf([&] { return engine->computeDigest(bytes("abc")); }));
    });
    failEach([&](auto arm, auto disarm) { // fed from a stream
        auto const engine = create();
        std::istringstream stream("abc");
        arm();
        expectRightOrNone(resultOf([&] { return engine->computeDigest(stream); }));
        disarm();
    });
    failEach([&](auto arm, auto disarm) { // copied and assigned
        auto const source = create();
        auto const target = create();
        source->update(bytes("ab"));
        arm();
        expectRightOrNone(resultOf([&] {
            Engine copy(*source);
            *target = copy;
            return target->computeDigest(bytes("c"));
        }));
        disarm();
        EXPECT_EQ(source->computeDigest(bytes("c")), expected);
        resultOf([&] { return target->computeDigest(bytes("abc")); });
    });
}

TEST_F(EngineMemory, ThatRunsOutDoesNotHarmAPlainDigest) {
    using Engine = openssl::DigestEngine<utils::SHA256DigestAlgorithm>;
    failEachInEveryOperation<Engine>([] { return std::make_unique<Engine>(); });
}

TEST_F(EngineMemory, ThatRunsOutDoesNotHarmAnHMAC) {
    using Engine = openssl::HMACDigestEngine<utils::HMACSHA256DigestAlgorithm>;
    failEachInEveryOperation<Engine>([] { return std::make_unique<Engine>(bytes("key")); });
}

TEST_F(EngineMemory, ThatRunsOutDoesNotHarmBlake2b) {
    using Engine = openssl::Blake2bDigestEngineImpl<utils::Blake2bDigestAlgorithm>;
    for (std::string const key : {"", "key"}) {
        failEachInEveryOperation<Engine>([&] { return std::make_unique<Engine>(bytes(key), bytes("salt"), 20); });
    }
}

TEST_F(EngineMemory, ThatRunsOutDoesNotHarmAKeyDerivation) {
    ByteArray const expected = openssl::deriveKeyUsingPBKDF2("password", "salt", 100, 2);
    failEach([&](auto arm, auto disarm) {
        arm();
        ByteArray const key = resultOf([] { return openssl::deriveKeyUsingPBKDF2("password", "salt", 100, 2); });
        disarm();
        EXPECT_TRUE(key.empty() || key == expected);
    });
}

} // namespace
