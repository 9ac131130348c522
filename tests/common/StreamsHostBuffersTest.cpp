#include "common/Check.h"
#include "common/Streams.h"

#include "StreamReaders.h"
#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <foundation/crypto/utils/Exceptions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cwchar>
#include <fstream>
#include <functional>
#include <future>
#include <ios>
#include <istream>
#include <iterator>
#include <locale>
#include <memory>
#include <new>
#include <ostream>
#include <pthread.h>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;
using namespace std::string_literals;

/// What `readExtracted` stands for: extraction of one character after the other.
ByteArray extractCharacterwise(std::istream& input) {
    input >> std::noskipws;
    return {std::istream_iterator<unsigned char>(input), std::istream_iterator<unsigned char>()};
}

/// What `readUnformatted` stands for.
ByteArray iterateBuffer(std::istream& input) {
    return {std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
}

struct Outcome {
    ByteArray bytes;
    Thrown thrown;
    StreamState state;
    std::string rest; // what the buffer still holds, to its next end
};

Outcome readWith(ByteArray (*reader)(std::istream&), std::istream& input) {
    ByteArray bytes;
    Thrown const thrown = catchFrom([&] { bytes = reader(input); });
    StreamState const state(input);
    std::string rest;
    if (catchFrom([&] { rest = input.rdbuf() == nullptr ? "" : text(iterateBuffer(input)); }).type != "nothing") {
        rest = "(throws)";
    }
    return {bytes, thrown, state, rest};
}

void expectSame(Outcome const& found, Outcome const& expected) {
    EXPECT_EQ(found.bytes, expected.bytes);
    EXPECT_EQ(found.thrown.type, expected.thrown.type);
    EXPECT_EQ(found.thrown.text, expected.thrown.text);
    EXPECT_EQ(found.state, expected.state);
    EXPECT_EQ(found.rest, expected.rest);
}

// Buffers of hosts

/// Without a get area: it hands out one character after the other, and where there is a `failure` throws it in place of
/// the end.
class UnbufferedBuffer : public std::streambuf {
public:
    explicit UnbufferedBuffer(
        std::string content, std::function<void()> failure = [] {})
        : content_(std::move(content)), failure_(std::move(failure)) {}

protected:
    int_type underflow() override {
        if (next_ < content_.size()) {
            return traits_type::to_int_type(content_[next_]);
        }
        failure_();
        return traits_type::eof();
    }

    int_type uflow() override {
        int_type const character = UnbufferedBuffer::underflow();
        next_ += traits_type::eq_int_type(character, traits_type::eof()) ? 0U : 1U;
        return character;
    }

private:
    std::string content_;
    std::function<void()> failure_;
    std::size_t next_ = 0;
};

/// Stands behind the end of its get area, as after a gbump() too far.
class OverrunBuffer : public UnbufferedBuffer {
public:
    explicit OverrunBuffer(std::string content) : UnbufferedBuffer(std::move(content)) {
        setg(area_.data(), area_.data() + 3, area_.data() + 1);
    }

private:
    std::array<char, 4> area_{};
};

/// Characters can be taken from it, but not looked at.
class UflowBuffer : public UnbufferedBuffer {
public:
    using UnbufferedBuffer::UnbufferedBuffer;

protected:
    int_type underflow() override { return traits_type::eof(); }
};

/// Delivers all before the first bar, then an end, then all before the second, and so on.
class RecordBuffer : public std::streambuf {
public:
    explicit RecordBuffer(std::string records) : records_(std::move(records)) {}

protected:
    int_type underflow() override {
        if (gptr() < egptr()) {
            return traits_type::to_int_type(*gptr());
        }
        if (next_ == records_.size() || records_[next_] == '|') {
            next_ = std::min(next_ + 1, records_.size());
            return traits_type::eof();
        }
        std::size_t const size = std::min(records_.find('|', next_), records_.size()) - next_;
        char* const start = &records_[next_];
        setg(start, start, start + size);
        next_ += size;
        return traits_type::to_int_type(*start);
    }

private:
    std::string records_;
    std::size_t next_ = 0;
};

/// Says what it likes when it is asked how many characters there are, and must not be asked for several at once.
template <class Buffer> class LyingBuffer : public Buffer {
public:
    template <class... Arguments>
    explicit LyingBuffer(std::streamsize promise, std::streamsize count, Arguments&&... arguments)
        : Buffer(std::forward<Arguments>(arguments)...), promise_(promise), count_(count) {}

protected:
    std::streamsize showmanyc() override { return promise_; }

    std::streamsize xsgetn(char* /*data*/, std::streamsize size) override {
        ADD_FAILURE() << "xsgetn was called";
        return count_ > 0 ? size + count_ : count_;
    }

private:
    std::streamsize promise_;
    std::streamsize count_;
};

constexpr std::streamsize tebibyte = std::streamsize(1) << 40;

struct Source {
    std::string name;
    std::function<std::unique_ptr<std::streambuf>()> makeBuffer;
};

std::string const content = " leading\tblanks, \n\r\n lines\0and a NUL \xff and the end \n "s;

template <class Buffer, class... Arguments> Source source(std::string name, Arguments... arguments) {
    return {std::move(name), [=] { return std::make_unique<Buffer>(arguments...); }};
}

/// The buffer is a file's own, so that it may be asked how much is left.
template <class Buffer = std::filebuf, class... Arguments>
Source fileSource(std::string name, std::string path, Arguments... arguments) {
    return {std::move(name), [=] {
                auto file = std::make_unique<Buffer>(arguments...);
                file->open(path, std::ios::in | std::ios::binary);
                return file;
            }};
}

void throwStandard() {
    throw std::runtime_error("gone");
}

void throwOwn() {
    throw foundation::crypto::utils::InvalidKey("gone");
}

void throwNumber() {
    throw 42; // NOLINT(hicpp-exception-baseclass): hosts may
}

std::vector<Source> const sources{
    source<std::stringbuf>("a string", content, std::ios::in),
    source<std::stringbuf>("an empty string", "", std::ios::in),
    {"a string that was written",
     [] {
         auto buffer = std::make_unique<std::stringbuf>();
         for (int i = 0; i < 1000; ++i) {
             buffer->sputn(content.data(), static_cast<std::streamsize>(content.size()));
         }
         return buffer;
     }},
    source<PortionBuffer>("single characters", content, 1),
    source<PortionBuffer>("portions", text(pseudoRandomBytes(100000)), 4096),
    source<PortionBuffer>("large portions", text(pseudoRandomBytes(100000)), 50000),
    source<PortionBuffer>("a buffer that throws at once", "", 1, "gone"),
    source<PortionBuffer>("a buffer that throws later", content, 7, "gone"),
    source<UnbufferedBuffer>("a buffer without a get area", content),
    source<UnbufferedBuffer>("a large buffer without a get area", text(pseudoRandomBytes(20000))),
    source<UnbufferedBuffer>("a buffer without a get area that throws", content, throwStandard),
    source<UnbufferedBuffer>("a buffer that throws an exception of the library", content, throwOwn),
    source<UnbufferedBuffer>("a buffer that throws a number", content, throwNumber),
    source<OverrunBuffer>("a buffer behind the end of its get area", content),
    source<UflowBuffer>("a buffer that overrides uflow alone", content),
    source<UflowBuffer>("a buffer that overrides uflow alone and throws", content, throwStandard),
    source<RecordBuffer>("records", "first|second|third"),
    source<RecordBuffer>("an empty record", "|second"),
    source<LyingBuffer<PortionBuffer>>("xsgetn answers 0", 0, 0, content, 5U),
    source<LyingBuffer<PortionBuffer>>("xsgetn answers -1", -1, -1, content, 5U),
    source<LyingBuffer<PortionBuffer>>("xsgetn answers too much", 1000, 1000, content, 5U),
    source<LyingBuffer<PortionBuffer>>("promises a tebibyte", tebibyte, 0, content, 5U),
    source<LyingBuffer<UflowBuffer>>("uflow alone, and lies", tebibyte, -1, content),
    {"no buffer", [] { return std::unique_ptr<std::streambuf>(); }},
    fileSource("a file", __FILE__),
    fileSource<LyingBuffer<std::filebuf>>("a file of the host's own kind", __FILE__, tebibyte, -1),
    fileSource("a file that says it is empty", "/proc/self/cmdline"),
    fileSource("a file that says it has 4096 bytes", "/sys/kernel/mm/transparent_hugepage/enabled"),
    fileSource("a folder", "/"),
    fileSource("no file", "/nowhere"),
};

/// Turns every letter and sign into another one.
class Rotating : public std::codecvt<char, char, std::mbstate_t> {
protected:
    result do_in(std::mbstate_t& /*state*/, char const* from, char const* fromEnd, char const*& fromNext, char* to,
                 char* toEnd, char*& toNext) const override {
        for (fromNext = from, toNext = to; fromNext != fromEnd && toNext != toEnd; ++fromNext, ++toNext) {
            *toNext = static_cast<char>(*fromNext ^ 1);
        }
        return fromNext == fromEnd ? ok : partial;
    }

    int do_encoding() const noexcept override { return 1; }

    bool do_always_noconv() const noexcept override { return false; }
};

struct FailingSync : std::stringbuf {
    int sync() override { throw std::runtime_error("not flushed"); }
};

std::vector<std::function<void(std::istream&)>> const preparations{
    [](std::istream& /*input*/) {},
    [](std::istream& input) { input >> std::noskipws; },
    [](std::istream& input) { input.width(5); },
    [](std::istream& input) { input.flags(std::ios_base::hex | std::ios_base::left | std::ios_base::unitbuf); },
    [](std::istream& input) { input.ignore(3); },
    [](std::istream& input) { input.peek(); },
    [](std::istream& input) { input.imbue(std::locale(std::locale::classic(), new Rotating)); },
    [](std::istream& input) {
        static FailingSync buffer;
        static std::ostream tied(&buffer);
        tied.clear();
        tied.exceptions(std::ios_base::badbit);
        input.tie(&tied);
    },
    [](std::istream& input) { input.setstate(std::ios_base::eofbit); },
    [](std::istream& input) { input.setstate(std::ios_base::failbit); },
    [](std::istream& input) { input.setstate(std::ios_base::badbit); },
};

/// Holds `found` against `expected` for every source in every state under every exception mask.
void compareReaders(ByteArray (*found)(std::istream&), ByteArray (*expected)(std::istream&)) {
    for (Source const& source : sources) {
        for (std::size_t preparation = 0; preparation < preparations.size(); ++preparation) {
            for (unsigned int mask = 0; mask < 8; ++mask) {
                SCOPED_TRACE(source.name + ", preparation " + std::to_string(preparation) + ", mask " +
                             std::to_string(mask));
                auto const readFresh = [&](ByteArray (*reader)(std::istream&)) {
                    auto const buffer = source.makeBuffer();
                    std::istream input(buffer.get());
                    try {
                        preparations[preparation](input);
                        input.exceptions(((mask & 1U) != 0 ? std::ios_base::eofbit : std::ios_base::goodbit) |
                                         ((mask & 2U) != 0 ? std::ios_base::failbit : std::ios_base::goodbit) |
                                         ((mask & 4U) != 0 ? std::ios_base::badbit : std::ios_base::goodbit));
                    } catch (std::ios_base::failure const&) { // the mask is set all the same
                    }
                    return readWith(reader, input);
                };
                expectSame(readFresh(found), readFresh(expected));
            }
        }
    }
}

TEST(ReadExtracted, LeavesAStreamAsCharacterwiseExtractionWould) {
    compareReaders(extractAtOnce, extractCharacterwise);
}

TEST(ReadUnformatted, LeavesAStreamAsTheBufferIteratorWould) {
    compareReaders(takeAtOnce, iterateBuffer);
}

/// Delivers in portions, and runs `event` before each with the number of characters delivered so far.
class EventfulBuffer : public std::streambuf {
public:
    EventfulBuffer(std::string characters, std::size_t portion, std::function<void(std::size_t)> event)
        : content_(std::move(characters)), portion_(portion), event_(std::move(event)) {}

protected:
    int_type underflow() override {
        event_(next_);
        std::size_t const size = std::min(portion_, content_.size() - next_);
        char* const start = &content_[next_];
        setg(start, start, start + size);
        next_ += size;
        return size == 0 ? traits_type::eof() : traits_type::to_int_type(*start);
    }

private:
    std::string content_;
    std::size_t portion_;
    std::function<void(std::size_t)> event_;
    std::size_t next_ = 0;
};

TEST(ReadExtracted, FollowsAStreamThatItsBufferChanges) {
    std::stringbuf another;
    std::function<void(std::istream&)> const changes[] = {
        [](std::istream& input) { input.setstate(std::ios_base::eofbit); },
        [](std::istream& input) { input.setstate(std::ios_base::failbit); },
        [](std::istream& input) { input.setstate(std::ios_base::badbit); },
        [](std::istream& input) { input.rdbuf(nullptr); },
        [&](std::istream& input) {
            another.str("another");
            input.rdbuf(&another);
        },
        [](std::istream& input) { input.exceptions(std::ios_base::eofbit); }};
    for (auto const& change : changes) {
        for (std::size_t const size : {1U, 4U, 5U, 8U, 9000U}) {
            for (std::size_t const portion : {1U, 2U, 4U, 10000U}) {
                for (std::size_t const when : {std::size_t(0), std::size_t(4), size}) {
                    auto const read = [&](ByteArray (*reader)(std::istream&)) {
                        std::istream input(nullptr);
                        EventfulBuffer buffer(std::string(size, 'x'), portion, [&](std::size_t delivered) {
                            if (delivered == when) {
                                change(input);
                            }
                        });
                        input.rdbuf(&buffer);
                        return readWith(reader, input);
                    };
                    expectSame(read(extractAtOnce), read(extractCharacterwise));
                }
            }
        }
    }
}

/// What a thread leaves of a stream that cancels it in mid-read. A thread that is detached unwinds like any other, but
/// the system's own record of it differs.
StreamState stateAfterCancellation(ByteArray (*reader)(std::istream&), std::ios_base::iostate mask, int detachState) {
    UnbufferedBuffer buffer("abc", [] {
        pthread_cancel(pthread_self());
        pthread_testcancel();
    });
    std::istream input(&buffer);
    input.exceptions(mask);
    std::promise<void> returned;
    std::future<void> const end = returned.get_future();
    auto work = [&] {
        std::promise<void> const brokenByUnwinding = std::move(returned);
        reader(input);
        ADD_FAILURE() << "not cancelled";
    };
    pthread_attr_t attributes{};
    EXPECT_EQ(pthread_attr_init(&attributes), 0);
    EXPECT_EQ(pthread_attr_setdetachstate(&attributes, detachState), 0);
    pthread_t thread{};
    EXPECT_EQ(pthread_create(
                  &thread, &attributes,
                  [](void* given) -> void* { return (*static_cast<decltype(work)*>(given))(), nullptr; }, &work),
              0);
    EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
    end.wait();
    if (detachState == PTHREAD_CREATE_JOINABLE) {
        void* result = nullptr;
        EXPECT_EQ(pthread_join(thread, &result), 0);
        EXPECT_EQ(result, PTHREAD_CANCELED);
    }
    return StreamState(input);
}

TEST(StreamReaders, LetACancelledThreadGo) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "AddressSanitizer ends the program when a thread that unwinds by force is caught and goes on";
#endif
    for (int const detachState : {PTHREAD_CREATE_JOINABLE, PTHREAD_CREATE_DETACHED}) {
        for (auto const mask : {std::ios_base::goodbit, std::ios_base::badbit}) {
            EXPECT_EQ(stateAfterCancellation(extractAtOnce, mask, detachState),
                      stateAfterCancellation(extractCharacterwise, mask, detachState));
            EXPECT_EQ(stateAfterCancellation(takeAtOnce, mask, detachState),
                      stateAfterCancellation(iterateBuffer, mask, detachState));
        }
    }
}

