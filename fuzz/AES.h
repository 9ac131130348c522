#ifndef ZRFL_FUZZ_AES_H
#define ZRFL_FUZZ_AES_H

#include "Bare.h"

#include <foundation/crypto/openssl/CryptoProvider.h>

namespace fuzz {

/// A transform of any key size, mode and padding, as an input describes it, and the same in libcrypto's words.
struct AESSetup {
    unsigned int keyBits;
    utils::AESMode mode;
    utils::AESPaddingMode padding;
    ByteArray key;
    ByteArray iv;

    explicit AESSetup(Input& input) {
        constexpr unsigned int sizes[]{128, 192, 256};
        keyBits = input.oneOf(sizes);
        mode = static_cast<utils::AESMode>(input.below(6)); // one beyond the enumeration
        padding = static_cast<utils::AESPaddingMode>(input.below(2));
        key = input.take(keyBits / 8);
        key.resize(keyBits / 8);
        iv = input.field();
    }

    bool isGCM() const { return mode == utils::AESMode::GCM; }

    /// With an initialisation vector of the library's own choice nothing can be compared.
    bool isComparable() const { return !iv.empty(); }

    interfaces::AESEncryptorPtr makeEncryptor() const {
        openssl::CryptoProvider const provider;
        auto const prng = provider.createDefaultCryptoPRNG({});
        switch (keyBits) {
        case 128:
            return provider.createAES128Encryptor(provider.createAES128Key(key), iv, mode, padding, prng);
        case 192:
            return provider.createAES192Encryptor(provider.createAES192Key(key), iv, mode, padding, prng);
        default:
            return provider.createAES256Encryptor(provider.createAES256Key(key), iv, mode, padding, prng);
        }
    }

    interfaces::AESDecryptorPtr makeDecryptor() const {
        openssl::CryptoProvider const provider;
        auto const prng = provider.createDefaultCryptoPRNG({});
        switch (keyBits) {
        case 128:
            return provider.createAES128Decryptor(provider.createAES128Key(key), iv, mode, padding, prng);
        case 192:
            return provider.createAES192Decryptor(provider.createAES192Key(key), iv, mode, padding, prng);
        default:
            return provider.createAES256Decryptor(provider.createAES256Key(key), iv, mode, padding, prng);
        }
    }

    /// What libcrypto makes of a message; nothing where it refuses to, or the mode does not exist.
    std::optional<ByteArray> transform(bool encrypts, ByteArray const& message) const {
        constexpr char const* names[]{"CBC", "CFB", "OFB", "GCM", "CTR"};
        auto const index = static_cast<std::size_t>(mode);
        if (index >= std::size(names)) {
            return std::nullopt;
        }
        return bare::transform(
            {"AES-" + std::to_string(keyBits) + "-" + names[index], key, iv, padding == utils::AESPaddingMode::PKCS7},
            encrypts, message);
    }
};

} // namespace fuzz

#endif
