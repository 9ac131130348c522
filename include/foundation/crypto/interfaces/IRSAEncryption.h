#ifndef FOUNDATION_CRYPTO_INTERFACES_IRSAENCRYPTION_H
#define FOUNDATION_CRYPTO_INTERFACES_IRSAENCRYPTION_H

#include "foundation/crypto/utils/ByteArray.h"

#include <iosfwd>
#include <memory>

namespace foundation::crypto::interfaces {

/// @addtogroup reference-rsa-encryption
/// @{

/// Encrypts with an RSA public key: OAEP or PKCS #1 v1.5 (RFC 8017, sections 7.1 and 7.2), as it was made. One block
/// takes as many bytes as the modulus has, less the padding's share:
///
/// | Padding       | share | RSA-1024 | RSA-2048 | RSA-4096 |
/// |---------------|-------|----------|----------|----------|
/// | `OAEP_SHA1`   | 42    | 86       | 214      | 470      |
/// | `OAEP_SHA256` | 66    | 62       | 190      | 446      |
/// | `OAEP_SHA512` | 130   | none     | 126      | 382      |
/// | `PKCS1_V1_5`  | 11    | 117      | 245      | 501      |
///
/// Each block draws 32 bytes from the random generator that the encryptor was made with and mixes them into libcrypto's
/// own. The object never changes and may be shared between threads as far as that generator may.
class IRSAEncryptor {
public:
    virtual ~IRSAEncryptor() = default;

    /// Encrypts `plainText` as one block and returns the cipher text: 128, 256 or 512 bytes, as many as the modulus.
    /// The result differs from call to call.
    ///
    /// @throws utils::InternalException for a message that is too long for one block ("EVP_PKEY_encrypt failed to
    ///         generate the encrypted text. Please try using streams for this operation."), for a padding outside the
    ///         enumeration, for a generator that throws, or for a libcrypto failure.
    virtual ByteArray encrypt(ByteArray const& plainText) const = 0;

    /// Encrypts the bytes of `plainText` from its current position to its end, of whatever length, and returns
    /// `cipherText`. The message is cut into blocks, each as long as the padding allows and the last one shorter, and
    /// each is encrypted by itself; the blocks of cipher text follow one another with nothing between. An empty stream
    /// gives an empty result. The blocks are not tied together: nothing tells when one was left out, repeated or moved.
    ///
    /// Input is read unformatted and ends at eof; output bytes are written as characters, and a field width set on
    /// `cipherText` should be 0. A failure leaves the blocks written so far.
    ///
    /// @throws utils::InternalException as above; for `OAEP_SHA512` with RSA-1024 ("chunkLength exceeds maximum
    ///         ByteArray size"); for a padding outside the enumeration, even when the stream is empty; for a stream
    ///         that throws.
    virtual std::ostream& encrypt(std::istream& plainText, std::ostream& cipherText) const = 0;

    /// The size in bits of the keys of this kind of encryptor: 1024, 2048 or 4096.
    virtual unsigned long getKeySize() const = 0;
};

/// The pointer as operations take and return it.
using RSAEncryptorPtr = std::shared_ptr<IRSAEncryptor>;

/// Decrypts with an RSA private key what an `IRSAEncryptor` with its public key and the same padding has encrypted.
/// Draws random bytes and may be shared between threads as that does.
///
/// **Rejection is implicit with `PKCS1_V1_5`:** an altered block is not an error but gives pseudo-random bytes,
/// of a random length and always the same for the same block and key. A caller must not branch on whether the result
/// looks right where others can see it (that is what the rejection is for), and learns of a forgery only from a check
/// further in. With OAEP every altered block is an error.
class IRSADecryptor {
public:
    virtual ~IRSADecryptor() = default;

    /// Decrypts one block, as many bytes as the modulus, and returns the message. A shorter block is taken for the same
    /// number without its leading zeros.
    ///
    /// @throws utils::InternalException for a block that was altered (OAEP), is empty, has more bytes than the modulus
    ///         or is no number below it ("EVP_PKEY_decrypt failed to generate the decrypted text."), for a padding
    ///         outside the enumeration, for a generator that throws, or for a libcrypto failure.
    virtual ByteArray decrypt(ByteArray const& cipherText) const = 0;

    /// Decrypts the bytes of `cipherText` from its current position to its end, block by block as the stream form of
    /// `IRSAEncryptor::encrypt` wrote them, and returns `plainText`; with the streams as there. An empty stream gives
    /// an empty result, whatever the padding.
    ///
    /// @throws utils::InternalException as above, and for a stream that throws. The blocks written so far remain.
    virtual std::ostream& decrypt(std::istream& cipherText, std::ostream& plainText) const = 0;

    /// The size in bits of the keys of this kind of decryptor: 1024, 2048 or 4096.
    virtual unsigned long getKeySize() const = 0;
};

/// The pointer as operations take and return it.
using RSADecryptorPtr = std::shared_ptr<IRSADecryptor>;

/// @}

} // namespace foundation::crypto::interfaces

#endif
