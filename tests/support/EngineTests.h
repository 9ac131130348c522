#ifndef ZRFL_TESTS_SUPPORT_ENGINETESTS_H
#define ZRFL_TESTS_SUPPORT_ENGINETESTS_H

#include "Bytes.h"
#include "Streams.h"
#include "Threads.h"
#include "Throws.h"

#include <foundation/crypto/interfaces/IDigestEngine.h>
#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <openssl/err.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <sstream>
#include <streambuf>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// What is asked of every digest engine, seen as a host sees it. A test program instantiates the suite
/// `Engines` for the engines of its family.
namespace support {

using foundation::crypto::interfaces::DigestEnginePtr;
using foundation::crypto::interfaces::IDigestEngine;

struct EngineCase {
    std::string test; ///< What the tests call it.
    std::function<DigestEnginePtr()> create;
    std::string name;
    std::string evpName;
    std::size_t size;
    std::string emptyDigest; ///< In hexadecimal.
};

class Engines : public testing::TestWithParam<EngineCase> {
protected:
    static DigestEnginePtr create() { return GetParam().create(); }

    static ByteArray digestOf(ByteArray const& message) { return create()->computeDigest(message); }
};

inline std::string nameOf(testing::TestParamInfo<EngineCase> const& info) {
    return info.param.test;
}

TEST_P(Engines, TellTheirNamesAndSizes) {
    EXPECT_EQ(create()->getDigestName(), GetParam().name);
    EXPECT_EQ(create()->getDigestNameForEVP_MD(), GetParam().evpName);
    EXPECT_EQ(create()->getDigestSize(), GetParam().size);
    EXPECT_EQ(digestOf({}).size(), GetParam().size);
}

TEST_P(Engines, KnowTheEmptyMessage) {
    auto const engine = create();
    std::istringstream emptyStream;
    EXPECT_EQ(hex(engine->computeDigest(ByteArray())), GetParam().emptyDigest);
    EXPECT_EQ(hex(engine->computeDigest(emptyStream)), GetParam().emptyDigest);
    EXPECT_EQ(hex(engine->finalize()), GetParam().emptyDigest);
    EXPECT_EQ(hex(engine->finalize()), GetParam().emptyDigest);
}

TEST_P(Engines, StartAnewAfterFinalize) {
    auto const engine = create();
    ByteArray const once = engine->computeDigest(bytes("abc"));
    EXPECT_EQ(hex(engine->finalize()), GetParam().emptyDigest);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(engine->computeDigest(bytes("abc")), once);
    }
}

TEST_P(Engines, IncludeWhatWasFedBefore) {
    auto const engine = create();
    ByteArray const whole = digestOf(bytes("abc"));
    engine->update(bytes("ab"));
    EXPECT_EQ(engine->computeDigest(bytes("c")), whole);
    std::istringstream rest("c");
    engine->update(bytes("ab"));
    EXPECT_EQ(engine->computeDigest(rest), whole);
}

TEST_P(Engines, TakeEmptyUpdatesAnywhere) {
    auto const engine = create();
    unsigned char const none = 0;
    engine->update(ByteArray());
    engine->update(bytes("ab"));
    engine->update(nullptr, 0);
    engine->update(&none, 0);
    engine->update(bytes("c"));
    engine->update(ByteArray());
    EXPECT_EQ(engine->finalize(), digestOf(bytes("abc")));
}

TEST_P(Engines, AreIndependentOfOneAnother) {
    auto const left = create();
    auto const right = create();
    left->update(bytes("a"));
    right->update(bytes("x"));
    left->update(bytes("b"));
    right->update(bytes("y"));
    EXPECT_EQ(left->finalize(), digestOf(bytes("ab")));
    EXPECT_EQ(right->finalize(), digestOf(bytes("xy")));
}

TEST_P(Engines, RunOnSeveralThreadsAtOnce) {
    ByteArray const message = pseudoRandomBytes(10000);
    ByteArray const expected = digestOf(message);
    std::vector<ByteArray> found(4);
    onThreads(found.size(), [&](std::size_t thread) {
        auto const engine = create();
        for (int i = 0; i < 20; ++i) {
            found[thread] = engine->computeDigest(message);
        }
    });
    EXPECT_EQ(found, std::vector<ByteArray>(4, expected));
}

TEST_P(Engines, MayMoveToAnotherThreadWithTheirMessage) {
    auto const engine = create();
    engine->update(bytes("ab"));
    ByteArray found;
    std::thread([&] { found = engine->computeDigest(bytes("c")); }).join();
    EXPECT_EQ(found, digestOf(bytes("abc")));
}

TEST_P(Engines, LeaveTheErrorQueueAsItWas) {
    ERR_raise(ERR_LIB_USER, 7);
    std::istringstream stream("abc");
    auto const engine = create();
    engine->computeDigest(stream);
    engine->computeDigest(bytes("abc"));
    unsigned long const left = ERR_get_error();
    EXPECT_EQ(ERR_GET_REASON(left), 7);
    EXPECT_EQ(ERR_get_error(), 0U);
}

