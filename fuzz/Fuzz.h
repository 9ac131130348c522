#ifndef ZRFL_FUZZ_FUZZ_H
#define ZRFL_FUZZ_FUZZ_H

#include <foundation/crypto/utils/ByteArray.h>
#include <foundation/crypto/utils/Exceptions.h>
#include <foundation/crypto/utils/KeySizes.h>

#include <openssl/err.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <new>
#include <optional>
#include <string>
#include <typeinfo>
#include <utility>

/// What libFuzzer calls with each input; each fuzzer defines it. -1 keeps the input out of the corpus.
extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size);

namespace fuzz {

using foundation::crypto::utils::ByteArray;
using namespace foundation::crypto;

/// Ends the run where a property does not hold; libFuzzer then keeps the input.
inline void expect(bool holds, char const* property) {
    if (!holds) {
        std::fprintf(stderr, "Does not hold: %s\n", property);
        std::abort();
    }
}

/// The bytes of libFuzzer, taken from front to back. At the end there are zeros and empty fields.
class Input {
public:
    Input(std::uint8_t const* data, std::size_t size) : next_(data), end_(data + size) {}

    bool isEmpty() const { return next_ == end_; }

    /// One byte, as a number below `limit`.
    unsigned int below(unsigned int limit) { return isEmpty() ? 0 : *next_++ % limit; }

    /// One byte, as one of the `choices`.
    template <class Choices> auto const& oneOf(Choices const& choices) {
        return choices[below(static_cast<unsigned int>(std::size(choices)))];
    }

    /// Two bytes for the length, the lower one first, and then as many.
    ByteArray field() {
        std::size_t const low = below(256);
        return take(low + 256 * std::size_t(below(256)));
    }

    ByteArray take(std::size_t size) {
        auto const* const start = next_;
        next_ += std::min(size, static_cast<std::size_t>(end_ - next_));
        return {start, next_};
    }

    ByteArray rest() { return take(static_cast<std::size_t>(end_ - next_)); }

private:
    std::uint8_t const* next_;
    std::uint8_t const* end_;
};

inline std::string asString(ByteArray const& bytes) {
    return {bytes.begin(), bytes.end()};
}

inline ByteArray asBytes(std::string const& text) {
    return {text.begin(), text.end()};
}

/// What came of an operation: a value, or an exception's class and text.
template <class Value> struct Outcome {
    std::optional<Value> value;
    std::string failure;

    explicit operator bool() const { return value.has_value(); }

    friend bool operator==(Outcome const& left, Outcome const& right) {
        return left.value == right.value && left.failure == right.failure;
    }
};

/// Runs an operation of the library as a host does that has an error of its own in libcrypto's queue, and a mark on it.
/// Whatever else leaves than the library's own exceptions, or `std::bad_alloc`, ends the run; so does an operation that
/// succeeds and leaves the queue otherwise than it was.
template <class Operation> auto attempt(Operation&& operation) {
    constexpr int hostsReason = 77;
    auto const isHosts = [](unsigned long error) {
        return ERR_GET_LIB(error) == ERR_LIB_USER && ERR_GET_REASON(error) == hostsReason;
    };
    Outcome<decltype(operation())> outcome;
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, hostsReason);
    ERR_set_mark();
    try {
        outcome.value.emplace(std::forward<Operation>(operation)());
    } catch (utils::Exception const& error) {
        outcome.failure = std::string(typeid(error).name()) + ": " + error.what();
    } catch (std::bad_alloc const&) {
        outcome.failure = "std::bad_alloc";
    }
    if (outcome) {
        bool const nothingAbove = ERR_count_to_mark() == 0; // counts what libcrypto struck out and did not remove, too
        bool const marked = ERR_pop_to_mark() == 1;
        bool const nothingElse = isHosts(ERR_get_error()) && ERR_peek_error() == 0;
        expect(nothingAbove && marked && nothingElse, "a success leaves the error queue as it was");
    }
    ERR_clear_error();
    return outcome;
}

/// A file of tests/vectors/keys.
inline ByteArray readKeyFile(std::string const& name) {
    std::ifstream file(std::string(ZRFL_FUZZ_KEYS) + "/" + name, std::ios::binary);
    expect(file.is_open(), "the keys of the tests are there");
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// Runs `work` with the tag of the RSA size that has these bits; where none has, of the smallest.
template <class Work> void withRSASize(int bits, Work&& work) {
    switch (bits) {
    case 2048:
        return work(utils::RSAKeySize<2048>());
    case 4096:
        return work(utils::RSAKeySize<4096>());
    default:
        return work(utils::RSAKeySize<1024>());
    }
}

/// Alters `bytes` as the input says: its bytes are added bit by bit, those that are too many stand behind. An input of
/// zeros that is not longer alters nothing.
inline ByteArray altered(ByteArray bytes, ByteArray const& alteration) {
    bytes.resize(std::max(bytes.size(), alteration.size()));
    std::transform(alteration.begin(), alteration.end(), bytes.begin(), bytes.begin(),
                   [](unsigned char left, unsigned char right) { return static_cast<unsigned char>(left ^ right); });
    return bytes;
}

} // namespace fuzz

#endif
