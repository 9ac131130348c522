#include "common/Streams.h"

#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/Streams.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using namespace std::string_literals;

/// What `readExtracted` stands for: extraction of one character after the other.
ByteArray extractCharacterwise(std::istream& input) {
    input >> std::noskipws;
    return {std::istream_iterator<unsigned char>(input), std::istream_iterator<unsigned char>()};
}

struct Outcome {
    ByteArray bytes;
    std::string thrown;
    StreamState state;
    std::string rest; // what the buffer still holds
};

Outcome readWith(std::function<ByteArray(std::istream&)> const& reader, std::istream& input) {
    ByteArray bytes;
    std::string thrown;
    try {
        bytes = reader(input);
    } catch (std::exception const& error) {
        thrown = error.what();
    }
    StreamState const state(input);
    std::string rest;
    try {
        rest = input.rdbuf() == nullptr ? "" : std::string(std::istreambuf_iterator<char>(input.rdbuf()), {});
    } catch (std::exception const&) {
        rest = "(throws)";
    }
    return {bytes, thrown, state, rest};
}

/// A host's own buffer without a get area: it hands out one character after the other, promises more than it has, and
/// where `failure` is not empty throws in place of the end.
class UnbufferedBuffer : public std::streambuf {
public:
    explicit UnbufferedBuffer(std::string content, std::string failure = "")
        : content_(std::move(content)), failure_(std::move(failure)) {}

protected:
    std::streamsize showmanyc() override { return 5; }

    int_type underflow() override {
        if (next_ < content_.size()) {
            return traits_type::to_int_type(content_[next_]);
        }
        if (!failure_.empty()) {
            throw std::runtime_error(failure_);
        }
        return traits_type::eof();
    }

    int_type uflow() override {
        int_type const character = underflow();
        next_ += traits_type::eq_int_type(character, traits_type::eof()) ? 0U : 1U;
        return character;
    }

private:
    std::string content_;
    std::string failure_;
    std::size_t next_ = 0;
};

struct Source {
    std::string name;
    std::function<std::unique_ptr<std::streambuf>()> makeBuffer;
};

std::string const content = " leading\tblanks, \n\r\n lines\0and a NUL \xff and the end \n "s;

std::vector<Source> const sources{
    {"a string", [] { return std::make_unique<std::stringbuf>(content, std::ios::in); }},
    {"an empty string", [] { return std::make_unique<std::stringbuf>("", std::ios::in); }},
    {"single characters", [] { return std::make_unique<PortionBuffer>(content, 1); }},
    {"portions", [] { return std::make_unique<PortionBuffer>(text(pseudoRandomBytes(100000)), 4096); }},
    {"a buffer that throws at once", [] { return std::make_unique<PortionBuffer>("", 1, "gone"); }},
    {"a buffer that throws later", [] { return std::make_unique<PortionBuffer>(content, 7, "gone"); }},
    {"a buffer without a get area", [] { return std::make_unique<UnbufferedBuffer>(content); }},
    {"a buffer without a get area that throws", [] { return std::make_unique<UnbufferedBuffer>(content, "gone"); }},
    {"no buffer", [] { return std::unique_ptr<std::streambuf>(); }},
    {"a file",
     [] {
         auto file = std::make_unique<std::filebuf>();
         file->open(__FILE__, std::ios::in | std::ios::binary);
         return file;
     }},
    {"a folder",
     [] {
         auto file = std::make_unique<std::filebuf>();
         file->open("/", std::ios::in);
         return file;
     }},
};

std::vector<std::function<void(std::istream&)>> const preparations{
    [](std::istream& /*input*/) {},
    [](std::istream& input) { input >> std::noskipws; },
    [](std::istream& input) { input.width(5); },
    [](std::istream& input) { input.ignore(3); },
    [](std::istream& input) { input.setstate(std::ios_base::eofbit); },
    [](std::istream& input) { input.setstate(std::ios_base::failbit); },
    [](std::istream& input) { input.setstate(std::ios_base::badbit); },
};

