#ifndef ZRFL_OPENSSL_STREAMS_H
#define ZRFL_OPENSSL_STREAMS_H

#include "common/Secrets.h"

#include <foundation/crypto/utils/ByteArray.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <istream>

namespace foundation::crypto::openssl {

/// Hands `input` to `consume(data, size)` in the pieces in which `istream::read` delivers it, 1024 bytes at most, for
/// as long as the stream's state is good; the last piece may be empty. A stream that is not good on entry is not read.
/// The count that a stream's buffer reports is not believed beyond what it was asked for, and what it did not write is
/// zero.
template <class Consume> void forEachChunk(std::istream& input, Consume&& consume) {
    constexpr std::streamsize largest = 1024;
    while (input.good()) {
        std::array<unsigned char, largest> chunk{};
        input.read(reinterpret_cast<char*>(chunk.data()), largest);
        consume(chunk.data(), static_cast<std::size_t>(std::clamp<std::streamsize>(input.gcount(), 0, largest)));
    }
}

/// Every byte from the current position to the end, read through the stream, which is left exactly as extraction of one
/// character after the other would leave it: `skipws` cleared, eof and fail set, `gcount()` and `width()` untouched. A
/// buffer that throws in mid-read sets badbit and ends the reading with the bytes so far, and a stream with an
/// exception mask throws what it would throw then. Reads what the stream's buffer holds ready in one piece, so it costs
/// a copy.
template <class Bytes> Bytes readExtracted(std::istream& input);

extern template ByteArray readExtracted<ByteArray>(std::istream& input);
extern template SecretBytes readExtracted<SecretBytes>(std::istream& input);

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

/// Every byte from the current position to the end, read from the stream's buffer; the stream's state is neither looked
/// at nor changed. Memory: the bytes alone where the buffer knows how many are left (files, strings); else the bytes
/// twice while pieces of up to 1 MiB are joined.
ByteArray readUnformatted(std::istream& input);

} // namespace foundation::crypto::openssl

#endif
