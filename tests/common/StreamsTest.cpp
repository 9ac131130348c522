#include "common/Streams.h"
#include "common/Check.h"

#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/RepeatedMemory.h"
#include "support/ResidentMemory.h"
#include "support/Streams.h"
#include "support/Throws.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <locale>
#include <memory>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

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

ByteArray extractAtOnce(std::istream& input) {
    auto const bytes = readExtracted<UnfilledSecretBytes>(input, rethrowUnchanged);
    return {bytes.begin(), bytes.end()};
}

ByteArray takeAtOnce(std::istream& input) {
    UnfilledSecretBytes const bytes = readUnformatted(input, 16);
    EXPECT_GE(bytes.capacity(), bytes.empty() ? 0 : bytes.size() + 16);
    return {bytes.begin(), bytes.end()};
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

// How much memory the reading takes. A sanitizer adds its own notes of what may be touched.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

constexpr std::size_t mebibyte = std::size_t(1) << 20;

UnfilledSecretBytes extractMessage(std::istream& input) {
    return readExtracted<UnfilledSecretBytes>(input, rethrowUnchanged);
}

UnfilledSecretBytes takeText(std::istream& input) {
    return readUnformatted(input, 16);
}

TEST(StreamReaders, TakeHardlyMoreMemoryThanTheyRead) {
    constexpr std::size_t size = 64 * mebibyte + 12345;
    TemporaryDirectory const directory;
    std::string const path = directory / "message";
    std::string const pipe = directory / "pipe";
    writeFile(path, ByteArray(size));
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (auto const reader : {extractMessage, takeText}) {
        std::ifstream file(path, std::ios::binary);
        EXPECT_LE(peakMemoryOf([&] { EXPECT_EQ(reader(file).size(), size); }), size + mebibyte);
        ASSERT_EQ(run("(cat " + path + " >" + pipe + " &) >/dev/null").status, 0);
        std::ifstream piped(pipe, std::ios::binary);
        EXPECT_LE(peakMemoryOf([&] { EXPECT_EQ(reader(piped).size(), size); }), size + 16 * mebibyte);
    }
}

/// The system counts in 32 bits what is left of a file: of 5 GiB, a `std::filebuf` knows 1 at first.
TEST(StreamReaders, TakeHardlyMoreMemoryForAFileThatIsLongerThanItSaysAtFirst) {
    constexpr std::size_t size = 80 * mebibyte;
    std::size_t delivered = 0;
    auto const read = [&](char* data, std::size_t room) {
        std::size_t const count = std::min(room, size - delivered);
        for (std::size_t i = 0; i < count; ++i) {
            data[i] = static_cast<char>((delivered + i) % 251);
        }
        delivered += count;
        return count;
    };
    auto const countLeft = [&] {
        std::size_t const left = size - delivered;
        return left < 64 * mebibyte ? left : left - 64 * mebibyte;
    };
    UnfilledSecretBytes bytes;
    EXPECT_LE(peakMemoryOf([&] { bytes = gather<UnfilledSecretBytes>(16, read, countLeft); }), size + mebibyte);
    ASSERT_EQ(bytes.size(), size);
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < size; ++i) {
        wrong += bytes[i] == i % 251 ? 0U : 1U;
    }
    EXPECT_EQ(wrong, 0U);
    EXPECT_GE(bytes.capacity(), size + 16);
}

#ifndef ZRFL_EMULATED // the kernel tells of the emulator's memory

/// Whether the kernel has been asked for large pages where `address` lies.
bool areLargePagesWanted(void const* address) {
    std::ifstream maps("/proc/self/smaps");
    bool isThere = false;
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR, &begin, &end) == 2) {
            auto const at = reinterpret_cast<std::uintptr_t>(address);
            isThere = begin <= at && at < end;
        } else if (isThere && line.rfind("VmFlags:", 0) == 0) {
            return line.find(" hg") != std::string::npos;
        }
    }
    return false;
}

