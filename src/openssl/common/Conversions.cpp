#include "common/Conversions.h"

#include "common/Check.h"

#include <climits>
#include <cstddef>

namespace foundation::crypto::openssl {

BIOUPtr newMemoryBIO() {
    return BIOUPtr(BIO_new(BIO_s_mem()));
}

ByteArray toByteArray(BIGNUM const* number) {
    require(number != nullptr, "Failed to convert BIGNUM to ByteArray. Argument is nullptr.");
    int const size = (BN_num_bits(number) + 7) / 8;
    ByteArray bytes(static_cast<std::size_t>(size));
    int const written = BN_bn2bin(number, bytes.data());
    if (written != size) {
        throw utils::InternalException("Wrote " + std::to_string(written) +
                                       " bytes from BIGNUM to ByteArray. Expected: " + std::to_string(size));
    }
    return bytes;
}

Owned<BIGNUM> toNumber(ByteArray const& bytes) {
    bool const isTooLong = bytes.size() > INT_MAX; // its size would be cut, and so the number
    return Owned<BIGNUM>(isTooLong ? nullptr : BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr));
}

ByteArray toByteArray(BIO* bio) {
    require(bio != nullptr, "Failed to write from BIO to ByteArray. Argument is nullptr");
    long const pending = BIO_ctrl(bio, BIO_CTRL_PENDING, 0, nullptr);
    require(pending > 0, "Error occurred while trying to find number of bytes in BIO. "
                         "Expected one or more bytes to be pending");
    ByteArray bytes(static_cast<std::size_t>(pending));
    int const read = BIO_read(bio, bytes.data(), static_cast<int>(pending));
    require(read >= 1, "Failed to read from BIO to ByteArray");
    if (read != pending) {
        throw utils::InternalException("Expected to read " + std::to_string(pending) + " bytes in BIO. Found " +
                                       std::to_string(read) + " bytes.");
    }
    return bytes;
}

ByteArray toByteArray(OSSL_PARAM const& octets) {
    auto const* const data = static_cast<unsigned char const*>(octets.data);
    return {data, data + octets.data_size};
}

void write(std::string_view text, BIO* bio) {
    require(bio != nullptr, "Failed to write string to BIO. Argument is nullptr");
    int const written = BIO_write(bio, text.data(), static_cast<int>(text.size()));
    require(written > 0, "Failed to write to BIO.");
    if (static_cast<std::size_t>(written) != text.size()) {
        throw utils::InternalException("Expected " + std::to_string(text.size()) + " bytes written to BIO. Found " +
                                       std::to_string(written) + " bytes.");
    }
}

} // namespace foundation::crypto::openssl
