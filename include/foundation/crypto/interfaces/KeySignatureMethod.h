#ifndef FOUNDATION_CRYPTO_INTERFACES_KEYSIGNATUREMETHOD_H
#define FOUNDATION_CRYPTO_INTERFACES_KEYSIGNATUREMETHOD_H

namespace foundation::crypto::interfaces {

/// @addtogroup reference-rsa-keys
/// @{

/// The answer of the provider's key queries: how many bits a key has, and so which RSA signatures it can make if it is
/// an RSA key. DH, DSA and ML-KEM-1024 keys with as many bits are answered for alike; `getModulus()` throws for them.
enum class KeySignatureMethod : int {
    RSA1024 = 0,
    RSA2048 = 1,
    RSA4096 = 2,
};

/// @}

} // namespace foundation::crypto::interfaces

#endif
