#ifndef ZRFL_BENCH_AESCASES_H
#define ZRFL_BENCH_AESCASES_H

#include <foundation/crypto/openssl/CryptoProvider.h>

#include <openssl/evp.h>

#include <array>
#include <cstddef>
#include <string>

namespace bench {

/// One mode of AES with one size of keys: what the library, libcrypto and the peers all work with.
struct AESCase {
    using ByteArray = foundation::crypto::utils::ByteArray;
    using AESMode = foundation::crypto::utils::AESMode;

    std::size_t bits;
    char const* modeName;
    AESMode mode;
    EVP_CIPHER const* (*cipher)();
    ByteArray key = ByteArray(bits / 8, 0x42);
    ByteArray vector = ByteArray(mode == AESMode::GCM ? 12 : 16, 0x24);

    std::string name() const { return "AES-" + std::to_string(bits) + " " + modeName; }

    bool isGCM() const { return mode == AESMode::GCM; }

    foundation::crypto::interfaces::AESEncryptorPtr makeEncryptor() const {
        foundation::crypto::openssl::CryptoProvider const provider;
        return bits == 128
                   ? provider.createAES128Encryptor(provider.createAES128Key(key), vector, mode, padding, nullptr)
                   : provider.createAES256Encryptor(provider.createAES256Key(key), vector, mode, padding, nullptr);
    }

    foundation::crypto::interfaces::AESDecryptorPtr makeDecryptor() const {
        foundation::crypto::openssl::CryptoProvider const provider;
        return bits == 128
                   ? provider.createAES128Decryptor(provider.createAES128Key(key), vector, mode, padding, nullptr)
                   : provider.createAES256Decryptor(provider.createAES256Key(key), vector, mode, padding, nullptr);
    }

    static constexpr auto padding = foundation::crypto::utils::AESPaddingMode::PKCS7;
};

inline std::array<AESCase, 10> const& aesCases() {
    using foundation::crypto::utils::AESMode;
    static std::array<AESCase, 10> const all{{
        {128, "CBC", AESMode::CBC, EVP_aes_128_cbc},
        {128, "CFB", AESMode::CFB, EVP_aes_128_cfb128},
        {128, "OFB", AESMode::OFB, EVP_aes_128_ofb},
        {128, "CTR", AESMode::CTR, EVP_aes_128_ctr},
        {128, "GCM", AESMode::GCM, EVP_aes_128_gcm},
        {256, "CBC", AESMode::CBC, EVP_aes_256_cbc},
        {256, "CFB", AESMode::CFB, EVP_aes_256_cfb128},
        {256, "OFB", AESMode::OFB, EVP_aes_256_ofb},
        {256, "CTR", AESMode::CTR, EVP_aes_256_ctr},
        {256, "GCM", AESMode::GCM, EVP_aes_256_gcm},
    }};
    return all;
}

} // namespace bench

#endif
