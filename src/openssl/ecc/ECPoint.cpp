#include "ecc/ECPoint.h"

#include "common/Check.h"

#include <cstddef>

namespace foundation::crypto::openssl {

EC_POINTUPtr toECPoint(EC_GROUP const* group, ByteArray const& bytes) {
    require(group != nullptr, "Failed to create EC_POINT from ByteArray. Argument is nullptr");
    BN_CTXUPtr const context(BN_CTX_new());
    EC_POINTUPtr point(EC_POINT_new(group));
    require(EC_POINT_oct2point(group, point.get(), bytes.data(), bytes.size(), context.get()) == 1,
            "Failed to convert point from bytes to an EC_POINT");
    return point;
}

ByteArray toByteArray(EC_GROUP const* group, EC_POINT const* point) {
    require(group != nullptr && point != nullptr, "Failed to create ByteArray from EC_POINT. Argument(s) are nullptr");
    BN_CTXUPtr const context(BN_CTX_new());
    auto const encode = [&](unsigned char* bytes, std::size_t size) {
        return EC_POINT_point2oct(group, point, POINT_CONVERSION_UNCOMPRESSED, bytes, size, context.get());
    };
    std::size_t const size = encode(nullptr, 0);
    require(size != 0, "Failed to get number of bytes to store public point");
    ByteArray bytes(size);
    require(encode(bytes.data(), bytes.size()) != 0, "Failed to convert EC_POINT to ByteArray");
    return bytes;
}

} // namespace foundation::crypto::openssl
