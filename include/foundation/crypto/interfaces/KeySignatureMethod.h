#ifndef FOUNDATION_CRYPTO_INTERFACES_KEYSIGNATUREMETHOD_H
#define FOUNDATION_CRYPTO_INTERFACES_KEYSIGNATUREMETHOD_H

namespace foundation::crypto::interfaces {

/// Which RSA signatures a key can make: the answer of the provider's key queries.
enum class KeySignatureMethod : int {
    RSA1024 = 0,
    RSA2048 = 1,
    RSA4096 = 2,
};

} // namespace foundation::crypto::interfaces

#endif