/// At most what was read and a small piece, whatever the buffer promises.
TEST(StreamReaders, AllocateNothingForAPromise) {
    for (auto const reader : {extractAtOnce, takeAtOnce}) {
        LyingBuffer<PortionBuffer> buffer(std::streamsize(1) << 31, 0, "abc", 1U);
        std::istream input(&buffer);
        AllocationRecording recording;
        EXPECT_EQ(text(reader(input)), "abc");
        recording.stop();
        EXPECT_LE(recording.peak(), 8192U);
    }
}

TEST(ReadExtracted, ReadsSecretsLikeBytes) {
    std::istringstream input(content);
    SecretBytes const secret = readExtracted<SecretBytes>(input, rethrowUnchanged);
    EXPECT_EQ(std::string(secret.begin(), secret.end()), content);
}

/// What the host's code throws is ruled by whoever reads; what becomes of our own memory is not.
TEST(ReadExtracted, TranslatesWhatTheHostThrowsAndNothingElse) {
    using foundation::crypto::utils::InternalException;
    using foundation::crypto::utils::InvalidKey;
    auto const read = [](std::streambuf& buffer) {
        std::istream input(&buffer);
        input.exceptions(std::ios_base::badbit);
        readExtracted<SecretBytes>(input, rethrowForeignAs<InternalException>);
    };
    UnbufferedBuffer standard("abc", throwStandard);
    EXPECT_THROWS(InternalException, "gone", read(standard));
    UnbufferedBuffer exhausted("abc", [] { throw std::bad_alloc(); });
    EXPECT_THROWS(InternalException, "std::bad_alloc", read(exhausted));
    UnbufferedBuffer own("abc", throwOwn);
    EXPECT_THROWS(InvalidKey, "gone", read(own));
    UnbufferedBuffer number("abc", throwNumber);
    EXPECT_EQ(catchFrom([&] { read(number); }).type, "something that is no std::exception");

    std::istringstream failed;
    failed.setstate(std::ios_base::failbit);
    catchFrom([&] { failed.exceptions(std::ios_base::failbit); });
    EXPECT_THROWS_PREFIX(InternalException, "basic_ios::clear",
                         readExtracted<SecretBytes>(failed, rethrowForeignAs<InternalException>));
    std::istringstream ending("abc");
    ending.exceptions(std::ios_base::eofbit);
    EXPECT_THROWS_PREFIX(InternalException, "basic_ios::clear",
                         readExtracted<SecretBytes>(ending, rethrowForeignAs<InternalException>));

    std::string const content20000(20000, 'a');
    int failures = 0;
    for (int nth = 1;; ++nth) {
        PortionBuffer buffer(content20000, 100);
        std::istream input(&buffer);
        FailingAllocation const exhausts(nth);
        Thrown const thrown =
            catchFrom([&] { readExtracted<SecretBytes>(input, rethrowForeignAs<InternalException>); });
        if (!exhausts.happened()) {
            break;
        }
        ++failures;
        EXPECT_EQ(thrown.type, typeid(std::bad_alloc).name());
    }
    EXPECT_GT(failures, 3);
}

} // namespace
