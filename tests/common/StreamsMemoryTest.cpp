#include "common/Check.h"
#include "common/Streams.h"

#include "support/Allocations.h"
#include "support/Bytes.h"
#include "support/Commands.h"
#include "support/ResidentMemory.h"
#include "support/Streams.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cinttypes>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ios>
#include <istream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

using namespace support;
using namespace foundation::crypto::openssl;

// How much memory the reading takes. A sanitizer adds its own notes of what may be touched, and of a program that is
// emulated the kernel tells the emulator's memory.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(ZRFL_EMULATED)

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
        std::istringstream smaller(std::string(32 * mebibyte - 1000, 'a'));
        UnfilledSecretBytes const smallerText = reader(smaller);
        EXPECT_FALSE(areLargePagesWanted(&smallerText[10 * mebibyte]));
    }
}

#endif

TEST(StreamReaders, ReleaseThePiecesThatTheyJoin) {
    for (std::size_t const size : {std::size_t(1), std::size_t(10000), std::size_t(10000000)}) {
        PortionBuffer portions(std::string(size, 'a'), 65536);
        std::istream input(&portions);
        long const before = liveAllocations();
        EXPECT_EQ(readUnformatted(input, 16).size(), size);
        EXPECT_EQ(liveAllocations(), before);
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

} // namespace
