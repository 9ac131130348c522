#ifndef ZRFL_TESTS_SUPPORT_BYTES_H
#define ZRFL_TESTS_SUPPORT_BYTES_H

#include <foundation/crypto/utils/ByteArray.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace support {

using foundation::crypto::utils::ByteArray;

/// The characters of `text` as bytes.
ByteArray bytes(std::string_view text);

/// The bytes as characters.
std::string text(ByteArray const& bytes);

/// Two lower-case hexadecimal digits for each byte.
std::string hex(ByteArray const& bytes);

/// The bytes that hexadecimal digits of either case stand for; blanks and line breaks between them are skipped. Throws
/// std::invalid_argument for anything else.
ByteArray unhex(std::string_view digits);

/// `size` bytes that look random and are the same for the same `seed`.
ByteArray pseudoRandomBytes(std::size_t size, std::uint64_t seed = 1);

} // namespace support

#endif