TEST(StreamReaders, WantLargePagesForLargeBlocks) {
    if (!std::filesystem::exists("/sys/kernel/mm/transparent_hugepage")) {
        GTEST_SKIP() << "this kernel has none";
    }
    for (auto const reader : {extractMessage, takeText}) {
        std::istringstream large(std::string(40 * mebibyte, 'a'));
        UnfilledSecretBytes const largeText = reader(large);
        EXPECT_TRUE(areLargePagesWanted(&largeText[20 * mebibyte]));
        PortionBuffer portions(std::string(40 * mebibyte, 'a'), 65536);
        std::istream unknown(&portions);
        UnfilledSecretBytes const joinedText = reader(unknown);
        EXPECT_TRUE(areLargePagesWanted(&joinedText[20 * mebibyte]));
        std::istringstream smaller(std::string(20 * mebibyte, 'a'));
        UnfilledSecretBytes const smallerText = reader(smaller);
        EXPECT_FALSE(areLargePagesWanted(&smallerText[10 * mebibyte]));
    }
}

#endif
#endif

class IgnoredHangUps {
public:
    IgnoredHangUps() = default;

    ~IgnoredHangUps() { std::signal(SIGHUP, before_); }

    IgnoredHangUps(IgnoredHangUps const&) = delete;
    IgnoredHangUps& operator=(IgnoredHangUps const&) = delete;

private:
    void (*before_)(int) = std::signal(SIGHUP, SIG_IGN);
};

/// What was typed at a terminal, up to the first end of file; the next reader gets what came after it.
TEST(StreamReaders, NeedOneEndOfFileAtATerminal) {
    // A session without a terminal takes the one that its leader opens, and closing that sends the leader SIGHUP.
    IgnoredHangUps const ignored;
    for (auto const reader : {extractAtOnce, takeAtOnce}) {
        int const terminal = posix_openpt(O_RDWR | O_NOCTTY);
        ASSERT_GE(terminal, 0);
        ASSERT_EQ(grantpt(terminal), 0);
        ASSERT_EQ(unlockpt(terminal), 0);
        std::filebuf file;
        int const kept = open(ptsname(terminal), O_RDWR | O_NOCTTY); // what is typed while nobody has it open is lost
        ASSERT_NE(file.open(ptsname(terminal), std::ios::in | std::ios::binary), nullptr);
        std::string const typed = "one\ntwo\n\x04three\n\x04\x04";
        ASSERT_EQ(write(terminal, typed.data(), typed.size()), static_cast<ssize_t>(typed.size()));

        std::istream input(&file);
        EXPECT_EQ(text(reader(input)), "one\ntwo\n");
        input.clear();
        EXPECT_EQ(text(reader(input)), "three\n");
        input.clear();
        EXPECT_EQ(text(reader(input)), "");
        file.close();
        close(kept);
        close(terminal);
    }
}

TEST(StreamReaders, ReadWhatOneWriterPutsIntoAPipe) {
    for (auto const reader : {extractAtOnce, takeAtOnce}) {
        TemporaryDirectory const directory;
        std::string const path = directory / "pipe";
        ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
        std::promise<void> firstIsRead;
        std::promise<void> secondWriterIsThere;
        auto writers = std::async(std::launch::async, [&] {
            std::ofstream(path) << "first record";
            firstIsRead.get_future().wait();
            std::ofstream second(path);
            secondWriterIsThere.set_value();
            second << "second record";
        });
        std::ifstream input(path, std::ios::binary);
        EXPECT_EQ(text(reader(input)), "first record");
        input.clear();
        firstIsRead.set_value();
        secondWriterIsThere.get_future().wait();
        EXPECT_EQ(text(reader(input)), "second record");
        writers.get();
    }
}

/// A region above the limit of int that costs next to no memory.
class LargeMemory {
public:
    LargeMemory()
        : data_(
              static_cast<char*>(mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0))) {
        repeatMemory(data_, size_);
    }

    ~LargeMemory() { munmap(data_, size_); }

    LargeMemory(LargeMemory const&) = delete;
    LargeMemory& operator=(LargeMemory const&) = delete;

    char* data() const { return data_; }

    std::size_t size() const { return size_; }

private:
    std::size_t size_ = std::size_t(1025) << 21;
    char* data_;
};

TEST(StreamReaders, TakeAGetAreaAboveTheLimitOfInt) {
    struct LargeArea : std::streambuf {
        explicit LargeArea(LargeMemory const& memory) {
            setg(memory.data(), memory.data(), memory.data() + memory.size());
        }
    };

    LargeMemory const source;
    LargeMemory const target;
    ASSERT_GT(source.size(), std::size_t(INT_MAX));
    LargeArea area(source);
    std::istream input(&area);
    EXPECT_EQ(countKnown(area), source.size());
    EXPECT_EQ(extract(input, target.data(), target.size()), source.size());
    EXPECT_TRUE(input.good());
    EXPECT_EQ(countKnown(area), 0U);
    EXPECT_TRUE(input.get() == std::istream::traits_type::eof());
}

