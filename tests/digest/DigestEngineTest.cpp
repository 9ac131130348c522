#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/EngineTests.h"
#include "support/Provider.h"
#include "support/Vectors.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::InternalException;
using foundation::crypto::utils::InvalidKey;

struct Family {
    std::string name; // as in the vector file
    std::string evpName;
    std::size_t size;
    DigestEnginePtr (CryptoProvider::*create)() const;
    std::string command; // the tool that computes the same
    std::string emptyDigest;
};

std::vector<Family> const families{
    {"MD5", "md5", 16, &CryptoProvider::createMD5DigestEngine, "md5sum", "d41d8cd98f00b204e9800998ecf8427e"},
    {"SHA1", "sha1", 20, &CryptoProvider::createSHA1DigestEngine, "sha1sum",
     "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
    {"SHA224", "sha224", 28, &CryptoProvider::createSHA224DigestEngine, "sha224sum",
     "d14a028c2a3a2bc9476102bb288234c415a2b01f828ea62ac5b3e42f"},
    {"SHA256", "sha256", 32, &CryptoProvider::createSHA256DigestEngine, "sha256sum",
     "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {"SHA384", "sha384", 48, &CryptoProvider::createSHA384DigestEngine, "sha384sum",
     "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da274edebfe76f65fbd51ad2f14898b95b"},
    {"SHA512", "sha512", 64, &CryptoProvider::createSHA512DigestEngine, "sha512sum",
     "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a"
     "538327af927da3e"},
};

Family const& familyNamed(std::string const& name) {
    for (Family const& family : families) {
        if (family.name == name) {
            return family;
        }
    }
    throw std::out_of_range(name);
}

DigestEnginePtr create(Family const& family) {
    return (provider.*family.create)();
}

std::vector<EngineCase> engineCases() {
    std::vector<EngineCase> cases;
    for (Family const& family : families) {
        cases.push_back({family.name, [&] { return create(family); }, family.name, family.evpName, family.size,
                         family.emptyDigest});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Digest, Engines, testing::ValuesIn(engineCases()), nameOf);

// Known answers: RFC 1321, FIPS 180-4 and NIST's example computations.

TEST(DigestVectors, AgreeHoweverTheMessageArrives) {
    for (Vector const& vector : readVectors("digests.txt")) {
        if (vector.has("repeat")) {
            continue;
        }
        SCOPED_TRACE(vector.id());
        ByteArray const message = vector.bytes("msg");
        std::string const expected = vector.word("digest");
        auto const engine = create(familyNamed(vector.word("hash")));

        EXPECT_EQ(hex(engine->computeDigest(message)), expected);
        std::istringstream stream(text(message));
        EXPECT_EQ(hex(engine->computeDigest(stream)), expected);
        for (std::size_t split = 0; split <= message.size(); ++split) {
            engine->update(message.data(), split);
            engine->update(message.data() + split, message.size() - split);
            EXPECT_EQ(hex(engine->finalize()), expected) << "split at " << split;
        }
    }
}

TEST(DigestVectors, KnowAMillionLettersA) {
    std::size_t known = 0;
    for (Vector const& vector : readVectors("digests.txt")) {
        if (vector.has("repeat")) {
            SCOPED_TRACE(vector.id());
            std::string const part = text(vector.bytes("msg"));
            std::string message;
            for (int times = vector.number("repeat"); times > 0; --times) {
                message += part;
            }
            std::istringstream stream(message);
            EXPECT_EQ(hex(create(familyNamed(vector.word("hash")))->computeDigest(stream)), vector.word("digest"));
            ++known;
        }
    }
    EXPECT_EQ(known, 5U);
}

TEST(DigestStreams, ThatThrowTheLibrarysOwnExceptionsAreTranslatedToo) {
    for (Family const& family : families) {
        ThrowingBuffer<InvalidKey> buffer(InvalidKey("of a stream"));
        std::istream stream(&buffer);
        stream.exceptions(std::ios_base::badbit);
        EXPECT_THROWS(InternalException, "of a stream", create(family)->computeDigest(stream));
    }
}

// The same files as the system's own tools.

class Digests : public testing::TestWithParam<Family> {};

INSTANTIATE_TEST_SUITE_P(, Digests, testing::ValuesIn(families), [](auto const& row) { return row.param.name; });

TEST_P(Digests, AgreeWithTheSystemsOwnTool) {
    static ByteArray const all = pseudoRandomBytes(std::size_t(8) << 20);
    TemporaryDirectory const directory;
    std::string const path = directory / "file";
    for (std::size_t const size : {std::size_t(0), std::size_t(1), std::size_t(1023), std::size_t(1024),
                                   std::size_t(1025), std::size_t(2500), all.size()}) {
        ByteArray const content(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(size));
        writeFile(path, content);
        CommandResult const tool = run(GetParam().command + " " + path);
        ASSERT_EQ(tool.status, 0);
        std::string const expected = tool.output.substr(0, tool.output.find(' '));

        auto const engine = create(GetParam());
        std::ifstream stream(path, std::ios::binary);
        EXPECT_EQ(hex(engine->computeDigest(stream)), expected) << size << " bytes as a stream";
        EXPECT_EQ(hex(engine->computeDigest(content)), expected) << size << " bytes in one piece";
        for (std::size_t at = 0; at < size; at += 65537) {
            engine->update(content.data() + at, std::min<std::size_t>(65537, size - at));
        }
        EXPECT_EQ(hex(engine->finalize()), expected) << size << " bytes in pieces";
    }
}

} // namespace
