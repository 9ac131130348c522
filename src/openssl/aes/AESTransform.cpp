#include "aes/AESTransform.h"

#include "common/Check.h"
#include "common/Handles.h"
#include "common/Streams.h"

#include <algorithm>
#include <array>
#include <climits>
#include <iterator>
#include <utility>

namespace foundation::crypto::openssl {

namespace {

/// What libcrypto is asked to do in one direction, and the words for its failures.
struct Direction {
    decltype(&EVP_EncryptInit_ex) initialize;
    decltype(&EVP_EncryptUpdate) update;
    decltype(&EVP_EncryptFinal_ex) finalize;
    char const* notUpdated;
    // in CBC, CFB, OFB and CTR
    char const* notInitialized;
    char const* tooLarge;
    char const* notFinalized;
    // in GCM
    char const* notInitializedGCM;
    char const* notKeyedGCM;
    char const* tooLargeGCM;
    char const* notFinalizedGCM;
};

constexpr Direction encryption{EVP_EncryptInit_ex,
                               EVP_EncryptUpdate,
                               EVP_EncryptFinal_ex,
                               "Failed to encrypt data",
                               "Failed to initialize cipher context in standard AES encryption.",
                               "Input size exceeds maximum allowable size for AES standard encryption .",
                               "Failed to finalize encryption",
                               "Failed to initialize cipher context in AES-GCM encryption.",
                               "Failed to initialize key and iv context in AES-GCM encryption.",
                               "Input size exceeds maximum allowable size for AES-GCM encryption .",
                               "Failed to encrypt data"};

constexpr Direction decryption{EVP_DecryptInit_ex,
                               EVP_DecryptUpdate,
                               EVP_DecryptFinal_ex,
                               "Failed to decrypt data",
                               "Failed to initialize cipher context in standard AES decryption.",
                               "Input size exceeds maximum allowable size for AES standard decryption .",
                               "Failed to finalize decryption",
                               "Failed to initialize cipher context in AES-GCM decryption.",
                               "Failed to initialize key and iv context in AES-GCM decryption.",
                               "Input size exceeds maximum allowable size for AES-GCM decryption .",
                               "Tag verification failed or decryption error"};

/// The ciphers of one key size, in the order of `utils::AESMode`.
struct Ciphers {
    unsigned long keyBits;
    std::array<EVP_CIPHER const* (*)(), 5> byMode;
};

constexpr Ciphers ciphersByKeySize[]{
    {128, {EVP_aes_128_cbc, EVP_aes_128_cfb128, EVP_aes_128_ofb, EVP_aes_128_gcm, EVP_aes_128_ctr}},
    {192, {EVP_aes_192_cbc, EVP_aes_192_cfb128, EVP_aes_192_ofb, EVP_aes_192_gcm, EVP_aes_192_ctr}},
    {256, {EVP_aes_256_cbc, EVP_aes_256_cfb128, EVP_aes_256_ofb, EVP_aes_256_gcm, EVP_aes_256_ctr}},
};

EVP_CIPHER const* getCipher(unsigned long keyBits, utils::AESMode mode) {
    auto const* const ciphers = std::find_if(std::begin(ciphersByKeySize), std::end(ciphersByKeySize),
                                             [=](Ciphers const& row) { return row.keyBits == keyBits; });
    require(ciphers != std::end(ciphersByKeySize), "Failed to get the OpenSSL cipher. Unsupported key size");
    auto const index = static_cast<std::size_t>(mode);
    EVP_CIPHER const* const cipher = index < ciphers->byMode.size() ? ciphers->byMode[index]() : nullptr;
    require(cipher != nullptr, "Failed to get the OpenSSL cipher. Unsupported AES mode");
    return cipher;
}

/// What a cipher is set up with.
struct Setup {
    EVP_CIPHER const* cipher;
    unsigned char const* key;
    ByteArray const& iv;
};

std::size_t update(Direction const& calls, EVP_CIPHER_CTX* context, unsigned char* output, unsigned char const* input,
                   std::size_t size) {
    int written = 0;
    require(calls.update(context, output, &written, input, static_cast<int>(size)) == 1, calls.notUpdated);
    return static_cast<std::size_t>(written);
}

std::size_t finalize(Direction const& calls, EVP_CIPHER_CTX* context, unsigned char* output, char const* notFinalized) {
    int written = 0;
    require(calls.finalize(context, output, &written) == 1, notFinalized);
    return static_cast<std::size_t>(written);
}

/// CBC, CFB, OFB and CTR (NIST SP 800-38A).
ByteArray transformStandard(Direction const& calls, Setup const& setup, utils::AESPaddingMode padding,
                            ByteArray const& input, std::size_t slack) {
    EVP_CIPHER_CTXUPtr const context(EVP_CIPHER_CTX_new());
    require(calls.initialize(context.get(), setup.cipher, nullptr, setup.key, setup.iv.data()) == 1,
            calls.notInitialized);
    if (padding == utils::AESPaddingMode::NoPadding) {
        EVP_CIPHER_CTX_set_padding(context.get(), 0);
    }
    ByteArray output(input.size() + slack);
    require(input.size() <= INT_MAX, calls.tooLarge);
    std::size_t size = update(calls, context.get(), output.data(), input.data(), input.size());
    size += finalize(calls, context.get(), output.data() + size, calls.notFinalized);
    output.resize(size);
    return output;
}

EVP_CIPHER_CTXUPtr startGCM(Direction const& calls, Setup const& setup) {
    constexpr std::size_t defaultNonceSize = 12;

    EVP_CIPHER_CTXUPtr context(EVP_CIPHER_CTX_new());
    require(calls.initialize(context.get(), setup.cipher, nullptr, nullptr, nullptr) == 1, calls.notInitializedGCM);
    if (setup.iv.size() != defaultNonceSize) {
        auto const size = static_cast<int>(std::min<std::size_t>(setup.iv.size(), INT_MAX));
        require(EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_IVLEN, size, nullptr) > 0,
                "Failed to initialize the IV length in OpenSSL");
    }
    require(calls.initialize(context.get(), nullptr, nullptr, setup.key, setup.iv.data()) == 1, calls.notKeyedGCM);
    return context;
}

/// GCM (NIST SP 800-38D) without additional data: the cipher text, and the tag behind it.
ByteArray encryptGCM(Setup const& setup, ByteArray const& plainText, std::size_t slack, std::size_t tagSize) {
    EVP_CIPHER_CTXUPtr const context = startGCM(encryption, setup);
    ByteArray output(plainText.size() + slack);
    require(plainText.size() <= INT_MAX, encryption.tooLargeGCM);
    std::size_t size = update(encryption, context.get(), output.data(), plainText.data(), plainText.size());
    size += finalize(encryption, context.get(), output.data() + size, encryption.notFinalizedGCM);
    output.resize(size + tagSize); // as large as it was: the tag takes the room that the cipher did not need
    require(EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_GET_TAG, static_cast<int>(tagSize), output.data() + size) ==
                1,
            "Failed to get GCM tag");
    return output;
}

