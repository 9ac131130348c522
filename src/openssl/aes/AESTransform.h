#ifndef ZRFL_OPENSSL_AESTRANSFORM_H
#define ZRFL_OPENSSL_AESTRANSFORM_H

#include "aes/AESKey.h"
#include "common/Handles.h"

#include <foundation/crypto/interfaces/IAESTransform.h>
#include <foundation/crypto/interfaces/ICryptoPRNG.h>
#include <foundation/crypto/utils/AESMode.h>

#include <cstddef>
#include <istream>
#include <memory>
#include <ostream>
#include <utility>

namespace foundation::crypto::openssl {

enum class AESDirection : unsigned int { Encryption = 0, Decryption = 1 };

/// What encryptor and decryptor have in common: all but the names of their operations.
template <class KeySize> class AESTransform {
public:
    virtual ~AESTransform() = default;
    AESTransform(AESTransform const&) = delete;
    AESTransform& operator=(AESTransform const&) = delete;

protected:
    /// Draws the initialisation vector from `prng` if `iv` is empty. A transform without a key can be made, not used.
    AESTransform(AESDirection direction, std::shared_ptr<AESKey<KeySize>> key, ByteArray iv, utils::AESMode mode,
                 utils::AESPaddingMode padding, interfaces::CryptoPRNGPtr prng);

    ByteArray transform(ByteArray const& input) const;
    std::ostream& transform(std::istream& input, std::ostream& output) const;

private:
    /// A fresh context, set up for one message.
    EVP_CIPHER_CTXUPtr start() const;
    /// Transforms one message and returns the result's size. `output` has room for `ivLength_` bytes more than there
    /// are in `input`, and may be the same memory.
    std::size_t work(EVP_CIPHER_CTX* context, unsigned char const* input, std::size_t inputSize,
                     unsigned char* output) const;

    AESDirection direction_;
    std::shared_ptr<AESKey<KeySize>> key_;
    ByteArray iv_;
    utils::AESMode mode_;
    utils::AESPaddingMode padding_;
    interfaces::CryptoPRNGPtr prng_;
    std::size_t ivLength_ = 16;   // of a whole block; GCM takes vectors of other lengths as they are
    unsigned int tagLength_ = 16; // of GCM
};

/// Encrypts messages with one key and initialisation vector; `KeySize` is one of the AES size tags.
template <class KeySize> class AESEncryptor final : public AESTransform<KeySize>, public interfaces::IAESEncryptor {
public:
    AESEncryptor(std::shared_ptr<AESKey<KeySize>> key, ByteArray iv, utils::AESMode mode, utils::AESPaddingMode padding,
                 interfaces::CryptoPRNGPtr prng)
        : AESTransform<KeySize>(AESDirection::Encryption, std::move(key), std::move(iv), mode, padding,
                                std::move(prng)) {}

    ByteArray encrypt(ByteArray const& plainText) const override { return this->transform(plainText); }

    std::ostream& encrypt(std::istream& plainText, std::ostream& cipherText) const override {
        return this->transform(plainText, cipherText);
    }

    unsigned long getKeySize() const override { return bitsOf(KeySize()); }
};

/// Decrypts what the encryptor of the same key, initialisation vector, mode and padding has encrypted.
template <class KeySize> class AESDecryptor final : public AESTransform<KeySize>, public interfaces::IAESDecryptor {
public:
    AESDecryptor(std::shared_ptr<AESKey<KeySize>> key, ByteArray iv, utils::AESMode mode, utils::AESPaddingMode padding,
                 interfaces::CryptoPRNGPtr prng)
        : AESTransform<KeySize>(AESDirection::Decryption, std::move(key), std::move(iv), mode, padding,
                                std::move(prng)) {}

    ByteArray decrypt(ByteArray const& cipherText) const override { return this->transform(cipherText); }

    std::ostream& decrypt(std::istream& cipherText, std::ostream& plainText) const override {
        return this->transform(cipherText, plainText);
    }

    unsigned long getKeySize() const override { return bitsOf(KeySize()); }
};

extern template class AESTransform<utils::AESKeySize<128>>;
extern template class AESTransform<utils::AESKeySize<192>>;
extern template class AESTransform<utils::AESKeySize<256>>;
extern template class AESEncryptor<utils::AESKeySize<128>>;
extern template class AESEncryptor<utils::AESKeySize<192>>;
extern template class AESEncryptor<utils::AESKeySize<256>>;
extern template class AESDecryptor<utils::AESKeySize<128>>;
extern template class AESDecryptor<utils::AESKeySize<192>>;
extern template class AESDecryptor<utils::AESKeySize<256>>;

} // namespace foundation::crypto::openssl

#endif
