// What binary_interface.py reads the layout of every public type from. It includes all public headers (the list is made
// by the build from what the libraries install) and makes every template of an interface complete, which a mention in
// the provider's operations does not. A type that is mentioned there and missing here fails the check.
#include "PublicHeaders.h"

namespace foundation::crypto::utils {

template class AESKeySize<128>;
template class AESKeySize<192>;
template class AESKeySize<256>;
template class RSAKeySize<1024>;
template class RSAKeySize<2048>;
template class RSAKeySize<4096>;

} // namespace foundation::crypto::utils

namespace foundation::crypto::interfaces {

using utils::AESKeySize;
using utils::EllipticCurve;
using utils::RSAKeySize;

template class IAESKey<AESKeySize<128>>;
template class IAESKey<AESKeySize<192>>;
template class IAESKey<AESKeySize<256>>;

template class IRSAKeyPair<RSAKeySize<1024>>;
template class IRSAKeyPair<RSAKeySize<2048>>;
template class IRSAKeyPair<RSAKeySize<4096>>;
template class IRSAPrivateKey<RSAKeySize<1024>>;
template class IRSAPrivateKey<RSAKeySize<2048>>;
template class IRSAPrivateKey<RSAKeySize<4096>>;
template class IRSAPublicKey<RSAKeySize<1024>>;
template class IRSAPublicKey<RSAKeySize<2048>>;
template class IRSAPublicKey<RSAKeySize<4096>>;

template class IECCKeyPair<EllipticCurve::P256>;
template class IECCKeyPair<EllipticCurve::Curve25519>;
template class IECCPrivateKey<EllipticCurve::P256>;
template class IECCPrivateKey<EllipticCurve::Curve25519>;
template class IECCPublicKey<EllipticCurve::P256>;
template class IECCPublicKey<EllipticCurve::Curve25519>;

} // namespace foundation::crypto::interfaces
