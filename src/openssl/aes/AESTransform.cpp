#include "aes/AESTransform.h"

#include "common/Check.h"
#include "common/Secrets.h"
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

/// CBC, CFB, OFB and CTR (NIST SP 800-38A).
EVP_CIPHER_CTXUPtr startStandard(Direction const& calls, Setup const& setup, utils::AESPaddingMode padding) {
    EVP_CIPHER_CTXUPtr context(EVP_CIPHER_CTX_new());
    require(calls.initialize(context.get(), setup.cipher, nullptr, setup.key, setup.iv.data()) == 1,
            calls.notInitialized);
    if (padding == utils::AESPaddingMode::NoPadding) {
        EVP_CIPHER_CTX_set_padding(context.get(), 0);
    }
    return context;
}

/// GCM (NIST SP 800-38D) without additional data.
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

// The work itself. `output` has room for the input and a block more, and may be the same memory as `input`: libcrypto
// allows that for both directions of all modes. Each function returns the size of the result.

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

std::size_t transformStandard(Direction const& calls, EVP_CIPHER_CTX* context, unsigned char const* input,
                              std::size_t inputSize, unsigned char* output) {
    require(inputSize <= INT_MAX, calls.tooLarge);
    std::size_t const size = update(calls, context, output, input, inputSize);
    return size + finalize(calls, context, output + size, calls.notFinalized);
}

/// The result is the cipher text, and the tag behind it.
std::size_t encryptGCM(EVP_CIPHER_CTX* context, unsigned char const* plainText, std::size_t plainTextSize,
                       unsigned char* output, unsigned int tagSize) {
    require(plainTextSize <= INT_MAX, encryption.tooLargeGCM);
    std::size_t size = update(encryption, context, output, plainText, plainTextSize);
    size += finalize(encryption, context, output + size, encryption.notFinalizedGCM);
    require(EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, static_cast<int>(tagSize), output + size) == 1,
            "Failed to get GCM tag");
    return size + tagSize;
}

std::size_t decryptGCM(EVP_CIPHER_CTX* context, unsigned char const* input, std::size_t inputSize,
                       unsigned char* output, unsigned int tagSize) {
    require(inputSize >= tagSize, "Input data is smaller than the tag size");
    std::size_t const cipherTextSize = inputSize - tagSize;
    std::array<unsigned char, EVP_MAX_AEAD_TAG_LENGTH> tag{}; // libcrypto wants one that it may write to
    std::copy_n(input + cipherTextSize, tagSize, tag.begin());
    require(cipherTextSize <= INT_MAX, decryption.tooLargeGCM);
    std::size_t const size = update(decryption, context, output, input, cipherTextSize);
    require(EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_SET_TAG, static_cast<int>(tagSize), tag.data()) == 1,
            "Failed to set GCM tag");
    return size + finalize(decryption, context, output + size, decryption.notFinalizedGCM);
}

} // namespace

template <class KeySize>
AESTransform<KeySize>::AESTransform(AESDirection direction, std::shared_ptr<AESKey<KeySize>> key, ByteArray iv,
                                    utils::AESMode mode, utils::AESPaddingMode padding, interfaces::CryptoPRNGPtr prng)
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
    return rethrowAs<utils::InternalException>([&] {
        EVP_CIPHER_CTXUPtr const context = start();
        ByteArray output(input.size() + ivLength_);
        // A message must not stay in memory when its tag, or its padding, turns out to be wrong.
        wipingOnFailure(output, [&] { output.resize(work(context.get(), input.data(), input.size(), output.data())); });
        return output;
    });
}

template <class KeySize>
std::ostream& AESTransform<KeySize>::transform(std::istream& input, std::ostream& output) const {
    return rethrowAs<utils::InternalException>([&]() -> std::ostream& {
        UnfilledSecretBytes text = readUnformatted(input, ivLength_); // both texts in turn, in the same memory
        EVP_CIPHER_CTXUPtr const context = start();
        std::size_t const inputSize = text.size();
        text.resize(inputSize + ivLength_);
        std::size_t const size = work(context.get(), text.data(), inputSize, text.data());
        return output.write(reinterpret_cast<char const*>(text.data()), static_cast<std::streamsize>(size));
    });
}

template <class KeySize> EVP_CIPHER_CTXUPtr AESTransform<KeySize>::start() const {
    EVP_CIPHER const* const cipher = getCipher(key_ != nullptr ? key_->getKeySize() : 0, mode_); // no key, no cipher
    Setup const setup{cipher, key_->data(), iv_};
    Direction const& calls = direction_ == AESDirection::Encryption ? encryption : decryption;
    return mode_ == utils::AESMode::GCM ? startGCM(calls, setup) : startStandard(calls, setup, padding_);
}

template <class KeySize>
std::size_t AESTransform<KeySize>::work(EVP_CIPHER_CTX* context, unsigned char const* input, std::size_t inputSize,
                                        unsigned char* output) const {
    bool const encrypts = direction_ == AESDirection::Encryption;
    if (mode_ != utils::AESMode::GCM) {
        return transformStandard(encrypts ? encryption : decryption, context, input, inputSize, output);
    }
    return encrypts ? encryptGCM(context, input, inputSize, output, tagLength_)
                    : decryptGCM(context, input, inputSize, output, tagLength_);
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
