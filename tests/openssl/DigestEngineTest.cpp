#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Streams.h"
#include "support/Throws.h"
#include "support/Vectors.h"

#include <foundation/crypto/openssl/CryptoProvider.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace support;
using foundation::crypto::interfaces::IDigestEngine;
using foundation::crypto::openssl::CryptoProvider;
using foundation::crypto::utils::InternalException;

CryptoProvider const provider;

struct Family {
    std::string name; // as in the vector file
    std::string evpName;
    std::size_t size;
    std::shared_ptr<IDigestEngine> (CryptoProvider::*create)() const;
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

class Digests : public testing::TestWithParam<Family> {
protected:
    std::shared_ptr<IDigestEngine> create() const { return (provider.*GetParam().create)(); }
};

INSTANTIATE_TEST_SUITE_P(, Digests, testing::ValuesIn(families), [](auto const& row) { return row.param.name; });

TEST_P(Digests, TellTheirNamesAndSizes) {
    EXPECT_EQ(create()->getDigestName(), GetParam().name);
    EXPECT_EQ(create()->getDigestNameForEVP_MD(), GetParam().evpName);
    EXPECT_EQ(create()->getDigestSize(), GetParam().size);
    EXPECT_EQ(create()->computeDigest(ByteArray()).size(), GetParam().size);
}

TEST_P(Digests, KnowTheEmptyMessage) {
    auto const engine = create();
    std::istringstream emptyStream;
    EXPECT_EQ(hex(engine->computeDigest(ByteArray())), GetParam().emptyDigest);
    EXPECT_EQ(hex(engine->computeDigest(emptyStream)), GetParam().emptyDigest);
    EXPECT_EQ(hex(engine->finalize()), GetParam().emptyDigest);
}

TEST_P(Digests, StartAnewAfterFinalize) {
    auto const engine = create();
    ByteArray const once = engine->computeDigest(bytes("abc"));
    EXPECT_EQ(hex(engine->finalize()), GetParam().emptyDigest);
    EXPECT_EQ(engine->computeDigest(bytes("abc")), once);
}

TEST_P(Digests, IncludeWhatWasFedBefore) {
    auto const engine = create();
    ByteArray const whole = engine->computeDigest(bytes("abc"));

    engine->update(bytes("ab"));
    EXPECT_EQ(engine->computeDigest(bytes("c")), whole);

    std::istringstream rest("c");
    engine->update(bytes("ab"));
    EXPECT_EQ(engine->computeDigest(rest), whole);
}

TEST_P(Digests, TakeEmptyUpdatesAnywhere) {
    auto const engine = create();
    ByteArray const whole = engine->computeDigest(bytes("abc"));
    unsigned char const none = 0;

    engine->update(ByteArray());
    engine->update(bytes("ab"));
    engine->update(nullptr, 0);
    engine->update(&none, 0);
    engine->update(bytes("c"));
    engine->update(ByteArray());
    EXPECT_EQ(engine->finalize(), whole);
}

TEST_P(Digests, AreIndependentOfOneAnother) {
    auto const left = create();
    auto const right = create();
    left->update(bytes("a"));
    right->update(bytes("x"));
    left->update(bytes("b"));
    right->update(bytes("y"));
    EXPECT_EQ(left->finalize(), create()->computeDigest(bytes("ab")));
    EXPECT_EQ(right->finalize(), create()->computeDigest(bytes("xy")));
}

TEST_P(Digests, RunOnSeveralThreadsAtOnce) {
    ByteArray const message = pseudoRandomBytes(100000);
    ByteArray const expected = create()->computeDigest(message);
    std::vector<ByteArray> found(4);
    std::vector<std::thread> threads;
    for (ByteArray& digest : found) {
        threads.emplace_back([&] { digest = create()->computeDigest(message); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(found, std::vector<ByteArray>(4, expected));
}

// Known answers: RFC 1321, FIPS 180-4 and NIST's example computations.

TEST(DigestVectors, AgreeHoweverTheMessageArrives) {
    for (Vector const& vector : readVectors("digests.txt")) {
        SCOPED_TRACE(vector.id());
        ByteArray const message = vector.bytes("msg");
        std::string const expected = vector.word("digest");
        auto const engine = (provider.*familyNamed(vector.word("hash")).create)();

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
    std::vector<std::pair<std::string, std::string>> const expected{
        {"SHA1", "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
        {"SHA224", "20794655980c91d8bbb4c1ea97618a4bf03f42581948b2ee4ee7ad67"},
        {"SHA256", "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
        {"SHA384", "9d0e1809716474cb086e834e310a4a1ced149e9c00f248527972cec5704c2a5b07b8b3dc38ecc4ebae97ddd87f3d8985"},
        {"SHA512",
         "e718483d0ce769644e2e42c7bc15b4638e1f98b13b2044285632a803afa973ebde0ff244877ea60a4cb0432ce577c31beb009c5c"
         "2c49aa2e4eadb217ad8cc09b"},
    };
    for (auto const& [name, digest] : expected) {
        std::istringstream stream(std::string(1000000, 'a'));
        EXPECT_EQ(hex((provider.*familyNamed(name).create)()->computeDigest(stream)), digest) << name;
    }
}

// Streams

TEST(DigestStreams, AreReadInPiecesOf1024BytesToTheirEnd) {
    for (std::size_t const size : {0U, 1U, 1023U, 1024U, 1025U, 2048U, 2500U}) {
        for (std::size_t const portion : {std::size_t(1), std::size_t(700), std::size_t(4096)}) {
            SCOPED_TRACE(std::to_string(size) + " bytes in portions of " + std::to_string(portion));
            ByteArray const message = pseudoRandomBytes(size);
            PortionBuffer buffer(text(message), portion);
            std::istream stream(&buffer);
            auto const engine = provider.createSHA256DigestEngine();
            EXPECT_EQ(engine->computeDigest(stream), engine->computeDigest(message));
            EXPECT_TRUE(stream.eof() && stream.fail() && !stream.bad());
        }
    }
}

TEST(DigestStreams, KeepWhiteSpaceWhateverTheFormatFlags) {
    std::string const message = " \t a b\r\n\n ";
    std::istringstream stream(message);
    auto const engine = provider.createSHA256DigestEngine();
    EXPECT_EQ(engine->computeDigest(stream), engine->computeDigest(bytes(message)));
    EXPECT_TRUE((stream.flags() & std::ios_base::skipws) != 0);
}

TEST(DigestStreams, StartWhereTheStreamStands) {
    std::istringstream stream("skipped abc");
    stream.ignore(8);
    auto const engine = provider.createSHA256DigestEngine();
    EXPECT_EQ(engine->computeDigest(stream), engine->computeDigest(bytes("abc")));
}

TEST(DigestStreams, AreNotReadUnlessGood) {
    for (auto const state : {std::ios_base::eofbit, std::ios_base::failbit, std::ios_base::badbit}) {
        std::istringstream stream("unread");
        stream.setstate(state);
        auto const engine = provider.createSHA256DigestEngine();
        engine->update(bytes("ab"));
        EXPECT_EQ(hex(engine->computeDigest(stream)),
                  hex(provider.createSHA256DigestEngine()->computeDigest(bytes("ab"))));
        EXPECT_EQ(stream.rdstate(), state);
        stream.clear();
        EXPECT_EQ(stream.get(), 'u');
    }
}

TEST(DigestStreams, WithoutABufferAreEmpty) {
    std::istream stream(nullptr);
    auto const engine = provider.createSHA256DigestEngine();
    EXPECT_EQ(engine->computeDigest(stream), engine->computeDigest(ByteArray()));
}

TEST(DigestStreams, LoseThePieceInWhichTheirBufferThrows) {
    ByteArray const message = pseudoRandomBytes(1500);
    PortionBuffer buffer(text(message), 100, "the disk is gone");
    std::istream stream(&buffer);
    auto const engine = provider.createSHA256DigestEngine();
    EXPECT_EQ(engine->computeDigest(stream), engine->computeDigest(ByteArray(message.begin(), message.begin() + 1024)));
    EXPECT_TRUE(stream.bad());
}

TEST(DigestStreams, ThatThrowAreReportedInTheirOwnWords) {
    PortionBuffer buffer("abc", 1, "the disk is gone");
    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROWS(InternalException, "the disk is gone", provider.createSHA256DigestEngine()->computeDigest(stream));

    std::istringstream strict("abc");
    strict.exceptions(std::ios_base::eofbit);
    EXPECT_THROWS_PREFIX(InternalException, "basic_ios::clear",
                         provider.createSHA256DigestEngine()->computeDigest(strict));
}

// The same files as the system's own tools.

TEST_P(Digests, AgreeWithTheSystemsOwnTool) {
    TemporaryDirectory const directory;
    std::string const path = directory / "file";
    for (std::size_t const size : {std::size_t(0), std::size_t(1), std::size_t(1023), std::size_t(1024),
                                   std::size_t(1025), std::size_t(2500), std::size_t(64) << 20}) {
        ByteArray const content = pseudoRandomBytes(size, size);
        writeFile(path, content);
        CommandResult const tool = run(GetParam().command + " " + path);
        ASSERT_EQ(tool.status, 0);
        std::string const expected = tool.output.substr(0, tool.output.find(' '));

        auto const engine = create();
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
