#ifndef ZRFL_TESTS_SUPPORT_MUTATIONS_H
#define ZRFL_TESTS_SUPPORT_MUTATIONS_H

#include "Bytes.h"

#include <algorithm>
#include <cstdlib>
#include <random>

namespace support {

/// How many of `all` mutations a test makes: a quarter with every run, and all of them in the long tests.
inline int mutations(int all) {
    return std::getenv("ZRFL_ALL_MUTATIONS") != nullptr ? all : all / 4;
}

/// `bytes` with one to four alterations such as an attacker or a broken disk makes, up to 300 bytes longer each; the
/// same for the same state of `random`. They may undo one another.
inline ByteArray mutate(ByteArray bytes, std::mt19937_64& random) {
    auto const below = [&](std::size_t limit) { return static_cast<std::size_t>(random() % limit); };
    auto const byte = [&] { return static_cast<unsigned char>(random()); };
    auto const at = [&] { return bytes.begin() + static_cast<std::ptrdiff_t>(below(bytes.size() + 1)); };
    for (std::size_t times = 1 + below(4); times > 0; --times) {
        switch (below(6)) {
        case 0: // other bits
            if (!bytes.empty()) {
                bytes[below(bytes.size())] ^= static_cast<unsigned char>(1U << below(8));
            }
            break;
        case 1: // another byte
            if (!bytes.empty()) {
                bytes[below(bytes.size())] = byte();
            }
            break;
        case 2: // cut at either end
            below(2) == 0 ? bytes.erase(at(), bytes.end()) : bytes.erase(bytes.begin(), at());
            break;
        case 3: // longer
            bytes.insert(at(), 1 + below(300), byte());
            break;
        case 4: // a run of one byte
            if (!bytes.empty()) {
                std::size_t const start = below(bytes.size());
                std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(start), below(bytes.size() - start), byte());
            }
            break;
        default: // rotated
            std::rotate(bytes.begin(), at(), bytes.end());
        }
    }
    return bytes;
}

} // namespace support

#endif
