#include "common/Streams.h"
#include "common/Check.h"

#include "StreamReaders.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/RepeatedMemory.h"
#include "support/Streams.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cwchar>
#include <fcntl.h>
#include <fstream>
#include <future>
#include <ios>
#include <istream>
#include <locale>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;

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

TEST(ForEachChunk, DeliversPiecesOf1024BytesAndAnEmptyLastOne) {
    std::istringstream input(std::string(2048, 'a'));
    std::vector<std::size_t> sizes;
    forEachChunk(input, [&](unsigned char const* /*data*/, std::size_t size) { sizes.push_back(size); });
    EXPECT_EQ(sizes, (std::vector<std::size_t>{1024, 1024, 0}));
}

} // namespace
