#ifndef FOUNDATION_CRYPTO_UTILS_RSAPADDINGMODE_H
#define FOUNDATION_CRYPTO_UTILS_RSAPADDINGMODE_H

namespace foundation::crypto::utils {

/// @addtogroup reference-rsa-encryption
/// @{

/// The paddings of RSA (RFC 8017). The OAEP values are for encryption only, `PSS` is for signatures only. A value
/// outside the enumeration is refused by each encryption and decryption; in signatures it means PSS with libcrypto's
/// default salt length.
enum class RSAPaddingMode : int {
    OAEP_SHA1 = 0,   ///< OAEP, SHA-1 for label and mask: takes 42 bytes of each block.
    OAEP_SHA256 = 1, ///< OAEP, SHA-256 for label and mask: takes 66 bytes of each block.
    OAEP_SHA512 = 2, ///< OAEP, SHA-512 for label and mask: takes 130 bytes of each block, so RSA-1024 cannot use it.
    PKCS1_V1_5 = 3,  ///< PKCS #1 v1.5; when encrypting it takes 11 bytes of each block. The HSM signer refuses it.
    PSS = 4,         ///< RSA-PSS with a salt as long as the digest for SHA-1, SHA-256 and SHA-512.
};

/// @}

} // namespace foundation::crypto::utils

#endif
