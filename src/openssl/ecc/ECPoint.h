#ifndef ZRFL_OPENSSL_ECPOINT_H
#define ZRFL_OPENSSL_ECPOINT_H

#include "common/Handles.h"

#include <foundation/crypto/utils/ByteArray.h>

namespace foundation::crypto::openssl {

// All failures are utils::InternalException; a null argument is one of them.

/// The point that `bytes` encode (SEC 1, section 2.3.4: compressed or uncompressed). Nothing in the library calls
/// it, since libcrypto decodes the points of keys itself: it is kept as the other half of the conversion below.
EC_POINTUPtr toECPoint(EC_GROUP const* group, ByteArray const& bytes);

/// The uncompressed encoding of `point` (SEC 1, section 2.3.3): 0x04, X, Y; 65 bytes on P-256.
ByteArray toByteArray(EC_GROUP const* group, EC_POINT const* point);

} // namespace foundation::crypto::openssl

#endif
