#ifndef ZRFL_EXAMPLES_FILES_H
#define ZRFL_EXAMPLES_FILES_H

#include <foundation/crypto/utils/ByteArray.h>

#include <filesystem>
#include <fstream>
#include <istream>
#include <iterator>
#include <stdexcept>
#include <string>

/// What the examples do with files; whatever does not succeed is an exception.
namespace files {

using foundation::crypto::utils::ByteArray;

inline std::ifstream open(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot open " + path);
    }
    return file;
}

inline ByteArray read(std::string const& path) {
    std::ifstream file = open(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A file that breaks off in mid-read ends there as far as the library can see: ask after each file that it has read.
inline void requireReadToItsEnd(std::istream const& file, std::string const& path) {
    if (file.bad()) {
        throw std::runtime_error("cannot read " + path + " to its end");
    }
}

inline void write(std::string const& path, ByteArray const& content) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<char const*>(content.data()), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

/// Writes a file that only its owner may read.
inline void writeSecret(std::string const& path, ByteArray const& content) {
    std::filesystem::remove(path); // another user may have the old one open
    write(path, {});
    std::filesystem::permissions(path, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    write(path, content);
}

/// Bytes as the examples print them.
inline std::string hex(ByteArray const& bytes) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char const byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0x0fU];
    }
    return text;
}

} // namespace files

#endif
