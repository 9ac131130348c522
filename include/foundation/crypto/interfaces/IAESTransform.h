#ifndef FOUNDATION_CRYPTO_INTERFACES_IAESTRANSFORM_H
#define FOUNDATION_CRYPTO_INTERFACES_IAESTRANSFORM_H

#include "foundation/crypto/utils/ByteArray.h"

#include <iosfwd>
#include <memory>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-aes
/// @{

/// Encrypts whole messages with AES (FIPS 197) in the mode that it was made with (NIST SP 800-38A; GCM: SP 800-38D). A
/// message has at most 2147483647 bytes. There is no incremental form and no additional authenticated data.
///
/// **Every message of one encryptor is encrypted with the same key and initialisation vector.** In GCM a second message
/// under one nonce exposes both messages and lets others forge; in CTR, OFB and CFB it exposes message bytes; in CBC it
/// shows which messages begin alike. Make a new encryptor, with a fresh vector, for each message.
///
/// The object never changes and may be shared between threads.
class IAESEncryptor {
public:
    virtual ~IAESEncryptor() = default;

    /// Encrypts `plainText`, which may be empty, and returns the cipher text of:
    /// - CBC with `PKCS7`: the next multiple of 16 bytes above the message's size;
    /// - CBC with `NoPadding`, CFB, OFB, CTR: the message's size;
    /// - GCM: the message's size and 16 bytes more, the tag, at the end.
    ///
    /// @throws utils::InternalException for every failure, also those of the standard library (with their text):
    ///         for a mode outside the enumeration; for a key that was missing or not of this library when the encryptor
    ///         was made; for a message above the limit; for a message that is no multiple of 16 bytes in CBC with
    ///         `NoPadding`; for a GCM nonce above 128 bytes; for a libcrypto failure.
    virtual ByteArray encrypt(ByteArray const& plainText) const = 0;

    /// Encrypts the bytes of `plainText` from its current position to its end as one message, writes the result to
    /// `cipherText` with a single write, and returns `cipherText`. Both messages are held in memory whole. The input is
    /// read directly from its buffer: its state and format flags are neither looked at nor changed. On failure nothing
    /// has been written; a failure to write shows in the state of `cipherText`.
    ///
    /// @throws utils::InternalException as above, and for a stream that throws.
    virtual std::ostream& encrypt(std::istream& plainText, std::ostream& cipherText) const = 0;

    /// The size in bits of the keys of this kind of encryptor: 128, 192 or 256.
    virtual unsigned long getKeySize() const = 0;
};

/// The pointer as operations take and return it.
using AESEncryptorPtr = std::shared_ptr<IAESEncryptor>;

/// Decrypts what an `IAESEncryptor` with the same key, initialisation vector, mode and padding has encrypted. Only GCM
/// tells an altered message: in the other modes decryption can succeed with a wrong result, and with CBC a caller must
/// not let others see whether the padding was right. The object never changes and may be shared between threads.
class IAESDecryptor {
public:
    virtual ~IAESDecryptor() = default;

    /// Decrypts `cipherText` and returns the message: in GCM 16 bytes shorter, in CBC with `PKCS7` by 1 to 16 bytes,
    /// otherwise as long as the input. Nothing is returned of a GCM message whose tag does not match.
    ///
    /// @throws utils::InternalException for every failure, also those of the standard library (with their text):
    ///         for a GCM message below 16 bytes ("Input data is smaller than the tag size") or with a wrong tag ("Tag
    ///         verification failed or decryption error"); in CBC for an input that is no multiple of 16 bytes or has
    ///         wrong padding ("Failed to finalize decryption"); for a mode outside the enumeration; for a key that was
    ///         missing or not of this library when the decryptor was made; for a message above 2147483647 bytes; for a
    ///         GCM nonce above 128 bytes; for a libcrypto failure.
    virtual ByteArray decrypt(ByteArray const& cipherText) const = 0;

    /// Decrypts the bytes of `cipherText` from its current position to its end as one message, writes the result to
    /// `plainText` and returns `plainText`; with the streams as in `IAESEncryptor::encrypt`.
    ///
    /// @throws utils::InternalException as above, and for a stream that throws.
    virtual std::ostream& decrypt(std::istream& cipherText, std::ostream& plainText) const = 0;

    /// The size in bits of the keys of this kind of decryptor: 128, 192 or 256.
    virtual unsigned long getKeySize() const = 0;
};

/// The pointer as operations take and return it.
using AESDecryptorPtr = std::shared_ptr<IAESDecryptor>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
