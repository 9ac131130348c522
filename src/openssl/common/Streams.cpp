#include "common/Streams.h"

#include <algorithm>
#include <cxxabi.h>
#include <streambuf>
#include <utility>
#include <vector>

namespace foundation::crypto::openssl {

namespace {

/// How many characters a buffer holds ready in memory. Unlike `in_avail()`, which may promise what is still to be read.
class GetArea : public std::streambuf {
public:
    static std::streamsize sizeOf(std::streambuf const& buffer) {
        return (buffer.*&GetArea::egptr)() - (buffer.*&GetArea::gptr)();
    }
};

bool atEnd(std::streambuf& buffer) {
    using Traits = std::streambuf::traits_type;
    return Traits::eq_int_type(buffer.sgetc(), Traits::eof());
}

void setBadbitQuietly(std::istream& input) {
    try {
        input.setstate(std::ios_base::badbit);
        // NOLINTNEXTLINE(bugprone-empty-catch): the exception in flight is the one to report
    } catch (std::ios_base::failure const&) {
    }
}

/// One access to the stream's buffer, with a formatted extraction's answer to a buffer that throws: badbit, and the
/// exception goes on only if the stream's exception mask asks for it. The result is then 0.
template <class Access> std::streamsize access(std::istream& input, Access&& perform) {
    try {
        return perform(*input.rdbuf());
    } catch (abi::__forced_unwind&) { // a cancelled thread must keep unwinding
        setBadbitQuietly(input);
        throw;
    } catch (...) {
        setBadbitQuietly(input);
        if ((input.exceptions() & std::ios_base::badbit) != 0) {
            throw;
        }
        return 0;
    }
}

/// Appends what `deliver(data, size)` writes, at most `size` bytes.
template <class Bytes, class Deliver> void append(Bytes& bytes, std::streamsize size, Deliver&& deliver) {
    std::size_t const before = bytes.size();
    bytes.resize(before + static_cast<std::size_t>(size));
    std::streamsize const delivered = deliver(reinterpret_cast<char*>(bytes.data() + before), size);
    bytes.resize(before + static_cast<std::size_t>(delivered));
}

ByteArray join(std::vector<ByteArray> pieces, std::size_t size) {
    if (pieces.size() == 1) {
        return std::move(pieces.front());
    }
    ByteArray bytes;
    bytes.reserve(size);
    for (ByteArray& piece : pieces) {
        bytes.insert(bytes.end(), piece.begin(), piece.end());
        ByteArray().swap(piece); // released at once, so that no more than one copy is held
    }
    return bytes;
}

} // namespace

template <class Bytes> Bytes readExtracted(std::istream& input) {
    input.unsetf(std::ios_base::skipws);
    Bytes bytes;
    std::istream::sentry const good(input, true);
    while (input.good()) {
        // Looking at the next character first fills the buffer, so that taking what it holds cannot fail half-way.
        std::streamsize const ready = access(input, [](std::streambuf& buffer) {
            return atEnd(buffer) ? 0 : std::max<std::streamsize>(GetArea::sizeOf(buffer), 1);
        });
        if (ready == 0) {
            break;
        }
        append(bytes, ready, [&](char* data, std::streamsize size) {
            return access(input, [&](std::streambuf& buffer) { return buffer.sgetn(data, size); });
        });
    }
    if (input.good()) {
        input.setstate(std::ios_base::eofbit | std::ios_base::failbit);
    }
    return bytes;
}

template ByteArray readExtracted<ByteArray>(std::istream& input);
template SecretBytes readExtracted<SecretBytes>(std::istream& input);

ByteArray readUnformatted(std::istream& input) {
    constexpr std::size_t smallestPiece = 4096;
    constexpr std::size_t largestPiece = std::size_t(1) << 20;
    // Whatever a buffer promises, more than a message of the largest size is not asked for in one piece.
    constexpr std::streamsize largestPromise = (std::streamsize(1) << 31) + 16;

    std::vector<ByteArray> pieces;
    std::size_t total = 0;
    bool wasShort = false;
    for (std::streambuf* const buffer = input.rdbuf(); buffer != nullptr;) {
        std::streamsize const ready = std::min(buffer->in_avail(), largestPromise);
        if ((ready <= 0 || wasShort) && atEnd(*buffer)) {
            break;
        }
        // A buffer that tells its length tells it at once. One that knows no further than its next portion is asked for
        // more and more, which it delivers unless the end comes first.
        auto const more = static_cast<std::streamsize>(std::clamp(total, smallestPiece, largestPiece));
        std::streamsize const asked = pieces.empty() && ready > 0 ? ready : std::max(ready, more);
        append(pieces.emplace_back(), asked,
               [&](char* data, std::streamsize size) { return buffer->sgetn(data, size); });
        total += pieces.back().size();
        wasShort = pieces.back().size() < static_cast<std::size_t>(asked);
    }
    return join(std::move(pieces), total);
}

} // namespace foundation::crypto::openssl
