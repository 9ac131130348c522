#include "common/Streams.h"

#include <cstdint>
#include <cstring>
#include <exception>
#include <fstream>
#include <sstream>
#include <sys/mman.h>
#include <typeinfo>
#include <unistd.h>

namespace foundation::crypto::openssl {

namespace {

using Traits = std::streambuf::traits_type;

bool isEnd(Traits::int_type character) {
    return Traits::eq_int_type(character, Traits::eof());
}

/// The characters that a buffer holds ready in memory; taking them runs none of its code.
class GetArea : public std::streambuf {
public:
    static std::size_t sizeOf(std::streambuf& buffer) {
        return static_cast<std::size_t>(
            std::max<std::ptrdiff_t>((buffer.*&GetArea::egptr)() - (buffer.*&GetArea::gptr)(), 0));
    }

    static std::size_t take(std::streambuf& buffer, char* data, std::size_t size) {
        std::size_t const taken = std::min(sizeOf(buffer), size);
        if (taken != 0) {
            char* const next = (buffer.*&GetArea::gptr)();
            std::memcpy(data, next, taken);
            // not gbump(), which takes an int
            (buffer.*&GetArea::setg)((buffer.*&GetArea::eback)(), next + taken, (buffer.*&GetArea::egptr)());
        }
        return taken;
    }

    /// What `in_avail()` says where nothing is held ready.
    static std::streamsize ask(std::streambuf& buffer) { return (buffer.*&GetArea::showmanyc)(); }
};

/// Whether `buffer` is a `Buffer` and of no class derived from it. Type information is compared by its address: that of
/// a class which a host compiled without (`-fno-rtti`) is a null pointer.
template <class Buffer> bool isExactly(std::streambuf const& buffer) {
    return &typeid(buffer) == &typeid(Buffer);
}

void setBadbitQuietly(std::istream& input) {
    try {
        input.setstate(std::ios_base::badbit);
        // NOLINTNEXTLINE(bugprone-empty-catch): the exception in flight is the one to report
    } catch (...) {
    }
}

/// Takes characters with `sbumpc()`, which may be the only way into a buffer (one that overrides `uflow` alone), until
/// `size` of them are there or the stream is no longer good, and says whether the buffer came to its end. `taken`
/// counts them, also when the buffer throws. Whatever a buffer does to its stream meanwhile, another buffer included,
/// counts from the next character on.
bool bump(std::istream const& input, char* data, std::size_t size, std::size_t& taken) {
    while (taken < size && input.good()) {
        Traits::int_type const character = input.rdbuf()->sbumpc();
        if (isEnd(character)) {
            return true;
        }
        if (input.fail()) {
            return false; // an extraction that fails delivers nothing
        }
        data[taken++] = Traits::to_char_type(character);
        if (input.good()) {
            taken += GetArea::take(*input.rdbuf(), data + taken, size - taken);
        }
    }
    return false;
}

/// As `istreambuf_iterator` does, which looks at a character before it takes it.
std::size_t take(std::streambuf& buffer, char* data, std::size_t size) {
    std::size_t taken = 0;
    while (taken < size && !isEnd(buffer.sgetc())) {
        std::size_t const ready = GetArea::take(buffer, data + taken, size - taken);
        taken += ready;
        if (ready == 0) {
            Traits::int_type const character = buffer.sbumpc();
            if (isEnd(character)) {
                break;
            }
            data[taken++] = Traits::to_char_type(character);
        }
    }
    return taken;
}

constexpr std::size_t mebibyte = std::size_t(1) << 20;

/// Tells the system about the whole pages inside a block of `smallest` bytes or more. It may do as it likes.
void advise(void* block, std::size_t size, std::size_t smallest, int advice) noexcept {
    if (size >= smallest) {
        auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        std::size_t const before = (page - reinterpret_cast<std::uintptr_t>(block) % page) % page;
        madvise(static_cast<char*>(block) + before, (size - before) / page * page, advice);
    }
}

} // namespace

std::size_t countKnown(std::streambuf& buffer) noexcept {
    std::size_t const ready = GetArea::sizeOf(buffer);
    // Of the standard's own classes the answer is true, and includes what is ready: what is left of a file, and what
    // was written to a string since its get area was made. A class derived from them may say anything.
    bool const knows = isExactly<std::filebuf>(buffer) || isExactly<std::stringbuf>(buffer);
    return knows ? std::max(ready, static_cast<std::size_t>(std::max<std::streamsize>(GetArea::ask(buffer), 0)))
                 : ready;
}

void dropPages(void* block, std::size_t size) noexcept {
    advise(block, size, mebibyte, MADV_DONTNEED);
}

void wantLargePages(void* block, std::size_t size) noexcept {
    advise(block, size, 32 * mebibyte, MADV_HUGEPAGE);
}

void beginExtraction(std::istream& input) {
    input.unsetf(std::ios_base::skipws);
    std::istream::sentry const flushesAndChecks(input, true);
}

std::size_t extract(std::istream& input, char* data, std::size_t size) {
    std::size_t taken = 0;
    bool isAtEnd = false;
    try {
        isAtEnd = bump(input, data, size, taken);
    } catch (...) {
        setBadbitQuietly(input);
        // A cancelled thread must keep unwinding; that is no exception of C++'s own.
        if ((input.exceptions() & std::ios_base::badbit) != 0 || std::current_exception() == nullptr) {
            throw;
        }
    }
    if (isAtEnd) {
        input.setstate(std::ios_base::eofbit | std::ios_base::failbit);
    } else if (taken < size && !input.fail()) {
        input.setstate(std::ios_base::failbit); // at an end that was set from outside
    }
    return taken;
}

UnfilledSecretBytes readUnformatted(std::istream& input, std::size_t roomBehind) {
    std::streambuf* const buffer = input.rdbuf();
    if (buffer == nullptr) {
        return {};
    }
    return gather<UnfilledSecretBytes>(
        roomBehind, [=](char* data, std::size_t size) { return take(*buffer, data, size); },
        [=] { return countKnown(*buffer); });
}

} // namespace foundation::crypto::openssl