// Streams

TEST_P(Engines, ReadStreamsToTheirEnd) {
    for (std::size_t const size : {0U, 1U, 1023U, 1024U, 1025U, 2048U, 2500U}) {
        for (std::size_t const portion : {std::size_t(1), std::size_t(700), std::size_t(4096)}) {
            SCOPED_TRACE(std::to_string(size) + " bytes in portions of " + std::to_string(portion));
            ByteArray const message = pseudoRandomBytes(size);
            PortionBuffer buffer(text(message), portion);
            std::istream stream(&buffer);
            EXPECT_EQ(create()->computeDigest(stream), digestOf(message));
            EXPECT_TRUE(stream.eof() && stream.fail() && !stream.bad());
        }
    }
}

TEST_P(Engines, KeepTheWhiteSpaceOfStreams) {
    std::string const message = " \t a b\r\n\n ";
    std::istringstream stream("skipped" + message);
    stream.ignore(7);
    EXPECT_EQ(create()->computeDigest(stream), digestOf(bytes(message)));
    EXPECT_TRUE((stream.flags() & std::ios_base::skipws) != 0);
}

TEST_P(Engines, DoNotReadStreamsThatAreNotGood) {
    for (auto const state : {std::ios_base::eofbit, std::ios_base::failbit, std::ios_base::badbit}) {
        std::istringstream stream("unread");
        stream.setstate(state);
        auto const engine = create();
        engine->update(bytes("ab"));
        EXPECT_EQ(engine->computeDigest(stream), digestOf(bytes("ab")));
        EXPECT_EQ(stream.rdstate(), state);
        stream.clear();
        EXPECT_EQ(stream.get(), 'u');
    }
    std::istream without(nullptr);
    EXPECT_EQ(hex(create()->computeDigest(without)), GetParam().emptyDigest);
}

TEST_P(Engines, LoseThePieceInWhichABufferThrows) {
    ByteArray const message = pseudoRandomBytes(1500);
    PortionBuffer buffer(text(message), 100, "the disk is gone");
    std::istream stream(&buffer);
    EXPECT_EQ(create()->computeDigest(stream), digestOf(ByteArray(message.begin(), message.begin() + 1024)));
    EXPECT_TRUE(stream.bad());
}

TEST_P(Engines, ReportStreamsThatThrowInTheirOwnWords) {
    using foundation::crypto::utils::InternalException;
    PortionBuffer buffer("abc", 1, "the disk is gone");
    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROWS(InternalException, "the disk is gone", create()->computeDigest(stream));

    for (auto const mask : {std::ios_base::eofbit, std::ios_base::failbit}) {
        std::istringstream strict("abc");
        strict.exceptions(mask);
        EXPECT_THROWS_PREFIX(InternalException, "basic_ios::clear", create()->computeDigest(strict));
    }
}

/// A buffer that answers each `xsgetn` with the next of `answers`: it writes the bytes and reports the count.
class MiscountingBuffer : public std::streambuf {
public:
    struct Answer {
        std::string bytes;
        std::streamsize count;
    };

    explicit MiscountingBuffer(std::vector<Answer> answers) : answers_(std::move(answers)) {}

protected:
    std::streamsize xsgetn(char* data, std::streamsize /*size*/) override {
        if (next_ == answers_.size()) {
            return 0;
        }
        Answer const& answer = answers_[next_++];
        std::copy(answer.bytes.begin(), answer.bytes.end(), data);
        return answer.count;
    }

private:
    std::vector<Answer> answers_;
    std::size_t next_ = 0;
};

TEST_P(Engines, BelieveNoCountThatCannotBe) {
    using Limits = std::numeric_limits<std::streamsize>;
    std::string const whole(1024, 'a');
    std::string const padded = whole + 'b' + std::string(1023, '\0');

    struct {
        std::streamsize count;
        std::string message;
    } const rows[] = {{-1, whole},
                      {Limits::min(), whole},
                      {0, whole},
                      {1, whole + 'b'},
                      {1024, padded},
                      {1025, padded},
                      {std::streamsize(1) << 40, padded},
                      {Limits::max(), padded}};

    for (auto const& [count, message] : rows) {
        MiscountingBuffer buffer({{whole, 1024}, {"b", count}});
        std::istream stream(&buffer);
        EXPECT_EQ(create()->computeDigest(stream), digestOf(bytes(message))) << count;
        EXPECT_TRUE(stream.eof() && stream.fail() && !stream.bad());
    }
}

TEST_P(Engines, LetExceptionsOfOtherFamiliesPass) {
    ThrowingBuffer<int> buffer(7);
    std::istream stream(&buffer);
    stream.exceptions(std::ios_base::badbit);
    EXPECT_THROW(create()->computeDigest(stream), int);
}

} // namespace support

#endif
