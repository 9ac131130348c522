#ifndef FOUNDATION_CRYPTO_UTILS_AESMODE_H
#define FOUNDATION_CRYPTO_UTILS_AESMODE_H

namespace foundation::crypto::utils {

/// @addtogroup reference-aes
/// @{

/// The modes of operation of AES (NIST SP 800-38A; GCM: SP 800-38D). Any other value is accepted when a transform is
/// made and refused by each of its calls.
enum class AESMode : int {
    CBC = 0, ///< Cipher block chaining; the one mode that `AESPaddingMode` matters to.
    CFB = 1, ///< Cipher feedback with segments of 128 bits.
    OFB = 2, ///< Output feedback.
    GCM = 3, ///< Galois/counter mode: authenticated, with a tag of 16 bytes behind the cipher text.
    CTR = 4, ///< Counter mode; the whole initialisation vector is the first counter block.
};

/// Whether CBC fills its last block. Any value other than `NoPadding` leaves padding on; other modes ignore it.
enum class AESPaddingMode : int {
    PKCS7 = 0,     ///< 1 to 16 bytes are added when encrypting and removed when decrypting (RFC 5652, section 6.3).
    NoPadding = 1, ///< Nothing is added: the message must be a multiple of 16 bytes.
};

/// @}

} // namespace foundation::crypto::utils

#endif
