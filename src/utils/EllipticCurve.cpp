#include "foundation/crypto/utils/EllipticCurve.h"

namespace foundation::crypto::utils {

std::string getName(EllipticCurve curve) {
    switch (curve) {
    case EllipticCurve::P256:
        return "P256";
    case EllipticCurve::Curve25519:
        return "Curve25519";
    }
    return "unknown curve"; // for messages only, so a stray value must not become a failure of its own
}

} // namespace foundation::crypto::utils