TEST(ReadExtracted, FlushesTheTiedStream) {
    struct : std::stringbuf {
        int flushes = 0;

        int sync() override { return ++flushes, 0; }
    } buffer;

    std::ostream tied(&buffer);
    std::istringstream input("abc");
    input.tie(&tied);
    EXPECT_EQ(text(readExtracted<ByteArray>(input, rethrowUnchanged)), "abc");
    EXPECT_GT(buffer.flushes, 0);
}

TEST(ReadExtracted, ReadsSecretsLikeBytes) {
    std::istringstream input(content);
    SecretBytes const secret = readExtracted<SecretBytes>(input, rethrowUnchanged);
    EXPECT_EQ(std::string(secret.begin(), secret.end()), content);
}

TEST(StreamReaders, ReadWhatArrivesInPortionsOfAnySize) {
    std::string const large = text(pseudoRandomBytes(6000000));
    for (auto const reader : {extractAtOnce, takeAtOnce}) {
        for (std::size_t const portion : {1U, 4095U, 4096U, 4097U, 1048576U, 5000000U}) {
            PortionBuffer buffer(large, portion);
            std::istream input(&buffer);
            EXPECT_EQ(text(reader(input)) == large, true) << portion;
        }
    }
}

/// Each as long as all that came before it, from 4 KiB to 4 MiB; then the whole, with room for more.
TEST(ReadUnformatted, GathersInGrowingPieces) {
    constexpr std::size_t size = 10000000;
    std::vector<std::size_t> expected{4097 + 16};
    for (std::size_t gathered = 4097; gathered <= size; gathered += expected.back()) {
        expected.push_back(std::min<std::size_t>(gathered, 1U << 22U));
    }
    expected.push_back(size + 16);
    PortionBuffer buffer(std::string(size, 'a'), 1);
    std::istream input(&buffer);
    AllocationRecording recording;
    EXPECT_EQ(readUnformatted(input, 16).size(), size);
    recording.stop();
    std::vector<std::size_t> found;
    for (AllocatedBlock const& block : recording.blocks()) {
        if (block.size >= 4096) {
            found.push_back(block.size);
        }
    }
    EXPECT_EQ(found, expected);
}

TEST(ReadUnformatted, EndsWhereACharacterThatWasSeenDoesNotCome) {
    struct Withholding : std::streambuf {
        int looks = 10;
        int left = 3;

        int_type underflow() override { return looks-- > 0 ? 'a' : traits_type::eof(); }

        int_type uflow() override { return left-- > 0 ? 'a' : traits_type::eof(); }
    } buffer;

    std::istream input(&buffer);
    UnfilledSecretBytes const bytes = readUnformatted(input, 0);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "aaa");
}

// It stands outside every guard: what a file asks a host's facet, when it is asked what is left, does not throw.
static_assert(noexcept(countKnown(std::declval<std::streambuf&>())));
static_assert(noexcept(std::declval<std::codecvt<char, char, std::mbstate_t> const&>().encoding()));
static_assert(noexcept(std::declval<std::codecvt<char, char, std::mbstate_t> const&>().max_length()));

TEST(CountKnown, IsNothingWhereTheBufferKnowsOfNone) {
    std::stringbuf written(std::ios::out); // says -1
    EXPECT_EQ(countKnown(written), 0U);
    std::filebuf closed;
    EXPECT_EQ(countKnown(closed), 0U);
    std::stringbuf text("abc");
    EXPECT_EQ(countKnown(text), 3U);
}

TEST(StreamReaders, ReadAPipe) {
    TemporaryDirectory const directory;
    std::string const path = directory / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    for (auto const reader : {extractAtOnce, takeAtOnce}) {
        ASSERT_EQ(run("(head -c 3000000 /dev/zero >" + path + " &) >/dev/null").status, 0);
        std::ifstream input(path, std::ios::binary);
        EXPECT_EQ(reader(input), ByteArray(3000000));
    }
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

TEST(ForEachChunk, DeliversPiecesOf1024BytesAndAnEmptyLastOne) {
    std::istringstream input(std::string(2048, 'a'));
    std::vector<std::size_t> sizes;
    forEachChunk(input, [&](unsigned char const* /*data*/, std::size_t size) { sizes.push_back(size); });
    EXPECT_EQ(sizes, (std::vector<std::size_t>{1024, 1024, 0}));
}

} // namespace
