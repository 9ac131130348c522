#ifndef ZRFL_BENCH_PBKDF2CASE_H
#define ZRFL_BENCH_PBKDF2CASE_H

#include <array>
#include <cstddef>
#include <string>

namespace bench {

/// What a key is derived from, with HMAC-SHA-512.
inline std::string const password = "correct horse battery staple";
inline std::string const salt = "chosen at random";
constexpr std::size_t derivedSize = 32;
constexpr std::array<int, 2> iterationCounts{1, 10000};

inline std::string derivationName(int iterations) {
    return "PBKDF2 iterations/" + std::to_string(iterations) + "/";
}

} // namespace bench

#endif