ByteArray decryptGCM(Setup const& setup, ByteArray const& input, std::size_t slack, std::size_t tagSize) {
    EVP_CIPHER_CTXUPtr const context = startGCM(decryption, setup);
    ByteArray output(input.size() + slack);
    require(input.size() >= tagSize, "Input data is smaller than the tag size");
    std::size_t const cipherTextSize = input.size() - tagSize;
    ByteArray tag(input.data() + cipherTextSize, input.data() + input.size());
    require(cipherTextSize <= INT_MAX, decryption.tooLargeGCM);
    std::size_t size = update(decryption, context.get(), output.data(), input.data(), cipherTextSize);
    require(EVP_CIPHER_CTX_ctrl(context.get(), EVP_CTRL_GCM_SET_TAG, static_cast<int>(tagSize), tag.data()) == 1,
            "Failed to set GCM tag");
    size += finalize(decryption, context.get(), output.data() + size, decryption.notFinalizedGCM);
    output.resize(size);
    return output;
}

} // namespace

template <class KeySize>
AESTransform<KeySize>::AESTransform(AESDirection direction, std::shared_ptr<AESKey<KeySize>> key, ByteArray iv,
                                    utils::AESMode mode, utils::AESPaddingMode padding,
                                    std::shared_ptr<interfaces::ICryptoPRNG> prng)
    : direction_(direction), key_(std::move(key)), iv_(std::move(iv)), mode_(mode), padding_(padding),
      prng_(std::move(prng)) {
    if (iv_.empty()) {
        require(prng_ != nullptr, "The PRNG does not exist.");
        iv_ = prng_->generateRandomBytes(ivLength_);
    } else {
        require(iv_.size() >= ivLength_ || mode_ == utils::AESMode::GCM,
                "Initialization vector must contain 16 bytes.");
    }
}

template <class KeySize> ByteArray AESTransform<KeySize>::transform(ByteArray const& input) const {
    return rethrowAs<utils::InternalException>([&] { return transformMessage(input); });
}

template <class KeySize>
std::ostream& AESTransform<KeySize>::transform(std::istream& input, std::ostream& output) const {
    return rethrowAs<utils::InternalException>([&]() -> std::ostream& {
        ByteArray const result = transformMessage(readUnformatted(input));
        return output.write(reinterpret_cast<char const*>(result.data()), static_cast<std::streamsize>(result.size()));
    });
}

template <class KeySize> ByteArray AESTransform<KeySize>::transformMessage(ByteArray const& input) const {
    EVP_CIPHER const* const cipher = getCipher(key_ != nullptr ? key_->getKeySize() : 0, mode_); // no key, no cipher
    Setup const setup{cipher, key_->data(), iv_};
    if (mode_ != utils::AESMode::GCM) {
        Direction const& calls = direction_ == AESDirection::Encryption ? encryption : decryption;
        return transformStandard(calls, setup, padding_, input, ivLength_);
    }
    return direction_ == AESDirection::Encryption ? encryptGCM(setup, input, ivLength_, tagLength_)
                                                  : decryptGCM(setup, input, ivLength_, tagLength_);
}

template class AESTransform<utils::AESKeySize<128>>;
template class AESTransform<utils::AESKeySize<192>>;
template class AESTransform<utils::AESKeySize<256>>;
template class AESEncryptor<utils::AESKeySize<128>>;
template class AESEncryptor<utils::AESKeySize<192>>;
template class AESEncryptor<utils::AESKeySize<256>>;
template class AESDecryptor<utils::AESKeySize<128>>;
template class AESDecryptor<utils::AESKeySize<192>>;
template class AESDecryptor<utils::AESKeySize<256>>;

} // namespace foundation::crypto::openssl
