#include "Bytes.h"

#include <algorithm>
#include <cctype>
#include <random>
#include <stdexcept>

namespace support {

ByteArray bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

std::string text(ByteArray const& bytes) {
    return {bytes.begin(), bytes.end()};
}

std::string hex(ByteArray const& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string result;
    result.reserve(2 * bytes.size());
    for (unsigned char const byte : bytes) {
        result += digits[byte >> 4];
        result += digits[byte & 0x0f];
    }
    return result;
}

ByteArray unhex(std::string_view digits) {
    std::string packed(digits);
    packed.erase(std::remove_if(packed.begin(), packed.end(), [](unsigned char c) { return std::isspace(c) != 0; }),
                 packed.end());
    if (packed.size() % 2 != 0 || packed.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
        throw std::invalid_argument("not hexadecimal: " + packed.substr(0, 40));
    }
    ByteArray result;
    result.reserve(packed.size() / 2);
    for (std::size_t at = 0; at < packed.size(); at += 2) {
        result.push_back(static_cast<unsigned char>(std::stoul(packed.substr(at, 2), nullptr, 16)));
    }
    return result;
}

ByteArray pseudoRandomBytes(std::size_t size, std::uint64_t seed) {
    std::mt19937_64 generator(seed);
    ByteArray result(size);
    std::generate(result.begin(), result.end(), [&] { return static_cast<unsigned char>(generator() >> 56); });
    return result;
}

} // namespace support
