#ifndef FOUNDATION_CRYPTO_UTILS_KEYSIZES_H
#define FOUNDATION_CRYPTO_UTILS_KEYSIZES_H

namespace foundation::crypto::utils {

/// Names an AES key size, `N` bits, as a type; it selects the member of a family and holds nothing.
/// @ingroup reference-aes
template <unsigned long N> class AESKeySize {
    static_assert(N == 128 || N == 192 || N == 256, "AES keys have 128, 192 or 256 bits");
};

/// Names an RSA key size, a modulus of `N` bits, as a type; it selects the member of a family and holds nothing.
/// @ingroup reference-rsa-keys
template <unsigned long N> class RSAKeySize {
    static_assert(N == 1024 || N == 2048 || N == 4096, "RSA keys have 1024, 2048 or 4096 bits");
};

} // namespace foundation::crypto::utils

#endif