TEST(ReadExtracted, LeavesAStreamAsCharacterwiseExtractionWould) {
    using Base = std::ios_base;
    for (Source const& source : sources) {
        for (std::size_t preparation = 0; preparation < preparations.size(); ++preparation) {
            for (auto const mask : {Base::goodbit, Base::eofbit, Base::failbit, Base::badbit,
                                    Base::failbit | Base::badbit, Base::eofbit | Base::failbit | Base::badbit}) {
                SCOPED_TRACE(source.name + ", preparation " + std::to_string(preparation) + ", mask " +
                             std::to_string(mask));
                auto const readFresh = [&](std::function<ByteArray(std::istream&)> const& reader) {
                    auto const buffer = source.makeBuffer();
                    std::istream input(buffer.get());
                    try {
                        preparations[preparation](input);
                        input.exceptions(mask);
                    } catch (std::ios_base::failure const&) { // the mask is set all the same
                    }
                    return readWith(reader, input);
                };
                Outcome const expected = readFresh(extractCharacterwise);
                Outcome const found = readFresh(readExtracted<ByteArray>);
                EXPECT_EQ(found.bytes, expected.bytes);
                EXPECT_EQ(found.thrown, expected.thrown);
                EXPECT_EQ(found.state.state, expected.state.state);
                EXPECT_EQ(found.state.flags, expected.state.flags);
                EXPECT_EQ(found.state.gcount, expected.state.gcount);
                EXPECT_EQ(found.state.width, expected.state.width);
                EXPECT_EQ(found.rest, expected.rest);
            }
        }
    }
}

TEST(ReadExtracted, FlushesTheTiedStream) {
    struct : std::stringbuf {
        int flushes = 0;

        int sync() override { return ++flushes, 0; }
    } buffer;

    std::ostream tied(&buffer);
    std::istringstream input("abc");
    input.tie(&tied);
    EXPECT_EQ(text(readExtracted<ByteArray>(input)), "abc");
    EXPECT_GT(buffer.flushes, 0);
}

TEST(ReadExtracted, ReadsSecretsLikeBytes) {
    std::istringstream input(content);
    SecretBytes const secret = readExtracted<SecretBytes>(input);
    EXPECT_EQ(std::string(secret.begin(), secret.end()), content);
}

TEST(ReadUnformatted, ReadsEveryByteAndLeavesTheStateAlone) {
    for (Source const& source : sources) {
        if (source.name.find("throws") != std::string::npos || source.name == "a folder") {
            continue;
        }
        SCOPED_TRACE(source.name);
        for (auto const state : {std::ios_base::goodbit, std::ios_base::failbit, std::ios_base::eofbit}) {
            auto const buffer = source.makeBuffer();
            auto const reference = source.makeBuffer();
            std::istream input(buffer.get());
            input.clear(state | (buffer ? std::ios_base::goodbit : std::ios_base::badbit));
            StreamState const before(input);
            ByteArray const expected =
                reference ? ByteArray(std::istreambuf_iterator<char>(reference.get()), {}) : ByteArray();
            EXPECT_EQ(readUnformatted(input), expected);
            EXPECT_EQ(StreamState(input), before);
        }
    }
}

TEST(ReadUnformatted, LetsABufferThrow) {
    PortionBuffer buffer("abc", 1, "gone");
    std::istream input(&buffer);
    EXPECT_THROW(readUnformatted(input), std::runtime_error);
    EXPECT_TRUE(input.good());
}

TEST(ReadUnformatted, EndsWithABufferThatPromisesTooMuch) {
    class Boastful : public PortionBuffer { // as files of the kernel do that state a size of 4096 bytes
        using PortionBuffer::PortionBuffer;

        std::streamsize showmanyc() override { return 1000; }
    };

    for (std::size_t const portion : {1U, 5U, 100U}) {
        Boastful buffer(content, portion);
        std::istream input(&buffer);
        EXPECT_EQ(text(readUnformatted(input)), content);
    }
}

TEST(ReadUnformatted, ReadsWhatArrivesInPortionsOfAnySize) {
    std::string const large = text(pseudoRandomBytes(3000000));
    for (std::size_t const portion : {1U, 4095U, 4096U, 4097U, 1048576U, 2000000U}) {
        PortionBuffer buffer(large, portion);
        std::istream input(&buffer);
        EXPECT_EQ(text(readUnformatted(input)) == large, true) << portion;
    }
}

TEST(ReadUnformatted, ReadsAPipe) {
    TemporaryDirectory const directory;
    std::string const path = directory / "pipe";
    ASSERT_EQ(run("mkfifo " + path + " && (head -c 3000000 /dev/zero >" + path + " &) >/dev/null").status, 0);
    std::ifstream input(path, std::ios::binary);
    EXPECT_EQ(readUnformatted(input), ByteArray(3000000));
}

TEST(ForEachChunk, DeliversPiecesOf1024BytesAndAnEmptyLastOne) {
    std::istringstream input(std::string(2048, 'a'));
    std::vector<std::size_t> sizes;
    forEachChunk(input, [&](unsigned char const* /*data*/, std::size_t size) { sizes.push_back(size); });
    EXPECT_EQ(sizes, (std::vector<std::size_t>{1024, 1024, 0}));
}

} // namespace
