#ifndef FOUNDATION_CRYPTO_UTILS_ELLIPTICCURVE_H
#define FOUNDATION_CRYPTO_UTILS_ELLIPTICCURVE_H

#include "foundation/crypto/utils/Visibility.h"

#include <string>

namespace foundation::crypto::utils {

/// @addtogroup reference-ecc-keys
/// @{

/// The curves that elliptic-curve keys lie on.
enum class EllipticCurve : int {
    P256 = 0,       ///< NIST P-256, for ECDSA (FIPS 186-5, SP 800-186).
    Curve25519 = 1, ///< Curve25519 in its Edwards form, for Ed25519 (RFC 8032); there is no key agreement.
};

/// The curve's name as messages show it, "P256" or "Curve25519"; "unknown curve" for a value outside the enumeration.
ZRFL_EXPORT std::string getName(EllipticCurve curve);

/// @}

} // namespace foundation::crypto::utils

#endif
