#ifndef ZRFL_OPENSSL_STREAMS_H
#define ZRFL_OPENSSL_STREAMS_H

#include "common/Secrets.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <istream>
#include <memory>
#include <streambuf>
#include <vector>

namespace foundation::crypto::openssl {

/// Reads `size` bytes as `istream::read` does and returns how many came. The count that a stream's buffer reports is
/// believed from none to what it was asked for.
inline std::size_t readPiece(std::istream& input, unsigned char* data, std::size_t size) {
    auto const asked = static_cast<std::streamsize>(size);
    input.read(reinterpret_cast<char*>(data), asked);
    return static_cast<std::size_t>(std::clamp<std::streamsize>(input.gcount(), 0, asked));
}

/// Hands `input` to `consume(data, size)` in the pieces in which `istream::read` delivers it, 1024 bytes at most, for
/// as long as the stream's state is good; the last piece may be empty. A stream that is not good on entry is not read.
/// What the stream's buffer counted but did not write is zero.
template <class Consume> void forEachChunk(std::istream& input, Consume&& consume) {
    while (input.good()) {
        std::array<unsigned char, 1024> chunk{};
        std::size_t const size = readPiece(input, chunk.data(), chunk.size());
        consume(chunk.data(), size);
    }
}

/// How many bytes are sure to follow in `buffer`: those that it holds ready, and those that a `std::filebuf` or a
/// `std::stringbuf` says are left. What any other buffer promises (`in_avail()`) is not asked for: it need not be true.
/// Of the host's code that runs no more than a `std::codecvt`'s answers about itself, which cannot throw.
std::size_t countKnown(std::streambuf& buffer) noexcept;

/// Returns the pages of a large block to the system; the heap, to which it goes back next, might keep them.
void dropPages(void* block, std::size_t size) noexcept;

/// Asks for large pages under a large block that is still to be filled: the system takes as long to provide its memory
/// in pages of the usual size as it takes to read a file into it. Blocks below 32 MiB, which the heap may keep and hand
/// to others, are left alone.
void wantLargePages(void* block, std::size_t size) noexcept;

/// For the pieces of a text whose length is not known: what was copied from them is not resident twice.
template <class Byte> struct PieceAllocator : UnfilledWipingAllocator<Byte> {
    PieceAllocator() noexcept = default;

    template <class Other> explicit PieceAllocator(PieceAllocator<Other> const& /*other*/) noexcept {}

    void deallocate(Byte* bytes, std::size_t count) noexcept {
        OPENSSL_cleanse(bytes, count * sizeof(Byte));
        dropPages(bytes, count * sizeof(Byte));
        std::allocator<Byte>().deallocate(bytes, count);
    }
};

/// Gathers what `read(data, size)` delivers, which stops short at the end and only there, and is not called again then.
/// `countKnown()` is asked once the first byte is there, since a buffer looks at its source no sooner. Where that tells
/// the length, the bytes are read into the one block that is returned, which grows when it is full and as much again is
/// known to follow; else pieces are joined, and no more than all bytes, the first block and one piece are resident
/// meanwhile. The result has room for `roomBehind` more bytes.
template <class Bytes, class Read, class CountKnown>
Bytes gather(std::size_t roomBehind, Read&& read, CountKnown&& countKnown) {
    constexpr std::size_t smallestPiece = 4096;
    constexpr std::size_t largestPiece = std::size_t(1) << 22;

    Bytes bytes;
    char first = 0;
    if (read(&first, 1) == 0) {
        return bytes;
    }
    std::size_t size = 1;
    std::size_t known = countKnown();
    std::size_t room = 1 + (known != 0 ? known + 1 : smallestPiece); // one more than is known shows the end
    do {
        bytes.reserve(room + roomBehind);
        wantLargePages(bytes.data(), bytes.capacity());
        bytes.resize(room);
        bytes[0] = static_cast<unsigned char>(first);
        size += read(reinterpret_cast<char*>(bytes.data()) + size, room - size);
        bytes.resize(size);
        if (size < room) {
            return bytes;
        }
        // The system counts in 32 bits what is left of a file: of 5 GiB, 1 is known to a `std::filebuf` at first.
        known = countKnown();
        room = size + known + 1;
    } while (known >= size);
    using Piece = std::vector<unsigned char, PieceAllocator<unsigned char>>;
    std::vector<Piece> pieces;
    for (bool ended = false; !ended;) {
        Piece& piece = pieces.emplace_back();
        piece.resize(std::clamp(size, smallestPiece, largestPiece));
        std::size_t const delivered = read(reinterpret_cast<char*>(piece.data()), piece.size());
        ended = delivered < piece.size();
        piece.resize(delivered);
        size += delivered;
    }
    Bytes joined;
    joined.reserve(size + roomBehind);
    wantLargePages(joined.data(), joined.capacity());
    joined.insert(joined.end(), bytes.begin(), bytes.end());
    for (Piece& piece : pieces) {
        joined.insert(joined.end(), piece.begin(), piece.end());
        Piece().swap(piece);
    }
    return joined;
}

/// Begins to read `input` as formatted extraction does, white space included: `skipws` is cleared, a tied stream
/// flushed, and a stream that is not good fails.
void beginExtraction(std::istream& input);

/// Fills `data` as extraction of one character after the other would. Less than `size` is the end, for which the stream
/// has set eof and fail; or a buffer that threw, for which it has set badbit. Throws what the stream's exception mask
/// asks for.
std::size_t extract(std::istream& input, char* data, std::size_t size);

/// Every byte from the current position to the end, read through the stream, which is left exactly as extraction of one
/// character after the other would leave it: `skipws` cleared, eof and fail set, `gcount()` and `width()` untouched. A
/// buffer that throws in mid-read sets badbit and ends the reading with the bytes so far, and a stream with an
/// exception mask throws what it would throw then. The host's code (stream, buffer, tied stream) runs under
/// `rule(operation)`, such as `rethrowForeignAs<...>`; memory that runs out is not translated.
template <class Bytes, class Rule> Bytes readExtracted(std::istream& input, Rule const& rule) {
    rule([&] { beginExtraction(input); });
    return gather<Bytes>(
        0, [&](char* data, std::size_t size) { return rule([&] { return extract(input, data, size); }); },
        [&] { return countKnown(*input.rdbuf()); });
}

/// Gives a stream back the format flags it has now when the scope ends, by whichever path.
class FormatFlagsRestorer {
public:
    explicit FormatFlagsRestorer(std::istream& stream) : stream_(stream), flags_(stream.flags()) {}

    ~FormatFlagsRestorer() { stream_.flags(flags_); }

    FormatFlagsRestorer(FormatFlagsRestorer const&) = delete;
    FormatFlagsRestorer& operator=(FormatFlagsRestorer const&) = delete;

private:
    std::istream& stream_;
    std::ios_base::fmtflags flags_;
};

/// Every byte from the current position to the end, taken from the stream's buffer as `istreambuf_iterator` takes them;
/// the stream's state is neither looked at nor changed. Once an end was seen, the buffer is not asked again. The result
/// has room for `roomBehind` more bytes.
UnfilledSecretBytes readUnformatted(std::istream& input, std::size_t roomBehind);

} // namespace foundation::crypto::openssl

#endif
