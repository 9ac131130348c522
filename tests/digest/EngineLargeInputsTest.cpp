// Keys, seeds and messages above 4 GiB. Needs 9 GiB of free memory and up to four minutes.
#include "support/Bytes.h"
#include "support/Provider.h"
#include "support/Throws.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>

namespace {

using namespace support;
using foundation::crypto::interfaces::DigestEnginePtr;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::InternalException;

constexpr std::size_t gibibyte = std::size_t(1) << 30;

ByteArray const& large() {
    static ByteArray const bytes(4 * gibibyte + 16, 'a');
    return bytes;
}

TEST(LargeHMACKeys, AreRefused) {
    for (auto const create :
         {&CryptoProvider::createHMACSHA1DigestEngine, &CryptoProvider::createHMACSHA256DigestEngine,
          &CryptoProvider::createHMACSHA512DigestEngine}) {
        EXPECT_THROWS(InternalException, "Could not initialize the digest context. No OpenSSL errors.",
                      (provider.*create)(large()));
    }
}

TEST(LargeBlake2bKeysAndSalts, AreRefused) {
    char const* const text = "Could not initialize the digest context in MAC mode.";
    EXPECT_THROWS(InternalException, text, provider.createBlake2bDigestEngine(large(), {}));
    EXPECT_THROWS(InternalException, text, provider.createBlake2bDigestEngine(bytes("key"), large()));
}

TEST(LargeSeeds, AreTaken) {
    EXPECT_TRUE(provider.createDefaultCryptoPRNG(large())->isSeeded());
}

TEST(LargeMessages, AreHashedToTheirEnd) {
    ByteArray const key = bytes("key");

    struct {
        char const* name;
        DigestEnginePtr engine;
    } const rows[] = {{"MD5", provider.createMD5DigestEngine()},
                      {"SHA-1", provider.createSHA1DigestEngine()},
                      {"SHA-256", provider.createSHA256DigestEngine()},
                      {"SHA-512", provider.createSHA512DigestEngine()},
                      {"HMAC", provider.createHMACSHA256DigestEngine(key)},
                      {"BLAKE2b", provider.createBlake2bDigestEngine({}, {})},
                      {"BLAKE2b MAC", provider.createBlake2bDigestEngine(key, {})}};

    for (auto const& [name, engine] : rows) {
        for (std::size_t fed = 0; fed < large().size();) {
            std::size_t const piece = std::min(gibibyte, large().size() - fed);
            engine->update(large().data() + fed, piece);
            fed += piece;
        }
        ByteArray const inPieces = engine->finalize();
        EXPECT_EQ(engine->computeDigest(large()), inPieces) << name;
    }
}

} // namespace
