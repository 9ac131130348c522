#include "support/Bytes.h"
#include "support/EngineTests.h"
#include "support/Provider.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

using namespace support;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKey;

using Create = DigestEnginePtr (CryptoProvider::*)(ByteArray const&) const;

Create creatorFor(std::string const& hash) {
    return hash == "sha1"     ? &CryptoProvider::createHMACSHA1DigestEngine
           : hash == "sha256" ? &CryptoProvider::createHMACSHA256DigestEngine
           : hash == "sha512" ? &CryptoProvider::createHMACSHA512DigestEngine
                              : throw std::out_of_range(hash);
}

DigestEnginePtr create(std::string const& hash, ByteArray const& key) {
    return (provider.*creatorFor(hash))(key);
}

EngineCase underKey(std::string const& hash, std::string const& name, std::size_t size, std::string const& emptyCode) {
    return {hash, [hash] { return create(hash, bytes("key")); }, name, hash, size, emptyCode};
}

// The codes of the empty message under the key "key", by CPython's hmac module.
INSTANTIATE_TEST_SUITE_P(HMAC, Engines,
                         testing::Values(underKey("sha1", "HMAC-SHA1", 20, "f42bb0eeb018ebbd4597ae7213711ec60760843f"),
                                         underKey("sha256", "HMAC-SHA256", 32,
                                                  "5d5d139563c95b5967b9bd9a8c9b233a9dedb45072794cd232dc1b74832607d0"),
                                         underKey("sha512", "HMAC-SHA512", 64,
                                                  "84fa5aa0279bbc473267d05a53ea03310a987cecc4c1535ff29b6d76b8f1444a"
                                                  "728df3aadb89d4a9a6709e1998f373566e8f824a8ca93b1821f0b69bc2a2f65e")),
                         nameOf);

bool startsWith(std::string const& text, std::string const& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

TEST(HMACVectors, OfTheRFCsAgreeHoweverTheMessageArrives) {
    for (Vector const& vector : readVectors("hmac_rfc.txt")) {
        SCOPED_TRACE(vector.id());
        ByteArray const message = vector.bytes("msg");
        std::string const tag = vector.word("tag");
        auto const engine = create(vector.word("hash"), vector.bytes("key"));

        ByteArray const code = engine->computeDigest(message);
        EXPECT_TRUE(startsWith(hex(code), tag)) << hex(code);
        EXPECT_EQ(engine->finalize(), create(vector.word("hash"), vector.bytes("key"))->finalize());
        std::istringstream stream(text(message));
        EXPECT_EQ(engine->computeDigest(stream), code);
        for (std::size_t split = 0; split <= message.size(); ++split) {
            engine->update(message.data(), split);
            engine->update(message.data() + split, message.size() - split);
            EXPECT_EQ(engine->finalize(), code) << "split at " << split;
        }
    }
}

TEST(HMACVectors, AreAcceptedAndRefusedAsPublished) {
    std::size_t valid = 0;
    for (Vector const& vector : readVectors("hmac.txt")) {
        SCOPED_TRACE(vector.id());
        bool const accepted = vector.expected() == "valid";
        ByteArray const message = vector.bytes("msg");
        auto const engine = create(vector.word("hash"), vector.bytes("key"));

        ByteArray const code = engine->computeDigest(message);
        EXPECT_EQ(code == vector.bytes("tag"), accepted);
        std::istringstream stream(text(message));
        EXPECT_EQ(engine->computeDigest(stream), code);
        for (unsigned char const byte : message) {
            engine->update(&byte, 1);
        }
        EXPECT_EQ(engine->finalize(), code);
        valid += accepted ? 1 : 0;
    }
    EXPECT_EQ(valid, 99U);
}

TEST(HMACKeys, MayHaveAnyLengthButZero) {
    for (std::string const hash : {"sha1", "sha256", "sha512"}) {
        for (std::size_t const size : {1U, 63U, 64U, 65U, 127U, 128U, 129U, 131U, 100000U}) {
            EXPECT_NO_THROW(create(hash, pseudoRandomBytes(size))->computeDigest(bytes("abc"))) << hash << ", " << size;
        }
        EXPECT_THROWS(InternalException, "Could not initialize the digest context. No OpenSSL errors.",
                      create(hash, {}));
    }
}

TEST(HMACKeys, LongerThanABlockCountByTheirHash) {
    ByteArray const key = pseudoRandomBytes(131);
    EXPECT_EQ(provider.createHMACSHA256DigestEngine(key)->computeDigest(bytes("abc")),
              provider.createHMACSHA256DigestEngine(provider.createSHA256DigestEngine()->computeDigest(key))
                  ->computeDigest(bytes("abc")));
    ByteArray const block = pseudoRandomBytes(64);
    ByteArray padded = block;
    padded.resize(128); // a block of SHA-512 is 128 bytes, so zeros up to there are no part of the key
    EXPECT_EQ(provider.createHMACSHA512DigestEngine(block)->finalize(),
              provider.createHMACSHA512DigestEngine(padded)->finalize());
}

TEST(HMACKeys, AreCopied) {
    ByteArray key = bytes("key");
    auto const engine = provider.createHMACSHA256DigestEngine(key);
    key.assign(3, 'x');
    engine->finalize();
    EXPECT_EQ(engine->finalize(), provider.createHMACSHA256DigestEngine(bytes("key"))->finalize());
}

TEST(HMACStreams, ThatThrowTheLibrarysOwnExceptionsAreTranslatedToo) {
    ThrowingBuffer<InvalidKey> buffer(InvalidKey("of a stream"));
    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROWS(InternalException, "of a stream", create("sha256", bytes("key"))->computeDigest(stream));
}

} // namespace
